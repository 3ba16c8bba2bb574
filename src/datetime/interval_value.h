// Intervals as inner code computes with them: one signed amount, of months or of seconds and
// nanoseconds, and the fields of each type.
//
// Tests: tests/datetime/ldi_interval_test.cc.
#pragma once

#include <compare>
#include <cstdint>

#include "datetime/datetime_value.h"
#include "datetime/int128_number.h"
#include "kestra/interval.h"

namespace kestra::datetime {

inline constexpr std::int64_t kMaxLeading = 999'999'999;

// Which of the five fields a type has: first..last, the nanoseconds go with the seconds.
struct IntervalType {
  std::uint8_t mask;
  std::uint8_t first;
  std::uint8_t last;
};
inline constexpr IntervalType kIntervalTypes[14] = {
    {0, 0, 0},  {32, 0, 0}, {16, 1, 1}, {8, 0, 0},  {4, 1, 1}, {2, 2, 2}, {1, 3, 3},
    {48, 0, 1}, {12, 0, 1}, {14, 0, 2}, {15, 0, 3}, {6, 1, 2}, {7, 1, 3}, {3, 2, 3},
};
inline constexpr int kSecondsField = 3;
inline constexpr int kNanosField = 4;

constexpr bool IsIntervalType(std::uint32_t type) noexcept { return type - 1 < 13; }
// Of a known type.
constexpr bool IsYearMonth(std::uint32_t type) noexcept {
  return kIntervalTypes[type].mask >= KES_MASK_MONTH;
}
constexpr bool HasSeconds(std::uint32_t type) noexcept {
  return (kIntervalTypes[type].mask & KES_MASK_SECOND) != 0;
}
constexpr std::uint32_t FullType(std::uint32_t type) noexcept {
  return IsYearMonth(type) ? KES_INTERVAL_YEAR_TO_MONTH : KES_INTERVAL_DAY_TO_SECOND;
}

// Units of the fields, in seconds.
inline constexpr std::int32_t kFieldSeconds[4] = {86400, 3600, 60, 1};

// The amount of an interval of one family: months, or seconds with nanoseconds of the same sign.
struct Amount {
  std::int64_t count;  // months or seconds
  std::int32_t nanos;

  friend constexpr auto operator<=>(const Amount&, const Amount&) = default;
};

// Seconds and nanoseconds (less than 2^31 on either side) with one sign for both.
constexpr Amount MakeAmount(std::int64_t seconds, std::int32_t nanos) noexcept {
  seconds += nanos / kNanos;
  nanos %= kNanos;
  if (seconds > 0 && nanos < 0) return {seconds - 1, nanos + kNanos};
  if (seconds < 0 && nanos > 0) return {seconds + 1, nanos - kNanos};
  return {seconds, nanos};
}

// The amount of a record of a known type. Fields of both signs and out of range are summed up as
// they are.
inline Amount AmountOf(const LdiInter& inter) noexcept {
  const std::int32_t* f = inter.field;
  if (IsYearMonth(inter.type)) return {std::int64_t{f[0]} * 12 + f[1], 0};
  const std::int64_t seconds =
      std::int64_t{f[0]} * 86400 + std::int64_t{f[1]} * 3600 + std::int64_t{f[2]} * 60 + f[3];
  return MakeAmount(seconds, f[kNanosField]);
}

// Writes an amount into the fields of a type; what is smaller than the last field is cut. 0, or
// 1873 when the leading field would be above limit: nothing is written then.
std::uint32_t SetAmount(LdiInter& out, const Amount& amount, std::uint32_t type,
                        std::int64_t limit = kMaxLeading) noexcept;

// Day-to-second amounts in nanoseconds, and back; false when far beyond any interval.
constexpr Int128 NanosOf(const Amount& amount) noexcept {
  return Int128{amount.count} * kNanos + amount.nanos;
}
bool AmountOfNanos(Int128 nanos, Amount& amount) noexcept;

// Rounds the nanoseconds to a precision of 0..9 digits, half away from zero.
Amount RoundAmount(const Amount& amount, std::uint32_t precision) noexcept;

// Completes the precisions of a type. 0, 1867, 1873, 1880.
std::uint32_t CompletePrecisions(std::uint32_t type, std::uint32_t& leading,
                                 std::uint32_t& fraction) noexcept;

}  // namespace kestra::datetime
