// Loading and storing a NUMBER with AVX-512 (BW, VL, VBMI): what the kernels of this level share.
//
// The kernels take what arithmetic nearly always sees, well-formed finite numbers other than zero,
// and hand everything else to the scalar function. One masked load of at most 21 bytes brings a
// number in, without reading a byte that is not its own.
#pragma once

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "number/number_view.h"

#define KES_AVX512                                                                              \
  __attribute__((target(                                                                        \
      "avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2,lzcnt,popcnt"))) \
  __attribute__((always_inline)) inline
#define KES_AVX512_ENTRY \
  __attribute__((target( \
      "avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2,lzcnt,popcnt")))

namespace kestra::number::avx512 {

// A pointer and a length as callers give them, made one form: 1..21 bytes, or size 0 for the scalar
// function.
struct Located {
  const std::uint8_t* bytes;
  std::uint32_t size;
};

KES_AVX512 Located Locate(const std::uint8_t* x, std::size_t xlen) noexcept {
  if (x == nullptr) return {nullptr, 0};
  if (xlen == 0) xlen = *x++;
  return {x, xlen <= kMaxBytes ? static_cast<std::uint32_t>(xlen) : 0};
}

// A number in a register: byte k of digits is the k-th digit, k = 1..20, the others are 0.
struct Loaded {
  __m256i digits;
  std::uint32_t nonzero;   // bit k: digit k is not 0
  std::uint32_t count;     // digits
  std::int32_t exponent;   // exponent byte of the absolute value
  std::uint32_t negative;  // all ones or 0
  bool regular;            // well formed, finite, not zero; else the rest means nothing
};

KES_AVX512 __m256i Broadcast(std::uint32_t byte) noexcept {
  return _mm256_set1_epi8(static_cast<char>(byte));
}

KES_AVX512 Loaded Load(Located x) noexcept {
  Loaded number;
  const std::uint32_t all = _bzhi_u32(~0u, x.size);
  const std::uint32_t body = all & ~1u;
  const __m256i raw = _mm256_maskz_loadu_epi8(all, x.bytes);
  const __m256i first = _mm256_broadcastb_epi8(_mm256_castsi256_si128(raw));
  const __m256i sign = _mm256_cmpgt_epi8(first, Broadcast(0xFF));  // below 128: negative
  // Positive b - 1; negative 101 - b, which is ~b + 102. The terminator becomes 255.
  const __m256i digits = _mm256_add_epi8(
      _mm256_xor_si256(raw, sign),
      _mm256_add_epi8(Broadcast(0xFF), _mm256_and_si256(sign, Broadcast(kTerminator + 1))));
  const std::uint32_t valid = _mm256_mask_cmple_epu8_mask(body, digits, Broadcast(kBase - 1));
  const std::uint32_t end = _mm256_mask_cmpeq_epi8_mask(body, digits, Broadcast(0xFF));
  number.digits = _mm256_maskz_mov_epi8(valid, digits);
  number.nonzero = _mm256_test_epi8_mask(number.digits, number.digits);
  const auto exponent =
      static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(raw)) & 0xFF);
  number.negative = (exponent >> 7) - 1;
  number.exponent = static_cast<std::int32_t>((exponent ^ number.negative) & 0xFF);
  number.count = static_cast<std::uint32_t>(_mm_popcnt_u32(valid));
  const std::uint32_t invalid = valid ^ body;
  const std::uint32_t terminator = number.negative & (1u << ((x.size - 1) & 31));
  const bool ended = ((invalid ^ terminator) | (end ^ terminator)) == 0 ||
                     (number.negative != 0 && x.size == kMaxBytes && invalid == 0);
  number.regular = ended && x.size != 0 && (number.nonzero & 2) != 0;
  return number;
}

// What a kernel did: the number's bytes in a register, and how many.
struct Result {
  __m256i bytes;
  std::uint32_t length;
};

KES_AVX512 Result Special(std::uint32_t length, std::uint32_t bytes) noexcept {
  return {_mm256_castsi128_si256(_mm_cvtsi32_si128(static_cast<int>(bytes))), length};
}
KES_AVX512 Result Zero() noexcept { return Special(1, kZeroByte); }
KES_AVX512 Result Infinity(std::uint32_t negative) noexcept {
  return negative != 0 ? Special(1, 0) : Special(2, 0x65FF);
}

// Rounds the digits of lane top and below to 20 of them. May raise top by one.
KES_AVX512 void Round(__m256i& lanes, std::uint32_t& nonzero, std::uint32_t& top) noexcept {
  const std::uint32_t last = top - (kMaxDigits - 1);  // at least 1
  const std::uint32_t half_or_more = _mm256_cmpge_epu8_mask(lanes, Broadcast(kBase / 2));
  const std::uint32_t kept = ~0u << last;
  const std::uint32_t nines = _mm256_cmpeq_epi8_mask(lanes, Broadcast(kBase - 1)) & kept;
  const std::uint32_t one = ((half_or_more >> (last - 1)) & 1) << last;
  const std::uint32_t raised = (nines + one) ^ nines;
  const std::uint32_t wrapped = raised & nines;
  lanes = _mm256_maskz_sub_epi8(kept & ~wrapped, lanes, _mm256_movm_epi8(raised));
  nonzero = ((nonzero & kept) | raised) & ~wrapped;
  top = 31 - static_cast<std::uint32_t>(_lzcnt_u32(nonzero));
}

// Digits in reversed order, lane top (the first digit, not 0) down to lane top - 19; nonzero has
// their non-zero lanes and no others. exponent is that of the absolute value as a byte, already
// tested against underflow.
KES_AVX512 Result Finish(__m256i lanes, std::uint32_t nonzero, std::uint32_t top,
                         std::int32_t exponent, std::uint32_t negative) noexcept {
  if (exponent > 255) [[unlikely]]
    return Infinity(negative);
  const auto bottom = static_cast<std::uint32_t>(_tzcnt_u32(nonzero));
  const std::uint32_t count = top - bottom + 1;
  const __m256i iota = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                        17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
  // Positive d + 1; negative 101 - d, which is ~d + 102.
  const __m256i coded = _mm256_add_epi8(_mm256_xor_si256(lanes, Broadcast(negative)),
                                        Broadcast(negative != 0 ? kTerminator : 1u));
  const __m256i order = _mm256_sub_epi8(Broadcast(top + 1), iota);
  const std::uint32_t places = _bzhi_u32(~1u, count + 1);
  __m256i bytes = _mm256_mask_permutexvar_epi8(Broadcast(kTerminator), places, order, coded);
  bytes = _mm256_mask_set1_epi8(bytes, 1,
                                static_cast<char>(static_cast<std::uint32_t>(exponent) ^ negative));
  const std::uint32_t terminator = (negative & 1) & (count < kMaxDigits ? 1u : 0u);
  return {bytes, 1 + count + terminator};
}

// Writes exactly the result, in the form that outlen asks for.
KES_AVX512 void Store(Result result, std::uint8_t* out, std::size_t* outlen) noexcept {
  if (outlen == nullptr) {
    *out++ = static_cast<std::uint8_t>(result.length);
  } else {
    *outlen = result.length;
  }
  _mm256_mask_storeu_epi8(out, _bzhi_u32(~0u, result.length), result.bytes);
}

}  // namespace kestra::number::avx512

#endif
