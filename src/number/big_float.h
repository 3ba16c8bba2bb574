// Binary floating point of N 64-bit words, for the mathematical functions: enough bits that their
// results, rounded once to 20 base-100 digits, are right but for cases closer to a tie than the
// functions' error. Values are truncated, so each operation is off by a few units of the last bit
// at most.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kestra::number {

// 0.words (binary, top bit set, words[0] the least significant) times 2^exponent. Zero has no bit
// set.
template <std::size_t N>
struct BigFloat {
  std::array<std::uint64_t, N> words = {};
  std::int64_t exponent = 0;
  bool negative = false;

  constexpr bool IsZero() const noexcept { return words[N - 1] == 0; }
};

template <std::size_t N>
constexpr BigFloat<N> Negated(BigFloat<N> x) noexcept {
  x.negative = !x.negative;
  return x;
}

template <std::size_t N>
constexpr BigFloat<N> Scaled(BigFloat<N> x, std::int64_t bits) noexcept {  // x * 2^bits
  x.exponent += bits;
  return x;
}

// The first M words of x, or x with zeros after it.
template <std::size_t M, std::size_t N>
constexpr BigFloat<M> Resized(const BigFloat<N>& x) noexcept {
  BigFloat<M> result;
  for (std::size_t i = 1; i <= M && i <= N; ++i) result.words[M - i] = x.words[N - i];
  result.exponent = x.exponent;
  result.negative = x.negative;
  return result;
}

namespace big_float_internal {

using Wide = unsigned __int128;

template <std::size_t N>
void ShiftRight(std::array<std::uint64_t, N>& words, std::int64_t bits) noexcept {
  if (bits >= static_cast<std::int64_t>(64 * N)) {
    words = {};
    return;
  }
  const auto whole = static_cast<std::size_t>(bits / 64);
  const auto part = static_cast<unsigned>(bits % 64);
  for (std::size_t i = 0; i < N; ++i) {
    const std::uint64_t low = i + whole < N ? words[i + whole] : 0;
    const std::uint64_t high = i + whole + 1 < N ? words[i + whole + 1] : 0;
    words[i] = part == 0 ? low : low >> part | high << (64 - part);
  }
}

// Shifts the top bit to the front; returns by how many bits. 0 stays.
template <std::size_t N>
constexpr std::int64_t Normalize(std::array<std::uint64_t, N>& words) noexcept {
  std::size_t whole = 0;
  while (whole < N && words[N - 1 - whole] == 0) ++whole;
  if (whole == N) return 0;
  const auto part = static_cast<unsigned>(std::countl_zero(words[N - 1 - whole]));
  for (std::size_t i = N; i-- > 0;) {
    const std::uint64_t high = i >= whole ? words[i - whole] : 0;
    const std::uint64_t low = i >= whole + 1 ? words[i - whole - 1] : 0;
    words[i] = part == 0 ? high : high << part | low >> (64 - part);
  }
  return static_cast<std::int64_t>(64 * whole + part);
}

template <std::size_t N>
bool AddTo(std::array<std::uint64_t, N>& a, const std::array<std::uint64_t, N>& b) noexcept {
  Wide carry = 0;
  for (std::size_t i = 0; i < N; ++i) {
    carry += static_cast<Wide>(a[i]) + b[i];
    a[i] = static_cast<std::uint64_t>(carry);
    carry >>= 64;
  }
  return carry != 0;
}

template <std::size_t N>
void SubtractFrom(std::array<std::uint64_t, N>& a,
                  const std::array<std::uint64_t, N>& b) noexcept {  // a >= b
  std::uint64_t borrow = 0;
  for (std::size_t i = 0; i < N; ++i) {
    const Wide difference = static_cast<Wide>(a[i]) - b[i] - borrow;
    a[i] = static_cast<std::uint64_t>(difference);
    borrow = static_cast<std::uint64_t>(difference >> 64) & 1;
  }
}

}  // namespace big_float_internal

