#include "charset_tables.h"

#include <array>
#include <stdexcept>

#include "nls/nlb_format.h"

namespace kestra::nlsc {

namespace layout = kestra::nls::nlb::charset;

std::uint8_t ClassWords::Number(std::uint16_t word) {
  const auto [at, added] = numbers_.try_emplace(word, static_cast<std::uint8_t>(words_.size()));
  if (added) {
    if (words_.size() == layout::kClassWords) throw std::logic_error("too many class words");
    words_.push_back(word);
  }
  return at->second;
}

std::vector<std::uint16_t> ClassWords::Finish() const {
  std::vector<std::uint16_t> words = words_;
  words.resize(layout::kClassWords);
  return words;
}

void FillOneByteClasses(CharsetModel& model, const UnicodeData& unicode) {
  std::map<char32_t, std::uint8_t> bytes;  // the first byte of a code point encodes it
  for (unsigned byte = 0; byte < 256; ++byte) {
    if (model.single[byte] != layout::kNoCharacter) {
      bytes.try_emplace(model.single[byte], static_cast<std::uint8_t>(byte));
    }
  }
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto own = static_cast<std::uint8_t>(byte);
    model.upper[byte] = model.lower[byte] = own;
    if (model.single[byte] == layout::kNoCharacter) continue;
    const char32_t code = model.single[byte];
    model.classes[byte] = unicode.ClassWord(code);
    const auto map = [&](char32_t target) {
      const auto found = bytes.find(target);
      return target == code || found == bytes.end() ? own : found->second;
    };
    model.upper[byte] = map(unicode.Upper(code));
    model.lower[byte] = map(unicode.Lower(code));
  }
}

void FillCodePointClasses(CharsetModel& model, const UnicodeData& unicode) {
  ClassWords words;
  using Block = std::array<std::uint8_t, layout::kClassBlockSize>;
  std::map<Block, std::uint16_t> known;
  Block block;
  model.class_kind = layout::kByCodePoint;
  for (char32_t first = 0; first < kCodePoints; first += layout::kClassBlockSize) {
    for (std::size_t i = 0; i < block.size(); ++i) {
      block[i] = words.Number(unicode.ClassWord(first + static_cast<char32_t>(i)));
    }
    const auto [place, added] = known.try_emplace(
        block, static_cast<std::uint16_t>(model.class_cells.size() / block.size()));
    if (added) model.class_cells.insert(model.class_cells.end(), block.begin(), block.end());
    model.class_index.push_back(place->second);
  }
  model.class_words = words.Finish();
}

void FillTraits(CharsetModel& model) {
  bool ascii = true;
  for (unsigned byte = 0; byte < 128; ++byte) ascii = ascii && model.single[byte] == byte;
  model.traits = static_cast<std::uint8_t>((ascii ? layout::kAsciiTrait : 0) |
                                           (model.single[0] == 0 ? layout::kNulTrait : 0));
}

}  // namespace kestra::nlsc
