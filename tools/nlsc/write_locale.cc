#include <algorithm>

#include "locale_objects.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

enum Type : std::uint32_t {
  kLanguage = 0,
  kTerritory = 1,
  kSort = 3,
  kSupplement = 4,
  kCalendar = 5,
};
constexpr std::uint32_t kUtf8Charset = 873;

// Strings with 16-bit offsets, as languages and territories have them.
ByteBuffer AppendStrings(const std::vector<std::string>& strings, std::size_t offsets_at,
                         std::size_t end_at, ByteBuffer& fixed) {
  ByteBuffer text(fixed.big_endian());
  for (std::size_t i = 0; i < strings.size(); ++i) {
    fixed.Put16(offsets_at + 2 * i, static_cast<std::uint32_t>(text.size()));
    text.AppendText(strings[i]);
  }
  fixed.Put32(end_at, static_cast<std::uint32_t>(text.size()));
  return text;
}

// The tables of a sort, supplement or calendar, each padded to a multiple of 4 bytes.
ByteBuffer AppendTables(const std::vector<ByteBuffer>& tables, ByteBuffer& fixed) {
  ByteBuffer all(fixed.big_endian());
  for (std::size_t i = 0; i < nlb::common::kOffsetCount; ++i) {
    fixed.Put32(nlb::common::kOffsetsAt + 4 * i, static_cast<std::uint32_t>(all.size()));
    if (i < tables.size()) all.AppendBytes(tables[i]);
    all.Pad(4);
  }
  fixed.Put32(nlb::common::kEndOffsetAt, static_cast<std::uint32_t>(all.size()));
  return all;
}

}  // namespace

Object WriteLanguage(const LanguageModel& model, const std::string& sources, bool big_endian) {
  namespace layout = nlb::language;
  ByteBuffer fixed(big_endian, layout::kBase);
  fixed.Put16(layout::kIdAt, model.id);
  fixed.Put16(layout::kDefaultCharsetAt, model.default_charset);
  fixed.Put16(layout::kDefaultTerritoryAt, model.default_territory);
  fixed.Put16(layout::kStringCharsetAt, kUtf8Charset);
  fixed.Put16(layout::kFlagsAt, (model.right_to_left ? layout::kRightToLeftFlag : 0u) |
                                    (model.lower_case_names ? layout::kLowerCaseNamesFlag : 0u));
  fixed.Put16(layout::kDefaultSortAt, model.default_sort);
  const ByteBuffer text =
      AppendStrings(model.strings, layout::kOffsetsAt, layout::kEndOffsetAt, fixed);
  return FinishObject({kLanguage, model.id, model.name, sources}, std::move(fixed), text);
}

Object WriteTerritory(const TerritoryModel& model, const std::string& sources, bool big_endian) {
  namespace layout = nlb::territory;
  ByteBuffer fixed(big_endian, layout::kBase);
  fixed.Put16(layout::kIdAt, model.id);
  fixed.Put16(layout::kIsoNumberAt, model.iso_number);
  fixed.Put8(layout::kFirstDayAt, model.first_day);
  fixed.Put8(layout::kMinDaysAt, model.min_days);
  fixed.Put8(layout::kCurrencyDigitsAt, model.currency_digits);
  fixed.Put16(layout::kStringCharsetAt, kUtf8Charset);
  const ByteBuffer text =
      AppendStrings(model.strings, layout::kOffsetsAt, layout::kEndOffsetAt, fixed);
  return FinishObject({kTerritory, model.id, model.name, sources}, std::move(fixed), text);
}

Object WriteSort(const SortModel& model, const std::string& sources, bool big_endian) {
  namespace layout = nlb::sort;
  ByteBuffer fixed(big_endian, nlb::common::kBase);
  fixed.Put16(layout::kIdAt, model.id);
  fixed.Put16(layout::kEngineAt, model.engine);
  fixed.Put32(layout::kFlagsAt, model.flags);
  std::vector<ByteBuffer> tables(layout::kTableCount, ByteBuffer(big_endian));
  tables[layout::kLocale].AppendText(model.locale);
  tables[layout::kType].AppendText(model.type);
  tables[layout::kFeatures].AppendText(model.features);
  const ByteBuffer all = AppendTables(tables, fixed);
  return FinishObject({kSort, model.id, model.name, sources}, std::move(fixed), all);
}

Object WriteCalendar(const CalendarModel& model, const std::string& sources, bool big_endian) {
  namespace layout = nlb::calendar;
  ByteBuffer fixed(big_endian, nlb::common::kBase);
  fixed.Put16(layout::kIdAt, model.id);
  fixed.Put16(layout::kKindAt, model.arithmetic);
  fixed.Put16(layout::kMonthsAt, model.months);
  fixed.Put16(layout::kLanguagesAt, static_cast<std::uint32_t>(model.languages.size()));
  fixed.Put16(layout::kErasAt, static_cast<std::uint32_t>(model.eras.size()));
  fixed.Put16(layout::kNamedErasAt, model.named_eras);
  fixed.Put16(layout::kYearOffsetAt, static_cast<std::uint16_t>(model.year_offset));
  std::vector<ByteBuffer> tables(layout::kTableCount, ByteBuffer(big_endian));
  std::map<std::string, std::uint32_t> known;  // equal strings are stored once
  for (const CalendarModel::Language& language : model.languages) {
    tables[layout::kLanguageTable].Append(language.id, 2);
    for (const std::string& text : language.strings) {
      const auto [place, added] =
          known.try_emplace(text, static_cast<std::uint32_t>(tables[layout::kStrings].size()));
      if (added) tables[layout::kStrings].AppendText(text);
      tables[layout::kStringIndex].Append(place->second, 4);
    }
  }
  for (const Cldr::Era& era : model.eras) {
    ByteBuffer& table = tables[layout::kEraTable];
    table.Append(static_cast<std::uint16_t>(era.year), 2);
    table.Append(era.month, 1);
    table.Append(era.day, 1);
    table.Append(era.number, 2);
    table.Append(0, 2);
  }
  tables[layout::kDateFormat].AppendText(model.date_format);
  const ByteBuffer all = AppendTables(tables, fixed);
  return FinishObject({kCalendar, model.id, model.name, sources}, std::move(fixed), all);
}

Object WriteCurrencies(const std::map<std::string, unsigned>& currencies,
                       const std::string& sources, bool big_endian) {
  namespace layout = nlb::supplement;
  ByteBuffer fixed(big_endian, nlb::common::kBase);
  fixed.Put16(layout::kIdAt, layout::kCurrencies);
  fixed.Put16(layout::kCountAt, static_cast<std::uint32_t>(currencies.size()));
  std::vector<ByteBuffer> tables(layout::kTableCount, ByteBuffer(big_endian));
  for (const auto& [code, digits] : currencies) {
    for (const char letter : code) {
      tables[layout::kCurrencyTable].Append(static_cast<std::uint8_t>(letter), 1);
    }
    tables[layout::kCurrencyTable].Append(digits, 1);
  }
  const ByteBuffer all = AppendTables(tables, fixed);
  return FinishObject({kSupplement, layout::kCurrencies, "CURRENCIES", sources}, std::move(fixed),
                      all);
}

}  // namespace kestra::nlsc
