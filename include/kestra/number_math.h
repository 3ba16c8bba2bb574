/* number_math.h: mathematical functions of NUMBERs.
 *
 * Arguments are the stored forms of number.h. Results are computed with 256 bits and rounded once to 20
 * base-100 digits: they are within half a unit of the last digit and a trifle (10^-20 of a unit), and exact
 * where the exact result can be stored. Angles are in radians.
 *
 * Result   0; too large gives infinity and too small zero, as in arithmetic. Infinite arguments give
 *          the limit where there is one. KES_NUMBER_DOMAIN: the function has no value there, and the
 *          output is left alone.
 * Overlap, threads: as in number.h. Malformed numbers count as the value that number.h tells. */
#ifndef KESTRA_NUMBER_MATH_H
#define KESTRA_NUMBER_MATH_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { KES_NUMBER_DOMAIN = -4 };

/* lnxsqr: the square root; a domain error below 0. */
KES_API int lnxsqr(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxexp: e to the power x. lnxln: the natural logarithm, a domain error at 0 and below.
 * lnxlog: the logarithm of x to a base; both must be above 0, and the base finite and not 1. */
KES_API int lnxexp(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxln(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxlog(const uint8_t *base, size_t baselen, const uint8_t *x, size_t xlen, uint8_t *out,
                   size_t *outlen) KES_NOEXCEPT;

/* lnxpow: x to the power y. Anything to the power 0 is 1; 0 to a negative power is infinity; a negative x
 * takes integer powers only (else a domain error).
 * lnxpwi: x to an integer power, with the same rules. */
KES_API int lnxpow(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                   size_t *outlen) KES_NOEXCEPT;
KES_API int lnxpwi(const uint8_t *x, size_t xlen, int64_t y, uint8_t *out,
                   size_t *outlen) KES_NOEXCEPT;

/* lnxsin, lnxcos, lnxtan: of any finite angle, however large, reduced exactly. */
KES_API int lnxsin(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxcos(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxtan(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxasn, lnxacs: arc sine and cosine of -1..1. lnxatn: arc tangent.
 * lnxatn2: the angle of the point (x, y), y given first, in -pi..pi; (0, 0) is a domain error. Of two
 * infinite coordinates the result is that of a diagonal. */
KES_API int lnxasn(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxacs(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxatn(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxatn2(const uint8_t *y, size_t ylen, const uint8_t *x, size_t xlen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;

/* lnxsnh, lnxcsh, lnxtnh: hyperbolic sine, cosine, tangent. */
KES_API int lnxsnh(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxcsh(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxtnh(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxflo: the largest integer not above x. lnxcei: the smallest not below x. Infinities stay. */
KES_API void lnxflo(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API void lnxcei(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* Pointers to constants in length-prefixed form: 0, 1, 10, -1, pi, e, ln 10, the last three to 20 base-100
 * digits. They live as long as the library. */
KES_API const uint8_t *lnxqgtzero(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgtone(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgtten(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgtneg1(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgtpi(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgte(void) KES_NOEXCEPT;
KES_API const uint8_t *lnxqgtln10(void) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
