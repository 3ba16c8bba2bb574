// What ltzRead keeps beside a file that it has checked, so that a look-up touches few cache lines and
// has no branch that depends on the data.
//
// For each zone there is a table by year: the transition in force at the beginning of that year. At
// most two transitions follow within nearly every year of every zone, so that the answer is that one
// plus the number of the next two that are not later than the instant: two comparisons, added up.
// (Europe/Berlin, 2026-07-01: in force on 1 January is number 340, CET; 341 in March is not later,
// 342 in October is: 341, CEST.) A binary search over the 550 transitions of such a zone takes ten
// steps, each waiting for the one before; a year with more transitions is searched in that way.
//
// Local times have records and a table of their own. A transition takes local time from
// t + offset before to t + offset after; what lies between the two is a gap, or exists twice. A
// record holds the earlier of them (begin) and the later (end): the last record whose begin is not
// later than a local time answers it, and only when it is before end there is something to decide.
// What was decided when the file was read is one bit: take this transition, or the one before.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>

#include "core/os/process_secret.h"
#include "datetime/zone_file.h"

namespace kestra::datetime {

struct UtcRecord {
  std::uint64_t key;  // of the transition; 0 in the first record of a zone
  std::int32_t offset;
  std::uint16_t type;
  std::uint8_t daylight;
  std::uint8_t reserved;
};

struct LocalRecord {
  std::uint64_t key;  // begin; its lowest bit: between begin and end the transition before answers
  std::uint64_t end;
};

// Records behind the last one of a zone, which are later than any instant.
inline constexpr std::uint32_t kSentinels = 2;
// Longer histories are not indexed but searched in the file.
inline constexpr int kMaxIndexedYears = 640;

struct ZoneTable {
  std::uint32_t first;       // record
  std::uint32_t starts;      // place of the tables by year: of instants, then of local times
  std::int16_t base_year;    // of their first entries
  std::uint16_t years;       // their entries, but for the last
  std::uint16_t count;       // transitions
  std::uint8_t indexed;      // instants can be looked up here
  std::uint8_t local_ready;  // local times too
};

// Lies directly before the file's bytes, in one block of memory with the tables.
struct alignas(64) ZoneIndex {
  lxcallbacks* block;
  void* memory;
  const ZoneTable* zones;
  const UtcRecord* utc;
  const LocalRecord* local;
  const std::uint16_t* starts;
  std::uint16_t zone_of[zone::kMaxId + 1];  // number of the table plus 1, 0: no such zone
};

inline constexpr std::size_t kSealAt = zone::kReservedAt;

// The index of a file that this process has read and checked; null for any other bytes: these cannot
// hold the seal, which depends on a secret and on their address.
inline const ZoneIndex* IndexOf(const ltzfile* file) noexcept {
  std::uint64_t seal;
  std::memcpy(&seal, reinterpret_cast<const std::uint8_t*>(file) + kSealAt, sizeof seal);
  const std::uint64_t secret = os::process_secret.load(std::memory_order_relaxed);
  if ((seal ^ secret) != reinterpret_cast<std::uintptr_t>(file) || secret == 0) return nullptr;
  return reinterpret_cast<const ZoneIndex*>(file) - 1;
}

// Number of the last record at or after which key lies. Requires zone.indexed.
template <typename Record>
inline std::uint32_t FindRecord(const Record* records, const std::uint16_t* starts,
                                const ZoneTable& zone, std::uint64_t key) noexcept {
  int slot = YearOf(key) - zone.base_year;
  slot = slot < 0 ? 0 : slot;
  slot = slot > zone.years ? zone.years : slot;
  const std::uint32_t start = starts[slot];
  const std::uint32_t more = starts[slot + 1] - start;
  if (more <= 2) [[likely]] {
    return start + (records[start + 1].key <= key ? 1 : 0) +
           (records[start + 2].key <= key ? 1 : 0);
  }
  std::uint32_t low = start, high = start + more;
  while (low < high) {
    const std::uint32_t middle = low + (high - low + 1) / 2;
    if (records[middle].key <= key) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return low;
}

inline std::uint32_t FindUtc(const ZoneIndex& index, const ZoneTable& zone,
                             std::uint64_t key) noexcept {
  return FindRecord(index.utc + zone.first, index.starts + zone.starts, zone, key);
}

// The transition that ltzGetLocal takes for a local time. Requires zone.local_ready.
inline std::uint32_t FindLocal(const ZoneIndex& index, const ZoneTable& zone,
                               std::uint64_t key) noexcept {
  const LocalRecord* records = index.local + zone.first;
  const std::uint16_t* starts = index.starts + zone.starts + zone.years + 2;
  // Above the bit of an equal begin, and below the sentinels whatever the datetime holds.
  const std::uint32_t at = FindRecord(records, starts, zone, key | 2);
  const std::uint32_t back = static_cast<std::uint32_t>(records[at].key) & 1;
  return at - (key < records[at].end ? back : 0);
}

}  // namespace kestra::datetime
