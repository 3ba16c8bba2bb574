// The inside of number format models: what the bytes of an lnxmodel mean, and the parts that
// writing and reading share.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestra/number_format.h"
#include "number/lnx_figures.h"
#include "number/lnx_symbols.h"

namespace kestra::number {

enum ModelKind : std::uint8_t { kNotCompiled, kFixed, kHexadecimal, kRoman, kText, kKindEnd };
enum SignStyle : std::uint8_t {
  kMinusBefore,  // a blank or -
  kSignBefore,   // S first
  kSignAfter,    // S last
  kMinusAfter,   // MI
  kBrackets,     // PR
  kSignEnd
};
enum PointKind : std::uint8_t { kNoPoint, kPeriod, kSymbolPoint, kCurrencyPoint, kPointEnd };
enum CurrencyKind : std::uint8_t { kNoCurrency, kDollar, kLocal, kIso, kDual, kCurrencyEnd };
enum CurrencyPlace : std::uint8_t { kBeforeDigits, kAsPoint, kAfterDigits, kPlaceEnd };
enum ModelFlag : std::uint16_t {
  kFillMode = 1,       // FM
  kBlankZero = 2,      // B
  kScientific = 4,     // EEEE, TME
  kLowerCase = 8,      // x, rn, eeee, tm
  kSymbolGroups = 16,  // G rather than ,
  kAllFlags = 31
};

inline constexpr std::size_t kExponentWidth = 5;  // E+123
inline constexpr std::size_t kRomanWidth = 15;    // MMMDCCCLXXXVIII
inline constexpr std::size_t kTextWidth = 64;     // TM9 with a longer text turns to TME

// Whether the struct can have come from lnxfmtcompile: every other function relies on these bounds.
bool IsCompiled(const lnxmodel& model) noexcept;

inline bool HasFlag(const lnxmodel& model, ModelFlag flag) noexcept {
  return (model.flags & flag) != 0;
}
inline bool HasSeparator(const lnxmodel& model, int digits_right) noexcept {
  return (model.groups[digits_right / 64] >> (digits_right % 64) & 1) != 0;
}

std::string_view CurrencyOf(const lnxmodel& model, const Symbols& symbols) noexcept;
std::string_view PointOf(const lnxmodel& model, const Symbols& symbols) noexcept;
std::string_view GroupOf(const lnxmodel& model, const Symbols& symbols) noexcept;
// The width that a currency before or after the digits is given.
std::size_t CurrencyWidth(const lnxmodel& model, const Symbols& symbols) noexcept;
std::size_t ModelWidth(const lnxmodel& model, const Symbols& symbols) noexcept;

// Hexadecimal and Roman text of an integer that is not negative, without blanks; 0: does not fit
// size bytes. Lower case if asked.
std::size_t PutHexadecimal(const Figures& figures, bool lower, std::size_t least, char* out,
                           std::size_t size) noexcept;
std::size_t PutRoman(const Figures& figures, bool lower, char (&out)[kRomanWidth]) noexcept;

// Read all of text; false: bad is an offset in it. Hexadecimal text has at most
// LNX_MODEL_MAX_INTEGERS digits.
bool ReadHexadecimal(std::string_view text, Figures& figures, std::size_t& bad) noexcept;
bool ReadRoman(std::string_view text, Figures& figures, std::size_t& bad) noexcept;

}  // namespace kestra::number
