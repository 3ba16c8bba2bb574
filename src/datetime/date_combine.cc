// The fields of a text brought together: the Julian day decides where there is one, then the day of
// the year, then year, month and day; what else the text says has to agree. What it does not say
// comes from today's year and month, the first day, and midnight.
#include "core/os/clock.h"
#include "datetime/calendar.h"
#include "datetime/date_read.h"
#include "datetime/day_number.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kYearDisagrees = 1831;
constexpr std::uint32_t kMonthDisagrees = 1833;
constexpr std::uint32_t kDayDisagrees = 1834;
constexpr std::uint32_t kWeekdayDisagrees = 1835;
constexpr std::uint32_t kHourDisagrees = 1836;
constexpr std::uint32_t kMinuteDisagrees = 1837;
constexpr std::uint32_t kSecondDisagrees = 1838;
constexpr std::uint32_t kNotInMonth = 1839;
constexpr std::uint32_t kBadYear = 1841;
constexpr std::uint32_t kBadDayOfYear = 1848;
constexpr std::uint32_t kNoCalendar = 1822;
constexpr std::uint32_t kOutsideCalendar = 1864;
constexpr std::uint32_t kWrongEra = 1865;

constexpr std::uint64_t kYears = Bit(KES_DATE_Y) | Bit(KES_DATE_YY) | Bit(KES_DATE_YYY) |
                                 Bit(KES_DATE_YYYY) | Bit(KES_DATE_Y_YYY) | Bit(KES_DATE_SYYYY) |
                                 Bit(KES_DATE_SY_YYY) | Bit(KES_DATE_NYYYY);
constexpr std::uint64_t kShortYears = Bit(KES_DATE_RR) | Bit(KES_DATE_RRRR);
constexpr std::uint64_t kMonths =
    Bit(KES_DATE_MM) | Bit(KES_DATE_MONTH) | Bit(KES_DATE_MON) | Bit(KES_DATE_RM);
constexpr std::uint64_t kWeekdays = Bit(KES_DATE_D) | Bit(KES_DATE_DAY) | Bit(KES_DATE_DY);
constexpr std::uint64_t kMeridians = Bit(KES_DATE_AM) | Bit(KES_DATE_A_M);
constexpr std::uint64_t kEras = Bit(KES_DATE_AD) | Bit(KES_DATE_A_D);
constexpr std::uint64_t kCalendarEras = Bit(KES_DATE_E) | Bit(KES_DATE_EE);

// What a year of count digits means when its first ones were left out.
constexpr std::int32_t CompleteYear(std::int32_t value, std::int32_t span,
                                    std::int32_t now) noexcept {
  return now - now % span + value;
}

// RR: 00 to 49 and 50 to 99 lie in the century in which they are nearest to now's half.
constexpr std::int32_t CompleteRounded(std::int32_t value, std::int32_t now) noexcept {
  const std::int32_t century = now - now % 100;
  const bool now_late = now % 100 >= 50;
  const bool late = value >= 50;
  if (now_late == late) return century + value;
  return now_late ? century + 100 + value : century - 100 + value;
}

class Combiner {
 public:
  Combiner(const ldxctx& ctx, const ReadFields& fields) noexcept
      : ctx_(ctx), fields_(fields), calendar_(Calendar::Of(ctx)) {}

  Fault Combine(ldxdate& out) noexcept {
    out = ldxdate{};
    Fault fault = calendar_.gregorian() ? GregorianDate(out) : CalendarDay(out);
    if (!fault) fault = CheckWeekday(out);
    return fault ? fault : Time(out);
  }

 private:
  // Asking the clock takes longer than all the rest.
  const ldxdate& today() noexcept {
    if (today_.year != 0) return today_;
    today_ = ctx_.today;
    if (today_.year == 0) {
      const os::LocalDay day = os::Today();
      today_.year = static_cast<std::int16_t>(day.year);
      today_.month = static_cast<std::uint8_t>(day.month);
      today_.day = static_cast<std::uint8_t>(day.day);
    }
    return today_;
  }

  Fault At(std::uint32_t number, std::uint32_t code) const noexcept {
    return {number, code == 0 ? fields_.text_length : fields_.where[code]};
  }

