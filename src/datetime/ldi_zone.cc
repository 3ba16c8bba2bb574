// Datetimes from zone to zone, and the text of zones.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#include <cstring>

#include "datetime/array_form.h"
#include "datetime/datetime_text.h"
#include "datetime/datetime_value.h"
#include "datetime/lazy_time.h"
#include "datetime/plain_text.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_zone.h"

namespace kestra::datetime {
namespace {

// A caller's zone. 0, or 1882 for an offset out of range.
std::uint32_t ReadZone(LdiZone in, const LdiSession* session, Zone& zone) noexcept {
  zone = {.zones = ZonesOf(session), .region = in.region};
  if (in.region != 0) return 0;
  zone.minutes = in.hour * 60 + in.minute;
  const bool signs = (in.hour > 0 && in.minute < 0) || (in.hour < 0 && in.minute > 0);
  const bool beyond = in.minute < -59 || in.minute > 59 || zone.minutes < -kMaxZoneMinutes ||
                      zone.minutes > kMaxZoneMinutes;
  return signs || beyond ? KES_DATETIME_NO_REGION : 0;
}

std::uint32_t Adjust(LdiDate& out, const LdiDate& in, LdiZone wanted,
                     const LdiSession* session) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  Zone zone;
  if (const std::uint32_t error = ReadZone(wanted, session, zone)) return error;
  LdiDate date = in;
  if (!HasZone(in.type)) {
    const std::uint32_t type = HasDate(in.type) ? KES_DATETIME_TIMESTAMP_TZ : KES_DATETIME_TIME_TZ;
    const std::uint32_t precision = KES_DATETIME_MAX_PRECISION;
    if (const std::uint32_t error = LdiDateDateConvert(&date, &in, type, precision, session)) {
      return error;
    }
  }
  if (HasDate(date.type)) {
    if (const std::uint32_t error = ShowInZone(date, UtcMoment(date), zone)) return error;
  } else {
    if (zone.region != 0) return KES_DATETIME_NO_REGION;
    Moment moment = UtcMoment(date);
    moment.seconds += zone.minutes * 60;
    SetTime(date, moment);
    SetZone(date, zone.minutes, 0);
  }
  out = date;
  return 0;
}

// [+|-]h[h][:mm], to the end of the text.
std::uint32_t ReadOffset(PlainReader text, LdiZone& zone) noexcept {
  const std::int32_t sign = text.Take('-') ? -1 : 1;
  if (sign > 0) text.Take('+');
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  const std::size_t digits = text.TakeNumber(hour);
  if (digits == 0 || digits > 2 || hour > 15) return KES_DATETIME_BAD_ZONE_HOUR;
  if (text.Take(':')) {
    const std::size_t more = text.TakeNumber(minute);
    if (more == 0 || more > 2 || minute > 59) return KES_DATETIME_BAD_ZONE_MINUTE;
  }
  if (!text.AtEnd() || (hour == 15 && minute != 0)) return KES_DATETIME_BAD_ZONE_MINUTE;
  zone = {static_cast<std::int8_t>(sign * hour), static_cast<std::int8_t>(sign * minute), 0};
  return 0;
}

bool IsWord(std::string_view text, std::string_view word) noexcept {
  PlainReader reader(text);
  return reader.TakeWord(word) && reader.AtEnd();
}

std::uint32_t PutRegion(PlainWriter& out, const ltzfile* zones, std::uint32_t region) noexcept {
  char name[kRegionRoom];
  if (const std::uint32_t error = RegionName(zones, region, name)) return error;
  out.Put(std::string_view(name));
  return 0;
}

std::uint32_t PutZone(PlainWriter& out, const LdiZone& zone, const ltzfile* zones) noexcept {
  if (zone.region != 0) return PutRegion(out, zones, zone.region);
  PutZoneOffset(out, zone.hour * 60 + zone.minute);
  return 0;
}

std::uint32_t ReadZoneText(LdiZone& out, std::string_view text, const ltzfile* zones) noexcept {
  if (text.empty()) return KES_DATETIME_NO_REGION;
  if (text[0] == '+' || text[0] == '-' || IsDigit(text[0])) {
    return ReadOffset(PlainReader(text), out);
  }
  if (IsWord(text, "Z") || IsWord(text, "UTC") || IsWord(text, "GMT")) {
    out = {};
    return 0;
  }
  if (IsWord(text, "LOCAL")) {
    LdiDate now;
    if (const std::uint32_t error = sLdiGetLazyDt_int(now, nullptr, 0)) return error;
    out = {now.zone_hour, now.zone_minute, 0};
    return 0;
  }
  std::uint32_t region = 0;
  if (const std::uint32_t error = FindRegion(zones, text, region)) return error;
  out = {0, 0, static_cast<std::uint16_t>(region)};
  return 0;
}

std::uint32_t PutField(PlainWriter& out, const LdiDate& date, std::uint32_t field,
                       const ltzfile* zones) noexcept {
  if (!IsDatetimeType(date.type)) return KES_DATETIME_BAD_TYPE;
  if (!HasZone(date.type)) return KES_DATETIME_NO_FIELD;
  switch (field) {
    case KES_FIELD_REGION:
      return PutRegionName(out, date, zones);
    case KES_FIELD_ABBREVIATION:
      return date.region != 0 ? PutZoneAbbreviation(out, date, zones)
                              : std::uint32_t{KES_DATETIME_NO_FIELD};
    case KES_FIELD_ZONE_HOUR:
    case KES_FIELD_ZONE_MINUTE: {
      const std::int32_t value = field == KES_FIELD_ZONE_HOUR ? date.zone_hour : date.zone_minute;
      out.Put(ZoneMinutes(date) < 0 ? '-' : '+');
      out.PutNumber(static_cast<std::uint32_t>(value < 0 ? -value : value), 2);
      return 0;
    }
    default:
      return KES_DATETIME_NO_FIELD;
  }
}

}  // namespace

