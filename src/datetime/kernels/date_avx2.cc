// Four dates at a time. Addresses that follow each other, the usual case, are loaded and stored as
// one vector, others one by one.
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

#define KES_DATE_LANES __attribute__((target("avx2"), always_inline))
#define KES_DATE_LANES_ENTRY __attribute__((target("avx2")))
#define KES_DATE_VECTOR(name) _mm256_##name
#define KES_DATE_BITS(name) _mm256_##name##_si256

namespace kestra::datetime {
namespace {

constexpr std::size_t kLanes = 4;
using Lanes = __m256i;
using Mask = __m256i;  // a lane is all ones or all zeros

#include "datetime/kernels/vector_lanes.h"

KES_DATE_LANES inline Lanes Set(std::int64_t value) noexcept { return _mm256_set1_epi64x(value); }
template <unsigned kPlace>
KES_DATE_LANES inline Lanes Byte(Lanes x) noexcept {
  constexpr auto kNone = static_cast<std::int64_t>(0x8080808080808000);
  const Lanes places =
      _mm256_setr_epi64x(kNone + kPlace, kNone + 8 + kPlace, kNone + kPlace, kNone + 8 + kPlace);
  return _mm256_shuffle_epi8(x, places);
}
// There is no arithmetic shift of 64 bits: the sign is spread over the other half.
KES_DATE_LANES inline Lanes SignedLow(Lanes x) noexcept {
  const Lanes signs = _mm256_shuffle_epi32(_mm256_srai_epi32(x, 31), 0xA0);
  return _mm256_blend_epi32(x, signs, 0xAA);
}
KES_DATE_LANES inline Lanes SignedHigh(Lanes x) noexcept {
  return _mm256_blend_epi32(_mm256_shuffle_epi32(x, 0xF5), _mm256_srai_epi32(x, 31), 0xAA);
}
KES_DATE_LANES inline Lanes SignedWord(Lanes x) noexcept {
  return SignedLow(_mm256_srai_epi32(_mm256_slli_epi32(x, 16), 16));
}
KES_DATE_LANES inline Mask Less(Lanes x, Lanes y) noexcept { return _mm256_cmpgt_epi64(y, x); }
KES_DATE_LANES inline Mask Equal(Lanes x, Lanes y) noexcept { return _mm256_cmpeq_epi64(x, y); }
template <std::int64_t kFirst, std::int64_t kLast>
KES_DATE_LANES inline Mask IsBetween(Lanes x) noexcept {
  return And(Less(Set(kFirst - 1), x), Less(x, Set(kLast + 1)));
}
KES_DATE_LANES inline Lanes Choose(Mask mask, Lanes yes, Lanes no) noexcept {
  return _mm256_blendv_epi8(no, yes, mask);
}
KES_DATE_LANES inline Lanes AddWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return Add(x, And(mask, y));
}
KES_DATE_LANES inline Lanes SubtractWhere(Mask mask, Lanes x, Lanes y) noexcept {
  return Subtract(x, And(mask, y));
}
KES_DATE_LANES inline Mask Both(Mask x, Mask y) noexcept { return And(x, y); }
KES_DATE_LANES inline Mask Either(Mask x, Mask y) noexcept { return Or(x, y); }
KES_DATE_LANES inline Mask Not(Mask x) noexcept { return Xor(x, Set(-1)); }
KES_DATE_LANES inline bool All(Mask x) noexcept { return _mm256_movemask_epi8(x) == -1; }
KES_DATE_LANES inline bool None(Mask x) noexcept { return _mm256_testz_si256(x, x) != 0; }
KES_DATE_LANES inline bool HaveLowHalvesAlone(Lanes x) noexcept {
  const Lanes zero = _mm256_cmpeq_epi32(x, Set(0));
  return _mm256_movemask_ps(_mm256_castsi256_ps(zero)) == 0xAA;
}

KES_DATE_LANES inline Lanes LoadVector(const void* from) noexcept {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
KES_DATE_LANES inline bool AreTogether(Lanes addresses) noexcept {
  const Lanes steps = _mm256_setr_epi64x(0, 8, 16, 24);
  return All(Equal(addresses, Add(_mm256_permute4x64_epi64(addresses, 0), steps)));
}
template <typename T>
KES_DATE_LANES inline Lanes Load(const T* const* in) noexcept {
  static_assert(sizeof(T) == 8);
  if (AreTogether(LoadVector(in))) [[likely]]
    return LoadVector(in[0]);
  std::int64_t values[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) __builtin_memcpy(&values[i], in[i], sizeof(T));
  return _mm256_setr_epi64x(values[0], values[1], values[2], values[3]);
}
template <typename T>
KES_DATE_LANES inline void Store(T* const* out, Lanes values) noexcept {
  static_assert(sizeof(T) == 8);
  if (AreTogether(LoadVector(out))) [[likely]] {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out[0]), values);
    return;
  }
  alignas(32) T copies[kLanes];
  _mm256_store_si256(reinterpret_cast<__m256i*>(copies), values);
  for (std::size_t i = 0; i < kLanes; ++i) *out[i] = copies[i];
}
KES_DATE_LANES inline Lanes LoadNumbers(const ldxdelta* values) noexcept {
  return LoadVector(values);
}
template <typename T>
KES_DATE_LANES inline Lanes LoadNumbers(const T* values) noexcept {
  static_assert(sizeof(T) == 4);
  return _mm256_cvtepi32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(values)));
}

