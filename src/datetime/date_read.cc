// The walk of a compiled format along a text, a handler for each element. Unless FX holds, blanks
// in front of every item are passed over, punctuation of the format stands for any punctuation or
// for none, numbers may have fewer digits, and names may be long or short.
#include "datetime/date_read.h"

#include <string.h>

#include <algorithm>
#include <array>

#include "datetime/calendar.h"
#include "datetime/date_names.h"
#include "datetime/datetime_model.h"
#include "datetime/spelled_number.h"
#include "datetime/text_walk.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kRepeated = 1810;
constexpr std::uint32_t kNotForReading = 1820;
constexpr std::uint32_t kNoCalendar = 1822;
constexpr std::uint32_t kTextLeft = 1830;
constexpr std::uint32_t kNoSuchEra = 1865;

// How many bytes of text a name takes; 0: it does not begin so. Letters of any case, one by one.
std::size_t NameBytes(const TextWalk& walk, const NameForms& name) noexcept {
  const State& state = walk.state();
  const std::span<const std::uint8_t> text = walk.left();
  if (name.form[0].length == 0) return 0;
  for (const NameRef& form : name.form) {
    if (form.length <= text.size() && memcmp(text.data(), state.pool + form.at, form.length) == 0) {
      return form.length;
    }
  }
  if (state.whole_names) return 0;
  const std::string_view upper = TextOf(state, name.form[0]);
  const std::string_view lower = TextOf(state, name.form[2]);
  const bool utf8 = state.utf8;
  const auto length = [utf8](char lead) -> std::size_t {
    const auto byte = static_cast<std::uint8_t>(lead);
    return !utf8 || byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
  };
  std::size_t at = 0, u = 0, l = 0;
  while (u < upper.size() && l < lower.size()) {
    const std::string_view big = upper.substr(u, length(upper[u]));
    const std::string_view small = lower.substr(l, length(lower[l]));
    const auto matches = [&](std::string_view one) {
      return text.size() - at >= one.size() &&
             memcmp(text.data() + at, one.data(), one.size()) == 0;
    };
    if (matches(big)) {
      at += big.size();
    } else if (matches(small)) {
      at += small.size();
    } else {
      return 0;
    }
    u += big.size();
    l += small.size();
  }
  return at;
}

// The longest name of a text among several groups.
struct NameMatch {
  std::size_t bytes = 0;
  std::uint32_t indexes = 0;  // bit n: name n of its group; more than one when they are alike
  std::size_t missing = 0;    // blanks that fill mode puts after it

  void Try(const TextWalk& walk, const NameForms* names, std::size_t count,
           std::size_t width) noexcept {
    if (walk.AtEnd()) return;
    const std::uint8_t* const pool = walk.state().pool;
    const std::uint8_t first_byte = walk.left()[0];
    const std::uint8_t second_byte = walk.left().size() > 1 ? walk.left()[1] : 0;
    for (std::size_t i = 0; i < count; ++i) {
      // The capitalised form begins like one of the other two.
      const NameRef* const form = names[i].form;
      const std::uint8_t* const upper = pool + form[0].at;
      const std::uint8_t* const lower = pool + form[2].at;
      if (first_byte != upper[0] && first_byte != lower[0]) continue;
      // So does the second letter, where the first one is a byte in either case.
      const bool short_letter =
          (upper[0] | lower[0]) < 0x80 && form[0].length > 1 && !walk.state().whole_names;
      if (short_letter && second_byte != upper[1] && second_byte != lower[1]) continue;
      const std::size_t length = NameBytes(walk, names[i]);
      if (length == 0 || length < bytes) continue;
      if (length > bytes) indexes = 0;
      bytes = length;
      indexes |= 1u << i;
      const std::size_t columns = names[i].form[0].columns;
      missing = width > columns ? width - columns : 0;
    }
  }
  void Try(const TextWalk& walk, std::size_t group, std::size_t count) noexcept {
    Try(walk, &walk.state().names[group], count, walk.state().widths[group]);
  }
  std::int32_t first() const noexcept { return __builtin_ctz(indexes); }
};

