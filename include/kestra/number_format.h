/* number_format.h: number format models, such as "$9,990.00MI" or "FM0XXX".
 *
 * A model is compiled once into a struct of the caller and used any number of times, to write
 * numbers and to read them. docs/number-format-models.md tells each element with examples.
 *
 *   9  a digit, blank when it leads        0  a digit, zeros from here on, or up to here in a fraction
 *   .  D  decimal point, the symbols'      ,  G  group separator, the symbols'
 *   $  dollar sign before the number       L  C  U  local, ISO, dual currency of the symbols: before
 *   B  blanks for an integer part of 0              the digits, after them, or as the decimal point
 *   S  sign, + or -, first or last         MI  last: - or blank
 *   PR last: <12> for negative numbers     V  the digits after it are decimals, written without a point
 *   EEEE  scientific, E+00                 X  x  hexadecimal digit, upper or lower case
 *   RN  rn  Roman number, 1 to 3999        TM  TM9  TME  shortest text, fixed or scientific
 *   FM first: no blanks at either end, no zeros after the last digit of a fraction
 *
 * Letters may be of either case; the case matters for X, RN, TM and EEEE (rn: lower case; a lower
 * case first letter of TM or EEEE writes "e"). */
#ifndef KESTRA_NUMBER_FORMAT_H
#define KESTRA_NUMBER_FORMAT_H

#include "kestra/number_text.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What is wrong with a model; the offset tells where. */
enum {
  LNX_MODEL_UNKNOWN = 20,   /* no element begins here */
  LNX_MODEL_REPEATED = 21,  /* an element that may stand once only stands here again */
  LNX_MODEL_MISPLACED = 22, /* the element may not stand here */
  LNX_MODEL_CONFLICT = 23,  /* the element and an earlier one exclude each other */
  LNX_MODEL_NO_DIGITS = 24, /* the model ends without a place for a digit */
  LNX_MODEL_TOO_LONG = 25   /* more than 128 digits before the point, or 200 after it */
};

#define LNX_MODEL_MAX_INTEGERS 128
#define LNX_MODEL_MAX_FRACTION 200

/* A compiled model. Filled by lnxfmtcompile, read by the other functions, not to be changed; it may be
 * copied, and used by any number of threads. */
typedef struct lnxmodel {
  uint8_t kind;            /* fixed, hexadecimal, Roman, text */
  uint8_t sign;            /* how the sign is shown */
  uint8_t point;           /* none, ".", the symbols' point, a currency */
  uint8_t currency;        /* none, dollar, local, ISO, dual */
  uint8_t currency_place;  /* before the digits, as the point, after them */
  uint8_t integers;        /* digits before the point */
  uint8_t fraction;        /* digits after the point */
  uint8_t least_integers;  /* of them written although zero */
  uint8_t least_fraction;  /* of them written although zero, under FM */
  uint8_t scale;           /* digits after V */
  uint16_t flags;          /* FM, B, EEEE, lower case, G */
  uint32_t spare;          /* zero */
  uint64_t groups[3];      /* bit n: a separator stands left of n integer digits */
  uint64_t more_spare[3];  /* zero */
} lnxmodel;

/* lnxfmtcompile: compiles a model.
 *
 * model    of modellen bytes, at most 128 + 200 digits.
 * compiled receives the model; untouched when there is an error.
 * bad      null, or receives with an error the offset of the element that is wrong; modellen when the
 *          model ends too early.
 * Result   LNX_OK, LNX_MODEL_UNKNOWN to LNX_MODEL_TOO_LONG, LNX_BAD_ARGUMENT (null model). */
KES_API int lnxfmtcompile(const uint8_t *model, size_t modellen, lnxmodel *compiled,
                          size_t *bad) KES_NOEXCEPT;

/* lnxfmtwidth: the most bytes that a number takes in a model, and what every number takes in a model
 * without FM and TM. A currency is at least as wide as the customary field of it: L and U 10, C 7 bytes.
 * Result   the width; 0 when the model or the symbols are not valid. */
KES_API size_t lnxfmtwidth(const lnxmodel *model, const lnxsymbols *symbols) KES_NOEXCEPT;

/* lnxfmtwrite: a number as text in a model.
 *
 * x        the number. Rounded, half a unit away from zero, to the digits of the model. One that
 *          rounds to zero has no sign.
 * symbols  null: "." "," "$" "USD" "$" for D, G, L, C, U. An empty group string counts as ",".
 * out      receives the text, right-aligned in the width of the model (FM: without blanks). A value
 *          that does not fit, an infinity (but not in TM), a negative number in X or RN, is a row of
 *          "#" of the width.
 * outlen   receives the length; with LNX_FULL the room that is needed; otherwise 0.
 * Result   LNX_OK, LNX_BAD_NUMBER, LNX_BAD_ARGUMENT, LNX_FULL (out is untouched).
 * Overlap  out may share memory with x. */
KES_API int lnxfmtwrite(const uint8_t *x, size_t xlen, const lnxmodel *model,
                        const lnxsymbols *symbols, uint8_t *out, size_t outsize,
                        size_t *outlen) KES_NOEXCEPT;

/* lnxfmtread: text in a model as a number.
 *
 * text     blanks at both ends do not count. What the model has besides digits may be absent: sign,
 *          currency, separators, point, exponent. What is there must be what the model has: a
 *          separator stands where the model puts it, counted from the point; there are no more
 *          digits than the model has, before and after the point; digits after V are decimals.
 *          Blank text is zero in a model with B.
 * out      receives the number (buffer and length as in number_text.h).
 * bad      null, or receives with LNX_BAD_BYTE the offset of the first byte that does not agree with
 *          the model; textlen when the text ends too early.
 * Result   LNX_OK; LNX_RANGE: too large, out is an infinity; LNX_BAD_BYTE, LNX_BAD_ARGUMENT: out is
 *          untouched.
 * Overlap  out may share memory with text. */
KES_API int lnxfmtread(const uint8_t *text, size_t textlen, const lnxmodel *model,
                       const lnxsymbols *symbols, uint8_t *out, size_t *outlen,
                       size_t *bad) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
