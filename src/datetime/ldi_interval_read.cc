// Intervals from text: fields, ISO 8601 durations and SQL literals.
//
// Tests: tests/datetime/ldi_interval_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include "datetime/array_form.h"
#include "datetime/interval_value.h"
#include "datetime/plain_text.h"
#include "kestra/interval.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kNotAnInterval = KES_DATETIME_BAD_INTERVAL;

struct Precisions {
  std::uint32_t leading = KES_DATETIME_MAX_PRECISION;
  std::uint32_t fraction = KES_DATETIME_MAX_PRECISION;
};

bool TakeSign(PlainReader& text, std::int32_t& sign) noexcept {
  sign = 1;
  if (text.Take('-')) {
    sign = -1;
    return true;
  }
  return text.Take('+');
}

// The error of a field out of its range, when another leads.
std::uint32_t FieldError(bool year_month, int field) noexcept {
  constexpr std::uint32_t kErrors[4] = {0, KES_DATETIME_BAD_HOUR, KES_DATETIME_BAD_MINUTE,
                                        KES_DATETIME_BAD_SECOND};
  if (year_month) return KES_DATETIME_BAD_MONTH;
  return kErrors[field];
}

// [sign] fields of a type, to the end of the text.
std::uint32_t ReadFields(PlainReader text, std::uint32_t type, const Precisions& precisions,
                         LdiInter& out) noexcept {
  constexpr std::int64_t kMax[4] = {0, 23, 59, 59};
  const IntervalType& fields = kIntervalTypes[type];
  const bool year_month = IsYearMonth(type);
  LdiInter inter{};
  inter.type = static_cast<std::uint8_t>(type);
  std::int32_t sign = 1;
  text.Blanks();
  TakeSign(text, sign);
  text.Blanks();
  std::uint32_t nanos = 0;
  for (int i = fields.first; i <= fields.last; ++i) {
    if (i > fields.first) {
      const bool separated = year_month ? text.Take('-') : i == 1 ? text.Blanks() : text.Take(':');
      if (!separated) return kNotAnInterval;
    }
    std::int64_t value = 0;
    if (text.TakeNumber(value) == 0) return kNotAnInterval;
    if (i == fields.first) {
      if (value > LdiPrecLimit[precisions.leading]) return KES_DATETIME_INTERVAL_RANGE;
    } else if (value > (year_month ? 11 : kMax[i])) {
      return FieldError(year_month, i);
    }
    inter.field[i] = static_cast<std::int32_t>(sign * value);
  }
  if (HasSeconds(type) && text.Take('.')) {
    if (text.TakeFraction(nanos) > 9) return KES_DATETIME_BAD_FRACTION;
    inter.field[kNanosField] = sign * static_cast<std::int32_t>(nanos);
  }
  text.Blanks();
  if (!text.AtEnd()) return kNotAnInterval;
  const Amount amount = RoundAmount(AmountOf(inter), precisions.fraction);
  return SetAmount(out, amount, type, LdiPrecLimit[precisions.leading]);
}

// The units of a duration, in the order in which they may come.
struct IsoUnit {
  char designator;
  bool after_t;
  bool year_month;
  std::int32_t size;  // months or seconds
};
constexpr IsoUnit kIsoUnits[] = {{'Y', false, true, 12},      {'M', false, true, 1},
                                 {'W', false, false, 604800}, {'D', false, false, 86400},
                                 {'H', true, false, 3600},    {'M', true, false, 60},
                                 {'S', true, false, 1}};
constexpr std::size_t kIsoUnitCount = sizeof kIsoUnits / sizeof kIsoUnits[0];

// One number with its designator. next: the first unit that may come.
struct IsoState {
  Int128 months = 0;
  Int128 nanos = 0;
  std::size_t next = 0;
  bool after_t = false;
  bool months_seen = false;
  bool seconds_seen = false;
  std::int32_t sign = 0;  // of the parts; 0: none had one, or there were none
};

