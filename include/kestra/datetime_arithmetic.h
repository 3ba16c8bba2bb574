/* datetime_arithmetic.h: datetimes with intervals, differences, overlaps, fields, rounding.
 *
 * Array forms: see datetime.h.
 * Results  0 or an error number of datetime.h; nothing is written then.
 * Overlap  a record that is written may be one that is read; in array forms one of the same element.
 * Threads  no state. */
#ifndef KESTRA_DATETIME_ARITHMETIC_H
#define KESTRA_DATETIME_ARITHMETIC_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/datetime.h"
#include "kestra/handle.h"
#include "kestra/interval.h"

#ifdef __cplusplus
extern "C" {
#endif

/* LdiDateInterAdd, LdiDateInterSubtract and their forms: a datetime plus or minus an interval, of
 * the datetime's type.
 *
 * Months   are added to year and month; day and time stay. When the month has no such day the result
 *          is its last day (31 January + 1 month is 28 February; 28 February + 1 month is
 *          28 March). The forms ending in ISO return 1839 instead.
 * Days to  are added to the clock as exact time. A fraction is rounded to the second in the type
 * seconds  date. Times of day begin again at midnight, and take no months (1870).
 * Year 0   is counted, as everywhere in date.h; a result in it moves to the year 1 when the way was
 *          forward, else to -1, and its 29 February to the 28th.
 * Zones    the plain forms keep offset and region as they are: right for offsets and for types
 *          without a zone. The forms with TZ take the rules of the region from the session's zone
 *          file: months move the local time, which then finds its offset, keeps the one it had
 *          when it exists twice (1:30 daylight time stays that), and leaves a gap forward;
 *          days to seconds move the instant, so that a day is 24 hours. 1:30 the day before the
 *          clocks go forward, plus 24 hours, is 2:30.
 *
 * Errors   1841 outside the calendar; 1839; 1866; 1867; 1870; those of the zone file. */
KES_API uint32_t LdiDateInterAdd(LdiDate *out, const LdiDate *in,
                                 const LdiInter *inter) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtract(LdiDate *out, const LdiDate *in,
                                      const LdiInter *inter) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterAddTZ(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                   const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterAddTZarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                      const LdiInter *const *inter, const LdiSession *session,
                                      uint32_t flags, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtractTZ(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                        const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtractTZarr(LdiDate *const *out, const LdiDate *const *in,
                                           size_t count, const LdiInter *const *inter,
                                           const LdiSession *session, uint32_t flags,
                                           size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterAddTZISO(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                      const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterAddTZISOarr(LdiDate *const *out, const LdiDate *const *in,
                                         size_t count, const LdiInter *const *inter,
                                         const LdiSession *session, uint32_t flags,
                                         size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtractTZISO(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                           const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtractTZISOarr(LdiDate *const *out, const LdiDate *const *in,
                                              size_t count, const LdiInter *const *inter,
                                              const LdiSession *session, uint32_t flags,
                                              size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterAddarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                    const LdiInter *const *inter, uint32_t flags,
                                    size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterSubtractarr(LdiDate *const *out, const LdiDate *const *in,
                                         size_t count, const LdiInter *const *inter, uint32_t flags,
                                         size_t *done) KES_NOEXCEPT;

/* LdiDateIntertimeAdd, LdiDateIntertimeSubtract: the time of day alone plus or minus an interval
 * day to second; the date stays, *days (may be null) receives the days that were left over. In the
 * array forms days is an array, or null.
 * Errors   1866, 1867, 1870 year to month. */
KES_API uint32_t LdiDateIntertimeAdd(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                     int32_t *days) KES_NOEXCEPT;
KES_API uint32_t LdiDateIntertimeAddarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                        const LdiInter *const *inter, int32_t *days, uint32_t flags,
                                        size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateIntertimeSubtract(LdiDate *out, const LdiDate *in, const LdiInter *inter,
                                          int32_t *days) KES_NOEXCEPT;
KES_API uint32_t LdiDateIntertimeSubtractarr(LdiDate *const *out, const LdiDate *const *in,
                                             size_t count, const LdiInter *const *inter,
                                             int32_t *days, uint32_t flags,
                                             size_t *done) KES_NOEXCEPT;

/* LdiDateDateSubtract: x - y as an interval of a type. Day to second: exact, cut to the type's last
 * field. Year to month: the whole months from y to x (15 March - 16 January is one month), cut to
 * years for the type year. Both values have a zone, then they are instants, or neither.
 * LdiDateDateSubtractWithTZ: a value without a zone is taken in the session's.
 *
 * Errors   1866, 1867; 1870 one has a zone and the other not, one a date and the other not, months
 *          of times; 1873 a leading field above 999999999; those of the zone file. */
KES_API uint32_t LdiDateDateSubtract(LdiInter *out, const LdiDate *x, const LdiDate *y,
                                     uint32_t type) KES_NOEXCEPT;
KES_API uint32_t LdiDateDateSubtractWithTZ(LdiInter *out, const LdiDate *x, const LdiDate *y,
                                           uint32_t type, const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateDateSubtractWithTZarr(LdiInter *const *out, const LdiDate *const *x,
                                              size_t count, const LdiDate *const *y, uint32_t type,
                                              const LdiSession *session, uint32_t flags,
                                              size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateDateSubtractarr(LdiInter *const *out, const LdiDate *const *x, size_t count,
                                        const LdiDate *const *y, uint32_t type, uint32_t flags,
                                        size_t *done) KES_NOEXCEPT;

/* LdiDateDateOverlap: whether two periods overlap, as in SQL: *overlap is 1 or 0. A period is given
 * by two ends in any order and contains its earlier end but not its later one; a period of no length
 * is that point. LdiDateInterOverlap: the second period is a start and a length; LdiInterInterOverlap:
 * both are. Lengths may be negative; they are added as in LdiDateInterAddTZ.
 * Errors   those of LdiDateCompare and LdiDateInterAddTZ. */
KES_API uint32_t LdiDateDateOverlap(const LdiDate *start1, const LdiDate *end1,
                                    const LdiDate *start2, const LdiDate *end2,
                                    const LdiSession *session, int *overlap) KES_NOEXCEPT;
KES_API uint32_t LdiDateInterOverlap(const LdiDate *start1, const LdiDate *end1,
                                     const LdiDate *start2, const LdiInter *length2,
                                     const LdiSession *session, int *overlap) KES_NOEXCEPT;
KES_API uint32_t LdiInterInterOverlap(const LdiDate *start1, const LdiInter *length1,
                                      const LdiDate *start2, const LdiInter *length2,
                                      const LdiSession *session, int *overlap) KES_NOEXCEPT;

/* Fields of datetimes. The first six have the numbers of the interval types. */
enum {
  KES_FIELD_YEAR = 1,
  KES_FIELD_MONTH = 2,
  KES_FIELD_DAY = 3,
  KES_FIELD_HOUR = 4,
  KES_FIELD_MINUTE = 5,
  KES_FIELD_SECOND = 6, /* with its fraction */
  KES_FIELD_ZONE_HOUR = 7,
  KES_FIELD_ZONE_MINUTE = 8,
  KES_FIELD_REGION = 9,       /* text */
  KES_FIELD_ABBREVIATION = 10 /* text: of the offset in force, EST or EDT */
};

/* LdiDateExtract: a field as a NUMBER, of the local time. LdiDateExtractTZ: a field of the zone as
 * text: the region's name, or +hh:mm where there is none; its abbreviation; hour and minute as
 * numbers with sign.
 * handle   of the set that the text is in; null: ASCII.
 * U        UTF-16 in the machine's byte order; size and length in units.
 * Errors   1866; 1878 the value has no such field; 1877; those of the zone file. */
KES_API uint32_t LdiDateExtract(const LdiDate *in, uint32_t field, uint8_t *out,
                                size_t *outlen) KES_NOEXCEPT;
KES_API uint32_t LdiDateExtractarr(uint8_t *const *out, const LdiDate *const *in, size_t count,
                                   uint32_t field, size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateExtractTZ(uint8_t *out, size_t size, size_t *length, const LdiDate *in,
                                  uint32_t field, const LdiSession *session,
                                  const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiDateExtractTZU(uint16_t *out, size_t size, size_t *length, const LdiDate *in,
                                   uint32_t field, const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateExtractTZarr(uint8_t *const *out, const LdiDate *const *in, size_t count,
                                     const size_t *rooms, size_t *lengths, uint32_t field,
                                     const LdiSession *session, const lxhandle *handle,
                                     uint32_t flags, size_t *done) KES_NOEXCEPT;

/* LdiDayofWeek: 1 to 7; 1 is the weekday first (0 Sunday to 6 Saturday; that of a territory is item
 * 97 of its handle).
 * Errors   1866 a time of day; 1846 first above 6. */
KES_API uint32_t LdiDayofWeek(const LdiDate *in, uint32_t first, uint32_t *day) KES_NOEXCEPT;
KES_API uint32_t LdiDayofWeekarr(uint32_t *days, const LdiDate *const *in, size_t count,
                                 uint32_t first, size_t *done) KES_NOEXCEPT;

/* LdiRound, LdiTruncate: to a unit, by the rules of ldxrnd and ldxtrn (date.h), on the local time;
 * also to SS (27), the whole second. Times of day round to hours (24, 25), minutes (26) and seconds
 * and begin again at midnight. The result finds its offset in its region's rules; where it exists
 * twice it keeps the offset it had.
 *
 * unit     the code of a format element.
 * first    first weekday of the territory, as in LdiDayofWeek, for the units D, DAY and DY.
 * Errors   1899 no rule for the unit; 1866; 1841; 1846; those of the zone file. */
KES_API uint32_t LdiRound(LdiDate *out, const LdiDate *in, uint32_t unit, uint32_t first,
                          const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiRoundarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                             uint32_t unit, uint32_t first, const LdiSession *session,
                             size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiTruncate(LdiDate *out, const LdiDate *in, uint32_t unit, uint32_t first,
                             const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiTruncatearr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                uint32_t unit, uint32_t first, const LdiSession *session,
                                size_t *done) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
