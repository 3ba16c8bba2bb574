// Eight short numbers at a time, for the vector forms (AVX-512).
//
// A number of up to seven digits, as money nearly always is, fits a 64-bit lane: the first digit in
// byte 6, byte 7 for a carry, so that the lane as an integer orders numbers of one exponent.
// Columns are worked through in blocks of eight such lanes. One carry chain then serves eight
// elements, where a scalar operation has one of its own and is bound by it.
//
// Sums carry as binary-coded decimals do: with 156 added to every byte, bytes that reach 100 carry
// into the next by themselves, and those that do not get the 156 taken off again. Differences
// borrow by themselves; the bytes that borrowed are 156 too large. A block with anything else in it
// (long or malformed numbers, zeros, infinities, exponents too far apart) is left to the caller,
// whole.
#pragma once

#if defined(__x86_64__)

#include <cstring>

#include "number/kernels/avx512_limbs.h"
#include "number/kernels/avx512_number.h"
#include "number/limbs.h"

namespace kestra::number::avx512 {

inline constexpr std::size_t kBlock = 8;              // elements
inline constexpr std::size_t kRowBytes = 2 + kBlock;  // that are written of each, at most

KES_AVX512 __m512i All(int byte) noexcept { return _mm512_set1_epi8(static_cast<char>(byte)); }

// The bytes of each lane in reversed order.
KES_AVX512 __m512i Reversed(__m512i lanes) noexcept {
  return _mm512_shuffle_epi8(
      lanes, _mm512_broadcast_i32x4(_mm_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607)));
}

// Values of eight elements. exponent is the byte of the absolute value less 128, of a first digit
// in byte 6.
struct Block {
  __m512i digits;
  __m512i exponent;
  __mmask8 negative;
};

// Elements that are null, as lanes of absent, become the number 1. False: not a case for blocks.
KES_AVX512 bool LoadBlock(const std::uint8_t* const* x, const std::uint16_t* xlen, __mmask8 absent,
                          Block& block) noexcept {
  static constexpr std::uint8_t kOne[] = {0xC1, 2};
  const __m128i lengths = _mm_mask_mov_epi16(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(xlen)), absent, _mm_set1_epi16(2));
  if (_mm_cmpgt_epu16_mask(_mm_sub_epi16(lengths, _mm_set1_epi16(2)), _mm_set1_epi16(6)) != 0) {
    return false;
  }
  // Of each lane, as many bits as the number has bytes: the rest is not touched.
  const __m512i bits = _mm512_slli_epi64(_mm512_cvtepu16_epi64(lengths), 3);
  const __m512i beyond = _mm512_sllv_epi64(All(0xFF), bits);
  const std::uint64_t held = ~_cvtmask64_u64(_mm512_movepi8_mask(beyond));
  const __m512i given = _mm512_loadu_si512(x);
  if ((_mm512_testn_epi64_mask(given, given) & ~absent) != 0) return false;  // null counts as zero
  const std::uint8_t* pointers[kBlock];
  if (absent != 0) {
    _mm512_storeu_si512(pointers,
                        _mm512_mask_set1_epi64(given, absent, reinterpret_cast<long long>(kOne)));
    x = pointers;
  }
  __m128i pairs[4];
  for (std::size_t i = 0; i < 4; ++i) {
    const auto low = static_cast<__mmask16>(held >> (16 * i) & 0xFF);
    const auto high = static_cast<__mmask16>(held >> (16 * i) & 0xFF00);
    pairs[i] = _mm_mask_loadu_epi8(_mm_maskz_loadu_epi8(low, x[2 * i]), high, x[2 * i + 1] - 8);
  }
  const __m256i half = _mm256_inserti128_si256(_mm256_castsi128_si256(pairs[0]), pairs[1], 1);
  const __m256i other = _mm256_inserti128_si256(_mm256_castsi128_si256(pairs[2]), pairs[3], 1);
  const __m512i bytes = Reversed(_mm512_inserti64x4(_mm512_castsi256_si512(half), other, 1));

  const auto positive = static_cast<__mmask8>(_mm512_movepi64_mask(bytes));
  const __m512i first = _mm512_srli_epi64(bytes, 56);
  block.negative = static_cast<__mmask8>(~positive);
  // 127 - first is first ^ 127 for negative numbers.
  block.exponent =
      _mm512_xor_si512(first, _mm512_mask_set1_epi64(_mm512_set1_epi64(0x7F), positive, 0x80));
  // Digits of bytes that are none count as 0 on one side, as the terminator does, ...
  const __m512i digits = _mm512_mask_mov_epi64(_mm512_subs_epu8(All(kBase + 1), bytes), positive,
                                               _mm512_subs_epu8(bytes, All(1)));
  const __m512i mantissa = _mm512_srli_epi64(
      _mm512_sllv_epi64(All(0xFF), _mm512_sub_epi64(_mm512_set1_epi64(72), bits)), 8);
  block.digits = _mm512_and_si512(digits, mantissa);
  // ... and are left to the scalar function on the other. So is a first digit 0.
  return (_mm512_cmpgt_epu8_mask(block.digits, All(kBase - 1)) |
          _mm512_cmplt_epu64_mask(block.digits, _mm512_set1_epi64(1LL << 48))) == 0;
}

