// Every calendar here is told by one function, the day its year begins on; the length of a year is
// the distance to the next one, and the months follow from that length. A day's year is guessed
// from the mean year and corrected by at most a step or two.
#include "datetime/calendar_rules.h"

#include "core/os/check.h"
#include "datetime/day_number.h"

namespace kestra::datetime {
namespace {

// Astronomers' day numbers of the first days.
constexpr std::int32_t kIslamicEpoch = 1948440;  // 16 July 622, civil
constexpr std::int32_t kPersianEpoch = 1948320;  // 19 March 622
constexpr std::int32_t kCopticZero = 1824665;    // a year before 29 August 284
constexpr std::int32_t kEthiopicZero = 1723856;  // a year before 29 August 8
constexpr std::int32_t kHebrewEpoch = 347998;    // 7 October -3760, counting a year 0
constexpr std::int32_t kGregorianEpoch = 1721426;
constexpr std::int32_t kSakaYears = 78;       // behind the Gregorian year
constexpr std::int32_t kSakaNewYear = 80;     // days before 22 March, in leap years 21 March
constexpr std::int32_t kHebrewLeapMonth = 6;  // Adar I
constexpr std::int32_t kHebrewPartsOfDay = 25920;

// DATE's numbers of January and February -4712 are one above the astronomers'.
constexpr std::int32_t ToAstronomical(std::int32_t n) noexcept { return n - (n < 60 ? 1 : 0); }
constexpr std::int32_t FromAstronomical(std::int32_t n) noexcept { return n + (n < 59 ? 1 : 0); }

// Months before a Hebrew year, from the 235 months of 19 years.
std::int32_t HebrewMonths(std::int32_t year) noexcept { return FloorDivide(235 * year - 234, 19); }
bool IsHebrewLeap(std::int32_t year) noexcept {
  return HebrewMonths(year + 1) - HebrewMonths(year) == 13;
}

// Days from the epoch to the mean new moon of a year's first month, moved off Sunday, Wednesday and
// Friday.
std::int32_t HebrewDays(std::int32_t year) noexcept {
  const std::int32_t months = HebrewMonths(year);
  const std::int64_t parts = 12084 + std::int64_t{13753} * months;
  const auto days = static_cast<std::int32_t>(
      29 * std::int64_t{months} + parts / kHebrewPartsOfDay - (parts % kHebrewPartsOfDay < 0));
  const std::int32_t weekday = (3 * (days + 1)) % 7;
  return days + ((weekday < 0 ? weekday + 7 : weekday) < 3 ? 1 : 0);
}

// New year, so that no year has 356 or 382 days.
std::int32_t HebrewYearStart(std::int32_t year) noexcept {
  const std::int32_t before = HebrewDays(year - 1);
  const std::int32_t here = HebrewDays(year);
  const std::int32_t after = HebrewDays(year + 1);
  const std::int32_t delay = after - here == 356 ? 2 : here - before == 382 ? 1 : 0;
  return kHebrewEpoch + here + delay;
}

std::int32_t IndianYearStart(std::int32_t year) noexcept {
  const std::int32_t before = year + kSakaYears - 1;  // years before this Gregorian year
  return kGregorianEpoch + 365 * before + FloorDivide(before, 4) - FloorDivide(before, 100) +
         FloorDivide(before, 400) + kSakaNewYear;
}

std::int32_t YearStart(CalendarKind kind, std::int32_t year) noexcept {
  switch (kind) {
    case CalendarKind::kIslamicCivil:  // 11 leap years in 30
      return kIslamicEpoch + 354 * (year - 1) + FloorDivide(11 * year + 3, 30);
    case CalendarKind::kPersian:  // 8 leap years in 33
      return kPersianEpoch + 365 * (year - 1) + FloorDivide(8 * year + 21, 33);
    case CalendarKind::kEthiopic:
      return kEthiopicZero + 365 * year + FloorDivide(year, 4);
    case CalendarKind::kCoptic:
      return kCopticZero + 365 * year + FloorDivide(year, 4);
    case CalendarKind::kHebrew:
      return HebrewYearStart(year);
    case CalendarKind::kIndian:
      return IndianYearStart(year);
    case CalendarKind::kNone:
    case CalendarKind::kGregorian:
      break;
  }
  KES_DCHECK(false);
  return 0;
}

// The mean year in ten-thousandths of a day.
std::int32_t MeanYear(CalendarKind kind) noexcept {
  switch (kind) {
    case CalendarKind::kIslamicCivil:
      return 3543667;
    case CalendarKind::kHebrew:
      return 3652468;
    default:
      return 3652425;
  }
}

std::uint32_t HebrewMonthLength(std::int32_t year, std::uint32_t month) noexcept {
  const std::int32_t length = YearLength(CalendarKind::kHebrew, year);
  switch (month) {
    case 2:  // Heshvan
      return length % 10 == 5 ? 30 : 29;
    case 3:  // Kislev
      return length % 10 == 3 ? 29 : 30;
    case kHebrewLeapMonth:
      return IsHebrewLeap(year) ? 30 : 0;
    case 1:
    case 5:
    case 8:
    case 10:
    case 12:
      return 30;
    default:
      return 29;
  }
}

bool HasThirteenMonths(CalendarKind kind) noexcept {
  return kind == CalendarKind::kEthiopic || kind == CalendarKind::kCoptic ||
         kind == CalendarKind::kHebrew;
}

}  // namespace

std::int32_t YearLength(CalendarKind kind, std::int32_t year) noexcept {
  return YearStart(kind, year + 1) - YearStart(kind, year);
}

std::uint32_t MonthLengthOf(CalendarKind kind, std::int32_t year, std::uint32_t month) noexcept {
  if (month == 0 || month > (HasThirteenMonths(kind) ? 13u : 12u)) return 0;
  switch (kind) {
    case CalendarKind::kIslamicCivil:
      return month == 12 ? static_cast<std::uint32_t>(YearLength(kind, year) - 325)
                         : 29 + (month & 1u);
    case CalendarKind::kPersian:
      if (month == 12) return static_cast<std::uint32_t>(YearLength(kind, year) - 336);
      return month <= 6 ? 31 : 30;
    case CalendarKind::kEthiopic:
    case CalendarKind::kCoptic:
      return month == 13 ? static_cast<std::uint32_t>(YearLength(kind, year) - 360) : 30;
    case CalendarKind::kIndian:
      if (month == 1) return static_cast<std::uint32_t>(YearLength(kind, year) - 335);
      return month <= 6 ? 31 : 30;
    case CalendarKind::kHebrew:
      return HebrewMonthLength(year, month);
    case CalendarKind::kNone:
    case CalendarKind::kGregorian:
      break;
  }
  return 0;
}

PlainDate PlainDateOf(CalendarKind kind, std::int32_t day_number) noexcept {
  const std::int32_t day = ToAstronomical(day_number);
  const std::int64_t days = std::int64_t{day} - YearStart(kind, 1);
  auto year = static_cast<std::int32_t>(days * 10000 / MeanYear(kind)) + 1;
  while (YearStart(kind, year) > day) --year;
  while (YearStart(kind, year + 1) <= day) ++year;
  auto rest = static_cast<std::uint32_t>(day - YearStart(kind, year));
  std::uint32_t month = 1;
  for (std::uint32_t length; rest >= (length = MonthLengthOf(kind, year, month)); ++month) {
    KES_DCHECK(month <= 13);
    rest -= length;
  }
  return {year, month, rest + 1};
}

std::int32_t DayNumberOf(CalendarKind kind, const PlainDate& date) noexcept {
  KES_DCHECK(date.year >= kFirstPlainYear && date.year <= kLastPlainYear);
  std::int32_t day = YearStart(kind, date.year) - 1;
  for (std::uint32_t month = 1; month < date.month; ++month) {
    day += static_cast<std::int32_t>(MonthLengthOf(kind, date.year, month));
  }
  return FromAstronomical(day + static_cast<std::int32_t>(date.day));
}

std::int32_t MonthCount(CalendarKind kind, std::int32_t year, std::uint32_t month) noexcept {
  auto place = static_cast<std::int32_t>(month) - 1;
  if (kind != CalendarKind::kHebrew) return year * (HasThirteenMonths(kind) ? 13 : 12) + place;
  if (place >= kHebrewLeapMonth && !IsHebrewLeap(year)) --place;
  return HebrewMonths(year) + place;
}

PlainDate MonthOfCount(CalendarKind kind, std::int32_t count) noexcept {
  if (kind != CalendarKind::kHebrew) {
    const std::int32_t months = HasThirteenMonths(kind) ? 13 : 12;
    const std::int32_t year = FloorDivide(count, months);
    return {year, static_cast<std::uint32_t>(count - year * months) + 1, 1};
  }
  std::int32_t year = FloorDivide(19 * count + 234, 235);
  while (HebrewMonths(year) > count) --year;
  while (HebrewMonths(year + 1) <= count) ++year;
  auto month = static_cast<std::uint32_t>(count - HebrewMonths(year)) + 1;
  if (month >= kHebrewLeapMonth && !IsHebrewLeap(year)) ++month;
  return {year, month, 1};
}

}  // namespace kestra::datetime
