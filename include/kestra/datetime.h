/* datetime.h: the records of the datetime and interval types, their type codes and errors.
 *
 * A datetime is a calendar date, a time of day to the nanosecond and a time zone, of which its type
 * uses some. The transitions of a time-zone file have the same layout (timezone.h). Years run from
 * -4712 to 9999 without a year 0; the calendar is that of date.h. */
#ifndef KESTRA_DATETIME_H
#define KESTRA_DATETIME_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

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
  int8_t zone_hour;   /* offset from UTC, -15..15 */
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
  KES_DATETIME_ZONE_FILE = 1804,  /* the time-zone file is missing, damaged or of another version */
  KES_DATETIME_BAD_YEAR = 1841,   /* not -4712..9999, or 0 */
  KES_DATETIME_BAD_MONTH = 1843,  /* not 1..12 */
  KES_DATETIME_BAD_DAY = 1847,    /* not a day of the month */
  KES_DATETIME_BAD_HOUR = 1850,   /* not 0..23 */
  KES_DATETIME_BAD_MINUTE = 1851, /* not 0..59 */
  KES_DATETIME_BAD_SECOND = 1852, /* not 0..59 */
  KES_DATETIME_BAD_NAME = 1857,   /* unknown zone abbreviation or region name */
  KES_DATETIME_BAD_TYPE = 1866,   /* unknown datetime type */
  KES_DATETIME_BAD_ZONE_HOUR = 1874,   /* not -15..15 */
  KES_DATETIME_BAD_ZONE_MINUTE = 1875, /* not -59..59 */
  KES_DATETIME_BAD_HOUR25 = 1879,      /* not 0..24 */
  KES_DATETIME_BAD_FRACTION = 1880,    /* not 0..999999999 */
  KES_DATETIME_BAD_ZONE_ID = 1881,     /* not 1..8191 */
  KES_DATETIME_NO_REGION = 1882,       /* region not found; zone of a record out of range */
  KES_DATETIME_FAILED = 1891 /* any other failure of the time zones; wrong stored length */
};

#ifdef __cplusplus
}
#endif
#endif
