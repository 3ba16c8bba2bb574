// Calendars other than the Gregorian: dates to and from them, the names of their months and eras,
// and the arithmetic that ldxadm, ldxldd and ldxsbm hand over to them.
//
// A calendar is a data object (nls/nlb_format.h, namespace calendar). Those whose arithmetic is the
// Gregorian one (Japanese, ROC, Buddhist) only count their years in other eras; their months are
// the language's own. The observed Islamic, the Chinese and the Dangi calendars have names only.
// Sources of the rules: Dershowitz and Reingold, "Calendrical Calculations".
//
// Tests: tests/datetime/ldx_other_calendars_test.cc, tests/conformance/ldx_calendar_icu_test.cc.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestra/date.h"
#include "kestra/object.h"

namespace kestra::datetime {

// A date of a calendar. Eras count from 0, the oldest, as the calendar's table has them (Japanese:
// 0 to 236). The Hebrew calendar numbers its months 1 Tishri to 13 Elul, month 6 (Adar I) being in
// leap years only; Coptic and Ethiopic years have 13 months.
struct CalendarDate {
  std::int32_t era;
  std::int32_t year;  // of the era; before the first era 0 and below
  std::uint32_t month;
  std::uint32_t day;
};

class Calendar {
 public:
  // A null object is the Gregorian calendar.
  explicit Calendar(const lxobject* object) noexcept;
  // The context's calendar, loaded when needed.
  static Calendar Of(const ldxctx& context) noexcept;

  // No calendar of its own: DATE's years and months are the calendar's, eras are AD and BC.
  bool gregorian() const noexcept { return object_ == nullptr; }
  // False: names only, nothing can be converted.
  bool has_arithmetic() const noexcept { return kind_ != Kind::kNone; }
  // Months and their names are the Gregorian ones, that is the date language's.
  bool gregorian_months() const noexcept { return kind_ == Kind::kGregorian; }
  std::uint32_t months() const noexcept { return months_; }  // of the longest year: 12 or 13
  std::int32_t eras() const noexcept { return eras_; }
  // The era a date without one is read in: the last.
  std::int32_t latest_era() const noexcept { return eras_ - 1; }
  // The first era that has a name; at most eight have.
  std::int32_t first_named_era() const noexcept { return eras_ - named_eras_; }

  // The calendar's date of a DATE; false without arithmetic and for the Gregorian calendar. Days
  // before the first era come out in it, with years of 0 and below.
  bool FromDate(const ldxdate& date, CalendarDate& out) const noexcept;

  // The DATE of a calendar's date, into year, month and day of out. 0, or the number of the error:
  // 1843 no such month in that year, 1839 no such day in that month, 1863 year below 1 (of the
  // first era -9999), 1864 outside DATE's years, or a day that the reform of 1582 left out, 1865 no
  // such era, or not in that era; 1822 without arithmetic.
  std::uint32_t ToDate(const CalendarDate& date, ldxdate& out) const noexcept;

  // 0 when there is no such month.
  std::uint32_t MonthLength(std::int32_t era, std::int32_t year,
                            std::uint32_t month) const noexcept;

  // Names in UTF-8, of the language with this id or, where the calendar has none in it, in English;
  // empty when there is none (months of calendars with Gregorian months, eras without a name).
  std::string_view MonthName(std::uint32_t language, std::uint32_t month,
                             bool abbreviated) const noexcept;
  std::string_view EraName(std::uint32_t language, std::int32_t era,
                           bool abbreviated) const noexcept;

  // What adds months, gives a month's last day and counts months: see lxe_calendar.cc.
  enum class Kind : std::uint8_t {
    kNone = 0,
    kGregorian = 1,
    kIslamicCivil = 6,
    kPersian = 7,
    kEthiopic = 8,
    kCoptic = 9,
    kHebrew = 10,
    kIndian = 11,
  };
  Kind kind() const noexcept { return kind_; }

 private:
  bool counts_reigns() const noexcept;
  std::int32_t ReignOf(std::int32_t order) const noexcept;
  std::int32_t EraStart(std::int32_t era) const noexcept;  // as DateOrder; lowest: unknown
  std::int32_t EraStartYear(std::int32_t era) const noexcept;
  void IntoEra(std::int32_t year, CalendarDate& out) const noexcept;
  bool OutOfEra(const CalendarDate& date, std::int32_t& year) const noexcept;
  std::uint32_t GregorianToDate(const CalendarDate& date, ldxdate& out) const noexcept;
  std::string_view String(std::uint32_t language, std::size_t index) const noexcept;
  std::string_view Name(std::uint32_t language, std::size_t index) const noexcept;

  const lxobject* object_;
  Kind kind_ = Kind::kGregorian;
  std::uint16_t months_ = 12;
  std::int32_t year_offset_ = 0;
  std::int32_t eras_ = 2;
  std::int32_t named_eras_ = 0;
};

// A result of the calendar extension. handled false: there is none, the Gregorian rules hold.
struct ExtensionResult {
  bool handled;
  bool last_day;        // lxeadm: the day became the month's last
  std::uint32_t error;  // 0, or the number to raise
};

// lxeadm: adds months. lxeldd: the last day of the month. lxesbm: months between two dates, whole
// ones and, when exact is false, the seconds of the part that lies over 31-day months. The results
// may share memory with the dates.
ExtensionResult lxeadm(const Calendar& calendar, const ldxdate& in, std::int32_t months,
                       ldxdate& out) noexcept;
ExtensionResult lxeldd(const Calendar& calendar, const ldxdate& in, ldxdate& out) noexcept;
struct MonthsBetween {
  std::int32_t months;
  std::int32_t seconds;
  bool exact;
};
ExtensionResult lxesbm(const Calendar& calendar, const ldxdate& x, const ldxdate& y,
                       MonthsBetween& out) noexcept;

}  // namespace kestra::datetime
