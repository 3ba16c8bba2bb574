// Sets given by code tables: single-byte and multibyte sets, stateful sets and GB18030.
//
// A multibyte set becomes a tree of rows: the first byte leads to a row, which says which trail
// bytes can follow and where their cells begin. The cells of the last row hold code points, those
// of inner rows (characters of 3 and 4 bytes) the number of the next row. EUC-JP's 8F A2 AF takes
// two steps: lead[8F] names the row A2..ED, its cell A2 the row AF..F1, whose cell AF is U+02D8.
//
// A stateful set has both a one-byte and a two-byte character for most first bytes, and the same
// tables serve: the one-byte characters in the fixed part, the others by rows. GB18030 has rows for
// its two-byte characters, a flat table for the four-byte ones of the basic plane, and counts the
// rest (see the layout header).
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <span>
#include <unordered_map>

#include "charset_tables.h"
#include "kestra/handle.h"
#include "nls/gb18030.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace gb18030 = kestra::nls::gb18030;
namespace layout = kestra::nls::nlb::charset;

constexpr std::uint8_t kSubstitute = 0x1A;
constexpr std::uint8_t kShiftOut = 0x0E, kShiftIn = 0x0F;

std::uint8_t ByteOf(const Mapping& mapping, unsigned position) {
  return static_cast<std::uint8_t>(mapping.bytes >> (8 * (mapping.length - 1u - position)));
}

std::string BytesText(const Mapping& mapping) {
  return fmt::format("{:0{}X}", mapping.bytes, 2 * mapping.length);
}

class TableMaker {
 public:
  TableMaker(CharsetModel& model, const std::vector<Mapping>& mappings, const UnicodeData& unicode,
             const std::string& source)
      : model_(model), unicode_(unicode), source_(source) {
    const bool single = kind() == "single";
    for (const Mapping& mapping : mappings) {
      // A single-byte set may list a letter with a combining mark as two bytes (TCVN 5712): the
      // bytes one by one say the same.
      if (single && mapping.length > 1) continue;
      decoding_.try_emplace({mapping.length, mapping.bytes}, mapping.code);
      if (!mapping.decode_only) encoding_.try_emplace(mapping.code, mapping);
    }
    CheckEncodings();
  }

  void Make() {
    CheckDefinition();
    MakeOneByte();
    if (kind() == "single") {
      MakeUtf8();
    } else {
      MakeRows();
    }
    if (kind() == "gb18030") {
      MakeLinear();
      FillCodePointClasses(model_, unicode_);
    }
    MakeEncoding();
    MakeReplacement();
  }

 private:
  const std::string& kind() const { return model_.definition.kind; }
  [[noreturn]] void Fail(const std::string& what) const { throw InputError(source_, 0, what); }

  // What a code point is encoded as must be decoded to the same code point.
  void CheckEncodings() {
    for (auto at = encoding_.begin(); at != encoding_.end();) {
      const Mapping& mapping = at->second;
      at = decoding_.at({mapping.length, mapping.bytes}) == at->first ? std::next(at)
                                                                      : encoding_.erase(at);
    }
  }

  void CheckDefinition() const {
    const CharsetDefinition& definition = model_.definition;
    unsigned longest = 0;
    std::array<unsigned, 256> lengths{};
    for (const auto& [key, code] : decoding_) {
      const Mapping mapping{.bytes = key.second, .length = key.first};
      longest = std::max<unsigned>(longest, key.first);
      unsigned& length = lengths[ByteOf(mapping, 0)];
      if (length != 0 && length != key.first && kind() == "multi") {
        Fail(fmt::format("{}: characters that begin with {:02X} have two lengths",
                         BytesText(mapping), ByteOf(mapping, 0)));
      }
      length = key.first;
      if (code == 0 && key.first != 1) Fail("U+0000 has more than one byte");
    }
    if (decoding_.size() != definition.mappings) {
      Fail(fmt::format("{} mappings, the definition of {} says {}", decoding_.size(),
                       definition.name, definition.mappings));
    }
    if (longest != definition.max_bytes) {
      Fail(fmt::format("longest character has {} bytes, the definition of {} says {}", longest,
                       definition.name, definition.max_bytes));
    }
  }

