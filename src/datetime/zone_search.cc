#include "datetime/zone_search.h"

namespace kestra::datetime {
namespace {

struct Reading {
  std::int64_t at;  // the transition, as LinearSeconds
  std::int32_t offset;
  bool daylight;
};

bool Read(const ZoneView& zone, std::uint32_t i, Reading& reading) noexcept {
  std::size_t type = 0;
  if (!zone.file.TypeAt(zone.run, i, type)) return false;
  reading = {LinearSeconds(zone.file.Transition(zone.run, i)), zone.file.Offset(type),
             zone.file.Daylight(zone.run, i)};
  return true;
}

// The last transition whose key is not later, 0 when there is none. Without branches on the data: half
// of what is left is kept each time.
std::uint32_t SearchKey(const ZoneView& zone, std::uint64_t key) noexcept {
  std::uint32_t base = 0;
  for (std::uint32_t left = zone.run.count; left > 1;) {
    const std::uint32_t half = left / 2;
    base = zone.file.Key(zone.run, base + half) <= key ? base + half : base;
    left -= half;
  }
  return base;
}

}  // namespace

int ZoneView::Find(const ltzfile* address, std::uint32_t id) noexcept {
  int status = file.Open(address);
  if (status == KES_ZONE_OK) status = file.FindRun(id, run);
  if (status != KES_ZONE_OK) return status;
  index = IndexOf(address);
  if (index != nullptr && index->zone_of[id] != 0) {
    table = &index->zones[index->zone_of[id] - 1];
    if (table->indexed == 0) table = nullptr;
  }
  return KES_ZONE_OK;
}

std::uint32_t SearchUtc(const ZoneView& zone, const LdiDate& utc) noexcept {
  const std::uint64_t key = KeyOf(utc);
  if (zone.table != nullptr) return FindUtc(*zone.index, *zone.table, key);
  const std::uint32_t found = SearchKey(zone, key);
  // A transition may lie within the second; in a checked file none does.
  const bool later = found != 0 && zone.file.Key(zone.run, found) == key &&
                     zone.file.Transition(zone.run, found).fraction > utc.fraction;
  return later ? found - 1 : found;
}

// Tries every transition around a local time L: period i is a reading of it when L - offset i lies
// between its transition and the next. Periods that can be lie within the largest offset of L.
// Where there is no reading, L lies in a gap: behind a period and before the next one.
int SearchLocal(const ZoneView& zone, const LdiDate& local, LocalSearch& found) noexcept {
  const std::int64_t time = LinearSeconds(local);
  const std::uint32_t last = zone.run.count - 1;
  std::uint32_t readings = 0;
  bool daylight[2] = {};
  std::uint32_t gap = 0;
  std::uint32_t begin = SearchKey(zone, KeyOf(local));
  while (begin > 0 &&
         LinearSeconds(zone.file.Transition(zone.run, begin)) > time - zone::kMaxOffset) {
    --begin;
  }
  Reading here, next;
  if (!Read(zone, begin, next)) return KES_ZONE_DAMAGED;
  for (std::uint32_t i = begin;; ++i) {
    here = next;
    if (i < last && !Read(zone, i + 1, next)) return KES_ZONE_DAMAGED;
    const bool begun = i == 0 || time - here.offset >= here.at;
    const bool over = i < last && time - here.offset >= next.at;
    if (begun && !over) {
      // Of more than two readings the last two count.
      if (readings == 2) {
        found.index[0] = found.index[1];
        daylight[0] = daylight[1];
        readings = 1;
      }
      found.index[readings] = i;
      daylight[readings] = here.daylight;
      ++readings;
    }
    if (over && gap == 0 && time - next.offset < next.at) gap = i + 1;
    if (i == last || next.at - zone::kMaxOffset > time) break;
  }
  if (readings == 0) {
    found = {KES_ZONE_GAP, {gap == 0 ? 0 : gap - 1, gap}, 0};
  } else if (readings == 1) {
    found = {KES_ZONE_ONCE, {found.index[0], found.index[0]}, 0};
  } else {
    found.kind = KES_ZONE_TWICE;
    found.chosen = !daylight[0] && daylight[1] ? 0 : 1;
  }
  return KES_ZONE_OK;
}

int ReadAnswer(const ZoneView& zone, std::uint32_t transition, ZoneAnswer& answer) noexcept {
  std::size_t type = 0;
  if (!zone.file.TypeAt(zone.run, transition, type)) return KES_ZONE_DAMAGED;
  answer = {zone.file.Offset(type), zone.file.Daylight(zone.run, transition) ? 1u : 0u,
            zone.file.Abbreviation(type)};
  return answer.abbreviation == nullptr ? KES_ZONE_DAMAGED : KES_ZONE_OK;
}

}  // namespace kestra::datetime
