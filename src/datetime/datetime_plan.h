// Plans of datetimes: the commonest formats are dates as plans have them (date_plan.h), then perhaps
// a fraction, then perhaps an offset between literals. Such a format, or one that begins so, is
// written and read without a walk over its items. A context keeps the plan of the format that came
// last, so that its elements are checked against the type once and not with every value.
//
// Tests: tests/datetime/ldi_text_test.cc, tests/datetime/ldi_plan_test.cc.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>

#include "datetime/date_plan.h"
#include "datetime/date_write.h"
#include "datetime/datetime_value.h"
#include "kestra/datetime_text.h"

namespace kestra::datetime {

inline constexpr std::uint8_t kAnyDigits = 0xFF;

// The plan of a format, which may cover nothing of it; null when the format is longer than those that
// are kept.
const DatetimePlan* MakeDatetimePlan(ldxctx& ctx, std::span<const std::uint8_t> format) noexcept;
inline const DatetimePlan* DatetimePlanOf(ldxctx& ctx,
                                          std::span<const std::uint8_t> format) noexcept {
  const DatetimePlan& plan = StateOf(ctx).datetime_plan;
  if (format.empty() || ctx.calendar != 0) return nullptr;
  if (SameFormat(plan, format)) [[likely]]
    return &plan;
  return MakeDatetimePlan(ctx, format);
}

// Whether a plan serves a type.
inline bool ServesType(const DatetimePlan& plan, std::uint32_t type) noexcept {
  return (plan.types >> (type & 7) & 1) != 0 && type < 8;
}

// Whether LdiDateCheck has nothing to say about a value, without asking much: false when there may
// be something.
inline bool IsPlainValue(const LdiDate& date) noexcept {
  constexpr std::uint32_t kDated = 0b10101010;  // by type
  ldxdate parts;
  std::memcpy(&parts, &date, sizeof parts);
  if (date.type >= 8 || (kDated >> date.type & 1) == 0) return false;
  if (CheckFields(parts) != 0 || date.fraction >= static_cast<std::uint32_t>(kNanos)) return false;
  if (date.day > 28 && date.day > MonthLength(date.year, date.month)) return false;
  if (IsSkipped(date.year, date.month, date.day) || date.zero != 0) return false;
  if ((date.zero2 | date.region | date.reserved) != 0) return false;
  if (!HasZone(date.type)) {
    return (date.zone_hour | date.zone_minute) == 0 && (HasFraction(date.type) || !date.fraction);
  }
  const std::int32_t minutes = ZoneMinutes(date);
  return date.zone_minute >= -59 && date.zone_minute <= 59 &&
         date.zone_hour * date.zone_minute >= 0 && minutes >= -kMaxZoneMinutes &&
         minutes <= kMaxZoneMinutes && date.year > kMinYear && date.year < kMaxYear;
}

// Eight digits of a number as bytes 0 to 9, the first one lowest.
constexpr std::uint64_t EightDigits(std::uint32_t value) noexcept {
  std::uint64_t n = value / 10000 | std::uint64_t{value % 10000} << 32;
  const std::uint64_t hundreds = n * 10486 >> 20 & 0x0000007F0000007F;
  n = hundreds | (n - 100 * hundreds) << 16;
  const std::uint64_t tens = n * 103 >> 10 & 0x000F000F000F000F;
  return tens | (n - 10 * tens) << 8;
}
// Back; and whether all are digits.
constexpr std::uint32_t ValueOfDigits(std::uint64_t digits) noexcept {
  digits = digits * 10 + (digits >> 8);
  constexpr std::uint64_t kEverySecond = 0x000000FF000000FF;
  const std::uint64_t high = (digits & kEverySecond) * 0x000F424000000064;       // 1000000 and 100
  const std::uint64_t low = (digits >> 16 & kEverySecond) * 0x0000271000000001;  // 10000 and 1
  return static_cast<std::uint32_t>((high + low) >> 32);
}
constexpr bool AreDigits(std::uint64_t digits) noexcept {
  return ((digits | (digits + 0x7676767676767676)) & 0x8080808080808080) == 0;
}

// Up to eight bytes of a word, the lowest first.
inline void PutBytes(std::uint8_t* out, std::uint64_t bytes, std::size_t count) noexcept {
  if (count >= 4) {
    const auto first = static_cast<std::uint32_t>(bytes);
    const auto last = static_cast<std::uint32_t>(bytes >> (8 * count - 32));
    std::memcpy(out, &first, 4);
    std::memcpy(out + count - 4, &last, 4);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<std::uint8_t>(bytes >> 8 * i);
}

// Writes the part of a format that its plan serves. used: what was written; false: no room.
bool PutDatetimePlan(const DatetimePlan& plan, const LdiDate& date, std::uint32_t precision,
                     std::span<std::uint8_t> out, std::size_t& used) noexcept;

// What a text said by a plan.
struct PlannedFields {
  ldxdate parts;
  std::uint32_t fraction = 0;
  std::uint32_t digits = 0;       // of the fraction
  std::int32_t zone_minutes = 0;  // without its sign
  bool zone_negative = false;
  std::size_t used = 0;  // bytes of the text
};
// Reads a text that agrees byte by byte with a readable plan. False: it does not, or it says what is
// out of range.
bool ReadDatetimePlan(const DatetimePlan& plan, std::span<const std::uint8_t> text,
                      PlannedFields& fields) noexcept;

}  // namespace kestra::datetime
