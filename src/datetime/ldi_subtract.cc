// Differences of datetimes, and whether periods overlap.
//
// Tests: tests/datetime/ldi_arithmetic_test.cc.
#include <utility>

#include "datetime/datetime_value.h"
#include "datetime/interval_value.h"
#include "datetime/kernels/date_kernels.h"
#include "datetime/timestamp_operations.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_arithmetic.h"

namespace kestra::datetime {
namespace {

// The days that SplitDay knows, with one more at either end, where another zone may be. Only records
// that LdiDateCheck complains about lie outside.
constexpr bool IsNearCalendar(const Moment& moment) noexcept {
  return moment.seconds >= 0 && moment.seconds < (std::int64_t{kMaxDay} + 2) * kDaySeconds;
}

// Whole months from y to x, towards zero.
std::int64_t MonthsBetween(const Moment& x, const Moment& y) noexcept {
  const std::int64_t x_day = FloorDivide(x.seconds, kDaySeconds);
  const std::int64_t y_day = FloorDivide(y.seconds, kDaySeconds);
  const CivilDate a = SplitDay(static_cast<std::int32_t>(x_day));
  const CivilDate b = SplitDay(static_cast<std::int32_t>(y_day));
  const std::int64_t months = (std::int64_t{a.year} - b.year) * 12 +
                              static_cast<std::int64_t>(a.month) -
                              static_cast<std::int64_t>(b.month);
  const std::int64_t days = static_cast<std::int64_t>(a.day) - static_cast<std::int64_t>(b.day);
  const std::int64_t seconds =
      days * kDaySeconds + (x.seconds - x_day * kDaySeconds) - (y.seconds - y_day * kDaySeconds);
  const bool after = seconds > 0 || (seconds == 0 && x.nanos > y.nanos);
  const bool before = seconds < 0 || (seconds == 0 && x.nanos < y.nanos);
  if (months > 0 && before) return months - 1;
  if (months < 0 && after) return months + 1;
  return months;
}

std::uint32_t Difference(LdiInter& out, const Moment& x, const Moment& y,
                         std::uint32_t type) noexcept {
  if (IsYearMonth(type)) return SetAmount(out, {MonthsBetween(x, y), 0}, type);
  const auto nanos = static_cast<std::int32_t>(std::int64_t{x.nanos} - y.nanos);
  return SetAmount(out, MakeAmount(x.seconds - y.seconds, nanos), type);
}

std::uint32_t CheckTypes(const LdiDate& x, const LdiDate& y, std::uint32_t type) noexcept {
  if (const std::uint32_t error = LdiDateComparable(x.type, y.type)) return error;
  if (!IsIntervalType(type)) return KES_DATETIME_BAD_INTERVAL;
  return !HasDate(x.type) && IsYearMonth(type) ? KES_DATETIME_NOT_COMPARABLE : 0;
}

}  // namespace

std::uint32_t SubtractAny(LdiInter& out, const LdiDate& x, const LdiDate& y,
                          std::uint32_t type) noexcept {
  if (const std::uint32_t error = CheckTypes(x, y, type)) return error;
  if (HasZone(x.type) != HasZone(y.type)) return KES_DATETIME_NOT_COMPARABLE;
  Moment a = LocalMoment(x);
  Moment b = LocalMoment(y);
  if (HasZone(x.type)) {
    a = UtcMoment(x);
    b = UtcMoment(y);
    if (IsYearMonth(type)) {  // months are those of the calendar in the zone of x
      a = LocalMoment(x);
      b.seconds += ZoneMinutes(x) * 60;
    }
  }
  if (HasDate(x.type) && IsYearMonth(type) && (!IsNearCalendar(a) || !IsNearCalendar(b))) {
    return KES_DATETIME_BAD_YEAR;
  }
  return Difference(out, a, b, type);
}

namespace {

std::uint32_t SubtractInSession(LdiInter& out, const LdiDate& x, const LdiDate& y,
                                std::uint32_t type, const LdiSession* session) noexcept {
  if (const std::uint32_t error = CheckTypes(x, y, type)) return error;
  if (HasZone(x.type) == HasZone(y.type)) return SubtractDates(out, x, y, type);
  LdiDate a;
  LdiDate b;
  const std::uint32_t zoned = HasDate(x.type) ? KES_DATETIME_TIMESTAMP_TZ : KES_DATETIME_TIME_TZ;
  const std::uint32_t precision = KES_DATETIME_MAX_PRECISION;
  if (const std::uint32_t error = LdiDateDateConvert(&a, &x, zoned, precision, session)) {
    return error;
  }
  if (const std::uint32_t error = LdiDateDateConvert(&b, &y, zoned, precision, session)) {
    return error;
  }
  return SubtractDates(out, a, b, type);
}

// SQL's OVERLAPS of two periods.
std::uint32_t Overlap(const LdiDate* start1, const LdiDate* end1, const LdiDate* start2,
                      const LdiDate* end2, const LdiSession* session, int& overlap) noexcept {
  int order = 0;
  if (const std::uint32_t error = LdiDateCompare(start1, end1, session, &order)) return error;
  if (order > 0) std::swap(start1, end1);
  if (const std::uint32_t error = LdiDateCompare(start2, end2, session, &order)) return error;
  if (order > 0) std::swap(start2, end2);
  if (const std::uint32_t error = LdiDateCompare(start1, start2, session, &order)) return error;
  if (order == 0) {
    overlap = 1;
    return 0;
  }
  // The later period has to start before the earlier one ends.
  const LdiDate* later_start = order > 0 ? start1 : start2;
  const LdiDate* earlier_end = order > 0 ? end2 : end1;
  if (const std::uint32_t error = LdiDateCompare(later_start, earlier_end, session, &order)) {
    return error;
  }
  overlap = order < 0 ? 1 : 0;
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateDateSubtract(LdiInter* out, const LdiDate* x, const LdiDate* y,
                             uint32_t type) noexcept {
  return SubtractDates(*out, *x, *y, type);
}

uint32_t LdiDateDateSubtractWithTZ(LdiInter* out, const LdiDate* x, const LdiDate* y, uint32_t type,
                                   const LdiSession* session) noexcept {
  return SubtractInSession(*out, *x, *y, type, session);
}

uint32_t LdiDateDateSubtractWithTZarr(LdiInter* const* out, const LdiDate* const* x, size_t count,
                                      const LdiDate* const* y, uint32_t type,
                                      const LdiSession* session, uint32_t flags,
                                      size_t* done) noexcept {
  const Operands other(y, flags);
  return RunArray(count, done, [&](std::size_t i) {
    return SubtractInSession(*out[i], *x[i], *other[i], type, session);
  });
}

uint32_t LdiDateDateSubtractarr(LdiInter* const* out, const LdiDate* const* x, size_t count,
                                const LdiDate* const* y, uint32_t type, uint32_t flags,
                                size_t* done) noexcept {
  const Operands<const LdiDate*> others(y, flags);
  if (type == KES_INTERVAL_DAY_TO_SECOND) {
    return Answer(ActiveDateKernels().subtract_dates(out, x, count, others), done);
  }
  return RunArray(count, done,
                  [=](std::size_t i) { return SubtractAny(*out[i], *x[i], *others[i], type); });
}

uint32_t LdiDateDateOverlap(const LdiDate* start1, const LdiDate* end1, const LdiDate* start2,
                            const LdiDate* end2, const LdiSession* session, int* overlap) noexcept {
  return Overlap(start1, end1, start2, end2, session, *overlap);
}

uint32_t LdiDateInterOverlap(const LdiDate* start1, const LdiDate* end1, const LdiDate* start2,
                             const LdiInter* length2, const LdiSession* session,
                             int* overlap) noexcept {
  LdiDate end2;
  if (const std::uint32_t error = LdiDateInterAddTZ(&end2, start2, length2, session)) return error;
  return Overlap(start1, end1, start2, &end2, session, *overlap);
}

uint32_t LdiInterInterOverlap(const LdiDate* start1, const LdiInter* length1, const LdiDate* start2,
                              const LdiInter* length2, const LdiSession* session,
                              int* overlap) noexcept {
  LdiDate end1;
  LdiDate end2;
  if (const std::uint32_t error = LdiDateInterAddTZ(&end1, start1, length1, session)) return error;
  if (const std::uint32_t error = LdiDateInterAddTZ(&end2, start2, length2, session)) return error;
  return Overlap(start1, &end1, start2, &end2, session, *overlap);
}
