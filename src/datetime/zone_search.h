// Looking up a zone, with the index of the file or in the file itself.
#pragma once

#include <cstdint>

#include "datetime/zone_index.h"

namespace kestra::datetime {

// A zone of a file, found once for one or many look-ups.
struct ZoneView {
  ZoneFile file;
  ZoneRun run;
  const ZoneIndex* index = nullptr;  // null: the file is searched
  const ZoneTable* table = nullptr;

  // 0, 1, 2, 3, 4 or 5.
  int Find(const ltzfile* address, std::uint32_t id) noexcept;
};

// The callbacks that memory comes from: the work area's, or the defaults without one.
inline lxcallbacks& BlockOf(lxcontext* work) noexcept {
  return *(work != nullptr && work->callbacks != nullptr ? work->callbacks : lxldini(nullptr));
}

// What is in force from a transition on.
struct ZoneAnswer {
  std::int32_t offset;
  std::uint32_t daylight;
  const char* abbreviation;
};

// The transition in force at an instant.
std::uint32_t SearchUtc(const ZoneView& zone, const LdiDate& utc) noexcept;

// The transition that answers a local time, and both that could.
struct LocalSearch {
  std::uint32_t kind;  // KES_ZONE_ONCE and so on
  std::uint32_t index[2];
  std::uint32_t chosen;  // 0 or 1
};
// 0, or 2 when a type leads outside the file.
int SearchLocal(const ZoneView& zone, const LdiDate& local, LocalSearch& found) noexcept;

// What a transition begins: 0 or 2.
int ReadAnswer(const ZoneView& zone, std::uint32_t transition, ZoneAnswer& answer) noexcept;

}  // namespace kestra::datetime