// Negative, zero, positive as |x| is below, equal to, above |y|.
template <std::size_t N>
int CompareMagnitudes(const BigFloat<N>& x, const BigFloat<N>& y) noexcept {
  if (x.IsZero() || y.IsZero()) return (x.IsZero() ? 0 : 1) - (y.IsZero() ? 0 : 1);
  if (x.exponent != y.exponent) return x.exponent < y.exponent ? -1 : 1;
  for (std::size_t i = N; i-- > 0;) {
    if (x.words[i] != y.words[i]) return x.words[i] < y.words[i] ? -1 : 1;
  }
  return 0;
}

template <std::size_t N>
BigFloat<N> Add(const BigFloat<N>& x, const BigFloat<N>& y) noexcept {
  if (x.IsZero()) return y;
  if (y.IsZero()) return x;
  const bool x_larger = CompareMagnitudes(x, y) >= 0;
  BigFloat<N> sum = x_larger ? x : y;
  BigFloat<N> small = x_larger ? y : x;
  big_float_internal::ShiftRight(small.words, sum.exponent - small.exponent);
  if (x.negative == y.negative) {
    if (big_float_internal::AddTo(sum.words, small.words)) {
      big_float_internal::ShiftRight(sum.words, 1);
      sum.words[N - 1] |= std::uint64_t{1} << 63;
      ++sum.exponent;
    }
  } else {
    big_float_internal::SubtractFrom(sum.words, small.words);
    sum.exponent -= big_float_internal::Normalize(sum.words);
    if (sum.IsZero()) sum = {};
  }
  return sum;
}

template <std::size_t N>
BigFloat<N> Subtract(const BigFloat<N>& x, const BigFloat<N>& y) noexcept {
  return Add(x, Negated(y));
}

template <std::size_t N>
constexpr BigFloat<N> Multiply(const BigFloat<N>& x, const BigFloat<N>& y) noexcept {
  using big_float_internal::Wide;
  if (x.IsZero() || y.IsZero()) return {};
  std::array<std::uint64_t, 2 * N> product = {};
  for (std::size_t i = 0; i < N; ++i) {
    std::uint64_t carry = 0;
    for (std::size_t j = 0; j < N; ++j) {
      const Wide sum = static_cast<Wide>(x.words[i]) * y.words[j] + product[i + j] + carry;
      product[i + j] = static_cast<std::uint64_t>(sum);
      carry = static_cast<std::uint64_t>(sum >> 64);
    }
    product[i + N] = carry;
  }
  BigFloat<N> result;
  const unsigned shift = product[2 * N - 1] >> 63 != 0 ? 0 : 1;
  for (std::size_t i = 0; i < N; ++i) {
    result.words[i] = shift == 0 ? product[i + N] : product[i + N] << 1 | product[i + N - 1] >> 63;
  }
  result.exponent = x.exponent + y.exponent - shift;
  result.negative = x.negative != y.negative;
  return result;
}

template <std::size_t N>
constexpr BigFloat<N> DivideBy(const BigFloat<N>& x, std::uint32_t divisor) noexcept {
  if (x.IsZero()) return {};
  std::array<std::uint64_t, N + 1> quotient = {};
  std::uint64_t rest = 0;
  for (std::size_t i = N + 1; i-- > 0;) {  // a word below keeps the precision
    const std::uint64_t word = i == 0 ? 0 : x.words[i - 1];
    const std::uint64_t high = rest << 32 | word >> 32;
    const std::uint64_t low = (high % divisor) << 32 | (word & 0xFFFFFFFF);
    quotient[i] = (high / divisor) << 32 | low / divisor;
    rest = low % divisor;
  }
  BigFloat<N> result;
  result.exponent = x.exponent - big_float_internal::Normalize(quotient);
  result.negative = x.negative;
  for (std::size_t i = 0; i < N; ++i) result.words[i] = quotient[i + 1];
  return result;
}

