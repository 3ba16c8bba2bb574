// The current time, and sessions.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#include "datetime/datetime_value.h"
#include "datetime/interval_value.h"
#include "datetime/lazy_time.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_zone.h"

namespace kestra::datetime {
namespace {

LdiDate Timestamp(const os::BrokenDown& parts) noexcept {
  LdiDate date{};
  date.year = static_cast<std::int16_t>(parts.year);
  date.month = static_cast<std::uint8_t>(parts.month);
  date.day = static_cast<std::uint8_t>(parts.day);
  date.hour = static_cast<std::uint8_t>(parts.hour);
  date.minute = static_cast<std::uint8_t>(parts.minute);
  date.second = static_cast<std::uint8_t>(parts.second < 60 ? parts.second : 59);  // leap second
  date.type = KES_DATETIME_TIMESTAMP;
  return date;
}

std::uint32_t SetSessionZone(LdiSession& session, const LdiZone& zone) noexcept {
  session.zone_hour = zone.hour;
  session.zone_minute = zone.minute;
  session.region = zone.region;
  return 0;
}

}  // namespace

std::int32_t AcceptedOffset(const os::BrokenDown& local, const os::BrokenDown& utc) noexcept {
  const LdiDate x = Timestamp(local);
  const LdiDate y = Timestamp(utc);
  LdiInter offset;
  if (LdiDateDateSubtract(&offset, &x, &y, KES_INTERVAL_HOUR_TO_MINUTE) != 0) return 0;
  const std::int32_t hours = offset.field[1];
  const std::int32_t minutes = offset.field[2];
  if (hours < -15 || hours > 15 || ((hours == 15 || hours == -15) && minutes != 0)) return 0;
  return hours * 60 + minutes;
}

std::uint32_t sLdiGetLazyDt_int(LdiDate& out, const ltzfile* zones, std::uint32_t region) noexcept {
  const os::Instant now = os::Now();
  LdiDate date{};
  date.type = KES_DATETIME_TIMESTAMP_TZ;
  Zone zone{.zones = zones, .region = region};
  if (region == 0) {
    os::BrokenDown local;
    os::BrokenDown utc;
    if (os::LocalTime(now.seconds, local) && os::UtcTime(now.seconds, utc)) {
      zone.minutes = AcceptedOffset(local, utc);
    }
  }
  if (const std::uint32_t error = ShowInZone(date, MomentOf(now), zone)) return error;
  out = date;
  return 0;
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateCurrent(LdiDate* out, uint32_t type, uint32_t precision,
                        const LdiSession* session) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  LdiDate now{};
  if (session == nullptr) {
    if (const std::uint32_t error = sLdiGetLazyDt_int(now, nullptr, 0)) return error;
  } else {
    now.type = KES_DATETIME_TIMESTAMP_TZ;
    if (const std::uint32_t error = ShowInZone(now, CurrentUtc(), SessionZone(session))) {
      return error;
    }
  }
  // The value has the zone already: a session without one only stands in for it.
  LdiSession own{};
  own.zone_hour = now.zone_hour;
  own.zone_minute = now.zone_minute;
  const LdiSession* shown = session != nullptr ? session : &own;
  return LdiDateDateConvert(out, &now, type, precision, shown);
}

uint32_t LdiSessionInit(LdiSession* out, const ltzfile* zones) noexcept {
  *out = {};
  out->zones = zones;
  return 0;
}

uint32_t LdiSessionSetZone(LdiSession* session, const uint8_t* text, size_t length,
                           const lxhandle* handle) noexcept {
  LdiZone zone;
  const std::uint32_t error = LdiZoneFromText(&zone, text, length, handle, session->zones);
  return error != 0 ? error : SetSessionZone(*session, zone);
}

uint32_t LdiSessionSetZoneU(LdiSession* session, const uint16_t* text, size_t units) noexcept {
  LdiZone zone;
  const std::uint32_t error = LdiZoneFromTextU(&zone, text, units, session->zones);
  return error != 0 ? error : SetSessionZone(*session, zone);
}
