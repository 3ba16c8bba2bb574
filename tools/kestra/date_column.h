// kestra date --column: the dates in a column of a CSV file, changed in place.
#pragma once

#include <string>

#include "date_steps.h"
#include "date_tool.h"

namespace kestra::tools {

struct DateColumn {
  std::string file;
  std::string column;                  // a number from 1, or a name of the first record
  std::string separator;               // empty: a comma, or what the first line has
  const DateModel* reading = nullptr;  // null: dates are read as 2019-02-28
  const DateModel* writing = nullptr;  // null: plain
};

// Writes all records to standard output, the column's dates after the steps; what is no date stays as
// it is and is told on standard error. Returns the exit code; throws ToolError.
int ChangeDateColumn(DateTool& tool, const DateSteps& steps, const DateColumn& options);

}  // namespace kestra::tools
