// SQL literals and ISO 8601 texts of datetimes.
//
// Tests: tests/datetime/ldi_text_test.cc; fuzz/ldi_text_fuzz.cc.
#include "datetime/array_form.h"
#include "datetime/datetime_plan.h"
#include "datetime/datetime_text.h"
#include "kestra/datetime_zone.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kNotALiteral = 1861;
constexpr std::uint32_t kTextLeft = 1830;

// What a text has said so far.
struct Parts {
  std::int64_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  std::uint32_t fraction = 0;
  bool date = false;
  bool time = false;
  std::string_view zone;  // empty: none
  bool checked = false;   // the fields are in their ranges
};

// Exactly count digits.
bool TakeDigits(PlainReader& text, std::size_t count, std::int64_t& value) noexcept {
  const std::string_view rest = text.Rest();
  if (rest.size() < count) return false;
  value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!IsDigit(rest[i])) return false;
    value = value * 10 + (rest[i] - '0');
  }
  text.Skip(count);
  return true;
}

// One or two digits.
bool TakeShort(PlainReader& text, std::int64_t& value) noexcept {
  const std::size_t digits = text.TakeNumber(value);
  return digits == 1 || digits == 2;
}

std::size_t CountDigits(std::string_view text) noexcept {
  std::size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return count;
}

// [sign]year-month-day or yyyymmdd. False: the text goes on with something else.
bool TakeDate(PlainReader& text, Parts& parts) noexcept {
  PlainReader ahead = text;
  const bool negative = ahead.Take('-');
  if (!negative) ahead.Take('+');
  const std::size_t digits = CountDigits(ahead.Rest());
  if (digits == 8) {
    if (!TakeDigits(ahead, 4, parts.year) || !TakeDigits(ahead, 2, parts.month) ||
        !TakeDigits(ahead, 2, parts.day)) {
      return false;
    }
  } else if (digits == 0 || digits > 6 || ahead.TakeNumber(parts.year) == 0 || !ahead.Take('-') ||
             !TakeShort(ahead, parts.month) || !ahead.Take('-') || !TakeShort(ahead, parts.day)) {
    return false;
  }
  if (negative) parts.year = -parts.year;
  parts.date = true;
  text = ahead;
  return true;
}

// hour:minute[:second[.fraction]], or after a date or a T hhmm[ss[.fraction]]: 2024-05 alone is no time.
std::uint32_t TakeTime(PlainReader& text, bool marked, Parts& parts) noexcept {
  const std::size_t digits = CountDigits(text.Rest());
  if (marked && (digits == 4 || digits == 6)) {
    if (!TakeDigits(text, 2, parts.hour) || !TakeDigits(text, 2, parts.minute)) return kNotALiteral;
    if (digits == 6 && !TakeDigits(text, 2, parts.second)) return kNotALiteral;
  } else {
    if (!TakeShort(text, parts.hour) || !text.Take(':') || !TakeShort(text, parts.minute)) {
      return kNotALiteral;
    }
    if (text.Take(':') && !TakeShort(text, parts.second)) return kNotALiteral;
  }
  parts.time = true;
  if (text.Peek() == '.' || text.Peek() == ',') {
    text.Skip(1);
    const std::size_t count = text.TakeFraction(parts.fraction);
    if (count == 0) return kNotALiteral;
    if (count > 9) return KES_DATETIME_BAD_FRACTION;
  }
  text.Blanks();
  parts.zone = text.Rest();
  return 0;
}

std::uint32_t ReadParts(PlainReader text, Parts& parts) noexcept {
  text.Blanks();
  if (!TakeDate(text, parts)) return TakeTime(text, text.Take('T') || text.Take('t'), parts);
  if (text.AtEnd()) return 0;
  const std::size_t blanks = text.Blanks();
  if (text.AtEnd()) return 0;
  if (blanks == 0 && !text.Take('T') && !text.Take('t')) return kTextLeft;
  return TakeTime(text, true, parts);
}

// +hhmm, which ISO 8601 writes without a colon, becomes +hh:mm.
std::uint32_t ReadZone(std::string_view text, const ltzfile* zones, LdiZone& zone) noexcept {
  char colon[6];
  if (text.size() == 5 && (text[0] == '+' || text[0] == '-') && CountDigits(text.substr(1)) == 4) {
    for (std::size_t i = 0; i < 3; ++i) colon[i] = text[i];
    colon[3] = ':';
    colon[4] = text[3];
    colon[5] = text[4];
    text = {colon, sizeof colon};
  }
  return LdiZoneFromText(&zone, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                         nullptr, zones);
}

