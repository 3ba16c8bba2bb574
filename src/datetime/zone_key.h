// Datetimes as keys: one 64-bit number whose order is the order of time.
//
// A datetime begins with year, month, day, hour, minute, second and a zero byte. Read as a
// big-endian number, with the sign bit of the year turned over, the eight bytes compare as the
// datetimes do:
//   2026-03-08 07:00:00  =  07EA 03 08 07 00 00 00  ->  87EA030807000000
// Any bytes have their place in this order, so that nothing needs to be checked first.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "datetime/day_number.h"
#include "kestra/datetime.h"

namespace kestra::datetime {

inline constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;
inline constexpr std::uint64_t kZeroByte = 0xFF;  // the lowest byte of a key is free for other use
inline constexpr int kYearBias = 0x8000;

// The key of the datetime whose bytes begin at date; swapped when its year is not in this machine's
// byte order.
inline std::uint64_t KeyOfBytes(const void* date, bool swapped) noexcept {
  std::uint64_t word;
  std::memcpy(&word, date, sizeof word);
  std::uint64_t key = word;
  if constexpr (std::endian::native == std::endian::little) key = __builtin_bswap64(word);
  if (swapped == (std::endian::native == std::endian::big)) {
    // The year is little-endian: its bytes are the wrong way round now.
    key = (key & 0x0000FFFFFFFFFFFF) |
          std::uint64_t{__builtin_bswap16(static_cast<std::uint16_t>(key >> 48))} << 48;
  }
  return (key & ~kZeroByte) ^ kSignBit;
}
inline std::uint64_t KeyOf(const LdiDate& date) noexcept {
  if constexpr (std::endian::native == std::endian::big) return KeyOfBytes(&date, false);
  std::uint64_t word;
  std::memcpy(&word, &date, sizeof word);
  return (word << 48 | (__builtin_bswap64(word) & 0x0000FFFFFFFFFF00)) ^ kSignBit;
}

inline int YearOf(std::uint64_t key) noexcept { return static_cast<int>(key >> 48) - kYearBias; }

// The time of a datetime in seconds of the calendar of date.h. Fields out of range give some number.
inline std::int64_t LinearSeconds(const LdiDate& date) noexcept {
  return std::int64_t{DayNumber(date.year, date.month, date.day)} * kDaySeconds + date.hour * 3600 +
         date.minute * 60 + date.second;
}

}  // namespace kestra::datetime
