#include "date_steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "command.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/number_text.h"

namespace kestra::tools {
namespace {

constexpr std::array kStepNames = {"--add",   "--subtract", "--add-days",      "--add-months",
                                   "--trunc", "--round",    "--next",          "--last-day",
                                   "--to",    "--minus",    "--months-between"};
constexpr double kDaySeconds = 86400;

template <typename T>
std::optional<T> NumberIn(const std::string& text) {
  T number = 0;
  const char* end = text.data() + text.size();
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

template <typename T>
T NumberOf(const DateStep& step) {
  const std::optional<T> number = NumberIn<T>(step.value);
  if (number) return *number;
  throw ToolError(kUsage, fmt::format("{} '{}' is not a number", step.option, step.value));
}

ldxdelta DaysOf(const DateStep& step, double sign = 1) {
  const auto number = sign * NumberOf<double>(step);
  if (!(std::abs(number) < 1e7)) {
    throw ToolError(kUsage, fmt::format("{} '{}': too many days", step.option, step.value));
  }
  const double days = std::trunc(number);
  return {static_cast<std::int32_t>(days),
          static_cast<std::int32_t>(std::lround((number - days) * kDaySeconds))};
}

// Of either family.
LdiInter IntervalOf(const DateStep& step) {
  LdiInter interval;
  std::uint32_t error = 0;
  for (const std::uint32_t type : {KES_INTERVAL_DAY_TO_SECOND, KES_INTERVAL_YEAR_TO_MONTH}) {
    error = LdiInterFromString(&interval, reinterpret_cast<const std::uint8_t*>(step.value.data()),
                               step.value.size(), type, nullptr);
    if (error == 0) return interval;
    if (error != KES_DATETIME_NOT_COMPARABLE && error != KES_DATETIME_BAD_INTERVAL) break;
  }
  throw ToolError(kUsage, fmt::format("{} '{}' is no number of days and no interval such as "
                                      "P1DT2H, '3 04:05:06.5' or 1-6: {}",
                                      step.option, step.value, DateErrorText(error)));
}

// 1 to 7, or a name of the language.
std::int32_t WeekdayOf(DateTool& tool, const DateStep& step) {
  if (step.value.size() == 1 && step.value[0] >= '1' && step.value[0] <= '7') {
    return step.value[0] - '0';
  }
  const DateModel number = tool.CompileForOutput("D");
  for (const char* model : {"DAY", "DY"}) {
    const DateModel name = tool.CompileForOutput(fmt::format("FM{}", model));
    LdiDate date{};
    date.type = KES_DATETIME_DATE;
    date.year = 2019;
    date.month = 6;
    date.day = 1;
    for (int i = 0; i < 7; ++i, ++date.day) {
      const std::string text = tool.Write(date, name);
      const bool same = std::equal(
          text.begin(), text.end(), step.value.begin(), step.value.end(), [](char a, char b) {
            const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
            return upper(a) == upper(b);
          });
      if (same) return tool.Write(date, number)[0] - '0';
    }
  }
  throw ToolError(kUsage, fmt::format("--next '{}' is neither 1 to 7 nor a weekday", step.value));
}

// Changes date and time of day by the rules of dates; the fraction stays, and a region's offset is the
// one in force then, if possible the same.
template <typename Change>
void OnTheClock(DateTool& tool, LdiDate& value, const Change& change) {
  ldxdate date = {value.year, value.month, value.day, value.hour, value.minute, value.second, 0};
  tool.context()->error = 0;
  change(tool.context(), &date);
  tool.CheckContext();
  value.year = date.year;
  value.month = date.month;
  value.day = date.day;
  value.hour = date.hour;
  value.minute = date.minute;
  value.second = date.second;
  if (value.type != KES_DATETIME_TIMESTAMP_TZ) return;
  const std::uint32_t fraction = value.fraction;
  tool.Check(LdiTruncate(&value, &value, KES_DATE_SS, 0, tool.zone_session()));
  value.fraction = fraction;
}

// The months from one date to another.
std::string MonthsBetween(DateTool& tool, const LdiDate& value, const LdiDate& other) {
  ldxdate dates[2];
  tool.Check(LdiDateToLDX(&dates[0], &value, tool.zone_session()));
  tool.Check(LdiDateToLDX(&dates[1], &other, tool.zone_session()));
  std::uint8_t number[22];
  std::uint8_t text[LNX_PLAIN_MAX];
  std::size_t length = 0;
  tool.context()->error = 0;
  ldxsbm(tool.context(), number, &dates[0], &dates[1]);
  tool.CheckContext();
  lnxtotext(number, 0, nullptr, nullptr, text, sizeof text, &length);
  return {reinterpret_cast<const char*>(text), length};
}

// The exact time from one value to another: +853 13:59:59.5.
DateResult Difference(DateTool& tool, const LdiDate& value, const LdiDate& other) {
  const std::uint32_t type =
      std::max<std::uint32_t>({value.type, other.type, KES_DATETIME_TIMESTAMP});
  const LdiDate x = tool.Lifted(value, type), y = tool.Lifted(other, type);
  LdiInter interval;
  tool.Check(LdiDateDateSubtractWithTZ(&interval, &x, &y, KES_INTERVAL_DAY_TO_SECOND,
                                       tool.zone_session()));
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  const bool fraction = interval.field[4] != 0;
  tool.Check(LdiInterToString(text, sizeof text, &length, &interval, 9, fraction ? 9 : 0, nullptr));
  DateResult result{std::string(text, text + length), ""};
  result.text.erase(1,
                    std::min(result.text.find_first_not_of('0', 1), result.text.find(' ') - 1) - 1);
  if (fraction) result.text.erase(result.text.find_last_not_of('0') + 1);
  tool.Check(LdiInterToStringISO(text, sizeof text, &length, &interval, nullptr));
  result.iso.assign(text, text + length);
  return result;
}

}  // namespace

bool DateSteps::IsStep(const std::string& option) {
  return std::find(kStepNames.begin(), kStepNames.end(), option) != kStepNames.end();
}

DateSteps::Step DateSteps::Make(DateTool& tool, const DateStep& step) {
  if (step.option == "--add-days") return {.kind = Kind::kDays, .delta = DaysOf(step)};
  if (step.option == "--add-months") {
    return {.kind = Kind::kMonths, .number = NumberOf<std::int32_t>(step)};
  }
  if (step.option == "--last-day") return {.kind = Kind::kLastDay};
  if (step.option == "--next") return {.kind = Kind::kNext, .number = WeekdayOf(tool, step)};
  if (step.option == "--to") {
    tool.Expect(KES_DATETIME_TIMESTAMP_TZ);
    return {.kind = Kind::kZone, .zone = tool.Zone(step.value)};
  }
  if (step.option == "--add" || step.option == "--subtract") {
    const int sign = step.option == "--add" ? 1 : -1;
    if (NumberIn<double>(step.value)) return {.kind = Kind::kDays, .delta = DaysOf(step, sign)};
    return {.kind = Kind::kInterval, .number = sign, .interval = IntervalOf(step)};
  }
  return {.kind = step.option == "--trunc" ? Kind::kTruncate : Kind::kRound,
          .number = static_cast<std::int32_t>(UnitOf(tool, step.value))};
}

DateSteps::DateSteps(DateTool& tool, const std::vector<DateStep>& steps) {
  const DateStep* last = nullptr;
  for (const DateStep& step : steps) {
    if (last != nullptr) {
      throw ToolError(kUsage, fmt::format("{} has to be the last step", last->option));
    }
    if (step.option == "--months-between" || step.option == "--minus") {
      last = &step;
    } else {
      steps_.push_back(Make(tool, step));
    }
  }
  if (last == nullptr) return;
  months_between_ = last->option == "--months-between";
  try {
    other_ = tool.Read(last->value);
  } catch (const DateFault& fault) {
    throw ToolError(kUsage, fmt::format("{} '{}' is not a date as 2019-02-28: {}", last->option,
                                        last->value, fault.what()));
  }
}

void DateSteps::Apply(DateTool& tool, const Step& step, LdiDate& value) {
  const auto unit = static_cast<std::uint32_t>(step.number);
  switch (step.kind) {
    case Kind::kDays:
      return OnTheClock(tool, value,
                        [&](ldxctx* ctx, ldxdate* date) { ldxads(ctx, date, date, &step.delta); });
    case Kind::kMonths:
      return OnTheClock(tool, value,
                        [&](ldxctx* ctx, ldxdate* date) { ldxadm(ctx, date, date, step.number); });
    case Kind::kNext:
      return OnTheClock(tool, value,
                        [&](ldxctx* ctx, ldxdate* date) { ldxnxd(ctx, date, date, unit); });
    case Kind::kLastDay:
      return OnTheClock(tool, value, [](ldxctx* ctx, ldxdate* date) { ldxldd(ctx, date, date); });
    case Kind::kInterval: {
      // Of an interval day to second the last field is the fraction.
      if (step.interval.field[4] != 0) value = tool.Lifted(value, KES_DATETIME_TIMESTAMP);
      const auto add = step.number > 0 ? LdiDateInterAddTZ : LdiDateInterSubtractTZ;
      return tool.Check(add(&value, &value, &step.interval, tool.zone_session()));
    }
    case Kind::kTruncate:
    case Kind::kRound: {
      // A date has nothing below the second.
      if (unit == KES_DATE_SS && value.type == KES_DATETIME_DATE) tool.Check(KES_DATETIME_NO_UNIT);
      const auto cut = step.kind == Kind::kRound ? LdiRound : LdiTruncate;
      return tool.Check(
          cut(&value, &value, unit, tool.context()->first_weekday, tool.zone_session()));
    }
    case Kind::kZone:
      return tool.Check(LdiTimeZoneAdjust(&value, &value, step.zone, tool.zone_session()));
  }
}

DateResult DateSteps::Result(DateTool& tool, LdiDate value, const DateModel* writing) const {
  for (const Step& step : steps_) Apply(tool, step, value);
  if (other_) {
    return months_between_ ? DateResult{MonthsBetween(tool, value, *other_), ""}
                           : Difference(tool, value, *other_);
  }
  return {writing != nullptr ? tool.Write(value, *writing) : tool.Write(value), ""};
}

}  // namespace kestra::tools
