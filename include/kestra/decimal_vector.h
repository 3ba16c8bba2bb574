/* decimal_vector.h: columns of decimals as vectors of plain integers.
 *
 * A vector holds integers of one width (1 to 24 bytes, precision codes 1 to 6) and a scale: element
 * i is the decimal integer[i] * 100^scale. Values load from NUMBERs or native integers exactly,
 * never rounded. Adds, subtracts, multiplies, sums and comparisons run as loops over integers, in
 * the narrowest width that cannot overflow, chosen once for a whole vector from the running minimum
 * and maximum of the operands. docs/decimal-vectors.md has an example and the memory layouts.
 *
 * Calling order: ldsbinit; ldsbvinit or another maker for each vector and scalar; a ldsbvset_
 * function to fill it; operations; a ldsbvget_ function; ldsbvfree on whatever was a result;
 * ldsbdone.
 *
 * Contexts: any function takes a null pointer as the context with the default callbacks.
 * Memory: buffers belong to the caller. Where a function needs one and the descriptor has none, it
 * comes from the context's allocate callback; ldsbvfree gives such memory back, and a vector that
 * is a result again reuses or replaces it. Temporary memory is freed before a function returns,
 * also after an error.
 * Errors: a negative KES_DSB_ code. Operands are as they were; a result is undefined but may be
 * used as a result again, or freed.
 * Threads: a context is only read after ldsbinit. Vectors may be read by many threads at once. */
#ifndef KESTRA_DECIMAL_VECTOR_H
#define KESTRA_DECIMAL_VECTOR_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"
#include "kestra/decimal_vector_members.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ldsbctx ldsbctx;
typedef struct ldsbvector ldsbvector;

/* Memory of size bytes, aligned for any type, or a null pointer. tag is a short constant text that
 * tells what it is for. The callbacks must return. */
typedef void *(*ldsballocate)(void *handle, size_t size, const char *tag);
typedef void (*ldsbrelease)(void *handle, void *memory, const char *tag);

/* The context: caller-owned, filled by ldsbinit, then read by all calls. members has a row for each
 * operation code 0..6, in it one for each input precision 1..6, in it the member for output of the
 * same precision and of the next wider (null: none); others has the members of codes 7..10. The
 * generic pair holds the portable forms, which use no processor feature beyond the architecture's
 * base. */
struct ldsbctx {
  uint32_t element_alignment; /* 16 */
  uint32_t buffer_alignment;  /* 64 */
  ldsballocate allocate;
  ldsbrelease release;
  void *handle; /* first argument of both callbacks */
  const uint8_t *prec2width;
  const uint8_t *width2prec;
  const ldsbmember (*members)[6][2];
  const ldsbmember *others;
  const ldsbmember (*generic_members)[6][2];
  const ldsbmember *generic_others;
  size_t spare[6];
};

/* Tags of a descriptor. */
enum { KES_DSB_VECTOR = 166, KES_DSB_SCALAR = 167 };

/* A scale argument that asks for none: the scale follows from the values. */
enum { KES_DSB_NO_SCALE = INT32_MAX };

/* A vector or scalar: caller-owned, made by an initialising function, free to copy by assignment
 * (copies share the buffers; free one of them). The caller may set nulls as long as flags has no
 * KES_DSB_OWNS_NULLS, and change the bits of a bitmap at any time; the rest is to be read only. */
struct ldsbvector {
  uint8_t tag;         /* KES_DSB_VECTOR or KES_DSB_SCALAR */
  uint8_t precision;   /* 1..6; 0: a vector that has no elements yet */
  uint8_t width;       /* of an element in bytes */
  uint8_t flags;       /* KES_DSB_OWNS_... */
  int32_t scale;       /* the unit of the integers is 100^scale */
  size_t count;        /* elements; 1 for a scalar */
  uint8_t *data;       /* the elements, aligned to 16; not used by a scalar */
  uint8_t *buffer;     /* where data lies, or null: none yet */
  size_t buffer_size;  /* in bytes */
  uint8_t *nulls;      /* bitmap with room for all elements, or null: no element is null */
  ldsbminmax extremes; /* of the elements that are not null; a scalar's value is extremes.min */
  size_t bitmap_size;  /* of a bitmap that came from the context, in bytes */
  size_t spare[2];
};

/* Memory that came from the context. */
enum { KES_DSB_OWNS_BUFFER = 1, KES_DSB_OWNS_NULLS = 2 };

/* ldsbinit: fills a context. A null allocate or release selects the default pair (malloc, free),
 * and handle is then not used.
 * ldsbdone: ends it; all bytes become 0. Memory of vectors is not tracked: free them first.
 * Errors   none. */
