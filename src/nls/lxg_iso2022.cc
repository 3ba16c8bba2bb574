// How the ISO-2022 sets are read and written (RFC 1468, 1554, 1557, 1922; JIS X 0213 annex 2).
//
// One table of designations says which escape sequence puts which part into which of the four
// registers G0 to G3, and in which of the six sets that is allowed. The Japanese sets use G0 for
// everything but the Latin and Greek right halves, the Chinese and Korean ones keep ASCII there and
// shift to G1. G2 and G3 are for one character at a time, behind ESC N and ESC O.
//
// Choices. Writing: a character stays in a part that is designated already, else the first part in
// the order of kPreferences that has it is taken. Line ends drop what the standards say they drop.
// ESC, SO and SI as characters are not in these sets, so that no text can smuggle in a designation.
// Reading: an escape sequence that the set does not know is a malformed ESC, and what follows it is
// text; Korean text need not have its header.
#include "nls/lxg_iso2022.h"

#include <array>
#include <bit>
#include <optional>

#include "kestra/handle.h"
#include "nls/lxg_stateful_codec.h"

namespace kestra::nls::convert {
namespace {

using Part = Iso2022::Part;
using enum Iso2022::Part;

constexpr std::uint32_t kEscape = 0x1B, kShiftOut = 0x0E, kShiftIn = 0x0F;

enum Set : std::uint8_t {
  kJp3 = 1,
  kJp2 = 2,
  kCnExt = 4,
  kCn = 8,
  kKr = 16,
  kJp = 32,
  kJapanese = kJp | kJp2 | kJp3,
  kChinese = kCn | kCnExt,
};
// Ids 9994 to 9999 in order.
constexpr Set SetOf(std::uint32_t id) noexcept { return static_cast<Set>(1u << (id - 9994)); }

// Where a part's tables are: the lender's character is prefix, plane and the bytes with high added;
// a prefix or plane of 0 is left out.
struct PartTables {
  Iso2022::Lender lender;
  std::uint8_t bytes;  // of a character here
  std::uint8_t high;
  std::uint8_t prefix;
  std::uint8_t plane;
};
constexpr PartTables kTables[Iso2022::kPartCount] = {
    {Iso2022::kNoLender, 1, 0, 0, 0},          // ASCII
    {Iso2022::kJisX0201, 1, 0, 0, 0},          // Roman
    {Iso2022::kEucJis0213, 1, 0x80, 0x8E, 0},  // katakana
    {Iso2022::kEucJp, 2, 0x80, 0, 0},          // JIS X 0208
    {Iso2022::kEucJp, 2, 0x80, 0x8F, 0},       // JIS X 0212
    {Iso2022::kEucJis0213, 2, 0x80, 0, 0},     // JIS X 0213 plane 1
    {Iso2022::kEucJis0213, 2, 0x80, 0, 0},     // ... as of 2004
    {Iso2022::kEucJis0213, 2, 0x80, 0x8F, 0},  // JIS X 0213 plane 2
    {Iso2022::kGb2312Set, 2, 0x80, 0, 0},      // GB 2312
    {Iso2022::kEucKr, 2, 0x80, 0, 0},          // KS X 1001
    {Iso2022::kIso8859p1, 1, 0x80, 0, 0},      // Latin
    {Iso2022::kIso8859p7, 1, 0x80, 0, 0},      // Greek
    {Iso2022::kEucTw, 2, 0x80, 0, 0},          // CNS 11643 planes 1 to 7
    {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA2},   {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA3},
    {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA4},   {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA5},
    {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA6},   {Iso2022::kEucTw, 2, 0x80, 0x8E, 0xA7},
};

struct Designation {
  char escape[5];
  std::uint8_t length;
  std::uint8_t target;  // 0 to 3: G0 to G3
  Part part;
  std::uint8_t sets;
};
// The first row of a part is the one that is written.
constexpr Designation kDesignations[] = {
    {"\x1B(B", 3, 0, kAscii, kJapanese},   {"\x1B(J", 3, 0, kRoman, kJapanese},
    {"\x1B(I", 3, 0, kKatakana, kJp3},     {"\x1B$B", 3, 0, kJis0208, kJapanese},
    {"\x1B$@", 3, 0, kJis0208, kJapanese}, {"\x1B$(D", 4, 0, kJis0212, kJp2},
    {"\x1B$(O", 4, 0, kJis0213a, kJp3},    {"\x1B$(Q", 4, 0, kJis0213a2004, kJp3},
    {"\x1B$(P", 4, 0, kJis0213b, kJp3},    {"\x1B$A", 3, 0, kGb2312, kJp2},
    {"\x1B$(C", 4, 0, kKsx1001, kJp2},     {"\x1B.A", 3, 2, kLatin1, kJp2},
    {"\x1B.F", 3, 2, kGreek, kJp2},        {"\x1B$)A", 4, 1, kGb2312, kChinese},
    {"\x1B$)G", 4, 1, kCns1, kChinese},    {"\x1B$)C", 4, 1, kKsx1001, kKr},
    {"\x1B$*H", 4, 2, kCns2, kChinese},    {"\x1B$+I", 4, 3, kCns3, kCnExt},
    {"\x1B$+J", 4, 3, kCns4, kCnExt},      {"\x1B$+K", 4, 3, kCns5, kCnExt},
    {"\x1B$+L", 4, 3, kCns6, kCnExt},      {"\x1B$+M", 4, 3, kCns7, kCnExt},
};

constexpr Part kPreferences[] = {kRoman,    kKatakana, kJis0208, kJis0212, kJis0213a, kJis0213a2004,
                                 kJis0213b, kLatin1,   kGreek,   kGb2312,  kKsx1001,  kCns1,
                                 kCns2,     kCns3,     kCns4,    kCns5,    kCns6,     kCns7};

constexpr std::size_t kSetCount = 6;
constexpr std::uint8_t kNoRow = 0xFF;

// The row by which a set designates a part.
constexpr auto MakeRows() noexcept {
  std::array<std::array<std::uint8_t, Iso2022::kPartCount>, kSetCount> rows{};
  for (std::size_t set = 0; set < kSetCount; ++set) {
    rows[set].fill(kNoRow);
    for (std::size_t i = std::size(kDesignations); i-- > 0;) {
      if ((kDesignations[i].sets >> set & 1) != 0) {
        rows[set][kDesignations[i].part] = static_cast<std::uint8_t>(i);
      }
    }
  }
  return rows;
}
constexpr auto kRows = MakeRows();

// Null: the set does not have the part.
constexpr const Designation* FindDesignation(Set set, Part part) noexcept {
  const std::uint8_t row = kRows[static_cast<std::size_t>(std::countr_zero<unsigned>(set))][part];
  return row == kNoRow ? nullptr : &kDesignations[row];
}

// An escape sequence as the number that its bytes make, the first one lowest.
constexpr std::uint32_t EscapeNumber(const Designation& row) noexcept {
  std::uint32_t number = 0;
  for (std::uint32_t i = 0; i < row.length; ++i) {
    number |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(row.escape[i])) << (8 * i);
  }
  return number;
}
// Writes four bytes.
void StoreEscape(std::uint8_t* out, std::uint32_t number) noexcept {
  if constexpr (std::endian::native == std::endian::big) number = __builtin_bswap32(number);
  std::memcpy(out, &number, sizeof number);
}
constexpr auto MakeEscapeNumbers() noexcept {
  std::array<std::uint32_t, std::size(kDesignations)> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = EscapeNumber(kDesignations[i]);
  return numbers;
}
constexpr auto kEscapeNumbers = MakeEscapeNumbers();
// The only row that an escape sequence can be, by its final byte and those in front of it.
constexpr std::size_t RowPlace(std::uint32_t number) noexcept {
  const std::uint32_t second = number >> 8 & 0xFF;
  const std::uint32_t third = number >> 16 & 0xFF;
  if (second == '$' && third - '(' < 4) return (third - '(') * 32 + (number >> 24 & 31);
  const std::uint32_t kind = second == '(' ? 4 : second == '$' ? 5 : second == '.' ? 6 : 7;
  return kind * 32 + (third & 31);
}
constexpr auto MakeRowsByPlace() noexcept {
  std::array<std::uint8_t, 256> rows{};
  rows.fill(kNoRow);
  for (std::size_t i = 0; i < kEscapeNumbers.size(); ++i) {
    rows[RowPlace(kEscapeNumbers[i])] = static_cast<std::uint8_t>(i);
  }
  return rows;
}
constexpr auto kRowsByPlace = MakeRowsByPlace();
static_assert([] {  // each row has a place of its own
  for (std::size_t i = 0; i < kEscapeNumbers.size(); ++i) {
    if (kRowsByPlace[RowPlace(kEscapeNumbers[i])] != i) return false;
  }
  return true;
}());
constexpr std::uint32_t kToAscii = EscapeNumber(*FindDesignation(kJp, kAscii));
constexpr std::uint32_t kToJis0208 = EscapeNumber(*FindDesignation(kJp, kJis0208));

// The four bytes at p as such a number.
std::uint32_t EscapeAt(const std::uint8_t* p) noexcept {
  const std::uint32_t number = Load32(p, 0);
  return std::endian::native == std::endian::big ? __builtin_bswap32(number) : number;
}

constexpr bool IsLineEnd(std::uint32_t byte) noexcept { return byte == '\n' || byte == '\r'; }

// The state word: registers in five bits each, 0 (ASCII) for nothing designated; then whether G1 is
// shifted to, and whether the Korean header has been written.
class State {
 public:
  // Words may come from the caller: what the set cannot have designated there counts as nothing.
  static State FromWord(Set set, std::uint32_t word) noexcept {
    State state;
    for (std::uint32_t i = 0; i < 4 && word != 0; ++i) {
      const std::uint32_t part = word >> (5 * i) & 31;
      if (part == kAscii || part >= Iso2022::kPartCount) continue;
      const Designation* row = FindDesignation(set, static_cast<Part>(part));
      if (row != nullptr && row->target == i) state.Designate(i, static_cast<Part>(part));
    }
    if (set == kKr) {
      state.Designate(1, kKsx1001);
      state.word_ |= word & kHeader;
    }
    if (state.g(1) != kAscii) state.word_ |= word & kShifted;
    return state;
  }
  // The Korean designation is always the same, so it is left out.
  std::uint32_t ToWord(Set set) const noexcept {
    return set == kKr ? word_ & (kShifted | kHeader) : word_;
  }

