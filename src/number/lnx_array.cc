#include "kestra/number.h"
#include "kestra/number_array.h"
#include "number/kernels/array_plan.h"
#include "number/kernels/number_kernels.h"

using kestra::number::ActiveKernels;
using kestra::number::IsNull;

static_assert(KES_NUMBER_AREA_TOO_SMALL == kestra::number::kAreaTooSmall);

int lnxaddarr(const uint8_t* const* x, const uint16_t* xlen, const uint8_t* const* y,
              const uint16_t* ylen, size_t n, const uint8_t* nulls, uint8_t** out, uint16_t* outlen,
              uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().add_array(x, xlen, y, ylen, n, nulls, out, outlen, area, area_size);
}

int lnxsubarr(const uint8_t* const* x, const uint16_t* xlen, const uint8_t* const* y,
              const uint16_t* ylen, size_t n, const uint8_t* nulls, uint8_t** out, uint16_t* outlen,
              uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().subtract_array(x, xlen, y, ylen, n, nulls, out, outlen, area, area_size);
}

int lnxmularr(const uint8_t* const* x, const uint16_t* xlen, const uint8_t* const* y,
              const uint16_t* ylen, size_t n, const uint8_t* nulls, uint8_t** out, uint16_t* outlen,
              uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().multiply_array(x, xlen, y, ylen, n, nulls, out, outlen, area, area_size);
}

int lnxdivarr(const uint8_t* const* x, const uint16_t* xlen, const uint8_t* const* y,
              const uint16_t* ylen, size_t n, const uint8_t* nulls, uint8_t** out, uint16_t* outlen,
              uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().divide_array(x, xlen, y, ylen, n, nulls, out, outlen, area, area_size);
}

int lnxabsarr(const uint8_t* const* x, const uint16_t* xlen, size_t n, const uint8_t* nulls,
              uint8_t** out, uint16_t* outlen, uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().absolute_array(x, xlen, n, nulls, out, outlen, area, area_size);
}

int lnxnegarr(const uint8_t* const* x, const uint16_t* xlen, size_t n, const uint8_t* nulls,
              uint8_t** out, uint16_t* outlen, uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().negate_array(x, xlen, n, nulls, out, outlen, area, area_size);
}

int lnxcopyarr(const uint8_t* const* x, const uint16_t* xlen, size_t n, const uint8_t* nulls,
               uint8_t** out, uint16_t* outlen, uint8_t* area, size_t area_size) noexcept {
  return ActiveKernels().copy_array(x, xlen, n, nulls, out, outlen, area, area_size);
}

int lnxcmparr(const uint8_t* const* x, const uint16_t* xlen, const uint8_t* const* y,
              const uint16_t* ylen, size_t n, const uint8_t* nulls, int* result) noexcept {
  ActiveKernels().compare_array(x, xlen, y, ylen, n, nulls, result);
  return 0;
}

int lnxchkarr(const uint8_t* const* x, const uint16_t* xlen, size_t n, const uint8_t* nulls,
              uint8_t* valid, size_t* invalid, uint32_t flags) noexcept {
  const bool count_all = (flags & KES_NUMBER_COUNT_INVALID) != 0;
  size_t count = 0;
  for (size_t i = 0; i < n; ++i) {
    const bool ok = IsNull(nulls, i) || lnxchk(x[i], xlen[i]) != 0;
    valid[i] = ok ? 1 : 0;
    if (ok) continue;
    if (!count_all) {
      *invalid = i;
      return 0;
    }
    ++count;
  }
  *invalid = count_all ? count : n;
  return 0;
}
