// The years and months of the calendars that have arithmetic of their own, without eras: year y
// begins on one day number, has so many days, and its months follow each other.
#pragma once

#include <cstdint>

#include "datetime/calendar.h"

namespace kestra::datetime {

// Years count through: 0 and below lie before the calendar's epoch.
struct PlainDate {
  std::int32_t year;
  std::uint32_t month;
  std::uint32_t day;
};

// The years that DATE's days reach in any calendar lie within these; the functions below take no
// others.
inline constexpr std::int32_t kFirstPlainYear = -20000;
inline constexpr std::int32_t kLastPlainYear = 20000;

constexpr std::int32_t FloorDivide(std::int32_t n, std::int32_t by) noexcept {
  return n / by - (n % by < 0 ? 1 : 0);
}

// For every kind but kNone and kGregorian.
using CalendarKind = Calendar::Kind;
std::int32_t YearLength(CalendarKind kind, std::int32_t year) noexcept;
// 0: the year does not have the month.
std::uint32_t MonthLengthOf(CalendarKind kind, std::int32_t year, std::uint32_t month) noexcept;
PlainDate PlainDateOf(CalendarKind kind, std::int32_t day_number) noexcept;
// Of a month that the year has; the result may lie outside DATE's days.
std::int32_t DayNumberOf(CalendarKind kind, const PlainDate& date) noexcept;

// Months counted through all years, and back (day 1).
std::int32_t MonthCount(CalendarKind kind, std::int32_t year, std::uint32_t month) noexcept;
PlainDate MonthOfCount(CalendarKind kind, std::int32_t count) noexcept;

}  // namespace kestra::datetime
