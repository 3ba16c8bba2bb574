// Elements of all widths with AVX-512. The null bitmap, inverted, is the store mask as it stands,
// so nulls cost nothing and are never written; minimum and maximum take the same mask in the same
// pass. 64 elements (one word of bitmap) make one to eight registers, unrolled; the last ones, when
// they are fewer, are loaded under the mask of those that exist.
#if defined(__x86_64__)

#include "number/kernels/ldsb_decode.h"
#include "number/kernels/ldsb_lanes_avx512.h"
#include "number/kernels/ldsb_loops.h"
#include "number/kernels/ldsb_words_avx512.h"

namespace kestra::number::dsb {
namespace {

// Elements as lanes. Within a whole group they are all loaded, nulls too: processors fetch ahead of
// plain loads, not of masked ones, which then take up to twice the time from memory.
template <class In, class Out, bool kWhole>
KES_DSB_LANE __m512i LoadAs(const void* array, std::size_t i,
                            typename Lanes<Out>::Mask mask) noexcept {
  const void* p = static_cast<const In*>(array) + i;
  if constexpr (sizeof(In) == sizeof(Out)) {
    return kWhole ? _mm512_loadu_si512(p) : Lanes<Out>::Load(p, mask);
  } else {
    return kWhole ? Lanes<Out>::LoadNarrow(p) : Lanes<Out>::LoadNarrow(p, mask);
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

// Registers in turn for running extremes, which would else wait for one another.
template <class T>
inline constexpr std::size_t kChains = sizeof(T) == 8 ? 2 : 1;

// How far ahead the lines of results are fetched: a masked store does not make the processor do it.
constexpr std::size_t kAhead = 4096;

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

// Runs loop.Group<kWhole, kAll>(loop, first, alive) over groups of 64 elements. kWhole: all of them
// exist; kAll: none is null either.
template <class Loop>
KES_DSB_LANE void RunLanes(Loop& loop, std::size_t n, const std::uint8_t* nulls) noexcept {
  const std::size_t whole = n / kGroup * kGroup;
  if (Loop::kOneRegister && nulls == nullptr) {
#pragma GCC unroll 4
    for (std::size_t first = 0; first < whole; first += kGroup) {
      Loop::template Group<true, true>(loop, first, ~std::uint64_t{0});
    }
  } else if (nulls == nullptr) {
    for (std::size_t first = 0; first < whole; first += kGroup) {
      Loop::template Group<true, true>(loop, first, ~std::uint64_t{0});
    }
  } else if constexpr (Loop::kOneRegister) {
    // The mask of the only register is the bitmap, and a jump would cost more than it saves.
#pragma GCC unroll 4
    for (std::size_t first = 0; first < whole; first += kGroup) {
      __mmask64 null;
      std::memcpy(&null, nulls + first / 8, sizeof null);
      Loop::template Group<true, false>(loop, first, _knot_mask64(null));
    }
  } else {
    for (std::size_t first = 0; first < whole; first += kGroup) {
      const std::uint64_t alive = AliveBits(nulls, first, kGroup);
      if (alive != 0) Loop::template Group<true, false>(loop, first, alive);
    }
  }
  if (whole != n)
    Loop::template Group<false, false>(loop, whole, AliveBits(nulls, whole, n - whole));
}

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
struct MemberLanes {
  using L = Lanes<Out>;
  static constexpr bool kOneRegister = sizeof(Out) == 1;
  static constexpr std::size_t kRegisters = kMinMax ? kChains<Out> : 1;

  const void* left;
  const void* right;
  void* out;
  __m512i scalar;
  __m512i lo[kRegisters];
  __m512i hi[kRegisters];

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Group(MemberLanes& m, std::size_t first, std::uint64_t alive) noexcept {
#pragma GCC unroll 16
    for (std::size_t v = 0; v < kGroup; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
      const __m512i x = kScalar ? m.scalar : LoadAs<In, Out, kWhole>(m.left, first + v, mask);
      const __m512i y = LoadAs<In, Out, kWhole>(m.right, first + v, mask);
      const __m512i result = ApplyLanes<In, Out, Operation>(x, y);
      Out* to = static_cast<Out*>(m.out) + first + v;
      if constexpr (kAll) {
        _mm512_storeu_si512(to, result);
      } else {
        if constexpr (kWhole) __builtin_prefetch(reinterpret_cast<const char*>(to) + kAhead);
        L::Store(to, mask, result);
      }
      if constexpr (kMinMax) {
        const std::size_t k = v / L::kCount % kRegisters;
        m.lo[k] = L::MinMasked(m.lo[k], mask, result);
        m.hi[k] = L::MaxMasked(m.hi[k], mask, result);
      }
    }
  }
};

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
KES_DSB_LANE void RunMember(std::size_t n, const void* left, const void* right, void* out,
                            const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  MemberLanes<In, Out, Operation, kScalar, kMinMax> m = {left, right, out, _mm512_setzero_si512(),
                                                         {},   {}};
  if constexpr (kScalar) m.scalar = Lanes<Out>::Fill(Convert<Out>(LoadAt<In>(left, 0)));
  if constexpr (kMinMax) StartExtremes<Out>(m.lo, m.hi);
  RunLanes(m, n, nulls);
  if constexpr (kMinMax) MergeLanes<Out>(minmax, m.lo, m.hi);
}

template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_AVX512 void Member(std::size_t n, const void* left, const void* right, void* out,
                           const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  if (minmax == nullptr) {
    RunMember<Element<kIn>, Element<kOut>, Operation, kScalar, false>(n, left, right, out, nulls,
                                                                      nullptr);
  } else {
    RunMember<Element<kIn>, Element<kOut>, Operation, kScalar, true>(n, left, right, out, nulls,
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

template <class In, class Out>
struct SumLanes {
  using L = Lanes<Out>;
  static constexpr bool kOneRegister = sizeof(Out) == 1;

  const void* data;
  __m512i sums[2];  // that do not wait for one another

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Group(SumLanes& s, std::size_t first, std::uint64_t alive) noexcept {
#pragma GCC unroll 16
    for (std::size_t v = 0; v < kGroup; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
      __m512i& sum = s.sums[v / L::kCount % 2];
      const __m512i x = LoadAs<In, Out, kWhole>(s.data, first + v, mask);
      sum = kAll ? L::Add(sum, x) : L::AddMasked(sum, mask, x);
    }
  }
};

template <int kIn, int kOut>
KES_DSB_AVX512 void Sum(std::size_t n, const void*, const void* right, void* out,
                        const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using Out = Element<kOut>;
  SumLanes<Element<kIn>, Out> s = {right, {}};
  RunLanes(s, n, nulls);
  const Out result = AddUp<Out>(Lanes<Out>::Add(s.sums[0], s.sums[1]));
  StoreAt<Out>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

// Sums in 128 bits. The halves of each 64-bit lane are summed apart, which 2^31 elements cannot
// overflow, and no carry is looked at before the end. Lanes of 64-bit elements are signed, as the
// lower words of 128-bit ones (the even lanes) are not; of their upper words only the sums modulo
// 2^64 count.
template <class In>
struct SumTo128Lanes {
  using L = Lanes<In>;
  static constexpr bool kOneRegister = false;

  const void* data;
  __m512i low;
  __m512i high;
  __m512i words;

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Group(SumTo128Lanes& s, std::size_t first, std::uint64_t alive) noexcept {
    const __m512i low_half = _mm512_set1_epi64(0xFFFFFFFF);
#pragma GCC unroll 16
    for (std::size_t v = 0; v < kGroup; v += L::kCount) {
      const __mmask8 mask = kAll ? 0xFF : L::MaskOf(alive >> v);
      const __m512i x = LoadAs<In, In, kWhole>(s.data, first + v, mask);
      s.low = _mm512_mask_add_epi64(s.low, mask, s.low, _mm512_and_si512(x, low_half));
      if constexpr (sizeof(In) == 8) {
        s.high = _mm512_mask_add_epi64(s.high, mask, s.high, _mm512_srai_epi64(x, 32));
      } else {
        s.high = _mm512_mask_add_epi64(s.high, mask, s.high, _mm512_srli_epi64(x, 32));
        s.words = _mm512_mask_add_epi64(s.words, mask, s.words, x);
      }
    }
  }
};

template <int kIn>
KES_DSB_AVX512 void SumTo128(std::size_t n, const void*, const void* right, void* out,
                             const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using In = Element<kIn>;
  constexpr std::size_t kSpan = std::size_t{1} << 31;
  uint128 total = 0;
  for (std::size_t first = 0; first < n; first += kSpan) {
    SumTo128Lanes<In> s = {static_cast<const In*>(right) + first, {}, {}, {}};
    RunLanes(s, n - first < kSpan ? n - first : kSpan,
             nulls == nullptr ? nullptr : nulls + first / 8);
    if constexpr (kIn != 4) {
      s.low = _mm512_maskz_mov_epi64(Lanes<In>::kEven, s.low);
      s.high = _mm512_maskz_mov_epi64(Lanes<In>::kEven, s.high);
      s.words = _mm512_maskz_mov_epi64(Lanes<In>::kOdd, s.words);
    }
    total += static_cast<std::uint64_t>(AddUp<std::int64_t>(s.low));
    total += static_cast<uint128>(static_cast<int128>(AddUp<std::int64_t>(s.high))) << 32;
    total += static_cast<uint128>(static_cast<std::uint64_t>(AddUp<std::int64_t>(s.words))) << 64;
  }
  const int128 result = static_cast<int128>(total);
  StoreAt<int128>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

template <class T>
struct MinMaxLanes {
  using L = Lanes<T>;
  static constexpr bool kOneRegister = sizeof(T) == 1;

  const void* data;
  __m512i lo[kChains<T>];
  __m512i hi[kChains<T>];

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Group(MinMaxLanes& m, std::size_t first, std::uint64_t alive) noexcept {
#pragma GCC unroll 16
    for (std::size_t v = 0; v < kGroup; v += L::kCount) {
      const auto mask = L::MaskOf(alive >> v);
      const __m512i x = LoadAs<T, T, kWhole>(m.data, first + v, mask);
      const std::size_t k = v / L::kCount % kChains<T>;
      m.lo[k] = L::MinMasked(m.lo[k], mask, x);
      m.hi[k] = L::MaxMasked(m.hi[k], mask, x);
    }
  }
};

template <int kIn>
KES_DSB_AVX512 void MinMax(std::size_t n, const void* data, const std::uint8_t* nulls,
                           ldsbminmax* minmax) noexcept {
  using T = Element<kIn>;
  MinMaxLanes<T> m = {data, {}, {}};
  StartExtremes<T>(m.lo, m.hi);
  RunLanes(m, n, nulls);
  MergeLanes<T>(minmax, m.lo, m.hi);
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
      const __m512i x = LoadAs<T, T, false>(left, first + v, mask);
      const __m512i y = one_right ? one : LoadAs<T, T, false>(right, first + v, mask);
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
KES_DSB_AVX512 void WordsMember(std::size_t n, const void* left, const void* right, void* out,
                                const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  if (minmax == nullptr) {
    RunWords<kIn, kOut, Operation, kScalar, false>(n, left, right, out, nulls, nullptr);
  } else {
    RunWords<kIn, kOut, Operation, kScalar, true>(n, left, right, out, nulls, minmax);
  }
}

template <std::size_t kWords>
KES_DSB_AVX512 void MinMaxWords(std::size_t n, const void* data, const std::uint8_t* nulls,
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

template <int kIn, int kOut, class Operation, bool kScalar>
constexpr MemberKernel MemberFor() noexcept {
  if constexpr (kOut >= 5) {
    return WordsMember<kIn, kOut, Operation, kScalar>;
  } else {
    return Member<kIn, kOut, Operation, kScalar>;
  }
}

template <int kIn, int kOut>
constexpr void FillPair(Kernels& k) noexcept {
  constexpr int kWider = kOut - kIn;
  k.members[0][kIn - 1][kWider] = MemberFor<kIn, kOut, AddOperation, false>();
  k.members[1][kIn - 1][kWider] = MemberFor<kIn, kOut, SubtractOperation, false>();
  k.members[2][kIn - 1][kWider] = MemberFor<kIn, kOut, MultiplyOperation, false>();
  k.members[3][kIn - 1][kWider] = MemberFor<kIn, kOut, AddOperation, true>();
  k.members[4][kIn - 1][kWider] = MemberFor<kIn, kOut, SubtractOperation, true>();
  k.members[5][kIn - 1][kWider] = MemberFor<kIn, kOut, MultiplyOperation, true>();
}

template <int kIn>
constexpr void FillRow(Kernels& k) noexcept {
  FillPair<kIn, kIn>(k);
  FillPair<kIn, kIn + 1>(k);
  k.members[6][kIn - 1][0] = Sum<kIn, kIn>;
  if constexpr (kIn < 4) k.members[6][kIn - 1][1] = Sum<kIn, kIn + 1>;
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
  FillPair<5, 5>(k);
  FillPair<5, 6>(k);
  FillPair<6, 6>(k);
  k.members[6][3][1] = SumTo128<4>;
  k.members[6][4][0] = SumTo128<5>;
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
