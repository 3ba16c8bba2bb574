#include "datetime/date_plan.h"

#include "datetime/date_model.h"

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

bool Fill(Plan& plan, std::span<const std::uint8_t> format, Basis basis) noexcept {
  std::size_t length = 0;
  unsigned seen = 0;
  bool twice = false;
  for (std::size_t at = 0; at < format.size();) {
    const std::uint8_t code = format[at];
    if (format.size() - at < kElementSize) return false;
    if (code >= kLiteralBase) {
      const std::size_t size = code - kLiteralBase;
      if (format.size() - at - kLiteralHead < size || length + size > kPlanText) return false;
      memcpy(plan.text + length, format.data() + at + kLiteralHead, size);
      length += size;
      at += kLiteralHead + size;
      continue;
    }
    const ElementFields fields = FieldsOf(code);
    if (fields.count == 0 || format[at + 1] != kFill) return false;
    for (std::size_t i = 0; i < fields.count; ++i) {
      if (plan.field_count == kPlanFields || length + 2 > kPlanText) return false;
      const PlanField field = fields.field[i];
      twice = twice || (seen >> field & 1u) != 0;
      seen |= 1u << field;
      plan.fields[plan.field_count++] = {static_cast<std::uint8_t>(length), field};
      plan.text[length] = plan.text[length + 1] = InBasis('0', basis);
      length += 2;
    }
    at += kElementSize;
  }
  constexpr unsigned kDate =
      1u << kCenturyField | 1u << kYearField | 1u << kMonthField | 1u << kDayField;
  plan.readable = !twice && (seen & kDate) == kDate;
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

}  // namespace kestra::datetime
