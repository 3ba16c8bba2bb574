// kestra date --explain: the elements of a model, one by one.
#pragma once

#include <string>

#include "date_tool.h"

namespace kestra::tools {

// Prints what each element means, writes of a value, and whether it can be read; where the model is
// wrong, the place. Returns the exit code.
int ExplainModel(DateTool& tool, const std::string& model, const LdiDate& value, bool json);

}  // namespace kestra::tools
