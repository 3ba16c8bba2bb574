#include "tests/support/zone_times.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace kestra::test {

LdiDate Timestamp(std::string_view text) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const int fields = std::sscanf(std::string(text).c_str(), "%d-%d-%d %d:%d:%d", &year, &month,
                                 &day, &hour, &minute, &second);
  if (fields != 3 && fields != 6) {
    std::fprintf(stderr, "not a time: %.*s\n", static_cast<int>(text.size()), text.data());
    std::abort();
  }
  LdiDate date{};
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  date.hour = static_cast<std::uint8_t>(hour);
  date.minute = static_cast<std::uint8_t>(minute);
  date.second = static_cast<std::uint8_t>(second);
  date.type = KES_DATETIME_TIMESTAMP;
  return date;
}

std::string ToText(const LdiDate& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date.year, date.month, date.day,
                date.hour, date.minute, date.second);
  return text;
}

std::int64_t ToSeconds(const LdiDate& date) {
  const std::chrono::sys_days day = std::chrono::year_month_day(
      std::chrono::year(date.year), std::chrono::month(date.month), std::chrono::day(date.day));
  return day.time_since_epoch().count() * std::int64_t{86400} + date.hour * 3600 +
         date.minute * 60 + date.second;
}

LdiDate FromSeconds(std::int64_t seconds) {
  const auto days = std::chrono::floor<std::chrono::days>(std::chrono::seconds(seconds));
  const std::chrono::year_month_day date{std::chrono::sys_days(days)};
  const auto rest = static_cast<int>(seconds - days.count() * std::int64_t{86400});
  LdiDate result{};
  result.year = static_cast<std::int16_t>(static_cast<int>(date.year()));
  result.month = static_cast<std::uint8_t>(static_cast<unsigned>(date.month()));
  result.day = static_cast<std::uint8_t>(static_cast<unsigned>(date.day()));
  result.hour = static_cast<std::uint8_t>(rest / 3600);
  result.minute = static_cast<std::uint8_t>(rest / 60 % 60);
  result.second = static_cast<std::uint8_t>(rest % 60);
  result.type = KES_DATETIME_TIMESTAMP;
  return result;
}

}  // namespace kestra::test
