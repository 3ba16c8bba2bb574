#include "tests/support/date_values.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/calendar_reference.h"

std::ostream& operator<<(std::ostream& out, const ldxdate& date) {
  return out << kestra::test::Text(date);
}

namespace kestra::test {

ldxdate Date(std::string_view text) {
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const std::string copy(text);
  const int read =
      std::sscanf(copy.c_str(), "%d-%u-%u %u:%u:%u", &year, &month, &day, &hour, &minute, &second);
  if (read != 3 && read != 6) {
    std::fprintf(stderr, "not a date: %s\n", copy.c_str());
    std::abort();
  }
  ldxdate date = {};
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  date.hour = static_cast<std::uint8_t>(hour);
  date.minute = static_cast<std::uint8_t>(minute);
  date.second = static_cast<std::uint8_t>(second);
  return date;
}

std::string Text(const ldxdate& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%d-%02u-%02u %02u:%02u:%02u%s", date.year, date.month, date.day,
                date.hour, date.minute, date.second, date.zero == 0 ? "" : " and a last byte");
  return text;
}

ldxdate RandomDate(std::mt19937_64& random) {
  const auto below = [&random](std::uint64_t n) { return static_cast<int>(random() % n); };
  ldxdate date = {};
  int year = 0;
  switch (below(8)) {
    case 0:
      year = -4712 + below(3);
      break;
    case 1:
      year = 9999 - below(3);
      break;
    case 2:
      year = 1582 + below(3) - 1;
      break;
    case 3:
      year = below(9) - 4;
      break;
    default:
      year = below(14711) - 4712;
  }
  if (year == 0) year = 1;
  const int month = below(12) + 1;
  const int length = ref::DaysOfMonth(year, month);
  int day = below(3) == 0 ? length - below(2) : below(static_cast<std::uint64_t>(length)) + 1;
  if (year == 1582 && month == 10 && day > 4 && day < 15) day = 15;
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  date.hour = static_cast<std::uint8_t>(below(24));
  date.minute = static_cast<std::uint8_t>(below(60));
  date.second = static_cast<std::uint8_t>(below(60));
  return date;
}

ldxdate RandomParts(std::mt19937_64& random) {
  ldxdate date;
  const std::uint64_t bits = random();
  static_assert(sizeof date == sizeof bits);
  std::memcpy(&date, &bits, sizeof date);
  return date;
}

}  // namespace kestra::test