std::uint32_t Clamp(std::int64_t value) noexcept {
  return value > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(value);
}

std::uint32_t Make(LdiDate& out, const Parts& parts, std::uint32_t type,
                   const LdiSession* session) noexcept {
  const bool zoned = !parts.zone.empty();
  std::uint32_t own = KES_DATETIME_DATE;
  if (parts.time) {
    own = parts.date ? (zoned ? KES_DATETIME_TIMESTAMP_TZ : KES_DATETIME_TIMESTAMP)
                     : (zoned ? KES_DATETIME_TIME_TZ : KES_DATETIME_TIME);
  }
  const ltzfile* zones = session != nullptr ? session->zones : nullptr;
  LdiZone zone{};
  if (zoned) {
    if (const std::uint32_t error = ReadZone(parts.zone, zones, zone)) return error;
  }
  LdiDate date;
  const auto year = static_cast<std::int32_t>(parts.year);
  if (const std::uint32_t error = LdiDateConstructN(
          &date, year, Clamp(parts.month), Clamp(parts.day), Clamp(parts.hour), Clamp(parts.minute),
          Clamp(parts.second), parts.fraction, KES_DATETIME_MAX_PRECISION, own, zone.hour,
          zone.minute, zone.region, zones)) {
    return error;
  }
  if (type != 0 && type != own) {
    return LdiDateDateConvert(&out, &date, type, KES_DATETIME_MAX_PRECISION, session);
  }
  out = date;
  return 0;
}

// What nearly every timestamp is written as, YYYY-MM-DD HH:MM:SS with a fraction or without, as a
// plan; ISO 8601 has a T in its middle.
constexpr DatetimePlan MakeLiteralPlan(char between, bool fraction) noexcept {
  constexpr std::string_view kText = "0000-00-00 00:00:00.";
  constexpr std::uint8_t kPlaces[] = {0, 2, 5, 8, 11, 14, 17};  // century, year, month...
  DatetimePlan plan{};
  Plan& head = plan.head;
  head.text_length = static_cast<std::uint8_t>(fraction ? kText.size() : kText.size() - 1);
  for (std::size_t i = 0; i < head.text_length; ++i) {
    head.text[i] = static_cast<std::uint8_t>(kText[i] == ' ' ? between : kText[i]);
    head.limits[i] = kText[i] == '0' ? kDigit : kExact;
  }
  for (std::size_t i = 0; i < kPlanFieldCount; ++i) head.place[i] = kPlaces[i];
  plan.digits = fraction ? kAnyDigits : 0;
  plan.sign_at = plan.minute_at = kNoPlace;
  return plan;
}
constexpr DatetimePlan kLiteralPlans[2][2] = {
    {MakeLiteralPlan(' ', false), MakeLiteralPlan(' ', true)},
    {MakeLiteralPlan('T', false), MakeLiteralPlan('T', true)}};
constexpr std::size_t kBetweenAt = 10;
constexpr std::size_t kFractionAt = 19;

// Such a text. False: it is none, or it has something to complain about.
bool TakePlanned(std::string_view text, Parts& parts) noexcept {
  if (text.size() < kFractionAt) return false;
  const bool fraction = text.size() > kFractionAt && text[kFractionAt] == '.';
  const DatetimePlan& plan = kLiteralPlans[text[kBetweenAt] == 'T' ? 1 : 0][fraction ? 1 : 0];
  PlannedFields fields;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  if (!ReadDatetimePlan(plan, {bytes, text.size()}, fields)) return false;
  PlainReader rest(text.substr(fields.used));
  if (IsDigit(rest.Peek()) || rest.Peek() == '.' || rest.Peek() == ',') return false;
  rest.Blanks();
  const ldxdate& date = fields.parts;
  parts = {date.year,   date.month,      date.day, date.hour, date.minute,
           date.second, fields.fraction, true,     true,      rest.Rest()};
  return true;
}

