#include "tests/support/charset_builder.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "kestra/charset.h"
#include "nls/nlb_format.h"

namespace kestra::test {
namespace {

namespace cs = nls::nlb::charset;

class Writer {
 public:
  Writer() : bytes_(cs::kBase, 0) {}
  template <typename T>
  void Put(std::size_t at, T value) {
    std::memcpy(bytes_.data() + at, &value, sizeof value);
  }
  void AddTable(cs::Table table, const std::vector<std::uint8_t>& content) {
    // Tables are added in the order of their numbers; those left out are empty.
    while (next_ <= table) StartTable();
    bytes_.insert(bytes_.end(), content.begin(), content.end());
    while (bytes_.size() % 4 != 0) bytes_.push_back(0);
  }
  CharsetObject Finish() {
    while (next_ < cs::kOffsetCount) StartTable();
    const auto end = static_cast<std::uint32_t>(bytes_.size() - cs::kBase);
    Put(cs::kEndOffsetAt, end);
    Put(nls::nlb::kVersionAt, nls::nlb::kVersion);
    Put(nls::nlb::kSizeAt, static_cast<std::uint32_t>(bytes_.size()));
    Put(nls::nlb::kVariablePartAt, end);
    Put(nls::nlb::kTypeAt, std::uint16_t{2});
    Put(nls::nlb::kMagicAt, nls::nlb::kMagic);
    std::vector<std::uint64_t> words((bytes_.size() + 7) / 8);
    std::memcpy(words.data(), bytes_.data(), bytes_.size());
    return CharsetObject(std::move(words));
  }