std::uint32_t ReadIsoPart(PlainReader& text, IsoState& state) noexcept {
  std::int32_t sign = 1;
  const bool signed_part = TakeSign(text, sign);
  std::int64_t value = 0;
  if (text.TakeNumber(value) == 0) return kNotAnInterval;
  std::uint32_t fraction = 0;
  bool has_fraction = false;
  if (text.Peek() == '.' || text.Peek() == ',') {
    text.Skip(1);
    const std::size_t digits = text.TakeFraction(fraction);
    if (digits == 0) return kNotAnInterval;
    if (digits > 9) return KES_DATETIME_BAD_FRACTION;
    has_fraction = true;
  }
  const char designator = ToUpper(text.Peek());
  std::size_t unit = state.next;
  while (unit < kIsoUnitCount &&
         (kIsoUnits[unit].designator != designator || kIsoUnits[unit].after_t != state.after_t)) {
    ++unit;
  }
  if (unit == kIsoUnitCount || (has_fraction && designator != 'S')) return kNotAnInterval;
  text.Skip(1);
  state.next = unit + 1;
  if (value != 0 || fraction != 0) {
    const std::int32_t own = signed_part ? sign : 1;
    if (state.sign != 0 && state.sign != own) return kNotAnInterval;
    state.sign = own;
  }
  const IsoUnit& u = kIsoUnits[unit];
  if (u.year_month) {
    state.months_seen = true;
    state.months += Int128{value} * u.size;
  } else {
    state.seconds_seen = true;
    state.nanos += Int128{value} * u.size * kNanos + fraction;
  }
  return 0;
}

std::uint32_t ReadIso(PlainReader text, std::uint32_t type, const Precisions& precisions,
                      LdiInter& out) noexcept {
  std::int32_t sign = 1;
  TakeSign(text, sign);
  text.Skip(1);  // P
  IsoState state;
  bool part_after_t = true;
  while (!text.AtEnd()) {
    if (!state.after_t && (text.Peek() == 'T' || text.Peek() == 't')) {
      text.Skip(1);
      state.after_t = true;
      part_after_t = false;
      continue;
    }
    if (const std::uint32_t error = ReadIsoPart(text, state)) return error;
    part_after_t = true;
  }
  if (!part_after_t || (!state.months_seen && !state.seconds_seen)) return kNotAnInterval;
  const bool year_month = IsYearMonth(type);
  if (year_month ? state.nanos != 0 : state.months != 0) return KES_DATETIME_NOT_COMPARABLE;
  if (state.sign < 0) sign = -sign;
  Amount amount{};
  if (year_month) {
    amount.count = static_cast<std::int64_t>(state.months) * sign;
  } else if (!AmountOfNanos(state.nanos * sign, amount)) {
    return KES_DATETIME_INTERVAL_RANGE;
  } else if (HasSeconds(type)) {
    amount = RoundAmount(amount, precisions.fraction);
  }
  LdiInter inter;
  if (const std::uint32_t error =
          SetAmount(inter, amount, type, LdiPrecLimit[precisions.leading])) {
    return error;
  }
  if (AmountOf(inter) != amount) return KES_DATETIME_NO_FIELD;
  out = inter;
  return 0;
}

// "(n)", if there is one.
bool TakePrecision(PlainReader& text, std::uint32_t& precision) noexcept {
  text.Blanks();
  if (!text.Take('(')) return true;
  std::int64_t value = 0;
  text.Blanks();
  if (text.TakeNumber(value) == 0 || value > KES_DATETIME_MAX_PRECISION) return false;
  precision = static_cast<std::uint32_t>(value);
  text.Blanks();
  return text.Take(')');
}

