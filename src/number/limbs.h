// Mantissas as five limbs of four base-100 digits, most significant first and left-aligned: the
// digits d1 d2 d3 ... fill limb 0 from its top, so that limb 0 of a number is at least 10^6.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "number/number_view.h"

namespace kestra::number {

inline constexpr std::uint64_t kLimbBase = 100'000'000;
inline constexpr int kDigitsPerLimb = 4;
inline constexpr int kLimbs = kMaxDigits / kDigitsPerLimb;

using Limbs = std::array<std::uint64_t, kLimbs>;

inline Limbs PackLimbs(const Decimal& value) noexcept {
  Limbs limbs;
  const std::uint8_t* digit = value.digits;  // digits past count are 0
  for (std::uint64_t& limb : limbs) {
    limb = ((digit[0] * 100u + digit[1]) * 100u + digit[2]) * 100u + digit[3];
    digit += kDigitsPerLimb;
  }
  return limbs;
}

inline void UnpackLimb(std::uint64_t limb, std::uint8_t* digits) noexcept {
  const auto high = static_cast<std::uint32_t>(limb / 10000);
  const auto low = static_cast<std::uint32_t>(limb % 10000);
  digits[0] = static_cast<std::uint8_t>(high / 100);
  digits[1] = static_cast<std::uint8_t>(high % 100);
  digits[2] = static_cast<std::uint8_t>(low / 100);
  digits[3] = static_cast<std::uint8_t>(low % 100);
}

}  // namespace kestra::number
