// Numbers in English words: FOUR, FOURTH, TWENTY-ONE, and years: NINETEEN OH FIVE.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datetime/date_model.h"

namespace kestra::datetime {

// "FIVE MILLION THREE HUNDRED SEVENTY-SEVEN THOUSAND THREE HUNDRED SEVENTY-SEVENTH" is 80.
inline constexpr std::size_t kSpelledRoom = 96;
inline constexpr std::uint32_t kSpelledMax = 9'999'999;

// A number up to kSpelledMax in ASCII words; returns their length.
std::size_t SpellNumber(std::uint32_t value, bool ordinal, Letters letters, char* out) noexcept;

// A year as years are read: TWENTY NINETEEN, NINETEEN OH FIVE, NINETEEN HUNDRED, TWO THOUSAND FIVE;
// from 10000 on, which some calendars have, as a number.
std::size_t SpellYear(std::uint32_t year, bool ordinal, Letters letters, char* out) noexcept;

// TH, ST, ND or RD.
std::string_view OrdinalSuffix(std::uint32_t value) noexcept;

}  // namespace kestra::datetime
