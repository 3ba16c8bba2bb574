// Values of CLDR locales, with its inheritance.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "input.h"

namespace kestra::nlsc {

// Looks values up in a locale, then in its parents up to root. A file is parsed once; what can be
// asked for is kept under short keys and the document is dropped:
//   month/CALENDAR/CONTEXT/WIDTH/N   format or stand-alone; wide or abbreviated; 1..13
//   day/CONTEXT/WIDTH/NAME           sun..sat, of the Gregorian calendar
//   era/CALENDAR/WIDTH/N             eraNames or eraAbbr
//   language/CODE, script/CODE, territory/CODE
//   symbol/NAME                      decimal, group, currencyDecimal, currencyGroup of latn digits
//   yes, no
// Elements with an "alt" attribute, leap months and values that only say "inherit" are left out.
class Cldr {
 public:
  explicit Cldr(Sources& sources) : sources_(sources) {}

  // The value of one of the keys, in order of preference: all locales are searched for the first
  // key before the second is tried, as the aliases of root demand. Nothing when none has it.
  std::optional<std::string> Find(const std::string& locale, const std::vector<std::string>& keys,
                                  bool with_root = true);
  // The same; throws InputError naming the locale's file when there is none.
  std::string Get(const std::string& locale, const std::vector<std::string>& keys);

  std::string MonthName(const std::string& locale, const std::string& calendar,
                        const std::string& context, const std::string& width, unsigned number);
  std::string DayName(const std::string& locale, const std::string& width, unsigned number);

  // Whether the locale or a parent below root has names of its own.
  bool HasMonths(const std::string& locale, const std::string& calendar);
  bool HasEras(const std::string& locale, const std::string& calendar);

  // "Serbian (Latin)": a locale's name in the language of another locale; empty when that does not
  // name the language.
  std::string LocaleName(const std::string& locale, const std::string& in_locale);

  struct Era {
    std::uint16_t number = 0;
    std::int16_t year = 0;  // Gregorian start; month 0: unknown
    std::uint8_t month = 0, day = 0;
  };
  // Sorted by start, unknown starts first.
  const std::vector<Era>& Eras(const std::string& calendar);

  unsigned CurrencyDigits(const std::string& currency);
  const std::map<std::string, unsigned>& Currencies();  // every code, with its minor digits
  unsigned MinDays(const std::string& territory);       // of the first week of a year
  std::optional<unsigned> IsoNumber(const std::string& territory);

 private:
  using Values = std::unordered_map<std::string, std::string>;
  const Values& Load(const std::string& locale);
  std::string Parent(const std::string& locale);
  void LoadSupplemental();

  Sources& sources_;
  std::map<std::string, Values> locales_;
  bool supplemental_loaded_ = false;
  std::map<std::string, std::string> parents_;
  std::map<std::string, std::vector<Era>> eras_;
  std::map<std::string, unsigned> currencies_;
  std::map<std::string, unsigned> min_days_;
  std::map<std::string, unsigned> iso_numbers_;
};

}  // namespace kestra::nlsc
