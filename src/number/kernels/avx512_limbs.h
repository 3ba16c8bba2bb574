// Digits to limbs of 10^8 and back (AVX-512).
#pragma once

#if defined(__x86_64__)

#include "number/kernels/avx512_number.h"

namespace kestra::number::avx512 {

// Four digits to a 32-bit lane, the first lane the most significant.
KES_AVX512 __m256i PackLimbs(const Loaded& number) noexcept {
  const __m256i pairs = _mm256_maddubs_epi16(number.digits, _mm256_set1_epi16(1 << 8 | 100));
  return _mm256_madd_epi16(pairs, _mm256_set1_epi32(1 << 16 | 10000));
}

// Eight limbs below 10^8 to 32 digits; the last digit of lane 0 comes first.
KES_AVX512 __m256i UnpackLimbs(__m512i limbs) noexcept {
  // 109951163 / 2^40 is 1/10000 and 5243 / 2^19 is 1/100, exact for what they meet here.
  const __m512i high = _mm512_srli_epi64(_mm512_mul_epu32(limbs, _mm512_set1_epi64(109951163)), 40);
  const __m512i words =
      _mm512_add_epi64(limbs, _mm512_mul_epu32(high, _mm512_set1_epi64((1 << 16) - 10000)));
  const __m256i packed = _mm512_cvtepi64_epi32(words);
  const __m256i tens = _mm256_srli_epi16(_mm256_mulhi_epu16(packed, _mm256_set1_epi16(5243)), 3);
  return _mm256_add_epi16(packed, _mm256_mullo_epi16(tens, _mm256_set1_epi16((1 << 8) - kBase)));
}

// 32 digits in reversed order, the first of which (or the second) is lane top's: rounds and codes
// them. exponent is that of the absolute value, as a byte, if the digit of lane top is not 0.
KES_AVX512 Result RoundAndFinish(__m256i lanes, std::uint32_t top, std::int32_t exponent,
                                 std::uint32_t negative) noexcept {
  std::uint32_t nonzero = _mm256_test_epi8_mask(lanes, lanes);
  const std::uint32_t first = 31 - static_cast<std::uint32_t>(_lzcnt_u32(nonzero));
  exponent -= static_cast<std::int32_t>(top - first);
  top = first;
  if (top >= kMaxDigits && _bzhi_u32(nonzero, top - (kMaxDigits - 1)) != 0) {
    Round(lanes, nonzero, top, exponent);
  }
  return Finish(lanes, nonzero, top, exponent, negative);
}

}  // namespace kestra::number::avx512

#endif
