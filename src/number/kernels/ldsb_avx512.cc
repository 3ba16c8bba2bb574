// Elements of all widths with AVX-512. The null bitmap, inverted, is the store mask as it stands,
// so nulls cost nothing and are never written; minimum and maximum take the same mask in the same
// pass. 64 elements (one word of bitmap) make one to eight registers, unrolled; the last ones, when
// they are fewer, are loaded under the mask of those that exist.
#if defined(__x86_64__)

#include "number/kernels/ldsb_decode.h"
#include "number/kernels/ldsb_lanes_avx512.h"
// These need the lanes.
#include "number/kernels/ldsb_lane_loops.h"
#include "number/kernels/ldsb_words_avx512.h"

namespace kestra::number::dsb {
namespace {

// A register of the wider type and as many elements of the narrower one, converted by the
// compiler's vector conversion, which is one instruction here.
template <int kIn, int kOut>
KES_DSB_TARGET void ConvertAll(std::size_t n, const void* in, void* out,
                               const std::uint8_t* nulls) noexcept {
  using In = Element<kIn>;
  using Out = Element<kOut>;
  constexpr std::size_t kCount = 64 / (sizeof(In) > sizeof(Out) ? sizeof(In) : sizeof(Out));
  typedef In InVector __attribute__((vector_size(kCount * sizeof(In))));
  typedef Out OutVector __attribute__((vector_size(kCount * sizeof(Out))));
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = groups.At(first);
    for (std::size_t v = 0; v < 64; v += kCount) {
      const std::uint64_t part = alive >> v & (~std::uint64_t{0} >> (64 - kCount));
      const __m512i source = Lanes<In>::LoadSome(static_cast<const In*>(in) + first + v,
                                                 Lanes<In>::MaskOf(~part, 0), kCount);
      InVector x;
      std::memcpy(&x, &source, sizeof x);
      const OutVector y = __builtin_convertvector(x, OutVector);
      __m512i result = _mm512_setzero_si512();
      std::memcpy(&result, &y, sizeof y);
      Lanes<Out>::StoreSome(static_cast<Out*>(out) + first + v, Lanes<Out>::MaskOf(~part, 0),
                            kCount, result);
    }
  }
}

// Eight elements from the i-th on, at most count of them, sign-extended to kWords words.
template <int kIn, std::size_t kWords>
KES_DSB_LANE Words<kWords> LoadExtended(const void* array, std::size_t i,
                                        std::size_t count) noexcept {
  const void* p = static_cast<const Element<kIn>*>(array) + i;
  if constexpr (sizeof(Element<kIn>) == 8 * kWords) {
    return LoadWords<kWords>(p, count);
  } else if constexpr (kIn == 5) {
    const Words<2> x = LoadWords<2>(p, count);
    return {{x.word[0], x.word[1], _mm512_srai_epi64(x.word[1], 63)}};
  } else {
    const auto mask = static_cast<__mmask8>(count >= kWordLanes ? 0xFF : (1u << count) - 1);
    const __m512i x =
        count >= kWordLanes ? _mm512_loadu_si512(p) : _mm512_maskz_loadu_epi64(mask, p);
    return {{x, _mm512_srai_epi64(x, 63)}};
  }
}

// 128 and 192 bits, eight elements at a time.
template <int kIn, int kOut, class Operation, bool kScalar, bool kMinMax>
KES_DSB_LANE void RunWords(std::size_t n, const void* left, const void* right, void* out,
                           const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using Out = Element<kOut>;
  constexpr std::size_t kWords = sizeof(Out) / 8;
  WordExtremes<kWords> extremes = NoExtremes<kWords>();
  Words<kWords> x = {};
  if constexpr (kScalar) {
    x = FillWords<kWords>(Convert<Int192>(LoadAt<Element<kIn>>(left, 0)));
  }
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    std::uint64_t alive = groups.At(first);
    if (alive == 0) continue;
    const std::size_t end = n - first < kGroup ? n : first + kGroup;
    for (std::size_t i = first; i < end; i += kWordLanes, alive >>= kWordLanes) {
      const auto mask = static_cast<__mmask8>(alive);
      if constexpr (!kScalar) x = LoadExtended<kIn, kWords>(left, i, n - i);
      const Words<kWords> y = LoadExtended<kIn, kWords>(right, i, n - i);
      Words<kWords> result;
      if constexpr (std::is_same_v<Operation, AddOperation>) {
        result = AddWords<kWords>(x, y);
      } else if constexpr (std::is_same_v<Operation, SubtractOperation>) {
        result = SubtractWords<kWords>(x, y);
      } else {
        result = MultiplyWords(x, y);
      }
      Out* to = static_cast<Out*>(out) + i;
#pragma GCC unroll 3
      for (std::size_t k = 0; k < kWords; ++k) {
        __builtin_prefetch(reinterpret_cast<const char*>(to) + kAhead + 64 * k);
      }
      StoreWords<kWords>(to, mask, result);
      if constexpr (kMinMax) AddExtremes<kWords>(extremes, mask, result);
    }
  }
  if constexpr (kMinMax) Merge<kWords>(extremes, minmax);
}

