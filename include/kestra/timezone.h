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
 * handle means ASCII, and so does one with two-byte units, in which a NUL ends no text
 * (LdiZoneFromText and LdiZoneToText take those). The work area is the NLS context that memory comes from; null: the default
 * callbacks.
 *
 * Work: what compares histories or abbreviations ends with status 2 in a file that was made to be
 * slow; docs/formats/zone.md tells the limits.
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

/* ---- the file ---- */

/* ltzRead: finds, reads and checks a zone file.
 *
 * path     null: the file that KES_TZFILE names, else the newest file of the home directory, as
 *          ltzPath tells. Otherwise this file. Only regular files are read.
 * order    KES_ZONE_ANY_ORDER, or the byte order of a file that is looked for.
 * block    memory comes from its allocator and is returned by ltzFree; null: lxldini(null). It must
 *          live as long as the file.
 * status   may be null. 1 there is no such file; 2 it is damaged; 3 of another format version;
 *          6 no memory.
 * Result   the file, or null. The memory is the file's size, 32 bytes for each transition and 4 for
 *          each year between a zone's first and last transition: 4.2 MB for all zones to 2200. */
KES_API const ltzfile *ltzRead(const char *path, uint32_t order, lxcallbacks *block,
                               uint32_t *status) KES_NOEXCEPT;

/* ltzReadMemory: the same of a file that is in memory already; the bytes are copied. */
KES_API const ltzfile *ltzReadMemory(const uint8_t *bytes, size_t size, lxcallbacks *block,
                                     uint32_t *status) KES_NOEXCEPT;

/* ltzFree: frees what ltzRead or ltzReadMemory returned; null is allowed. Bytes that a caller loaded
 * itself are left alone (status 2). */
KES_API int ltzFree(const ltzfile *file) KES_NOEXCEPT;

/* ltzPath: the file that ltzRead (null path) reads.
 *
 * KES_TZFILE, if set, names it: as it stands when it has a directory part, otherwise in the
 * directory kescore/zoneinfo below KESTRA_HOME. A value of more than 255 bytes is no file.
 * Without the variable it is the file timezlrg_N.dat or timezone_N.dat with the highest N in that
 * directory, or in its directory big or little when an order is given; of equal N timezlrg. A file of
 * a data library serves where KESTRA_HOME has none of an N as high. In a process that runs with more
 * privilege than its caller both variables count as unset.
 * path     receives the name with a NUL, cut to nothing when it does not fit. For a file of a data
 *          library: the name below the home directory.
 * embedded may be null. 1 when the file lies in a data library, else 0.
 * Result   the length of the name without its NUL; 0: there is no file. */
KES_API size_t ltzPath(uint32_t order, char *path, size_t room, int *embedded) KES_NOEXCEPT;

/* ltzCheck: looks at magic and format version.
 * status   may be null: 1 no file, 2 magic, 3 version.   Result  the file, or null. */
KES_API const ltzfile *ltzCheck(const ltzfile *file, uint32_t *status) KES_NOEXCEPT;

/* The header's format version (3), content version (the release: 2606 is 2026f) and file id
 * (1 common zones, 2 all zones). 0 for a file that ltzCheck refuses. */
KES_API uint32_t ltzGetFileVersion(const ltzfile *file) KES_NOEXCEPT;
KES_API uint32_t ltzGetFileContentVer(const ltzfile *file) KES_NOEXCEPT;
KES_API uint32_t ltzGetFileID(const ltzfile *file) KES_NOEXCEPT;

/* ---- names and ids ---- */

/* ltzID: region name to zone id. Names are compared without regard to the case of ASCII letters.
 * name     terminated; any length.   Errors  1, 2, 3, 5. */
KES_API int ltzID(const lxhandle *handle, lxcontext *work, const ltzfile *file, const char *name,
                  uint32_t *id) KES_NOEXCEPT;

/* ltzName: zone id to region name, with a NUL.
 * Errors   1, 2, 3, 4, 5; 8 when name and NUL do not fit: nothing is written. */
KES_API int ltzName(const lxhandle *handle, lxcontext *work, const ltzfile *file, uint32_t id,
                    char *buffer, size_t room) KES_NOEXCEPT;

