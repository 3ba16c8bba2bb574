// Fast paths of number text for the processor at hand. Each does a whole conversion or declines;
// the ordinary code then does it, and is the reference the kernels are compared with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/os/cpu.h"
#include "number/number_view.h"

namespace kestra::number {

struct TextKernels {
  // The bytes of a number as plain text with "." and no groups. Returns the length, 0: declined
  // (malformed, infinite, longer than 64 bytes, or no room).
  std::size_t (*to_plain)(std::span<const std::uint8_t> bytes, std::span<char> out) noexcept;
  // Text of the form [sign] digits [. digits] of at most 63 bytes as a number. Returns its length,
  // 0: declined (anything else in the text, or digits to round). Writes into bytes up to the length
  // alone.
  std::size_t (*from_plain)(std::string_view text, std::uint8_t* bytes) noexcept;
};

// The kernels of a level; every pointer may be called.
const TextKernels& TextKernelsOf(os::CpuLevel level) noexcept;

}  // namespace kestra::number
