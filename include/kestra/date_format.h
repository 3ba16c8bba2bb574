/* date_format.h: date format models, such as "YYYY-MM-DD HH24:MI:SS" or "Day, DD Month YYYY".
 *
 * A model is compiled once (ldxsti) into a few bytes, with which dates are written (ldxdts) and
 * read (ldxstd) any number of times. docs/date-format-models.md tells each element with examples.
 *
 * Texts are in the character set of the context's handle; without a handle they are ASCII. The
 * bytes of literals in a compiled format are in that set too, but in UTF-8 when the set has
 * two-byte code units. A compiled format is a sequence of items:
 *   element   2 bytes: the code, 1 to 45, then bits 0-1 suffix (0 none, 1 TH, 2 SP, 3 SPTH), bits
 *             2-3 letters (0 upper case, 1 capitalised, 2 lower case; of names and of what has a
 *             suffix), bit 4 fill mode
 *   literal   its length + 46, its kind (1 punctuation, 4 blanks, 2 quoted text), its bytes
 *
 * Errors are raised through the context (see date.h); ctx->error_offset then tells where in the
 * model or text the fault lies. Threads: as the context. */
#ifndef KESTRA_DATE_FORMAT_H
#define KESTRA_DATE_FORMAT_H

#include "kestra/date.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Codes of the elements. The unit of ldxrnd and ldxtrn is one of them. */
enum {
  KES_DATE_CC = 1,
  KES_DATE_SCC = 2,
  KES_DATE_I = 3,
  KES_DATE_Y = 4,
  KES_DATE_IY = 5,
  KES_DATE_YY = 6,
  KES_DATE_IYY = 7,
  KES_DATE_YYY = 8,
  KES_DATE_IYYY = 9,
  KES_DATE_YYYY = 10,
  KES_DATE_Y_YYY = 11,
  KES_DATE_SYYYY = 12,
  KES_DATE_SY_YYY = 13,
  KES_DATE_YEAR = 14,
  KES_DATE_SYEAR = 15,
  KES_DATE_Q = 16,
  KES_DATE_MM = 17,
  KES_DATE_IW = 18,
  KES_DATE_WW = 19,
  KES_DATE_W = 20,
  KES_DATE_D = 21,
  KES_DATE_DD = 22,
  KES_DATE_DDD = 23,
  KES_DATE_HH24 = 24,
  KES_DATE_HH12 = 25,
  KES_DATE_MI = 26,
  KES_DATE_SS = 27,
  KES_DATE_SSSSS = 28,
  KES_DATE_J = 29,
  KES_DATE_MONTH = 30,
  KES_DATE_MON = 31,
  KES_DATE_DAY = 32,
  KES_DATE_DY = 33,
  KES_DATE_AM = 34,
  KES_DATE_A_M = 35,
  KES_DATE_AD = 36,
  KES_DATE_A_D = 37,
  KES_DATE_RM = 38,
  KES_DATE_FM = 39,
  KES_DATE_RR = 40,
  KES_DATE_RRRR = 41,
  KES_DATE_FX = 42,
  KES_DATE_E = 43,
  KES_DATE_EE = 44,
  KES_DATE_NYYYY = 45,
  KES_DATE_LITERAL = 46,
  KES_DATE_DL = 47,
  KES_DATE_DS = 48,
  KES_DATE_TS = 49
};

/* What a scan of a model remembers from item to item. All zeros at the start of a model. */
typedef struct ldxscan {
  uint64_t seen;     /* bit n: the element with code n came */
  uint8_t fill_off;  /* 1: fill mode is off */
  uint8_t repeat;    /* may be set: elements may come again, as in ldxsto */
  uint8_t expanding; /* inside of DL, DS or TS */
  uint8_t spare[21];
} ldxscan;

/* ldxsti: compiles a model that can be read and written.
 *
 * text     length bytes in the handle's set; may be null with length 0, which compiles to nothing.
 * out      receives the compiled format, at most size bytes.
 * Result   its length.
 * Errors   1820 the model begins with NUL (handles with two-byte units, or with flag bit 16; the
 *               pre-pass over the characters is left out for these); 1821 an element or character
 *               is not known, or quoted text does not end; 1810 an element comes twice; 1811 to
 *               1819 elements exclude each other (error_offset is the model's length); 1800 a
 *               literal is longer than 209 bytes or than the room; 1801 no room for an element;
 *               1890 DL, DS or TS is empty.
 * Elements that can only be written (such as Q) compile; reading with them raises 1820. DL, DS and
 * TS begin in fill mode, and what it was before holds again after them. A suffix follows an element
 * that is a number; DSP is D with the suffix SP.
 * Overlap  none. */
