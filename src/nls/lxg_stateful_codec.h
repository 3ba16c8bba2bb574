// Stateful sets: one-byte characters in the base state, two-byte characters between shift-out and
// shift-in. State word: 1 shifted, 0 not.
//
// Reading: a redundant shift changes nothing. In the shifted state a pair that is none is replaced
// as a whole, but a shift byte in its second place is obeyed, so that a damaged text finds back.
#pragma once

#include "nls/lxg_blocks.h"
#include "nls/lxg_table_codec.h"

namespace kestra::nls::convert {

// The two-byte characters of a set, by its rows. Everything is checked, so any pair may be asked
// for.
class PairTable {
 public:
  explicit PairTable(CharsetView set) noexcept
      : leads_(set.table(nlb::charset::kLeadTable)),
        rows_(set.table(nlb::charset::kRowTable)),
        cells_(set.table(nlb::charset::kDecodeTable)),
        row_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kRowTable) /
                                              nlb::charset::kRowSize)),
        cell_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kDecodeTable) >>
                                               (set.decode_width() == 4 ? 2 : 1))),
        wide_(set.decode_width() == 4) {
    if (set.table_size(nlb::charset::kLeadTable) < 512) cell_count_ = 0;
    if (cell_count_ == 0) row_count_ = 0;
    if (row_count_ == 0) leads_ = kNoLeads;
  }

  static constexpr std::uint32_t kNoCell = 0xFFFFFFFF;
  std::uint32_t Cell(std::uint32_t first, std::uint32_t second) const noexcept {
    const std::uint32_t row = Load16(leads_, std::size_t{2} * first) - 1u;
    if (row >= row_count_) return kNoCell;
    const std::uint8_t* entry = rows_ + std::size_t{row} * nlb::charset::kRowSize;
    if (second < entry[0] || second > entry[1]) return kNoCell;
    const std::uint64_t cell = std::uint64_t{Load32(entry, 4)} + (second - entry[0]);
    return cell < cell_count_ ? static_cast<std::uint32_t>(cell) : kNoCell;
  }

  // 0 or above kMaxCodePoint: none.
  std::uint32_t CodePoint(std::uint32_t first, std::uint32_t second) const noexcept {
    const std::uint32_t cell = Cell(first, second);
    if (cell == kNoCell) return 0;
    return wide_ ? Load32(cells_, std::size_t{4} * cell) : Load16(cells_, std::size_t{2} * cell);
  }

  // What may stand between two runs of pairs: one letter, most often a space, behind the shift to
  // letters and in front of the shift back.
  struct Letters {
    const std::uint16_t* code_points;  // by byte; null: there are no such letters
    std::uint8_t shift_in;
    std::uint8_t shift_out;
  };

  // Reads pairs, each byte changed by flip, and single letters between them, up to the first that is
  // none; p then is there. Returns how many characters. A first byte below least ends the run too.
  // Not inline: the loop needs the registers for itself.
  [[gnu::noinline]] std::uint32_t ReadRun(const std::uint8_t*& p, const std::uint8_t* end,
                                          std::uint32_t* out, std::uint32_t limit,
                                          std::uint32_t flip, std::uint32_t least,
                                          const Letters& letters) const noexcept {
    return wide_ ? ReadCells<std::uint32_t>(p, end, out, limit, flip, least, letters)
                 : ReadCells<std::uint16_t>(p, end, out, limit, flip, least, letters);
  }

 private:
  template <typename Cell>
  std::uint32_t ReadCells(const std::uint8_t*& p, const std::uint8_t* end, std::uint32_t* out,
                          std::uint32_t limit, std::uint32_t flip, std::uint32_t least,
                          const Letters& given) const noexcept {
    // Copies, which stay in registers: out may point anywhere.
    const std::uint8_t* const leads = leads_;
    const std::uint8_t* const rows = rows_;
    const std::uint8_t* const cells = cells_;
    const std::uint32_t row_count = row_count_;
    const std::uint32_t cell_count = cell_count_;
    const Letters letters = given;
    const std::uint8_t* q = p;
    std::uint32_t* made = out;
    std::uint32_t* const out_end = out + limit;
    for (;;) {
      const auto pairs = static_cast<std::size_t>(end - q) / 2;
      const auto room = static_cast<std::size_t>(out_end - made);
      const std::size_t count = pairs < room ? pairs : room;
      std::size_t i = 0;
      for (; i < count && q[2 * i] >= least; ++i) {
        const std::uint32_t row = Load16(leads, std::size_t{2} * (q[2 * i] ^ flip)) - 1u;
        if (row >= row_count) break;
        const std::uint8_t* entry = rows + std::size_t{row} * nlb::charset::kRowSize;
        const std::uint32_t second = q[2 * i + 1] ^ flip;
        if (second < entry[0] || second > entry[1]) break;
        const std::uint64_t cell = std::uint64_t{Load32(entry, 4)} + (second - entry[0]);
        if (cell >= cell_count) break;
        const std::uint32_t code_point = LoadAt<Cell>(cells, sizeof(Cell) * cell);
        if (code_point - 1 >= kMaxCodePoint) break;
        made[i] = code_point;
      }
      q += 2 * i;
      made += i;
      if (end - q < 3 || q[0] != letters.shift_in || q[2] != letters.shift_out || made == out_end ||
          letters.code_points == nullptr ||
          letters.code_points[q[1]] == nlb::charset::kNoCharacter) {
        break;
      }
      *made++ = letters.code_points[q[1]];
      q += 3;
    }
    p = q;
    return static_cast<std::uint32_t>(made - out);
  }

  static constexpr std::uint8_t kNoLeads[512] = {};
  const std::uint8_t* leads_;
  const std::uint8_t* rows_;
  const std::uint8_t* cells_;
  std::uint32_t row_count_;
  std::uint32_t cell_count_;
  bool wide_;
};

