// The vocabulary of date format models: elements, their names in ASCII and in EBCDIC, their ranges,
// and how a compiled format is laid out (kestra/date_format.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datetime/ldx_state.h"
#include "kestra/date_format.h"

namespace kestra::datetime {

inline constexpr std::size_t kElementSize = 2;
inline constexpr std::size_t kLiteralHead = 2;
inline constexpr std::uint8_t kLiteralBase = 46;  // first byte of a literal, less its length
inline constexpr std::size_t kMaxLiteral = 209;
inline constexpr std::uint32_t kCodes = 46;  // codes of compiled elements are below

enum LiteralKind : std::uint8_t { kPunctuation = 1, kQuoted = 2, kBlanks = 4 };

// The modifier byte.
inline constexpr std::uint8_t kSuffixMask = 3;
enum Suffix : std::uint8_t { kNoSuffix = 0, kOrdinal = 1, kSpelled = 2, kSpelledOrdinal = 3 };
inline constexpr std::uint8_t kLettersMask = 12;
enum Letters : std::uint8_t { kUpper = 0, kCapitalised = 4, kLower = 8 };
inline constexpr std::uint8_t kFill = 16;

// What an element is. number: the error of a value out of low..high, 0 when it has no range.
struct Descriptor {
  std::uint16_t number;
  std::int16_t low;
  std::int32_t high;
  std::uint8_t flags;  // low four bits: digits; kNameFlag: written as a name
};
inline constexpr std::uint8_t kNameFlag = 0x80;
inline constexpr std::uint8_t kModifierFlag = 0xC0;
inline constexpr std::uint8_t kDigitsMask = 0x0F;

inline constexpr std::array<Descriptor, kCodes> kDescriptors = [] {
  std::array<Descriptor, kCodes> table{};
  table[KES_DATE_CC] = {0, 0, 99, 2};
  table[KES_DATE_SCC] = {0, -48, 99, 2};
  table[KES_DATE_I] = table[KES_DATE_Y] = {1841, 0, 9, 1};
  table[KES_DATE_IY] = table[KES_DATE_YY] = {1841, 0, 99, 2};
  table[KES_DATE_IYY] = table[KES_DATE_YYY] = {1841, 0, 999, 3};
  table[KES_DATE_IYYY] = table[KES_DATE_YYYY] = {1841, 0, 9999, 4};
  table[KES_DATE_Y_YYY] = {1841, 0, 9999, 5};
  table[KES_DATE_SYYYY] = table[KES_DATE_NYYYY] = {1841, -4712, 9999, 5};
  table[KES_DATE_SY_YYY] = {1841, -4712, 9999, 6};
  table[KES_DATE_YEAR] = table[KES_DATE_SYEAR] = {0, 0, 0, kNameFlag};
  table[KES_DATE_Q] = {1842, 1, 4, 1};
  table[KES_DATE_MM] = {1843, 1, 12, 2};
  table[KES_DATE_IW] = {1860, 1, 53, 2};
  table[KES_DATE_WW] = {1844, 1, 52, 2};
  table[KES_DATE_W] = {1845, 1, 4, 1};
  table[KES_DATE_D] = {1846, 1, 7, 1};
  table[KES_DATE_DD] = {1847, 1, 31, 2};
  table[KES_DATE_DDD] = {1848, 1, 366, 3};
  table[KES_DATE_HH24] = {1850, 0, 23, 2};
  table[KES_DATE_HH12] = {1849, 1, 12, 2};
  table[KES_DATE_MI] = {1851, 0, 59, 2};
  table[KES_DATE_SS] = {1852, 0, 59, 2};
  table[KES_DATE_SSSSS] = {1853, 0, 86399, 5};
  table[KES_DATE_J] = {1854, 1, 5373484, 7};
  table[KES_DATE_MONTH] = table[KES_DATE_MON] = table[KES_DATE_RM] = {1843, 1, 12, kNameFlag};
  table[KES_DATE_DAY] = table[KES_DATE_DY] = {1846, 1, 7, kNameFlag};
  table[KES_DATE_AM] = table[KES_DATE_A_M] = {1855, 0, 1, kNameFlag};
  table[KES_DATE_AD] = table[KES_DATE_A_D] = {1856, 0, 1, kNameFlag};
  table[KES_DATE_FM] = table[KES_DATE_FX] = {0, 0, 0, kModifierFlag};
  table[KES_DATE_RR] = {1841, 0, 99, 2};
  table[KES_DATE_RRRR] = {1841, 0, 9999, 4};
  table[KES_DATE_E] = table[KES_DATE_EE] = {0, 0, 0, kNameFlag};
  return table;
}();

constexpr bool IsElementCode(std::uint32_t code) noexcept {
  return code != 0 && code < kCodes && code != KES_DATE_FM;
}

constexpr std::uint64_t Bit(std::uint32_t code) noexcept { return std::uint64_t{1} << code; }

// Elements that are written but not read.
inline constexpr std::uint64_t kUnreadable =
    Bit(KES_DATE_CC) | Bit(KES_DATE_SCC) | Bit(KES_DATE_I) | Bit(KES_DATE_IY) | Bit(KES_DATE_IYY) |
    Bit(KES_DATE_IYYY) | Bit(KES_DATE_YEAR) | Bit(KES_DATE_SYEAR) | Bit(KES_DATE_Q) |
    Bit(KES_DATE_IW) | Bit(KES_DATE_WW) | Bit(KES_DATE_W);

// The error of the first group of elements of which more than one was seen; 0: none.
std::uint32_t GroupError(std::uint64_t seen) noexcept;

// A row of the element table: a name in a basis. length is how much of it is the element's own
// name; what follows is a suffix (DSP).
struct ElementRow {
  std::uint8_t name[7];
  std::uint8_t length;
  std::uint8_t code;
};
inline constexpr std::size_t kRows = 54;
inline constexpr std::uint8_t kNoRow = 0xFF;

struct ElementTable {
  std::array<ElementRow, kRows> rows;
  std::array<std::uint8_t, 26> first;  // by initial letter: its first row, or kNoRow
};
extern const ElementTable kAsciiElements;
extern const ElementTable kEbcdicElements;

// A character of ASCII in EBCDIC; letters, digits, blank and signs that all its code pages share.
constexpr std::uint8_t ToEbcdic(char c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0' + 0xF0);
  const bool small = c >= 'a' && c <= 'z';
  if (small || (c >= 'A' && c <= 'Z')) {
    const int place = c - (small ? 'a' : 'A');
    const int row = place < 9 ? 0xC1 + place : place < 18 ? 0xD1 + place - 9 : 0xE2 + place - 18;
    return static_cast<std::uint8_t>(small ? row - 0x40 : row);
  }
  switch (c) {
    case '.':
      return 0x4B;
    case '+':
      return 0x4E;
    case '-':
      return 0x60;
    case ',':
      return 0x6B;
    case '"':
      return 0x7F;
    default:
      return 0x40;  // blank
  }
}

constexpr std::uint8_t InBasis(char c, Basis basis) noexcept {
  return basis == Basis::kEbcdic ? ToEbcdic(c) : static_cast<std::uint8_t>(c);
}

}  // namespace kestra::datetime