template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_TARGET void WordsMember(std::size_t n, const void* left, const void* right, void* out,
                                const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  if (minmax == nullptr) {
    RunWords<kIn, kOut, Operation, kScalar, false>(n, left, right, out, nulls, nullptr);
  } else {
    RunWords<kIn, kOut, Operation, kScalar, true>(n, left, right, out, nulls, minmax);
  }
}

template <std::size_t kWords>
KES_DSB_TARGET void MinMaxWords(std::size_t n, const void* data, const std::uint8_t* nulls,
                                ldsbminmax* minmax) noexcept {
  WordExtremes<kWords> extremes[] = {// two that do not wait for one another
                                     NoExtremes<kWords>(), NoExtremes<kWords>()};
  const auto* bytes = static_cast<const char*>(data);
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    const std::uint64_t alive = groups.At(first);
#pragma GCC unroll 2
    for (std::size_t i = 0; i < kGroup; i += kWordLanes) {
      if (first + i >= n) break;
      const Words<kWords> x = LoadWords<kWords>(bytes + (first + i) * 8 * kWords, n - first - i);
      AddExtremes<kWords>(extremes[i / kWordLanes % 2], static_cast<__mmask8>(alive >> i), x);
    }
  }
  Merge<kWords>(extremes[0], minmax);
  Merge<kWords>(extremes[1], minmax);
}

template <int kIn, int kOut>
constexpr void FillWide(Kernels& k) noexcept {
  constexpr int kWider = kOut - kIn;
  k.members[0][kIn - 1][kWider] = WordsMember<kIn, kOut, AddOperation, false>;
  k.members[1][kIn - 1][kWider] = WordsMember<kIn, kOut, SubtractOperation, false>;
  k.members[2][kIn - 1][kWider] = WordsMember<kIn, kOut, MultiplyOperation, false>;
  k.members[3][kIn - 1][kWider] = WordsMember<kIn, kOut, AddOperation, true>;
  k.members[4][kIn - 1][kWider] = WordsMember<kIn, kOut, SubtractOperation, true>;
  k.members[5][kIn - 1][kWider] = WordsMember<kIn, kOut, MultiplyOperation, true>;
}

template <int kIn>
constexpr void FillConversions(Kernels& k) noexcept {
  if constexpr (kIn != 1) k.convert[kIn - 1][0] = ConvertAll<kIn, 1>;
  if constexpr (kIn != 2) k.convert[kIn - 1][1] = ConvertAll<kIn, 2>;
  if constexpr (kIn != 3) k.convert[kIn - 1][2] = ConvertAll<kIn, 3>;
  if constexpr (kIn != 4) k.convert[kIn - 1][3] = ConvertAll<kIn, 4>;
  if constexpr (kIn < 4) FillConversions<kIn + 1>(k);
}

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillLanes(k);
  FillConversions<1>(k);
  FillWide<4, 5>(k);
  FillWide<5, 5>(k);
  FillWide<5, 6>(k);
  FillWide<6, 6>(k);
  k.minmax[4] = MinMaxWords<2>;
  k.minmax[5] = MinMaxWords<3>;
  k.decode = DecodeShortAvx512;
  return k;
}

}  // namespace

extern const Kernels kAvx512Kernels;
constinit const Kernels kAvx512Kernels = MakeKernels();

}  // namespace kestra::number::dsb

#endif