  Part g(std::uint32_t i) const noexcept { return static_cast<Part>(word_ >> (5 * i) & 31); }
  void Designate(std::uint32_t i, Part part) noexcept {
    word_ = (word_ & ~(31u << (5 * i))) | static_cast<std::uint32_t>(part) << (5 * i);
  }
  bool shifted() const noexcept { return (word_ & kShifted) != 0; }
  void Shift(bool shifted) noexcept { word_ = (word_ & ~kShifted) | (shifted ? kShifted : 0); }
  bool header() const noexcept { return (word_ & kHeader) != 0; }
  void SetHeader() noexcept { word_ |= kHeader; }

  void EndLine(Set set) noexcept {
    if ((set & kChinese) != 0) word_ = 0;  // there is nothing to be shifted to either
    if (set == kJp2) Designate(2, kAscii);
  }

 private:
  static constexpr std::uint32_t kShifted = 1u << 20;
  static constexpr std::uint32_t kHeader = 1u << 21;
  std::uint32_t word_ = 0;
};

// The 94 places of a part; the right halves of ISO 8859 use 96.
constexpr bool IsGraphic(std::uint32_t byte) noexcept { return byte - 0x21 < 94; }

// Characters of JIS X 0213 plane 1 that the designation of 2000 does not have.
constexpr bool IsNewIn2004(std::uint32_t bytes) noexcept {
  return bytes == 0x2E21 || bytes == 0x2F7E || bytes == 0x4F54 || bytes == 0x4F7E ||
         bytes == 0x7427 || (bytes >= 0x7E7A && bytes <= 0x7E7E);
}

class Reader {
 public:
  explicit Reader(const Iso2022& composed) noexcept
      : composed_(&composed), set_(SetOf(composed.id())) {}

