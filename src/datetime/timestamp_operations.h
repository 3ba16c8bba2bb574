// Timestamps plus intervals, and differences of timestamps: what nearly every value takes, in one
// straight run. Each answers whether that was so; when it was not (another type, fields out of range,
// the year 0, the ends of the calendar), nothing was written, and the general functions decide.
// Scalar functions and the loops of the array forms run the same body.
//
// Tests: tests/datetime/ldi_laws_test.cc, tests/datetime/ldi_array_test.cc.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "datetime/datetime_value.h"
#include "datetime/interval_value.h"

namespace kestra::datetime {

// Year to second of a datetime as they lie in memory: year 16 bits, then a byte each, from the
// lowest on.
inline constexpr std::uint64_t kDatePart = 0xFFFFFFFF;
inline constexpr std::uint64_t kClockPart = std::uint64_t{0xFFFFFF} << 32;

inline std::uint64_t LoadFields(const LdiDate& date) noexcept {
  std::uint64_t fields;
  std::memcpy(&fields, &date, sizeof fields);
  return fields;
}
inline void StoreFields(LdiDate& date, std::uint64_t fields) noexcept {
  std::memcpy(&date, &fields, sizeof fields);
}
// Offset and type, in one word.
inline std::uint32_t LoadZone(const LdiDate& date) noexcept {
  std::uint32_t zone;
  std::memcpy(&zone, &date.zone_hour, sizeof zone);
  return zone;
}
// What is behind the fraction: zone and type.
inline void CopyTail(LdiDate& out, const LdiDate& in) noexcept {
  std::uint64_t tail;
  std::memcpy(&tail, &in.zone_hour, sizeof tail);
  std::memcpy(&out.zone_hour, &tail, sizeof tail);
}
constexpr std::uint64_t PackDay(const CivilDate& civil) noexcept {
  return static_cast<std::uint16_t>(civil.year) | civil.month << 16 | civil.day << 24;
}
constexpr std::uint64_t PackClock(std::uint32_t second) noexcept {
  const std::uint32_t minute = second / 60;
  const std::uint32_t hour = second / 3600;
  return std::uint64_t{hour | (minute - 60 * hour) << 8 | (second - 60 * minute) << 16} << 32;
}

// Both orders of bytes have the general functions; this one is the order of all machines in use.
inline constexpr bool kPlainOrder = std::endian::native == std::endian::little;

// in plus sign times an interval, offset and region kept.
inline bool AddPlain(LdiDate& out, const LdiDate& in, const LdiInter& inter,
                     std::int64_t sign) noexcept {
  constexpr std::uint32_t kDated = 0b10101010;                 // by type
  constexpr std::uint32_t kDayToSecond = 0b11'1111'0111'1000;  // by type
  constexpr std::int64_t kShift = std::int64_t{1} << 33;  // days; makes what is divided positive
  constexpr std::int32_t kMargin = 10;  // days that no offset of eight bits goes beyond
  if (!kPlainOrder || in.type >= 8 || inter.type >= 32 ||
      (kDated >> in.type & kDayToSecond >> inter.type & 1) == 0) {
    return false;
  }
  const std::int32_t* f = inter.field;
  const std::int64_t nanos = sign * f[kNanosField] + in.fraction;
  const std::int64_t whole = sign * (std::int64_t{f[0]} * 86400 + std::int64_t{f[1]} * 3600 +
                                     std::int64_t{f[2]} * 60 + f[3]);
  const std::uint64_t raised = static_cast<std::uint64_t>(nanos + std::int64_t{8} * kNanos);
  const auto carry = static_cast<std::uint32_t>(raised / kNanos);
  const auto fraction = static_cast<std::uint32_t>(raised) - carry * kNanos;
  const std::int64_t total = ClockSeconds(in) + whole + carry - 8;
  const std::uint64_t shifted = static_cast<std::uint64_t>(total + kShift * kDaySeconds);
  const std::uint64_t shifted_days = shifted / kDaySeconds;
  const auto second = static_cast<std::uint32_t>(shifted - shifted_days * kDaySeconds);
  const std::int64_t days = static_cast<std::int64_t>(shifted_days) - kShift;
  if (days < -kMaxDay || days > kMaxDay || (in.type == KES_DATETIME_DATE && fraction != 0)) {
    return false;
  }
  const std::int32_t day = static_cast<std::int32_t>(days) + DayNumber(in.year, in.month, in.day);
  if (day <= kMargin || day >= kMaxDay - kMargin) return false;
  const CivilDate civil = SplitDay(day);
  if (civil.year == 0) return false;
  const std::uint64_t fields = LoadFields(in);
  const std::uint64_t date = days == 0 ? fields & kDatePart : PackDay(civil);
  CopyTail(out, in);
  StoreFields(out, (fields & ~(kDatePart | kClockPart)) | date | PackClock(second));
  out.fraction = fraction;
  return true;
}

// Whether the magnitude of a value is below a limit.
constexpr bool IsBelow(std::int32_t value, std::int32_t limit) noexcept {
  const auto most = static_cast<std::uint32_t>(limit - 1);
  return static_cast<std::uint32_t>(value) + most <= 2 * most;
}

// x - y as days to seconds, of one type and offset.
inline bool SubtractPlain(LdiInter& out, const LdiDate& x, const LdiDate& y) noexcept {
  constexpr std::uint32_t kDated = 0b10101010;  // by type
  if (LoadZone(x) != LoadZone(y) || x.type >= 8 || (kDated >> x.type & 1) == 0) return false;
  std::int32_t days = DayNumber(x.year, x.month, x.day) - DayNumber(y.year, y.month, y.day);
  std::int32_t seconds =
      ((x.hour - y.hour) * 60 + (x.minute - y.minute)) * 60 + (x.second - y.second);
  auto nanos = static_cast<std::int32_t>(x.fraction - y.fraction);
  if (!IsBelow(seconds, kDaySeconds) || !IsBelow(nanos, kNanos)) return false;
  // All ones when the difference is negative.
  const std::int64_t twice = 2 * (std::int64_t{days} * kDaySeconds + seconds) + (nanos >> 31);
  const auto sign = static_cast<std::int32_t>(twice >> 63);
  const auto turn = [sign](std::int32_t value) { return (value ^ sign) - sign; };
  // The magnitude, with what the smaller parts borrow.
  nanos = turn(nanos);
  const std::int32_t second = nanos >> 31;
  nanos += second & kNanos;
  seconds = turn(seconds) + second;
  const std::int32_t day = seconds >> 31;
  days = turn(days) + day;
  const auto clock = static_cast<std::uint32_t>(seconds + (day & kDaySeconds));
  const std::uint32_t minute = clock / 60;
  const std::uint32_t hour = clock / 3600;
  out.field[0] = turn(days);
  out.field[1] = turn(static_cast<std::int32_t>(hour));
  out.field[2] = turn(static_cast<std::int32_t>(minute - 60 * hour));
  out.field[3] = turn(static_cast<std::int32_t>(clock - 60 * minute));
  out.field[kNanosField] = turn(nanos);
  out.type = KES_INTERVAL_DAY_TO_SECOND;
  out.pad = 0;
  out.zero = 0;
  return true;
}

// The same for every value: 0 or an error number.
std::uint32_t AddAny(LdiDate& out, const LdiDate& in, const LdiInter& inter,
                     std::int32_t sign) noexcept;
std::uint32_t SubtractAny(LdiInter& out, const LdiDate& x, const LdiDate& y,
                          std::uint32_t type) noexcept;
std::uint32_t CompareAny(const LdiDate& x, const LdiDate& y, const LdiSession* session,
                         int& order) noexcept;

inline std::uint32_t AddInterval(LdiDate& out, const LdiDate& in, const LdiInter& inter,
                                 std::int32_t sign) noexcept {
  if (AddPlain(out, in, inter, sign)) [[likely]]
    return 0;
  return AddAny(out, in, inter, sign);
}

inline std::uint32_t SubtractDates(LdiInter& out, const LdiDate& x, const LdiDate& y,
                                   std::uint32_t type) noexcept {
  if (type == KES_INTERVAL_DAY_TO_SECOND && SubtractPlain(out, x, y)) [[likely]]
    return 0;
  return SubtractAny(out, x, y, type);
}

inline std::uint32_t CompareDates(const LdiDate& x, const LdiDate& y, const LdiSession* session,
                                  int& order) noexcept {
  // The types date and timestamp: 1 and 3.
  static_assert(KES_DATETIME_DATE == 1 && KES_DATETIME_TIMESTAMP == 3);
  if ((((x.type ^ 1u) | (y.type ^ 1u)) & ~2u) == 0) [[likely]] {
    order = CompareFields(x, y);
    return 0;
  }
  return CompareAny(x, y, session, order);
}

}  // namespace kestra::datetime
