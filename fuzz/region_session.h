// A session for fuzz targets: a zone file with gaps, overlaps and mean times, and a region of it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kestra/datetime_zone.h"
#include "tests/support/zone_builder.h"

inline const LdiSession& RegionSession() {
  static const LdiSession session = [] {
    std::vector<kestra::test::BuiltZone> zones = kestra::test::SampleZones();
    for (const kestra::test::BuiltZone& zone : kestra::test::MeanTimeZones()) zones.push_back(zone);
    const std::vector<std::uint8_t> bytes = kestra::test::BuildZones(zones);
    LdiSession made{};
    if (LdiSessionInit(&made, ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr)) != 0 ||
        made.zones == nullptr) {
      std::abort();
    }
    made.region = 100;  // Test/Summer
    return made;
  }();
  return session;
}
