// Datetimes with intervals, differences and overlaps; no zone rules.
#include <gtest/gtest.h>

#include <chrono>

#include "kestra/datetime_arithmetic.h"
#include "tests/support/datetime_values.h"
#include "tests/support/number_text.h"

namespace {

using kestra::test::Datetime;
using kestra::test::DatetimeSource;
using kestra::test::Interval;
using kestra::test::Show;

struct AddCase {
  const char* in;
  LdiInter inter;
  std::uint32_t error;  // of the ISO form, when the plain one works
  const char* out;
};

TEST(LdiDateInterAdd, MonthsClampOrRaise) {
  const AddCase cases[] = {
      {"2019-01-31 10:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 1839,
       "2019-02-28 10:00:00.000000000"},
      {"2019-02-28 10:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 0,
       "2019-03-28 10:00:00.000000000"},
      {"2020-02-29 10:00:00", Interval(KES_INTERVAL_YEAR, 1), 1839,
       "2021-02-28 10:00:00.000000000"},
      {"2020-02-29 10:00:00", Interval(KES_INTERVAL_YEAR, 4), 0, "2024-02-29 10:00:00.000000000"},
      {"2019-12-15 10:00:00", Interval(KES_INTERVAL_YEAR_TO_MONTH, 1, 1), 0,
       "2021-01-15 10:00:00.000000000"},
      {"2019-01-15 10:00:00", Interval(KES_INTERVAL_MONTH, 0, -1), 0,
       "2018-12-15 10:00:00.000000000"},
      {"1582-09-10 10:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 1839,
       "1582-10-15 10:00:00.000000000"},
      {"-001-12-15 10:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 0,
       "0001-01-15 10:00:00.000000000"},
      {"0001-01-15 10:00:00", Interval(KES_INTERVAL_MONTH, 0, -1), 0,
       "-001-12-15 10:00:00.000000000"},
      {"9999-12-15 10:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 1841, nullptr},
      {"-4712-01-15 10:00:00", Interval(KES_INTERVAL_MONTH, 0, -1), 1841, nullptr},
      {"2000-01-15 10:00:00", Interval(KES_INTERVAL_YEAR, 999999999), 1841, nullptr},
      {"2000-01-15 10:00:00", Interval(KES_INTERVAL_YEAR, -999999999), 1841, nullptr},
  };
  for (const AddCase& c : cases) {
    SCOPED_TRACE(c.in);
    const LdiDate in = Datetime(c.in);
    LdiDate out = Datetime("1999-09-09 09:09:09");
    ASSERT_EQ(LdiDateInterAdd(&out, &in, &c.inter), c.out == nullptr ? c.error : 0);
    EXPECT_EQ(Show(out), c.out == nullptr ? "1999-09-09 09:09:09.000000000" : c.out);
    LdiDate iso = out;
    ASSERT_EQ(LdiDateInterAddTZISO(&iso, &in, &c.inter, nullptr), c.error);
    EXPECT_EQ(Show(iso), Show(out));
    LdiInter minus = c.inter;
    for (std::int32_t& field : minus.field) field = -field;
    LdiDate other = Datetime("1999-09-09 09:09:09");
    ASSERT_EQ(LdiDateInterSubtractTZ(&other, &in, &minus, nullptr), c.out == nullptr ? c.error : 0);
    EXPECT_EQ(Show(other), Show(out));
  }
}

TEST(LdiDateInterAdd, ExactTimeCarriesThroughTheCalendar) {
  const AddCase cases[] = {
      {"1999-12-31 23:59:59.999999999", Interval(KES_INTERVAL_SECOND, 0, 0, 0, 0, 1), 0,
       "2000-01-01 00:00:00.000000000"},
      {"1582-10-04 12:00:00", Interval(KES_INTERVAL_DAY, 1), 0, "1582-10-15 12:00:00.000000000"},
      {"2024-02-28 23:00:00", Interval(KES_INTERVAL_HOUR, 0, 2), 0,
       "2024-02-29 01:00:00.000000000"},
      {"2024-01-01 00:00:00", Interval(KES_INTERVAL_DAY_TO_SECOND, -365, 0, 0, 0, -1), 0,
       "2022-12-31 23:59:59.999999999"},
      {"-001-12-14 08:00:00", Interval(KES_INTERVAL_DAY, 77), 0, "0001-02-28 08:00:00.000000000"},
      {"9999-12-31 23:59:59", Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1), 1841, nullptr},
      {"-4712-01-01 00:00:00", Interval(KES_INTERVAL_SECOND, 0, 0, 0, 0, -1), 1841, nullptr},
      {"2024-01-01 00:00:00", Interval(KES_INTERVAL_DAY, 999999999), 1841, nullptr},
      {"2024-01-01 00:00:00", Interval(KES_INTERVAL_DAY, -999999999), 1841, nullptr},
      {"2024-01-01 00:00:00 +05:00", Interval(KES_INTERVAL_DAY, 60), 0,
       "2024-03-01 00:00:00.000000000 +05:00"},
      {"9999-12-31 18:59:59 -05:00", Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1), 1841, nullptr},
      {"2024-01-01", Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1, 500000000), 0,
       "2024-01-01 00:00:02"},
      {"23:00:00", Interval(KES_INTERVAL_HOUR, 0, 49), 0, "00:00:00.000000000"},
      {"01:00:00 +03:00", Interval(KES_INTERVAL_HOUR, 0, -2), 0, "23:00:00.000000000 +03:00"},
      {"01:00:00", Interval(KES_INTERVAL_MONTH, 0, 1), 1870, nullptr},
      {"2024-01-01", Interval(14, 0, 1), 1867, nullptr},
  };
  for (const AddCase& c : cases) {
    SCOPED_TRACE(c.in);
    const LdiDate in = Datetime(c.in);
    LdiDate out = in;
    ASSERT_EQ(LdiDateInterAdd(&out, &in, &c.inter), c.error);
    if (c.error == 0) {
      EXPECT_EQ(Show(out), c.out);
    }
    if (c.error != 0) {
      EXPECT_EQ(Show(out), Show(in));
    }
  }
}

