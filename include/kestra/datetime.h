/* datetime.h: the records of the datetime and interval types, their type codes and errors; making,
 * checking, storing, converting and comparing datetimes.
 *
 * A datetime is a calendar date, a time of day to the nanosecond and a time zone, of which its type
 * uses some. The transitions of a time-zone file have the same layout (timezone.h). Years run from
 * -4712 to 9999 without a year 0; the calendar is that of date.h.
 *
 *   type                        fields                                  zone
 *   date                        year to second                          none
 *   time                        hour to fraction; year to day are 0     none
 *   timestamp                   year to fraction                        none
 *   time with zone              hour to fraction; year to day are 0     offset
 *   timestamp with zone         year to fraction                        offset, or region and offset
 *   timestamp with local zone   year to fraction                        offset, or region and offset
 *
 * The fields of a value with a zone are its local time; UTC is the local time less the offset. The
 * offset of a region is the one in force at that instant, in whole minutes: seconds that some zones
 * had before standard time came are cut. A timestamp with local zone is an instant that is shown in
 * the session's zone; its record carries the zone that it is shown in now (LdiFixTSLTZ moves it to
 * the session's), its stored form is UTC and nothing else.
 *
 * Results  every function returns 0 or an error number below and writes nothing when it fails.
 *          Records that LdiDateCheck or LdiInterCheck would complain about do no harm, but what
 *          comes out has no meaning.
 * Overlap  a record that is written may be one that is read.
 * Threads  no function has state of its own.
 *
 * Array forms end in "arr" and do the scalar operation on each element in turn:
 *   (results, inputs, count, second operands, what all elements share, flags, done)
 * results  addresses of the results, all different; for answers that are numbers, the array of
 *          answers itself.
 * inputs   addresses of the inputs. A result may be at its own input, not at another one's.
 * second operands  one for each element; with KES_DATETIME_SHARED in flags the first serves all.
 *          Forms without them have no flags either.
 * texts and bytes that are written take their rooms as second operands, in bytes, and have an array
 *          of lengths; those that are read take their lengths.
 * numbers (number.h) are length byte and number, 22 bytes of room.
 * done     null, or receives how many elements went well. The error is that of the one after them,
 *          which is not written; those before it are in place.
 *
 * Other headers: interval.h (intervals), datetime_arithmetic.h (datetimes with intervals, fields,
 * rounding), datetime_zone.h (sessions and zones), datetime_text.h (text). */
#ifndef KESTRA_DATETIME_H
#define KESTRA_DATETIME_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/date.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A datetime. 20 bytes. A field that the type does not have is 0. */
typedef struct LdiDate {
  int16_t year;       /* -4712..9999, never 0 */
  uint8_t month;      /* 1..12 */
  uint8_t day;        /* 1..31 */
  uint8_t hour;       /* 0..23 */
  uint8_t minute;     /* 0..59 */
  uint8_t second;     /* 0..59 */
  uint8_t zero;       /* always 0 */
  uint32_t fraction;  /* nanoseconds, 0..999999999 */
  int8_t zone_hour;   /* offset from UTC, -15..15; of a region -24..24 */
  int8_t zone_minute; /* -59..59, of the sign of the whole offset */
  uint8_t type;       /* KES_DATETIME_... */
  uint8_t zero2;      /* always 0 */
  uint16_t region;    /* zone id of timezone.h, 0 when the zone is given as an offset */
  uint16_t reserved;  /* always 0 */
} LdiDate;

/* Types of a datetime. */
enum {
  KES_DATETIME_DATE = 1,
  KES_DATETIME_TIME = 2,
  KES_DATETIME_TIMESTAMP = 3, /* the type that the functions of timezone.h take */
  KES_DATETIME_TIME_TZ = 4,
  KES_DATETIME_TIMESTAMP_TZ = 5,
  KES_DATETIME_TIMESTAMP_LTZ = 7
};

/* An interval: five fields, whose meaning the type's mask tells. 24 bytes. Year to month: years,
 * months. Day to second: days, hours, minutes, seconds, nanoseconds. A field that the type does not
 * contain is 0. */