// KEYWORD 'text', or the text alone.
std::uint32_t Read(LdiDate& out, std::string_view view, std::uint32_t type,
                   const LdiSession* session) noexcept {
  if (type != 0 && !IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  PlainReader text(view);
  const bool timestamp = text.TakeWord("TIMESTAMP");
  const bool date = !timestamp && text.TakeWord("DATE");
  const bool time = !timestamp && !date && text.TakeWord("TIME");
  std::string_view inside = view;
  if (timestamp || date || time) {
    text.Blanks();
    if (!text.Take('\'')) return kNotALiteral;
    const std::size_t end = text.Rest().find('\'');
    if (end == std::string_view::npos) return kNotALiteral;
    inside = text.Rest().substr(0, end);
    text.Skip(end + 1);
    text.Blanks();
    if (!text.AtEnd()) return kTextLeft;
  }
  Parts parts;
  if (!TakePlanned(inside, parts)) {
    if (const std::uint32_t error = ReadParts(PlainReader(inside), parts)) return error;
  }
  while (!parts.zone.empty() && parts.zone.back() == ' ') parts.zone.remove_suffix(1);
  const bool agrees = (!timestamp || (parts.date && parts.time)) &&
                      (!date || (parts.date && !parts.time)) && (!time || !parts.date);
  return agrees ? Make(out, parts, type, session) : kNotALiteral;
}

std::uint32_t Write(PlainWriter& out, const LdiDate& date, std::uint32_t precision,
                    const LdiSession* session) noexcept {
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  const std::uint32_t faults = IsPlainValue(date) ? 0 : LdiDateCheck(&date);
  if (faults != 0) return LdiDateFault(faults);
  const bool dated = HasDate(date.type);
  // A date that has a time of day is only kept by a timestamp.
  const bool timed = date.type != KES_DATETIME_DATE || ClockSeconds(date) != 0;
  out.Put(!dated ? "TIME '" : timed ? "TIMESTAMP '" : "DATE '");
  const bool fraction = HasFraction(date.type) && precision != 0;
  if (date.year < 0) out.Put('-');
  std::uint8_t all[kPlanText];
  std::size_t used = 0;
  PutDatetimePlan(kLiteralPlans[0][fraction ? 1 : 0], date, precision, all, used);
  const std::string_view text(reinterpret_cast<const char*>(all), used);
  if (!dated) {
    out.Put(text.substr(kBetweenAt + 1));
  } else {
    out.Put(timed ? text : text.substr(0, kBetweenAt));
  }
  if (HasZone(date.type)) {
    out.Put(' ');
    const ltzfile* zones = session != nullptr ? session->zones : nullptr;
    if (const std::uint32_t error = PutRegionName(out, date, zones)) return error;
  }
  out.Put('\'');
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateFromLiteral(LdiDate* out, const uint8_t* text, size_t length, uint32_t type,
                            const LdiSession* session, const lxhandle* handle) noexcept {
  const PlainText plain(text, length, handle);
  return Read(*out, plain.view(), type, session);
}

uint32_t LdiDateFromLiteralarr(LdiDate* const* out, const uint8_t* const* texts, size_t count,
                               const size_t* lengths, uint32_t type, const LdiSession* session,
                               const lxhandle* handle, uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiDateFromLiteral(out[i], texts[i], length[i], type, session, handle);
  });
}

uint32_t LdiDateFromLiteralU(LdiDate* out, const uint16_t* text, size_t units, uint32_t type,
                             const LdiSession* session) noexcept {
  const PlainText plain(text, units);
  return Read(*out, plain.view(), type, session);
}

uint32_t LdiDateToLiteral(uint8_t* out, size_t size, size_t* length, const LdiDate* in,
                          uint32_t precision, const LdiSession* session,
                          const lxhandle* handle) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = Write(text, *in, precision, session)) return error;
  return text.CopyTo(out, size, *length, handle);
}

uint32_t LdiDateToLiteralarr(uint8_t* const* out, const LdiDate* const* in, size_t count,
                             const size_t* rooms, size_t* lengths, uint32_t precision,
                             const LdiSession* session, const lxhandle* handle, uint32_t flags,
                             size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiDateToLiteral(out[i], room[i], &lengths[i], in[i], precision, session, handle);
  });
}

uint32_t LdiDateToLiteralU(uint16_t* out, size_t size, size_t* length, const LdiDate* in,
                           uint32_t precision, const LdiSession* session) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = Write(text, *in, precision, session)) return error;
  return text.CopyTo(out, size, *length);
}