KES_API int ldsbinit(ldsbctx *ctx, ldsballocate allocate, ldsbrelease release,
                     void *handle) KES_NOEXCEPT;
KES_API int ldsbdone(ldsbctx *ctx) KES_NOEXCEPT;

/* ldsbget_buffer_size: the bytes of a buffer, of any alignment, that count elements of a precision
 * need: 16 + the element area rounded up to 64 - 1. KES_DSB_NARROWEST counts 24 bytes an element.
 * Errors   KES_DSB_PRECISION. KES_DSB_BUFFER: more than size_t counts. */
KES_API int ldsbget_buffer_size(const ldsbctx *ctx, uint32_t precision, size_t count,
                                size_t *size) KES_NOEXCEPT;

/* ldsbget_operation: the member for an operation code, the precisions of the two inputs and that of
 * the output. Codes 0..6 have one only when both inputs have the same precision and the output that
 * or the next wider; codes 7..10 ignore the precisions.
 * ldsbget_generic_operation: the same from the portable pair of tables.
 * Errors   KES_DSB_NO_MEMBER (*member becomes null), for unknown codes too. */
KES_API int ldsbget_operation(const ldsbctx *ctx, uint32_t operation, uint32_t left, uint32_t right,
                              uint32_t output, ldsbmember *member) KES_NOEXCEPT;
KES_API int ldsbget_generic_operation(const ldsbctx *ctx, uint32_t operation, uint32_t left,
                                      uint32_t right, uint32_t output,
                                      ldsbmember *member) KES_NOEXCEPT;

/* ldsbvinitx: describes elements that lie in a caller's buffer.
 *
 * precision, scale, count  of the elements.
 * buffer   aligned to 16 bytes; the elements begin there. Null with buffer_size 0: none.
 * buffer_size  at least the element area rounded up to 64.
 * min, max one element each, of that precision; both or neither. Neither: the elements may have any
 *          value of their width (run ldsbvset_updminmax to know better).
 * Errors   KES_DSB_PRECISION, KES_DSB_ALIGNMENT, KES_DSB_BUFFER. */
KES_API int ldsbvinitx(const ldsbctx *ctx, ldsbvector *vector, uint32_t precision, int32_t scale,
                       size_t count, void *buffer, size_t buffer_size, const void *min,
                       const void *max) KES_NOEXCEPT;

/* ldsbvinit: an empty vector over a buffer of any alignment, to be filled or to take a result. A
 * null buffer is legal: memory then comes from the context when the vector becomes a result.
 * Errors   KES_DSB_BUFFER: a buffer too small to be aligned to 16. */
KES_API int ldsbvinit(const ldsbctx *ctx, ldsbvector *vector, void *buffer,
                      size_t buffer_size) KES_NOEXCEPT;

/* ldsbvbinit: carves a vector of count elements from a larger area, and moves *area and *left past
 * it. Its extremes are unknown until set.
 * Errors   KES_DSB_PRECISION. KES_DSB_BUFFER: *left is below the alignment gap and the element
 *          area rounded up to 64; the area is unchanged. */
KES_API int ldsbvbinit(const ldsbctx *ctx, ldsbvector *vector, uint32_t precision, int32_t scale,
                       size_t count, void **area, size_t *left) KES_NOEXCEPT;

/* ldsbvinit_sint: a scalar from an integer of width bytes (1, 2, 4, 8, 16 or 24).
 * ldsbvinit_son: a scalar from a NUMBER (the stored forms of number.h).
 *
 * precision  KES_DSB_NARROWEST: the narrowest that holds the value (of a NUMBER: the rule of
 *          ldsbvset_ons).
 * scale    of the integer; for a NUMBER the scale wanted, or KES_DSB_NO_SCALE for that of its last
 *          digit.
 * Errors   KES_DSB_WIDTH. KES_DSB_PRECISION. KES_DSB_RANGE: the precision does not hold the value;
 *          an infinity. KES_DSB_SCALE: digits would be lost. */
KES_API int ldsbvinit_sint(const ldsbctx *ctx, ldsbvector *scalar, uint32_t precision,
                           int32_t scale, const void *value, size_t width) KES_NOEXCEPT;
KES_API int ldsbvinit_son(const ldsbctx *ctx, ldsbvector *scalar, uint32_t precision, int32_t scale,
                          const uint8_t *number, size_t length) KES_NOEXCEPT;

/* ldsbvfree: gives back memory that came from the context; the vector becomes an empty one. Legal
 * for every initialised descriptor. Errors   KES_DSB_TAG. */