constexpr std::string_view kUnitWords[6] = {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"};

// The number of a unit's word, 1..6; 0: none.
std::uint32_t TakeUnit(PlainReader& text) noexcept {
  text.Blanks();
  for (std::uint32_t i = 0; i < 6; ++i) {
    if (text.TakeWord(kUnitWords[i])) return i + 1;
  }
  return 0;
}

// The qualifier of a literal: YEAR(4) TO MONTH, SECOND(2, 3), DAY TO SECOND(9).
bool ReadQualifier(PlainReader& text, std::uint32_t& type, Precisions& precisions) noexcept {
  precisions = {2, 6};
  const std::uint32_t first = TakeUnit(text);
  if (first == 0) return false;
  type = first;
  text.Blanks();
  if (first == KES_INTERVAL_SECOND && text.Take('(')) {  // both precisions in one pair
    std::int64_t value = 0;
    text.Blanks();
    if (text.TakeNumber(value) == 0 || value > KES_DATETIME_MAX_PRECISION) return false;
    precisions.leading = static_cast<std::uint32_t>(value);
    text.Blanks();
    if (text.Take(',')) {
      text.Blanks();
      if (text.TakeNumber(value) == 0 || value > KES_DATETIME_MAX_PRECISION) return false;
      precisions.fraction = static_cast<std::uint32_t>(value);
      text.Blanks();
    }
    return text.Take(')');
  }
  if (!TakePrecision(text, precisions.leading)) return false;
  text.Blanks();
  if (!text.TakeWord("TO")) return true;
  const std::uint32_t last = TakeUnit(text);
  for (std::uint32_t t = KES_INTERVAL_YEAR_TO_MONTH; t <= KES_INTERVAL_MINUTE_TO_SECOND; ++t) {
    if (last != 0 && kIntervalTypes[t].first == kIntervalTypes[first].first &&
        kIntervalTypes[t].last == kIntervalTypes[last].last &&
        IsYearMonth(t) == IsYearMonth(first) && IsYearMonth(t) == IsYearMonth(last)) {
      type = t;
      return last != KES_INTERVAL_SECOND || TakePrecision(text, precisions.fraction);
    }
  }
  return false;
}

// After the word INTERVAL.
std::uint32_t ReadLiteral(PlainReader text, std::uint32_t type, const Precisions& precisions,
                          LdiInter& out) noexcept {
  std::int32_t sign = 1;
  text.Blanks();
  TakeSign(text, sign);
  text.Blanks();
  if (!text.Take('\'')) return kNotAnInterval;
  const std::string_view rest = text.Rest();
  const std::size_t end = rest.find('\'');
  if (end == std::string_view::npos) return kNotAnInterval;
  text.Skip(end + 1);
  std::uint32_t literal_type = 0;
  Precisions own;
  if (!ReadQualifier(text, literal_type, own)) return kNotAnInterval;
  text.Blanks();
  if (!text.AtEnd()) return kNotAnInterval;
  LdiInter inter;
  if (const std::uint32_t error =
          ReadFields(PlainReader(rest.substr(0, end)), literal_type, own, inter)) {
    return error;
  }
  if (IsYearMonth(literal_type) != IsYearMonth(type)) return KES_DATETIME_NOT_COMPARABLE;
  Amount amount = AmountOf(inter);
  amount = {amount.count * sign, amount.nanos * sign};
  if (HasSeconds(type)) amount = RoundAmount(amount, precisions.fraction);
  LdiInter converted;
  if (const std::uint32_t error =
          SetAmount(converted, amount, type, LdiPrecLimit[precisions.leading])) {
    return error;
  }
  if (AmountOf(converted) != amount) return KES_DATETIME_NO_FIELD;
  out = converted;
  return 0;
}

std::uint32_t Read(std::string_view text, std::uint32_t type, const Precisions& precisions,
                   LdiInter& out) noexcept {
  PlainReader reader(text);
  PlainReader after_sign = reader;
  std::int32_t sign = 1;
  TakeSign(after_sign, sign);
  if (ToUpper(after_sign.Peek()) == 'P') return ReadIso(reader, type, precisions, out);
  if (reader.TakeWord("INTERVAL")) return ReadLiteral(reader, type, precisions, out);
  return ReadFields(reader, type, precisions, out);
}

std::uint32_t ReadWithPrecisions(std::string_view text, std::uint32_t type, std::uint32_t leading,
                                 std::uint32_t fraction, LdiInter& out) noexcept {
  if (const std::uint32_t error = CompletePrecisions(type, leading, fraction)) return error;
  return Read(text, type, {leading, fraction}, out);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiInterFromString(LdiInter* out, const uint8_t* text, size_t length, uint32_t type,
                            const lxhandle* handle) noexcept {
  const PlainText plain(text, length, handle);
  return ReadWithPrecisions(plain.view(), type, 9, 9, *out);
}

uint32_t LdiInterFromStringU(LdiInter* out, const uint16_t* text, size_t length,
                             uint32_t type) noexcept {
  const PlainText plain(text, length);
  return ReadWithPrecisions(plain.view(), type, 9, 9, *out);
}

uint32_t LdiInterFromStringarr(LdiInter* const* out, const uint8_t* const* texts, size_t count,
                               const size_t* lengths, uint32_t type, const lxhandle* handle,
                               uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiInterFromString(out[i], texts[i], length[i], type, handle);
  });
}

uint32_t LdiInterFromStringPrec(LdiInter* out, const uint8_t* text, size_t length, uint32_t type,
                                uint32_t leading_precision, uint32_t fraction_precision,
                                const lxhandle* handle) noexcept {
  const PlainText plain(text, length, handle);
  return ReadWithPrecisions(plain.view(), type, leading_precision, fraction_precision, *out);
}

uint32_t LdiInterFromStringPrecarr(LdiInter* const* out, const uint8_t* const* texts, size_t count,
                                   const size_t* lengths, uint32_t type, uint32_t leading_precision,
                                   uint32_t fraction_precision, const lxhandle* handle,
                                   uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiInterFromStringPrec(out[i], texts[i], length[i], type, leading_precision,
                                  fraction_precision, handle);
  });
}

uint32_t LdiInterFromStringPrecU(LdiInter* out, const uint16_t* text, size_t length, uint32_t type,
                                 uint32_t leading_precision, uint32_t fraction_precision) noexcept {
  const PlainText plain(text, length);
  return ReadWithPrecisions(plain.view(), type, leading_precision, fraction_precision, *out);
}
