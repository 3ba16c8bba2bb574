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
inline std::uint64_t KeyOf(const LdiDate& date) noexcept { return KeyOfBytes(&date, false); }

inline int YearOf(std::uint64_t key) noexcept { return static_cast<int>(key >> 48) - kYearBias; }

// Day number (a Julian one) and seconds of a datetime, in the calendar of date.h. Fields out of
// range give some number.
inline std::int64_t LinearSeconds(const LdiDate& date) noexcept {
  const int year = date.year < 0 ? date.year + 1 : date.year;
  const int back = (14 - date.month) / 12;
  const int y = year + 4800 - back;
  const int m = date.month + 12 * back - 3;
  int day = date.day + (153 * m + 2) / 5 + 365 * y + y / 4;
  const bool gregorian =
      year > 1582 || (year == 1582 && (date.month > 10 || (date.month == 10 && date.day >= 15)));
  day += gregorian ? y / 400 - y / 100 - 32045 : -32083;
  return std::int64_t{day} * 86400 + date.hour * 3600 + date.minute * 60 + date.second;
}

inline bool IsLeapYear(int year) noexcept {
  if (year % 4 != 0) return false;
  return year < 1583 || year % 100 != 0 || year % 400 == 0;
}
inline int DaysInMonth(int year, int month) noexcept {
  if (month == 2) return IsLeapYear(year) ? 29 : 28;
  return 30 + ((month + (month >> 3)) & 1);
}

}  // namespace kestra::datetime
