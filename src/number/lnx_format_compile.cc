// Number format models: text to lnxmodel. The text is taken element by element from left to right;
// each element has a handler that checks it against what came before. Separators are noted by the
// digits on their left, and turned round at the end, when the number of digits is known.
#include <cstring>

#include "number/lnx_format.h"

namespace kestra::number {
namespace {

constexpr char Lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

class Compiler {
 public:
  explicit Compiler(std::string_view text) noexcept : text_(text) {}

  int Compile(lnxmodel& compiled) noexcept {
    while (at_ < text_.size()) {
      const Element* const element = Find();
      if (element == nullptr) return LNX_MODEL_UNKNOWN;
      const int status = ended_ ? LNX_MODEL_MISPLACED : (this->*element->handler)();
      if (status != LNX_OK) return status;
      at_ += element->name.size();
      if (element->handler == &Compiler::FillMode) continue;
      started_ = true;
      only_zeros_ = only_zeros_ && element->handler == &Compiler::Zero;
    }
    if (model_.kind != kRoman && model_.kind != kText && !AnyDigits()) return LNX_MODEL_NO_DIGITS;
    Finish();
    compiled = model_;
    return LNX_OK;
  }

  std::size_t at() const noexcept { return at_; }

 private:
  using Handler = int (Compiler::*)() noexcept;
  struct Element {
    std::string_view name;  // in lower case
    Handler handler;
  };
  static const Element kElements[];

  // The element that begins here; no name is the beginning of a later one.
  const Element* Find() const noexcept;

  bool IsLower() const noexcept { return text_[at_] >= 'a'; }
  bool AnyDigits() const noexcept { return model_.integers + model_.fraction > 0; }
  bool HasPoint() const noexcept { return model_.point != kNoPoint; }

  void Add(ModelFlag flag) noexcept {
    model_.flags = static_cast<std::uint16_t>(model_.flags | flag);
  }

  // Settles that the model is a number of fixed form; false when it is something else already.
  bool BecomeFixed() noexcept {
    if (model_.kind == kNotCompiled) model_.kind = kFixed;
    return model_.kind == kFixed;
  }

  int FillMode() noexcept {
    if (HasFlag(model_, kFillMode)) return LNX_MODEL_REPEATED;
    if (started_) return LNX_MODEL_MISPLACED;
    Add(kFillMode);
    return LNX_OK;
  }

  int Nine() noexcept { return Digit(false); }

  int Zero() noexcept { return model_.kind == kHexadecimal ? LNX_MODEL_MISPLACED : Digit(true); }

  int Digit(bool zero) noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (HasFlag(model_, kScientific)) return LNX_MODEL_MISPLACED;
    if (model_.currency_place == kAfterDigits) {
      if (HasPoint() || after_v_) return LNX_MODEL_MISPLACED;
      model_.currency_place = kAsPoint;
      model_.point = kCurrencyPoint;
    }
    if (HasPoint()) {
      if (model_.fraction == LNX_MODEL_MAX_FRACTION) return LNX_MODEL_TOO_LONG;
      ++model_.fraction;
      if (zero) model_.least_fraction = model_.fraction;
      return LNX_OK;
    }
    if (model_.integers == LNX_MODEL_MAX_INTEGERS) return LNX_MODEL_TOO_LONG;
    if (zero && zero_at_ < 0) zero_at_ = model_.integers;
    ++model_.integers;
    if (after_v_) ++model_.scale;
    return LNX_OK;
  }

  int Period() noexcept { return Point(kPeriod); }
  int SymbolPoint() noexcept { return Point(kSymbolPoint); }

  int Point(PointKind kind) noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (HasPoint()) return model_.point == kind ? LNX_MODEL_REPEATED : LNX_MODEL_CONFLICT;
    if (after_v_ || (separators_ && HasFlag(model_, kSymbolGroups) != (kind == kSymbolPoint))) {
      return LNX_MODEL_CONFLICT;
    }
    if (HasFlag(model_, kScientific) || model_.currency_place == kAfterDigits) {
      return LNX_MODEL_MISPLACED;
    }
    model_.point = kind;
    return LNX_OK;
  }

  int Comma() noexcept { return Separator(false); }
  int SymbolGroup() noexcept { return Separator(true); }

