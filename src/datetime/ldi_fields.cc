// Fields of datetimes as numbers, and weekdays.
#include "datetime/array_form.h"
#include "datetime/datetime_value.h"
#include "datetime/int128_number.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/number_native.h"

namespace kestra::datetime {
namespace {

std::uint32_t Weekday(std::uint32_t& day, const LdiDate& in, std::uint32_t first) noexcept {
  constexpr std::uint32_t kSundayFromMonday = 6;
  if (!IsDatetimeType(in.type) || !HasDate(in.type)) return KES_DATETIME_BAD_TYPE;
  if (first > 6) return KES_DATETIME_BAD_WEEKDAY;
  const std::int32_t number = DayNumber(in.year, in.month, in.day);
  const auto monday = static_cast<std::uint32_t>(number) % 7;  // 0 Monday
  day = (monday + 7 - (first + kSundayFromMonday) % 7) % 7 + 1;
  return 0;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiDateExtract(const LdiDate* in, uint32_t field, uint8_t* out, size_t* outlen) noexcept {
  if (!IsDatetimeType(in->type)) return KES_DATETIME_BAD_TYPE;
  const std::int32_t fields[9] = {0,          in->year,   in->month,     in->day,        in->hour,
                                  in->minute, in->second, in->zone_hour, in->zone_minute};
  if (field - KES_FIELD_YEAR < 3 && !HasDate(in->type)) return KES_DATETIME_NO_FIELD;
  if (field - KES_FIELD_ZONE_HOUR < 2 && !HasZone(in->type)) return KES_DATETIME_NO_FIELD;
  if (field == 0 || field > KES_FIELD_ZONE_MINUTE) return KES_DATETIME_NO_FIELD;
  if (field == KES_FIELD_SECOND && in->fraction != 0) {
    StoreQuotient(Int128{in->second} * kNanos + in->fraction, kNanos, out, outlen);
  } else {
    lnxmin(fields[field], out, outlen);
  }
  return 0;
}

uint32_t LdiDateExtractarr(uint8_t* const* out, const LdiDate* const* in, size_t count,
                           uint32_t field, size_t* done) noexcept {
  return RunArray(count, done,
                  [&](std::size_t i) { return LdiDateExtract(in[i], field, out[i], nullptr); });
}

uint32_t LdiDayofWeek(const LdiDate* in, uint32_t first, uint32_t* day) noexcept {
  return Weekday(*day, *in, first);
}

uint32_t LdiDayofWeekarr(uint32_t* days, const LdiDate* const* in, size_t count, uint32_t first,
                         size_t* done) noexcept {
  return RunArray(count, done, [&](std::size_t i) { return Weekday(days[i], *in[i], first); });
}
