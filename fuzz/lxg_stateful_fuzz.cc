// Conversion into and out of sets with a shift state, GB18030, and the XML converters.
//
// Input: set, other set, converter, split point, room, two state words, then the text.
//   1. Any state words are safe, with any room.
//   2. Text in two pieces, continued, gives what one call gives.
//   3. What did not fit is a text of its own: it decodes to a prefix of what fits.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "kestra/convert.h"
#include "kestra/handle.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::test::Require;

constexpr std::uint32_t kStateful[] = {854, 900,  901,  902,  904,  907,  908,
                                       909, 9994, 9995, 9996, 9997, 9998, 9999};
constexpr std::uint32_t kOthers[] = {2000, 873, 1, 105, 831, 900, 9999, 854};
using Converter = decltype(&lxgcnvb);
constexpr Converter kConverters[] = {lxgcnvb, lxgxmlco, lxgxmlcv};

lxcontext& Context() {
  static lxcontext context = [] {
    setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 1);
    lxcontext made{};
    std::uint32_t error = 0;
    lxinitc(&made, lxlinit(nullptr, 1, &error), nullptr, 0);
    return made;
  }();
  return context;
}

using Bytes = std::vector<std::uint8_t>;

// Both texts end where their allocation ends.
Bytes Convert(Converter convert, std::uint32_t to, std::uint32_t from, const Bytes& text,
              std::size_t room, std::uint32_t options) {
  const std::unique_ptr<std::uint8_t[]> source(new std::uint8_t[text.size()]);
  std::copy(text.begin(), text.end(), source.get());
  const std::unique_ptr<std::uint8_t[]> destination(new std::uint8_t[room]);
  lxcontext& context = Context();
  const lxobject* destination_set = lxpcobj(to, &context);
  const lxobject* source_set = lxpcobj(from, &context);
  Require(destination_set != nullptr && source_set != nullptr);
  const std::size_t written = convert(destination.get(), destination_set, room, source.get(),
                                      source_set, text.size(), options, &context);
  Require(written <= room && context.status.consumed <= text.size());
  return {destination.get(), destination.get() + written};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 13) return 0;
  std::uint32_t to = kStateful[data[0] % std::size(kStateful)];
  std::uint32_t from = kOthers[data[1] % std::size(kOthers)];
  if ((data[0] & 0x80) != 0) std::swap(to, from);
  const Converter convert = kConverters[data[2] % std::size(kConverters)];
  const std::size_t small_room = data[4];
  const Bytes text(data + 13, data + size);
  const std::size_t room = 16 * text.size() + 64;
  lxcontext& context = Context();

  std::memcpy(&context.status.shift_in, data + 5, 4);
  std::memcpy(&context.status.shift_out, data + 9, 4);
  Convert(convert, to, from, text, small_room, KES_CONVERT_CONTINUE | (data[2] >> 4 & 3u));

  const Bytes whole = Convert(convert, to, from, text, room, 0);
  const lxstatus wanted = context.status;
  Require(context.error == 0 &&
          wanted.consumed == (from == 2000 ? text.size() & ~std::size_t{1} : text.size()));
  const std::size_t split = std::min<std::size_t>(data[3], text.size());
  Bytes joined = Convert(convert, to, from, {text.begin(), text.begin() + static_cast<long>(split)},
                         room, KES_CONVERT_MORE);
  const lxstatus first = context.status;
  const Bytes rest =
      Convert(convert, to, from, {text.begin() + static_cast<long>(first.consumed), text.end()},
              room, KES_CONVERT_CONTINUE);
  joined.insert(joined.end(), rest.begin(), rest.end());
  Require(joined == whole);
  Require(first.characters_total + context.status.characters_total == wanted.characters_total);

  const Bytes cut = Convert(convert, to, from, text, small_room, 0);
  // No room at all is full also where the text has nothing to write.
  if (small_room != 0) {
    Require((context.error == KES_NLS_DESTINATION_FULL) == (small_room < whole.size()));
  }
  const Bytes whole_units = Convert(lxgcnvb, 2000, to, whole, 4 * whole.size() + 8, 0);
  const Bytes cut_units = Convert(lxgcnvb, 2000, to, cut, 4 * cut.size() + 8, 0);
  Require(cut_units.size() <= whole_units.size() &&
          std::equal(cut_units.begin(), cut_units.end(), whole_units.begin()));
  return 0;
}
