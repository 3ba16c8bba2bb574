// Rounding at a decimal place (AVX-512): the carry through 99s is one integer addition, see
// avx512_add.h.
#pragma once

#if defined(__x86_64__)

#include "number/decimal_arithmetic.h"
#include "number/kernels/avx512_add.h"

namespace kestra::number::avx512 {

// x and its bytes. False: not a case for this kernel, which leaves results of zero and unchanged
// numbers to the scalar one.
template <Rounding rounding>
KES_AVX512 bool RoundAtPlace(const Loaded& x, const std::uint8_t* bytes, int places,
                             Result& result) noexcept {
  const int inside = places & 1;  // an odd place lies inside a digit, of which the tens stay
  const std::int32_t end = x.exponent - kExponentBias + (places >> 1) + inside;
  if (end < inside || end > static_cast<std::int32_t>(x.count)) [[unlikely]] {
    return false;
  }
  __m256i lanes = Align(x, 0);  // digit k in lane 30 - k
  const std::uint32_t reversed = _mm256_test_epi8_mask(lanes, lanes);
  const std::uint32_t last = 31 - static_cast<std::uint32_t>(end);
  const std::uint32_t kept = ~0u << last;
  const std::uint32_t below = reversed & ~kept;
  std::uint32_t one;  // what is added, as a bit of its lane
  if (inside == 0) {
    const std::uint32_t half = 1u << (last - 1);  // last is at least 11
    one = _mm256_cmpge_epu8_mask(lanes, Row(kConstants.fifties)) & half;
    if constexpr (rounding == Rounding::kHalfEven) {
      const std::uint32_t tie = _mm256_cmpeq_epi8_mask(lanes, Row(kConstants.fifties)) & half;
      const std::uint32_t odd = _mm256_test_epi8_mask(lanes, Row(kConstants.ones)) >> 1;
      if (tie != 0 && below == half) one &= odd;
    }
    one <<= 1;
  } else {
    const int decoded = x.negative != 0 ? kBase + 1 - bytes[end] : bytes[end] - 1;
    const std::uint32_t digit = decoded > 0 ? static_cast<std::uint32_t>(decoded) : 0;
    std::uint32_t tens = digit / 10;
    const std::uint32_t units = digit - 10 * tens;
    if constexpr (rounding == Rounding::kHalfEven) {
      tens += units > 5 || (units == 5 && (below != 0 || tens % 2 != 0)) ? 1u : 0u;
    } else {
      tens += units >= 5 ? 1u : 0u;
    }
    if constexpr (rounding == Rounding::kTruncate) tens = digit / 10;
    const std::uint32_t carry = tens == 10 ? 1u : 0u;
    lanes = _mm256_mask_set1_epi8(lanes, 1u << last, static_cast<char>(carry != 0 ? 0 : 10 * tens));
    one = carry << 1 << last;
  }
  if constexpr (rounding == Rounding::kTruncate) one = 0;
  const std::uint32_t nines = _mm256_cmpeq_epi8_mask(lanes, Row(kConstants.nines)) & kept;
  const std::uint32_t raised = (nines + one) ^ nines;
  lanes = _mm256_mask_add_epi8(lanes, raised, lanes, Row(kConstants.ones));
  lanes = _mm256_maskz_mov_epi8(kept & ~(raised & nines), lanes);
  const std::uint32_t nonzero = _mm256_test_epi8_mask(lanes, lanes);
  if (nonzero == 0) {
    result = Zero();
    return true;
  }
  const std::uint32_t top = 31 - static_cast<std::uint32_t>(_lzcnt_u32(nonzero));
  result =
      Finish(lanes, nonzero, top, x.exponent - 30 + static_cast<std::int32_t>(top), x.negative);
  return true;
}

}  // namespace kestra::number::avx512

#endif