  int Separator(bool symbol) noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (separators_ && HasFlag(model_, kSymbolGroups) != symbol) return LNX_MODEL_CONFLICT;
    const int left = model_.integers;
    if (left == 0 || HasPoint() || after_v_ || HasFlag(model_, kScientific) ||
        model_.currency_place == kAfterDigits || (left_of_[left / 64] >> (left % 64) & 1) != 0) {
      return LNX_MODEL_MISPLACED;
    }
    left_of_[left / 64] |= std::uint64_t{1} << (left % 64);
    separators_ = true;
    if (symbol) Add(kSymbolGroups);
    return LNX_OK;
  }

  int Dollar() noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (model_.currency != kNoCurrency) {
      return model_.currency == kDollar ? LNX_MODEL_REPEATED : LNX_MODEL_CONFLICT;
    }
    model_.currency = kDollar;  // before the digits, wherever it is written
    model_.currency_place = kBeforeDigits;
    return LNX_OK;
  }

  int Local() noexcept { return Currency(kLocal); }
  int Iso() noexcept { return Currency(kIso); }
  int Dual() noexcept { return Currency(kDual); }

  int Currency(CurrencyKind kind) noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (model_.currency != kNoCurrency) {
      return model_.currency == kind ? LNX_MODEL_REPEATED : LNX_MODEL_CONFLICT;
    }
    if (HasPoint() && !AnyDigits()) return LNX_MODEL_MISPLACED;
    model_.currency = kind;
    model_.currency_place = AnyDigits() ? kAfterDigits : kBeforeDigits;
    return LNX_OK;
  }

  int Blank() noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (HasFlag(model_, kBlankZero)) return LNX_MODEL_REPEATED;
    Add(kBlankZero);
    return LNX_OK;
  }

  int Sign() noexcept {
    if (started_) return LastSign(kSignAfter);
    model_.sign = kSignBefore;
    model_.kind = kFixed;
    return LNX_OK;
  }

  int MinusLast() noexcept { return LastSign(kMinusAfter); }
  int Brackets() noexcept { return LastSign(kBrackets); }

  int LastSign(SignStyle style) noexcept {
    if (!BecomeFixed()) return LNX_MODEL_CONFLICT;
    if (model_.sign != kMinusBefore) {
      return model_.sign == kSignBefore && style == kSignAfter ? LNX_MODEL_REPEATED
                                                               : LNX_MODEL_CONFLICT;
    }
    if (!AnyDigits()) return LNX_MODEL_MISPLACED;
    model_.sign = style;
    ended_ = true;
    return LNX_OK;
  }

  int Shift() noexcept {
    if (!BecomeFixed() || HasPoint()) return LNX_MODEL_CONFLICT;
    if (after_v_) return LNX_MODEL_REPEATED;
    if (HasFlag(model_, kScientific) || model_.currency_place == kAfterDigits) {
      return LNX_MODEL_MISPLACED;
    }
    after_v_ = true;
    return LNX_OK;
  }

  int Exponent() noexcept {
    if (!BecomeFixed() || separators_ || after_v_) return LNX_MODEL_CONFLICT;
    if (HasFlag(model_, kScientific)) return LNX_MODEL_REPEATED;
    if (model_.integers == 0 || model_.currency_place == kAfterDigits) return LNX_MODEL_MISPLACED;
    Add(kScientific);
    if (IsLower()) Add(kLowerCase);
    return LNX_OK;
  }

  int Hex() noexcept {
    if (model_.kind != kHexadecimal) {
      if (!only_zeros_) return LNX_MODEL_CONFLICT;  // zeros may come first
      model_.kind = kHexadecimal;
      if (IsLower()) Add(kLowerCase);
    }
    if (model_.integers == LNX_MODEL_MAX_INTEGERS) return LNX_MODEL_TOO_LONG;
    ++model_.integers;
    return LNX_OK;
  }

  int Roman() noexcept {
    if (model_.kind == kRoman) return LNX_MODEL_REPEATED;
    if (model_.kind != kNotCompiled) return LNX_MODEL_CONFLICT;
    model_.kind = kRoman;
    if (IsLower()) Add(kLowerCase);
    return LNX_OK;
  }

  int TextFixed() noexcept { return Text(false); }
  int TextScientific() noexcept { return Text(true); }

  int Text(bool scientific) noexcept {
    if (model_.kind == kText) return LNX_MODEL_REPEATED;
    if (model_.kind != kNotCompiled) return LNX_MODEL_CONFLICT;
    model_.kind = kText;
    if (scientific) Add(kScientific);
    if (IsLower()) Add(kLowerCase);
    return LNX_OK;
  }

  void Finish() noexcept {
    if (zero_at_ >= 0)
      model_.least_integers = static_cast<std::uint8_t>(model_.integers - zero_at_);
    for (int left = 1; left <= model_.integers; ++left) {
      if ((left_of_[left / 64] >> (left % 64) & 1) == 0) continue;
      const int right = model_.integers - left;
      model_.groups[right / 64] |= std::uint64_t{1} << (right % 64);
    }
  }

  std::string_view text_;
  std::size_t at_ = 0;
  lnxmodel model_ = {};
  int zero_at_ = -1;               // integer digits before the first 0
  std::uint64_t left_of_[3] = {};  // bit n: a separator after n integer digits
  bool started_ = false;           // an element other than FM was seen
  bool separators_ = false;
  bool after_v_ = false;
  bool only_zeros_ = true;  // no element but FM and 0 was seen
  bool ended_ = false;      // nothing may follow
};