  // Whether a year that the text says has all its digits.
  bool YearIsWhole() const noexcept {
    const std::uint64_t whole = kYears & ~(Bit(KES_DATE_Y) | Bit(KES_DATE_YY) | Bit(KES_DATE_YYY));
    return (fields_.any(whole) && !fields_.any(kShortYears)) ||
           (fields_.has(KES_DATE_RRRR) && fields_.short_year_digits > 2 && !fields_.any(kYears));
  }

  // The year that the text says, completed from now, without its era.
  Fault SaidYear(std::int32_t now, bool complete, std::int32_t& year, bool& said) const noexcept {
    said = fields_.any(kYears | kShortYears);
    if (!said) return {};
    const std::uint32_t full = fields_.which(kYears);
    const std::uint32_t rounded = fields_.which(kShortYears);
    std::int32_t of_rounded = 0;
    if (rounded != 0) {
      of_rounded = fields_.value[rounded];
      if (fields_.short_year_digits <= 2 && complete) of_rounded = CompleteRounded(of_rounded, now);
      year = of_rounded;
    }
    if (full != 0) {
      const std::int32_t value = fields_.value[full];
      const std::int32_t span = full == KES_DATE_Y     ? 10
                                : full == KES_DATE_YY  ? 100
                                : full == KES_DATE_YYY ? 1000
                                                       : 0;
      year = span != 0 && complete ? CompleteYear(value, span, now) : value;
      const std::int32_t plain = year < 0 ? -year : year;
      const bool agrees =
          rounded == 0 || (fields_.short_year_digits > 2 ? of_rounded == plain
                                                         : fields_.value[rounded] == plain % 100);
      if (!agrees) return At(kYearDisagrees, rounded);
    }
    return {};
  }

  // Whether AD or BC, if the text says so, agrees with a year of DATE.
  bool EraAgrees(std::int32_t year) const noexcept {
    const std::uint32_t era = fields_.which(kEras);
    return era == 0 || (fields_.value[era] == 1) == (year < 0);
  }

  // Whether a year that is known, as the calendar counts, agrees with what the text says of it.
  bool YearAgrees(std::int32_t year) const noexcept {
    const std::int32_t plain = year < 0 ? -year : year;
    if (const std::uint32_t code = fields_.which(kYears); code != 0) {
      const std::int32_t value = fields_.value[code];
      const bool is_signed = kDescriptors[code].low < 0;
      const std::int32_t digits = code == KES_DATE_Y     ? plain % 10
                                  : code == KES_DATE_YY  ? plain % 100
                                  : code == KES_DATE_YYY ? plain % 1000
                                                         : plain;
      if (value != (is_signed ? year : digits)) return false;
    }
    if (const std::uint32_t code = fields_.which(kShortYears); code != 0) {
      const std::int32_t digits = fields_.short_year_digits <= 2 ? plain % 100 : plain;
      if (fields_.value[code] != digits) return false;
    }
    return true;
  }

  bool SaidMonth(std::uint32_t& month, std::uint32_t& code) const noexcept {
    code = fields_.which(kMonths);
    if (code != 0) month = static_cast<std::uint32_t>(fields_.value[code]);
    return code != 0;
  }

