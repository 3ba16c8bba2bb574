#include "plausibility.h"

#include <locale.h>
#include <wctype.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kestra::tools {
namespace {

// Character classes in UTF-8 whatever the user's locale is.
class Classifier {
 public:
  Classifier() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
  ~Classifier() {
    if (locale_ != nullptr) freelocale(locale_);
  }
  Classifier(const Classifier&) = delete;
  Classifier& operator=(const Classifier&) = delete;

  bool Letter(std::uint32_t c) const { return locale_ != nullptr && iswalpha_l(c, locale_) != 0; }
  bool Upper(std::uint32_t c) const { return locale_ != nullptr && iswupper_l(c, locale_) != 0; }
  bool Lower(std::uint32_t c) const { return locale_ != nullptr && iswlower_l(c, locale_) != 0; }
  char32_t ToLower(std::uint32_t c) const {
    return locale_ == nullptr ? c : static_cast<char32_t>(towlower_l(c, locale_));
  }

 private:
  locale_t locale_;
};

enum class Script : std::uint8_t {
  kNone,
  kLatin,
  kGreek,
  kCyrillic,
  kHebrew,
  kArabic,
  kThai,
  kKana,
  kHangul,
  kHan,
  kOther
};

struct ScriptRange {
  std::uint32_t first, last;
  Script script;
};
constexpr ScriptRange kScripts[] = {
    {'A', 'Z', Script::kLatin},        {'a', 'z', Script::kLatin},
    {0xAA, 0x24F, Script::kLatin},     {0x370, 0x3FF, Script::kGreek},
    {0x400, 0x52F, Script::kCyrillic}, {0x5D0, 0x5F4, Script::kHebrew},
    {0x620, 0x6FF, Script::kArabic},   {0xE01, 0xE4E, Script::kThai},
    {0x1100, 0x11FF, Script::kHangul}, {0x1E00, 0x1EFF, Script::kLatin},
    {0x3041, 0x30FF, Script::kKana},   {0x3131, 0x318E, Script::kHangul},
    {0x3400, 0x4DBF, Script::kHan},    {0x4E00, 0x9FFF, Script::kHan},
    {0xAC00, 0xD7A3, Script::kHangul}, {0xF900, 0xFAFF, Script::kHan},
    {0x20000, 0x3FFFF, Script::kHan},
};

Script ScriptOf(std::uint32_t c) {
  for (const ScriptRange& range : kScripts) {
    if (c >= range.first && c <= range.last) return range.script;
  }
  return Script::kOther;
}

// Characters that belong into running text beside letters: blanks, quotes, dashes, the euro sign,
// and the punctuation of East Asian text.
bool OrdinaryPunctuation(std::uint32_t c) {
  if (c >= 0x3000 && c <= 0x301F) return true;
  if (c >= 0xFF01 && c <= 0xFF60) return true;
  if (c >= 0x2010 && c <= 0x2026) return true;
  constexpr std::array<std::uint32_t, 12> kSigns = {0xA0, 0xA1, 0xA7, 0xA9,   0xAB,   0xB0,
                                                    0xB7, 0xBB, 0xBF, 0x20AC, 0x2116, 0x2122};
  return std::find(kSigns.begin(), kSigns.end(), c) != kSigns.end();
}

// The ten commonest letters of alphabets that have sets of their own: two thirds of real text, and
// a third or less of text decoded by mistake. Cyrillic o e a i n t s r v l and so on.
struct Alphabet {
  Script script;
  std::array<std::uint32_t, 10> common;
};
constexpr Alphabet kAlphabets[] = {
    {Script::kCyrillic, {0x43E, 0x435, 0x430, 0x438, 0x43D, 0x442, 0x441, 0x440, 0x432, 0x43B}},
    {Script::kGreek, {0x3B1, 0x3BF, 0x3B9, 0x3B5, 0x3C4, 0x3C3, 0x3BD, 0x3B7, 0x3C5, 0x3C1}},
    {Script::kHebrew, {0x5D9, 0x5D5, 0x5D4, 0x5DC, 0x5D0, 0x5E8, 0x5EA, 0x5D1, 0x5E9, 0x5DE}},
    {Script::kArabic, {0x627, 0x644, 0x64A, 0x645, 0x648, 0x646, 0x631, 0x62A, 0x628, 0x639}},
    {Script::kThai, {0xE32, 0xE19, 0xE23, 0xE2D, 0xE01, 0xE40, 0xE07, 0xE21, 0xE22, 0xE25}},
};

// The letters beyond ASCII of languages in Latin script: in a text of one language nearly all are
// in one row. Vietnamese has half of them all and is not among them.
constexpr std::u32string_view kLatinLetters[] = {
    U"\u00E4\u00F6\u00FC\u00DF",  // German
    U"\u00E0\u00E2\u00E6\u00E7\u00E9\u00E8\u00EA\u00EB\u00EE\u00EF\u00F4\u0153\u00F9\u00FB\u00FC"
    U"\u00FF",                                                              // French
    U"\u00E1\u00E9\u00ED\u00F3\u00FA\u00FC\u00F1\u00E7\u00E0\u00E8\u00F2",  // Spanish, Catalan
    U"\u00E3\u00F5\u00E1\u00E9\u00ED\u00F3\u00FA\u00E2\u00EA\u00F4\u00E0\u00E7\u00FC",  // Portuguese
    U"\u00E0\u00E8\u00E9\u00EC\u00F2\u00F9\u00EE",                                      // Italian
    U"\u00EB\u00EF\u00E9\u00F3\u00F6\u00E8\u00E1\u00FC",                                // Dutch
    U"\u00E5\u00E4\u00F6\u00E9\u00FC",                                      // Swedish, Finnish
    U"\u00E6\u00F8\u00E5\u00E9\u00F2\u00F4\u00FC",                          // Danish, Norwegian
    U"\u00E1\u00F0\u00E9\u00ED\u00F3\u00FA\u00FD\u00FE\u00E6\u00F6\u00F8",  // Icelandic, Faroese
    U"\u0105\u0107\u0119\u0142\u0144\u00F3\u015B\u017A\u017C",              // Polish
    U"\u00E1\u010D\u010F\u00E9\u011B\u00ED\u0148\u00F3\u0159\u0161\u0165\u00FA\u016F\u00FD\u017E"
    U"\u013E\u013A\u0155\u00F4\u00E4",                                      // Czech, Slovak
    U"\u00E1\u00E9\u00ED\u00F3\u00F6\u0151\u00FA\u00FC\u0171",              // Hungarian
    U"\u0103\u00E2\u00EE\u0219\u021B\u015F\u0163",                          // Romanian
    U"\u010D\u0107\u0111\u0161\u017E",                                      // Slovene, Croatian
    U"\u00E7\u011F\u0131\u00F6\u015F\u00FC\u00E2\u00EE\u00FB",              // Turkish
    U"\u0105\u010D\u0119\u0117\u012F\u0161\u0173\u016B\u017E",              // Lithuanian
    U"\u0101\u010D\u0113\u0123\u012B\u0137\u013C\u0146\u0161\u016B\u017E",  // Latvian
    U"\u00E4\u00F5\u00F6\u00FC\u0161\u017E",                                // Estonian
    U"\u00E1\u00E9\u00ED\u00F3\u00FA\u00E2\u00EA\u00EE\u00F4\u00FB\u0175\u0177",  // Irish, Welsh
};

// Adds up what speaks against a decoded text.
class Judge {
 public:
  void See(std::uint32_t c) {
    const bool letter = classes_.Letter(c);
    const Script script = letter ? ScriptOf(c) : Script::kNone;
    if (NeverInText(c)) against_ += 3;
    if (c == ' ' || c == '\n' || c == '\t') ++blanks_;
    if (letter) ++letters_[static_cast<std::size_t>(script)];
    if (c >= 0x80) {
      ++beyond_ascii_;
      letter ? SeeLetter(c, script) : SeeSign(c);
    }
    if (letter && script_before_ != Script::kNone && (c >= 0x80 || before_ >= 0x80)) {
      SeePair(c, script);
    }
    if (letter && sign_in_word_) against_ += 1;
    sign_in_word_ = !letter && c >= 0xA0 && c != 0xB7 && !(c >= 0x2010 && c <= 0x2019) &&
                    !(c >= 0x300 && c <= 0x36F) && c < 0x2E80 && script_before_ != Script::kNone &&
                    script_before_ != Script::kThai;
    before_ = c;
    script_before_ = script;
    ++characters_;
  }

