// Comparisons of columns, element by element, and of a column's extremes with a constant.
#include "number/ldsb_operand.h"

namespace kestra::number::dsb {
namespace {

// Sign of x * 100^power - y, exactly: the product is formed in 32-bit words, 384 bits of them.
int CompareScaled(const Int192& x, int power, const Int192& y) noexcept {
  if (x.IsNegative() != y.IsNegative()) return x.IsNegative() ? -1 : 1;
  constexpr int kWords = 6;
  const ldsbint a = ToPublic(Magnitude(x));
  const ldsbint b = ToPublic(PowerOf100(power));
  const ldsbint other = ToPublic(Magnitude(y));
  std::uint32_t product[2 * kWords] = {};
  for (int i = 0; i < kWords; ++i) {
    std::uint64_t carry = 0;
    for (int j = 0; j < kWords; ++j) {
      carry += std::uint64_t{a.word[i]} * b.word[j] + product[i + j];
      product[i + j] = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    product[i + kWords] = static_cast<std::uint32_t>(carry);
  }
  const int sign = x.IsNegative() ? -1 : 1;
  for (int i = 2 * kWords - 1; i >= 0; --i) {
    const std::uint32_t wanted = i < kWords ? other.word[i] : 0;
    if (product[i] != wanted) return product[i] < wanted ? -sign : sign;
  }
  return 0;
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvcompare(const ldsbctx* ctx, uint32_t relation, const ldsbvector* left,
                 const ldsbvector* right, uint8_t* matches, size_t* matched) noexcept {
  if (!HasTag(*left) || !HasTag(*right)) return KES_DSB_TAG;
  if (relation > (KES_DSB_BELOW | KES_DSB_EQUAL | KES_DSB_ABOVE)) return KES_DSB_OPERATION;
  Operand x;
  Operand y;
  std::size_t count = 0;
  int status = TakeOperand(*left, false, &x);
  if (status == KES_DSB_OK) status = TakeOperand(*right, false, &y);
  if (status == KES_DSB_OK) status = CountOf(x, y, &count);
  if (status == KES_DSB_OK) status = AlignScales(&x, &y);
  if (status != KES_DSB_OK) return status;
  const int precision = x.precision > y.precision ? x.precision : y.precision;
  const bool swap = x.scalar() && !y.scalar();  // the kernel takes one element on the right
  if (swap) {
    relation = (relation & KES_DSB_EQUAL) | (relation & KES_DSB_BELOW) << 2 |
               (relation & KES_DSB_ABOVE) >> 2;
  }
  const Operand& first_operand = swap ? y : x;
  const Operand& second_operand = swap ? x : y;
  const CompareKernel kernel =
      FindKernel([precision](const Kernels& k) { return k.compare[precision - 1]; });
  std::size_t found = 0;
  const auto run = [&](std::size_t first, std::size_t n, const void* a, const void* b) {
    const std::uint8_t* nulls = NullsOf(first_operand.vector);
    kernel(n, a, b, second_operand.scalar(), relation,
           nulls == nullptr ? nullptr : nulls + first / 8, matches + first / 8);
    const std::uint8_t* more = NullsOf(second_operand.vector);
    for (std::size_t i = first / 8; i < (first + n + 7) / 8; ++i) {
      if (more != nullptr) matches[i] = static_cast<std::uint8_t>(matches[i] & ~more[i]);
    }
    found += CountBits(matches + first / 8, n);
  };
  status = ForEachBlock(ContextOf(ctx), Reader(first_operand, precision),
                        Reader(second_operand, precision), count, run);
  if (status == KES_DSB_OK && matched != nullptr) *matched = found;
  return status;
}

int ldsbvcompare_minmax_sb8(const ldsbctx*, const ldsbvector* vector, int64_t value,
                            int32_t scale) noexcept {
  const int status = CheckReadable(*vector);
  if (status != KES_DSB_OK) return status;
  const std::int64_t difference = std::int64_t{vector->scale} - scale;
  if (difference > kMaxPower || difference < -kMaxPower) return KES_DSB_RANGE;
  if (vector->extremes.state == KES_DSB_EXTREMES_NONE) return 0;
  const bool known = IsKnown(*vector);
  const int bits = 8 * kWidths[vector->precision];
  const Int192 extremes[] = {known ? FromPublic(vector->extremes.min) : MinimumOf(bits),
                             known ? FromPublic(vector->extremes.max) : MaximumOf(bits)};
  int signs[2];
  for (int i = 0; i < 2; ++i) {
    signs[i] = difference >= 0
                   ? CompareScaled(extremes[i], static_cast<int>(difference), Int192(value))
                   : -CompareScaled(Int192(value), static_cast<int>(-difference), extremes[i]);
  }
  int answer = 0;
  if (signs[0] < 0) answer |= KES_DSB_BELOW;
  if (signs[0] <= 0 && signs[1] >= 0) answer |= KES_DSB_EQUAL;
  if (signs[1] > 0) answer |= KES_DSB_ABOVE;
  return answer;
}
