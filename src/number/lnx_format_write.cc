// Numbers as text in a model. The layout of a value is settled first (which digits are shown, how
// many bytes that takes), then the blanks before it and the parts are written from left to right:
//   sign  currency  digits with separators  point  fraction  exponent  currency  sign
#include <algorithm>
#include <bit>
#include <cstring>

#include "core/os/check.h"
#include "number/lnx_format.h"
#include "number/lnx_plan.h"

namespace kestra::number {

std::string_view CurrencyOf(const lnxmodel& model, const Symbols& symbols) noexcept {
  switch (model.currency) {
    case kDollar:
      return "$";
    case kLocal:
      return symbols.currency;
    case kIso:
      return symbols.iso_currency;
    case kDual:
      return symbols.dual_currency;
    default:
      return {};
  }
}

std::string_view PointOf(const lnxmodel& model, const Symbols& symbols) noexcept {
  switch (model.point) {
    case kPeriod:
      return ".";
    case kSymbolPoint:
      return symbols.decimal;
    case kCurrencyPoint:
      return CurrencyOf(model, symbols);
    default:
      return {};
  }
}

std::string_view GroupOf(const lnxmodel& model, const Symbols& symbols) noexcept {
  return HasFlag(model, kSymbolGroups) && !symbols.group.empty() ? symbols.group : ",";
}

std::size_t CurrencyWidth(const lnxmodel& model, const Symbols& symbols) noexcept {
  constexpr std::size_t kCustomary[kCurrencyEnd] = {0, 1, 10, 7, 10};
  if (model.currency_place == kAsPoint) return 0;
  return std::max(CurrencyOf(model, symbols).size(), kCustomary[model.currency]);
}

namespace {

std::size_t SeparatorsBelow(const lnxmodel& model, int digits) noexcept {
  std::size_t count = 0;
  for (int word = 0; word * 64 < digits; ++word) {
    const int bits = digits - word * 64;
    const std::uint64_t mask = bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bits) - 1;
    count += static_cast<std::size_t>(std::popcount(model.groups[word] & mask));
  }
  return count;
}

std::size_t SignWidth(const lnxmodel& model) noexcept { return model.sign == kBrackets ? 2 : 1; }

// What stands on the two sides of a value for its sign; blanks where the model keeps the place.
struct SignText {
  std::string_view before, after;
};

SignText SignOf(const lnxmodel& model, bool negative) noexcept {
  const bool filled = !HasFlag(model, kFillMode);
  switch (model.sign) {
    case kSignBefore:
      return {negative ? "-" : "+", ""};
    case kSignAfter:
      return {"", negative ? "-" : "+"};
    case kMinusAfter:
      return {"", negative ? "-" : filled ? " " : ""};
    case kBrackets:
      if (negative) return {"<", ">"};
      return filled ? SignText{" ", " "} : SignText{"", ""};
    default:
      return {negative ? "-" : "", ""};
  }
}

struct Layout {
  Plan plan;  // digits shown and exponent; separators are the model's
  std::string_view currency_before, point, group, currency_after;
  SignText sign;
  std::size_t size = 0;
};

// Rounds the value to the model and chooses the digits that are shown; false when it does not fit.
bool ShowDigits(const lnxmodel& model, Figures& value, Plan& plan) noexcept {
  const bool fill = HasFlag(model, kFillMode);
  if (HasFlag(model, kScientific)) {
    RoundToPlaces(value, 1 + model.fraction - value.point);
    plan = ScientificPlan(value, model.fraction);
    plan.letter = HasFlag(model, kLowerCase) ? 'e' : 'E';
    if (fill) {
      plan.fraction = std::max<std::int64_t>(model.least_fraction, std::max(value.count - 1, 0));
    }
    return true;
  }
  value.point += value.IsZero() ? 0 : model.scale;
  RoundToPlaces(value, model.fraction);
  if (value.IntegerDigits() > model.integers) return false;
  const bool blank = HasFlag(model, kBlankZero) && value.IntegerDigits() == 0;
  plan.integers = blank ? 0 : std::max<std::int64_t>(value.IntegerDigits(), model.least_integers);
  plan.fraction =
      fill ? std::max<std::int64_t>(model.least_fraction, value.FractionDigits()) : model.fraction;
  if (plan.integers + plan.fraction == 0 && !blank) {  // at least one digit
    (model.integers > 0 ? plan.integers : plan.fraction) = 1;
  }
  plan.start = value.point - plan.integers;
  return true;
}

Layout LayOut(const lnxmodel& model, const Symbols& symbols, const Figures& value,
              const Plan& plan) noexcept {
  Layout layout;
  layout.plan = plan;
  layout.sign = SignOf(model, value.negative);
  layout.point = PointOf(model, symbols);
  layout.group = GroupOf(model, symbols);
  if (model.currency_place == kBeforeDigits) layout.currency_before = CurrencyOf(model, symbols);
  if (model.currency_place == kAfterDigits) layout.currency_after = CurrencyOf(model, symbols);
  const std::size_t separators = SeparatorsBelow(model, static_cast<int>(plan.integers));
  layout.size = layout.sign.before.size() + layout.currency_before.size() +
                static_cast<std::size_t>(plan.integers) + separators * layout.group.size() +
                layout.point.size() + static_cast<std::size_t>(plan.fraction) + ExponentSize(plan) +
                layout.currency_after.size() + layout.sign.after.size();
  return layout;
}

char* PutIntegers(char* at, const lnxmodel& model, const Figures& value,
                  const Layout& layout) noexcept {
  auto left = static_cast<int>(layout.plan.integers);
  std::int64_t index = layout.plan.start;
  while (left > 0) {
    int next = left - 1;  // digits right of the next separator, 0 without one
    while (next > 0 && !HasSeparator(model, next)) --next;
    at = PutDigits(at, value, index, left - next);
    index += left - next;
    left = next;
    if (HasSeparator(model, left)) at = PutText(at, layout.group);
  }
  return at;
}

void PutLayout(char* at, const lnxmodel& model, const Figures& value,
               const Layout& layout) noexcept {
  at = PutText(at, layout.sign.before);
  at = PutText(at, layout.currency_before);
  at = PutIntegers(at, model, value, layout);
  at = PutText(at, layout.point);
  at = PutDigits(at, value, layout.plan.start + layout.plan.integers, layout.plan.fraction);
  if (layout.plan.scientific) at = PutExponent(at, layout.plan);
  at = PutText(at, layout.currency_after);
  PutText(at, layout.sign.after);
}

struct Target {
  const lnxmodel& model;
  const Symbols& symbols;
  std::span<char> out;
  std::size_t* outlen;

