#include "charset_reader.h"

#include <fmt/format.h>

#include "kestra/handle.h"
#include "nls/gb18030.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {

namespace gb = kestra::nls::gb18030;
namespace layout = kestra::nls::nlb::charset;

namespace {

std::uint32_t NumberAt(const BytesReader& table, std::size_t index, unsigned width) {
  switch (width) {
    case 1:
      return table.U8(index);
    case 2:
      return table.U16(2 * index);
    case 4:
      return table.U32(4 * index);
    default:
      throw BadObject(fmt::format("cells of {} bytes", width));
  }
}

std::uint8_t ByteAt(const CharacterBytes& bytes, unsigned position) {
  return static_cast<std::uint8_t>(bytes.bytes >> (8 * (bytes.length - 1 - position)));
}

// Whether four bytes have the form of a four-byte character of GB18030.
bool IsFourByteForm(std::uint32_t bytes) {
  const auto within = [](std::uint32_t byte, std::uint32_t first, std::uint32_t last) {
    return byte >= first && byte <= last;
  };
  return within(bytes >> 24, 0x81, 0xFE) && within(bytes >> 16 & 0xFF, 0x30, 0x39) &&
         within(bytes >> 8 & 0xFF, 0x81, 0xFE) && within(bytes & 0xFF, 0x30, 0x39);
}

unsigned BytesNeeded(std::uint32_t number) {
  return number > 0xFFFFFF ? 4 : number > 0xFFFF ? 3 : number > 0xFF ? 2 : 1;
}

}  // namespace

std::string FormatBytes(const CharacterBytes& bytes) {
  return fmt::format("{:0{}X}", bytes.bytes, 2 * bytes.length);
}

CharsetReader::CharsetReader(const ObjectReader& object)
    : object_(object),
      decode_width_(object.U8(layout::kWidthsAt) & 15u),
      encode_width_(object.U8(layout::kWidthsAt) >> 4u),
      stateful_(object.U8(layout::kClassByteAt) == layout::kStatefulClass),
      gb18030_((object.U32(layout::kHandleFlagsAt) & KES_CHARSET_GB18030) != 0),
      leads_(object.Table(layout::kLeadTable)),
      rows_(object.Table(layout::kRowTable)),
      cells_(object.Table(layout::kDecodeTable)),
      encode_index_(object.Table(layout::kEncodeIndex)),
      encode_(object.Table(layout::kEncodeTable)),
      linear_(object.Table(layout::kLinearTable)) {}

unsigned CharsetReader::Length(std::uint8_t first) const {
  return (object_.U16(layout::kClassTableAt + 2 * std::size_t{first}) & 3u) + 1;
}

std::uint32_t CharsetReader::Cell(std::uint32_t index) const {
  if (index >= object_.U32(layout::kDecodeCellsAt)) {
    throw BadObject(
        fmt::format("decode cell {} of {}", index, object_.U32(layout::kDecodeCellsAt)));
  }
  return NumberAt(cells_, index, decode_width_);
}

std::optional<std::uint32_t> CharsetReader::CellIndex(std::uint32_t row_number,
                                                      std::uint8_t byte) const {
  if (row_number == 0) return std::nullopt;
  const std::size_t row = (std::size_t{row_number} - 1) * layout::kRowSize;
  const std::uint8_t first = rows_.U8(row), last = rows_.U8(row + 1);
  if (byte < first || byte > last) return std::nullopt;
  return rows_.U32(row + 4) + (byte - first);
}

std::optional<std::uint32_t> CharsetReader::LastCell(const CharacterBytes& bytes) const {
  if (bytes.length < 2 || leads_.size() == 0) return std::nullopt;
  std::uint32_t row = leads_.U16(2 * std::size_t{ByteAt(bytes, 0)});
  for (unsigned position = 1;; ++position) {
    const std::optional<std::uint32_t> cell = CellIndex(row, ByteAt(bytes, position));
    if (!cell || position + 1 == bytes.length) return cell;
    row = Cell(*cell);
  }
}

std::optional<char32_t> CharsetReader::Decode(const CharacterBytes& bytes) const {
  if (gb18030_ && bytes.length == 4) {
    if (!IsFourByteForm(bytes.bytes)) return std::nullopt;
    const std::uint32_t place = gb::Place(bytes.bytes);
    if (place >= gb::kSupplementary && gb::CodePoint(place) <= 0x10FFFF) {
      return gb::CodePoint(place);
    }
    const std::uint32_t code = place < gb::kBasicPlaces ? linear_.U16(2 * std::size_t{place}) : 0;
    return code == 0 ? std::nullopt : std::optional<char32_t>(code);
  }
  if (!stateful_ && bytes.length != Length(ByteAt(bytes, 0))) return std::nullopt;
  if (bytes.length == 1) {
    const std::uint16_t code = object_.U16(layout::kSingleAt + 2 * std::size_t{bytes.bytes});
    return code == layout::kNoCharacter ? std::nullopt : std::optional<char32_t>(code);
  }
  const std::optional<std::uint32_t> cell = LastCell(bytes);
  const std::uint32_t code = cell ? Cell(*cell) : 0;
  return code == 0 ? std::nullopt : std::optional<char32_t>(code);
}

