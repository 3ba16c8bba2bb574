/* convert.h: conversion of text between character sets. */
#ifndef KESTRA_CONVERT_H
#define KESTRA_CONVERT_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/context.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Options of lxgcnvb. */
enum {
  KES_CONVERT_STOP = 1,    /* stop in front of the first character that would be replaced */
  KES_CONVERT_MORE = 2,    /* more input follows: leave a truncated last character unconsumed and
                              do not return to the single-byte state */
  KES_CONVERT_CONTINUE = 4 /* go on where the last conversion with this context stopped: take its
                              two shift-state words instead of zeroing them */
};

/* A text in pieces: call with KES_CONVERT_MORE for all pieces but the last, and with
 * KES_CONVERT_CONTINUE for all but the first, each piece beginning with what the call before left
 * unconsumed. The results together are that of one call. Where the end is not known in advance, a
 * last call with KES_CONVERT_CONTINUE and an empty source writes the return to the base state.
 *
 * Without KES_CONVERT_MORE every result is a text of its own: in a stateful destination it returns
 * to the base state also where error 6 cuts it, and the room for that is kept free. */

/* lxgcnv: converts text; lxgcnvb with option word 0.
 *
 * destination  room for destination_length bytes; must not overlap the source.
 * *_charset    character-set objects (lxpcobj); null on either side copies.
 * Result       bytes written. context->status tells what was consumed, counted and replaced. The
 *              shift states of both sides, for KES_CONVERT_CONTINUE, are in status.shift_in and
 *              status.shift_out; a source of id 1000 keeps the byte order it found in shift_in.
 * Replacement  unmappable and malformed input becomes U+FFFD in the Unicode forms, else the set's
 *              own replacement character; status.replacement is then 1000, and also where the
 *              source has a U+FFFD of its own.
 * Errors       6 destination full before the source was used up: what was converted stays, cut at a
 *              character; 34 a data object that the path needs cannot be loaded.
 * Growth       at most 3 bytes a source byte from single-byte sets into UTF-8, and never more than
 *              4 destination bytes a source byte; into a stateful set 1 more for the whole text,
 *              into the ISO-2022 sets at most 8 bytes a source byte and 4 more for the whole text.
 * Threads      no shared state but the objects, which are only read. */
KES_API size_t lxgcnv(uint8_t *destination, const lxobject *destination_charset,
                      size_t destination_length, const uint8_t *source,
                      const lxobject *source_charset, size_t source_length,
                      lxcontext *context) KES_NOEXCEPT;
KES_API size_t lxgcnvb(uint8_t *destination, const lxobject *destination_charset,
                       size_t destination_length, const uint8_t *source,
                       const lxobject *source_charset, size_t source_length, uint32_t options,
                       lxcontext *context) KES_NOEXCEPT;

/* lxgxmlco: lxgcnvb, but a character that the destination lacks is written as an XML character
 * reference, "&#x20AC;", instead of being replaced. Malformed input is replaced all the same. A
 * character of the text that looks like markup is not touched: the text is taken to be XML.
 *
 * Result       bytes written, as lxgcnvb in all else; a reference is written whole or not at all,
 *              and does not count as a replacement.
 * Growth       at most 10 characters of the destination a source character. */
KES_API size_t lxgxmlco(uint8_t *destination, const lxobject *destination_charset,
                        size_t destination_length, const uint8_t *source,
                        const lxobject *source_charset, size_t source_length, uint32_t options,
                        lxcontext *context) KES_NOEXCEPT;

/* lxgxmlcv: lxgcnvb, but XML character references in the source, "&#x20AC;" or "&#8364;", are
 * written as the characters they name. One that the destination lacks stays a reference (in
 * hexadecimal). References to & < > " and ', to no character, and longer than 16 characters stay
 * text as they are. A reference counts as one character.
 *
 * Result       bytes written, as lxgcnvb in all else; with KES_CONVERT_MORE a reference that the end
 *              cuts off stays unconsumed. */
KES_API size_t lxgxmlcv(uint8_t *destination, const lxobject *destination_charset,
                        size_t destination_length, const uint8_t *source,
                        const lxobject *source_charset, size_t source_length, uint32_t options,
                        lxcontext *context) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
