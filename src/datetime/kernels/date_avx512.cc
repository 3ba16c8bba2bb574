// Eight dates at a time. Addresses that follow each other, the usual case, are loaded and stored as
// one vector, others one by one, which is faster than gathering and scattering.
#include "datetime/date_operations.h"
#include "datetime/kernels/date_kernels.h"
#include "datetime/timestamp_operations.h"

#if defined(__x86_64__)

// GCC 12 takes the undefined vectors inside its own headers for uninitialized variables.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#define KES_DATE_LANES __attribute__((target("avx512f,avx512dq,avx512bw,avx512vl"), always_inline))
#define KES_DATE_LANES_ENTRY __attribute__((target("avx512f,avx512dq,avx512bw,avx512vl")))
#define KES_DATE_VECTOR(name) _mm512_##name
#define KES_DATE_BITS(name) _mm512_##name##_si512

namespace kestra::datetime {
namespace {

constexpr std::size_t kLanes = 8;
using Lanes = __m512i;
using Mask = __mmask8;

#include "datetime/kernels/vector_lanes.h"

KES_DATE_LANES inline Lanes Set(std::int64_t value) noexcept { return _mm512_set1_epi64(value); }
template <unsigned kPlace>
KES_DATE_LANES inline Lanes Byte(Lanes x) noexcept {
  constexpr auto kNone = static_cast<std::int64_t>(0x8080808080808000);
  const Lanes places =
      _mm512_set4_epi64(kNone + 8 + kPlace, kNone + kPlace, kNone + 8 + kPlace, kNone + kPlace);
  return _mm512_shuffle_epi8(x, places);
}
KES_DATE_LANES inline Mask Less(Lanes x, Lanes y) noexcept { return _mm512_cmplt_epi64_mask(x, y); }
KES_DATE_LANES inline Mask Equal(Lanes x, Lanes y) noexcept {
  return _mm512_cmpeq_epi64_mask(x, y);
}
KES_DATE_LANES inline Lanes Choose(Mask mask, Lanes yes, Lanes no) noexcept {
  return _mm512_mask_mov_epi64(no, mask, yes);
}
KES_DATE_LANES inline Lanes AddWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return _mm512_mask_add_epi64(x, mask, x, y);
}
KES_DATE_LANES inline Lanes SubtractWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return _mm512_mask_sub_epi64(x, mask, x, y);
}
KES_DATE_LANES inline Lanes SignedWord(Lanes x) noexcept {
  return _mm512_srai_epi64(Left<48>(x), 48);
}
KES_DATE_LANES inline Lanes SignedLow(Lanes x) noexcept {
  return _mm512_srai_epi64(Left<32>(x), 32);
}
KES_DATE_LANES inline Lanes SignedHigh(Lanes x) noexcept { return _mm512_srai_epi64(x, 32); }
template <std::int64_t kFirst, std::int64_t kLast>
KES_DATE_LANES inline Mask IsBetween(Lanes x) noexcept {
  return _mm512_cmple_epu64_mask(Subtract(x, Set(kFirst)), Set(kLast - kFirst));
}
KES_DATE_LANES inline Mask Both(Mask x, Mask y) noexcept { return static_cast<Mask>(x & y); }
KES_DATE_LANES inline Mask Either(Mask x, Mask y) noexcept { return static_cast<Mask>(x | y); }
KES_DATE_LANES inline Mask Not(Mask x) noexcept { return static_cast<Mask>(~x); }
KES_DATE_LANES inline bool All(Mask x) noexcept { return x == 0xFF; }
KES_DATE_LANES inline bool None(Mask x) noexcept { return x == 0; }
KES_DATE_LANES inline bool HaveLowHalvesAlone(Lanes x) noexcept {
  return _mm512_test_epi32_mask(x, x) == 0x5555;
}

