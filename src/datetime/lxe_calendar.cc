// The calendar extension: months in calendars with months of their own. Calendars with Gregorian
// months, and those without arithmetic, answer that they have no result. A day that is its month's
// last one stays that, as among Gregorian months.
#include "datetime/calendar.h"
#include "datetime/calendar_rules.h"
#include "datetime/day_number.h"

namespace kestra::datetime {
namespace {

constexpr ExtensionResult kNotHandled = {false, false, 0};
constexpr ExtensionResult kDone = {true, false, 0};
constexpr ExtensionResult kOutside = {true, false, 1841};
// More months than all of DATE's years have, in any calendar.
constexpr std::int32_t kMostMonths = 13 * 2 * 10000;

bool HasOwnMonths(const Calendar& calendar) noexcept {
  return calendar.has_arithmetic() && !calendar.gregorian_months();
}

bool IsDay(std::int32_t number) noexcept { return number >= 1 && number <= kMaxDay; }

ExtensionResult Store(Calendar::Kind kind, const PlainDate& plain, bool forward, const ldxdate& in,
                      ldxdate& out) noexcept {
  const std::int32_t number = DayNumberOf(kind, plain);
  if (!IsDay(number)) return kOutside;
  const CivilDate civil = SplitDay(number);
  out = in;
  out.year = static_cast<std::int16_t>(WithoutYearZero(civil.year, forward));
  out.month = static_cast<std::uint8_t>(civil.month);
  out.day = static_cast<std::uint8_t>(civil.day);
  return kDone;
}

std::int32_t SecondOfDay(const ldxdate& date) noexcept {
  return (date.hour * 60 + date.minute) * 60 + date.second;
}

}  // namespace

ExtensionResult lxeadm(const Calendar& calendar, const ldxdate& in, std::int32_t months,
                       ldxdate& out) noexcept {
  if (!HasOwnMonths(calendar)) return kNotHandled;
  const Calendar::Kind kind = calendar.kind();
  const std::int32_t number = DayNumber(in);
  if (!IsDay(number) || months > kMostMonths || months < -kMostMonths) return kOutside;
  const PlainDate from = PlainDateOf(kind, number);
  PlainDate to = MonthOfCount(kind, MonthCount(kind, from.year, from.month) + months);
  if (to.year < kFirstPlainYear || to.year > kLastPlainYear) return kOutside;
  const std::uint32_t length = MonthLengthOf(kind, to.year, to.month);
  const bool last = from.day > length || from.day == MonthLengthOf(kind, from.year, from.month);
  to.day = last ? length : from.day;
  ExtensionResult result = Store(kind, to, months > 0, in, out);
  result.last_day = last;
  return result;
}

ExtensionResult lxeldd(const Calendar& calendar, const ldxdate& in, ldxdate& out) noexcept {
  if (!HasOwnMonths(calendar)) return kNotHandled;
  const std::int32_t number = DayNumber(in);
  if (!IsDay(number)) return kOutside;
  PlainDate plain = PlainDateOf(calendar.kind(), number);
  plain.day = MonthLengthOf(calendar.kind(), plain.year, plain.month);
  return Store(calendar.kind(), plain, true, in, out);
}

ExtensionResult lxesbm(const Calendar& calendar, const ldxdate& x, const ldxdate& y,
                       MonthsBetween& out) noexcept {
  if (!HasOwnMonths(calendar)) return kNotHandled;
  const Calendar::Kind kind = calendar.kind();
  const std::int32_t x_number = DayNumber(x);
  const std::int32_t y_number = DayNumber(y);
  if (!IsDay(x_number) || !IsDay(y_number)) return kOutside;
  const PlainDate a = PlainDateOf(kind, x_number);
  const PlainDate b = PlainDateOf(kind, y_number);
  out.months = MonthCount(kind, a.year, a.month) - MonthCount(kind, b.year, b.month);
  out.exact = a.day == b.day || (a.day == MonthLengthOf(kind, a.year, a.month) &&
                                 b.day == MonthLengthOf(kind, b.year, b.month));
  out.seconds =
      (static_cast<std::int32_t>(a.day) - static_cast<std::int32_t>(b.day)) * kDaySeconds +
      SecondOfDay(x) - SecondOfDay(y);
  return kDone;
}

}  // namespace kestra::datetime
