/* decimal_vector_members.h: the loops under decimal_vector.h: elements, the tables of constants,
 * and one function ("member") for each operation and element width.
 *
 * Elements are two's-complement integers of 1, 2, 4, 8, 16 or 24 bytes, little-endian, named by a
 * precision code 1..6. An array of them needs no alignment, though members are fastest on arrays
 * aligned to 64 bytes. Most callers want decimal_vector.h, which picks widths that cannot overflow
 * and calls these.
 *
 * Null bitmaps: element i is null when bit (i mod 8) of byte (i / 8) is set. A null pointer in
 * place of a bitmap means that no element is null; bits past the last element are ignored.
 *
 * Threads: no function of this file has state of its own. */
#ifndef KESTRA_DECIMAL_VECTOR_MEMBERS_H
#define KESTRA_DECIMAL_VECTOR_MEMBERS_H

#include <stddef.h>
#include <stdint.h>

#include "kestra/abi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Status of every function of the family that returns int. */
enum {
  KES_DSB_OK = 0,
  KES_DSB_SCALE = -242,     /* digits of a value would be lost, or not the scale of the vector */
  KES_DSB_NO_MEMORY = -243, /* the allocate callback returned a null pointer */
  KES_DSB_RANGE = -246,     /* scales more than 28 apart, or a result too large (see ldsbvop) */
  KES_DSB_NO_MEMBER = -247, /* no operation for this combination of precisions */
  KES_DSB_TAG = -248,       /* not an initialised vector or scalar */
  KES_DSB_WIDTH = -250,     /* not a width of elements */
  KES_DSB_BOUNDS = -251,    /* past the element count, or another precision than the vector's */
  KES_DSB_PRECISION = -252, /* not a precision code */
  KES_DSB_OPERATION = -253, /* not an operation code */
  KES_DSB_ALIGNMENT = -254, /* buffer not aligned to 16 bytes */
  KES_DSB_BUFFER = -255     /* buffer too small */
};

/* Precision codes. KES_DSB_NARROWEST is no precision: functions that choose one take it. */
enum {
  KES_DSB_INT8 = 1,
  KES_DSB_INT16 = 2,
  KES_DSB_INT32 = 3,
  KES_DSB_INT64 = 4,
  KES_DSB_INT128 = 5,
  KES_DSB_INT192 = 6,
  KES_DSB_NARROWEST = 7
};

/* Operation codes of ldsbget_operation; the first three are those of ldsbvop. */
enum {
  KES_DSB_ADD = 0,
  KES_DSB_SUBTRACT = 1,
  KES_DSB_MULTIPLY = 2,
  KES_DSB_ADD_SCALAR = 3,
  KES_DSB_SUBTRACT_SCALAR = 4,
  KES_DSB_MULTIPLY_SCALAR = 5,
  KES_DSB_SUM = 6,
  KES_DSB_MINMAX = 7,
  KES_DSB_COPY = 8,
  KES_DSB_SCATTER = 9,
  KES_DSB_GATHER = 10
};

/* Constant tables.
 * Sls16ConstZero...  zero and the minimum (only the top bit set) as 128- and 192-bit integers of
 *                    little-endian 32-bit words.
 * ldsbcprec2width    precision code 0..7 to width in bytes; codes 0 and 7 have 0.
 * ldsbcwidth2prec    width in bytes 0..24 to precision code; 0 for what is no width.
 * ldsbcpow100tab     row k: width in bytes of the narrowest integer that holds 100^k, its precision
 *                    code, the significant bits of 100^k, and 100^k in six words, lowest first.
 * ldsbcmaxmantissa   10^40 - 1, the largest mantissa of a NUMBER, lowest word first.
 * ldsbcnbits2ods     row b: the fewest and the most base-100 digits that an integer of b
 * significant bits needs. */
extern KES_API const uint32_t Sls16ConstZero[4];
extern KES_API const uint32_t Sls16ConstMin[4];
extern KES_API const uint32_t Sls24ConstZero[6];
extern KES_API const uint32_t Sls24ConstMin[6];
extern KES_API const uint8_t ldsbcprec2width[8];
extern KES_API const uint8_t ldsbcwidth2prec[25];
extern KES_API const uint32_t ldsbcpow100tab[29][9];
extern KES_API const uint32_t ldsbcmaxmantissa[5];
extern KES_API const uint8_t ldsbcnbits2ods[193][2];

