#include "kestra/number.h"
#include "number/kernels/number_kernels.h"

using kestra::number::ActiveKernels;

void lnxmul(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen, uint8_t* out,
            size_t* outlen) noexcept {
  ActiveKernels().multiply(x, xlen, y, ylen, out, outlen);
}
