// The walk over a compiled format: a handler for each element writes at the place it is given and
// answers where it stopped. Handlers need not look at the room: there is always kItemRoom, either
// in the destination or, near its end, in a buffer of which the walk copies what fits.
#include "datetime/date_write.h"

#include <algorithm>
#include <array>

#include "datetime/calendar.h"
#include "datetime/date_names.h"
#include "datetime/day_number.h"
#include "datetime/spelled_number.h"
#include "datetime/text_set.h"
#include "datetime/utf16_text.h"
#include "kestra/convert.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kNoRoom = 1801;
constexpr std::uint32_t kBadFormat = 1821;
constexpr std::uint32_t kNoCalendar = 1822;
constexpr std::uint32_t kNamelessEra = 1865;

// A date while it is written. What only some elements need is found when they ask.
class Source {
 public:
  Source(ldxctx& ctx, const ldxdate& date) noexcept : ctx_(ctx), state_(StateOf(ctx)), date_(date) {
    if (ctx.calendar != 0) EnterCalendar();
  }

  const ldxdate& date() const noexcept { return date_; }
  State& state() const noexcept { return state_; }
  std::uint8_t ascii(char c) const noexcept { return InSet(state_, c); }
  std::uint16_t pair_mark() const noexcept { return PairMark(state_.basis); }

  // Year and month as the calendar counts them.
  std::int32_t signed_year() const noexcept { return calendar_ ? of_calendar_.year : date_.year; }
  std::uint32_t year() const noexcept {
    const std::int32_t year = signed_year();
    return static_cast<std::uint32_t>(year < 0 ? -year : year);
  }
  std::uint32_t month() const noexcept { return calendar_ ? of_calendar_.month : date_.month; }
  std::uint32_t day() const noexcept { return calendar_ ? of_calendar_.day : date_.day; }

  std::int32_t number() noexcept {
    if (number_ == 0) number_ = DayNumber(date_);
    return number_;
  }
  // 0 Sunday.
  std::uint32_t weekday() noexcept {
    return static_cast<std::uint32_t>((WeekdayFromMonday(number()) + 1) % 7);
  }
  std::uint32_t weekday_of_territory() noexcept {
    return (weekday() + 7 - ctx_.first_weekday) % 7 + 1;
  }
  std::uint32_t day_of_year() noexcept {
    if (!calendar_ || own_months_ == 0) {
      return static_cast<std::uint32_t>(DayOfYear(date_.year, number()));
    }
    const Calendar calendar = Calendar::Of(ctx_);
    std::uint32_t days = of_calendar_.day;
    for (std::uint32_t month = 1; month < of_calendar_.month; ++month) {
      days += calendar.MonthLength(of_calendar_.era, of_calendar_.year, month);
    }
    return days;
  }
  std::uint32_t seconds() const noexcept {
    return (date_.hour * 60u + date_.minute) * 60u + date_.second;
  }
  std::uint32_t iso_year() noexcept {
    const std::int32_t year = IsoWeekOf(number()).year;
    return static_cast<std::uint32_t>(year < 0 ? -year : year);
  }
  std::uint32_t iso_week() noexcept { return static_cast<std::uint32_t>(IsoWeekOf(number()).week); }

  // Months have names of the calendar's own.
  bool own_months() const noexcept { return own_months_ != 0; }
  const NameForms& name(std::size_t index) noexcept {
    NeedNames(ctx_);
    return state_.names[index];
  }
  const NameForms& calendar_name(std::size_t index) noexcept {
    NeedCalendarNames(ctx_);
    return state_.calendar_names[index];
  }
  // The place of the date's era among the named ones; false (and an error) when there is none.
  bool era(std::size_t& index) noexcept {
    const Calendar calendar = Calendar::Of(ctx_);
    if (!calendar_) return Fail(kNoCalendar);
    const std::int32_t place = of_calendar_.era - calendar.first_named_era();
    if (place < 0) return Fail(kNamelessEra);
    index = static_cast<std::size_t>(place);
    return true;
  }

  bool Fail(std::uint32_t number) noexcept {
    error_ = number;
    return false;
  }
  std::uint32_t error() const noexcept { return error_; }

 private:
  void EnterCalendar() noexcept {
    const Calendar calendar = Calendar::Of(ctx_);
    if (calendar.gregorian()) return;
    if (!calendar.has_arithmetic() || !calendar.FromDate(date_, of_calendar_)) return;
    calendar_ = true;
    own_months_ = calendar.gregorian_months() ? 0 : 1;
  }

