// Rounding and truncating, each unit by hand and by laws.
#include <gtest/gtest.h>

#include "tests/support/date_values.h"

namespace kestra::test {
namespace {

// Codes of format elements.
enum : std::uint32_t {
  kCC = 1,
  kIYYY = 9,
  kYYYY = 10,
  kGroupedYear = 11,
  kSignedGroupedYear = 13,
  kQ = 16,
  kMM = 17,
  kIW = 18,
  kWW = 19,
  kW = 20,
  kD = 21,
  kDD = 22,
  kHH24 = 24,
  kMI = 26,
  kSS = 27
};
constexpr std::uint32_t kAlike[][2] = {
    {2, kCC},    {3, kIYYY},  {5, kIYYY},  {7, kIYYY},  {4, kYYYY},  {6, kYYYY},  {8, kYYYY},
    {12, kYYYY}, {14, kYYYY}, {15, kYYYY}, {40, kYYYY}, {41, kYYYY}, {45, kYYYY}, {30, kMM},
    {31, kMM},   {38, kMM},   {32, kD},    {33, kD},    {23, kDD},   {29, kDD},   {25, kHH24},
};

struct UnitCase {
  std::uint32_t unit;
  const char* date;
  const char* truncated;  // null: 1841
  const char* rounded;
};
constexpr UnitCase kCases[] = {
    {kCC, "2000-12-31 23:00:00", "1901-01-01", "2001-01-01"},
    {kCC, "2001-01-01", "2001-01-01", "2001-01-01"},
    {kCC, "1950-06-01", "1901-01-01", "1901-01-01"},
    {kCC, "1951-06-01", "1901-01-01", "2001-01-01"},
    {kCC, "1-05-05", "1-01-01", "1-01-01"},
    {kCC, "-1-05-05", "-100-01-01", "1-01-01"},
    {kCC, "-100-05-05", "-100-01-01", "-100-01-01"},
    {kCC, "-101-05-05", "-200-01-01", "-100-01-01"},
    {kCC, "-50-05-05", "-100-01-01", "1-01-01"},
    {kCC, "-4712-05-05", nullptr, "-4700-01-01"},
    {kCC, "9950-05-05", "9901-01-01", "9901-01-01"},
    {kCC, "9951-05-05", "9901-01-01", nullptr},
    {kYYYY, "2019-06-30 23:59:59", "2019-01-01", "2019-01-01"},
    {kYYYY, "2019-07-01", "2019-01-01", "2020-01-01"},
    {kYYYY, "-1-07-01", "-1-01-01", "1-01-01"},
    {kYYYY, "9999-07-01", "9999-01-01", nullptr},
    {kIYYY, "2019-01-01 10:00:00", "2018-12-31", "2018-12-31"},
    {kIYYY, "2021-01-03", "2019-12-30", "2019-12-30"},
    {kIYYY, "2021-01-04", "2021-01-04", "2021-01-04"},
    {kIYYY, "2020-07-01", "2019-12-30", "2021-01-04"},
    {kIYYY, "-4712-03-01", nullptr, nullptr},  // its Monday is in -4713
    {kIYYY, "9999-07-01", "9999-01-04", nullptr},
    {kQ, "2019-02-15", "2019-01-01", "2019-01-01"},
    {kQ, "2019-02-16", "2019-01-01", "2019-04-01"},
    {kQ, "2019-03-01", "2019-01-01", "2019-04-01"},
    {kQ, "2019-10-31", "2019-10-01", "2019-10-01"},
    {kQ, "2019-11-16", "2019-10-01", "2020-01-01"},
    {kQ, "9999-12-01", "9999-10-01", nullptr},
    {kMM, "2019-01-16", "2019-01-01", "2019-02-01"},
    {kMM, "2019-01-15 23:59:59", "2019-01-01", "2019-01-01"},
    {kMM, "2019-12-16", "2019-12-01", "2020-01-01"},
    {kMM, "-1-12-16", "-1-12-01", "1-01-01"},
    {kIW, "2019-06-16 10:00:00", "2019-06-10", "2019-06-17"},  // a Sunday
    {kIW, "2019-06-13 11:59:59", "2019-06-10", "2019-06-10"},
    {kIW, "2019-06-13 12:00:00", "2019-06-10", "2019-06-17"},
    {kIW, "2021-12-30 12:00:00", "2021-12-27", "2021-12-27"},  // stays in its year
    {kIW, "1-01-01", "-1-12-27", "1-01-03"},
    {kIW, "9999-12-31", "9999-12-27", "9999-12-27"},
    {kIW, "-4712-01-03", nullptr, nullptr},
    {kWW, "2019-01-08", "2019-01-08", "2019-01-08"},  // weeks begin on Tuesdays
    {kWW, "2019-01-11 12:00:00", "2019-01-08", "2019-01-15"},
    {kWW, "2019-12-31", "2019-12-31", "2019-12-31"},
    {kWW, "2020-12-30", "2020-12-30", "2020-12-30"},
    {kWW, "2020-12-29", "2020-12-23", "2020-12-30"},
    {kWW, "1582-10-15", "1582-10-01", "1582-10-18"},  // day 278 of its year
    {kW, "2019-06-07 23:59:59", "2019-06-01", "2019-06-08"},
    {kW, "2019-06-08", "2019-06-08", "2019-06-08"},
    {kW, "2019-06-30", "2019-06-29", "2019-06-29"},
    {kW, "2019-02-26 12:00:00", "2019-02-22", "2019-03-01"},
    {kW, "2020-02-28", "2020-02-22", "2020-02-29"},
    {kW, "1582-10-15", "1582-10-15", "1582-10-15"},  // by its number, though the eleventh day
    {kW, "1582-10-20", "1582-10-15", "1582-10-22"},
    {kW, "1582-10-04 12:00:00", "1582-10-01", "1582-10-15"},
    {kW, "9999-12-31", "9999-12-29", "9999-12-29"},
    {kD, "2019-06-14", "2019-06-09", "2019-06-16"},  // a Friday, weeks from Sunday
    {kD, "2019-06-09 23:00:00", "2019-06-09", "2019-06-09"},
    {kD, "2019-06-12 12:00:00", "2019-06-09", "2019-06-16"},
    {kD, "1582-10-15", "1582-09-30", "1582-10-17"},
    {kDD, "2019-12-31 12:00:00", "2019-12-31", "2020-01-01"},
    {kDD, "2019-12-31 11:59:59", "2019-12-31", "2019-12-31"},
    {kDD, "1582-10-04 12:00:00", "1582-10-04", "1582-10-15"},
    {kDD, "9999-12-31 12:00:00", "9999-12-31", nullptr},
    {kHH24, "2019-12-31 23:30:00", "2019-12-31 23:00:00", "2020-01-01"},
    {kHH24, "2019-12-31 23:29:59", "2019-12-31 23:00:00", "2019-12-31 23:00:00"},
    {kMI, "2019-12-31 23:59:30", "2019-12-31 23:59:00", "2020-01-01"},
    {kMI, "2019-12-31 23:58:29", "2019-12-31 23:58:00", "2019-12-31 23:58:00"},
};

TEST(LdxRound, HandWorkedUnits) {
  WeekContext ctx;
  for (const UnitCase& c : kCases) {
    SCOPED_TRACE(std::string(c.date) + " by " + std::to_string(c.unit));
    const ldxdate date = Date(c.date);
    const auto check = [&](auto function, const char* expected) {
      ldxdate out = {};
      const std::uint32_t error = Raised([&] { function(ctx, &out, &date, c.unit); });
      EXPECT_EQ(error, expected == nullptr ? 1841u : 0u);
      if (expected != nullptr && error == 0) {
        EXPECT_EQ(out, Date(expected));
      }
    };
    check(ldxtrn, c.truncated);
    check(ldxrnd, c.rounded);
  }
}

TEST(LdxRound, UnitsThatMeanTheSame) {
  WeekContext ctx;
  std::mt19937_64 random(21);
  for (int i = 0; i < 2000; ++i) {
    const ldxdate date = RandomDate(random);
    for (const auto& pair : kAlike) {
      ldxdate a = date, b = date;
      ASSERT_EQ(Raised([&] { ldxrnd(ctx, &a, &a, pair[0]); }),
                Raised([&] { ldxrnd(ctx, &b, &b, pair[1]); }));
      ASSERT_EQ(a, b) << date << " by " << pair[0];
      ASSERT_EQ(Raised([&] { ldxtrn(ctx, &a, &a, pair[0]); }),
                Raised([&] { ldxtrn(ctx, &b, &b, pair[1]); }));
      ASSERT_EQ(a, b) << date << " by " << pair[0];
    }
  }
}

TEST(LdxRound, OtherUnitsRaise) {
  WeekContext ctx;
  const ldxdate date = Date("2019-06-14");
  for (const std::uint32_t unit :
       {0u, std::uint32_t{kGroupedYear}, std::uint32_t{kSignedGroupedYear}, std::uint32_t{kSS}, 28u,
        34u, 39u, 42u, 46u, 47u, UINT32_MAX}) {
    ldxdate out = date;
    EXPECT_EQ(Raised([&] { ldxrnd(ctx, &out, &date, unit); }), 1899u) << unit;
    EXPECT_EQ(Raised([&] { ldxtrn(ctx, &out, &date, unit); }), 1899u) << unit;
    EXPECT_EQ(out, date);
  }
}

// What truncation gives is no later, stays where it is, and rounding gives a start of the unit.
TEST(LdxRound, Laws) {
  std::mt19937_64 random(22);
  constexpr std::uint32_t kUnits[] = {kCC, kIYYY, kYYYY, kQ,  kMM,   kIW,
                                      kWW, kW,    kD,    kDD, kHH24, kMI};
  for (int i = 0; i < 20'000; ++i) {
    WeekContext ctx(static_cast<unsigned>(random() % 7));
    const ldxdate date = RandomDate(random);
    if (date.year == -1 || date.year == 1) continue;  // next to the year that there is not
    for (const std::uint32_t unit : kUnits) {
      ldxdate truncated = {}, again = {}, rounded = {};
      if (Raised([&] { ldxtrn(ctx, &truncated, &date, unit); }) == 0) {
        ASSERT_LE(ldxcmp(&truncated, &date), 0) << date << " by " << unit;
        ldxtrn(ctx, &again, &truncated, unit);
        ASSERT_EQ(again, truncated) << date << " by " << unit;
        ASSERT_EQ(ldxchk(ctx, &truncated, 0), 0u) << date << " by " << unit;
      }
      if (Raised([&] { ldxrnd(ctx, &rounded, &date, unit); }) == 0) {
        ldxtrn(ctx, &again, &rounded, unit);
        ASSERT_EQ(again, rounded) << date << " by " << unit;
        ASSERT_TRUE(ldxcmp(&rounded, &date) > 0 || rounded == truncated || unit == kIYYY)
            << date << " by " << unit << " gives " << rounded;
      }
    }
  }
}

}  // namespace
}  // namespace kestra::test
