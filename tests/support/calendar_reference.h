// A calendar that is counted out day by day: what the library's formulas are compared with.
#pragma once

#include <cstdint>

#include "kestra/date.h"

namespace kestra::test::ref {

// Stands on one day after the other, from 1 January -4712 (day 1, a Tuesday) on. Knows the year 0.
class DayWalk {
 public:
  void Next();

  int year = -4712;
  int month = 1;
  int day = 1;
  std::int32_t number = 1;
  int weekday = 2;  // 1 Monday to 7 Sunday
  int day_of_year = 1;
};

// 29 February included where there is one. Every fourth year up to 1582 but -4712; then the
// Gregorian rule.
int DaysOfMonth(int year, int month);

// The steps of adding months one after the other, tests in their order: 0, or 1841.
std::uint32_t AddMonths(const ldxdate& in, long months, ldxdate& out, int& last_day);

}  // namespace kestra::test::ref
