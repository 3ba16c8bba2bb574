#include "nls/nlb_check.h"

#include <string.h>

#include "kestra/handle.h"
#include "nls/nlb_tables.h"

namespace kestra::nls {
namespace {

constexpr std::uint32_t kMaxCodePoint = 0x10FFFF;
// Comparison and key functions that a sort object can name: none yet but the empty entry 0.
constexpr std::uint32_t kSortFunctionCount = 1;

Fault CheckOffsets(std::span<const std::uint8_t> object, const OffsetTable& table) noexcept {
  if (object.size() < table.base) return "shorter than the fixed part of its type";
  std::uint32_t previous = 0;
  for (std::size_t i = 0; i <= table.count; ++i) {
    const std::uint32_t offset = table.offset(object.data(), i);
    if (offset < previous) return "table offsets out of order";
    previous = offset;
  }
  if (previous > object.size() - table.base) return "tables end beyond the object";
  return nullptr;
}

Fault CheckCharsetTables(const std::uint8_t* object) noexcept {
  using namespace nlb::charset;
  const auto holds = [object](Table table, std::uint64_t count, std::size_t width) {
    return kCharsetOffsets.size(object, table) >= count * width;
  };
  const std::size_t decode_width = object[kWidthsAt] & 15u;
  const std::size_t encode_width = object[kWidthsAt] >> 4;
  if (decode_width != 0 && decode_width != 2 && decode_width != 4) return "width of decode cells";
  if (encode_width > 2 && encode_width != 4) return "width of encode cells";
  if (!holds(kRowTable, Load32(object, kRowsAt), kRowSize)) return "row table too small";
  const std::uint32_t cells = Load32(object, kDecodeCellsAt);
  if (cells != 0 && decode_width == 0) return "decode cells without a width";
  if (!holds(kDecodeTable, cells, decode_width)) return "decode table too small";
  const std::uint32_t blocks = Load32(object, kEncodeBlocksAt);
  if (blocks != 0 && encode_width == 0) return "encode blocks without a width";
  if (!holds(kEncodeTable, blocks, kBlockSize * encode_width)) return "encode table too small";
  if (Load32(object, kEncodeIndexAt) > (kMaxCodePoint >> kBlockShift) + 1) {
    return "encode index too large";
  }
  if (!holds(kEncodeIndex, Load32(object, kEncodeIndexAt), 2)) return "encode index too small";
  const std::uint8_t kind = object[kClassKindAt];
  if (kind > kByCodePoint) return "unknown kind of class table";
  if (kind != kNoClasses && !holds(kClassWordTable, kClassWords, 2)) return "too few class words";
  if (kind == kByCell && !holds(kClassTable, cells, 1)) return "class table too small";
  if (kind == kByCodePoint && !holds(kClassTable, kClassIndexSize, 2)) {
    return "class table too small";
  }
  if ((Load32(object, kFlagsAt) & kMultibyteFlag) != 0 && !holds(kLeadTable, 256, 2)) {
    return "lead table too small";
  }
  return nullptr;
}

Fault CheckCalendarTables(const std::uint8_t* object) noexcept {
  using namespace nlb::calendar;
  const std::uint64_t languages = Load16(object, kLanguagesAt);
  if (kCommonOffsets.size(object, kLanguageTable) < 2 * languages)
    return "language table too small";
  if (kCommonOffsets.size(object, kStringIndex) < 4 * kStringsPerLanguage * languages) {
    return "string index too small";
  }
  if (kCommonOffsets.size(object, kEraTable) < kEraSize * Load16(object, kErasAt)) {
    return "era table too small";
  }
  if (Load16(object, kNamedErasAt) > kMaxNamedEras) return "too many named eras";
  return nullptr;
}

// Follows the decode rows of a multibyte set. A row is reached with the number of bytes that follow
// the one it was chosen by: at 1 its cells are characters, above they choose the next row. Each row
// is visited once for each such number, so the work is bounded by cells times three.
class RowWalk {
 public:
  explicit RowWalk(const std::uint8_t* object) noexcept
      : rows_(object + nlb::charset::kBase +
              kCharsetOffsets.offset(object, nlb::charset::kRowTable)),
        cells_(object + nlb::charset::kBase +
               kCharsetOffsets.offset(object, nlb::charset::kDecodeTable)),
        row_count_(Load32(object, nlb::charset::kRowsAt)),
        cell_count_(Load32(object, nlb::charset::kDecodeCellsAt)),
        width_(object[nlb::charset::kWidthsAt] & 15u) {}

