// What the entry points of instants and of local times share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "datetime/zone_names.h"
#include "datetime/zone_search.h"
#include "nls/lxh_ebcdic.h"

namespace kestra::datetime {

inline bool IsTimestamp(const LdiDate* date) noexcept {
  return date != nullptr && date->type == KES_DATETIME_TIMESTAMP;
}

// Where ltzGet and ltzGetLocal write: all of it or nothing.
struct AnswerTarget {
  const lxhandle* handle;
  lxcontext* work;
  std::int32_t* offset;
  char* abbreviation;
  std::uint32_t* dst;

  int Put(const ZoneAnswer& answer) const noexcept {
    if (abbreviation != nullptr) {
      const bool ebcdic = nls::lxhebc(handle, work);
      if (!CopyText(answer.abbreviation, ebcdic, abbreviation, KES_ZONE_ABBREVIATION_ROOM)) {
        return KES_ZONE_NO_ROOM;
      }
    }
    *offset = answer.offset;
    if (dst != nullptr) *dst = answer.daylight;
    return KES_ZONE_OK;
  }
};

// The table of a zone when the file has an index that serves it; else null. This is the whole
// preparation of a fast look-up: the file was checked when the seal was put on it.
inline const ZoneTable* IndexedZone(const ZoneIndex* index, std::uint32_t id) noexcept {
  if (index == nullptr || id > zone::kMaxId) return nullptr;
  const std::uint32_t number = index->zone_of[id];  // entry 0 is empty
  if (number == 0) return nullptr;
  const ZoneTable* table = &index->zones[number - 1];
  return table->indexed != 0 ? table : nullptr;
}

// A column of instants or of local times, answered out of the file. find(zone, date, transition): the
// transition in force, 0 or 2.
template <typename Find>
int GetColumnFromFile(const ltzfile* file, std::uint32_t id, const LdiDate* dates,
                      std::size_t count, std::int32_t* offset, std::uint8_t* dst, std::size_t& done,
                      const Find& find) noexcept {
  ZoneView zone;
  int status = zone.Find(file, id);
  for (std::size_t i = 0; i < count && status == KES_ZONE_OK; ++i) {
    if (dates[i].type != KES_DATETIME_TIMESTAMP) return KES_ZONE_DAMAGED;
    std::uint32_t transition = 0;
    ZoneAnswer answer{};
    status = find(zone, dates[i], transition);
    if (status == KES_ZONE_OK) status = ReadAnswer(zone, transition, answer);
    if (status != KES_ZONE_OK) break;
    offset[i] = answer.offset;
    if (dst != nullptr) dst[i] = static_cast<std::uint8_t>(answer.daylight);
    done = i + 1;
  }
  return status;
}

// Of a type of a checked file.
inline const char* AbbreviationOf(const ltzfile* file, std::uint32_t type) noexcept {
  ZoneFile zones;
  if (zones.Open(file) != KES_ZONE_OK) return nullptr;
  return zones.Abbreviation(zones.U32(zone::kTypesAt) + std::size_t{type} * zone::kTypeSize);
}

}  // namespace kestra::datetime