class StatefulDecoder {
 public:
  explicit StatefulDecoder(CharsetView set) noexcept
      : code_points_(set.single()),
        pairs_(set),
        shift_out_(set.bytes()[nlb::charset::kShiftOutAt]),
        shift_in_(set.bytes()[nlb::charset::kShiftInAt]) {}

  static void Read(const void* coder, const std::uint8_t* in, const std::uint8_t* end,
                   std::uint32_t state, std::uint32_t limit, Block& block) noexcept {
    static_cast<const StatefulDecoder*>(coder)->ReadBlock(in, end, state, limit, block);
  }

 private:
  bool IsShift(std::uint8_t byte) const noexcept { return byte == shift_out_ || byte == shift_in_; }

  void ReadBlock(const std::uint8_t* in, const std::uint8_t* end, std::uint32_t state,
                 std::uint32_t limit, Block& block) const noexcept {
    const std::uint8_t* p = in;
    std::uint32_t* out = block.code_points;
    std::uint32_t* const out_end = out + limit;
    bool shifted = (state & 1) != 0;
    // Copies, which the compiler can keep in registers while the block is written.
    const PairTable pairs = pairs_;
    const std::uint16_t* const code_points = code_points_;
    const PairTable::Letters letters = {code_points, shift_in_, shift_out_};
    for (;;) {
      if (!shifted) {
        // Shift bytes are no characters of the table, so one test finds them too.
        const std::uint8_t* const few = end - p < kShortRun ? end : p + kShortRun;
        while (p < few && out < out_end && code_points[*p] != nlb::charset::kNoCharacter) {
          *out++ = code_points[*p++];
        }
        if (p == few && out < out_end) ReadLongRun(p, end, out, out_end);
      } else {
        out += pairs.ReadRun(p, end, out, static_cast<std::uint32_t>(out_end - out), 0, 0, letters);
      }
      while (p < end && IsShift(*p)) shifted = *p++ == shift_out_;
      if (p == end || out == out_end) break;
      p += ReadOther(p, end, shifted, out);
    }
    block.count = static_cast<std::uint32_t>(out - block.code_points);
    block.bytes = static_cast<std::size_t>(p - in);
    block.state = shifted;
  }

  // One-byte characters by the kernel, which stops at a shift byte as well.
  void ReadLongRun(const std::uint8_t*& p, const std::uint8_t* end, std::uint32_t*& out,
                   const std::uint32_t* out_end) const noexcept {
    std::uint16_t units[Block::kSize];
    const auto room = static_cast<std::size_t>(out_end - out);
    const auto left = static_cast<std::size_t>(end - p);
    const std::size_t run = kernels::GetConvertKernels().single_to_units(
        code_points_, p, left < room ? left : room, units);
    for (std::size_t i = 0; i < run; ++i) out[i] = units[i];
    out += run;
    p += run;
  }

  // Takes one character or what is none, and returns its length.
  std::uint32_t ReadOther(const std::uint8_t* p, const std::uint8_t* end, bool shifted,
                          std::uint32_t*& out) const noexcept {
    if (!shifted) {
      const std::uint32_t code_point = code_points_[*p];
      *out++ = code_point == nlb::charset::kNoCharacter ? kMalformed : code_point;
      return 1;
    }
    if (end - p < 2) {
      *out++ = kTruncated;
      return 1;
    }
    const std::uint32_t code_point = pairs_.CodePoint(p[0], p[1]);
    const bool good = code_point - 1 < kMaxCodePoint;
    *out++ = good ? code_point : kMalformed;
    return !good && IsShift(p[1]) ? 1 : 2;
  }

