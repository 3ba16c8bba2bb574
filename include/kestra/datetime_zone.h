/* datetime_zone.h: sessions, the current time, datetimes from zone to zone, zone files and what a
 * new release of them changes.
 *
 * Array forms: see datetime.h.
 * Results  0 or an error number of datetime.h; nothing is written then.
 * Overlap  a record that is written may be one that is read.
 * Threads  no state; a zone file may be shared by any number of threads. */
#ifndef KESTRA_DATETIME_ZONE_H
#define KESTRA_DATETIME_ZONE_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"
#include "kestra/datetime.h"
#include "kestra/handle.h"
#include "kestra/timezone.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A time zone. 4 bytes. */
typedef struct LdiZone {
  int8_t hour;   /* offset; not used when there is a region */
  int8_t minute; /* of the sign of the whole offset */
  uint16_t region;
} LdiZone;

/* LdiZoneFromText: a zone from its text: [+|-]h[h][:mm], Z, UTC or GMT (offset 0), LOCAL (the
 * offset of the machine's clock now), or a region of the file, in any case.
 *
 * handle   of the set that the text is in; null: ASCII.
 * U        UTF-16 in the machine's byte order; size and length in units.
 * zones    may be null: then there are no regions.
 * Errors   1874, 1875 the offset; 1882 no such region; 1804 a region without a file.
 *
 * LdiZoneToText: the region's name, else +hh:mm.   Errors  1877; 1804, 1881, 1882. */
KES_API uint32_t LdiZoneFromText(LdiZone *out, const uint8_t *text, size_t length,
                                 const lxhandle *handle, const ltzfile *zones) KES_NOEXCEPT;
KES_API uint32_t LdiZoneFromTextU(LdiZone *out, const uint16_t *text, size_t units,
                                  const ltzfile *zones) KES_NOEXCEPT;
KES_API uint32_t LdiZoneToText(uint8_t *out, size_t size, size_t *length, LdiZone zone,
                               const lxhandle *handle, const ltzfile *zones) KES_NOEXCEPT;
KES_API uint32_t LdiZoneToTextU(uint16_t *out, size_t size, size_t *length, LdiZone zone,
                                const ltzfile *zones) KES_NOEXCEPT;

/* LdiSessionInit: a session in UTC with a zone file, or without one (null).
 * LdiSessionSetZone: its time zone, from text as LdiZoneFromText reads it. */
KES_API uint32_t LdiSessionInit(LdiSession *out, const ltzfile *zones) KES_NOEXCEPT;
KES_API uint32_t LdiSessionSetZone(LdiSession *session, const uint8_t *text, size_t length,
                                   const lxhandle *handle) KES_NOEXCEPT;
KES_API uint32_t LdiSessionSetZoneU(LdiSession *session, const uint16_t *text,
                                    size_t units) KES_NOEXCEPT;

/* LdiDateCurrent: the present time of a type, to the microsecond, rounded to precision digits, in
 * the zone of the session.
 * session  null: the local time of the machine, whose offset is kept when the type has a zone: it
 *          is accepted when it lies within +-15:00, else it is 0.
 * Errors   1866, 1880; those of the zone file. */
KES_API uint32_t LdiDateCurrent(LdiDate *out, uint32_t type, uint32_t precision,
                                const LdiSession *session) KES_NOEXCEPT;

/* LdiTimeZoneAdjust: the same instant in another zone (AT TIME ZONE), of the type with a zone that
 * belongs to in's. A value without a zone is taken in the session's. Times of day take offsets only.
 * arr      the zones are the second operands.
 * Errors   1866; 1841; 1882 an offset beyond +-15:00, a region for a time of day; those of the zone
 *          file. */
KES_API uint32_t LdiTimeZoneAdjust(LdiDate *out, const LdiDate *in, LdiZone zone,
                                   const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiTimeZoneAdjustarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                      const LdiZone *zones, const LdiSession *session,
                                      uint32_t flags, size_t *done) KES_NOEXCEPT;

/* LdiTimeZoneShift: a local time without a zone from one zone to another: what the clock shows in to
 * when it shows in in from. The type stays.
 * Errors   1866 a value that has a zone; else as LdiTimeZoneAdjust. */
KES_API uint32_t LdiTimeZoneShift(LdiDate *out, const LdiDate *in, LdiZone from, LdiZone to,
                                  const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiTimeZoneShiftarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                     LdiZone from, LdiZone to, const LdiSession *session,
                                     size_t *done) KES_NOEXCEPT;

/* LdiT2TZ: gives a value without a zone one; the local time stays, but in a gap. A date becomes a
 * timestamp with zone. LdiTZ2T: drops the zone; the local time stays.
 * Errors   1866 the value has a zone already, or has none; else as LdiTimeZoneAdjust. */
KES_API uint32_t LdiT2TZ(LdiDate *out, const LdiDate *in, LdiZone zone,
                         const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiT2TZarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                            const LdiZone *zones, const LdiSession *session, uint32_t flags,
                            size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiTZ2T(LdiDate *out, const LdiDate *in) KES_NOEXCEPT;
KES_API uint32_t LdiTZ2Tarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                            size_t *done) KES_NOEXCEPT;

/* LdiFixTSLTZ: shows a timestamp with local zone in the session's zone, after that has changed.
 * Errors   1866 another type; 1841; those of the zone file. */
