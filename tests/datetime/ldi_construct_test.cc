// Making, checking and converting datetimes.
#include <gtest/gtest.h>

#include "kestra/datetime_arithmetic.h"
#include "tests/support/datetime_values.h"

namespace {

using kestra::test::Datetime;
using kestra::test::Show;

std::uint32_t Make(LdiDate& out, std::uint32_t type, std::int32_t year, std::uint32_t month,
                   std::uint32_t day, std::uint32_t hour, std::uint32_t minute,
                   std::uint32_t second, std::uint32_t fraction, std::uint32_t precision = 9,
                   std::int32_t zone_hour = 0, std::int32_t zone_minute = 0) {
  return LdiDateConstruct(&out, year, month, day, hour, minute, second, fraction, precision, type,
                          zone_hour, zone_minute, nullptr, 0, nullptr);
}

TEST(LdiDateConstruct, KeepsTheFieldsOfEachType) {
  LdiDate date;
  ASSERT_EQ(Make(date, KES_DATETIME_TIMESTAMP_TZ, 2024, 2, 29, 23, 59, 59, 123456789, 9, -9, -30),
            0u);
  EXPECT_EQ(Show(date), "2024-02-29 23:59:59.123456789 -09:30");
  ASSERT_EQ(Make(date, KES_DATETIME_TIMESTAMP, 2024, 2, 29, 1, 2, 3, 5, 9, 7, 0), 0u);
  EXPECT_EQ(Show(date), "2024-02-29 01:02:03.000000005");
  EXPECT_EQ(date.zone_hour, 0) << "the type has no zone";
  ASSERT_EQ(Make(date, KES_DATETIME_TIME, 2024, 13, 0, 1, 2, 3, 0), 0u) << "no date to judge";
  EXPECT_EQ(date.year, 0);
  ASSERT_EQ(Make(date, KES_DATETIME_DATE, 2024, 2, 29, 1, 2, 3, 600000000), 0u);
  EXPECT_EQ(Show(date), "2024-02-29 01:02:04");
}

TEST(LdiDateConstruct, RoundsTheFractionAndCarries) {
  struct Case {
    std::uint32_t precision;
    const char* out;
  };
  constexpr Case kCases[] = {{9, "1999-12-31 23:59:59.999999500"},
                             {8, "1999-12-31 23:59:59.999999500"},
                             {7, "1999-12-31 23:59:59.999999500"},
                             {6, "2000-01-01 00:00:00.000000000"},
                             {0, "2000-01-01 00:00:00.000000000"}};
  for (const Case& c : kCases) {
    LdiDate date;
    ASSERT_EQ(Make(date, KES_DATETIME_TIMESTAMP, 1999, 12, 31, 23, 59, 59, 999999500, c.precision),
              0u);
    EXPECT_EQ(Show(date), c.out) << c.precision;
  }
  LdiDate date = Datetime("2000-01-01 00:00:00");
  const LdiDate before = date;
  EXPECT_EQ(Make(date, KES_DATETIME_TIMESTAMP, 9999, 12, 31, 23, 59, 59, 999999999, 3), 1841u);
  EXPECT_EQ(Show(date), Show(before)) << "nothing is written";
  ASSERT_EQ(Make(date, KES_DATETIME_TIME, 0, 0, 0, 23, 59, 59, 999999999, 3), 0u);
  EXPECT_EQ(Show(date), "00:00:00.000000000");
}

TEST(LdiDateConstruct, ReportsTheFirstBadField) {
  struct Case {
    std::uint32_t error;
    std::int32_t year;
    std::uint32_t month, day, hour, minute, second, fraction;
    std::int32_t zone_hour, zone_minute;
  };
  constexpr Case kCases[] = {
      {1841, 0, 13, 32, 24, 60, 60, 0, 0, 0},  {1841, 10000, 1, 1, 0, 0, 0, 0, 0, 0},
      {1841, -4713, 1, 1, 0, 0, 0, 0, 0, 0},   {1841, 70000, 1, 1, 0, 0, 0, 0, 0, 0},
      {1843, 2000, 13, 32, 24, 0, 0, 0, 0, 0}, {1843, 2000, 0, 1, 0, 0, 0, 0, 0, 0},
      {1843, 2000, 257, 1, 0, 0, 0, 0, 0, 0},  {1847, 2000, 2, 30, 24, 0, 0, 0, 0, 0},
      {1847, 1700, 2, 29, 0, 0, 0, 0, 16, 0},  {1847, -4712, 2, 29, 0, 0, 0, 0, 0, 0},
      {1847, 1582, 10, 10, 0, 0, 0, 0, 0, 0},  {1847, 2000, 1, 0, 0, 0, 0, 0, 0, 0},
      {1850, 2000, 1, 1, 24, 60, 60, 0, 0, 0}, {1851, 2000, 1, 1, 0, 60, 60, 0, 0, 0},
      {1852, 2000, 1, 1, 0, 0, 60, 0, 0, 0},   {1880, 2000, 1, 1, 0, 0, 0, 1000000000, 0, 0},
      {1882, 2000, 1, 1, 0, 0, 0, 0, 16, 0},   {1882, 2000, 1, 1, 0, 0, 0, 0, 15, 1},
      {1882, 2000, 1, 1, 0, 0, 0, 0, 3, -30},  {1882, 2000, 1, 1, 0, 0, 0, 0, 0, 60},
      {1841, -4712, 1, 1, 0, 0, 0, 0, 1, 0},   {1841, 9999, 12, 31, 23, 30, 0, 0, -1, 0},
      {0, 1700, 2, 28, 0, 0, 0, 0, -15, 0},    {0, 1500, 2, 29, 0, 0, 0, 0, 0, -59},
      {0, 1582, 10, 15, 0, 0, 0, 0, 15, 0},    {0, 2000, 2, 29, 0, 0, 0, 0, 0, 0}};
  for (const Case& c : kCases) {
    LdiDate date{};
    EXPECT_EQ(Make(date, KES_DATETIME_TIMESTAMP_TZ, c.year, c.month, c.day, c.hour, c.minute,
                   c.second, c.fraction, 9, c.zone_hour, c.zone_minute),
              c.error)
        << c.year << "-" << c.month << "-" << c.day << " " << c.zone_hour << ":" << c.zone_minute;
  }
  LdiDate date;
  for (const std::uint32_t type : {0u, 6u, 8u, 255u, 4000000000u}) {
    EXPECT_EQ(Make(date, type, 2000, 1, 1, 0, 0, 0, 0), 1866u);
  }
  EXPECT_EQ(Make(date, KES_DATETIME_TIMESTAMP, 2000, 1, 1, 0, 0, 0, 0, 10), 1880u);
  const std::uint8_t region[] = "Europe/Berlin";
  EXPECT_EQ(LdiDateConstruct(&date, 2000, 1, 1, 0, 0, 0, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                             region, 13, nullptr),
            1804u)
      << "there is no zone file";
}

TEST(LdiDateCheck, FlagsWhatALibraryCallWouldNotMake) {
  LdiDate date = Datetime("2024-02-29 12:00:00");
  EXPECT_EQ(LdiDateCheck(&date), 0u);
  date.zone_hour = 1;
  EXPECT_EQ(LdiDateCheck(&date), static_cast<unsigned>(KES_FAULT_ZONE));
  date = Datetime("2024-02-29 12:00:00 +01:00");
  date.region = 8192;
  EXPECT_EQ(LdiDateCheck(&date), static_cast<unsigned>(KES_FAULT_ZONE));
  date.region = 0;
  date.reserved = 1;
  EXPECT_EQ(LdiDateCheck(&date), static_cast<unsigned>(KES_FAULT_UNUSED));
  date = Datetime("12:00:00");
  date.day = 1;
  EXPECT_EQ(LdiDateCheck(&date), static_cast<unsigned>(KES_FAULT_UNUSED));
  date = Datetime("2024-00-00 24:60:60");
  EXPECT_EQ(LdiDateCheck(&date),
            static_cast<unsigned>(KES_FAULT_DAY | KES_FAULT_DAY_ZERO | KES_FAULT_MONTH |
                                  KES_FAULT_MONTH_ZERO | KES_FAULT_HOUR | KES_FAULT_MINUTE |
                                  KES_FAULT_SECOND));
}

TEST(LdiDateDateConvert, KeepsLocalFieldsOrTheInstant) {
  LdiSession session{};
  session.zone_hour = -5;
  struct Case {
    const char* in;
    std::uint32_t type;
    const char* out;
  };
  constexpr Case kCases[] = {
      {"2024-02-29 12:34:56.789", KES_DATETIME_DATE, "2024-02-29 12:34:56"},
      {"2024-02-29 12:34:56.789", KES_DATETIME_TIME, "12:34:56.789000000"},
      {"2024-02-29 12:34:56.789", KES_DATETIME_TIME_TZ, "12:34:56.789000000 -05:00"},
      {"2024-02-29 12:34:56", KES_DATETIME_TIMESTAMP_TZ, "2024-02-29 12:34:56.000000000 -05:00"},
      {"2024-02-29 12:34:56", KES_DATETIME_TIMESTAMP_LTZ, "2024-02-29 12:34:56.000000000 -05:00"},
      {"2024-02-29 12:34:56 +05:30", KES_DATETIME_TIMESTAMP, "2024-02-29 12:34:56.000000000"},
      {"2024-02-29 12:34:56 +05:30", KES_DATETIME_DATE, "2024-02-29 12:34:56"},
      {"2024-02-29 12:34:56 +05:30", KES_DATETIME_TIMESTAMP_LTZ,
       "2024-02-29 02:04:56.000000000 -05:00"},
      {"2024-02-29 12:34:56 +05:30", KES_DATETIME_TIME_TZ, "12:34:56.000000000 +05:30"},
      {"12:34:56 +05:30", KES_DATETIME_TIME, "12:34:56.000000000"},
  };
  for (const Case& c : kCases) {
    const LdiDate in = Datetime(c.in);
    LdiDate out;
    ASSERT_EQ(LdiDateDateConvert(&out, &in, c.type, 9, &session), 0u) << c.in;
    EXPECT_EQ(out.type, c.type);
    EXPECT_EQ(Show(out), c.out);
    EXPECT_EQ(LdiDateCheck(&out), 0u);
  }
  const LdiDate first = Datetime("-4712-01-01 00:00:00");
  LdiDate out;
  session.zone_hour = 1;
  EXPECT_EQ(LdiDateDateConvert(&out, &first, KES_DATETIME_TIMESTAMP_TZ, 9, &session), 1841u);
  const LdiDate noon = Datetime("12:00:00");
  ASSERT_EQ(LdiDateDateConvert(&out, &noon, KES_DATETIME_TIMESTAMP, 9, &session), 0u);
  EXPECT_GE(out.year, 2020) << "today";
  session.zone_hour = -5;
  const LdiDate abroad = Datetime("12:34:56 +05:30");
  ASSERT_EQ(LdiDateDateConvert(&out, &abroad, KES_DATETIME_TIMESTAMP_LTZ, 9, &session), 0u);
  EXPECT_EQ(Show(out).substr(10), " 02:04:56.000000000 -05:00");
  out.type = 200;
  EXPECT_EQ(LdiDateRoundFS(&out, &out, 0, &session), 1866u);
}

TEST(LdiJulian, NumbersAndDatesAreOneAnother) {
  struct Case {
    const char* date;
    std::int32_t day;
  };
  constexpr Case kCases[] = {{"-4712-01-01", 1},      {"1582-10-04", 2299160},
                             {"1582-10-15", 2299161}, {"1970-01-01", 2440588},
                             {"2000-01-01", 2451545}, {"9999-12-31", 5373484}};
  for (const Case& c : kCases) {
    const LdiDate date = Datetime(c.date);
    std::int32_t day = 0;
    ASSERT_EQ(LdiDateToJDays(&day, &date), 0u);
    EXPECT_EQ(day, c.day);
    LdiDate back;
    ASSERT_EQ(LdiJDaysToDate(&back, c.day, KES_DATETIME_DATE, nullptr), 0u);
    EXPECT_EQ(Show(back), Show(date));
  }
  LdiDate date;
  EXPECT_EQ(LdiJDaysToDate(&date, 0, KES_DATETIME_DATE, nullptr), 1854u);
  EXPECT_EQ(LdiJDaysToDate(&date, 5373485, KES_DATETIME_DATE, nullptr), 1854u);

  const LdiDate noon = Datetime("2000-01-01 12:00:00.000000001");
  LdiJulian julian;
  ASSERT_EQ(LdiDateToJulian(&julian, &noon), 0u);
  std::uint8_t number[21];
  std::size_t length = 0;
  ASSERT_EQ(LdiJulianToNumber(&julian, number, &length), 0u);
  LdiJulian back;
  ASSERT_EQ(LdiJulianFromNumber(&back, number, length), 0u);
  EXPECT_EQ(back.day, 2451545);
  EXPECT_EQ(back.second, 43200);
  EXPECT_EQ(back.fraction, 1u);
  ASSERT_EQ(LdiJulianToDate(&date, &back, KES_DATETIME_TIMESTAMP, nullptr), 0u);
  EXPECT_EQ(Show(date), Show(noon));
}

TEST(LdiDayofWeek, CountsFromTheFirstDayOfTheTerritory) {
  const LdiDate sunday = Datetime("2024-03-03");
  for (std::uint32_t first = 0; first < 7; ++first) {
    std::uint32_t day = 0;
    ASSERT_EQ(LdiDayofWeek(&sunday, first, &day), 0u);
    EXPECT_EQ(day, first == 0 ? 1 : 8 - first);
  }
  std::uint32_t day = 0;
  EXPECT_EQ(LdiDayofWeek(&sunday, 7, &day), 1846u);
}

}  // namespace
