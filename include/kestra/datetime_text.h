/* datetime_text.h: datetimes as text: format models, SQL literals, ISO 8601.
 *
 * Models are those of date_format.h with more elements:
 *   FF, FF1..FF9  the fraction of the second: as many digits as the precision asked for, or 1 to 9
 *   TZH, TZM      hours of the offset with a sign, and minutes
 *   TZR           the region's name, or +hh:mm where there is none
 *   TZD           the abbreviation in force: EST, EDT; reads of a text choose with it between two
 *                 readings of a time that comes twice
 *   X             the decimal character of the handle (KES_ITEM_NUMERIC_CHARACTERS; a full stop
 *                 without one); texts may have a full stop or a comma too
 *   HH25          hours 0 to 24; 24 only at 24:00:00, the end of the day
 * Compiled formats are those of date_format.h too: an element of this list is the byte 39 and its
 * code.
 *
 * Calling order: LdiParseContextInit, LdiParseForInput or LdiParseForOutput, then any number of
 * LdiDateFromString and LdiDateToString, LdiParseContextTerm.
 * Texts are in the set of the context's handle, ASCII without one. Forms ending in U take and give
 * two-byte code units, in the order of the handle's set when that has them, else in the machine's.
 * Results  0 or an error number: of datetime.h, and for models and texts those of date_format.h;
 *          nothing is written then but into the room of a text or a format.
 * Threads  a context is used by one thread at a time. */
#ifndef KESTRA_DATETIME_TEXT_H
#define KESTRA_DATETIME_TEXT_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/date.h"
#include "kestra/date_format.h"
#include "kestra/datetime.h"
#include "kestra/interval.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Codes of the elements beyond those of date_format.h. */
enum {
  KES_DATETIME_HH25 = 45,
  KES_DATETIME_FF = 46,
  KES_DATETIME_TZH = 47,
  KES_DATETIME_TZM = 48,
  KES_DATETIME_TZD = 49,
  KES_DATETIME_TZR = 50,
  KES_DATETIME_X = 51,
  KES_DATETIME_FF1 = 52, /* FF1..FF9: 52..60 */
  KES_DATETIME_NYYYY = 61,
  KES_DATETIME_LITERAL_ITEM = 62,
  /* Compiled to the elements of the language's formats; no item has these codes. */
  KES_DATETIME_DL = 63,
  KES_DATETIME_DS = 64,
  KES_DATETIME_TS = 65
};

/* The context: 12352 bytes. */
typedef struct LdiParseContext {
  ldxctx date; /* ctx.today may be set: completes texts without year or month */
  const LdiSession *session;
  uint64_t spare[7];
} LdiParseContext;

/* LdiParseContextInit: starts a context for a handle (null: English, ASCII) and a session (null:
 * UTC), both of which have to outlive it. nls: the work area of calls; null: the handle's own.
 * LdiParseContextTerm: ends it; null is allowed. */
