// The rule at the end of a TZif file, a POSIX TZ value such as "EST5EDT,M3.2.0,M11.1.0": standard
// and daylight-saving time for ever after. RFC 8536, section 3.3; POSIX.1 8.3, "TZ".
#pragma once

#include <string_view>

#include "zone_data.h"

namespace kestra::nlsc {

// Appends what the rule says of the instants behind after up to the end of end_year. Throws
// std::invalid_argument for a rule that is not well formed or contradicts the history.
void ExpandRule(std::string_view rule, std::int64_t after, int end_year, ZoneHistory& history);

}  // namespace kestra::nlsc