 private:
  void StartTable() {
    Put(cs::kOffsetsAt + 4 * next_++, static_cast<std::uint32_t>(bytes_.size() - cs::kBase));
  }
  std::vector<std::uint8_t> bytes_;
  std::size_t next_ = 0;
};

template <typename T>
void Append(std::vector<std::uint8_t>& to, T value) {
  std::uint8_t raw[sizeof value];
  std::memcpy(raw, &value, sizeof value);
  to.insert(to.end(), raw, raw + sizeof value);
}

std::uint16_t ClassOf(std::uint32_t cp) {
  if (cp >= '0' && cp <= '9') return KES_CLASS_DIGIT | KES_CLASS_HEX_DIGIT;
  if ((cp >= 'A' && cp <= 'Z') || (cp >= 0xC0 && cp <= 0xDE) || (cp >= 0x410 && cp < 0x430)) {
    return KES_CLASS_ALPHABETIC | KES_CLASS_UPPER;
  }
  if ((cp >= 'a' && cp <= 'z') || (cp >= 0xDF && cp <= 0xFF) || (cp >= 0x430 && cp < 0x450)) {
    return KES_CLASS_ALPHABETIC | KES_CLASS_LOWER;
  }
  if (cp < 0x20) return KES_CLASS_CONTROL;
  if (cp == ' ') return KES_CLASS_SPACE | KES_CLASS_BLANK;
  if (cp >= 0x3000) return KES_CLASS_ALPHABETIC;
  return KES_CLASS_PUNCTUATION;
}

// One node for each lead sequence: its trail bytes and what they lead to.
struct Row {
  std::map<std::uint8_t, std::uint32_t> cells;  // code point, or number of the row + 1
};

}  // namespace

CharsetObject MakeTableSet(std::uint16_t id, const std::vector<Mapping>& mappings,
                           const std::string& replacement) {
  std::size_t longest = 1;
  std::uint16_t single[256];
  std::uint16_t classes[256];
  std::fill(std::begin(single), std::end(single), cs::kNoCharacter);
  std::fill(std::begin(classes), std::end(classes), std::uint16_t{0});
  std::uint16_t lead[256] = {};
  std::vector<Row> rows;
  std::map<std::string, std::uint32_t> row_of;
  std::map<std::uint32_t, std::uint32_t> encode;
  bool nul = false;
  bool ascii = true;
  for (const Mapping& m : mappings) {
    longest = std::max(longest, m.bytes.size());
    const auto first = static_cast<std::uint8_t>(m.bytes[0]);
    classes[first] = static_cast<std::uint16_t>((m.bytes.size() - 1) |
                                                (m.bytes.size() == 1 ? ClassOf(m.code_point) : 0));
    if (m.bytes.size() == 1) {
      if (first < 0x80 && m.code_point != first) ascii = false;
      if (m.decodes) single[first] = static_cast<std::uint16_t>(m.code_point);
    } else if (m.decodes) {
      std::uint32_t row = 0;
      for (std::size_t i = 1; i < m.bytes.size(); ++i) {
        const auto [it, added] = row_of.try_emplace(m.bytes.substr(0, i), rows.size());
        if (added) rows.emplace_back();
        if (i > 1) rows[row].cells[static_cast<std::uint8_t>(m.bytes[i - 1])] = it->second + 1;
        if (i == 1) lead[first] = static_cast<std::uint16_t>(it->second + 1);
        row = it->second;
      }
      rows[row].cells[static_cast<std::uint8_t>(m.bytes.back())] = m.code_point;
    }
    if (m.encodes) {
      std::uint32_t number = 0;
      for (const char byte : m.bytes) number = number << 8 | static_cast<std::uint8_t>(byte);
      encode[m.code_point] = number;
      nul |= m.code_point == 0 && number == 0;
    }
  }
  for (std::uint32_t b = 0; b < 0x80; ++b) ascii &= single[b] == b;

  Writer w;
  w.Put(cs::kIdAt, id);
  w.Put(cs::kBasisAt, static_cast<std::uint16_t>(ascii ? cs::kAscii : cs::kOther));
  w.Put(cs::kFlagsAt, cs::kDisplayFlag | (longest > 1 ? cs::kMultibyteFlag : 0u));
  w.Put(cs::kHandleFlagsAt, longest > 1 ? 0u : std::uint32_t{KES_CHARSET_SINGLE});
  w.Put(cs::kMaxBytesAt, static_cast<std::uint8_t>(longest));
  w.Put(cs::kMinBytesAt, std::uint8_t{1});
  w.Put(cs::kReplacementLengthAt, static_cast<std::uint8_t>(replacement.size()));
  for (std::size_t i = 0; i < replacement.size(); ++i) {
    w.Put(cs::kReplacementAt + i, replacement[i]);
  }
  w.Put(cs::kTraitsAt,
        static_cast<std::uint8_t>((ascii ? cs::kAsciiTrait : 0) | (nul ? cs::kNulTrait : 0)));
  for (std::size_t b = 0; b < 256; ++b) {
    w.Put(cs::kClassTableAt + 2 * b, classes[b]);
    w.Put(cs::kSingleAt + 2 * b, single[b]);
  }
  std::vector<std::uint8_t> table;
  const std::size_t decode_width = longest == 1 ? 0 : 4;
  const std::size_t encode_width = longest > 2 ? 4 : longest;
  w.Put(cs::kWidthsAt, static_cast<std::uint8_t>(decode_width | encode_width << 4));
  if (longest == 1) {
    for (const std::uint16_t cp : single) {
      std::uint8_t utf8[4] = {};
      if (cp != cs::kNoCharacter) {
        std::uint8_t n = 0;
        if (cp < 0x80) {
          utf8[n++] = static_cast<std::uint8_t>(cp);
        } else if (cp < 0x800) {
          utf8[n++] = static_cast<std::uint8_t>(0xC0 | cp >> 6);
          utf8[n++] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
        } else {
          utf8[n++] = static_cast<std::uint8_t>(0xE0 | cp >> 12);
          utf8[n++] = static_cast<std::uint8_t>(0x80 | (cp >> 6 & 0x3F));
          utf8[n++] = static_cast<std::uint8_t>(0x80 | (cp & 0x3F));
        }
        utf8[3] = n;
      }
      table.insert(table.end(), utf8, utf8 + 4);
    }
    w.AddTable(cs::kUtf8Table, table);
  } else {
    for (const std::uint16_t row : lead) Append(table, row);
    w.AddTable(cs::kLeadTable, table);
    std::vector<std::uint8_t> row_table, cells, cell_classes;
    std::vector<std::uint16_t> words;
    for (const Row& row : rows) {
      const std::uint8_t low = row.cells.begin()->first;
      const std::uint8_t high = row.cells.rbegin()->first;
      row_table.insert(row_table.end(), {low, high, 0, 0});
      Append(row_table, static_cast<std::uint32_t>(cells.size() / 4));
      for (int trail = low; trail <= high; ++trail) {
        const auto it = row.cells.find(static_cast<std::uint8_t>(trail));
        const std::uint32_t value = it == row.cells.end() ? 0 : it->second;
        Append(cells, value);
        const std::uint16_t word = ClassOf(value);
        const auto place = std::find(words.begin(), words.end(), word);
        cell_classes.push_back(static_cast<std::uint8_t>(place - words.begin()));
        if (place == words.end()) words.push_back(word);
      }
    }
    w.Put(cs::kDecodeCellsAt, static_cast<std::uint32_t>(cells.size() / 4));
    w.Put(cs::kRowsAt, static_cast<std::uint32_t>(rows.size()));
    w.AddTable(cs::kRowTable, row_table);
    w.AddTable(cs::kDecodeTable, cells);
    w.Put(cs::kClassKindAt, static_cast<std::uint8_t>(cs::kByCell));
    w.AddTable(cs::kClassTable, cell_classes);
    words.resize(cs::kClassWords);
    table.clear();
    for (const std::uint16_t word : words) Append(table, word);
    w.AddTable(cs::kClassWordTable, table);
  }
  // Encode blocks; block 0 is the empty one.
  const std::uint32_t highest = encode.empty() ? 0 : encode.rbegin()->first;
  std::vector<std::uint16_t> index(highest / cs::kBlockSize + 1, 0);
  std::vector<std::uint32_t> blocks(cs::kBlockSize, 0);
  for (const auto& [cp, number] : encode) {
    std::uint16_t& slot = index[cp / cs::kBlockSize];
    if (slot == 0) {
      slot = static_cast<std::uint16_t>(blocks.size() / cs::kBlockSize);
      blocks.resize(blocks.size() + cs::kBlockSize, 0);
    }
    blocks[slot * cs::kBlockSize + cp % cs::kBlockSize] = number;
  }
  w.Put(cs::kEncodeIndexAt, static_cast<std::uint32_t>(index.size()));
  w.Put(cs::kEncodeBlocksAt, static_cast<std::uint32_t>(blocks.size() / cs::kBlockSize));
  table.clear();
  for (const std::uint16_t slot : index) Append(table, slot);
  w.AddTable(cs::kEncodeIndex, table);
  table.clear();
  for (const std::uint32_t cell : blocks) {
    for (std::size_t i = 0; i < encode_width; ++i) {
      table.push_back(static_cast<std::uint8_t>(cell >> (8 * i)));
    }
  }
  w.AddTable(cs::kEncodeTable, table);
  return w.Finish();
}

CharsetObject MakeUnicodeSet(std::uint16_t id) {
  Writer w;
  w.Put(cs::kIdAt, id);
  const bool ascii = id == 871 || id == 873;
  w.Put(cs::kTraitsAt, static_cast<std::uint8_t>((ascii ? cs::kAsciiTrait : 0) | cs::kNulTrait));
  w.Put(cs::kFlagsAt, id == 871 || id == 872 ? cs::kAlgorithmicFlag : 0u);
  return w.Finish();
}

std::vector<Mapping> AsciiMappings() {
  std::vector<Mapping> mappings;
  for (std::uint32_t b = 0; b < 0x80; ++b) {
    mappings.push_back({std::string(1, static_cast<char>(b)), b});
  }
  return mappings;
}

std::vector<Mapping> LatinMappings() {
  std::vector<Mapping> mappings = AsciiMappings();
  for (std::uint32_t b = 0xA0; b < 0x100; ++b) {
    mappings.push_back({std::string(1, static_cast<char>(b)), b});
  }
  mappings.push_back({"\x80", 0x20AC});
  return mappings;
}

std::vector<Mapping> EbcdicMappings() {
  std::vector<Mapping> mappings;
  const auto run = [&mappings](std::uint32_t byte, std::uint32_t from, std::uint32_t to) {
    for (std::uint32_t cp = from; cp <= to; ++cp, ++byte) {
      mappings.push_back({std::string(1, static_cast<char>(byte)), cp});
    }
  };
  run(0x00, 0, 3);
  run(0x40, ' ', ' ');
  run(0x6F, '?', '?');
  run(0x81, 'a', 'i');
  run(0x91, 'j', 'r');
  run(0xA2, 's', 'z');
  run(0xC1, 'A', 'I');
  run(0xD1, 'J', 'R');
  run(0xE2, 'S', 'Z');
  run(0xF0, '0', '9');
  run(0xB1, 0x20AC, 0x20AC);
  return mappings;
}

std::vector<Mapping> DoubleMappings() {
  std::vector<Mapping> mappings = AsciiMappings();
  // Two bytes, trails 40..7E and 80..FC: ideographs, Cyrillic, one supplementary character.
  std::uint32_t cp = 0x4E00;
  for (int lead = 0x88; lead < 0x90; ++lead) {
    for (int trail = 0x40; trail <= 0xFC; ++trail) {
      if (trail == 0x7F || trail % 16 == 0) continue;
      mappings.push_back({{static_cast<char>(lead), static_cast<char>(trail)}, cp++});
    }
  }
  for (int i = 0; i < 64; ++i) {
    mappings.push_back({{'\xA7', static_cast<char>(0xA1 + i)}, 0x410u + static_cast<unsigned>(i)});
  }
  mappings.push_back({"\xA8\xA1", 0x20000});
  mappings.push_back({"\xA8\xA2", 0x4E00, true, false});  // decodes only
  // Three bytes.
  for (int i = 0; i < 16; ++i) {
    mappings.push_back(
        {{'\x8F', '\xA1', static_cast<char>(0xB0 + i)}, 0xAC00u + static_cast<unsigned>(i)});
  }
  std::erase_if(mappings, [](const Mapping& m) {  // 8F begins three bytes only
    return m.bytes[0] == '\x8F' && m.bytes.size() == 2;
  });
  mappings.push_back({"\xB1", 0xFF71});  // a single byte above 80
  return mappings;
}

std::vector<Mapping> PairMappings() {
  std::vector<Mapping> mappings = DoubleMappings();
  std::erase_if(mappings,
                [](const Mapping& m) { return m.bytes.size() > 2 || m.code_point > 0xFFFF; });
  return mappings;
}

const CharsetObject& UsAscii() {
  static const CharsetObject set = MakeTableSet(1, AsciiMappings(), "?");
  return set;
}
const CharsetObject& Latin() {
  static const CharsetObject set = MakeTableSet(100, LatinMappings(), "?");
  return set;
}
const CharsetObject& Ebcdic() {
  static const CharsetObject set = MakeTableSet(500, EbcdicMappings(), "\x6F");
  return set;
}
const CharsetObject& Double() {
  static const CharsetObject set = MakeTableSet(830, DoubleMappings(), "?");
  return set;
}
const CharsetObject& Pairs() {
  static const CharsetObject set = MakeTableSet(850, PairMappings(), "?");
  return set;
}
const CharsetObject& Unicode(std::uint16_t id) {
  static std::map<std::uint16_t, CharsetObject> sets;
  const auto it = sets.find(id);
  return it != sets.end() ? it->second : sets.emplace(id, MakeUnicodeSet(id)).first->second;
}

}  // namespace kestra::test
