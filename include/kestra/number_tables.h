/* number_tables.h: what a mantissa byte of a NUMBER means, as tables for code that works on the bytes.
 *
 * A mantissa byte b stands for the digit b - 1 in a positive number (tables _P, index 0..100) and for
 * 101 - b in a negative one (tables _N, index 0..101). Index 0 is no digit; its entries are 0. All
 * tables are constant: any number of threads may read them. */
#ifndef KESTRA_NUMBER_TABLES_H
#define KESTRA_NUMBER_TABLES_H

#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A positive mantissa byte to the negative one of the same digit, and back: 102 - b. */
extern KES_API const uint8_t LnxqNegate[102];
/* The byte itself: stands in for LnxqNegate where a loop over bytes has nothing to negate. */
extern KES_API const uint8_t LnxsubIdentity[102];

/* A digit 0..99 to its byte. */
extern KES_API const uint8_t LnxqDigit_P[100];
extern KES_API const uint8_t LnxqDigit_N[100];

/* A byte to its two decimal digits: tens, units. */
extern KES_API const uint8_t LnxqComponent_P[101][2];
extern KES_API const uint8_t LnxqComponent_N[102][2];

/* 1 where the digit is a multiple of ten: its first decimal digit says it all. Holds for bytes of both signs. */
extern KES_API const uint8_t LnxqFirstDigit[102];

/* A byte to the byte of its digit at a multiple of ten: rounded half away from zero, half to even, cut.
 * Digits that round up to 100 give the byte of "100" (101 positive, 1 negative): a carry is due. */
extern KES_API const uint8_t LnxqRound_P[101];
extern KES_API const uint8_t LnxqRound_N[102];
extern KES_API const uint8_t LnxqRound2e_P[101];
extern KES_API const uint8_t LnxqRound2e_N[102];
extern KES_API const uint8_t LnxqTruncate_P[101];
extern KES_API const uint8_t LnxqTruncate_N[102];

/* The sum of two mantissa bytes and the carry of the place to the right, to (result byte, carry).
 *   PPP  two positive bytes, positive result      NNN  two negative bytes, negative result
 *   PNP  a positive and a negative byte, the number's sum being positive     PNN  the same, negative
 * A carry (1, else 0) of PPP and PNN is added to the next place's sum, one of PNP and NNN subtracted. */
extern KES_API const uint8_t LnxqAdd_PPP[203][2];
extern KES_API const uint8_t LnxqAdd_PNP[203][2];
extern KES_API const uint8_t LnxqAdd_PNN[203][2];
extern KES_API const uint8_t LnxqAdd_NNN[203][2];

#ifdef __cplusplus
}
#endif

#endif