  ldxctx& ctx_;
  State& state_;
  const ldxdate& date_;
  std::int32_t number_ = 0;
  std::uint32_t error_ = 0;
  bool calendar_ = false;
  std::uint8_t own_months_ = 0;
  CalendarDate of_calendar_{};
};

using Out = std::uint8_t*;

Out PutAscii(const Source& source, Out at, std::string_view text) noexcept {
  for (const char c : text) *at++ = source.ascii(c);
  return at;
}

Letters LettersIn(std::uint8_t modifier) noexcept {
  return static_cast<Letters>(modifier & kLettersMask);
}

// A number with a suffix: rare, out of the way of the others.
[[gnu::noinline]] Out PutSuffixed(Source& source, Out at, std::uint32_t value, std::uint32_t digits,
                                  std::uint8_t modifier) noexcept;

Out PutDigits(const Source& source, Out at, std::uint32_t value, std::uint32_t digits) noexcept {
  const std::uint8_t zero = source.ascii('0');
  for (std::uint32_t i = digits; i-- > 0; value /= 10) {
    at[i] = static_cast<std::uint8_t>(zero + value % 10);
  }
  return at + digits;
}

std::uint32_t CountDigits(std::uint32_t value) noexcept {
  std::uint32_t digits = 1;
  for (; value >= 10; value /= 10) ++digits;
  return digits;
}

// Zeros in front in fill mode. value has at most that many digits.
inline Out PutNumber(Source& source, Out at, std::uint32_t value, std::uint32_t digits,
                     std::uint8_t modifier) noexcept {
  if ((modifier & kSuffixMask) != 0) [[unlikely]] {
    return PutSuffixed(source, at, value, digits, modifier);
  }
  if ((modifier & kFill) == 0) return PutDigits(source, at, value, CountDigits(value));
  if (digits == 2 && value < 100) {
    PutPair(at, value, source.pair_mark());
    return at + 2;
  }
  if (digits == 4 && value < 10'000) {
    PutPair(at, value / 100, source.pair_mark());
    PutPair(at + 2, value % 100, source.pair_mark());
    return at + 4;
  }
  // Years of some calendars have a digit more.
  return PutDigits(source, at, value, std::max(digits, CountDigits(value)));
}

Out PutSuffixed(Source& source, Out at, std::uint32_t value, std::uint32_t digits,
                std::uint8_t modifier) noexcept {
  const std::uint8_t suffix = modifier & kSuffixMask;
  if (suffix == kOrdinal) {
    at = PutNumber(source, at, value, digits, modifier & kFill);
    for (const char c : OrdinalSuffix(value)) {
      const bool small = LettersIn(modifier) != kUpper;
      *at++ = source.ascii(small ? static_cast<char>(c | 0x20) : c);
    }
    return at;
  }
  char text[kSpelledRoom];
  const std::size_t length = SpellNumber(std::min(value, kSpelledMax), suffix == kSpelledOrdinal,
                                         LettersIn(modifier), text);
  return PutAscii(source, at, {text, length});
}

// - before a year before the first; a blank before others in fill mode.
Out PutSign(Source& source, Out at, std::uint8_t modifier) noexcept {
  if (source.signed_year() < 0) {
    *at++ = source.ascii('-');
  } else if ((modifier & kFill) != 0) {
    *at++ = source.ascii(' ');
  }
  return at;
}

Out PutBlanks(const Source& source, Out at, std::size_t count) noexcept {
  memset(at, source.ascii(' '), count);
  return at + count;
}

Out PutName(Source& source, Out at, const NameForms& name, std::size_t width,
            std::uint8_t modifier) noexcept {
  const std::size_t letters = (modifier & kLettersMask) / kCapitalised;
  const NameRef& form = name.form[letters < 3 ? letters : 0];
  const std::uint8_t* from = source.state().pool + form.at;
  for (std::size_t i = 0; i < form.length; i += kCopySlack) memcpy(at + i, from + i, kCopySlack);
  at += form.length;
  if ((modifier & kFill) == 0 || form.columns >= width) return at;
  return PutBlanks(source, at, width - form.columns);
}

