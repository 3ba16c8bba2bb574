// ldxdts, ldxdtsint, ldxdtsu, ldxdtsarr: dates to text.
#include <algorithm>

#include "datetime/date_write.h"
#include "datetime/format_choice.h"
#include "kestra/date_format.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t kNoRoom = 1801;

Fault Write(ldxctx& ctx, const ldxdate& date, const FormatChoice& format,
            std::span<std::uint8_t> out, std::size_t& used) noexcept {
  if (const std::uint32_t number = CheckFields(date)) [[unlikely]]
    return {number, 0};
  State& state = StateOf(ctx);
  if (format.plan != nullptr) {
    const Plan& plan = *format.plan;
    if (plan.text_length > out.size()) return {kNoRoom, 0};
    PutPlan(plan, date, state.basis, out.data());
    used = plan.text_length;
    return {};
  }
  return state.two_byte_units ? WriteDateUnits(ctx, date, format.bytes, out, used)
                              : WriteDate(ctx, date, format.bytes, out, used);
}

Fault WriteOne(ldxctx& ctx, const ldxdate& date, const std::uint8_t* format,
               std::size_t format_length, std::span<std::uint8_t> out, std::size_t& used) noexcept {
  FormatChoice choice;
  if (const Fault fault = Choose(ctx, format, format_length, choice)) return fault;
  return Write(ctx, date, choice, out, used);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

std::size_t ldxdts(ldxctx* ctx, const ldxdate* date, const std::uint8_t* format,
                   std::size_t format_length, std::uint8_t* out, std::size_t room) {
  std::size_t used = 0;
  const Fault fault = WriteOne(*ctx, *date, format, format_length, {out, room}, used);
  if (!fault) [[likely]]
    return used;
  Raise(ctx, fault);
  return 0;
}

std::uint32_t ldxdtsint(ldxctx* ctx, const ldxdate* date, const std::uint8_t* format,
                        std::size_t format_length, std::uint8_t* out, std::size_t room,
                        std::size_t* length) noexcept {
  std::size_t used = 0;
  const Fault fault = WriteOne(*ctx, *date, format, format_length, {out, room}, used);
  *length = fault ? 0 : used;
  return fault.number;
}

std::size_t ldxdtsu(ldxctx* ctx, const ldxdate* date, const std::uint8_t* format,
                    std::size_t format_length, std::uint16_t* out, std::size_t room) {
  std::size_t used = 0;
  FormatChoice choice;
  Fault fault = Choose(*ctx, format, format_length, choice);
  if (!fault) fault = {CheckFields(*date), 0};
  if (!fault) {
    fault = WriteDateUnits(*ctx, *date, choice.bytes,
                           {reinterpret_cast<std::uint8_t*>(out), 2 * room}, used);
  }
  if (!fault) return used / 2;
  Raise(ctx, fault);
  return 0;
}

void ldxdtsarr(ldxctx* ctx, std::uint8_t* const* out, const ldxdate* const* dates,
               std::size_t count, const std::size_t* rooms, std::size_t* lengths,
               const std::uint8_t* format, std::size_t format_length, std::uint32_t flags,
               std::size_t* processed) {
  FormatChoice choice;
  Fault fault = Choose(*ctx, format, format_length, choice);
  const std::size_t step = (flags & KES_DATE_SHARED) != 0 ? 0 : 1;
  std::size_t done = 0;
  for (; !fault && done < count; ++done) {
    fault = Write(*ctx, *dates[done], choice, {out[done], rooms[done * step]}, lengths[done]);
    if (fault) break;
  }
  if (processed != nullptr) *processed = done;
  Raise(ctx, fault);
}

}  // extern "C"
