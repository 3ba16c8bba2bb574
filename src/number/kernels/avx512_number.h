// Loading and storing a NUMBER with AVX-512 (BW, VL, VBMI): what the kernels of this level share.
//
// The kernels take what arithmetic nearly always sees, well-formed finite numbers other than zero,
// and hand everything else to the scalar function. One masked load brings all digits in, without
// reading a byte that is not the number's own. Signs and shifts pick rows of small tables of
// vectors: one load, where broadcasting a byte from a general register would take several steps.
#pragma once

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "number/kernels/number_located.h"
#include "number/number_view.h"

#define KES_AVX512                                                                               \
  __attribute__((                                                                                \
      target("avx512f,avx512bw,avx512cd,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2," \
             "lzcnt,popcnt"))) __attribute__((always_inline)) inline
#define KES_AVX512_ENTRY                                                                         \
  __attribute__((                                                                                \
      target("avx512f,avx512bw,avx512cd,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2," \
             "lzcnt,popcnt")))

namespace kestra::number::avx512 {

// Mantissa byte to digit: (b ^ flip) less what is taken, not below 0. The terminator becomes 0, and
// bytes that are no digit become what ReadNumber makes of them, or something above 99.
struct alignas(128) Decoding {
  std::uint8_t flip[32];
  std::uint8_t take[32];
};

// What stored bytes mean: the digits 0 and 99, the least byte, what makes a digit one more.
struct alignas(32) ByteMeaning {
  std::uint8_t zero[32];
  std::uint8_t nine[32];
  std::uint8_t least[32];
  std::uint8_t one_more[32];
};

// Kept in memory, out of the compiler's sight: it would build each of them in a general register.
struct Constants {
  Decoding decode[2];  // [1] positive, [0] negative: the top bit of the first byte leads here
  // align + s: the order of lanes that puts digit k in lane 30 - s - k; lane 31 of a number is 0.
  alignas(64) std::uint8_t align[64];
  // unalign + 31 - top: the order that brings lane top - k back to byte k.
  alignas(64) std::uint8_t unalign[64];
  alignas(32) std::uint8_t ones[32], fifties[32], nines[32], hundreds[32], terminators[32];
  ByteMeaning meaning[2];  // [negative]
};
extern const Constants kConstants __attribute__((visibility("hidden")));

KES_AVX512 __m256i Row(const std::uint8_t* row) noexcept {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row));
}

// Digits to their nine's complement, 99 - d, if the flag is 1.
KES_AVX512 __m256i ComplementIf(std::uint32_t flag, __m256i digits) noexcept {
  return _mm256_mask_sub_epi8(digits, 0 - flag, Row(kConstants.nines), digits);
}

// Digits to mantissa bytes.
KES_AVX512 __m256i Encode(std::uint32_t negative, __m256i digits) noexcept {
  const __m256i positive = _mm256_add_epi8(digits, Row(kConstants.ones));
  return _mm256_mask_sub_epi8(positive, 0 - negative, Row(kConstants.terminators), positive);
}

// A number in a register: byte k of digits is digit k, counted from 0, and the others are 0.
struct Loaded {
  __m256i digits;
  std::uint32_t count;     // digits at most: one less when there is a terminator
  std::int32_t exponent;   // exponent byte of the absolute value
  std::uint32_t negative;  // 1 or 0
};

// Can it be one of the numbers that kernels take? There is a first digit, it is in range and not 0.
// Infinities are out of range there.
KES_AVX512 bool HasFirstDigit(Located x) noexcept {
  return x.size >= 2 && static_cast<std::uint32_t>(x.bytes[1]) - 2 <= kBase - 2;
}

// False: zero, infinite, or a digit out of range or 0 at the front. Other malformed numbers pass,
// as their value.
KES_AVX512 bool Load(Located x, Loaded& number) noexcept {
  if (x.size < 2) [[unlikely]]
    return false;
  const std::uint32_t first = x.bytes[0];
  const Decoding& decoding = *reinterpret_cast<const Decoding*>(
      reinterpret_cast<const std::uint8_t*>(kConstants.decode) + (first & 0x80));
  number.negative = (first >> 7) ^ 1;
  number.exponent = static_cast<std::int32_t>((first ^ (0 - number.negative)) & 0xFF);
  number.count = x.size - 1;
  const std::uint32_t places = _bzhi_u32(~0u, number.count);
  const __m256i raw = _mm256_maskz_loadu_epi8(places, x.bytes + 1);
  number.digits =
      _mm256_maskz_subs_epu8(places, _mm256_xor_si256(raw, Row(decoding.flip)), Row(decoding.take));
  const std::uint32_t wrong = _mm256_cmpgt_epu8_mask(number.digits, Row(kConstants.nines));
  const int first_digit = _mm_cvtsi128_si32(_mm256_castsi256_si128(number.digits)) & 0xFF;
  return wrong == 0 && first_digit != 0;
}

