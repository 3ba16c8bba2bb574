#include "cldr_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <pugixml.hpp>

namespace kestra::nlsc {
namespace {

using Values = std::unordered_map<std::string, std::string>;

constexpr std::string_view kInherit = "\xE2\x86\x91\xE2\x86\x91\xE2\x86\x91";  // three up-arrows

// Parses in place: the text must outlive the document.
void Parse(SourceText& source, pugi::xml_document& document, const char* root) {
  const pugi::xml_parse_result result =
      document.load_buffer_inplace(source.text.data(), source.text.size(), pugi::parse_default);
  if (!result) {
    const auto end =
        source.text.begin() +
        std::min<std::ptrdiff_t>(result.offset, static_cast<std::ptrdiff_t>(source.text.size()));
    // In-place parsing leaves line ends where they are.
    const auto line = 1 + std::count(source.text.begin(), end, '\n');
    throw InputError(source.name, static_cast<std::size_t>(line), result.description());
  }
  if (!document.child(root)) {
    throw InputError(source.name, 0, fmt::format("has no element {}", root));
  }
}

// Keeps the text of an element under prefix + type. The first one wins.
void Keep(const pugi::xml_node& element, const std::string& prefix, Values& values) {
  if (element.attribute("alt") || element.attribute("yeartype")) return;
  const std::string_view text = element.child_value();
  if (text.empty() || text == kInherit) return;
  values.try_emplace(prefix + element.attribute("type").value(), text);
}

// <months><monthContext type><monthWidth type><month type>text
void ReadNames(const pugi::xml_node& list, const std::string& prefix, Values& values) {
  for (const pugi::xml_node& context : list) {
    for (const pugi::xml_node& width : context) {
      const std::string key = fmt::format("{}/{}/{}/", prefix, context.attribute("type").value(),
                                          width.attribute("type").value());
      for (const pugi::xml_node& name : width) Keep(name, key, values);
    }
  }
}

void ReadCalendars(const pugi::xml_node& calendars, Values& values) {
  for (const pugi::xml_node& calendar : calendars) {
    const std::string name = calendar.attribute("type").value();
    ReadNames(calendar.child("months"), "month/" + name, values);
    if (name == "gregorian") ReadNames(calendar.child("days"), "day", values);
    for (const pugi::xml_node& width : calendar.child("eras")) {
      for (const pugi::xml_node& era : width) {
        Keep(era, fmt::format("era/{}/{}/", name, width.name()), values);
      }
    }
  }
}

void ReadSymbols(const pugi::xml_node& numbers, Values& values) {
  for (const pugi::xml_node& symbols : numbers.children("symbols")) {
    if (std::strcmp(symbols.attribute("numberSystem").value(), "latn") != 0) continue;
    for (const char* name : {"decimal", "group", "currencyDecimal", "currencyGroup"}) {
      Keep(symbols.child(name), fmt::format("symbol/{}", name), values);
    }
  }
}

// "yes:y" names a word and its abbreviation: the word.
void ReadMessage(const pugi::xml_node& element, const char* key, Values& values) {
  const std::string_view text = element.child_value();
  const std::string_view word = text.substr(0, text.find(':'));
  if (!word.empty() && word != kInherit) values.try_emplace(key, word);
}

void ReadEras(const SourceText& source, const pugi::xml_node& calendar,
              std::vector<SupplementalValues::Era>& eras) {
  for (const pugi::xml_node& element : calendar.child("eras")) {
    SupplementalValues::Era era;
    era.number = element.attribute("type").as_int();
    const char* start = element.attribute("start").value();
    if (*start != '\0' && std::sscanf(start, "%d-%d-%d", &era.year, &era.month, &era.day) != 3) {
      throw InputError(source.name, 0, fmt::format("not a date: {}", start));
    }
    eras.push_back(era);
  }
}

bool IsCurrencyCode(std::string_view code) {
  return code.size() == 3 &&
         std::all_of(code.begin(), code.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

template <typename Visit>
void ForEachWord(std::string_view text, const Visit& visit) {
  while (!(text = Trim(text)).empty()) {
    const std::size_t end = std::min(text.find_first_of(" \t\r\n"), text.size());
    visit(std::string(text.substr(0, end)));
    text.remove_prefix(end);
  }
}

}  // namespace

Values ReadLocaleValues(SourceText source) {
  pugi::xml_document document;
  Parse(source, document, "ldml");
  const pugi::xml_node ldml = document.child("ldml");
  Values values;
  const pugi::xml_node names = ldml.child("localeDisplayNames");
  for (const pugi::xml_node& name : names.child("languages")) Keep(name, "language/", values);
  for (const pugi::xml_node& name : names.child("scripts")) Keep(name, "script/", values);
  for (const pugi::xml_node& name : names.child("territories")) Keep(name, "territory/", values);
  ReadCalendars(ldml.child("dates").child("calendars"), values);
  ReadSymbols(ldml.child("numbers"), values);
  const pugi::xml_node messages = ldml.child("posix").child("messages");
  ReadMessage(messages.child("yesstr"), "yes", values);
  ReadMessage(messages.child("nostr"), "no", values);
  return values;
}

SupplementalValues ReadSupplementalValues(SourceText source) {
  pugi::xml_document document;
  Parse(source, document, "supplementalData");
  const pugi::xml_node root = document.child("supplementalData");
  SupplementalValues values;
  for (const pugi::xml_node& region : root.child("currencyData").children("region")) {
    for (const pugi::xml_node& currency : region) {
      const char* code = currency.attribute("iso4217").value();
      if (IsCurrencyCode(code)) values.currencies[code] = 2;
    }
  }
  unsigned usual = 2;
  for (const pugi::xml_node& info : root.child("currencyData").child("fractions")) {
    const std::string code = info.attribute("iso4217").value();
    if (code == "DEFAULT") usual = info.attribute("digits").as_uint();
  }
  for (auto& [code, digits] : values.currencies) digits = usual;
  for (const pugi::xml_node& info : root.child("currencyData").child("fractions")) {
    const std::string code = info.attribute("iso4217").value();
    if (IsCurrencyCode(code)) values.currencies[code] = info.attribute("digits").as_uint();
  }
  for (const pugi::xml_node& calendar : root.child("calendarData")) {
    ReadEras(source, calendar, values.eras[calendar.attribute("type").value()]);
  }
  for (const pugi::xml_node& days : root.child("weekData").children("minDays")) {
    if (days.attribute("alt")) continue;
    ForEachWord(days.attribute("territories").value(), [&](const std::string& territory) {
      values.min_days[territory] = days.attribute("count").as_uint();
    });
  }
  for (const pugi::xml_node& codes : root.child("codeMappings").children("territoryCodes")) {
    if (!codes.attribute("numeric")) continue;
    const auto number = ParseDecimal(codes.attribute("numeric").value());
    if (number) values.iso_numbers[codes.attribute("type").value()] = *number;
  }
  for (const pugi::xml_node& parent : root.child("parentLocales")) {
    ForEachWord(parent.attribute("locales").value(), [&](const std::string& locale) {
      values.parents[locale] = parent.attribute("parent").value();
    });
  }
  return values;
}

}  // namespace kestra::nlsc