// The kernels' results: the first digit in any byte, exponent is that of byte 7. False: not a case
// for blocks.
template <bool subtract>
KES_AVX512 bool AddBlock(const Block& x, const Block& y, Block& result) noexcept {
  const __m512i larger = _mm512_max_epi64(x.exponent, y.exponent);
  const __m512i x_shift = _mm512_slli_epi64(_mm512_sub_epi64(larger, x.exponent), 3);
  const __m512i y_shift = _mm512_slli_epi64(_mm512_sub_epi64(larger, y.exponent), 3);
  const __m512i a = _mm512_srlv_epi64(x.digits, x_shift);
  const __m512i b = _mm512_srlv_epi64(y.digits, y_shift);
  if ((_mm512_cmpneq_epi64_mask(_mm512_sllv_epi64(a, x_shift), x.digits) |
       _mm512_cmpneq_epi64_mask(_mm512_sllv_epi64(b, y_shift), y.digits)) != 0) {
    return false;  // digits would be lost
  }
  const auto y_negative = static_cast<__mmask8>(subtract ? ~y.negative : y.negative);
  const auto opposite = static_cast<__mmask8>(x.negative ^ y_negative);
  const __mmask8 less = _mm512_cmplt_epu64_mask(a, b);
  const __m512i high = _mm512_max_epu64(a, b);
  const __m512i low = _mm512_min_epu64(a, b);
  // high + (low + 156...) or high + ~low + 1
  const __m512i bias = All(256 - kBase);
  const __m512i term = _mm512_mask_xor_epi64(_mm512_add_epi64(low, bias), opposite, low, All(0xFF));
  __m512i sum = _mm512_add_epi64(high, term);
  sum = _mm512_mask_add_epi64(sum, opposite, sum, _mm512_set1_epi64(1));
  // Bit 0 of each byte: was there a carry into it?
  const __m512i carried = _mm512_xor_si512(sum, _mm512_xor_si512(high, term));
  __m512i kept =
      _mm512_srli_epi64(_mm512_andnot_si512(carried, All(1)), 8);  // none out of the byte
  kept = _mm512_mask_or_epi64(kept, static_cast<__mmask8>(~opposite), kept,
                              _mm512_set1_epi64(1LL << 56));
  const __m512i whole = _mm512_sub_epi64(_mm512_slli_epi64(kept, 8), kept);  // 1 to 255
  result.digits = _mm512_sub_epi8(sum, _mm512_and_si512(whole, bias));
  result.exponent = _mm512_add_epi64(larger, _mm512_set1_epi64(1));
  result.negative = static_cast<__mmask8>((x.negative & ~less) | (y_negative & less));
  return true;
}

// A number below 10^8 in each 64-bit lane to four digits, the first in byte 3.
KES_AVX512 __m512i Split(__m512i values) noexcept {
  // See UnpackLimbs.
  const __m512i high =
      _mm512_srli_epi64(_mm512_mul_epu32(values, _mm512_set1_epi64(109951163)), 40);
  const __m512i words =
      _mm512_add_epi64(values, _mm512_mul_epu32(high, _mm512_set1_epi64((1 << 16) - 10000)));
  const __m512i tens = _mm512_srli_epi16(_mm512_mulhi_epu16(words, _mm512_set1_epi16(5243)), 3);
  return _mm512_add_epi16(words, _mm512_mullo_epi16(tens, _mm512_set1_epi16((1 << 8) - kBase)));
}

