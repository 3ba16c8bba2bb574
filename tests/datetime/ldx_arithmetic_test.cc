// Adding days and months, months between, last and next days.
#include <gtest/gtest.h>

#include "tests/support/calendar_reference.h"
#include "tests/support/date_values.h"
#include "tests/support/number_text.h"

namespace kestra::test {
namespace {

constexpr std::uint32_t kOutside = 1841;

ldxdate AddDays(ldxctx* ctx, const ldxdate& date, std::int32_t days, std::int32_t seconds = 0) {
  const ldxdelta delta = {days, seconds};
  ldxdate out = {};
  ldxads(ctx, &out, &date, &delta);
  return out;
}

struct DaysCase {
  const char* from;
  std::int32_t days;
  std::int32_t seconds;
  const char* to;  // null: 1841
};
constexpr DaysCase kDays[] = {
    {"1582-10-04 10:00:00", 1, 0, "1582-10-15 10:00:00"},
    {"1582-10-15", -1, 0, "1582-10-04"},
    {"-4712-01-01", -1, 0, nullptr},
    {"-4712-01-01", 0, -1, nullptr},
    {"9999-12-31 23:59:59", 0, 1, nullptr},
    {"9999-12-31 23:59:59", 1, -86400, "9999-12-31 23:59:59"},
    {"9999-12-31", 1, 0, nullptr},
    {"-4712-02-28", 1, 0, "-4712-03-01"},
    {"-4708-02-28", 1, 0, "-4708-02-29"},
    {"2019-12-31 23:59:59", 0, 1, "2020-01-01"},
    {"2020-01-01", 0, -1, "2019-12-31 23:59:59"},
    {"2020-01-01", 0, -86401, "2019-12-30 23:59:59"},
    {"2019-06-15 12:00:00", 1, -43201, "2019-06-15 23:59:59"},
    {"2019-06-15 12:00:00", 0, INT32_MAX, "2087-07-03 15:14:07"},
    {"2019-06-15 12:00:00", 0, INT32_MIN, "1951-05-28 08:45:52"},
    {"2019-06-15", INT32_MAX, INT32_MAX, nullptr},
    {"2019-06-15", INT32_MIN, INT32_MIN, nullptr},
    {"-4712-01-01", 5373483, 0, "9999-12-31"},
    {"2019-06-15 01:02:03", 0, 0, "2019-06-15 01:02:03"},
    // The day after 31 December of -1 is in the year 0, whose dates get the year they move to.
    {"-1-12-31", 1, 0, "1-01-01"},
    {"1-01-01", -1, 0, "-1-12-31"},
    {"-1-12-31", 366, 0, "1-12-31"},
    {"-1-12-31", 367, 0, "1-01-01"},
    {"1-01-01", -366, 0, "-1-01-01"},
};
TEST(LdxAds, HandWorkedDays) {
  WeekContext ctx;
  for (const DaysCase& c : kDays) {
    SCOPED_TRACE(std::string(c.from) + " + " + std::to_string(c.days) + " days " +
                 std::to_string(c.seconds) + " seconds");
    if (c.to == nullptr) {
      EXPECT_EQ(Raised([&] { AddDays(ctx, Date(c.from), c.days, c.seconds); }), kOutside);
    } else {
      EXPECT_EQ(AddDays(ctx, Date(c.from), c.days, c.seconds), Date(c.to));
    }
  }
}

TEST(LdxAds, ThereAndBackAgain) {
  WeekContext ctx;
  std::mt19937_64 random(11);
  for (int i = 0; i < 200'000; ++i) {
    const ldxdate from = RandomDate(random);
    const auto days = static_cast<std::int32_t>(random() % 100'000) - 50'000;
    const auto seconds = static_cast<std::int32_t>(random() % 2'000'000'000) - 1'000'000'000;
    ldxdate to = {};
    if (Raised([&] { to = AddDays(ctx, from, days, seconds); }) != 0) continue;
    ldxjdate a = {}, b = {};
    ldxdtd(ctx, &a, &from);
    ldxdtd(ctx, &b, &to);
    const std::int64_t moved = (std::int64_t{b.day} - a.day) * 86400 + b.second - a.second;
    const std::int64_t wanted = std::int64_t{days} * 86400 + seconds;
    const bool through_year_zero = moved != wanted;
    if (through_year_zero) {  // the year 0 has 366 days
      ASSERT_TRUE(to.year == 1 || to.year == -1) << from << " to " << to;
      ASSERT_LE(std::abs(moved - wanted), 366 * 86400) << from << " to " << to;
      continue;
    }
    ASSERT_EQ(AddDays(ctx, to, -days, -seconds), from) << to;
  }
}

TEST(LdxAds, TheResultMayBeTheInput) {
  WeekContext ctx;
  ldxdate date = Date("2019-01-31");
  const ldxdelta delta = {1, 1};
  ldxads(ctx, &date, &date, &delta);
  EXPECT_EQ(date, Date("2019-02-01 00:00:01"));
  ldxadm(ctx, &date, &date, -1);
  ldxldd(ctx, &date, &date);
  EXPECT_EQ(date, Date("2019-01-31 00:00:01"));
}

struct MonthsCase {
  const char* from;
  std::int32_t months;
  const char* to;
  int last_day;
};
constexpr MonthsCase kMonths[] = {
    {"2019-01-31", 1, "2019-02-28", 1},
    {"2019-02-28", 1, "2019-03-31", 1},
    {"2019-04-30 10:11:12", 1, "2019-05-31 10:11:12", 1},
    {"2020-01-30", 1, "2020-02-29", 1},
    {"2020-02-28", 12, "2021-02-28", 0},
    {"2020-02-29", -12, "2019-02-28", 1},
    {"2019-02-28", 12, "2020-02-29", 1},
    {"2019-01-28", 1, "2019-02-28", 0},
    {"1500-02-29", 2400, "1700-02-28", 1},
    {"-4712-02-28", 48, "-4708-02-29", 1},
    {"1582-09-10", 1, "1582-10-10", 0},  // a day that there was not
    {"1-01-15", -1, "0-12-15", 0},
    {"1-01-15", -2, "-1-11-15", 0},
    {"1-02-15", -2, "0-12-15", 0},
    {"-1-12-15", 1, "1-01-15", 0},
    {"-1-12-15", 12, "0-12-15", 0},
    {"-1-12-15", 13, "1-01-15", 0},
    {"9999-12-15", 1, "10000-01-15", 0},
    {"9999-12-15", 11, "10000-11-15", 0},
    {"9999-12-15", 12, nullptr, 0},
    {"-4712-01-01", -1, nullptr, 0},
    {"-4712-01-01", 1, "-4712-02-01", 0},
    {"2019-01-01", INT32_MAX, nullptr, 0},
    {"2019-01-01", INT32_MIN, nullptr, 0},
};
TEST(LdxAdm, HandWorkedMonths) {
  WeekContext ctx;
  for (const MonthsCase& c : kMonths) {
    SCOPED_TRACE(std::string(c.from) + " + " + std::to_string(c.months) + " months");
    const ldxdate from = Date(c.from);
    ldxdate out = {};
    if (c.to == nullptr) {
      EXPECT_EQ(Raised([&] { ldxadm(ctx, &out, &from, c.months); }), kOutside);
    } else {
      EXPECT_EQ(ldxadm(ctx, &out, &from, c.months), c.last_day);
      EXPECT_EQ(out, Date(c.to));
    }
  }
}

TEST(LdxAdm, TheStepsOneAfterTheOther) {
  WeekContext ctx;
  std::mt19937_64 random(12);
  for (int i = 0; i < 500'000; ++i) {
    const ldxdate from = RandomDate(random);
    std::int32_t months = static_cast<std::int32_t>(random() % 400'000) - 200'000;
    if (i % 3 == 0) months %= 30;
    if (i % 7 == 0) months = 120'000 + static_cast<std::int32_t>(random() % 24) - 12 * from.year;
    ldxdate expected = {}, out = {};
    int expected_last = 0, last = 0;
    const std::uint32_t error = ref::AddMonths(from, months, expected, expected_last);
    ASSERT_EQ(Raised([&] { last = ldxadm(ctx, &out, &from, months); }), error)
        << from << " + " << months;
    if (error != 0) continue;
    ASSERT_EQ(out, expected) << from << " + " << months;
    ASSERT_EQ(last, expected_last) << from << " + " << months;
  }
}

std::string Between(ldxctx* ctx, const char* a, const char* b) {
  std::uint8_t number[22] = {};
  const ldxdate x = Date(a), y = Date(b);
  ldxsbm(ctx, number, &x, &y);
  return Text(NumberBytes(number + 1, number + 1 + number[0]));
}
TEST(LdxSbm, HandWorkedMonths) {
  WeekContext ctx;
  const struct {
    const char* a;
    const char* b;
    const char* months;
  } cases[] = {
      {"2019-03-31", "2019-02-28", "1"},
      {"2019-02-28", "2019-03-31 12:00:00", "-1"},
      {"2019-03-15 12:00:00", "2019-02-15 00:00:00", "1"},
      {"2019-01-02", "2019-01-01", "0.0322580645161290322580645161290322580645"},
      {"2019-01-01", "2019-01-02", "-0.0322580645161290322580645161290322580645"},
      {"2019-02-28", "2019-01-30", "0.935483870967741935483870967741935483871"},
      {"2020-02-29", "2020-01-31", "1"},
      {"2020-02-28", "2020-01-31", "0.9032258064516129032258064516129032258065"},
      {"2019-01-01 12:00:00", "2018-12-31", "0.0483870967741935483870967741935483870968"},
      {"1-01-01", "-1-01-01", "24"},
      {"9999-12-31", "-4712-01-31", "176543"},
      {"2019-06-15", "2019-06-15 23:59:59", "0"},
  };
  for (const auto& c : cases) EXPECT_EQ(Between(ctx, c.a, c.b), c.months) << c.a << " " << c.b;
}

TEST(LdxSbm, AddedMonthsAreWhatIsBetween) {
  WeekContext ctx;
  std::mt19937_64 random(13);
  for (int i = 0; i < 50'000; ++i) {
    const ldxdate from = RandomDate(random);
    const auto months = static_cast<std::int32_t>(random() % 24'000) - 12'000;
    ldxdate to = {};
    if (from.day > 28 || Raised([&] { ldxadm(ctx, &to, &from, months); }) != 0) continue;
    if ((from.year < 1) != (to.year < 1) || to.year == 0) continue;   // the year 0 is not a year
    if (from.day == 28 && from.month == 2 && to.day != 28) continue;  // a last day stayed one
    std::uint8_t number[22] = {};
    ldxsbm(ctx, number, &to, &from);
    ASSERT_EQ(Text(NumberBytes(number + 1, number + 1 + number[0])), std::to_string(months))
        << from << " " << to;
  }
}

TEST(LdxLdd, EveryMonth) {
  WeekContext ctx;
  for (int year = -4712; year <= 9999; ++year) {
    for (int month = 1; month <= 12; ++month) {
      ldxdate date = Date("2019-06-03 04:05:06");
      date.year = static_cast<std::int16_t>(year);
      date.month = static_cast<std::uint8_t>(month);
      ldxdate last = date;
      last.day = static_cast<std::uint8_t>(ref::DaysOfMonth(year, month));
      ldxldd(ctx, &date, &date);
      ASSERT_EQ(date, last);
    }
  }
}

TEST(LdxNxd, TheNextOneEvenOnThatDay) {
  WeekContext ctx;  // weeks from Sunday
  const auto next = [&](const char* date, std::uint32_t weekday) {
    const ldxdate from = Date(date);
    ldxdate out = {};
    ldxnxd(ctx, &out, &from, weekday);
    return out;
  };
  EXPECT_EQ(next("2019-06-14 10:00:00", 6), Date("2019-06-21 10:00:00"));  // a Friday
  EXPECT_EQ(next("2019-06-14", 7), Date("2019-06-15"));
  EXPECT_EQ(next("2019-06-14", 5), Date("2019-06-20"));
  EXPECT_EQ(next("1582-10-04", 6), Date("1582-10-15"));
  EXPECT_EQ(next("-1-12-31", 1), Date("1-01-04"));  // through the year 0
  for (const std::uint32_t weekday : {0u, 8u, UINT32_MAX}) {
    EXPECT_EQ(Raised([&] { next("2019-06-14", weekday); }), 1846u);
  }
  EXPECT_EQ(Raised([&] { next("9999-12-31", 6); }), kOutside);
}

TEST(LdxNxd, LiesOneToSevenDaysAhead) {
  std::mt19937_64 random(14);
  for (int i = 0; i < 100'000; ++i) {
    WeekContext ctx(static_cast<unsigned>(random() % 7));
    const ldxdate from = RandomDate(random);
    const auto weekday = static_cast<std::uint32_t>(random() % 7) + 1;
    ldxdate to = {};
    if (from.year == -1 || Raised([&] { ldxnxd(ctx, &to, &from, weekday); }) != 0) continue;
    const std::int32_t before = ldxctj(ctx, from.year, from.month, from.day);
    const std::int32_t after = ldxctj(ctx, to.year, to.month, to.day);
    ASSERT_TRUE(after > before && after <= before + 7) << from << " " << to;
    ASSERT_EQ(ldxdow(ctx, after), weekday);
  }
}

TEST(LdxCmp, FirstDifferenceDecides) {
  const char* ascending[] = {"-4712-01-01",
                             "-1-12-31",
                             "1-01-01",
                             "2019-01-31 23:59:59",
                             "2019-02-01",
                             "2019-02-01 00:00:01",
                             "2019-02-01 00:01:00",
                             "2019-02-01 01:00:00",
                             "2019-02-02"};
  for (std::size_t i = 0; i < std::size(ascending); ++i) {
    for (std::size_t j = 0; j < std::size(ascending); ++j) {
      const ldxdate a = Date(ascending[i]), b = Date(ascending[j]);
      EXPECT_EQ(ldxcmp(&a, &b), i < j ? -1 : i > j ? 1 : 0) << a << " " << b;
    }
  }
}

}  // namespace
}  // namespace kestra::test
