#include "kestra/number.h"
#include "number/kernels/number_kernels.h"

using kestra::number::ActiveKernels;

void lnxrou(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen, int places) noexcept {
  ActiveKernels().round(x, xlen, out, outlen, places);
}

void lnxrou2e(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen, int places) noexcept {
  ActiveKernels().round_even(x, xlen, out, outlen, places);
}

void lnxtru(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen, int places) noexcept {
  ActiveKernels().truncate(x, xlen, out, outlen, places);
}
