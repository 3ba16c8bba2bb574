// Calendar dates and day numbers: the one place where the rules of the calendar are written down.
// Julian up to 4 October 1582, Gregorian from 15 October 1582 on, which has the next number.
//
// Both directions are straight multiplications without a branch. The year begins in March, so that
// the leap day is its last, and is counted from -4800, so that everything is positive. A Gregorian
// day is brought to the number it would have in a Julian calendar that goes on (add the centuries'
// days that were left out); from there one path serves both calendars. Divisions by constants are
// the multiplications of Neri and Schneider, "Euclidean affine functions and their application to
// calendar algorithms" (2022).
//
// Numbers are the astronomers' Julian day numbers but for January and February of -4712, which are
// one higher: that year counts as a common one.
//
// Tests: tests/datetime/ldx_day_number_test.cc, all days against counting one by one.
#pragma once

#include <cstdint>

#include "kestra/date.h"

namespace kestra::datetime {

inline constexpr std::int32_t kMinYear = -4712;
inline constexpr std::int32_t kMaxYear = 9999;
inline constexpr std::int32_t kMaxDay = 5373484;             // 31 December 9999
inline constexpr std::int32_t kFirstGregorianDay = 2299161;  // 15 October 1582
inline constexpr std::int32_t kReformYear = 1582;
inline constexpr std::int32_t kReformMonth = 10;
inline constexpr std::int32_t kFirstSkipped = 5;  // days of October 1582 that there were not
inline constexpr std::int32_t kLastSkipped = 14;
inline constexpr std::int32_t kSkippedDays = 10;
inline constexpr std::int32_t kDaySeconds = 86400;

// Year, month and day; the year may be 0, which only day numbers reach.
struct CivilDate {
  std::int32_t year;
  std::uint32_t month;
  std::uint32_t day;
};

// A multiple of four and of 25 is a century's year, and then leap when it is a multiple of 16.
constexpr bool IsLeap(std::int32_t year) noexcept {
  const auto y = static_cast<std::uint32_t>(year);
  const std::uint32_t mask = year > kReformYear && y % 25 == 0 ? 15 : 3;
  return (y & mask) == 0 && year != kMinYear;
}

// Days of a common year before month m; entry 13 is the year's length. Entries 14 and 15, which no
// month has, keep a masked index inside.
inline constexpr std::uint16_t kDaysBeforeMonth[16] = {0,   0,   31,  59,  90,  120, 151, 181,
                                                       212, 243, 273, 304, 334, 365, 365, 365};

// Length of a month 1..12; what another number answers has no meaning.
constexpr std::uint32_t MonthLength(std::int32_t year, std::uint32_t month) noexcept {
  if (month == 2) return IsLeap(year) ? 29 : 28;
  return 30u | ((month ^ (month >> 3)) & 1u);
}

constexpr bool IsSkipped(std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
  return year == kReformYear && month == kReformMonth && day >= kFirstSkipped &&
         day <= kLastSkipped;
}

// Dates in the order of time as one number.
constexpr std::int32_t DateOrder(std::int32_t year, std::uint32_t month,
                                 std::uint32_t day) noexcept {
  return year * 65536 + static_cast<std::int32_t>((month << 8) + day);
}

namespace march_year {
inline constexpr std::int32_t kFirst = 4800;         // added to a year
inline constexpr std::int32_t kJulianStart = 32083;  // number = days since 1 March -4800, less this
inline constexpr std::int32_t kGregorianGain = 38;   // days both calendars differ by in the year 0
                                                     // of the count, other sign
inline constexpr std::int32_t kGregorianStart = 32044;
inline constexpr std::int32_t kFirstCommonDay = 60;  // from here on numbers are the astronomers'
}  // namespace march_year

// Days from 1 March to the first of a month of the year that begins then. Bytes that are no month go
// on as the months do.
struct MonthStarts {
  std::uint16_t days[256];
};
inline constexpr MonthStarts kSinceMarch = [] {
  MonthStarts starts{};
  for (std::uint32_t m = 0; m < 256; ++m) {
    starts.days[m] = static_cast<std::uint16_t>((979 * (m < 3 ? m + 12 : m) - 2919) / 32);
  }
  return starts;
}();

// Day number of a date; year within -32768..32767, month and day within 0..255. Days that do not
// exist (30 February, 10 October 1582) get the number that counting on from the month's first day
// gives.
constexpr std::int32_t DayNumber(std::int32_t year, std::uint32_t month,
                                 std::uint32_t day) noexcept {
  using namespace march_year;
  const std::uint32_t early = month < 3 ? 1 : 0;  // January and February end the year before
  const std::int32_t y = year - static_cast<std::int32_t>(early) + kFirst;
  const std::int32_t julian =
      ((1461 * y) >> 2) + static_cast<std::int32_t>(kSinceMarch.days[month] + day) - kJulianStart;
  const auto century = static_cast<std::int32_t>(static_cast<std::uint32_t>(y) / 100);
  const std::int32_t gregorian = century / 4 - century + kGregorianGain;
  return julian + (julian >= kFirstGregorianDay + kSkippedDays ? gregorian : 0) +
         (julian < kFirstCommonDay ? 1 : 0);
}

inline std::int32_t DayNumber(const ldxdate& date) noexcept {
  return DayNumber(date.year, date.month, date.day);
}

// The date of a day number from 1 to kMaxDay; the year may be 0.
constexpr CivilDate SplitDay(std::int32_t number) noexcept {
  using namespace march_year;
  auto n = static_cast<std::uint32_t>(number);
  const std::uint32_t century = (4 * (n + kGregorianStart) + 3) / 146097;
  const std::uint32_t left_out = century - century / 4 - kGregorianGain;
  n += number >= kFirstGregorianDay ? left_out : 0;
  n -= number < kFirstCommonDay ? 1 : 0;  // January and February of -4712
  const std::uint64_t years = std::uint64_t{2939745} * (4 * (n + (kJulianStart - 1)) + 3);
  const auto year = static_cast<std::uint32_t>(years >> 32);
  const std::uint32_t day_of_year = static_cast<std::uint32_t>(years) / 2939745 / 4;
  const std::uint32_t months = 2141 * day_of_year + 197913;
  const std::uint32_t late = day_of_year >= 306 ? 1 : 0;  // January and February
  return {static_cast<std::int32_t>(year + late) - kFirst, (months >> 16) - 12 * late,
          (months & 0xFFFF) / 2141 + 1};
}

// Day of the year from 1 on, counting the days that there were: October 1582 has 21.
constexpr std::int32_t DayOfYear(std::int32_t year, std::int32_t number) noexcept {
  return number - DayNumber(year, 1, 1) + 1;
}

// Weekday of a day number: 0 Monday to 6 Sunday.
constexpr std::int32_t WeekdayFromMonday(std::int32_t number) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) % 7);
}

// The year that a result has to have instead of 0, which no DATE has: the way it moved.
constexpr std::int32_t WithoutYearZero(std::int32_t year, bool forward) noexcept {
  if (year != 0) return year;
  return forward ? 1 : -1;
}

// The ISO 8601 week that a day lies in; the year may be 0. The week belongs to its Thursday's year.
struct IsoWeek {
  std::int32_t year;
  std::int32_t week;
};
constexpr IsoWeek IsoWeekOf(std::int32_t number) noexcept {
  const std::int32_t thursday = number - WeekdayFromMonday(number) + 3;
  if (thursday > kMaxDay) return {kMaxYear + 1, 1};
  if (thursday < 1) return {kMinYear, 1};  // of no date
  const std::int32_t year = SplitDay(thursday).year;
  return {year, (DayOfYear(year, thursday) - 1) / 7 + 1};
}

}  // namespace kestra::datetime
