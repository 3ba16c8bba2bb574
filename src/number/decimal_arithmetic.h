// The arithmetic on values: the plain reference that every kernel falls back on and is compared
// with. Exact results rounded once, by MakeDecimal.
#pragma once

#include <cstdint>

#include "number/number_view.h"

namespace kestra::number {

enum class Rounding : std::uint8_t { kHalfAway, kHalfEven, kTruncate };

Decimal Negated(Decimal value) noexcept;
Decimal Add(const Decimal& x, const Decimal& y) noexcept;
Decimal Subtract(const Decimal& x, const Decimal& y) noexcept;
Decimal Multiply(const Decimal& x, const Decimal& y) noexcept;
Decimal Divide(const Decimal& x, const Decimal& y) noexcept;

// x - y * q, q being x / y cut to an integer or rounded half away from zero. Exact.
Decimal Remainder(const Decimal& x, const Decimal& y, Rounding quotient) noexcept;

// x at so many decimal places.
Decimal RoundAt(const Decimal& x, int places, Rounding rounding) noexcept;

// Negative, zero, positive as |x| is below, equal to, above |y|; both finite.
int CompareMagnitudes(const Decimal& x, const Decimal& y) noexcept;

}  // namespace kestra::number
