// Long division in base 10^8 (Knuth 4.3.1 D). Both mantissas are left-aligned, so the divisor's
// first two limbs are at least 10^14 and a quotient limb estimated from the remainder's first three
// limbs by those two is right or one too large: what the estimate leaves out is below 10^-14 of the
// divisor, times a quotient limb below 10^8.
#include <cstddef>
#include <cstdint>

#include "number/decimal_arithmetic.h"
#include "number/limbs.h"

namespace kestra::number {
namespace {

using Wide = unsigned __int128;

constexpr std::uint64_t kPowersOf100[] = {1, 100, 10'000, 1'000'000, kLimbBase};

// A divisor, and a remainder below it that is divided a few digits at a time.
class LongDivision {
 public:
  // Divides x's mantissa by y's; the integer part of the quotient is in FirstDigit.
  LongDivision(const Decimal& x, const Decimal& y) noexcept
      : divisor_(PackLimbs(y)), remainder_(PackLimbs(x)) {
    lead_ = divisor_[0] * kLimbBase + divisor_[1];
    first_digit_ = Reduce(0);
  }

  std::uint64_t FirstDigit() const noexcept { return first_digit_; }
  const Limbs& Remainder() const noexcept { return remainder_; }

  // The next quotient limb of so many base-100 digits (1..4).
  std::uint64_t Next(int digits) noexcept {
    const std::uint64_t scale = kPowersOf100[digits];
    std::uint64_t carry = 0;
    for (std::size_t i = kLimbs; i-- > 0;) {
      const std::uint64_t limb = remainder_[i] * scale + carry;
      carry = limb / kLimbBase;
      remainder_[i] = limb % kLimbBase;
    }
    return Reduce(carry);
  }

  bool IsExact() const noexcept {
    for (const std::uint64_t limb : remainder_) {
      if (limb != 0) return false;
    }
    return true;
  }

  // What the remainder lacks to the divisor, in its place.
  void TurnRemainder() noexcept {
    std::uint64_t borrow = 0;
    for (std::size_t i = kLimbs; i-- > 0;) {
      const std::uint64_t taken = remainder_[i] + borrow;
      borrow = divisor_[i] < taken;
      remainder_[i] = divisor_[i] + (borrow != 0 ? kLimbBase : 0) - taken;
    }
  }

  // Is the remainder at least half of the divisor?
  bool IsHalfOrMore() const noexcept {
    std::int64_t difference = 0;  // of the limbs so far, 2 * remainder - divisor; small or decided
    for (std::size_t i = 0; i < kLimbs; ++i) {
      difference = difference * static_cast<std::int64_t>(kLimbBase) +
                   static_cast<std::int64_t>(2 * remainder_[i]) -
                   static_cast<std::int64_t>(divisor_[i]);
      if (difference < -2 || difference > 2) return difference > 0;
    }
    return difference >= 0;
  }

 private:
  // Divides (top, remainder) by the divisor; the quotient is below 10^8.
  std::uint64_t Reduce(std::uint64_t top) noexcept {
    const Wide lead =
        static_cast<Wide>(top * kLimbBase + remainder_[0]) * kLimbBase + remainder_[1];
    std::uint64_t quotient = static_cast<std::uint64_t>(lead / lead_);
    if (quotient == 0) return 0;
    std::int64_t borrow = 0;  // the sum of what is carried from right to left, never positive
    for (std::size_t i = kLimbs; i-- > 0;) {
      const std::int64_t limb = static_cast<std::int64_t>(remainder_[i]) + borrow -
                                static_cast<std::int64_t>(quotient * divisor_[i]);
      borrow = FloorDivide(limb);
      remainder_[i] =
          static_cast<std::uint64_t>(limb - borrow * static_cast<std::int64_t>(kLimbBase));
    }
    if (static_cast<std::int64_t>(top) + borrow < 0) {
      --quotient;
      AddBack();
    }
    return quotient;
  }

  static std::int64_t FloorDivide(std::int64_t limb) noexcept {
    const auto base = static_cast<std::int64_t>(kLimbBase);
    return limb >= 0 ? limb / base : -((base - 1 - limb) / base);
  }

  void AddBack() noexcept {
    std::uint64_t carry = 0;
    for (std::size_t i = kLimbs; i-- > 0;) {
      remainder_[i] += divisor_[i] + carry;
      carry = remainder_[i] >= kLimbBase;
      if (carry != 0) remainder_[i] -= kLimbBase;
    }
  }

  Limbs divisor_;
  Limbs remainder_;
  std::uint64_t lead_ = 0;
  std::uint64_t first_digit_ = 0;
};

// A remainder of a division by y: 0.limbs times 100^(y's exponent).
Decimal FromRemainder(const LongDivision& division, bool negative, int exponent) noexcept {
  std::uint8_t digits[kMaxDigits];
  for (int i = 0; i < kLimbs; ++i) {
    UnpackLimb(division.Remainder()[static_cast<std::size_t>(i)], digits + i * kDigitsPerLimb);
  }
  return MakeDecimal(negative, exponent, digits);
}

}  // namespace

Decimal Divide(const Decimal& x, const Decimal& y) noexcept {
  const bool negative = x.negative != y.negative;  // zero counts as positive
  if (y.kind == Kind::kZero) return MakeInfinity(negative);
  if (x.kind == Kind::kZero) return {};
  if (x.kind == Kind::kInfinity) return MakeInfinity(negative);
  if (y.kind == Kind::kInfinity) return {};
  // The quotient of the mantissas is above 1/100 and below 100: its integer part is one digit, and
  // when that is 0 the digit after it is not. Six limbs more hold at least 21 digits.
  constexpr int kQuotientLimbs = 6;
  LongDivision division(x, y);
  std::uint8_t digits[1 + kQuotientLimbs * kDigitsPerLimb] = {};
  digits[0] = static_cast<std::uint8_t>(division.FirstDigit());
  for (int i = 0; i < kQuotientLimbs && !division.IsExact(); ++i) {
    UnpackLimb(division.Next(kDigitsPerLimb), digits + 1 + i * kDigitsPerLimb);
  }
  return MakeDecimal(negative, x.exponent - y.exponent + 1, digits);
}

Decimal Remainder(const Decimal& x, const Decimal& y, Rounding quotient) noexcept {
  if (x.kind != Kind::kFinite || y.kind != Kind::kFinite) return x;
  const bool nearest = quotient == Rounding::kHalfAway;
  if (x.exponent >= y.exponent) {
    LongDivision division(x, y);
    for (int left = x.exponent - y.exponent; left > 0; left -= kDigitsPerLimb) {
      static_cast<void>(division.Next(left < kDigitsPerLimb ? left : kDigitsPerLimb));
    }
    const bool turned = nearest && division.IsHalfOrMore();
    if (turned) division.TurnRemainder();
    return FromRemainder(division, x.negative != turned, y.exponent);
  }
  if (!nearest) return x;
  // |x| is below |y|: x, or what x lacks to y with the other sign. That difference is exact when it
  // is the smaller one.
  const Decimal other = x.negative == y.negative ? Subtract(x, y) : Add(x, y);
  return other.kind == Kind::kZero || CompareMagnitudes(x, other) >= 0 ? other : x;
}

}  // namespace kestra::number