  static void Read(const void* coder, const std::uint8_t* in, const std::uint8_t* end,
                   std::uint32_t state, std::uint32_t limit, Block& block) noexcept {
    static_cast<const Reader*>(coder)->ReadBlock(in, end, state, limit, block);
  }

 private:
  // The table of the part that was read last, and what designates it.
  struct Pairs {
    Part part = kAscii;
    std::uint32_t escape_length = 0;
    std::uint32_t escape = 0;
    std::optional<PairTable> table;
  };

  void ReadBlock(const std::uint8_t* in, const std::uint8_t* end, std::uint32_t word,
                 std::uint32_t limit, Block& block) const noexcept {
    State state = State::FromWord(set_, word);
    Pairs pairs;
    const std::uint8_t* p = in;
    std::uint32_t count = 0;
    for (;;) {
      while (p < end) {
        const std::uint32_t length = ReadControl(p, end, state);
        if (length == 0) break;
        p += length;
      }
      if (count == limit || p == end) break;
      const std::uint8_t* const before = p;
      count += ReadRun(p, end, state, pairs, block.code_points + count, limit - count);
      if (p != before) continue;
      const Decoded character = ReadOne(p, end, state);
      block.code_points[count++] = character.code_point;
      p += character.length;
    }
    block.count = count;
    block.bytes = static_cast<std::size_t>(p - in);
    block.state = state.ToWord(set_);
  }

