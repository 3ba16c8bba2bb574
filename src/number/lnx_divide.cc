#include "kestra/number.h"
#include "number/decimal_arithmetic.h"
#include "number/kernels/number_kernels.h"

using kestra::number::ActiveKernels;
using kestra::number::ReadNumber;
using kestra::number::Remainder;
using kestra::number::Rounding;
using kestra::number::StoreNumber;

void lnxdiv(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen, uint8_t* out,
            size_t* outlen) noexcept {
  ActiveKernels().divide(x, xlen, y, ylen, out, outlen);
}

void lnxmod(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen, uint8_t* out,
            size_t* outlen) noexcept {
  StoreNumber(Remainder(ReadNumber(x, xlen), ReadNumber(y, ylen), Rounding::kTruncate), out,
              outlen);
}

void lnxrem(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen, uint8_t* out,
            size_t* outlen) noexcept {
  StoreNumber(Remainder(ReadNumber(x, xlen), ReadNumber(y, ylen), Rounding::kHalfAway), out,
              outlen);
}
