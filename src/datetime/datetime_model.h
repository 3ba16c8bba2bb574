// The elements that models of datetimes have beyond those of dates.
//
// In a compiled format such an element is two bytes: an escape, which no element of a date leaves
// behind (FM only changes modifiers), and the element's code. All between two of them is a format
// of dates, which the writer and the reader of dates take as it is.
//
// Tests: tests/datetime/ldi_text_test.cc.
#pragma once

#include <cstdint>
#include <string_view>

#include "datetime/date_model.h"
#include "kestra/datetime_text.h"

namespace kestra::datetime {

inline constexpr std::uint8_t kDatetimeEscape = KES_DATE_FM;

enum DatetimeCode : std::uint8_t {
  kHour25 = KES_DATETIME_HH25,
  kFraction = KES_DATETIME_FF,
  kZoneHour = KES_DATETIME_TZH,
  kZoneMinute = KES_DATETIME_TZM,
  kZoneAbbreviation = KES_DATETIME_TZD,
  kZoneRegion = KES_DATETIME_TZR,
  kRadix = KES_DATETIME_X,
  kFraction1 = KES_DATETIME_FF1,
  kFraction9 = KES_DATETIME_FF1 + 8
};

struct DatetimeElement {
  std::string_view name;
  std::uint8_t code;
};
inline constexpr DatetimeElement kDatetimeElements[] = {
    {"FF", kFraction},       {"FF1", kFraction1},
    {"FF2", kFraction1 + 1}, {"FF3", kFraction1 + 2},
    {"FF4", kFraction1 + 3}, {"FF5", kFraction1 + 4},
    {"FF6", kFraction1 + 5}, {"FF7", kFraction1 + 6},
    {"FF8", kFraction1 + 7}, {"FF9", kFraction9},
    {"HH25", kHour25},       {"TZD", kZoneAbbreviation},
    {"TZH", kZoneHour},      {"TZM", kZoneMinute},
    {"TZR", kZoneRegion},    {"X", kRadix}};

constexpr bool IsDatetimeElement(std::uint8_t code) noexcept {
  return code >= kHour25 && code <= kFraction9;
}
// The place of an element in a set; apart from that of NYYYY.
constexpr std::uint64_t DatetimeBit(std::uint8_t code) noexcept {
  return std::uint64_t{1} << (code == kHour25 ? 63 : code & 63);
}

inline constexpr std::uint64_t kAllFractions = [] {
  std::uint64_t bits = DatetimeBit(kFraction);
  for (std::uint8_t code = kFraction1; code <= kFraction9; ++code) bits |= DatetimeBit(code);
  return bits;
}();

// Elements that exclude each other: two fractions 1810, HH25 and another hour 1813, HH25 and AM
// 1818.
constexpr std::uint32_t DatetimeGroupError(std::uint64_t dates, std::uint64_t datetimes) noexcept {
  const std::uint64_t fractions = datetimes & kAllFractions;
  if ((fractions & (fractions - 1)) != 0) return 1810;
  if ((datetimes & DatetimeBit(kHour25)) == 0) return 0;
  if ((dates & (Bit(KES_DATE_HH24) | Bit(KES_DATE_HH12))) != 0) return 1813;
  return (dates & (Bit(KES_DATE_AM) | Bit(KES_DATE_A_M))) != 0 ? 1818 : 0;
}

}  // namespace kestra::datetime
