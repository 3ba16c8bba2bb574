// The fields of a datetime as one number in the order of time: a load, a byte swap and a rotation.
// Year to second are the first eight bytes of the record, the most significant first but for the
// bytes of the year, which are in the machine's order; the eighth byte is 0.
//
// Tests: tests/datetime/ldi_compare_test.cc.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "kestra/datetime.h"

namespace kestra::datetime {

// Year, month, day, hour, minute, second; the last byte is that of the record. Any bytes will do.
inline std::uint64_t FieldKey(const LdiDate& date) noexcept {
  std::uint64_t bytes;
  std::memcpy(&bytes, &date, sizeof bytes);
  const auto year = static_cast<std::uint16_t>(date.year);
  if constexpr (std::endian::native == std::endian::little) bytes = __builtin_bswap64(bytes);
  return (std::uint64_t{static_cast<std::uint16_t>(year ^ 0x8000u)} << 48) |
         (bytes & 0xFFFFFFFFFFFFull);
}

// -1, 0 or 1 as the fields of x are before, equal to or after those of y; zones are not looked at.
inline int CompareFields(const LdiDate& x, const LdiDate& y) noexcept {
  const std::uint64_t a = FieldKey(x);
  const std::uint64_t b = FieldKey(y);
  if (a != b) return a < b ? -1 : 1;
  return static_cast<int>(x.fraction > y.fraction) - static_cast<int>(x.fraction < y.fraction);
}

}  // namespace kestra::datetime
