#include "datetime/spelled_number.h"

#include <string.h>

namespace kestra::datetime {
namespace {

struct Word {
  std::string_view cardinal;
  std::string_view ordinal;
};
constexpr Word kSmall[20] = {
    {"ZERO", "ZEROTH"},         {"ONE", "FIRST"},           {"TWO", "SECOND"},
    {"THREE", "THIRD"},         {"FOUR", "FOURTH"},         {"FIVE", "FIFTH"},
    {"SIX", "SIXTH"},           {"SEVEN", "SEVENTH"},       {"EIGHT", "EIGHTH"},
    {"NINE", "NINTH"},          {"TEN", "TENTH"},           {"ELEVEN", "ELEVENTH"},
    {"TWELVE", "TWELFTH"},      {"THIRTEEN", "THIRTEENTH"}, {"FOURTEEN", "FOURTEENTH"},
    {"FIFTEEN", "FIFTEENTH"},   {"SIXTEEN", "SIXTEENTH"},   {"SEVENTEEN", "SEVENTEENTH"},
    {"EIGHTEEN", "EIGHTEENTH"}, {"NINETEEN", "NINETEENTH"}};
constexpr Word kTens[10] = {{},
                            {},
                            {"TWENTY", "TWENTIETH"},
                            {"THIRTY", "THIRTIETH"},
                            {"FORTY", "FORTIETH"},
                            {"FIFTY", "FIFTIETH"},
                            {"SIXTY", "SIXTIETH"},
                            {"SEVENTY", "SEVENTIETH"},
                            {"EIGHTY", "EIGHTIETH"},
                            {"NINETY", "NINETIETH"}};
constexpr Word kOh = {"OH", "OH"};
constexpr Word kHundred = {"HUNDRED", "HUNDREDTH"};
constexpr Word kThousand = {"THOUSAND", "THOUSANDTH"};
constexpr Word kMillion = {"MILLION", "MILLIONTH"};

// Words one after the other; the last one takes the ordinal form.
class Speller {
 public:
  void Number(std::uint32_t value) noexcept {
    if (value >= 1'000'000) {
      BelowThousand(value / 1'000'000);
      Add(kMillion);
      value %= 1'000'000;
      if (value == 0) return;
    }
    if (value >= 1000) {
      BelowThousand(value / 1000);
      Add(kThousand);
      value %= 1000;
      if (value == 0) return;
    }
    BelowThousand(value);
  }

  void Year(std::uint32_t year) noexcept {
    const std::uint32_t century = year / 100, rest = year % 100;
    if (century == 0 || century >= 100 || (century % 10 == 0 && rest < 10)) return Number(year);
    BelowHundred(century);
    if (rest == 0) return Add(kHundred);
    if (rest < 10) Add(kOh);
    BelowHundred(rest);
  }

  std::size_t Write(bool ordinal, Letters letters, char* out) const noexcept {
    char* at = out;
    for (std::size_t i = 0; i < count_; ++i) {
      if (i != 0) *at++ = hyphen_[i] ? '-' : ' ';
      const Word& word = *words_[i];
      const std::string_view text = ordinal && i + 1 == count_ ? word.ordinal : word.cardinal;
      memcpy(at, text.data(), text.size());
      if (letters != kUpper) {
        for (std::size_t k = letters == kCapitalised ? 1 : 0; k < text.size(); ++k) at[k] |= 0x20;
      }
      at += text.size();
    }
    return static_cast<std::size_t>(at - out);
  }

 private:
  void Add(const Word& word, bool hyphen = false) noexcept {
    hyphen_[count_] = hyphen;
    words_[count_++] = &word;
  }
  void BelowHundred(std::uint32_t value) noexcept {
    if (value < 20) return Add(kSmall[value]);
    Add(kTens[value / 10]);
    if (value % 10 != 0) Add(kSmall[value % 10], true);
  }
  void BelowThousand(std::uint32_t value) noexcept {
    if (value >= 100) {
      Add(kSmall[value / 100]);
      Add(kHundred);
      value %= 100;
      if (value == 0) return;
    }
    BelowHundred(value);
  }

  static constexpr std::size_t kMaxWords = 16;  // 4 + 1 + 4 + 1 + 4
  const Word* words_[kMaxWords];
  bool hyphen_[kMaxWords];
  std::size_t count_ = 0;
};

}  // namespace

std::size_t SpellNumber(std::uint32_t value, bool ordinal, Letters letters, char* out) noexcept {
  Speller speller;
  speller.Number(value);
  return speller.Write(ordinal, letters, out);
}

std::size_t SpellYear(std::uint32_t year, bool ordinal, Letters letters, char* out) noexcept {
  Speller speller;
  speller.Year(year);
  return speller.Write(ordinal, letters, out);
}

std::string_view OrdinalSuffix(std::uint32_t value) noexcept {
  const std::uint32_t last = value % 10;
  if (value % 100 / 10 == 1) return "TH";
  return last == 1 ? "ST" : last == 2 ? "ND" : last == 3 ? "RD" : "TH";
}

}  // namespace kestra::datetime
