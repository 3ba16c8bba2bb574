// Sums. A sum member may widen by one precision, and a sum of many elements can need more: elements
// are then summed in chunks that one member cannot overflow, and the chunks in 192 bits.
#include "number/ldsb_operand.h"

namespace kestra::number::dsb {
namespace {

int CeilingLog2(std::size_t n) noexcept {
  return n <= 1 ? 0 : static_cast<int>(std::bit_width(n - 1));
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvsum(const ldsbctx* ctx, ldsbvector* result, const ldsbvector* vector) noexcept {
  if (!HasTag(*result)) return KES_DSB_TAG;
  Operand operand;
  int status = TakeOperand(*vector, false, &operand);
  if (status != KES_DSB_OK) return status;
  const std::size_t count = operand.vector.count;
  const int bound = operand.bits + CeilingLog2(count);
  // One element is its own sum; more of them also need room for the sign.
  if (bound > kMaxBits || (bound == kMaxBits && count > 1)) return KES_DSB_RANGE;
  const int needed = NarrowestPrecision(bound);
  const int output = needed > operand.precision ? needed : operand.precision;
  const int chunk_output = output > operand.precision ? operand.precision + 1 : output;
  const int spare_bits = 8 * kWidths[chunk_output] - 1 - operand.bits;
  const bool whole = bound < 8 * kWidths[chunk_output] || chunk_output == kWidest;
  const std::size_t chunk = whole ? count : std::size_t{1} << spare_bits;
  const auto input = static_cast<std::uint32_t>(operand.precision);
  ldsbmember member = nullptr;
  status = ldsbget_operation(ctx, KES_DSB_SUM, input, input,
                             static_cast<std::uint32_t>(chunk_output), &member);
  if (status != KES_DSB_OK) return status;
  const std::uint8_t* nulls = NullsOf(operand.vector);
  Int192 total;
  for (std::size_t first = 0; first < count; first += chunk) {
    const std::size_t n = count - first < chunk ? count - first : chunk;
    const ldsboperation record = {nulls == nullptr ? nullptr : nulls + first / 8,
                                  static_cast<std::uint32_t>(chunk_output), 0, nullptr, 0};
    Int192 sum;
    status = member(n, nullptr, At(operand.vector, first), sum.w, &record);
    if (status != KES_DSB_OK) return status;
    total = total + LoadElement(sum.w, WidthOf(chunk_output));
  }
  status = CheckBound(SignificantBits(total), operand.scale);
  if (status != KES_DSB_OK && !total.IsZero()) return status;
  SetScalar(*result, output, operand.scale, total);
  return KES_DSB_OK;
}