// Passes over the name that was found. number: the error when there was none.
Fault TakeName(TextWalk& walk, const NameMatch& match, std::uint8_t modifier,
               std::uint32_t number) noexcept {
  if (match.bytes == 0) {
    if (walk.AtEnd()) return walk.Error(kTextEnds);
    return walk.Error(walk.IsLetterOrDigit(walk.left()[0]) && walk.DigitAt(&walk.left()[0]) > 9
                          ? number
                          : kLetterExpected);
  }
  walk.Advance(match.bytes);
  if (!walk.exact() || (modifier & kFill) == 0) return {};
  // Under FX the blanks of fill mode stand all or not at all.
  const std::span<const std::uint8_t> left = walk.left();
  const std::uint8_t blank = InSet(walk.state(), ' ');
  const bool filled =
      left.size() >= match.missing &&
      std::all_of(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(match.missing),
                  [blank](std::uint8_t byte) { return byte == blank; });
  if (filled) walk.Advance(match.missing);
  return {};
}

}  // namespace

Fault TakeOrdinalSuffix(TextWalk& walk, std::uint32_t value) noexcept {
  const std::span<const std::uint8_t> left = walk.left();
  const std::string_view suffix = OrdinalSuffix(value);
  const std::uint8_t* const ascii = walk.state().ascii;
  for (const int small : {0, 0x20}) {
    if (left.size() >= 2 && left[0] == ascii[suffix[0] | small] &&
        left[1] == ascii[suffix[1] | small]) {
      walk.Advance(2);
      return {};
    }
  }
  return walk.exact() ? walk.Missing(kLiteralDiffers) : Fault{};
}

