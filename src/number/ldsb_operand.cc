#include "number/ldsb_operand.h"

namespace kestra::number::dsb {

int TakeOperand(const ldsbvector& vector, bool any_value, Operand* operand) noexcept {
  const int status = CheckReadable(vector);
  if (status != KES_DSB_OK) return status;
  operand->vector = vector;
  operand->precision = vector.precision;
  operand->scale = vector.scale;
  operand->any_value = any_value || vector.extremes.state == KES_DSB_EXTREMES_UNKNOWN;
  if (operand->any_value) {
    operand->bits = 8 * kWidths[vector.precision];
  } else if (vector.extremes.state == KES_DSB_EXTREMES_NONE) {
    operand->bits = 1;
  } else {
    operand->bits =
        ldsbget_minmaxsigbits(vector.extremes.min.word, vector.extremes.max.word, sizeof(ldsbint));
  }
  return KES_DSB_OK;
}

bool ldsbvop_is_minval(const Operand& operand) noexcept {
  const Int192 minimum = MinimumOf(8 * kWidths[operand.precision]);
  return IsKnown(operand.vector) && FromPublic(operand.vector.extremes.min) == minimum;
}

void ldsbvop_initscale(int power, Operand* constant) noexcept {
  const int precision = static_cast<int>(ldsbcpow100tab[power][1]);
  constant->vector = {};
  SetScalar(constant->vector, precision, -power, PowerOf100(power));
  constant->precision = precision;
  constant->scale = -power;
  constant->bits = BitsOfPower(power);
}

int ldsbvop_rescale(Operand* operand, std::int64_t difference) noexcept {
  if (difference > kMaxPower) return KES_DSB_RANGE;
  Operand constant;
  ldsbvop_initscale(static_cast<int>(difference), &constant);
  const int bound = operand->bits + constant.bits;
  const int status = CheckBound(bound, operand->scale + constant.scale);
  if (status != KES_DSB_OK) return status;
  operand->power = static_cast<int>(difference);
  operand->scale += constant.scale;
  if (operand->any_value) {
    operand->bits = bound;
  } else if (IsKnown(operand->vector)) {
    const int low = SignificantBits(FromPublic(operand->vector.extremes.min) * constant.value());
    const int high = SignificantBits(FromPublic(operand->vector.extremes.max) * constant.value());
    operand->bits = low > high ? low : high;
  }
  const int needed = NarrowestPrecision(bound);
  if (needed > operand->precision) operand->precision = needed;
  return KES_DSB_OK;
}

int AlignScales(Operand* left, Operand* right) noexcept {
  if (left->scale == right->scale) return KES_DSB_OK;
  Operand* larger = left->scale > right->scale ? left : right;
  const std::int64_t smaller = left->scale > right->scale ? right->scale : left->scale;
  return ldsbvop_rescale(larger, larger->scale - smaller);
}

int CountOf(const Operand& left, const Operand& right, std::size_t* count) noexcept {
  *count = left.scalar() ? right.vector.count : left.vector.count;
  const bool agree = left.scalar() || right.scalar() || left.vector.count == right.vector.count;
  return agree ? KES_DSB_OK : KES_DSB_BOUNDS;
}

Reader::Reader(const Operand& operand, int precision) noexcept
    : vector_(operand.vector),
      precision_(precision),
      converts_(!operand.scalar() && operand.vector.precision != precision),
      multiplies_(!operand.scalar() && operand.power != 0),
      scalar_(operand.scalar() ? operand.value() : Int192()),
      factor_(PowerOf100(operand.power)) {}

const void* Reader::Block(std::size_t first, std::size_t n, void* scratch) const noexcept {
  if (IsScalar(vector_)) return scalar_.w;
  const void* elements = At(vector_, first);
  if (converts_) {
    ConvertElements(vector_.precision, precision_, n, elements, scratch, nullptr);
    elements = scratch;
  }
  if (multiplies_) {
    const auto pick = [this](const Kernels& k) {
      return k.members[KES_DSB_MULTIPLY_SCALAR][precision_ - 1][0];
    };
    FindKernel(pick)(n, factor_.w, elements, scratch, nullptr, nullptr);
    elements = scratch;
  }
  return elements;
}

}  // namespace kestra::number::dsb
