// Integers as hexadecimal and Roman text. Hexadecimal digits go through a natural number of 32-bit
// words, least significant first; 128 digits of either kind fit it.
#include <algorithm>

#include "core/os/check.h"
#include "number/lnx_format.h"

namespace kestra::number {
namespace {

class Natural {
 public:
  // this = this * factor + term
  void MultiplyAdd(std::uint32_t factor, std::uint32_t term) noexcept {
    std::uint64_t carry = term;
    for (int i = 0; i < used_; ++i) {
      carry += std::uint64_t{words_[i]} * factor;
      words_[i] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    if (carry == 0) return;
    KES_DCHECK(used_ < kWords);
    words_[used_++] = static_cast<std::uint32_t>(carry);
  }

  // this = this / divisor; returns the remainder.
  std::uint32_t Divide(std::uint32_t divisor) noexcept {
    std::uint64_t rest = 0;
    for (int i = used_; i-- > 0;) {
      rest = rest << 32 | words_[i];
      words_[i] = static_cast<std::uint32_t>(rest / divisor);
      rest %= divisor;
    }
    while (used_ > 0 && words_[used_ - 1] == 0) --used_;
    return static_cast<std::uint32_t>(rest);
  }

  bool IsZero() const noexcept { return used_ == 0; }

 private:
  static constexpr int kWords = 16;  // 512 bits: 128 hexadecimal or 154 decimal digits
  std::uint32_t words_[kWords] = {};
  int used_ = 0;
};

int HexValue(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The digits 1 to 9 of each place, in the letters one, five and ten of the place.
constexpr std::string_view kRomanDigits[] = {"",  "1",  "11",  "111",  "15",
                                             "5", "51", "511", "5111", "1x"};
constexpr std::string_view kRomanLetters[] = {"M", "CDM", "XLC", "IVX"};  // one, five, ten

char RomanLetter(std::size_t place, char symbol) noexcept {
  return kRomanLetters[place][symbol == '1' ? 0 : symbol == '5' ? 1 : 2];
}

constexpr int kRomanPlaces = 4;

}  // namespace

std::size_t PutHexadecimal(const Figures& figures, bool lower, std::size_t least, char* out,
                           std::size_t size) noexcept {
  Natural natural;
  KES_DCHECK(figures.point <= 2 * kMaxExponent);
  for (std::int64_t i = 0; i < figures.point; ++i) {
    const char digit = i < figures.count ? figures.Digits()[i] : '0';
    natural.MultiplyAdd(10, static_cast<std::uint32_t>(digit - '0'));
  }
  const char* const digits = lower ? "0123456789abcdef" : "0123456789ABCDEF";
  std::size_t written = 0;
  while (!natural.IsZero() || written < std::max<std::size_t>(least, 1)) {
    if (written == size) return 0;
    out[written++] = digits[natural.Divide(16)];
  }
  std::reverse(out, out + written);
  return written;
}

bool ReadHexadecimal(std::string_view text, Figures& figures, std::size_t& bad) noexcept {
  Natural natural;
  for (bad = 0; bad < text.size(); ++bad) {
    const int digit = HexValue(text[bad]);
    if (digit < 0) return false;
    natural.MultiplyAdd(16, static_cast<std::uint32_t>(digit));
  }
  if (text.empty()) return false;
  char digits[160];
  int count = 0;
  while (!natural.IsZero()) digits[count++] = static_cast<char>('0' + natural.Divide(10));
  figures.point = count;
  figures.count = std::min(count, Figures::kMaxKept);
  for (int i = 0; i < figures.count; ++i) {
    figures.room[Figures::kStart + i] = digits[count - 1 - i];
  }
  Normalise(figures);
  return true;
}

std::size_t PutRoman(const Figures& figures, bool lower, char (&out)[kRomanWidth]) noexcept {
  if (figures.point > kRomanPlaces) return 0;
  std::size_t size = 0;
  for (int i = 0; i < figures.count; ++i) {
    const auto place = static_cast<std::size_t>(kRomanPlaces - figures.point + i);
    const int digit = figures.Digits()[i] - '0';
    if (place == 0 && digit > 3) return 0;
    for (const char symbol : kRomanDigits[digit]) {
      const char letter = RomanLetter(place, symbol);
      out[size++] = lower ? static_cast<char>(letter | 0x20) : letter;
    }
  }
  return size;
}

bool ReadRoman(std::string_view text, Figures& figures, std::size_t& bad) noexcept {
  bad = 0;
  for (std::size_t place = 0; place < kRomanPlaces; ++place) {
    int best = 0;
    for (int digit = 1; digit <= (place == 0 ? 3 : 9); ++digit) {
      const std::string_view symbols = kRomanDigits[digit];
      std::size_t same = 0;
      while (same < symbols.size() && bad + same < text.size() &&
             (text[bad + same] & ~0x20) == RomanLetter(place, symbols[same])) {
        ++same;
      }
      if (same == symbols.size() && same > kRomanDigits[best].size()) best = digit;
    }
    figures.room[Figures::kStart + place] = static_cast<char>('0' + best);
    bad += kRomanDigits[best].size();
  }
  if (bad == 0 || bad < text.size()) return false;
  figures.count = kRomanPlaces;
  figures.point = kRomanPlaces;
  Normalise(figures);
  return true;
}

}  // namespace kestra::number
