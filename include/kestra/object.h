/* object.h: locale data objects, their files and how they are loaded.
 *
 * An object is found by its slot in the global area; slots follow the boot directory. Where
 * a data library was found, files lie in nls/data under KESTRA_HOME or else in that library;
 * without one, in the directory named by KES_NLS10, else in nls/data under KESTRA_HOME. A boot file
 * in the directory named by KES_NLS_PROFILE33 comes before all of these.
 */
#ifndef KESTRA_OBJECT_H
#define KESTRA_OBJECT_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Object types, as in file names and headers. */
enum {
  KES_OBJECT_LANGUAGE = 0,
  KES_OBJECT_TERRITORY = 1,
  KES_OBJECT_CHARSET = 2,
  KES_OBJECT_SORT = 3,
  KES_OBJECT_SUPPLEMENT = 4, /* data common to all territories: id 17, the currencies */
  KES_OBJECT_CALENDAR = 5
};

/* Room for a file name without directory: "lx", digits, ".nlb" and the terminating NUL. */
#define KES_OBJECT_NAME_SIZE 16

/* lxfgnb: boot file name "lx<digit>boot". name has room for KES_OBJECT_NAME_SIZE. Returns its
 * length. */
KES_API size_t lxfgnb(char *name, uint32_t digit) KES_NOEXCEPT;

/* lxfgno: object file name "lx<type><id>", one and four hexadecimal digits. Returns its length. */
KES_API size_t lxfgno(char *name, uint32_t type, uint32_t id) KES_NOEXCEPT;

/* lxlgsz: size in bytes of the object that a file name stands for, from the area's directory;
 * user-defined objects are measured by their file. 0: not a name, or not there. */
KES_API size_t lxlgsz(const char *name, lxarea *area) KES_NOEXCEPT;

/* lxlorigin: where the area's data comes from: the directory of its boot file, or the path of the
 * data library that carries it. The search is made anew, so that a change of the environment or of
 * the files since the area was made shows.
 * path     room bytes, NUL-terminated unless room is 0; an answer that does not fit is not given.
 * Result   its length without the NUL; 0 for the built-in data and when nothing is found any more.
 */
KES_API size_t lxlorigin(char *path, size_t room, lxcontext *context) KES_NOEXCEPT;

/* lxdgetobj: the object of a slot, loaded on first use; null when it cannot be loaded or is not of
 * the given type. Any number of threads may ask for the same slot. */
KES_API lxobject *lxdgetobj(uint32_t slot, uint32_t type, lxcontext *context) KES_NOEXCEPT;

/* lxpe2i: slot of an object id of a given type; 0 when the directory does not have it (then *error,
 * if not null, receives KES_NLS_UNKNOWN_ID). The ISO-2022 ids 9996 to 9999 have slots of their own.
 */
KES_API uint32_t lxpe2i(uint32_t id, const lxarea *area, uint32_t type, uint32_t *error,
                        uint32_t reserved) KES_NOEXCEPT;

/* Default callbacks (see lxcallbacks). lxldlbb9i reads the directory of the older release,
 * nls/data/9idata. */
KES_API void *lxldalc(void *ctx, size_t size) KES_NOEXCEPT;
KES_API void lxldfre(void *ctx, void *memory) KES_NOEXCEPT;
KES_API lxobject *lxldlod(void *ctx, const char *name, lxarea *area, uint32_t slot) KES_NOEXCEPT;
KES_API int lxldunl(void *ctx, lxobject **slot) KES_NOEXCEPT;
KES_API lxobject *lxldlbb(void *ctx, const char *name, uint32_t variant) KES_NOEXCEPT;
KES_API lxobject *lxldlbb9i(void *ctx, const char *name, uint32_t variant) KES_NOEXCEPT;

/* lxlobjcheck: validates the bytes of an object or boot file as the loader would, without an area.
 * bytes    at least size bytes, 8-byte aligned, may be changed (put into native byte order).
 * boot     non-zero: a boot file.
 * Result   null when valid, else a static English text naming the first fault. */
KES_API const char *lxlobjcheck(void *bytes, size_t size, int boot) KES_NOEXCEPT;

/* Built-in minimal data: boot object, AMERICAN, AMERICA, US7ASCII. */
extern KES_API const uint8_t lxdlbot[];
extern KES_API const uint8_t lxdllan[];
extern KES_API const uint8_t lxdlter[];
extern KES_API const uint8_t lxdlchr[];
/* The character set of raw bytes: conversion from or to it copies. */
extern KES_API const uint8_t lxdlwkb[];
/* The four ISO-2022 character sets 9999 (JP), 9998 (KR), 9997 (CN), 9996 (CN-EXT). */
extern KES_API const uint8_t *const lxd2022arr[4];
/* The byte-order bit that a file of this platform carries in its flags byte: 0x10 big-endian, else
 * 0. */
extern KES_API const uint8_t lxpendian;

#ifdef __cplusplus
}
#endif
#endif
