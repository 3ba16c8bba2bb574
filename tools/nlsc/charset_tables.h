// Pieces shared by the makers of character sets.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "charset.h"

namespace kestra::nlsc {

// Numbers the distinct class words: 0 is always the empty word.
class ClassWords {
 public:
  std::uint8_t Number(std::uint16_t word);
  std::vector<std::uint16_t> Finish() const;  // padded to the size of the table

 private:
  std::vector<std::uint16_t> words_{0};
  std::map<std::uint16_t, std::uint8_t> numbers_{{0, 0}};
};

// Fills the class words and case maps of the one-byte characters from model.single. Case maps hold
// the simple mappings that stay inside the one-byte characters.
void FillOneByteClasses(CharsetModel& model, const UnicodeData& unicode);

// Fills the classes of every code point: an index by code point >> 8 and blocks stored once.
void FillCodePointClasses(CharsetModel& model, const UnicodeData& unicode);

// Sets the traits from model.single.
void FillTraits(CharsetModel& model);

}  // namespace kestra::nlsc
