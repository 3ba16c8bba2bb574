/* timezone.h: time zones: names and ids, the offset from UTC at an instant or at a local time, the
 * transitions of a zone, and what changed between two releases of the data.
 *
 * Zones come from one zone file (docs/formats/zone.md), which ltzRead finds, reads and checks. A
 * function takes the address of the file's bytes:
 * - an address that ltzRead or ltzReadMemory returned: the file was checked as a whole and has an
 *   index beside it, which makes the look-ups fast;
 * - the address of any bytes that a caller loaded itself, as many as their size field says
 *   (offset 4; at least KES_ZONE_HEADER_BYTES). They are not trusted: every offset is compared with
 *   that size in every call, and look-ups search the file itself.
 * The two are told apart by a seal that only this process can make. Answers are the same.
 *
 * A zone id is 1..8191. The ids 1124, 1125, 1127, 1474, 1636, 2150 and 2662 mean id & 511.
 * A datetime given or returned here is a timestamp (type KES_DATETIME_TIMESTAMP).
 * Names and abbreviations are in ASCII, or in EBCDIC when the handle's character set is; a null
 * handle means ASCII. The work area is the NLS context that memory comes from; null: the default
 * callbacks.
 *
 * Threads: a file is only read; any number of threads may share it. */
#ifndef KESTRA_TIMEZONE_H
#define KESTRA_TIMEZONE_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"
#include "kestra/datetime.h"
#include "kestra/handle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A loaded zone file: its first byte. */
typedef struct ltzfile ltzfile;

/* Status codes, the result of every function that has no other. */
enum {
  KES_ZONE_OK = 0,
  KES_ZONE_MISSING = 1,     /* no file, or a missing output argument */
  KES_ZONE_DAMAGED = 2,     /* bad magic or content, or a datetime of the wrong type */
  KES_ZONE_BAD_VERSION = 3, /* of the format */
  KES_ZONE_BAD_ID = 4,      /* not 1..8191 */
  KES_ZONE_NOT_FOUND = 5,   /* no such zone or name */
  KES_ZONE_NO_MEMORY = 6,
  KES_ZONE_END = 7,    /* of an iteration */
  KES_ZONE_NO_ROOM = 8 /* output buffer too small */
};

enum {
  KES_ZONE_HEADER_BYTES = 44,
  KES_ZONE_MAX_ID = 8191,
  KES_ZONE_MAX_FILE = 2097152,       /* largest file */
  KES_ZONE_ABBREVIATION_ROOM = 10000 /* room of an abbreviation buffer that has no size argument */
};

/* Byte order of the file that ltzRead looks for. */
enum { KES_ZONE_ANY_ORDER = 0, KES_ZONE_BIG_ENDIAN = 1, KES_ZONE_LITTLE_ENDIAN = 2 };

#ifdef __cplusplus
}
#endif
#endif
