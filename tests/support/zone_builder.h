// Zone files made by hand: small, of either byte order, and as wrong as a test wants them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kestra/timezone.h"

namespace kestra::test {

struct BuiltTransition {
  std::int64_t at;  // seconds since 1970; the first one of a zone should be long ago
  std::int32_t offset;
  bool dst = false;
  std::string abbreviation = "ABC";
};

struct BuiltZone {
  std::uint32_t id;
  std::string name;
  std::vector<BuiltTransition> transitions;  // empty: those of the zone before (a link)
};

inline constexpr std::int64_t kLongAgo = -62135596800;  // 1 January of year 1

// The bytes of a file with these zones; a type for each transition.
std::vector<std::uint8_t> BuildZones(const std::vector<BuiltZone>& zones, bool big_endian = false);

// A few zones with gaps, overlaps, links, a fixed one and changes of the abbreviation alone.
std::vector<BuiltZone> SampleZones();

// Zones whose first offsets have seconds, one of them beyond 15 hours.
std::vector<BuiltZone> MeanTimeZones();

}  // namespace kestra::test
