// Text of two-byte code units to and from the UTF-8 that models, names and literals are kept in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/ldx_state.h"

namespace kestra::datetime {

inline constexpr std::size_t kUtf8PerUnit = 3;  // bytes that a unit takes at most

enum class UnitOrder : std::uint8_t { kLittle, kBig };
inline constexpr UnitOrder kPlatformOrder =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? UnitOrder::kLittle : UnitOrder::kBig;

// The order of a set of two-byte units.
UnitOrder OrderOfSet(const lxhandle& handle) noexcept;
// The order of the handle's set when that has two-byte units, else the platform's.
UnitOrder OrderOfUnits(const ldxctx& ctx) noexcept;

// The set that such text is in for lxgcnv: 2002 or 2000.
const lxobject* UnitSet(const ldxctx& ctx) noexcept;

// The context's set is UTF-8, or two-byte units, for which UTF-8 stands.
bool KeepsUtf8(const ldxctx& ctx) noexcept;

inline std::uint32_t UnitAt(const std::uint8_t* p, UnitOrder order) noexcept {
  return order == UnitOrder::kLittle ? p[0] | std::uint32_t{p[1]} << 8
                                     : p[1] | std::uint32_t{p[0]} << 8;
}
inline void PutUnit(std::uint8_t* p, std::uint32_t unit, UnitOrder order) noexcept {
  const auto low = static_cast<std::uint8_t>(unit);
  const auto high = static_cast<std::uint8_t>(unit >> 8);
  p[0] = order == UnitOrder::kLittle ? low : high;
  p[1] = order == UnitOrder::kLittle ? high : low;
}

// Units to UTF-8; room for kUtf8PerUnit bytes each. Surrogates without their other half, and half a
// unit at the end, become U+FFFD.
std::size_t UnitsToUtf8(std::span<const std::uint8_t> units, UnitOrder order,
                        std::uint8_t* out) noexcept;

// UTF-8 to units, from used bytes of out on. Bytes that are no character become U+FFFD. False: they
// do not fit.
bool Utf8ToUnits(std::span<const std::uint8_t> text, UnitOrder order, std::span<std::uint8_t> out,
                 std::size_t& used) noexcept;

// Text of the context's set to units, from used bytes of out on. False: no room.
bool TextToUnits(const ldxctx& ctx, std::span<const std::uint8_t> text, std::span<std::uint8_t> out,
                 std::size_t& used) noexcept;

// Bytes of the units that UTF-8 text, well formed but for its end, stands for.
std::size_t UnitBytes(std::span<const std::uint8_t> text) noexcept;

}  // namespace kestra::datetime
