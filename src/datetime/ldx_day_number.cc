// Day numbers, days of the year and of the week.
#include "datetime/array_form.h"
#include "datetime/date_operations.h"
#include "datetime/day_number.h"

namespace kestra::datetime {
namespace {

constexpr std::uint32_t LengthOfYear(std::int32_t year) noexcept {
  return 365u + (IsLeap(year) ? 1 : 0) - (year == kReformYear ? kSkippedDays : 0);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

const std::int32_t ldxdom[14] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

std::int32_t ldxctj(ldxctx*, std::int32_t year, std::uint32_t month, std::uint32_t day) noexcept {
  return DayNumber(static_cast<std::int16_t>(year), static_cast<std::uint8_t>(month),
                   static_cast<std::uint8_t>(day));
}

void ldxjtc(ldxctx* ctx, std::int32_t julian, std::int16_t* year, std::uint8_t* month,
            std::uint8_t* day) {
  if (!IsDayNumber(julian)) return ldxerr(ctx, kBadDayNumber);
  const CivilDate civil = SplitDay(julian);
  *year = static_cast<std::int16_t>(civil.year);
  *month = static_cast<std::uint8_t>(civil.month);
  *day = static_cast<std::uint8_t>(civil.day);
}

int ldxdyc(ldxctx*, std::int32_t year, std::uint32_t day_of_year, std::uint8_t* month,
           std::uint8_t* day) noexcept {
  *month = 0;
  *day = 0;
  if (year < kMinYear || year > kMaxYear) return 0;
  if (day_of_year < 1 || day_of_year > LengthOfYear(year)) return 0;
  const CivilDate civil =
      SplitDay(DayNumber(year, 1, 1) + static_cast<std::int32_t>(day_of_year) - 1);
  *month = static_cast<std::uint8_t>(civil.month);
  *day = static_cast<std::uint8_t>(civil.day);
  return 1;
}

std::uint32_t ldxdow(ldxctx* ctx, std::int32_t julian) noexcept {
  return Weekday(julian, ctx->first_weekday);
}

void ldxdowarr(ldxctx* ctx, std::uint32_t* out, const ldxjdate* const* in, std::size_t count,
               const void*, std::uint32_t, std::size_t* processed) noexcept {
  const std::uint32_t first_weekday = ctx->first_weekday;
  RunAll(count, processed, [=](std::size_t i) { out[i] = Weekday(in[i]->day, first_weekday); });
}
