// kestra calc --columns: expressions over the columns of a CSV file.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "kestra/number_format.h"

namespace kestra::tools {

struct ColumnOptions {
  std::string expression;
  std::string file = "-";
  std::string separator;             // empty: a comma, or what the first line has
  std::vector<std::size_t> columns;  // from 1; empty: all
  const lnxmodel* model = nullptr;   // how results are written; null: plain
  bool json = false;
};

// Writes results to standard output, and what is wrong with the input to standard error. Returns the
// exit code; throws ToolError.
int CalculateColumns(const ColumnOptions& options);

}  // namespace kestra::tools