  // number is the row's number plus 1.
  Fault Visit(std::uint32_t number, unsigned following) noexcept {
    if (number > row_count_ || number > kMaxRows) return "row number out of range";
    std::uint8_t& seen = seen_[number - 1];
    if ((seen & (1u << following)) != 0) return nullptr;
    seen = static_cast<std::uint8_t>(seen | (1u << following));
    const std::uint8_t* row = rows_ + (number - 1) * nlb::charset::kRowSize;
    if (row[0] > row[1]) return "row with first byte above last byte";
    const std::uint32_t first_cell = Load32(row, 4);
    const std::uint32_t length = row[1] - row[0] + 1u;
    if (first_cell > cell_count_ || length > cell_count_ - first_cell)
      return "row beyond the cells";
    if (following == 1) return nullptr;
    for (std::uint32_t i = first_cell; i < first_cell + length; ++i) {
      const std::uint32_t next =
          width_ == 2 ? Load16(cells_, 2 * std::size_t{i}) : Load32(cells_, 4 * std::size_t{i});
      if (next == 0) continue;
      if (const Fault fault = Visit(next, following - 1)) return fault;
    }
    return nullptr;
  }

 private:
  static constexpr std::uint32_t kMaxRows = 8192;
  const std::uint8_t* rows_;
  const std::uint8_t* cells_;
  std::uint32_t row_count_;
  std::uint32_t cell_count_;
  std::size_t width_;
  std::uint8_t seen_[kMaxRows] = {};
};

Fault CheckRows(const std::uint8_t* object) noexcept {
  using namespace nlb::charset;
  if ((Load32(object, kFlagsAt) & kMultibyteFlag) == 0) return nullptr;
  const bool stateful = (Load32(object, kHandleFlagsAt) & KES_CHARSET_STATEFUL) != 0;
  const std::uint8_t* lead = object + kBase + kCharsetOffsets.offset(object, kLeadTable);
  RowWalk walk(object);
  for (std::size_t byte = 0; byte < 256; ++byte) {
    const std::uint32_t number = Load16(lead, 2 * byte);
    if (number == 0) continue;
    const unsigned following =
        stateful ? object[kShiftedWidthAt] - 1u : Load16(object, kClassTableAt + 2 * byte) & 3u;
    if (following == 0 || following > 3) return "lead byte of a one-byte character";
    if (const Fault fault = walk.Visit(number, following)) return fault;
  }
  return nullptr;
}

// Every byte is the number of a class word. Eight bytes at a time: the limit is a power of two.
bool AllAreClasses(std::span<const std::uint8_t> bytes) noexcept {
  static_assert(nlb::charset::kClassWords == 32);
  constexpr std::uint64_t kAbove = 0xE0E0E0E0E0E0E0E0;
  std::uint64_t seen = 0;
  std::size_t i = 0;
  for (; i + 8 <= bytes.size(); i += 8) seen |= LoadAt<std::uint64_t>(bytes.data(), i);
  for (; i < bytes.size(); ++i) seen |= bytes[i];
  return (seen & kAbove) == 0;
}

// Of 16-bit numbers.
bool AllNumbersBelow(const std::uint8_t* numbers, std::size_t count, std::uint32_t limit) noexcept {
  std::uint16_t highest = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint16_t number = Load16(numbers, 2 * i);
    highest = number > highest ? number : highest;
  }
  return count == 0 || highest < limit;
}

Fault CheckClasses(std::span<const std::uint8_t> table, const std::uint8_t* object) noexcept {
  using namespace nlb::charset;
  switch (object[kClassKindAt]) {
    case kByCell:
      return AllAreClasses(table.first(Load32(object, kDecodeCellsAt)))
                 ? nullptr
                 : "class beyond the class words";
    case kByCodePoint: {
      const auto blocks = table.subspan(2 * kClassIndexSize);
      const auto count = static_cast<std::uint32_t>(blocks.size() / kClassBlockSize);
      if (!AllNumbersBelow(table.data(), kClassIndexSize, count)) return "class block out of range";
      return AllAreClasses(blocks) ? nullptr : "class beyond the class words";
    }
    default:
      return nullptr;
  }
}

Fault CheckCharset(const std::uint8_t* object) noexcept {
  using namespace nlb::charset;
  const auto table = [object](Table index) {
    return std::span(object + kBase + kCharsetOffsets.offset(object, index),
                     kCharsetOffsets.size(object, index));
  };
  const unsigned longest = object[kMaxBytesAt];
  if (longest < 1 || longest > 8) return "longest character out of range";
  if (object[kReplacementLengthAt] < 1 || object[kReplacementLengthAt] > 4) {
    return "length of the replacement character";
  }
  if (object[kShiftedWidthAt] > 4) return "width of a shifted character";
  const bool computed = (Load32(object, kFlagsAt) & kAlgorithmicFlag) != 0;
  const bool single = (Load32(object, kHandleFlagsAt) & KES_CHARSET_SINGLE) != 0 || longest == 1;
  const auto utf8 = table(kUtf8Table);
  if (single && !computed && utf8.size() < 1024) return "table of UTF-8 bytes too small";
  for (std::size_t at = 3; utf8.size() >= 1024 && at < 1024; at += 4) {
    if (utf8[at] > 3) return "length of UTF-8 bytes";
  }
  if (const Fault fault = CheckRows(object)) return fault;
  const std::uint32_t cells = Load32(object, kDecodeCellsAt);
  if ((object[kWidthsAt] & 15u) == 4) {
    const std::uint8_t* first = table(kDecodeTable).data();
    std::uint32_t highest = 0;
    for (std::size_t i = 0; i < cells; ++i) {
      const std::uint32_t cell = Load32(first, 4 * i);
      highest = cell > highest ? cell : highest;
    }
    if (highest > kMaxCodePoint) return "code point out of range";
  }
  if (!AllNumbersBelow(table(kEncodeIndex).data(), Load32(object, kEncodeIndexAt),
                       Load32(object, kEncodeBlocksAt))) {
    return "encode block out of range";
  }
  return CheckClasses(table(kClassTable), object);
}

Fault CheckCalendar(const std::uint8_t* object) noexcept {
  using namespace nlb::calendar;
  const std::size_t languages = Load16(object, kLanguagesAt);
  if (languages == 0) return nullptr;
  const std::uint8_t* index =
      object + nlb::common::kBase + kCommonOffsets.offset(object, kStringIndex);
  const std::uint8_t* strings =
      object + nlb::common::kBase + kCommonOffsets.offset(object, kStrings);
  const std::size_t size = kCommonOffsets.size(object, kStrings);
  if (size == 0 || strings[size - 1] != 0) return "strings without an end";
  for (std::size_t i = 0; i < languages * kStringsPerLanguage; ++i) {
    if (Load32(index, 4 * i) >= size) return "string out of range";
  }
  return nullptr;
}

}  // namespace

