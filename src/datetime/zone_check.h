// The one pass over a zone file that proves what its index and the look-ups rely on.
#pragma once

#include <cstdint>
#include <span>

#include "datetime/zone_file.h"

namespace kestra::datetime {

// Transitions of one or more zones.
struct RunSummary {
  std::uint32_t first;
  std::uint32_t count;
  std::uint32_t id;  // of a zone; equal runs follow each other
};

struct ZoneSummary {
  std::uint32_t zones;  // entries used of the array
  std::uint32_t runs;   // distinct ones
};

// Checks a file of the given number of bytes: 0, 1, 2 or 3. Afterwards
// - the size field is the number of bytes;
// - the name index is strictly ascending, its names are 1 to 255 bytes long, its ids zones;
// - every zone has a name, and 1 to 65535 transitions, which are those of another zone or shared with
//   none, valid UTC timestamps without fraction, ascending, at most 64 in a day, all but the first of
//   year 1 or later, of types within bounds;
// - the offset of a type is less than 26 hours, and every string ends inside the file.
// zones has room for kMaxId entries and receives every zone, ascending by run.
int CheckZoneFile(std::span<const std::uint8_t> bytes, std::span<RunSummary> zones,
                  ZoneSummary& summary) noexcept;

}  // namespace kestra::datetime