  void MakeOneByte() {
    model_.single.fill(layout::kNoCharacter);
    for (const auto& [key, code] : decoding_) {
      if (key.first != 1) continue;
      if (code >= layout::kNoCharacter) Fail("a one-byte character lies above U+FFFE");
      model_.single[key.second] = static_cast<std::uint16_t>(code);
    }
    FillOneByteClasses(model_, unicode_);
    FillTraits(model_);
  }

  void MakeUtf8() {
    model_.utf8.resize(256 * 4);
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::uint32_t code = model_.single[byte];
      std::uint8_t* cell = model_.utf8.data() + 4 * byte;
      if (code == layout::kNoCharacter) continue;
      if (code < 0x80) {
        cell[0] = static_cast<std::uint8_t>(code);
        cell[3] = 1;
      } else if (code < 0x800) {
        cell[0] = static_cast<std::uint8_t>(0xC0 | code >> 6);
        cell[1] = static_cast<std::uint8_t>(0x80 | (code & 0x3F));
        cell[3] = 2;
      } else {
        cell[0] = static_cast<std::uint8_t>(0xE0 | code >> 12);
        cell[1] = static_cast<std::uint8_t>(0x80 | (code >> 6 & 0x3F));
        cell[2] = static_cast<std::uint8_t>(0x80 | (code & 0x3F));
        cell[3] = 3;
      }
    }
  }

  using Entry = std::pair<Mapping, char32_t>;

  void MakeRows() {
    std::vector<Entry> entries;
    for (const auto& [key, code] : decoding_) {
      if (kind() == "gb18030" && key.first == 4) continue;
      entries.push_back({Mapping{.bytes = key.second, .length = key.first}, code});
    }
    model_.lead.resize(256);
    ClassWords words;
    const std::span<const Entry> all(entries);
    for (std::size_t begin = 0; begin < all.size();) {
      const Mapping& first = all[begin].first;
      std::size_t end = begin;
      while (end < all.size() && all[end].first.length == first.length &&
             ByteOf(all[end].first, 0) == ByteOf(first, 0)) {
        ++end;
      }
      if (first.length > 1) {
        const std::uint8_t lead = ByteOf(first, 0);
        if (kind() != "mixed") {
          model_.classes[lead] = static_cast<std::uint16_t>(first.length - 1);
        }
        model_.lead[lead] = MakeRow(all.subspan(begin, end - begin), 1, words);
      }
      begin = end;
    }
    if (kind() == "gb18030") {
      model_.class_cells.clear();
    } else {
      model_.class_kind = layout::kByCell;
      model_.class_words = words.Finish();
    }
    const std::uint32_t largest = *std::max_element(model_.decode.begin(), model_.decode.end());
    model_.decode_width = largest > 0xFFFF ? 4 : 2;
  }

  // The row of the characters that share their first `position` bytes. Returns its number + 1.
  std::uint16_t MakeRow(std::span<const Entry> entries, unsigned position, ClassWords& words) {
    const std::size_t number = model_.rows.size();
    if (number >= 0xFFFF) Fail("too many rows");
    CharsetRow row;
    row.first = ByteOf(entries.front().first, position);
    row.last = ByteOf(entries.back().first, position);
    row.cell = static_cast<std::uint32_t>(model_.decode.size());
    model_.rows.push_back(row);
    const std::size_t cells = row.last - row.first + 1u;
    model_.decode.resize(row.cell + cells);
    model_.class_cells.resize(row.cell + cells);
    for (std::size_t begin = 0; begin < entries.size();) {
      const std::uint8_t byte = ByteOf(entries[begin].first, position);
      std::size_t end = begin;
      while (end < entries.size() && ByteOf(entries[end].first, position) == byte) ++end;
      const std::size_t cell = row.cell + byte - row.first;
      if (position + 1u == entries[begin].first.length) {
        model_.decode[cell] = entries[begin].second;
        model_.class_cells[cell] = words.Number(unicode_.ClassWord(entries[begin].second));
      } else {
        const std::uint16_t next =
            MakeRow(entries.subspan(begin, end - begin), position + 1, words);
        model_.decode[cell] = next;
      }
      begin = end;
    }
    return static_cast<std::uint16_t>(number + 1);
  }

  // The table lists assigned code points only; those from U+10000 must lie where counting puts them
  // and are left to it, also for encoding, except for the few that have two bytes.
  void MakeLinear() {
    for (std::size_t i = 0; i < model_.rows.size(); ++i) {
      const CharsetRow& row = model_.rows[i];
      if (model_.lead[0x81 + i] != i + 1 || row.first != layout::kGb18030FirstTrail ||
          row.cell != i * layout::kGb18030Row || row.last != 0xFE) {
        Fail("the two-byte characters are not 126 full rows");
      }
    }
    model_.linear.resize(gb18030::kSupplementary);
    for (const auto& [key, code] : decoding_) {
      if (key.first != 4) continue;
      const std::uint32_t place = gb18030::Place(key.second);
      if (place >= gb18030::kSupplementary) {
        if (code != gb18030::CodePoint(place)) {
          Fail(fmt::format("{:08X} is not U+{:04X}", key.second, gb18030::CodePoint(place)));
        }
      } else if (place >= gb18030::kBasicPlaces || code >= gb18030::kFirstSupplementary) {
        Fail(fmt::format("{:08X} lies outside the four-byte area", key.second));
      } else {
        model_.linear[place] = static_cast<std::uint16_t>(code);
      }
    }
    model_.linear.resize(gb18030::kBasicPlaces);
    std::erase_if(encoding_, [](const auto& entry) {
      return entry.first >= gb18030::kFirstSupplementary && entry.second.length == 4;
    });
  }

  // Block 0 is the empty block; equal blocks are stored once.
  void MakeEncoding() {
    std::uint32_t largest = 1;
    char32_t last_code = 0;
    for (const auto& [code, mapping] : encoding_) {
      largest = std::max(largest, mapping.bytes);
      last_code = std::max(last_code, code);
    }
    model_.encode_width = largest > 0xFFFF ? 4 : largest > 0xFF ? 2 : 1;
    std::map<std::vector<std::uint32_t>, std::uint16_t> known;
    std::vector<std::uint32_t> block(layout::kBlockSize);
    known.emplace(block, 0);
    model_.encode = block;
    model_.encode_index.resize((last_code >> layout::kBlockShift) + 1);
    for (auto at = encoding_.begin(); at != encoding_.end();) {
      const char32_t number = at->first >> layout::kBlockShift;
      std::fill(block.begin(), block.end(), 0);
      for (; at != encoding_.end() && at->first >> layout::kBlockShift == number; ++at) {
        block[at->first % layout::kBlockSize] = at->second.bytes;
      }
      const auto [place, added] = known.try_emplace(
          block, static_cast<std::uint16_t>(model_.encode.size() / layout::kBlockSize));
      if (added) model_.encode.insert(model_.encode.end(), block.begin(), block.end());
      model_.encode_index[number] = place->second;
    }
  }

  void MakeReplacement() {
    const auto question = encoding_.find(U'?');
    if (question != encoding_.end() && question->second.length == 1) {
      model_.replacement = {static_cast<std::uint8_t>(question->second.bytes)};
    } else {
      model_.replacement = {kSubstitute};
    }
  }

  CharsetModel& model_;
  const UnicodeData& unicode_;
  const std::string& source_;
  std::map<std::pair<std::uint8_t, std::uint32_t>, char32_t> decoding_;  // by length, bytes
  std::map<char32_t, Mapping> encoding_;
};

}  // namespace

CharsetModel MakeTableCharset(const CharsetDefinition& definition,
                              const std::vector<Mapping>& mappings, const UnicodeData& unicode,
                              const std::string& source_name) {
  CharsetModel model;
  model.definition = definition;
  const bool single = definition.kind == "single";
  model.flags = layout::kDisplayFlag | (single ? 0 : layout::kMultibyteFlag);
  model.handle_flags = single ? KES_CHARSET_SINGLE : 0;
  if (definition.kind == "gb18030") model.handle_flags = KES_CHARSET_GB18030;
  if (definition.kind == "mixed") {
    model.flags = layout::kMultibyteFlag;
    model.handle_flags = KES_CHARSET_STATEFUL;
    model.class_byte = layout::kStatefulClass;
    model.shifted_width = 2;
    model.shift_out = kShiftOut;
    model.shift_in = kShiftIn;
  }
  TableMaker(model, mappings, unicode, source_name).Make();
  return model;
}

}  // namespace kestra::nlsc
