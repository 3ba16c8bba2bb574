// Boot files: whatever the bytes, the directory is either refused or can be searched.
//
// Law: an id that is found has a name that finds an id.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kestra/handle.h"
#include "kestra/object.h"
#include "tests/support/nls_exercise.h"

namespace {

struct Input {
  const std::uint8_t* data;
  std::size_t size;
};

lxobject* LoadBoot(void* ctx, const char*, std::uint32_t variant) {
  const auto* input = static_cast<const Input*>(ctx);
  if (variant == 0 || input->size < 48) return nullptr;
  auto* copy = static_cast<std::uint8_t*>(std::malloc(input->size));
  std::memcpy(copy, input->data, input->size);
  // What a loader has to do: native byte order, and no more bytes than there are.
  if (lxlobjcheck(copy, input->size, 1) == nullptr) return reinterpret_cast<lxobject*>(copy);
  std::free(copy);
  return nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input{data, size};
  lxcallbacks block{};
  block.load_boot = LoadBoot;
  block.load_boot_ctx = &input;
  std::uint32_t error = 0;
  lxarea* area = lxlinit(&block, 0, &error);
  if (area == nullptr) return 0;
  lxcontext context;
  lxinitc(&context, area, &block, 0);
  for (const std::uint32_t kind : {60u, 78u, 79u, 80u, 81u}) {
    for (std::uint32_t id = 1; id < 0x4000; id += id < 64 ? 1 : 61) {
      const char* name = lxhid2name(kind, id, &context);
      if (name == nullptr || name[0] == '\0') continue;
      kestra::test::Require(lxhname2id(kind, name, &context) != 0);
    }
  }
  for (std::uint32_t slot = 0; slot < 100; ++slot) {
    for (std::uint32_t type = 0; type < 10; ++type) lxdgetobj(slot, type, &context);
  }
  lxhandle handle;
  if (lxhLaToId("GERMAN", 6, &handle, 1, &context) != nullptr) {
    kestra::test::ExerciseQueries(handle, &context);
  }
  lxlterm(&context);
  return 0;
}
