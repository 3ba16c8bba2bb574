// Division in binary with a decimal quotient (x86-64, coded with AVX-512).
//
// The left-aligned mantissas become binary integers below 10^40 (three words). A chunk of the
// quotient, 16 decimal digits, is remainder * 10^16 / divisor: the divisor is shifted so that its
// top bit is set, so the hardware's division of the leading two words by its leading word is exact
// or one too large (what is left out is below 2^-63 of the divisor, times a quotient below 2^54).
// The first chunk takes 14 digits after the point, so that it holds the integer part, 0 to 99.
// Three chunks are 24 base-100 digits, of which the first or the second is not zero. No chunk needs
// converting to decimal but for splitting it in two.
#pragma once

#if defined(__x86_64__)

#include "number/kernels/avx512_limbs.h"
#include "number/limbs.h"

namespace kestra::number::avx512 {

using Wide = unsigned __int128;

inline constexpr std::uint64_t kTenTo14 = 100'000'000'000'000;
inline constexpr std::uint64_t kTenTo16 = kLimbBase * kLimbBase;

// (high, low) / divisor, below 2^64: high is below divisor.
KES_AVX512 std::uint64_t DivideWords(std::uint64_t high, std::uint64_t low, std::uint64_t divisor,
                                     std::uint64_t& rest) noexcept {
  std::uint64_t quotient;
  __asm__("divq %4" : "=a"(quotient), "=d"(rest) : "0"(low), "1"(high), "r"(divisor) : "cc");
  return quotient;
}

struct Words3 {
  std::uint64_t low, middle, high;
};

KES_AVX512 Words3 Times(const Words3& words, std::uint64_t factor) noexcept {
  const Wide a = static_cast<Wide>(words.low) * factor;
  const Wide b = static_cast<Wide>(words.middle) * factor + static_cast<std::uint64_t>(a >> 64);
  return {static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(b),
          words.high * factor + static_cast<std::uint64_t>(b >> 64)};
}

// a - b; returns whether it is negative.
KES_AVX512 bool SubtractFrom(Words3& a, const Words3& b) noexcept {
  unsigned long long low, middle, high;
  unsigned char borrow = _subborrow_u64(0, a.low, b.low, &low);
  borrow = _subborrow_u64(borrow, a.middle, b.middle, &middle);
  borrow = _subborrow_u64(borrow, a.high, b.high, &high);
  a = {low, middle, high};
  return borrow != 0;
}

KES_AVX512 void AddTo(Words3& a, const Words3& b) noexcept {
  unsigned long long low, middle, high;
  unsigned char carry = _addcarry_u64(0, a.low, b.low, &low);
  carry = _addcarry_u64(carry, a.middle, b.middle, &middle);
  _addcarry_u64(carry, a.high, b.high, &high);
  a = {low, middle, high};
}

// remainder * scale / divisor, a chunk of the quotient. shift brings the divisor's top bit to bit
// 191; lead is its top word then.
KES_AVX512 std::uint64_t NextChunk(Words3& remainder, const Words3& divisor, std::uint64_t scale,
                                   unsigned shift, std::uint64_t lead) noexcept {
  remainder = Times(remainder, scale);  // below 2^187
  // The four words of remainder << shift, of which the leading two are wanted. shift is 59 to 66
  // + 59.
  const unsigned bits = shift & 63;
  const Words3& r = remainder;
  std::uint64_t high, low;
  if (shift < 64) {
    high = r.high >> (64 - bits);
    low = r.high << bits | r.middle >> (64 - bits);
  } else if (bits == 0) {
    high = r.high;
    low = r.middle;
  } else {
    high = r.high << bits | r.middle >> (64 - bits);
    low = r.middle << bits | r.low >> (64 - bits);
  }
  std::uint64_t rest;
  std::uint64_t quotient = DivideWords(high, low, lead, rest);
  if (SubtractFrom(remainder, Times(divisor, quotient))) {
    --quotient;
    AddTo(remainder, divisor);
  }
  return quotient;
}

// limbs as PackLimbs gives them: five of 10^8 to a binary integer.
KES_AVX512 Words3 ToBinary(__m256i limbs) noexcept {
  const auto first = static_cast<std::uint64_t>(_mm256_extract_epi64(limbs, 0));
  const auto second = static_cast<std::uint64_t>(_mm256_extract_epi64(limbs, 1));
  const auto last = static_cast<std::uint32_t>(_mm256_extract_epi32(limbs, 4));
  const std::uint64_t a = (first & 0xFFFFFFFF) * kLimbBase + (first >> 32);
  const std::uint64_t b = (second & 0xFFFFFFFF) * kLimbBase + (second >> 32);
  const Wide top = static_cast<Wide>(a) * kTenTo16 + b;
  Words3 words =
      Times({static_cast<std::uint64_t>(top), static_cast<std::uint64_t>(top >> 64), 0}, kLimbBase);
  AddTo(words, {last, 0, 0});
  return words;
}

// Always true: every well-formed number is a case for this kernel.
KES_AVX512 bool Divide(const Loaded& x, const Loaded& y, Result& result) noexcept {
  const __m256i a = PackLimbs(x);
  const __m256i b = PackLimbs(y);
  std::uint64_t chunks[3] = {0, 0, 0};
  if (x.count <= 2 * kDigitsPerLimb && y.count <= 2 * kDigitsPerLimb) {
    const auto first = static_cast<std::uint64_t>(_mm256_extract_epi64(a, 0));
    const auto second = static_cast<std::uint64_t>(_mm256_extract_epi64(b, 0));
    std::uint64_t rest = (first & 0xFFFFFFFF) * kLimbBase + (first >> 32);
    const std::uint64_t divisor = (second & 0xFFFFFFFF) * kLimbBase + (second >> 32);
    std::uint64_t scale = kTenTo14;
    for (std::uint64_t& chunk : chunks) {
      const Wide scaled = static_cast<Wide>(rest) * scale;
      chunk = DivideWords(static_cast<std::uint64_t>(scaled >> 64),
                          static_cast<std::uint64_t>(scaled), divisor, rest);
      if (rest == 0) break;
      scale = kTenTo16;
    }
  } else {
    Words3 remainder = ToBinary(a);
    const Words3 divisor = ToBinary(b);
    // The divisor is at least 10^38: its top bit is in the word of bits 64-127 or above it.
    const Wide top = static_cast<Wide>(divisor.high) << 64 | divisor.middle;
    const unsigned shift = divisor.high != 0
                               ? static_cast<unsigned>(_lzcnt_u64(divisor.high))
                               : 64 + static_cast<unsigned>(_lzcnt_u64(divisor.middle));
    const unsigned bits = shift & 63;
    std::uint64_t lead = static_cast<std::uint64_t>(top << shift >> 64);
    if (shift >= 64 && bits != 0) lead |= divisor.low >> (64 - bits);
    std::uint64_t scale = kTenTo14;
    for (std::uint64_t& chunk : chunks) {
      chunk = NextChunk(remainder, divisor, scale, shift, lead);
      if ((remainder.low | remainder.middle | remainder.high) == 0) break;
      scale = kTenTo16;
    }
  }
  const auto high = [](std::uint64_t chunk) { return static_cast<long long>(chunk / kLimbBase); };
  const auto low = [](std::uint64_t chunk) { return static_cast<long long>(chunk % kLimbBase); };
  const __m512i limbs = _mm512_setr_epi64(0, 0, low(chunks[2]), high(chunks[2]), low(chunks[1]),
                                          high(chunks[1]), low(chunks[0]), high(chunks[0]));
  // x / y = d0 . d1 d2 ... times 100^(difference of exponents)
  result = RoundAndFinish(UnpackLimbs(limbs), 31, x.exponent - y.exponent + kExponentBias + 1,
                          x.negative ^ y.negative);
  return true;
}

}  // namespace kestra::number::avx512

#endif
