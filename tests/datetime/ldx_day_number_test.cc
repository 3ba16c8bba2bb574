// Every day there is, against counting them out one by one.
#include <gtest/gtest.h>

#include "tests/support/calendar_reference.h"
#include "tests/support/date_values.h"

namespace kestra::test {
namespace {

constexpr std::int32_t kDays = 5373484;

// One test, so that the days are walked once.
TEST(LdxDayNumber, EveryDayBothWaysWithItsWeekday) {
  WeekContext ctx(1);  // weeks from Monday
  ref::DayWalk walk;
  for (std::int32_t n = 1; n <= kDays; ++n, walk.Next()) {
    std::int16_t year = 0;
    std::uint8_t month = 0, day = 0;
    ldxjtc(ctx, n, &year, &month, &day);
    ASSERT_TRUE(year == walk.year && month == walk.month && day == walk.day)
        << n << " gives " << year << "-" << int{month} << "-" << int{day};
    ASSERT_EQ(ldxctj(ctx, walk.year, static_cast<std::uint32_t>(walk.month),
                     static_cast<std::uint32_t>(walk.day)),
              n);
    ASSERT_EQ(ldxdow(ctx, n), static_cast<std::uint32_t>(walk.weekday)) << n;
    ASSERT_EQ(ldxdyc(ctx, walk.year, static_cast<std::uint32_t>(walk.day_of_year), &month, &day),
              1);
    ASSERT_TRUE(month == walk.month && day == walk.day) << n;
  }
  EXPECT_EQ(walk.year, 10000);
}

TEST(LdxDayNumber, EveryDaysIsoWeek) {
  WeekContext ctx;
  ref::DayWalk walk;
  ref::DayWalk thursday;  // of walk's week
  for (int i = 0; i < 2; ++i) thursday.Next();
  int iso_year = -4712;
  int iso_week = 1;
  for (; walk.number <= kDays - 7; walk.Next()) {
    if (walk.weekday == 1) {
      for (int i = 0; i < 7; ++i) thursday.Next();
      iso_week = thursday.year == iso_year ? iso_week + 1 : 1;
      iso_year = thursday.year;
    }
    if (walk.year == 0) continue;  // no date has it
    ldxdate date = {};
    date.year = static_cast<std::int16_t>(walk.year);
    date.month = static_cast<std::uint8_t>(walk.month);
    date.day = static_cast<std::uint8_t>(walk.day);
    ASSERT_EQ(ldxisy(ctx, &date), iso_year == 0 ? -1 : iso_year) << date;
    ASSERT_EQ(ldxisw(ctx, &date), static_cast<std::uint32_t>(iso_week)) << date;
  }
}

struct KnownDay {
  const char* what;
  const char* date;
  std::int32_t number;
  std::uint32_t weekday;  // from Sunday
};
constexpr KnownDay kKnownDays[] = {
    {"the first day", "-4712-01-01", 1, 3},
    {"February -4712 has 28 days", "-4712-03-01", 60, 6},
    {"-4708 is the first leap year", "-4708-02-29", 365 * 4 + 60, 3},
    {"1 January of year 1", "1-01-01", 1721424, 7},
    {"the last Julian day", "1582-10-04", 2299160, 5},
    {"the first Gregorian day", "1582-10-15", 2299161, 6},
    {"the astronomers' epoch", "1858-11-17", 2400001, 4},
    {"1 January 1970", "1970-01-01", 2440588, 5},
    {"a Sunday", "1982-02-28", 2445029, 1},
    {"1 January 2000", "2000-01-01", 2451545, 7},
    {"the last day", "9999-12-31", kDays, 6},
};
TEST(LdxDayNumber, DaysKnownFromElsewhere) {
  WeekContext ctx;
  for (const KnownDay& c : kKnownDays) {
    SCOPED_TRACE(c.what);
    const ldxdate date = Date(c.date);
    EXPECT_EQ(ldxctj(ctx, date.year, date.month, date.day), c.number);
    EXPECT_EQ(ldxdow(ctx, c.number), c.weekday);
  }
}

TEST(LdxDayNumber, WeekBeginsOnTheTerritorysFirstDay) {
  for (unsigned first = 0; first < 7; ++first) {
    WeekContext ctx(first);
    EXPECT_EQ(ldxdow(ctx, 2445029 + static_cast<std::int32_t>(first)), 1u);
    EXPECT_EQ(ldxdow(ctx, 2445029 + static_cast<std::int32_t>(first) - 1), 7u);
  }
}

TEST(LdxDayNumber, NumbersOutsideTheCalendarRaise) {
  WeekContext ctx;
  for (const std::int32_t n : {0, -1, INT32_MIN, kDays + 1, INT32_MAX}) {
    std::int16_t year = 7;
    std::uint8_t month = 7, day = 7;
    EXPECT_EQ(Raised([&] { ldxjtc(ctx, n, &year, &month, &day); }), 1854u) << n;
    EXPECT_EQ(year, 7);
    ldxdate date = Date("2019-01-31");
    const ldxjdate julian = {n, 0};
    EXPECT_EQ(Raised([&] { ldxdfd(ctx, &date, &julian); }), 1854u) << n;
    EXPECT_EQ(date, Date("2019-01-31"));
  }
}

TEST(LdxDayNumber, DaysOfTheYearThatThereAreNot) {
  WeekContext ctx;
  std::uint8_t month = 0, day = 0;
  EXPECT_EQ(ldxdyc(ctx, 1582, 277, &month, &day), 1);
  EXPECT_EQ(month * 100 + day, 1004);
  EXPECT_EQ(ldxdyc(ctx, 1582, 278, &month, &day), 1);
  EXPECT_EQ(month * 100 + day, 1015);
  EXPECT_EQ(ldxdyc(ctx, 1582, 355, &month, &day), 1);
  EXPECT_EQ(month * 100 + day, 1231);
  for (const auto& [year, number] : {std::pair{1582, 356u},
                                     {2019, 366u},
                                     {2020, 367u},
                                     {2020, 0u},
                                     {-4712, 366u},
                                     {10000, 1u}}) {
    EXPECT_EQ(ldxdyc(ctx, year, number, &month, &day), 0) << year << " " << number;
    EXPECT_EQ(month + day, 0);
  }
}

TEST(LdxDayNumber, TableOfDaysBeforeMonths) {
  for (int month = 1; month <= 12; ++month) {
    EXPECT_EQ(ldxdom[month + 1] - ldxdom[month], ref::DaysOfMonth(2019, month));
  }
  EXPECT_EQ(ldxdom[0], 0);
}

}  // namespace
}  // namespace kestra::test
