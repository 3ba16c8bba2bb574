// The parts, designations and states of the ISO-2022 sets (RFC 1468, 1554, 1557, 1922; JIS X 0213
// annex 2), for the reader and the writer.
//
// One table of designations says which escape sequence puts which part into which of the four
// registers G0 to G3, and in which of the six sets that is allowed. The Japanese sets use G0 for
// everything but the Latin and Greek right halves, the Chinese and Korean ones keep ASCII there and
// shift to G1. G2 and G3 are for one character at a time, behind ESC N and ESC O.
#pragma once

#include <array>
#include <bit>

#include "nls/lxg_iso2022.h"
#include "nls/object_view.h"

namespace kestra::nls::convert::iso2022 {

using Part = Iso2022::Part;
using enum Iso2022::Part;

inline constexpr std::uint32_t kEscape = 0x1B, kShiftOut = 0x0E, kShiftIn = 0x0F;

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
inline constexpr PartTables kTables[Iso2022::kPartCount] = {
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
inline constexpr Designation kDesignations[] = {
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

inline constexpr std::size_t kSetCount = 6;
inline constexpr std::uint8_t kNoRow = 0xFF;

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
inline constexpr auto kRows = MakeRows();

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
inline void StoreEscape(std::uint8_t* out, std::uint32_t number) noexcept {
  if constexpr (std::endian::native == std::endian::big) number = __builtin_bswap32(number);
  std::memcpy(out, &number, sizeof number);
}
constexpr auto MakeEscapeNumbers() noexcept {
  std::array<std::uint32_t, std::size(kDesignations)> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = EscapeNumber(kDesignations[i]);
  return numbers;
}
inline constexpr auto kEscapeNumbers = MakeEscapeNumbers();
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
inline constexpr auto kRowsByPlace = MakeRowsByPlace();
static_assert([] {  // each row has a place of its own
  for (std::size_t i = 0; i < kEscapeNumbers.size(); ++i) {
    if (kRowsByPlace[RowPlace(kEscapeNumbers[i])] != i) return false;
  }
  return true;
}());
inline constexpr std::uint32_t kToAscii = EscapeNumber(*FindDesignation(kJp, kAscii));
inline constexpr std::uint32_t kToJis0208 = EscapeNumber(*FindDesignation(kJp, kJis0208));

// The four bytes at p as such a number.
inline std::uint32_t EscapeAt(const std::uint8_t* p) noexcept {
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

}  // namespace kestra::nls::convert::iso2022
