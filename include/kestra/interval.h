/* interval.h: intervals: making, checking, converting, computing, and their text.
 *
 * There are two families, year to month and day to second, which never mix: a month has no fixed
 * number of days. Within a family an interval is one signed amount, of months or of nanoseconds; its
 * type tells which fields show it. In a well-formed interval all fields have one sign, a field after
 * the first is within its range (months 0..11, hours 0..23, minutes and seconds 0..59, nanoseconds
 * 0..999999999), and the leading field, which takes what is left, is at most 999999999. Every
 * function writes well-formed intervals.
 *
 * Precisions: that of the leading field is its greatest number of digits, 0..9; that of the
 * fraction its number of digits, 0..9. KES_PRECISION_DEFAULT stands for 2 and 6.
 *
 * Array forms: see datetime.h.
 * Results  0 or an error number of datetime.h; nothing is written then.
 * Overlap  a record that is written may be one that is read.   Threads  no state. */
#ifndef KESTRA_INTERVAL_H
#define KESTRA_INTERVAL_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/datetime.h"
#include "kestra/handle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* LdiTypeCode: the field mask of each interval type, 0 for what is none; index 0..13.
 * LdiPower10: 1, 10, ... 1000000000. LdiPrecLimit: the greatest leading field of a precision 0..9:
 * 0, 9, 99, ... 999999999. */
extern KES_API const uint8_t LdiTypeCode[14];
extern KES_API const uint32_t LdiPower10[10];
extern KES_API const uint32_t LdiPrecLimit[10];

#define KES_PRECISION_DEFAULT 0xFFFFFFFFu

/* LdiInterConstruct: makes an interval from its fields.
 *
 * years..fraction  a field that the type does not have is ignored and stored as 0. The fraction, in
 *                  nanoseconds, is rounded to its precision, half away from zero, with the carry.
 * Errors           1867 type, or fields of both signs; 1873 the leading field or its precision; 1843,
 *                  1850, 1851, 1852, 1880 another field out of its range; 1880 the precision of
 *                  the fraction. */
KES_API uint32_t LdiInterConstruct(LdiInter *out, int32_t years, int32_t months, int32_t days,
                                   int32_t hours, int32_t minutes, int32_t seconds,
                                   int32_t fraction, uint32_t leading_precision,
                                   uint32_t fraction_precision, uint32_t type) KES_NOEXCEPT;

/* LdiInterCheck: 0 for a well-formed interval, else the sum of these bits. LdiInterFault: the error
 * number of a sum: that of its lowest bit. */
