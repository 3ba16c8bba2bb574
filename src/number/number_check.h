// Whether bytes are a well-formed NUMBER.
#pragma once

#include <cstdint>
#include <span>

namespace kestra::number {

// The number's bytes alone, of any length.
bool IsWellFormed(std::span<const std::uint8_t> bytes) noexcept;

}  // namespace kestra::number
