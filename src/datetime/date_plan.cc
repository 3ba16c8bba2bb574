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

}  // namespace

bool AddText(Plan& plan, std::span<const std::uint8_t> text) noexcept {
  const std::size_t length = plan.text_length;
  if (length + text.size() > kPlanText) return false;
  memcpy(plan.text + length, text.data(), text.size());
  memset(plan.limits + length, kExact, text.size());
  plan.text_length = static_cast<std::uint8_t>(length + text.size());
  return true;
}

bool AddElement(Plan& plan, std::uint32_t code, std::uint32_t modifier, Basis basis) noexcept {
  const ElementFields fields = FieldsOf(code);
  std::size_t length = plan.text_length;
  if (fields.count == 0 || modifier != kFill || length + 2 * fields.count > kPlanText) return false;
  for (std::size_t i = 0; i < fields.count; ++i) {
    if (plan.place[fields.field[i]] != kNoPlace) return false;
  }
  for (std::size_t i = 0; i < fields.count; ++i) {
    plan.place[fields.field[i]] = static_cast<std::uint8_t>(length);
    plan.text[length] = plan.text[length + 1] = InBasis('0', basis);
    plan.limits[length] = plan.limits[length + 1] = kDigit;
    length += 2;
  }
  plan.text_length = static_cast<std::uint8_t>(length);
  plan.readable = plan.place[kCenturyField] != kNoPlace && plan.place[kMonthField] != kNoPlace &&
                  plan.place[kDayField] != kNoPlace;
  return true;
}

void MakePlan(Plan& plan, std::span<const std::uint8_t> format, Basis basis) noexcept {
  plan = Plan{};
  memset(plan.place, kNoPlace, sizeof plan.place);
  memcpy(plan.format, format.data(), format.size());
  plan.format_length = static_cast<std::uint8_t>(format.size());
  bool fits = true;
  while (fits && !format.empty()) {
    if (format.size() < kElementSize) {
      fits = false;
    } else if (format[0] < kLiteralBase) {
      fits = AddElement(plan, format[0], format[1], basis);
      format = format.subspan(kElementSize);
    } else {
      const std::size_t length = format[0] - kLiteralBase;
      fits = format.size() - kLiteralHead >= length &&
             AddText(plan, format.subspan(kLiteralHead, length));
      if (fits) format = format.subspan(kLiteralHead + length);
    }
  }
  if (fits) return;
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
