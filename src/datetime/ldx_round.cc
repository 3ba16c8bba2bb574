// Rounding and truncating to a unit: one rule a unit, of two steps. Rounding is an adjustment and
// then the truncation, so a unit that can be truncated to can be rounded to.
#include <initializer_list>

#include "datetime/array_form.h"
#include "datetime/date_operations.h"

namespace kestra::datetime {
namespace {

constexpr ldxdelta kHalfWeek = {3, kDaySeconds / 2};

// A date on its way. Adjusting may leave the years; that is told at the end.
struct Step {
  ldxdate date;
  std::uint32_t first_weekday;
};
using Rule = std::uint32_t (*)(Step& step) noexcept;

void ClearTime(ldxdate& date) noexcept {
  date.hour = 0;
  date.minute = 0;
  date.second = 0;
}

std::uint32_t SetFirstOf(ldxdate& date, std::int32_t month) noexcept {
  date.month = static_cast<std::uint8_t>(month);
  date.day = 1;
  ClearTime(date);
  return 0;
}

void AddYears(ldxdate& date, std::int32_t years) noexcept {
  date.year = static_cast<std::int16_t>(WithoutYearZero(date.year + years, true));
}

void NextMonths(ldxdate& date, std::int32_t months) noexcept {
  std::int32_t month = date.month + months;
  if (month > 12) {
    month = 1;
    AddYears(date, 1);
  }
  date.month = static_cast<std::uint8_t>(month);
}

// Goes back to the start of a week in which the date is day place (0 the first).
std::uint32_t BackDays(ldxdate& date, std::int32_t number, std::int32_t place) noexcept {
  ClearTime(date);
  return MoveToDay(date, std::int64_t{number} - place, false);
}

// ---- Truncation

std::uint32_t TruncateCentury(Step& s) noexcept {
  const std::int32_t year = s.date.year;
  const std::int32_t first = year > 0 ? (year - 1) / 100 * 100 + 1 : -((-year - 1) / 100 + 1) * 100;
  s.date.year = static_cast<std::int16_t>(first);
  return SetFirstOf(s.date, 1);
}

std::uint32_t TruncateYear(Step& s) noexcept { return SetFirstOf(s.date, 1); }

std::uint32_t TruncateQuarter(Step& s) noexcept {
  return SetFirstOf(s.date, (s.date.month - 1) / 3 * 3 + 1);
}

std::uint32_t TruncateMonth(Step& s) noexcept { return SetFirstOf(s.date, s.date.month); }

std::uint32_t TruncateIsoWeek(Step& s) noexcept {
  const std::int32_t number = DayNumber(s.date);
  return BackDays(s.date, number, WeekdayFromMonday(number));
}

std::uint32_t TruncateIsoYear(Step& s) noexcept {
  const std::int32_t year = WithoutYearZero(IsoWeekOf(DayNumber(s.date)).year, false);
  s.date.year = static_cast<std::int16_t>(year);
  s.date.month = 1;
  s.date.day = 4;
  return TruncateIsoWeek(s);
}

std::uint32_t TruncateWeekOfYear(Step& s) noexcept {
  const std::int32_t number = DayNumber(s.date);
  return BackDays(s.date, number, (DayOfYear(s.date.year, number) - 1) % 7);
}

// By the day's number in its month, as the element W counts: weeks begin on days 1, 8, 15, 22, 29,
// also in October 1582, which has no day of its second week.
std::uint32_t TruncateWeekOfMonth(Step& s) noexcept {
  ClearTime(s.date);
  s.date.day = static_cast<std::uint8_t>(s.date.day - (s.date.day - 1) % 7);
  return 0;
}

std::uint32_t TruncateWeek(Step& s) noexcept {
  const std::int32_t number = DayNumber(s.date);
  return BackDays(s.date, number, static_cast<std::int32_t>(Weekday(number, s.first_weekday)) - 1);
}

std::uint32_t TruncateDay(Step& s) noexcept {
  ClearTime(s.date);
  return 0;
}

std::uint32_t TruncateHour(Step& s) noexcept {
  s.date.minute = 0;
  s.date.second = 0;
  return 0;
}

std::uint32_t TruncateMinute(Step& s) noexcept {
  s.date.second = 0;
  return 0;
}

// ---- Adjustment before it

std::uint32_t RoundCentury(Step& s) noexcept {
  AddYears(s.date, 50);
  return 0;
}

std::uint32_t RoundYear(Step& s) noexcept {
  if (s.date.month >= 7) AddYears(s.date, 1);
  return 0;
}

std::uint32_t RoundQuarter(Step& s) noexcept {
  const std::int32_t place = (s.date.month + 2) % 3;  // 0 the quarter's first month
  if (place == 2 || (place == 1 && s.date.day >= 16)) NextMonths(s.date, 3);
  return 0;
}

std::uint32_t RoundMonth(Step& s) noexcept {
  if (s.date.day >= 16) NextMonths(s.date, 1);
  return 0;
}

// A week that the year's end cuts short: the date stays in it. At the end of 9999 too, where there
// is no later day to move to.
std::uint32_t RoundWeekOfYear(Step& s) noexcept {
  ldxdate later;
  if (AddDelta(s.date, kHalfWeek, later) == 0 && later.year == s.date.year) {
    s.date = later;
  } else {
    s.date.day = 31;
  }
  return 0;
}

// February of a common year has no such week.
std::uint32_t RoundWeekOfMonth(Step& s) noexcept {
  ldxdate later;
  const bool common_february = s.date.month == 2 && !IsLeap(s.date.year);
  if (AddDelta(s.date, kHalfWeek, later) == 0 && (later.month == s.date.month || common_february)) {
    s.date = later;
  } else {
    s.date.day = 29;
  }
  return 0;
}

std::uint32_t RoundWeek(Step& s) noexcept { return AddDelta(s.date, kHalfWeek, s.date); }

std::uint32_t RoundDay(Step& s) noexcept {
  return s.date.hour >= 12 ? AddDelta(s.date, {1, 0}, s.date) : 0;
}

std::uint32_t RoundHour(Step& s) noexcept {
  return s.date.minute >= 30 ? AddDelta(s.date, {0, 1800}, s.date) : 0;
}

std::uint32_t RoundMinute(Step& s) noexcept {
  return s.date.second >= 30 ? AddDelta(s.date, {0, 30}, s.date) : 0;
}

struct Unit {
  Rule adjust;
  Rule truncate;
};

constexpr std::uint32_t kUnits = 46;  // codes of format elements lie below

struct UnitTable {
  Unit unit[kUnits];
};

constexpr UnitTable MakeUnits() noexcept {
  UnitTable table = {};
  const auto set = [&table](std::initializer_list<int> codes, Unit unit) {
    for (const int code : codes) table.unit[code] = unit;
  };
  set({1, 2}, {RoundCentury, TruncateCentury});
  set({3, 5, 7, 9}, {RoundYear, TruncateIsoYear});
  set({4, 6, 8, 10, 12, 14, 15, 40, 41, 45}, {RoundYear, TruncateYear});
  set({16}, {RoundQuarter, TruncateQuarter});
  set({17, 30, 31, 38}, {RoundMonth, TruncateMonth});
  set({18}, {RoundWeekOfYear, TruncateIsoWeek});
  set({19}, {RoundWeekOfYear, TruncateWeekOfYear});
  set({20}, {RoundWeekOfMonth, TruncateWeekOfMonth});
  set({21, 32, 33}, {RoundWeek, TruncateWeek});
  set({22, 23, 29}, {RoundDay, TruncateDay});
  set({24, 25}, {RoundHour, TruncateHour});
  set({26}, {RoundMinute, TruncateMinute});
  return table;
}
constexpr UnitTable kUnitTable = MakeUnits();

enum class Way : bool { kTruncate, kRound };

std::uint32_t Apply(Way way, std::uint32_t first_weekday, const ldxdate& in, std::uint32_t code,
                    ldxdate& out) noexcept {
  if (code >= kUnits || kUnitTable.unit[code].truncate == nullptr) return kNoRuleForUnit;
  const Unit& unit = kUnitTable.unit[code];
  Step step = {in, first_weekday};
  std::uint32_t error = way == Way::kRound ? unit.adjust(step) : 0;
  if (error == 0) error = unit.truncate(step);
  if (error != 0) return error;
  if (step.date.year > kMaxYear || step.date.year < kMinYear) return kOutOfYears;
  out = step.date;
  return 0;
}

ArrayResult ApplyAll(Way way, const ldxctx& ctx, ldxdate* const* out, const ldxdate* const* in,
                     std::size_t count, const Operands<std::uint32_t>& units) noexcept {
  return RunFrom(0, count, [&](std::size_t i) {
    return Apply(way, ctx.first_weekday, *in[i], units[i], *out[i]);
  });
}

}  // namespace

std::uint32_t RoundToUnit(const ldxdate& in, std::uint32_t unit, std::uint32_t first_weekday,
                          ldxdate& out) noexcept {
  return Apply(Way::kRound, first_weekday, in, unit, out);
}

std::uint32_t TruncateToUnit(const ldxdate& in, std::uint32_t unit, std::uint32_t first_weekday,
                             ldxdate& out) noexcept {
  return Apply(Way::kTruncate, first_weekday, in, unit, out);
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

void ldxtrn(ldxctx* ctx, ldxdate* out, const ldxdate* in, std::uint32_t unit) {
  const std::uint32_t error = Apply(Way::kTruncate, ctx->first_weekday, *in, unit, *out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxrnd(ldxctx* ctx, ldxdate* out, const ldxdate* in, std::uint32_t unit) {
  const std::uint32_t error = Apply(Way::kRound, ctx->first_weekday, *in, unit, *out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxtrnarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const std::uint32_t* units, std::uint32_t flags, std::size_t* processed) {
  Finish(ctx, ApplyAll(Way::kTruncate, *ctx, out, in, count, Operands<std::uint32_t>(units, flags)),
         processed);
}

void ldxrndarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const std::uint32_t* units, std::uint32_t flags, std::size_t* processed) {
  Finish(ctx, ApplyAll(Way::kRound, *ctx, out, in, count, Operands<std::uint32_t>(units, flags)),
         processed);
}