template <std::size_t N>
constexpr BigFloat<N> FromInteger(std::uint64_t value) noexcept {
  BigFloat<N> result;
  result.words[N - 1] = value;
  result.exponent = 64 - big_float_internal::Normalize(result.words);
  return result.IsZero() ? BigFloat<N>{} : result;
}

template <std::size_t N>
BigFloat<N> FromDouble(double value) noexcept {
  int exponent = 0;
  const double fraction = std::frexp(std::fabs(value), &exponent);
  BigFloat<N> result = FromInteger<N>(static_cast<std::uint64_t>(std::ldexp(fraction, 64 - 11)));
  if (result.IsZero()) return {};
  result.exponent += exponent - (64 - 11);
  result.negative = value < 0;
  return result;
}

template <std::size_t N>
double ToDouble(const BigFloat<N>& x) noexcept {
  if (x.IsZero()) return 0;
  const auto bits = static_cast<int>(x.exponent < -2000  ? -2000
                                     : x.exponent > 2000 ? 2000
                                                         : x.exponent);
  const double value = std::ldexp(static_cast<double>(x.words[N - 1]), bits - 64);
  return x.negative ? -value : value;
}

// 1 / x by Newton's iteration from a double: each step doubles the bits.
template <std::size_t N>
BigFloat<N> Reciprocal(const BigFloat<N>& x) noexcept {
  BigFloat<N> mantissa = x;
  mantissa.exponent = 0;
  const BigFloat<N> one = FromInteger<N>(1);
  BigFloat<N> y = FromDouble<N>(1 / ToDouble(mantissa));
  for (std::size_t bits = 50; bits < 64 * N; bits *= 2) {
    y = Add(y, Multiply(y, Subtract(one, Multiply(mantissa, y))));
  }
  return Scaled(y, -x.exponent);
}

template <std::size_t N>
BigFloat<N> Divide(const BigFloat<N>& x, const BigFloat<N>& y) noexcept {
  return Multiply(x, Reciprocal(y));
}

// The square root of x >= 0, by Newton's iteration for 1 / sqrt(x).
template <std::size_t N>
BigFloat<N> SquareRoot(const BigFloat<N>& x) noexcept {
  if (x.IsZero()) return {};
  BigFloat<N> mantissa = x;
  mantissa.exponent = x.exponent & 1;
  const BigFloat<N> one = FromInteger<N>(1);
  BigFloat<N> y = FromDouble<N>(1 / std::sqrt(ToDouble(mantissa)));
  for (std::size_t bits = 50; bits < 64 * N; bits *= 2) {
    const BigFloat<N> error = Subtract(one, Multiply(mantissa, Multiply(y, y)));
    y = Add(y, Scaled(Multiply(y, error), -1));
  }
  return Scaled(Multiply(mantissa, y), (x.exponent - mantissa.exponent) / 2);
}

// x to the nearest integer; low_bits gets its last two bits (of the absolute value).
template <std::size_t N>
BigFloat<N> RoundToInteger(const BigFloat<N>& x, unsigned& low_bits) noexcept {
  BigFloat<N> half = FromInteger<N>(1);
  half.exponent = 0;
  half.negative = x.negative;
  BigFloat<N> result = Add(x, half);
  low_bits = 0;
  if (result.exponent <= 0) return {};
  const std::int64_t below = static_cast<std::int64_t>(64 * N) - result.exponent;  // bits
  for (std::size_t i = 0; i < N; ++i) {
    const std::int64_t left = below - static_cast<std::int64_t>(64 * i);
    if (left > 0) result.words[i] = left >= 64 ? 0 : result.words[i] >> left << left;
  }
  for (unsigned i = 0; i < 2; ++i) {
    const std::int64_t place = below + i;
    if (place < 0 || place >= static_cast<std::int64_t>(64 * N)) continue;
    const std::uint64_t word = result.words[static_cast<std::size_t>(place / 64)];
    low_bits |= static_cast<unsigned>(word >> (place % 64) & 1) << i;
  }
  return result;
}

}  // namespace kestra::number
