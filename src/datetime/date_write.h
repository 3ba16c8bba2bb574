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

// room is at least the plan's text.
inline void PutPlan(const Plan& plan, const ldxdate& date, Basis basis, std::uint8_t* out,
                    std::size_t room) noexcept {
  const auto year = static_cast<std::uint32_t>(date.year < 0 ? -date.year : date.year);
  const std::uint32_t century = year / 100;
  const std::uint8_t values[kPlanFieldCount] = {static_cast<std::uint8_t>(century),
                                                static_cast<std::uint8_t>(year - 100 * century),
                                                date.month,
                                                date.day,
                                                date.hour,
                                                date.minute,
                                                date.second};
  if (room >= 32 && plan.text_length <= 32) {
    memcpy(out, plan.text, 32);
  } else {
    memcpy(out, plan.text, plan.text_length);
  }
  for (std::size_t i = 0; i < plan.field_count; ++i) {
    PutPair(out + plan.fields[i].offset, values[plan.fields[i].field], basis);
  }
}

}  // namespace kestra::datetime
