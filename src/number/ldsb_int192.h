// Signed 192-bit integers: the widest element of a decimal vector, and the form in which extremes,
// scalars and sums are held whatever their width. Arithmetic is modulo 2^192.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kestra/decimal_vector_members.h"

namespace kestra::number::dsb {

__extension__ using int128 = __int128;
__extension__ using uint128 = unsigned __int128;

#define KES_DSB_INLINE [[gnu::always_inline]] inline

struct Int192 {
  std::uint64_t w[3] = {};  // least significant first

  constexpr Int192() = default;
  constexpr Int192(std::uint64_t w0, std::uint64_t w1, std::uint64_t w2) noexcept : w{w0, w1, w2} {}
  // Signs by 64-bit shifts: gcc 12 vectorises loops over 128-bit shifts of narrow values wrongly.
  constexpr explicit Int192(std::int64_t value) noexcept
      : w{static_cast<std::uint64_t>(value), static_cast<std::uint64_t>(value >> 63),
          static_cast<std::uint64_t>(value >> 63)} {}
  constexpr explicit Int192(int128 value) noexcept
      : w{static_cast<std::uint64_t>(value), static_cast<std::uint64_t>(value >> 64),
          static_cast<std::uint64_t>(static_cast<std::int64_t>(value >> 64) >> 63)} {}

  constexpr bool IsNegative() const noexcept { return w[2] >> 63 != 0; }
  constexpr bool IsZero() const noexcept { return (w[0] | w[1] | w[2]) == 0; }
  constexpr std::int64_t Low64() const noexcept { return static_cast<std::int64_t>(w[0]); }
  constexpr int128 Low128() const noexcept {
    return static_cast<int128>(static_cast<uint128>(w[1]) << 64 | w[0]);
  }
};

static_assert(sizeof(Int192) == sizeof(ldsbint));
static_assert(std::endian::native == std::endian::little,
              "elements are read as they lie in memory");

// Carries by comparing words: compilers turn these into add and set, which runs twice as fast as
// sums of 128 bits taken apart.
KES_DSB_INLINE constexpr Int192 operator+(const Int192& x, const Int192& y) noexcept {
  const std::uint64_t w0 = x.w[0] + y.w[0];
  const std::uint64_t c0 = w0 < x.w[0];
  const std::uint64_t mid = x.w[1] + y.w[1];
  const std::uint64_t w1 = mid + c0;
  const std::uint64_t c1 = static_cast<std::uint64_t>(mid < x.w[1]) + (w1 < c0);
  return {w0, w1, x.w[2] + y.w[2] + c1};
}

KES_DSB_INLINE constexpr Int192 operator-(const Int192& x, const Int192& y) noexcept {
  const std::uint64_t b0 = x.w[0] < y.w[0];
  const std::uint64_t mid = x.w[1] - y.w[1];
  const std::uint64_t b1 = static_cast<std::uint64_t>(x.w[1] < y.w[1]) + (mid < b0);
  return {x.w[0] - y.w[0], mid - b0, x.w[2] - y.w[2] - b1};
}

KES_DSB_INLINE constexpr Int192 operator-(const Int192& x) noexcept { return Int192() - x; }

KES_DSB_INLINE constexpr Int192 operator*(const Int192& x, const Int192& y) noexcept {
  const uint128 p00 = static_cast<uint128>(x.w[0]) * y.w[0];
  const uint128 p01 = static_cast<uint128>(x.w[0]) * y.w[1];
  const uint128 p10 = static_cast<uint128>(x.w[1]) * y.w[0];
  const uint128 mid =
      (p00 >> 64) + static_cast<std::uint64_t>(p01) + static_cast<std::uint64_t>(p10);
  const std::uint64_t high =
      static_cast<std::uint64_t>(mid >> 64) + static_cast<std::uint64_t>(p01 >> 64) +
      static_cast<std::uint64_t>(p10 >> 64) + x.w[0] * y.w[2] + x.w[1] * y.w[1] + x.w[2] * y.w[0];
  return {static_cast<std::uint64_t>(p00), static_cast<std::uint64_t>(mid), high};
}

KES_DSB_INLINE constexpr bool operator==(const Int192& x, const Int192& y) noexcept {
  return ((x.w[0] ^ y.w[0]) | (x.w[1] ^ y.w[1]) | (x.w[2] ^ y.w[2])) == 0;
}

KES_DSB_INLINE constexpr bool operator<(const Int192& x, const Int192& y) noexcept {
  const std::uint64_t b0 = x.w[0] < y.w[0];
  const std::uint64_t mid = x.w[1] - y.w[1];
  const std::uint64_t b1 = static_cast<std::uint64_t>(x.w[1] < y.w[1]) | (mid < b0);
  const auto high_x = static_cast<std::int64_t>(x.w[2]);
  const auto high_y = static_cast<std::int64_t>(y.w[2]);
  return (high_x < high_y) | ((high_x == high_y) & (b1 != 0));
}

KES_DSB_INLINE constexpr Int192 Magnitude(const Int192& x) noexcept {
  return x.IsNegative() ? -x : x;
}

// Bit length of the absolute value, 1 for zero.
constexpr int SignificantBits(const Int192& x) noexcept {
  const Int192 m = Magnitude(x);
  for (int i = 2; i > 0; --i) {
    if (m.w[i] != 0) return 64 * i + static_cast<int>(std::bit_width(m.w[i]));
  }
  return m.w[0] == 0 ? 1 : static_cast<int>(std::bit_width(m.w[0]));
}

// The extremes of a precision.
constexpr Int192 MinimumOf(int bits) noexcept {
  std::uint64_t w[3] = {};
  w[(bits - 1) / 64] = std::uint64_t{1} << (bits - 1) % 64;
  return bits == 192 ? Int192(w[0], w[1], w[2]) : -Int192(w[0], w[1], w[2]);
}
constexpr Int192 MaximumOf(int bits) noexcept { return Int192(std::int64_t{-1}) - MinimumOf(bits); }

inline Int192 FromPublic(const ldsbint& value) noexcept {
  Int192 result;
  std::memcpy(result.w, value.word, sizeof result.w);
  return result;
}
inline ldsbint ToPublic(const Int192& value) noexcept {
  ldsbint result;
  std::memcpy(result.word, value.w, sizeof result.word);
  return result;
}

// An element of 1 to 24 bytes, sign-extended.
inline Int192 LoadElement(const void* element, std::size_t width) noexcept {
  Int192 result;
  unsigned char bytes[24];
  std::memcpy(bytes, element, width);
  std::memset(bytes + width, bytes[width - 1] >> 7 != 0 ? 0xFF : 0, sizeof bytes - width);
  std::memcpy(result.w, bytes, sizeof bytes);
  return result;
}
inline void StoreElement(const Int192& value, void* element, std::size_t width) noexcept {
  std::memcpy(element, value.w, width);
}

}  // namespace kestra::number::dsb