  Fault GregorianDate(ldxdate& out) noexcept {
    const bool needs_today =
        !fields_.has(KES_DATE_J) &&
        (!YearIsWhole() || (!fields_.any(kMonths) && !fields_.has(KES_DATE_DDD)));
    const std::int32_t this_year = needs_today ? today().year : 1;
    std::int32_t year = this_year;
    bool said_year = false;
    if (fields_.has(KES_DATE_J)) {
      // The text's year, which may lack digits, is compared below.
    } else if (const Fault fault = SaidYear(this_year, true, year, said_year))
      return fault;
    const std::uint32_t year_code = fields_.which(kYears | kShortYears);
    const std::uint32_t era = fields_.which(kEras);
    if (era != 0 && fields_.value[era] == 1 && !fields_.has(KES_DATE_J)) {
      year = -year;
      said_year = true;
    }
    if (said_year && (year == 0 || year < kMinYear || year > kMaxYear)) {
      return At(kBadYear, year_code);
    }
    CivilDate date{year, needs_today ? today().month : std::uint32_t{1}, 1};
    std::uint32_t month = 0, month_code = 0;
    const bool said_month = SaidMonth(month, month_code);
    const bool counted = fields_.has(KES_DATE_J) || fields_.has(KES_DATE_DDD);
    if (!counted) {
      if (said_month) date.month = month;
      if (fields_.has(KES_DATE_DD))
        date.day = static_cast<std::uint32_t>(fields_.value[KES_DATE_DD]);
      if (date.day > MonthLength(date.year, date.month) ||
          IsSkipped(date.year, date.month, date.day)) {
        return At(kNotInMonth, KES_DATE_DD);
      }
      return Store(date, out);
    }
    if (fields_.has(KES_DATE_J)) {
      date = SplitDay(fields_.value[KES_DATE_J]);
      // Day numbers also count the days of a year 0.
      if (date.year == 0) return At(kOutsideCalendar, KES_DATE_J);
      if (!YearAgrees(date.year) || !EraAgrees(date.year)) return At(kYearDisagrees, year_code);
    } else {
      const std::int32_t first = DayNumber(year, 1, 1);
      const std::int32_t day = fields_.value[KES_DATE_DDD];
      if (day > DayNumber(year, 12, 31) - first + 1) return At(kBadDayOfYear, KES_DATE_DDD);
      date = SplitDay(first + day - 1);
    }
    if (said_month && month != date.month) return At(kMonthDisagrees, month_code);
    if (fields_.has(KES_DATE_DD) &&
        static_cast<std::uint32_t>(fields_.value[KES_DATE_DD]) != date.day) {
      return At(kDayDisagrees, KES_DATE_DD);
    }
    return Store(date, out);
  }

  static Fault Store(const CivilDate& date, ldxdate& out) noexcept {
    out.year = static_cast<std::int16_t>(date.year);
    out.month = static_cast<std::uint8_t>(date.month);
    out.day = static_cast<std::uint8_t>(date.day);
    return {};
  }

  // The same in a calendar that is not Gregorian.
  Fault CalendarDay(ldxdate& out) noexcept {
    CalendarDate now{};
    if (!calendar_.has_arithmetic() || !calendar_.FromDate(today(), now)) {
      return {kNoCalendar, fields_.text_length};
    }
    if (fields_.has(KES_DATE_J)) return CalendarNumber(out);
    CalendarDate date{now.era, now.year, now.month, 1};
    const std::uint32_t era_code = fields_.which(kCalendarEras);
    if (era_code != 0) date.era = fields_.value[era_code];
    bool said = false;
    const Fault fault = SaidYear(now.year, date.era == now.era, date.year, said);
    if (fault) return fault;
    const std::uint32_t year_code = fields_.which(kYears | kShortYears);
    std::uint32_t month_code = 0;
    SaidMonth(date.month, month_code);
    if (fields_.has(KES_DATE_DDD)) {
      if (const Fault wrong = CountDays(date, month_code)) return wrong;
    }
    if (fields_.has(KES_DATE_DD)) {
      const auto day = static_cast<std::uint32_t>(fields_.value[KES_DATE_DD]);
      if (fields_.has(KES_DATE_DDD) && day != date.day) return At(kDayDisagrees, KES_DATE_DD);
      date.day = day;
    }
    const std::uint32_t number = calendar_.ToDate(date, out);
    if (number == 0 && !EraAgrees(out.year)) return At(kYearDisagrees, fields_.which(kEras));
    if (number == 1843) return At(number, month_code);
    if (number == kWrongEra) return At(number, era_code);
    return number == kNotInMonth ? At(number, KES_DATE_DD) : At(number, year_code);
  }

  // Month and day of a day of the year.
  Fault CountDays(CalendarDate& date, std::uint32_t month_code) const noexcept {
    auto left = static_cast<std::uint32_t>(fields_.value[KES_DATE_DDD]);
    for (std::uint32_t month = 1; month <= calendar_.months(); ++month) {
      const std::uint32_t length = calendar_.MonthLength(date.era, date.year, month);
      if (left <= length) {
        if (month_code != 0 && date.month != month) return At(kMonthDisagrees, month_code);
        date.month = month;
        date.day = left;
        return {};
      }
      left -= length;
    }
    return At(kBadDayOfYear, KES_DATE_DDD);
  }

