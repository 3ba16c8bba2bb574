// What the datetime functions ask of the time zones: the offset at an instant, the offset of a
// local time, and the numbers of errors. Offsets are whole minutes east of UTC.
//
// Tests: tests/datetime/ldi_zone_test.cc.
#pragma once

#include <cstdint>
#include <string_view>

#include "datetime/datetime_value.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

// The error number of a status of the ltz functions.
std::uint32_t ZoneError(int status) noexcept;

// The id of a region's name. 0, 1804, 1882...
std::uint32_t FindRegion(const ltzfile* zones, std::string_view name, std::uint32_t& id) noexcept;

// A zone: a region when it is not 0, else an offset.
struct Zone {
  const ltzfile* zones = nullptr;
  std::uint32_t region = 0;
  std::int32_t minutes = 0;
};
Zone SessionZone(const LdiSession* session) noexcept;

// The offset of a zone at a UTC.
std::uint32_t OffsetAtUtc(const Zone& zone, const Moment& utc, std::int32_t& minutes) noexcept;

// The offset of a zone at a local time; a time in a gap is moved forward by it.
std::uint32_t OffsetAtLocal(const Zone& zone, Moment& local, std::int32_t& minutes) noexcept;

// Gives a record with local fields the zone: sets its offset and region, moves it out of a gap.
// 0, 1841, or an error of the zone file; nothing is changed then.
std::uint32_t AttachZone(LdiDate& date, const Zone& zone) noexcept;

// Makes the record of a dated type show a UTC in a zone. 0, 1841 (also for a local time in the year
// 0: moving it would change the instant), or an error of the zone file; nothing is changed then.
std::uint32_t ShowInZone(LdiDate& date, const Moment& utc, const Zone& zone) noexcept;

// The UTC of any dated value; one without a zone is taken in the session's.
std::uint32_t UtcOf(const LdiDate& date, const LdiSession* session, Moment& utc) noexcept;

// The present UTC of the machine's clock.
Moment CurrentUtc() noexcept;

// The date of the session's clock: its year, month and day are put into date.
std::uint32_t SetCurrentDate(LdiDate& date, const LdiSession* session) noexcept;

}  // namespace kestra::datetime
