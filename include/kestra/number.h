/* number.h: NUMBER, the variable-length decimal number, and its arithmetic.
 *
 * The number
 *   1 to 21 bytes: an exponent byte, then 0 to 20 mantissa bytes of one base-100 digit each.
 *   zero        the single byte 128.
 *   positive    exponent byte 128..255, mantissa bytes digit + 1 (1..100); the value is
 *               0.d1 d2 d3 ... (base 100) times 100 to the power (exponent byte - 192).
 *   negative    the bytes of the absolute value transformed: exponent byte 255 - E, mantissa bytes
 *               102 - b, and a last byte 102 when there are fewer than 20 mantissa bytes.
 *   infinities  +: the bytes 255, 101. -: the single byte 0.
 *   Neither the first nor the last digit is 0. Comparing bytes compares values.
 *
 * The two stored forms, in every function
 *   input       a pointer and a length. Length 1..21: the number itself. Length 0: the pointer is at
 *               a length byte, which the number follows.
 *   output      a buffer and a pointer to a length. Pointer not null: the number alone is written,
 *               at most 21 bytes, and its length stored. Pointer null: a length byte and the number,
 *               at most 22 bytes. Only the bytes of the result are written.
 *
 * Malformed input (see lnxchk) does no harm. A null pointer or length 0 counts as zero; bytes past
 * the 21st are never read; a mantissa byte out of range counts as the nearest digit; zero digits at
 * either end are dropped. The result of arithmetic is always well formed.
 *
 * Overlap: unless told otherwise an output may share memory with the inputs in any way.
 * Threads: no function of this family has state of its own. */
#ifndef KESTRA_NUMBER_H
#define KESTRA_NUMBER_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes of buffers, in bytes. */
enum {
  KES_NUMBER_BYTES = 21,         /* a number alone */
  KES_NUMBER_PREFIXED_BYTES = 22 /* a length byte and a number */
};

/* Numbers kept in length-prefixed form: 1, 2, -1, and pi to 20 base-100 digits. */
extern KES_API const uint8_t lnxqpos1[3];
extern KES_API const uint8_t lnxqtwo[3];
extern KES_API const uint8_t lnxqneg1[4];
extern KES_API const uint8_t lnxqpi[22];

/* lnxadd, lnxsub, lnxmul, lnxdiv: out = x + y, x - y, x * y, x / y.
 *
 * Result   the exact value rounded to 20 base-100 digits, half a unit away from zero. Too large for
 *          the exponent byte gives the infinity of its sign; too small, before rounding, zero.
 *          Infinity +- anything finite is that infinity; of two infinities x decides, but of the same
 *          infinity subtracted from itself nothing is left: zero. Infinity times anything, zero
 *          included (it counts as positive), is infinity of the product's sign. In x / y these are
 *          tested in order: y zero (counts as positive) gives infinity of the quotient's sign, 0 / 0
 *          included; x zero gives zero; x infinite gives infinity; y infinite gives zero.
 * Errors   none. */
KES_API void lnxadd(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;
KES_API void lnxsub(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;
KES_API void lnxmul(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;
KES_API void lnxdiv(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;

/* lnxmod: the exact remainder x - y * trunc(x / y); it has the sign of x.
 * lnxrem: the exact remainder x - y * round(x / y), the quotient rounded half away from zero.
 * y zero or infinite, or x infinite, gives x. */
KES_API void lnxmod(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;
KES_API void lnxrem(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen, uint8_t *out,
                    size_t *outlen) KES_NOEXCEPT;

/* lnxneg: out = -x. lnxabs: out = |x|. Both turn the bytes as they are: a malformed number may stay
 * malformed. */
KES_API void lnxneg(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API void lnxabs(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxrou, lnxrou2e, lnxtru: x at a number of decimal places, rounded half away from zero, rounded
 * half to even (a tie has nothing but zeros after the 5), cut towards zero.
 *
 * places   of the result, any int; negative ones lie left of the decimal point (-2: hundreds).
 * Result   as for lnxadd; infinities and numbers without digits past the place come back unchanged. */
KES_API void lnxrou(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen,
                    int places) KES_NOEXCEPT;
KES_API void lnxrou2e(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen,
                      int places) KES_NOEXCEPT;
KES_API void lnxtru(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen,
                    int places) KES_NOEXCEPT;

/* lnxinc, lnxdec: adds or subtracts one in place.
 *
 * number   outlen not null: the number, its length at *length, room for 21 bytes (*length 0, or above
 *          21: see malformed input above). Null: a length byte and the number, room for 22 bytes.
 * Result   that of lnxadd and lnxsub; made for counters from 1 to below 1E38, where nothing but the
 *          units digit is touched as a rule. A malformed number may stay malformed. */
KES_API void lnxinc(uint8_t *number, size_t *length) KES_NOEXCEPT;
KES_API void lnxdec(uint8_t *number, size_t *length) KES_NOEXCEPT;

/* lnxsgn: -1, 0 or 1. Looks at the exponent byte alone: 128 is 0 whatever follows. */
KES_API int lnxsgn(const uint8_t *x, size_t xlen) KES_NOEXCEPT;

/* lnxcmp: the difference of the first bytes that differ (x's minus y's), and of the lengths when one
 * number begins with the other: negative, zero, positive as x is below, equal to, above y. Malformed
 * numbers are compared as the bytes they are. */
KES_API int lnxcmp(const uint8_t *x, size_t xlen, const uint8_t *y, size_t ylen) KES_NOEXCEPT;

/* lnxchk: 1 if x is a well-formed NUMBER, else 0 (a null pointer, a length byte 0, a length above 21,
 * a mantissa byte out of range, a zero digit at either end, a terminator missing or not wanted).
 * lnxqchk: the same; with KES_NUMBER_TRAILING_ZERO_BYTES bytes 0 after the number are skipped first
 * (then xlen may be above 21). */
enum { KES_NUMBER_TRAILING_ZERO_BYTES = 1 };
KES_API int lnxchk(const uint8_t *x, size_t xlen) KES_NOEXCEPT;
KES_API int lnxqchk(const uint8_t *x, size_t xlen, uint32_t flags) KES_NOEXCEPT;

/* lnxcopy: copies the bytes of x, from either form to either form. Length 0 copies as zero. */
KES_API void lnxcopy(const uint8_t *x, size_t xlen, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
