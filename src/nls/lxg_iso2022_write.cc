// How the ISO-2022 sets are written: a character stays in a part that is designated already, else
// the first part in the order of kPreferences that has it is taken. Line ends drop what the
// standards say they drop. ESC, SO and SI as characters are not in these sets, so that no text can
// smuggle in a designation.
#include <optional>

#include "nls/lxg_iso2022_state.h"

namespace kestra::nls::convert {
namespace iso2022 {
namespace {

constexpr Part kPreferences[] = {kRoman,    kKatakana, kJis0208, kJis0212, kJis0213a, kJis0213a2004,
                                 kJis0213b, kLatin1,   kGreek,   kGb2312,  kKsx1001,  kCns1,
                                 kCns2,     kCns3,     kCns4,    kCns5,    kCns6,     kCns7};

// The bytes of a code point in a set of any width, as one number.
class NumberTable {
 public:
  explicit NumberTable(CharsetView set) noexcept
      : index_(set.table(nlb::charset::kEncodeIndex)),
        cells_(set.table(nlb::charset::kEncodeTable)),
        index_size_(set.encode_index_size()),
        width_(set.encode_width()) {
    if (index_size_ > set.table_size(nlb::charset::kEncodeIndex) / 2) index_size_ = 0;
    if (width_ == 0) index_size_ = 0;
    const std::uint32_t cell_shift = width_ == 4 ? 2 : width_ == 2 ? 1 : 0;
    block_count_ = static_cast<std::uint32_t>(set.table_size(nlb::charset::kEncodeTable) >>
                                              (nlb::charset::kBlockShift + cell_shift));
  }

  // 0: none.
  std::uint32_t Find(std::uint32_t code_point) const noexcept {
    const std::uint32_t slot = code_point >> nlb::charset::kBlockShift;
    if (slot >= index_size_) return 0;
    const std::uint32_t block = Load16(index_, std::size_t{2} * slot);
    if (block >= block_count_) return 0;
    const std::size_t cell = std::size_t{block} * nlb::charset::kBlockSize +
                             (code_point & (nlb::charset::kBlockSize - 1));
    return width_ == 2   ? Load16(cells_, 2 * cell)
           : width_ == 4 ? Load32(cells_, 4 * cell)
                         : cells_[cell];
  }

 private:
  const std::uint8_t* index_;
  const std::uint8_t* cells_;
  std::uint32_t index_size_;
  std::uint32_t block_count_;
  std::uint32_t width_;
};

class Writer {
 public:
  explicit Writer(const Iso2022& composed) noexcept
      : composed_(&composed), set_(SetOf(composed.id())) {}

  static std::uint32_t Write(const void* coder, Conversion& c, const std::uint32_t* code_points,
                             std::uint32_t count) noexcept {
    const auto& self = *static_cast<const Writer*>(coder);
    State state = State::FromWord(self.set_, c.shift_out);
    TwoWays ways;
    std::uint32_t done = 0;
    while (done < count) {
      done += self.WriteRun(c, state, ways, code_points + done, count - done);
      if (done == count || !self.WriteOne(c, state, code_points[done])) break;
      c.produced_replacement |= code_points[done] == kReplacementCharacter;
      ++done;
    }
    c.shift_out = state.ToWord(self.set_);
    return done;
  }
  static bool Replace(const void* coder, Conversion& c) noexcept {
    const auto& self = *static_cast<const Writer*>(coder);
    State state = State::FromWord(self.set_, c.shift_out);
    const bool done = self.WriteOne(c, state, '?');
    c.shift_out = state.ToWord(self.set_);
    return done;
  }
  static void Finish(const void* coder, Conversion& c) noexcept {
    const auto& self = *static_cast<const Writer*>(coder);
    State state = State::FromWord(self.set_, c.shift_out);
    Text text;
    self.ToAscii(state, text);
    if (text.length != 0 && c.Emit({text.bytes, text.length}))
      c.shift_out = state.ToWord(self.set_);
  }
  static std::uint32_t ReturnLength(std::uint32_t word) noexcept {
    return (word & 31) != 0 ? 3 : word >> 20 & 1;
  }

 private:
  // What one character takes, with everything in front of it: 8 bytes suffice (ESC $ + I, ESC O and
  // two bytes; or the header, SO and two bytes).
  struct Text {
    std::uint64_t bytes = 0;
    std::uint32_t length = 0;

