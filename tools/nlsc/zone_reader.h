// Time-zone files, read back: check, dump and the difference of two. Any bytes of either byte order
// will do; nothing here is shared with the library's own look-ups but the layout.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "check.h"
#include "zone_data.h"

namespace kestra::nlsc {

struct ZoneFile {
  bool big_endian = false;
  std::uint32_t size = 0;
  std::uint32_t file_id = 0;
  ZoneData data;  // every zone has a history of its own unless the transitions are the same ones
};

// True for bytes that begin with the magic in either byte order.
bool IsZoneFile(std::span<const std::uint8_t> bytes);

// What is wrong with a file, at most a few dozen faults; when nothing is, its content.
Faults ReadZoneFile(std::span<const std::uint8_t> bytes, ZoneFile& file);

// Header and zones, one a line; with full every transition too. Throws BadObject for a file that
// cannot be read.
std::string DumpZones(std::span<const std::uint8_t> bytes, bool full);

// What changed from one file to the other, zone by zone: zones that came or went, and the periods
// in which the answers differ. Empty: nothing.
std::string DiffZones(const ZoneData& from, const ZoneData& to);

}  // namespace kestra::nlsc
