// Comparison of datetimes. Two values without a zone, or dated ones at one offset, are their
// fields as one 64-bit number (zone_key.h); only different offsets need day numbers.
#include "datetime/datetime_value.h"
#include "datetime/kernels/date_kernels.h"
#include "datetime/timestamp_operations.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime.h"

namespace kestra::datetime {
namespace {

int Order(const Moment& x, const Moment& y) noexcept { return (y < x) - (x < y); }

}  // namespace

std::uint32_t CompareAny(const LdiDate& x, const LdiDate& y, const LdiSession* session,
                         int& order) noexcept {
  if (const std::uint32_t error = LdiDateComparable(x.type, y.type)) return error;
  const bool zoned = HasZone(x.type) && HasZone(y.type);
  // Times of day go through UTC, where they may pass midnight.
  const bool one_offset = zoned && HasDate(x.type) && ZoneMinutes(x) == ZoneMinutes(y);
  if (one_offset || (!HasZone(x.type) && !HasZone(y.type))) {
    order = CompareFields(x, y);
    return 0;
  }
  Moment a;
  Moment b;
  if (!HasDate(x.type)) {
    // A time of day without a zone takes the offset that the session's zone has now.
    Zone zone = SessionZone(session);
    if (HasZone(x.type) != HasZone(y.type)) {
      if (const std::uint32_t error = OffsetAtUtc(zone, CurrentUtc(), zone.minutes)) return error;
    }
    LdiDate u = x;
    LdiDate v = y;
    if (!HasZone(x.type)) SetZone(u, zone.minutes, 0);
    if (!HasZone(y.type)) SetZone(v, zone.minutes, 0);
    a = UtcMoment(u);
    b = UtcMoment(v);
  } else {
    if (const std::uint32_t error = UtcOf(x, session, a)) return error;
    if (const std::uint32_t error = UtcOf(y, session, b)) return error;
  }
  order = Order(a, b);
  return 0;
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateComparable(uint32_t x_type, uint32_t y_type) noexcept {
  if (!IsDatetimeType(x_type) || !IsDatetimeType(y_type)) return KES_DATETIME_BAD_TYPE;
  return HasDate(x_type) == HasDate(y_type) ? 0 : KES_DATETIME_NOT_COMPARABLE;
}

uint32_t LdiDateCompare(const LdiDate* x, const LdiDate* y, const LdiSession* session,
                        int* order) noexcept {
  return CompareDates(*x, *y, session, *order);
}

uint32_t LdiDateComparearr(int8_t* order, const LdiDate* const* x, size_t count,
                           const LdiDate* const* y, const LdiSession* session, uint32_t flags,
                           size_t* done) noexcept {
  return Answer(ActiveDateKernels().compare_dates(x, count, Operands<const LdiDate*>(y, flags),
                                                  session, order),
                done);
}