/* ltzGetIndex: the position of a zone's name in the name index, 0 for the first one.
 * Errors   1, 2, 3, 4, 5. */
KES_API int ltzGetIndex(const ltzfile *file, uint32_t id, uint32_t *index) KES_NOEXCEPT;

/* ltzCheckZoneExists: 0 when the file has the zone.   Errors  1, 2, 3, 4, 5. */
KES_API int ltzCheckZoneExists(const ltzfile *file, uint32_t id) KES_NOEXCEPT;

/* ltzCmp: compares the histories of two zones.
 * order    0 when they answer alike at every instant (a zone and its links do), else -1 or 1: at the
 *          first difference the zone that changes earlier is the lower one, then the one with the
 *          lower offset, daylight-saving flag and abbreviation.   Errors  1, 2, 3, 4, 5. */
KES_API int ltzCmp(const ltzfile *file, uint32_t a, uint32_t b, int *order) KES_NOEXCEPT;

/* ---- UTC to local time ---- */

/* ltzGet: what is in force in a zone at an instant.
 * utc           type 3, else status 2. An instant before the zone's first transition takes the type
 *               of that one, an instant that equals a transition takes that transition's.
 * offset        seconds east of UTC. Required.
 * abbreviation  may be null; room for KES_ZONE_ABBREVIATION_ROOM bytes. The files of nlsc need 8.
 * dst           may be null; 1 in daylight-saving time, else 0.
 * Errors        1, 2, 3, 4, 5; 8 for an abbreviation of 10000 bytes or more. Nothing is written. */
KES_API int ltzGet(const lxhandle *handle, lxcontext *work, const ltzfile *file, uint32_t id,
                   const LdiDate *utc, int32_t *offset, char *abbreviation,
                   uint32_t *dst) KES_NOEXCEPT;

/* The time between two transitions of a zone. 72 bytes. */
typedef struct ltzperiod {
  LdiDate from;             /* UTC, its first instant; in the first period: of the first entry */
  LdiDate until;            /* UTC, the next transition; year 0 when there is none */
  int32_t offset;           /* seconds east of UTC */
  uint32_t daylight;        /* 1 in daylight-saving time, else 0 */
  uint32_t index;           /* of the transition that begins it, 0 for the first */
  uint32_t count;           /* transitions of the zone */
  const char *abbreviation; /* ASCII, terminated, inside the file */
  uint64_t reserved;
} ltzperiod;

/* ltzLookup: the period of a zone that an instant lies in.   Errors  1, 2, 3, 4, 5. */
KES_API int ltzLookup(const ltzfile *file, uint32_t id, const LdiDate *utc,
                      ltzperiod *period) KES_NOEXCEPT;

/* ltzGetarr: ltzGet over an array. Instants in ascending order are answered fastest.
 * dst        may be null.
 * done       may be null: elements answered; those before an element of the wrong type when the
 *            status is 2, else none or all. */
KES_API int ltzGetarr(const ltzfile *file, uint32_t id, const LdiDate *utc, size_t count,
                      int32_t *offset, uint8_t *dst, size_t *done) KES_NOEXCEPT;

/* ---- local time to UTC ---- */

/* ltzGetLocal: what is in force in a zone at a local time: UTC = local - offset.
 *
 * A local time that does not exist, because the clock was put forward over it, is read with what was
 * in force before: it then means the time as much later as the clock was put forward. Of a time that
 * exists twice the reading in standard time is taken; of two that are alike in that, the later one.
 * A timestamp that is no date of the calendar gets some answer.
 * Arguments and errors as for ltzGet. */
KES_API int ltzGetLocal(const lxhandle *handle, lxcontext *work, const ltzfile *file, uint32_t id,
                        const LdiDate *local, int32_t *offset, char *abbreviation,
                        uint32_t *dst) KES_NOEXCEPT;

/* How often a local time exists. */
enum { KES_ZONE_ONCE = 0, KES_ZONE_GAP = 1, KES_ZONE_TWICE = 2 };

