// Addition digit by digit, last place first. The exact sum of two numbers whose exponents differ by
// less than kFarApart fits a fixed row of digits; a term further down cannot change the rounded
// result: it lies below the 21st digit, and where it borrows it leaves 99s there, which round back
// up.
#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

#include "number/decimal_arithmetic.h"

namespace kestra::number {
namespace {

constexpr int kFarApart = kMaxDigits + 2;
constexpr int kRow = 1 + kFarApart + kMaxDigits;  // a place for the carry, then both terms

// row = big + small or big - small; row[0] takes the carry. big is not below small.
void AddInto(std::span<std::uint8_t, kRow> row, const Decimal& big, const Decimal& small,
             bool subtract) noexcept {
  const int shift = big.exponent - small.exponent;
  std::memcpy(row.data() + 1, big.digits, static_cast<std::size_t>(big.count));
  int carry = 0;
  for (int i = shift + small.count; i >= 0; --i) {
    const int from = i - 1 - shift;
    const int term = from >= 0 && from < small.count ? small.digits[from] : 0;
    const auto place = static_cast<std::size_t>(i);
    int digit = subtract ? row[place] - term - carry : row[place] + term + carry;
    carry = digit < 0 || digit >= kBase;
    if (carry != 0) digit += subtract ? kBase : -kBase;
    row[place] = static_cast<std::uint8_t>(digit);
  }
}

}  // namespace

int CompareMagnitudes(const Decimal& x, const Decimal& y) noexcept {
  if (x.exponent != y.exponent) return x.exponent - y.exponent;
  return std::memcmp(x.digits, y.digits, kMaxDigits);  // digits past count are 0
}

Decimal Negated(Decimal value) noexcept {
  if (value.kind != Kind::kZero) value.negative = !value.negative;
  return value;
}

Decimal Add(const Decimal& x, const Decimal& y) noexcept {
  if (x.kind == Kind::kInfinity || y.kind == Kind::kZero) return x;
  if (y.kind == Kind::kInfinity || x.kind == Kind::kZero) return y;
  const Decimal* big = &x;
  const Decimal* small = &y;
  if (CompareMagnitudes(x, y) < 0) std::swap(big, small);
  if (big->exponent - small->exponent >= kFarApart) return *big;
  std::uint8_t row[kRow] = {};
  AddInto(row, *big, *small, x.negative != y.negative);
  return MakeDecimal(big->negative, big->exponent + 1, row);
}

Decimal Subtract(const Decimal& x, const Decimal& y) noexcept {
  const bool infinite = x.kind == Kind::kInfinity && y.kind == Kind::kInfinity;
  if (infinite && x.negative == y.negative) return {};
  return Add(x, Negated(y));
}

}  // namespace kestra::number
