#include "date_steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "command.h"
#include "kestra/number_text.h"

namespace kestra::tools {
namespace {

constexpr std::array kStepNames = {"--add-days", "--add-months", "--trunc",         "--round",
                                   "--next",     "--last-day",   "--months-between"};
constexpr double kDaySeconds = 86400;

template <typename T>
T NumberOf(const DateStep& step) {
  T number = 0;
  const char* end = step.value.data() + step.value.size();
  const char* begin = step.value.data() + (step.value.starts_with('+') ? 1 : 0);
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end) {
    throw ToolError(kUsage, fmt::format("{} '{}' is not a number", step.option, step.value));
  }
  return number;
}

ldxdelta DaysOf(const DateStep& step) {
  const auto number = NumberOf<double>(step);
  if (!(std::abs(number) < 1e7)) {
    throw ToolError(kUsage, fmt::format("{} '{}': too many days", step.option, step.value));
  }
  const double days = std::trunc(number);
  return {static_cast<std::int32_t>(days),
          static_cast<std::int32_t>(std::lround((number - days) * kDaySeconds))};
}

// 1 to 7, or a name of the language.
std::int32_t WeekdayOf(DateTool& tool, const DateStep& step) {
  if (step.value.size() == 1 && step.value[0] >= '1' && step.value[0] <= '7') {
    return step.value[0] - '0';
  }
  for (const char* model : {"DAY", "DY"}) {
    const std::string name = tool.CompileForOutput(fmt::format("FM{}", model));
    const std::string number = tool.CompileForOutput("D");
    ldxdate date = {2019, 6, 1, 0, 0, 0, 0};
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

}  // namespace

bool DateSteps::IsStep(const std::string& option) {
  return std::find(kStepNames.begin(), kStepNames.end(), option) != kStepNames.end();
}

DateSteps::Step DateSteps::Make(DateTool& tool, const DateStep& step) const {
  if (step.option == "--add-days") return {Kind::kDays, 0, DaysOf(step)};
  if (step.option == "--add-months") return {Kind::kMonths, NumberOf<std::int32_t>(step), {}};
  if (step.option == "--last-day") return {Kind::kLastDay, 0, {}};
  if (step.option == "--next") return {Kind::kNext, WeekdayOf(tool, step), {}};
  return {step.option == "--trunc" ? Kind::kTruncate : Kind::kRound,
          static_cast<std::int32_t>(UnitOf(tool, step.value)),
          {}};
}

DateSteps::DateSteps(DateTool& tool, const std::vector<DateStep>& steps) {
  for (const DateStep& step : steps) {
    if (between_) throw ToolError(kUsage, "--months-between has to be the last step");
    if (step.option == "--months-between") {
      between_.emplace();
      if (!ReadPlainDate(step.value, *between_)) {
        throw ToolError(
            kUsage, fmt::format("--months-between '{}' is not a date as 2019-02-28", step.value));
      }
    } else {
      steps_.push_back(Make(tool, step));
    }
  }
}

std::string DateSteps::Result(DateTool& tool, ldxdate date, const std::string& writing) const {
  ldxctx* ctx = tool.context();
  for (const Step& step : steps_) {
    switch (step.kind) {
      case Kind::kDays:
        ldxads(ctx, &date, &date, &step.delta);
        break;
      case Kind::kMonths:
        ldxadm(ctx, &date, &date, step.number);
        break;
      case Kind::kTruncate:
        ldxtrn(ctx, &date, &date, static_cast<std::uint32_t>(step.number));
        break;
      case Kind::kRound:
        ldxrnd(ctx, &date, &date, static_cast<std::uint32_t>(step.number));
        break;
      case Kind::kNext:
        ldxnxd(ctx, &date, &date, static_cast<std::uint32_t>(step.number));
        break;
      case Kind::kLastDay:
        ldxldd(ctx, &date, &date);
        break;
    }
  }
  if (!between_) return tool.Write(date, writing);
  std::uint8_t number[22];
  std::uint8_t text[LNX_PLAIN_MAX];
  std::size_t length = 0;
  ldxsbm(ctx, number, &date, &*between_);
  lnxtotext(number, 0, nullptr, nullptr, text, sizeof text, &length);
  return {reinterpret_cast<const char*>(text), length};
}

}  // namespace kestra::tools
