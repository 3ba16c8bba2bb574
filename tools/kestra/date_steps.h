// What the date command does with a value, step after step.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "date_tool.h"

namespace kestra::tools {

// An option of the command line and its value.
struct DateStep {
  std::string option;
  std::string value;
};

// What comes out at the end: a date, a number of months, or an interval.
struct DateResult {
  std::string text;
  std::string iso;  // of an interval
};

class DateSteps {
 public:
  // Checks the values; throws ToolError. --months-between and --minus have to be the last one.
  DateSteps(DateTool& tool, const std::vector<DateStep>& steps);

  static bool IsStep(const std::string& option);

  // The value after all steps, in a model or (null) plain. Throws DateFault.
  DateResult Result(DateTool& tool, LdiDate value, const DateModel* writing) const;

 private:
  enum class Kind { kDays, kMonths, kInterval, kTruncate, kRound, kNext, kLastDay, kZone };
  struct Step {
    Kind kind;
    std::int32_t number = 0;  // months, unit, weekday; of an interval: 1 is added, -1 taken away
    ldxdelta delta{};
    LdiInter interval{};
    LdiZone zone{};
  };
  static Step Make(DateTool& tool, const DateStep& step);
  static void Apply(DateTool& tool, const Step& step, LdiDate& value);

  std::vector<Step> steps_;
  std::optional<LdiDate> other_;
  bool months_between_ = false;
};

}  // namespace kestra::tools
