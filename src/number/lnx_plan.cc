#include "number/lnx_plan.h"

#include <algorithm>
#include <cstring>

namespace kestra::number {
namespace {

constexpr std::int64_t kGroupDigits = 3;

std::int64_t GroupCount(const Plan& plan) noexcept {
  return plan.grouped && plan.integers > 0 ? (plan.integers - 1) / kGroupDigits : 0;
}

char* PutZeros(char* at, std::int64_t count) noexcept {
  std::memset(at, '0', static_cast<std::size_t>(count));
  return at + count;
}

char* PutIntegers(char* at, const Figures& figures, const Plan& plan,
                  const Symbols& symbols) noexcept {
  if (!plan.grouped) return PutDigits(at, figures, plan.start, plan.integers);
  std::int64_t index = plan.start;
  std::int64_t left = plan.integers;
  while (left > 0) {
    const std::int64_t run = (left - 1) % kGroupDigits + 1;
    at = PutDigits(at, figures, index, run);
    index += run;
    left -= run;
    if (left > 0) at = PutText(at, symbols.group);
  }
  return at;
}

}  // namespace

Plan PositionalPlan(const Figures& figures, std::int64_t fraction, bool leading_zero) noexcept {
  Plan plan;
  plan.integers = std::max<std::int64_t>(figures.point, leading_zero ? 1 : 0);
  plan.start = figures.point - plan.integers;
  plan.fraction = fraction;
  return plan;
}

Plan ScientificPlan(const Figures& figures, std::int64_t fraction) noexcept {
  Plan plan;
  plan.integers = 1;
  plan.fraction = fraction;
  plan.scientific = true;
  plan.exponent = figures.IsZero() ? 0 : figures.point - 1;
  return plan;
}

// E, a sign where there is one, and the digits; three are enough.
std::size_t ExponentSize(const Plan& plan) noexcept {
  if (!plan.scientific) return 0;
  const std::int64_t size = plan.exponent < 0 ? -plan.exponent : plan.exponent;
  const std::size_t digits = size >= 100 ? 3 : size >= 10 || !plan.short_exponent ? 2 : 1;
  return 1 + (plan.short_exponent && plan.exponent >= 0 ? 0 : 1) + digits;
}

std::size_t PlanSize(const Plan& plan, bool minus, const Symbols& symbols) noexcept {
  std::size_t size = static_cast<std::size_t>(plan.integers + plan.fraction) + (minus ? 1 : 0) +
                     ExponentSize(plan);
  if (plan.fraction > 0) size += symbols.decimal.size();
  if (plan.grouped) size += static_cast<std::size_t>(GroupCount(plan)) * symbols.group.size();
  return size;
}

char* PutText(char* at, std::string_view text) noexcept {
  if (text.size() == 1) {
    *at = text[0];
  } else if (!text.empty()) {
    std::memcpy(at, text.data(), text.size());
  }
  return at + text.size();
}

char* PutDigits(char* at, const Figures& figures, std::int64_t index, std::int64_t count) noexcept {
  if (index < 0) {
    const std::int64_t zeros = std::min(-index, count);
    at = PutZeros(at, zeros);
    index = 0;
    count -= zeros;
  }
  const std::int64_t held = std::clamp<std::int64_t>(figures.count - index, 0, count);
  if (held > 0) {  // else index may lie past the room
    CopyShort(at, figures.Digits() + index, static_cast<std::size_t>(held));
    at += held;
  }
  return held < count ? PutZeros(at, count - held) : at;
}

char* PutExponent(char* at, const Plan& plan) noexcept {
  std::size_t digits = ExponentSize(plan) - 1;
  *at++ = plan.letter;
  std::int64_t value = plan.exponent < 0 ? -plan.exponent : plan.exponent;
  if (plan.exponent < 0 || !plan.short_exponent) {
    *at++ = plan.exponent < 0 ? '-' : '+';
    --digits;
  }
  for (std::size_t i = digits; i > 0; --i, value /= 10) {
    at[i - 1] = static_cast<char>('0' + value % 10);
  }
  return at + digits;
}

char* PutPlan(char* at, const Figures& figures, const Plan& plan, const Symbols& symbols) noexcept {
  if (figures.negative) *at++ = '-';
  at = PutIntegers(at, figures, plan, symbols);
  if (plan.fraction > 0) {
    at = PutText(at, symbols.decimal);
    at = PutDigits(at, figures, plan.start + plan.integers, plan.fraction);
  }
  return plan.scientific ? PutExponent(at, plan) : at;
}

}  // namespace kestra::number