/* A local time with both of its readings. 64 bytes. */
typedef struct ltzlocal {
  uint32_t kind;   /* KES_ZONE_ONCE, _GAP or _TWICE */
  uint32_t chosen; /* 0 or 1: the reading that ltzGetLocal takes */
  struct {
    int32_t offset;    /* seconds east of UTC */
    uint32_t daylight; /* 1 in daylight-saving time, else 0 */
    uint32_t index;    /* of the transition that begins the period */
    uint32_t reserved;
    const char *abbreviation; /* ASCII, terminated, inside the file */
  } reading[2]; /* gap: before it and behind it; twice: the earlier and the later; once: equal */
  uint64_t reserved;
} ltzlocal;

/* ltzGetLocalA: both readings of a local time.   Errors  1, 2, 3, 4, 5. */
KES_API int ltzGetLocalA(const ltzfile *file, uint32_t id, const LdiDate *local,
                         ltzlocal *answer) KES_NOEXCEPT;

/* ltzGetLocalByIndex: ltzGetLocal for the zone at a position of the name index (ltzGetIndex).
 * Errors   as ltzGetLocal; 5 for a position past the end. */
KES_API int ltzGetLocalByIndex(const lxhandle *handle, lxcontext *work, const ltzfile *file,
                               uint32_t index, const LdiDate *local, int32_t *offset,
                               char *abbreviation, uint32_t *dst) KES_NOEXCEPT;

/* ltzGetLocalarr: ltzGetLocal over an array, as ltzGetarr. */
KES_API int ltzGetLocalarr(const ltzfile *file, uint32_t id, const LdiDate *local, size_t count,
                           int32_t *offset, uint8_t *dst, size_t *done) KES_NOEXCEPT;

/* ---- all of it ---- */

/* A transition of a zone. 40 bytes. */
typedef struct ltztransition {
  LdiDate at;        /* UTC */
  int32_t offset;    /* from then on: seconds east of UTC */
  uint32_t daylight; /* 1 in daylight-saving time, else 0 */
  uint32_t reserved;
  const char *abbreviation; /* ASCII, terminated, inside the file */
} ltztransition;

/* ltzGetTransArray: a zone's transitions, ascending, as an array from the work area's allocator.
 * Errors   1, 2, 3, 4, 5, 6. */
KES_API int ltzGetTransArray(lxcontext *work, const ltzfile *file, uint32_t id,
                             ltztransition **array, size_t *count) KES_NOEXCEPT;
/* ltzFreeTransArray: frees it, with the same work area; null is allowed. */
KES_API void ltzFreeTransArray(lxcontext *work, ltztransition *array) KES_NOEXCEPT;

/* State of an iteration, all zero at its start; one for each. 64 bytes. */
typedef struct ltzstep {
  uint32_t zone;      /* position in the name index */
  uint32_t next;      /* position in the array */
  uint32_t count;     /* used entries of the array */
  uint32_t room;      /* entries of the array */
  uint32_t *array;    /* abbreviations of the zone, from the work area's allocator */
  lxcallbacks *block; /* that it came from */
  uint64_t reserved[4];
} ltzstep;

/* ltzStep: the next zone, in the order of names: its id and, unless buffer is null, its name.
 * Errors   1, 2, 3; 7 there are no more; 8 the name does not fit: the call may be repeated. */
KES_API int ltzStep(const lxhandle *handle, lxcontext *work, const ltzfile *file, ltzstep *step,
                    uint32_t *id, char *buffer, size_t room) KES_NOEXCEPT;

/* ltzStepA: the next pair of a zone and one of its distinct abbreviations, zone by zone.
 * Errors   1, 2, 3, 6, 7, 8. */
KES_API int ltzStepA(const lxhandle *handle, lxcontext *work, const ltzfile *file, ltzstep *step,
                     uint32_t *id, char *abbreviation, size_t room) KES_NOEXCEPT;

/* ltzStepB: the next distinct abbreviation of one zone.   Errors  1, 2, 3, 4, 5, 6, 7, 8. */
KES_API int ltzStepB(const lxhandle *handle, lxcontext *work, const ltzfile *file, ltzstep *step,
                     uint32_t id, char *abbreviation, size_t room) KES_NOEXCEPT;

