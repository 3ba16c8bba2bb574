// Reading CLDR's XML files.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "input.h"

namespace kestra::nlsc {

// The values of a file below main, under the keys of class Cldr.
std::unordered_map<std::string, std::string> ReadLocaleValues(SourceText source);

struct SupplementalValues {
  struct Era {
    int number = 0, year = 0, month = 0, day = 0;  // month 0: no start
  };
  std::map<std::string, std::string> parents;  // of locales whose parent is not the shorter name
  std::map<std::string, std::vector<Era>> eras;
  std::map<std::string, unsigned> currencies;
  std::map<std::string, unsigned> min_days;
  std::map<std::string, unsigned> iso_numbers;
};
SupplementalValues ReadSupplementalValues(SourceText source);

}  // namespace kestra::nlsc
