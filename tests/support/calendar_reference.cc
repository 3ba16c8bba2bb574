#include "tests/support/calendar_reference.h"

namespace kestra::test::ref {

int DaysOfMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month != 2) return kDays[month - 1];
  bool leap = year % 4 == 0 && year != -4712;
  if (year > 1582 && year % 100 == 0) leap = year % 400 == 0;
  return leap ? 29 : 28;
}

void DayWalk::Next() {
  ++number;
  weekday = weekday % 7 + 1;
  ++day_of_year;
  if (year == 1582 && month == 10 && day == 4) {
    day = 15;
    return;
  }
  if (++day <= DaysOfMonth(year, month)) return;
  day = 1;
  if (++month <= 12) return;
  month = 1;
  day_of_year = 1;
  ++year;
}

std::uint32_t AddMonths(const ldxdate& in, long months, ldxdate& out, int& last_day) {
  const long total = months + in.month + 12L * in.year;
  long year = 0;
  long month = 0;
  if (total > 0) {
    year = total / 12;
    if (year - 1 > 9999) return 1841;
    if (year == 0) year = in.year < 1 ? 1 : -1;
    month = total % 12;
    if (month == 0) {
      year -= 1;
      month = 12;
    }
  } else {
    year = total / 12 - 1;
    if (year < -4712) return 1841;
    month = total % 12 + 12;
  }
  const int length_in = DaysOfMonth(in.year, in.month);
  const int length_out = DaysOfMonth(static_cast<int>(year), static_cast<int>(month));
  out = in;
  out.year = static_cast<std::int16_t>(year);
  out.month = static_cast<std::uint8_t>(month);
  last_day = in.day == length_in || in.day > length_out;
  if (last_day != 0) out.day = static_cast<std::uint8_t>(length_out);
  return 0;
}

}  // namespace kestra::test::ref
