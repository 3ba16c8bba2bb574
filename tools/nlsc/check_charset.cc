// Laws of a character set: what is encoded decodes to the same, lengths agree with the rows,
// classes and case maps stay inside the set.
#include <fmt/format.h>

#include <algorithm>

#include "charset_reader.h"
#include "check.h"
#include "kestra/handle.h"
#include "nls/gb18030.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace gb18030 = kestra::nls::gb18030;
namespace layout = kestra::nls::nlb::charset;

constexpr std::size_t kMaxFaults = 20;  // of one kind of law

bool IsCharacter(char32_t code) { return code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF); }

class CharsetCheck {
 public:
  CharsetCheck(const ObjectReader& object, Faults& faults)
      : object_(object), reader_(object), faults_(faults) {}

  void Run() {
    CheckFields();
    CheckSizes();
    CheckOneByte();
    if (reader_.gb18030()) CheckGb18030Rows();
    if (reader_.has_tables()) {
      CheckDecoding();
      CheckEncoding();
    }
    CheckClasses();
    CheckReplacement();
  }

 private:
  template <typename... Args>
  void Fault(fmt::format_string<Args...> format, Args&&... args) {
    if (++count_ <= kMaxFaults) faults_.push_back(fmt::format(format, std::forward<Args>(args)...));
  }

  void CheckFields() {
    if (object_.U16(layout::kBasisAt) > layout::kIso646) Fault("unknown basis");
    const unsigned longest = object_.U8(layout::kMaxBytesAt);
    if (longest < 1 || longest > 4) Fault("longest character of {} bytes", longest);
    const unsigned decode = object_.U8(layout::kWidthsAt) & 15u;
    const unsigned encode = object_.U8(layout::kWidthsAt) >> 4u;
    if (decode != 0 && decode != 2 && decode != 4) Fault("decode cells of {} bytes", decode);
    if (encode > 2 && encode != 4) Fault("encode cells of {} bytes", encode);
    if (object_.U8(layout::kClassByteAt) > layout::kStatefulClass) Fault("unknown class byte");
    if (object_.U8(layout::kClassKindAt) > layout::kByCodePoint) Fault("unknown kind of classes");
    single_ = (object_.U32(layout::kHandleFlagsAt) & KES_CHARSET_SINGLE) != 0;
    if (single_ != (longest == 1)) Fault("the single-byte flag and the longest character differ");
    const bool multibyte = (object_.U32(layout::kFlagsAt) & layout::kMultibyteFlag) != 0;
    if (multibyte != (decode != 0)) Fault("the multibyte flag and the decode table differ");
  }

  // Counts against the sizes of the tables, which are padded to a multiple of 4 bytes.
  void CheckSizes() {
    const auto check = [&](layout::Table table, std::size_t count, std::size_t width) {
      const std::size_t size = (count * width + 3) / 4 * 4;
      if (object_.Table(table).size() != size) {
        Fault("table {} has {} bytes, its counts say {}", static_cast<unsigned>(table),
              object_.Table(table).size(), size);
      }
    };
    check(layout::kUtf8Table, single_ ? 256 : 0, 4);
    check(layout::kLeadTable, object_.U32(layout::kRowsAt) != 0 ? 256 : 0, 2);
    check(layout::kRowTable, object_.U32(layout::kRowsAt), layout::kRowSize);
    check(layout::kDecodeTable, object_.U32(layout::kDecodeCellsAt),
          object_.U8(layout::kWidthsAt) & 15u);
    check(layout::kLinearTable, reader_.gb18030() ? gb18030::kBasicPlaces : 0, 2);
    check(layout::kEncodeIndex, object_.U32(layout::kEncodeIndexAt), 2);
    check(layout::kEncodeTable, object_.U32(layout::kEncodeBlocksAt) * layout::kBlockSize,
          object_.U8(layout::kWidthsAt) >> 4u);
    if (object_.U32(layout::kEncodeIndexAt) > 0x110000 >> layout::kBlockShift) {
      Fault("the encode index reaches beyond U+10FFFF");
    }
  }

  // Rows for the first bytes 81..FE, all of them alike, one after the other.
  void CheckGb18030Rows() {
    const BytesReader leads = object_.Table(layout::kLeadTable);
    const BytesReader rows = object_.Table(layout::kRowTable);
    for (std::uint32_t first = 0x81; first <= 0xFE; ++first) {
      const std::uint32_t row = first - 0x81;
      const std::size_t at = row * layout::kRowSize;
      if (leads.U16(2 * first) != row + 1 || rows.U8(at) != layout::kGb18030FirstTrail ||
          rows.U8(at + 1) != 0xFE || rows.U32(at + 4) != row * layout::kGb18030Row) {
        return Fault("the row of {:02X} is not in its place", first);
      }
    }
  }

