// Text in a model as a number. The parts of the model are taken in their order, each if it is
// there; the digits before the point are counted first, so that the places of the separators among
// them can be checked from the point on.
#include "number/lnx_format.h"
#include "number/lnx_text_read.h"

namespace kestra::number {
namespace {

class FixedReader {
 public:
  FixedReader(const lnxmodel& model, const Symbols& symbols, std::string_view text) noexcept
      : model_(model), symbols_(symbols), text_(text) {}

  // False: bad() is the offset of the first byte that is not of the model.
  bool Read(Figures& value) noexcept {
    TakeSignBefore();
    if (model_.currency_place == kBeforeDigits) Take(CurrencyOf(model_, symbols_));
    if (!ReadIntegers() || !ReadFraction() || !ReadExponent()) return false;
    if (model_.currency_place == kAfterDigits) Take(CurrencyOf(model_, symbols_));
    if (!TakeSignAfter() || at_ != text_.size()) return false;
    value = collector_.Finish(negative_, exponent_ - model_.scale);
    return true;
  }

  std::size_t bad() const noexcept { return at_; }

 private:
  bool Take(std::string_view part) noexcept {
    if (part.empty() || !text_.substr(at_).starts_with(part)) return false;
    at_ += part.size();
    return true;
  }

  void TakeSignBefore() noexcept {
    if (model_.sign == kBrackets) negative_ = bracket_ = Take("<");
    if (model_.sign != kMinusBefore && model_.sign != kSignBefore) return;
    negative_ = Take("-");
    if (!negative_) Take("+");
  }

  bool TakeSignAfter() noexcept {
    if (bracket_) return Take(">");
    if (model_.sign == kMinusAfter || model_.sign == kSignAfter) {
      negative_ = Take("-");
      if (!negative_) Take("+");
    }
    return true;
  }

  // Offsets of the separators in the text, and the digits before each.
  struct Separator {
    std::size_t offset;
    int digits;
  };

  bool ReadIntegers() noexcept {
    Separator separators[LNX_MODEL_MAX_INTEGERS];
    int count = 0;
    const bool grouped = (model_.groups[0] | model_.groups[1] | model_.groups[2]) != 0;
    const std::string_view group = grouped ? GroupOf(model_, symbols_) : std::string_view();
    int digits = 0;
    for (;;) {
      const std::size_t run = DigitRun(text_, at_);
      const auto room = static_cast<std::size_t>(model_.integers - digits);
      if (run > room) {
        at_ += room;
        return false;
      }
      collector_.AddIntegers(text_.substr(at_, run));
      at_ += run;
      digits += static_cast<int>(run);
      // Without a separator after every run the loop ends: count stays below the number of digits.
      if (run == 0 || count == LNX_MODEL_MAX_INTEGERS) break;
      const std::size_t offset = at_;
      if (!Take(group)) break;
      separators[count++] = {offset, digits};
    }
    for (int i = 0; i < count; ++i) {
      const int right = digits - separators[i].digits;
      if (!HasSeparator(model_, right)) {
        at_ = separators[i].offset;
        return false;
      }
    }
    any_ = digits > 0;
    return true;
  }

  bool ReadFraction() noexcept {
    if (model_.point != kNoPoint && Take(PointOf(model_, symbols_))) {
      const std::size_t run = DigitRun(text_, at_);
      if (run > model_.fraction) {
        at_ += model_.fraction;
        return false;
      }
      collector_.AddFraction(text_.substr(at_, run));
      at_ += run;
      any_ = any_ || run > 0;
    }
    return any_;
  }

  bool ReadExponent() noexcept {
    if (!HasFlag(model_, kScientific) || !(Take("E") || Take("e"))) return true;
    const bool negative = Take("-");
    if (!negative) Take("+");
    const std::size_t run = DigitRun(text_, at_);
    constexpr std::int64_t kHuge = 1'000'000;
    for (const char digit : text_.substr(at_, run)) {
      if (exponent_ < kHuge) exponent_ = exponent_ * 10 + (digit - '0');
    }
    if (negative) exponent_ = -exponent_;
    at_ += run;
    return run > 0;
  }

  const lnxmodel& model_;
  const Symbols& symbols_;
  std::string_view text_;
  std::size_t at_ = 0;
  DigitCollector collector_;
  std::int64_t exponent_ = 0;
  bool negative_ = false;
  bool bracket_ = false;
  bool any_ = false;
};

bool ReadFixed(const lnxmodel& model, const Symbols& symbols, std::string_view text, Figures& value,
               std::size_t& bad) noexcept {
  if (text.empty() && HasFlag(model, kBlankZero)) return true;
  FixedReader reader(model, symbols, text);
  const bool good = reader.Read(value);
  bad = reader.bad();
  return good;
}

bool ReadHexadecimal(const lnxmodel& model, const Symbols&, std::string_view text, Figures& value,
                     std::size_t& bad) noexcept {
  if (text.size() > model.integers) {
    if (ReadHexadecimal(text.substr(0, model.integers), value, bad)) bad = model.integers;
    return false;
  }
  return ReadHexadecimal(text, value, bad);
}

bool ReadRoman(const lnxmodel&, const Symbols&, std::string_view text, Figures& value,
               std::size_t& bad) noexcept {
  return ReadRoman(text, value, bad);
}

bool ReadTextModel(const lnxmodel&, const Symbols& symbols, std::string_view text, Figures& value,
                   std::size_t& bad) noexcept {
  Symbols ungrouped = symbols;
  ungrouped.group = {};
  return ReadPlainText(text, ungrouped, value, bad);
}

using KindReader = bool (*)(const lnxmodel&, const Symbols&, std::string_view, Figures&,
                            std::size_t&) noexcept;
constexpr KindReader kReaders[kKindEnd] = {nullptr, ReadFixed, ReadHexadecimal, ReadRoman,
                                           ReadTextModel};

}  // namespace
}  // namespace kestra::number

int lnxfmtread(const uint8_t* text, size_t textlen, const lnxmodel* model,
               const lnxsymbols* symbols, uint8_t* out, size_t* outlen, size_t* bad) noexcept {
  using namespace kestra::number;
  Symbols strings;
  if (!IsCompiled(*model) || !ReadSymbols(symbols, strings) || (text == nullptr && textlen > 0)) {
    return LNX_BAD_ARGUMENT;
  }
  const std::string_view whole(reinterpret_cast<const char*>(text), textlen);
  std::size_t begin = 0;
  std::size_t end = whole.size();
  while (begin < end && IsBlank(whole[begin])) ++begin;
  while (end > begin && IsBlank(whole[end - 1])) --end;
  Figures value;
  std::size_t offset = 0;
  const std::string_view given = whole.substr(begin, end - begin);
  if (!kReaders[model->kind](*model, strings, given, value, offset)) {
    if (bad != nullptr) *bad = offset == given.size() ? textlen : begin + offset;
    return LNX_BAD_BYTE;
  }
  return StoreFigures(value, out, outlen);
}
