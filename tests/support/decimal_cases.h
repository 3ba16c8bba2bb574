// Cases of the General Decimal Arithmetic test collection (files *.decTest), read from the Debian
// package libpython3.*-testsuite where it is installed.
#pragma once

#include <string>
#include <vector>

namespace kestra::test {

struct DecimalCase {
  std::string name;
  std::string operation;  // lower case
  std::vector<std::string> operands;
  std::string result;
  std::vector<std::string> conditions;  // "Inexact", "Rounded" ...
  int precision = 9;                    // digits of the result
  std::string rounding = "half_up";     // lower case

  bool Has(const char* condition) const;
};

// The directory of the collection; empty: not installed.
std::string DecimalCasesDirectory();

// Every case of one file, with the settings in force where it stands.
std::vector<DecimalCase> ReadDecimalCases(const std::string& path);

}  // namespace kestra::test
