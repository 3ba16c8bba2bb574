#include "datetime/zone_rules.h"

#include "core/os/clock.h"

namespace kestra::datetime {
namespace {

constexpr std::int64_t kUnixEpochDay = 2440588;  // 1 January 1970

// Offset of a region in whole minutes.
std::uint32_t RegionAtUtc(const Zone& zone, const Moment&, std::int32_t&) noexcept {
  if (zone.zones == nullptr) return KES_DATETIME_ZONE_FILE;
  return KES_DATETIME_FAILED;
}
std::uint32_t RegionAtLocal(const Zone& zone, Moment&, std::int32_t&) noexcept {
  if (zone.zones == nullptr) return KES_DATETIME_ZONE_FILE;
  return KES_DATETIME_FAILED;
}

}  // namespace

std::uint32_t ZoneError(int status) noexcept {
  switch (status) {
    case 0:
      return 0;
    case 1:
    case 2:
    case 3:
      return KES_DATETIME_ZONE_FILE;
    case 4:
      return KES_DATETIME_BAD_ZONE_ID;
    case 5:
      return KES_DATETIME_NO_REGION;
    default:
      return KES_DATETIME_FAILED;
  }
}

std::uint32_t FindRegion(const ltzfile* zones, std::string_view, std::uint32_t&) noexcept {
  if (zones == nullptr) return KES_DATETIME_ZONE_FILE;
  return KES_DATETIME_FAILED;
}

Zone SessionZone(const LdiSession* session) noexcept {
  if (session == nullptr) return {};
  return {session->zones, session->region, session->zone_hour * 60 + session->zone_minute};
}

std::uint32_t OffsetAtUtc(const Zone& zone, const Moment& utc, std::int32_t& minutes) noexcept {
  if (zone.region != 0) return RegionAtUtc(zone, utc, minutes);
  minutes = zone.minutes;
  return 0;
}

std::uint32_t OffsetAtLocal(const Zone& zone, Moment& local, std::int32_t& minutes) noexcept {
  if (zone.region != 0) return RegionAtLocal(zone, local, minutes);
  minutes = zone.minutes;
  return 0;
}

std::uint32_t AttachZone(LdiDate& date, const Zone& zone) noexcept {
  if (!HasDate(date.type)) {
    if (zone.region != 0) return KES_DATETIME_NO_REGION;
    SetZone(date, zone.minutes, 0);
    return 0;
  }
  const Moment given = LocalMoment(date);
  Moment local = given;
  std::int32_t minutes = 0;
  if (const std::uint32_t error = OffsetAtLocal(zone, local, minutes)) return error;
  if (!InCalendar(local.seconds - minutes * 60)) return KES_DATETIME_BAD_YEAR;
  if (local != given && !SetLocal(date, local, true)) return KES_DATETIME_BAD_YEAR;
  SetZone(date, minutes, zone.region);
  return 0;
}

std::uint32_t ShowInZone(LdiDate& date, const Moment& utc, const Zone& zone) noexcept {
  std::int32_t minutes = 0;
  if (const std::uint32_t error = OffsetAtUtc(zone, utc, minutes)) return error;
  const Moment local{utc.seconds + minutes * 60, utc.nanos};
  if (!InCalendar(utc.seconds) || !InCalendar(local.seconds)) return KES_DATETIME_BAD_YEAR;
  LdiDate shown = date;
  if (!SetLocal(shown, local, true)) return KES_DATETIME_BAD_YEAR;
  if (shown.year == 1 && local.seconds < std::int64_t{DayNumber(1, 1, 1)} * kDaySeconds) {
    return KES_DATETIME_BAD_YEAR;
  }
  SetZone(shown, minutes, zone.region);
  date = shown;
  return 0;
}

std::uint32_t UtcOf(const LdiDate& date, const LdiSession* session, Moment& utc) noexcept {
  if (HasZone(date.type)) {
    utc = UtcMoment(date);
    return 0;
  }
  utc = LocalMoment(date);
  std::int32_t minutes = 0;
  if (const std::uint32_t error = OffsetAtLocal(SessionZone(session), utc, minutes)) return error;
  utc.seconds -= minutes * 60;
  return 0;
}

Moment CurrentUtc() noexcept {
  const os::Instant now = os::Now();
  return {now.seconds + kUnixEpochDay * kDaySeconds, now.micros * 1000};
}

std::uint32_t SetCurrentDate(LdiDate& date, const LdiSession* session) noexcept {
  LdiDate now{};
  now.type = KES_DATETIME_TIMESTAMP_LTZ;
  if (const std::uint32_t error = ShowInZone(now, CurrentUtc(), SessionZone(session))) return error;
  date.year = now.year;
  date.month = now.month;
  date.day = now.day;
  return 0;
}

}  // namespace kestra::datetime
