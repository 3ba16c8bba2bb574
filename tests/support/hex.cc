#include "tests/support/hex.h"

#include <cstdio>
#include <cstdlib>

namespace kestra::test {
namespace {

[[noreturn]] void Fail(std::string_view text) {
  std::fprintf(stderr, "not hexadecimal: %.*s\n", static_cast<int>(text.size()), text.data());
  std::exit(3);
}

}  // namespace

std::vector<std::uint8_t> Bytes(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  const std::string whole(text);
  const char* at = whole.c_str();
  while (*at != '\0') {
    if (*at == ' ') {
      ++at;
      continue;
    }
    char* end = nullptr;
    const unsigned long value = std::strtoul(at, &end, 16);
    if (end == at || value > 255) Fail(text);
    unsigned long times = 1;
    if (*end == '*') times = std::strtoul(end + 1, &end, 10);
    if (*end != ' ' && *end != '\0') Fail(text);
    bytes.insert(bytes.end(), times, static_cast<std::uint8_t>(value));
    at = end;
  }
  return bytes;
}

std::string Hex(const std::uint8_t* bytes, std::size_t size) {
  std::string text;
  char digits[4];
  for (std::size_t i = 0; i < size; ++i) {
    std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : " %02X", bytes[i]);
    text += digits;
  }
  return text;
}

}  // namespace kestra::test
