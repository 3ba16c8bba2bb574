// Conversion of single bytes between ASCII (ISO 8859-1 above 7F) and EBCDIC (code page 1047).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestra::os {

// slste2a: EBCDIC to ASCII, slsta2e: ASCII to EBCDIC; in place. Each undoes the other.
void slste2a(std::span<std::uint8_t> text) noexcept;
void slsta2e(std::span<std::uint8_t> text) noexcept;

}  // namespace kestra::os
