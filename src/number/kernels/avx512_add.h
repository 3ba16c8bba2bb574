// Addition and subtraction of all digits at once (AVX-512 VBMI).
//
// Both numbers are laid out in reversed order, the last place in lane 0, by one byte permutation
// each that also aligns them: lane 30 is the first digit of the larger exponent, lane 31 takes a
// carry. The bytes are added, and all carries come from one integer addition: with g the lanes
// above 99 and p the lanes equal to 99, the sum 2g + p carries through runs of 99s just as the
// digits do, and where it differs from p a one has to be added. Unlike signs subtract by adding the
// nine's complement: y becomes 99 - y in every lane, and the carry out of lane 31 tells the order.
// Set: x is larger, and the carry goes back into lane 0. Clear: y is larger or equal, and the
// complement of the sum is the result. So there is no comparison and no branch on the signs. Digits
// shifted out below lane 0 cannot matter but for the borrow they ask for: lane 0 is then at least
// the 31st place, and the difference, cut there, is rounded on its 21st digit.
#pragma once

#if defined(__x86_64__)

#include "number/kernels/avx512_number.h"

namespace kestra::number::avx512 {

inline constexpr std::uint32_t kFarthest =
    21;  // beyond, the smaller number cannot change the larger

inline constexpr std::uint32_t kNothingLost = 31 - kMaxDigits;

// Digit k goes to lane 30 - shift - k.
KES_AVX512 __m256i Align(const Loaded& number, std::uint32_t shift) noexcept {
  return _mm256_permutexvar_epi8(Row(kConstants.align + shift), number.digits);
}

// Do digits other than 0 fall out below lane 0?
KES_AVX512 bool LosesDigits(const Loaded& number, std::uint32_t shift) noexcept {
  const std::uint64_t nonzero = _mm256_test_epi8_mask(number.digits, number.digits);
  return (nonzero << shift) >> 31 != 0;
}

// x + y, or x - y with 1 in subtract. False: not a case for this kernel.
KES_AVX512 bool Add(const Loaded& x, const Loaded& y, std::uint32_t subtract,
                    Result& result) noexcept {
  const std::int32_t larger = x.exponent > y.exponent ? x.exponent : y.exponent;
  const auto x_shift = static_cast<std::uint32_t>(larger - x.exponent);
  const auto y_shift = static_cast<std::uint32_t>(larger - y.exponent);
  const std::uint32_t opposite = x.negative ^ y.negative ^ subtract;
  std::uint32_t lost = 0;
  if (x_shift + y_shift > kNothingLost) [[unlikely]] {
    if (x_shift + y_shift > kFarthest) return false;
    lost = opposite & (LosesDigits(x, x_shift) || LosesDigits(y, y_shift) ? 1u : 0u);
  }
  __m256i sum = _mm256_add_epi8(Align(x, x_shift), ComplementIf(opposite, Align(y, y_shift)));

  const std::uint32_t generate = _mm256_cmpgt_epu8_mask(sum, Row(kConstants.nines));
  const std::uint32_t propagate = _mm256_cmpeq_epi8_mask(sum, Row(kConstants.nines));
  const std::uint64_t carries = 2 * static_cast<std::uint64_t>(generate) + propagate;
  const auto x_larger = static_cast<std::uint32_t>(carries >> 32);  // where signs are opposite
  const std::uint32_t carry_in = (x_larger & opposite) ^ lost;
  const std::uint32_t raised = static_cast<std::uint32_t>(carries + carry_in) ^ propagate;
  sum = _mm256_mask_add_epi8(sum, raised, sum, Row(kConstants.ones));
  sum = _mm256_min_epu8(sum, _mm256_sub_epi8(sum, Row(kConstants.hundreds)));
  const std::uint32_t flip = opposite & ~x_larger;
  sum = ComplementIf(flip, sum);

  std::uint32_t nonzero = _mm256_test_epi8_mask(sum, sum);
  if (nonzero == 0) [[unlikely]] {
    result = Zero();
    return true;
  }
  std::uint32_t top = 31 - static_cast<std::uint32_t>(_lzcnt_u32(nonzero));
  std::int32_t exponent = larger - 30 + static_cast<std::int32_t>(top);
  if (top >= kMaxDigits && _bzhi_u32(nonzero, top - (kMaxDigits - 1)) != 0) {
    Round(sum, nonzero, top, exponent);
  }
  result = Finish(sum, nonzero, top, exponent, x.negative ^ flip);
  return true;
}

}  // namespace kestra::number::avx512

#endif
