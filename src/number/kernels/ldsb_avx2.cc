// The loops of 8- to 64-bit elements vectorised by the compiler for AVX2.
#if defined(__x86_64__)

#include "number/kernels/ldsb_loops.h"

#define KES_DSB_AVX2 [[gnu::target("avx2,bmi,bmi2")]]

namespace kestra::number::dsb {
namespace {

template <int kIn>
KES_DSB_AVX2 void MinMax(std::size_t n, const void* data, const std::uint8_t* nulls,
                         ldsbminmax* minmax) noexcept {
  MinMaxBody<Element<kIn>>(n, data, nulls, minmax);
}

template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_AVX2 void Member(std::size_t n, const void* left, const void* right, void* out,
                         const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  MemberBody<Element<kIn>, Element<kOut>, Operation, kScalar>(n, left, right, out, nulls, minmax,
                                                              MinMax<kOut>);
}

template <int kIn, int kOut>
KES_DSB_AVX2 void Sum(std::size_t n, const void*, const void* right, void* out,
                      const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  SumBody<Element<kIn>, Element<kOut>>(n, right, out, nulls, minmax);
}

template <int kIn, int kOut>
KES_DSB_AVX2 void ConvertAll(std::size_t n, const void* in, void* out,
                             const std::uint8_t* nulls) noexcept {
  RunGroups(ConvertLoop<Element<kIn>, Element<kOut>>{in, out}, n, nulls);
}

template <int kIn, int kOut>
constexpr void FillPair(Kernels& k) noexcept {
  constexpr int kWider = kOut - kIn;
  k.members[0][kIn - 1][kWider] = Member<kIn, kOut, AddOperation, false>;
  k.members[1][kIn - 1][kWider] = Member<kIn, kOut, SubtractOperation, false>;
  k.members[2][kIn - 1][kWider] = Member<kIn, kOut, MultiplyOperation, false>;
  k.members[3][kIn - 1][kWider] = Member<kIn, kOut, AddOperation, true>;
  k.members[4][kIn - 1][kWider] = Member<kIn, kOut, SubtractOperation, true>;
  k.members[5][kIn - 1][kWider] = Member<kIn, kOut, MultiplyOperation, true>;
  k.members[6][kIn - 1][kWider] = Sum<kIn, kOut>;
}

template <int kIn>
constexpr void FillRow(Kernels& k) noexcept {
  FillPair<kIn, kIn>(k);
  if constexpr (kIn < 4) FillPair<kIn, kIn + 1>(k);
  if constexpr (kIn != 1) k.convert[kIn - 1][0] = ConvertAll<kIn, 1>;
  if constexpr (kIn != 2) k.convert[kIn - 1][1] = ConvertAll<kIn, 2>;
  if constexpr (kIn != 3) k.convert[kIn - 1][2] = ConvertAll<kIn, 3>;
  if constexpr (kIn != 4) k.convert[kIn - 1][3] = ConvertAll<kIn, 4>;
  k.minmax[kIn - 1] = MinMax<kIn>;
  if constexpr (kIn < 4) FillRow<kIn + 1>(k);
}

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillRow<1>(k);
  return k;
}

}  // namespace

extern const Kernels kAvx2Kernels;
constinit const Kernels kAvx2Kernels = MakeKernels();

}  // namespace kestra::number::dsb

#endif