TEST(LdiDateInterAdd, AgreesWithChronoOnRandomTimestamps) {
  using std::chrono::days;
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  using std::chrono::sys_days;
  DatetimeSource source(7);
  int tried = 0;
  for (int i = 0; i < 300'000; ++i) {
    const LdiDate in = source.Date(KES_DATETIME_TIMESTAMP);
    LdiInter inter = source.Inter(KES_INTERVAL_DAY_TO_SECOND);
    inter.field[0] %= 2'000'000;
    if (in.year < 1583) continue;
    const auto day = sys_days{std::chrono::year_month_day{
        std::chrono::year{in.year}, std::chrono::month{in.month}, std::chrono::day{in.day}}};
    const __int128 nanos =
        (static_cast<__int128>(day.time_since_epoch().count()) * 86400 + in.hour * 3600 +
         in.minute * 60 + in.second + static_cast<__int128>(inter.field[0]) * 86400 +
         inter.field[1] * 3600 + inter.field[2] * 60 + inter.field[3]) *
            1'000'000'000 +
        in.fraction + inter.field[4];
    constexpr __int128 kDay = static_cast<__int128>(86400) * 1'000'000'000;
    __int128 whole = nanos / kDay;
    if (nanos % kDay < 0) --whole;
    const auto rest = static_cast<std::int64_t>(nanos - whole * kDay);
    if (whole < -141427 || whole > 2932896) continue;  // 1582-10-15 to 9999-12-31
    const std::chrono::year_month_day date{sys_days{days{static_cast<int>(whole)}}};
    const std::chrono::hh_mm_ss clock{nanoseconds{rest}};
    char expected[64];
    std::snprintf(expected, sizeof expected, "%04d-%02u-%02u %02d:%02d:%02d.%09ld",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<long>(clock.subseconds().count()));
    LdiDate out;
    ASSERT_EQ(LdiDateInterAdd(&out, &in, &inter), 0u);
    ASSERT_EQ(Show(out), expected) << Show(in) << " + " << Show(inter);
    ++tried;
  }
  EXPECT_GT(tried, 50'000);
}

TEST(LdiDateIntertimeAdd, KeepsTheDateAndCountsDays) {
  const LdiDate in = Datetime("2024-01-01 23:30:00.75");
  LdiDate out;
  std::int32_t days = 0;
  LdiInter inter = Interval(KES_INTERVAL_DAY_TO_SECOND, 2, 1, 0, 0, 250000000);
  ASSERT_EQ(LdiDateIntertimeAdd(&out, &in, &inter, &days), 0u);
  EXPECT_EQ(Show(out), "2024-01-01 00:30:01.000000000");
  EXPECT_EQ(days, 3);
  ASSERT_EQ(LdiDateIntertimeSubtract(&out, &out, &inter, &days), 0u);
  EXPECT_EQ(Show(out), "2024-01-01 23:30:00.750000000");
  EXPECT_EQ(days, -3);
  inter = Interval(KES_INTERVAL_MONTH, 0, 1);
  EXPECT_EQ(LdiDateIntertimeAdd(&out, &in, &inter, nullptr), 1870u);
}

TEST(LdiDateDateSubtract, DaysExactlyAndMonthsWhole) {
  struct Case {
    const char* x;
    const char* y;
    std::uint32_t type;
    std::uint32_t error;
    const char* out;
  };
  constexpr Case kCases[] = {
      {"2024-03-01", "2024-02-28", KES_INTERVAL_DAY, 0, "2 0 0 0 0 /3"},
      {"2024-03-01 00:00:00", "2024-02-28 00:00:00.000000001", KES_INTERVAL_DAY_TO_SECOND, 0,
       "1 23 59 59 999999999 /10"},
      {"2024-02-28 00:00:00.000000001", "2024-03-01 00:00:00", KES_INTERVAL_HOUR, 0,
       "0 -47 0 0 0 /4"},
      {"9999-12-31 23:59:59", "-4712-01-01 00:00:00", KES_INTERVAL_DAY_TO_SECOND, 0,
       "5373483 23 59 59 0 /10"},
      {"9999-12-31 23:59:59", "-4712-01-01 00:00:00", KES_INTERVAL_SECOND, 1873, ""},
      {"2024-03-15 10:00:00", "2024-02-15 10:00:00", KES_INTERVAL_MONTH, 0, "0 1 0 0 0 /2"},
      {"2024-03-15 10:00:00", "2024-02-15 10:00:01", KES_INTERVAL_MONTH, 0, "0 0 0 0 0 /2"},
      {"2024-02-15 10:00:01", "2024-03-15 10:00:00", KES_INTERVAL_MONTH, 0, "0 0 0 0 0 /2"},
      {"2020-02-15 10:00:00", "2024-03-15 10:00:00", KES_INTERVAL_YEAR_TO_MONTH, 0,
       "-4 -1 0 0 0 /7"},
      {"2024-01-01 00:00:00 +01:00", "2024-01-01 00:00:00 -01:00", KES_INTERVAL_HOUR, 0,
       "0 -2 0 0 0 /4"},
      {"2024-01-01 00:00:00 +01:00", "2024-01-01 00:00:00", KES_INTERVAL_HOUR, 1870, ""},
      {"01:00:00", "02:00:00", KES_INTERVAL_MINUTE, 0, "0 0 -60 0 0 /5"},
      {"01:00:00", "02:00:00", KES_INTERVAL_MONTH, 1870, ""},
      {"01:00:00", "2024-01-01", KES_INTERVAL_DAY, 1870, ""},
      {"2024-01-01", "2024-01-01", 0, 1867, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.x) + " - " + c.y);
    const LdiDate x = Datetime(c.x);
    const LdiDate y = Datetime(c.y);
    LdiInter out{};
    ASSERT_EQ(LdiDateDateSubtract(&out, &x, &y, c.type), c.error);
    if (c.error == 0) {
      EXPECT_EQ(Show(out), c.out);
    }
  }
  LdiSession session{};
  session.zone_hour = 2;
  const LdiDate x = Datetime("2024-01-01 00:00:00 +01:00");
  const LdiDate y = Datetime("2024-01-01 00:00:00");
  LdiInter out{};
  ASSERT_EQ(LdiDateDateSubtractWithTZ(&out, &x, &y, KES_INTERVAL_HOUR, &session), 0u);
  EXPECT_EQ(Show(out), "0 1 0 0 0 /4");
}

