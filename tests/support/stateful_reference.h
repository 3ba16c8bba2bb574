// A slow reader and writer of the stateful sets, from the committed maps (data/charsets/NAME.map).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kestra::test {

inline constexpr std::uint32_t kRefMalformed = 0xFFFFFFFF;

class StatefulReference {
 public:
  explicit StatefulReference(const std::string& name);

  // Code points, kRefMalformed for each replacement that is due.
  std::vector<std::uint32_t> Decode(const std::string& bytes) const;
  // What is not in the set becomes the question mark; ends in the base state.
  std::string Encode(const std::vector<std::uint32_t>& text) const;

  const std::vector<std::string>& characters() const { return characters_; }

 private:
  std::map<std::string, std::uint32_t> decode_;
  std::map<std::uint32_t, std::string> encode_;
  std::vector<std::string> characters_;
};

}  // namespace kestra::test
