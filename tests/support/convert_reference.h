// Conversion written a second time, slowly and in another way: a set is a list of characters with
// their bytes, a malformed sequence is found by asking which prefixes characters have. For
// comparison with the library in tests.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "kestra/context.h"

namespace kestra::test::ref {

struct Unit {
  std::optional<std::uint32_t> code_point;  // none: malformed
  std::size_t length = 1;
  bool truncated = false;
};

// A character set as the reference sees it.
struct Set {
  std::function<Unit(const std::string& text, std::size_t at)> read;
  std::function<std::string(std::uint32_t code_point)> write;  // empty: not in the set
  std::string replacement;
  bool two_byte_units = false;
  std::vector<std::uint32_t> characters;  // of a table
};

// A committed map: by line bytes and code point, "!" in front of what only decodes.
struct Map {
  explicit Map(const std::string& path);  // from the top of the sources
  std::map<std::string, std::uint32_t> decode;
  std::map<std::uint32_t, std::string> encode;
};

Set TableSet(const Map& map, const std::string& replacement);
Set UnicodeSet(std::uint16_t id);

struct Result {
  std::string bytes;
  lxstatus status{};
  std::uint32_t error = 0;
};

// options as for lxgcnvb. status.characters is left at the whole count, as characters_total.
Result Convert(const Set& to, const Set& from, const std::string& source, std::size_t room,
               std::uint32_t options);

}  // namespace kestra::test::ref