Fault CheckObjectHeader(std::span<const std::uint8_t> header) noexcept {
  if (header.size() < nlb::kHeaderSize) return "shorter than an object's header";
  if (header[nlb::kMagicAt] != nlb::kMagic) return "not an object: wrong magic";
  if (Load32(header.data(), nlb::kVersionAt) < nlb::kMinVersion) return "format too old";
  return nullptr;
}

Fault CheckTables(std::span<const std::uint8_t> object) noexcept {
  const std::uint32_t type = Load16(object.data(), nlb::kTypeAt);
  const OffsetTable* offsets = OffsetsOf(type);
  if (offsets == nullptr) return nullptr;
  if (const Fault fault = CheckOffsets(object, *offsets)) return fault;
  switch (type) {
    case KES_OBJECT_CHARSET:
      return CheckCharsetTables(object.data());
    case KES_OBJECT_SUPPLEMENT:
      return kCommonOffsets.size(object.data(), nlb::supplement::kCurrencyTable) <
                     std::size_t{4} * Load16(object.data(), nlb::supplement::kCountAt)
                 ? "currency table too small"
                 : nullptr;
    case KES_OBJECT_CALENDAR:
      return CheckCalendarTables(object.data());
    default:
      return nullptr;
  }
}

Fault CheckObject(std::span<const std::uint8_t> object) noexcept {
  if (const Fault fault = CheckObjectHeader(object)) return fault;
  if (const Fault fault = CheckTables(object)) return fault;
  switch (Load16(object.data(), nlb::kTypeAt)) {
    case KES_OBJECT_CHARSET:
      return CheckCharset(object.data());
    case KES_OBJECT_CALENDAR:
      return CheckCalendar(object.data());
    default:
      return nullptr;
  }
}

Fault lxlchkobj(std::span<const std::uint8_t> object) noexcept {
  const std::uint8_t* bytes = object.data();
  const std::uint32_t type = Load16(bytes, nlb::kTypeAt);
  const OffsetTable* offsets = OffsetsOf(type);
  if (offsets == nullptr) return nullptr;
  if (offsets->offset(bytes, offsets->count) != Load32(bytes, nlb::kVariablePartAt)) {
    return "variable part is not where the header says";
  }
  if (type == KES_OBJECT_LANGUAGE || type == KES_OBJECT_TERRITORY) {
    for (std::size_t i = 0; i < offsets->count; ++i) {
      if (offsets->size(bytes, i) == 0) return "string offsets do not increase";
      if (bytes[offsets->base + offsets->offset(bytes, i + 1) - 1] != 0) {
        return "string without an end";
      }
    }
  }
  if (type == KES_OBJECT_SORT &&
      (Load32(bytes, nlb::sort::kFlagsAt) & nlb::sort::kExternalFlag) != 0) {
    for (const std::size_t at : {nlb::sort::kCompareFunctionAt, nlb::sort::kKeyFunctionAt}) {
      if (Load16(bytes, at) == 0 || Load16(bytes, at) >= kSortFunctionCount) {
        return "unknown sort function";
      }
    }
  }
  return nullptr;
}

}  // namespace kestra::nls
