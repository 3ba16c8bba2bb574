// 8- to 128-bit elements with AVX-512. The null bitmap, inverted, is the store mask as it stands,
// so nulls cost nothing and are never written; minimum and maximum take the same mask in the same
// pass, and loads under it never go past the last element. 64 elements (one word of bitmap) make
// one to eight registers, unrolled.
#if defined(__x86_64__)

#include "number/kernels/ldsb_decode.h"
#include "number/kernels/ldsb_lanes_avx512.h"
#include "number/kernels/ldsb_loops.h"

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

// Registers in turn for running extremes: comparing 128 bits takes so long that one would wait for
// itself.
template <class T>
inline constexpr std::size_t kChains = sizeof(T) == sizeof(int128) ? 4
                                       : sizeof(T) == 8            ? 2
                                                                   : 1;

template <class T>
KES_DSB_LANE void StartExtremes(__m512i (&lo)[kChains<T>], __m512i (&hi)[kChains<T>]) noexcept {
  for (std::size_t k = 0; k < kChains<T>; ++k) {
    lo[k] = Lanes<T>::Fill(HighestOf<T>());
    hi[k] = Lanes<T>::Fill(LowestOf<T>());
  }
}

template <class T>
KES_DSB_AVX512 [[gnu::noinline]] void MergeArrays(ldsbminmax* minmax, const T* lows, const T* highs,
                                                  std::size_t count) noexcept {
  T lo = lows[0];
  T hi = highs[0];
  for (std::size_t i = 1; i < count; ++i) {
    AssignIf(lows[i] < lo, lo, lows[i]);
    AssignIf(hi < highs[i], hi, highs[i]);
  }
  MergeExtremes(minmax, lo, hi);
}

template <class T>
KES_DSB_LANE void MergeLanes(ldsbminmax* minmax, const __m512i (&lo)[kChains<T>],
                             const __m512i (&hi)[kChains<T>]) noexcept {
  constexpr std::size_t kCount = Lanes<T>::kCount;
  T lows[kChains<T> * kCount];
  T highs[kChains<T> * kCount];
  for (std::size_t k = 0; k < kChains<T>; ++k) {
    _mm512_storeu_si512(lows + k * kCount, lo[k]);
    _mm512_storeu_si512(highs + k * kCount, hi[k]);
  }
  MergeArrays(minmax, lows, highs, kChains<T> * kCount);
}

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
KES_DSB_LANE void MemberLanes(std::size_t n, const void* left, const void* right, void* out,
                              const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using L = Lanes<Out>;
  using Mask = typename L::Mask;
  const __m512i scalar =
      kScalar ? L::Fill(Convert<Out>(LoadAt<In>(left, 0))) : _mm512_setzero_si512();
  __m512i lo[kChains<Out>];
  __m512i hi[kChains<Out>];
  StartExtremes<Out>(lo, hi);
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = groups.At(first);
    if (alive == 0) continue;
#pragma GCC unroll 16
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const Mask mask = L::MaskOf(alive >> v);
      const __m512i x = kScalar ? scalar : LoadAs<In, Out>(left, first + v, mask);
      const __m512i y = LoadAs<In, Out>(right, first + v, mask);
      const __m512i result = ApplyLanes<In, Out, Operation>(x, y);
      L::Store(static_cast<Out*>(out) + first + v, mask, result);
      if constexpr (kMinMax) {
        const std::size_t k = v / L::kCount % kChains<Out>;
        lo[k] = L::MinMasked(lo[k], mask, result);
        hi[k] = L::MaxMasked(hi[k], mask, result);
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
  constexpr std::size_t kSums = 2;  // that do not wait for one another
  __m512i sums[kSums] = {};
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = groups.At(first);
#pragma GCC unroll 16
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
      __m512i& sum = sums[v / L::kCount % kSums];
      sum = L::Add(sum, LoadAs<In, Out>(right, first + v, mask));  // nulls load as 0
    }
  }
  const Out result = AddUp<Out>(L::Add(sums[0], sums[1]));
  StoreAt<Out>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

