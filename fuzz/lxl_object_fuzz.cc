// Objects of every type: whatever the bytes, an object is either refused or every query and
// conversion can be run on it.
//
// The input is an object; it is loaded in the place of the object of its type in the built-in
// directory (language, territory, character set) or, for other types, of a directory that has one
// of each.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kestra/handle.h"
#include "kestra/object.h"
#include "nls/nlb_check.h"
#include "nls/nlb_format.h"
#include "nls/object_view.h"
#include "tests/support/nls_exercise.h"

namespace {

namespace nlb = kestra::nls::nlb;

struct Input {
  std::vector<std::uint8_t> object;  // in native order
  std::uint32_t type;
};

void Put(std::uint8_t* at, std::uint32_t value, std::size_t width) {
  if (width == 2) {
    const auto narrow = static_cast<std::uint16_t>(value);
    std::memcpy(at, &narrow, 2);
  } else {
    std::memcpy(at, &value, 4);
  }
}

// One entry of each type 0 to 5, all with the id 1, but supplement 17.
lxobject* LoadBoot(void* ctx, const char*, std::uint32_t variant) {
  if (variant == 0) return nullptr;
  const auto* input = static_cast<const Input*>(ctx);
  constexpr std::uint32_t kCount = 7;
  constexpr std::size_t kSize = 48 + kCount * 40;
  auto* boot = static_cast<std::uint8_t*>(std::calloc(1, kSize));
  std::memcpy(boot, lxdlbot, 48);
  Put(boot + nlb::kSizeAt, kSize, 4);
  Put(boot + nlb::boot::kFlagsAt, 0, 4);
  for (std::uint32_t run = 0; run <= 10; ++run) {
    Put(boot + nlb::boot::kRunsAt + 2 * run, run < 6 ? run + 1 : kCount, 2);
  }
  for (std::uint32_t type = 0; type < 6; ++type) {
    const std::uint8_t* built_in[] = {lxdllan, lxdlter, lxdlchr};
    std::uint32_t size = 1000;
    if (type < 3) size = kestra::nls::Load32(built_in[type], nlb::kSizeAt);
    if (type == input->type) size = static_cast<std::uint32_t>(input->object.size());
    std::uint8_t* entry = boot + 48 + (type + 1) * 40;
    Put(entry, size, 4);
    Put(entry + 4, type, 2);
    Put(entry + 6, type == KES_OBJECT_SUPPLEMENT ? 17 : 1, 2);
    entry[8] = 2;
    entry[9] = static_cast<std::uint8_t>('A' + type);
  }
  return reinterpret_cast<lxobject*>(boot);
}

lxobject* LoadObject(void* ctx, const char* name, lxarea*, std::uint32_t) {
  auto* input = static_cast<Input*>(ctx);
  const std::uint32_t type = static_cast<std::uint32_t>(name[2] - '0');
  if (type == input->type) return reinterpret_cast<lxobject*>(input->object.data());
  const std::uint8_t* built_in[] = {lxdllan, lxdlter, lxdlchr};
  if (type > 2) return nullptr;
  return reinterpret_cast<lxobject*>(const_cast<std::uint8_t*>(built_in[type]));
}

int Unload(void*, lxobject** slot) {
  *slot = nullptr;
  return 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input{{data, data + size}, 0};
  if (lxlobjcheck(input.object.data(), size, 0) != nullptr) return 0;
  input.object.resize(kestra::nls::Load32(input.object.data(), nlb::kSizeAt));
  input.type = kestra::nls::Load16(input.object.data(), nlb::kTypeAt);
  if (input.type > 5) return 0;

  lxcallbacks block{};
  block.load_boot = LoadBoot;
  block.load_boot_ctx = &input;
  block.load_object = LoadObject;
  block.load_object_ctx = &input;
  block.unload_object = Unload;
  block.unload_object_ctx = &input;
  std::uint32_t error = 0;
  lxarea* area = lxlinit(&block, 0, &error);
  if (area == nullptr) return 0;
  kestra::test::Require(error == 0);
  lxcontext context;
  lxinitc(&context, area, &block, 0);
  lxhandle handle;
  if (lxhLaToId("", 0, &handle, 2, &context) != nullptr) {
    lxhlmod(&handle, "D", 1, KES_ITEM_SORT, 0, 0, &context);
    lxhlmod(&handle, "F", 1, KES_ITEM_CALENDAR, 0, 0, &context);
    kestra::test::ExerciseQueries(handle, &context);
    if (input.type == KES_OBJECT_CHARSET) kestra::test::ExerciseConversion(handle, &context);
  }
  lxlterm(&context);
  return 0;
}
