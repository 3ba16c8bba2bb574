// Sign, comparison and copying: the operations that look at bytes and never at the value.
#include "kestra/number.h"
#include "number/kernels/number_kernels.h"
#include "number/number_view.h"

using kestra::number::ActiveKernels;

void lnxneg(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  kestra::number::scalar::Negate(x, xlen, out, outlen);
}

void lnxabs(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  kestra::number::scalar::Absolute(x, xlen, out, outlen);
}

void lnxcopy(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  kestra::number::scalar::Copy(x, xlen, out, outlen);
}

int lnxsgn(const uint8_t* x, size_t xlen) noexcept {
  const std::span<const uint8_t> bytes = kestra::number::NumberBytes(x, xlen);
  if (bytes.empty() || bytes[0] == kestra::number::kZeroByte) return 0;
  return bytes[0] < kestra::number::kZeroByte ? -1 : 1;
}

int lnxcmp(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen) noexcept {
  return ActiveKernels().compare(x, xlen, y, ylen);
}
