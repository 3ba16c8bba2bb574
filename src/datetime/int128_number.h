// NUMBERs against the integers that datetimes and intervals count in.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::datetime {

__extension__ using Int128 = __int128;

// The NUMBER of value / by, rounded as lnxdiv does; by > 0.
void StoreQuotient(Int128 value, std::int64_t by, std::uint8_t* out, std::size_t* outlen) noexcept;

// The integer nearest to x * by, half away from zero. False: beyond 128 bits, or infinite.
bool ReadProduct(const std::uint8_t* x, std::size_t xlen, Int128 by, Int128& value) noexcept;

// The integer nearest to value / x. False: beyond 128 bits. x is not zero.
bool DivideByNumber(Int128 value, const std::uint8_t* x, std::size_t xlen,
                    Int128& quotient) noexcept;

}  // namespace kestra::datetime