namespace {

using Handler = Fault(TextWalk&, std::uint32_t code, std::uint8_t modifier) noexcept;

// Years of some calendars have more months and days.
std::int32_t Highest(const TextWalk& walk, std::uint32_t code) noexcept {
  constexpr std::int32_t kLongestYear = 385;  // Hebrew
  if (walk.ctx().calendar == 0) return kDescriptors[code].high;
  if (code == KES_DATE_MM) return static_cast<std::int32_t>(Calendar::Of(walk.ctx()).months());
  return code == KES_DATE_DDD ? kLongestYear : kDescriptors[code].high;
}

Fault Keep(TextWalk& walk, std::uint32_t code, std::int32_t value, std::size_t offset) noexcept {
  const Descriptor& element = kDescriptors[code];
  if (value < element.low || value > Highest(walk, code)) return {element.number, offset};
  walk.fields().value[code] = value;
  walk.fields().where[code] = static_cast<std::uint32_t>(offset);
  walk.fields().seen |= Bit(code);
  return {};
}

Fault Number(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  std::uint32_t value = 0;
  const Fault fault = TakeNumber(walk, kDescriptors[code].flags & kDigitsMask, modifier, value);
  if (fault) return fault;
  return Keep(walk, code, static_cast<std::int32_t>(value), offset);
}

Fault ShortYear(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  std::uint32_t value = 0;
  const std::uint32_t most = code == KES_DATE_RR ? 2 : 4;
  const std::uint8_t* const from = walk.left().data();
  const Fault fault = TakeNumber(walk, most, modifier, value);
  if (fault) return fault;
  std::uint32_t digits = 0;
  while (digits < most && from + digits != walk.left().data() && walk.DigitAt(from + digits) <= 9) {
    ++digits;
  }
  walk.fields().short_year_digits = digits;
  return Keep(walk, code, static_cast<std::int32_t>(value), offset);
}

// A sign, or under FX the blank for one.
bool TakeSign(TextWalk& walk) noexcept {
  if (walk.Accept('-')) return true;
  if (!walk.Accept('+') && walk.exact()) walk.Accept(' ');
  return false;
}

Fault SignedYear(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  const bool negative = TakeSign(walk);
  std::uint32_t value = 0;
  const Fault fault = TakeNumber(walk, 4, modifier, value);
  if (fault) return fault;
  const auto year = static_cast<std::int32_t>(value);
  return Keep(walk, code, negative ? -year : year, offset);
}

// Digits with a group separator, or a comma, after the first of four; it may be left out.
Fault GroupedDigits(TextWalk& walk, std::uint8_t modifier, std::uint32_t& value) noexcept {
  NeedNames(walk.ctx());
  std::uint32_t count = walk.TakeDigits(1, value);
  if (count == 0) return walk.Missing(kDigitExpected);
  const bool separated =
      walk.AcceptBytes(TextOf(walk.state(), walk.state().group_separator)) || walk.Accept(',');
  const std::uint32_t more = walk.TakeDigits(3, value);
  count += more;
  const bool full = (modifier & kFill) != 0 || separated;
  if (walk.exact() ? full && count < 4 : separated && more < 3) {
    return more == 0 ? walk.Missing(kDigitExpected) : walk.Error(kWrongDigits);
  }
  if ((modifier & kSuffixMask) != 0) return TakeOrdinalSuffix(walk, value);
  return {};
}

Fault GroupedYear(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  const bool negative = code == KES_DATE_SY_YYY && TakeSign(walk);
  std::uint32_t value = 0;
  const Fault fault = GroupedDigits(walk, modifier, value);
  if (fault) return fault;
  const auto year = static_cast<std::int32_t>(value);
  return Keep(walk, code, negative ? -year : year, offset);
}

// A month by name. Without FX long, short and stand-alone names all serve.
Fault Month(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  const bool wants_long = !walk.exact() || code == KES_DATE_MONTH;
  const bool wants_short = !walk.exact() || code == KES_DATE_MON;
  NameMatch match;
  const Calendar calendar = Calendar::Of(walk.ctx());
  if (calendar.gregorian_months()) {
    NeedNames(walk.ctx());
    if (wants_long) match.Try(walk, kMonthNames, 12);
    if (wants_short) match.Try(walk, kShortMonthNames, 12);
    if (!walk.exact()) match.Try(walk, kAloneMonthNames, 12);
  } else {
    NeedCalendarNames(walk.ctx());
    const State& state = walk.state();
    const auto attempt = [&](std::size_t group) {
      match.Try(walk, &state.calendar_names[group], 13, state.calendar_widths[group]);
    };
    if (wants_long) attempt(kCalendarMonths);
    if (wants_short) attempt(kCalendarShortMonths);
  }
  const Fault fault = TakeName(walk, match, modifier, kDescriptors[code].number);
  if (fault) return fault;
  walk.fields().value[code] = match.first() + 1;  // up to 13 in some calendars
  walk.fields().where[code] = static_cast<std::uint32_t>(offset);
  walk.fields().seen |= Bit(code);
  return {};
}

Fault RomanMonth(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  NeedNames(walk.ctx());
  NameMatch match;
  match.Try(walk, kRomanMonths, 13);
  const Fault fault = TakeName(walk, match, modifier, kDescriptors[code].number);
  if (fault) return fault;
  if (match.first() == 12 && Calendar::Of(walk.ctx()).months() == 12) {
    return {kDescriptors[code].number, offset};
  }
  walk.fields().value[code] = match.first() + 1;
  walk.fields().where[code] = static_cast<std::uint32_t>(offset);
  walk.fields().seen |= Bit(code);
  return {};
}

Fault Weekday(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  NeedNames(walk.ctx());
  NameMatch match;
  if (!walk.exact() || code == KES_DATE_DAY) match.Try(walk, kDayNames, 7);
  if (!walk.exact() || code == KES_DATE_DY) match.Try(walk, kShortDayNames, 7);
  const Fault fault = TakeName(walk, match, modifier, kDescriptors[code].number);
  if (fault) return fault;
  walk.fields().weekdays = match.indexes;
  return Keep(walk, code, match.first() + 1, offset);
}

// One of two words: 0 the first, 1 the second.
template <std::size_t kGroup>
Fault OneOfTwo(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  NeedNames(walk.ctx());
  NameMatch match;
  match.Try(walk, kGroup, 2);
  const Fault fault = TakeName(walk, match, modifier, kDescriptors[code].number);
  if (fault) return fault;
  return Keep(walk, code, match.first(), offset);
}

Fault Era(TextWalk& walk, std::uint32_t code, std::uint8_t modifier) noexcept {
  const std::size_t offset = walk.offset();
  const Calendar calendar = Calendar::Of(walk.ctx());
  if (calendar.gregorian() || !calendar.has_arithmetic()) return {kNoCalendar, offset};
  NeedCalendarNames(walk.ctx());
  const State& state = walk.state();
  NameMatch match;
  const auto attempt = [&](std::size_t group) {
    match.Try(walk, &state.calendar_names[group], 8, state.calendar_widths[group]);
  };
  if (!walk.exact() || code == KES_DATE_EE) attempt(kCalendarEras);
  if (!walk.exact() || code == KES_DATE_E) attempt(kCalendarShortEras);
  const Fault fault = TakeName(walk, match, modifier, kNoSuchEra);
  if (fault) return fault;
  walk.fields().value[code] = calendar.first_named_era() + match.first();
  walk.fields().where[code] = static_cast<std::uint32_t>(offset);
  walk.fields().seen |= Bit(code);
  return {};
}

Fault Exact(TextWalk& walk, std::uint32_t, std::uint8_t) noexcept {
  walk.ToggleExact();
  return {};
}

// An element of datetimes: the modifier byte is its code.
Fault DatetimeItem(TextWalk& walk, std::uint32_t, std::uint8_t code) noexcept {
  return ReadDatetimeElement(walk, code);
}

constexpr std::array<Handler*, kCodes> kHandlers = [] {
  std::array<Handler*, kCodes> table{};
  for (const auto code : {KES_DATE_Y, KES_DATE_YY, KES_DATE_YYY, KES_DATE_YYYY, KES_DATE_MM,
                          KES_DATE_D, KES_DATE_DD, KES_DATE_DDD, KES_DATE_HH24, KES_DATE_HH12,
                          KES_DATE_MI, KES_DATE_SS, KES_DATE_SSSSS, KES_DATE_J}) {
    table[code] = Number;
  }
  table[KES_DATE_Y_YYY] = table[KES_DATE_SY_YYY] = GroupedYear;
  table[KES_DATE_SYYYY] = table[KES_DATE_NYYYY] = SignedYear;
  table[KES_DATE_RR] = table[KES_DATE_RRRR] = ShortYear;
  table[KES_DATE_MONTH] = table[KES_DATE_MON] = Month;
  table[KES_DATE_RM] = RomanMonth;
  table[KES_DATE_DAY] = table[KES_DATE_DY] = Weekday;
  table[KES_DATE_AM] = OneOfTwo<kMeridianNames>;
  table[KES_DATE_A_M] = OneOfTwo<kPeriodMeridians>;
  table[KES_DATE_AD] = OneOfTwo<kEraNames>;
  table[KES_DATE_A_D] = OneOfTwo<kPeriodEras>;
  table[KES_DATE_E] = table[KES_DATE_EE] = Era;
  table[KES_DATE_FX] = Exact;
  table[kDatetimeEscape] = DatetimeItem;
  return table;
}();

Fault Literal(TextWalk& walk, std::span<const std::uint8_t> literal, std::uint8_t kind) noexcept {
  const std::string_view bytes(reinterpret_cast<const char*>(literal.data()), literal.size());
  if (walk.exact()) {
    return walk.AcceptBytes(bytes) ? Fault{} : walk.Missing(kLiteralDiffers);
  }
  // Blanks in front were passed over, so those of the literal are too.
  const auto blank = static_cast<char>(InSet(walk.state(), ' '));
  const std::string_view rest =
      bytes.substr(std::min(bytes.find_first_not_of(blank), bytes.size()));
  if (walk.AcceptBytes(rest)) return {};
  if (kind == kQuoted) {
    // Blanks at its end may have been cut off with the text.
    const std::string_view core = rest.substr(0, rest.find_last_not_of(blank) + 1);
    return walk.AcceptBytes(core) ? Fault{} : walk.Missing(kLiteralDiffers);
  }
  walk.PassPunctuation({reinterpret_cast<const std::uint8_t*>(rest.data()), rest.size()});
  return {};
}

bool IsShortYear(std::uint32_t code) noexcept { return code == KES_DATE_YY || code == KES_DATE_RR; }

}  // namespace

