// Rounding and truncating datetimes: the date and clock by the rules of DATE, the fraction goes.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#include "datetime/array_form.h"
#include "datetime/date_operations.h"
#include "datetime/datetime_value.h"
#include "datetime/zone_rules.h"
#include "kestra/date_format.h"
#include "kestra/datetime_arithmetic.h"

namespace kestra::datetime {
namespace {

enum class Way { kRound, kTruncate };

bool IsClockUnit(std::uint32_t unit) noexcept {
  return unit == KES_DATE_HH24 || unit == KES_DATE_HH12 || unit == KES_DATE_MI;
}

// A time of day: on a day in the middle of the calendar, whose date is then dropped.
std::uint32_t ApplyRule(Way way, LdiDate& date, std::uint32_t unit, std::uint32_t first) noexcept {
  const bool dated = HasDate(date.type);
  ldxdate parts{2000, 1, 1, date.hour, date.minute, date.second, 0};
  if (dated) {
    parts.year = date.year;
    parts.month = date.month;
    parts.day = date.day;
  } else if (!IsClockUnit(unit)) {
    return KES_DATETIME_NO_UNIT;
  }
  const auto rule = way == Way::kRound ? RoundToUnit : TruncateToUnit;
  if (const std::uint32_t error = rule(parts, unit, first, parts)) return error;
  if (dated) {
    date.year = parts.year;
    date.month = parts.month;
    date.day = parts.day;
  }
  date.hour = parts.hour;
  date.minute = parts.minute;
  date.second = parts.second;
  date.fraction = 0;
  return 0;
}

std::uint32_t Apply(Way way, LdiDate& out, const LdiDate& in, std::uint32_t unit,
                    std::uint32_t first, const LdiSession* session) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  if (first > 6) return KES_DATETIME_BAD_WEEKDAY;
  if (const std::uint32_t faults = LdiDateCheck(&in)) return LdiDateFault(faults);
  LdiDate date = in;
  if (unit != KES_DATE_SS) {
    if (const std::uint32_t error = ApplyRule(way, date, unit, first)) return error;
  } else if (way == Way::kRound) {
    if (const std::uint32_t error = RoundInZone(date, 0, ZonesOf(session))) return error;
  } else {
    date.fraction = 0;
  }
  if (HasZone(date.type)) {
    const Zone zone{.zones = ZonesOf(session),
                    .region = in.region,
                    .minutes = ZoneMinutes(date),
                    .keeps = true};
    if (const std::uint32_t error = AttachZone(date, zone)) return error;
  }
  out = date;
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiRound(LdiDate* out, const LdiDate* in, uint32_t unit, uint32_t first,
                  const LdiSession* session) noexcept {
  return Apply(Way::kRound, *out, *in, unit, first, session);
}

uint32_t LdiRoundarr(LdiDate* const* out, const LdiDate* const* in, size_t count, uint32_t unit,
                     uint32_t first, const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Apply(Way::kRound, *out[i], *in[i], unit, first, session);
  });
}

uint32_t LdiTruncate(LdiDate* out, const LdiDate* in, uint32_t unit, uint32_t first,
                     const LdiSession* session) noexcept {
  return Apply(Way::kTruncate, *out, *in, unit, first, session);
}

uint32_t LdiTruncatearr(LdiDate* const* out, const LdiDate* const* in, size_t count, uint32_t unit,
                        uint32_t first, const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Apply(Way::kTruncate, *out[i], *in[i], unit, first, session);
  });
}