KES_API uint32_t LdiParseContextInit(LdiParseContext *out, const lxhandle *handle, lxcontext *nls,
                                     const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiParseContextTerm(LdiParseContext *ctx) KES_NOEXCEPT;

/* LdiParseForInput: compiles a model for reading and writing; LdiParseForOutput: for writing alone,
 * elements may come again. LdiParseForInputType: for reading a type: elements that it has not are
 * 1878.
 * out, size  the compiled format; *length its bytes.
 * Errors     those of ldxsti; 1810 two fractions; 1813, 1818 HH25 with another hour or AM; 1820
 *            reading an element that is only written. */
KES_API uint32_t LdiParseForInput(uint8_t *out, size_t size, size_t *length, const uint8_t *text,
                                  size_t text_length, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiParseForInputU(uint8_t *out, size_t size, size_t *length, const uint16_t *text,
                                   size_t units, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiParseForInputType(uint8_t *out, size_t size, size_t *length,
                                      const uint8_t *text, size_t text_length, uint32_t type,
                                      LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiParseForInputTypeU(uint8_t *out, size_t size, size_t *length,
                                       const uint16_t *text, size_t units, uint32_t type,
                                       LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiParseForOutput(uint8_t *out, size_t size, size_t *length, const uint8_t *text,
                                   size_t text_length, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiParseForOutputU(uint8_t *out, size_t size, size_t *length, const uint16_t *text,
                                    size_t units, LdiParseContext *ctx) KES_NOEXCEPT;

/* LdiGetFormatItem: the item of a compiled format at *offset, which moves behind it.
 * item     its code: KES_DATE_..., KES_DATETIME_..., KES_DATETIME_LITERAL_ITEM with its bytes; 0 at
 *          the end. modifier: see date_format.h; of a literal its kind.
 * Errors   1821 a damaged format. */
typedef struct LdiFormatItem {
  uint32_t code;
  uint32_t modifier;
  const uint8_t *literal; /* inside the format */
  size_t literal_length;
} LdiFormatItem;
KES_API uint32_t LdiGetFormatItem(LdiFormatItem *item, const uint8_t *format, size_t length,
                                  size_t *offset) KES_NOEXCEPT;

/* LdiUnparse: a model that compiles to this format again, in the set of the handle.
 * LdiMaxSize: a size that every text written with it fits into, in bytes of the set of texts.
 * Errors   1821; 1877. */
KES_API uint32_t LdiUnparse(uint8_t *out, size_t size, size_t *length, const uint8_t *format,
                            size_t format_length, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiUnparseU(uint16_t *out, size_t size, size_t *length, const uint8_t *format,
                             size_t format_length, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiMaxSize(size_t *size, const uint8_t *format, size_t format_length,
                            LdiParseContext *ctx) KES_NOEXCEPT;

/* LdiMaxDispWidth: the columns of the widest text of a type that LdiDateToLiteral puts between quotes
 * (a region counts 32), or with interval not 0 of LdiInterToString.
 * LdiPrecisionCode: the code of the element of a fraction with this many digits: FF1..FF9, or FF for
 * KES_PRECISION_DEFAULT.
 * Errors   1866, 1867, 1873; 1880 the precision. */
KES_API uint32_t LdiMaxDispWidth(size_t *width, uint32_t type, int interval,
                                 uint32_t leading_precision,
                                 uint32_t fraction_precision) KES_NOEXCEPT;
KES_API uint32_t LdiPrecisionCode(uint32_t *code, uint32_t precision) KES_NOEXCEPT;

/* LdiDateToString: a datetime in a format. precision: the digits that FF writes, 0..9; the fraction
 * is cut; an X before no digits is written too. U: size and length in units. Texts in units, of a
 * handle's set or of U, are at most 4096 bytes long before they are converted. Array forms: see
 * datetime.h.
 * Errors   1821 a damaged format; 1878 an element that the type has not (TZH of a timestamp); 1880;
 *          1877 no room; those of LdiDateCheck and of the zone file. */
KES_API uint32_t LdiDateToString(uint8_t *out, size_t size, size_t *length, const LdiDate *in,
                                 const uint8_t *format, size_t format_length, uint32_t precision,
                                 LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiDateToStringU(uint16_t *out, size_t size, size_t *length, const LdiDate *in,
                                  const uint8_t *format, size_t format_length, uint32_t precision,
                                  LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiDateToStringarr(uint8_t *const *out, const LdiDate *const *in, size_t count,
                                    const size_t *rooms, size_t *lengths, const uint8_t *format,
                                    size_t format_length, uint32_t precision, LdiParseContext *ctx,
                                    uint32_t flags, size_t *done) KES_NOEXCEPT;

/* LdiDateFromString: the datetime of a type that a text says. Missing fields are as in date_format.h;
 * a missing zone is the session's. After an error of the text ctx->date.error_offset tells where in
 * it, in bytes; 0: as a whole, or not the text. Texts in units are at most 1024 units (1830); their
 * offset is in bytes of the units, but of U with a handle in another set than UTF-8 in bytes of the
 * converted text. TZR with TZH: the region, whose offset has to be that one, or
 * has to have been it at a time that comes twice.
 * precision  of the fraction, which is rounded to it.
 * Errors     those of the reader of dates; 1878 an element that the type has not; 1874, 1875, 1879;
 *            1857 an abbreviation that the region does not have at that time, or an unknown one; 1882
 *            no such region, or an offset that it has not; 1880; those of LdiDateConstruct. */
KES_API uint32_t LdiDateFromString(LdiDate *out, const uint8_t *text, size_t length,
                                   const uint8_t *format, size_t format_length, uint32_t type,
                                   uint32_t precision, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromStringU(LdiDate *out, const uint16_t *text, size_t units,
                                    const uint8_t *format, size_t format_length, uint32_t type,
                                    uint32_t precision, LdiParseContext *ctx) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromStringarr(LdiDate *const *out, const uint8_t *const *texts,
                                      size_t count, const size_t *lengths, const uint8_t *format,
                                      size_t format_length, uint32_t type, uint32_t precision,
                                      LdiParseContext *ctx, uint32_t flags,
                                      size_t *done) KES_NOEXCEPT;

/* LdiDateFromLiteral: a datetime from an SQL literal, or from ISO 8601:
 *   DATE '2024-02-29', TIME '10:00:00.5 +02:00', TIMESTAMP '2024-02-29 10:00:00 Europe/Berlin'
 *   2024-02-29, 2024-02-29T10:00:00.5+02:00, 20240229T100000Z, 10:00:00, T100000
 * A date may have a sign, blanks or a T may stand before the time, a region or an offset at the end.
 * The parts that are there decide its type; it is then converted to type, or kept when type is 0.
 * session  the zone file, and the zone that a conversion adds; may be null.
 * Errors   1861 not a literal; 1830 text left over; those of LdiDateConstruct and of
 *          LdiDateDateConvert; 1880 more than nine digits of fraction.
 * LdiDateToLiteral: the SQL literal with precision digits of the fraction (cut).
 * Errors   1877; those of LdiDateCheck and of the zone file. */
KES_API uint32_t LdiDateFromLiteral(LdiDate *out, const uint8_t *text, size_t length, uint32_t type,
                                    const LdiSession *session, const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromLiteralarr(LdiDate *const *out, const uint8_t *const *texts,
                                       size_t count, const size_t *lengths, uint32_t type,
                                       const LdiSession *session, const lxhandle *handle,
                                       uint32_t flags, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromLiteralU(LdiDate *out, const uint16_t *text, size_t units,
                                     uint32_t type, const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateToLiteral(uint8_t *out, size_t size, size_t *length, const LdiDate *in,
                                  uint32_t precision, const LdiSession *session,
                                  const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiDateToLiteralarr(uint8_t *const *out, const LdiDate *const *in, size_t count,
                                     const size_t *rooms, size_t *lengths, uint32_t precision,
                                     const LdiSession *session, const lxhandle *handle,
                                     uint32_t flags, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateToLiteralU(uint16_t *out, size_t size, size_t *length, const LdiDate *in,
                                   uint32_t precision, const LdiSession *session) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
