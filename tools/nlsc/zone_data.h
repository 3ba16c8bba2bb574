// The model of a release of the time zones, between reading and writing.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

namespace kestra::nlsc {

// What is in force from a transition on.
struct ZoneType {
  std::int32_t offset = 0;  // seconds east of UTC
  bool daylight = false;
  std::string abbreviation;

  auto operator<=>(const ZoneType&) const = default;
};

struct ZoneTransition {
  std::int64_t at = 0;  // seconds since 1970, UTC
  ZoneType type;

  auto operator<=>(const ZoneTransition&) const = default;
};

// Ascending; the first entry stands for everything before the second.
using ZoneHistory = std::vector<ZoneTransition>;

struct Zone {
  std::uint32_t id = 0;
  std::string name;
  bool common = false;      // in the small file too
  std::size_t history = 0;  // index into ZoneData::histories, shared with zones of the same history
};

struct ZoneData {
  std::uint32_t content_version = 0;  // (year - 2000) * 100 + release letter: 2026f is 2606
  std::vector<Zone> zones;            // ascending by id
  std::vector<ZoneHistory> histories;
};

// Instants that a file can hold.
inline constexpr std::int64_t kFirstInstant = -62135596800;  // 0001-01-01, the first of each zone
inline constexpr int kDefaultEndYear = 2200;

struct CivilTime {
  std::int64_t year;
  unsigned month, day, hour, minute, second;
};
// In the Gregorian calendar, also before 1582: year 1 begins with kFirstInstant.
CivilTime ToCivil(std::int64_t instant);
std::int64_t FromCivil(const CivilTime& time);
// "2007-03-11 07:00:00".
std::string FormatInstant(std::int64_t instant);
// "+05:30", "-00:01:15".
std::string FormatOffset(std::int32_t seconds);

}  // namespace kestra::nlsc
