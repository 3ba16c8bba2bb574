// Datetimes as inner code computes with them: a count of seconds and nanoseconds, and what each
// type has. Every entry point of the Ldi family goes through here.
//
// A count of seconds starts at midnight of day number 0 (day_number.h), for times of day at
// midnight. It orders values, differences of it are exact, and it may leave the calendar for a
// moment (the UTC of a local time on the last day). Day numbers have a year 0 that dates have not:
// a result that lands there moves to the year 1 or -1, the way the operation went.
#pragma once

#include <compare>
#include <cstdint>

#include "datetime/day_number.h"
#include "datetime/zone_key.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

inline constexpr std::int32_t kNanos = 1'000'000'000;
inline constexpr std::int32_t kMaxZoneMinutes = 15 * 60;
// Local mean times near the date line go further: 15:13 in Metlakatla until 1867.
inline constexpr std::int32_t kMaxRegionMinutes = 24 * 60;

// The clock of a value: seconds as above and 0..999999999 nanoseconds on top.
struct Moment {
  std::int64_t seconds;
  std::uint32_t nanos;

  friend constexpr auto operator<=>(const Moment&, const Moment&) = default;
};

constexpr bool IsDatetimeType(std::uint32_t type) noexcept {
  return type < 8 && (0b10111110u >> type & 1u) != 0;
}
constexpr bool HasDate(std::uint32_t type) noexcept { return (0b10101010u >> type & 1u) != 0; }
constexpr bool HasZone(std::uint32_t type) noexcept { return (0b10110000u >> type & 1u) != 0; }
constexpr bool HasFraction(std::uint32_t type) noexcept { return type != KES_DATETIME_DATE; }

inline constexpr std::uint32_t kPowers10[10] = {
    1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};

// Nanoseconds rounded to a precision of 0..9 digits, a half up: up to 1000000000.
constexpr std::uint32_t RoundNanos(std::uint32_t nanos, std::uint32_t precision) noexcept {
  const std::uint32_t unit = kPowers10[9 - precision];
  return (nanos + unit / 2) / unit * unit;
}

// -1, 0 or 1 as the fields of x are before, equal to or after those of y; zones are not looked at.
inline int CompareFields(const LdiDate& x, const LdiDate& y) noexcept {
  const std::uint64_t a = KeyOf(x);
  const std::uint64_t b = KeyOf(y);
  if (a != b) [[likely]]
    return a < b ? -1 : 1;
  return static_cast<int>(x.fraction > y.fraction) - static_cast<int>(x.fraction < y.fraction);
}

inline std::int32_t ClockSeconds(const LdiDate& date) noexcept {
  return (date.hour * 60 + date.minute) * 60 + date.second;
}
inline std::int32_t ZoneMinutes(const LdiDate& date) noexcept {
  return date.zone_hour * 60 + date.zone_minute;
}

inline Moment LocalMoment(const LdiDate& date) noexcept {
  const std::int32_t day = HasDate(date.type) ? DayNumber(date.year, date.month, date.day) : 0;
  return {std::int64_t{day} * kDaySeconds + ClockSeconds(date), date.fraction};
}

// UTC of a value with a zone; a time of day stays within the day.
inline Moment UtcMoment(const LdiDate& date) noexcept {
  Moment moment = LocalMoment(date);
  moment.seconds -= ZoneMinutes(date) * 60;
  if (!HasDate(date.type)) {
    if (moment.seconds < 0) moment.seconds += kDaySeconds;
    if (moment.seconds >= kDaySeconds) moment.seconds -= kDaySeconds;
  }
  return moment;
}

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t by) noexcept {
  return value / by - (value % by < 0 ? 1 : 0);
}

constexpr bool InCalendar(std::int64_t seconds) noexcept {
  return seconds >= kDaySeconds && seconds < (std::int64_t{kMaxDay} + 1) * kDaySeconds;
}

inline void SetClock(LdiDate& date, std::int32_t second_of_day) noexcept {
  const auto s = static_cast<std::uint32_t>(second_of_day);
  date.hour = static_cast<std::uint8_t>(s / 3600);
  date.minute = static_cast<std::uint8_t>(s / 60 % 60);
  date.second = static_cast<std::uint8_t>(s % 60);
}

// Year, month and day of a day number. False outside the calendar.
inline bool SetDay(LdiDate& date, std::int64_t day, bool forward) noexcept {
  if (day < 1 || day > kMaxDay) return false;
  const CivilDate civil = SplitDay(static_cast<std::int32_t>(day));
  date.year = static_cast<std::int16_t>(WithoutYearZero(civil.year, forward));
  date.month = static_cast<std::uint8_t>(civil.month);
  const bool leap_day = civil.month == 2 && civil.day == 29;  // the years 1 and -1 have none
  date.day = static_cast<std::uint8_t>(civil.year == 0 && leap_day ? 28 : civil.day);
  return true;
}

// Date and clock of a dated value. False, with nothing changed, outside the calendar.
inline bool SetLocal(LdiDate& date, const Moment& moment, bool forward) noexcept {
  const std::int64_t day = FloorDivide(moment.seconds, kDaySeconds);
  if (!SetDay(date, day, forward)) return false;
  SetClock(date, static_cast<std::int32_t>(moment.seconds - day * kDaySeconds));
  date.fraction = moment.nanos;
  return true;
}

// The clock of a time of day, which begins again at midnight.
inline void SetTime(LdiDate& date, const Moment& moment) noexcept {
  SetClock(date, static_cast<std::int32_t>(moment.seconds -
                                           FloorDivide(moment.seconds, kDaySeconds) * kDaySeconds));
  date.fraction = moment.nanos;
}

inline void SetZone(LdiDate& date, std::int32_t minutes, std::uint32_t region) noexcept {
  date.zone_hour = static_cast<std::int8_t>(minutes / 60);
  date.zone_minute = static_cast<std::int8_t>(minutes % 60);
  date.region = static_cast<std::uint16_t>(region);
}

// Adds seconds and nanoseconds (of any size and sign) to a value's local time. The zone is left
// alone. False, with nothing changed, when the result leaves the calendar.
bool AddToLocal(LdiDate& date, std::int64_t seconds, std::int64_t nanos) noexcept;

// Rounds the fraction to precision digits with the carry. 0 or 1841.
std::uint32_t RoundFraction(LdiDate& date, std::uint32_t precision) noexcept;

}  // namespace kestra::datetime