TEST(LdiDateCompare, ZonesAreInstants) {
  struct Case {
    const char* x;
    const char* y;
    int order;
  };
  constexpr Case kCases[] = {
      {"2024-01-01 00:00:00 +01:00", "2023-12-31 23:00:00 +00:00", 0},
      {"2024-01-01 00:00:00 +01:00", "2024-01-01 00:00:00 -01:00", -1},
      {"2024-01-01 00:00:00", "2024-01-01 05:00:00 +00:00", 0},  // the session is at -05:00
      {"2024-01-01", "2024-01-01 00:00:00.000000001", -1},
      {"-4712-01-01", "9999-12-31", -1},
      {"-1-12-31", "1-01-01", -1},
      {"23:00:00 -05:00", "04:00:00 +00:00", 0},
      {"10:00:00 +00:00", "04:30:00 -05:00", 1},
      {"10:00:00.5", "10:00:00.499999999", 1},
  };
  LdiSession session{};
  session.zone_hour = -5;
  for (const Case& c : kCases) {
    const LdiDate x = Datetime(c.x);
    const LdiDate y = Datetime(c.y);
    int order = 2;
    ASSERT_EQ(LdiDateCompare(&x, &y, &session, &order), 0u);
    EXPECT_EQ(order, c.order) << c.x << " and " << c.y;
    ASSERT_EQ(LdiDateCompare(&y, &x, &session, &order), 0u);
    EXPECT_EQ(order, -c.order) << c.x << " and " << c.y;
  }
  const LdiDate date = Datetime("2024-01-01");
  const LdiDate time = Datetime("10:00:00");
  int order = 2;
  EXPECT_EQ(LdiDateCompare(&date, &time, &session, &order), 1870u);
  EXPECT_EQ(order, 2);
}

