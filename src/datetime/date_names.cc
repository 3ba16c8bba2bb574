// Names of a context: read from the date language as UTF-8, written in three forms of letters, and
// converted into the set of the context's texts.
#include "datetime/date_names.h"

#include <string.h>

#include <algorithm>
#include <span>

#include "datetime/calendar.h"
#include "datetime/date_model.h"
#include "datetime/simple_case.h"
#include "datetime/text_set.h"
#include "kestra/charset.h"
#include "kestra/convert.h"
#include "nls/handle_parts.h"

namespace kestra::datetime {
namespace {

constexpr std::string_view kEnglish[kLanguageNames] = {
    "Sunday",  "Monday",    "Tuesday", "Wednesday", "Thursday", "Friday",   "Saturday",
    "Sun",     "Mon",       "Tue",     "Wed",       "Thu",      "Fri",      "Sat",
    "January", "February",  "March",   "April",     "May",      "June",     "July",
    "August",  "September", "October", "November",  "December", "Jan",      "Feb",
    "Mar",     "Apr",       "May",     "Jun",       "Jul",      "Aug",      "Sep",
    "Oct",     "Nov",       "Dec",     "",          "",         "AM",       "PM",
    "AD",      "BC",        "January", "February",  "March",    "April",    "May",
    "June",    "July",      "August",  "September", "October",  "November", "December"};
constexpr std::string_view kFixed[kNameCount - kLanguageNames] = {
    "I", "II", "III", "IV",   "V",    "VI",   "VII",  "VIII", "IX",
    "X", "XI", "XII", "XIII", "A.M.", "P.M.", "A.D.", "B.C."};

constexpr std::size_t kUtf8Room = 256;

// A name in UTF-8 while it is given its letters.
struct Utf8Name {
  std::uint8_t bytes[kUtf8Room];
  std::size_t length = 0;
  bool operator==(const Utf8Name& other) const noexcept {
    return length == other.length && memcmp(bytes, other.bytes, length) == 0;
  }
  void Put(std::uint32_t c) noexcept {
    if (length + 4 > sizeof bytes) return;
    const auto put = [this](std::uint32_t byte) {
      bytes[length++] = static_cast<std::uint8_t>(byte);
    };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
      put(0xC0 | c >> 6);
    } else {
      if (c < 0x10000) {
        put(0xE0 | c >> 12);
      } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
      }
      put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
  }
};

// The code point at the start of text, which loses it. Bytes that are no UTF-8 come out alone.
std::uint32_t TakeCodePoint(std::string_view& text) noexcept {
  const auto byte = [&text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint32_t lead = byte(0);
  std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length > text.size()) length = 1;
  std::uint32_t c = length == 1 ? lead : lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) c = c << 6 | (byte(i) & 0x3Fu);
  text.remove_prefix(length);
  return c;
}

class Loader {
 public:
  explicit Loader(ldxctx& ctx) noexcept
      : state_(StateOf(ctx)), ctx_(ctx), handle_(ctx), set_(TextSet(ctx)) {
    if (ctx.handle == nullptr) return;
    utf8_ = nls::CharsetObject(kUtf8Id, ctx.nls);
    language_ = lxdgetobj(ctx.handle->date_language_slot, KES_OBJECT_LANGUAGE, ctx.nls);
    const std::string_view tag = nls::LanguageString(language_, KES_ITEM_TAG);
    const std::string_view root = tag.substr(0, tag.find('-'));
    turkic_ = root == "tr" || root == "az";
  }

  std::string_view LanguageName(std::size_t index) const noexcept {
    if (ctx_.handle == nullptr) return kEnglish[index];
    return nls::LanguageString(language_, index);
  }

  NameForms Add(std::string_view name) noexcept {
    Utf8Name upper, capitalised, lower;
    for (std::string_view left = name; !left.empty();) {
      const bool first = left.size() == name.size();
      const std::uint32_t c = TakeCodePoint(left);
      const std::uint32_t capital = ToUpperLetter(c, turkic_);
      upper.Put(capital);
      capitalised.Put(first ? capital : c);
      lower.Put(ToLowerLetter(c, turkic_));
    }
    NameForms forms;
    forms.form[0] = Convert(upper);
    forms.form[1] = capitalised == upper ? forms.form[0] : Convert(capitalised);
    forms.form[2] = lower == upper ? forms.form[0] : Convert(lower);
    return forms;
  }