    void Add(std::uint32_t byte) noexcept {
      KES_DCHECK(length < 8);
      bytes |= static_cast<std::uint64_t>(byte) << (8 * length++);
    }
    void Add(const Designation& row) noexcept {
      for (std::uint32_t i = 0; i < row.length; ++i) Add(static_cast<std::uint8_t>(row.escape[i]));
    }
  };

  // The two kinds of text that a set goes back and forth between: ASCII, and the part that the
  // shift or the other escape sequence leads to.
  struct TwoWays {
    Part other = kAscii;  // none
    std::uint32_t to_ascii = 0, to_other = 0;
    std::uint32_t length = 0;       // of either
    std::uint32_t designation = 0;  // four bytes; 0: none is needed
    std::optional<NumberTable> numbers;
  };

  void FindWays(const State& state, TwoWays& ways) const noexcept {
    const Part before = ways.other;
    ways.other = kAscii;
    if ((set_ & kJapanese) != 0) {
      // With a part in G2 a character may have to be looked for there first.
      if (state.g(2) != kAscii || (state.g(0) != kAscii && state.g(0) != kJis0208)) return;
      ways.other = kJis0208;
      ways.to_ascii = kToAscii;
      ways.to_other = kToJis0208;
      ways.length = 3;
    } else {
      if (set_ == kKr && !state.header()) return;
      // With nothing designated the first preference is, which every new line needs again.
      const bool others = state.g(2) != kAscii || state.g(3) != kAscii;
      if (state.g(1) == kAscii && others) return;
      ways.other = state.g(1) == kAscii ? kGb2312 : state.g(1);
      ways.designation = ways.other == kGb2312 ? EscapeNumber(*FindDesignation(kCn, kGb2312)) : 0;
      ways.to_ascii = kShiftIn;
      ways.to_other = kShiftOut;
      ways.length = 1;
    }
    if (ways.other != kAscii && ways.other != before) {
      ways.numbers.emplace(composed_->lender(kTables[ways.other].lender));
    }
  }

  // Characters of those two kinds, where room is no question; returns how many.
  std::uint32_t WriteRun(Conversion& c, State& state, TwoWays& ways,
                         const std::uint32_t* code_points, std::uint32_t count) const noexcept {
    FindWays(state, ways);
    const std::size_t sure = c.room() / kMostBytes;
    const std::uint32_t fit = sure <= 1       ? 0
                              : sure <= count ? static_cast<std::uint32_t>(sure - 1)
                                              : count;
    if (ways.other == kAscii || fit == 0) return 0;
    const NumberTable numbers = *ways.numbers;
    const bool chinese = (set_ & kChinese) != 0;
    bool other = state.shifted() || state.g(0) != kAscii;
    std::uint8_t* out = c.out;
    bool replacement = false;
    std::uint32_t done = 0;
    for (; done < fit; ++done) {
      const std::uint32_t code_point = code_points[done];
      if (code_point < 0x80) {
        if (code_point < 0x20 && code_point != '\n') break;
        if (other) {
          StoreEscape(out, ways.to_ascii);
          out += ways.length;
          other = false;
        }
        *out++ = static_cast<std::uint8_t>(code_point);
        if (code_point == '\n') state.EndLine(set_);
        continue;
      }
      const std::uint32_t bytes = numbers.Find(code_point) - 0x8080;
      if ((bytes >> 8) - 0x21 >= 94 || !IsGraphic(bytes & 0xFF)) break;
      if (!other) {
        if (state.g(1) != ways.other && chinese) {
          if (ways.designation == 0) break;
          StoreEscape(out, ways.designation);
          out += sizeof ways.designation;
          state.Designate(1, ways.other);
        }
        StoreEscape(out, ways.to_other);
        out += ways.length;
        other = true;
      }
      out[0] = static_cast<std::uint8_t>(bytes >> 8);
      out[1] = static_cast<std::uint8_t>(bytes);
      out += 2;
      replacement |= code_point == kReplacementCharacter;
    }
    c.out = out;
    c.produced_replacement |= replacement;
    if ((set_ & kJapanese) != 0) {
      state.Designate(0, other ? kJis0208 : kAscii);
    } else {
      state.Shift(other);
    }
    return done;
  }
  static constexpr std::size_t kMostBytes = 8;

