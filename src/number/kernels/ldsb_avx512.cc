// 8- to 64-bit elements with AVX-512. The null bitmap, inverted, is the store mask as it stands, so
// nulls cost nothing and are never written; minimum and maximum take the same mask in the same
// pass, and loads under it never go past the last element. 64 elements (one word of bitmap) make
// one to eight registers, unrolled.
#if defined(__x86_64__)

#include "number/kernels/ldsb_lanes_avx512.h"

namespace kestra::number::dsb {
namespace {

template <class In, class Out>
KES_DSB_LANE __m512i LoadAs(const void* array, std::size_t i,
                            typename Lanes<Out>::Mask mask) noexcept {
  const void* p = static_cast<const In*>(array) + i;
  if constexpr (sizeof(In) == sizeof(Out)) {
    return Lanes<Out>::Load(p, mask);
  } else {
    return Lanes<Out>::LoadNarrow(p, mask);
  }
}

template <class In, class Out, class Operation>
KES_DSB_LANE __m512i ApplyLanes(__m512i x, __m512i y) noexcept {
  if constexpr (std::is_same_v<Operation, AddOperation>) {
    return Lanes<Out>::Add(x, y);
  } else if constexpr (std::is_same_v<Operation, SubtractOperation>) {
    return Lanes<Out>::Subtract(x, y);
  } else if constexpr (sizeof(In) == sizeof(Out)) {
    return Lanes<Out>::Multiply(x, y);
  } else {
    return Lanes<Out>::MultiplyExtended(x, y);
  }
}

// The extremes of the lanes of two registers.
template <class T>
KES_DSB_AVX512 void MergeLanes(ldsbminmax* minmax, __m512i lo, __m512i hi) noexcept {
  T lows[Lanes<T>::kCount];
  T highs[Lanes<T>::kCount];
  _mm512_storeu_si512(lows, lo);
  _mm512_storeu_si512(highs, hi);
  for (std::size_t i = 1; i < Lanes<T>::kCount; ++i) {
    lows[0] = lows[i] < lows[0] ? lows[i] : lows[0];
    highs[0] = highs[i] > highs[0] ? highs[i] : highs[0];
  }
  MergeExtremes(minmax, lows[0], highs[0]);
}

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
KES_DSB_LANE void MemberLanes(std::size_t n, const void* left, const void* right, void* out,
                              const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using L = Lanes<Out>;
  using Mask = typename L::Mask;
  const __m512i scalar =
      kScalar ? L::Fill(Convert<Out>(LoadAt<In>(left, 0))) : _mm512_setzero_si512();
  __m512i lo = L::Fill(HighestOf<Out>());
  __m512i hi = L::Fill(LowestOf<Out>());
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = AliveBits(nulls, first, n - first);
    if (alive == 0) continue;
#pragma GCC unroll 8
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const Mask mask = static_cast<Mask>(alive >> v);
      const __m512i x = kScalar ? scalar : LoadAs<In, Out>(left, first + v, mask);
      const __m512i y = LoadAs<In, Out>(right, first + v, mask);
      const __m512i result = ApplyLanes<In, Out, Operation>(x, y);
      L::Store(static_cast<Out*>(out) + first + v, mask, result);
      if constexpr (kMinMax) {
        lo = L::MinMasked(lo, mask, result);
        hi = L::MaxMasked(hi, mask, result);
      }
    }
  }
  if constexpr (kMinMax) MergeLanes<Out>(minmax, lo, hi);
}

template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_AVX512 void Member(std::size_t n, const void* left, const void* right, void* out,
                           const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  if (minmax == nullptr) {
    MemberLanes<Element<kIn>, Element<kOut>, Operation, kScalar, false>(n, left, right, out, nulls,
                                                                        nullptr);
  } else {
    MemberLanes<Element<kIn>, Element<kOut>, Operation, kScalar, true>(n, left, right, out, nulls,
                                                                       minmax);
  }
}

template <class Out>
KES_DSB_LANE Out AddUp(__m512i x) noexcept {
  Out lanes[Lanes<Out>::kCount];
  _mm512_storeu_si512(lanes, x);
  Wrap<Out> sum = 0;
  for (const Out lane : lanes) sum += static_cast<Wrap<Out>>(lane);
  return static_cast<Out>(sum);
}

template <int kIn, int kOut>
KES_DSB_AVX512 void Sum(std::size_t n, const void*, const void* right, void* out,
                        const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using In = Element<kIn>;
  using Out = Element<kOut>;
  using L = Lanes<Out>;
  __m512i sums[2] = {_mm512_setzero_si512(), _mm512_setzero_si512()};
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = AliveBits(nulls, first, n - first);
#pragma GCC unroll 8
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = static_cast<typename L::Mask>(alive >> v);
      __m512i& sum = sums[v / L::kCount % 2];
      sum = L::Add(sum, LoadAs<In, Out>(right, first + v, mask));  // nulls load as 0
    }
  }
  const Out result = AddUp<Out>(L::Add(sums[0], sums[1]));
  StoreAt<Out>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