  double Score(Writing writing) const {
    const double han = Letters(Script::kHan);
    const double kana = Letters(Script::kKana);
    const double hangul = Letters(Script::kHangul);
    const double weighed =
        beyond_ascii_ == 0 ? characters_ / 10 + 1 : static_cast<double>(beyond_ascii_);
    double against = against_;
    if (writing == Writing::kJapanese && kana * 8 < han) against += 0.5 * han;
    if (writing == Writing::kChinese) against += 2 * (kana + hangul);
    if (writing == Writing::kKorean) {
      against += han + kana;
      // Chinese text spreads over twice the lead bytes that hold the syllables of Korean: when all
      // of them are syllables, it is Korean.
      if (hangul > 0 && han == 0) against -= 0.01 * weighed;
    }
    const bool spaced = Letters(Script::kThai) == 0 && 2 * (han + kana) < characters_;
    if (writing == Writing::kAny && spaced && blanks_ * 50 < characters_) {
      against += 0.5 * weighed;  // words have blanks between them
    }
    against += LatinOddity();
    for (const Alphabet& alphabet : kAlphabets) {
      const double letters = Letters(alphabet.script);
      constexpr double kExpected = 0.6;
      const double share = letters == 0 ? 1 : common_ / letters;
      if (letters > 20 && share < kExpected) against += letters * (kExpected - share);
    }
    return 1 - against / weighed;
  }

