// Groups of character sets, so that a fuzzer's time can be spent on one of them.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace kestra::fuzz {

inline const char* GroupOf(std::uint32_t id) {
  if ((id >= 900 && id < 1000) || id >= 9994) return "stateful";
  if (id == 854 || (id >= 871 && id <= 873) || id == 1000 || id >= 2000) return "unicode";
  return id >= 800 ? "multibyte" : "single";
}

// Whether the environment variable KESTRA_FUZZ_SETS names the group of the set, or none.
inline bool InGroup(std::uint32_t id) {
  const char* wanted = std::getenv("KESTRA_FUZZ_SETS");
  return wanted == nullptr || std::strcmp(wanted, GroupOf(id)) == 0;
}

}  // namespace kestra::fuzz
