#include "unicode_data.h"

#include <fmt/format.h>

#include <utility>

#include "kestra/charset.h"

namespace kestra::nlsc {
namespace {

constexpr std::pair<char32_t, char32_t> kJoiningJamo[] = {{0x1160, 0x11FF}, {0xD7B0, 0xD7FF}};
constexpr char32_t kSoftHyphen = 0xAD;  // a format character, but displayed

// Class bits that follow from the general category.
std::uint16_t CategoryBits(std::string_view category) {
  if (category == "Nd") return KES_CLASS_DIGIT;
  if (category == "Zs") return KES_CLASS_BLANK;
  if (category == "Cc" || category == "Cf" || category == "Zl" || category == "Zp") {
    return KES_CLASS_CONTROL | KES_CLASS_ZERO_WIDTH;
  }
  if (category == "Mn" || category == "Me") return KES_CLASS_ZERO_WIDTH;
  return category.starts_with('P') || category.starts_with('S') ? KES_CLASS_PUNCTUATION : 0;
}

}  // namespace

UnicodeData::UnicodeData(Sources& sources)
    : class_words_(kCodePoints), upper_(kCodePoints), lower_(kCodePoints) {
  ReadCharacters(sources);
  ReadProperties(sources, "usr/share/unicode/DerivedCoreProperties.txt",
                 {{"Uppercase", KES_CLASS_UPPER},
                  {"Lowercase", KES_CLASS_LOWER},
                  {"Alphabetic", KES_CLASS_ALPHABETIC}});
  ReadProperties(sources, "usr/share/unicode/PropList.txt",
                 {{"White_Space", KES_CLASS_SPACE}, {"Hex_Digit", KES_CLASS_HEX_DIGIT}});
  ReadProperties(sources, "usr/share/unicode/EastAsianWidth.txt",
                 {{"W", KES_CLASS_WIDE}, {"F", KES_CLASS_WIDE}});
  class_words_[kSoftHyphen] &= static_cast<std::uint16_t>(~KES_CLASS_ZERO_WIDTH);
  // Vowels and finals of conjoining Hangul stand in the columns of the initial before them.
  for (const auto& [first, last] : kJoiningJamo) {
    for (char32_t code = first; code <= last; ++code) {
      if (class_words_[code] != 0) class_words_[code] |= KES_CLASS_ZERO_WIDTH;
    }
  }
}

// UnicodeData.txt: code;name;category;...;upper;lower;title. A name that ends in "First>" begins a
// range whose end is the next line.
void UnicodeData::ReadCharacters(Sources& sources) {
  const SourceText source = sources.Read("usr/share/unicode/UnicodeData.txt");
  Lines lines(source);
  std::string_view line;
  char32_t range_first = kCodePoints;
  while (lines.Next(line)) {
    if (line.empty()) continue;
    const std::vector<std::string_view> fields = Split(line, ';');
    if (fields.size() != 15) lines.Fail("a line of UnicodeData has 15 fields");
    const std::optional<std::uint32_t> code = ParseHex(fields[0]);
    if (!code || *code >= kCodePoints) lines.Fail("the first field is not a code point");
    if (fields[1].ends_with("First>")) {
      range_first = *code;
      continue;
    }
    char32_t at = *code;
    if (range_first != kCodePoints) {
      if (!fields[1].ends_with("Last>") || range_first > *code) lines.Fail("a range has no end");
      at = std::exchange(range_first, kCodePoints);
    }
    for (; at <= *code; ++at) class_words_[at] = CategoryBits(fields[2]);
    const auto mapping = [&](std::string_view field) -> char32_t {
      if (field.empty()) return 0;
      const std::optional<std::uint32_t> target = ParseHex(field);
      if (!target || *target >= kCodePoints) lines.Fail("a case mapping is not a code point");
      return *target;
    };
    upper_[*code] = mapping(fields[12]);
    lower_[*code] = mapping(fields[13]);
  }
}

// Lines "0041..005A    ; Uppercase # ...", blanks as one likes.
void UnicodeData::ReadProperties(
    Sources& sources, const char* file,
    const std::vector<std::pair<std::string_view, std::uint16_t>>& properties) {
  const SourceText source = sources.Read(file);
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    line = Trim(line.substr(0, line.find('#')));
    if (line.empty()) continue;
    const std::size_t semicolon = line.find(';');
    if (semicolon == std::string_view::npos) lines.Fail("a property line has a semicolon");
    const std::string_view name = Trim(line.substr(semicolon + 1));
    std::uint16_t bits = 0;
    for (const auto& [property, bit] : properties) {
      if (property == name) bits = bit;
    }
    if (bits == 0) continue;
    const std::string_view range = Trim(line.substr(0, semicolon));
    const std::size_t dots = range.find("..");
    const std::optional<std::uint32_t> first = ParseHex(range.substr(0, dots));
    const std::optional<std::uint32_t> last =
        dots == std::string_view::npos ? first : ParseHex(range.substr(dots + 2));
    if (!first || !last || *first > *last || *last >= kCodePoints) {
      lines.Fail(fmt::format("not a range of code points: {}", range));
    }
    for (std::uint32_t code = *first; code <= *last; ++code) {
      class_words_[code] = static_cast<std::uint16_t>(class_words_[code] | bits);
    }
  }
}

}  // namespace kestra::nlsc