Out PutLanguageName(Source& source, Out at, std::size_t group, std::size_t index,
                    std::uint8_t modifier) noexcept {
  const NameForms& name = source.name(group + index);  // loads the widths too
  return PutName(source, at, name, source.state().widths[group], modifier);
}

Out PutCalendarName(Source& source, Out at, CalendarNameIndex group, std::size_t index,
                    std::uint8_t modifier) noexcept {
  const NameForms& name = source.calendar_name(group + index);
  return PutName(source, at, name, source.state().calendar_widths[group], modifier);
}

using Handler = Out(Source&, Out, std::uint8_t modifier) noexcept;

// Numbers: the value of an element, in its digits.
template <auto kValue, std::uint32_t kDigits>
Out Number(Source& source, Out at, std::uint8_t modifier) noexcept {
  return PutNumber(source, at, kValue(source), kDigits, modifier);
}

Out SignedCentury(Source& source, Out at, std::uint8_t modifier) noexcept {
  at = PutSign(source, at, modifier);
  return PutNumber(source, at, (source.year() + 99) / 100, 2, modifier);
}

Out SignedYear(Source& source, Out at, std::uint8_t modifier) noexcept {
  at = PutSign(source, at, modifier);
  return PutNumber(source, at, source.year(), 4, modifier);
}

// As SYYYY, but without the blank.
Out NumericYear(Source& source, Out at, std::uint8_t modifier) noexcept {
  at = PutSign(source, at, modifier & static_cast<std::uint8_t>(~kFill));
  return PutNumber(source, at, source.year(), 4, modifier);
}

Out GroupedYear(Source& source, Out at, std::uint8_t modifier) noexcept {
  const std::uint32_t year = source.year();
  if ((modifier & kSuffixMask) != 0 || ((modifier & kFill) == 0 && year < 1000)) {
    return PutNumber(source, at, year, 4, modifier);
  }
  source.name(0);
  at = PutDigits(source, at, year / 1000, CountDigits(year / 1000));
  const NameRef& separator = source.state().group_separator;
  memcpy(at, source.state().pool + separator.at, kCopySlack);
  return PutDigits(source, at + separator.length, year % 1000, 3);
}

Out SignedGroupedYear(Source& source, Out at, std::uint8_t modifier) noexcept {
  return GroupedYear(source, PutSign(source, at, modifier), modifier);
}

Out YearInWords(Source& source, Out at, std::uint8_t modifier) noexcept {
  char text[kSpelledRoom];
  const std::size_t length = SpellYear(source.year(), false, LettersIn(modifier), text);
  return PutAscii(source, at, {text, length});
}

Out SignedYearInWords(Source& source, Out at, std::uint8_t modifier) noexcept {
  return YearInWords(source, PutSign(source, at, modifier), modifier);
}

Out Month(Source& source, Out at, std::uint8_t modifier) noexcept {
  const std::size_t index = source.month() - 1;
  return source.own_months() ? PutCalendarName(source, at, kCalendarMonths, index, modifier)
                             : PutLanguageName(source, at, kMonthNames, index, modifier);
}

Out ShortMonth(Source& source, Out at, std::uint8_t modifier) noexcept {
  const std::size_t index = source.month() - 1;
  return source.own_months() ? PutCalendarName(source, at, kCalendarShortMonths, index, modifier)
                             : PutLanguageName(source, at, kShortMonthNames, index, modifier);
}

template <std::size_t kGroup>
Out Weekday(Source& source, Out at, std::uint8_t modifier) noexcept {
  return PutLanguageName(source, at, kGroup, source.weekday(), modifier);
}

template <std::size_t kGroup>
Out Meridian(Source& source, Out at, std::uint8_t modifier) noexcept {
  return PutLanguageName(source, at, kGroup, source.date().hour >= 12 ? 1 : 0, modifier);
}

template <std::size_t kGroup>
Out BeforeChrist(Source& source, Out at, std::uint8_t modifier) noexcept {
  return PutLanguageName(source, at, kGroup, source.date().year < 0 ? 1 : 0, modifier);
}

Out RomanMonth(Source& source, Out at, std::uint8_t modifier) noexcept {
  return PutLanguageName(source, at, kRomanMonths, source.month() - 1, modifier);
}

template <CalendarNameIndex kGroup>
Out Era(Source& source, Out at, std::uint8_t modifier) noexcept {
  std::size_t index = 0;
  if (!source.era(index)) return at;
  // One letter tells no more than small or not: E is the era as the language writes it.
  return PutCalendarName(source, at, kGroup, index, modifier);
}

