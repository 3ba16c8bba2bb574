// One 64-byte register as lanes of 8- to 64-bit elements: the same names for every width, so that
// the kernels of ldsb_avx512.cc are written once. Included by that file alone.
#pragma once

#if defined(__GNUC__) && !defined(__clang__)
// The compiler's own header hands undefined registers to intrinsics, and warns where they are
// inlined.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include <type_traits>

#include "number/kernels/ldsb_kernels.h"

#define KES_DSB_AVX512 \
  [[gnu::target("avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2")]]
#define KES_DSB_LANE KES_DSB_AVX512 [[gnu::always_inline]] static inline

namespace kestra::number::dsb {

template <class T>
struct Lanes;

KES_DSB_LANE __m256i LoadHalf(const void* p) noexcept {
  return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

#define KES_DSB_LANES(T, MASK, BITS)                                                             \
  using Mask = MASK;                                                                             \
  KES_DSB_LANE Mask MaskOf(std::uint64_t bits) noexcept { return static_cast<Mask>(bits); }      \
  static constexpr std::size_t kCount = 512 / BITS;                                              \
  KES_DSB_LANE __m512i Fill(T x) noexcept { return _mm512_set1_epi##BITS(x); }                   \
  KES_DSB_LANE __m512i Add(__m512i x, __m512i y) noexcept { return _mm512_add_epi##BITS(x, y); } \
  KES_DSB_LANE __m512i Subtract(__m512i x, __m512i y) noexcept {                                 \
    return _mm512_sub_epi##BITS(x, y);                                                           \
  }                                                                                              \
  KES_DSB_LANE __m512i AddMasked(__m512i x, Mask mask, __m512i y) noexcept {                     \
    return _mm512_mask_add_epi##BITS(x, mask, x, y);                                             \
  }                                                                                              \
  KES_DSB_LANE __m512i MinMasked(__m512i x, Mask mask, __m512i y) noexcept {                     \
    return _mm512_mask_min_epi##BITS(x, mask, x, y);                                             \
  }                                                                                              \
  KES_DSB_LANE __m512i MaxMasked(__m512i x, Mask mask, __m512i y) noexcept {                     \
    return _mm512_mask_max_epi##BITS(x, mask, x, y);                                             \
  }                                                                                              \
  KES_DSB_LANE Mask Below(__m512i x, __m512i y) noexcept {                                       \
    return _mm512_cmplt_epi##BITS##_mask(x, y);                                                  \
  }                                                                                              \
  KES_DSB_LANE __m512i Load(const void* p, Mask mask) noexcept {                                 \
    return _mm512_maskz_loadu_epi##BITS(mask, p);                                                \
  }                                                                                              \
  KES_DSB_LANE void Store(void* p, Mask mask, __m512i x) noexcept {                              \
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
  KES_DSB_LANE __m512i LoadNarrow(const void* p, Mask mask) noexcept {
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
  KES_DSB_LANE __m512i LoadNarrow(const void* p, Mask mask) noexcept {
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
  KES_DSB_LANE __m512i LoadNarrow(const void* p, Mask mask) noexcept {
    return _mm512_cvtepi32_epi64(_mm256_maskz_loadu_epi32(mask, p));
  }
  KES_DSB_LANE __m512i LoadNarrow(const void* p) noexcept {
    return _mm512_cvtepi32_epi64(LoadHalf(p));
  }
};

#undef KES_DSB_LANES

// 128-bit elements, two 64-bit lanes each, the lower word in the even one: only what sums need. For
// the rest see ldsb_words_avx512.h.
template <>
struct Lanes<int128> {
  using Mask = __mmask8;  // both lanes of an element
  static constexpr std::size_t kCount = 4;
  static constexpr Mask kEven = 0x55;
  static constexpr Mask kOdd = 0xAA;

  // The lanes of four elements, from the bits of them.
  KES_DSB_LANE Mask MaskOf(std::uint64_t bits) noexcept {
    return static_cast<Mask>(_pdep_u32(static_cast<unsigned>(bits), kEven) * 3);
  }
  KES_DSB_LANE __m512i Load(const void* p, Mask mask) noexcept {
    return _mm512_maskz_loadu_epi64(mask, p);
  }
};

}  // namespace kestra::number::dsb
