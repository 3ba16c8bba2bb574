/* number_decimal.h: NUMBER to and from packed and zoned decimal fields.
 *
 * Both hold an integer of a fixed number of decimal digits; the value is the integer divided by ten to
 * the power of the scale that the caller keeps for the field.
 *   packed   two digits a byte, the last nibble is the sign: C positive, D negative, F unsigned. A and
 *            E are read as positive too, B as negative. digits / 2 + 1 bytes.
 *   zoned    a digit a byte. In EBCDIC F0 to F9, in ASCII 30 to 39. The sign is overpunched on the first
 *            or last digit, or a byte of its own before or after the digits.
 *
 * An overpunched digit    0 to 9, positive     0 to 9, negative
 *   LNX_ZONED_EBCDIC      C0 to C9  ({ A..I)   D0 to D9  (} J..R); zones A, E, F and B are read too
 *   LNX_ZONED_ASCII       { A B .. I           } J K .. R
 *   LNX_ZONED_ASCII_ZONE  30 to 39             70 to 79  (p..y)
 * Either ASCII code reads all four of its rows. No state; any number of threads. */
#ifndef KESTRA_NUMBER_DECIMAL_H
#define KESTRA_NUMBER_DECIMAL_H

#include "kestra/number_text.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Where the sign of a zoned field is. */
enum {
  LNX_SIGN_LAST = 0,           /* overpunched on the last digit */
  LNX_SIGN_FIRST = 1,          /* overpunched on the first digit */
  LNX_SIGN_SEPARATE_LAST = 2,  /* + or - after the digits */
  LNX_SIGN_SEPARATE_FIRST = 3, /* + or - before the digits */
  LNX_SIGN_NONE = 4            /* unsigned; in a packed field the sign nibble F */
};

/* The code of a zoned field. */
enum { LNX_ZONED_EBCDIC = 0, LNX_ZONED_ASCII = 1, LNX_ZONED_ASCII_ZONE = 2 };

enum { LNX_FIELD_EXACT = 1 }; /* digits past the scale are an error rather than rounded */

#define LNX_FIELD_MAX_DIGITS 126

typedef struct lnxfield {
  uint32_t digits; /* 1 to 126 */
  int32_t scale;   /* decimals: -130 to 200; negative: the integer counts tens, hundreds ... */
  uint8_t sign;    /* packed: LNX_SIGN_NONE or anything else of the list */
  uint8_t code;    /* zoned */
  uint16_t flags;  /* LNX_FIELD_EXACT */
  uint32_t spare;  /* zero */
} lnxfield;

/* lnxtopacked, lnxtozoned: a number as a field.
 *
 * x        the number; rounded to the scale, half a unit away from zero.
 * out      receives the field, outsize is its room. outlen receives the length, with LNX_FULL the room
 *          needed, otherwise 0.
 * Result   LNX_OK; LNX_BAD_NUMBER; LNX_BAD_ARGUMENT: the field is not as told above; LNX_RANGE: an
 *          infinity, too many digits, or a negative value without a place for the sign; LNX_INEXACT;
 *          LNX_FULL. out is untouched but with LNX_OK.
 * Overlap  out may share memory with x. */
KES_API int lnxtopacked(const uint8_t *x, size_t xlen, const lnxfield *field, uint8_t *out,
                        size_t outsize, size_t *outlen) KES_NOEXCEPT;
KES_API int lnxtozoned(const uint8_t *x, size_t xlen, const lnxfield *field, uint8_t *out,
                       size_t outsize, size_t *outlen) KES_NOEXCEPT;

/* lnxfrompacked, lnxfromzoned: a field as a number.
 *
 * packed, zoned   size bytes, which must be the size of the field. A packed field of an even number of
 *          digits begins with a nibble 0. More than 20 base-100 digits are rounded, half a unit away
 *          from zero. Zero has no sign.
 * out      receives the number (buffer and length as in number_text.h).
 * bad      null, or receives with LNX_BAD_BYTE the offset of the first byte that is not of a field.
 * Result   LNX_OK; LNX_BAD_BYTE, LNX_BAD_ARGUMENT: out is untouched; LNX_RANGE: too large, out is an
 *          infinity.
 * Overlap  out may share memory with the field. */
KES_API int lnxfrompacked(const uint8_t *packed, size_t size, const lnxfield *field, uint8_t *out,
                          size_t *outlen, size_t *bad) KES_NOEXCEPT;
KES_API int lnxfromzoned(const uint8_t *zoned, size_t size, const lnxfield *field, uint8_t *out,
                         size_t *outlen, size_t *bad) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