std::optional<CharacterBytes> CharsetReader::Encode(char32_t code) const {
  const std::size_t slot = code >> layout::kBlockShift;
  std::uint32_t number = 0;
  if (slot < object_.U32(layout::kEncodeIndexAt)) {
    const std::uint32_t block = encode_index_.U16(2 * slot);
    number =
        NumberAt(encode_, block * layout::kBlockSize + code % layout::kBlockSize, encode_width_);
  }
  if (number != 0) return CharacterBytes{number, BytesNeeded(number)};
  if (gb18030_ && code >= gb::kFirstSupplementary && code <= 0x10FFFF) {
    const std::uint32_t place = gb::kSupplementary + (code - gb::kFirstSupplementary);
    return CharacterBytes{__builtin_bswap32(gb::Bytes(place)), 4};
  }
  const bool zero_byte = object_.U16(layout::kSingleAt) == code && code != layout::kNoCharacter;
  return zero_byte ? std::optional(CharacterBytes{0, 1}) : std::nullopt;
}

std::uint16_t CharsetReader::ClassWord(const CharacterBytes& bytes) const {
  if (bytes.length == 1) {
    return object_.U16(layout::kClassTableAt + 2 * std::size_t{bytes.bytes}) & 0xFFFCu;
  }
  const BytesReader classes = object_.Table(layout::kClassTable);
  const BytesReader words = object_.Table(layout::kClassWordTable);
  std::uint8_t word = 0;
  if (object_.U8(layout::kClassKindAt) == layout::kByCell) {
    const std::optional<std::uint32_t> cell = LastCell(bytes);
    if (cell) word = classes.U8(*cell);
  } else if (const std::optional<char32_t> code = Decode(bytes)) {
    const std::size_t block = classes.U16(2 * std::size_t{*code / layout::kClassBlockSize});
    word = classes.U8(2 * layout::kClassIndexSize + block * layout::kClassBlockSize +
                      *code % layout::kClassBlockSize);
  }
  return words.U16(2 * std::size_t{word});
}

void CharsetReader::ForEachDecoding(const Visit& visit) const {
  std::size_t cells_left = object_.U32(layout::kDecodeCellsAt);
  for (unsigned first = 0; first < 256; ++first) {
    const CharacterBytes prefix{first, 1};
    if (const auto code = Decode(prefix)) visit(prefix, *code);
    const std::uint32_t row = leads_.size() == 0 ? 0 : leads_.U16(2 * std::size_t{first});
    const unsigned length =
        stateful_ ? object_.U8(layout::kShiftedWidthAt) : Length(static_cast<std::uint8_t>(first));
    if (row == 0) continue;
    if (length < 2 || length > 4) throw BadObject("a row of a character without trail bytes");
    VisitRow(row, prefix, length - 1, cells_left, visit);
  }
  if (gb18030_) VisitLinear(visit);
}

void CharsetReader::VisitLinear(const Visit& visit) const {
  for (std::uint32_t place = 0; place < linear_.size() / 2 && place < gb::kBasicPlaces; ++place) {
    const char32_t code = linear_.U16(2 * std::size_t{place});
    if (code != 0) visit({__builtin_bswap32(gb::Bytes(place)), 4}, code);
  }
}

void CharsetReader::VisitRow(std::uint32_t row_number, CharacterBytes prefix, unsigned following,
                             std::size_t& cells_left, const Visit& visit) const {
  const std::size_t row = (std::size_t{row_number} - 1) * layout::kRowSize;
  const unsigned first = rows_.U8(row), last = rows_.U8(row + 1);
  if (first > last) throw BadObject(fmt::format("row {} ends before it begins", row_number - 1));
  if (last - first >= cells_left) throw BadObject("rows that share cells");
  cells_left -= last - first + 1;
  for (unsigned byte = first; byte <= last; ++byte) {
    const std::uint32_t value = Cell(rows_.U32(row + 4) + byte - first);
    const CharacterBytes bytes{prefix.bytes << 8 | byte, prefix.length + 1};
    if (value == 0) continue;
    if (following == 1) {
      visit(bytes, value);
    } else {
      VisitRow(value, bytes, following - 1, cells_left, visit);
    }
  }
}

void CharsetReader::ForEachEncoding(const Visit& visit) const {
  const std::size_t codes = std::size_t{object_.U32(layout::kEncodeIndexAt)} * layout::kBlockSize;
  for (std::size_t code = 0; code < codes; ++code) {
    const auto point = static_cast<char32_t>(code);
    if (const auto bytes = Encode(point)) visit(*bytes, point);
  }
}

}  // namespace kestra::nlsc
