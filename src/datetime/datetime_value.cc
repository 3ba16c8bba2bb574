#include "datetime/datetime_value.h"

namespace kestra::datetime {

bool AddToLocal(LdiDate& date, std::int64_t seconds, std::int64_t nanos) noexcept {
  const bool forward = seconds > 0 || (seconds == 0 && nanos >= 0);
  const std::int64_t fraction = date.fraction + nanos;
  const std::int64_t carry = FloorDivide(fraction, kNanos);
  const std::int64_t total = ClockSeconds(date) + seconds + carry;
  const std::int64_t days = FloorDivide(total, kDaySeconds);
  if (days != 0 && HasDate(date.type)) {
    if (days > kMaxDay || days < -kMaxDay) return false;
    if (!SetDay(date, DayNumber(date.year, date.month, date.day) + days, forward)) return false;
  }
  SetClock(date, static_cast<std::int32_t>(total - days * kDaySeconds));
  date.fraction = static_cast<std::uint32_t>(fraction - carry * kNanos);
  return true;
}

std::uint32_t RoundFraction(LdiDate& date, std::uint32_t precision) noexcept {
  const std::uint32_t fraction = RoundNanos(date.fraction, precision);
  const std::int64_t change = std::int64_t{fraction} - date.fraction;
  return AddToLocal(date, 0, change) ? 0 : KES_DATETIME_BAD_YEAR;
}

}  // namespace kestra::datetime