 private:
  // Letters that are no language's together, and more of them than any language writes.
  double LatinOddity() const {
    const double accented = latin_beyond_ascii_;
    if (accented == 0) return 0;
    double best = 0;
    for (const double count : in_language_) best = std::max(best, count);
    double oddity = std::max(0.0, 0.9 * accented - best) * 0.5;
    constexpr double kMostAccented = 0.3;
    oddity += std::max(0.0, accented - kMostAccented * Letters(Script::kLatin));
    return oddity;
  }

  double Letters(Script script) const { return letters_[static_cast<std::size_t>(script)]; }

  void SeeLetter(std::uint32_t c, Script script) {
    if (script == Script::kOther) against_ += 0.5;
    if (script == Script::kLatin) {
      ++latin_beyond_ascii_;
      const char32_t lower = classes_.ToLower(c);
      for (std::size_t i = 0; i < std::size(kLatinLetters); ++i) {
        if (kLatinLetters[i].find(lower) != std::u32string_view::npos) ++in_language_[i];
      }
    }
    if (script == Script::kHan && c >= 0xF900 && c < 0x20000) against_ += 0.5;  // compatibility
    for (const Alphabet& alphabet : kAlphabets) {
      if (alphabet.script != script) continue;
      const auto& common = alphabet.common;
      if (std::find(common.begin(), common.end(), c) != common.end()) common_ += 1;
    }
  }

  void SeeSign(std::uint32_t c) {
    const bool in_word = script_before_ != Script::kNone;
    if (c >= 0x2500 && c <= 0x259F) {  // boxes
      against_ += in_word ? 1 : 0.3;
    } else if (c >= 0xFF61 && c <= 0xFF9F) {  // half-width katakana
      against_ += 0.5;
    } else if (c == 0xBF || c == 0xA1) {  // they open a sentence
      against_ += in_word ? 1 : 0;
    } else if (!OrdinaryPunctuation(c) && !(c >= 0x300 && c <= 0x36F)) {
      against_ += in_word ? 1 : 0.4;
    }
  }

  // Two letters in a row, at least one of them beyond ASCII.
  void SeePair(std::uint32_t c, Script script) {
    const bool upper = classes_.Upper(c);
    if (upper && classes_.Lower(before_)) against_ += 1;
    if (upper && classes_.Upper(before_)) against_ += 0.3;
    auto ideographic = [](Script s) {
      return s == Script::kHan || s == Script::kKana || s == Script::kHangul;
    };
    if (script != script_before_ && !ideographic(script) && !ideographic(script_before_)) {
      against_ += 1;
    }
  }

  const Classifier classes_;
  double against_ = 0;
  double characters_ = 0;
  double blanks_ = 0;
  double common_ = 0;  // common letters of any alphabet; a text of two would be a rare one
  double latin_beyond_ascii_ = 0;
  std::array<double, std::size(kLatinLetters)> in_language_ = {};
  std::size_t beyond_ascii_ = 0;
  std::array<double, 11> letters_ = {};  // by script
  std::uint32_t before_ = ' ';
  Script script_before_ = Script::kNone;
  bool sign_in_word_ = false;
};

}  // namespace

bool NeverInText(std::uint32_t c) {
  return (c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != 0x1B) ||
         (c >= 0x7F && c <= 0x9F && c != 0x85) || (c >= 0xE000 && c <= 0xF8FF) ||
         (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE || c == 0xFFFD;
}

double Plausibility(std::span<const std::uint32_t> text, Writing writing) {
  Judge judge;
  for (const std::uint32_t c : text) judge.See(c);
  return judge.Score(writing);
}

}  // namespace kestra::tools
