// Making the index of a checked file.
#pragma once

#include <cstdint>
#include <span>

#include "datetime/zone_check.h"
#include "datetime/zone_index.h"

namespace kestra::datetime {

// Copies the bytes of a file that CheckZoneFile accepted into memory of the block, with their index
// before them and the seal inside. Null when there is no memory.
const ltzfile* BuildIndexedFile(std::span<const std::uint8_t> bytes,
                                std::span<const RunSummary> zones, const ZoneSummary& summary,
                                lxcallbacks& block) noexcept;

}  // namespace kestra::datetime