/* An element of any width, sign-extended to 192 bits: little-endian 32-bit words. */
typedef struct ldsbint {
  uint32_t word[6];
} ldsbint;

/* A running minimum and maximum. All bytes zero: no element seen yet. */
typedef struct ldsbminmax {
  ldsbint min;
  ldsbint max;
  uint32_t state; /* KES_DSB_EXTREMES_... */
  uint32_t spare;
} ldsbminmax;

enum {
  KES_DSB_EXTREMES_NONE = 0,   /* no element but nulls so far; min and max are not set */
  KES_DSB_EXTREMES_KNOWN = 1,  /* every element that is not null lies in min..max */
  KES_DSB_EXTREMES_UNKNOWN = 2 /* nothing is known; never made by a member */
};

/* What a member is told beside its arrays. */
typedef struct ldsboperation {
  const uint8_t *nulls; /* bitmap of the elements, or null */
  uint32_t precision;   /* of the output elements */
  uint32_t spare;
  ldsbminmax *minmax; /* not null: merged with the results that are not null, in the same pass */
  size_t limit;       /* scatter and gather: the elements of the array that is reached by number */
} ldsboperation;

/* A member.
 *
 * count    elements, 0 or more.
 * left     ldsbgopadd.. to ldsbgopmul..: the left array. The scalar members (adds, subs, muls): one
 *          element, applied to all. Scatter and gather: count element numbers, uint32_t each. Else
 *          ignored.
 * right    the right, or only, array of elements.
 * output   add to muls: the array of results. Sum: one element. Copies: the array copied to.
 *          Minimum/maximum: ignored.
 * record   see above.
 *
 * The members ldsbgop<operation><bits> take elements of that many bits in both arrays and write
 * elements of record->precision, which is their own or the next wider (192 bits: their own): add
 * left + right, sub left - right, mul left * right, sum the sum of the elements. Inputs are
 * sign-extended first. Nothing tests for overflow: results are taken modulo the output width, so
 * the caller chooses a width that holds them, as ldsbvop does. Where an element is null the output
 * keeps what it holds, which may be read and written back.
 *
 * The members of codes KES_DSB_MINMAX to KES_DSB_GATHER, found with ldsbget_operation alone, are
 * the functions ldsbminmaxdsbs to ldsbcopydsbs_gather below in this shape; record->precision tells
 * their elements.
 *
 * Errors   KES_DSB_NO_MEMBER: another output precision. KES_DSB_PRECISION: minimum/maximum and
 *          copies, not a precision. KES_DSB_BOUNDS: scatter and gather, an element number is
 *          record->limit or more. Nothing is written.
 * Overlap  output may be one of the inputs itself when the widths are equal; no other overlap. */
typedef int (*ldsbmember)(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record);

