// Dates written by compiled formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/date_model.h"
#include "datetime/date_plan.h"
#include "datetime/day_number.h"

namespace kestra::datetime {

// No item of a format writes more bytes, copying in pieces included: a literal of 209 bytes, a name
// with its blanks, a spelled number.
inline constexpr std::size_t kItemRoom = 2 * kNameRoom + 2 * kCopySlack;
static_assert(kItemRoom >= kMaxLiteral + kCopySlack);

// The number of the first field that does not lie in its range; 0: there is none.
std::uint32_t WrongField(const ldxdate& date) noexcept;

// The same, with one look at all fields first.
inline std::uint32_t CheckFields(const ldxdate& date) noexcept {
  // All at once first: a byte's high bit comes up when it passes its bound.
  std::uint64_t bytes;
  memcpy(&bytes, &date, sizeof bytes);
  if constexpr (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) {
    constexpr std::uint64_t kHigh = 0x8080808080800000;
    constexpr auto at = [](std::uint64_t value, int byte) { return value << (8 * byte); };
    constexpr std::uint64_t kTop = at(127 - 12, 2) | at(127 - 31, 3) | at(127 - 23, 4) |
                                   at(127 - 59, 5) | at(127 - 59, 6) | at(0, 7);
    constexpr std::uint64_t kLow = at(1, 2) | at(1, 3);
    const std::uint64_t fields = bytes & ~kHigh & ~std::uint64_t{0xFFFF};
    const std::uint64_t over = (bytes | (fields + kTop)) & (kHigh & ~(std::uint64_t{0x80} << 56));
    const std::uint64_t under = ~((fields | kHigh) - kLow) & kHigh;
    const auto year = static_cast<std::uint32_t>(date.year - kMinYear);
    const bool year_fits = year <= kMaxYear - kMinYear && date.year != 0;
    if ((over | under) == 0 && year_fits) [[likely]]
      return 0;
  }
  return WrongField(date);
}

// Writes a date whose fields are checked. used is the length; number 1801 when it does not fit.
Fault WriteDate(ldxctx& ctx, const ldxdate& date, std::span<const std::uint8_t> format,
                std::span<std::uint8_t> out, std::size_t& used) noexcept;

// The same into two-byte units, in bytes.
Fault WriteDateUnits(ldxctx& ctx, const ldxdate& date, std::span<const std::uint8_t> format,
                     std::span<std::uint8_t> out, std::size_t& used) noexcept;

// out has room for the plan's text.
inline void PutPlan(const Plan& plan, const ldxdate& date, Basis basis,
                    std::uint8_t* out) noexcept {
  const auto year = static_cast<std::uint32_t>(date.year < 0 ? -date.year : date.year);
  const std::uint32_t century = year / 100;
  const std::uint16_t mark = PairMark(basis);
  CopyPlanText(plan, out);
  const auto put = [&](PlanField field, std::uint32_t value) {
    if (plan.place[field] != kNoPlace) PutPair(out + plan.place[field], value, mark);
  };
  put(kCenturyField, century);
  put(kYearField, year - 100 * century);
  put(kMonthField, date.month);
  put(kDayField, date.day);
  put(kHourField, date.hour);
  put(kMinuteField, date.minute);
  put(kSecondField, date.second);
}

}  // namespace kestra::datetime
