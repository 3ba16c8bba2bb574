// The records are persistent layouts: a zone file holds datetimes byte for byte.
#include <gtest/gtest.h>

#include <cstddef>

#include "kestra/datetime.h"

namespace {

static_assert(sizeof(LdiDate) == 20 && alignof(LdiDate) == 4);
static_assert(offsetof(LdiDate, year) == 0 && offsetof(LdiDate, month) == 2);
static_assert(offsetof(LdiDate, day) == 3 && offsetof(LdiDate, hour) == 4);
static_assert(offsetof(LdiDate, minute) == 5 && offsetof(LdiDate, second) == 6);
static_assert(offsetof(LdiDate, zero) == 7 && offsetof(LdiDate, fraction) == 8);
static_assert(offsetof(LdiDate, zone_hour) == 12 && offsetof(LdiDate, zone_minute) == 13);
static_assert(offsetof(LdiDate, type) == 14 && offsetof(LdiDate, zero2) == 15);
static_assert(offsetof(LdiDate, region) == 16 && offsetof(LdiDate, reserved) == 18);
static_assert(sizeof(LdiInter) == 24 && offsetof(LdiInter, field) == 0);
static_assert(offsetof(LdiInter, type) == 20 && offsetof(LdiInter, zero) == 22);

}  // namespace
