// Runs of ASCII digits, eight bytes at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "number/lnx_figures.h"

namespace kestra::number {

inline bool IsDigit(char c) noexcept { return static_cast<unsigned char>(c - '0') < 10; }

// Space and the control characters from tab to carriage return.
inline bool IsBlank(char c) noexcept {
  return c == ' ' || static_cast<unsigned char>(c - '\t') < 5;
}

// How many of the eight bytes, from the lowest on, are digits. A digit has high nibble 3, and the
// sum of its low nibble and 6 stays below 16.
inline std::size_t LeadingDigits(std::uint64_t bytes) noexcept {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  const std::uint64_t others = ((bytes & (0xF0 * kOnes)) |
                                (((bytes & (0x7F * kOnes)) + 0x06 * kOnes) & (0xF0 * kOnes)) >> 4) ^
                               (0x33 * kOnes);
  return others == 0 ? 8 : static_cast<std::size_t>(std::countr_zero(others)) / 8;
}

// Length of the run of digits that begins at offset at.
inline std::size_t DigitRun(std::string_view text, std::size_t at) noexcept {
  const std::size_t start = at;
  std::uint64_t bytes;
  for (; text.size() - at >= sizeof bytes; at += sizeof bytes) {
    std::memcpy(&bytes, text.data() + at, sizeof bytes);
    const std::size_t digits = LeadingDigits(bytes);
    if (digits < sizeof bytes) return at + digits - start;
  }
  const std::size_t left = text.size() - at;
  if (left == 0) return at - start;
  if (text.size() >= sizeof bytes) {  // the last eight bytes, those before at shifted out
    std::memcpy(&bytes, text.data() + text.size() - sizeof bytes, sizeof bytes);
    return at + LeadingDigits(bytes >> (8 * (sizeof bytes - left))) - start;
  }
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at - start;
}

// Collects the digits of a value of any length: leading zeros are counted, the first kMaxKept
// digits kept, the rest counted.
class DigitCollector {
 public:
  // Digits of the integer part.
  void AddIntegers(std::string_view digits) noexcept {
    figures_.point += static_cast<std::int64_t>(Keep(digits));
  }
  // Digits after the point.
  void AddFraction(std::string_view digits) noexcept {
    const bool leading = figures_.count == 0;
    const std::size_t rest = Keep(digits);
    if (leading) figures_.point -= static_cast<std::int64_t>(digits.size() - rest);
  }
  // The value times 10^exponent.
  Figures& Finish(bool negative, std::int64_t exponent) noexcept {
    figures_.negative = negative;
    figures_.point += exponent;
    Normalise(figures_);
    return figures_;
  }

 private:
  // Returns how many digits there are from the first that is not a leading zero.
  std::size_t Keep(std::string_view digits) noexcept {
    if (figures_.count == 0) {
      std::size_t zeros = 0;
      while (zeros < digits.size() && digits[zeros] == '0') ++zeros;
      digits.remove_prefix(zeros);
    }
    const auto room = static_cast<std::size_t>(Figures::kMaxKept - figures_.count);
    const std::size_t kept = digits.size() < room ? digits.size() : room;
    CopyShort(figures_.room + Figures::kStart + figures_.count, digits.data(), kept);
    figures_.count += static_cast<int>(kept);
    return digits.size();
  }

  Figures figures_;
};

}  // namespace kestra::number
