// The four-byte characters of GB18030 by their place in linear order: bytes 81..FE, 30..39, 81..FE,
// 30..39, the last one counting fastest. 81 30 81 30 has place 0; U+10000 has 90 30 81 30 and from
// there to U+10FFFF (E3 32 9A 35) places and code points run in step. The places below that which
// are used, up to 84 31 A4 39, hold the rest of the basic plane by a table of the set.
#pragma once

#include <cstdint>

namespace kestra::nls::gb18030 {

inline constexpr std::uint32_t kBasicPlaces = 39420;
inline constexpr std::uint32_t kSupplementary = 189000;
inline constexpr std::uint32_t kFirstSupplementary = 0x10000;

// bytes: the character as one number, the first byte highest.
constexpr std::uint32_t Place(std::uint32_t bytes) noexcept {
  return (((bytes >> 24) - 0x81) * 10 + (bytes >> 16 & 0xFF) - 0x30) * 1260 +
         ((bytes >> 8 & 0xFF) - 0x81) * 10 + (bytes & 0xFF) - 0x30;
}

// Of a place from kSupplementary on; above U+10FFFF when there is none.
constexpr std::uint32_t CodePoint(std::uint32_t place) noexcept {
  return place - kSupplementary + kFirstSupplementary;
}

// The bytes of a place, the first one lowest, as they lie in memory.
constexpr std::uint32_t Bytes(std::uint32_t place) noexcept {
  const std::uint32_t second = place / 1260;
  const std::uint32_t third = place / 10;
  return (0x81 + place / 12600) | (0x30 + second % 10) << 8 | (0x81 + third % 126) << 16 |
         (0x30 + place % 10) << 24;
}

static_assert(Place(0x8431A439) == kBasicPlaces - 1);
static_assert(Place(0x90308130) == kSupplementary);
static_assert(CodePoint(Place(0xE3329A35)) == 0x10FFFF);
static_assert(Bytes(kSupplementary) == 0x30813090);
static_assert(Bytes(kBasicPlaces - 1) == 0x39A43184);

}  // namespace kestra::nls::gb18030
