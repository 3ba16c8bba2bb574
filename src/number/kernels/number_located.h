// Where a number's bytes are, as kernels take them from callers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/number_view.h"

namespace kestra::number {

// A pointer and a length in either form made one form; size 0 when it is no length of a number.
struct Located {
  const std::uint8_t* bytes;
  std::uint32_t size;
};

inline Located Locate(const std::uint8_t* x, std::size_t xlen) noexcept {
  if (x == nullptr) [[unlikely]]
    return {nullptr, 0};
  if (xlen == 0) xlen = *x++;
  return {x, xlen <= kMaxBytes ? static_cast<std::uint32_t>(xlen) : 0};
}

}  // namespace kestra::number
