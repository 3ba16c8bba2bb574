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

#ifdef __cplusplus
}
#endif
#endif
