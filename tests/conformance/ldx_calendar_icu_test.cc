// Every calendar with arithmetic beside ICU's, each day from 1600 to 2200 by its day number: era,
// year, month and day of the month.
//
// One difference: ICU 72 puts off a Hebrew new year that has been put off from a Sunday, Wednesday or
// Friday a second time, by the rule for new moons on a Monday after a leap year; the rule is about
// the day of the new moon itself. The years before and after such a new year are left out. Not compared are the numbers of the Japanese eras, which
// are ICU's own, and Japanese dates before Meiji, where ICU's list of eras begins.
#include <gtest/gtest.h>

#ifdef KESTRA_HAVE_ICU
#include <unicode/calendar.h>
#include <unicode/locid.h>

#include <cstring>
#include <memory>

#include "datetime/calendar.h"
#include "datetime/day_number.h"
#include "tests/support/date_values.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

struct Pair {
  const char* ours;
  const char* theirs;
  const char* first;  // date from which the two are compared
  int era;            // theirs less ours; 100: not compared
};
constexpr Pair kPairs[] = {
    {"JAPANESE", "ja_JP@calendar=japanese", "1868-10-23", 100},
    {"ROC", "zh_TW@calendar=roc", "1600-01-01", 0},
    {"BUDDHIST", "th_TH@calendar=buddhist", "1600-01-01", 0},
    {"ISLAMIC CIVIL", "ar@calendar=islamic-civil", "1600-01-01", 0},
    {"PERSIAN", "fa_IR@calendar=persian", "1600-01-01", 0},
    {"ETHIOPIC", "am_ET@calendar=ethiopic", "1600-01-01", 0},
    {"COPTIC", "ar_EG@calendar=coptic", "1600-01-01", 0},
    {"HEBREW", "he_IL@calendar=hebrew", "1600-01-01", 0},
    {"INDIAN", "hi_IN@calendar=indian", "1600-01-01", 0},
};

// Whether ICU puts a new year off twice.
bool IsPutOffTwice(std::int64_t year) {
  const auto is_leap = [](std::int64_t y) { return (7 * y + 1) % 19 < 7; };
  const std::int64_t months = (235 * year - 234) / 19;
  const std::int64_t parts = 12084 + 13753 * months;
  const std::int64_t weekday = (29 * months + parts / 25920) % 7;  // 0 Monday
  return weekday == 6 && parts % 25920 > 21 * 1080 + 589 && is_leap(year - 1);
}

TEST(CalendarIcu, EveryDayFrom1600To2200) {
  NlsSession session(FullHome());
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(pair.ours);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::TimeZone> utc(icu::TimeZone::createTimeZone("UTC"));
    const std::unique_ptr<icu::Calendar> theirs(
        icu::Calendar::createInstance(*utc, icu::Locale(pair.theirs), status));
    ASSERT_TRUE(U_SUCCESS(status));
    lxhandle handle = session.Handle("AMERICAN_AMERICA.AL32UTF8");
    ASSERT_EQ(
        lxhlmod(&handle, pair.ours, strlen(pair.ours), KES_ITEM_CALENDAR, 0, 0, session.context()),
        1);
    const datetime::Calendar ours(
        lxdgetobj(handle.calendar_slot, KES_OBJECT_CALENDAR, session.context()));
    ASSERT_TRUE(ours.has_arithmetic());
    const std::int32_t last = datetime::DayNumber(Date("2200-12-31"));
    std::int64_t compared = 0, left_out = 0;
    for (std::int32_t n = datetime::DayNumber(Date(pair.first)); n <= last; ++n, ++compared) {
      const datetime::CivilDate civil = datetime::SplitDay(n);
      ldxdate date = {};
      date.year = static_cast<std::int16_t>(civil.year);
      date.month = static_cast<std::uint8_t>(civil.month);
      date.day = static_cast<std::uint8_t>(civil.day);
      datetime::CalendarDate here = {};
      ASSERT_TRUE(ours.FromDate(date, here));
      if (ours.kind() == datetime::Calendar::Kind::kHebrew &&
          (IsPutOffTwice(here.year) || IsPutOffTwice(here.year + 1))) {
        ++left_out;
        continue;
      }
      theirs->setTime((n - 2440588.0) * 86'400'000.0, status);
      if (pair.era != 100) {
        ASSERT_EQ(theirs->get(UCAL_ERA, status) - here.era, pair.era) << date;
      }
      ASSERT_EQ(theirs->get(UCAL_YEAR, status), here.year) << date;
      ASSERT_EQ(theirs->get(UCAL_MONTH, status) + 1, static_cast<std::int32_t>(here.month)) << date;
      ASSERT_EQ(theirs->get(UCAL_DATE, status), static_cast<std::int32_t>(here.day)) << date;
    }
    EXPECT_GT(compared - left_out, 120'000);
    EXPECT_LT(left_out, 2400);  // six years
  }
}

}  // namespace
}  // namespace kestra::test
#endif
