#include "zones.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "command.h"
#include "suggest.h"

namespace kestra::tools {
namespace {

constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kDayOf1970 = 2440588;         // 1 January 1970, as the calendar counts
constexpr std::int64_t kFirstSecond = -62135769600;  // of the year 1, in the Julian calendar
constexpr std::int64_t kLastSecond = 253402300799;   // of the year 9999
constexpr std::size_t kNameRoom = 256;

std::int64_t FloorDays(std::int64_t seconds) {
  return (seconds >= 0 ? seconds : seconds - (kDaySeconds - 1)) / kDaySeconds;
}

const char* ReasonText(std::uint32_t status) {
  switch (status) {
    case KES_ZONE_MISSING:
      return "there is none; set KESTRA_HOME or KES_TZFILE, or install a data library";
    case KES_ZONE_BAD_VERSION:
      return "it has another format version";
    case KES_ZONE_NO_MEMORY:
      return "there is no memory for it";
    default:
      return "it is damaged";
  }
}

}  // namespace

Zones::Zones(const std::string& path) {
  origin_ = path;
  if (path.empty()) {
    char found[1024];
    int embedded = 0;
    if (ltzPath(KES_ZONE_ANY_ORDER, found, sizeof found, &embedded) != 0) {
      origin_ = embedded != 0 ? fmt::format("{} of the data library", found) : found;
    }
  }
  std::uint32_t status = 0;
  file_ = ltzRead(path.empty() ? nullptr : path.c_str(), KES_ZONE_ANY_ORDER, nullptr, &status);
  if (file_ == nullptr) {
    const ExitCode code = status == KES_ZONE_MISSING && !path.empty() ? kInputOutput : kBadData;
    throw ToolError(
        code, fmt::format("time-zone file{}{}: {}", origin_.empty() ? "" : " ", origin_,
                          status == KES_ZONE_MISSING && !origin_.empty() ? "it cannot be read"
                                                                         : ReasonText(status)));
  }
  ltzstep step{};
  ZoneName entry;
  char name[kNameRoom];
  while (ltzStep(nullptr, nullptr, file_, &step, &entry.id, name, sizeof name) == KES_ZONE_OK) {
    entry.name = name;
    names_.push_back(entry);
  }
  // A link has the history of the zone whose id its transitions carry.
  for (ZoneName& zone : names_) {
    const ltzperiod period = Period(zone.id, 0);
    char target[kNameRoom];
    if (period.from.region != zone.id && ltzName(nullptr, nullptr, file_, period.from.region,
                                                 target, sizeof target) == KES_ZONE_OK) {
      zone.target = target;
    }
  }
}

std::string Zones::Release() const { return ReleaseName(ltzGetFileContentVer(file_)); }

const ZoneName* Zones::Find(std::string_view name) const {
  std::uint32_t id = 0;
  const std::string text(name);
  if (ltzID(nullptr, nullptr, file_, text.c_str(), &id) != KES_ZONE_OK) return nullptr;
  const auto at = std::find_if(names_.begin(), names_.end(),
                               [&](const ZoneName& zone) { return zone.id == id; });
  return at == names_.end() ? nullptr : &*at;
}

std::string Zones::Hint(std::string_view name) const {
  std::vector<std::string> candidates;
  for (const ZoneName& known : names_) candidates.push_back(known.name);
  const std::string hint = DidYouMean(name, candidates);
  if (!hint.empty()) return hint;
  // "berlin", "newyork": the city alone.
  std::vector<std::string> cities;
  for (const ZoneName& known : names_) {
    cities.push_back(known.name.substr(known.name.rfind('/') + 1));
  }
  std::vector<std::string> near;
  for (const std::string& city : Nearest(name, cities)) {
    const auto at = std::find(cities.begin(), cities.end(), city);
    near.push_back(names_[static_cast<std::size_t>(at - cities.begin())].name);
  }
  return DidYouMean(near);
}

std::string Zones::Unknown(std::string_view name) const {
  return fmt::format("unknown time zone '{}'{}", name, Hint(name));
}

const ZoneName& Zones::Require(std::string_view name) const {
  if (const ZoneName* zone = Find(name)) return *zone;
  throw ToolError(kUsage, Unknown(name));
}

ltzperiod Zones::Period(std::uint32_t id, std::int64_t utc) const {
  const LdiDate date = ToTimestamp(utc);
  ltzperiod period{};
  if (ltzLookup(file_, id, &date, &period) != KES_ZONE_OK) {
    throw ToolError(kBadData, fmt::format("zone {} cannot be looked up", id));
  }
  return period;
}

ZoneState Zones::At(std::uint32_t id, std::int64_t utc) const {
  const ltzperiod period = Period(id, utc);
  return {utc, period.offset, period.daylight != 0, period.abbreviation};
}

ltzlocal Zones::Local(std::uint32_t id, std::int64_t local) const {
  const LdiDate date = ToTimestamp(local);
  ltzlocal answer{};
  if (ltzGetLocalA(file_, id, &date, &answer) != KES_ZONE_OK) {
    throw ToolError(kBadData, fmt::format("zone {} cannot be looked up", id));
  }
  return answer;
}

std::string ReleaseName(std::uint32_t content) {
  const std::uint32_t letter = content % 100;
  if (letter == 0 || letter > 26) return std::to_string(content);
  return fmt::format("{}{}", 2000 + content / 100, static_cast<char>('a' + letter - 1));
}

LdiDate ToTimestamp(std::int64_t seconds) {
  seconds = std::clamp(seconds, kFirstSecond, kLastSecond);
  const std::int64_t day = FloorDays(seconds);
  const auto rest = static_cast<unsigned>(seconds - day * kDaySeconds);
  LdiDate result{};
  LdiJDaysToDate(&result, static_cast<std::int32_t>(day + kDayOf1970), KES_DATETIME_TIMESTAMP,
                 nullptr);
  result.hour = static_cast<std::uint8_t>(rest / 3600);
  result.minute = static_cast<std::uint8_t>(rest / 60 % 60);
  result.second = static_cast<std::uint8_t>(rest % 60);
  return result;
}

std::int64_t ToSeconds(const LdiDate& date) {
  std::int32_t day = 0;
  LdiDateToJDays(&day, &date);
  return (day - kDayOf1970) * kDaySeconds + date.hour * 3600 + date.minute * 60 + date.second;
}

bool IsInYears(std::int64_t seconds) { return seconds >= kFirstSecond && seconds <= kLastSecond; }

std::string FormatTime(std::int64_t seconds) {
  // The year 10000 is the year 9600 with another name, the year 0 the year 4.
  int years = 0;
  if (seconds > kLastSecond) years = 400, seconds -= 146097 * kDaySeconds;
  if (seconds < kFirstSecond) years = -4, seconds += 1461 * kDaySeconds;
  const LdiDate date = ToTimestamp(seconds);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", date.year + years, date.month, date.day,
                     date.hour, date.minute, date.second);
}

std::string FormatDayAndTime(std::int64_t seconds) {
  constexpr const char* kDays[] = {"Thu", "Fri", "Sat", "Sun", "Mon", "Tue", "Wed"};
  return fmt::format("{} {}", kDays[(FloorDays(seconds) % 7 + 7) % 7], FormatTime(seconds));
}

std::string FormatOffset(std::int32_t seconds) {
  const int size = std::abs(seconds);
  std::string text =
      fmt::format("{}{:02}:{:02}", seconds < 0 ? '-' : '+', size / 3600, size / 60 % 60);
  if (size % 60 != 0) text += fmt::format(":{:02}", size % 60);
  return text;
}

std::string FormatLength(std::int64_t seconds) {
  std::string text = fmt::format("{}:{:02}", seconds / 3600, seconds / 60 % 60);
  if (seconds % 60 != 0) text += fmt::format(":{:02}", seconds % 60);
  return text;
}

}  // namespace kestra::tools
