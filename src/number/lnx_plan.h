// How a value is written: so many digits before the point, so many after it, perhaps an exponent.
// 1234.5 as fixed text with 2 places is the digits 0..4 and 4..6 of "12345000...", as scientific
// text 0..1 and 1..5 and exponent 3. A digit index below 0 or past the last digit is a zero. The
// plan tells the size before anything is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "number/lnx_figures.h"
#include "number/lnx_symbols.h"

namespace kestra::number {

struct Plan {
  std::int64_t start = 0;     // index of the first digit written
  std::int64_t integers = 0;  // digits before the point
  std::int64_t fraction = 0;  // digits after it; 0: no point
  bool grouped = false;
  bool scientific = false;
  bool short_exponent = false;  // E5, not E+05
  char letter = 'E';
  std::int64_t exponent = 0;
};

inline constexpr std::string_view kInfinity = "Infinity";

// Every digit of a value without exponent, "0.5" or ".5".
Plan PositionalPlan(const Figures& figures, std::int64_t fraction, bool leading_zero) noexcept;
// One digit before the point.
Plan ScientificPlan(const Figures& figures, std::int64_t fraction) noexcept;

// Bytes of the exponent, 0 without one.
std::size_t ExponentSize(const Plan& plan) noexcept;
// Bytes of the whole text, without separators but those of a grouped plan.
std::size_t PlanSize(const Plan& plan, bool minus, const Symbols& symbols) noexcept;

// Each writes at at, where there must be room, and returns the end.
char* PutPlan(char* at, const Figures& figures, const Plan& plan, const Symbols& symbols) noexcept;
char* PutExponent(char* at, const Plan& plan) noexcept;
char* PutText(char* at, std::string_view text) noexcept;
// count digits from the given index on.
char* PutDigits(char* at, const Figures& figures, std::int64_t index, std::int64_t count) noexcept;

}  // namespace kestra::number
