#include "charmap.h"

#include <fmt/format.h>

namespace kestra::nlsc {
namespace {

constexpr std::string_view kIrreversible = "%IRREVERSIBLE%";

// One line of a charmap, read from the left.
class CharmapLine {
 public:
  CharmapLine(std::string_view text, const Lines& lines) : rest_(text), lines_(lines) {}

  bool Skip(std::string_view prefix) {
    if (!rest_.starts_with(prefix)) return false;
    rest_.remove_prefix(prefix.size());
    return true;
  }
  void SkipBlanks() {
    while (rest_.starts_with(' ') || rest_.starts_with('\t')) rest_.remove_prefix(1);
  }
  char32_t CodePoint() {
    if (!Skip("<U")) lines_.Fail("a code point <U...> is expected");
    const std::size_t end = rest_.find('>');
    const std::optional<std::uint32_t> code =
        end == std::string_view::npos ? std::nullopt : ParseHex(rest_.substr(0, end));
    if (!code || *code > 0x10FFFF || (*code >= 0xD800 && *code <= 0xDFFF)) {
      lines_.Fail("not a code point of a character");
    }
    rest_.remove_prefix(end + 1);
    return *code;
  }
  void Bytes(Mapping& mapping) {
    while (Skip("/x")) {
      const std::optional<std::uint32_t> byte = ParseHex(rest_.substr(0, 2));
      if (!byte || rest_.size() < 2 || mapping.length == 4) lines_.Fail("not 1 to 4 bytes /xHH");
      mapping.bytes = mapping.bytes << 8 | *byte;
      ++mapping.length;
      rest_.remove_prefix(2);
    }
    if (mapping.length == 0) lines_.Fail("a byte /xHH is expected");
    if (!rest_.empty() && rest_[0] != ' ' && rest_[0] != '\t') lines_.Fail("text after the bytes");
  }

 private:
  std::string_view rest_;
  const Lines& lines_;
};

void ReadMappings(CharmapLine line, const Lines& lines, std::vector<Mapping>& mappings) {
  Mapping mapping;
  mapping.decode_only = line.Skip(kIrreversible);
  const char32_t first = line.CodePoint();
  const char32_t last = line.Skip("..") ? line.CodePoint() : first;
  line.SkipBlanks();
  line.Bytes(mapping);
  if (last < first || (mapping.bytes & 0xFF) + (last - first) > 0xFF) {
    lines.Fail("a range that ends before it begins or leaves its last byte");
  }
  for (char32_t code = first; code <= last; ++code, ++mapping.bytes) {
    mapping.code = code;
    mappings.push_back(mapping);
  }
}

}  // namespace

std::vector<Mapping> ReadCharmap(const SourceText& source) {
  std::vector<Mapping> mappings;
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    if (line.starts_with("END CHARMAP")) break;
    if (line.starts_with("<U") || line.starts_with("%IRREVERSIBLE%<U")) {
      ReadMappings(CharmapLine(line, lines), lines, mappings);
    } else if (!mappings.empty() && !line.empty() && !line.starts_with('%')) {
      lines.Fail("neither a mapping nor a comment");
    }
  }
  if (mappings.empty()) lines.Fail("the charmap has no mappings");
  return mappings;
}

std::vector<Mapping> ReadMap(const SourceText& source) {
  std::vector<Mapping> mappings;
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    if (line.empty() || line.starts_with('#')) continue;
    Mapping mapping;
    if (line.starts_with('!')) {
      mapping.decode_only = true;
      line.remove_prefix(1);
    }
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) lines.Fail("bytes and a code point are expected");
    const std::optional<std::uint32_t> bytes = ParseHex(line.substr(0, blank));
    const std::optional<std::uint32_t> code = ParseHex(line.substr(blank + 1));
    if (!bytes || blank % 2 != 0 || blank > 8) lines.Fail("not 1 to 4 bytes in hexadecimal");
    if (!code || *code > 0x10FFFF || (*code >= 0xD800 && *code <= 0xDFFF)) {
      lines.Fail("not a code point of a character");
    }
    mapping.bytes = *bytes;
    mapping.length = static_cast<std::uint8_t>(blank / 2);
    mapping.code = *code;
    mappings.push_back(mapping);
  }
  if (mappings.empty()) lines.Fail("the map has no mappings");
  return mappings;
}

}  // namespace kestra::nlsc
