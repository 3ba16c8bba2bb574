// lxhlmod: setting one item of a handle. One small function per kind of item, in a table.
#include <string.h>

#include "kestra/charset.h"
#include "nls/ascii.h"
#include "nls/handle_parts.h"
#include "nls/lxh_items.h"
#include "nls/lxl_builtin.h"

namespace kestra::nls {
namespace {

constexpr std::uint32_t kFirstItem = 69;
constexpr std::uint32_t kLastItem = 132;
constexpr std::uint32_t kVisualOrder = 1u << 4;  // of lxhandle.flags2
constexpr std::uint32_t kCompAnsi = 1;
constexpr std::uint32_t kCompLinguistic = 2;

struct Change {
  lxhandle& handle;
  std::string_view value;  // empty: back to the default
  std::uint32_t item;
  lxcontext* context;

  bool Fail(std::uint32_t error) const noexcept {
    context->error = error;
    return false;
  }
};

using Setter = bool (*)(const Change&) noexcept;

// Keywords.

bool SetStorageOrder(const Change& c) noexcept {
  const bool visual = EqualIgnoringCase(c.value, "visual");
  c.handle.flags2 = (c.handle.flags2 & ~kVisualOrder) | (visual ? kVisualOrder : 0);
  if (visual || c.value.empty() || EqualIgnoringCase(c.value, "logical")) return true;
  return c.Fail(KES_NLS_BAD_STORAGE_ORDER);
}

bool SetComparison(const Change& c) noexcept {
  if (c.value.empty() || EqualIgnoringCase(c.value, "binary")) {
    c.handle.comparison = 0;
  } else if (EqualIgnoringCase(c.value, "ansi")) {
    c.handle.comparison = kCompAnsi;
  } else if (EqualIgnoringCase(c.value, "linguistic")) {
    c.handle.comparison = kCompLinguistic;
  } else {
    return c.Fail(KES_NLS_BAD_COMP);
  }
  return true;
}

bool SetLengthSemantics(const Change& c) noexcept {
  const bool in_characters = EqualIgnoringCase(c.value, "char");
  if (!in_characters && !c.value.empty() && !EqualIgnoringCase(c.value, "byte")) {
    return c.Fail(KES_NLS_BAD_LENGTH_SEMANTICS);
  }
  c.handle.length_semantics = in_characters ? 1 : 0;
  return true;
}

// NCHAR_CONV_EXCP and NCHAR_IMP_CONV.
bool SetTruth(const Change& c) noexcept {
  const bool is_true = EqualIgnoringCase(c.value, "true");
  const bool exception = c.item == KES_ITEM_CONV_EXCP;
  if (!is_true && !c.value.empty() && !EqualIgnoringCase(c.value, "false")) {
    return c.Fail(exception ? KES_NLS_BAD_CONV_EXCP : KES_NLS_BAD_IMP_CONV);
  }
  (exception ? c.handle.conv_excp : c.handle.imp_conv) = is_true ? 1 : 0;
  return true;
}

// Texts.

bool StoreText(const Change& c, std::string_view value) noexcept {
  const std::size_t index = TextOfItem(c.item);
  lxtext& text = c.handle.text[index];
  if (value.size() > sizeof text.bytes) return c.Fail(KES_NLS_DESTINATION_FULL);
  memset(&text, 0, sizeof text);
  CopyChars(text.bytes, value);
  text.length = static_cast<std::uint8_t>(value.size());
  const std::uint32_t bit = 1u << index;
  c.handle.text_set = value.empty() ? c.handle.text_set & ~bit : c.handle.text_set | bit;
  return true;
}

bool SetText(const Change& c) noexcept { return StoreText(c, c.value); }

// The bytes of the character under the cursor, without the shift bytes that follow it, and the
// cursor behind it; empty when it is cut off.
std::string_view TakeCharacter(lxcursor& cursor, const Change& c) noexcept {
  const auto* at = reinterpret_cast<const char*>(cursor.position);
  const std::size_t width = cursor.shift_state != 0 ? c.handle.shifted_width : 1;
  const std::size_t length = lxmfwdx(&cursor, c.context);
  const bool stateful = (c.handle.flags & KES_CHARSET_STATEFUL) != 0;
  return {at, stateful && length != 0 ? width : length};
}

// True when a character of a single-byte set cannot separate numbers.
bool IsSignOrDigit(char character, const lxobject* set) noexcept {
  const CharsetView view(set);
  const auto byte = static_cast<std::uint8_t>(character);
  if ((view.class_table()[byte] & KES_CLASS_DIGIT) != 0) return true;
  const std::uint16_t code_point = view.single()[byte];
  return code_point == '+' || code_point == '-' || code_point == '<' || code_point == '>';
}

// Decimal character and group separator.
bool SetNumericCharacters(const Change& c) noexcept {
  if (c.value.empty()) return StoreText(c, {});
  const lxobject* set = HandleCharset(c.handle, c.context);
  if (set == nullptr) return c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
  lxcursor cursor;
  lxmopen(reinterpret_cast<const std::uint8_t*>(c.value.data()), c.value.size(), &cursor, &c.handle,
          c.context, 0);
  const std::string_view decimal = TakeCharacter(cursor, c);
  const std::string_view group = TakeCharacter(cursor, c);
  if (decimal.empty() || group.empty() || decimal == group) return false;
  if ((c.handle.flags & KES_CHARSET_SINGLE) != 0 &&
      (IsSignOrDigit(decimal[0], set) || IsSignOrDigit(group[0], set))) {
    return false;
  }
  const auto taken = static_cast<std::size_t>(cursor.position - cursor.start);
  char text[sizeof(lxtext::bytes)];
  if (taken >= sizeof text) return c.Fail(KES_NLS_DESTINATION_FULL);
  CopyChars(text, c.value.substr(0, taken));
  if (cursor.shift_state == 0) return StoreText(c, {text, taken});
  text[taken] = static_cast<char>(c.handle.shift_in);  // the stored text ends in the base state
  return StoreText(c, {text, taken + 1});
}

// Names.

bool SetLanguage(const Change& c) noexcept {
  const std::string_view name = lxpname(c.value, Component::kFirst);
  const BootView boot = Boot(c.context->area);
  std::uint32_t id = boot.entry(boot.run(KES_OBJECT_LANGUAGE).first).id();
  if (!c.value.empty()) id = lxplget(name.data(), name.size(), c.context);
  if (id == 0) return c.Fail(KES_NLS_UNKNOWN_ID);
  return lxplset(id, &c.handle, c.context) != 0 || c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
}

bool SetDateLanguage(const Change& c) noexcept {
  if (c.value.empty()) {
    c.handle.date_language_slot = c.handle.language_slot;
    return true;
  }
  const std::string_view name = lxpname(c.value, Component::kFirst);
  const std::uint32_t slot = Boot(c.context->area).FindName(KES_OBJECT_LANGUAGE, name);
  if (slot == 0) return c.Fail(KES_NLS_UNKNOWN_ID);
  if (lxdgetobj(slot, KES_OBJECT_LANGUAGE, c.context) == nullptr) {
    return c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
  }
  c.handle.date_language_slot = static_cast<std::uint16_t>(slot);
  return true;
}

// An unknown territory or character set is the language's default one.
bool SetTerritory(const Change& c) noexcept {
  const std::string_view name = SkipSpaces(c.value);
  std::uint32_t id = lxptget(name.data(), name.size(), c.context);
  if (id == 0) id = IdsOf(c.handle, c.context->area).default_territory;
  return lxptset(id, &c.handle, c.context) != 0 || c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
}

bool SetCharset(const Change& c) noexcept {
  const std::string_view name = SkipSpaces(c.value);
  std::uint32_t id = lxpcget(name.data(), name.size(), c.context);
  if (id == 0) id = c.handle.default_charset_id;
  return lxpcset(id, &c.handle, c.context) != 0 || c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
}

bool SetSort(const Change& c) noexcept {
  SortName sort{kBinarySort, 0, {}, {}};
  if (!c.value.empty()) sort = ParseSortName(SkipSpaces(c.value), c.context);
  if (sort.id == 0) return c.Fail(KES_NLS_UNKNOWN_ID);
  if (lxpsset(sort.id, sort.flags, &c.handle, c.context) == 0) {
    return c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
  }
  for (std::size_t i = 0; i < sort.parameters.size(); ++i) {
    c.handle.sort_parameters[i] = static_cast<std::uint8_t>(ToUpper(sort.parameters[i]));
  }
  c.handle.sort_parameter_length = static_cast<std::uint16_t>(sort.parameters.size());
  return true;
}

// The date format follows the calendar: a format that was set before goes, and the calendar's own
// (Gregorian: the territory's) holds until another is set.
bool SetCalendar(const Change& c) noexcept {
  std::uint32_t slot = 0;
  if (!c.value.empty() && !EqualIgnoringCase(SkipSpaces(c.value), "GREGORIAN")) {
    slot = Boot(c.context->area).FindName(KES_OBJECT_CALENDAR, SkipSpaces(c.value));
    if (slot == 0) return c.Fail(KES_NLS_UNKNOWN_ID);
    if (lxdgetobj(slot, KES_OBJECT_CALENDAR, c.context) == nullptr) {
      return c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
    }
  }
  c.handle.calendar_slot = static_cast<std::uint16_t>(slot);
  c.handle.text_set &= ~(1u << KES_TEXT_DATE_FORMAT);
  return true;
}

// A whole "LANGUAGE_TERRITORY.CHARSET": what it names is installed, what it leaves out stays.
// Nothing is changed when a name is unknown.
bool SetSpecification(const Change& c) noexcept {
  const std::string_view language = lxpname(c.value, Component::kFirst);
  const std::string_view territory = lxpname(c.value, Component::kSecond);
  const std::string_view charset = lxpname(c.value, Component::kThird);
  const std::uint32_t language_id = lxplget(language.data(), language.size(), c.context);
  const std::uint32_t territory_id = lxptget(territory.data(), territory.size(), c.context);
  const std::uint32_t charset_id = lxpcget(charset.data(), charset.size(), c.context);
  if (!language.empty() && language_id == 0) return c.Fail(KES_NLS_UNKNOWN_LANGUAGE);
  if (!charset.empty() && charset_id == 0) return c.Fail(KES_NLS_UNKNOWN_CHARSET);
  if (!territory.empty() && territory_id == 0) return c.Fail(KES_NLS_UNKNOWN_TERRITORY);
  lxhandle changed = c.handle;
  if ((language_id != 0 && lxplset(language_id, &changed, c.context) == 0) ||
      (charset_id != 0 && lxpcset(charset_id, &changed, c.context) == 0) ||
      (territory_id != 0 && lxptset(territory_id, &changed, c.context) == 0)) {
    return c.Fail(KES_NLS_OBJECT_UNAVAILABLE);
  }
  c.handle = changed;
  return true;
}

struct SetterTable {
  Setter entries[kLastItem - kFirstItem + 1] = {};

