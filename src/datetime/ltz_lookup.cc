// UTC to local time: one instant, its period, a column of instants. The fast way goes through the
// index of a checked file (zone_index.h); everything else, errors included, through ZoneView.
#include "datetime/zone_entry.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

int FindUtcInFile(const ZoneView& zone, const LdiDate& utc, std::uint32_t& transition) noexcept {
  transition = SearchUtc(zone, utc);
  return KES_ZONE_OK;
}

int GetFromFile(const ltzfile* file, std::uint32_t id, const LdiDate& utc,
                const AnswerTarget& target) noexcept {
  ZoneView zone;
  int status = zone.Find(file, id);
  if (status != KES_ZONE_OK) return status;
  ZoneAnswer answer;
  status = ReadAnswer(zone, SearchUtc(zone, utc), answer);
  return status == KES_ZONE_OK ? target.Put(answer) : status;
}

// The instants from the current one on that lie in the same period as the one before are answered by
// two comparisons with its bounds.
int GetColumn(const ZoneIndex& index, const ZoneTable& zone, const LdiDate* utc, std::size_t count,
              std::int32_t* offset, std::uint8_t* dst, std::size_t& done) noexcept {
  const UtcRecord* records = index.utc + zone.first;
  std::uint64_t begin = 1, size = 0;  // no key lies there
  std::int32_t current_offset = 0;
  std::uint8_t current_daylight = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (utc[i].type != KES_DATETIME_TIMESTAMP) {
      done = i;
      return KES_ZONE_DAMAGED;
    }
    const std::uint64_t key = KeyOf(utc[i]);
    if (key - begin >= size) [[unlikely]] {
      const UtcRecord* record = records + FindUtc(index, zone, key);
      begin = record->key;
      size = record[1].key - begin;
      current_offset = record->offset;
      current_daylight = record->daylight;
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

int ltzGet(const lxhandle* handle, lxcontext* work, const ltzfile* file, std::uint32_t id,
           const LdiDate* utc, std::int32_t* offset, char* abbreviation,
           std::uint32_t* dst) noexcept {
  if (utc == nullptr || offset == nullptr) return KES_ZONE_MISSING;
  if (!IsTimestamp(utc)) return KES_ZONE_DAMAGED;
  if (file == nullptr) return KES_ZONE_MISSING;
  const ZoneIndex* index = IndexOf(file);
  const ZoneTable* zone = IndexedZone(index, id);
  const AnswerTarget target{handle, work, offset, abbreviation, dst};
  if (zone == nullptr) return GetFromFile(file, id, *utc, target);
  const UtcRecord& record = index->utc[zone->first + FindUtc(*index, *zone, KeyOf(*utc))];
  if (abbreviation != nullptr) {
    return target.Put({record.offset, record.daylight, AbbreviationOf(file, record.type)});
  }
  *offset = record.offset;
  if (dst != nullptr) *dst = record.daylight;
  return KES_ZONE_OK;
}

int ltzLookup(const ltzfile* file, std::uint32_t id, const LdiDate* utc,
              ltzperiod* period) noexcept {
  if (utc == nullptr || period == nullptr) return KES_ZONE_MISSING;
  if (!IsTimestamp(utc)) return KES_ZONE_DAMAGED;
  ZoneView zone;
  int status = zone.Find(file, id);
  if (status != KES_ZONE_OK) return status;
  const std::uint32_t at = SearchUtc(zone, *utc);
  ZoneAnswer answer;
  status = ReadAnswer(zone, at, answer);
  if (status != KES_ZONE_OK) return status;
  *period = {};
  period->from = zone.file.Transition(zone.run, at);
  if (at + 1 < zone.run.count) period->until = zone.file.Transition(zone.run, at + 1);
  period->offset = answer.offset;
  period->daylight = answer.daylight;
  period->index = at;
  period->count = zone.run.count;
  period->abbreviation = answer.abbreviation;
  return KES_ZONE_OK;
}

int ltzGetarr(const ltzfile* file, std::uint32_t id, const LdiDate* utc, std::size_t count,
              std::int32_t* offset, std::uint8_t* dst, std::size_t* done) noexcept {
  std::size_t answered = 0;
  int status = KES_ZONE_MISSING;
  if (file != nullptr && (count == 0 || (utc != nullptr && offset != nullptr))) {
    const ZoneIndex* index = IndexOf(file);
    const ZoneTable* zone = IndexedZone(index, id);
    status = zone != nullptr
                 ? GetColumn(*index, *zone, utc, count, offset, dst, answered)
                 : GetColumnFromFile(file, id, utc, count, offset, dst, answered, FindUtcInFile);
  }
  if (done != nullptr) *done = answered;
  return status;
}

}  // extern "C"