Out Nothing(Source&, Out at, std::uint8_t) noexcept { return at; }

constexpr std::array<Handler*, kCodes> kHandlers = [] {
  std::array<Handler*, kCodes> table{};
  using S = Source&;
  table[KES_DATE_CC] = Number<[](S s) { return (s.year() + 99) / 100; }, 2>;
  table[KES_DATE_SCC] = SignedCentury;
  table[KES_DATE_I] = Number<[](S s) { return s.iso_year() % 10; }, 1>;
  table[KES_DATE_Y] = Number<[](S s) { return s.year() % 10; }, 1>;
  table[KES_DATE_IY] = Number<[](S s) { return s.iso_year() % 100; }, 2>;
  table[KES_DATE_YY] = Number<[](S s) { return s.year() % 100; }, 2>;
  table[KES_DATE_IYY] = Number<[](S s) { return s.iso_year() % 1000; }, 3>;
  table[KES_DATE_YYY] = Number<[](S s) { return s.year() % 1000; }, 3>;
  table[KES_DATE_IYYY] = Number<[](S s) { return s.iso_year(); }, 4>;
  table[KES_DATE_YYYY] = Number<[](S s) { return s.year(); }, 4>;
  table[KES_DATE_Y_YYY] = GroupedYear;
  table[KES_DATE_SYYYY] = SignedYear;
  table[KES_DATE_SY_YYY] = SignedGroupedYear;
  table[KES_DATE_YEAR] = YearInWords;
  table[KES_DATE_SYEAR] = SignedYearInWords;
  table[KES_DATE_Q] = Number<[](S s) { return std::min((s.month() + 2) / 3, 4u); }, 1>;
  table[KES_DATE_MM] = Number<[](S s) { return s.month(); }, 2>;
  table[KES_DATE_IW] = Number<[](S s) { return s.iso_week(); }, 2>;
  table[KES_DATE_WW] = Number<[](S s) { return (s.day_of_year() + 6) / 7; }, 2>;
  table[KES_DATE_W] = Number<[](S s) { return (s.day() + 6) / 7; }, 1>;
  table[KES_DATE_D] = Number<[](S s) { return s.weekday_of_territory(); }, 1>;
  table[KES_DATE_DD] = Number<[](S s) { return s.day(); }, 2>;
  table[KES_DATE_DDD] = Number<[](S s) { return s.day_of_year(); }, 3>;
  table[KES_DATE_HH24] = Number<[](S s) { return std::uint32_t{s.date().hour}; }, 2>;
  table[KES_DATE_HH12] = Number<[](S s) { return (s.date().hour + 11u) % 12 + 1; }, 2>;
  table[KES_DATE_MI] = Number<[](S s) { return std::uint32_t{s.date().minute}; }, 2>;
  table[KES_DATE_SS] = Number<[](S s) { return std::uint32_t{s.date().second}; }, 2>;
  table[KES_DATE_SSSSS] = Number<[](S s) { return s.seconds(); }, 5>;
  table[KES_DATE_J] = Number<[](S s) { return static_cast<std::uint32_t>(s.number()); }, 7>;
  table[KES_DATE_MONTH] = Month;
  table[KES_DATE_MON] = ShortMonth;
  table[KES_DATE_DAY] = Weekday<kDayNames>;
  table[KES_DATE_DY] = Weekday<kShortDayNames>;
  table[KES_DATE_AM] = Meridian<kMeridianNames>;
  table[KES_DATE_A_M] = Meridian<kPeriodMeridians>;
  table[KES_DATE_AD] = BeforeChrist<kEraNames>;
  table[KES_DATE_A_D] = BeforeChrist<kPeriodEras>;
  table[KES_DATE_RM] = RomanMonth;
  table[KES_DATE_RR] = table[KES_DATE_YY];
  table[KES_DATE_RRRR] = table[KES_DATE_YYYY];
  table[KES_DATE_FX] = Nothing;
  table[KES_DATE_E] = Era<kCalendarShortEras>;
  table[KES_DATE_EE] = Era<kCalendarEras>;
  table[KES_DATE_NYYYY] = NumericYear;
  return table;
}();