// ---- Records of datetimes and intervals.

KES_DATE_LANES inline Lanes SubtractFrom(Mask mask, Lanes x) noexcept {
  return Subtract(Xor(x, mask), mask);
}
KES_DATE_LANES inline Lanes KeyOrder(Lanes fields) noexcept {
  constexpr std::int64_t kLow = 0x0100020304050680;
  constexpr std::int64_t kHigh = 0x09080A0B0C0D0E80;
  return _mm256_shuffle_epi8(fields, _mm256_setr_epi64x(kLow, kHigh, kLow, kHigh));
}
KES_DATE_LANES inline void StoreSigns(std::int8_t* to, Mask less, Mask more) noexcept {
  const Lanes signs = _mm256_shuffle_epi8(Subtract(less, more), Set(0x0800));
  const auto low = static_cast<std::uint32_t>(_mm256_extract_epi16(signs, 0));
  const auto high = static_cast<std::uint32_t>(_mm256_extract_epi16(signs, 8));
  const std::uint32_t all = low | high << 16;
  __builtin_memcpy(to, &all, sizeof all);
}
// 16 bytes of each, the first ones below.
KES_DATE_LANES inline Lanes LoadPieces(const void* const (&at)[kLanes / 2]) noexcept {
  const __m128i low = _mm_loadu_si128(static_cast<const __m128i*>(at[0]));
  const __m128i high = _mm_loadu_si128(static_cast<const __m128i*>(at[1]));
  return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}
KES_DATE_LANES inline void StorePieces(void* const (&at)[kLanes / 2], Lanes pieces) noexcept {
  _mm_storeu_si128(static_cast<__m128i*>(at[0]), _mm256_castsi256_si128(pieces));
  _mm_storeu_si128(static_cast<__m128i*>(at[1]), _mm256_extracti128_si256(pieces, 1));
}
KES_DATE_LANES inline void StoreVector(void* to, Lanes lanes) noexcept {
  _mm256_storeu_si256(static_cast<__m256i*>(to), lanes);
}

#include "datetime/kernels/date_lanes.h"
#include "datetime/kernels/record_lanes.h"
#include "datetime/kernels/timestamp_lanes.h"

}  // namespace

// Adding months and last days gain nothing from four lanes.
const DateKernels kAvx2DateKernels = {
    "avx2",           ToJulianArray,          FromJulianArray,
    AddDeltaArray,    scalar::AddMonthsArray, scalar::LastDayArray,
    NextDayArray,     AddIntervalArray,       SubtractDatesArray,
    CompareDatesArray};

}  // namespace kestra::datetime

#endif
