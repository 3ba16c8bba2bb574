#include "tests/support/datetime_values.h"

#include <cstdio>
#include <cstdlib>

namespace kestra::test {
namespace {

constexpr std::uint32_t kTypes[] = {KES_DATETIME_DATE,         KES_DATETIME_TIME,
                                    KES_DATETIME_TIMESTAMP,    KES_DATETIME_TIME_TZ,
                                    KES_DATETIME_TIMESTAMP_TZ, KES_DATETIME_TIMESTAMP_LTZ};

[[noreturn]] void Die(std::string_view text) {
  std::fprintf(stderr, "not a datetime: %.*s\n", static_cast<int>(text.size()), text.data());
  std::abort();
}

std::uint32_t TypeOf(bool date, bool time, bool zone) {
  if (!date) return zone ? KES_DATETIME_TIME_TZ : KES_DATETIME_TIME;
  if (zone) return KES_DATETIME_TIMESTAMP_TZ;
  return time ? KES_DATETIME_TIMESTAMP : KES_DATETIME_DATE;
}

}  // namespace

LdiDate Datetime(std::string_view text, std::uint32_t type) {
  const std::string copy(text);
  const char* at = copy.c_str();
  LdiDate date{};
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0, used = 0;
  const bool has_date =
      std::sscanf(at, "%d-%u-%u%n", &year, &month, &day, reinterpret_cast<int*>(&used)) == 3;
  if (has_date) {
    at += used;
  } else {
    year = 0;
  }
  while (*at == ' ') ++at;
  bool has_time = false;
  if (*at >= '0' && *at <= '9') {
    if (std::sscanf(at, "%u:%u:%u%n", &hour, &minute, &second, reinterpret_cast<int*>(&used)) !=
        3) {
      Die(text);
    }
    has_time = true;
    at += used;
    if (*at == '.') {
      std::uint32_t unit = 100'000'000;
      for (++at; *at >= '0' && *at <= '9'; ++at, unit /= 10) {
        date.fraction += static_cast<std::uint32_t>(*at - '0') * unit;
      }
    }
  }
  while (*at == ' ') ++at;
  bool has_zone = false;
  if (*at == '+' || *at == '-') {
    const int sign = *at == '-' ? -1 : 1;
    unsigned zone_hour = 0, zone_minute = 0;
    if (std::sscanf(at + 1, "%u:%u%n", &zone_hour, &zone_minute, reinterpret_cast<int*>(&used)) !=
        2) {
      Die(text);
    }
    at += used + 1;
    date.zone_hour = static_cast<std::int8_t>(sign * static_cast<int>(zone_hour));
    date.zone_minute = static_cast<std::int8_t>(sign * static_cast<int>(zone_minute));
    has_zone = true;
  }
  if (*at != '\0' || (!has_date && !has_time)) Die(text);
  date.year = static_cast<std::int16_t>(year);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  date.hour = static_cast<std::uint8_t>(hour);
  date.minute = static_cast<std::uint8_t>(minute);
  date.second = static_cast<std::uint8_t>(second);
  date.type = static_cast<std::uint8_t>(type != 0 ? type : TypeOf(has_date, has_time, has_zone));
  return date;
}

std::string Show(const LdiDate& date) {
  char text[96];
  std::string out;
  if (date.type != KES_DATETIME_TIME && date.type != KES_DATETIME_TIME_TZ) {
    std::snprintf(text, sizeof text, "%04d-%02u-%02u ", date.year, date.month, date.day);
    out += text;
  }
  std::snprintf(text, sizeof text, "%02u:%02u:%02u", date.hour, date.minute, date.second);
  out += text;
  if (date.type != KES_DATETIME_DATE) {
    std::snprintf(text, sizeof text, ".%09u", date.fraction);
    out += text;
  }
  if (date.type >= KES_DATETIME_TIME_TZ) {
    const int minutes = date.zone_hour * 60 + date.zone_minute;
    std::snprintf(text, sizeof text, " %c%02d:%02d", minutes < 0 ? '-' : '+',
                  std::abs(minutes) / 60, std::abs(minutes) % 60);
    out += text;
  }
  if (date.region != 0) out += " #" + std::to_string(date.region);
  return out;
}

std::string Show(const LdiInter& inter) {
  std::string out;
  for (const std::int32_t field : inter.field) out += std::to_string(field) + " ";
  return out + "/" + std::to_string(inter.type);
}

LdiInter Interval(std::uint32_t type, std::int32_t a, std::int32_t b, std::int32_t c,
                  std::int32_t d, std::int32_t nanos) {
  return {{a, b, c, d, nanos}, static_cast<std::uint8_t>(type), 0, 0};
}

std::uint32_t DatetimeSource::DateType() { return kTypes[Below(6)]; }

LdiDate DatetimeSource::Date() { return Date(DateType()); }

LdiDate DatetimeSource::Date(std::uint32_t type) {
  static constexpr int kYears[] = {-4712, -4711, -1, 1, 1582, 1900, 2000, 2024, 9999};
  for (;;) {
    LdiDate date{};
    date.type = static_cast<std::uint8_t>(type);
    const bool dated = type != KES_DATETIME_TIME && type != KES_DATETIME_TIME_TZ;
    if (dated) {
      int year = Below(4) == 0 ? kYears[Below(9)] : static_cast<int>(Below(14711)) - 4712;
      if (year == 0) year = 4;
      date.year = static_cast<std::int16_t>(year);
      date.month = static_cast<std::uint8_t>(1 + Below(12));
      date.day = static_cast<std::uint8_t>(Below(3) == 0 ? 28 + Below(4) : 1 + Below(31));
    }
    const bool edge = Below(4) == 0;
    date.hour = static_cast<std::uint8_t>(edge ? Below(2) * 23 : Below(24));
    date.minute = static_cast<std::uint8_t>(edge ? Below(2) * 59 : Below(60));
    date.second = static_cast<std::uint8_t>(edge ? Below(2) * 59 : Below(60));
    if (type != KES_DATETIME_DATE && Below(3) != 0) {
      static constexpr std::uint32_t kUnits[] = {1, 1000, 1000000, 100000000};
      const std::uint32_t unit = kUnits[Below(4)];
      date.fraction = static_cast<std::uint32_t>(Below(1000000000 / unit)) * unit;
    }
    if (type >= KES_DATETIME_TIME_TZ) {
      const int minutes = Below(2) == 0 ? (static_cast<int>(Below(31)) - 15) * 60
                                        : static_cast<int>(Below(1801)) - 900;
      date.zone_hour = static_cast<std::int8_t>(minutes / 60);
      date.zone_minute = static_cast<std::int8_t>(minutes % 60);
    }
    if (LdiDateCheck(&date) == 0) return date;
  }
}

std::int32_t DatetimeSource::Magnitude(std::int32_t limit) {
  switch (Below(4)) {
    case 0:
      return 0;
    case 1:
      return limit;
    case 2:
      return static_cast<std::int32_t>(Below(100)) % (limit + 1);
    default:
      return static_cast<std::int32_t>(Below(static_cast<std::uint64_t>(limit) + 1));
  }
}

LdiInter DatetimeSource::Inter() { return Inter(InterType()); }

LdiInter DatetimeSource::Inter(std::uint32_t type) {
  // By type: the leading field and the last, in the record.
  static constexpr int kFields[14][2] = {{0, 0}, {0, 0}, {1, 1}, {0, 0}, {1, 1}, {2, 2}, {3, 3},
                                         {0, 1}, {0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
  const bool year_month = LdiTypeCode[type] >= KES_MASK_MONTH;
  const std::int32_t sign = Below(2) == 0 ? 1 : -1;
  LdiInter inter{};
  inter.type = static_cast<std::uint8_t>(type);
  for (int i = kFields[type][0]; i <= kFields[type][1]; ++i) {
    static constexpr std::int32_t kLimits[4] = {0, 23, 59, 59};
    const std::int32_t limit = i == kFields[type][0] ? 999'999'999 : year_month ? 11 : kLimits[i];
    inter.field[i] = sign * Magnitude(limit);
  }
  if ((LdiTypeCode[type] & KES_MASK_SECOND) != 0) inter.field[4] = sign * Magnitude(999'999'999);
  return inter;
}

std::size_t LawCount(std::size_t by_default) {
  const char* text = std::getenv("KESTRA_DATETIME_LAWS");
  return text != nullptr ? std::strtoull(text, nullptr, 10) : by_default;
}

}  // namespace kestra::test
