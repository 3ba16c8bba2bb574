/* date.h: DATE, a calendar date with a time of day to the second, and the arithmetic of dates.
 *
 * Years run from -4712 to 9999 without a year 0 (-1 is 1 BC). The calendar is the Julian one up to
 * 4 October 1582 and the Gregorian one from the next day, 15 October 1582, on.
 *
 * Calling order: ldxbegin fills a context from a language handle; every other call takes that
 * context first; ldxend ends it. Errors are raised through the context's callback, which must not
 * return: it jumps (longjmp) or throws to the caller's own frame, and the context may be used again
 * afterwards. Should it return all the same, the call returns at once and its results are
 * undefined.
 *
 * Threads: a context is used by one thread at a time. */
#ifndef KESTRA_DATE_H
#define KESTRA_DATE_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"
#include "kestra/handle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A date in its parts, which all arithmetic takes. 8 bytes. */
typedef struct ldxdate {
  int16_t year;   /* -4712..9999, never 0 */
  uint8_t month;  /* 1..12 */
  uint8_t day;    /* 1..31 */
  uint8_t hour;   /* 0..23 */
  uint8_t minute; /* 0..59 */
  uint8_t second; /* 0..59 */
  uint8_t zero;   /* always 0 */
} ldxdate;

/* A date as a day number and the seconds since midnight. */
typedef struct ldxjdate {
  int32_t day;    /* Julian day number: 1 is 1 January -4712, 5373484 is 31 December 9999 */
  int32_t second; /* 0..86399 */
} ldxjdate;

/* What ldxads adds. */
typedef struct ldxdelta {
  int32_t days;
  int32_t seconds;
} ldxdelta;

/* The stored form: century + 100, year of century + 100, month, day, hour + 1, minute + 1,
 * second + 1. Years before 1 have both year bytes below 100. */
enum { KES_DATE_BYTES = 7 };

typedef struct ldxctx ldxctx;

/* Receives the errors of a context; must not return: it jumps or throws. */
typedef void (*ldxraise)(ldxctx *ctx, uint32_t number);

enum {
  KES_DATE_DEFAULT_FORMAT = 48, /* room of the compiled default format */
  KES_DATE_INNER_BYTES = 11920  /* room of what the implementation keeps in a context */
};

/* The date context: 12288 bytes, filled by ldxbegin, ldxcbeg or ldxnbeg. */
struct ldxctx {
  ldxraise raise;          /* null: errors are only kept in the member error */
  void *argument;          /* the callback's own */
  const lxhandle *handle;  /* null: no language; names and words are English */
  lxcontext *nls;          /* the work area in use: own_nls or the caller's */
  lxcontext own_nls;       /* opened by ldxbegin */
  uint32_t flags;          /* KES_DATE_OWN_NLS and the implementation's */
  uint32_t error;          /* the last error raised */
  uint16_t first_weekday;  /* of the territory, 0 Sunday */
  uint16_t calendar;       /* 0 Gregorian, else the calendar's slot in the area */
  uint16_t default_length; /* bytes used of default_format; 0: there is none */
  uint16_t reserved;
  uint8_t default_format[KES_DATE_DEFAULT_FORMAT];
  ldxdate today;         /* may be set: completes dates read without a year or month; while its
                            year is 0 the clock's local date does */
  uint64_t error_offset; /* where in a format text or a text the last error lies, in bytes */
  uint8_t inner[KES_DATE_INNER_BYTES]; /* the implementation's: names in the handle's set ... */
};

enum {
  KES_DATE_OWN_NLS =
      1 /* own_nls was opened by ldxbegin; closed by ldxend or when an error is raised */
};

/* Options of ldxnbeg. */
enum {
  KES_DATE_NO_DEFAULT = 1 /* no default format: it is not looked up and cannot be wrong */
};

/* ldxbegin: fills a context for a language handle, with a work area of its own.
 *
 * ctx      overwritten; its former content does not matter.
 * handle   null: English names, the default format DD-MON-RR, weeks from Sunday. Otherwise it has
 *          to outlive the context. After it was changed, ldxrdf brings the context up to date.
 * raise    the error callback; argument is for it. Null: errors are only kept in ctx->error, and
 *          the functions answer 0 or as they say.
 * Result   ctx.
 * Errors   600 the handle cannot supply its default date format, or it is longer than 60 bytes;
 *          those of ldxsti when that format cannot be compiled. Also then the context may be used,
 *          with formats of its caller; there is no default.
 * An area that is the process's shared one gets another user until ldxend or the first error;
 * a private area has to outlive the context.
 * Threads  takes the process lock. */
