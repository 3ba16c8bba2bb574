// Arithmetic of intervals, with each other and with numbers: the operands become amounts
// (interval_value.h), the result is written into the fields of its type.
//
// Tests: tests/datetime/ldi_interval_test.cc.
#include "datetime/array_form.h"
#include "datetime/interval_value.h"
#include "kestra/interval.h"
#include "kestra/number.h"
#include "kestra/number_native.h"

namespace kestra::datetime {
namespace {

// The type that has the fields of both and all between them.
std::uint32_t UnitedType(std::uint32_t x, std::uint32_t y) noexcept {
  constexpr std::uint8_t kYearMonth[2][2] = {{KES_INTERVAL_YEAR, KES_INTERVAL_YEAR_TO_MONTH},
                                             {0, KES_INTERVAL_MONTH}};
  constexpr std::uint8_t kDaySecond[4][4] = {
      {KES_INTERVAL_DAY, KES_INTERVAL_DAY_TO_HOUR, KES_INTERVAL_DAY_TO_MINUTE,
       KES_INTERVAL_DAY_TO_SECOND},
      {0, KES_INTERVAL_HOUR, KES_INTERVAL_HOUR_TO_MINUTE, KES_INTERVAL_HOUR_TO_SECOND},
      {0, 0, KES_INTERVAL_MINUTE, KES_INTERVAL_MINUTE_TO_SECOND},
      {0, 0, 0, KES_INTERVAL_SECOND}};
  const IntervalType& a = kIntervalTypes[x];
  const IntervalType& b = kIntervalTypes[y];
  const std::uint8_t first = a.first < b.first ? a.first : b.first;
  const std::uint8_t last = a.last > b.last ? a.last : b.last;
  return IsYearMonth(x) ? kYearMonth[first][last] : kDaySecond[first][last];
}

std::uint32_t Add(LdiInter& out, const LdiInter& x, const LdiInter& y, std::int32_t sign) noexcept {
  if (const std::uint32_t error = LdiInterComparable(x.type, y.type)) return error;
  const Amount a = AmountOf(x);
  const Amount b = AmountOf(y);
  // The nanoseconds stay below 2^31: each is less than 10^9.
  const Amount sum = MakeAmount(a.count + sign * b.count, a.nanos + sign * b.nanos);
  return SetAmount(out, sum, UnitedType(x.type, y.type));
}

// The amount in the smallest units of its family, months or nanoseconds, and back.
Int128 UnitsOf(const LdiInter& inter) noexcept {
  const Amount amount = AmountOf(inter);
  return IsYearMonth(inter.type) ? Int128{amount.count} : NanosOf(amount);
}

std::uint32_t SetUnits(LdiInter& out, Int128 units, std::uint32_t type) noexcept {
  Amount amount{};
  if (!IsYearMonth(type)) {
    if (!AmountOfNanos(units, amount)) return KES_DATETIME_INTERVAL_RANGE;
  } else {
    if (units > INT64_MAX || units < INT64_MIN) return KES_DATETIME_INTERVAL_RANGE;
    amount.count = static_cast<std::int64_t>(units);
  }
  return SetAmount(out, amount, type);
}

std::uint32_t MultiplyWhole(LdiInter& out, const LdiInter& in, std::int32_t factor) noexcept {
  if (!IsIntervalType(in.type)) return KES_DATETIME_BAD_INTERVAL;
  return SetUnits(out, UnitsOf(in) * factor, FullType(in.type));
}

// How many of the smallest units of its family a field's unit is.
std::int64_t UnitSize(std::uint32_t unit) noexcept {
  if (unit == KES_INTERVAL_YEAR) return 12;
  if (unit == KES_INTERVAL_MONTH) return 1;
  return std::int64_t{kFieldSeconds[unit - KES_INTERVAL_DAY]} * kNanos;
}

std::uint32_t CheckUnit(std::uint32_t unit, std::uint32_t type) noexcept {
  if (!IsIntervalType(type) || unit - 1 >= 6) return KES_DATETIME_BAD_INTERVAL;
  return IsYearMonth(unit) == IsYearMonth(type) ? 0 : KES_DATETIME_NOT_COMPARABLE;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiInterInterAdd(LdiInter* out, const LdiInter* x, const LdiInter* y) noexcept {
  return Add(*out, *x, *y, 1);
}

uint32_t LdiInterInterAddarr(LdiInter* const* out, const LdiInter* const* x, size_t count,
                             const LdiInter* const* y, uint32_t flags, size_t* done) noexcept {
  const Operands other(y, flags);
  return RunArray(count, done, [&](std::size_t i) { return Add(*out[i], *x[i], *other[i], 1); });
}

uint32_t LdiInterInterSubtract(LdiInter* out, const LdiInter* x, const LdiInter* y) noexcept {
  return Add(*out, *x, *y, -1);
}

uint32_t LdiInterInterSubtractarr(LdiInter* const* out, const LdiInter* const* x, size_t count,
                                  const LdiInter* const* y, uint32_t flags, size_t* done) noexcept {
  const Operands other(y, flags);
  return RunArray(count, done, [&](std::size_t i) { return Add(*out[i], *x[i], *other[i], -1); });
}

uint32_t LdiInterMultiply(LdiInter* out, const LdiInter* in, const uint8_t* x,
                          size_t xlen) noexcept {
  if (!IsIntervalType(in->type)) return KES_DATETIME_BAD_INTERVAL;
  Int128 units = UnitsOf(*in);
  std::int64_t factor = 0;
  const bool whole = lnxgin(x, xlen, &factor, sizeof factor) == KES_NUMBER_EXACT;
  if (!whole || __builtin_mul_overflow(units, Int128{factor}, &units)) {
    if (!ReadProduct(x, xlen, UnitsOf(*in), units)) return KES_DATETIME_INTERVAL_RANGE;
  }
  return SetUnits(*out, units, FullType(in->type));
}

uint32_t LdiInterMultiplyarr(LdiInter* const* out, const LdiInter* const* in, size_t count,
                             const uint8_t* const* x, uint32_t flags, size_t* done) noexcept {
  const Operands number(x, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiInterMultiply(out[i], in[i], number[i], 0); });
}

uint32_t LdiInterDivide(LdiInter* out, const LdiInter* in, const uint8_t* x, size_t xlen) noexcept {
  if (!IsIntervalType(in->type)) return KES_DATETIME_BAD_INTERVAL;
  if (lnxsgn(x, xlen) == 0) return KES_DATETIME_BY_ZERO;
  Int128 units = 0;
  if (!DivideByNumber(UnitsOf(*in), x, xlen, units)) return KES_DATETIME_INTERVAL_RANGE;
  return SetUnits(*out, units, FullType(in->type));
}

uint32_t LdiInterDividearr(LdiInter* const* out, const LdiInter* const* in, size_t count,
                           const uint8_t* const* x, uint32_t flags, size_t* done) noexcept {
  const Operands number(x, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiInterDivide(out[i], in[i], number[i], 0); });
}

uint32_t LdiIIntMult(LdiInter* out, const LdiInter* in, int32_t factor) noexcept {
  return MultiplyWhole(*out, *in, factor);
}

uint32_t LdiIIntMultarr(LdiInter* const* out, const LdiInter* const* in, size_t count,
                        const int32_t* factors, uint32_t flags, size_t* done) noexcept {
  const Operands factor(factors, flags);
  return RunArray(count, done,
                  [&](std::size_t i) { return MultiplyWhole(*out[i], *in[i], factor[i]); });
}

uint32_t LdiInterFromNumber(LdiInter* out, const uint8_t* x, size_t xlen, uint32_t unit,
                            uint32_t type) noexcept {
  if (const std::uint32_t error = CheckUnit(unit, type)) return error;
  Int128 units = 0;
  if (!ReadProduct(x, xlen, UnitSize(unit), units)) return KES_DATETIME_INTERVAL_RANGE;
  return SetUnits(*out, units, type);
}

uint32_t LdiInterFromNumberarr(LdiInter* const* out, const uint8_t* const* x, size_t count,
                               uint32_t unit, uint32_t type, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiInterFromNumber(out[i], x[i], 0, unit, type); });
}

