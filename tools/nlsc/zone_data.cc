#include "zone_data.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdlib>

namespace kestra::nlsc {
namespace {

constexpr std::int64_t kDay = 86400;

}  // namespace

CivilTime ToCivil(std::int64_t instant) {
  const std::int64_t days = instant >= 0 ? instant / kDay : -((kDay - 1 - instant) / kDay);
  const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(days))};
  const auto second = static_cast<unsigned>(instant - days * kDay);
  return {static_cast<int>(date.year()),
          static_cast<unsigned>(date.month()),
          static_cast<unsigned>(date.day()),
          second / 3600,
          second / 60 % 60,
          second % 60};
}

std::int64_t FromCivil(const CivilTime& time) {
  const std::chrono::sys_days day =
      std::chrono::year_month_day(std::chrono::year(static_cast<int>(time.year)),
                                  std::chrono::month(time.month), std::chrono::day(time.day));
  return day.time_since_epoch().count() * kDay + time.hour * 3600 + time.minute * 60 + time.second;
}

std::string FormatInstant(std::int64_t instant) {
  const CivilTime time = ToCivil(instant);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", time.year, time.month, time.day,
                     time.hour, time.minute, time.second);
}

std::string FormatOffset(std::int32_t seconds) {
  const std::int64_t size = std::abs(std::int64_t{seconds});
  std::string text =
      fmt::format("{}{:02}:{:02}", seconds < 0 ? '-' : '+', size / 3600, size / 60 % 60);
  if (size % 60 != 0) text += fmt::format(":{:02}", size % 60);
  return text;
}

}  // namespace kestra::nlsc
