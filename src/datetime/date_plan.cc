#include "datetime/date_plan.h"

#include "datetime/date_model.h"
#include "datetime/date_write.h"
#include "datetime/day_number.h"

namespace kestra::datetime {
namespace {

// The fields of an element; none for elements that no plan has.
struct ElementFields {
  PlanField field[2];
  std::size_t count;
};
constexpr ElementFields FieldsOf(std::uint32_t code) noexcept {
  switch (code) {
    case KES_DATE_YYYY:
      return {{kCenturyField, kYearField}, 2};
    case KES_DATE_YY:
      return {{kYearField}, 1};
    case KES_DATE_MM:
      return {{kMonthField}, 1};
    case KES_DATE_DD:
      return {{kDayField}, 1};
    case KES_DATE_HH24:
      return {{kHourField}, 1};
    case KES_DATE_MI:
      return {{kMinuteField}, 1};
    case KES_DATE_SS:
      return {{kSecondField}, 1};
    default:
      return {{}, 0};
  }
}

// Added to the difference of a byte to the plan's text.
constexpr std::uint8_t kExact = 0x7F;
constexpr std::uint8_t kDigit = 0x7F - 9;

bool Fill(Plan& plan, std::span<const std::uint8_t> format, Basis basis) noexcept {
  std::size_t length = 0;
  memset(plan.place, kNoPlace, sizeof plan.place);
  for (std::size_t at = 0; at < format.size();) {
    const std::uint8_t code = format[at];
    if (format.size() - at < kElementSize) return false;
    if (code >= kLiteralBase) {
      const std::size_t size = code - kLiteralBase;
      if (format.size() - at - kLiteralHead < size || length + size > kPlanText) return false;
      memcpy(plan.text + length, format.data() + at + kLiteralHead, size);
      memset(plan.limits + length, kExact, size);
      length += size;
      at += kLiteralHead + size;
      continue;
    }
    const ElementFields fields = FieldsOf(code);
    if (fields.count == 0 || format[at + 1] != kFill) return false;
    for (std::size_t i = 0; i < fields.count; ++i) {
      std::uint8_t& place = plan.place[fields.field[i]];
      if (place != kNoPlace || length + 2 > kPlanText) return false;
      place = static_cast<std::uint8_t>(length);
      plan.text[length] = plan.text[length + 1] = InBasis('0', basis);
      plan.limits[length] = plan.limits[length + 1] = kDigit;
      length += 2;
    }
    at += kElementSize;
  }
  plan.readable = plan.place[kCenturyField] != kNoPlace && plan.place[kMonthField] != kNoPlace &&
                  plan.place[kDayField] != kNoPlace;
  plan.text_length = static_cast<std::uint8_t>(length);
  return true;
}

}  // namespace

void MakePlan(Plan& plan, std::span<const std::uint8_t> format, Basis basis) noexcept {
  plan = Plan{};
  memcpy(plan.format, format.data(), format.size());
  plan.format_length = static_cast<std::uint8_t>(format.size());
  if (Fill(plan, format, basis)) return;
  plan.text_length = 0;
  plan.readable = false;
}

// Eight bytes at a time: the difference to the plan's text is 0 in literals and 0 to 9 in digits,
// which are then the values themselves.
bool ReadPlan(const Plan& plan, std::span<const std::uint8_t> text, ldxdate& out) noexcept {
  const std::size_t length = plan.text_length;
  if (text.size() != length || length < 8) return false;
  constexpr std::uint64_t kHigh = 0x8080808080808080;
  std::uint8_t digits[kPlanText];
  std::uint64_t over = 0;
  const auto compare = [&](std::size_t at) {
    std::uint64_t bytes, wanted, limits;
    memcpy(&bytes, text.data() + at, 8);
    memcpy(&wanted, plan.text + at, 8);
    memcpy(&limits, plan.limits + at, 8);
    const std::uint64_t difference = bytes ^ wanted;
    over |= difference | ((difference & ~kHigh) + limits);
    memcpy(digits + at, &difference, 8);
  };
  for (std::size_t at = 0; at + 8 < length; at += 8) compare(at);
  compare(length - 8);
  if ((over & kHigh) != 0) return false;

  const auto value = [&](PlanField field) -> std::uint8_t {
    const std::uint8_t place = plan.place[field];
    if (place == kNoPlace) return 0;
    return static_cast<std::uint8_t>(10 * digits[place] + digits[place + 1]);
  };
  out.year = static_cast<std::int16_t>(100 * value(kCenturyField) + value(kYearField));
  out.month = value(kMonthField);
  out.day = value(kDayField);
  out.hour = value(kHourField);
  out.minute = value(kMinuteField);
  out.second = value(kSecondField);
  out.zero = 0;
  return CheckFields(out) == 0 && (out.day <= 28 || out.day <= MonthLength(out.year, out.month)) &&
         !IsSkipped(out.year, out.month, out.day);
}

}  // namespace kestra::datetime