// Sums in 128 bits. The halves of each 64-bit lane are summed apart, which 2^31 elements a lane
// cannot overflow, and no carry is looked at before the end. Lanes of 64-bit elements are signed,
// as the lower words of 128-bit ones (the even lanes) are not; of their upper words only the sums
// modulo 2^64 count.
template <int kIn>
KES_DSB_AVX512 void SumTo128(std::size_t n, const void*, const void* right, void* out,
                             const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using In = Element<kIn>;
  using L = Lanes<In>;
  constexpr std::size_t kSpan = std::size_t{1} << 32;
  const __m512i low_half = _mm512_set1_epi64(0xFFFFFFFF);
  uint128 total = 0;
  std::size_t first = 0;
  const AliveGroups groups(nulls, n);
  while (first < n) {
    const std::size_t end = n - first < kSpan ? n : first + kSpan;
    __m512i low = _mm512_setzero_si512();
    __m512i high = _mm512_setzero_si512();
    __m512i words = _mm512_setzero_si512();
    for (; first < end; first += 64) {
      const std::uint64_t alive = groups.At(first);
#pragma GCC unroll 16
      for (std::size_t v = 0; v < 64; v += L::kCount) {
        const __m512i x = LoadAs<In, In>(right, first + v, L::MaskOf(alive >> v));
        low = _mm512_add_epi64(low, _mm512_and_si512(x, low_half));
        if constexpr (kIn == 4) {
          high = _mm512_add_epi64(high, _mm512_srai_epi64(x, 32));
        } else {
          high = _mm512_add_epi64(high, _mm512_srli_epi64(x, 32));
          words = _mm512_add_epi64(words, x);
        }
      }
    }
    if constexpr (kIn != 4) {
      low = _mm512_maskz_mov_epi64(L::kEven, low);
      high = _mm512_maskz_mov_epi64(L::kEven, high);
      words = _mm512_maskz_mov_epi64(L::kOdd, words);
    }
    total += static_cast<std::uint64_t>(AddUp<std::int64_t>(low));
    total += static_cast<uint128>(static_cast<int128>(AddUp<std::int64_t>(high))) << 32;
    total += static_cast<uint128>(static_cast<std::uint64_t>(AddUp<std::int64_t>(words))) << 64;
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
  __m512i lo[kChains<T>];
  __m512i hi[kChains<T>];
  StartExtremes<T>(lo, hi);
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = groups.At(first);
#pragma GCC unroll 16
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
      const __m512i x = LoadAs<T, T>(data, first + v, mask);
      const std::size_t k = v / L::kCount % kChains<T>;
      lo[k] = L::MinMasked(lo[k], mask, x);
      hi[k] = L::MaxMasked(hi[k], mask, x);
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
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::size_t size = n - first < 64 ? n - first : 64;
    const std::uint64_t alive = groups.At(first);
    std::uint64_t below = 0;
    std::uint64_t above = 0;
#pragma GCC unroll 16
    for (std::size_t v = 0; v < 64; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
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
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += 64) {
    const std::uint64_t alive = groups.At(first);
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

// The results of a mixed group that are not null: 8 elements are 16 or 24 lanes, and each bit of
// the bitmap is spread over the lanes of its element.
template <class T>
KES_DSB_AVX512 void StoreAliveLanes(const T* results, void* out, std::uint64_t alive) noexcept {
  constexpr unsigned kWords = sizeof(T) / 8;
  constexpr unsigned kFirstLanes = kWords == 2 ? 0x5555 : 0x249249;
  constexpr unsigned kAllLanes = (1u << kWords) - 1;
  const auto* from = reinterpret_cast<const std::int64_t*>(results);
  auto* to = static_cast<std::int64_t*>(out);
  for (unsigned byte = 0; byte < 8; ++byte) {
    const unsigned bits = _pdep_u32(static_cast<unsigned>(alive >> 8 * byte & 0xFF), kFirstLanes);
    const unsigned lanes = bits * kAllLanes;
    for (unsigned word = 0; word < kWords; ++word) {
      const auto mask = static_cast<__mmask8>(lanes >> 8 * word);
      _mm512_mask_storeu_epi64(to, mask, _mm512_loadu_si512(from));
      from += 8;
      to += 8;
    }
  }
}

// What the lanes above do not do: products of 128 bits, results of 64-bit inputs in 128 bits, and
// 192 bits, one by one or as the compiler vectorises them.
template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_AVX512 void WideMember(std::size_t n, const void* left, const void* right, void* out,
                               const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using Out = Element<kOut>;
  const MinMaxKernel minmax_kernel = kOut == 5 ? MinMax<5> : kPortableKernels.minmax[kOut - 1];
  MemberBody<Element<kIn>, Out, Operation, kScalar, StoreAliveLanes<Out>>(
      n, left, right, out, nulls, minmax, minmax_kernel);
}

template <int kIn, int kOut>
constexpr void FillWidePair(Kernels& k) noexcept {
  constexpr int kWider = kOut - kIn;
  k.members[0][kIn - 1][kWider] = WideMember<kIn, kOut, AddOperation, false>;
  k.members[1][kIn - 1][kWider] = WideMember<kIn, kOut, SubtractOperation, false>;
  k.members[2][kIn - 1][kWider] = WideMember<kIn, kOut, MultiplyOperation, false>;
  k.members[3][kIn - 1][kWider] = WideMember<kIn, kOut, AddOperation, true>;
  k.members[4][kIn - 1][kWider] = WideMember<kIn, kOut, SubtractOperation, true>;
  k.members[5][kIn - 1][kWider] = WideMember<kIn, kOut, MultiplyOperation, true>;
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
  FillWidePair<4, 5>(k);
  FillWidePair<6, 6>(k);
  k.members[0][4][0] = Member<5, 5, AddOperation, false>;
  k.members[1][4][0] = Member<5, 5, SubtractOperation, false>;
  k.members[2][4][0] = WideMember<5, 5, MultiplyOperation, false>;
  k.members[3][4][0] = Member<5, 5, AddOperation, true>;
  k.members[4][4][0] = Member<5, 5, SubtractOperation, true>;
  k.members[5][4][0] = WideMember<5, 5, MultiplyOperation, true>;
  k.members[6][3][1] = SumTo128<4>;
  k.members[6][4][0] = SumTo128<5>;
  k.minmax[4] = MinMax<5>;
  k.decode = DecodeShortAvx512;
  return k;
}

}  // namespace

extern const Kernels kAvx512Kernels;
constinit const Kernels kAvx512Kernels = MakeKernels();

}  // namespace kestra::number::dsb

#endif