  NameRef Convert(const Utf8Name& name) noexcept {
    NameRef ref{};
    const std::size_t room = std::min(kNameRoom, kPoolSize - state_.pool_used);
    std::uint8_t* const out = state_.pool + state_.pool_used;
    std::size_t length = 0;
    if (set_ == nullptr || utf8_ == nullptr) {
      length = std::min(room, name.length);
      memcpy(out, name.bytes, length);
    } else {
      length = lxgcnv(out, set_, room, name.bytes, utf8_, name.length, ctx_.nls);
    }
    ref.at = state_.pool_used;
    ref.length = static_cast<std::uint8_t>(length);
    ref.columns = Columns(out, length);
    state_.pool_used = static_cast<std::uint16_t>(state_.pool_used + length);
    return ref;
  }

 private:
  std::uint8_t Columns(const std::uint8_t* text, std::size_t length) const noexcept {
    std::size_t columns = length;
    if (handle_.get() != nullptr) {
      lxscan scan{};
      lxcscan(text, length, &scan, handle_.get(), ctx_.nls);
      columns = scan.columns;
    }
    return static_cast<std::uint8_t>(std::min(columns, kNameRoom));
  }

  State& state_;
  ldxctx& ctx_;
  TextHandle handle_;
  const lxobject* set_;
  const lxobject* utf8_ = nullptr;
  const lxobject* language_ = nullptr;
  bool turkic_ = false;
};

void Widen(std::uint8_t& width, const NameForms& name) noexcept {
  for (const NameRef& form : name.form) width = std::max(width, form.columns);
}

std::uint32_t DateLanguageId(const ldxctx& ctx) noexcept {
  return ctx.handle == nullptr ? 1 : lxhninfo(ctx.handle, KES_ITEM_DATE_LANGUAGE, ctx.nls);
}

// The two numeric characters of the handle; else a full stop and a comma.
void LoadNumericCharacters(ldxctx& ctx, Loader& loader) noexcept {
  std::uint32_t characters[2] = {'.', ','};
  if (ctx.handle != nullptr) {
    std::uint8_t text[64];
    const std::size_t length = HandleText(ctx, KES_ITEM_NUMERIC_CHARACTERS, text, sizeof text);
    std::uint8_t converted[kUtf8Room];
    const lxobject* utf8 = nls::CharsetObject(kUtf8Id, ctx.nls);
    const std::size_t used =
        lxgcnv(converted, utf8, kUtf8Room, text, TextSet(ctx), length, ctx.nls);
    std::string_view left(reinterpret_cast<char*>(converted), used);
    for (std::uint32_t& character : characters) {
      if (!left.empty()) character = TakeCodePoint(left);
    }
  }
  const auto add = [&loader](std::uint32_t character) {
    Utf8Name name;
    name.Put(character);
    return loader.Convert(name);
  };
  State& state = StateOf(ctx);
  state.decimal_character = add(characters[0]);
  state.group_separator = add(characters[1]);
}

}  // namespace

void LoadNames(ldxctx& ctx) noexcept {
  State& state = StateOf(ctx);
  Loader loader(ctx);
  LoadNumericCharacters(ctx, loader);
  for (std::size_t i = 0; i < kNameCount; ++i) {
    if (i == kMeridianNames - 2 || i == kMeridianNames - 1) continue;
    state.names[i] =
        loader.Add(i < kLanguageNames ? loader.LanguageName(i) : kFixed[i - kLanguageNames]);
    Widen(state.widths[GroupOf(i)], state.names[i]);
  }
  state.names_loaded = true;
}

void LoadCalendarNames(ldxctx& ctx) noexcept {
  State& state = StateOf(ctx);
  NeedNames(ctx);
  state.calendar_loaded = true;
  const Calendar calendar = Calendar::Of(ctx);
  if (calendar.gregorian()) return;
  Loader loader(ctx);
  const std::uint32_t language = DateLanguageId(ctx);
  const auto add = [&](std::size_t first, std::size_t index, std::string_view name) {
    state.calendar_names[first + index] = loader.Add(name);
    Widen(state.calendar_widths[first], state.calendar_names[first + index]);
  };
  for (std::uint32_t month = 1; month <= 13; ++month) {
    add(kCalendarMonths, month - 1, calendar.MonthName(language, month, false));
    add(kCalendarShortMonths, month - 1, calendar.MonthName(language, month, true));
  }
  for (std::uint32_t i = 0; i < 8; ++i) {
    const std::int32_t era = calendar.first_named_era() + static_cast<std::int32_t>(i);
    if (era > calendar.latest_era()) break;
    add(kCalendarEras, i, calendar.EraName(language, era, false));
    add(kCalendarShortEras, i, calendar.EraName(language, era, true));
  }
}

}  // namespace kestra::datetime