  bool IsFilled() const noexcept { return !HasFlag(model, kFillMode); }
};

// The one place that looks at the room: size bytes of text, after blanks up to the width where the
// model asks for them. Null: no room.
char* Reserve(const Target& target, std::size_t size, bool padded) noexcept {
  const std::size_t width = padded ? ModelWidth(target.model, target.symbols) : size;
  KES_DCHECK(size <= width);
  *target.outlen = width;
  if (width > target.out.size()) return nullptr;
  if (width > size) std::memset(target.out.data(), ' ', width - size);
  return target.out.data() + (width - size);
}

int WriteHashes(const Target& target) noexcept {
  const std::size_t width = ModelWidth(target.model, target.symbols);
  char* const at = Reserve(target, width, false);
  if (at == nullptr) return LNX_FULL;
  std::memset(at, '#', width);
  return LNX_OK;
}

int WriteShort(const Target& target, std::string_view text) noexcept {
  char* const at = Reserve(target, text.size(), target.IsFilled());
  if (at == nullptr) return LNX_FULL;
  PutText(at, text);
  return LNX_OK;
}

int WriteFixed(const Target& target, Figures& value) noexcept {
  Plan plan;
  if (value.kind == Kind::kInfinity || !ShowDigits(target.model, value, plan)) {
    return WriteHashes(target);
  }
  if (value.IsZero() && HasFlag(target.model, kBlankZero)) return WriteShort(target, {});
  const Layout layout = LayOut(target.model, target.symbols, value, plan);
  char* const at = Reserve(target, layout.size, target.IsFilled());
  if (at == nullptr) return LNX_FULL;
  PutLayout(at, target.model, value, layout);
  return LNX_OK;
}

int WriteHexadecimal(const Target& target, Figures& value) noexcept {
  RoundToPlaces(value, 0);
  char text[LNX_MODEL_MAX_INTEGERS];
  std::size_t size = 0;
  if (value.kind != Kind::kInfinity && !value.negative) {
    size = PutHexadecimal(value, HasFlag(target.model, kLowerCase), target.model.least_integers,
                          text, target.model.integers);
  }
  return size == 0 ? WriteHashes(target) : WriteShort(target, {text, size});
}

int WriteRoman(const Target& target, Figures& value) noexcept {
  RoundToPlaces(value, 0);
  char text[kRomanWidth];
  std::size_t size = 0;
  if (value.kind == Kind::kFinite && !value.negative) {
    size = PutRoman(value, HasFlag(target.model, kLowerCase), text);
  }
  return size == 0 ? WriteHashes(target) : WriteShort(target, {text, size});
}

int WriteText(const Target& target, Figures& value) noexcept {
  if (value.kind == Kind::kInfinity) {
    char* at = Reserve(target, kInfinity.size() + (value.negative ? 1 : 0), false);
    if (at == nullptr) return LNX_FULL;
    if (value.negative) *at++ = '-';
    PutText(at, kInfinity);
    return LNX_OK;
  }
  Plan plan = PositionalPlan(value, value.FractionDigits(), value.IsZero());
  const std::size_t size = PlanSize(plan, value.negative, target.symbols);
  if (HasFlag(target.model, kScientific) ||
      size > kTextWidth + (plan.fraction > 0 ? target.symbols.decimal.size() - 1 : 0)) {
    plan = ScientificPlan(value, std::max(value.count - 1, 0));
    plan.letter = HasFlag(target.model, kLowerCase) ? 'e' : 'E';
  }
  char* const at = Reserve(target, PlanSize(plan, value.negative, target.symbols), false);
  if (at == nullptr) return LNX_FULL;
  PutPlan(at, value, plan, target.symbols);
  return LNX_OK;
}

using KindWriter = int (*)(const Target&, Figures&) noexcept;
constexpr KindWriter kWriters[kKindEnd] = {nullptr, WriteFixed, WriteHexadecimal, WriteRoman,
                                           WriteText};

}  // namespace