// 64-bit elements into 128 bits: upper and lower halves are summed apart, which 2^31 elements a
// lane cannot overflow.
KES_DSB_AVX512 void Sum64To128(std::size_t n, const void*, const void* right, void* out,
                               const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  constexpr std::size_t kSpan = std::size_t{1} << 33;
  const __m512i low_half = _mm512_set1_epi64(0xFFFFFFFF);
  uint128 total = 0;
  std::size_t first = 0;
  while (first < n) {
    const std::size_t end = n - first < kSpan ? n : first + kSpan;
    __m512i low = _mm512_setzero_si512();
    __m512i high = _mm512_setzero_si512();
    for (; first < end; first += 64) {
      const std::uint64_t alive = AliveBits(nulls, first, n - first);
#pragma GCC unroll 8
      for (std::size_t v = 0; v < 64; v += 8) {
        const __m512i x =
            LoadAs<std::int64_t, std::int64_t>(right, first + v, static_cast<__mmask8>(alive >> v));
        low = _mm512_add_epi64(low, _mm512_and_si512(x, low_half));
        high = _mm512_add_epi64(high, _mm512_srai_epi64(x, 32));
      }
    }
    total += static_cast<uint128>(static_cast<std::uint64_t>(AddUp<std::int64_t>(low)));
    total += static_cast<uint128>(static_cast<int128>(AddUp<std::int64_t>(high))) << 32;
  }
  const int128 result = static_cast<int128>(total);
  StoreAt<int128>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

template <int kIn>
KES_DSB_AVX512 void MinMax(std::size_t n, const void* data, const std::uint8_t* nulls,
                           ldsbminmax* minmax) noexcept {
  using T = Element<kIn>;
  using L = Lanes<T>;
  __m512i lo = L::Fill(HighestOf<T>());
  __m512i hi = L::Fill(LowestOf<T>());
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = AliveBits(nulls, first, n - first);
#pragma GCC unroll 8
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = static_cast<typename L::Mask>(alive >> v);
      const __m512i x = LoadAs<T, T>(data, first + v, mask);
      lo = L::MinMasked(lo, mask, x);
      hi = L::MaxMasked(hi, mask, x);
    }
  }
  MergeLanes<T>(minmax, lo, hi);
}

template <int kIn>
KES_DSB_AVX512 void Compare(std::size_t n, const void* left, const void* right, bool one_right,
                            std::uint32_t relation, const std::uint8_t* nulls,
                            std::uint8_t* matches) noexcept {
  using T = Element<kIn>;
  using L = Lanes<T>;
  const __m512i one = one_right ? L::Fill(LoadAt<T>(right, 0)) : _mm512_setzero_si512();
  for (std::size_t first = 0; first < n; first += 64) {
    const std::size_t size = n - first < 64 ? n - first : 64;
    const std::uint64_t alive = AliveBits(nulls, first, size);
    std::uint64_t below = 0;
    std::uint64_t above = 0;
#pragma GCC unroll 8
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = static_cast<typename L::Mask>(alive >> v);
      const __m512i x = LoadAs<T, T>(left, first + v, mask);
      const __m512i y = one_right ? one : LoadAs<T, T>(right, first + v, mask);
      below |= static_cast<std::uint64_t>(L::Below(x, y)) << v;
      above |= static_cast<std::uint64_t>(L::Below(y, x)) << v;
    }
    StoreMatches(below, above, relation, alive, first, size, matches);
  }
}

// A register of the wider type and as many elements of the narrower one, converted by the
// compiler's vector conversion, which is one instruction here.
template <int kIn, int kOut>
KES_DSB_AVX512 void ConvertAll(std::size_t n, const void* in, void* out,
                               const std::uint8_t* nulls) noexcept {
  using In = Element<kIn>;
  using Out = Element<kOut>;
  constexpr std::size_t kCount = 64 / (sizeof(In) > sizeof(Out) ? sizeof(In) : sizeof(Out));
  typedef In InVector __attribute__((vector_size(kCount * sizeof(In))));
  typedef Out OutVector __attribute__((vector_size(kCount * sizeof(Out))));
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = AliveBits(nulls, first, n - first);
    for (std::size_t v = 0; v < 64; v += kCount) {
      const std::uint64_t part = alive >> v & (~std::uint64_t{0} >> (64 - kCount));
      const __m512i source = Lanes<In>::Load(static_cast<const In*>(in) + first + v,
                                             static_cast<typename Lanes<In>::Mask>(part));
      InVector x;
      std::memcpy(&x, &source, sizeof x);
      const OutVector y = __builtin_convertvector(x, OutVector);
      __m512i result = _mm512_setzero_si512();
      std::memcpy(&result, &y, sizeof y);
      Lanes<Out>::Store(static_cast<Out*>(out) + first + v,
                        static_cast<typename Lanes<Out>::Mask>(part), result);
    }
  }
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
  k.compare[kIn - 1] = Compare<kIn>;
  if constexpr (kIn < 4) FillRow<kIn + 1>(k);
}

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillRow<1>(k);
  k.members[6][3][1] = Sum64To128;
  return k;
}

}  // namespace

extern const Kernels kAvx512Kernels;
constinit const Kernels kAvx512Kernels = MakeKernels();

}  // namespace kestra::number::dsb

#endif
