// Local time to UTC: gaps, and times that exist twice.
#include "datetime/zone_entry.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

int FindLocalInFile(const ZoneView& zone, const LdiDate& local,
                    std::uint32_t& transition) noexcept {
  LocalSearch found{};
  const int status = SearchLocal(zone, local, found);
  transition = found.index[found.chosen];
  return status;
}

int GetFromFile(const ltzfile* file, std::uint32_t id, const LdiDate& local,
                const AnswerTarget& target) noexcept {
  ZoneView zone;
  int status = zone.Find(file, id);
  if (status != KES_ZONE_OK) return status;
  std::uint32_t transition = 0;
  ZoneAnswer answer{};
  status = FindLocalInFile(zone, local, transition);
  if (status == KES_ZONE_OK) status = ReadAnswer(zone, transition, answer);
  return status == KES_ZONE_OK ? target.Put(answer) : status;
}

const ZoneTable* LocalZone(const ZoneIndex* index, std::uint32_t id) noexcept {
  const ZoneTable* zone = IndexedZone(index, id);
  return zone != nullptr && zone->local_ready != 0 ? zone : nullptr;
}

// Local times from begin on for size keys are read with the same transition, and none of them is
// special.
int GetColumn(const ZoneIndex& index, const ZoneTable& zone, const LdiDate* local,
              std::size_t count, std::int32_t* offset, std::uint8_t* dst,
              std::size_t& done) noexcept {
  std::uint64_t begin = 1, size = 0;
  std::int32_t current_offset = 0;
  std::uint8_t current_daylight = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (local[i].type != KES_DATETIME_TIMESTAMP) {
      done = i;
      return KES_ZONE_DAMAGED;
    }
    const std::uint64_t key = KeyOf(local[i]);
    if (key - begin >= size) [[unlikely]] {
      const std::uint32_t at = FindLocal(index, zone, key);
      const UtcRecord& record = index.utc[zone.first + at];
      const LocalRecord* bounds = index.local + zone.first + at;
      current_offset = record.offset;
      current_daylight = record.daylight;
      begin = bounds[0].end;
      size = key < begin ? 0 : (bounds[1].key & ~kZeroByte) - begin;
      if (key - begin >= size) size = 0;  // inside a gap or a time that exists twice
    }
    offset[i] = current_offset;
    if (dst != nullptr) dst[i] = current_daylight;
  }
  done = count;
  return KES_ZONE_OK;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

int ltzGetLocal(const lxhandle* handle, lxcontext* work, const ltzfile* file, std::uint32_t id,
                const LdiDate* local, std::int32_t* offset, char* abbreviation,
                std::uint32_t* dst) noexcept {
  if (local == nullptr || offset == nullptr) return KES_ZONE_MISSING;
  if (!IsTimestamp(local)) return KES_ZONE_DAMAGED;
  if (file == nullptr) return KES_ZONE_MISSING;
  const AnswerTarget target{handle, work, offset, abbreviation, dst};
  const ZoneIndex* index = IndexOf(file);
  const ZoneTable* zone = LocalZone(index, id);
  if (zone == nullptr) return GetFromFile(file, id, *local, target);
  const UtcRecord& record = index->utc[zone->first + FindLocal(*index, *zone, KeyOf(*local))];
  if (abbreviation != nullptr) {
    return target.Put({record.offset, record.daylight, AbbreviationOf(file, record.type)});
  }
  *offset = record.offset;
  if (dst != nullptr) *dst = record.daylight;
  return KES_ZONE_OK;
}

int ltzGetLocalA(const ltzfile* file, std::uint32_t id, const LdiDate* local,
                 ltzlocal* answer) noexcept {
  if (local == nullptr || answer == nullptr) return KES_ZONE_MISSING;
  if (!IsTimestamp(local)) return KES_ZONE_DAMAGED;
  ZoneView zone;
  int status = zone.Find(file, id);
  if (status != KES_ZONE_OK) return status;
  LocalSearch found{};
  status = SearchLocal(zone, *local, found);
  if (status != KES_ZONE_OK) return status;
  ltzlocal result{};
  result.kind = found.kind;
  result.chosen = found.chosen;
  for (int i = 0; i < 2; ++i) {
    ZoneAnswer reading;
    status = ReadAnswer(zone, found.index[i], reading);
    if (status != KES_ZONE_OK) return status;
    result.reading[i] = {reading.offset, reading.daylight, found.index[i], 0, reading.abbreviation};
  }
  *answer = result;
  return KES_ZONE_OK;
}

int ltzGetLocalByIndex(const lxhandle* handle, lxcontext* work, const ltzfile* file,
                       std::uint32_t index, const LdiDate* local, std::int32_t* offset,
                       char* abbreviation, std::uint32_t* dst) noexcept {
  if (local == nullptr || offset == nullptr) return KES_ZONE_MISSING;
  if (!IsTimestamp(local)) return KES_ZONE_DAMAGED;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  const char* name = nullptr;
  std::uint32_t id = 0;
  status = NameAt(zones, index, name, id);
  if (status != KES_ZONE_OK) return status;
  return ltzGetLocal(handle, work, file, id, local, offset, abbreviation, dst);
}

int ltzGetLocalarr(const ltzfile* file, std::uint32_t id, const LdiDate* local, std::size_t count,
                   std::int32_t* offset, std::uint8_t* dst, std::size_t* done) noexcept {
  std::size_t answered = 0;
  int status = KES_ZONE_MISSING;
  if (file != nullptr && (count == 0 || (local != nullptr && offset != nullptr))) {
    const ZoneIndex* index = IndexOf(file);
    const ZoneTable* zone = LocalZone(index, id);
    status = zone != nullptr ? GetColumn(*index, *zone, local, count, offset, dst, answered)
                             : GetColumnFromFile(file, id, local, count, offset, dst, answered,
                                                 FindLocalInFile);
  }
  if (done != nullptr) *done = answered;
  return status;
}

}  // extern "C"
