// Eight 128- or 192-bit elements as registers of words: register k holds word k of each of them, so
// that a comparison of elements is a comparison of registers, the most significant first, and the
// null bits of eight elements are the mask of their lanes. Included by ldsb_avx512.cc alone.
//
// Example: the minimum of 128-bit elements. Lanes whose upper word is below that of the running
// minimum are smaller; so are those of equal upper words with the lower one, unsigned, below. Five
// instructions for eight elements; comparing them in place takes ten for four.
#pragma once

#include "number/kernels/ldsb_lanes_avx512.h"

namespace kestra::number::dsb {

inline constexpr std::size_t kWordLanes = 8;

template <std::size_t kWords>
struct Words {
  __m512i word[kWords];
};

// Which lanes make a register of words, and back a register of elements: those of two registers
// first, then those of a third.
struct LaneChoice {
  std::int64_t from_two[kWordLanes];
  std::int64_t from_third[kWordLanes];
};
// place: 8 * register + lane.
constexpr void SetLane(LaneChoice& choice, std::size_t lane, std::size_t place) noexcept {
  const bool early = place < 2 * kWordLanes;
  choice.from_two[lane] = static_cast<std::int64_t>(early ? place : 0);
  choice.from_third[lane] = static_cast<std::int64_t>(early ? lane : place - kWordLanes);
}

template <std::size_t kWords>
struct WordOrder {
  LaneChoice to_words[kWords];
  LaneChoice to_elements[kWords];
};
template <std::size_t kWords>
constexpr WordOrder<kWords> MakeWordOrder() noexcept {
  WordOrder<kWords> order = {};
  for (std::size_t k = 0; k < kWords; ++k) {
    for (std::size_t lane = 0; lane < kWordLanes; ++lane) {
      SetLane(order.to_words[k], lane, kWords * lane + k);
      const std::size_t word = kWordLanes * k + lane;  // of all that lie in memory
      SetLane(order.to_elements[k], lane, kWordLanes * (word % kWords) + word / kWords);
    }
  }
  return order;
}
template <std::size_t kWords>
alignas(64) inline constexpr WordOrder<kWords> kWordOrder = MakeWordOrder<kWords>();

template <std::size_t kWords>
KES_DSB_LANE __m512i ChooseLanes(const __m512i (&registers)[kWords],
                                 const LaneChoice& choice) noexcept {
  const __m512i chosen =
      _mm512_permutex2var_epi64(registers[0], _mm512_load_si512(choice.from_two), registers[1]);
  if constexpr (kWords == 2) return chosen;
  return _mm512_permutex2var_epi64(chosen, _mm512_load_si512(choice.from_third),
                                   registers[kWords - 1]);
}

// The first count elements at p, at most eight; other lanes are 0.
template <std::size_t kWords>
KES_DSB_LANE Words<kWords> LoadWords(const void* p, std::size_t count) noexcept {
  __m512i registers[kWords];
  const auto* from = static_cast<const std::int64_t*>(p);
#pragma GCC unroll 3
  for (std::size_t k = 0; k < kWords; ++k) {
    if (count >= kWordLanes) {
      registers[k] = _mm512_loadu_si512(from + kWordLanes * k);
    } else {
      const unsigned lanes = (1u << kWords * count) - 1;
      registers[k] = _mm512_maskz_loadu_epi64(static_cast<__mmask8>(lanes >> kWordLanes * k),
                                              from + kWordLanes * k);
    }
  }
  Words<kWords> result;
#pragma GCC unroll 3
  for (std::size_t k = 0; k < kWords; ++k) {
    result.word[k] = ChooseLanes<kWords>(registers, kWordOrder<kWords>.to_words[k]);
  }
  return result;
}

// The lanes of mask in which x is below y.
template <std::size_t kWords>
KES_DSB_LANE __mmask8 BelowWords(__mmask8 mask, const Words<kWords>& x,
                                 const Words<kWords>& y) noexcept {
  const __m512i& x_top = x.word[kWords - 1];
  const __m512i& y_top = y.word[kWords - 1];
  __mmask8 below = _mm512_mask_cmplt_epi64_mask(mask, x_top, y_top);
  __mmask8 equal = _mm512_mask_cmpeq_epi64_mask(mask, x_top, y_top);
  if constexpr (kWords == 3) {
    below = _kor_mask8(below, _mm512_mask_cmplt_epu64_mask(equal, x.word[1], y.word[1]));
    equal = _mm512_mask_cmpeq_epi64_mask(equal, x.word[1], y.word[1]);
  }
  below = _kor_mask8(below, _mm512_mask_cmplt_epu64_mask(equal, x.word[0], y.word[0]));
  return below;
}

template <std::size_t kWords>
KES_DSB_LANE void AssignWords(__mmask8 mask, Words<kWords>& to,
                              const Words<kWords>& from) noexcept {
#pragma GCC unroll 3
  for (std::size_t k = 0; k < kWords; ++k) {
    to.word[k] = _mm512_mask_mov_epi64(to.word[k], mask, from.word[k]);
  }
}

template <std::size_t kWords>
KES_DSB_LANE Words<kWords> FillWords(const Int192& value) noexcept {
  Words<kWords> result;
  for (std::size_t k = 0; k < kWords; ++k) {
    result.word[k] = _mm512_set1_epi64(static_cast<std::int64_t>(value.w[k]));
  }
  return result;
}

// Elements to where they lie in memory; those that are not in mask are not written.
template <std::size_t kWords>
KES_DSB_LANE void StoreWords(void* p, __mmask8 mask, const Words<kWords>& x) noexcept {
  const unsigned lanes = kWords == 2 ? _pdep_u32(mask, 0x5555) * 3 : _pdep_u32(mask, 0x249249) * 7;
#pragma GCC unroll 3
  for (std::size_t k = 0; k < kWords; ++k) {
    _mm512_mask_storeu_epi64(static_cast<std::int64_t*>(p) + kWordLanes * k,
                             static_cast<__mmask8>(lanes >> kWordLanes * k),
                             ChooseLanes<kWords>(x.word, kWordOrder<kWords>.to_elements[k]));
  }
}

// One lane as an integer.
template <std::size_t kWords>
KES_DSB_LANE Int192 LaneOf(const std::uint64_t (&words)[kWords][kWordLanes],
                           std::size_t lane) noexcept {
  if constexpr (kWords == 3) return {words[0][lane], words[1][lane], words[2][lane]};
  const auto sign = static_cast<std::int64_t>(words[1][lane]) >> 63;
  return {words[0][lane], words[1][lane], static_cast<std::uint64_t>(sign)};
}

// Running extremes of elements, in each lane for itself until Merge.
template <std::size_t kWords>
struct WordExtremes {
  Words<kWords> lo;
  Words<kWords> hi;
};

template <std::size_t kWords>
KES_DSB_LANE WordExtremes<kWords> NoExtremes() noexcept {
  constexpr int kBits = 64 * static_cast<int>(kWords);
  return {FillWords<kWords>(MaximumOf(kBits)), FillWords<kWords>(MinimumOf(kBits))};
}

template <std::size_t kWords>
KES_DSB_LANE void AddExtremes(WordExtremes<kWords>& extremes, __mmask8 mask,
                              const Words<kWords>& x) noexcept {
  AssignWords<kWords>(BelowWords<kWords>(mask, x, extremes.lo), extremes.lo, x);
  AssignWords<kWords>(BelowWords<kWords>(mask, extremes.hi, x), extremes.hi, x);
}

template <std::size_t kWords>
KES_DSB_TARGET [[gnu::noinline]] void Merge(const WordExtremes<kWords>& extremes,
                                            ldsbminmax* minmax) noexcept {
  std::uint64_t lows[kWords][kWordLanes];
  std::uint64_t highs[kWords][kWordLanes];
  for (std::size_t k = 0; k < kWords; ++k) {
    _mm512_storeu_si512(lows[k], extremes.lo.word[k]);
    _mm512_storeu_si512(highs[k], extremes.hi.word[k]);
  }
  Int192 low = LaneOf<kWords>(lows, 0);
  Int192 high = LaneOf<kWords>(highs, 0);
  for (std::size_t lane = 1; lane < kWordLanes; ++lane) {
    const Int192 x = LaneOf<kWords>(lows, lane);
    const Int192 y = LaneOf<kWords>(highs, lane);
    AssignIf(x < low, low, x);
    AssignIf(high < y, high, y);
  }
  MergeWide(minmax, low, high);
}

template <std::size_t kWords>
KES_DSB_LANE Words<kWords> AddWords(const Words<kWords>& x, const Words<kWords>& y) noexcept {
  const __m512i ones = _mm512_set1_epi64(-1);
  Words<kWords> sum;
  sum.word[0] = _mm512_add_epi64(x.word[0], y.word[0]);
  __mmask8 carry = _mm512_cmplt_epu64_mask(sum.word[0], x.word[0]);
#pragma GCC unroll 2
  for (std::size_t k = 1; k < kWords; ++k) {
    const __m512i part = _mm512_add_epi64(x.word[k], y.word[k]);
    sum.word[k] = _mm512_mask_sub_epi64(part, carry, part, ones);
    if (k + 1 == kWords) break;
    carry = _kor_mask8(_mm512_cmplt_epu64_mask(part, x.word[k]),
                       _mm512_mask_cmpeq_epi64_mask(carry, part, ones));
  }
  return sum;
}

template <std::size_t kWords>
KES_DSB_LANE Words<kWords> SubtractWords(const Words<kWords>& x, const Words<kWords>& y) noexcept {
  const __m512i ones = _mm512_set1_epi64(-1);
  Words<kWords> difference;
  difference.word[0] = _mm512_sub_epi64(x.word[0], y.word[0]);
  __mmask8 borrow = _mm512_cmplt_epu64_mask(x.word[0], y.word[0]);
#pragma GCC unroll 2
  for (std::size_t k = 1; k < kWords; ++k) {
    const __m512i part = _mm512_sub_epi64(x.word[k], y.word[k]);
    difference.word[k] = _mm512_mask_add_epi64(part, borrow, part, ones);
    if (k + 1 == kWords) break;
    borrow = _kor_mask8(_mm512_cmplt_epu64_mask(x.word[k], y.word[k]),
                        _mm512_mask_cmpeq_epi64_mask(borrow, x.word[k], y.word[k]));
  }
  return difference;
}

// The low and high words of eight 64-bit by 64-bit unsigned products, from 32-bit halves (Knuth,
// The Art of Computer Programming, 4.3.1, algorithm M).
KES_DSB_LANE Words<2> MultiplyOne(__m512i x, __m512i y) noexcept {
  const __m512i low_half = _mm512_set1_epi64(0xFFFFFFFF);
  const __m512i x_high = _mm512_srli_epi64(x, 32);
  const __m512i y_high = _mm512_srli_epi64(y, 32);
  const __m512i low = _mm512_mul_epu32(x, y);
  const __m512i cross = _mm512_mul_epu32(x_high, y);
  const __m512i other = _mm512_mul_epu32(x, y_high);
  const __m512i high = _mm512_mul_epu32(x_high, y_high);
  const __m512i middle = _mm512_add_epi64(cross, _mm512_srli_epi64(low, 32));  // below 2^64
  const __m512i carry = _mm512_add_epi64(other, _mm512_and_si512(middle, low_half));
  return {{_mm512_mullo_epi64(x, y),
           _mm512_add_epi64(_mm512_add_epi64(high, _mm512_srli_epi64(middle, 32)),
                            _mm512_srli_epi64(carry, 32))}};
}

// Modulo the width, where signs make no difference.
KES_DSB_LANE Words<2> MultiplyWords(const Words<2>& x, const Words<2>& y) noexcept {
  Words<2> product = MultiplyOne(x.word[0], y.word[0]);
  product.word[1] =
      _mm512_add_epi64(product.word[1], _mm512_add_epi64(_mm512_mullo_epi64(x.word[0], y.word[1]),
                                                         _mm512_mullo_epi64(x.word[1], y.word[0])));
  return product;
}
KES_DSB_LANE Words<3> MultiplyWords(const Words<3>& x, const Words<3>& y) noexcept {
  const Words<2> low = MultiplyOne(x.word[0], y.word[0]);
  const Words<2> cross = MultiplyOne(x.word[0], y.word[1]);
  const Words<2> other = MultiplyOne(x.word[1], y.word[0]);
  const __m512i top = _mm512_add_epi64(_mm512_mullo_epi64(x.word[1], y.word[1]),
                                       _mm512_add_epi64(_mm512_mullo_epi64(x.word[0], y.word[2]),
                                                        _mm512_mullo_epi64(x.word[2], y.word[0])));
  const Words<2> middle = AddWords<2>(AddWords<2>({{low.word[1], top}}, cross), other);
  return {{low.word[0], middle.word[0], middle.word[1]}};
}

}  // namespace kestra::number::dsb
