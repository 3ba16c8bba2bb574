// Datetimes plus and minus intervals. Months move year and month; everything else is seconds and
// nanoseconds on the clock, which leaves the date alone as long as midnight is not crossed.
//
// Tests: tests/datetime/ldi_arithmetic_test.cc, tests/datetime/ldi_laws_test.cc.
#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/interval_value.h"
#include "datetime/kernels/date_kernels.h"
#include "datetime/timestamp_operations.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_arithmetic.h"

namespace kestra::datetime {
namespace {

enum class MissingDay { kLastOfMonth, kError };

std::uint32_t AddMonths(LdiDate& date, std::int64_t months, MissingDay missing) noexcept {
  const std::int64_t total = std::int64_t{date.year} * 12 + date.month - 1 + months;
  const std::int64_t year = FloorDivide(total, 12);
  if (year < kMinYear || year > kMaxYear) return KES_DATETIME_BAD_YEAR;
  const std::int32_t y = WithoutYearZero(static_cast<std::int32_t>(year), months >= 0);
  const auto month = static_cast<std::uint32_t>(total - year * 12) + 1;
  const std::uint32_t length = MonthLength(y, month);
  std::uint32_t day = date.day;
  if (day > length || IsSkipped(y, month, day)) {
    if (missing == MissingDay::kError) return KES_DATETIME_NOT_IN_MONTH;
    // The days that October 1582 lacks move on to the first that there was.
    day = day > length ? length : kLastSkipped + 1;
  }
  date.year = static_cast<std::int16_t>(y);
  date.month = static_cast<std::uint8_t>(month);
  date.day = static_cast<std::uint8_t>(day);
  return 0;
}

std::uint32_t CheckTypes(const LdiDate& date, const LdiInter& inter) noexcept {
  if (!IsDatetimeType(date.type)) return KES_DATETIME_BAD_TYPE;
  if (!IsIntervalType(inter.type)) return KES_DATETIME_BAD_INTERVAL;
  return !HasDate(date.type) && IsYearMonth(inter.type) ? KES_DATETIME_NOT_COMPARABLE : 0;
}

Amount Signed(const LdiInter& inter, std::int32_t sign) noexcept {
  const Amount amount = AmountOf(inter);
  return {sign * amount.count, sign * amount.nanos};
}

}  // namespace

// Offset and region are kept.
std::uint32_t AddAny(LdiDate& out, const LdiDate& in, const LdiInter& inter,
                     std::int32_t sign) noexcept {
  if (const std::uint32_t error = CheckTypes(in, inter)) return error;
  const Amount amount = Signed(inter, sign);
  LdiDate date = in;
  if (IsYearMonth(inter.type)) {
    if (const std::uint32_t error = AddMonths(date, amount.count, MissingDay::kLastOfMonth)) {
      return error;
    }
  } else {
    if (!AddToLocal(date, amount.count, amount.nanos)) return KES_DATETIME_BAD_YEAR;
    if (!HasFraction(date.type) && date.fraction != 0) {
      if (const std::uint32_t error = RoundFraction(date, 0)) return error;
    }
  }
  if (HasZone(date.type) && HasDate(date.type) && !InCalendar(UtcMoment(date).seconds)) {
    return KES_DATETIME_BAD_YEAR;
  }
  out = date;
  return 0;
}

namespace {

// With the rules of the region.
std::uint32_t AddInZone(LdiDate& out, const LdiDate& in, const LdiInter& inter, std::int32_t sign,
                        MissingDay missing, const LdiSession* session) noexcept {
  if (const std::uint32_t error = CheckTypes(in, inter)) return error;
  const bool months = IsYearMonth(inter.type);
  if (!months && (!HasZone(in.type) || in.region == 0)) return AddInterval(out, in, inter, sign);
  const Amount amount = Signed(inter, sign);
  const Zone zone{.zones = session != nullptr ? session->zones : nullptr,
                  .region = in.region,
                  .minutes = ZoneMinutes(in),
                  .keeps = true};
  LdiDate date = in;
  if (months) {
    if (const std::uint32_t error = AddMonths(date, amount.count, missing)) return error;
    if (HasZone(date.type)) {
      if (const std::uint32_t error = AttachZone(date, zone)) return error;
    }
  } else {
    Moment utc = UtcMoment(in);
    const std::int64_t nanos = std::int64_t{utc.nanos} + amount.nanos;
    const std::int64_t carry = FloorDivide(nanos, kNanos);
    utc = {utc.seconds + amount.count + carry, static_cast<std::uint32_t>(nanos - carry * kNanos)};
    if (const std::uint32_t error = ShowInZone(date, utc, zone)) return error;
  }
  out = date;
  return 0;
}

std::uint32_t AddClock(LdiDate& out, const LdiDate& in, const LdiInter& inter, std::int32_t sign,
                       std::int32_t* days) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  if (!IsIntervalType(inter.type)) return KES_DATETIME_BAD_INTERVAL;
  if (IsYearMonth(inter.type)) return KES_DATETIME_NOT_COMPARABLE;
  const Amount amount = Signed(inter, sign);
  const std::int64_t half = HasFraction(in.type) ? 0 : kNanos / 2;  // rounds what is cut
  const std::int64_t nanos = std::int64_t{in.fraction} + amount.nanos + half;
  const std::int64_t carry = FloorDivide(nanos, kNanos);
  const std::int64_t total = ClockSeconds(in) + amount.count + carry;
  const std::int64_t over = FloorDivide(total, kDaySeconds);
  LdiDate date = in;
  SetClock(date, static_cast<std::int32_t>(total - over * kDaySeconds));
  if (HasFraction(in.type)) date.fraction = static_cast<std::uint32_t>(nanos - carry * kNanos);
  if (days != nullptr) *days = static_cast<std::int32_t>(over);
  out = date;
  return 0;
}

std::uint32_t AddArray(LdiDate* const* out, const LdiDate* const* in, std::size_t count,
                       const LdiInter* const* inter, std::uint32_t flags, std::int32_t sign,
                       std::size_t* done) noexcept {
  return Answer(ActiveDateKernels().add_interval(out, in, count,
                                                 Operands<const LdiInter*>(inter, flags), sign),
                done);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateInterAdd(LdiDate* out, const LdiDate* in, const LdiInter* inter) noexcept {
  return AddInterval(*out, *in, *inter, 1);
}

uint32_t LdiDateInterSubtract(LdiDate* out, const LdiDate* in, const LdiInter* inter) noexcept {
  return AddInterval(*out, *in, *inter, -1);
}

uint32_t LdiDateInterAddTZ(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                           const LdiSession* session) noexcept {
  return AddInZone(*out, *in, *inter, 1, MissingDay::kLastOfMonth, session);
}

uint32_t LdiDateInterAddTZarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                              const LdiInter* const* inter, const LdiSession* session,
                              uint32_t flags, size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddInZone(*out[i], *in[i], *other[i], 1, MissingDay::kLastOfMonth, session);
  });
}

