// Bytes written as hexadecimal text, for tables of expected values.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::test {

// "C2 02 18" -> bytes. A repeat is written "64*19". Anything else ends the program with a message.
std::vector<std::uint8_t> Bytes(std::string_view text);
std::string Hex(const std::uint8_t* bytes, std::size_t size);
inline std::string Hex(const std::vector<std::uint8_t>& bytes) {
  return Hex(bytes.data(), bytes.size());
}

}  // namespace kestra::test
