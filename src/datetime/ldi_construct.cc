// LdiDateConstruct, LdiDateCheck and copies.
#include <cstddef>
#include <string_view>

#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime.h"

namespace kestra::datetime {
namespace {

static_assert(sizeof(LdiDate) == 20 && offsetof(LdiDate, zone_hour) == 12);
static_assert(sizeof(LdiInter) == 24 && sizeof(LdiSession) == 32);

std::uint32_t CalendarFaults(std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
  std::uint32_t faults = 0;
  if (year > kMaxYear) faults |= KES_FAULT_YEAR;
  if (year < kMinYear) faults |= KES_FAULT_YEAR | KES_FAULT_YEAR_LOW;
  if (year == 0) faults |= KES_FAULT_YEAR_ZERO;
  if (month - 1 >= 12) faults |= KES_FAULT_MONTH;
  if (month == 0) faults |= KES_FAULT_MONTH_ZERO;
  const std::uint32_t length = month - 1 < 12 ? MonthLength(year, month) : 31;
  if (day - 1 >= length) faults |= KES_FAULT_DAY;
  if (day == 0) faults |= KES_FAULT_DAY_ZERO;
  if (IsSkipped(year, month, day)) faults |= KES_FAULT_SKIPPED_DAY;
  return faults;
}

std::uint32_t ClockFaults(std::uint32_t hour, std::uint32_t minute, std::uint32_t second,
                          std::uint32_t fraction) noexcept {
  std::uint32_t faults = 0;
  if (hour > 23) faults |= KES_FAULT_HOUR;
  if (minute > 59) faults |= KES_FAULT_MINUTE;
  if (second > 59) faults |= KES_FAULT_SECOND;
  if (fraction >= static_cast<std::uint32_t>(kNanos)) faults |= KES_FAULT_FRACTION;
  return faults;
}

bool IsZoneOffset(std::int32_t hour, std::int32_t minute, std::int32_t limit) noexcept {
  if (hour < -24 || hour > 24 || minute < -59 || minute > 59) return false;
  if ((hour > 0 && minute < 0) || (hour < 0 && minute > 0)) return false;
  return hour * 60 + minute <= limit && hour * 60 + minute >= -limit;
}

std::uint32_t ZoneFaults(const LdiDate& date) noexcept {
  const bool any = (date.zone_hour | date.zone_minute | date.region) != 0;
  if (!HasZone(date.type) && any) return KES_FAULT_ZONE;
  const std::int32_t limit = date.region != 0 ? kMaxRegionMinutes : kMaxZoneMinutes;
  if (!IsZoneOffset(date.zone_hour, date.zone_minute, limit)) return KES_FAULT_ZONE;
  if (date.region != 0 && (!HasDate(date.type) || date.region > 8191)) return KES_FAULT_ZONE;
  return 0;
}

std::uint32_t DateFaults(const LdiDate& date) noexcept {
  if (!IsDatetimeType(date.type)) return KES_FAULT_TYPE;
  std::uint32_t faults = ClockFaults(date.hour, date.minute, date.second, date.fraction);
  faults |= ZoneFaults(date);
  if ((date.zero | date.zero2 | date.reserved) != 0) faults |= KES_FAULT_UNUSED;
  if (!HasFraction(date.type) && date.fraction != 0) faults |= KES_FAULT_UNUSED;
  if (HasDate(date.type)) {
    faults |= CalendarFaults(date.year, date.month, date.day);
  } else if ((date.year | date.month | date.day) != 0) {
    faults |= KES_FAULT_UNUSED;
  }
  if (faults == 0 && HasDate(date.type) && HasZone(date.type) &&
      !InCalendar(UtcMoment(date).seconds)) {
    faults |= KES_FAULT_YEAR;
  }
  return faults;
}

// The fields of LdiDateConstruct before they have to fit into a record.
struct Fields {
  std::int32_t year;
  std::uint32_t month, day, hour, minute, second, fraction;
};

// Checks the fields at the width they were given in, and makes the record without its zone.
std::uint32_t MakeLocal(LdiDate& out, const Fields& f, std::uint32_t precision,
                        std::uint32_t type) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (precision > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  const std::uint32_t faults = (HasDate(type) ? CalendarFaults(f.year, f.month, f.day) : 0) |
                               ClockFaults(f.hour, f.minute, f.second, f.fraction);
  if (faults != 0) return LdiDateFault(faults);
  out = LdiDate{};
  out.type = static_cast<std::uint8_t>(type);
  if (HasDate(type)) {
    out.year = static_cast<std::int16_t>(f.year);
    out.month = static_cast<std::uint8_t>(f.month);
    out.day = static_cast<std::uint8_t>(f.day);
  }
  out.hour = static_cast<std::uint8_t>(f.hour);
  out.minute = static_cast<std::uint8_t>(f.minute);
  out.second = static_cast<std::uint8_t>(f.second);
  out.fraction = f.fraction;
  return RoundFraction(out, HasFraction(type) ? precision : 0);
}

std::uint32_t AddOffset(LdiDate& date, std::int32_t hour, std::int32_t minute) noexcept {
  if (!HasZone(date.type)) return 0;
  if (!IsZoneOffset(hour, minute, kMaxZoneMinutes)) return KES_DATETIME_NO_REGION;
  return AttachZone(date, {.minutes = hour * 60 + minute});
}

std::uint32_t AddRegion(LdiDate& date, const ltzfile* zones, std::uint32_t region) noexcept {
  if (!HasZone(date.type)) return 0;
  if (!HasDate(date.type)) return KES_DATETIME_NO_REGION;
  return AttachZone(date, {.zones = zones, .region = region});
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateCheck(const LdiDate* date) noexcept { return DateFaults(*date); }

uint32_t LdiDateFault(uint32_t faults) noexcept {
  if (faults & (KES_FAULT_TYPE | KES_FAULT_UNUSED)) return KES_DATETIME_BAD_TYPE;
  if (faults & (KES_FAULT_YEAR | KES_FAULT_YEAR_LOW | KES_FAULT_YEAR_ZERO)) {
    return KES_DATETIME_BAD_YEAR;
  }
  if (faults & (KES_FAULT_MONTH | KES_FAULT_MONTH_ZERO)) return KES_DATETIME_BAD_MONTH;
  if (faults & (KES_FAULT_DAY | KES_FAULT_DAY_ZERO | KES_FAULT_SKIPPED_DAY)) {
    return KES_DATETIME_BAD_DAY;
  }
  if (faults & KES_FAULT_HOUR) return KES_DATETIME_BAD_HOUR;
  if (faults & KES_FAULT_MINUTE) return KES_DATETIME_BAD_MINUTE;
  if (faults & KES_FAULT_SECOND) return KES_DATETIME_BAD_SECOND;
  if (faults & KES_FAULT_FRACTION) return KES_DATETIME_BAD_FRACTION;
  return faults != 0 ? KES_DATETIME_NO_REGION : 0;
}

uint32_t LdiDateCheckarr(uint32_t* faults, const LdiDate* const* in, size_t count,
                         size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) {
    faults[i] = DateFaults(*in[i]);
    return 0u;
  });
}

uint32_t LdiDateConstruct(LdiDate* out, int32_t year, uint32_t month, uint32_t day, uint32_t hour,
                          uint32_t minute, uint32_t second, uint32_t fraction, uint32_t precision,
                          uint32_t type, int32_t zone_hour, int32_t zone_minute,
                          const uint8_t* region, size_t region_length,
                          const ltzfile* zones) noexcept {
  LdiDate date;
  std::uint32_t error =
      MakeLocal(date, {year, month, day, hour, minute, second, fraction}, precision, type);
  if (error != 0) return error;
  if (region_length == 0 || !HasZone(type)) {
    error = AddOffset(date, zone_hour, zone_minute);
  } else {
    std::uint32_t id = 0;
    error = FindRegion(zones, {reinterpret_cast<const char*>(region), region_length}, id);
    if (error == 0) error = AddRegion(date, zones, id);
  }
  if (error == 0) *out = date;
  return error;
}

uint32_t LdiDateConstructN(LdiDate* out, int32_t year, uint32_t month, uint32_t day, uint32_t hour,
                           uint32_t minute, uint32_t second, uint32_t fraction, uint32_t precision,
                           uint32_t type, int32_t zone_hour, int32_t zone_minute, uint32_t region,
                           const ltzfile* zones) noexcept {
  LdiDate date;
  std::uint32_t error =
      MakeLocal(date, {year, month, day, hour, minute, second, fraction}, precision, type);
  if (error != 0) return error;
  error = region == 0 ? AddOffset(date, zone_hour, zone_minute) : AddRegion(date, zones, region);
  if (error == 0) *out = date;
  return error;
}

uint32_t LdiDateCopy(LdiDate* out, const LdiDate* in) noexcept {
  *out = *in;
  return 0;
}

uint32_t LdiInterCopy(LdiInter* out, const LdiInter* in) noexcept {
  *out = *in;
  return 0;
}