uint32_t LdiInterToNumber(const LdiInter* in, uint32_t unit, uint8_t* out,
                          size_t* outlen) noexcept {
  if (const std::uint32_t error = CheckUnit(unit, in->type)) return error;
  StoreQuotient(UnitsOf(*in), UnitSize(unit), out, outlen);
  return 0;
}

uint32_t LdiInterToNumberarr(uint8_t* const* out, const LdiInter* const* in, size_t count,
                             uint32_t unit, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiInterToNumber(in[i], unit, out[i], nullptr); });
}

uint32_t LdiInterToTN(const LdiInter* in, uint8_t* out, size_t* outlen) noexcept {
  if (!IsIntervalType(in->type)) return KES_DATETIME_BAD_INTERVAL;
  const std::int32_t last = kIntervalTypes[in->type].last;
  const std::int64_t count = AmountOf(*in).count;
  const std::int32_t unit = !IsYearMonth(in->type) ? kFieldSeconds[last] : last == 0 ? 12 : 1;
  lnxmin(count / unit, out, outlen);
  return 0;
}

uint32_t LdiInterToTNarr(uint8_t* const* out, const LdiInter* const* in, size_t count,
                         size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return LdiInterToTN(in[i], out[i], nullptr); });
}

uint32_t LdiInterExtract(const LdiInter* in, uint32_t field, uint8_t* out,
                         size_t* outlen) noexcept {
  if (!IsIntervalType(in->type)) return KES_DATETIME_BAD_INTERVAL;
  if (field - 1 >= 6 || (kIntervalTypes[in->type].mask & kIntervalTypes[field].mask) == 0) {
    return KES_DATETIME_NO_FIELD;
  }
  if (field == KES_INTERVAL_SECOND) {
    const std::int64_t nanos =
        std::int64_t{in->field[kSecondsField]} * kNanos + in->field[kNanosField];
    StoreQuotient(nanos, kNanos, out, outlen);
  } else {
    lnxmin(in->field[kIntervalTypes[field].first], out, outlen);
  }
  return 0;
}

