// Datetimes to other types, to and from DATE, and the rounding of fractions.
#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime.h"

namespace kestra::datetime {
namespace {

// A value of the type date from a DATE. Neither has a zone.
LdiDate FromDate(const ldxdate& in) noexcept {
  LdiDate date{};
  date.year = in.year;
  date.month = in.month;
  date.day = in.day;
  date.hour = in.hour;
  date.minute = in.minute;
  date.second = in.second;
  date.type = KES_DATETIME_DATE;
  return date;
}

// The zone of the result: its local fields are there already.
std::uint32_t ConvertZone(LdiDate& date, const LdiDate& in, const LdiSession* session) noexcept {
  if (date.type == KES_DATETIME_TIMESTAMP_LTZ) {
    if (HasZone(in.type)) {
      Moment utc = LocalMoment(date);
      utc.seconds -= ZoneMinutes(in) * 60;
      return ShowInZone(date, utc, SessionZone(session));
    }
    return AttachZone(date, SessionZone(session));
  }
  if (HasZone(in.type)) {
    SetZone(date, ZoneMinutes(in), HasDate(date.type) ? in.region : 0);
    return HasDate(date.type) && !InCalendar(UtcMoment(date).seconds) ? KES_DATETIME_BAD_YEAR : 0;
  }
  Zone zone = SessionZone(session);
  if (!HasDate(date.type) && zone.region != 0) {
    // A time of day takes the offset that the zone has now, or on the date that it comes from.
    Moment at = HasDate(in.type) ? LocalMoment(in) : CurrentUtc();
    const std::uint32_t error = HasDate(in.type) ? OffsetAtLocal(zone, in, at, zone.minutes)
                                                 : OffsetAtUtc(zone, at, zone.minutes);
    if (error != 0) return error;
    zone.region = 0;
  }
  return AttachZone(date, zone);
}

std::uint32_t Convert(LdiDate& out, const LdiDate& in, std::uint32_t type, std::uint32_t precision,
                      const LdiSession* session) noexcept {
  if (!IsDatetimeType(in.type) || !IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  LdiDate date = in;
  date.type = static_cast<std::uint8_t>(type);
  date.zone_hour = 0;
  date.zone_minute = 0;
  date.region = 0;
  if (!HasDate(type)) {
    date.year = 0;
    date.month = 0;
    date.day = 0;
  } else if (!HasDate(in.type)) {
    if (const std::uint32_t error = SetCurrentDate(date, session)) return error;
  }
  if (HasZone(type)) {
    if (const std::uint32_t error = ConvertZone(date, in, session)) return error;
  }
  if (!HasFraction(type)) {
    date.fraction = 0;
  } else if (date.fraction != 0) {
    if (const std::uint32_t error = RoundInZone(date, precision, ZonesOf(session))) return error;
  }
  out = date;
  return 0;
}

std::uint32_t ToDate(ldxdate& out, const LdiDate& in, const LdiSession* session) noexcept {
  LdiDate date;
  if (const std::uint32_t error = Convert(date, in, KES_DATETIME_DATE, 0, session)) return error;
  out = {date.year, date.month, date.day, date.hour, date.minute, date.second, 0};
  return 0;
}

std::uint32_t RoundFS(LdiDate& out, const LdiDate& in, std::uint32_t precision,
                      const LdiSession* session) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  LdiDate date = in;
  if (const std::uint32_t error = RoundInZone(date, precision, ZonesOf(session))) return error;
  out = date;
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateDateConvert(LdiDate* out, const LdiDate* in, uint32_t type, uint32_t precision,
                            const LdiSession* session) noexcept {
  return Convert(*out, *in, type, precision, session);
}

uint32_t LdiDateDateConvertarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                               uint32_t type, uint32_t precision, const LdiSession* session,
                               size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Convert(*out[i], *in[i], type, precision, session);
  });
}

uint32_t LdiDateFromLDX(LdiDate* out, const ldxdate* in, uint32_t type,
                        const LdiSession* session) noexcept {
  return Convert(*out, FromDate(*in), type, 0, session);
}

uint32_t LdiDateFromLDXarr(LdiDate* const* out, const ldxdate* const* in, size_t count,
                           uint32_t type, const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return Convert(*out[i], FromDate(*in[i]), type, 0, session);
  });
}

uint32_t LdiDateToLDX(ldxdate* out, const LdiDate* in, const LdiSession* session) noexcept {
  return ToDate(*out, *in, session);
}

uint32_t LdiDateToLDXarr(ldxdate* const* out, const LdiDate* const* in, size_t count,
                         const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return ToDate(*out[i], *in[i], session); });
}

uint32_t LdiDateRoundFS(LdiDate* out, const LdiDate* in, uint32_t precision,
                        const LdiSession* session) noexcept {
  return RoundFS(*out, *in, precision, session);
}

uint32_t LdiDateRoundFSarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                           uint32_t precision, const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return RoundFS(*out[i], *in[i], precision, session); });
}
