// The stored forms of datetimes. A value with a zone is stored in UTC, so that its bytes order by
// time; the year 0, which no date has, can occur there and is written like any other year.
//
// Tests: tests/datetime/ldi_stored_test.cc; fuzz/ldi_bytes_fuzz.cc.
#include <cstring>
#include <span>

#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime.h"

namespace kestra::datetime {
namespace {

constexpr std::size_t kDateBytes = 4;  // century, year, month, day
constexpr std::size_t kClockBytes = 3;
constexpr std::size_t kFractionBytes = 4;
constexpr std::size_t kZoneBytes = 2;
constexpr std::int32_t kYearBias = 10100;  // century byte * 100 + year byte of the year 0
constexpr std::int32_t kHourBias = 20;
constexpr std::int32_t kMinuteBias = 60;
constexpr std::uint32_t kRegionBit = 0x8000;

void StoreBigEndian(std::uint8_t* to, std::uint32_t value) noexcept {
  value = __builtin_bswap32(value);
  std::memcpy(to, &value, sizeof value);
}

std::uint32_t LoadBigEndian(const std::uint8_t* from) noexcept {
  return std::uint32_t{from[0]} << 24 | std::uint32_t{from[1]} << 16 | std::uint32_t{from[2]} << 8 |
         from[3];
}

// The length of a type's stored form with and without a fraction; 0: there is no such form.
constexpr std::size_t StoredLength(std::uint32_t type, bool fraction) noexcept {
  const std::size_t body = (HasDate(type) ? kDateBytes : 0) + kClockBytes;
  const bool zone = HasZone(type) && type != KES_DATETIME_TIMESTAMP_LTZ;
  if (!HasFraction(type)) return fraction ? 0 : body;
  if (zone) return fraction ? body + kFractionBytes + kZoneBytes : 0;
  return fraction ? body + kFractionBytes : body;
}

std::uint8_t* PutDay(std::uint8_t* to, std::int32_t year, std::uint32_t month,
                     std::uint32_t day) noexcept {
  to[0] = static_cast<std::uint8_t>(100 + year / 100);
  to[1] = static_cast<std::uint8_t>(100 + year % 100);
  to[2] = static_cast<std::uint8_t>(month);
  to[3] = static_cast<std::uint8_t>(day);
  return to + kDateBytes;
}

std::uint8_t* PutClock(std::uint8_t* to, const LdiDate& date) noexcept {
  to[0] = static_cast<std::uint8_t>(date.hour + 1);
  to[1] = static_cast<std::uint8_t>(date.minute + 1);
  to[2] = static_cast<std::uint8_t>(date.second + 1);
  return to + kClockBytes;
}

std::uint32_t Store(std::uint8_t* bytes, std::size_t size, std::size_t& length,
                    const LdiDate& date) noexcept {
  const std::uint32_t faults = LdiDateCheck(&date);
  if (faults != 0) return LdiDateFault(faults);
  const bool always = date.type == KES_DATETIME_TIME_TZ || date.type == KES_DATETIME_TIMESTAMP_TZ;
  const std::size_t needed = StoredLength(date.type, date.fraction != 0 || always);
  if (needed > size) return KES_DATETIME_NO_ROOM;
  LdiDate clock = date;
  CivilDate day{date.year, date.month, date.day};
  if (HasZone(date.type) && ZoneMinutes(date) != 0) {
    const Moment utc = UtcMoment(date);
    SetTime(clock, utc);
    if (HasDate(date.type)) {
      day = SplitDay(static_cast<std::int32_t>(FloorDivide(utc.seconds, kDaySeconds)));
    }
  }
  std::uint8_t* to = bytes;
  if (HasDate(date.type)) to = PutDay(to, day.year, day.month, day.day);
  to = PutClock(to, clock);
  if (date.fraction != 0 || always) {
    StoreBigEndian(to, date.fraction);
    to += kFractionBytes;
  }
  if (always) {
    if (date.region != 0) {
      const std::uint32_t id = kRegionBit | date.region;
      to[0] = static_cast<std::uint8_t>(id >> 8);
      to[1] = static_cast<std::uint8_t>(id);
    } else {
      to[0] = static_cast<std::uint8_t>(date.zone_hour + kHourBias);
      to[1] = static_cast<std::uint8_t>(date.zone_minute + kMinuteBias);
    }
  }
  length = needed;
  return 0;
}

// Year, month and day of the four bytes. A UTC may have the year 0.
std::uint32_t ReadDay(const std::uint8_t* from, bool utc, LdiDate& date) noexcept {
  const std::int32_t year = from[0] * 100 + from[1] - kYearBias;
  const bool bytes_agree = year >= 0 ? from[0] >= 100 && from[1] >= 100 && from[1] < 200
                                     : from[0] <= 100 && from[1] <= 100 && from[1] > 0;
  if (!bytes_agree || year < kMinYear || year > kMaxYear || (year == 0 && !utc)) {
    return KES_DATETIME_BAD_YEAR;
  }
  const std::uint32_t month = from[2];
  const std::uint32_t day = from[3];
  if (month - 1 >= 12) return KES_DATETIME_BAD_MONTH;
  if (day - 1 >= MonthLength(year, month) || IsSkipped(year, month, day)) {
    return KES_DATETIME_BAD_DAY;
  }
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  return 0;
}

std::uint32_t ReadClock(const std::uint8_t* from, LdiDate& date) noexcept {
  if (from[0] - 1u >= 24) return KES_DATETIME_BAD_HOUR;
  if (from[1] - 1u >= 60) return KES_DATETIME_BAD_MINUTE;
  if (from[2] - 1u >= 60) return KES_DATETIME_BAD_SECOND;
  date.hour = static_cast<std::uint8_t>(from[0] - 1);
  date.minute = static_cast<std::uint8_t>(from[1] - 1);
  date.second = static_cast<std::uint8_t>(from[2] - 1);
  return 0;
}

std::uint32_t ReadZone(const std::uint8_t* from, const LdiSession* session, Zone& zone) noexcept {
  const std::uint32_t word = std::uint32_t{from[0]} << 8 | from[1];
  if ((word & kRegionBit) != 0) {
    zone = {.zones = ZonesOf(session), .region = word & ~kRegionBit};
    return zone.region == 0 ? KES_DATETIME_BAD_ZONE_ID : 0;
  }
  const std::int32_t hour = from[0] - kHourBias;
  const std::int32_t minute = from[1] - kMinuteBias;
  if (hour < -15 || hour > 15) return KES_DATETIME_BAD_ZONE_HOUR;
  const bool signs = (hour > 0 && minute < 0) || (hour < 0 && minute > 0);
  const bool beyond = (hour == 15 || hour == -15) && minute != 0;
  if (minute < -59 || minute > 59 || signs || beyond) return KES_DATETIME_BAD_ZONE_MINUTE;
  zone = {.minutes = hour * 60 + minute};
  return 0;
}

std::uint32_t Load(LdiDate& out, std::span<const std::uint8_t> bytes, std::uint32_t type,
                   const LdiSession* session) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  const bool fraction = bytes.size() == StoredLength(type, true);
  if (bytes.empty() || (!fraction && bytes.size() != StoredLength(type, false))) {
    return KES_DATETIME_FAILED;
  }
  LdiDate date{};
  date.type = static_cast<std::uint8_t>(type);
  const std::uint8_t* from = bytes.data();
  if (HasDate(type)) {
    if (const std::uint32_t error = ReadDay(from, HasZone(type), date)) return error;
    from += kDateBytes;
  }
  if (const std::uint32_t error = ReadClock(from, date)) return error;
  from += kClockBytes;
  if (fraction) {
    date.fraction = LoadBigEndian(from);
    if (date.fraction >= static_cast<std::uint32_t>(kNanos)) return KES_DATETIME_BAD_FRACTION;
    from += kFractionBytes;
  }
  if (!HasZone(type)) {
    out = date;
    return 0;
  }
  Zone zone = SessionZone(session);
  if (type != KES_DATETIME_TIMESTAMP_LTZ) {
    if (const std::uint32_t error = ReadZone(from, session, zone)) return error;
  }
  Moment utc = LocalMoment(date);
  if (!HasDate(type)) {
    if (zone.region != 0) return KES_DATETIME_NO_REGION;
    utc.seconds += zone.minutes * 60;
    SetTime(date, utc);
    SetZone(date, zone.minutes, 0);
  } else if (const std::uint32_t error = ShowInZone(date, utc, zone)) {
    return error;
  }
  out = date;
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateToArray(uint8_t* bytes, size_t size, size_t* length, const LdiDate* in) noexcept {
  return Store(bytes, size, *length, *in);
}

uint32_t LdiDateFromArray(LdiDate* out, const uint8_t* bytes, size_t length, uint32_t type,
                          const LdiSession* session) noexcept {
  return Load(*out, {bytes, length}, type, session);
}

uint32_t LdiDateToArrayarr(uint8_t* const* bytes, const LdiDate* const* in, size_t count,
                           const size_t* rooms, size_t* lengths, uint32_t flags,
                           size_t* done) noexcept {
  const Operands room(rooms, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return Store(bytes[i], room[i], lengths[i], *in[i]); });
}

uint32_t LdiDateFromArrayarr(LdiDate* const* out, const uint8_t* const* bytes, size_t count,
                             const size_t* lengths, uint32_t type, const LdiSession* session,
                             uint32_t flags, size_t* done) noexcept {
  const Operands length(lengths, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return Load(*out[i], {bytes[i], length[i]}, type, session);
  });
}
