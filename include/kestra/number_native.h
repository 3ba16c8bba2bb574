/* number_native.h: NUMBER to and from the machine's integers and floating point.
 *
 * x, xlen and out, outlen are the two stored forms of number.h. Integers and floating-point values may lie
 * at any address. No function changes its output when it returns a negative status.
 * Threads: no shared state. */
#ifndef KESTRA_NUMBER_NATIVE_H
#define KESTRA_NUMBER_NATIVE_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  KES_NUMBER_EXACT = 0,         /* the value went over as it is */
  KES_NUMBER_ROUNDED = 1,       /* the nearest value that the result can hold was stored */
  KES_NUMBER_OUT_OF_RANGE = -1, /* too large for the result */
  KES_NUMBER_BAD_SIZE = -2,     /* a size that is none of those listed */
  KES_NUMBER_NOT_A_NUMBER = -3  /* the floating-point value is a NaN */
};

/* lnxmin: a signed integer to a NUMBER, exactly. It serves every signed width up to 64 bits: narrower
 * ones are widened by the call.
 * lnxmun: the same for unsigned integers.
 * lnxmiq, lnxmuq: integers of 128 bits, signed and unsigned, in two halves; exact as well. */
KES_API void lnxmin(int64_t value, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API void lnxmun(uint64_t value, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API void lnxmiq(int64_t high, uint64_t low, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API void lnxmuq(uint64_t high, uint64_t low, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxgin, lnxgun: a NUMBER to a signed or unsigned integer in the machine's byte order, a fraction
 * rounded half away from zero.
 *
 * value, size   where it goes and its bytes: 1, 2, 4, 8 or 16.
 * Result   KES_NUMBER_EXACT; KES_NUMBER_ROUNDED, there was a fraction; KES_NUMBER_OUT_OF_RANGE, also
 *          for infinities and for negative numbers to unsigned (-0.4 rounds to 0 and is stored);
 *          KES_NUMBER_BAD_SIZE. */
KES_API int lnxgin(const uint8_t *x, size_t xlen, void *value, size_t size) KES_NOEXCEPT;
KES_API int lnxgun(const uint8_t *x, size_t xlen, void *value, size_t size) KES_NOEXCEPT;

/* lnxmdb, lnxmfl: a double or float to the NUMBER of fewest digits that reads back as the same value
 * (0.1 becomes 0.1), at most 17 or 9 digits.
 * lnxmdx: a double to its exact value, rounded to 20 base-100 digits (0.1 becomes
 * 0.1000000000000000055511151231257827021182); it serves float too.
 *
 * Result   KES_NUMBER_EXACT; KES_NUMBER_ROUNDED, a digit was lost or the value was too small and became
 *          zero (lnxmdx); infinities become infinities, either zero becomes zero;
 *          KES_NUMBER_OUT_OF_RANGE, 1E126 or above; KES_NUMBER_NOT_A_NUMBER.
 *          lnxmdb and lnxmfl return KES_NUMBER_ROUNDED only for a value that became zero. */
KES_API int lnxmdb(double value, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxmfl(float value, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxmdx(double value, uint8_t *out, size_t *outlen) KES_NOEXCEPT;

/* lnxgdb, lnxgfl: a NUMBER to the nearest double or float, ties to even. Infinities become infinities.
 *
 * Result   KES_NUMBER_EXACT, always for lnxgdb: no NUMBER is out of a double's range (the status says
 *          nothing about rounding); KES_NUMBER_OUT_OF_RANGE, a finite number too large for a float. A
 *          number too small for a float becomes the nearest subnormal or zero. */
KES_API int lnxgdb(const uint8_t *x, size_t xlen, double *value) KES_NOEXCEPT;
KES_API int lnxgfl(const uint8_t *x, size_t xlen, float *value) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