  void CheckOneByte() {
    bool ascii = true;
    for (unsigned byte = 0; byte < 256; ++byte) {
      const std::uint16_t code = object_.U16(layout::kSingleAt + 2 * std::size_t{byte});
      const bool character = code != layout::kNoCharacter;
      if (byte < 128) ascii = ascii && code == byte;
      if (character && !IsCharacter(code)) Fault("byte {:02X} is U+{:04X}", byte, code);
      if (single_) CheckUtf8(byte, character ? std::optional<char32_t>(code) : std::nullopt);
      if (object_.U8(layout::kMinBytesAt) != 1) continue;
      const unsigned length = reader_.Length(static_cast<std::uint8_t>(byte));
      if (length > object_.U8(layout::kMaxBytesAt) || (character && length != 1)) {
        Fault("byte {:02X} begins a character of {} bytes", byte, length);
      }
      for (const std::size_t map : {layout::kUpperAt, layout::kLowerAt}) {
        const std::size_t target = object_.U8(map + byte);
        const bool valid = object_.U16(layout::kSingleAt + 2 * target) != layout::kNoCharacter;
        if (target != byte && !(character && valid)) {
          Fault("byte {:02X} has a case form {:02X} that is no character", byte, target);
        }
      }
    }
    const std::uint8_t traits = object_.U8(layout::kTraitsAt);
    if (ascii != ((traits & layout::kAsciiTrait) != 0)) Fault("the ASCII trait is wrong");
    const bool nul = object_.U16(layout::kSingleAt) == 0;
    if (nul != ((traits & layout::kNulTrait) != 0)) Fault("the NUL trait is wrong");
  }

  void CheckUtf8(unsigned byte, std::optional<char32_t> code) {
    const auto cell = object_.Table(layout::kUtf8Table).Slice(4 * std::size_t{byte}, 4);
    const unsigned length = cell[3];
    char32_t value = 0;
    if (length == 1) value = cell[0];
    if (length == 2) value = (cell[0] & 0x1Fu) << 6 | (cell[1] & 0x3Fu);
    if (length == 3) value = (cell[0] & 0x0Fu) << 12 | (cell[1] & 0x3Fu) << 6 | (cell[2] & 0x3Fu);
    const std::string text(cell.begin(), cell.begin() + std::min(length, 3u));
    if (length > 3 || code.has_value() != (length != 0) || (code && *code != value) ||
        !IsUtf8(text)) {
      Fault("byte {:02X} has the wrong UTF-8 bytes", byte);
    }
  }

  void CheckDecoding() {
    std::uint32_t mappings = 0;
    reader_.ForEachDecoding([&](const CharacterBytes& bytes, char32_t code) {
      ++mappings;
      if (!IsCharacter(code)) {
        Fault("{} decodes to {:X}", FormatBytes(bytes), static_cast<std::uint32_t>(code));
      } else if (!reader_.Encode(code)) {
        Fault("{} decodes to U+{:04X}, which has no bytes", FormatBytes(bytes),
              static_cast<std::uint32_t>(code));
      }
    });
    // The header of GB18030 counts assigned characters, also those that are not stored.
    if (!reader_.gb18030() && mappings != object_.U32(layout::kMappingsAt)) {
      Fault("{} byte sequences decode, the header says {}", mappings,
            object_.U32(layout::kMappingsAt));
    }
  }

  void CheckEncoding() {
    reader_.ForEachEncoding([&](const CharacterBytes& bytes, char32_t code) {
      const std::optional<char32_t> back = reader_.Decode(bytes);
      if (back != code) {
        Fault("U+{:04X} is encoded as {}, which decodes to {}", static_cast<std::uint32_t>(code),
              FormatBytes(bytes),
              back ? fmt::format("U+{:04X}", static_cast<std::uint32_t>(*back)) : "nothing");
      }
    });
  }

  void CheckClasses() {
    const unsigned kind = object_.U8(layout::kClassKindAt);
    if (kind == layout::kNoClasses) return;
    const BytesReader words = object_.Table(layout::kClassWordTable);
    for (std::size_t i = 0; i < layout::kClassWords; ++i) {
      if ((words.U16(2 * i) & 3u) != 0) Fault("class word {} has length bits", i);
    }
    const BytesReader classes = object_.Table(layout::kClassTable);
    std::size_t first = 0, count = object_.U32(layout::kDecodeCellsAt);
    if (kind == layout::kByCodePoint) {
      first = 2 * layout::kClassIndexSize;
      if (classes.size() < first) return Fault("the class index is cut off");
      count = classes.size() - first;
      const std::size_t blocks = count / layout::kClassBlockSize;
      for (std::size_t i = 0; i < layout::kClassIndexSize; ++i) {
        if (classes.U16(2 * i) >= blocks) Fault("class block {} of {}", classes.U16(2 * i), blocks);
      }
    }
    const auto cells = classes.Slice(first, count);
    if (std::any_of(cells.begin(), cells.end(),
                    [](std::uint8_t word) { return word >= layout::kClassWords; })) {
      Fault("a class beyond the class words");
    }
  }

  void CheckReplacement() {
    const unsigned length = object_.U8(layout::kReplacementLengthAt);
    if (length < 1 || length > 4) return Fault("a replacement of {} bytes", length);
    CharacterBytes bytes;
    for (unsigned i = 0; i < length; ++i) {
      bytes.bytes = bytes.bytes << 8 | object_.U8(layout::kReplacementAt + i);
      ++bytes.length;
    }
    if (reader_.has_tables() && !reader_.Decode(bytes)) {
      Fault("the replacement {} is no character", FormatBytes(bytes));
    }
  }

  const ObjectReader& object_;
  CharsetReader reader_;
  Faults& faults_;
  std::size_t count_ = 0;
  bool single_ = false;
};

}  // namespace

void CheckCharset(const ObjectReader& object, Faults& faults) {
  CharsetCheck(object, faults).Run();
}

}  // namespace kestra::nlsc
