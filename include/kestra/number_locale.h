/* number_locale.h: the strings of number text and of format models, out of a language handle.
 *
 *   lxhnumsym(&handle, &symbols, buffer, sizeof buffer, &context);
 *   lnxfmtwrite(x, xlen, &model, &symbols, out, sizeof out, &outlen); */
#ifndef KESTRA_NUMBER_LOCALE_H
#define KESTRA_NUMBER_LOCALE_H

#include "kestra/handle.h"
#include "kestra/number_text.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes that the strings of any handle fit. */
enum { KES_NUMBER_SYMBOLS_ROOM = 1024 };

/* lxhnumsym: fills in the strings that a handle has for D, G, L, C and U of a format model: its decimal
 * character and group separator (NLS_NUMERIC_CHARACTERS), its currency, ISO currency and dual
 * currency, in its character set.
 *
 * symbols  every member is set; the strings lie in buffer, so both are needed together.
 * buffer   of room bytes; KES_NUMBER_SYMBOLS_ROOM is always enough.
 * Result   1; 0 with an error, and symbols is zeroed.
 * Errors   6 not enough room; 20 the handle's character set does not hold ASCII as it is (EBCDIC,
 *          UTF-16, sets with a shift state): number text cannot be written in it, but can be
 *          converted to it; 34 an object of the handle cannot be loaded.
 * Threads  no shared state but the area, which is only read. */
KES_API int lxhnumsym(const lxhandle *handle, lnxsymbols *symbols, uint8_t *buffer, size_t room,
                      lxcontext *context) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