KES_API size_t ldxsti(ldxctx *ctx, const uint8_t *text, size_t length, uint8_t *out, size_t size);

/* ldxsto: compiles a model for writing only: elements may come again and exclude none. Otherwise as
 * ldxsti. */
KES_API size_t ldxsto(ldxctx *ctx, const uint8_t *text, size_t length, uint8_t *out, size_t size);

/* ldxsnf: scans one element or literal of a model and appends it to a compiled format.
 *
 * text, remaining  the model; moved past what was scanned.
 * out, space       where the compiled format goes on and its room; moved likewise.
 * state            zeroed before the first call of a model.
 * Result   the code; KES_DATE_LITERAL for a literal, 0 at the end. FM leaves no item. DL, DS and TS
 *          append all items of the language's format at once.
 * Errors   those of ldxsti but 1811 to 1819 and 1820. With a handle of two-byte units the text is
 *          in its set: ldxsnf is ldxsnfcom. */
KES_API uint32_t ldxsnf(ldxctx *ctx, const uint8_t **text, size_t *remaining, uint8_t **out,
                        size_t *space, ldxscan *state);

/* ldxsnfcom: the same for text in two-byte code units: in the handle's set when that has them, else
 * in the platform's byte order; then characters beyond ASCII need a handle in UTF-8. remaining is
 * in bytes. */
KES_API uint32_t ldxsnfcom(ldxctx *ctx, const uint8_t **text, size_t *remaining, uint8_t **out,
                           size_t *space, ldxscan *state);

/* ldxdts: writes a date.
 *
 * date     every field in its range.
 * format   compiled by ldxsti or ldxsto, of format_length bytes; null: the context's default.
 * out      receives the text in the handle's set, at most room bytes, not terminated.
 * Result   its length in bytes; 0 after an error.
 * Fill mode: numbers have zeros in front up to their digits, names blanks after them up to the
 * widest of the language (as wide on a display as it is), Roman months up to 4, the S elements a
 * blank for the sign of a year of our era; YEAR and spelled numbers are not filled. Without fill
 * mode none of these. In a calendar that is not Gregorian the elements of year, month and day are
 * the calendar's; centuries too; ISO years and weeks, weekdays, J and times are not.
 * Errors   1841, 1843, 1847, 1850, 1851, 1852 a field of the date (year, month, day, hour, minute,
 *          second) is out of its range; 1801 no room (what is in out has no meaning); 1821 the
 *          format is damaged; 1822 E or EE, but the handle's calendar has no eras of its own; 1865
 *          the date lies in an era without a name; 600 no format given and no default.
 * Overlap  none. */
KES_API size_t ldxdts(ldxctx *ctx, const ldxdate *date, const uint8_t *format, size_t format_length,
                      uint8_t *out, size_t room);

/* ldxdtsint: the same without raising anything. *length receives the length.
 * Result   0, or the number that ldxdts would raise; then *length is 0. */
KES_API uint32_t ldxdtsint(ldxctx *ctx, const ldxdate *date, const uint8_t *format,
                           size_t format_length, uint8_t *out, size_t room,
                           size_t *length) KES_NOEXCEPT;

/* ldxdtsu: the same into UTF-16 in the platform's byte order, or that of the handle's set when that
 * has two-byte units. room and result count units. */
KES_API size_t ldxdtsu(ldxctx *ctx, const ldxdate *date, const uint8_t *format,
                       size_t format_length, uint16_t *out, size_t room);

/* ldxdtsarr: writes count dates in one format; an array form as date.h tells.
 *
 * out      addresses of the texts; lengths receives their lengths.
 * rooms    their rooms, the second operands: with KES_DATE_SHARED in flags rooms[0] for all. */
KES_API void ldxdtsarr(ldxctx *ctx, uint8_t *const *out, const ldxdate *const *dates, size_t count,
                       const size_t *rooms, size_t *lengths, const uint8_t *format,
                       size_t format_length, uint32_t flags, size_t *processed);

/* Flags of ldxstdnew. */
enum {
  KES_DATE_QUIET = 1,   /* nothing is raised: ctx->error and ctx->error_offset keep the error */
  KES_DATE_NO_RETRY = 2 /* no second try with full years */
};

