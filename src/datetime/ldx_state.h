// What a date context keeps inside for format models, and how errors are raised.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/date.h"

namespace kestra::datetime {

// How a set writes letters, digits and signs.
enum class Basis : std::uint8_t { kAscii, kEbcdic };

// The error of an inner function. Entry points raise it as their last act.
struct Fault {
  std::uint32_t number = 0;
  std::size_t offset = 0;
  explicit operator bool() const noexcept { return number != 0; }
};

// A name: where its bytes are in the pool, and how wide it is on a fixed-width display.
struct NameRef {
  std::uint16_t at;
  std::uint8_t length;
  std::uint8_t columns;
};
inline constexpr std::size_t kNameRoom = 128;  // no name has more bytes; longer ones are cut

// A name in capitals, with a capital first letter (else as the language has it), in small letters.
struct NameForms {
  NameRef form[3];
};

// Names in the order of the query items: 0-6 days, 7-13 short days, 14-25 months, 26-37 short
// months, 40 and 41 AM and PM, 42 and 43 AD and BC, 44-55 months standing alone; then the 13
// Roman months and the words with periods, which are the same in every language.
enum NameIndex : std::uint8_t {
  kDayNames = 0,
  kShortDayNames = 7,
  kMonthNames = 14,
  kShortMonthNames = 26,
  kMeridianNames = 40,
  kEraNames = 42,
  kAloneMonthNames = 44,
  kLanguageNames = 56,
  kRomanMonths = 56,
  kPeriodMeridians = 69,
  kPeriodEras = 71,
  kNameCount = 73
};
// Names of a calendar: 13 months, 13 short months, 8 eras (the latest), 8 short eras.
enum CalendarNameIndex : std::uint8_t {
  kCalendarMonths = 0,
  kCalendarShortMonths = 13,
  kCalendarEras = 26,
  kCalendarShortEras = 34,
  kCalendarNameCount = 42
};

inline constexpr std::size_t kPoolSize = 9216;
inline constexpr std::size_t kCopySlack = 16;  // names are copied in pieces of this size

// A compiled format that is nothing but two-digit fields and literals, as a text with holes.
inline constexpr std::size_t kPlanFormat = 64;
inline constexpr std::size_t kPlanText = 64;
enum PlanField : std::uint8_t {
  kCenturyField,
  kYearField,
  kMonthField,
  kDayField,
  kHourField,
  kMinuteField,
  kSecondField,
  kPlanFieldCount
};
inline constexpr std::uint8_t kNoPlace = 0xFF;
struct Plan {
  std::uint8_t format[kPlanFormat];     // which it was made of
  std::uint8_t format_length;           // 0: none
  std::uint8_t text_length;             // 0: the format is not of that kind
  bool readable;                        // year, month and day stand in it
  std::uint8_t place[kPlanFieldCount];  // of each field in the text, or kNoPlace
  std::uint8_t text[kPlanText];         // a zero for each digit
  std::uint8_t limits[kPlanText];  // a byte that differs from text by more comes past 0x7F with it
};

// The same of a format of datetimes, as far as it goes: dates and literals, a fraction, and up to
// eight bytes of literals and an offset.
inline constexpr std::size_t kDatetimePlanFormat = 96;
struct DatetimePlan {
  std::uint8_t format[kDatetimePlanFormat];  // which it was made of
  std::uint8_t format_length;                // 0: none
  std::uint8_t covered;                      // bytes of the format that the plan serves
  std::uint8_t types;  // bit n: the type n has all elements of the whole format
  Basis basis;
  bool whole_readable;     // the whole format is
  bool readable;           // and nothing of the date comes after the plan
  std::uint8_t digits;     // of the fraction; 0: none, kAnyDigits: as many as asked for
  std::uint8_t tail_size;  // bytes behind the fraction
  std::uint8_t sign_at;    // of the offset in the tail, or kNoPlace
  std::uint8_t minute_at;
  std::uint64_t tail;         // a plus and zeros for the offset
  std::uint64_t tail_limits;  // as those of a plan
  Plan head;
};

// Lies in ldxctx::inner. All zeros is a context without a language.
struct State {
  Basis basis;
  bool two_byte_units;  // UTF-16 handle: models and names are kept in UTF-8
  bool whole_names;     // names are compared as a whole: the set has shift state
  bool utf8;            // the set of models and names is UTF-8
  bool datetime;        // models may hold the elements of datetime_model.h
  bool names_loaded;
  bool calendar_loaded;
  std::uint16_t pool_used;
  std::uint8_t ascii[128];  // the characters of ASCII in the set of models and names
  NameForms names[kNameCount];
  NameForms calendar_names[kCalendarNameCount];
  NameRef decimal_character;  // these two come with the names
  NameRef group_separator;
  // The widest of days, short days, months, ... in columns, by the index of the first name.
  std::uint8_t widths[kNameCount];
  std::uint8_t calendar_widths[kCalendarNameCount];
  Plan plan;
  DatetimePlan datetime_plan;
  std::uint8_t pool[kPoolSize + kCopySlack];
};
static_assert(sizeof(State) <= KES_DATE_INNER_BYTES);

inline std::uint8_t InSet(const State& state, char c) noexcept {
  return state.ascii[static_cast<std::size_t>(c)];
}

inline State& StateOf(ldxctx& ctx) noexcept { return *reinterpret_cast<State*>(ctx.inner); }
inline const State& StateOf(const ldxctx& ctx) noexcept {
  return *reinterpret_cast<const State*>(ctx.inner);
}

// Keeps the offset of a fault and raises its number, if there is one.
inline void Raise(ldxctx* ctx, const Fault& fault) {
  if (!fault) return;
  ctx->error_offset = fault.offset;
  ldxerr(ctx, fault.number);
}

}  // namespace kestra::datetime
