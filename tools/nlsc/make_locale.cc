// From the rows of our tables and CLDR to the models of languages, territories, sorts, calendars.
#include <fmt/format.h>

#include <algorithm>

#include "locale_objects.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

constexpr std::string_view kFeatureContraction = "contraction";
constexpr std::string_view kFeatureExpansion = "extension";
constexpr std::string_view kFeatureBackwards = "backwards";
constexpr std::size_t kMaxNamedEras = 5;  // JAPANESE: Meiji to now

std::string Tag(std::string locale) {
  std::replace(locale.begin(), locale.end(), '_', '-');
  return locale;
}

// A native name, or the English one where the locale has none for itself.
std::string NameOr(std::string native, const std::string& english) {
  return native.empty() ? english : native;
}

}  // namespace

LanguageModel MakeLanguage(const Table::Row& row, const LanguageReferences& references,
                           Cldr& cldr) {
  LanguageModel model;
  model.id = row.Number("id");
  model.name = row["name"];
  model.default_charset = references.charset;
  model.default_territory = references.territory;
  model.default_sort = references.sort;
  if (row["direction"] != "LTR" && row["direction"] != "RTL") row.Fail("direction: LTR or RTL");
  if (row["name_case"] != "as is" && row["name_case"] != "lower") {
    row.Fail("name_case: \"as is\" or \"lower\"");
  }
  model.right_to_left = row["direction"] == "RTL";
  model.lower_case_names = row["name_case"] == "lower";
  const std::string& locale = row["cldr"];
  std::vector<std::string>& strings = model.strings;
  strings.resize(nlb::language::kStringCount);
  for (unsigned day = 0; day < 7; ++day) {
    strings[day] = cldr.DayName(locale, "wide", day);
    strings[7 + day] = cldr.DayName(locale, "abbreviated", day);
  }
  for (unsigned month = 0; month < 12; ++month) {
    const auto name = [&](const char* context, const char* width) {
      return cldr.MonthName(locale, "gregorian", context, width, month + 1);
    };
    strings[14 + month] = name("format", "wide");
    strings[26 + month] = name("format", "abbreviated");
    strings[44 + month] = name("stand-alone", "wide");
  }
  strings[38] = row["sort"];
  strings[39] = row["direction"];
  strings[40] = row["am"];
  strings[41] = row["pm"];
  strings[42] = row["ad"];
  strings[43] = row["bc"];
  strings[56] = cldr.Get(locale, {"yes"});
  strings[57] = cldr.Get(locale, {"no"});
  strings[58] = Tag(locale);
  strings[59] = NameOr(cldr.LocaleName(locale, "en"), locale);
  strings[60] = model.name;
  strings[61] = NameOr(cldr.LocaleName(locale, locale), strings[59]);
  strings[nlb::language::kLongDate] = row["long_date"];
  return model;
}

TerritoryModel MakeTerritory(const Table::Row& row, Cldr& cldr) {
  namespace layout = nlb::territory;
  TerritoryModel model;
  model.id = row.Number("id");
  model.name = row["name"];
  const std::string& iso = row["iso"];
  const std::string& currency = row["iso_currency"];
  model.iso_number = cldr.IsoNumber(iso).value_or(model.id);
  model.first_day = row.Number("first_day");
  if (model.first_day > 6) row.Fail("first_day: 0 (Sunday) to 6");
  model.min_days = cldr.MinDays(iso);
  model.currency_digits = cldr.CurrencyDigits(currency);
  const std::string& time = row["time_format"];
  const std::size_t seconds = time.find("SS");
  if (seconds == std::string::npos) row.Fail("time_format has no SS");
  const std::string time_with_fraction =
      time.substr(0, seconds) + "SSXFF" + time.substr(seconds + 2);
  const std::string timestamp = row["date_format"] + " " + time_with_fraction;

  std::vector<std::string>& strings = model.strings;
  strings.resize(layout::kStringCount);
  strings[layout::kCurrency] = row["currency"];
  strings[layout::kIsoCurrency] = currency;
  strings[layout::kNumeric] = row["decimal_group"];
  strings[layout::kMonetary] = row["decimal_group"];
  strings[layout::kList] = row["list_separator"];
  strings[layout::kDebit] = "-";
  strings[layout::kDateFormat] = row["date_format"];
  strings[layout::kDualCurrency] = row["dual_currency"];
  strings[layout::kTime] = time_with_fraction;
  strings[layout::kTimestamp] = timestamp;
  strings[layout::kTimeTz] = time_with_fraction + " TZR";
  strings[layout::kTimestampTz] = timestamp + " TZR";
  strings[layout::kTimeFormat] = time;
  strings[layout::kShortDate] = row["short_date"];
  strings[layout::kIsoCode] = iso;
  strings[layout::kEnglishName] = cldr.Find("en", {"territory/" + iso}).value_or(iso);
  strings[layout::kNativeName] =
      cldr.Find(row["cldr"], {"territory/" + iso}).value_or(strings[layout::kEnglishName]);
  return model;
}