  // Obeys a designation or a shift; returns its length, 0 when there is none.
  std::uint32_t ReadControl(const std::uint8_t* p, const std::uint8_t* end,
                            State& state) const noexcept {
    if (*p == kEscape) {
      const auto left = static_cast<std::size_t>(end - p);
      std::uint32_t number = 0;
      if (left >= 4) {
        number = EscapeAt(p);
      } else {
        for (std::uint32_t i = 0; i < left; ++i) number |= std::uint32_t{p[i]} << (8 * i);
      }
      const std::uint8_t row_number = kRowsByPlace[RowPlace(number)];
      if (row_number != kNoRow) {
        const Designation& row = kDesignations[row_number];
        const std::uint32_t mask = row.length == 3 ? 0xFFFFFF : 0xFFFFFFFF;
        if ((number & mask) == kEscapeNumbers[row_number] && (row.sets & set_) != 0) {
          state.Designate(row.target, row.part);
          return row.length;
        }
      }
      return 0;
    }
    if ((set_ & kJapanese) != 0) return 0;
    if (*p == kShiftIn) {
      state.Shift(false);
      return 1;
    }
    if (*p == kShiftOut && state.g(1) != kAscii) {
      state.Shift(true);
      return 1;
    }
    return 0;
  }

  // Characters of ASCII and of one other part, with the shifts, line ends and escape sequences
  // that lead from one to the other. Returns how many characters.
  std::uint32_t ReadRun(const std::uint8_t*& p, const std::uint8_t* end, State& state, Pairs& pairs,
                        std::uint32_t* out, std::uint32_t limit) const noexcept {
    const bool japanese = (set_ & kJapanese) != 0;
    Part other = japanese ? state.g(0) : state.g(1);
    if (other != kAscii && (kTables[other].bytes != 2 || kTables[other].prefix != 0)) return 0;
    if (other == kAscii) other = japanese ? kJis0208 : kGb2312;  // what comes most likely
    if (pairs.part != other) {
      pairs.part = other;
      pairs.table.emplace(composed_->lender(kTables[other].lender));
      const Designation* row = FindDesignation(set_, other);
      pairs.escape_length = row == nullptr ? 0 : row->length;
      pairs.escape = row == nullptr ? 0 : EscapeNumber(*row);
    }
    const PairTable& table = *pairs.table;
    const std::uint32_t escape_mask = pairs.escape_length == 3 ? 0xFFFFFF : 0xFFFFFFFF;
    bool in_other = state.shifted() || state.g(0) != kAscii;
    std::uint32_t count = 0;
    while (p < end && count < limit) {
      const std::uint32_t byte = *p;
      if (in_other && byte >= 0x21) {
        const std::uint32_t run = table.ReadRun(p, end, out + count, limit - count, 0x80, 0x21);
        if (run == 0) break;
        count += run;
        p += std::size_t{2} * run;
        // One letter between two words, most often a space.
        while (end - p >= 3 && p[0] == kShiftIn && p[2] == kShiftOut && p[1] - 0x20u < 0x60 &&
               !japanese && count < limit) {
          out[count++] = p[1];
          p += 3;
        }
      } else if (!in_other && byte - 0x20 < 0x60) {
        // A character a step is better where a space stands between two words of the other part.
        if (end - p >= 8 && limit - count >= 8 && ArePrintable(LoadAt<std::uint64_t>(p, 0))) {
          for (std::uint32_t k = 0; k < 8; ++k) out[count + k] = p[k];
          count += 8;
          p += 8;
        } else {
          out[count++] = byte;
          ++p;
        }
      } else if (IsLineEnd(byte)) {
        out[count++] = byte;
        ++p;
        state.EndLine(set_);
        in_other = in_other && (japanese || state.shifted());
      } else if (byte == kEscape && end - p >= 4) {
        const std::uint32_t number = EscapeAt(p);
        if ((number & escape_mask) == pairs.escape && pairs.escape_length != 0) {
          if (!japanese) state.Designate(1, other);
          in_other = japanese || in_other;
          p += pairs.escape_length;
        } else if (japanese && (number & 0xFFFFFF) == kToAscii) {
          in_other = false;
          p += 3;
        } else {
          break;
        }
      } else if (!japanese && byte == kShiftOut && state.g(1) == other) {
        in_other = true;
        state.Shift(true);
        ++p;
      } else if (!japanese && byte == kShiftIn) {
        in_other = false;
        state.Shift(false);
        ++p;
      } else {
        break;
      }
    }
    if (japanese) state.Designate(0, in_other ? other : kAscii);
    return count;
  }