typedef struct LdiInter {
  int32_t field[5];
  uint8_t type; /* KES_INTERVAL_... */
  uint8_t pad;  /* always 0 */
  uint16_t zero;
} LdiInter;

/* Types of an interval. */
enum {
  KES_INTERVAL_YEAR = 1,
  KES_INTERVAL_MONTH = 2,
  KES_INTERVAL_DAY = 3,
  KES_INTERVAL_HOUR = 4,
  KES_INTERVAL_MINUTE = 5,
  KES_INTERVAL_SECOND = 6,
  KES_INTERVAL_YEAR_TO_MONTH = 7,
  KES_INTERVAL_DAY_TO_HOUR = 8,
  KES_INTERVAL_DAY_TO_MINUTE = 9,
  KES_INTERVAL_DAY_TO_SECOND = 10,
  KES_INTERVAL_HOUR_TO_MINUTE = 11,
  KES_INTERVAL_HOUR_TO_SECOND = 12,
  KES_INTERVAL_MINUTE_TO_SECOND = 13
};

/* Field mask of an interval type: an interval whose mask is at least KES_MASK_MONTH is year to
 * month, any other day to second. */
enum {
  KES_MASK_SECOND = 1,
  KES_MASK_MINUTE = 2,
  KES_MASK_HOUR = 4,
  KES_MASK_DAY = 8,
  KES_MASK_MONTH = 16,
  KES_MASK_YEAR = 32
};

/* Error numbers that the functions of datetimes and intervals return; 0 is success. */
enum {
  KES_DATETIME_OK = 0,
  KES_DATETIME_ZONE_FILE = 1804, /* the time-zone file is missing, damaged or of another version */
  KES_DATETIME_NOT_IN_MONTH = 1839,   /* month arithmetic: the month has no such day */
  KES_DATETIME_BAD_YEAR = 1841,       /* not -4712..9999, or 0 */
  KES_DATETIME_BAD_MONTH = 1843,      /* not 1..12 */
  KES_DATETIME_BAD_WEEKDAY = 1846,    /* not 0..6 */
  KES_DATETIME_BAD_DAY = 1847,        /* not a day of the month */
  KES_DATETIME_BAD_HOUR = 1850,       /* not 0..23 */
  KES_DATETIME_BAD_MINUTE = 1851,     /* not 0..59 */
  KES_DATETIME_BAD_SECOND = 1852,     /* not 0..59; seconds of a day not 0..86399 */
  KES_DATETIME_BAD_DAY_NUMBER = 1854, /* not 1..5373484 */
  KES_DATETIME_BAD_NAME = 1857,       /* unknown zone abbreviation or region name */
  KES_DATETIME_BAD_TYPE = 1866,       /* unknown datetime type, or one that the operation has not */
  KES_DATETIME_BAD_INTERVAL = 1867,   /* unknown interval type; fields of different signs */
  KES_DATETIME_NOT_COMPARABLE = 1870, /* operands of types that do not go together */
  KES_DATETIME_INTERVAL_RANGE = 1873, /* leading field beyond its precision */
  KES_DATETIME_BAD_ZONE_HOUR = 1874,  /* not -15..15 */
  KES_DATETIME_BAD_ZONE_MINUTE = 1875, /* not -59..59 */
  KES_DATETIME_NO_ROOM = 1877,         /* the destination is too small */
  KES_DATETIME_NO_FIELD = 1878,        /* the value has no such field */
  KES_DATETIME_BAD_HOUR25 = 1879,      /* not 0..24 */
  KES_DATETIME_BAD_FRACTION = 1880,    /* not 0..999999999; a precision of a fraction not 0..9 */
  KES_DATETIME_BAD_ZONE_ID = 1881,     /* not 1..8191 */
  KES_DATETIME_NO_REGION = 1882,       /* region not found; zone of a record out of range */
  KES_DATETIME_BY_ZERO = 1884,         /* division by zero */
  KES_DATETIME_FAILED = 1891, /* any other failure of the time zones; wrong stored length */
  KES_DATETIME_NO_UNIT = 1899 /* rounding to a unit that has no rule */
};

enum {
  KES_DATETIME_BYTES = 13,  /* room that every stored form fits into */
  KES_DATETIME_SHARED = 16, /* flag of array forms: the second operand is one for all elements */
  KES_DATETIME_MAX_PRECISION = 9
};