enum {
  KES_INTERVAL_FAULT_TYPE = 1,      /* 1867 */
  KES_INTERVAL_FAULT_UNUSED = 2,    /* 1867: a field that the type has not, or padding, is not 0 */
  KES_INTERVAL_FAULT_SIGNS = 4,     /* 1867 */
  KES_INTERVAL_FAULT_LEADING = 8,   /* 1873: above 999999999 */
  KES_INTERVAL_FAULT_MONTH = 16,    /* 1843 */
  KES_INTERVAL_FAULT_HOUR = 32,     /* 1850 */
  KES_INTERVAL_FAULT_MINUTE = 64,   /* 1851 */
  KES_INTERVAL_FAULT_SECOND = 128,  /* 1852 */
  KES_INTERVAL_FAULT_FRACTION = 256 /* 1880 */
};
KES_API uint32_t LdiInterCheck(const LdiInter *inter) KES_NOEXCEPT;
KES_API uint32_t LdiInterCheckarr(uint32_t *faults, const LdiInter *const *in, size_t count,
                                  size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterFault(uint32_t faults) KES_NOEXCEPT;

/* LdiDefaultCheck: completes and checks the precisions of an interval type: a default becomes its
 * number, the precision of a fraction that the type has not becomes 0.
 * Errors   1867 type; 1873, 1880 a precision above 9. */
KES_API uint32_t LdiDefaultCheck(uint32_t type, uint32_t *leading_precision,
                                 uint32_t *fraction_precision) KES_NOEXCEPT;

/* LdiInterToArray, LdiInterFromArray: the stored form: year to month 5 bytes: years + 2^31 in 4 bytes
 * big-endian, months + 60; day to second 11 bytes: days + 2^31 in 4, hours + 60, minutes + 60,
 * seconds + 60, nanoseconds + 2^31 in 4. All types are stored in the full fields of their family
 * and compare as bytes; reading converts to the type wanted (LdiInterInterConvert).
 * Errors   1867; 1877 no room; 1891 wrong length; 1843..1880 a field out of range; 1873. */
enum { KES_INTERVAL_BYTES = 11 };
KES_API uint32_t LdiInterToArray(uint8_t *bytes, size_t size, size_t *length,
                                 const LdiInter *in) KES_NOEXCEPT;
KES_API uint32_t LdiInterToArrayarr(uint8_t *const *bytes, const LdiInter *const *in, size_t count,
                                    const size_t *rooms, size_t *lengths, uint32_t flags,
                                    size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromArray(LdiInter *out, const uint8_t *bytes, size_t length,
                                   uint32_t type) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromArrayarr(LdiInter *const *out, const uint8_t *const *bytes,
                                      size_t count, const size_t *lengths, uint32_t type,
                                      uint32_t flags, size_t *done) KES_NOEXCEPT;

/* LdiInterComparable: 0 when the types are of one family, else 1870, or 1867.
 * LdiInterCompare: *order is -1, 0 or 1 as x is shorter than, equal to or longer than y, with sign. */
KES_API uint32_t LdiInterComparable(uint32_t x_type, uint32_t y_type) KES_NOEXCEPT;
KES_API uint32_t LdiInterCompare(const LdiInter *x, const LdiInter *y, int *order) KES_NOEXCEPT;
KES_API uint32_t LdiInterComparearr(int8_t *order, const LdiInter *const *x, size_t count,
                                    const LdiInter *const *y, uint32_t flags,
                                    size_t *done) KES_NOEXCEPT;

/* LdiInterInterConvert: to another type of the family, as a cast does: what is smaller than the last
 * field is cut, the fraction is rounded to its precision half away from zero.
 * LdiInterRoundFS: the fraction rounded, the type kept.
 * Errors   1867, 1870, 1873, 1880. */
KES_API uint32_t LdiInterInterConvert(LdiInter *out, const LdiInter *in, uint32_t type,
                                      uint32_t leading_precision,
                                      uint32_t fraction_precision) KES_NOEXCEPT;
KES_API uint32_t LdiInterInterConvertarr(LdiInter *const *out, const LdiInter *const *in,
                                         size_t count, uint32_t type, uint32_t leading_precision,
                                         uint32_t fraction_precision, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterRoundFS(LdiInter *out, const LdiInter *in,
                                 uint32_t fraction_precision) KES_NOEXCEPT;
KES_API uint32_t LdiInterRoundFSarr(LdiInter *const *out, const LdiInter *const *in, size_t count,
                                    uint32_t fraction_precision, size_t *done) KES_NOEXCEPT;

/* LdiInterInterAdd, LdiInterInterSubtract: x + y, x - y. The type of the result has the fields of
 * both operands and all between them (hour plus minute to second is hour to second).
 * Errors   1867, 1870; 1873 a leading field above 999999999. */
KES_API uint32_t LdiInterInterAdd(LdiInter *out, const LdiInter *x, const LdiInter *y) KES_NOEXCEPT;
KES_API uint32_t LdiInterInterAddarr(LdiInter *const *out, const LdiInter *const *x, size_t count,
                                     const LdiInter *const *y, uint32_t flags,
                                     size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterInterSubtract(LdiInter *out, const LdiInter *x,
                                       const LdiInter *y) KES_NOEXCEPT;
KES_API uint32_t LdiInterInterSubtractarr(LdiInter *const *out, const LdiInter *const *x,
                                          size_t count, const LdiInter *const *y, uint32_t flags,
                                          size_t *done) KES_NOEXCEPT;

/* LdiInterMultiply, LdiInterDivide: an interval times or by a NUMBER (number.h). LdiIIntMult: times
 * an integer. The result is year to month or day to second, whatever type the operand has, so that
 * half a day is not lost; it is rounded to the month or the nanosecond, half away from zero.
 * Errors   1867; 1873 overflow, infinities included; 1884 division by zero. */
KES_API uint32_t LdiInterMultiply(LdiInter *out, const LdiInter *in, const uint8_t *x,
                                  size_t xlen) KES_NOEXCEPT;
KES_API uint32_t LdiInterMultiplyarr(LdiInter *const *out, const LdiInter *const *in, size_t count,
                                     const uint8_t *const *x, uint32_t flags,
                                     size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterDivide(LdiInter *out, const LdiInter *in, const uint8_t *x,
                                size_t xlen) KES_NOEXCEPT;
KES_API uint32_t LdiInterDividearr(LdiInter *const *out, const LdiInter *const *in, size_t count,
                                   const uint8_t *const *x, uint32_t flags,
                                   size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiIIntMult(LdiInter *out, const LdiInter *in, int32_t factor) KES_NOEXCEPT;
KES_API uint32_t LdiIIntMultarr(LdiInter *const *out, const LdiInter *const *in, size_t count,
                                const int32_t *factors, uint32_t flags, size_t *done) KES_NOEXCEPT;

/* LdiInterFromNumber: x units to an interval of a type of the unit's family, rounded to the month or
 * the nanosecond, then cut to the type's fields. unit: KES_INTERVAL_YEAR..KES_INTERVAL_SECOND.
 * LdiInterToNumber: an interval in units, as lnxdiv rounds.
 * LdiInterToTN: the whole number of units of the type's last field, the rest cut.
 * Errors   1867, 1870, 1873. */
KES_API uint32_t LdiInterFromNumber(LdiInter *out, const uint8_t *x, size_t xlen, uint32_t unit,
                                    uint32_t type) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromNumberarr(LdiInter *const *out, const uint8_t *const *x, size_t count,
                                       uint32_t unit, uint32_t type, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterToNumber(const LdiInter *in, uint32_t unit, uint8_t *out,
                                  size_t *outlen) KES_NOEXCEPT;
KES_API uint32_t LdiInterToNumberarr(uint8_t *const *out, const LdiInter *const *in, size_t count,
                                     uint32_t unit, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterToTN(const LdiInter *in, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API uint32_t LdiInterToTNarr(uint8_t *const *out, const LdiInter *const *in, size_t count,
                                 size_t *done) KES_NOEXCEPT;

/* LdiInterExtract: one field as a NUMBER with the interval's sign; seconds with their fraction.
 * field    KES_INTERVAL_YEAR..KES_INTERVAL_SECOND.
 * Errors   1867; 1878 a field of the other family, or that the type has not. */
KES_API uint32_t LdiInterExtract(const LdiInter *in, uint32_t field, uint8_t *out,
                                 size_t *outlen) KES_NOEXCEPT;
KES_API uint32_t LdiInterExtractarr(uint8_t *const *out, const LdiInter *const *in, size_t count,
                                    uint32_t field, size_t *done) KES_NOEXCEPT;

/* LdiInterFromTZ: the offset of a zone as an interval hour to minute. LdiInterToTZ: back, from any
 * type of the family day to second.
 * Errors   1870 year to month; 1874 beyond +-15:00; 1875 not whole minutes, an offset of two
 *          signs. */
KES_API uint32_t LdiInterFromTZ(LdiInter *out, int32_t zone_hour, int32_t zone_minute) KES_NOEXCEPT;
KES_API uint32_t LdiInterToTZ(const LdiInter *in, int32_t *zone_hour,
                              int32_t *zone_minute) KES_NOEXCEPT;

/* LdiInterToString: an interval as text: sign, the leading field with as many digits as its
 * precision, the other fields with two, the fraction with the digits of its precision (none: no
 * point). +02-11, -000003 04:05:06.123, +07.
 * LdiInterToStringISO: as an ISO 8601 duration: P2Y11M, -P3DT4H5M6.123S; zero is P0M or PT0S.
 *
 * out, size  destination. length receives the bytes (U: the 16-bit units) written; no terminator.
 * handle     of the set that the text is in; null: ASCII.
 * U          UTF-16 in the machine's byte order.
 * Errors     1867; 1873 the leading field needs more digits; 1880; 1877 no room. */
enum { KES_INTERVAL_TEXT = 64 }; /* room that every text fits into */
KES_API uint32_t LdiInterToString(uint8_t *out, size_t size, size_t *length, const LdiInter *in,
                                  uint32_t leading_precision, uint32_t fraction_precision,
                                  const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiInterToStringU(uint16_t *out, size_t size, size_t *length, const LdiInter *in,
                                   uint32_t leading_precision,
                                   uint32_t fraction_precision) KES_NOEXCEPT;
KES_API uint32_t LdiInterToStringarr(uint8_t *const *out, const LdiInter *const *in, size_t count,
                                     const size_t *rooms, size_t *lengths,
                                     uint32_t leading_precision, uint32_t fraction_precision,
                                     const lxhandle *handle, uint32_t flags,
                                     size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterToStringISO(uint8_t *out, size_t size, size_t *length, const LdiInter *in,
                                     const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiInterToStringISOarr(uint8_t *const *out, const LdiInter *const *in,
                                        size_t count, const size_t *rooms, size_t *lengths,
                                        const lxhandle *handle, uint32_t flags,
                                        size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterToStringISOU(uint16_t *out, size_t size, size_t *length,
                                      const LdiInter *in) KES_NOEXCEPT;

/* LdiInterFromString: reads the text of an interval of a type. Three notations are known:
 *   fields      [+|-] years-months or days hours:minutes:seconds.fraction, as many as the type has
 *   ISO 8601    [+|-]P1Y2M, P3W, P1DT2H3M4.5S; numbers may be as large as they like to be, and
 *               have signs of their own as long as all are equal
 *   SQL         INTERVAL [+|-] 'fields' DAY(3) TO SECOND(2): the qualifier tells how the fields are
 *               read and gives precisions; the value is then converted to the type
 * Blanks around the text and around signs are skipped; a field may have leading zeros.
 * LdiInterFromStringPrec checks the leading field against a precision and rounds the fraction to
 * one; LdiInterFromString takes what fits, 9 and 9.
 *
 * Errors   1867 not an interval, or text left over; 1870 of the other family; 1873 the leading
 *          field; 1843, 1850, 1851, 1852 another field out of range; 1878 an amount smaller than
 *          the type's last field; 1880 more than nine digits of fraction. */
KES_API uint32_t LdiInterFromString(LdiInter *out, const uint8_t *text, size_t length,
                                    uint32_t type, const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromStringU(LdiInter *out, const uint16_t *text, size_t length,
                                     uint32_t type) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromStringarr(LdiInter *const *out, const uint8_t *const *texts,
                                       size_t count, const size_t *lengths, uint32_t type,
                                       const lxhandle *handle, uint32_t flags,
                                       size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromStringPrec(LdiInter *out, const uint8_t *text, size_t length,
                                        uint32_t type, uint32_t leading_precision,
                                        uint32_t fraction_precision,
                                        const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromStringPrecarr(LdiInter *const *out, const uint8_t *const *texts,
                                           size_t count, const size_t *lengths, uint32_t type,
                                           uint32_t leading_precision, uint32_t fraction_precision,
                                           const lxhandle *handle, uint32_t flags,
                                           size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiInterFromStringPrecU(LdiInter *out, const uint16_t *text, size_t length,
                                         uint32_t type, uint32_t leading_precision,
                                         uint32_t fraction_precision) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
