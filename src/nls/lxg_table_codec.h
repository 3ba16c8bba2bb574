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
  explicit MultibyteDecoder(CharsetView set) noexcept
      : code_points_(set.single()),
        classes_(set.class_table()),
        leads_(set.table(nlb::charset::kLeadTable)),
        rows_(set.table(nlb::charset::kRowTable)),
        cells_(set.table(nlb::charset::kDecodeTable)),
        row_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kRowTable) /
                                              nlb::charset::kRowSize)),
        cell_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kDecodeTable) /
                                               (set.decode_width() == 4 ? 4u : 2u))),
        wide_(set.decode_width() == 4),
        has_leads_(set.table_size(nlb::charset::kLeadTable) >= 512),
        ascii_(set.ascii_runs()) {}

  bool ascii_runs() const noexcept { return ascii_; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (code_points_[first] != nlb::charset::kNoCharacter) return {code_points_[first], 1};
    const std::uint32_t length = (classes_[first] & 3u) + 1;
    if (static_cast<std::size_t>(end - p) < length) {
      return {kTruncated, static_cast<std::uint32_t>(end - p)};
    }
    const std::uint32_t cell = FindCell(p, end);
    const std::uint32_t code_point = cell == kNoCell ? 0 : CellValue(cell);
    if (code_point - 1 < kMaxCodePoint) return {code_point, length};
    std::uint32_t replaced = 1;
    while (replaced < length && p[replaced] >= 0x80) ++replaced;
    return {kMalformed, replaced};
  }

  // One- and two-byte characters of the basic plane; others are left to Next.
  kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                std::size_t size, std::uint16_t* units,
                                std::size_t room) const noexcept {
    return wide_ ? DecodeUnitsOf<std::uint32_t>(kernels, in, size, units, room)
                 : DecodeUnitsOf<std::uint16_t>(kernels, in, size, units, room);
  }

  static constexpr std::uint32_t kNoCell = 0xFFFFFFFF;

  // Number of the cell that decodes the character of two or more bytes at p; kNoCell: none.
  std::uint32_t FindCell(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t length = (classes_[*p] & 3u) + 1;
    if (length < 2 || static_cast<std::size_t>(end - p) < length || !has_leads_) return kNoCell;
    std::uint32_t next_row = Load16(leads_, std::size_t{2} * *p);
    for (std::uint32_t i = 1;; ++i) {
      if (next_row == 0) return kNoCell;
      const std::uint32_t cell = Cell(next_row - 1, p[i]);
      if (cell == kNoCell || i + 1 == length) return cell;
      next_row = CellValue(cell);
    }
  }

 private:
  template <typename Cell>
  kernels::Progress DecodeUnitsOf(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                  std::size_t size, std::uint16_t* units,
                                  std::size_t room) const noexcept {
    kernels::Progress done;
    const std::uint8_t* p = in;
    const std::uint8_t* const end = in + size;
    std::uint16_t* out = units;
    std::uint16_t* const out_end = units + room;
    while (p < end && out < out_end) {
      if (ascii_ && *p < 0x80) {
        const auto most =
            static_cast<std::size_t>(end - p < out_end - out ? end - p : out_end - out);
        const std::size_t run = kernels.widen_ascii(p, most, out);
        p += run;
        out += run;
        continue;
      }
      const std::uint32_t first = *p;
      std::uint32_t unit = code_points_[first];
      std::uint32_t length = 1;
      if (unit == nlb::charset::kNoCharacter) {
        length = 2;
        if ((classes_[first] & 3u) != 1 || end - p < 2 || !has_leads_) break;
        const std::uint32_t row = Load16(leads_, std::size_t{2} * first);
        const std::uint32_t cell = row == 0 ? kNoCell : this->Cell(row - 1, p[1]);
        if (cell == kNoCell) break;
        unit = LoadAt<Cell>(cells_, sizeof(Cell) * cell);
        if (unit == 0 || unit >= kReplacementCharacter || IsSurrogate(unit)) break;
      }
      *out++ = static_cast<std::uint16_t>(unit);
      p += length;
    }
    done.consumed = static_cast<std::size_t>(p - in);
    done.written = done.characters = static_cast<std::size_t>(out - units);
    return done;
  }

  // The cell of a trail byte in a row.
  std::uint32_t Cell(std::uint32_t row, std::uint32_t trail) const noexcept {
    if (row >= row_count_) return kNoCell;
    const std::uint8_t* entry = rows_ + std::size_t{row} * nlb::charset::kRowSize;
    if (trail < entry[0] || trail > entry[1]) return kNoCell;
    const std::uint64_t cell = std::uint64_t{Load32(entry, 4)} + (trail - entry[0]);
    return cell < cell_count_ ? static_cast<std::uint32_t>(cell) : kNoCell;
  }
  std::uint32_t CellValue(std::uint32_t cell) const noexcept {
    return wide_ ? Load32(cells_, std::size_t{4} * cell) : Load16(cells_, std::size_t{2} * cell);
  }

  const std::uint16_t* code_points_;
  const std::uint16_t* classes_;
  const std::uint8_t* leads_;
  const std::uint8_t* rows_;
  const std::uint8_t* cells_;
  std::uint32_t row_count_;
  std::uint32_t cell_count_;
  bool wide_;
  bool has_leads_;
  bool ascii_;
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
    const std::uint32_t slot = code_point >> nlb::charset::kBlockShift;
    if (slot >= index_size_) return {};
    const std::uint32_t block = Load16(index_, std::size_t{2} * slot);
    if (block >= block_count_) return {};
    const std::size_t cell = std::size_t{block} * nlb::charset::kBlockSize +
                             (code_point & (nlb::charset::kBlockSize - 1));
    std::uint32_t number;
    if constexpr (kWidth == 1) {
      number = cells_[cell];
    } else if constexpr (kWidth == 2) {
      number = Load16(cells_, 2 * cell);
    } else {
      number = Load32(cells_, 4 * cell);
    }
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
      std::uint8_t* q = out;
      std::size_t i = 0;
      while (i < count) {
        if (ascii_ && units[i] < 0x80) {
          const std::size_t run = kernels.narrow_ascii(units + i, count - i, q);
          i += run;
          q += run;
          continue;
        }
        const Encoded encoded = Encode(units[i]);
        if (encoded.length == 0) break;
        const auto bytes = static_cast<std::uint32_t>(encoded.bytes);
        std::memcpy(q, &bytes, sizeof bytes);
        q += encoded.length;
        ++i;
      }
      return {i, static_cast<std::size_t>(q - out), i};
    }
  }

 private:
  const std::uint8_t* index_;
  const std::uint8_t* cells_;
  std::uint32_t index_size_;
  std::uint32_t block_count_;
  bool maps_nul_;
  bool ascii_;
  Encoded replacement_;
};

}  // namespace kestra::nls::convert
