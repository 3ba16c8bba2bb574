// Reading the time-zone database: its source through zic into TZif files (RFC 8536), those into
// histories.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "zone_data.h"

namespace kestra::nlsc {

struct ZoneOptions {
  std::filesystem::path definitions = "data";  // holds zones.csv
  std::filesystem::path source = "/usr/share/zoneinfo/tzdata.zi";
  std::string zic = "/usr/sbin/zic";
  int end_year = kDefaultEndYear;
};

struct ZoneReadResult {
  ZoneData data;
  std::string release;  // "2026f"
  std::vector<std::string> warnings;
};

// Every zone and link of zones.csv. Warns of names that the release has and the table has not,
// which are left out, and the other way round. Throws InputError.
ZoneReadResult ReadZones(const ZoneOptions& options);

// The history of a TZif file of version 2 or later up to the end of end_year. Throws
// std::invalid_argument.
ZoneHistory ReadTzif(std::span<const std::uint8_t> bytes, int end_year);

// "2026f" is 2606. Throws std::invalid_argument.
std::uint32_t ContentVersion(const std::string& release);

}  // namespace kestra::nlsc
