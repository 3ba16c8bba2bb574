// The functions of the calculator.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "calc/calc_number.h"

namespace kestra::tools {

struct CalcFunction {
  std::string_view name;
  std::string_view usage;
  std::size_t least, most;  // arguments
  // Leaves problem empty, or says what is wrong with the arguments.
  Number (*call)(std::span<const Number> arguments, std::string& problem);
};

std::span<const CalcFunction> CalcFunctions();
// Null: there is none of that name.
const CalcFunction* FindFunction(std::string_view name);

// base to the power of exponent; a problem where there is no such number.
Number RaiseToPower(const Number& base, const Number& exponent, std::string& problem);

}  // namespace kestra::tools