/* ltzStepEnd: ends an iteration before its end, frees its array and clears the state. ltzStepA and
 * ltzStepB do so themselves when they return 7 or an error other than 8. */
KES_API void ltzStepEnd(ltzstep *step) KES_NOEXCEPT;

/* ---- what changed between two files ---- */

/* A delta: this header, then zone_count ltzzonedelta, ascending by id, then span_count ltzspan, zone
 * by zone. One block without pointers, in the machine's byte order: it may be copied and stored. It
 * is not trusted when it comes back: every access is compared with its size field. 40 bytes. */
typedef struct ltzdelta {
  uint32_t magic;       /* KES_ZONE_DELTA_MAGIC */
  uint32_t size;        /* bytes of the whole block */
  uint16_t old_content; /* content versions */
  uint16_t new_content;
  uint32_t zone_count;
  uint32_t span_count;
  LdiDate from; /* UTC, the earliest affected instant; year 0 when nothing changed */
} ltzdelta;

enum { KES_ZONE_DELTA_MAGIC = 0x4B655444 };

/* A zone that changed. 32 bytes. */
typedef struct ltzzonedelta {
  uint16_t id;
  uint16_t kind;  /* KES_ZONE_CHANGED, _ADDED or _REMOVED */
  uint32_t first; /* its first span */
  uint32_t count; /* of its spans; an added or removed zone has none */
  LdiDate from;   /* UTC, its earliest affected instant; year 0 for one without spans */
} ltzzonedelta;

enum { KES_ZONE_CHANGED = 1, KES_ZONE_ADDED = 2, KES_ZONE_REMOVED = 3 };

/* A time in which the answers of the two files differ. 56 bytes. */
typedef struct ltzspan {
  LdiDate from;  /* UTC, the first instant */
  LdiDate until; /* UTC, the first instant behind; year 0: for ever */
  int32_t old_offset;
  int32_t new_offset;
  uint8_t old_daylight;
  uint8_t new_daylight;
  uint8_t what; /* KES_ZONE_OFFSET_DIFFERS and so on */
  uint8_t reserved[5];
} ltzspan;

enum { KES_ZONE_OFFSET_DIFFERS = 1, KES_ZONE_DAYLIGHT_DIFFERS = 2, KES_ZONE_NAME_DIFFERS = 4 };

/* ltzGetDelta: what changed from one file to the other, from the work area's allocator; freed by
 * ltzFreeDelta. The work is twice the transitions of both files; links are compared once.
 * Errors   1, 2, 3; 6 no memory, or more than 1048576 spans. */
KES_API int ltzGetDelta(lxcontext *work, const ltzfile *from, const ltzfile *to,
                        ltzdelta **delta) KES_NOEXCEPT;
/* ltzTZGetDeltaFromDisk: the same of two files by their paths, which are read and freed again. */
KES_API int ltzTZGetDeltaFromDisk(lxcontext *work, const char *from, const char *to,
                                  ltzdelta **delta) KES_NOEXCEPT;
KES_API void ltzFreeDelta(lxcontext *work, ltzdelta *delta) KES_NOEXCEPT;

/* Reading a delta. Errors of all: 1 a missing argument, 2 no delta or a damaged one, 4 zone id,
 * 5 the zone did not change.
 * ltzGetZoneDelta       the entry of a zone
 * ltzGetZoneDeltaSize   the bytes of its spans
 * ltzGetZoneDeltaTransNum  their number
 * ltzGetZoneDeltaTrans  one of them, from 0; 5 past the end */
KES_API int ltzGetZoneDelta(const ltzdelta *delta, uint32_t id, ltzzonedelta *zone) KES_NOEXCEPT;
KES_API int ltzGetZoneDeltaSize(const ltzdelta *delta, uint32_t id, size_t *size) KES_NOEXCEPT;
KES_API int ltzGetZoneDeltaTransNum(const ltzdelta *delta, uint32_t id,
                                    uint32_t *count) KES_NOEXCEPT;
KES_API int ltzGetZoneDeltaTrans(const ltzdelta *delta, uint32_t id, uint32_t index,
                                 ltzspan *span) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
