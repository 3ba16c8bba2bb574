// Random well-formed NUMBERs that look for trouble: runs of 0, 49, 50 and 99, all lengths,
// exponents near one another and at the limits.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace kestra::test {

class NumberSource {
 public:
  explicit NumberSource(std::uint64_t seed) : random_(seed) {}

  std::uint64_t Below(std::uint64_t limit) { return random_() % limit; }
  std::vector<std::uint8_t> Next();  // zero and infinities now and then

 private:
  std::mt19937_64 random_;
};

}  // namespace kestra::test