KES_API ldxctx *ldxbegin(ldxctx *ctx, const lxhandle *handle, ldxraise raise, void *argument);

/* ldxcbeg, ldxnbeg: the same with a work area of the caller, which has to outlive the context; its
 * error word is overwritten by all calls. nls may be null with a null handle.
 * options  KES_DATE_NO_DEFAULT. */
KES_API ldxctx *ldxcbeg(ldxctx *ctx, const lxhandle *handle, lxcontext *nls, ldxraise raise,
                        void *argument);
KES_API ldxctx *ldxnbeg(ldxctx *ctx, const lxhandle *handle, lxcontext *nls, ldxraise raise,
                        void *argument, uint32_t options);

/* ldxend: ends a context, leaving its area if ldxbegin took it. Null is allowed; so is a second
 * call. */
KES_API void ldxend(ldxctx *ctx) KES_NOEXCEPT;

/* ldxerr: raises an error: keeps the number in ctx->error, leaves the area that ldxbegin took, and
 * calls the callback. Returns only when the callback does, or is null. */
KES_API void ldxerr(ldxctx *ctx, uint32_t number);

/* ldxrdf: reads again what the context keeps of its handle (names, default format, first weekday,
 * calendar), after the handle was changed.
 * Errors   as ldxbegin. */
KES_API void ldxrdf(ldxctx *ctx);

/* ---- Calendar arithmetic -----------------------------------------------------------------------
 *
 * Dates are passed by address and results go to the caller's record, which may be the input's.
 * Dates that ldxchk would reject are never dangerous: they give some result. A result past 31
 * December 9999 or before 1 January -4712 raises 1841; a result that would lie in the year 0 gets
 * the year 1 when the operation moves forward, else -1. Where "raises" is said the call does not
 * return (see above); the others never raise.
 *
 * Array forms end in "arr" and do the scalar operation on each element:
 *   (ctx, results, inputs, count, second operands, flags, processed)
 * results    addresses of the results; for answers that are numbers, the array of answers itself.
 * inputs     addresses of the inputs. A result may be at its own input, not at another one's.
 * operands   one for each element; with KES_DATE_SHARED in flags the first serves all of them.
 *            Forms without a second operand take null.
 * processed  null, or receives how many elements were done. When an element raises, it receives
 *            the elements done before that one; their results are in place.
 *
 * ldxeti, ldxite, ldxdtd, ldxchk, ldxrck, ldxctj, ldxdyc, ldxisy, ldxisw and their array forms do not
 * look at the context: null will do.
 *
 * Calendars: when the context's calendar has months of its own, ldxadm, ldxldd and ldxsbm go by
 * them; see docs/dates.md. */

enum {
  KES_DATE_SHARED = 16 /* array forms: one second operand for all elements */
};

/* Days of a common year before each month, by month 1..12; entry 13 is 365, entry 0 is 0. */
extern KES_API const int32_t ldxdom[14];

/* ldxeti: stored form (7 bytes) to parts; ldxite: the reverse. Neither checks anything: bytes that
 * ldxchk rejects give parts that it rejects. */
