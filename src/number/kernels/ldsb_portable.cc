// The portable kernels: every operation at every width, for any processor. They are the reference
// that the others are tested against (tests/number/ldsb_kernels_test.cc).
#include "number/kernels/ldsb_decode.h"
#include "number/kernels/ldsb_loops.h"

namespace kestra::number::dsb {
namespace {

template <int kIn>
void MinMax(std::size_t n, const void* data, const std::uint8_t* nulls,
            ldsbminmax* minmax) noexcept {
  MinMaxBody<Element<kIn>>(n, data, nulls, minmax);
}

template <int kIn, int kOut, class Operation, bool kScalar>
void Member(std::size_t n, const void* left, const void* right, void* out,
            const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  MemberBody<Element<kIn>, Element<kOut>, Operation, kScalar>(n, left, right, out, nulls, minmax,
                                                              MinMax<kOut>);
}

template <int kIn, int kOut>
void Sum(std::size_t n, const void*, const void* right, void* out, const std::uint8_t* nulls,
         ldsbminmax* minmax) noexcept {
  SumBody<Element<kIn>, Element<kOut>>(n, right, out, nulls, minmax);
}

template <int kIn, int kOut>
void ConvertAll(std::size_t n, const void* in, void* out, const std::uint8_t* nulls) noexcept {
  RunGroups(ConvertLoop<Element<kIn>, Element<kOut>>{in, out}, n, nulls);
}

template <int kIn>
void Compare(std::size_t n, const void* left, const void* right, bool one_right,
             std::uint32_t relation, const std::uint8_t* nulls, std::uint8_t* matches) noexcept {
  CompareBody<Element<kIn>>(n, left, right, one_right, relation, nulls, matches);
}

template <int kIn>
constexpr void FillRow(Kernels& k) noexcept {
  constexpr int kWider = kIn < kPrecisions ? kIn + 1 : kIn;
  const auto set = [&k](int operation, MemberKernel same, MemberKernel wider) {
    k.members[operation][kIn - 1][0] = same;
    k.members[operation][kIn - 1][1] = kIn < kPrecisions ? wider : nullptr;
  };
  set(0, Member<kIn, kIn, AddOperation, false>, Member<kIn, kWider, AddOperation, false>);
  set(1, Member<kIn, kIn, SubtractOperation, false>, Member<kIn, kWider, SubtractOperation, false>);
  set(2, Member<kIn, kIn, MultiplyOperation, false>, Member<kIn, kWider, MultiplyOperation, false>);
  set(3, Member<kIn, kIn, AddOperation, true>, Member<kIn, kWider, AddOperation, true>);
  set(4, Member<kIn, kIn, SubtractOperation, true>, Member<kIn, kWider, SubtractOperation, true>);
  set(5, Member<kIn, kIn, MultiplyOperation, true>, Member<kIn, kWider, MultiplyOperation, true>);
  set(6, Sum<kIn, kIn>, Sum<kIn, kWider>);
  ConvertKernel* convert = k.convert[kIn - 1];
  if constexpr (kIn != 1) convert[0] = ConvertAll<kIn, 1>;
  if constexpr (kIn != 2) convert[1] = ConvertAll<kIn, 2>;
  if constexpr (kIn != 3) convert[2] = ConvertAll<kIn, 3>;
  if constexpr (kIn != 4) convert[3] = ConvertAll<kIn, 4>;
  if constexpr (kIn != 5) convert[4] = ConvertAll<kIn, 5>;
  if constexpr (kIn != 6) convert[5] = ConvertAll<kIn, 6>;
  k.minmax[kIn - 1] = MinMax<kIn>;
  k.compare[kIn - 1] = Compare<kIn>;
  if constexpr (kIn < kPrecisions) FillRow<kIn + 1>(k);
}

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillRow<1>(k);
  k.decode = DecodeShort;
  return k;
}

}  // namespace

void DecodeShort(std::size_t n, const std::uint8_t* const* numbers, const std::uint16_t* lengths,
                 const std::uint8_t* nulls, std::int32_t scale, std::int64_t* out) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    const bool null = nulls != nullptr && (nulls[i / 8] >> i % 8 & 1) != 0;
    out[i] = null ? 0 : DecodeShortOne(NumberAt(numbers, lengths, i), scale);
  }
}

constinit const Kernels kPortableKernels = MakeKernels();

}  // namespace kestra::number::dsb
