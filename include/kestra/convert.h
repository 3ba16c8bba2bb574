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
  KES_CONVERT_STOP = 1, /* stop in front of the first character that would be replaced */
  KES_CONVERT_MORE = 2  /* more input follows: leave a truncated last character unconsumed and
                           do not return to the single-byte state */
};

/* lxgcnv: converts text; lxgcnvb with option word 0.
 *
 * destination  room for destination_length bytes; must not overlap the source.
 * *_charset    character-set objects (lxpcobj); null on either side copies.
 * Result       bytes written. context->status tells what was consumed, counted and replaced.
 * Errors       6 destination full before the source was used up: what was converted stays, cut at a
 *              character; 34 a data object that the path needs cannot be loaded.
 *              Unmappable and malformed input is replaced (U+FFFD in the Unicode forms, else the
 *              set's own replacement character) and marked with status.replacement 1000.
 * Growth       at most 3 bytes a source byte from single-byte sets into UTF-8, and never more than
 *              4 destination bytes a source byte.
 * Threads      no shared state but the objects, which are only read. */
KES_API size_t lxgcnv(uint8_t *destination, const lxobject *destination_charset,
                      size_t destination_length, const uint8_t *source,
                      const lxobject *source_charset, size_t source_length,
                      lxcontext *context) KES_NOEXCEPT;
KES_API size_t lxgcnvb(uint8_t *destination, const lxobject *destination_charset,
                       size_t destination_length, const uint8_t *source,
                       const lxobject *source_charset, size_t source_length, uint32_t options,
                       lxcontext *context) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
