// Intel's decimal floating-point library, 128 bits: the calls that benchmarks make. Its own header
// does not compile as C++20 without warnings, so they are declared here (arguments by value,
// rounding and flags passed).
#pragma once

#include <cstdint>

namespace kestra::bench {

struct alignas(16) Bid128 {
  std::uint64_t words[2];
};

extern "C" {
Bid128 __bid128_from_string(char* text, unsigned rounding, unsigned* flags);
Bid128 __bid128_add(Bid128 x, Bid128 y, unsigned rounding, unsigned* flags);
Bid128 __bid128_sub(Bid128 x, Bid128 y, unsigned rounding, unsigned* flags);
Bid128 __bid128_mul(Bid128 x, Bid128 y, unsigned rounding, unsigned* flags);
Bid128 __bid128_div(Bid128 x, Bid128 y, unsigned rounding, unsigned* flags);
Bid128 __bid128_quantize(Bid128 x, Bid128 y, unsigned rounding, unsigned* flags);
int __bid128_quiet_less(Bid128 x, Bid128 y, unsigned* flags);
}

inline constexpr unsigned kTiesAway = 4;

inline Bid128 BidFromText(const char* text) {
  unsigned flags = 0;
  return __bid128_from_string(const_cast<char*>(text), kTiesAway, &flags);
}
inline Bid128 BidAdd(Bid128 x, Bid128 y) {
  unsigned flags = 0;
  return __bid128_add(x, y, kTiesAway, &flags);
}
inline Bid128 BidSubtract(Bid128 x, Bid128 y) {
  unsigned flags = 0;
  return __bid128_sub(x, y, kTiesAway, &flags);
}
inline Bid128 BidMultiply(Bid128 x, Bid128 y) {
  unsigned flags = 0;
  return __bid128_mul(x, y, kTiesAway, &flags);
}
inline Bid128 BidDivide(Bid128 x, Bid128 y) {
  unsigned flags = 0;
  return __bid128_div(x, y, kTiesAway, &flags);
}
inline bool BidLess(Bid128 x, Bid128 y) {
  unsigned flags = 0;
  return __bid128_quiet_less(x, y, &flags) != 0;
}
inline Bid128 BidToOnePlace(Bid128 x, Bid128) {
  static const Bid128 place = BidFromText("1e-1");
  unsigned flags = 0;
  return __bid128_quantize(x, place, kTiesAway, &flags);
}

}  // namespace kestra::bench
