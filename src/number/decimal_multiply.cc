// Multiplication by columns: limbs of 10^8 make products below 10^16, a column adds at most five of
// them and the carry, so 64 bits hold it and every limb is divided by the base once.
#include <cstdint>

#include "number/decimal_arithmetic.h"
#include "number/limbs.h"

namespace kestra::number {

Decimal Multiply(const Decimal& x, const Decimal& y) noexcept {
  const bool negative = x.negative != y.negative;
  if (x.kind == Kind::kInfinity || y.kind == Kind::kInfinity) return MakeInfinity(negative);
  if (x.kind == Kind::kZero || y.kind == Kind::kZero) return {};
  const Limbs a = PackLimbs(x);
  const Limbs b = PackLimbs(y);
  std::uint64_t columns[2 * kLimbs] = {};
  for (std::size_t i = 0; i < kLimbs; ++i) {
    for (std::size_t j = 0; j < kLimbs; ++j) columns[i + j + 1] += a[i] * b[j];
  }
  std::uint8_t digits[2 * kMaxDigits];
  std::uint64_t carry = 0;
  for (int i = 2 * kLimbs - 1; i >= 0; --i) {
    const std::uint64_t column = columns[i] + carry;
    carry = column / kLimbBase;
    UnpackLimb(column % kLimbBase, digits + i * kDigitsPerLimb);
  }
  return MakeDecimal(negative, x.exponent + y.exponent, digits);
}

}  // namespace kestra::number
