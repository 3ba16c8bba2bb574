// Calendars other than the Gregorian, on the full data: dates known from elsewhere, every calendar
// through all of DATE's years, and the operations that go by months.
#include <gtest/gtest.h>

#include "datetime/calendar.h"
#include "datetime/day_number.h"
#include "tests/support/date_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/number_text.h"

namespace kestra::test {
namespace {

using datetime::Calendar;
using datetime::CalendarDate;

// A context whose handle has a calendar.
class InCalendar {
 public:
  explicit InCalendar(std::string_view name) : session_(FullHome()) {
    handle_ = session_.Handle("AMERICAN_AMERICA.AL32UTF8");
    EXPECT_EQ(
        lxhlmod(&handle_, name.data(), name.size(), KES_ITEM_CALENDAR, 0, 0, session_.context()), 1)
        << name;
    ldxnbeg(&ctx_, &handle_, session_.context(), ThrowDateError, nullptr, KES_DATE_NO_DEFAULT);
  }
  ~InCalendar() { ldxend(&ctx_); }
  operator ldxctx*() { return &ctx_; }
  Calendar calendar() const { return Calendar::Of(ctx_); }
  NlsSession& session() { return session_; }

  CalendarDate Of(const ldxdate& date) const {
    CalendarDate out = {-1, 0, 0, 0};
    EXPECT_TRUE(calendar().FromDate(date, out)) << date;
    return out;
  }
  // "era year-month-day"
  std::string TextOf(const ldxdate& date) const {
    const CalendarDate d = Of(date);
    return std::to_string(d.era - calendar().latest_era()) + " " + std::to_string(d.year) + "-" +
           std::to_string(d.month) + "-" + std::to_string(d.day);
  }

