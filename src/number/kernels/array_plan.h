// What every vector form does around its operation: the null bitmap, the check of the output area,
// and the packed results.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/number_view.h"

namespace kestra::number {

inline constexpr int kAreaTooSmall = -24;

inline bool IsNull(const std::uint8_t* nulls, std::size_t i) noexcept {
  return nulls != nullptr && ((nulls[i / 8] >> (i % 8)) & 1) != 0;
}

// Does the area hold 22 bytes for each element that is not null? If not, all outputs are zeroed.
bool AreaHolds(std::size_t n, const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
               std::size_t area_size) noexcept;

// Calls operation(i, room), which writes element i's number at room and returns its length, for
// every element that is not null, and packs the results.
template <typename Operation>
inline int PackResults(std::size_t n, const std::uint8_t* nulls, std::uint8_t** out,
                       std::uint16_t* outlen, std::uint8_t* area, std::size_t area_size,
                       Operation operation) noexcept {
  if (!AreaHolds(n, nulls, out, outlen, area_size)) return kAreaTooSmall;
  for (std::size_t i = 0; i < n; ++i) {
    if (IsNull(nulls, i)) {
      out[i] = nullptr;
      outlen[i] = 0;
      continue;
    }
    const std::size_t length = operation(i, area);
    out[i] = area;
    outlen[i] = static_cast<std::uint16_t>(length);
    area += length;
  }
  return 0;
}

}  // namespace kestra::number
