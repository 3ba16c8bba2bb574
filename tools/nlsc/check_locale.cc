// Laws of languages, territories, sorts, the currency list and calendars.
#include <fmt/format.h>

#include <algorithm>

#include "check.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

constexpr std::uint32_t kUtf8Charset = 873;

// Each table is one string that ends with the only NUL of it.
void CheckStrings(const ObjectReader& object, Faults& faults) {
  for (std::size_t i = 0; i < object.table_count(); ++i) {
    const BytesReader table = object.Table(i);
    const auto bytes = table.Slice(0, table.size());
    const auto nul = std::find(bytes.begin(), bytes.end(), 0);
    if (nul == bytes.end() || nul + 1 != bytes.end()) {
      faults.push_back(fmt::format("string {} does not end where the next begins", i));
    } else if (!IsUtf8(std::string(bytes.begin(), nul))) {
      faults.push_back(fmt::format("string {} is not UTF-8", i));
    }
  }
}

std::size_t CountCharacters(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace

bool IsUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = [&](std::size_t i) {
      return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const unsigned first = byte(0);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length == 0) return false;
    for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return false;
    }
    const unsigned second = byte(1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) {
      return false;
    }
    at += length;
  }
  return true;
}

void CheckLanguage(const ObjectReader& object, Faults& faults) {
  constexpr std::size_t kNames = 44;  // days, months, default sort, direction, AM to BC
  constexpr std::size_t kOwnName = 60, kDirection = 39;
  CheckStrings(object, faults);
  if (object.U16(nlb::language::kStringCharsetAt) != kUtf8Charset) {
    faults.push_back("the strings are not in character set 873");
  }
  for (std::size_t i = 0; i < kNames; ++i) {
    if (object.TableString(i).empty()) faults.push_back(fmt::format("string {} is empty", i));
  }
  if (object.TableString(kOwnName) != object.name()) faults.push_back("the two names differ");
  const bool right_to_left =
      (object.U16(nlb::language::kFlagsAt) & nlb::language::kRightToLeftFlag) != 0;
  if (object.TableString(kDirection) != (right_to_left ? "RTL" : "LTR")) {
    faults.push_back("string 39 is not the direction of the flags");
  }
}

void CheckTerritory(const ObjectReader& object, Faults& faults) {
  namespace layout = nlb::territory;
  CheckStrings(object, faults);
  if (object.U16(layout::kStringCharsetAt) != kUtf8Charset) {
    faults.push_back("the strings are not in character set 873");
  }
  if (object.U8(layout::kFirstDayAt) > 6) faults.push_back("first day of the week");
  const unsigned min_days = object.U8(layout::kMinDaysAt);
  if (min_days < 1 || min_days > 7) faults.push_back("days of the first week");
  for (const std::size_t pair : {layout::kNumeric, layout::kMonetary}) {
    const std::string text = object.TableString(pair);
    if (CountCharacters(text) != 2) {
      faults.push_back(fmt::format("string {} is not a decimal and a group character", pair));
    }
  }
  const std::string currency = object.TableString(layout::kIsoCurrency);
  if (!currency.empty() && currency.size() != 3) faults.push_back("the currency is no ISO code");
  for (std::size_t i : {layout::kDateFormat, layout::kTime, layout::kTimestamp, layout::kTimeTz,
                        layout::kTimestampTz, layout::kTimeFormat, layout::kShortDate}) {
    if (object.TableString(i).empty()) faults.push_back(fmt::format("format {} is empty", i));
  }
}

void CheckSort(const ObjectReader& object, Faults& faults) {
  if (object.U16(nlb::sort::kEngineAt) > 2) faults.push_back("unknown engine");
  for (std::size_t i = 0; i < nlb::sort::kTableCount; ++i) {
    if (object.Table(i).size() == 0)
      faults.push_back(fmt::format("string {} is missing", i));
    else
      object.Table(i).String(0);
  }
}

void CheckSupplement(const ObjectReader& object, Faults& faults) {
  namespace layout = nlb::supplement;
  if (object.id() != layout::kCurrencies) return;
  const BytesReader table = object.Table(layout::kCurrencyTable);
  const std::size_t count = object.U16(layout::kCountAt);
  if (table.size() != 4 * count) return faults.push_back("size of the currency table");
  std::string previous;
  for (std::size_t i = 0; i < count; ++i) {
    const auto letters = table.Slice(4 * i, 3);
    const std::string code(letters.begin(), letters.end());
    if (code <= previous) faults.push_back(fmt::format("currency {} is out of order", code));
    if (table.U8(4 * i + 3) > 9) faults.push_back(fmt::format("digits of currency {}", code));
    previous = code;
  }
}

void CheckCalendar(const ObjectReader& object, Faults& faults) {
  namespace layout = nlb::calendar;
  const unsigned months = object.U16(layout::kMonthsAt);
  if (months != 12 && months != 13) faults.push_back(fmt::format("{} months", months));
  const std::size_t languages = object.U16(layout::kLanguagesAt);
  const std::size_t eras = object.U16(layout::kErasAt);
  const std::size_t named = object.U16(layout::kNamedErasAt);
  if (named > layout::kMaxNamedEras || named > eras) faults.push_back("too many named eras");
  const BytesReader table = object.Table(layout::kLanguageTable);
  const BytesReader index = object.Table(layout::kStringIndex);
  const BytesReader strings = object.Table(layout::kStrings);
  std::uint32_t previous = 0;
  for (std::size_t i = 0; i < languages; ++i) {
    const std::uint32_t id = table.U16(2 * i);
    if (id <= previous) faults.push_back(fmt::format("language {} is out of order", id));
    previous = id;
    for (std::size_t s = 0; s < layout::kStringsPerLanguage; ++s) {
      const std::string text = strings.String(index.U32(4 * (i * layout::kStringsPerLanguage + s)));
      if (!IsUtf8(text)) faults.push_back(fmt::format("string {} of language {}", s, id));
      if (text.empty() && s < months) {
        faults.push_back(fmt::format("month {} has no name in language {}", s + 1, id));
      }
    }
  }
  const BytesReader starts = object.Table(layout::kEraTable);
  std::int64_t last = INT64_MIN;
  for (std::size_t i = 0; i < eras; ++i) {
    const auto year = static_cast<std::int16_t>(starts.U16(layout::kEraSize * i));
    const unsigned month = starts.U8(layout::kEraSize * i + 2);
    const unsigned day = starts.U8(layout::kEraSize * i + 3);
    if (month > 12 || day > 31 || (month == 0) != (day == 0)) {
      faults.push_back(fmt::format("era {} begins in month {}, day {}", i, month, day));
    }
    const std::int64_t start =
        month == 0 ? INT64_MIN : (std::int64_t{year} * 16 + month) * 32 + day;
    if (start < last) faults.push_back(fmt::format("era {} is out of order", i));
    last = start;
  }
  object.Table(layout::kDateFormat).String(0);
}

}  // namespace kestra::nlsc