  // Eight bytes, all of them 20..7F.
  static bool ArePrintable(std::uint64_t bytes) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    return (((bytes - 0x20 * kOnes) | bytes) & 0x80 * kOnes) == 0;
  }

  Decoded ReadOne(const std::uint8_t* p, const std::uint8_t* end, State& state) const noexcept {
    const std::uint32_t byte = *p;
    const auto left = static_cast<std::size_t>(end - p);
    if (byte == kEscape) return ReadEscape(p, left, state);
    if (byte >= 0x80) return {kMalformed, 1};
    if (byte == kShiftOut && (set_ & kJapanese) == 0) return {kMalformed, 1};
    if (!IsGraphic(byte)) {
      if (IsLineEnd(byte)) state.EndLine(set_);
      return {byte, 1};
    }
    return ReadPart(state.shifted() ? state.g(1) : state.g(0), p, left);
  }

  // A character behind ESC N or ESC O, or a malformed or truncated ESC.
  Decoded ReadEscape(const std::uint8_t* p, std::size_t left, const State& state) const noexcept {
    if (left >= 2 && (p[1] == 'N' || p[1] == 'O')) {
      const Part part = state.g(p[1] == 'N' ? 2 : 3);
      if (part == kAscii) return {kMalformed, 1};
      if (left == 2) return {kTruncated, 2};
      const Decoded character = ReadPart(part, p + 2, left - 2);
      if (character.code_point == kMalformed && character.length == 1) return {kMalformed, 1};
      return {character.code_point, character.length + 2};
    }
    if (left < 4) {
      if (left == 1) return {kTruncated, 1};
      for (const Designation& row : kDesignations) {
        if ((row.sets & set_) != 0 && left < row.length && std::memcmp(p, row.escape, left) == 0) {
          return {kTruncated, static_cast<std::uint32_t>(left)};
        }
      }
    }
    return {kMalformed, 1};
  }