void PutZoneOffset(PlainWriter& out, std::int32_t minutes) noexcept {
  const auto magnitude = static_cast<std::uint32_t>(minutes < 0 ? -minutes : minutes);
  out.Put(minutes < 0 ? '-' : '+');
  out.PutNumber(magnitude / 60, 2);
  out.Put(':');
  out.PutNumber(magnitude % 60, 2);
}

std::uint32_t PutRegionName(PlainWriter& out, const LdiDate& date, const ltzfile* zones) noexcept {
  if (date.region != 0) return PutRegion(out, zones, date.region);
  PutZoneOffset(out, ZoneMinutes(date));
  return 0;
}

std::uint32_t PutZoneAbbreviation(PlainWriter& out, const LdiDate& date,
                                  const ltzfile* zones) noexcept {
  if (date.region == 0) return 0;
  if (zones == nullptr) return KES_DATETIME_ZONE_FILE;
  LdiDate utc = date;
  if (!SetLocal(utc, UtcMoment(date), true)) return KES_DATETIME_BAD_YEAR;
  utc.type = KES_DATETIME_TIMESTAMP;
  ltzperiod period;
  const int status = ltzLookup(zones, date.region, &utc, &period);
  if (status != 0) return ZoneError(status);
  const std::string_view abbreviation(period.abbreviation);
  if (abbreviation.size() >= kRegionRoom) return KES_DATETIME_FAILED;
  out.Put(abbreviation);
  return 0;
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiZoneFromText(LdiZone* out, const uint8_t* text, size_t length, const lxhandle* handle,
                         const ltzfile* zones) noexcept {
  const PlainText plain(text, length, handle);
  return ReadZoneText(*out, plain.view(), zones);
}

uint32_t LdiZoneFromTextU(LdiZone* out, const uint16_t* text, size_t units,
                          const ltzfile* zones) noexcept {
  const PlainText plain(text, units);
  return ReadZoneText(*out, plain.view(), zones);
}

uint32_t LdiZoneToText(uint8_t* out, size_t size, size_t* length, LdiZone zone,
                       const lxhandle* handle, const ltzfile* zones) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = PutZone(text, zone, zones)) return error;
  return text.CopyTo(out, size, *length, handle);
}

uint32_t LdiZoneToTextU(uint16_t* out, size_t size, size_t* length, LdiZone zone,
                        const ltzfile* zones) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = PutZone(text, zone, zones)) return error;
  return text.CopyTo(out, size, *length);
}

