// NUMBER arithmetic done slowly and apart from the library: exact arithmetic on decimal text,
// rounded at the end. Shares no code and no method with src/number.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestra::test::ref {

using NumberBytes = std::vector<std::uint8_t>;

// digits * 10^scale with a sign; no leading zeros, so zero has no digits at all.
struct Exact {
  bool infinite = false;
  bool negative = false;
  std::string digits;
  int scale = 0;

  bool IsZero() const { return !infinite && digits.empty(); }
};

enum class Mode { kHalfAway, kHalfEven, kTruncate };

Exact Read(const NumberBytes& bytes);   // of a well-formed number
NumberBytes Write(const Exact& value);  // rounded half away from zero on the 21st base-100 digit

NumberBytes Add(const NumberBytes& x, const NumberBytes& y);
NumberBytes Subtract(const NumberBytes& x, const NumberBytes& y);
NumberBytes Multiply(const NumberBytes& x, const NumberBytes& y);
NumberBytes Divide(const NumberBytes& x, const NumberBytes& y);
NumberBytes Modulo(const NumberBytes& x, const NumberBytes& y);
NumberBytes NearestRemainder(const NumberBytes& x, const NumberBytes& y);
NumberBytes Round(const NumberBytes& x, int places, Mode mode);
NumberBytes Negate(const NumberBytes& x);
NumberBytes Absolute(const NumberBytes& x);
int Compare(const NumberBytes& x, const NumberBytes& y);  // sign of x - y, infinities at the ends

}  // namespace kestra::test::ref
