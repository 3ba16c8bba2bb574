// Where each query item comes from. docs/items.md tells the same for users.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/handle.h"
#include "nls/nlb_format.h"

namespace kestra::nls {

inline constexpr std::uint32_t kItemCount = 152;
inline constexpr std::uint32_t kLanguageAgainItem = 85;  // the language's name, as item 60

// Index of the handle's text of an item; KES_TEXT_COUNT: the item is none.
constexpr std::size_t TextOfItem(std::uint32_t item) noexcept {
  if (item >= KES_ITEM_CURRENCY && item <= KES_ITEM_DATE_FORMAT) {
    return KES_TEXT_CURRENCY + (item - KES_ITEM_CURRENCY);
  }
  if (item == KES_ITEM_DUAL_CURRENCY) return KES_TEXT_DUAL_CURRENCY;
  if (item >= KES_ITEM_TIME_FORMAT && item <= KES_ITEM_TIMESTAMP_TZ_FORMAT) {
    return KES_TEXT_TIME + (item - KES_ITEM_TIME_FORMAT);
  }
  return KES_TEXT_COUNT;
}

// The territory's string that holds while a text of the handle is not set has the text's index.
static_assert(KES_TEXT_CURRENCY == nlb::territory::kCurrency &&
              KES_TEXT_CREDIT == nlb::territory::kCredit &&
              KES_TEXT_DATE_FORMAT == nlb::territory::kDateFormat &&
              KES_TEXT_DUAL_CURRENCY == nlb::territory::kDualCurrency &&
              KES_TEXT_TIMESTAMP_TZ == nlb::territory::kTimestampTz);

enum class ItemSource : std::uint8_t {
  kNone,
  kLanguage,      // string of the language object
  kDateLanguage,  // string of the date-language object
  kTerritory,     // string of the territory object, whatever the handle's text says
  kText,          // text of the handle, else the calendar's or territory's
  kName,          // a name of the boot directory; index: what it names
  kKeyword,       // a word for a setting
  kDisplayName,   // the name of NLS_DISPLAY
  kComposed,      // put together
};

enum class ItemName : std::uint8_t {
  kLanguage,
  kDefaultCharset,
  kDefaultTerritory,
  kDateLanguage,
  kTerritory,
  kCharset,
  kCalendar,
  kDisplayCharset,
};

struct Item {
  ItemSource source = ItemSource::kNone;
  std::uint8_t index = 0;
};

struct ItemTable {
  Item items[kItemCount] = {};
};

constexpr ItemTable MakeItems() noexcept {
  using namespace nlb;
  ItemTable table;
  const auto set = [&table](std::uint32_t item, ItemSource source, std::size_t index) {
    table.items[item] = {source, static_cast<std::uint8_t>(index)};
  };
  const auto name = [&set](std::uint32_t item, ItemName index) {
    set(item, ItemSource::kName, static_cast<std::size_t>(index));
  };
  // Days, months, markers of the day's half and of the era, and stand-alone months are what dates
  // are written with: they follow the date language.
  for (std::uint32_t i = 0; i < 38; ++i) set(i, ItemSource::kDateLanguage, i);
  for (std::uint32_t i = 38; i < 60; ++i) set(i, ItemSource::kLanguage, i);
  for (std::uint32_t i = KES_ITEM_AM; i < KES_ITEM_YES; ++i) set(i, ItemSource::kDateLanguage, i);
  set(KES_ITEM_NATIVE_NAME, ItemSource::kLanguage, KES_ITEM_NATIVE_NAME);
  set(KES_ITEM_LONG_DATE, ItemSource::kDateLanguage, language::kLongDate);

  for (std::uint32_t item = 0; item < kItemCount; ++item) {
    if (TextOfItem(item) < KES_TEXT_COUNT) set(item, ItemSource::kText, TextOfItem(item));
  }

  name(KES_ITEM_LANGUAGE, ItemName::kLanguage);
  name(kLanguageAgainItem, ItemName::kLanguage);
  name(KES_ITEM_LANGUAGE_CHARSET, ItemName::kDefaultCharset);
  name(KES_ITEM_LANGUAGE_TERRITORY, ItemName::kDefaultTerritory);
  name(KES_ITEM_DATE_LANGUAGE, ItemName::kDateLanguage);
  name(KES_ITEM_TERRITORY, ItemName::kTerritory);
  name(KES_ITEM_CHARSET, ItemName::kCharset);
  name(KES_ITEM_CALENDAR, ItemName::kCalendar);
  name(KES_ITEM_DISPLAY_CHARSET, ItemName::kDisplayCharset);

  for (const std::uint32_t item :
       {KES_ITEM_DISPLAY_DIRECTION, KES_ITEM_STORAGE_ORDER, KES_ITEM_COMP,
        KES_ITEM_LENGTH_SEMANTICS, KES_ITEM_CONV_EXCP, KES_ITEM_IMP_CONV}) {
    set(item, ItemSource::kKeyword, 0);
  }
  set(KES_ITEM_DISPLAY_NAME, ItemSource::kDisplayName, 0);
  set(KES_ITEM_SORT, ItemSource::kComposed, 0);
  set(KES_ITEM_NLS_LANG, ItemSource::kComposed, 0);
  set(KES_ITEM_LOCALE_TAG, ItemSource::kComposed, 0);

  // The territory's own values.
  set(110, ItemSource::kTerritory, territory::kIsoCode);
  set(111, ItemSource::kTerritory, territory::kEnglishName);
  set(112, ItemSource::kTerritory, territory::kNativeName);
  set(120, ItemSource::kTerritory, territory::kCurrency);
  set(122, ItemSource::kTerritory, territory::kIsoCurrency);
  set(123, ItemSource::kTerritory, territory::kNumeric);
  set(124, ItemSource::kTerritory, territory::kMonetary);
  set(125, ItemSource::kTerritory, territory::kList);
  set(139, ItemSource::kTerritory, territory::kDateFormat);
  set(140, ItemSource::kTerritory, territory::kDebit);
  set(141, ItemSource::kTerritory, territory::kCredit);
  set(142, ItemSource::kTerritory, territory::kDualCurrency);
  set(KES_ITEM_TIME, ItemSource::kTerritory, territory::kTimeFormat);
  set(145, ItemSource::kTerritory, territory::kTime);
  set(146, ItemSource::kTerritory, territory::kTimestamp);
  set(147, ItemSource::kTerritory, territory::kTimeTz);
  set(148, ItemSource::kTerritory, territory::kTimestampTz);
  set(KES_ITEM_CALENDAR_DATE_FORMAT, ItemSource::kComposed, 0);
  set(KES_ITEM_SHORT_DATE, ItemSource::kTerritory, territory::kShortDate);
  return table;
}

inline constexpr ItemTable kItemTable = MakeItems();

}  // namespace kestra::nls