std::size_t ModelWidth(const lnxmodel& model, const Symbols& symbols) noexcept {
  switch (model.kind) {
    case kRoman:
      return kRomanWidth;
    case kText:
      return kTextWidth + symbols.decimal.size() - 1;
    case kHexadecimal:
      return 1 + std::size_t{model.integers};
    default:
      break;
  }
  return SignWidth(model) + CurrencyWidth(model, symbols) + model.integers +
         SeparatorsBelow(model, model.integers) * GroupOf(model, symbols).size() +
         PointOf(model, symbols).size() + model.fraction +
         (HasFlag(model, kScientific) ? kExponentWidth : 0);
}

}  // namespace kestra::number

size_t lnxfmtwidth(const lnxmodel* model, const lnxsymbols* symbols) noexcept {
  using namespace kestra::number;
  Symbols strings;
  if (!IsCompiled(*model) || !ReadSymbols(symbols, strings)) return 0;
  return ModelWidth(*model, strings);
}

int lnxfmtwrite(const uint8_t* x, size_t xlen, const lnxmodel* model, const lnxsymbols* symbols,
                uint8_t* out, size_t outsize, size_t* outlen) noexcept {
  using namespace kestra::number;
  *outlen = 0;
  Symbols strings;
  if (!IsCompiled(*model) || !ReadSymbols(symbols, strings)) return LNX_BAD_ARGUMENT;
  Figures value;
  if (!ReadFigures(RawBytes(x, xlen), value)) return LNX_BAD_NUMBER;
  const Target target{*model, strings, {reinterpret_cast<char*>(out), outsize}, outlen};
  return kWriters[model->kind](target, value);
}