  static constexpr std::ptrdiff_t kShortRun = 16;
  const std::uint16_t* code_points_;
  PairTable pairs_;
  std::uint8_t shift_out_;
  std::uint8_t shift_in_;
};

class StatefulEncoder {
 public:
  explicit StatefulEncoder(CharsetView set) noexcept
      : table_(set),
        shifts_(static_cast<std::uint16_t>(set.bytes()[nlb::charset::kShiftInAt] |
                                           set.bytes()[nlb::charset::kShiftOutAt] << 8)),
        replacement_(table_.replacement()) {
    if (replacement_.length > 2) replacement_.length = 1;
  }

  static std::uint32_t Write(const void* coder, Conversion& c, const std::uint32_t* code_points,
                             std::uint32_t count) noexcept {
    return static_cast<const StatefulEncoder*>(coder)->WriteBlock(c, code_points, count);
  }
  static bool Replace(const void* coder, Conversion& c) noexcept {
    const auto& self = *static_cast<const StatefulEncoder*>(coder);
    return self.Emit(c, self.replacement_);
  }
  static void Finish(const void* coder, Conversion& c) noexcept {
    if ((c.shift_out & 1) == 0) return;
    const auto& self = *static_cast<const StatefulEncoder*>(coder);
    if (c.Emit({self.shifts_ & 0xFFu, 1})) c.shift_out = 0;
  }
  static std::uint32_t ReturnLength(std::uint32_t state) noexcept { return state & 1; }

 private:
  // The character's bytes behind the shift that it needs; returns the new state.
  std::uint32_t Shifted(std::uint32_t state, Encoded& character) const noexcept {
    const std::uint32_t pair = character.length - 1;
    const std::uint32_t change = state ^ pair;
    const std::uint32_t shift = shifts_ >> (8 * pair) & 0xFFu;
    // Without a branch: runs end where the text says.
    character.bytes = character.bytes << (8 * change) | (shift & (0u - change));
    character.length += change;
    return pair;
  }

  bool Emit(Conversion& c, Encoded character) const noexcept {
    const std::uint32_t state = Shifted(c.shift_out & 1, character);
    if (!c.more && c.room() < character.length + state) {
      c.full = true;
      return false;
    }
    if (!c.Emit(character)) return false;
    c.shift_out = state;
    return true;
  }

  std::uint32_t WriteBlock(Conversion& c, const std::uint32_t* code_points,
                           std::uint32_t count) const noexcept {
    std::uint32_t done = 0;
    while (done < count) {
      // As many characters as surely fit, with the shift that each may need and the last return.
      const std::size_t fit = c.room() / kLongest;
      const std::uint32_t sure =
          fit <= 1 ? 0
                   : static_cast<std::uint32_t>(fit - 1 < count - done ? fit - 1 : count - done);
      done += WriteRuns(c, code_points + done, sure);
      if (done == count) break;
      const Encoded character = table_.Encode(code_points[done]);
      if (character.length == 0 || !Emit(c, character)) break;
      c.produced_replacement |= code_points[done] == kReplacementCharacter;
      ++done;
    }
    return done;
  }

  // Runs of either state, where room is no question.
  std::uint32_t WriteRuns(Conversion& c, const std::uint32_t* code_points,
                          std::uint32_t count) const noexcept {
    const TableEncoder<2> table = table_;
    std::uint8_t* out = c.out;
    std::uint32_t state = c.shift_out & 1;
    std::uint32_t done = 0;
    bool replacement = false;
    while (done < count) {
      std::uint32_t number = 0;
      if (state == 0) {
        for (; done < count; ++done) {
          number = table.Number(code_points[done]);
          if (number - 1 >= 0xFF) break;
          replacement |= code_points[done] == kReplacementCharacter;
          *out++ = static_cast<std::uint8_t>(number);
        }
      } else {
        for (; done < count; ++done) {
          number = table.Number(code_points[done]);
          if (number <= 0xFF) break;
          const auto pair = __builtin_bswap16(static_cast<std::uint16_t>(number));
          std::memcpy(out, &pair, sizeof pair);
          replacement |= code_points[done] == kReplacementCharacter;
          out += sizeof pair;
        }
      }
      if (done == count || number == 0) break;
      *out++ = static_cast<std::uint8_t>(state == 0 ? shifts_ >> 8 : shifts_);
      state ^= 1;
    }
    c.out = out;
    c.shift_out = state;
    c.produced_replacement |= replacement;
    return done;
  }

  static constexpr std::uint32_t kLongest = 4;
  TableEncoder<2> table_;
  std::uint16_t shifts_;
  Encoded replacement_;
};

}  // namespace kestra::nls::convert