  Fault CalendarNumber(ldxdate& out) const noexcept {
    const CivilDate civil = SplitDay(fields_.value[KES_DATE_J]);
    if (civil.year == 0) return At(kOutsideCalendar, KES_DATE_J);
    Store(civil, out);
    CalendarDate date{};
    if (!calendar_.FromDate(out, date)) return At(kOutsideCalendar, KES_DATE_J);
    const std::uint32_t era_code = fields_.which(kCalendarEras);
    if (era_code != 0 && fields_.value[era_code] != date.era) return At(kWrongEra, era_code);
    if (!YearAgrees(date.year) || !EraAgrees(out.year)) {
      return At(kYearDisagrees, fields_.which(kYears | kShortYears));
    }
    std::uint32_t month = date.month, month_code = 0;
    SaidMonth(month, month_code);
    if (month != date.month) return At(kMonthDisagrees, month_code);
    if (fields_.has(KES_DATE_DD) &&
        static_cast<std::uint32_t>(fields_.value[KES_DATE_DD]) != date.day) {
      return At(kDayDisagrees, KES_DATE_DD);
    }
    return {};
  }

  // A weekday without a day chooses nothing.
  Fault CheckWeekday(const ldxdate& date) const noexcept {
    const std::uint32_t code = fields_.which(kWeekdays);
    const bool has_day = fields_.any(Bit(KES_DATE_J) | Bit(KES_DATE_DDD) | Bit(KES_DATE_DD));
    if (code == 0 || !has_day) return {};
    const auto weekday = static_cast<std::uint32_t>((WeekdayFromMonday(DayNumber(date)) + 1) % 7);
    const std::uint32_t said =
        code == KES_DATE_D
            ? 1u << (static_cast<std::uint32_t>(fields_.value[code] - 1) + ctx_.first_weekday) % 7
            : fields_.weekdays;
    return (said >> weekday & 1u) != 0 ? Fault{} : At(kWeekdayDisagrees, code);
  }

  Fault Time(ldxdate& out) const noexcept {
    const std::uint32_t meridian = fields_.which(kMeridians);
    const std::int32_t half = meridian != 0 ? 12 * fields_.value[meridian] : 0;
    std::int32_t hour = half;
    if (fields_.has(KES_DATE_HH24)) hour = fields_.value[KES_DATE_HH24];
    if (fields_.has(KES_DATE_HH12)) hour = fields_.value[KES_DATE_HH12] % 12 + half;
    std::int32_t minute = fields_.has(KES_DATE_MI) ? fields_.value[KES_DATE_MI] : 0;
    std::int32_t second = fields_.has(KES_DATE_SS) ? fields_.value[KES_DATE_SS] : 0;
    if (fields_.has(KES_DATE_SSSSS)) {
      const std::int32_t seconds = fields_.value[KES_DATE_SSSSS];
      const std::int32_t true_hour = seconds / 3600;
      const bool hour_agrees = (!fields_.has(KES_DATE_HH24) || hour == true_hour) &&
                               (!fields_.has(KES_DATE_HH12) || hour % 12 == true_hour % 12) &&
                               (meridian == 0 || (true_hour >= 12) == (half != 0));
      if (!hour_agrees) {
        return At(kHourDisagrees,
                  fields_.which(Bit(KES_DATE_HH24) | Bit(KES_DATE_HH12) | kMeridians));
      }
      if (fields_.has(KES_DATE_MI) && minute != seconds / 60 % 60) {
        return At(kMinuteDisagrees, KES_DATE_MI);
      }
      if (fields_.has(KES_DATE_SS) && second != seconds % 60) {
        return At(kSecondDisagrees, KES_DATE_SS);
      }
      hour = true_hour;
      minute = seconds / 60 % 60;
      second = seconds % 60;
    }
    out.hour = static_cast<std::uint8_t>(hour);
    out.minute = static_cast<std::uint8_t>(minute);
    out.second = static_cast<std::uint8_t>(second);
    return {};
  }

  const ldxctx& ctx_;
  const ReadFields& fields_;
  Calendar calendar_;
  ldxdate today_{};
};

}  // namespace

Fault CombineFields(const ldxctx& ctx, const ReadFields& fields, ldxdate& out) noexcept {
  return Combiner(ctx, fields).Combine(out);
}

}  // namespace kestra::datetime
