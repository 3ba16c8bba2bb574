// Dates written by compiled formats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/date_model.h"
#include "datetime/date_plan.h"

namespace kestra::datetime {

// No item of a format writes more bytes, copying in pieces included: a literal of 209 bytes, a name
// with its blanks, a spelled number.
inline constexpr std::size_t kItemRoom = 2 * kNameRoom + 2 * kCopySlack;
static_assert(kItemRoom >= kMaxLiteral + kCopySlack);

// 0 when every field of a date lies in its range, else the number of the first that does not.
std::uint32_t CheckFields(const ldxdate& date) noexcept;

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