  constexpr Setter& operator[](std::uint32_t item) noexcept { return entries[item - kFirstItem]; }
};

constexpr SetterTable kSetters = [] {
  SetterTable table;
  for (std::uint32_t item = kFirstItem; item <= kLastItem; ++item) {
    if (TextOfItem(item) < KES_TEXT_COUNT) table[item] = SetText;
  }
  table[KES_ITEM_NUMERIC_CHARACTERS] = SetNumericCharacters;
  table[KES_ITEM_DATE_LANGUAGE] = SetDateLanguage;
  table[KES_ITEM_TERRITORY] = SetTerritory;
  table[KES_ITEM_CHARSET] = SetCharset;
  table[KES_ITEM_SORT] = SetSort;
  table[KES_ITEM_CALENDAR] = SetCalendar;
  table[kLanguageAgainItem] = SetLanguage;
  table[KES_ITEM_STORAGE_ORDER] = SetStorageOrder;
  table[KES_ITEM_NLS_LANG] = SetSpecification;
  table[KES_ITEM_COMP] = SetComparison;
  table[KES_ITEM_LENGTH_SEMANTICS] = SetLengthSemantics;
  table[KES_ITEM_CONV_EXCP] = SetTruth;
  table[KES_ITEM_IMP_CONV] = SetTruth;
  return table;
}();

}  // namespace
}  // namespace kestra::nls

extern "C" int lxhlmod(lxhandle* handle, const char* value, std::size_t length, std::uint32_t item,
                       std::uint32_t, int reset, lxcontext* context) noexcept {
  using namespace kestra::nls;
  if (handle == nullptr || context == nullptr || context->area == nullptr) return 0;
  context->error = KES_NLS_OK;
  const bool is_empty = value == nullptr || length == 0;
  if (is_empty && reset == 0) return 0;
  if (item < kFirstItem || item > kLastItem) {
    context->error = KES_NLS_UNKNOWN_ID;
    return 0;
  }
  const Setter setter = kSetters.entries[item - kFirstItem];
  if (setter == nullptr) {
    context->error = KES_NLS_UNKNOWN_ID;
    return 0;
  }
  const std::string_view text = is_empty ? std::string_view() : std::string_view(value, length);
  return setter({*handle, text, item, context}) ? 1 : 0;
}
