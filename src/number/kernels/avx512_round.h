// Rounding at a decimal place, on the stored bytes (AVX-512).
//
// Nothing is decoded: the result is a prefix of the number with one byte changed. Rounded down, it
// ends at the last kept digit that is not 0. Rounded up, at the last one that is not 99, which
// becomes one more; the 99s after it would become zeros, which are not stored. Both are the highest
// bit of a mask of lanes. Where the place lies inside a byte, the byte is rounded by table first.
#pragma once

#if defined(__x86_64__)

#include "kestra/number_tables.h"
#include "number/decimal_arithmetic.h"
#include "number/kernels/avx512_number.h"

namespace kestra::number::avx512 {

// A byte rounded to a multiple of ten; more: digits other than 0 follow.
template <Rounding rounding>
KES_AVX512 std::uint8_t RoundByte(std::uint8_t byte, bool negative, bool more) noexcept {
  if constexpr (rounding == Rounding::kTruncate) {
    return (negative ? LnxqTruncate_N : LnxqTruncate_P)[byte];
  }
  if (rounding == Rounding::kHalfEven && !more) {
    return (negative ? LnxqRound2e_N : LnxqRound2e_P)[byte];
  }
  return (negative ? LnxqRound_N : LnxqRound_P)[byte];
}

// False: not a case for this kernel, which leaves what is below the place to the scalar one.
template <Rounding rounding>
KES_AVX512 bool RoundAtPlace(Located x, int places, Result& result) noexcept {
  if (!HasFirstDigit(x)) [[unlikely]]
    return false;
  const std::uint32_t first = x.bytes[0];
  const std::uint32_t negative = (first >> 7) ^ 1;
  const auto exponent = static_cast<std::int32_t>((first ^ (0 - negative)) & 0xFF);
  const std::int32_t inside =
      places & 1;  // an odd place lies inside a byte, of which the tens stay
  const std::int32_t end = exponent - kExponentBias + (places >> 1) + inside;
  if (end < inside) [[unlikely]]
    return false;
  const std::uint32_t ended = negative & (x.bytes[x.size - 1] == kTerminator ? 1u : 0u);
  const auto count = static_cast<std::int32_t>(x.size - 1 - ended);
  const std::uint32_t held = _bzhi_u32(~0u, static_cast<std::uint32_t>(count));
  const ByteMeaning& meaning = kConstants.meaning[negative];
  __m256i bytes = _mm256_maskz_loadu_epi8(held, x.bytes + 1);
  if (_mm256_mask_cmpgt_epu8_mask(held, _mm256_sub_epi8(bytes, Row(meaning.least)),
                                  Row(kConstants.nines)) != 0) [[unlikely]] {
    return false;
  }
  const std::uint32_t digits = _mm256_mask_cmpneq_epi8_mask(held, bytes, Row(meaning.zero));

  std::int32_t keep = end < count ? end : count;
  std::uint32_t up = 0;
  std::uint32_t nonzero = digits;
  if (inside != 0) {
    const std::uint32_t cut = end <= count ? 1u : 0u;
    const std::uint8_t byte =
        RoundByte<rounding>(x.bytes[keep], negative != 0, (digits >> keep) != 0);
    const std::uint32_t lane = cut << (keep - 1);
    bytes = _mm256_mask_set1_epi8(bytes, lane, static_cast<char>(byte));
    if constexpr (rounding != Rounding::kTruncate) {
      up = cut & (byte == (negative != 0 ? 1 : kBase + 1) ? 1u : 0u);
      keep -= static_cast<std::int32_t>(up);
    }
    const std::uint32_t is_zero = byte == meaning.zero[0] ? lane : 0;
    nonzero &= ~is_zero;
  } else if constexpr (rounding != Rounding::kTruncate) {
    const std::int32_t next = end < count ? end : count - 1;
    const std::int32_t byte = x.bytes[1 + next];
    const std::int32_t digit = negative != 0 ? kBase + 1 - byte : byte - 1;
    up = (digit >= kBase / 2 ? 1u : 0u) & (end < count ? 1u : 0u);
    if (rounding == Rounding::kHalfEven && digit == kBase / 2 && digits >> next == 1) {
      up &= next > 0 ? static_cast<std::uint32_t>(x.bytes[next]) + 1 : 0u;
    }
  }
  const std::uint32_t kept = _bzhi_u32(~0u, static_cast<std::uint32_t>(keep));
  std::uint32_t candidates = nonzero & kept;
  if constexpr (rounding != Rounding::kTruncate) {
    const std::uint32_t not_nine = _mm256_cmpneq_epi8_mask(bytes, Row(meaning.nine)) & kept;
    candidates = up != 0 ? not_nine : candidates;
  }
  if (candidates == 0) [[unlikely]] {
    if (up == 0) {
      result = Zero();
    } else if (exponent == 255) {
      result = Infinity(negative);
    } else {  // all nines: one unit of the place before them
      const __m256i one = _mm256_sub_epi8(
          Row(meaning.zero), _mm256_sub_epi8(_mm256_setzero_si256(), Row(meaning.one_more)));
      result = {
          _mm256_mask_mov_epi8(Row(kConstants.terminators), 1, one), 2 + negative,
          static_cast<std::uint8_t>(static_cast<std::uint32_t>(exponent + 1) ^ (0 - negative))};
    }
    return true;
  }
  const std::uint32_t left = 32 - static_cast<std::uint32_t>(_lzcnt_u32(candidates));
  if constexpr (rounding != Rounding::kTruncate) {
    bytes = _mm256_mask_add_epi8(bytes, up << (left - 1), bytes, Row(meaning.one_more));
  }
  const std::uint32_t terminator = negative & (left < kMaxDigits ? 1u : 0u);
  result = {_mm256_mask_mov_epi8(Row(kConstants.terminators), _bzhi_u32(~0u, left), bytes),
            1 + left + terminator, static_cast<std::uint8_t>(first)};
  return true;
}

}  // namespace kestra::number::avx512

#endif
