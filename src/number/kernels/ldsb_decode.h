// From the bytes of a NUMBER to an integer in units of 100^scale. The caller has scanned the
// number: it is finite and its digits lie at the scale or above it (see number_view.h for how
// malformed bytes are read). Digit i of the number, counted from 0, stands for 100^(exponent - 1 -
// i).
#pragma once

#include "number/kernels/ldsb_elements.h"
#include "number/number_view.h"

namespace kestra::number::dsb {

struct NumberParts {
  bool negative = false;
  int exponent = kMinExponent;
  std::span<const std::uint8_t> mantissa;  // digits as bytes, a terminator included
};

// A mantissa byte as its digit; out of range is the nearest digit, so a terminator is 0.
KES_DSB_INLINE std::uint32_t DigitOf(std::uint8_t byte, bool negative) noexcept {
  const int digit = negative ? kBase + 1 - byte : byte - 1;
  return static_cast<std::uint32_t>(digit < 0 ? 0 : digit < kBase ? digit : kBase - 1);
}

KES_DSB_INLINE NumberParts Split(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.empty()) return {};
  const bool negative = bytes[0] < kZeroByte;
  NumberParts parts = {negative, (negative ? 255 - bytes[0] : bytes[0]) - kExponentBias,
                       bytes.subspan(1)};
  while (!parts.mantissa.empty() && DigitOf(parts.mantissa[0], negative) == 0) {  // malformed
    parts.mantissa = parts.mantissa.subspan(1);
    --parts.exponent;
  }
  if (parts.exponent < kMinExponent) return {};
  return parts;
}

// At most 9 places from the scale on. Zero, which no scan bounds, has any number of them.
KES_DSB_INLINE std::int64_t DecodeShortOne(const NumberParts& number, std::int32_t scale) noexcept {
  if (number.mantissa.empty()) return 0;
  const std::int64_t places = std::int64_t{number.exponent} - scale;
  std::uint64_t value = 0;
  for (std::int64_t i = 0; i < places; ++i) {
    value *= kBase;
    const auto place = static_cast<std::size_t>(i);
    if (place < number.mantissa.size()) value += DigitOf(number.mantissa[place], number.negative);
  }
  return static_cast<std::int64_t>(number.negative ? 0 - value : value);
}

// Any number of places; digits are gathered in base 100^8.
inline Int192 DecodeLongOne(const NumberParts& number, std::int32_t scale) noexcept {
  if (number.mantissa.empty()) return {};
  constexpr std::int64_t kChunk = 8;
  const Int192 chunk_base(std::int64_t{10'000'000'000'000'000});
  const std::int64_t places = std::int64_t{number.exponent} - scale;
  Int192 value;
  std::uint64_t chunk = 0;
  for (std::int64_t i = 0; i < places; ++i) {
    const auto place = static_cast<std::size_t>(i);
    chunk *= kBase;
    if (place < number.mantissa.size()) chunk += DigitOf(number.mantissa[place], number.negative);
    if ((places - 1 - i) % kChunk == 0) {
      value = value * chunk_base + Int192(static_cast<std::int64_t>(chunk));
      chunk = 0;
    }
  }
  return number.negative ? -value : value;
}

KES_DSB_INLINE NumberParts NumberAt(const std::uint8_t* const* numbers,
                                    const std::uint16_t* lengths, std::size_t i) noexcept {
  return Split(NumberBytes(numbers[i], lengths == nullptr ? 0 : lengths[i]));
}

// The decoding kernels (see DecodeKernel).
void DecodeShort(std::size_t n, const std::uint8_t* const* numbers, const std::uint16_t* lengths,
                 const std::uint8_t* nulls, std::int32_t scale, std::int64_t* out) noexcept;
void DecodeShortAvx512(std::size_t n, const std::uint8_t* const* numbers,
                       const std::uint16_t* lengths, const std::uint8_t* nulls, std::int32_t scale,
                       std::int64_t* out) noexcept;

}  // namespace kestra::number::dsb
