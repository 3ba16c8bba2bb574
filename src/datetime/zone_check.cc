#include "datetime/zone_check.h"

#include <string.h>

#include <algorithm>

#include "datetime/zone_names.h"

namespace kestra::datetime {
namespace {

constexpr std::size_t kMaxName = 255;
constexpr std::uint32_t kMaxRun = 65535;
constexpr std::uint32_t kMaxDaily = 64;  // transitions of a zone in a day; real ones have one

constexpr std::uint64_t DayOf(std::uint64_t key) noexcept { return key >> 32; }

class Checker {
 public:
  explicit Checker(const ZoneFile& file) noexcept : file_(file) {}

  bool CheckNames() const noexcept {
    const std::uint32_t count = file_.U16(zone::kNameCountAt);
    const std::uint32_t index = file_.U32(zone::kNameIndexAt);
    if (!file_.Contains(index, std::uint64_t{count} * zone::kNameSize)) return false;
    const char* previous = nullptr;
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::size_t at = index + std::size_t{i} * zone::kNameSize;
      const char* name = Name(file_.U32(at + zone::kNameTextAt));
      if (name == nullptr) return false;
      if (previous != nullptr && CompareNames(previous, name) >= 0) return false;
      ZoneRun run;
      if (file_.FindRun(file_.U16(at + zone::kNameIdAt), run) != KES_ZONE_OK) return false;
      previous = name;
    }
    return true;
  }

  // Collects the zones, ascending by run; false when two runs overlap.
  bool CollectZones(std::span<RunSummary> zones, ZoneSummary& summary) const noexcept {
    std::uint32_t used = 0;
    for (std::uint32_t id = 1; id <= zone::kMaxId; ++id) {
      if (ZoneFile::Replaced(id) != id) continue;
      ZoneRun run;
      const int status = file_.FindRun(id, run);
      if (status == KES_ZONE_NOT_FOUND) continue;
      if (status != KES_ZONE_OK || run.count > kMaxRun) return false;
      if (Name(file_.U32(ZoneFile::EntryAt(id) + zone::kEntryNameAt)) == nullptr) return false;
      zones[used++] = {run.first, run.count, id};
    }
    std::sort(zones.begin(), zones.begin() + used, [](const RunSummary& a, const RunSummary& b) {
      return a.first != b.first ? a.first < b.first : a.id < b.id;
    });
    summary = {used, 0};
    for (std::uint32_t i = 0; i < used; ++i) {
      if (i != 0 && zones[i - 1].first == zones[i].first) {
        if (zones[i - 1].count != zones[i].count) return false;
        continue;
      }
      if (i != 0 && zones[i - 1].first + zones[i - 1].count > zones[i].first) return false;
      ++summary.runs;
    }
    return true;
  }

  bool CheckRun(std::uint32_t id) const noexcept {
    ZoneRun run;
    if (file_.FindRun(id, run) != KES_ZONE_OK) return false;
    std::uint64_t previous = 0;
    for (std::uint32_t i = 0; i < run.count; ++i) {
      const LdiDate date = file_.Transition(run, i);
      const std::uint64_t key = file_.Key(run, i);
      if (!IsUtcTimestamp(date) || (i != 0 && (key <= previous || date.year < 1))) return false;
      // A search among local times tries all that lie within the largest offset.
      if (i >= kMaxDaily && DayOf(file_.Key(run, i - kMaxDaily)) == DayOf(key)) return false;
      std::size_t type = 0;
      if (!file_.TypeAt(run, i, type)) return false;
      const std::int32_t offset = file_.Offset(type);
      if (offset < -zone::kMaxOffset || offset > zone::kMaxOffset) return false;
      if (file_.Abbreviation(type) == nullptr) return false;
      previous = key;
    }
    return true;
  }

 private:
  // A name of 1 to 255 bytes; null for anything else.
  const char* Name(std::uint32_t at) const noexcept {
    const char* text = file_.Text(at);
    if (text == nullptr) return nullptr;
    const std::size_t room = std::min<std::size_t>(file_.strings_end() - at, kMaxName + 1);
    const std::size_t length = strnlen(text, room);
    return length == 0 || length > kMaxName ? nullptr : text;
  }

  static bool IsUtcTimestamp(const LdiDate& date) noexcept {
    return date.year != 0 && date.year >= kMinYear && date.year <= kMaxYear && date.month >= 1 &&
           date.month <= 12 && date.day >= 1 && date.day <= MonthLength(date.year, date.month) &&
           !IsSkipped(date.year, date.month, date.day) && date.hour < 24 && date.minute < 60 &&
           date.second < 60 && date.zero == 0 && date.fraction == 0 && date.zone_hour == 0 &&
           date.zone_minute == 0 && date.type == KES_DATETIME_TIMESTAMP && date.zero2 == 0;
  }

  const ZoneFile& file_;
};

}  // namespace

int CheckZoneFile(std::span<const std::uint8_t> bytes, std::span<RunSummary> zones,
                  ZoneSummary& summary) noexcept {
  if (bytes.data() == nullptr) return KES_ZONE_MISSING;
  if (bytes.size() < zone::kHeaderSize) return KES_ZONE_DAMAGED;
  ZoneFile file;
  const int status = file.Open(bytes.data());
  if (status != KES_ZONE_OK) return status;
  if (file.size() != bytes.size()) return KES_ZONE_DAMAGED;
  const Checker checker(file);
  if (!checker.CollectZones(zones, summary) || !checker.CheckNames()) return KES_ZONE_DAMAGED;
  for (std::uint32_t i = 0; i < summary.zones; ++i) {
    const bool seen = i != 0 && zones[i - 1].first == zones[i].first;
    if (!seen && !checker.CheckRun(zones[i].id)) return KES_ZONE_DAMAGED;
  }
  return KES_ZONE_OK;
}

}  // namespace kestra::datetime
