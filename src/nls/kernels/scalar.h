// The scalar kernels by name: where a vector kernel has nothing to gain, and for what it leaves.
#pragma once

#include "nls/kernels/convert_kernels.h"

namespace kestra::nls::kernels::scalar {

std::size_t CopyAscii(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
std::size_t CopyUnshifted(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
std::size_t WidenAscii(const std::uint8_t* in, std::size_t size, std::uint16_t* out) noexcept;
std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count, std::uint8_t* out) noexcept;
Progress Utf16BeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf16LeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf8ToUtf16Be(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf8ToUtf16Le(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
std::size_t Utf16BeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept;
std::size_t Utf16LeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept;
std::size_t NarrowCodePoints(const std::uint32_t* in, std::size_t count,
                             std::uint16_t* out) noexcept;
std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out) noexcept;
std::size_t UnitsToSingle(const ByteEncodeTable& table, const std::uint16_t* in, std::size_t count,
                          std::uint8_t* out) noexcept;
Progress SingleToUtf8(const std::uint16_t* code_points, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
Progress Utf8ToSingle(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out, std::size_t room) noexcept;
Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                          std::size_t count, std::uint8_t* out, std::size_t room) noexcept;

}  // namespace kestra::nls::kernels::scalar
