// Conversion between any two sets of the data: never outside the buffers, and three laws.
//
// Input: source set, destination set, options, split point, room, then the text.
//   1. The kernels of every processor level give the same bytes and the same status.
//   2. Too little room gives error 6 and a prefix of what enough room gives.
//   3. Text converted in two pieces gives what one call gives.
// The last two hold for sets without shift state. KESTRA_FUZZ_SETS restricts one of the two sets to
// a group (charset_groups.h).
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/os/cpu.h"
#include "fuzz/charset_groups.h"
#include "kestra/convert.h"
#include "kestra/handle.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::test::Require;

struct Sets {
  lxcontext context;
  std::vector<const lxobject*> objects;
  std::vector<std::uint32_t> ids;
  std::vector<std::size_t> group;  // numbers of the sets of KESTRA_FUZZ_SETS
};

Sets& AllSets() {
  static Sets sets;
  if (!sets.objects.empty()) return sets;
  setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 1);
  std::uint32_t error = 0;
  lxinitc(&sets.context, lxlinit(nullptr, 0, &error), nullptr, 0);
  Require(error == 0);
  for (std::uint32_t id = 1; id < 10000; ++id) {
    const bool unlisted = id == 1000 || id == 2002 || id >= 9994;
    if (!unlisted && lxhid2name(KES_ITEM_CHARSET, id, &sets.context) == nullptr) continue;
    const lxobject* object = lxpcobj(id, &sets.context);
    Require(object != nullptr);
    sets.objects.push_back(object);
    if (kestra::fuzz::InGroup(id)) sets.group.push_back(sets.ids.size());
    sets.ids.push_back(id);
  }
  Require(!sets.group.empty());
  return sets;
}

bool HasShiftState(std::uint32_t id) { return (id >= 900 && id < 1000) || id >= 9994; }

struct Result {
  std::vector<std::uint8_t> bytes;
  lxstatus status;
  std::uint32_t error;
};

// Source and destination end where their allocation ends.
Result Convert(const std::uint8_t* text, std::size_t size, std::size_t from, std::size_t to,
               std::size_t room, std::uint32_t options) {
  Sets& sets = AllSets();
  const std::unique_ptr<std::uint8_t[]> source(new std::uint8_t[size]);
  if (size != 0) std::memcpy(source.get(), text, size);
  const std::unique_ptr<std::uint8_t[]> destination(new std::uint8_t[room]);
  const std::size_t written = lxgcnvb(destination.get(), sets.objects[to], room, source.get(),
                                      sets.objects[from], size, options, &sets.context);
  Require(written <= room && sets.context.status.consumed <= size);
  return {
      {destination.get(), destination.get() + written}, sets.context.status, sets.context.error};
}

bool SameStatus(const lxstatus& a, const lxstatus& b) {
  return a.consumed == b.consumed && a.first_replaced == b.first_replaced &&
         a.characters == b.characters && a.characters_total == b.characters_total &&
         a.replacement == b.replacement;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 6) return 0;
  Sets& sets = AllSets();
  const std::size_t any = data[1] % sets.objects.size();
  const std::size_t grouped = sets.group[data[0] % sets.group.size()];
  const std::size_t from = (data[2] & 0x80) != 0 ? any : grouped;
  const std::size_t to = (data[2] & 0x80) != 0 ? grouped : any;
  const std::uint32_t options = data[2] & 3u;
  const std::size_t split_at = data[3];
  const std::size_t small_room = data[4];
  const std::uint8_t* text = data + 5;
  const std::size_t length = size - 5;
  const std::size_t room = 8 * length + 64;

  kestra::os::ForceCpuLevel(kestra::os::CpuLevel::kAvx512);
  const Result whole = Convert(text, length, from, to, room, options);
  for (const auto level : {kestra::os::CpuLevel::kAvx2, kestra::os::CpuLevel::kBaseline}) {
    kestra::os::ForceCpuLevel(level);
    const Result other = Convert(text, length, from, to, room, options);
    Require(other.bytes == whole.bytes && other.error == whole.error &&
            SameStatus(other.status, whole.status));
  }
  kestra::os::ForceCpuLevel(kestra::os::CpuLevel::kAvx512);
  Require(whole.error != KES_NLS_DESTINATION_FULL);

  const Result cut = Convert(text, length, from, to, small_room, options);
  Require((cut.error == KES_NLS_DESTINATION_FULL) || cut.bytes == whole.bytes);
  if (HasShiftState(sets.ids[from]) || HasShiftState(sets.ids[to])) return 0;
  Require(cut.bytes.size() <= whole.bytes.size() &&
          std::equal(cut.bytes.begin(), cut.bytes.end(), whole.bytes.begin()));

  // A byte-order mark is looked for in every piece of the set that has one; raw stops are kept out.
  if (sets.ids[from] == 1000 || options != 0 || split_at > length) return 0;
  const Result first = Convert(text, split_at, from, to, room, KES_CONVERT_MORE);
  const std::size_t consumed = first.status.consumed;
  const Result second = Convert(text + consumed, length - consumed, from, to, room, 0);
  std::vector<std::uint8_t> joined = first.bytes;
  joined.insert(joined.end(), second.bytes.begin(), second.bytes.end());
  Require(joined == whole.bytes);
  Require(first.status.characters_total + second.status.characters_total ==
          whole.status.characters_total);
  return 0;
}
