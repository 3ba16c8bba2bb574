// Day numbers and Julian forms of datetimes, and the Julian form as a NUMBER.
#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/int128_number.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime.h"

namespace kestra::datetime {
namespace {

constexpr std::int64_t kDayNanos = std::int64_t{kDaySeconds} * kNanos;

std::uint32_t FromJulian(LdiDate& out, const LdiJulian& in, std::uint32_t type,
                         const LdiSession* session) noexcept {
  if (!IsDatetimeType(type)) return KES_DATETIME_BAD_TYPE;
  if (in.second < 0 || in.second >= kDaySeconds) return KES_DATETIME_BAD_SECOND;
  if (in.fraction >= static_cast<std::uint32_t>(kNanos)) return KES_DATETIME_BAD_FRACTION;
  LdiDate date{};
  date.type = static_cast<std::uint8_t>(type);
  if (HasDate(type)) {
    if (!SetDay(date, in.day, true)) return KES_DATETIME_BAD_DAY_NUMBER;
  } else if (in.day != 0) {
    return KES_DATETIME_BAD_TYPE;
  }
  SetClock(date, in.second);
  if (HasFraction(type)) date.fraction = in.fraction;
  if (HasZone(type)) {
    if (const std::uint32_t error = AttachZone(date, SessionZone(session))) return error;
  }
  out = date;
  return 0;
}

std::uint32_t ToJulian(LdiJulian& out, const LdiDate& in) noexcept {
  if (!IsDatetimeType(in.type)) return KES_DATETIME_BAD_TYPE;
  const std::int32_t day = HasDate(in.type) ? DayNumber(in.year, in.month, in.day) : 0;
  out = {day, ClockSeconds(in), in.fraction};
  return 0;
}

std::uint32_t ToDayNumber(std::int32_t& day, const LdiDate& in) noexcept {
  if (!IsDatetimeType(in.type) || !HasDate(in.type)) return KES_DATETIME_BAD_TYPE;
  day = DayNumber(in.year, in.month, in.day);
  return 0;
}

std::uint32_t FromDayNumber(LdiDate& out, std::int32_t day, std::uint32_t type,
                            const LdiSession* session) noexcept {
  if (!IsDatetimeType(type) || !HasDate(type)) return KES_DATETIME_BAD_TYPE;
  return FromJulian(out, {day, 0, 0}, type, session);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateToJulian(LdiJulian* out, const LdiDate* in) noexcept { return ToJulian(*out, *in); }

uint32_t LdiDateToJulianarr(LdiJulian* const* out, const LdiDate* const* in, size_t count,
                            size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return ToJulian(*out[i], *in[i]); });
}

uint32_t LdiJulianToDate(LdiDate* out, const LdiJulian* in, uint32_t type,
                         const LdiSession* session) noexcept {
  return FromJulian(*out, *in, type, session);
}

uint32_t LdiJulianToDatearr(LdiDate* const* out, const LdiJulian* const* in, size_t count,
                            uint32_t type, const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return FromJulian(*out[i], *in[i], type, session); });
}

uint32_t LdiDateToJDays(int32_t* day, const LdiDate* in) noexcept { return ToDayNumber(*day, *in); }

uint32_t LdiDateToJDaysarr(int32_t* days, const LdiDate* const* in, size_t count,
                           size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return ToDayNumber(days[i], *in[i]); });
}

uint32_t LdiJDaysToDate(LdiDate* out, int32_t day, uint32_t type,
                        const LdiSession* session) noexcept {
  return FromDayNumber(*out, day, type, session);
}

uint32_t LdiJDaysToDatearr(LdiDate* const* out, const int32_t* days, size_t count, uint32_t type,
                           const LdiSession* session, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return FromDayNumber(*out[i], days[i], type, session); });
}

uint32_t LdiDays2Cal(int32_t day, int32_t* year, uint32_t* month, uint32_t* day_of_month) noexcept {
  LdiDate date{};
  if (!SetDay(date, day, true)) return KES_DATETIME_BAD_DAY_NUMBER;
  *year = date.year;
  *month = date.month;
  *day_of_month = date.day;
  return 0;
}

uint32_t LdiJulianToNumber(const LdiJulian* in, uint8_t* out, size_t* outlen) noexcept {
  if (in->day < 0 || in->day > kMaxDay) return KES_DATETIME_BAD_DAY_NUMBER;
  if (in->second < 0 || in->second >= kDaySeconds) return KES_DATETIME_BAD_SECOND;
  if (in->fraction >= static_cast<std::uint32_t>(kNanos)) return KES_DATETIME_BAD_FRACTION;
  const Int128 nanos = Int128{in->day} * kDayNanos + std::int64_t{in->second} * kNanos +
                       static_cast<std::int64_t>(in->fraction);
  StoreQuotient(nanos, kDayNanos, out, outlen);
  return 0;
}

uint32_t LdiJulianToNumberarr(uint8_t* const* out, const LdiJulian* const* in, size_t count,
                              size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiJulianToNumber(in[i], out[i], nullptr); });
}

uint32_t LdiJulianFromNumber(LdiJulian* out, const uint8_t* x, size_t xlen) noexcept {
  Int128 nanos = 0;
  if (!ReadProduct(x, xlen, kDayNanos, nanos) || nanos < kDayNanos ||
      nanos >= Int128{kMaxDay + 1} * kDayNanos) {
    return KES_DATETIME_BAD_DAY_NUMBER;
  }
  const auto day = static_cast<std::int32_t>(nanos / kDayNanos);
  const auto rest = static_cast<std::int64_t>(nanos % kDayNanos);
  *out = {day, static_cast<std::int32_t>(rest / kNanos), static_cast<std::uint32_t>(rest % kNanos)};
  return 0;
}

uint32_t LdiJulianFromNumberarr(LdiJulian* const* out, const uint8_t* const* x, size_t count,
                                size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return LdiJulianFromNumber(out[i], x[i], 0); });
}
