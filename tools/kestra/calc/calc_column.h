// Adds up a column of numbers, line by line, in constant memory.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "calc/calc_number.h"

namespace kestra::tools {

class ColumnSum {
 public:
  // column counts from 1. separator 0: columns are separated by runs of blanks.
  explicit ColumnSum(std::size_t column = 1, char separator = '\0')
      : column_(column), separator_(separator) {}

  // Takes the next line, without its end. Blank lines do not count. Otherwise returns what is
  // wrong: "line 3: no column 2", "line 4: '1x' is not a number (at its byte 2)"; empty when
  // nothing is.
  std::string Add(std::string_view line);

  std::uint64_t lines() const { return lines_; }
  std::uint64_t count() const { return count_; }  // numbers taken
  const Number& sum() const { return sum_; }
  // Of the numbers taken; zero when there are none.
  const Number& least() const { return least_; }
  const Number& greatest() const { return greatest_; }
  Number Mean() const;

 private:
  bool Field(std::string_view line, std::string_view& field) const;

  std::size_t column_;
  char separator_;
  std::uint64_t lines_ = 0;
  std::uint64_t count_ = 0;
  Number sum_, least_, greatest_;
};

}  // namespace kestra::tools
