/* number_text.h: NUMBER to and from decimal text.
 *
 * Text is bytes in which the ASCII digits, signs and letters have their ASCII values. The decimal
 * point and the group separator are byte strings of the caller, so that a language handle can
 * supply its own ("\xC2\xA0" in UTF-8, for example); without them the point is "." and there are no
 * groups.
 *
 * Values are read exactly. A NUMBER holds 20 base-100 digits: text with more is rounded on the 21st,
 * half a unit away from zero, whatever its length.
 *
 * All functions: a NUMBER argument is a pointer and a length; length 0 means that a length byte
 * stands before the number. A NUMBER result is a buffer and a pointer to a length; a null pointer
 * asks for the length byte in the buffer (22 bytes of room, otherwise 21). They keep no state, and
 * may run in any number of threads. */
#ifndef KESTRA_NUMBER_TEXT_H
#define KESTRA_NUMBER_TEXT_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Answers of the text, format model, packed and zoned functions. */
enum {
  LNX_OK = 0,
  LNX_BAD_NUMBER = 1,   /* the argument is not a well-formed NUMBER (see lnxchk) */
  LNX_BAD_BYTE = 2,     /* the text or field is malformed; its offset is told */
  LNX_RANGE = 3,        /* the value does not fit the result */
  LNX_BAD_ARGUMENT = 4, /* a form, option or length outside its documented range */
  LNX_INEXACT = 5,      /* digits would be lost and the caller forbade it */
  LNX_FULL = 6          /* the destination is too small; the length needed is told */
};

/* A byte string of the caller. Null with length 0 means: not given. */
typedef struct lnxspan {
  const uint8_t *bytes;
  size_t length;
} lnxspan;

/* The strings that number text is made with. Each has 0 to 255 bytes. Zero the whole struct before
 * filling it: a member not given takes its neutral value. None may begin with a digit, a sign or a
 * blank where text is to be read back. */
typedef struct lnxsymbols {
  lnxspan decimal;       /* "." */
  lnxspan group;         /* plain text: no groups; G of a format model: "," */
  lnxspan currency;      /* L of a format model: "$" */
  lnxspan iso_currency;  /* C of a format model: "USD" */
  lnxspan dual_currency; /* U of a format model: "$" */
  lnxspan spare[3];      /* zero */
} lnxsymbols;

/* How a NUMBER is written. */
enum {
  LNX_TEXT_PLAIN = 0,      /* every digit, no exponent: 0.5  -1234.5  1000000 */
  LNX_TEXT_SHORTEST = 1,   /* the fewest bytes that read back as the same NUMBER: .5  1E40  15E-21 */
  LNX_TEXT_FIXED = 2,      /* places digits after the point: 0.50 */
  LNX_TEXT_SCIENTIFIC = 3, /* one digit, places digits, exponent: 1.25E+03 */
  LNX_TEXT_WIDTH = 4       /* as many digits as width bytes hold */
};

enum {
  LNX_TEXT_GROUPED = 1, /* the group string before every third digit of the integer part; not in
                           SHORTEST and SCIENTIFIC */
  LNX_TEXT_UNPADDED = 2 /* WIDTH: no blanks before the number */
};

/* One way of writing. Zeroed: LNX_TEXT_PLAIN. */
typedef struct lnxtextform {
  uint32_t kind;  /* LNX_TEXT_PLAIN to LNX_TEXT_WIDTH */
  uint32_t flags; /* LNX_TEXT_GROUPED, LNX_TEXT_UNPADDED */
  int32_t places; /* FIXED: -200 to 1000, negative rounds left of the point.
                     SCIENTIFIC: 0 to 1000, or -1 for as many as the value has */
  uint32_t width; /* WIDTH: 1 to 65535 bytes */
  uint32_t spare[4]; /* zero */
} lnxtextform;

/* The longest PLAIN text of a well-formed NUMBER, with a decimal point of one byte and no groups. */
#define LNX_PLAIN_MAX 171

/* lnxtotext: a NUMBER as decimal text.
 *
 * x        the number. Infinities are written "Infinity" and "-Infinity".
 * form     null: LNX_TEXT_PLAIN.
 * symbols  decimal and group are used; null: "." and no groups.
 * out      receives the text, no terminator. outsize is its size in bytes.
 * outlen   receives the length of the text; with LNX_FULL the room that is needed; otherwise 0.
 * Rounding half a unit away from zero, on the exact decimal value. A value that rounds to zero is
 *          written without a sign.
 * WIDTH    writes exactly width bytes, right-aligned after blanks. Places are cut as far as it is
 *          necessary; scientific text is used when it keeps more digits; a row of "#" when neither
 *          the integer part nor scientific text fits.
 * Result   LNX_OK, LNX_BAD_NUMBER, LNX_BAD_ARGUMENT, LNX_FULL (out is then untouched).
 * Overlap  out may share memory with x, not with form, symbols or outlen. */
KES_API int lnxtotext(const uint8_t *x, size_t xlen, const lnxtextform *form,
                      const lnxsymbols *symbols, uint8_t *out, size_t outsize,
                      size_t *outlen) KES_NOEXCEPT;

/* lnxfromtext: decimal text as a NUMBER.
 *
 * text     [blanks] [+|-] digits [point digits] [(E|e) [+|-] digits] [blanks], with a digit before or
 *          after the point; or [+|-] Inf or Infinity in any case. Blanks are space and the control
 *          characters 9 to 13. Of any length.
 * symbols  null: point ".", no groups. With a group string, one may stand between any two digits of
 *          the integer part.
 * out      receives the number (buffer and length as for all results; outlen may be null).
 * bad      null, or receives with LNX_BAD_BYTE the offset of the first byte that cannot belong to a
 *          number; textlen when the text ends too early.
 * Result   LNX_OK; LNX_RANGE: too large, out is the infinity of its sign; LNX_BAD_BYTE,
 *          LNX_BAD_ARGUMENT: out is untouched. A value too small is zero.
 * Overlap  out may share memory with text, not with symbols. */
KES_API int lnxfromtext(const uint8_t *text, size_t textlen, const lnxsymbols *symbols,
                        uint8_t *out, size_t *outlen, size_t *bad) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
