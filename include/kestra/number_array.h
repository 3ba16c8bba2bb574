/* number_array.h: NUMBER arithmetic over columns. Each function does for n elements what the scalar one
 * of its name (number.h) does for one, and gives the same bytes.
 *
 * Arguments shared by all
 *   x, xlen    n pointers and n lengths of inputs; a length 0 means that the pointer is at a length byte.
 *              The same for y. Of a null element nothing is read.
 *   nulls      null bitmap, element i is null when bit i % 8 of byte i / 8 is set; a null pointer: none.
 *   out        n pointers, outlen n lengths: where each result lies in the area and how long it is (the
 *              number alone, 1..21 bytes). A null element gets a null pointer and length 0.
 *   area       receives the results, packed one after another. area_size bytes; it must hold 22 bytes
 *              for every element that is not null. Bytes after the last result, up to area_size, may be
 *              changed.
 * Result   0, or KES_NUMBER_AREA_TOO_SMALL: then every out and outlen is 0 and the area is untouched.
 * Overlap  the area must not overlap any input or array. out may be the array x (or y) itself, and outlen
 *          xlen (or ylen): a chain of operations can work in place on its pointers, with two areas.
 * Threads  no shared state. */
#ifndef KESTRA_NUMBER_ARRAY_H
#define KESTRA_NUMBER_ARRAY_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { KES_NUMBER_AREA_TOO_SMALL = -24 };

/* lnxaddarr, lnxsubarr, lnxmularr, lnxdivarr: x[i] + y[i], x[i] - y[i], x[i] * y[i], x[i] / y[i]. */
KES_API int lnxaddarr(const uint8_t *const *x, const uint16_t *xlen, const uint8_t *const *y,
                      const uint16_t *ylen, size_t n, const uint8_t *nulls, uint8_t **out,
                      uint16_t *outlen, uint8_t *area, size_t area_size) KES_NOEXCEPT;
KES_API int lnxsubarr(const uint8_t *const *x, const uint16_t *xlen, const uint8_t *const *y,
                      const uint16_t *ylen, size_t n, const uint8_t *nulls, uint8_t **out,
                      uint16_t *outlen, uint8_t *area, size_t area_size) KES_NOEXCEPT;
KES_API int lnxmularr(const uint8_t *const *x, const uint16_t *xlen, const uint8_t *const *y,
                      const uint16_t *ylen, size_t n, const uint8_t *nulls, uint8_t **out,
                      uint16_t *outlen, uint8_t *area, size_t area_size) KES_NOEXCEPT;
KES_API int lnxdivarr(const uint8_t *const *x, const uint16_t *xlen, const uint8_t *const *y,
                      const uint16_t *ylen, size_t n, const uint8_t *nulls, uint8_t **out,
                      uint16_t *outlen, uint8_t *area, size_t area_size) KES_NOEXCEPT;

/* lnxabsarr, lnxnegarr, lnxcopyarr: |x[i]|, -x[i], x[i]. */
KES_API int lnxabsarr(const uint8_t *const *x, const uint16_t *xlen, size_t n,
                      const uint8_t *nulls, uint8_t **out, uint16_t *outlen, uint8_t *area,
                      size_t area_size) KES_NOEXCEPT;
KES_API int lnxnegarr(const uint8_t *const *x, const uint16_t *xlen, size_t n,
                      const uint8_t *nulls, uint8_t **out, uint16_t *outlen, uint8_t *area,
                      size_t area_size) KES_NOEXCEPT;
KES_API int lnxcopyarr(const uint8_t *const *x, const uint16_t *xlen, size_t n,
                       const uint8_t *nulls, uint8_t **out, uint16_t *outlen, uint8_t *area,
                       size_t area_size) KES_NOEXCEPT;

/* lnxcmparr: result[i] is lnxcmp of x[i] and y[i]; 0 for a null element. Returns 0. */
KES_API int lnxcmparr(const uint8_t *const *x, const uint16_t *xlen, const uint8_t *const *y,
                      const uint16_t *ylen, size_t n, const uint8_t *nulls,
                      int *result) KES_NOEXCEPT;

/* lnxchkarr: valid[i] is lnxchk of x[i]; 1 for a null element, which has nothing wrong.
 *
 * flags    KES_NUMBER_COUNT_INVALID: all elements are looked at and *invalid is how many are not well
 *          formed. Else the first such element ends the work: *invalid is its index (n: there is none)
 *          and the entries of valid after it are left alone.
 * Returns 0. */
enum { KES_NUMBER_COUNT_INVALID = 1 };
KES_API int lnxchkarr(const uint8_t *const *x, const uint16_t *xlen, size_t n,
                      const uint8_t *nulls, uint8_t *valid, size_t *invalid,
                      uint32_t flags) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