KES_API void ldxeti(ldxctx *ctx, ldxdate *out, const uint8_t *in) KES_NOEXCEPT;
KES_API void ldxite(ldxctx *ctx, uint8_t *out, const ldxdate *in) KES_NOEXCEPT;
KES_API void ldxetiarr(ldxctx *ctx, ldxdate *const *out, const uint8_t *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;
KES_API void ldxitearr(ldxctx *ctx, uint8_t *const *out, const ldxdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;

/* ldxdtd: parts to day number and seconds. ldxdfd: the reverse; a day number below 1 or above
 * 5373484 raises 1854. */
KES_API void ldxdtd(ldxctx *ctx, ldxjdate *out, const ldxdate *in) KES_NOEXCEPT;
KES_API void ldxdfd(ldxctx *ctx, ldxdate *out, const ldxjdate *in);
KES_API void ldxdtdarr(ldxctx *ctx, ldxjdate *const *out, const ldxdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;
KES_API void ldxdfdarr(ldxctx *ctx, ldxdate *const *out, const ldxjdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed);

/* Bits of ldxchk and ldxrck. */
enum {
  KES_DATE_BAD_DAY = 1,        /* day out of its month's range, 0 included; Julian: past the last */
  KES_DATE_ZERO_DAY = 2,       /* day 0; Julian: day number 0 or below (with 1) */
  KES_DATE_BAD_MONTH = 4,      /* month out of range, 0 included */
  KES_DATE_ZERO_MONTH = 8,     /* month 0 */
  KES_DATE_BAD_YEAR = 16,      /* above 9999; stored: a year byte outside 1..199 */
  KES_DATE_LOW_YEAR = 32,      /* below -4712, or the stored year byte is 0 (with 16) */
  KES_DATE_BAD_HOUR = 64,      /* hour out of range */
  KES_DATE_ZERO_HOUR = 128,    /* stored hour byte 0 */
  KES_DATE_BAD_MINUTE = 256,   /* minute out of range */
  KES_DATE_ZERO_MINUTE = 512,  /* stored minute byte 0 */
  KES_DATE_BAD_SECOND = 1024,  /* second out of range; Julian: seconds outside 0..86399 */
  KES_DATE_ZERO_SECOND = 2048, /* stored second byte 0 */
  KES_DATE_SKIPPED_DAY = 4096, /* 5 to 14 October 1582 */
  KES_DATE_YEAR_ZERO = 8192,   /* year 0 */
  KES_DATE_BAD_KIND = 32768,   /* ldxchk: no such kind */
  KES_DATE_NO_HOUR = 65536,    /* ldxrck only: hour byte 0, or in parts 255 */
  KES_DATE_NO_MINUTE = 131072, /* minute */
  KES_DATE_NO_SECOND = 262144  /* second */
};

/* Kinds of a value. */
enum { KES_DATE_PARTS = 0, KES_DATE_JULIAN = 1, KES_DATE_STORED = 2 };

/* ldxchk: what is wrong with a value: 0, or bits of the list. kind tells what value points at: an
 * ldxdate, an ldxjdate or the 7 stored bytes. A day is judged by its month and year; in a month out
 * of range only day 0 and days above 31 are wrong. ldxrck adds the last three bits.
 * ldxchkarr, ldxrckarr: the kinds are the second operands. */
KES_API uint32_t ldxchk(ldxctx *ctx, const void *value, uint32_t kind) KES_NOEXCEPT;
KES_API uint32_t ldxrck(ldxctx *ctx, const void *value, uint32_t kind) KES_NOEXCEPT;
KES_API void ldxchkarr(ldxctx *ctx, uint32_t *bits, const void *const *in, size_t count,
                       const uint32_t *kinds, uint32_t flags, size_t *processed) KES_NOEXCEPT;
KES_API void ldxrckarr(ldxctx *ctx, uint32_t *bits, const void *const *in, size_t count,
                       const uint32_t *kinds, uint32_t flags, size_t *processed) KES_NOEXCEPT;

/* ldxcmp: -1, 0 or 1 as a is before, at or after b. */
KES_API int ldxcmp(const ldxdate *a, const ldxdate *b) KES_NOEXCEPT;
KES_API void ldxcmparr(ldxctx *ctx, int32_t *out, const ldxdate *const *a, size_t count,
                       const ldxdate *const *b, uint32_t flags, size_t *processed) KES_NOEXCEPT;

/* ldxctj: day number of a date. A day that does not exist counts on from its month's first. Of the
 * year the low 16 bits count, of month and day the low 8. */
KES_API int32_t ldxctj(ldxctx *ctx, int32_t year, uint32_t month, uint32_t day) KES_NOEXCEPT;

/* ldxjtc: date of a day number. It is the exact inverse of ldxctj and can answer the year 0. A
 * number below 1 or above 5373484 raises 1854. */
KES_API void ldxjtc(ldxctx *ctx, int32_t julian, int16_t *year, uint8_t *month, uint8_t *day);

/* ldxdyc: month and day of a day of the year, 1 to 366; October 1582 has 21 days, so that 1582 has
 * 355. Returns 1; or 0, with month and day 0, when the year does not have the day. */
KES_API int ldxdyc(ldxctx *ctx, int32_t year, uint32_t day_of_year, uint8_t *month,
                   uint8_t *day) KES_NOEXCEPT;

/* ldxdow: weekday of a day number, 1 to 7; 1 is the first day of the week of the context's
 * territory. ldxdowarr: of the day numbers of Julian dates. */
KES_API uint32_t ldxdow(ldxctx *ctx, int32_t julian) KES_NOEXCEPT;
KES_API void ldxdowarr(ldxctx *ctx, uint32_t *out, const ldxjdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;

/* ldxads: adds days and seconds, which may have different signs. */
KES_API void ldxads(ldxctx *ctx, ldxdate *out, const ldxdate *in, const ldxdelta *delta);
KES_API void ldxadsarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const ldxdelta *deltas, uint32_t flags, size_t *processed);

/* ldxadm: adds months. The last day of a month stays a last day, and a day that the new month does
 * not have becomes its last; else the day is kept, though it be one of the ten that October 1582
 * leaves out. Time is kept.
 * Result   1 when the day was set to the month's last, else 0.
 * Two totals are answered as they stand: a month before January of year 1 is December of year 0,
 * and up to eleven months after December 9999 are months of the year 10000. */
KES_API int ldxadm(ldxctx *ctx, ldxdate *out, const ldxdate *in, int32_t months);
KES_API void ldxadmarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const int32_t *months, uint32_t flags, size_t *processed);

/* ldxsbm: months between, a less b, as a NUMBER (kestra/number.h) of at most 22 bytes, its length
 * first. Whole when both have the same day of the month or both are last days of their months,
 * whatever the times; else every 31 days count as a month. Raises 1841 only in calendars with
 * months of their own, for a date that has no day number. ldxsbmarr: the addresses of b are the
 * second operands. */
KES_API void ldxsbm(ldxctx *ctx, uint8_t *out, const ldxdate *a, const ldxdate *b);
KES_API void ldxsbmarr(ldxctx *ctx, uint8_t *const *out, const ldxdate *const *a, size_t count,
                       const ldxdate *const *b, uint32_t flags, size_t *processed);

/* ldxldd: the last day of the date's month, at the same time. Raises 1841 only in calendars with
 * months of their own. */
KES_API void ldxldd(ldxctx *ctx, ldxdate *out, const ldxdate *in);
KES_API void ldxlddarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed);

/* ldxnxd: the next day that is the given weekday (1 to 7 as ldxdow counts), always a later day, at
 * the same time. Another weekday raises 1846. */
KES_API void ldxnxd(ldxctx *ctx, ldxdate *out, const ldxdate *in, uint32_t weekday);
KES_API void ldxnxdarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const uint32_t *weekdays, uint32_t flags, size_t *processed);

