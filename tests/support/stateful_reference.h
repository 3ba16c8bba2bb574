// A slow reader and writer of the stateful sets, from the committed maps (data/charsets/NAME.map).
#pragma once

#include "tests/support/convert_reference.h"

namespace kestra::test {

inline constexpr std::uint32_t kRefMalformed = 0xFFFFFFFF;

class StatefulReference {
 public:
  explicit StatefulReference(const std::string& name) : map_("data/charsets/" + name + ".map") {}

  // Code points, kRefMalformed for each replacement that is due.
  std::vector<std::uint32_t> Decode(const std::string& bytes) const;
  // What is not in the set becomes the question mark; ends in the base state.
  std::string Encode(const std::vector<std::uint32_t>& text) const;

  const ref::Map& map() const { return map_; }

 private:
  ref::Map map_;
};

}  // namespace kestra::test
