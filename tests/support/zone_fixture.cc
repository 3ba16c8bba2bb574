#include "tests/support/zone_fixture.h"

#include <bit>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>

namespace kestra::test {

namespace fs = std::filesystem;

LdiDate Timestamp(std::string_view text) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const int fields = std::sscanf(std::string(text).c_str(), "%d-%d-%d %d:%d:%d", &year, &month,
                                 &day, &hour, &minute, &second);
  EXPECT_TRUE(fields == 3 || fields == 6) << text;
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

std::vector<std::uint8_t> ReadZoneFile(const fs::path& home, std::string_view folder,
                                       std::string_view stem) {
  for (const fs::directory_entry& entry :
       fs::directory_iterator(home / "kescore/zoneinfo" / folder)) {
    if (!entry.path().filename().string().starts_with(stem)) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  ADD_FAILURE() << "no " << stem << " below " << home;
  return {};
}

const char* NameOf(ZoneAccess access) {
  switch (access) {
    case ZoneAccess::kIndexedNative:
      return "indexed";
    case ZoneAccess::kIndexedSwapped:
      return "indexed, of the other byte order";
    case ZoneAccess::kRawNative:
      return "raw";
    case ZoneAccess::kRawSwapped:
      return "raw, of the other byte order";
  }
  return "";
}

LoadedZones::LoadedZones(const fs::path& home, ZoneAccess access) {
  const bool swapped = access == ZoneAccess::kIndexedSwapped || access == ZoneAccess::kRawSwapped;
  const bool little = (std::endian::native == std::endian::little) != swapped;
  bytes_ = ReadZoneFile(home, little ? "little" : "big", "timezlrg_");
  if (access == ZoneAccess::kRawNative || access == ZoneAccess::kRawSwapped) return;
  std::uint32_t status = 99;
  indexed_ = ltzReadMemory(bytes_.data(), bytes_.size(), nullptr, &status);
  EXPECT_EQ(status, 0u);
  EXPECT_NE(indexed_, nullptr);
}

std::uint32_t LoadedZones::Id(const char* name) const {
  std::uint32_t id = 0;
  EXPECT_EQ(ltzID(nullptr, nullptr, file(), name, &id), KES_ZONE_OK) << name;
  return id;
}

std::ostream& operator<<(std::ostream& out, const ZoneReading& reading) {
  return out << "status " << reading.status << ", " << reading.offset << " s, "
             << reading.abbreviation << (reading.dst != 0 ? " DST" : "");
}

namespace {

template <typename Function>
ZoneReading Ask(const Function& function, const ltzfile* file, std::uint32_t id,
                const LdiDate& date) {
  static const auto buffer = std::make_unique<char[]>(KES_ZONE_ABBREVIATION_ROOM);
  ZoneReading reading;
  buffer[0] = '\0';
  reading.status =
      function(nullptr, nullptr, file, id, &date, &reading.offset, buffer.get(), &reading.dst);
  reading.abbreviation = buffer.get();
  return reading;
}

}  // namespace

ZoneReading Get(const ltzfile* file, std::uint32_t id, const LdiDate& utc) {
  return Ask(ltzGet, file, id, utc);
}
ZoneReading GetLocal(const ltzfile* file, std::uint32_t id, const LdiDate& local) {
  return Ask(ltzGetLocal, file, id, local);
}

}  // namespace kestra::test