  // A character of a part; a malformed one has length 1 unless all its bytes are in place.
  Decoded ReadPart(Part part, const std::uint8_t* p, std::size_t left) const noexcept {
    const PartTables& tables = kTables[part];
    if (part == kAscii) return {*p, 1};
    if (tables.bytes == 1) {
      const bool in_place =
          IsGraphic(*p) || ((part == kLatin1 || part == kGreek) && *p - 0x20u < 96);
      if (!in_place) return {kMalformed, 1};
      if (tables.prefix != 0) return {ReadLent(tables, p), 1};
      const std::uint32_t code_point = composed_->lender(tables.lender).single()[*p | tables.high];
      return {code_point == nlb::charset::kNoCharacter ? kMalformed : code_point, 1};
    }
    if (!IsGraphic(p[0])) return {kMalformed, 1};
    if (left < 2) return {kTruncated, 1};
    if (!IsGraphic(p[1])) return {kMalformed, 1};
    return {ReadLent(tables, p), 2};
  }

  // A character by a multibyte lender; kMalformed when it has none.
  std::uint32_t ReadLent(const PartTables& tables, const std::uint8_t* p) const noexcept {
    std::uint8_t bytes[4];
    std::uint32_t length = 0;
    if (tables.prefix != 0) bytes[length++] = tables.prefix;
    if (tables.plane != 0) bytes[length++] = tables.plane;
    for (std::uint32_t i = 0; i < tables.bytes; ++i) {
      bytes[length++] = static_cast<std::uint8_t>(p[i] | tables.high);
    }
    const Decoded character =
        MultibyteDecoder(composed_->lender(tables.lender)).Next(bytes, bytes + length);
    const bool whole = character.length == length && character.code_point <= kMaxCodePoint;
    return whole ? character.code_point : kMalformed;
  }

  const Iso2022* composed_;
  Set set_;
};

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

constexpr std::uint16_t kLenderIds[Iso2022::kLenderCount] = {0,   129, 831, 830, 850,
                                                             841, 862, 101, 107};

// The sets that each lender lends to.
constexpr auto MakeBorrowers() noexcept {
  std::array<std::uint8_t, Iso2022::kLenderCount> sets{};
  for (const Designation& row : kDesignations) sets[kTables[row.part].lender] |= row.sets;
  return sets;
}
constexpr auto kBorrowers = MakeBorrowers();

}  // namespace

Iso2022::Iso2022(std::uint32_t id, lxcontext* context) noexcept : id_(id) {
  if (id == 0) return;
  const std::uint32_t error = context->error;
  for (std::size_t i = kNoLender + 1; i < kLenderCount; ++i) {
    if ((kBorrowers[i] & SetOf(id)) == 0) continue;
    if (context->area != nullptr) {
      lenders_[i] = CharsetView(lxpcobj(kLenderIds[i], context));
    }
    complete_ = complete_ && lenders_[i];
  }
  context->error = error;
}

bool Iso2022::Open(BlockDecoder& decoder) const noexcept {
  if (complete_) decoder.Set(Reader::Read, Reader(*this));
  return complete_;
}

bool Iso2022::Open(BlockEncoder& encoder) const noexcept {
  if (complete_) {
    encoder.Set(Writer::Write, Writer::Replace, Writer(*this));
    encoder.SetReturn(Writer::Finish, Writer::ReturnLength);
  }
  return complete_;
}

}  // namespace kestra::nls::convert
