#include "tests/support/stateful_reference.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kestra::test {
namespace {

constexpr char kOut = 0x0E, kIn = 0x0F;

}  // namespace

StatefulReference::StatefulReference(const std::string& name) {
  std::ifstream file(std::string(KESTRA_SOURCE_DIR) + "/data/charsets/" + name + ".map");
  if (!file) throw std::runtime_error("no map " + name);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    const bool decode_only = line[0] == '!';
    std::istringstream fields(line.substr(decode_only ? 1 : 0));
    std::string digits;
    std::uint32_t code;
    fields >> digits >> std::hex >> code;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    decode_[bytes] = code;
    if (!decode_only) encode_.try_emplace(code, bytes);
    characters_.push_back(bytes);
  }
}

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
    const auto found = decode_.find(bytes.substr(i, width));
    const bool good = found != decode_.end() && (width == 2) == shifted;
    text.push_back(good ? found->second : kRefMalformed);
    i += width;
  }
  return text;
}

std::string StatefulReference::Encode(const std::vector<std::uint32_t>& text) const {
  std::string bytes;
  bool shifted = false;
  for (const std::uint32_t code : text) {
    const auto found = encode_.find(code);
    const std::string& character = found != encode_.end() ? found->second : encode_.at('?');
    if (shifted != (character.size() == 2)) {
      shifted = !shifted;
      bytes += shifted ? kOut : kIn;
    }
    bytes += character;
  }
  return shifted ? bytes + kIn : bytes;
}

}  // namespace kestra::test
