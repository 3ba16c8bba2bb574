#include "tests/support/stateful_reference.h"

namespace kestra::test {
namespace {

constexpr char kOut = 0x0E, kIn = 0x0F;

}  // namespace

std::vector<std::uint32_t> StatefulReference::Decode(const std::string& bytes) const {
  std::vector<std::uint32_t> text;
  bool shifted = false;
  for (std::size_t i = 0; i < bytes.size();) {
    if (bytes[i] == kOut || bytes[i] == kIn) {
      shifted = bytes[i++] == kOut;
      continue;
    }
    std::size_t width = shifted ? 2 : 1;
    if (bytes.size() - i < width) width = 1;
    if (width == 2 && (bytes[i + 1] == kOut || bytes[i + 1] == kIn)) width = 1;
    const auto found = map_.decode.find(bytes.substr(i, width));
    const bool good = found != map_.decode.end() && (width == 2) == shifted;
    text.push_back(good ? found->second : kRefMalformed);
    i += width;
  }
  return text;
}

std::string StatefulReference::Encode(const std::vector<std::uint32_t>& text) const {
  std::string bytes;
  bool shifted = false;
  for (const std::uint32_t code : text) {
    const auto found = map_.encode.find(code);
    const std::string& character = found != map_.encode.end() ? found->second : map_.encode.at('?');
    if (shifted != (character.size() == 2)) {
      shifted = !shifted;
      bytes += shifted ? kOut : kIn;
    }
    bytes += character;
  }
  return shifted ? bytes + kIn : bytes;
}

}  // namespace kestra::test