inline constexpr std::int32_t kLowestExponent = 128;  // as a byte of a positive number

// A number to be stored: the exponent byte, and the bytes after it.
struct Result {
  __m256i mantissa;
  std::uint32_t length;  // with the exponent byte
  std::uint8_t first;
};

KES_AVX512 Result Zero() noexcept { return {_mm256_setzero_si256(), 1, kZeroByte}; }

KES_AVX512 Result Infinity(std::uint32_t negative) noexcept {
  if (negative != 0) return {_mm256_setzero_si256(), 1, 0};
  return {_mm256_castsi128_si256(_mm_cvtsi32_si128(101)), 2, 0xFF};
}

// Rounds the digits of lane top and below to 20 of them. May raise top and the exponent by one, but
// never from underflow: what is too small before rounding becomes zero. Lanes that nonzero no
// longer has keep what they had: below its lowest bit nothing is stored.
KES_AVX512 void Round(__m256i& lanes, std::uint32_t& nonzero, std::uint32_t& top,
                      std::int32_t& exponent) noexcept {
  if (exponent < kLowestExponent) [[unlikely]]
    return;
  const std::uint32_t last = top - (kMaxDigits - 1);  // at least 1
  const std::uint32_t half_or_more = _mm256_cmpge_epu8_mask(lanes, Row(kConstants.fifties));
  const std::uint32_t kept = ~0u << last;
  const std::uint32_t nines = _mm256_cmpeq_epi8_mask(lanes, Row(kConstants.nines)) & kept;
  const std::uint32_t one = ((half_or_more >> (last - 1)) & 1) << last;
  const std::uint32_t raised = (nines + one) ^ nines;
  const std::uint32_t wrapped = raised & nines;
  lanes = _mm256_mask_add_epi8(lanes, raised, lanes, Row(kConstants.ones));
  nonzero = ((nonzero & kept) | raised) & ~wrapped;
  const std::uint32_t first = 31 - static_cast<std::uint32_t>(_lzcnt_u32(nonzero));
  exponent += static_cast<std::int32_t>(first - top);
  top = first;
}

// Digits in reversed order, lane top (the first digit, not 0) down to lane top - 19; nonzero has
// the lanes of those other than 0 and no others. exponent is that of the absolute value as a byte,
// or outside of one.
KES_AVX512 Result Finish(__m256i lanes, std::uint32_t nonzero, std::uint32_t top,
                         std::int32_t exponent, std::uint32_t negative) noexcept {
  if (static_cast<std::uint32_t>(exponent - kLowestExponent) > 127) [[unlikely]] {
    return exponent < kLowestExponent ? Zero() : Infinity(negative);
  }
  const std::uint32_t count = top + 1 - static_cast<std::uint32_t>(_tzcnt_u32(nonzero));
  const __m256i mantissa =
      _mm256_mask_permutexvar_epi8(Row(kConstants.terminators), _bzhi_u32(~0u, count),
                                   Row(kConstants.unalign + 31 - top), Encode(negative, lanes));
  const std::uint32_t terminator = negative & (count < kMaxDigits ? 1u : 0u);
  return {mantissa, 1 + count + terminator,
          static_cast<std::uint8_t>(static_cast<std::uint32_t>(exponent) ^ (0 - negative))};
}

// Writes exactly the result, in the form that outlen asks for.
KES_AVX512 void Store(const Result& result, std::uint8_t* out, std::size_t* outlen) noexcept {
  if (outlen == nullptr) {
    *out++ = static_cast<std::uint8_t>(result.length);
  } else {
    *outlen = result.length;
  }
  *out = result.first;
  _mm256_mask_storeu_epi8(out + 1, _bzhi_u32(~0u, result.length - 1), result.mantissa);
}

}  // namespace kestra::number::avx512

#endif
