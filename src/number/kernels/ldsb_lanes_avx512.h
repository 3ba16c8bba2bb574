// One 64-byte register as lanes of 8- to 64-bit elements: the same names for every width, which are
// those of ldsb_lanes_vector.h, so that the loops of ldsb_lane_loops.h are written once. A mask is
// the bits themselves. Included by ldsb_avx512.cc and ldsb_decode_avx512.cc alone.
#pragma once

#if defined(__GNUC__) && !defined(__clang__)
// The compiler's own header hands undefined registers to intrinsics, and warns where they are
// inlined.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include <type_traits>

#include "number/kernels/ldsb_kernels.h"

#define KES_DSB_TARGET \
  [[gnu::target("avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2")]]
#define KES_DSB_LANE KES_DSB_TARGET [[gnu::always_inline]] static inline

namespace kestra::number::dsb {
namespace {

// How far ahead the lines of results are fetched: a masked store does not make the processor do it.
constexpr std::size_t kAhead = 4096;

// Registers of a group in a row, and groups where they are one or few registers.
inline constexpr std::size_t kUnrolled = 16;
inline constexpr int kGroupsUnrolled = 4;

template <class T>
struct Lanes;

KES_DSB_LANE __m256i LoadHalf(const void* p) noexcept {
  return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

// In a mask register, where 8-bit elements need it.
KES_DSB_LANE std::uint64_t NotMask(std::uint64_t bits) noexcept { return _knot_mask64(bits); }

#define KES_DSB_LANES(T, MASK, BITS)                                                             \
  using Register = __m512i;                                                                      \
  using Mask = MASK;                                                                             \
  static constexpr std::size_t kCount = 512 / BITS;                                              \
  /* Registers in turn for running extremes, which would else wait for one another. */           \
  static constexpr std::size_t kChains = BITS == 64 ? 2 : 1;                                     \
  static constexpr bool kCompares = true;                                                        \
  KES_DSB_LANE Mask MaskOf(std::uint64_t null, std::size_t v) noexcept {                         \
    return static_cast<Mask>(NotMask(null) >> v);                                                \
  }                                                                                              \
  KES_DSB_LANE __m512i Fill(T x) noexcept { return _mm512_set1_epi##BITS(x); }                   \
  KES_DSB_LANE __m512i Add(__m512i x, __m512i y) noexcept { return _mm512_add_epi##BITS(x, y); } \
  KES_DSB_LANE __m512i Subtract(__m512i x, __m512i y) noexcept {                                 \
    return _mm512_sub_epi##BITS(x, y);                                                           \
  }                                                                                              \
  KES_DSB_LANE __m512i AddMasked(__m512i x, Mask mask, __m512i y) noexcept {                     \
    return _mm512_mask_add_epi##BITS(x, mask, x, y);                                             \
  }                                                                                              \
  template <bool kAll>                                                                           \
  KES_DSB_LANE void AddExtremes(__m512i& lo, __m512i& hi, __m512i&, Mask mask,                   \
                                __m512i x) noexcept {                                            \
    lo = _mm512_mask_min_epi##BITS(lo, mask, lo, x);                                             \
    hi = _mm512_mask_max_epi##BITS(hi, mask, hi, x);                                             \
  }                                                                                              \
  KES_DSB_LANE std::uint64_t Below(__m512i x, __m512i y) noexcept {                              \
    return _mm512_cmplt_epi##BITS##_mask(x, y);                                                  \
  }                                                                                              \
  KES_DSB_LANE __m512i Load(const void* p) noexcept { return _mm512_loadu_si512(p); }            \
  KES_DSB_LANE __m512i LoadSome(const void* p, Mask mask, std::size_t) noexcept {                \
    return _mm512_maskz_loadu_epi##BITS(mask, p);                                                \
  }                                                                                              \
  KES_DSB_LANE void Store(void* p, __m512i x) noexcept { _mm512_storeu_si512(p, x); }            \
  KES_DSB_LANE void StoreMasked(void* p, Mask mask, __m512i x) noexcept {                        \
    __builtin_prefetch(static_cast<const char*>(p) + kAhead);                                    \
    _mm512_mask_storeu_epi##BITS(p, mask, x);                                                    \
  }                                                                                              \
  KES_DSB_LANE void StoreSome(void* p, Mask mask, std::size_t, __m512i x) noexcept {             \
    _mm512_mask_storeu_epi##BITS(p, mask, x);                                                    \
  }

template <>
struct Lanes<std::int8_t> {
  KES_DSB_LANES(std::int8_t, __mmask64, 8)
  // There is no byte product: even and odd bytes as 16-bit lanes.
  KES_DSB_LANE __m512i Multiply(__m512i x, __m512i y) noexcept {
    const __m512i even = _mm512_mullo_epi16(x, y);
    const __m512i odd = _mm512_mullo_epi16(_mm512_srli_epi16(x, 8), _mm512_srli_epi16(y, 8));
    return _mm512_mask_blend_epi8(0xAAAAAAAAAAAAAAAA, even, _mm512_slli_epi16(odd, 8));
  }
};

template <>
struct Lanes<std::int16_t> {
  KES_DSB_LANES(std::int16_t, __mmask32, 16)
  KES_DSB_LANE __m512i Multiply(__m512i x, __m512i y) noexcept { return _mm512_mullo_epi16(x, y); }
  KES_DSB_LANE __m512i MultiplyExtended(__m512i x, __m512i y) noexcept { return Multiply(x, y); }
  KES_DSB_LANE __m512i LoadNarrowSome(const void* p, Mask mask, std::size_t) noexcept {
    return _mm512_cvtepi8_epi16(_mm256_maskz_loadu_epi8(mask, p));
  }
  KES_DSB_LANE __m512i LoadNarrow(const void* p) noexcept {
    return _mm512_cvtepi8_epi16(LoadHalf(p));
  }
};

template <>
struct Lanes<std::int32_t> {
  KES_DSB_LANES(std::int32_t, __mmask16, 32)
  KES_DSB_LANE __m512i Multiply(__m512i x, __m512i y) noexcept { return _mm512_mullo_epi32(x, y); }
  // Both factors fit in 16 bits, and madd adds the product of the upper halves: one is cleared.
  KES_DSB_LANE __m512i MultiplyExtended(__m512i x, __m512i y) noexcept {
    return _mm512_madd_epi16(x, _mm512_and_si512(y, _mm512_set1_epi32(0xFFFF)));
  }
  KES_DSB_LANE __m512i LoadNarrowSome(const void* p, Mask mask, std::size_t) noexcept {
    return _mm512_cvtepi16_epi32(_mm256_maskz_loadu_epi16(mask, p));
  }
  KES_DSB_LANE __m512i LoadNarrow(const void* p) noexcept {
    return _mm512_cvtepi16_epi32(LoadHalf(p));
  }
};

template <>
struct Lanes<std::int64_t> {
  KES_DSB_LANES(std::int64_t, __mmask8, 64)
  KES_DSB_LANE __m512i Multiply(__m512i x, __m512i y) noexcept { return _mm512_mullo_epi64(x, y); }
  KES_DSB_LANE __m512i MultiplyExtended(__m512i x, __m512i y) noexcept {
    return _mm512_mul_epi32(x, y);
  }
  KES_DSB_LANE __m512i LoadNarrowSome(const void* p, Mask mask, std::size_t) noexcept {
    return _mm512_cvtepi32_epi64(_mm256_maskz_loadu_epi32(mask, p));
  }
  KES_DSB_LANE __m512i LoadNarrow(const void* p) noexcept {
    return _mm512_cvtepi32_epi64(LoadHalf(p));
  }
  KES_DSB_LANE __m512i LowHalf(__m512i x) noexcept {
    return _mm512_and_si512(x, _mm512_set1_epi64(0xFFFFFFFF));
  }
  KES_DSB_LANE __m512i HighHalf(__m512i x) noexcept { return _mm512_srli_epi64(x, 32); }
  KES_DSB_LANE __m512i HighHalfSigned(__m512i x) noexcept { return _mm512_srai_epi64(x, 32); }
};

#undef KES_DSB_LANES

// 128-bit elements, two 64-bit lanes each, the lower word in the even one: only what sums need. For
// the rest see ldsb_words_avx512.h.
template <>
struct Lanes<int128> {
  using Register = __m512i;
  using Mask = __mmask8;  // both lanes of an element
  static constexpr std::size_t kCount = 4;

  // The lanes of four elements, from the bits of them.
  KES_DSB_LANE Mask MaskOf(std::uint64_t null, std::size_t v) noexcept {
    return static_cast<Mask>(_pdep_u32(static_cast<unsigned>(~null >> v), 0x55) * 3);
  }
  KES_DSB_LANE __m512i Load(const void* p) noexcept { return _mm512_loadu_si512(p); }
  KES_DSB_LANE __m512i LoadSome(const void* p, Mask mask, std::size_t) noexcept {
    return _mm512_maskz_loadu_epi64(mask, p);
  }
};

}  // namespace
}  // namespace kestra::number::dsb
