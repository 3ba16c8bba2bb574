// Times of zone files as text and as seconds. Without the test framework: fuzz targets use it too.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kestra/timezone.h"

namespace kestra::test {

// "2026-03-08 07:00:00" or "2026-03-08"; a year may be negative.
LdiDate Timestamp(std::string_view text);
std::string ToText(const LdiDate& date);
// Seconds since 1970 in the Gregorian calendar, and back. Years 1 to 9999.
std::int64_t ToSeconds(const LdiDate& date);
LdiDate FromSeconds(std::int64_t seconds);

}  // namespace kestra::test