/* A loaded time-zone file, see timezone.h. */
typedef struct ltzfile ltzfile;

/* What a session contributes: the zone file (null: regions are unknown, error 1804) and the
 * session's own time zone. A null session is UTC without a file. See datetime_zone.h. 32 bytes. */
typedef struct LdiSession {
  const ltzfile *zones;
  int8_t zone_hour;   /* offset; when there is a region: not used */
  int8_t zone_minute; /* of the sign of the whole offset */
  uint16_t region;    /* 0: the offset holds */
  uint32_t zero;
  uint64_t spare[2];
} LdiSession;

/* LdiDateConstruct: makes a datetime from its fields. LdiDateConstructN takes the region by its id.
 *
 * year..fraction  fields that the type does not have are ignored and stored as 0. The fraction, in
 *                 nanoseconds, is rounded to precision digits (0..9; a half goes up), which may
 *                 carry into all other fields. Types without a fraction round it to the second.
 * type            KES_DATETIME_DATE...
 * zone            types with a zone: the region, when length or id is not 0; else the offset.
 *                 The local time decides the offset of a region. A time that a transition leaves
 *                 out moves forward by the gap; of one that comes twice it is the standard time.
 *                 A time of day has no date that could decide: its zone is an offset (1882).
 * Errors          1866; 1880; the first of 1841, 1843, 1847, 1850, 1851, 1852, 1882 that applies,
 *                 judged by LdiDateCheck; those of the zone file: 1804, 1881, 1882, 1891. */
KES_API uint32_t LdiDateConstruct(LdiDate *out, int32_t year, uint32_t month, uint32_t day,
                                  uint32_t hour, uint32_t minute, uint32_t second,
                                  uint32_t fraction, uint32_t precision, uint32_t type,
                                  int32_t zone_hour, int32_t zone_minute, const uint8_t *region,
                                  size_t region_length, const ltzfile *zones) KES_NOEXCEPT;
KES_API uint32_t LdiDateConstructN(LdiDate *out, int32_t year, uint32_t month, uint32_t day,
                                   uint32_t hour, uint32_t minute, uint32_t second,
                                   uint32_t fraction, uint32_t precision, uint32_t type,
                                   int32_t zone_hour, int32_t zone_minute, uint32_t region,
                                   const ltzfile *zones) KES_NOEXCEPT;

/* LdiDateCheck: 0 for a valid record, else the sum of these bits. The bits up to 8192 mean what
 * they do in ldxchk. The zone file is not asked: whether a region's offset is the right one stays
 * open. LdiDateFault is the error number of a sum: of the first bit in the order 1866, 1841, 1843,
 * 1847, 1850, 1851, 1852, 1880, 1882. */
