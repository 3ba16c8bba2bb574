// The portable kernels: every operation at every width, for any processor. Elements up to 64 bits go
// through registers of 16 bytes, wider ones one by one.
#include "number/kernels/ldsb_decode.h"

#define KES_DSB_TARGET
#define KES_DSB_LANE_BYTES 16
#include "number/kernels/ldsb_lanes_vector.h"
// Needs the lanes.
#include "number/kernels/ldsb_lane_loops.h"

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

// What FillLanes leaves.
template <int kIn = 1>
constexpr void FillRest(Kernels& k) noexcept {
  ConvertKernel* convert = k.convert[kIn - 1];
  if constexpr (kIn > 4) {
    FillPair<kIn, kIn>(k);
    convert[0] = ConvertAll<kIn, 1>;
    convert[1] = ConvertAll<kIn, 2>;
    convert[2] = ConvertAll<kIn, 3>;
    convert[3] = ConvertAll<kIn, 4>;
    k.minmax[kIn - 1] = MinMax<kIn>;
  }
  if constexpr (kIn == 4 || kIn == 5) FillPair<kIn, kIn + 1>(k);
  if constexpr (kIn != 5) convert[4] = ConvertAll<kIn, 5>;
  if constexpr (kIn != 6) convert[5] = ConvertAll<kIn, 6>;
  k.compare[kIn - 1] = Compare<kIn>;
  if constexpr (kIn < kPrecisions) FillRest<kIn + 1>(k);
}

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillRest(k);
  FillLanes(k);
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