KES_API int ldsbvfree(const ldsbctx *ctx, ldsbvector *vector) KES_NOEXCEPT;

/* ldsbvresize: result = source with elements of another precision; values, scale, extremes and
 * nulls are the same. result may be source: then its buffer is used if it is large enough.
 * Errors   KES_DSB_TAG, KES_DSB_PRECISION, KES_DSB_NO_MEMORY, KES_DSB_BUFFER. KES_DSB_RANGE: the
 *          precision does not hold the extremes (unknown ones are looked for first). */
KES_API int ldsbvresize(const ldsbctx *ctx, ldsbvector *result, const ldsbvector *source,
                        uint32_t precision) KES_NOEXCEPT;

/* ldsbvset_updminmax: looks through all elements and sets the running minimum and maximum.
 * ldsbvupdate_minmax: merges them with count elements from first on, after the caller wrote those;
 * a vector whose extremes are unknown stays so.
 * Errors   KES_DSB_TAG. KES_DSB_PRECISION: no elements yet. KES_DSB_BOUNDS. */
KES_API int ldsbvset_updminmax(const ldsbctx *ctx, ldsbvector *vector) KES_NOEXCEPT;
KES_API int ldsbvupdate_minmax(const ldsbctx *ctx, ldsbvector *vector, size_t first,
                               size_t count) KES_NOEXCEPT;

/* Filling a vector. Shared by the ldsbvset_ functions:
 *
 * precision  KES_DSB_NARROWEST: the narrowest that holds the values; else 1..6.
 * scale    see each function.
 * first    0 unless options has KES_DSB_APPEND.
 * count    elements to set.
 * nulls    bitmap over the count values, or null: none is null. A null value is not looked at, and
 *          the element is left as it is. The vector's own bitmap is set to match; when nulls has a
 *          bit set and the vector has no bitmap, one comes from the context (see ldsbvfree).
 * options  0: the vector becomes one of count elements in its buffer (from the context when it has
 *          none); a bitmap that the caller gave it must have room for them. KES_DSB_APPEND:
 *          elements first to first + count - 1 of an existing vector are set and its extremes
 *          widened; its precision, scale and count stay.
 * Errors   KES_DSB_TAG. KES_DSB_PRECISION. KES_DSB_RANGE: the precision does not hold a value.
 *          KES_DSB_BOUNDS: appending with a precision that is neither the vector's nor
 *          KES_DSB_NARROWEST, or past its count; first not 0 without KES_DSB_APPEND.
 *          KES_DSB_SCALE: appending with a scale other than the vector's. KES_DSB_BUFFER.
 *          KES_DSB_NO_MEMORY. Nothing is written.
 * Overlap  ldsbvset_ints and ldsbvset_pints without KES_DSB_APPEND: ints may overlap the vector's
 *          buffer. Else none. */
enum { KES_DSB_APPEND = 1 };

/* ldsbvset_ints: from native signed integers of width bytes, a slot for each, nulls included.
 * ldsbvset_pints: packed: the integers that are not null, one after another.
 *
 * scale    of the integers; KES_DSB_NO_SCALE is 0, or the vector's when appending.
 * ints     need no alignment. Integers of 16 and 24 bytes are little-endian words.
 * Errors   those above. KES_DSB_WIDTH. */
KES_API int ldsbvset_ints(const ldsbctx *ctx, ldsbvector *vector, uint32_t precision, int32_t scale,
                          size_t first, size_t count, const void *ints, size_t width,
                          const uint8_t *nulls, uint32_t options) KES_NOEXCEPT;
KES_API int ldsbvset_pints(const ldsbctx *ctx, ldsbvector *vector, uint32_t precision,
                           int32_t scale, size_t first, size_t count, const void *ints,
                           size_t width, const uint8_t *nulls, uint32_t options) KES_NOEXCEPT;

/* ldsbvset_ons: from NUMBERs, exactly.
 *
 * scale    KES_DSB_NO_SCALE: that of the least digit of all values, 0 when all are zero or null;
 *          when appending the vector's. Else the scale wanted.
 * precision  KES_DSB_NARROWEST: the narrowest integer that holds 100^d, where d base-100 digits
 *          hold the values at the scale. A given one must hold 100^d as well.
 * numbers, lengths  count pointers and lengths, as the vector forms of number.h take them (length
 *          0: a length byte comes first). lengths may be null: all are 0. A null pointer counts as
 *          zero, malformed bytes as number.h tells.
 * Errors   those above. KES_DSB_SCALE: the scale would lose digits of a value. KES_DSB_RANGE: d is
 *          above 20; a value is infinite. */
