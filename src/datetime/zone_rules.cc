#include "datetime/zone_rules.h"

#include <cstring>

#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

constexpr std::int64_t kUnixEpochDay = 2440588;  // 1 January 1970

// What the look-ups take: a timestamp. Only its fields count.
LdiDate Timestamp(const LdiDate& date) noexcept {
  LdiDate timestamp = date;
  timestamp.type = KES_DATETIME_TIMESTAMP;
  return timestamp;
}

std::uint32_t WholeMinutes(std::int32_t offset, std::int32_t& minutes) noexcept {
  if (offset / 60 > kMaxRegionMinutes || offset / 60 < -kMaxRegionMinutes) {
    return KES_DATETIME_NO_REGION;
  }
  minutes = offset / 60;
  return 0;
}

std::uint32_t RegionAtUtc(const Zone& zone, const Moment& utc, std::int32_t& minutes) noexcept {
  if (zone.zones == nullptr) return KES_DATETIME_ZONE_FILE;
  if (!InCalendar(utc.seconds)) return KES_DATETIME_BAD_YEAR;
  const std::int64_t day = utc.seconds / kDaySeconds;
  const CivilDate civil = SplitDay(static_cast<std::int32_t>(day));
  LdiDate date{};
  date.year = static_cast<std::int16_t>(civil.year);  // the year 0 has its place in the order
  date.month = static_cast<std::uint8_t>(civil.month);
  date.day = static_cast<std::uint8_t>(civil.day);
  SetClock(date, static_cast<std::int32_t>(utc.seconds - day * kDaySeconds));
  date.type = KES_DATETIME_TIMESTAMP;
  std::int32_t offset = 0;
  const int status =
      ltzGet(nullptr, nullptr, zone.zones, zone.region, &date, &offset, nullptr, nullptr);
  if (status != 0) return ZoneError(status);
  return WholeMinutes(offset, minutes);
}

std::uint32_t RegionAtLocal(const Zone& zone, const LdiDate& date, Moment& local,
                            std::int32_t& minutes) noexcept {
  if (zone.zones == nullptr) return KES_DATETIME_ZONE_FILE;
  // Also where the seconds that offsets lack let the local time look as if it were in a gap.
  if (zone.keeps && HasOffsetAt(zone, {local.seconds - zone.minutes * 60, 0}, zone.minutes)) {
    minutes = zone.minutes;
    return 0;
  }
  const LdiDate timestamp = Timestamp(date);
  ltzlocal answer;
  const int status = ltzGetLocalA(zone.zones, zone.region, &timestamp, &answer);
  if (status != 0) return ZoneError(status);
  const bool gap = answer.kind == KES_ZONE_GAP;
  const std::int32_t offset = answer.reading[gap ? 0 : answer.chosen].offset;
  if (!gap) {
    const Moment utc{local.seconds - offset / 60 * 60, 0};
    if (offset % 60 == 0 || HasOffsetAt(zone, utc, offset / 60)) {
      return WholeMinutes(offset, minutes);
    }
  }
  // The instant that is meant as the clock shows it in whole minutes: in a gap what it would have been
  // without the change; else the seconds that offsets lack would lead across a change.
  const Moment utc{local.seconds - offset, 0};
  if (const std::uint32_t error = RegionAtUtc(zone, utc, minutes)) return error;
  local.seconds = utc.seconds + minutes * 60;
  return 0;
}

}  // namespace

bool HasOffsetAt(const Zone& zone, const Moment& utc, std::int32_t minutes) noexcept {
  std::int32_t found = 0;
  return RegionAtUtc(zone, utc, found) == 0 && found == minutes;
}

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

std::uint32_t FindRegion(const ltzfile* zones, std::string_view name, std::uint32_t& id) noexcept {
  if (zones == nullptr) return KES_DATETIME_ZONE_FILE;
  char terminated[kRegionRoom];
  const bool cut = name.find('\0') != std::string_view::npos;
  if (name.size() >= sizeof terminated || cut) return KES_DATETIME_NO_REGION;
  std::memcpy(terminated, name.data(), name.size());
  terminated[name.size()] = '\0';
  return ZoneError(ltzID(nullptr, nullptr, zones, terminated, &id));
}

std::uint32_t RegionName(const ltzfile* zones, std::uint32_t region,
                         std::span<char> room) noexcept {
  if (zones == nullptr) return KES_DATETIME_ZONE_FILE;
  return ZoneError(ltzName(nullptr, nullptr, zones, region, room.data(), room.size()));
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

std::uint32_t OffsetAtLocal(const Zone& zone, const LdiDate& date, Moment& local,
                            std::int32_t& minutes) noexcept {
  if (zone.region != 0) return RegionAtLocal(zone, date, local, minutes);
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
  if (const std::uint32_t error = OffsetAtLocal(zone, date, local, minutes)) return error;
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

std::uint32_t RoundInZone(LdiDate& date, std::uint32_t precision, const ltzfile* zones) noexcept {
  const std::uint32_t fraction = RoundNanos(date.fraction, precision);
  if (fraction < static_cast<std::uint32_t>(kNanos)) {
    date.fraction = fraction;
    return 0;
  }
  if (!HasZone(date.type) || date.region == 0) return RoundFraction(date, precision);
  return ShowInZone(date, {UtcMoment(date).seconds + 1, 0},
                    {.zones = zones, .region = date.region});
}

std::uint32_t UtcOf(const LdiDate& date, const LdiSession* session, Moment& utc) noexcept {
  if (HasZone(date.type)) {
    utc = UtcMoment(date);
    return 0;
  }
  utc = LocalMoment(date);
  std::int32_t minutes = 0;
  if (const std::uint32_t error = OffsetAtLocal(SessionZone(session), date, utc, minutes))
    return error;
  utc.seconds -= minutes * 60;
  return 0;
}

Moment MomentOf(const os::Instant& instant) noexcept {
  return {instant.seconds + kUnixEpochDay * kDaySeconds, instant.micros * 1000};
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
