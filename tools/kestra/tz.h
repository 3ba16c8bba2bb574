// The jobs of kestra tz; tz.cc chooses among them.
#pragma once

#include <string>
#include <vector>

#include "zones.h"

namespace kestra::tools {

struct YearRange {
  int first = 0;
  int last = 0;
};

// A zone's transitions in a range of years, as a table.
int ShowZone(const Zones& zones, const ZoneName& zone, YearRange years, bool json);

// A picture of a zone: a row for each year, a column for each day, a colour for each offset.
std::string PictureSvg(const Zones& zones, const ZoneName& zone, YearRange years);
// The same as the bytes of a PNG file, drawn by gnuplot. Throws ToolError where there is none.
std::string PicturePng(const Zones& zones, const ZoneName& zone, YearRange years);

// A time of one zone (that in the text, else from, else UTC) in other zones, with an explanation when
// it does not exist or exists twice.
int ConvertTime(const Zones& zones, const std::string& text, const ZoneName* from,
                const std::vector<const ZoneName*>& to, bool json);

// What changed between two zone files.
int DiffZoneFiles(const std::string& before, const std::string& after, bool all, bool json);

}  // namespace kestra::tools
