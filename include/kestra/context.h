/* context.h: the global area of locale data and the context through which every call reaches it.
 *
 * Calling order: lxldini (callbacks), lxlinit (global area), lxinitc (context), then handles
 * (handle.h) and text operations, and lxlterm at the end. Everything is caller-owned plain memory;
 * locale data objects are loaded into the area on first use and only read afterwards.
 *
 * Errors: every call sets the context's error word; 0 means none. See the KES_NLS_ constants. */
#ifndef KESTRA_CONTEXT_H
#define KESTRA_CONTEXT_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A locale data object in memory: opaque bytes, laid out as docs/formats/ tells. */
typedef struct lxobject lxobject;
/* The global area: begins with an array of pointers to loaded objects; slot 0 holds the boot
 * object. */
typedef struct lxarea lxarea;
typedef struct lxcallbacks lxcallbacks;
typedef struct lxcontext lxcontext;

/* Error codes of the context's error word. */
enum {
  KES_NLS_OK = 0,
  KES_NLS_NO_MEMORY = 5,             /* callback block or global area could not be created */
  KES_NLS_DESTINATION_FULL = 6,      /* output cut at a character boundary */
  KES_NLS_UNKNOWN_CHARSET = 7,       /* strict specification: character set */
  KES_NLS_UNKNOWN_KIND = 13,         /* id/name mapping: name kind */
  KES_NLS_UNKNOWN_LANGUAGE = 18,     /* strict specification: language */
  KES_NLS_UNKNOWN_TERRITORY = 19,    /* strict specification: territory */
  KES_NLS_UTF16_QUERY = 20,          /* information requested for a UTF-16 handle */
  KES_NLS_NO_BOOT_FILE = 22,         /* no usable boot file: built-in minimal data in use */
  KES_NLS_BAD_STORAGE_ORDER = 25,    /* NLS_STORAGE_ORDER value */
  KES_NLS_UNKNOWN_ID = 26,           /* id not found in the boot directory */
  KES_NLS_BAD_COMP = 29,             /* NLS_COMP value */
  KES_NLS_BAD_LENGTH_SEMANTICS = 31, /* NLS_LENGTH_SEMANTICS value */
  KES_NLS_BAD_CONV_EXCP = 32,        /* NCHAR_CONV_EXCP value */
  KES_NLS_BAD_IMP_CONV = 33,         /* NCHAR_IMP_CONV value */
  KES_NLS_OBJECT_UNAVAILABLE = 34    /* conversion: a data object of the path cannot be loaded */
};

/* The six callback pairs. A pair whose function is null gets the default when lxldini completes
 * the block; its context then is the block itself. Callbacks must return. */
struct lxcallbacks {
  void *(*allocate)(void *ctx, size_t size); /* memory, 8-byte aligned, or null */
  void *allocate_ctx;
  void (*release)(void *ctx, void *memory); /* null is allowed and ignored */
  void *release_ctx;
  /* Loads the object of a slot: file name without extension. Returns the object in the platform's
   * byte order, whose size its header tells, or null. The library checks what a caller's own
   * function returns, puts it into the slot, and unloads what it cannot use. */
  lxobject *(*load_object)(void *ctx, const char *name, lxarea *area, uint32_t slot);
  void *load_object_ctx;
  /* Unloads: clears the slot and frees its object. Returns 1. */
  int (*unload_object)(void *ctx, lxobject **slot);
  void *unload_object_ctx;
  /* Loads a boot object: file name without extension; variant 0 is the profile directory. With
   * lxldlbb9i here the objects come from the directory of the older release too. */
  lxobject *(*load_boot)(void *ctx, const char *name, uint32_t variant);
  void *load_boot_ctx;
  void (*release_boot)(void *ctx, void *boot);
  void *release_boot_ctx;
};

/* What the last conversion did; reset at the start of every conversion. */
typedef struct lxstatus {
  uint64_t consumed;       /* source bytes consumed */
  uint64_t first_replaced; /* offset of the first source byte replaced; UINT64_MAX: none */
  uint16_t characters;     /* characters converted, modulo 65536 */
  uint16_t replacement;    /* 1000 when a replacement character was produced, else 0 */
  uint32_t shift_in;       /* shift state of the source, 0 = base */
  uint32_t shift_out;      /* shift state of the destination, 0 = base */
  uint32_t reserved;
  uint64_t characters_total; /* characters converted, not reduced */
} lxstatus;

/* The context, filled by lxinitc. 256 bytes, caller-owned; one thread at a time. */
struct lxcontext {
  lxarea **area_slot; /* points at the member area below */
  lxcallbacks *callbacks;
  lxarea *area;
  uint64_t reserved[2];
  uint32_t error; /* of the last call */
  uint32_t flags;
  lxstatus status;
  uint8_t spare[168];
};

/* lxldini: completes a callback block with the defaults and returns it.
 * block    null: returns the static default block, lxldcbk.
 * Errors   none. */
KES_API lxcallbacks *lxldini(lxcallbacks *block) KES_NOEXCEPT;

/* lxlinit: makes the global area from the boot file, or shares the process's area.
 * block    null: lxldini(null).
 * share    non-zero: use the process's shared area if there is one, else register the new one.
 * error    may be null. Receives 0; KES_NLS_NO_BOOT_FILE as a warning with a usable minimal area;
 *          KES_NLS_NO_MEMORY with a null result.
 * The block must live as long as the area: its objects are loaded and freed through it.
 * Threads  takes the process lock. */
KES_API lxarea *lxlinit(lxcallbacks *block, int share, uint32_t *error) KES_NOEXCEPT;

/* lxinitc: fills a context.
 * area, block   null: the process defaults, made when there are none.
 * make_default  non-zero: the given block and area become the process defaults.
 * Only lxlinit counts users of the shared area: lxinitc with a null area counts one when it has to
 * make the area, and none when there is one.
 * Result   the context, or null with KES_NLS_NO_MEMORY in its error word. A shared area that had to
 * be made here leaves KES_NLS_NO_BOOT_FILE in the error word when it is the minimal one. */
KES_API lxcontext *lxinitc(lxcontext *context, lxarea *area, lxcallbacks *block,
                           int make_default) KES_NOEXCEPT;

/* lxlterm: releases the context's area; a shared one when its last user leaves.
 * Result   0 released or still used by others, 1 when there was nothing to release: also when the
 *          area has been released through another context. */
KES_API int lxlterm(lxcontext *context) KES_NOEXCEPT;

/* lxlrunmode: sets the process's threading mode and returns the previous one. To be called before
 * any other call of the library, while one thread runs.
 * mode     0 no threads, no lock; 1 (default) threads share the process state under one recursive
 *          lock; 2 every thread has its own state and no lock is taken: then an area is used by one
 *          thread, which has to release it before it ends. */
KES_API int lxlrunmode(int mode) KES_NOEXCEPT;

/* lxlbanner: the version banner, "LNGRTL Version 19.0.0.0.0 - Production". */
KES_API const char *lxlbanner(void) KES_NOEXCEPT;

/* The static default callback block. */
extern KES_API lxcallbacks lxldcbk;

#ifdef __cplusplus
}
#endif
#endif