uint32_t LdiInterExtractarr(uint8_t* const* out, const LdiInter* const* in, size_t count,
                            uint32_t field, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiInterExtract(in[i], field, out[i], nullptr); });
}

uint32_t LdiInterFromTZ(LdiInter* out, int32_t zone_hour, int32_t zone_minute) noexcept {
  if (zone_hour < -15 || zone_hour > 15) return KES_DATETIME_BAD_ZONE_HOUR;
  if (zone_minute < -59 || zone_minute > 59 || (zone_hour > 0 && zone_minute < 0) ||
      (zone_hour < 0 && zone_minute > 0)) {
    return KES_DATETIME_BAD_ZONE_MINUTE;
  }
  const std::int32_t minutes = zone_hour * 60 + zone_minute;
  if (minutes < -kMaxZoneMinutes || minutes > kMaxZoneMinutes) return KES_DATETIME_BAD_ZONE_HOUR;
  return SetAmount(*out, {std::int64_t{minutes} * 60, 0}, KES_INTERVAL_HOUR_TO_MINUTE);
}

uint32_t LdiInterToTZ(const LdiInter* in, int32_t* zone_hour, int32_t* zone_minute) noexcept {
  if (!IsIntervalType(in->type)) return KES_DATETIME_BAD_INTERVAL;
  if (IsYearMonth(in->type)) return KES_DATETIME_NOT_COMPARABLE;
  const Amount amount = AmountOf(*in);
  if (amount.count > kMaxZoneMinutes * 60 || amount.count < -kMaxZoneMinutes * 60) {
    return KES_DATETIME_BAD_ZONE_HOUR;
  }
  if (amount.count % 60 != 0 || amount.nanos != 0) return KES_DATETIME_BAD_ZONE_MINUTE;
  *zone_hour = static_cast<std::int32_t>(amount.count / 3600);
  *zone_minute = static_cast<std::int32_t>(amount.count / 60 % 60);
  return 0;
}
