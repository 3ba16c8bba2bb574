// Multiplication in limbs of 10^8 (AVX-512).
//
// Up to four digits each, money as a rule: the mantissas are two limbs, one multiplication.
// Else column c of the product, limbs i + j = c, is one 64-bit lane (lane 7 - c); five
// multiplications of eight lanes make them. Dividing the columns by 10^8 takes two rounds in all
// lanes at once: the first in floating point, with a factor just below 10^-8 so that a quotient is
// exact or one too small, the second, on what is then below 8 * 10^8, by a multiplication. Then a
// lane can be 10^8 or a little more only after a limb of nearly all nines. Column 8 and what lane 0
// carries out below are left out. That is less than 8 units of limb 7, so when limb 6 is not within
// 8 of 10^8 it cannot change limbs 0 to 5, whose 24 digits decide the result. Both doubtful cases,
// a few in 10^7, go to the scalar function.
#pragma once

#if defined(__x86_64__)

#include "number/kernels/avx512_limbs.h"
#include "number/limbs.h"

namespace kestra::number::avx512 {

KES_AVX512 Result MultiplyShort(std::uint64_t x, std::uint64_t y, std::int32_t exponent,
                                std::uint32_t negative) noexcept {
  const std::uint64_t product = x * y;
  const std::uint64_t high = product / kLimbBase;
  const __m512i limbs = _mm512_castsi128_si512(_mm_set_epi64x(
      static_cast<long long>(high), static_cast<long long>(product - high * kLimbBase)));
  const __m256i lanes = UnpackLimbs(_mm512_maskz_mov_epi64(3, limbs));
  return RoundAndFinish(lanes, 7, exponent, negative);
}

// Limb j of y times the limbs of x that order names, each in its 64-bit lane.
KES_AVX512 __m512i Products(__m512i x, __m512i order, __m512i y, int j) noexcept {
  return _mm512_mul_epu32(_mm512_permutexvar_epi32(order, x),
                          _mm512_permutexvar_epi32(_mm512_set1_epi64(j), y));
}

// The columns' sums, lane 7 - c. x and y as PackLimbs gives them.
KES_AVX512 __m512i Columns(__m256i x, __m256i y, std::uint32_t y_count) noexcept {
  const __m512i a = _mm512_castsi256_si512(x);
  const __m512i b = _mm512_castsi256_si512(y);
  // For limb j of y, lane l takes limb 7 - l - j of x; 5 is a limb that is always 0.
  __m512i sum = _mm512_add_epi64(Products(a, _mm512_setr_epi64(5, 5, 5, 4, 3, 2, 1, 0), b, 0),
                                 Products(a, _mm512_setr_epi64(5, 5, 4, 3, 2, 1, 0, 5), b, 1));
  sum = _mm512_add_epi64(sum, Products(a, _mm512_setr_epi64(5, 4, 3, 2, 1, 0, 5, 5), b, 2));
  if (y_count > 3 * kDigitsPerLimb) {
    const __m512i more =
        _mm512_add_epi64(Products(a, _mm512_setr_epi64(4, 3, 2, 1, 0, 5, 5, 5), b, 3),
                         Products(a, _mm512_setr_epi64(3, 2, 1, 0, 5, 5, 5, 5), b, 4));
    sum = _mm512_add_epi64(sum, more);
  }
  return sum;
}

// False: not a case for this kernel.
KES_AVX512 bool Multiply(const Loaded& x, const Loaded& y, Result& result) noexcept {
  const std::int32_t exponent = x.exponent + y.exponent - kExponentBias;
  const std::uint32_t negative = x.negative ^ y.negative;
  const __m256i a = PackLimbs(x);
  const __m256i b = PackLimbs(y);
  if (x.count <= kDigitsPerLimb && y.count <= kDigitsPerLimb) {
    result = MultiplyShort(static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(a))),
                           static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(b))),
                           exponent, negative);
    return true;
  }
  const __m512i columns = Columns(a, b, y.count);
  const __m512i base = _mm512_set1_epi64(kLimbBase);
  const __m512i quotient = _mm512_cvttpd_epu64(
      _mm512_mul_pd(_mm512_cvtepu64_pd(columns), _mm512_set1_pd(1e-8 * (1 - 0x1p-50))));
  const __m512i rest = _mm512_sub_epi64(columns, _mm512_mul_epu32(quotient, base));
  // Limb i is the rest of column i - 1 and the quotient of column i; lane 7 - i.
  const __m512i zero = _mm512_setzero_si512();
  const __m512i limbs = _mm512_add_epi64(quotient, _mm512_alignr_epi64(zero, rest, 1));
  const __m512i carry = _mm512_srli_epi64(_mm512_mul_epu32(limbs, _mm512_set1_epi64(2882303762)),
                                          58);  // exact below 8 * 10^8
  const __m512i settled = _mm512_add_epi64(_mm512_sub_epi64(limbs, _mm512_mul_epu32(carry, base)),
                                           _mm512_alignr_epi64(carry, zero, 7));
  // Lanes 7 to 2 are limbs 0 to 5, lane 1 is limb 6.
  const __m512i safe = _mm512_mask_sub_epi64(base, 2, base, _mm512_set1_epi64(8));
  if ((_mm512_cmpge_epu64_mask(settled, safe) & 0xFE) != 0) [[unlikely]]
    return false;
  result =
      RoundAndFinish(UnpackLimbs(_mm512_maskz_mov_epi64(0xFE, settled)), 31, exponent, negative);
  return true;
}

}  // namespace kestra::number::avx512

#endif
