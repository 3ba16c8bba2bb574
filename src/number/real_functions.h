// Elementary functions on binary floating point of 256 bits, and the ways from and to a Decimal.
#pragma once

#include "number/big_float.h"
#include "number/number_view.h"

namespace kestra::number {

using Real = BigFloat<4>;

// A finite value, to the last bit or nearly.
template <std::size_t N>
BigFloat<N> ToBigFloat(const Decimal& x) noexcept;
Decimal ToDecimal(const Real& x) noexcept;  // rounded once; infinity and zero at the limits

Real Exponential(const Real& x) noexcept;       // |x| below 2^20
Real Logarithm(const Decimal& x) noexcept;      // x > 0
Real HyperbolicSine(const Real& x) noexcept;    // |x| below 2^20
Real HyperbolicCosine(const Real& x) noexcept;  // |x| below 2^20

// The sine of x plus so many right angles: 1 makes it the cosine.
Real Sine(const Decimal& x, unsigned quarters) noexcept;
Real ArcTangent(const Real& x) noexcept;
Real Pi() noexcept;

}  // namespace kestra::number
