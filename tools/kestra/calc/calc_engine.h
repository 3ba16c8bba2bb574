// An expression calculator with exact decimals.
//
//   statements  statement { ; statement }        the value is that of the last
//   statement   [ name = ] expression
//   expression  term { (+ | -) term }
//   term        unary { (* | / | %) unary }      % is the remainder, with the sign of its left side
//   unary       { + | - } power
//   power       primary [ ^ unary ]              from right to left; -2^2 is -4
//   primary     number | name | name ( expression { , expression } ) | ( expression )
//
// Results are exact up to 38 digits and more, and rounded there. Names are letters, digits and _,
// of either case; `ans` is the last result, `pi` and `e` are the constants. Angles are in radians.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "calc/calc_number.h"

namespace kestra::tools {

// What is wrong with an expression, and at which byte of it.
class CalcError : public std::runtime_error {
 public:
  CalcError(std::size_t offset, const std::string& message)
      : std::runtime_error(message), offset_(offset) {}
  std::size_t offset() const { return offset_; }

 private:
  std::size_t offset_;
};

class Calculator {
 public:
  Calculator();

  // Evaluates statements; keeps the variables that they set. Throws CalcError, and then keeps only
  // what earlier statements set. The work grows with the length of the text, and with the logarithm
  // of exponents.
  Number Evaluate(std::string_view text);

  void Set(const std::string& name, const Number& value) { variables_[name] = value; }
  const std::map<std::string, Number, std::less<>>& variables() const { return variables_; }

  // The names of the functions, each with its arguments: "round(x, places)".
  static std::vector<std::string> Functions();

  static bool IsName(std::string_view text);

 private:
  std::map<std::string, Number, std::less<>> variables_;
};

}  // namespace kestra::tools