enum {
  KES_FAULT_DAY = 1,
  KES_FAULT_DAY_ZERO = 2,
  KES_FAULT_MONTH = 4,
  KES_FAULT_MONTH_ZERO = 8,
  KES_FAULT_YEAR = 16, /* also a UTC before day 1 or after the last day of the calendar */
  KES_FAULT_YEAR_LOW = 32,
  KES_FAULT_HOUR = 64,
  KES_FAULT_MINUTE = 256,
  KES_FAULT_SECOND = 1024,
  KES_FAULT_SKIPPED_DAY = 4096, /* 5 to 14 October 1582 */
  KES_FAULT_YEAR_ZERO = 8192,
  KES_FAULT_FRACTION = 16384,
  KES_FAULT_TYPE = 32768,
  KES_FAULT_ZONE = 65536,   /* offset beyond +-15:00 (of a region: 24:00), of two signs; a zone
                                that the type has not */
  KES_FAULT_UNUSED = 131072 /* a field that the type has not, or a zero byte, is not 0: 1866 */
};
KES_API uint32_t LdiDateCheck(const LdiDate *date) KES_NOEXCEPT;
KES_API uint32_t LdiDateCheckarr(uint32_t *faults, const LdiDate *const *in, size_t count,
                                 size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateFault(uint32_t faults) KES_NOEXCEPT;

/* LdiDateCopy, LdiInterCopy: *out = *in. */
KES_API uint32_t LdiDateCopy(LdiDate *out, const LdiDate *in) KES_NOEXCEPT;
KES_API uint32_t LdiInterCopy(LdiInter *out, const LdiInter *in) KES_NOEXCEPT;

/* LdiDateFromLDX: a DATE to a datetime of any type, as LdiDateDateConvert does from the type date.
 * LdiDateToLDX: a datetime to a DATE: its local fields, the fraction cut. Times of day take the
 * current date of the session.
 * Errors   1866; those of LdiDateDateConvert. */
KES_API uint32_t LdiDateFromLDX(LdiDate *out, const ldxdate *in, uint32_t type,
                                const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromLDXarr(LdiDate *const *out, const ldxdate *const *in, size_t count,
                                   uint32_t type, const LdiSession *session,
                                   size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateToLDX(ldxdate *out, const LdiDate *in,
                              const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateToLDXarr(ldxdate *const *out, const LdiDate *const *in, size_t count,
                                 const LdiSession *session, size_t *done) KES_NOEXCEPT;

/* LdiDateToArray, LdiDateFromArray: the stored form.
 *
 *   date                       7 bytes: century + 100, year of century + 100, month, day, hour + 1,
 *                              minute + 1, second + 1
 *   time                       3 bytes: hour + 1, minute + 1, second + 1; or 7 with the fraction
 *   timestamp                  7 bytes, as date; or 11 with the fraction
 *   time with zone             9 bytes: a time of 7 in UTC, hour + 20, minute + 60
 *   timestamp with zone        13 bytes: a timestamp of 11 in UTC, then hour + 20 and minute + 60,
 *                              or the region's id big-endian with the top bit set
 *   timestamp with local zone  a timestamp of 7 or 11 in UTC
 *
 * A fraction is its nanoseconds in 4 bytes, big-endian; the shorter form stands for a fraction of 0
 * (a longer one with the fraction 0 is read as well). Timestamps with a zone compare by time as
 * their first 11 bytes do; all forms of one type, but with unequal zones, compare as bytes.
 *
 * bytes, size     destination and its room; length receives the bytes written.
 * type            of the value that is stored: the form does not tell it.
 * session         from the array: the file that gives the offset of a region, and the zone in which
 *                 a timestamp with local zone is shown. To the array: none is needed.
 * Errors          1866; 1877 no room; 1891 a length that the type has not; the first of 1841 to
 *                 1882 for fields out of range; those of the zone file. */
KES_API uint32_t LdiDateToArray(uint8_t *bytes, size_t size, size_t *length,
                                const LdiDate *in) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromArray(LdiDate *out, const uint8_t *bytes, size_t length, uint32_t type,
                                  const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateToArrayarr(uint8_t *const *bytes, const LdiDate *const *in, size_t count,
                                   const size_t *rooms, size_t *lengths, uint32_t flags,
                                   size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateFromArrayarr(LdiDate *const *out, const uint8_t *const *bytes, size_t count,
                                     const size_t *lengths, uint32_t type,
                                     const LdiSession *session, uint32_t flags,
                                     size_t *done) KES_NOEXCEPT;

/* A datetime as day number, second and nanosecond of the day: local time, no zone. */
typedef struct LdiJulian {
  int32_t day;       /* 1..5373484, see ldxjdate; 0 for a time of day */
  int32_t second;    /* 0..86399 */
  uint32_t fraction; /* nanoseconds */
} LdiJulian;

/* LdiDateToJulian, LdiJulianToDate: the Julian form and back. To a type with a zone the session's
 * is added. A day in the year 0, which only numbers have, becomes one in the year 1.
 * LdiDateToJDays, LdiJDaysToDate: the day number alone; back at midnight.
 * LdiDays2Cal: year, month and day of a day number.
 * Errors   1854 the day number; 1852, 1880 the time; 1866 a time of day where a day is wanted. */
KES_API uint32_t LdiDateToJulian(LdiJulian *out, const LdiDate *in) KES_NOEXCEPT;
KES_API uint32_t LdiDateToJulianarr(LdiJulian *const *out, const LdiDate *const *in, size_t count,
                                    size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiJulianToDate(LdiDate *out, const LdiJulian *in, uint32_t type,
                                 const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiJulianToDatearr(LdiDate *const *out, const LdiJulian *const *in, size_t count,
                                    uint32_t type, const LdiSession *session,
                                    size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateToJDays(int32_t *day, const LdiDate *in) KES_NOEXCEPT;
KES_API uint32_t LdiDateToJDaysarr(int32_t *days, const LdiDate *const *in, size_t count,
                                   size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiJDaysToDate(LdiDate *out, int32_t day, uint32_t type,
                                const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiJDaysToDatearr(LdiDate *const *out, const int32_t *days, size_t count,
                                   uint32_t type, const LdiSession *session,
                                   size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDays2Cal(int32_t day, int32_t *year, uint32_t *month,
                             uint32_t *day_of_month) KES_NOEXCEPT;

/* LdiJulianToNumber, LdiJulianFromNumber: a Julian form as a NUMBER (number.h), day plus part of the
 * day, and back, rounded to the nanosecond. To the number: outlen as everywhere in number.h.
 * Errors   1854. */
KES_API uint32_t LdiJulianToNumber(const LdiJulian *in, uint8_t *out, size_t *outlen) KES_NOEXCEPT;
KES_API uint32_t LdiJulianToNumberarr(uint8_t *const *out, const LdiJulian *const *in, size_t count,
                                      size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiJulianFromNumber(LdiJulian *out, const uint8_t *x, size_t xlen) KES_NOEXCEPT;
KES_API uint32_t LdiJulianFromNumberarr(LdiJulian *const *out, const uint8_t *const *x,
                                        size_t count, size_t *done) KES_NOEXCEPT;

/* LdiDateDateConvert: a datetime to another type.
 *
 *   zone wanted, none there   the session's zone is added: the local fields stay, but in a gap
 *   zone there, none wanted   the local fields stay
 *   to local zone             the same instant, in the session's zone
 *   time to a dated type      the current date of the session
 *   dated type to time        the date is dropped; the zone of a time is its offset alone
 *
 * precision  0..9: the fraction is rounded to it, as in LdiDateRoundFS. To the type date it is cut.
 * Errors     1866, 1880, 1841; those of the zone file. */
KES_API uint32_t LdiDateDateConvert(LdiDate *out, const LdiDate *in, uint32_t type,
                                    uint32_t precision, const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateDateConvertarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                       uint32_t type, uint32_t precision, const LdiSession *session,
                                       size_t *done) KES_NOEXCEPT;

/* LdiDateRoundFS: the fraction rounded to precision digits, a half up; a carry goes on as far as
 * the year. Times of day begin again at midnight. A carry that crosses a transition finds the offset
 * of the region behind it: the instant moves by the rounding and no more.
 * session  the zone file, which only the carry of a value with a region needs; may be null.
 * Errors   1866; 1880 the precision; 1841 past the year 9999; those of the zone file. */
KES_API uint32_t LdiDateRoundFS(LdiDate *out, const LdiDate *in, uint32_t precision,
                                const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiDateRoundFSarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                   uint32_t precision, const LdiSession *session,
                                   size_t *done) KES_NOEXCEPT;

/* LdiDateComparable: 0 when values of the two types can be compared, subtracted and converted into
 * each other without a current date: both have a date, or neither has. Else 1870, or 1866.
 *
 * LdiDateCompare: *order is -1, 0 or 1 as x is before, at or after y. Values with a zone compare as
 * instants; when only one has a zone, the other is taken in the session's.
 * Errors   those of LdiDateComparable; those of the zone file when the session's region is needed.
 */
KES_API uint32_t LdiDateComparable(uint32_t x_type, uint32_t y_type) KES_NOEXCEPT;
KES_API uint32_t LdiDateCompare(const LdiDate *x, const LdiDate *y, const LdiSession *session,
                                int *order) KES_NOEXCEPT;
KES_API uint32_t LdiDateComparearr(int8_t *order, const LdiDate *const *x, size_t count,
                                   const LdiDate *const *y, const LdiSession *session,
                                   uint32_t flags, size_t *done) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
