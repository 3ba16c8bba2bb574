// The system's clock.
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

}  // namespace kestra::os
