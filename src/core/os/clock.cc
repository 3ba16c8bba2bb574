#include "core/os/clock.h"

#include <sys/time.h>
#include <time.h>

namespace kestra::os {
namespace {

void Copy(const tm& from, BrokenDown& out) noexcept {
  out.year = from.tm_year + 1900;
  out.month = static_cast<std::uint32_t>(from.tm_mon) + 1;
  out.day = static_cast<std::uint32_t>(from.tm_mday);
  out.hour = static_cast<std::uint32_t>(from.tm_hour);
  out.minute = static_cast<std::uint32_t>(from.tm_min);
  out.second = static_cast<std::uint32_t>(from.tm_sec);
}

}  // namespace

LocalDay Today() noexcept {
  const time_t now = time(nullptr);
  struct tm parts;
  if (localtime_r(&now, &parts) == nullptr) return {1970, 1, 1};
  return {parts.tm_year + 1900, static_cast<std::uint32_t>(parts.tm_mon + 1),
          static_cast<std::uint32_t>(parts.tm_mday)};
}

Instant Now() noexcept {
  timeval now{};
  gettimeofday(&now, nullptr);
  return {now.tv_sec, static_cast<std::uint32_t>(now.tv_usec)};
}

bool LocalTime(std::int64_t seconds, BrokenDown& out) noexcept {
  const time_t t = seconds;
  tm parts{};
  if (localtime_r(&t, &parts) == nullptr) return false;
  Copy(parts, out);
  return true;
}

bool UtcTime(std::int64_t seconds, BrokenDown& out) noexcept {
  const time_t t = seconds;
  tm parts{};
  if (gmtime_r(&t, &parts) == nullptr) return false;
  Copy(parts, out);
  return true;
}

}  // namespace kestra::os
