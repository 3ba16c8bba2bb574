#include <fmt/format.h>

#include <iterator>

#include "charset_reader.h"
#include "dump.h"
#include "kestra/charset.h"
#include "kestra/handle.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace layout = kestra::nls::nlb::charset;

struct Flag {
  std::uint32_t bit;
  const char* name;
};
constexpr Flag kFlags[] = {{layout::kDisplayFlag, "display"},
                           {layout::kMultibyteFlag, "multibyte"},
                           {layout::kAlgorithmicFlag, "computed"},
                           {layout::kLeadingZeroFlag, "leading-zero"}};
constexpr Flag kHandleFlags[] = {{KES_CHARSET_SINGLE, "single-byte"},
                                 {KES_CHARSET_STATEFUL, "stateful"},
                                 {KES_CHARSET_UTF16, "utf16"},
                                 {KES_CHARSET_UTF8, "utf8"},
                                 {KES_CHARSET_GB18030, "gb18030"}};
constexpr Flag kClassFlags[] = {
    {KES_CLASS_UPPER, "upper"},           {KES_CLASS_LOWER, "lower"},
    {KES_CLASS_DIGIT, "digit"},           {KES_CLASS_SPACE, "space"},
    {KES_CLASS_PUNCTUATION, "punct"},     {KES_CLASS_CONTROL, "control"},
    {KES_CLASS_HEX_DIGIT, "xdigit"},      {KES_CLASS_BLANK, "blank"},
    {KES_CLASS_ALPHABETIC, "alphabetic"}, {KES_CLASS_WIDE, "wide"},
    {KES_CLASS_ZERO_WIDTH, "zero-width"}};
constexpr Flag kTraits[] = {{layout::kAsciiTrait, "ascii"}, {layout::kNulTrait, "nul"}};

template <std::size_t kCount>
std::string Names(std::uint32_t word, const Flag (&flags)[kCount]) {
  std::string names;
  for (const Flag& flag : flags) {
    if ((word & flag.bit) == 0) continue;
    names += fmt::format("{}{}", names.empty() ? "" : " ", flag.name);
    word &= ~flag.bit;
  }
  if (word != 0) names += fmt::format("{}{:X}", names.empty() ? "" : " ", word);
  return names.empty() ? "none" : names;
}

void DumpFields(const ObjectReader& object, std::string& out) {
  constexpr const char* kBases[] = {"other", "ASCII", "EBCDIC", "ISO 646"};
  const auto to = std::back_inserter(out);
  const std::uint32_t basis = object.U16(layout::kBasisAt);
  fmt::format_to(to, "basis: {}\n", basis < 4 ? kBases[basis] : std::to_string(basis));
  fmt::format_to(to, "flags: {}\n", Names(object.U32(layout::kFlagsAt), kFlags));
  fmt::format_to(to, "handle flags: {}\n", Names(object.U32(layout::kHandleFlagsAt), kHandleFlags));
  fmt::format_to(to, "bytes of a character: {} to {}\n", object.U8(layout::kMinBytesAt),
                 object.U8(layout::kMaxBytesAt));
  if (object.U8(layout::kClassByteAt) != 0) {
    fmt::format_to(to, "stateful: width {}, shift in {:02X}, shift out {:02X}\n",
                   object.U8(layout::kShiftedWidthAt), object.U8(layout::kShiftInAt),
                   object.U8(layout::kShiftOutAt));
  }
  fmt::format_to(to, "replacement:");
  for (unsigned i = 0; i < object.U8(layout::kReplacementLengthAt) && i < 4; ++i) {
    fmt::format_to(to, " {:02X}", object.U8(layout::kReplacementAt + i));
  }
  fmt::format_to(to, "\ntraits: {}\n", Names(object.U8(layout::kTraitsAt), kTraits));
  fmt::format_to(to, "mappings: {}\n", object.U32(layout::kMappingsAt));
}

void DumpTables(const ObjectReader& object, std::string& out) {
  constexpr const char* kNames[] = {"UTF-8",       "lead bytes",   "rows",   "decode",   "class",
                                    "class words", "encode index", "encode", "four-byte"};
  const auto to = std::back_inserter(out);
  fmt::format_to(to, "rows: {}, decode cells: {} of {} bytes\n", object.U32(layout::kRowsAt),
                 object.U32(layout::kDecodeCellsAt), object.U8(layout::kWidthsAt) & 15);
  fmt::format_to(to, "encode index: {}, blocks: {} with cells of {} bytes\n",
                 object.U32(layout::kEncodeIndexAt), object.U32(layout::kEncodeBlocksAt),
                 object.U8(layout::kWidthsAt) >> 4);
  fmt::format_to(to, "classes by: {}\n",
                 object.U8(layout::kClassKindAt) == layout::kByCell        ? "cell"
                 : object.U8(layout::kClassKindAt) == layout::kByCodePoint ? "code point"
                                                                           : "first byte");
  for (std::size_t table = 0; table < std::size(kNames); ++table) {
    const std::size_t begin = object.TableBegin(table), end = object.TableEnd(table);
    if (begin != end) {
      fmt::format_to(to, "table {} ({}): bytes {} to {}\n", table, kNames[table], begin, end);
    }
  }
}

void DumpFirstBytes(const ObjectReader& object, std::string& out) {
  const auto to = std::back_inserter(out);
  out += "first bytes: byte, length, code point, upper, lower, classes\n";
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const std::uint16_t word = object.U16(layout::kClassTableAt + 2 * byte);
    const std::uint16_t code = object.U16(layout::kSingleAt + 2 * byte);
    const std::string name =
        code == layout::kNoCharacter ? "-" : fmt::format("U+{:04X}", static_cast<unsigned>(code));
    fmt::format_to(to, "  {:02X} {} {:<6} {:02X} {:02X} {}\n", byte, (word & 3) + 1, name,
                   object.U8(layout::kUpperAt + byte), object.U8(layout::kLowerAt + byte),
                   Names(word & ~3u, kClassFlags));
  }
}

void DumpCharacters(const ObjectReader& object, std::string& out) {
  const CharsetReader reader(object);
  const auto to = std::back_inserter(out);
  out += "characters: bytes, code point, classes (! decoded only)\n";
  reader.ForEachDecoding([&](const CharacterBytes& bytes, char32_t code) {
    if (bytes.length == 1) return;
    fmt::format_to(to, " {}{} U+{:04X} {}\n", reader.Encode(code) == bytes ? ' ' : '!',
                   FormatBytes(bytes), static_cast<std::uint32_t>(code),
                   Names(reader.ClassWord(bytes), kClassFlags));
  });
}

}  // namespace

void DumpCharset(const ObjectReader& object, bool full, std::string& out) {
  DumpFields(object, out);
  DumpTables(object, out);
  if (!full) return;
  DumpFirstBytes(object, out);
  if (object.U32(layout::kRowsAt) != 0) DumpCharacters(object, out);
}

}  // namespace kestra::nlsc
