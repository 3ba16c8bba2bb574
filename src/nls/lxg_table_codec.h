// Decoders and encoders of the sets that a data object describes by tables: single-byte sets and
// stateless multibyte sets. Every number taken from a table is checked against the table it leads
// into, so an object that the loader accepted without a full check can give wrong characters but
// no access outside the object.
//
// A multibyte character that its set does not have is replaced as a whole, except that a byte below
// 80 is never swallowed: the character then ends in front of it, so that a damaged text cannot hide
// a line end or a quote.
#pragma once

#include "nls/kernels/convert_kernels.h"
#include "nls/lxg_unicode_codec.h"
#include "nls/object_view.h"

namespace kestra::nls::convert {

class SingleDecoder {
 public:
  explicit SingleDecoder(CharsetView set) noexcept
      : code_points_(set.single()), ascii_(set.ascii_runs()) {}

  bool ascii_runs() const noexcept { return ascii_; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t*) const noexcept {
    const std::uint32_t code_point = code_points_[*p];
    if (code_point == nlb::charset::kNoCharacter) return {kMalformed, 1};
    return {code_point, 1};
  }
  kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                std::size_t size, std::uint16_t* units,
                                std::size_t room) const noexcept {
    const std::size_t done =
        kernels.single_to_units(code_points_, in, size < room ? size : room, units);
    return {done, done, done};
  }
  const std::uint16_t* code_points() const noexcept { return code_points_; }

 private:
  const std::uint16_t* code_points_;
  bool ascii_;
};

// Characters of 1 to 4 bytes, the length told by the first byte.
class MultibyteDecoder {
 public:
  explicit MultibyteDecoder(CharsetView set) noexcept {
    const bool wide = set.decode_width() == 4;
    table_.code_points = set.single();
    table_.classes = set.class_table();
    table_.leads = set.table(nlb::charset::kLeadTable);
    table_.rows = set.table(nlb::charset::kRowTable);
    table_.cells = set.table(nlb::charset::kDecodeTable);
    table_.cell_count =
        static_cast<std::uint32_t>(set.table_size(nlb::charset::kDecodeTable) >> (wide ? 2 : 1));
    table_.wide = wide;
    table_.ascii = set.ascii_runs();
    table_.longer = set.max_bytes() > 2;
    if (set.table_size(nlb::charset::kLeadTable) >= 512) {
      table_.row_count = static_cast<std::uint32_t>(set.table_size(nlb::charset::kRowTable) /
                                                    nlb::charset::kRowSize);
    }
  }

  // The same decoder with its rows collected, which pays for longer texts; rows outlives it.
  MultibyteDecoder CollectRows(kernels::LeadRows& rows) const noexcept {
    MultibyteDecoder decoder = *this;
    if (table_.row_count != 0) {
      CollectLeadRows(table_, rows);
      decoder.table_.lead_rows = &rows;
    }
    return decoder;
  }

  bool ascii_runs() const noexcept { return table_.ascii; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (table_.code_points[first] != nlb::charset::kNoCharacter) {
      return {table_.code_points[first], 1};
    }
    const std::uint32_t length = (table_.classes[first] & 3u) + 1;
    const auto left = static_cast<std::size_t>(end - p);
    if (left < length) return NextCutOff(p, static_cast<std::uint32_t>(left));
    const std::uint32_t cell = FindCell(p, end);
    const std::uint32_t code_point = cell == kernels::kNoCell ? 0 : LoadCell(table_, cell);
    if (code_point - 1 < kMaxCodePoint) return {code_point, length};
    std::uint32_t replaced = 1;
    while (replaced < length && p[replaced] >= 0x80) ++replaced;
    return {kMalformed, replaced};
  }

  // Number of the cell that decodes the character of two or more bytes at p.
  std::uint32_t FindCell(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t length = (table_.classes[*p] & 3u) + 1;
    if (length < 2 || static_cast<std::size_t>(end - p) < length || table_.row_count == 0) {
      return kernels::kNoCell;
    }
    std::uint32_t next_row = Load16(table_.leads, std::size_t{2} * *p);
    for (std::uint32_t i = 1;; ++i) {
      if (next_row == 0) return kernels::kNoCell;
      const std::uint32_t cell = FindRowCell(table_, next_row - 1, p[i]);
      if (cell == kernels::kNoCell || i + 1 == length) return cell;
      next_row = LoadCell(table_, cell);
    }
  }

  kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                std::size_t size, std::uint16_t* units,
                                std::size_t room) const noexcept {
    return kernels.multibyte_to_units(table_, in, size, units, room);
  }

 private:
  // What is left of the text is shorter than its character. It stays open unless a byte below 80,
  // which is not swallowed, shows already that there is none.
  Decoded NextCutOff(const std::uint8_t* p, std::uint32_t left) const noexcept {
    std::uint32_t next_row = table_.row_count == 0 ? 0 : Load16(table_.leads, std::size_t{2} * *p);
    for (std::uint32_t i = 1; i < left; ++i) {
      const std::uint32_t cell =
          next_row == 0 ? kernels::kNoCell : FindRowCell(table_, next_row - 1, p[i]);
      if (cell == kernels::kNoCell && p[i] < 0x80) return {kMalformed, i};
      next_row = cell == kernels::kNoCell ? 0 : LoadCell(table_, cell);
    }
    return {kTruncated, left};
  }

  kernels::MultibyteDecodeTable table_{};
};

// Both kinds of sets; kWidth is the number of bytes of a cell.
template <std::uint32_t kWidth>
class TableEncoder {
 public:
  explicit TableEncoder(CharsetView set) noexcept
      : zero_code_point_(set.single()[0] == nlb::charset::kNoCharacter ? kNone : set.single()[0]),
        maps_nul_(set.maps_nul()) {
    table_.index = set.table(nlb::charset::kEncodeIndex);
    table_.cells = set.table(nlb::charset::kEncodeTable);
    table_.index_size = set.encode_index_size();
    table_.block_count = static_cast<std::uint32_t>(set.table_size(nlb::charset::kEncodeTable) /
                                                    (nlb::charset::kBlockSize * kWidth));
    table_.width = kWidth;
    table_.ascii = set.ascii_runs();
    if (table_.index_size > set.table_size(nlb::charset::kEncodeIndex) / 2) table_.index_size = 0;
    const std::uint32_t length = set.replacement_length();
    replacement_.length = length >= 1 && length <= 4 ? length : 1;
    std::memcpy(&replacement_.bytes, set.replacement(), replacement_.length);
  }

  // The same encoder with its index collected, which pays for longer texts; bases outlives it.
  TableEncoder CollectBases(kernels::EncodeBases& bases) const noexcept requires(kWidth > 1) {
    TableEncoder encoder = *this;
    if (kernels::CollectBases(table_, bases)) encoder.table_.bases = &bases;
    return encoder;
  }

  bool ascii_runs() const noexcept { return table_.ascii; }
  Encoded replacement() const noexcept { return replacement_; }

  Encoded Encode(std::uint32_t code_point) const noexcept {
    const std::uint32_t number = Find(code_point);
    if (number == 0) {
      // An empty cell also stands for the byte 00, which in one set is not U+0000.
      const bool is_byte_zero = code_point == 0 ? maps_nul_ : code_point == zero_code_point_;
      return is_byte_zero ? Encoded{0, 1} : Encoded{};
    }
    if constexpr (kWidth == 1) return {number, 1};
    // The first byte is the highest of the number: turn it round.
    const auto leading = static_cast<std::uint32_t>(__builtin_clz(number)) & ~7u;
    return {__builtin_bswap32(number << leading), 4 - leading / 8};
  }

  // The bytes as one number, the first one highest; 0 for none, and for the byte 00.
  std::uint32_t Number(std::uint32_t code_point) const noexcept { return Find(code_point); }

  static constexpr std::size_t kUnitSize = kWidth;

  kernels::Progress EncodeUnits(const kernels::ConvertKernels& kernels, const std::uint16_t* units,
                                std::size_t count, std::uint8_t* out,
                                std::size_t room) const noexcept {
    if constexpr (kWidth == 1) {
      const std::size_t done = kernels.units_to_single(bytes_table(), units, count, out);
      return {done, done, done};
    } else {
      return kernels.units_to_multibyte(table_, units, count, out, room);
    }
  }

  kernels::ByteEncodeTable bytes_table() const noexcept {
    return {table_.index, table_.cells, table_.index_size, table_.block_count, maps_nul_};
  }

 private:
  std::uint32_t Find(std::uint32_t code_point) const noexcept {
    if constexpr (kWidth == 1) {
      return FindByteCell(bytes_table(), code_point);
    } else {
      return FindEncodeCell(table_, code_point);
    }
  }

  kernels::MultibyteEncodeTable table_{};
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;
  std::uint32_t zero_code_point_;
  bool maps_nul_;
  Encoded replacement_;
};

}  // namespace kestra::nls::convert