uint32_t LdiTimeZoneAdjust(LdiDate* out, const LdiDate* in, LdiZone zone,
                           const LdiSession* session) noexcept {
  return Adjust(*out, *in, zone, session);
}

uint32_t LdiTimeZoneAdjustarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                              const LdiZone* zones, const LdiSession* session, uint32_t flags,
                              size_t* done) noexcept {
  const Operands zone(zones, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return Adjust(*out[i], *in[i], zone[i], session); });
}

uint32_t LdiT2TZ(LdiDate* out, const LdiDate* in, LdiZone zone,
                 const LdiSession* session) noexcept {
  if (!IsDatetimeType(in->type) || HasZone(in->type)) return KES_DATETIME_BAD_TYPE;
  Zone wanted;
  if (const std::uint32_t error = ReadZone(zone, session, wanted)) return error;
  LdiDate date = *in;
  date.type = HasDate(in->type) ? KES_DATETIME_TIMESTAMP_TZ : KES_DATETIME_TIME_TZ;
  if (const std::uint32_t error = AttachZone(date, wanted)) return error;
  *out = date;
  return 0;
}

uint32_t LdiT2TZarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                    const LdiZone* zones, const LdiSession* session, uint32_t flags,
                    size_t* done) noexcept {
  const Operands zone(zones, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiT2TZ(out[i], in[i], zone[i], session); });
}

uint32_t LdiTZ2T(LdiDate* out, const LdiDate* in) noexcept {
  if (!IsDatetimeType(in->type) || !HasZone(in->type)) return KES_DATETIME_BAD_TYPE;
  LdiDate date = *in;
  SetZone(date, 0, 0);
  date.type = HasDate(in->type) ? KES_DATETIME_TIMESTAMP : KES_DATETIME_TIME;
  *out = date;
  return 0;
}

uint32_t LdiTZ2Tarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                    size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return LdiTZ2T(out[i], in[i]); });
}

uint32_t LdiTimeZoneShift(LdiDate* out, const LdiDate* in, LdiZone from, LdiZone to,
                          const LdiSession* session) noexcept {
  LdiDate date;
  if (const std::uint32_t error = LdiT2TZ(&date, in, from, session)) return error;
  if (const std::uint32_t error = Adjust(date, date, to, session)) return error;
  SetZone(date, 0, 0);
  date.type = in->type;
  *out = date;
  return 0;
}

uint32_t LdiTimeZoneShiftarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                             LdiZone from, LdiZone to, const LdiSession* session,
                             size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    return LdiTimeZoneShift(out[i], in[i], from, to, session);
  });
}

uint32_t LdiFixTSLTZ(LdiDate* out, const LdiDate* in, const LdiSession* session) noexcept {
  if (in->type != KES_DATETIME_TIMESTAMP_LTZ) return KES_DATETIME_BAD_TYPE;
  LdiDate date = *in;
  if (const std::uint32_t error = ShowInZone(date, UtcMoment(*in), SessionZone(session))) {
    return error;
  }
  *out = date;
  return 0;
}

uint32_t LdiFixTSLTZarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                        const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return LdiFixTSLTZ(out[i], in[i], session); });
}

uint32_t LdiDateExtractTZ(uint8_t* out, size_t size, size_t* length, const LdiDate* in,
                          uint32_t field, const LdiSession* session,
                          const lxhandle* handle) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = PutField(text, *in, field, ZonesOf(session))) return error;
  return text.CopyTo(out, size, *length, handle);
}

uint32_t LdiDateExtractTZU(uint16_t* out, size_t size, size_t* length, const LdiDate* in,
                           uint32_t field, const LdiSession* session) noexcept {
  PlainWriter text;
  if (const std::uint32_t error = PutField(text, *in, field, ZonesOf(session))) return error;
  return text.CopyTo(out, size, *length);
}

uint32_t LdiDateExtractTZarr(uint8_t* const* out, const LdiDate* const* in, size_t count,
                             const size_t* rooms, size_t* lengths, uint32_t field,
                             const LdiSession* session, const lxhandle* handle, uint32_t flags,
                             size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return LdiDateExtractTZ(out[i], room[i], &lengths[i], in[i], field, session, handle);
  });
}
