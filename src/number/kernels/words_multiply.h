// Multiplication in limbs of 10^16, three to a number.
//
// The words of a row are limbs of 7, 8 and 8 digits. Products of limbs of one weight are added in
// 128 bits, and a multiplication by the reciprocal of 10^16 splits each sum. The product of the
// first limbs begins at the second digit of 24, which leaves 22 digits or, after a zero, 21: enough
// to round by. What comes below only matters for its carry. That is estimated, at most two too
// small, and certain unless the rest above it is within two of 10^16; then, about never, the scalar
// function decides.
#pragma once

#include "number/kernels/words_limbs.h"

namespace kestra::number::words {

struct Multiply {
  template <typename Sink>
  static KES_INLINE bool Short(Located a, Located b, Sink sink) noexcept {
    Loaded<Row1> x, y;
    Load(a, x);
    Load(b, y);
    if (!AreSound(x, y)) [[unlikely]]
      return false;
    const std::int32_t exponent = x.Exponent() + y.Exponent() - kExponentBias;
    const Word sign = x.sign ^ y.sign;
    if (((x.row.first | y.row.first) & 0xFFFFFF) == 0) {  // four digits each
      const Word product =
          PackFour(x.row.first >> 24 & 0xFFFFFFFF) * PackFour(y.row.first >> 24 & 0xFFFFFFFF);
      Finish(Row1{UnpackDigits(product)}, exponent, sign, sink);
      return true;
    }
    Word low;
    const Word high = DivideBy16(static_cast<Wide>(PackDigits(x.row.first & kDigitBytes)) *
                                     PackDigits(y.row.first & kDigitBytes),
                                 low);
    Finish(Row3{UnpackDigits(high), UnpackDigits(low), 0}, exponent + 2, sign, sink);
    return true;
  }

  template <typename Sink>
  static KES_INLINE bool Long(Located a, Located b, Sink sink) noexcept {
    Loaded<Row3> x, y;
    Load(a, x);
    Load(b, y);
    if (!AreSound(x, y)) [[unlikely]]
      return false;
    const std::int32_t exponent = x.Exponent() + y.Exponent() - kExponentBias;
    const Word x1 = PackDigits(x.row.first & kDigitBytes);
    const Word y1 = PackDigits(y.row.first & kDigitBytes);
    const Word x2 = PackDigits(x.row.second);
    const Word y2 = PackDigits(y.row.second);
    Wide third = static_cast<Wide>(x2) * y2;
    if ((x.row.third | y.row.third) != 0) {
      const Word x3 = PackDigits(x.row.third);
      const Word y3 = PackDigits(y.row.third);
      third += static_cast<Wide>(x1) * y3 + static_cast<Wide>(x3) * y1 +
               QuotientBelow(static_cast<Wide>(x2) * y3 + static_cast<Wide>(x3) * y2);
    }
    Word dropped, last, middle;
    const Word second_carry = DivideBy16(third, dropped);
    if (dropped >= kTenTo16 - 2) [[unlikely]]
      return false;
    const Word first_carry =
        DivideBy16(static_cast<Wide>(x1) * y2 + static_cast<Wide>(x2) * y1 + second_carry, last);
    const Word first = DivideBy16(static_cast<Wide>(x1) * y1 + first_carry, middle);
    Finish(Row3{UnpackDigits(first), UnpackDigits(middle), UnpackDigits(last)}, exponent + 2,
           x.sign ^ y.sign, sink);
    return true;
  }
};

}  // namespace kestra::number::words