  // Writes one character with what it needs in front. False: it is not in the set, or does not fit;
  // then the state is what it was.
  bool WriteOne(Conversion& c, State& before, std::uint32_t code_point) const noexcept {
    if (code_point > kMaxCodePoint) return false;
    State state = before;
    Text text;
    if (set_ == kKr && !state.header()) {
      text.Add(*FindDesignation(kKr, kKsx1001));
      state.SetHeader();
    }
    if (!(code_point < 0x80 ? AddAscii(state, text, code_point)
                            : AddOther(state, text, code_point))) {
      return false;
    }
    if (!c.more && c.room() < text.length + ReturnLength(state)) {
      c.full = true;
      return false;
    }
    if (!c.Emit({text.bytes, text.length})) return false;
    before = state;
    return true;
  }
  static std::uint32_t ReturnLength(const State& state) noexcept {
    return state.g(0) != kAscii ? 3 : state.shifted() ? 1 : 0;
  }

  static void ToAscii(State& state, Text& text) noexcept {
    if (state.g(0) != kAscii) text.Add(kDesignations[0]);
    if (state.shifted()) text.Add(kShiftIn);
    state.Designate(0, kAscii);
    state.Shift(false);
  }

  bool AddAscii(State& state, Text& text, std::uint32_t code_point) const noexcept {
    if (code_point == kEscape || code_point == kShiftOut || code_point == kShiftIn) return false;
    const bool same_in_roman =
        code_point >= 0x20 && code_point < 0x7F && code_point != '\\' && code_point != '~';
    if (state.g(0) != kRoman || !same_in_roman) ToAscii(state, text);
    if (IsLineEnd(code_point)) state.EndLine(set_);
    text.Add(code_point);
    return true;
  }

  bool AddOther(State& state, Text& text, std::uint32_t code_point) const noexcept {
    for (std::uint32_t i = 0; i < 4; ++i) {
      const Part part = state.g(i);
      if (part != kAscii && AddPart(state, text, part, code_point)) return true;
    }
    for (const Part part : kPreferences) {
      if (FindDesignation(set_, part) != nullptr && AddPart(state, text, part, code_point)) {
        return true;
      }
    }
    return false;
  }

  bool AddPart(State& state, Text& text, Part part, std::uint32_t code_point) const noexcept {
    const std::uint32_t bytes = Find(part, code_point);
    if (bytes == 0) return false;
    const Designation& row = *FindDesignation(set_, part);
    if (state.g(row.target) != part) text.Add(row);
    state.Designate(row.target, part);
    if (row.target == 1 && !state.shifted()) {
      text.Add(kShiftOut);
      state.Shift(true);
    }
    if (row.target >= 2) {
      text.Add(kEscape);
      text.Add(row.target == 2 ? 'N' : 'O');
    }
    if (bytes > 0xFF) text.Add(bytes >> 8);
    text.Add(bytes & 0xFF);
    return true;
  }

  // The 7-bit bytes of a code point in a part; 0 none.
  std::uint32_t Find(Part part, std::uint32_t code_point) const noexcept {
    const PartTables& tables = kTables[part];
    const std::uint32_t number = NumberTable(composed_->lender(tables.lender)).Find(code_point);
    if (tables.bytes == 1) {
      const std::uint32_t byte = number & 0x7F;
      return number != 0 && number >> 8 == tables.prefix && (number & 0x80) == tables.high &&
                     byte >= 0x20
                 ? byte
                 : 0;
    }
    const std::uint32_t front =
        static_cast<std::uint32_t>(tables.prefix) << (tables.plane != 0 ? 8 : 0) | tables.plane;
    const std::uint32_t bytes = number & 0x7F7F;
    if (number >> 16 != front || (number & 0x8080) != 0x8080 || !IsGraphic(bytes >> 8) ||
        !IsGraphic(bytes & 0xFF) || (part == kJis0213a && IsNewIn2004(bytes))) {
      return 0;
    }
    return bytes;
  }

  const Iso2022* composed_;
  Set set_;
};

}  // namespace
}  // namespace iso2022

bool Iso2022::Open(BlockEncoder& encoder) const noexcept {
  if (complete_) {
    encoder.Set(iso2022::Writer::Write, iso2022::Writer::Replace, iso2022::Writer(*this));
    encoder.SetReturn(iso2022::Writer::Finish, iso2022::Writer::ReturnLength);
  }
  return complete_;
}

}  // namespace kestra::nls::convert