Fault CheckReadable(std::span<const std::uint8_t> format, bool datetime) noexcept {
  std::uint64_t seen = 0;
  std::uint64_t datetime_seen = 0;
  for (std::size_t at = 0; at < format.size();) {
    const std::uint8_t code = format[at];
    if (format.size() - at < kElementSize) return {kDamaged, at};
    if (code >= kLiteralBase) {
      const std::size_t length = code - kLiteralBase;
      if (format.size() - at - kLiteralHead < length) return {kDamaged, at};
      at += kLiteralHead + length;
      continue;
    }
    if (datetime && code == kDatetimeEscape) {
      if (!IsDatetimeElement(format[at + 1])) return {kDamaged, at};
      const std::uint64_t bit = DatetimeBit(format[at + 1]);
      if ((datetime_seen & bit) != 0) return {kRepeated, at};
      datetime_seen |= bit;
      at += kElementSize;
      continue;
    }
    if (!IsElementCode(code)) return {kDamaged, at};
    const bool spelled = (format[at + 1] & kSpelled) != 0;
    if ((kUnreadable & Bit(code)) != 0 || spelled) return {kNotForReading, at};
    if (code != KES_DATE_FX) {
      if ((seen & Bit(code)) != 0) return {kRepeated, at};
      seen |= Bit(code);
    }
    at += kElementSize;
  }
  if (const std::uint32_t number = GroupError(seen)) return {number, format.size()};
  return {datetime ? DatetimeGroupError(seen, datetime_seen) : 0, format.size()};
}

