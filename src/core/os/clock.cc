#include "core/os/clock.h"

#include <time.h>

namespace kestra::os {

LocalDay Today() noexcept {
  const time_t now = time(nullptr);
  struct tm parts;
  if (localtime_r(&now, &parts) == nullptr) return {1970, 1, 1};
  return {parts.tm_year + 1900, static_cast<std::uint32_t>(parts.tm_mon + 1),
          static_cast<std::uint32_t>(parts.tm_mday)};
}

}  // namespace kestra::os