uint32_t LdiDateInterSubtractTZ(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                                const LdiSession* session) noexcept {
  return AddInZone(*out, *in, *inter, -1, MissingDay::kLastOfMonth, session);
}

uint32_t LdiDateInterSubtractTZarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                   const LdiInter* const* inter, const LdiSession* session,
                                   uint32_t flags, size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddInZone(*out[i], *in[i], *other[i], -1, MissingDay::kLastOfMonth, session);
  });
}

uint32_t LdiDateInterAddTZISO(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                              const LdiSession* session) noexcept {
  return AddInZone(*out, *in, *inter, 1, MissingDay::kError, session);
}

uint32_t LdiDateInterAddTZISOarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                 const LdiInter* const* inter, const LdiSession* session,
                                 uint32_t flags, size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddInZone(*out[i], *in[i], *other[i], 1, MissingDay::kError, session);
  });
}

uint32_t LdiDateInterSubtractTZISO(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                                   const LdiSession* session) noexcept {
  return AddInZone(*out, *in, *inter, -1, MissingDay::kError, session);
}

uint32_t LdiDateInterSubtractTZISOarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                      const LdiInter* const* inter, const LdiSession* session,
                                      uint32_t flags, size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddInZone(*out[i], *in[i], *other[i], -1, MissingDay::kError, session);
  });
}

uint32_t LdiDateInterAddarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                            const LdiInter* const* inter, uint32_t flags, size_t* done) noexcept {
  return AddArray(out, in, count, inter, flags, 1, done);
}

uint32_t LdiDateInterSubtractarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                 const LdiInter* const* inter, uint32_t flags,
                                 size_t* done) noexcept {
  return AddArray(out, in, count, inter, flags, -1, done);
}

uint32_t LdiDateIntertimeAdd(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                             int32_t* days) noexcept {
  return AddClock(*out, *in, *inter, 1, days);
}

uint32_t LdiDateIntertimeAddarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                const LdiInter* const* inter, int32_t* days, uint32_t flags,
                                size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddClock(*out[i], *in[i], *other[i], 1, days != nullptr ? days + i : nullptr);
  });
}

uint32_t LdiDateIntertimeSubtract(LdiDate* out, const LdiDate* in, const LdiInter* inter,
                                  int32_t* days) noexcept {
  return AddClock(*out, *in, *inter, -1, days);
}

uint32_t LdiDateIntertimeSubtractarr(LdiDate* const* out, const LdiDate* const* in, size_t count,
                                     const LdiInter* const* inter, int32_t* days, uint32_t flags,
                                     size_t* done) noexcept {
  const Operands other(inter, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return AddClock(*out[i], *in[i], *other[i], -1, days != nullptr ? days + i : nullptr);
  });
}
