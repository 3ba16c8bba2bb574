// Character properties of the Unicode Character Database.
#pragma once

#include <cstdint>
#include <vector>

#include "input.h"

namespace kestra::nlsc {

inline constexpr char32_t kCodePoints = 0x110000;

class UnicodeData {
 public:
  explicit UnicodeData(Sources& sources);

  // Class bits as in a character set's class table, without the length bits; 0 for code points that
  // are unassigned, private or surrogates.
  std::uint16_t ClassWord(char32_t code) const { return class_words_[code]; }
  // Simple case mappings; the code point itself when it has none.
  char32_t Upper(char32_t code) const { return upper_[code] != 0 ? upper_[code] : code; }
  char32_t Lower(char32_t code) const { return lower_[code] != 0 ? lower_[code] : code; }

 private:
  void ReadCharacters(Sources& sources);
  void ReadProperties(Sources& sources, const char* file,
                      const std::vector<std::pair<std::string_view, std::uint16_t>>& properties);

  std::vector<std::uint16_t> class_words_;
  std::vector<char32_t> upper_, lower_;
};

}  // namespace kestra::nlsc
