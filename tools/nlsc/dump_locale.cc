#include <fmt/format.h>

#include <iterator>

#include "dump.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

// "string 14: January (month 1)"; empty strings are left out unless full is set.
template <typename Meaning>
void DumpStrings(const ObjectReader& object, bool full, const Meaning& meaning, std::string& out) {
  for (std::size_t i = 0; i < object.table_count(); ++i) {
    const std::string text = object.TableString(i);
    if (text.empty() && !full) continue;
    const std::string what = meaning(i);
    fmt::format_to(std::back_inserter(out), "string {}{}: {}\n", i,
                   what.empty() ? "" : " (" + what + ")", text);
  }
}

std::string LanguageString(std::size_t index) {
  if (index < 7) return fmt::format("day {}", index + 1);
  if (index < 14) return fmt::format("short day {}", index - 6);
  if (index < 26) return fmt::format("month {}", index - 13);
  if (index < 38) return fmt::format("short month {}", index - 25);
  if (index >= 44 && index < 56) return fmt::format("month by itself {}", index - 43);
  switch (index) {
    case 38:
      return "default sort";
    case 39:
      return "direction";
    case 40:
      return "AM";
    case 41:
      return "PM";
    case 42:
      return "AD";
    case 43:
      return "BC";
    case 56:
      return "yes";
    case 57:
      return "no";
    case 58:
      return "tag";
    case 59:
      return "English name";
    case 60:
      return "name";
    case 61:
      return "native name";
    case nlb::language::kLongDate:
      return "long date";
    default:
      return {};
  }
}

std::string TerritoryString(std::size_t index) {
  constexpr const char* kNames[] = {"currency",
                                    "ISO currency",
                                    "decimal and group",
                                    "monetary decimal and group",
                                    "list separator",
                                    "debit",
                                    "credit",
                                    "date format",
                                    "dual currency",
                                    "time",
                                    "timestamp",
                                    "time with zone",
                                    "timestamp with zone",
                                    "time format",
                                    "short date",
                                    "ISO code",
                                    "English name",
                                    "native name"};
  return index < std::size(kNames) ? kNames[index] : std::string();
}

}  // namespace

void DumpLanguage(const ObjectReader& object, bool full, std::string& out) {
  namespace layout = nlb::language;
  const std::uint32_t flags = object.U16(layout::kFlagsAt);
  fmt::format_to(std::back_inserter(out),
                 "default character set: {}\ndefault territory: {}\ndefault sort: {}\n"
                 "character set of the strings: {}\nflags:{}{}\n",
                 object.U16(layout::kDefaultCharsetAt), object.U16(layout::kDefaultTerritoryAt),
                 object.U16(layout::kDefaultSortAt), object.U16(layout::kStringCharsetAt),
                 (flags & layout::kRightToLeftFlag) != 0 ? " right-to-left" : "",
                 (flags & layout::kLowerCaseNamesFlag) != 0 ? " lower-case-names" : "");
  DumpStrings(object, full, LanguageString, out);
}

void DumpTerritory(const ObjectReader& object, bool full, std::string& out) {
  namespace layout = nlb::territory;
  fmt::format_to(std::back_inserter(out),
                 "ISO number: {}\nfirst day of the week: {}\ndays of the first week: {}\n"
                 "digits of the currency: {}\ncharacter set of the strings: {}\nflags: {:04X}\n",
                 object.U16(layout::kIsoNumberAt), object.U8(layout::kFirstDayAt),
                 object.U8(layout::kMinDaysAt), object.U8(layout::kCurrencyDigitsAt),
                 object.U16(layout::kStringCharsetAt), object.U16(layout::kFlagsAt));
  DumpStrings(object, full, TerritoryString, out);
}

void DumpSort(const ObjectReader& object, bool, std::string& out) {
  namespace layout = nlb::sort;
  constexpr const char* kEngines[] = {"monolingual", "multi-level", "Unicode"};
  const std::uint32_t engine = object.U16(layout::kEngineAt);
  const std::uint32_t flags = object.U32(layout::kFlagsAt);
  fmt::format_to(std::back_inserter(out),
                 "engine: {}\nflags:{}{}{}{}{}\nfunctions: {} {}\nlocale: {}\ntype: {}\n"
                 "features: {}\n",
                 engine < 3 ? kEngines[engine] : std::to_string(engine),
                 (flags & layout::kContractionFlag) != 0 ? " contractions" : "",
                 (flags & layout::kExpansionFlag) != 0 ? " expansions" : "",
                 (flags & layout::kBackwardsFlag) != 0 ? " backwards" : "",
                 (flags & layout::kExternalFlag) != 0 ? " external" : "",
                 (flags & layout::kDefinitionOnlyFlag) != 0 ? " definition-only" : "",
                 object.U16(layout::kCompareFunctionAt), object.U16(layout::kKeyFunctionAt),
                 object.TableString(layout::kLocale), object.TableString(layout::kType),
                 object.TableString(layout::kFeatures));
}

void DumpSupplement(const ObjectReader& object, bool full, std::string& out) {
  namespace layout = nlb::supplement;
  const auto to = std::back_inserter(out);
  const std::size_t count = object.U16(layout::kCountAt);
  fmt::format_to(to, "currencies: {}\n", count);
  if (!full) return;
  const BytesReader table = object.Table(layout::kCurrencyTable);
  for (std::size_t i = 0; i < count; ++i) {
    fmt::format_to(to, "  {} {}\n", table.Field(4 * i, 3), table.U8(4 * i + 3));
  }
}

void DumpCalendar(const ObjectReader& object, bool full, std::string& out) {
  namespace layout = nlb::calendar;
  const auto to = std::back_inserter(out);
  const std::size_t languages = object.U16(layout::kLanguagesAt),
                    eras = object.U16(layout::kErasAt);
  fmt::format_to(to,
                 "arithmetic: {}\nmonths: {}\nyear: Gregorian {:+}\ndate format: {}\n"
                 "languages: {}\neras: {}, {} with names\n",
                 object.U16(layout::kKindAt), object.U16(layout::kMonthsAt),
                 static_cast<std::int16_t>(object.U16(layout::kYearOffsetAt)),
                 object.TableString(layout::kDateFormat), languages, eras,
                 object.U16(layout::kNamedErasAt));
  if (!full) return;
  const BytesReader starts = object.Table(layout::kEraTable);
  for (std::size_t i = 0; i < eras; ++i) {
    const std::size_t at = layout::kEraSize * i;
    fmt::format_to(to, "  era {}: from {}-{:02}-{:02}\n", starts.U16(at + 4),
                   static_cast<std::int16_t>(starts.U16(at)), starts.U8(at + 2), starts.U8(at + 3));
  }
  const BytesReader ids = object.Table(layout::kLanguageTable);
  const BytesReader index = object.Table(layout::kStringIndex);
  const BytesReader strings = object.Table(layout::kStrings);
  for (std::size_t i = 0; i < languages; ++i) {
    fmt::format_to(to, "  language {}:", ids.U16(2 * i));
    for (std::size_t s = 0; s < layout::kStringsPerLanguage; ++s) {
      fmt::format_to(to, "{}{}", s == 0 ? " " : "|",
                     strings.String(index.U32(4 * (i * layout::kStringsPerLanguage + s))));
    }
    out += '\n';
  }
}

}  // namespace kestra::nlsc