/* ldxstd: reads a date.
 *
 * text     length bytes in the handle's set.
 * format   compiled by ldxsti, of format_length bytes; null: the context's default.
 * out      receives the date; untouched when there is an error.
 * Result   0; when the error callback is null or returns, the number.
 *
 * What the text does not say comes from today (ctx->today): its year, its month; the first day;
 * midnight. Without FX
 *   - blanks in front of every item and at the end do not count;
 *   - a sign of punctuation in the format stands for any such sign in the text, or for none;
 *   - numbers may have fewer digits than their element, but one at least;
 *   - MONTH and MON, DAY and DY take the long and the short names, and months also the form in
 *     which they stand alone.
 * With FX (up to the next FX) literals are as in the format, numbers have all digits unless FM is
 * on, names are those of the element; the blanks of fill mode after a name may all be left out.
 * Always: names may be in any letters; quoted text has to be there; what ldxdts writes is read.
 * YY and YYY lack the digits of the current year. RR is 0-49 or 50-99: when the current year ends
 * in 0-49, 50-99 are in the last century, else 0-49 are in the next; RRRR with up to two digits
 * likewise. When a text cannot be read with YY or RR (and there is no FX) it is tried with YYYY or
 * RRRR instead, as ldxstdyfr does; when that fails too, the first error holds. A weekday has to
 * agree with a date whose day the text says; in calendars that are not Gregorian AD and BC have to
 * agree with the date (1831). HH without AM or PM is in the morning.
 *
 * Errors   1820 an element of the format is for writing only (SP too); 1810 to 1819 as in ldxsti,
 *          for formats of ldxsto; 1821 the format is damaged; 600 no format given and no default;
 *          1822 E or EE, but the calendar has no eras, or it has no arithmetic
 *          1830 the text goes on after the date; 1840 it ends too early
 *          1831, 1833, 1834 year, month, day at odds with the Julian day, the day of the year or
 *          each other; 1835 weekday at odds with the date
 *          1836, 1837, 1838 hour, minute, second at odds with SSSSS
 *          1839 no such day in the month; also 5 to 14 October 1582
 *          1841 to 1856 a value out of the element's range, an unknown name; 1848 also 366 in a
 *          common year; 1841 also the year 0
 *          1858 a digit, 1859 a letter was expected; 1861 not the literal's text; 1862 under FX not
 *          the number of digits
 *          1863 year, 1864 date outside the calendar (J: a day of the year 0), 1865 unknown era, or
 *          the date is not in it
 *          ctx->error_offset: where in the text; of format errors, where in the compiled format. */
KES_API uint32_t ldxstd(ldxctx *ctx, const uint8_t *text, size_t length, const uint8_t *format,
                        size_t format_length, ldxdate *out);

/* ldxstdnew: the same with flags.
 * bad      null, or receives the error's offset; 0 when there is none.
 * Result   0 or the number. */
KES_API uint32_t ldxstdnew(ldxctx *ctx, const uint8_t *text, size_t length, const uint8_t *format,
                           size_t format_length, ldxdate *out, uint32_t flags, size_t *bad);

/* ldxstdu: ldxstd for UTF-16 in the platform's byte order, or that of the handle's set when that has
 * two-byte units. length counts units, at most 1024 (longer texts raise 1830); error_offset counts
 * bytes of the units, but with a handle in another set than UTF-8 bytes of the converted text. */
KES_API uint32_t ldxstdu(ldxctx *ctx, const uint16_t *text, size_t length, const uint8_t *format,
                         size_t format_length, ldxdate *out);

/* ldxstdyfr: reads with full years: the first YY of the format as YYYY, or the first RR as RRRR.
 * Result   0; -1 when the format has neither; else the number of the error. Nothing is raised. */
KES_API int32_t ldxstdyfr(ldxctx *ctx, const uint8_t *text, size_t length, const uint8_t *format,
                          size_t format_length, ldxdate *out) KES_NOEXCEPT;

/* ldxstdarr: reads count texts in one format; an array form as date.h tells. lengths, those of the
 * texts, are the second operands. */
KES_API void ldxstdarr(ldxctx *ctx, ldxdate *const *out, const uint8_t *const *texts, size_t count,
                       const size_t *lengths, const uint8_t *format, size_t format_length,
                       uint32_t flags, size_t *processed);

/* ldxgtz: the number of a zone by its abbreviation, in any letters: adt ast bdt bst cdt cst edt est
 * gmt hdt hst mdt mst nst pdt pst ydt yst.
 * name     length bytes in the handle's set, in ASCII when that has two-byte units; with length 0 it
 *          ends with a NUL.
 * Result   0 to 17, in that order. Error 1857 unknown (then -1). */
KES_API int32_t ldxgtz(ldxctx *ctx, const uint8_t *name, size_t length);

/* ldxatz: a date of one zone's clock as the clock of another zone shows it: the difference of the
 * offsets is added. from, to: as ldxgtz answers. The time that was 09:00 in est is 06:00 in pst.
 * Errors   1857 no such zone; 1841 outside the years of DATE.  Overlap  out may be in. */
KES_API void ldxatz(ldxctx *ctx, ldxdate *out, const ldxdate *in, int32_t from, int32_t to);

#ifdef __cplusplus
}
#endif

#endif
