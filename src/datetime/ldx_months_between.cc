// Months between two dates, as a NUMBER.
#include "datetime/array_form.h"
#include "datetime/calendar.h"
#include "datetime/date_operations.h"
#include "kestra/number.h"
#include "kestra/number_native.h"

namespace kestra::datetime {
namespace {

// 31 days in seconds, 2678400, as a NUMBER: exponent byte of 100^3, then digits plus 1.
constexpr std::uint8_t kMonthSeconds[] = {0xC4, 0x03, 0x44, 0x55};

MonthsBetween Between(const ldxdate& a, const ldxdate& b) noexcept {
  const bool last_days =
      a.day == MonthLength(a.year, a.month) && b.day == MonthLength(b.year, b.month);
  return {(a.month - b.month) + 12 * (a.year - b.year),
          (a.day - b.day) * kDaySeconds + SecondOfDay(a) - SecondOfDay(b),
          a.day == b.day || last_days};
}

void Write(const MonthsBetween& between, std::uint8_t* out) noexcept {
  if (between.exact) return lnxmin(between.months, out, nullptr);
  std::uint8_t whole[22];
  std::uint8_t seconds[22];
  std::uint8_t part[22];
  lnxmin(between.months, whole, nullptr);
  lnxmin(between.seconds, seconds, nullptr);
  lnxdiv(seconds, 0, kMonthSeconds, sizeof kMonthSeconds, part, nullptr);
  lnxadd(whole, 0, part, 0, out, nullptr);
}

std::uint32_t CalendarBetween(const Calendar& calendar, const ldxdate& a, const ldxdate& b,
                              std::uint8_t* out) noexcept {
  MonthsBetween between;
  const ExtensionResult result = lxesbm(calendar, a, b, between);
  if (result.error != 0) return result.error;
  Write(result.handled ? between : Between(a, b), out);
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

void ldxsbm(ldxctx* ctx, std::uint8_t* out, const ldxdate* a, const ldxdate* b) {
  if (ctx == nullptr || ctx->calendar == 0) return Write(Between(*a, *b), out);
  const std::uint32_t error = CalendarBetween(Calendar::Of(*ctx), *a, *b, out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxsbmarr(ldxctx* ctx, std::uint8_t* const* out, const ldxdate* const* a, std::size_t count,
               const ldxdate* const* b, std::uint32_t flags, std::size_t* processed) {
  const Operands<const ldxdate*> other(b, flags);
  if (ctx == nullptr || ctx->calendar == 0) {
    return RunAll(count, processed,
                  [=](std::size_t i) { Write(Between(*a[i], *other[i]), out[i]); });
  }
  const Calendar calendar = Calendar::Of(*ctx);
  const ArrayResult result = RunFrom(
      0, count, [&](std::size_t i) { return CalendarBetween(calendar, *a[i], *other[i], out[i]); });
  Finish(ctx, result, processed);
}
