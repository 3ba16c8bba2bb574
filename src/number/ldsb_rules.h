// The rules that choose widths and bound results, over the tables of decimal_vector_members.h.
#pragma once

#include "kestra/decimal_vector.h"
#include "number/ldsb_int192.h"
#include "number/number_view.h"

namespace kestra::number::dsb {

inline constexpr int kMaxPower = 28;  // the largest power of 100 in 192 bits
inline constexpr int kMaxBits = 192;
inline constexpr int kWidest = KES_DSB_INT192;
inline constexpr int kWidths[] = {0, 1, 2, 4, 8, 16, 24};  // by precision
inline constexpr std::size_t kElementAlignment = 16;
inline constexpr std::size_t kBufferAlignment = 64;

constexpr bool IsPrecision(std::uint32_t precision) noexcept {
  return precision >= 1 && precision <= kWidest;
}

constexpr std::size_t WidthOf(int precision) noexcept {
  return static_cast<std::size_t>(kWidths[precision]);
}

// The precision of a width in bytes, 0 for none.
inline int PrecisionOfWidth(std::size_t width) noexcept {
  return width < sizeof ldsbcwidth2prec ? ldsbcwidth2prec[width] : 0;
}

// The narrowest precision of which that many significant bits and a sign fit.
constexpr int NarrowestPrecision(int bits) noexcept {
  int precision = 1;
  while (precision < kWidest && bits >= 8 * kWidths[precision]) ++precision;
  return precision;
}

// The narrowest precision that holds the value: -128 fits in 8 bits, though it has 8 significant
// ones.
constexpr int PrecisionOf(const Int192& value) noexcept {
  int precision = 1;
  while (precision < kWidest &&
         (value < MinimumOf(8 * kWidths[precision]) || MaximumOf(8 * kWidths[precision]) < value)) {
    ++precision;
  }
  return precision;
}

inline Int192 PowerOf100(int exponent) noexcept {
  Int192 power;
  std::memcpy(power.w, ldsbcpow100tab[exponent] + 3, sizeof power.w);
  return power;
}
inline int BitsOfPower(int exponent) noexcept {
  return static_cast<int>(ldsbcpow100tab[exponent][2]);
}

// KES_DSB_RANGE when an integer of that many bits at that scale may need more than 192 bits, or
// more digits than a NUMBER has, or lie outside its range; else 0.
inline int CheckBound(int bits, std::int64_t scale) noexcept {
  if (bits > kMaxBits) return KES_DSB_RANGE;
  const int digits = ldsbcnbits2ods[bits][1];
  if (digits > kMaxDigits || scale + 1 < kMinExponent || digits + scale > kMaxExponent) {
    return KES_DSB_RANGE;
  }
  return KES_DSB_OK;
}

// Area of count elements, rounded up to the buffer alignment; false: more than size_t counts.
constexpr bool ElementArea(std::size_t width, std::size_t count, std::size_t* area) noexcept {
  if (count > (SIZE_MAX - kBufferAlignment - kElementAlignment) / width) return false;
  *area = (count * width + kBufferAlignment - 1) / kBufferAlignment * kBufferAlignment;
  return true;
}

}  // namespace kestra::number::dsb