// Up to four digits each.
KES_AVX512 bool MultiplyBlock(const Block& x, const Block& y, Block& result) noexcept {
  const __m512i both = _mm512_or_si512(x.digits, y.digits);
  if (_mm512_test_epi64_mask(both, _mm512_set1_epi64(0xFFFFFF)) != 0) return false;
  const __m512i weights = _mm512_set1_epi16(kBase << 8 | 1);
  const __m512i halves = _mm512_set1_epi32(10000 << 16 | 1);
  const __m512i a =
      _mm512_madd_epi16(_mm512_maddubs_epi16(_mm512_srli_epi64(x.digits, 24), weights), halves);
  const __m512i b =
      _mm512_madd_epi16(_mm512_maddubs_epi16(_mm512_srli_epi64(y.digits, 24), weights), halves);
  const __m512i product = _mm512_mul_epu32(a, b);  // below 10^16
  const __m512i base = _mm512_set1_epi64(kLimbBase);
  __m512i high = _mm512_cvttpd_epu64(
      _mm512_mul_pd(_mm512_cvtepu64_pd(product), _mm512_set1_pd(1e-8 * (1 - 0x1p-50))));
  __m512i low = _mm512_sub_epi64(product, _mm512_mul_epu32(high, base));
  const __mmask8 short_of = _mm512_cmpge_epu64_mask(low, base);  // the quotient is one too small
  high = _mm512_mask_add_epi64(high, short_of, high, _mm512_set1_epi64(1));
  low = _mm512_mask_sub_epi64(low, short_of, low, base);
  result.digits = _mm512_or_si512(_mm512_slli_epi64(Split(high), 32), Split(low));
  result.exponent =
      _mm512_sub_epi64(_mm512_add_epi64(x.exponent, y.exponent), _mm512_set1_epi64(64));
  result.negative = static_cast<__mmask8>(x.negative ^ y.negative);
  return true;
}

// Codes and packs eight results at area, and moves it on. False: an exponent is out of range, and
// nothing is written.
KES_AVX512 bool PackBlock(const Block& block, __mmask8 absent, std::uint8_t** out,
                          std::uint16_t* outlen, std::uint8_t*& area) noexcept {
  const __m512i whole_bytes = _mm512_set1_epi64(~7LL & 0x7F);
  const __mmask8 zero = _mm512_testn_epi64_mask(block.digits, block.digits);
  const __m512i above = _mm512_and_si512(_mm512_lzcnt_epi64(block.digits), whole_bytes);
  const __m512i digits = _mm512_sllv_epi64(block.digits, above);
  const __m512i exponent = _mm512_sub_epi64(block.exponent, _mm512_srli_epi64(above, 3));
  if ((_mm512_cmpgt_epu64_mask(exponent, _mm512_set1_epi64(127)) & ~zero) != 0) return false;
  const __m512i lowest = _mm512_and_si512(digits, _mm512_sub_epi64(All(0), digits));
  const __m512i below = _mm512_and_si512(
      _mm512_sub_epi64(_mm512_set1_epi64(63), _mm512_lzcnt_epi64(lowest)), whole_bytes);
  // Digit + 1, or 101 - digit and one more where the terminator goes.
  const __m512i terminator =
      _mm512_sllv_epi64(_mm512_set1_epi64(1), _mm512_sub_epi64(below, _mm512_set1_epi64(8)));
  const __m512i coded = _mm512_mask_add_epi64(_mm512_add_epi64(digits, All(1)), block.negative,
                                              _mm512_sub_epi64(All(kBase + 1), digits), terminator);
  __m512i first = _mm512_xor_si512(
      exponent, _mm512_mask_set1_epi64(_mm512_set1_epi64(0x80), block.negative, 0x7F));
  __m512i length = _mm512_sub_epi64(_mm512_set1_epi64(9), _mm512_srli_epi64(below, 3));
  length = _mm512_mask_add_epi64(length, block.negative, length, _mm512_set1_epi64(1));
  first = _mm512_mask_set1_epi64(first, zero, kZeroByte);
  length = _mm512_mask_set1_epi64(length, zero, 1);
  length = _mm512_mask_set1_epi64(length, absent, 0);

  alignas(64) std::uint64_t mantissas[kBlock];
  alignas(8) std::uint8_t firsts[kBlock];
  _mm512_store_si512(mantissas, Reversed(coded));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(firsts), _mm512_cvtepi64_epi8(first));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(outlen), _mm512_cvtepi64_epi16(length));
  for (std::size_t i = 0; i < kBlock; ++i) {
    // kRowBytes, of which the next element overwrites what is not this one's.
    area[0] = firsts[i];
    std::memcpy(area + 1, &mantissas[i], sizeof mantissas[i]);
    area[1 + kBlock] = kTerminator;
    out[i] = area;
    area += outlen[i];
  }
  if (absent != 0) _mm512_mask_storeu_epi64(out, absent, _mm512_setzero_si512());
  return true;
}

}  // namespace kestra::number::avx512

#endif
