// The constant tables of decimal vectors, each row computed by the rule that defines it.
#include "number/ldsb_rules.h"

namespace kestra::number::dsb {
namespace {

constexpr bool UnsignedBelow(const Int192& x, const Int192& y) noexcept {
  for (int i = 2; i > 0; --i) {
    if (x.w[i] != y.w[i]) return x.w[i] < y.w[i];
  }
  return x.w[0] < y.w[0];
}

constexpr Int192 Power(int base, int exponent) noexcept {
  Int192 power(std::int64_t{1});
  for (int i = 0; i < exponent; ++i) power = power * Int192(std::int64_t{base});
  return power;
}

// Base-100 digits of an unsigned integer. 100^28 is the largest power of 100 below 2^192.
constexpr std::uint8_t DigitCount(const Int192& value) noexcept {
  std::uint8_t count = 0;
  while (count <= kMaxPower && !UnsignedBelow(value, Power(kBase, count))) ++count;
  return count;
}

constexpr std::uint8_t FewestDigits(int bits) noexcept {
  return bits == 0 ? 0 : DigitCount(Power(2, bits - 1));
}
constexpr std::uint8_t MostDigits(int bits) noexcept {
  return DigitCount(Power(2, bits) - Int192(std::int64_t{1}));  // 2^192 wraps to 0
}

constexpr std::uint32_t Word(const Int192& value, int i) noexcept {
  return static_cast<std::uint32_t>(value.w[i / 2] >> 32 * (i % 2));
}
constexpr std::uint32_t PowerBits(int k) noexcept {
  return static_cast<std::uint32_t>(SignificantBits(Power(kBase, k)));
}
constexpr std::uint32_t PowerPrecision(int k) noexcept {
  return static_cast<std::uint32_t>(NarrowestPrecision(static_cast<int>(PowerBits(k))));
}
constexpr std::uint32_t PowerWidth(int k) noexcept {
  return static_cast<std::uint32_t>(kWidths[PowerPrecision(k)]);
}
constexpr std::uint32_t PowerWord(int k, int i) noexcept { return Word(Power(kBase, k), i); }

constexpr Int192 kMaxMantissa = Power(10, 40) - Int192(std::int64_t{1});

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

extern "C" {

constinit const std::uint32_t Sls16ConstZero[4] = {0, 0, 0, 0};
constinit const std::uint32_t Sls16ConstMin[4] = {0, 0, 0, 0x80000000};
constinit const std::uint32_t Sls24ConstZero[6] = {0, 0, 0, 0, 0, 0};
constinit const std::uint32_t Sls24ConstMin[6] = {0, 0, 0, 0, 0, 0x80000000};
constinit const std::uint8_t ldsbcprec2width[8] = {0, 1, 2, 4, 8, 16, 24, 0};
constinit const std::uint8_t ldsbcwidth2prec[25] = {0, 1, 2, 0, 3, 0, 0, 0, 4, 0, 0, 0, 0,
                                                    0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 6};

#define POWER(k)                                                                      \
  {                                                                                   \
    PowerWidth(k), PowerPrecision(k), PowerBits(k), PowerWord(k, 0), PowerWord(k, 1), \
        PowerWord(k, 2), PowerWord(k, 3), PowerWord(k, 4), PowerWord(k, 5)            \
  }
#define POWERS(k) \
  POWER(k), POWER(k + 1), POWER(k + 2), POWER(k + 3), POWER(k + 4), POWER(k + 5), POWER(k + 6)
constinit const std::uint32_t ldsbcpow100tab[kMaxPower + 1][9] = {POWERS(0), POWERS(7), POWERS(14),
                                                                  POWERS(21), POWER(28)};

constinit const std::uint32_t ldsbcmaxmantissa[5] = {Word(kMaxMantissa, 0), Word(kMaxMantissa, 1),
                                                     Word(kMaxMantissa, 2), Word(kMaxMantissa, 3),
                                                     Word(kMaxMantissa, 4)};

#define BITS(b) \
  { FewestDigits(b), MostDigits(b) }
#define BITS4(b) BITS(b), BITS(b + 1), BITS(b + 2), BITS(b + 3)
#define BITS16(b) BITS4(b), BITS4(b + 4), BITS4(b + 8), BITS4(b + 12)
#define BITS64(b) BITS16(b), BITS16(b + 16), BITS16(b + 32), BITS16(b + 48)
constinit const std::uint8_t ldsbcnbits2ods[193][2] = {BITS64(0), BITS64(64), BITS64(128),
                                                       BITS(192)};

}  // extern "C"
