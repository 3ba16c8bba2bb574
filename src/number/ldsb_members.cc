// The exported members: each picks the best kernel of this machine once for a whole array. And the
// tables of members with their look-up.
#include "kestra/decimal_vector.h"
#include "number/kernels/ldsb_kernels.h"
#include "number/ldsb_context.h"
#include "number/ldsb_copy.h"

namespace kestra::number::dsb {
namespace {

// 0: output as wide as the input, 1: one wider, -1: neither.
template <int kIn>
int Widening(const ldsboperation& record) noexcept {
  if (record.precision == kIn) return 0;
  return kIn < kPrecisions && record.precision == kIn + 1 ? 1 : -1;
}

template <int kOperation, int kIn>
int RunMember(std::size_t count, const void* left, const void* right, void* output,
              const ldsboperation* record) noexcept {
  const int widening = Widening<kIn>(*record);
  if (widening < 0) return KES_DSB_NO_MEMBER;
  const MemberKernel kernel =
      widening == 0
          ? FindKernel([](const Kernels& k) { return k.members[kOperation][kIn - 1][0]; })
          : FindKernel([](const Kernels& k) { return k.members[kOperation][kIn - 1][1]; });
  kernel(count, left, right, output, record->nulls, record->minmax);
  return KES_DSB_OK;
}

// The same without processor features.
template <int kOperation, int kIn>
int RunPortable(std::size_t count, const void* left, const void* right, void* output,
                const ldsboperation* record) noexcept {
  const int widening = Widening<kIn>(*record);
  if (widening < 0) return KES_DSB_NO_MEMBER;
  kPortableKernels.members[kOperation][kIn - 1][widening](count, left, right, output, record->nulls,
                                                          record->minmax);
  return KES_DSB_OK;
}

template <int kOperation, int kIn>
constexpr void FillPortable(MemberTable& table) noexcept {
  table.rows[kOperation][kIn - 1][0] = RunPortable<kOperation, kIn>;
  table.rows[kOperation][kIn - 1][1] = kIn < kPrecisions ? RunPortable<kOperation, kIn> : nullptr;
  if constexpr (kIn < kPrecisions) {
    FillPortable<kOperation, kIn + 1>(table);
  } else if constexpr (kOperation < KES_DSB_SUM) {
    FillPortable<kOperation + 1, 1>(table);
  }
}

constexpr MemberTable MakePortable() noexcept {
  MemberTable table = {};
  FillPortable<0, 1>(table);
  return table;
}

int Find(const ldsbmember (*members)[6][2], const ldsbmember* others, std::uint32_t operation,
         std::uint32_t left, std::uint32_t right, std::uint32_t output,
         ldsbmember* member) noexcept {
  *member = nullptr;
  if (operation > KES_DSB_GATHER) return KES_DSB_NO_MEMBER;
  if (operation > KES_DSB_SUM) {
    *member = others[operation - KES_DSB_MINMAX];
  } else if (left == right && IsPrecision(left) && (output == left || output == left + 1)) {
    *member = members[operation][left - 1][output - left];
  }
  return *member != nullptr ? KES_DSB_OK : KES_DSB_NO_MEMBER;
}

}  // namespace

#define PAIR(name) \
  { name, name }
#define ROW(operation)                                                    \
  {                                                                       \
    PAIR(ldsbgop##operation##8x8), PAIR(ldsbgop##operation##16x16),       \
        PAIR(ldsbgop##operation##32x32), PAIR(ldsbgop##operation##64x64), \
        PAIR(ldsbgop##operation##128x128), {                              \
      ldsbgop##operation##192x192, nullptr                                \
    }                                                                     \
  }

constinit const MemberTable kMembers = {{ROW(add),
                                         ROW(sub),
                                         ROW(mul),
                                         ROW(adds),
                                         ROW(subs),
                                         ROW(muls),
                                         {PAIR(ldsbgopsum8),
                                          PAIR(ldsbgopsum16),
                                          PAIR(ldsbgopsum32),
                                          PAIR(ldsbgopsum64),
                                          PAIR(ldsbgopsum128),
                                          {ldsbgopsum192, nullptr}}}};
constinit const MemberTable kPortableMembers = MakePortable();
constinit const ldsbmember kOtherMembers[4] = {ldsbminmaxop, ldsbcopyop, ldsbcopy_scatterop,
                                               ldsbcopy_gatherop};

}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

#define MEMBER(name, operation, precision)                                           \
  int ldsbgop##name(size_t count, const void* left, const void* right, void* output, \
                    const ldsboperation* record) noexcept {                          \
    return RunMember<operation, precision>(count, left, right, output, record);      \
  }
#define MEMBERS(name, operation)      \
  MEMBER(name##8x8, operation, 1)     \
  MEMBER(name##16x16, operation, 2)   \
  MEMBER(name##32x32, operation, 3)   \
  MEMBER(name##64x64, operation, 4)   \
  MEMBER(name##128x128, operation, 5) \
  MEMBER(name##192x192, operation, 6)

MEMBERS(add, KES_DSB_ADD)
MEMBERS(sub, KES_DSB_SUBTRACT)
MEMBERS(mul, KES_DSB_MULTIPLY)
MEMBERS(adds, KES_DSB_ADD_SCALAR)
MEMBERS(subs, KES_DSB_SUBTRACT_SCALAR)
MEMBERS(muls, KES_DSB_MULTIPLY_SCALAR)
MEMBER(sum8, KES_DSB_SUM, 1)
MEMBER(sum16, KES_DSB_SUM, 2)
MEMBER(sum32, KES_DSB_SUM, 3)
MEMBER(sum64, KES_DSB_SUM, 4)
MEMBER(sum128, KES_DSB_SUM, 5)
MEMBER(sum192, KES_DSB_SUM, 6)

int ldsbget_operation(const ldsbctx* ctx, uint32_t operation, uint32_t left, uint32_t right,
                      uint32_t output, ldsbmember* member) noexcept {
  const ldsbctx& context = ContextOf(ctx);
  return Find(context.members, context.others, operation, left, right, output, member);
}

int ldsbget_generic_operation(const ldsbctx* ctx, uint32_t operation, uint32_t left, uint32_t right,
                              uint32_t output, ldsbmember* member) noexcept {
  const ldsbctx& context = ContextOf(ctx);
  return Find(context.generic_members, context.generic_others, operation, left, right, output,
              member);
}