SortModel MakeSort(const Table::Row& row) {
  SortModel model;
  model.id = row.Number("id");
  model.name = row["name"];
  const std::string& engine = row["engine"];
  if (engine == "monolingual") {
    model.engine = 0;
  } else if (engine == "lxuc") {
    model.engine = 1;
  } else if (engine == "uca") {
    model.engine = 2;
  } else {
    row.Fail("unknown engine " + engine);
  }
  model.flags = nlb::sort::kDefinitionOnlyFlag;
  for (const std::string_view feature : Split(row["features"], ' ')) {
    if (feature == kFeatureContraction) model.flags |= nlb::sort::kContractionFlag;
    if (feature == kFeatureExpansion) model.flags |= nlb::sort::kExpansionFlag;
    if (feature == kFeatureBackwards) model.flags |= nlb::sort::kBackwardsFlag;
  }
  model.locale = row["cldr_locale"];
  model.type = row["cldr_type"];
  model.features = row["features"];
  return model;
}

namespace {

// The 42 strings of a language: months and eras, long and short.
std::vector<std::string> CalendarStrings(const CalendarModel& model, const std::string& names,
                                         const std::string& month_calendar,
                                         const std::string& locale, Cldr& cldr) {
  namespace layout = nlb::calendar;
  std::vector<std::string> strings(layout::kStringsPerLanguage);
  for (unsigned month = 0; month < model.months; ++month) {
    strings[layout::kMonthName + month] =
        cldr.MonthName(locale, month_calendar, "format", "wide", month + 1);
    strings[layout::kShortMonthName + month] =
        cldr.MonthName(locale, month_calendar, "format", "abbreviated", month + 1);
  }
  const std::size_t first = model.eras.size() - model.named_eras;
  for (std::size_t i = 0; i < model.named_eras; ++i) {
    const unsigned number = model.eras[first + i].number;
    const std::string name = fmt::format("era/{}/eraNames/{}", names, number);
    const std::string abbreviation = fmt::format("era/{}/eraAbbr/{}", names, number);
    strings[layout::kEraName + i] = cldr.Find(locale, {name, abbreviation}).value_or("");
    strings[layout::kShortEraName + i] = cldr.Find(locale, {abbreviation}).value_or("");
  }
  return strings;
}

}  // namespace

CalendarModel MakeCalendar(const Table::Row& row, const std::vector<const Table::Row*>& languages,
                           bool complete, Cldr& cldr) {
  constexpr std::uint32_t kGregorian = 1;
  CalendarModel model;
  model.id = row.Number("id");
  model.name = row["name"];
  model.arithmetic = row.Number("arithmetic");
  model.months = row.Number("months");
  if (model.months != 12 && model.months != 13) row.Fail("months: 12 or 13");
  const std::string& offset = row["year_offset"];
  const bool negative = offset.starts_with('-');
  const auto years = ParseDecimal(std::string_view(offset).substr(negative ? 1 : 0));
  if (!years || *years > 9999) row.Fail("year_offset is not a number of years");
  model.year_offset = static_cast<std::int32_t>(*years) * (negative ? -1 : 1);
  model.date_format = row["date_format"];
  const std::string& names = row["cldr"];
  // Eras of the civil Islamic calendar go by its own epoch.
  model.eras = cldr.Eras(model.name == "ISLAMIC CIVIL" ? "islamic-civil" : names);
  model.named_eras =
      static_cast<std::uint32_t>(std::min<std::size_t>(model.eras.size(), kMaxNamedEras));
  // The names of the Gregorian calendar itself are in the language objects.
  if (model.id == kGregorian) return model;

  const bool gregorian_months = model.arithmetic == kGregorian;
  const std::string month_calendar = gregorian_months ? "gregorian" : names;
  std::size_t with_months = 0, with_eras = 0;
  for (const Table::Row* language : languages) {
    const std::string& locale = (*language)["cldr"];
    const bool months = gregorian_months || cldr.HasMonths(locale, month_calendar);
    const bool eras = cldr.HasEras(locale, names);
    with_months += months;
    with_eras += eras;
    const std::uint32_t id = language->Number("id");
    if (id != 1 && !(months && !gregorian_months) && !eras) continue;
    model.languages.push_back({id, CalendarStrings(model, names, month_calendar, locale, cldr)});
  }
  if (complete && (with_months != row.Number("languages_with_months") ||
                   with_eras != row.Number("languages_with_eras"))) {
    row.Fail(fmt::format("{} languages have months and {} eras of {}", with_months, with_eras,
                         model.name));
  }
  return model;
}

}  // namespace kestra::nlsc
