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
        static_cast<std::uint32_t>(set.table_size(nlb::charset::kDecodeTable) / (wide ? 4u : 2u));
    table_.wide = wide;
    table_.ascii = set.ascii_runs();
    if (set.table_size(nlb::charset::kLeadTable) >= 512) {
      table_.row_count = static_cast<std::uint32_t>(set.table_size(nlb::charset::kRowTable) /
                                                    nlb::charset::kRowSize);
    }
  }

  bool ascii_runs() const noexcept { return table_.ascii; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (table_.code_points[first] != nlb::charset::kNoCharacter) {
      return {table_.code_points[first], 1};
    }
    const std::uint32_t length = (table_.classes[first] & 3u) + 1;
    if (static_cast<std::size_t>(end - p) < length) {
      return {kTruncated, static_cast<std::uint32_t>(end - p)};
    }
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
  kernels::MultibyteDecodeTable table_{};
};

// Both kinds of sets; kWidth is the number of bytes of a cell.
template <std::uint32_t kWidth>
class TableEncoder {
 public:
  explicit TableEncoder(CharsetView set) noexcept
      : index_(set.table(nlb::charset::kEncodeIndex)),
        cells_(set.table(nlb::charset::kEncodeTable)),
        index_size_(set.encode_index_size()),
        block_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kEncodeTable) /
                                                (nlb::charset::kBlockSize * kWidth))),
        maps_nul_(set.maps_nul()),
        ascii_(set.ascii_runs()) {
    if (index_size_ > set.table_size(nlb::charset::kEncodeIndex) / 2) index_size_ = 0;
    const std::uint32_t length = set.replacement_length();
    replacement_.length = length >= 1 && length <= 4 ? length : 1;
    std::memcpy(&replacement_.bytes, set.replacement(), replacement_.length);
  }

  bool ascii_runs() const noexcept { return ascii_; }
  static constexpr std::size_t kUnitSize = kWidth;

  Encoded Encode(std::uint32_t code_point) const noexcept {
    const std::uint32_t number = Find(code_point);
    if (number == 0) {
      if (code_point == 0 && maps_nul_) return {0, 1};
      return {};
    }
    if constexpr (kWidth == 1) return {number, 1};
    // The first byte is the highest of the number: turn it round.
    const auto leading = static_cast<std::uint32_t>(__builtin_clz(number)) & ~7u;
    return {__builtin_bswap32(number << leading), 4 - leading / 8};
  }
  Encoded replacement() const noexcept { return replacement_; }

  // Room for kUnitSize bytes a unit and 4 more.
  kernels::Progress EncodeUnits(const kernels::ConvertKernels& kernels, const std::uint16_t* units,
                                std::size_t count, std::uint8_t* out, std::size_t) const noexcept {
    if constexpr (kWidth == 1) {
      const kernels::ByteEncodeTable table{index_, cells_, index_size_, block_count_, maps_nul_};
      const std::size_t done = kernels.units_to_single(table, units, count, out);
      return {done, done, done};
    } else {
      const TableEncoder table = *this;  // a copy that the stores cannot change
      std::uint8_t* q = out;
      std::size_t i = 0;
      while (i < count) {
        // Runs of ASCII pay only when they are long; single letters go through the table.
        if (table.ascii_ && count - i >= 8 &&
            ((LoadAt<std::uint64_t>(units + i, 0) | LoadAt<std::uint64_t>(units + i, 8)) &
             0xFF80FF80FF80FF80) == 0) {
          const std::size_t run = kernels.narrow_ascii(units + i, count - i, q);
          i += run;
          q += run;
          continue;
        }
        const std::size_t stop = count - i < 8 ? count : i + 8;
        for (; i < stop; ++i) {
          const std::uint32_t number = table.Find(units[i]);
          if (number == 0) [[unlikely]]
            return {i, static_cast<std::size_t>(q - out), i};
          q += StoreNumber(q, number);
        }
      }
      return {i, static_cast<std::size_t>(q - out), i};
    }
  }

 private:
  // The cell of a code point: the bytes as one number, 0 for none (and for the byte 00).
  std::uint32_t Find(std::uint32_t code_point) const noexcept {
    const std::uint32_t slot = code_point >> nlb::charset::kBlockShift;
    if (slot >= index_size_) return 0;
    const std::uint32_t block = Load16(index_, std::size_t{2} * slot);
    if (block >= block_count_) return 0;
    const std::size_t cell = std::size_t{block} * nlb::charset::kBlockSize +
                             (code_point & (nlb::charset::kBlockSize - 1));
    if constexpr (kWidth == 1) return cells_[cell];
    if constexpr (kWidth == 2) return Load16(cells_, 2 * cell);
    return Load32(cells_, 4 * cell);
  }

  // Writes the bytes of a number, and up to kWidth in all; returns how many count.
  static std::size_t StoreNumber(std::uint8_t* out, std::uint32_t number) noexcept {
    if constexpr (kWidth == 2) {
      const std::uint32_t two = number >> 8 != 0 ? 1 : 0;
      const auto bytes = static_cast<std::uint16_t>(
          __builtin_bswap16(static_cast<std::uint16_t>(number << (8 - 8 * two))));
      std::memcpy(out, &bytes, sizeof bytes);
      return 1 + two;
    } else {
      const auto leading = static_cast<std::uint32_t>(__builtin_clz(number)) & ~7u;
      const std::uint32_t bytes = __builtin_bswap32(number << leading);
      std::memcpy(out, &bytes, sizeof bytes);
      return 4 - leading / 8;
    }
  }

  const std::uint8_t* index_;
  const std::uint8_t* cells_;
  std::uint32_t index_size_;
  std::uint32_t block_count_;
  bool maps_nul_;
  bool ascii_;
  Encoded replacement_;
};

}  // namespace kestra::nls::convert
