// Eight base-100 digits of a word to an integer and back, by halves: pairs of digits become base
// 10^4, pairs of these base 10^8, and a pair of these 10^16.
#pragma once

#include "number/kernels/words_number.h"

namespace kestra::number::words {

inline constexpr Word kTenTo8 = 100'000'000;
inline constexpr Word kTenTo16 = kTenTo8 * kTenTo8;

// In each step a lane h, l stands for h 2^k + l and shall become h b + l: h (2^k - b) is taken away.
KES_INLINE Word PackDigits(Word digits) noexcept {
  digits -= (digits >> 8 & 0x00FF00FF00FF00FF) * ((1 << 8) - 100);
  digits -= (digits >> 16 & 0x0000FFFF0000FFFF) * ((1 << 16) - 10'000);
  return digits - (digits >> 32) * ((Word{1} << 32) - kTenTo8);
}

// Four digits, the last of them in the lowest byte.
KES_INLINE Word PackFour(Word digits) noexcept {
  digits -= (digits >> 8 & 0x00FF00FF) * ((1 << 8) - 100);
  return digits - (digits >> 16) * ((1 << 16) - 10'000);
}

// The way back. 109951163 / 2^40 is 1 / 10^4 and 5243 / 2^19 is 1 / 100, exact for what they meet.
KES_INLINE Word UnpackDigits(Word high, Word low) noexcept {
  const Word halves = (high * 109'951'163 >> 40) << 32 | low * 109'951'163 >> 40;
  const Word quarters = (high << 32 | low) + halves * ((1 << 16) - 10'000);
  constexpr Word kEven = 0x0000FFFF0000FFFF;
  constexpr Word kQuotients = 0x0000007F0000007F;
  const Word tens = ((quarters & kEven) * 5243 >> 19 & kQuotients) |
                    ((quarters >> 16 & kEven) * 5243 >> 19 & kQuotients) << 16;
  return quarters + tens * ((1 << 8) - 100);
}

KES_INLINE Word UnpackDigits(Word value) noexcept {
  const Word high = value / kTenTo8;
  return UnpackDigits(high, value - high * kTenTo8);
}

// The quotient of a value below 2^108 by 10^16, or one less than it. 10^16 is 2^16 5^16; dropping
// another 28 bits, less than 5^16, and the rest of the reciprocal cost less than one together.
KES_INLINE Word QuotientBelow(Wide value) noexcept {
  constexpr Wide kReciprocal = (Wide{1} << 101) / 152'587'890'625;  // 5^16
  static_assert(kReciprocal >> 64 == 0);
  return static_cast<Word>(static_cast<Word>(value >> 44) * kReciprocal >> 64) >> 9;
}

// Divides a value below 2^108 by 10^16; the remainder is left in it.
KES_INLINE Word DivideBy16(Wide value, Word& rest) noexcept {
  Word quotient = QuotientBelow(value);
  rest = static_cast<Word>(value) - quotient * kTenTo16;
  if (rest >= kTenTo16) {
    rest -= kTenTo16;
    ++quotient;
  }
  return quotient;
}

}  // namespace kestra::number::words
