// Adding days and months, last days, next weekdays, comparison. The context's calendar is asked
// once a call.
#include "datetime/array_form.h"
#include "datetime/calendar.h"
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"

namespace kestra::datetime {
namespace {

std::uint32_t AddCalendarMonths(const Calendar& calendar, const ldxdate& in, std::int32_t months,
                                ldxdate& out, bool& last_day) noexcept {
  const ExtensionResult result = lxeadm(calendar, in, months, out);
  if (!result.handled) return AddMonths(in, months, out, last_day);
  last_day = result.last_day;
  return result.error;
}

std::uint32_t CalendarLastDay(const Calendar& calendar, const ldxdate& in, ldxdate& out) noexcept {
  const ExtensionResult result = lxeldd(calendar, in, out);
  if (!result.handled) LastDay(in, out);
  return result.error;
}

bool HasCalendar(const ldxctx* ctx) noexcept { return ctx != nullptr && ctx->calendar != 0; }

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

void ldxads(ldxctx* ctx, ldxdate* out, const ldxdate* in, const ldxdelta* delta) {
  const std::uint32_t error = AddDelta(*in, *delta, *out);
  if (error != 0) [[unlikely]]
    ldxerr(ctx, error);
}

void ldxadsarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const ldxdelta* deltas, std::uint32_t flags, std::size_t* processed) {
  Finish(ctx, ActiveDateKernels().add_delta(out, in, count, Operands<ldxdelta>(deltas, flags)),
         processed);
}

int ldxadm(ldxctx* ctx, ldxdate* out, const ldxdate* in, std::int32_t months) {
  bool last_day = false;
  const std::uint32_t error =
      HasCalendar(ctx) ? AddCalendarMonths(Calendar::Of(*ctx), *in, months, *out, last_day)
                       : AddMonths(*in, months, *out, last_day);
  if (error != 0) [[unlikely]]
    ldxerr(ctx, error);
  return last_day ? 1 : 0;
}

void ldxadmarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const std::int32_t* months, std::uint32_t flags, std::size_t* processed) {
  const Operands<std::int32_t> number(months, flags);
  ArrayResult result;
  if (HasCalendar(ctx)) {
    const Calendar calendar = Calendar::Of(*ctx);
    result = RunFrom(0, count, [&](std::size_t i) {
      bool last_day = false;
      return AddCalendarMonths(calendar, *in[i], number[i], *out[i], last_day);
    });
  } else {
    result = ActiveDateKernels().add_months(out, in, count, number);
  }
  Finish(ctx, result, processed);
}

void ldxldd(ldxctx* ctx, ldxdate* out, const ldxdate* in) {
  if (!HasCalendar(ctx)) return LastDay(*in, *out);
  const std::uint32_t error = CalendarLastDay(Calendar::Of(*ctx), *in, *out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxlddarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) {
  ArrayResult result = {count, 0};
  if (HasCalendar(ctx)) {
    const Calendar calendar = Calendar::Of(*ctx);
    result = RunFrom(0, count,
                     [&](std::size_t i) { return CalendarLastDay(calendar, *in[i], *out[i]); });
  } else {
    ActiveDateKernels().last_day(out, in, count);
  }
  Finish(ctx, result, processed);
}

void ldxnxd(ldxctx* ctx, ldxdate* out, const ldxdate* in, std::uint32_t weekday) {
  const std::uint32_t error = NextDay(*in, weekday, ctx->first_weekday, *out);
  if (error != 0) ldxerr(ctx, error);
}

void ldxnxdarr(ldxctx* ctx, ldxdate* const* out, const ldxdate* const* in, std::size_t count,
               const std::uint32_t* weekdays, std::uint32_t flags, std::size_t* processed) {
  Finish(ctx,
         ActiveDateKernels().next_day(out, in, count, Operands<std::uint32_t>(weekdays, flags),
                                      ctx->first_weekday),
         processed);
}

int ldxcmp(const ldxdate* a, const ldxdate* b) noexcept { return Compare(*a, *b); }

void ldxcmparr(ldxctx*, std::int32_t* out, const ldxdate* const* a, std::size_t count,
               const ldxdate* const* b, std::uint32_t flags, std::size_t* processed) noexcept {
  const Operands<const ldxdate*> other(b, flags);
  RunAll(count, processed, [=](std::size_t i) { out[i] = Compare(*a[i], *other[i]); });
}
