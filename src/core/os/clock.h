// The system's clock: the present instant, and the broken-down forms the C library gives of one.
#pragma once

#include <cstdint>

namespace kestra::os {

// The calendar date of now in the zone of the process; 1 January 1970 when there is no telling.
struct LocalDay {
  std::int32_t year;
  std::uint32_t month;
  std::uint32_t day;
};
LocalDay Today() noexcept;

// An instant: seconds since 1970-01-01 00:00:00 UTC and 0..999999 microseconds on top.
struct Instant {
  std::int64_t seconds;
  std::uint32_t micros;
};

struct BrokenDown {
  std::int32_t year;
  std::uint32_t month;  // 1..12
  std::uint32_t day;
  std::uint32_t hour;
  std::uint32_t minute;
  std::uint32_t second;  // 60 in a leap second
};

Instant Now() noexcept;

// The local time of the process's environment, and UTC. False when the C library refuses.
bool LocalTime(std::int64_t seconds, BrokenDown& out) noexcept;
bool UtcTime(std::int64_t seconds, BrokenDown& out) noexcept;

}  // namespace kestra::os