// Writes the item at the start of format, which loses it. False: the format is damaged, or the
// source has an error.
inline bool PutItem(Source& source, std::span<const std::uint8_t>& format, Out& at) noexcept {
  const std::uint8_t code = format[0];
  if (format.size() < kElementSize) [[unlikely]]
    return source.Fail(kBadFormat);
  if (code >= kLiteralBase) {
    const std::size_t length = code - kLiteralBase;
    if (format.size() - kLiteralHead < length) [[unlikely]]
      return source.Fail(kBadFormat);
    const std::uint8_t* const from = format.data() + kLiteralHead;
    if (length == 1) {
      *at = *from;
    } else {
      memcpy(at, from, length);
    }
    at += length;
    format = format.subspan(kLiteralHead + length);
    return true;
  }
  Handler* const handler = kHandlers[code];
  if (handler == nullptr) [[unlikely]]
    return source.Fail(kBadFormat);
  at = handler(source, at, format[1]);
  format = format.subspan(kElementSize);
  return source.error() == 0;
}

// The rest of a text that may not have kItemRoom left: through a buffer. Emit(bytes) is false when
// they do not fit.
template <typename Emit>
Fault WriteThroughBuffer(Source& source, std::span<const std::uint8_t> whole,
                         std::span<const std::uint8_t> format, std::size_t hold,
                         const Emit& emit) noexcept {
  std::uint8_t buffer[2 * kItemRoom];
  Out at = buffer;
  while (!format.empty()) {
    const std::size_t offset = whole.size() - format.size();
    if (!PutItem(source, format, at)) return {source.error(), offset};
    if (static_cast<std::size_t>(at - buffer) >= hold) {
      if (!emit(buffer, static_cast<std::size_t>(at - buffer))) return {kNoRoom, offset};
      at = buffer;
    }
  }
  if (!emit(buffer, static_cast<std::size_t>(at - buffer))) return {kNoRoom, whole.size()};
  return {};
}

}  // namespace

std::uint32_t WrongField(const ldxdate& date) noexcept {
  if (date.year < kMinYear || date.year > kMaxYear || date.year == 0) return 1841;
  if (date.month < 1 || date.month > 12) return 1843;
  if (date.day < 1 || date.day > 31) return 1847;
  if (date.hour > 23) return 1850;
  if (date.minute > 59) return 1851;
  return date.second > 59 ? 1852 : 0;
}

Fault WriteDate(ldxctx& ctx, const ldxdate& date, std::span<const std::uint8_t> format,
                std::span<std::uint8_t> out, std::size_t& used) noexcept {
  Source source(ctx, date);
  Out at = out.data();
  std::span<const std::uint8_t> left = format;
  if (out.size() >= 2 * kItemRoom) {
    const std::uint8_t* const last = at + (out.size() - kItemRoom);
    while (!left.empty() && at <= last) {
      const std::size_t offset = format.size() - left.size();
      if (!PutItem(source, left, at)) return {source.error(), offset};
    }
  }
  used = static_cast<std::size_t>(at - out.data());
  if (left.empty()) return {};
  return WriteThroughBuffer(source, format, left, kItemRoom,
                            [&](const std::uint8_t* bytes, std::size_t length) {
                              if (out.size() - used < length) return false;
                              if (length != 0) memcpy(out.data() + used, bytes, length);
                              used += length;
                              return true;
                            });
}

Fault WriteDateUnits(ldxctx& ctx, const ldxdate& date, std::span<const std::uint8_t> format,
                     std::span<std::uint8_t> out, std::size_t& used) noexcept {
  Source source(ctx, date);
  const UnitOrder order = OrderOfUnits(ctx);
  const bool utf8 = ctx.handle == nullptr || KeepsUtf8(ctx);
  const lxobject* const from = utf8 ? nullptr : TextSet(ctx);
  const lxobject* const to = utf8 ? nullptr : UnitSet(ctx);
  used = 0;
  return WriteThroughBuffer(
      source, format, format, 1, [&](const std::uint8_t* bytes, std::size_t length) {
        if (utf8) return Utf8ToUnits({bytes, length}, order, out, used);
        const std::span<std::uint8_t> room = out.subspan(used);
        used += lxgcnv(room.data(), to, room.size(), bytes, from, length, ctx.nls);
        return ctx.nls->error != KES_NLS_DESTINATION_FULL;
      });
}

}  // namespace kestra::datetime