/* ldxtrn: truncates to a unit, ldxrnd: rounds to it. unit is the code of a format element:
 *    1, 2 CC SCC                     century; 1901 to 2000 are one, and -100 to -1
 *    3, 5, 7, 9 I IY IYY IYYY        ISO year
 *    4, 6, 8, 10, 12, 14, 15, 40, 41, 45   year
 *    16 Q                            quarter: rounds up from the 16th of its second month
 *    17, 30, 31, 38 MM MONTH MON RM  month: up from the 16th
 *    18 IW, 19 WW, 20 W              week from Monday, from 1 January's and from the 1st's weekday
 *    21, 32, 33 D DAY DY             week from the territory's first day
 *    22, 23, 29 DD DDD J             day
 *    24, 25 HH24 HH12                hour
 *    26 MI                           minute
 * Another code raises 1899: also 11 (Y,YYY) and 13 (SY,YYY). Weeks of the year count the days that
 * there were (October 1582 has 21), those of the month begin on its days 1, 8, 15, 22 and 29.
 * Rounding to IW, WW or W at the end of 9999 stays in the year. */
KES_API void ldxtrn(ldxctx *ctx, ldxdate *out, const ldxdate *in, uint32_t unit);
KES_API void ldxrnd(ldxctx *ctx, ldxdate *out, const ldxdate *in, uint32_t unit);
KES_API void ldxtrnarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const uint32_t *units, uint32_t flags, size_t *processed);
KES_API void ldxrndarr(ldxctx *ctx, ldxdate *const *out, const ldxdate *const *in, size_t count,
                       const uint32_t *units, uint32_t flags, size_t *processed);

/* ldxisy, ldxisw: year and week (1 to 53) of ISO 8601: weeks begin on Monday and belong to the year
 * of their Thursday. The ISO year of days before the year 1 that would be 0 is -1. */
KES_API int32_t ldxisy(ldxctx *ctx, const ldxdate *in) KES_NOEXCEPT;
KES_API uint32_t ldxisw(ldxctx *ctx, const ldxdate *in) KES_NOEXCEPT;
KES_API void ldxisyarr(ldxctx *ctx, int32_t *out, const ldxdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;
KES_API void ldxiswarr(ldxctx *ctx, uint32_t *out, const ldxdate *const *in, size_t count,
                       const void *unused, uint32_t flags, size_t *processed) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
