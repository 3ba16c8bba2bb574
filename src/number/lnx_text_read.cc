// Decimal text to NUMBER. The digits of the integer part and of the fraction are gathered side by
// side in one row (12.5 gives "125" and point 2), 42 of them at most; the rest only counts. Pairing
// them by powers of 100 and rounding is then one step for all lengths.
#include "number/lnx_text_read.h"

#include "number/kernels/lnx_text_kernels.h"

namespace kestra::number {
namespace {

// Exponents are cut here: far beyond what a text of any size can make up for with zeros.
constexpr std::int64_t kHugeExponent = 100'000'000'000'000'000;

class TextReader {
 public:
  TextReader(std::string_view text, const Symbols& symbols) noexcept
      : text_(text), symbols_(symbols) {}

  // False: bad() is the offset of the first byte that cannot belong to a number.
  bool Read() noexcept {
    SkipBlanks();
    const bool negative = TakeSign();
    if (TakeInfinity()) {
      value_ = &collector_.Finish(negative, 0);
      value_->kind = Kind::kInfinity;
      value_->negative = negative;
    } else {
      if (!ReadDigits()) return false;
      std::int64_t exponent = 0;
      if (at_ < text_.size() && (text_[at_] | 0x20) == 'e' && !ReadExponent(exponent)) return false;
      value_ = &collector_.Finish(negative, exponent);
    }
    SkipBlanks();
    return at_ == text_.size();
  }

  const Figures& value() const noexcept { return *value_; }
  std::size_t bad() const noexcept { return at_; }

 private:
  void SkipBlanks() noexcept {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  bool TakeSign() noexcept {
    if (at_ == text_.size() || (text_[at_] != '-' && text_[at_] != '+')) return false;
    return text_[at_++] == '-';
  }

  bool Take(std::string_view word) noexcept {
    if (!text_.substr(at_).starts_with(word)) return false;
    at_ += word.size();
    return true;
  }

  // Inf or Infinity in any case, whichever is longer.
  bool TakeInfinity() noexcept {
    constexpr std::string_view kWord = "infinity";
    std::size_t length = 0;
    while (length < kWord.size() && at_ + length < text_.size() &&
           (text_[at_ + length] | 0x20) == kWord[length]) {
      ++length;
    }
    if (length < 3) return false;
    at_ += length < kWord.size() ? 3 : length;
    return true;
  }

  bool ReadDigits() noexcept {
    std::size_t run = DigitRun(text_, at_);
    bool any = run > 0;
    collector_.AddIntegers(text_.substr(at_, run));
    at_ += run;
    while (run > 0 && !symbols_.group.empty() && text_.substr(at_).starts_with(symbols_.group)) {
      run = DigitRun(text_, at_ + symbols_.group.size());
      if (run == 0) break;
      at_ += symbols_.group.size();
      collector_.AddIntegers(text_.substr(at_, run));
      at_ += run;
    }
    if (Take(symbols_.decimal)) {
      run = DigitRun(text_, at_);
      collector_.AddFraction(text_.substr(at_, run));
      at_ += run;
      any = any || run > 0;
    }
    return any;
  }

  bool ReadExponent(std::int64_t& exponent) noexcept {
    ++at_;
    const bool negative = TakeSign();
    const std::size_t run = DigitRun(text_, at_);
    for (std::size_t i = 0; i < run; ++i) {
      if (exponent < kHugeExponent) exponent = exponent * 10 + (text_[at_ + i] - '0');
    }
    if (negative) exponent = -exponent;
    at_ += run;
    return run > 0;
  }

  std::string_view text_;
  const Symbols& symbols_;
  std::size_t at_ = 0;
  DigitCollector collector_;
  Figures* value_ = nullptr;
};

}  // namespace

bool ReadPlainText(std::string_view text, const Symbols& symbols, Figures& figures,
                   std::size_t& bad) noexcept {
  TextReader reader(text, symbols);
  if (!reader.Read()) {
    bad = reader.bad();
    return false;
  }
  figures = reader.value();
  return true;
}

int StoreFigures(const Figures& figures, std::uint8_t* out, std::size_t* outlen) noexcept {
  std::uint8_t bytes[kMaxBytes];
  bool in_range = true;
  const std::size_t length = WriteFigures(figures, bytes, in_range);
  StoreBytes(bytes, length, out, outlen);
  return in_range ? LNX_OK : LNX_RANGE;
}

int scalar::FromText(const std::uint8_t* text, std::size_t textlen, const lnxsymbols* symbols,
                     std::uint8_t* out, std::size_t* outlen, std::size_t* bad) noexcept {
  Symbols strings;
  if (!ReadSymbols(symbols, strings) || (text == nullptr && textlen > 0)) return LNX_BAD_ARGUMENT;
  TextReader reader({reinterpret_cast<const char*>(text), textlen}, strings);
  if (!reader.Read()) {
    if (bad != nullptr) *bad = reader.bad();
    return LNX_BAD_BYTE;
  }
  return StoreFigures(reader.value(), out, outlen);
}

}  // namespace kestra::number

int lnxfromtext(const uint8_t* text, size_t textlen, const lnxsymbols* symbols, uint8_t* out,
                size_t* outlen, size_t* bad) noexcept {
  return kestra::number::ActiveTextKernels().from_text(text, textlen, symbols, out, outlen, bad);
}