 private:
  NlsSession session_;
  lxhandle handle_{};
  ldxctx ctx_{};
};

constexpr const char* kCalendars[] = {"JAPANESE", "ROC",    "BUDDHIST", "ISLAMIC CIVIL", "PERSIAN",
                                      "ETHIOPIC", "COPTIC", "HEBREW",   "INDIAN"};
constexpr const char* kOwnMonths[] = {"ISLAMIC CIVIL", "PERSIAN", "ETHIOPIC",
                                      "COPTIC",        "HEBREW",  "INDIAN"};
constexpr const char* kNamesOnly[] = {"ISLAMIC", "CHINESE", "DANGI"};

struct KnownDate {
  const char* calendar;
  const char* date;
  const char* text;  // era counted from the latest, then year, month, day
};
constexpr KnownDate kKnown[] = {
    {"ISLAMIC CIVIL", "1945-11-12", "0 1364-12-6"},
    {"ISLAMIC CIVIL", "1819-08-02", "0 1234-10-10"},
    {"ISLAMIC CIVIL", "2094-07-18", "0 1518-3-5"},
    {"JAPANESE", "2019-05-01", "0 1-5-1"},
    {"JAPANESE", "2019-04-30", "-1 31-4-30"},
    {"JAPANESE", "1989-01-07", "-2 64-1-7"},
    {"JAPANESE", "1989-01-08", "-1 1-1-8"},
    {"JAPANESE", "1926-12-25", "-2 1-12-25"},
    {"JAPANESE", "1912-07-30", "-3 1-7-30"},
    {"JAPANESE", "1868-09-08", "-4 1-9-8"},
    {"ROC", "1911-12-31", "-1 1-12-31"},
    {"ISLAMIC CIVIL", "622-07-16", "0 1-1-1"},
    {"ISLAMIC CIVIL", "622-07-15", "0 0-12-29"},
    {"PERSIAN", "2019-03-21", "0 1398-1-1"},
    {"PERSIAN", "2021-03-20", "0 1399-12-30"},
    {"ETHIOPIC", "8-08-29", "0 1-1-1"},
    {"ETHIOPIC", "8-08-28", "-1 5500-13-5"},
    {"COPTIC", "284-08-29", "0 1-1-1"},
    {"COPTIC", "284-08-28", "-1 1-13-5"},
    {"HEBREW", "2019-02-06", "0 5779-6-1"},
    {"HEBREW", "2019-03-08", "0 5779-7-1"},
    {"INDIAN", "1957-03-22", "0 1879-1-1"},
};
TEST(OtherCalendars, DatesKnownFromElsewhere) {
  for (const KnownDate& c : kKnown) {
    SCOPED_TRACE(std::string(c.calendar) + " " + c.date);
    InCalendar in(c.calendar);
    EXPECT_EQ(in.TextOf(Date(c.date)), c.text);
  }
}

// Each day follows the one before it, and goes back to the DATE it came from.
TEST(OtherCalendars, DaysFollowEachOtherThroughAllYears) {
  for (const char* name : kCalendars) {
    SCOPED_TRACE(name);
    InCalendar in(name);
    const Calendar calendar = in.calendar();
    for (std::int32_t start = 1; start < datetime::kMaxDay - 800; start += 90'001) {
      CalendarDate before = {};
      for (std::int32_t n = start; n < start + 800; ++n) {
        const ldxjdate julian = {n, 0};
        ldxdate date = {};
        ldxdfd(in, &date, &julian);
        if (date.year == 0) continue;
        const CalendarDate here = in.Of(date);
        ldxdate back = {};
        ASSERT_EQ(calendar.ToDate(here, back), 0u) << date;
        ASSERT_EQ(back, date);
        ASSERT_LE(here.day, calendar.MonthLength(here.era, here.year, here.month)) << date;
        const bool same_month = here.month == before.month && here.year == before.year;
        // Days that DATE does not have lie before these: October 1582 among Gregorian months, the
        // year 0, 29 February -4712.
        const bool after_gap = (date.year == 1582 && date.month == 10) || n == 60 ||
                               (date.year == 1 && date.month == 1 && date.day == 1);
        if (n > start && here.era == before.era && !after_gap) {
          const std::uint32_t end = calendar.MonthLength(before.era, before.year, before.month);
          ASSERT_TRUE(same_month ? here.day == before.day + 1 : here.day == 1 && before.day == end)
              << date;
        }
        before = here;
      }
    }
  }
}

struct BadDate {
  const char* calendar;
  CalendarDate date;  // era counted from the latest
  std::uint32_t error;
};
constexpr BadDate kBad[] = {
    {"HEBREW", {0, 5780, 6, 1}, 1843},  // Adar I of a common year
    {"HEBREW", {0, 5779, 6, 30}, 0},         {"HEBREW", {0, 5779, 7, 30}, 1839},
    {"COPTIC", {0, 1735, 13, 6}, 0},         {"COPTIC", {0, 1736, 13, 6}, 1839},
    {"COPTIC", {0, 1736, 14, 1}, 1843},      {"COPTIC", {0, 0, 1, 1}, 1863},
    {"COPTIC", {1, 1, 1, 1}, 1865},          {"COPTIC", {-2, 1, 1, 1}, 1865},
    {"JAPANESE", {-2, 64, 1, 8}, 1865},      {"JAPANESE", {-2, 64, 1, 7}, 0},
    {"JAPANESE", {0, 0, 1, 1}, 1863},        {"JAPANESE", {0, 1, 4, 30}, 1865},
    {"JAPANESE", {0, 8000, 1, 1}, 1864},     {"BUDDHIST", {0, 2125, 10, 10}, 1864},
    {"BUDDHIST", {0, 2562, 2, 29}, 1839},    {"BUDDHIST", {0, 2562, 0, 1}, 1843},
    {"PERSIAN", {0, INT32_MAX, 1, 1}, 1863}, {"PERSIAN", {0, INT32_MIN, 1, 1}, 1863},
    {"PERSIAN", {0, 1398, 12, 30}, 1839},    {"PERSIAN", {0, 1399, 12, 30}, 0},
    {"PERSIAN", {0, 1398, 1, 0}, 1839},      {"PERSIAN", {0, 9999, 1, 1}, 1864},
};
TEST(OtherCalendars, DatesThatThereAreNot) {
  for (const BadDate& c : kBad) {
    InCalendar in(c.calendar);
    CalendarDate date = c.date;
    date.era += in.calendar().latest_era();
    ldxdate out = Date("2011-11-11");
    EXPECT_EQ(in.calendar().ToDate(date, out), c.error)
        << c.calendar << " " << date.year << "-" << date.month << "-" << date.day;
    if (c.error != 0) {
      EXPECT_EQ(out, Date("2011-11-11"));
    }
  }
}

struct MonthsCase {
  const char* calendar;
  const char* from;
  std::int32_t months;
  const char* to;
  int last_day;
};
constexpr MonthsCase kMonths[] = {
    {"HEBREW", "2019-02-05", 1, "2019-03-07", 1},   // 30 Shevat to 30 Adar I
    {"HEBREW", "2019-03-07", 1, "2019-04-05", 1},   // to 29 Adar
    {"HEBREW", "2019-09-30", 12, "2020-09-19", 0},  // a common year has twelve months
    {"HEBREW", "2018-09-10", 13, "2019-09-30", 0},  // a leap year thirteen
    {"ISLAMIC CIVIL", "1945-11-12", 12, "1946-11-01", 0},
    {"PERSIAN", "2021-03-20", 12, "2022-03-20", 1},  // 30 Esfand to 29 Esfand
    {"COPTIC", "2019-09-11", 1, "2019-10-11", 1},    // the sixth epagomenal day to 30 Tout
    {"COPTIC", "2019-09-05", 1, "2019-09-11", 1},
    {"ETHIOPIC", "2019-09-12", -1, "2019-09-06", 0},
    {"INDIAN", "2020-03-21", -1, "2020-02-20", 0},
    {"JAPANESE", "2019-01-31", 1, "2019-02-28", 1},  // Gregorian months
};
TEST(OtherCalendars, MonthsAdded) {
  for (const MonthsCase& c : kMonths) {
    SCOPED_TRACE(std::string(c.calendar) + " " + c.from);
    InCalendar in(c.calendar);
    ldxdate date = Date(c.from);
    EXPECT_EQ(ldxadm(in, &date, &date, c.months), c.last_day);
    EXPECT_EQ(date, Date(c.to)) << in.TextOf(Date(c.from)) << " gives " << in.TextOf(date);
  }
}

// Month after month: the 1st of the next is the day after the last day of this one.
TEST(OtherCalendars, MonthsFollowEachOther) {
  for (const char* name : kOwnMonths) {
    SCOPED_TRACE(name);
    InCalendar in(name);
    ldxdate first = Date("1600-01-01");
    const CalendarDate at = in.Of(first);
    const ldxdelta back = {1 - static_cast<std::int32_t>(at.day), 0}, forward = {1, 0};
    ldxads(in, &first, &first, &back);
    ldxdate month = first;
    for (std::int32_t n = 0; n < 5000; ++n) {
      ldxdate added = {}, last = {};
      ldxadm(in, &added, &first, n);
      ASSERT_EQ(added, month) << n;
      std::uint8_t number[22];
      ldxsbm(in, number, &month, &first);
      ASSERT_EQ(Text(NumberBytes(number + 1, number + 1 + number[0])), std::to_string(n));
      ldxldd(in, &last, &month);
      ldxads(in, &month, &last, &forward);
      ASSERT_EQ(in.Of(month).day, 1u) << n;
    }
  }
}

TEST(OtherCalendars, PartsOfMonthsCountThirtyOneDays) {
  InCalendar in("COPTIC");
  const ldxdate a = Date("2019-09-14"), b = Date("2019-08-08");  // 3 Tout, 2 Mesra
  std::uint8_t number[22];
  ldxsbm(in, number, &a, &b);
  EXPECT_EQ(Text(NumberBytes(number + 1, number + 1 + number[0])),
            "2.03225806451612903225806451612903225806");
}

TEST(OtherCalendars, ResultsOutsideTheYearsRaise) {
  for (const char* name : kOwnMonths) {
    InCalendar in(name);
    ldxdate out = {};
    const ldxdate first = Date("-4712-01-01"), last = Date("9999-12-31");
    EXPECT_EQ(Raised([&] { ldxadm(in, &out, &first, -1); }), 1841u) << name;
    EXPECT_EQ(Raised([&] { ldxadm(in, &out, &last, 2); }), 1841u) << name;
    EXPECT_EQ(Raised([&] { ldxadm(in, &out, &last, INT32_MAX); }), 1841u) << name;
    EXPECT_EQ(Raised([&] { ldxadm(in, &out, &first, INT32_MIN); }), 1841u) << name;
  }
}

TEST(OtherCalendars, ArraysGoByTheCalendarToo) {
  InCalendar in("HEBREW");
  std::mt19937_64 random(41);
  std::vector<ldxdate> dates, out(200), last(200);
  std::vector<std::int32_t> months;
  for (int i = 0; i < 200; ++i) {
    dates.push_back(Date("2019-02-05 10:00:00"));
    dates.back().day = static_cast<std::uint8_t>(random() % 28 + 1);
    months.push_back(static_cast<std::int32_t>(random() % 100));
  }
  const std::vector<const ldxdate*> from = Addresses(std::as_const(dates));
  ldxadmarr(in, Addresses(out).data(), from.data(), 200, months.data(), 0, nullptr);
  ldxlddarr(in, Addresses(last).data(), from.data(), 200, nullptr, 0, nullptr);
  for (std::size_t i = 0; i < 200; ++i) {
    ldxdate one = {};
    ldxadm(in, &one, &dates[i], months[i]);
    EXPECT_EQ(out[i], one);
    ldxldd(in, &one, &dates[i]);
    EXPECT_EQ(last[i], one);
  }
}

// Gregorian months where a calendar has no arithmetic.
TEST(OtherCalendars, NamesWithoutArithmetic) {
  for (const char* name : kNamesOnly) {
    InCalendar in(name);
    EXPECT_FALSE(in.calendar().has_arithmetic());
    CalendarDate out = {};
    EXPECT_FALSE(in.calendar().FromDate(Date("2019-01-31"), out));
    ldxdate date = Date("2019-01-31");
    EXPECT_EQ(in.calendar().ToDate({0, 1, 1, 1}, date), 1822u);
    ldxadm(in, &date, &date, 1);
    EXPECT_EQ(date, Date("2019-02-28"));
  }
}

TEST(OtherCalendars, Names) {
  InCalendar persian("PERSIAN");
  EXPECT_EQ(persian.calendar().MonthName(1, 1, false), "Farvardin");
  EXPECT_EQ(persian.calendar().MonthName(16000, 12, true), "Esfand");  // English, no such language
  EXPECT_EQ(persian.calendar().MonthName(1, 13, false), "");
  EXPECT_EQ(persian.calendar().MonthName(1, 0, false), "");
  EXPECT_EQ(persian.calendar().EraName(1, 0, true), "AP");
  InCalendar japanese("JAPANESE");
  const Calendar calendar = japanese.calendar();
  EXPECT_EQ(calendar.EraName(1, calendar.latest_era(), false), "Reiwa");
  EXPECT_EQ(calendar.EraName(1, calendar.latest_era() + 1, false), "");
  EXPECT_EQ(calendar.EraName(1, calendar.first_named_era() - 1, false), "");
  EXPECT_NE(calendar.EraName(1, calendar.first_named_era(), false), "");
  EXPECT_EQ(calendar.EraName(1, -1, false), "");
  InCalendar hebrew("HEBREW");
  EXPECT_EQ(hebrew.calendar().MonthName(1, 6, false), "Adar I");
  EXPECT_EQ(hebrew.calendar().MonthName(1, 7, false), "Adar");
}

}  // namespace
}  // namespace kestra::test
