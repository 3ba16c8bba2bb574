// ldsbvop and ldsbvrescale: widths and scales are settled first, for the vectors as a
// whole (ldsb_operand.h); then one member runs over the elements, or over blocks of them when an
// operand must be widened or rescaled on the way.
#include "number/ldsb_operand.h"

namespace kestra::number::dsb {
namespace {

// A member with its inputs and output.
struct Plan {
  Operand left;
  Operand right;
  std::size_t count = 0;
  int input_precision = 0;
  int output_precision = 0;
  std::int64_t scale = 0;
  std::uint32_t member_code = 0;
  bool swap = false;           // the member's left is the right operand
  bool negate_scalar = false;  // vector - scalar is (-scalar) + vector
};

// A minimum is widened, so that its negative exists.
int WidenMinimum(Operand* operand) noexcept {
  if (!ldsbvop_is_minval(*operand)) return KES_DSB_OK;
  if (operand->precision == kWidest) return KES_DSB_RANGE;
  ++operand->precision;
  return KES_DSB_OK;
}

// The precision of the output, and that of the inputs below it.
int ChoosePrecisions(int bound, const ldsboptions& options, Plan* plan) noexcept {
  const int widest_input =
      plan->left.precision > plan->right.precision ? plan->left.precision : plan->right.precision;
  const int needed = NarrowestPrecision(bound);
  plan->output_precision = needed > widest_input ? needed : widest_input;
  if (options.precision != 0) {
    const int named = static_cast<int>(options.precision);
    if ((options.flags & KES_DSB_CHECK_PRECISION) != 0 && plan->output_precision > named) {
      return KES_DSB_RANGE;
    }
    plan->output_precision = named;
  }
  plan->input_precision = plan->output_precision - 1;
  if (plan->input_precision < widest_input) plan->input_precision = widest_input;
  return KES_DSB_OK;
}

void ChooseMember(std::uint32_t operation, Plan* plan) noexcept {
  plan->member_code = operation;
  if (plan->left.scalar() == plan->right.scalar()) return;
  plan->member_code = operation + KES_DSB_ADD_SCALAR;
  plan->swap = plan->right.scalar();
  if (plan->swap && operation == KES_DSB_SUBTRACT) {
    plan->member_code = KES_DSB_ADD_SCALAR;
    plan->negate_scalar = true;
  }
}

int MakePlan(std::uint32_t operation, const ldsbvector& left, const ldsbvector& right,
             const ldsboptions& options, Plan* plan) noexcept {
  const bool any_value = (options.flags & KES_DSB_FIXED_WIDTHS) != 0;
  int status = TakeOperand(left, any_value, &plan->left);
  if (status == KES_DSB_OK) status = TakeOperand(right, any_value, &plan->right);
  if (status == KES_DSB_OK) status = CountOf(plan->left, plan->right, &plan->count);
  if (status == KES_DSB_OK && options.precision != 0 && !IsPrecision(options.precision)) {
    status = KES_DSB_PRECISION;
  }
  if (status == KES_DSB_OK) status = WidenMinimum(&plan->left);
  if (status == KES_DSB_OK) status = WidenMinimum(&plan->right);
  if (status != KES_DSB_OK) return status;
  int bound = 0;
  if (operation == KES_DSB_MULTIPLY) {
    plan->scale = plan->left.scale + plan->right.scale;
    bound = plan->left.bits + plan->right.bits;
  } else {
    status = AlignScales(&plan->left, &plan->right);
    if (status != KES_DSB_OK) return status;
    plan->scale = plan->left.scale;
    bound = (plan->left.bits > plan->right.bits ? plan->left.bits : plan->right.bits) + 1;
  }
  status = CheckBound(bound, plan->scale);
  if (status == KES_DSB_OK) status = ChoosePrecisions(bound, options, plan);
  ChooseMember(operation, plan);
  return status;
}

// out = the union of two bitmaps of count bits; either may be null, and out may be one of them.
void UniteNulls(std::uint8_t* out, const std::uint8_t* x, const std::uint8_t* y,
                std::size_t count) noexcept {
  const std::size_t size = (count + 7) / 8;
  if (x == nullptr) x = y;
  if (y == nullptr) y = x;
  if (x == nullptr) {
    std::memset(out, 0, size);
  } else if (x == y) {
    if (x != out) std::memmove(out, x, size);
  } else {
    for (std::size_t i = 0; i < size; ++i) out[i] = x[i] | y[i];
  }
}

int RunOnScalars(const Plan& plan, ldsbmember member, ldsbvector* result) noexcept {
  const Reader left(plan.left, plan.input_precision);
  const Reader right(plan.right, plan.input_precision);
  Int192 value;
  const ldsboperation record = {nullptr, static_cast<std::uint32_t>(plan.output_precision), 0,
                                nullptr, 0};
  const int status =
      member(1, left.Block(0, 1, nullptr), right.Block(0, 1, nullptr), value.w, &record);
  if (status != KES_DSB_OK) return status;
  SetScalar(*result, plan.output_precision, plan.scale,
            LoadElement(value.w, WidthOf(plan.output_precision)));
  return KES_DSB_OK;
}

int RunOnVectors(const ldsbctx& ctx, const Plan& plan, ldsbmember member,
                 ldsbvector* result) noexcept {
  Target target(ctx);
  for (const Operand* operand : {&plan.left, &plan.right}) {
    const ldsbvector& v = operand->vector;
    if (!IsScalar(v)) target.Protect(v.data, v.count * WidthOf(v.precision), WidthOf(v.precision));
  }
  const std::uint8_t* left_nulls = NullsOf(plan.left.vector);
  const std::uint8_t* right_nulls = NullsOf(plan.right.vector);
  int status = target.Open(*result, plan.output_precision, plan.count,
                           left_nulls != nullptr || right_nulls != nullptr);
  if (status != KES_DSB_OK) return status;
  Reader left(plan.left, plan.input_precision);
  Reader right(plan.right, plan.input_precision);
  if (plan.negate_scalar) right.NegateScalar();
  ldsbminmax extremes = {};
  const auto run = [&](std::size_t first, std::size_t n, const void* x, const void* y) {
    if (first == 0 && target.nulls() != nullptr) {
      UniteNulls(target.nulls(), left_nulls, right_nulls, plan.count);
    }
    const ldsboperation record = {target.nulls() == nullptr ? nullptr : target.nulls() + first / 8,
                                  static_cast<std::uint32_t>(plan.output_precision), 0, &extremes,
                                  0};
    member(n, plan.swap ? y : x, plan.swap ? x : y,
           target.data() + first * WidthOf(plan.output_precision), &record);
  };
  status = ForEachBlock(ctx, left, right, plan.count, run);
  if (status != KES_DSB_OK) {
    target.Drop();
    return status;
  }
  target.Commit(*result);
  result->scale = static_cast<std::int32_t>(plan.scale);
  result->extremes = extremes;
  return KES_DSB_OK;
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvop(const ldsbctx* ctx, uint32_t operation, ldsbvector* result, const ldsbvector* left,
            const ldsbvector* right, const ldsboptions* options) noexcept {
  if (!HasTag(*result) || !HasTag(*left) || !HasTag(*right)) return KES_DSB_TAG;
  if (operation > KES_DSB_MULTIPLY) return KES_DSB_OPERATION;
  Plan plan;
  int status =
      MakePlan(operation, *left, *right, options == nullptr ? ldsboptions{} : *options, &plan);
  if (status != KES_DSB_OK) return status;
  const auto input = static_cast<std::uint32_t>(plan.input_precision);
  ldsbmember member = nullptr;
  status = ldsbget_operation(ctx, plan.member_code, input, input,
                             static_cast<std::uint32_t>(plan.output_precision), &member);
  if (status != KES_DSB_OK) return status;
  if (plan.left.scalar() && plan.right.scalar()) return RunOnScalars(plan, member, result);
  return RunOnVectors(ContextOf(ctx), plan, member, result);
}

int ldsbvrescale(const ldsbctx* ctx, ldsbvector* result, const ldsbvector* source,
                 int32_t scale) noexcept {
  if (!HasTag(*result)) return KES_DSB_TAG;
  const int status = CheckReadable(*source);
  if (status != KES_DSB_OK) return status;
  const std::int64_t difference = std::int64_t{source->scale} - scale;
  if (difference < 0) return KES_DSB_SCALE;
  if (difference > kMaxPower) return KES_DSB_RANGE;
  if (difference == 0) return ldsbvresize(ctx, result, source, source->precision);
  Operand constant;
  ldsbvop_initscale(static_cast<int>(difference), &constant);
  return ldsbvop(ctx, KES_DSB_MULTIPLY, result, source, &constant.vector, nullptr);
}
