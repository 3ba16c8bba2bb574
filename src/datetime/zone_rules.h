// What the datetime functions ask of the time zones: the offset at an instant, the offset of a
// local time, and the numbers of errors. Offsets are whole minutes east of UTC.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "core/os/clock.h"
#include "datetime/datetime_value.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

// The error number of a status of the ltz functions.
std::uint32_t ZoneError(int status) noexcept;

// The id of a region's name in ASCII. 0, 1804, 1882...
std::uint32_t FindRegion(const ltzfile* zones, std::string_view name, std::uint32_t& id) noexcept;

inline constexpr std::size_t kRegionRoom = 256;  // of a region's name with its NUL

// A zone: a region when it is not 0, else an offset. keeps: minutes is the offset that the region had
// before the local time was moved; where it still has it, as in a time that exists twice, it stays.
struct Zone {
  const ltzfile* zones = nullptr;
  std::uint32_t region = 0;
  std::int32_t minutes = 0;
  bool keeps = false;
};
Zone SessionZone(const LdiSession* session) noexcept;
inline const ltzfile* ZonesOf(const LdiSession* session) noexcept {
  return session != nullptr ? session->zones : nullptr;
}

// The offset of a zone at a UTC; 1841 outside the calendar.
std::uint32_t OffsetAtUtc(const Zone& zone, const Moment& utc, std::int32_t& minutes) noexcept;

// Whether a region has an offset at a UTC.
bool HasOffsetAt(const Zone& zone, const Moment& utc, std::int32_t minutes) noexcept;

// The offset of a zone at the local time of a dated value, of which local is the moment: moved
// forward when it lies in a gap, and by the seconds that offsets lack where they would lead across a
// change, so that the zone has this offset at this time.
std::uint32_t OffsetAtLocal(const Zone& zone, const LdiDate& date, Moment& local,
                            std::int32_t& minutes) noexcept;

// Gives a record with local fields the zone: sets its offset and region, moves it out of a gap.
// 0, 1841, or an error of the zone file; nothing is changed then.
std::uint32_t AttachZone(LdiDate& date, const Zone& zone) noexcept;

// Makes the record of a dated type show a UTC in a zone. 0, 1841 (also for a local time in the year
// 0: moving it would change the instant), or an error of the zone file; nothing is changed then.
std::uint32_t ShowInZone(LdiDate& date, const Moment& utc, const Zone& zone) noexcept;

// Rounds the fraction to precision digits. A carry moves the instant by no more than that: a region
// shows it at the offset in force then. 0, 1841, or an error of the zone file, which only a carry of
// a value with a region asks; nothing is changed then.
std::uint32_t RoundInZone(LdiDate& date, std::uint32_t precision, const ltzfile* zones) noexcept;

// The name of a region in ASCII, in room bytes with its NUL. 0, 1804, 1881, 1882, 1891.
std::uint32_t RegionName(const ltzfile* zones, std::uint32_t region, std::span<char> room) noexcept;

// The UTC of any dated value; one without a zone is taken in the session's.
std::uint32_t UtcOf(const LdiDate& date, const LdiSession* session, Moment& utc) noexcept;

// An instant of the machine's clock, and the present one.
Moment MomentOf(const os::Instant& instant) noexcept;
inline Moment CurrentUtc() noexcept { return MomentOf(os::Now()); }

// The date of the session's clock: its year, month and day are put into date.
std::uint32_t SetCurrentDate(LdiDate& date, const LdiSession* session) noexcept;

}  // namespace kestra::datetime