TEST(LdiDateDateOverlap, EndsAreOpenAndPointsCount) {
  struct Case {
    const char* s1;
    const char* e1;
    const char* s2;
    const char* e2;
    int overlap;
  };
  constexpr Case kCases[] = {
      {"2024-01-01", "2024-01-10", "2024-01-10", "2024-01-20", 0},
      {"2024-01-01", "2024-01-11", "2024-01-10", "2024-01-20", 1},
      {"2024-01-11", "2024-01-01", "2024-01-20", "2024-01-10", 1},
      {"2024-01-05", "2024-01-05", "2024-01-01", "2024-01-10", 1},
      {"2024-01-10", "2024-01-10", "2024-01-01", "2024-01-10", 0},
      {"2024-01-05", "2024-01-05", "2024-01-05", "2024-01-05", 1},
      {"2024-01-01", "2024-01-31", "2024-01-10", "2024-01-11", 1},
  };
  for (const Case& c : kCases) {
    const LdiDate s1 = Datetime(c.s1), e1 = Datetime(c.e1), s2 = Datetime(c.s2),
                  e2 = Datetime(c.e2);
    int overlap = 2;
    ASSERT_EQ(LdiDateDateOverlap(&s1, &e1, &s2, &e2, nullptr, &overlap), 0u);
    EXPECT_EQ(overlap, c.overlap) << c.s1 << " " << c.s2;
    ASSERT_EQ(LdiDateDateOverlap(&s2, &e2, &s1, &e1, nullptr, &overlap), 0u);
    EXPECT_EQ(overlap, c.overlap) << c.s1 << " " << c.s2;
    LdiInter l1, l2;
    ASSERT_EQ(LdiDateDateSubtract(&l1, &e1, &s1, KES_INTERVAL_DAY), 0u);
    ASSERT_EQ(LdiDateDateSubtract(&l2, &e2, &s2, KES_INTERVAL_DAY), 0u);
    ASSERT_EQ(LdiDateInterOverlap(&s1, &e1, &s2, &l2, nullptr, &overlap), 0u);
    EXPECT_EQ(overlap, c.overlap);
    ASSERT_EQ(LdiInterInterOverlap(&s1, &l1, &s2, &l2, nullptr, &overlap), 0u);
    EXPECT_EQ(overlap, c.overlap);
  }
}

TEST(LdiDateExtract, FieldsOfEachType) {
  using kestra::test::Text;
  const LdiDate date = Datetime("-4712-02-03 04:05:06.75 -09:30");
  constexpr const char* kFields[] = {"", "-4712", "2", "3", "4", "5", "6.75", "-9", "-30"};
  std::uint8_t number[21];
  std::size_t length = 0;
  for (std::uint32_t field = 1; field <= 8; ++field) {
    ASSERT_EQ(LdiDateExtract(&date, field, number, &length), 0u);
    EXPECT_EQ(Text({number, number + length}), kFields[field]);
  }
  EXPECT_EQ(LdiDateExtract(&date, 0, number, &length), 1878u);
  EXPECT_EQ(LdiDateExtract(&date, KES_FIELD_REGION, number, &length), 1878u);
  const LdiDate time = Datetime("01:02:03");
  EXPECT_EQ(LdiDateExtract(&time, KES_FIELD_DAY, number, &length), 1878u);
  EXPECT_EQ(LdiDateExtract(&time, KES_FIELD_ZONE_HOUR, number, &length), 1878u);
}

}  // namespace
