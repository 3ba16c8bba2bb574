// The machine's clock as datetimes.
#pragma once

#include <cstdint>

#include "core/os/clock.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

// The offset between the local time and the UTC of one instant, in minutes. It is accepted when its
// hours lie in -15..15, its minutes in -59..59, and it is not 15 hours with minutes; else it is 0.
std::int32_t AcceptedOffset(const os::BrokenDown& local, const os::BrokenDown& utc) noexcept;

// sLdiGetLazyDt_int: the present instant as a timestamp with zone. region 0: the machine's local
// time at its accepted offset; else in that zone of the file.
std::uint32_t sLdiGetLazyDt_int(LdiDate& out, const ltzfile* zones, std::uint32_t region) noexcept;

}  // namespace kestra::datetime