KES_API int ldsbgopadd8x8(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadd16x16(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadd32x32(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadd64x64(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadd128x128(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadd192x192(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopsub8x8(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsub16x16(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsub32x32(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsub64x64(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsub128x128(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsub192x192(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopmul8x8(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmul16x16(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmul32x32(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmul64x64(size_t count, const void *left, const void *right, void *output,
                            const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmul128x128(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmul192x192(size_t count, const void *left, const void *right, void *output,
                              const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopadds8x8(size_t count, const void *left, const void *right, void *output,
                           const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadds16x16(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadds32x32(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadds64x64(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadds128x128(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopadds192x192(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopsubs8x8(size_t count, const void *left, const void *right, void *output,
                           const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsubs16x16(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsubs32x32(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsubs64x64(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsubs128x128(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsubs192x192(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopmuls8x8(size_t count, const void *left, const void *right, void *output,
                           const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmuls16x16(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmuls32x32(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmuls64x64(size_t count, const void *left, const void *right, void *output,
                             const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmuls128x128(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopmuls192x192(size_t count, const void *left, const void *right, void *output,
                               const ldsboperation *record) KES_NOEXCEPT;

KES_API int ldsbgopsum8(size_t count, const void *left, const void *right, void *output,
                        const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsum16(size_t count, const void *left, const void *right, void *output,
                         const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsum32(size_t count, const void *left, const void *right, void *output,
                         const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsum64(size_t count, const void *left, const void *right, void *output,
                         const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsum128(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record) KES_NOEXCEPT;
KES_API int ldsbgopsum192(size_t count, const void *left, const void *right, void *output,
                          const ldsboperation *record) KES_NOEXCEPT;

/* ldsbminmaxdsbs: the minimum and maximum of an array of elements.
 * ldsbminmaxdsbs_gather: of the elements named by a vector of element numbers.
 *
 * width    of the elements in bytes.
 * count    elements; of _gather: element numbers.
 * index    _gather: count element numbers, each below limit.
 * data     the elements.
 * nulls    bitmap over the count elements or element numbers (not over the elements they name).
 * minmax   merged with what is found: set its bytes to 0 first for the extremes of this array
 *          alone.
 * Errors   KES_DSB_WIDTH. KES_DSB_BOUNDS: an element number that is not null is limit or more
 *          (minmax is unchanged). */
KES_API int ldsbminmaxdsbs(size_t width, size_t count, const void *data, const uint8_t *nulls,
                           ldsbminmax *minmax) KES_NOEXCEPT;
KES_API int ldsbminmaxdsbs_gather(size_t width, size_t count, const uint32_t *index,
                                  const void *data, size_t limit, const uint8_t *nulls,
                                  ldsbminmax *minmax) KES_NOEXCEPT;

/* ldsbcopydsbs: copies elements: output[i] = data[i].
 * ldsbcopydsbs_gather: output[i] = data[index[i]]. index may name an element more than once.
 * ldsbcopydsbs_scatter: output[index[i]] = data[i]. Of equal numbers the last one stays.
 *
 * width    of the elements in bytes, the same on both sides.
 * count    elements copied.
 * index    count element numbers, each below limit: the elements in data (gather), in output
 *          (scatter).
 * nulls    bitmap over the count places i: where its bit is set nothing is copied, and index[i] is
 *          not looked at.
 * minmax   not null: merged with the elements copied.
 * Errors   KES_DSB_WIDTH. KES_DSB_BOUNDS: as above; nothing is written.
 * Overlap  ldsbcopydsbs: output may be data itself; else none. */
KES_API int ldsbcopydsbs(size_t width, size_t count, const void *data, void *output,
                         const uint8_t *nulls, ldsbminmax *minmax) KES_NOEXCEPT;
KES_API int ldsbcopydsbs_gather(size_t width, size_t count, const uint32_t *index, const void *data,
                                size_t limit, void *output, const uint8_t *nulls,
                                ldsbminmax *minmax) KES_NOEXCEPT;
KES_API int ldsbcopydsbs_scatter(size_t width, size_t count, const uint32_t *index,
                                 const void *data, void *output, size_t limit, const uint8_t *nulls,
                                 ldsbminmax *minmax) KES_NOEXCEPT;

/* Queries on elements.
 *
 * ldsbget_width         width in bytes of a precision code, or KES_DSB_PRECISION.
 * ldsbget_prec          precision code of a width in bytes, or KES_DSB_WIDTH.
 * ldsbget_prec_ondigs   precision code of the narrowest integer that holds 100 to the power of that
 *                       many base-100 digits (0..20), and so all integers of them; else
 *                       KES_DSB_RANGE.
 * ldsbget_valsigbits    significant bits of an element of width bytes: the bit length of its
 *                       absolute value; 1 for zero. KES_DSB_WIDTH.
 * ldsbget_minmaxsigbits the larger count of two elements of width bytes. KES_DSB_WIDTH.
 * ldsbget_minprec       precision code of the narrowest integer that holds an element of width
 *                       bytes. KES_DSB_WIDTH. */
KES_API int ldsbget_width(uint32_t precision) KES_NOEXCEPT;
KES_API int ldsbget_prec(size_t width) KES_NOEXCEPT;
KES_API int ldsbget_prec_ondigs(uint32_t digits) KES_NOEXCEPT;
KES_API int ldsbget_valsigbits(const void *value, size_t width) KES_NOEXCEPT;
KES_API int ldsbget_minmaxsigbits(const void *min, const void *max, size_t width) KES_NOEXCEPT;
KES_API int ldsbget_minprec(const void *value, size_t width) KES_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