constinit const Compiler::Element Compiler::kElements[] = {
    {"tm9", &Compiler::TextFixed}, {"tme", &Compiler::TextScientific},
    {"tm", &Compiler::TextFixed},  {"eeee", &Compiler::Exponent},
    {"fm", &Compiler::FillMode},   {"mi", &Compiler::MinusLast},
    {"pr", &Compiler::Brackets},   {"rn", &Compiler::Roman},
    {"9", &Compiler::Nine},        {"0", &Compiler::Zero},
    {".", &Compiler::Period},      {"d", &Compiler::SymbolPoint},
    {",", &Compiler::Comma},       {"g", &Compiler::SymbolGroup},
    {"$", &Compiler::Dollar},      {"l", &Compiler::Local},
    {"c", &Compiler::Iso},         {"u", &Compiler::Dual},
    {"b", &Compiler::Blank},       {"s", &Compiler::Sign},
    {"v", &Compiler::Shift},       {"x", &Compiler::Hex},
};

const Compiler::Element* Compiler::Find() const noexcept {
  for (const Element& element : kElements) {
    if (element.name.size() > text_.size() - at_) continue;
    std::size_t same = 0;
    while (same < element.name.size() && Lower(text_[at_ + same]) == element.name[same]) ++same;
    if (same == element.name.size()) return &element;
  }
  return nullptr;
}

}  // namespace

bool IsCompiled(const lnxmodel& model) noexcept {
  const bool in_range =
      model.kind > kNotCompiled && model.kind < kKindEnd && model.sign < kSignEnd &&
      model.point < kPointEnd && model.currency < kCurrencyEnd &&
      model.currency_place < kPlaceEnd && model.integers <= LNX_MODEL_MAX_INTEGERS &&
      model.fraction <= LNX_MODEL_MAX_FRACTION && model.least_integers <= model.integers &&
      model.least_fraction <= model.fraction && model.scale <= model.integers &&
      (model.flags & ~kAllFlags) == 0;
  if (!in_range || model.kind == kRoman || model.kind == kText) return in_range;
  const bool needs_integers = model.kind == kHexadecimal || HasFlag(model, kScientific);
  return model.integers > 0 || (model.fraction > 0 && !needs_integers);
}

}  // namespace kestra::number

static_assert(sizeof(lnxmodel) == 64);

int lnxfmtcompile(const uint8_t* model, size_t modellen, lnxmodel* compiled, size_t* bad) noexcept {
  using namespace kestra::number;
  if (model == nullptr && modellen > 0) return LNX_BAD_ARGUMENT;
  Compiler compiler({reinterpret_cast<const char*>(model), modellen});
  const int status = compiler.Compile(*compiled);
  if (status != LNX_OK && bad != nullptr) *bad = compiler.at();
  return status;
}
