// Which compiled format a call uses: its own or the context's default, and whether a plan serves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/date_plan.h"

namespace kestra::datetime {

struct FormatChoice {
  std::span<const std::uint8_t> bytes;
  const Plan* plan = nullptr;  // serves texts of bytes in the Gregorian calendar
};

inline Fault Choose(ldxctx& ctx, const std::uint8_t* format, std::size_t length,
                    FormatChoice& choice) noexcept {
  constexpr std::uint32_t kNoDefaultFormat = 600;
  if (format == nullptr) {
    if (ctx.default_length == 0) return {kNoDefaultFormat, 0};
    format = ctx.default_format;
    length = ctx.default_length;
  }
  choice.bytes = {format, length};
  State& state = StateOf(ctx);
  if (ctx.calendar == 0 && !state.two_byte_units) choice.plan = PlanOf(state, choice.bytes);
  return {};
}

}  // namespace kestra::datetime
