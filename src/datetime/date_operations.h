// What the scalar functions and the loops of the array forms both run: one inline function an
// operation, on values, answering 0 or the number of the error that the entry point has to raise.
#pragma once

#include <cstdint>

#include "datetime/day_number.h"
#include "kestra/date.h"

namespace kestra::datetime {

inline constexpr std::uint32_t kOutOfYears = 1841;
inline constexpr std::uint32_t kBadWeekday = 1846;
inline constexpr std::uint32_t kBadDayNumber = 1854;
inline constexpr std::uint32_t kNoRuleForUnit = 1899;

inline void SetDay(ldxdate& date, const CivilDate& civil) noexcept {
  date.year = static_cast<std::int16_t>(civil.year);
  date.month = static_cast<std::uint8_t>(civil.month);
  date.day = static_cast<std::uint8_t>(civil.day);
}

constexpr bool IsDayNumber(std::int64_t number) noexcept {
  return number >= 1 && number <= kMaxDay;
}

// Moves a date to a day number that an operation arrived at.
inline std::uint32_t MoveToDay(ldxdate& date, std::int64_t number, bool forward) noexcept {
  if (!IsDayNumber(number)) return kOutOfYears;
  CivilDate civil = SplitDay(static_cast<std::int32_t>(number));
  civil.year = WithoutYearZero(civil.year, forward);
  SetDay(date, civil);
  return 0;
}

inline std::int32_t SecondOfDay(const ldxdate& date) noexcept {
  return (date.hour * 60 + date.minute) * 60 + date.second;
}

inline void SetSecondOfDay(ldxdate& date, std::uint32_t second) noexcept {
  date.hour = static_cast<std::uint8_t>(second / 3600);
  date.minute = static_cast<std::uint8_t>(second % 3600 / 60);
  date.second = static_cast<std::uint8_t>(second % 60);
}

inline void ToJulian(const ldxdate& in, ldxjdate& out) noexcept {
  out = {DayNumber(in), SecondOfDay(in)};
}

inline std::uint32_t FromJulian(const ldxjdate& in, ldxdate& out) noexcept {
  if (!IsDayNumber(in.day)) return kBadDayNumber;
  const std::int32_t second = in.second;
  ldxdate date = {};
  SetDay(date, SplitDay(in.day));
  SetSecondOfDay(date, static_cast<std::uint32_t>(second));
  out = date;
  return 0;
}

// Results are written into the result's own fields once everything has been read from the input,
// which may be the same: going through a copy would load eight bytes that were just stored one by
// one.
inline std::uint32_t AddTime(const ldxdate& in, const ldxdelta& delta, ldxdate& out) noexcept {
  std::int64_t days = delta.days;
  const bool forward = days > 0 || (days == 0 && delta.seconds > 0);
  const std::int64_t time = std::int64_t{SecondOfDay(in)} + delta.seconds;
  std::int64_t rest = time % kDaySeconds;
  days += time / kDaySeconds;
  if (rest < 0) {
    rest += kDaySeconds;
    --days;
  }
  CivilDate civil = {in.year, in.month, in.day};
  if (days != 0) {
    const std::int64_t number = days + DayNumber(in);
    if (!IsDayNumber(number)) return kOutOfYears;
    civil = SplitDay(static_cast<std::int32_t>(number));
  } else if (civil.year > kMaxYear) {
    return kOutOfYears;
  }
  civil.year = WithoutYearZero(civil.year, forward);
  out = in;
  SetDay(out, civil);
  SetSecondOfDay(out, static_cast<std::uint32_t>(rest));
  return 0;
}

// Days alone leave the time as it is.
inline std::uint32_t AddDelta(const ldxdate& in, const ldxdelta& delta, ldxdate& out) noexcept {
  if (delta.seconds != 0 || delta.days == 0) return AddTime(in, delta, out);
  const std::int64_t number = std::int64_t{delta.days} + DayNumber(in);
  if (!IsDayNumber(number)) return kOutOfYears;
  const bool forward = delta.days > 0;
  out = in;
  return MoveToDay(out, number, forward);
}

// Months from December of the year before 1 on: total 13 is January of year 1. The months 1 to 11
// would be those of year 0; they belong to the next year in the way that the operation goes. Month
// 12 does not move, and 120001 to 120011 are let through.
inline std::uint32_t AddMonths(const ldxdate& in, std::int32_t months, ldxdate& out,
                               bool& last_day) noexcept {
  constexpr std::int64_t kLastTotal = 12 * (std::int64_t{kMaxYear} + 1) + 11;
  constexpr std::int64_t kFirstTotal = 12 * std::int64_t{kMinYear} + 1;
  constexpr std::int32_t kShift = 12 * 5000;  // makes what is divided positive
  const std::int64_t total = std::int64_t{months} + in.month + 12 * in.year;
  if (total > kLastTotal || total < kFirstTotal) return kOutOfYears;
  const auto shifted = static_cast<std::uint32_t>(total - 1 + kShift);
  std::int32_t year = static_cast<std::int32_t>(shifted / 12) - kShift / 12;
  const std::uint32_t month = shifted % 12 + 1;
  if (total > 0 && total < 12) year = in.year < 1 ? 1 : -1;
  std::uint32_t day = in.day;
  last_day = false;
  if (day >= 28) {  // before that no month ends
    const std::uint32_t to_length = MonthLength(year, month);
    last_day = day > to_length || day == MonthLength(in.year, in.month);
    if (last_day) day = to_length;
  }
  out = in;
  SetDay(out, {year, month, day});
  return 0;
}

inline void LastDay(const ldxdate& in, ldxdate& out) noexcept {
  const std::uint32_t length = MonthLength(in.year, in.month);
  out = in;
  out.day = static_cast<std::uint8_t>(length);
}

// Weekday 1 to 7 of a day number, for a week that begins on first_weekday, 0 Sunday.
constexpr std::uint32_t Weekday(std::int64_t number, std::uint32_t first_weekday) noexcept {
  constexpr std::int64_t kSunday = 2445029;
  const std::int64_t day = (number - first_weekday - kSunday) % 7;
  return static_cast<std::uint32_t>(day < 0 ? day + 7 : day) + 1;
}

inline std::uint32_t NextDay(const ldxdate& in, std::uint32_t weekday, std::uint32_t first_weekday,
                             ldxdate& out) noexcept {
  if (weekday < 1 || weekday > 7) return kBadWeekday;
  const std::int32_t number = DayNumber(in);
  const std::uint32_t here = Weekday(number, first_weekday);
  const std::uint32_t ahead = weekday > here ? weekday - here : weekday + 7 - here;
  const std::int64_t to = std::int64_t{number} + ahead;
  if (!IsDayNumber(to)) return kOutOfYears;
  out = in;
  return MoveToDay(out, to, true);
}

inline int Compare(const ldxdate& a, const ldxdate& b) noexcept {
  const auto order = [](const ldxdate& d) {
    const std::int64_t day = DateOrder(d.year, d.month, d.day);
    return day * (1 << 24) + (d.hour << 16 | d.minute << 8 | d.second);
  };
  const std::int64_t x = order(a);
  const std::int64_t y = order(b);
  return (x > y) - (x < y);
}

// ldxrnd and ldxtrn, for a week that begins on first_weekday.
std::uint32_t RoundToUnit(const ldxdate& in, std::uint32_t unit, std::uint32_t first_weekday,
                          ldxdate& out) noexcept;
std::uint32_t TruncateToUnit(const ldxdate& in, std::uint32_t unit, std::uint32_t first_weekday,
                             ldxdate& out) noexcept;

}  // namespace kestra::datetime