KES_API uint32_t LdiFixTSLTZ(LdiDate *out, const LdiDate *in,
                             const LdiSession *session) KES_NOEXCEPT;
KES_API uint32_t LdiFixTSLTZarr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                const LdiSession *session, size_t *done) KES_NOEXCEPT;

/* ---- a new release of the zone file ---- */

/* LdiDateTimeUpgrade: a timestamp with a region, made under an older release, under the rules of
 * another: its local time stays and finds the offset that is now in force; of a time that now comes
 * twice the reading with the old offset is taken, if there is one. Other values stay as they are.
 * LdiDateTimeArrayUpgrade: the same for a stored form (LdiDateToArray), in place: from gives the
 * local time that was meant.
 * *changed  may be null; 1 when the value is another instant or has another local time now, else 0.
 *           In the array forms an array, or null.
 * Errors    as LdiDateFromArray; 1882 the region is not in one of the files. */
KES_API uint32_t LdiDateTimeUpgrade(LdiDate *out, const LdiDate *in, const ltzfile *to,
                                    int *changed) KES_NOEXCEPT;
KES_API uint32_t LdiDateTimeUpgradearr(LdiDate *const *out, const LdiDate *const *in, size_t count,
                                       const ltzfile *to, uint8_t *changed,
                                       size_t *done) KES_NOEXCEPT;
KES_API uint32_t LdiDateTimeArrayUpgrade(uint8_t *bytes, size_t length, uint32_t type,
                                         const ltzfile *from, const ltzfile *to,
                                         int *changed) KES_NOEXCEPT;
KES_API uint32_t LdiDateTimeArrayUpgradearr(uint8_t *const *bytes, size_t count,
                                            const size_t *lengths, uint32_t type,
                                            const ltzfile *from, const ltzfile *to,
                                            uint8_t *changed, uint32_t flags,
                                            size_t *done) KES_NOEXCEPT;

/* LdiTZGetDelta: what changed between two files, the block that ltzGetDelta makes, copied to the
 * caller's memory (8-byte aligned). LdiTZGetDeltaSize: its bytes.
 * work     the NLS context that scratch memory comes from; null: the default callbacks.
 * Errors   1804 a file is missing or damaged; 1877; 1891 no memory. */
KES_API uint32_t LdiTZGetDelta(void *out, size_t size, size_t *length, lxcontext *work,
                               const ltzfile *from, const ltzfile *to) KES_NOEXCEPT;
KES_API uint32_t LdiTZGetDeltaSize(size_t *size, lxcontext *work, const ltzfile *from,
                                   const ltzfile *to) KES_NOEXCEPT;

/* LdiTZGetDeltaBitmap: a bit for each zone id that changed, was added or removed: id & 7 in byte id / 8.
 * LdiTZGetDeltaMinAffectedTime: the earliest instant (UTC) whose offset, daylight-saving flag or
 * abbreviation changed; 1878 when there is none.
 * LdiTZIsDateAffected: *affected is 1 when the offset of a timestamp with a region is another one
 * under the new file, or its zone was removed; 0 for all other values.
 * Errors   1804 no delta, or a damaged one; 1866. */
enum { KES_ZONE_BITMAP_BYTES = 1024 };
KES_API uint32_t LdiTZGetDeltaBitmap(uint8_t *bitmap, const ltzdelta *delta) KES_NOEXCEPT;
KES_API uint32_t LdiTZGetDeltaMinAffectedTime(LdiDate *out, const ltzdelta *delta) KES_NOEXCEPT;
KES_API uint32_t LdiTZIsDateAffected(const LdiDate *date, const ltzdelta *delta,
                                     int *affected) KES_NOEXCEPT;
KES_API uint32_t LdiTZIsDateAffectedarr(uint8_t *affected, const LdiDate *const *in, size_t count,
                                        const ltzdelta *delta, size_t *done) KES_NOEXCEPT;

/* ---- the file ---- */

/* LdiTZGetPathAndSize: path (with a NUL) and size of the file that ltzRead would read.
 * order    KES_ZONE_ANY_ORDER, KES_ZONE_BIG_ENDIAN, KES_ZONE_LITTLE_ENDIAN.
 * LdiTZGetFileSize: the size of a file by its path; null: that file.
 * LdiTZGetMaxFileSize: the greatest size a file may have.
 * Errors   1804; 1877 the path does not fit. */
KES_API uint32_t LdiTZGetPathAndSize(char *path, size_t room, size_t *size,
                                     uint32_t order) KES_NOEXCEPT;
KES_API uint32_t LdiTZGetFileSize(size_t *size, const char *path) KES_NOEXCEPT;
KES_API size_t LdiTZGetMaxFileSize(void) KES_NOEXCEPT;

/* LdiTZMapFile: finds, loads and checks a zone file, as ltzRead; freed by ltzFree.
 * LdiTZReadFile: reads the bytes of a zone file into the caller's memory; not checked but for
 * magic, version and size. path null: the file that ltzRead would read. When the file is cut while
 * it is read (1804) the memory holds what was read.
 * Errors   1804; 1877; 1891 no memory. */
KES_API uint32_t LdiTZMapFile(const ltzfile **out, const char *path, uint32_t order,
                              lxcallbacks *block) KES_NOEXCEPT;
KES_API uint32_t LdiTZReadFile(uint8_t *out, size_t size, size_t *length, const char *path,
                               uint32_t order) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