KES_DATE_LANES inline bool AreTogether(Lanes addresses) noexcept {
  const Lanes first = _mm512_broadcastq_epi64(_mm512_castsi512_si128(addresses));
  const Lanes steps = _mm512_setr_epi64(0, 8, 16, 24, 32, 40, 48, 56);
  return _mm512_cmpneq_epi64_mask(addresses, Add(first, steps)) == 0;
}
template <typename T>
KES_DATE_LANES inline Lanes Load(const T* const* in) noexcept {
  static_assert(sizeof(T) == 8);
  if (AreTogether(_mm512_loadu_si512(in))) [[likely]]
    return _mm512_loadu_si512(in[0]);
  std::int64_t values[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) __builtin_memcpy(&values[i], in[i], sizeof(T));
  return _mm512_setr_epi64(values[0], values[1], values[2], values[3], values[4], values[5],
                           values[6], values[7]);
}
template <typename T>
KES_DATE_LANES inline void Store(T* const* out, Lanes values) noexcept {
  static_assert(sizeof(T) == 8);
  if (AreTogether(_mm512_loadu_si512(out))) [[likely]] {
    _mm512_storeu_si512(out[0], values);
    return;
  }
  alignas(64) T copies[kLanes];
  _mm512_store_si512(copies, values);
  for (std::size_t i = 0; i < kLanes; ++i) *out[i] = copies[i];
}

KES_DATE_LANES inline Lanes LoadNumbers(const ldxdelta* values) noexcept {
  return _mm512_loadu_si512(values);
}
template <typename T>
KES_DATE_LANES inline Lanes LoadNumbers(const T* values) noexcept {
  static_assert(sizeof(T) == 4);
  return _mm512_cvtepi32_epi64(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(values)));
}

// ---- Records of datetimes and intervals.

KES_DATE_LANES inline Lanes SubtractFrom(Mask mask, Lanes x) noexcept {
  return _mm512_mask_sub_epi64(x, mask, Set(0), x);
}
KES_DATE_LANES inline Lanes KeyOrder(Lanes fields) noexcept {
  constexpr std::int64_t kLow = 0x0100020304050680;
  constexpr std::int64_t kHigh = 0x09080A0B0C0D0E80;
  return _mm512_shuffle_epi8(fields, _mm512_set4_epi64(kHigh, kLow, kHigh, kLow));
}
KES_DATE_LANES inline void StoreSigns(std::int8_t* to, Mask less, Mask more) noexcept {
  const __m128i signs = _mm_sub_epi8(_mm_movm_epi8(less), _mm_movm_epi8(more));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), signs);
}

// 16 bytes of each, the first ones below.
KES_DATE_LANES inline Lanes LoadPieces(const void* const (&at)[kLanes / 2]) noexcept {
  const auto piece = [&](std::size_t k) KES_DATE_LANES {
    return _mm_loadu_si128(static_cast<const __m128i*>(at[k]));
  };
  const Lanes first = _mm512_inserti64x2(_mm512_castsi128_si512(piece(0)), piece(1), 1);
  return _mm512_inserti64x2(_mm512_inserti64x2(first, piece(2), 2), piece(3), 3);
}
KES_DATE_LANES inline void StorePieces(void* const (&at)[kLanes / 2], Lanes pieces) noexcept {
  _mm_storeu_si128(static_cast<__m128i*>(at[0]), _mm512_castsi512_si128(pieces));
  _mm_storeu_si128(static_cast<__m128i*>(at[1]), _mm512_extracti64x2_epi64(pieces, 1));
  _mm_storeu_si128(static_cast<__m128i*>(at[2]), _mm512_extracti64x2_epi64(pieces, 2));
  _mm_storeu_si128(static_cast<__m128i*>(at[3]), _mm512_extracti64x2_epi64(pieces, 3));
}
KES_DATE_LANES inline void StoreVector(void* to, Lanes lanes) noexcept {
  _mm512_storeu_si512(to, lanes);
}

#include "datetime/kernels/date_lanes.h"
#include "datetime/kernels/record_lanes.h"
#include "datetime/kernels/timestamp_lanes.h"

}  // namespace

const DateKernels kAvx512DateKernels = {
    "avx512",     ToJulianArray, FromJulianArray,  AddDeltaArray,      AddMonthsArray,
    LastDayArray, NextDayArray,  AddIntervalArray, SubtractDatesArray, CompareDatesArray};

}  // namespace kestra::datetime

#endif