RetryFacts FactsOf(std::span<const std::uint8_t> format) noexcept {
  RetryFacts facts{};
  for (std::size_t at = 0; at < format.size();) {
    const std::uint8_t code = format[at];
    facts.short_year = facts.short_year || IsShortYear(code);
    facts.exact = facts.exact || code == KES_DATE_FX;
    at += code < kLiteralBase ? kElementSize : code - kLiteralBase + kLiteralHead;
  }
  return facts;
}

Fault ReadText(ldxctx& ctx, std::span<const std::uint8_t> text,
               std::span<const std::uint8_t> format, bool full_years, ReadFields& fields) noexcept {
  TextWalk walk(ctx, text, fields);
  fields.text_length = text.size();
  while (!format.empty()) {
    std::uint32_t code = format[0];
    const std::uint8_t modifier = format[1];
    if (!walk.exact() && code != KES_DATE_FX) walk.SkipBlanks();
    if (code >= kLiteralBase) {
      const std::size_t length = code - kLiteralBase;
      const Fault fault = Literal(walk, format.subspan(kLiteralHead, length), modifier);
      if (fault) return fault;
      format = format.subspan(kLiteralHead + length);
      continue;
    }
    if (full_years && IsShortYear(code)) {
      code = code == KES_DATE_YY ? KES_DATE_YYYY : KES_DATE_RRRR;
      full_years = false;
    }
    const Fault fault = kHandlers[code](walk, code, modifier);
    if (fault) return fault;
    format = format.subspan(kElementSize);
  }
  if (!walk.exact()) walk.SkipBlanks();
  return walk.AtEnd() ? Fault{} : walk.Error(kTextLeft);
}

Fault ReadDate(ldxctx& ctx, std::span<const std::uint8_t> text,
               std::span<const std::uint8_t> format, bool retry, ldxdate& out) noexcept {
  if (const Fault fault = CheckReadable(format)) return fault;
  const auto attempt = [&](bool full_years) {
    ReadFields fields;
    const Fault fault = ReadText(ctx, text, format, full_years, fields);
    return fault ? fault : CombineFields(ctx, fields, out);
  };
  const Fault fault = attempt(false);
  if (!fault || !retry) return fault;
  const RetryFacts facts = FactsOf(format);
  if (!facts.short_year || facts.exact) return fault;
  return attempt(true) ? fault : Fault{};
}

}  // namespace kestra::datetime
