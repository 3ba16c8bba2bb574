// Division in binary with a decimal quotient.
//
// The left-aligned mantissas become binary integers: one word for short numbers, three below 10^40
// for others. A chunk of the quotient, 16 decimal digits, is remainder * 10^16 / divisor: the
// divisor is shifted so that its top bit is set, so the division of the leading two words by its
// leading word is exact or one too large (what is left out is below 2^-63 of the divisor, times a
// quotient below 2^54). The first chunk takes 14 digits after the point, so that it holds the
// integer part, 0 to 99. Three chunks are 24 base-100 digits, of which the first or the second is
// not zero. No chunk needs converting to decimal but for splitting it in digits.
#pragma once

#include "number/kernels/words_limbs.h"

namespace kestra::number::words {

inline constexpr Word kTenTo10 = 10'000'000'000;
inline constexpr Word kTenTo14 = 100'000'000'000'000;

// (high, low) / divisor, below 2^64: high is below divisor.
KES_INLINE Word DivideWords(Word high, Word low, Word divisor, Word& rest) noexcept {
#if defined(__x86_64__)
  Word quotient;
  __asm__("divq %4" : "=a"(quotient), "=d"(rest) : "0"(low), "1"(high), "r"(divisor) : "cc");
  return quotient;
#else
  const Wide dividend = static_cast<Wide>(high) << 64 | low;
  rest = static_cast<Word>(dividend % divisor);
  return static_cast<Word>(dividend / divisor);
#endif
}

// Below 2^192.
struct Integer {
  Word high, middle, low;
};

KES_INLINE Integer Times(const Integer& value, Word factor) noexcept {
  const Wide low = static_cast<Wide>(value.low) * factor;
  const Wide middle = static_cast<Wide>(value.middle) * factor + static_cast<Word>(low >> 64);
  return {value.high * factor + static_cast<Word>(middle >> 64), static_cast<Word>(middle),
          static_cast<Word>(low)};
}

// a - b, less 1 above it if there was a borrow.
KES_INLINE Word Less(Word a, Word b, Word& borrow) noexcept {
  const Wide difference = static_cast<Wide>(a) - b - borrow;
  borrow = static_cast<Word>(difference >> 64) & 1;
  return static_cast<Word>(difference);
}

// Returns whether it is negative.
KES_INLINE bool SubtractFrom(Integer& a, const Integer& b) noexcept {
  Word borrow = 0;
  a.low = Less(a.low, b.low, borrow);
  a.middle = Less(a.middle, b.middle, borrow);
  a.high = Less(a.high, b.high, borrow);
  return borrow != 0;
}

KES_INLINE Integer Plus(const Integer& a, const Integer& b) noexcept {
  const Wide low = static_cast<Wide>(a.low) + b.low;
  const Wide middle = static_cast<Wide>(a.middle) + b.middle + static_cast<Word>(low >> 64);
  return {a.high + b.high + static_cast<Word>(middle >> 64), static_cast<Word>(middle),
          static_cast<Word>(low)};
}

// A value moved up by 59 to 127 bits: its third word and the one above it.
KES_INLINE Word ThirdWord(const Integer& value, unsigned shift) noexcept {
  return shift < 64 ? Up(value.high, value.middle, shift) : Up(value.middle, value.low, shift - 64);
}
KES_INLINE Word FourthWord(const Integer& value, unsigned shift) noexcept {
  return shift < 64 ? value.high >> (64 - shift) : Up(value.high, value.middle, shift - 64);
}

// A row's 20 digits as an integer.
KES_INLINE Integer ToInteger(const Row3& row) noexcept {
  const Wide top =
      static_cast<Wide>(PackDigits(row.first & kDigitBytes)) * kTenTo16 + PackDigits(row.second);
  const Integer value = Times({0, static_cast<Word>(top >> 64), static_cast<Word>(top)}, kTenTo10);
  return Plus(value, {0, 0, PackDigits(row.third >> 24)});
}

struct Divide {
  template <typename Sink>
  static KES_INLINE bool Short(Located a, Located b, Sink sink) noexcept {
    Loaded<Row1> x, y;
    Load(a, x);
    Load(b, y);
    if (!AreSound(x, y)) [[unlikely]]
      return false;
    const Word divisor = PackDigits(y.row.first & kDigitBytes);
    Word rest = PackDigits(x.row.first & kDigitBytes);
    Word chunks[3] = {0, 0, 0};
    Word scale = kTenTo14;
    for (Word& chunk : chunks) {
      const Wide scaled = static_cast<Wide>(rest) * scale;
      chunk =
          DivideWords(static_cast<Word>(scaled >> 64), static_cast<Word>(scaled), divisor, rest);
      if (rest == 0) break;
      scale = kTenTo16;
    }
    Finish(Row3{UnpackDigits(chunks[0]), UnpackDigits(chunks[1]), UnpackDigits(chunks[2])},
           x.Exponent() - y.Exponent() + kExponentBias + 1, x.sign ^ y.sign, sink);
    return true;
  }

  template <typename Sink>
  static KES_INLINE bool Long(Located a, Located b, Sink sink) noexcept {
    Loaded<Row3> x, y;
    Load(a, x);
    Load(b, y);
    if (!AreSound(x, y)) [[unlikely]]
      return false;
    Integer rest = ToInteger(x.row);
    const Integer divisor = ToInteger(y.row);
    // At least 10^38: the top bit is in the middle word or above it.
    const unsigned shift = divisor.high != 0
                               ? static_cast<unsigned>(std::countl_zero(divisor.high))
                               : 64 + static_cast<unsigned>(std::countl_zero(divisor.middle));
    const Word lead = ThirdWord(divisor, shift);
    Word chunks[3] = {0, 0, 0};
    Word scale = kTenTo14;
    for (Word& chunk : chunks) {
      rest = Times(rest, scale);  // below 2^187
      Word unused;
      chunk = DivideWords(FourthWord(rest, shift), ThirdWord(rest, shift), lead, unused);
      if (SubtractFrom(rest, Times(divisor, chunk))) {
        --chunk;
        rest = Plus(rest, divisor);
      }
      if ((rest.high | rest.middle | rest.low) == 0) break;
      scale = kTenTo16;
    }
    Finish(Row3{UnpackDigits(chunks[0]), UnpackDigits(chunks[1]), UnpackDigits(chunks[2])},
           x.Exponent() - y.Exponent() + kExponentBias + 1, x.sign ^ y.sign, sink);
    return true;
  }
};

}  // namespace kestra::number::words