KES_API int ldsbvset_ons(const ldsbctx *ctx, ldsbvector *vector, uint32_t precision, int32_t scale,
                         size_t first, size_t count, const uint8_t *const *numbers,
                         const uint16_t *lengths, const uint8_t *nulls,
                         uint32_t options) KES_NOEXCEPT;

/* ldsbvscan_ons: what ldsbvset_ons would find.
 *
 * scale    in: KES_DSB_NO_SCALE, or the result of a scan that this one continues. out: the scale,
 *          or KES_DSB_NO_SCALE as long as there was no value but zeros and nulls.
 * digits   in: 0, or of that earlier scan. out: base-100 digits at that scale.
 * Errors   KES_DSB_RANGE: an infinity, or more than 20 digits; both outputs are unchanged. */
KES_API int ldsbvscan_ons(const ldsbctx *ctx, size_t count, const uint8_t *const *numbers,
                          const uint16_t *lengths, const uint8_t *nulls, int32_t *scale,
                          uint32_t *digits) KES_NOEXCEPT;

/* Reading a vector or scalar back. Shared by the ldsbvget_ functions:
 *
 * first, count  the elements wanted.
 * Errors   KES_DSB_TAG. KES_DSB_PRECISION: no elements yet. KES_DSB_BOUNDS: past the vector's
 *          count. Nothing is written.
 * Overlap  none. */

/* ldsbvget_ints: as integers of width bytes in units of 100^scale, a slot for each; those of nulls
 * are left as they are.
 * ldsbvget_pints: packed: the elements that are not null one after another; *stored tells how many.
 *
 * ints     room for count integers (packed: for those that are not null). Needs no alignment.
 * Errors   those above. KES_DSB_WIDTH. KES_DSB_RANGE: the width does not hold an element. */
KES_API int ldsbvget_ints(const ldsbctx *ctx, const ldsbvector *vector, size_t first, size_t count,
                          void *ints, size_t width) KES_NOEXCEPT;
KES_API int ldsbvget_pints(const ldsbctx *ctx, const ldsbvector *vector, size_t first, size_t count,
                           void *ints, size_t width, size_t *stored) KES_NOEXCEPT;

/* ldsbvget_ons: as NUMBERs in slots of equal size.
 *
 * slots    count slots of stride bytes. All bytes of a slot may be written, and what follows the
 *          number in it is unspecified.
 * stride   at least 22.
 * lengths  null: each slot takes the length-prefixed form, a null element the length byte 0. Not
 *          null: each slot takes the number alone, lengths[i] its length, 0 for a null element.
 * Result   well formed; a value of more than 20 base-100 digits is rounded half away from zero, one
 *          out of the NUMBER range is an infinity or zero.
 * Errors   those above. KES_DSB_BUFFER: stride below 22. */
KES_API int ldsbvget_ons(const ldsbctx *ctx, const ldsbvector *vector, size_t first, size_t count,
                         uint8_t *slots, size_t stride, uint16_t *lengths) KES_NOEXCEPT;

/* ldsbvget_pons: as NUMBERs packed one after another into an area, in the shape that ldsbvset_ons
 * and the vector forms of number.h take.
 *
 * numbers, lengths  receive count pointers into area and lengths; null pointer and 0 for a null
 *          element.
 * area     area_size bytes, at least 22 for each element that is not null. Bytes after the last
 *          number are unspecified.
 * used     not null: receives the bytes of all numbers.
 * Errors   those above. KES_DSB_BUFFER: the area is too small. */
KES_API int ldsbvget_pons(const ldsbctx *ctx, const ldsbvector *vector, size_t first, size_t count,
                          const uint8_t **numbers, uint16_t *lengths, uint8_t *area,
                          size_t area_size, size_t *used) KES_NOEXCEPT;

/* Options of ldsbvop; a null pointer or all bytes 0: none. */
typedef struct ldsboptions {
  uint32_t flags;     /* KES_DSB_FIXED_WIDTHS, KES_DSB_CHECK_PRECISION */
  uint32_t precision; /* of the result; 0: the narrowest that cannot overflow */
  uint32_t spare[6];
} ldsboptions;

/* KES_DSB_FIXED_WIDTHS: each operand may have any value of its width, whatever its extremes.
 * KES_DSB_CHECK_PRECISION: KES_DSB_RANGE when the named precision might not hold the results. */
enum { KES_DSB_FIXED_WIDTHS = 1, KES_DSB_CHECK_PRECISION = 32 };

