/* charset.h: walking and classifying text one character at a time in a handle's character set. */
#ifndef KESTRA_CHARSET_H
#define KESTRA_CHARSET_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"
#include "kestra/handle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of a class word. */
enum {
  KES_CLASS_LENGTH = 3, /* bytes that follow the first byte */
  KES_CLASS_UPPER = 4,
  KES_CLASS_LOWER = 8,
  KES_CLASS_DIGIT = 32,
  KES_CLASS_SPACE = 64,        /* white space */
  KES_CLASS_PUNCTUATION = 128, /* punctuation and symbols */
  KES_CLASS_CONTROL = 256,
  KES_CLASS_HEX_DIGIT = 512,
  KES_CLASS_BLANK = 1024, /* printable but not graphic: the space character */
  KES_CLASS_ALPHABETIC = 2048,
  KES_CLASS_WIDE = 4096,      /* takes two columns of a fixed-width display */
  KES_CLASS_ZERO_WIDTH = 8192 /* takes none: controls, combining marks */
};

/* The cursor: caller-owned, filled by lxmopen, 128 bytes. */
typedef struct lxcursor {
  const uint8_t *position;
  const uint8_t *start;
  size_t length; /* of the whole text */
  const lxhandle *handle;
  const uint16_t *class_table; /* 256 words, by first byte; lives as long as the area */
  const lxobject *charset;
  uint32_t options;
  uint32_t shift_state; /* 0 single-byte state, 1 multibyte state */
  uint32_t single_byte;
  uint32_t stateful;
  uint64_t reserved;
  uint8_t spare[56];
} lxcursor;

/* lxmopen: sets a cursor to the start of a text. In a stateful set leading shift bytes are passed
 * over unless options is non-zero. text may be null with length 0. Returns the cursor.
 * Errors   34 the handle's character set cannot be loaded: every byte is a character without class.
 * Threads  no shared state but the area, which is only read. */
KES_API lxcursor *lxmopen(const uint8_t *text, size_t length, lxcursor *cursor,
                          const lxhandle *handle, lxcontext *context,
                          uint32_t options) KES_NOEXCEPT;

/* lxmfwdx: advances by one character and returns its length in bytes; 0 when the character is cut
 * off by the end of the text (then one byte was passed) or the text is used up. */
KES_API size_t lxmfwdx(lxcursor *cursor, lxcontext *context) KES_NOEXCEPT;

/* Classification of the character under the cursor: non-zero means yes. At the end of the text, and
 * for a character that is cut off, the answer is 0. */
KES_API int lxmalnx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* letter or digit */
KES_API int lxmalpx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* letter */
KES_API int lxmcntx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* control */
KES_API int lxmdigx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* digit */
KES_API int lxmgrax(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* graphic */
KES_API int lxmlowx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* lower case */
KES_API int lxmprix(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* printable */
KES_API int lxmpunx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* punctuation */
KES_API int lxmspax(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* white space */
KES_API int lxmuppx(const lxcursor *cursor, lxcontext *context) KES_NOEXCEPT; /* upper case */
KES_API int lxmxdix(const lxcursor *cursor,
                    lxcontext *context) KES_NOEXCEPT; /* hexadecimal digit */

/* The wide form of a character is the number that its bytes make, the first byte highest: the bytes
 * C6 FC are 0xC6FC. In a stateful set more than one byte means the shifted state.
 *
 * lxwfrmb: text to wide characters. Shift bytes are left out; a character cut off by the end gives
 * one wide character for each of its bytes.
 * room     number of wide characters that fit.
 * Result   wide characters written; status.consumed tells the bytes.
 * Errors   6 full; 34 character set not available. */
KES_API size_t lxwfrmb(uint32_t *wide, size_t room, const uint8_t *text, size_t length,
                       const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;

/* lxwtomb: wide characters to text, in a stateful set with the shifts they need and a return to the
 * single-byte state at the end, for which room is kept.
 * room     bytes that fit.
 * Result   bytes written; status.characters_total tells the wide characters taken.
 * Errors   6 full. */
KES_API size_t lxwtomb(uint8_t *destination, size_t room, const uint32_t *wide, size_t count,
                       const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;

/* Classification of a wide character, as the functions above answer it under a cursor; 0 for a
 * number that is no character of the handle's set.
 * Errors   34 character set not available. */
KES_API int lxwalnx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwalpx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwcntx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwdigx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwgrax(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwlowx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwprix(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwpunx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwspax(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwuppx(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;
KES_API int lxwxdix(uint32_t wide, const lxhandle *handle, lxcontext *context) KES_NOEXCEPT;

/* What lxcscan finds. */
enum {
  KES_SCAN_WELL_FORMED = 0,
  KES_SCAN_MALFORMED = 1, /* at length stands no character of the set */
  KES_SCAN_CUT_OFF = 2    /* at length begins a character that the end of the text cuts off */
};
typedef struct lxscan {
  /* Bytes of the well-formed part in front. */
  uint64_t length;
  /* Characters in it, as lxmfwdx steps: UTF-16 and the forms over its units count units. */
  uint64_t characters;
  /* Columns that it takes on a fixed-width display: 2 for wide East Asian characters and emoji, 0
   * for combining marks and controls, else 1. */
  uint64_t columns;
  uint32_t verdict;     /* KES_SCAN_ */
  uint32_t shift_state; /* behind it */
  uint64_t spare[4];
} lxscan;

/* lxcscan: reads a text up to the first place that a conversion would replace.
 * text     may be null with length 0. An odd last byte of UTF-16 is cut off.
 * Result   result->length.
 * Errors   34 the handle's character set cannot be loaded. */
KES_API size_t lxcscan(const uint8_t *text, size_t length, lxscan *result, const lxhandle *handle,
                       lxcontext *context) KES_NOEXCEPT;

/* lxBomDetect: the byte-order mark at the start of a text.
 * text     may be null with length 0.
 * charset  in: declared id, 0 unknown; out: the id that the mark tells. Null: unknown, and the
 *          caller does not want to be told.
 * status   may be null; 0, or 2000 when the mark contradicts the declared byte order.
 * Result   length of the mark in bytes, 0 none. */
KES_API size_t lxBomDetect(const uint8_t *text, size_t length, uint32_t *charset,
                           uint32_t *status) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
