#include "datetime/interval_value.h"

namespace kestra::datetime {

std::uint32_t SetAmount(LdiInter& out, const Amount& amount, std::uint32_t type,
                        std::int64_t limit) noexcept {
  const IntervalType& fields = kIntervalTypes[type];
  LdiInter inter{};
  inter.type = static_cast<std::uint8_t>(type);
  if (IsYearMonth(type)) {
    const std::int64_t unit = fields.first == 0 ? 12 : 1;
    const std::int64_t leading = amount.count / unit;
    if (leading > limit || leading < -limit) return KES_DATETIME_INTERVAL_RANGE;
    inter.field[fields.first] = static_cast<std::int32_t>(leading);
    if (fields.first < fields.last) inter.field[1] = static_cast<std::int32_t>(amount.count % 12);
    out = inter;
    return 0;
  }
  std::int64_t rest = amount.count;
  const bool days = fields.first == 0;
  const std::int64_t leading = days ? rest / kDaySeconds : rest / kFieldSeconds[fields.first];
  if (leading > limit || leading < -limit) return KES_DATETIME_INTERVAL_RANGE;
  inter.field[fields.first] = static_cast<std::int32_t>(leading);
  rest -= leading * kFieldSeconds[fields.first];
  const auto small = static_cast<std::int32_t>(rest);  // less than a unit of the leading field
  if (type == KES_INTERVAL_DAY_TO_SECOND) {            // the commonest, with constants to divide by
    inter.field[1] = small / 3600;
    inter.field[2] = small / 60 % 60;
    inter.field[3] = small % 60;
  } else {
    std::int32_t left = small;
    for (int i = fields.first + 1; i <= fields.last; ++i) {
      inter.field[i] = left / kFieldSeconds[i];
      left %= kFieldSeconds[i];
    }
  }
  if (fields.last == kSecondsField) inter.field[kNanosField] = amount.nanos;
  out = inter;
  return 0;
}

bool AmountOfNanos(Int128 nanos, Amount& amount) noexcept {
  constexpr Int128 kFar = Int128{INT64_MAX} * kNanos;
  if (nanos > kFar || nanos < -kFar) return false;
  amount = {static_cast<std::int64_t>(nanos / kNanos), static_cast<std::int32_t>(nanos % kNanos)};
  return true;
}

Amount RoundAmount(const Amount& amount, std::uint32_t precision) noexcept {
  const bool negative = amount.nanos < 0;
  const auto magnitude = static_cast<std::uint32_t>(negative ? -amount.nanos : amount.nanos);
  const auto rounded = static_cast<std::int32_t>(RoundNanos(magnitude, precision));
  if (rounded < kNanos) return {amount.count, negative ? -rounded : rounded};
  return {amount.count + (negative ? -1 : 1), 0};
}

std::uint32_t CompletePrecisions(std::uint32_t type, std::uint32_t& leading,
                                 std::uint32_t& fraction) noexcept {
  if (!IsIntervalType(type)) return KES_DATETIME_BAD_INTERVAL;
  if (leading == KES_PRECISION_DEFAULT) leading = 2;
  if (fraction == KES_PRECISION_DEFAULT) fraction = 6;
  if (leading > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_INTERVAL_RANGE;
  if (fraction > KES_DATETIME_MAX_PRECISION) return KES_DATETIME_BAD_FRACTION;
  if (!HasSeconds(type)) fraction = 0;
  return 0;
}

}  // namespace kestra::datetime