/* ldsbvop: result = left operation right, element by element.
 *
 * operation  KES_DSB_ADD, KES_DSB_SUBTRACT or KES_DSB_MULTIPLY.
 * result   any initialised descriptor, an operand included. A vector's own buffer and bitmap are
 *          used when it has them (a bitmap that the caller gave it must have room for the
 *          operands' count); else they come from the context (see ldsbvfree). Elements are null
 *          where one of the operands is null, and keep what they hold there, which may be read and
 *          written back.
 * left, right  vectors of one count, or scalars. Two scalars make a scalar.
 * options  a precision named without KES_DSB_CHECK_PRECISION is the caller's promise that it holds
 *          the results, which are otherwise taken modulo its width.
 * Result   exact. Scale: sums and differences the smaller one, products the sum of both. Width:
 *          never narrower than the operands, else the narrowest of which b + 1 bits fit for sums
 *          and differences, b1 + b2 for products, where b are significant bits of the operands'
 *          extremes at the common scale. The result's extremes are those of its elements.
 * Errors   KES_DSB_TAG. KES_DSB_OPERATION. KES_DSB_PRECISION: an operand without elements yet, or
 *          the precision named. KES_DSB_BOUNDS: counts differ. KES_DSB_RANGE: scales more than 28
 *          apart; the result might need more than 20 base-100 digits or leave the NUMBER range; an
 *          operand holds the minimum of 192 bits; the named precision is too narrow.
 *          KES_DSB_NO_MEMBER: the named precision is narrower than an operand. KES_DSB_NO_MEMORY.
 *          KES_DSB_BUFFER.
 * Overlap  the result's buffer may overlap those of the operands in any way; of bitmaps only the
 *          same one may serve two vectors. */
KES_API int ldsbvop(const ldsbctx *ctx, uint32_t operation, ldsbvector *result,
                    const ldsbvector *left, const ldsbvector *right,
                    const ldsboptions *options) KES_NOEXCEPT;

/* ldsbvsum: result = the sum of the elements of vector that are not null, a scalar; 0 when there
 * are none. The width holds any sum of that many elements within the extremes.
 * Errors   KES_DSB_TAG. KES_DSB_PRECISION. KES_DSB_RANGE: such a sum might need more than 192 bits,
 *          its sign included, or the sum itself needs more than 20 base-100 digits or leaves the
 *          NUMBER range. */
KES_API int ldsbvsum(const ldsbctx *ctx, ldsbvector *result, const ldsbvector *vector) KES_NOEXCEPT;

/* ldsbvrescale: result = the values of source at another scale, that is multiplied by
 * 100^(source->scale - scale).
 * Errors   those of ldsbvop. KES_DSB_SCALE: the scale is above the source's, so digits might be
 * lost. */
KES_API int ldsbvrescale(const ldsbctx *ctx, ldsbvector *result, const ldsbvector *source,
                         int32_t scale) KES_NOEXCEPT;

/* How two values may stand to each other; relations are made of them (3: at most, 5: different). */
enum { KES_DSB_BELOW = 1, KES_DSB_EQUAL = 2, KES_DSB_ABOVE = 4 };

/* ldsbvcompare: which elements of left stand in a relation to those of right.
 *
 * relation  sum of KES_DSB_BELOW, _EQUAL, _ABOVE (0..7).
 * left, right  vectors of one count, or scalars; at any scales that ldsbvop could add them at.
 * matches  bitmap of the answers, (count + 7) / 8 bytes; bits of nulls and past count are 0.
 * matched  not null: receives the number of bits set.
 * Errors   those of ldsbvop for KES_DSB_ADD. KES_DSB_OPERATION: relation above 7. matches is
 * undefined then. Overlap  none. */
KES_API int ldsbvcompare(const ldsbctx *ctx, uint32_t relation, const ldsbvector *left,
                         const ldsbvector *right, uint8_t *matches, size_t *matched) KES_NOEXCEPT;

/* ldsbvcompare_minmax_sb8: how elements of vector can stand to value * 100^scale, told from the
 * running minimum and maximum alone, so that a whole vector can be skipped or taken.
 *
 * Result   a sum of KES_DSB_BELOW, _EQUAL and _ABOVE: the ways that are possible; 0 when no element
 *          but nulls was seen.
 * Errors   KES_DSB_TAG. KES_DSB_PRECISION. KES_DSB_RANGE: scales more than 28 apart. */
KES_API int ldsbvcompare_minmax_sb8(const ldsbctx *ctx, const ldsbvector *vector, int64_t value,
                                    int32_t scale) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
