// Languages, territories, calendars, sorts and the currency list as objects.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cldr.h"
#include "object.h"

namespace kestra::nlsc {

struct LanguageModel {
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t default_charset = 0, default_territory = 0, default_sort = 0;
  bool right_to_left = false, lower_case_names = false;
  std::vector<std::string> strings;
};
struct TerritoryModel {
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t iso_number = 0, first_day = 0, min_days = 0, currency_digits = 0;
  std::vector<std::string> strings;
};
struct SortModel {
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t engine = 0, flags = 0;
  std::string locale, type, features;
};
struct CalendarModel {
  struct Language {
    std::uint32_t id = 0;
    std::vector<std::string> strings;  // as many as kStringsPerLanguage
  };
  std::uint32_t id = 0;
  std::string name;
  std::uint32_t arithmetic = 0, months = 0;
  std::int32_t year_offset = 0;
  std::string date_format;
  std::vector<Cldr::Era> eras;
  std::uint32_t named_eras = 0;
  std::vector<Language> languages;
};

// Ids of the objects that a language names.
struct LanguageReferences {
  std::uint32_t charset = 0, territory = 0, sort = 0;
};

LanguageModel MakeLanguage(const Table::Row& row, const LanguageReferences& references, Cldr& cldr);
TerritoryModel MakeTerritory(const Table::Row& row, Cldr& cldr);
SortModel MakeSort(const Table::Row& row);
// languages: rows of the language table that are made. Throws InputError when the table's counts of
// languages with names of their own do not hold and all languages are made (complete).
CalendarModel MakeCalendar(const Table::Row& row, const std::vector<const Table::Row*>& languages,
                           bool complete, Cldr& cldr);

Object WriteLanguage(const LanguageModel& model, const std::string& sources, bool big_endian);
Object WriteTerritory(const TerritoryModel& model, const std::string& sources, bool big_endian);
Object WriteSort(const SortModel& model, const std::string& sources, bool big_endian);
Object WriteCalendar(const CalendarModel& model, const std::string& sources, bool big_endian);
Object WriteCurrencies(const std::map<std::string, unsigned>& currencies,
                       const std::string& sources, bool big_endian);

}  // namespace kestra::nlsc
