// What the date command does with a date, step after step.
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

class DateSteps {
 public:
  // Checks the values; throws ToolError. --months-between has to be the last one.
  DateSteps(DateTool& tool, const std::vector<DateStep>& steps);

  static bool IsStep(const std::string& option);

  // The date after all steps in a compiled model, or the number of months. Throws DateFault.
  std::string Result(DateTool& tool, ldxdate date, const std::string& writing) const;

 private:
  enum class Kind { kDays, kMonths, kTruncate, kRound, kNext, kLastDay };
  struct Step {
    Kind kind;
    std::int32_t number;  // months, unit, weekday
    ldxdelta delta;
  };
  Step Make(DateTool& tool, const DateStep& step) const;

  std::vector<Step> steps_;
  std::optional<ldxdate> between_;
};

}  // namespace kestra::tools
