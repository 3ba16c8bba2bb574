// The time zones as a subcommand sees them: the file opened and closed, zones by name with messages
// for people, instants as seconds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/timezone.h"

namespace kestra::tools {

struct ZoneName {
  std::uint32_t id = 0;
  std::string name;
  std::string target;  // the zone that a link has the history of
};

// What is in force at a time.
struct ZoneState {
  std::int64_t utc = 0;  // seconds since 1970
  std::int32_t offset = 0;
  bool dst = false;
  std::string abbreviation;
};

class Zones {
 public:
  // Reads a file, or the one that the environment leads to. Throws ToolError.
  explicit Zones(const std::string& path = "");
  ~Zones() { ltzFree(file_); }
  Zones(const Zones&) = delete;
  Zones& operator=(const Zones&) = delete;

  const ltzfile* file() const { return file_; }
  // "2026f", and where the file lies.
  std::string Release() const;
  const std::string& origin() const { return origin_; }

  // All zones by name.
  const std::vector<ZoneName>& names() const { return names_; }
  // Without regard to case; null for a name that is none.
  const ZoneName* Find(std::string_view name) const;
  // "; did you mean" with the nearest names, or nothing.
  std::string Hint(std::string_view name) const;
  // "unknown time zone", with the hint.
  std::string Unknown(std::string_view name) const;
  // Throws ToolError with that text.
  const ZoneName& Require(std::string_view name) const;

  ZoneState At(std::uint32_t id, std::int64_t utc) const;
  ltzperiod Period(std::uint32_t id, std::int64_t utc) const;
  ltzlocal Local(std::uint32_t id, std::int64_t local) const;

 private:
  const ltzfile* file_ = nullptr;
  std::string origin_;
  std::vector<ZoneName> names_;
};

// The release of a content version: 2606 is "2026f".
std::string ReleaseName(std::uint32_t content);

// Seconds since 1970 and the fields of the library's calendar, years 1 to 9999; anything beyond is moved
// to the nearest second of them.
LdiDate ToTimestamp(std::int64_t seconds);
std::int64_t ToSeconds(const LdiDate& date);
bool IsInYears(std::int64_t seconds);
// Local times may be up to a day beyond the years: 10000-01-01, and 0000-12-31 as ISO 8601 counts.
// "2026-03-08 07:00:00", "Sun 2026-03-08 07:00:00", "+05:30".
std::string FormatTime(std::int64_t seconds);
std::string FormatDayAndTime(std::int64_t seconds);
std::string FormatOffset(std::int32_t seconds);
// "1:00", "24:00", "0:20".
std::string FormatLength(std::int64_t seconds);

}  // namespace kestra::tools
