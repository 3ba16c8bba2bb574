// The elements that only models of datetimes have, read from a text: fractions, hours to 24, zones.
//
// Tests: tests/datetime/ldi_text_test.cc, tests/datetime/ldi_sets_test.cc.
#include <span>

#include "datetime/date_names.h"
#include "datetime/datetime_model.h"
#include "datetime/text_walk.h"

namespace kestra::datetime {
namespace {

Fault Fraction(TextWalk& walk, std::uint32_t most) noexcept {
  std::uint32_t value = 0;
  const std::uint32_t count = walk.TakeDigits(most == 0 ? 9 : most, value);
  if (count == 0) return walk.Missing(kDigitExpected);
  if (walk.exact() && most != 0 && count < most) return walk.Error(kWrongDigits);
  for (std::uint32_t i = count; i < 9; ++i) value *= 10;
  walk.fields().datetime->fraction = value;
  return {};
}

Fault Hour25(TextWalk& walk) noexcept {
  const std::size_t offset = walk.offset();
  std::uint32_t value = 0;
  const Fault fault = TakeNumber(walk, 2, kFill, value);
  if (fault) return fault;
  if (value > 24) return {1879, offset};
  walk.fields().datetime->hour25 = value;
  return {};
}

// TZH with its sign, TZM with or without one.
Fault ZoneNumber(TextWalk& walk, std::uint8_t code) noexcept {
  DatetimeFields& fields = *walk.fields().datetime;
  const std::size_t offset = walk.offset();
  const bool negative = walk.Accept('-');
  const bool plus = !negative && walk.Accept('+');
  std::uint32_t value = 0;
  if (walk.TakeDigits(2, value) == 0) return walk.Missing(kDigitExpected);
  if (value > (code == kZoneHour ? 15u : 59u)) return {code == kZoneHour ? 1874u : 1875u, offset};
  const auto number = static_cast<std::int32_t>(value);
  std::int32_t& field = code == kZoneHour ? fields.zone_hour : fields.zone_minute;
  bool& said = code == kZoneHour ? fields.zone_hour_said : fields.zone_minute_said;
  if (said && field != number) return {1882, offset};  // TZR and TZH disagree
  field = number;
  said = true;
  // Hours are positive without a sign, minutes are what the hours are.
  const bool positive = !negative && value != 0 && (plus || code == kZoneHour);
  fields.zone_negative = fields.zone_negative || negative;
  fields.zone_positive = fields.zone_positive || positive;
  return fields.zone_negative && fields.zone_positive ? Fault{1875, offset} : Fault{};
}

// +hh:mm, +hh or +hhmm in place of a region.
Fault ZoneOffset(TextWalk& walk) noexcept {
  if (const Fault fault = ZoneNumber(walk, kZoneHour)) return fault;
  const bool more = walk.Accept(':') || (!walk.AtEnd() && walk.DigitAt(walk.left().data()) <= 9);
  return more ? ZoneNumber(walk, kZoneMinute) : Fault{};
}

// The name of a region, or an abbreviation: letters, digits and _ / + -, to ASCII.
Fault ZoneName(TextWalk& walk, std::span<char> out) noexcept {
  const std::size_t offset = walk.offset();
  std::size_t length = 0;
  while (!walk.AtEnd()) {
    char c = 0;
    for (std::uint8_t ascii = '+'; ascii <= 'z' && c == 0; ++ascii) {
      if (walk.state().ascii[ascii] == walk.left()[0]) c = static_cast<char>(ascii);
    }
    const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (!letter && (c < '0' || c > '9') && c != '_' && c != '/' && c != '+' && c != '-') break;
    if (length + 1 == out.size()) return {1857, offset};
    out[length++] = c;
    walk.Advance(1);
  }
  if (length == 0) return walk.Missing(kLetterExpected);
  out[length] = 0;
  return {};
}

// The decimal character of the language. No text has group separators here, so that a full stop and
// a comma say the same.
Fault Radix(TextWalk& walk) noexcept {
  if (walk.Accept('.') || walk.Accept(',')) return {};
  NeedNames(walk.ctx());
  if (walk.AcceptBytes(TextOf(walk.state(), walk.state().decimal_character))) return {};
  return walk.exact() ? walk.Missing(kLiteralDiffers) : Fault{};
}

}  // namespace

Fault ReadDatetimeElement(TextWalk& walk, std::uint8_t code) noexcept {
  DatetimeFields* const fields = walk.fields().datetime;
  if (fields == nullptr) return walk.Error(kDamaged);
  const bool fraction = code == kFraction || (code >= kFraction1 && code <= kFraction9);
  fields->seen |= DatetimeBit(fraction ? std::uint8_t{kFraction} : code);
  if (fraction) return Fraction(walk, code == kFraction ? 0u : code - kFraction1 + 1u);
  switch (code) {
    case kHour25:
      return Hour25(walk);
    case kZoneHour:
    case kZoneMinute:
      return ZoneNumber(walk, code);
    case kZoneAbbreviation:
      return ZoneName(walk, fields->abbreviation);
    case kZoneRegion: {
      const bool sign = walk.IsNext('+') || walk.IsNext('-');
      return sign ? ZoneOffset(walk) : ZoneName(walk, fields->region);
    }
    case kRadix:
      return Radix(walk);
    default:
      return walk.Error(kDamaged);
  }
}

}  // namespace kestra::datetime
