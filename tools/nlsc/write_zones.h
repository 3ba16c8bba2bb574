// Writing a time-zone file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zone_data.h"

namespace kestra::nlsc {

struct ZoneFileOptions {
  bool complete = true;  // every zone; otherwise the common ones
  bool big_endian = false;
};

// The bytes of a file. Throws std::length_error when they are more than a file may have.
std::vector<std::uint8_t> WriteZones(const ZoneData& data, const ZoneFileOptions& options);

// "timezlrg_2606.dat", "timezone_2606.dat".
std::string ZoneFileName(const ZoneData& data, bool complete);

}  // namespace kestra::nlsc
