// The loops of 8- to 64-bit elements over registers of lanes, the same for all processor levels.
// Included after the header that defines the registers: ldsb_lanes_avx512.h or
// ldsb_lanes_vector.h.
//
// Elements are taken in groups of 64, the bits of one word of the null bitmap. Results at nulls are
// computed like the others and not stored, so nulls of any density cost the same and mispredict
// nothing but groups of nulls, which are skipped. The last, partial group goes through the same
// code, with loads and stores of the elements that exist.
#pragma once

#include "number/kernels/ldsb_loops.h"

namespace kestra::number::dsb {
namespace {

// Elements as lanes. Within a whole group they are all loaded, nulls too: processors fetch ahead of
// plain loads, not of masked ones, which then take up to twice the time from memory. count: the
// elements from the i-th on, looked at in a partial group.
template <class In, class Out, bool kWhole>
KES_DSB_LANE typename Lanes<Out>::Register LoadAs(const void* array, std::size_t i,
                                                  typename Lanes<Out>::Mask mask,
                                                  std::size_t count) noexcept {
  const void* p = static_cast<const In*>(array) + i;
  if constexpr (sizeof(In) == sizeof(Out)) {
    return kWhole ? Lanes<Out>::Load(p) : Lanes<Out>::LoadSome(p, mask, count);
  } else {
    return kWhole ? Lanes<Out>::LoadNarrow(p) : Lanes<Out>::LoadNarrowSome(p, mask, count);
  }
}

template <class In, class Out, class Operation>
KES_DSB_LANE auto ApplyLanes(typename Lanes<Out>::Register x,
                             typename Lanes<Out>::Register y) noexcept {
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

// Running extremes, in each lane for itself until Merge. They begin with a value that counts.
template <class T>
struct LaneExtremes {
  using L = Lanes<T>;
  using Register = typename L::Register;
  static constexpr std::size_t kChains = L::kChains;

  Register lo[kChains];
  Register hi[kChains];
  Register last[kChains];

  KES_DSB_LANE void Start(LaneExtremes& e, T value) noexcept {
    for (std::size_t k = 0; k < kChains; ++k) e.lo[k] = e.hi[k] = e.last[k] = L::Fill(value);
  }
  template <bool kAll>
  KES_DSB_LANE void Add(LaneExtremes& e, std::size_t k, typename L::Mask mask,
                        Register x) noexcept {
    L::template AddExtremes<kAll>(e.lo[k], e.hi[k], e.last[k], mask, x);
  }
  KES_DSB_LANE void Merge(const LaneExtremes& e, ldsbminmax* minmax) noexcept {
    T lows[kChains * L::kCount];
    T highs[kChains * L::kCount];
    for (std::size_t k = 0; k < kChains; ++k) {
      L::Store(lows + k * L::kCount, e.lo[k]);
      L::Store(highs + k * L::kCount, e.hi[k]);
    }
    MergeArrays(minmax, lows, highs);
  }
  KES_DSB_TARGET [[gnu::noinline]] static void MergeArrays(ldsbminmax* minmax, const T* lows,
                                                           const T* highs) noexcept {
    T lo = lows[0];
    T hi = highs[0];
    for (std::size_t i = 1; i < kChains * L::kCount; ++i) {
      AssignIf(lows[i] < lo, lo, lows[i]);
      AssignIf(hi < highs[i], hi, highs[i]);
    }
    MergeExtremes(minmax, lo, hi);
  }
};

// The bits of a whole group.
KES_DSB_LANE std::uint64_t NullWord(const std::uint8_t* nulls, std::size_t first) noexcept {
  std::uint64_t bits;
  std::memcpy(&bits, nulls + first / 8, sizeof bits);
  return bits;
}

// A loop has a function Step<kWhole, kAll>(loop, first, v, row, null, size) for a register of
// elements, from first + v on. kWhole: all of the group exist; kAll: none of it is null either. row:
// a count of registers, a constant where loops are unrolled. null: a bit for each of the group that
// is null or does not exist; size: how many of the group exist.
template <bool kAll, class Loop>
KES_DSB_LANE void RunGroup(Loop& loop, std::size_t first, std::uint64_t null) noexcept {
  constexpr std::size_t kCount = Loop::L::kCount;
  constexpr std::size_t kRows = kGroup / kCount < kUnrolled ? kGroup / kCount : kUnrolled;
#pragma GCC unroll 1
  for (std::size_t v = 0; v < kGroup; v += kRows * kCount) {
#pragma GCC unroll 16
    for (std::size_t row = 0; row < kRows; ++row) {
      Loop::template Step<true, kAll>(loop, first, v + row * kCount, row, null, kGroup);
    }
  }
}

template <class Loop>
KES_DSB_LANE void RunPart(Loop& loop, std::size_t first, std::uint64_t null,
                          std::size_t size) noexcept {
#pragma GCC unroll 1
  for (std::size_t v = 0; v < size; v += Loop::L::kCount) {
    Loop::template Step<false, false>(loop, first, v, 0, null, size);
  }
}

template <class Loop>
KES_DSB_LANE void RunLanes(Loop& loop, std::size_t n, const std::uint8_t* nulls) noexcept {
  const std::size_t whole = n / kGroup * kGroup;
  if (Loop::kFewRegisters && nulls == nullptr) {
#pragma GCC unroll kGroupsUnrolled
    for (std::size_t first = 0; first < whole; first += kGroup) RunGroup<true>(loop, first, 0);
  } else if (nulls == nullptr) {
    for (std::size_t first = 0; first < whole; first += kGroup) RunGroup<true>(loop, first, 0);
  } else if constexpr (Loop::kFewRegisters) {
    // A jump would cost more than it saves.
#pragma GCC unroll kGroupsUnrolled
    for (std::size_t first = 0; first < whole; first += kGroup) {
      RunGroup<false>(loop, first, NullWord(nulls, first));
    }
  } else {
    for (std::size_t first = 0; first < whole; first += kGroup) {
      const std::uint64_t null = NullWord(nulls, first);
      if (~null != 0) RunGroup<false>(loop, first, null);
    }
  }
  if (whole != n) RunPart(loop, whole, ~AliveBits(nulls, whole, n - whole), n - whole);
}

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
struct MemberLanes {
  using L = Lanes<Out>;
  static constexpr bool kFewRegisters = sizeof(Out) == 1;

  const void* left;
  const void* right;
  void* out;
  typename L::Register scalar;
  LaneExtremes<Out> extremes;

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Step(MemberLanes& m, std::size_t first, std::size_t v, std::size_t row,
                         std::uint64_t null, std::size_t size) noexcept {
    const auto mask = L::MaskOf(null, v);
    const auto x = kScalar ? m.scalar : LoadAs<In, Out, kWhole>(m.left, first + v, mask, size - v);
    const auto y = LoadAs<In, Out, kWhole>(m.right, first + v, mask, size - v);
    const auto result = ApplyLanes<In, Out, Operation>(x, y);
    Out* to = static_cast<Out*>(m.out) + first + v;
    if constexpr (kAll) {
      L::Store(to, result);
    } else if constexpr (kWhole) {
      L::StoreMasked(to, mask, result);
    } else {
      L::StoreSome(to, mask, size - v, result);
    }
    if constexpr (kMinMax)
      LaneExtremes<Out>::template Add<kAll>(m.extremes, row % L::kChains, mask, result);
  }
};

template <class In, class Out, class Operation, bool kScalar, bool kMinMax>
KES_DSB_LANE void RunMember(std::size_t n, const void* left, const void* right, void* out,
                            const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  MemberLanes<In, Out, Operation, kScalar, kMinMax> m;
  m.left = left;
  m.right = right;
  m.out = out;
  if constexpr (kScalar) m.scalar = Lanes<Out>::Fill(Convert<Out>(LoadAt<In>(left, 0)));
  if constexpr (kMinMax) {
    const std::size_t i = FirstAlive(n, nulls);
    if (i >= n) return;
    const In x = LoadAt<In>(left, kScalar ? 0 : i);
    const In y = LoadAt<In>(right, i);
    LaneExtremes<Out>::Start(m.extremes,
                             Operation::template Apply<Out>(Convert<Out>(x), Convert<Out>(y)));
  }
  RunLanes(m, n, nulls);
  if constexpr (kMinMax) LaneExtremes<Out>::Merge(m.extremes, minmax);
}

template <int kIn, int kOut, class Operation, bool kScalar>
KES_DSB_TARGET void LaneMember(std::size_t n, const void* left, const void* right, void* out,
                               const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  if (minmax == nullptr) {
    RunMember<Element<kIn>, Element<kOut>, Operation, kScalar, false>(n, left, right, out, nulls,
                                                                      nullptr);
  } else {
    RunMember<Element<kIn>, Element<kOut>, Operation, kScalar, true>(n, left, right, out, nulls,
                                                                     minmax);
  }
}

// The sum of the lanes first, first + step, ...
template <class Out>
KES_DSB_LANE Out AddUp(typename Lanes<Out>::Register x, std::size_t first = 0,
                       std::size_t step = 1) noexcept {
  Out lanes[Lanes<Out>::kCount];
  Lanes<Out>::Store(lanes, x);
  Wrap<Out> sum = 0;
  for (std::size_t i = first; i < Lanes<Out>::kCount; i += step) {
    sum += static_cast<Wrap<Out>>(lanes[i]);
  }
  return static_cast<Out>(sum);
}

template <class In, class Out>
struct SumLanes {
  using L = Lanes<Out>;
  static constexpr bool kFewRegisters = sizeof(Out) == 1;

  const void* data;
  typename L::Register sums[2];  // that do not wait for one another

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Step(SumLanes& s, std::size_t first, std::size_t v, std::size_t row,
                         std::uint64_t null, std::size_t size) noexcept {
    const auto mask = L::MaskOf(null, v);
    auto& sum = s.sums[row % 2];
    const auto x = LoadAs<In, Out, kWhole>(s.data, first + v, mask, size - v);
    sum = kAll ? L::Add(sum, x) : L::AddMasked(sum, mask, x);
  }
};

template <int kIn, int kOut>
KES_DSB_TARGET void LaneSum(std::size_t n, const void*, const void* right, void* out,
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
  using Half = Lanes<std::int64_t>;
  static constexpr bool kFewRegisters = false;

  const void* data;
  typename Half::Register low;
  typename Half::Register high;
  typename Half::Register words;

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Step(SumTo128Lanes& s, std::size_t first, std::size_t v, std::size_t,
                         std::uint64_t null, std::size_t size) noexcept {
    const auto mask = L::MaskOf(null, v);
    const auto x = LoadAs<In, In, kWhole>(s.data, first + v, mask, size - v);
    s.low = Half::AddMasked(s.low, mask, Half::LowHalf(x));
    if constexpr (sizeof(In) == 8) {
      s.high = Half::AddMasked(s.high, mask, Half::HighHalfSigned(x));
    } else {
      s.high = Half::AddMasked(s.high, mask, Half::HighHalf(x));
      s.words = Half::AddMasked(s.words, mask, x);
    }
  }
};

template <int kIn>
KES_DSB_TARGET void LaneSumTo128(std::size_t n, const void*, const void* right, void* out,
                                 const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  using In = Element<kIn>;
  using Word = std::int64_t;
  constexpr std::size_t kSpan = std::size_t{1} << 31;
  constexpr std::size_t kWords = sizeof(In) / sizeof(Word);
  uint128 total = 0;
  for (std::size_t first = 0; first < n; first += kSpan) {
    SumTo128Lanes<In> s = {static_cast<const In*>(right) + first, {}, {}, {}};
    RunLanes(s, n - first < kSpan ? n - first : kSpan,
             nulls == nullptr ? nullptr : nulls + first / 8);
    total += static_cast<std::uint64_t>(AddUp<Word>(s.low, 0, kWords));
    total += static_cast<uint128>(static_cast<int128>(AddUp<Word>(s.high, 0, kWords))) << 32;
    if constexpr (kWords == 2) {
      total += static_cast<uint128>(static_cast<std::uint64_t>(AddUp<Word>(s.words, 1, 2))) << 64;
    }
  }
  const int128 result = static_cast<int128>(total);
  StoreAt<int128>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

template <class T>
struct MinMaxLanes {
  using L = Lanes<T>;
  static constexpr bool kFewRegisters = sizeof(T) == 1;

  const void* data;
  LaneExtremes<T> extremes;

  template <bool kWhole, bool kAll>
  KES_DSB_LANE void Step(MinMaxLanes& m, std::size_t first, std::size_t v, std::size_t row,
                         std::uint64_t null, std::size_t size) noexcept {
    const auto mask = L::MaskOf(null, v);
    const auto x = LoadAs<T, T, kWhole>(m.data, first + v, mask, size - v);
    LaneExtremes<T>::template Add<kAll>(m.extremes, row % L::kChains, mask, x);
  }
};

template <int kIn>
KES_DSB_TARGET void LaneMinMax(std::size_t n, const void* data, const std::uint8_t* nulls,
                               ldsbminmax* minmax) noexcept {
  using T = Element<kIn>;
  MinMaxLanes<T> m;
  m.data = data;
  const std::size_t first = FirstAlive(n, nulls);
  if (first >= n) return;
  LaneExtremes<T>::Start(m.extremes, LoadAt<T>(data, first));
  RunLanes(m, n, nulls);
  LaneExtremes<T>::Merge(m.extremes, minmax);
}

template <class T, bool kWhole>
KES_DSB_LANE void CompareGroup(const void* left, const void* right, const T* one,
                               std::uint32_t relation, std::uint64_t null, std::size_t first,
                               std::size_t size, std::uint8_t* matches) noexcept {
  using L = Lanes<T>;
  std::uint64_t below = 0;
  std::uint64_t above = 0;
#pragma GCC unroll 16
  for (std::size_t v = 0; v < kGroup; v += L::kCount) {
    if (!kWhole && v >= size) break;
    const auto mask = L::MaskOf(null, v);
    const auto x = LoadAs<T, T, kWhole>(left, first + v, mask, size - v);
    const auto y =
        one != nullptr ? L::Fill(*one) : LoadAs<T, T, kWhole>(right, first + v, mask, size - v);
    below |= L::Below(x, y) << v;
    above |= L::Below(y, x) << v;
  }
  StoreMatches(below, above, relation, ~null, first, size, matches);
}

template <int kIn>
KES_DSB_TARGET void LaneCompare(std::size_t n, const void* left, const void* right, bool one_right,
                                std::uint32_t relation, const std::uint8_t* nulls,
                                std::uint8_t* matches) noexcept {
  using T = Element<kIn>;
  const T value = one_right ? LoadAt<T>(right, 0) : T{};
  const T* one = one_right ? &value : nullptr;
  const std::size_t whole = n / kGroup * kGroup;
  for (std::size_t first = 0; first < whole; first += kGroup) {
    CompareGroup<T, true>(left, right, one, relation, nulls == nullptr ? 0 : NullWord(nulls, first),
                          first, kGroup, matches);
  }
  if (whole != n) {
    CompareGroup<T, false>(left, right, one, relation, ~AliveBits(nulls, whole, n - whole), whole,
                           n - whole, matches);
  }
}

// Copies what is not null of a group.
template <class Out>
struct CopyLanes {
  using L = Lanes<Out>;

  const Out* from;  // room for a whole group
  Out* to;

  template <bool, bool>
  KES_DSB_LANE void Step(const CopyLanes& c, std::size_t, std::size_t v, std::size_t,
                         std::uint64_t null, std::size_t size) noexcept {
    L::StoreSome(c.to + v, L::MaskOf(null, v), size - v, L::Load(c.from + v));
  }
};

// The compiler vectorises the conversion; results beside nulls take a detour.
template <int kIn, int kOut>
KES_DSB_TARGET void LaneConvert(std::size_t n, const void* in, void* out,
                                const std::uint8_t* nulls) noexcept {
  using In = Element<kIn>;
  using Out = Element<kOut>;
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    const std::uint64_t null = ~groups.At(first);
    Out* to = static_cast<Out*>(out) + first;
    if (null == 0) {
      KES_DSB_INDEPENDENT
      for (std::size_t i = 0; i < kGroup; ++i) {
        StoreAt<Out>(to, i, Convert<Out>(LoadAt<In>(in, first + i)));
      }
    } else if (~null != 0) {
      const std::size_t size = n - first < kGroup ? n - first : kGroup;
      Out converted[kGroup] = {};
      for (std::size_t i = 0; i < size; ++i) converted[i] = Convert<Out>(LoadAt<In>(in, first + i));
      CopyLanes<Out> copy = {converted, to};
      RunPart(copy, 0, null, size);
    }
  }
}

template <int kIn, int kOut>
constexpr void FillLaneMembers(Kernels& k) noexcept {
  constexpr int kWider = kOut - kIn;
  k.members[0][kIn - 1][kWider] = LaneMember<kIn, kOut, AddOperation, false>;
  k.members[1][kIn - 1][kWider] = LaneMember<kIn, kOut, SubtractOperation, false>;
  k.members[2][kIn - 1][kWider] = LaneMember<kIn, kOut, MultiplyOperation, false>;
  k.members[3][kIn - 1][kWider] = LaneMember<kIn, kOut, AddOperation, true>;
  k.members[4][kIn - 1][kWider] = LaneMember<kIn, kOut, SubtractOperation, true>;
  k.members[5][kIn - 1][kWider] = LaneMember<kIn, kOut, MultiplyOperation, true>;
  k.members[6][kIn - 1][kWider] = LaneSum<kIn, kOut>;
}

// The entries of a table for elements up to 64 bits, and sums of 128.
template <int kIn = 1>
constexpr void FillLanes(Kernels& k) noexcept {
  FillLaneMembers<kIn, kIn>(k);
  if constexpr (kIn < 4) FillLaneMembers<kIn, kIn + 1>(k);
  if constexpr (kIn != 1) k.convert[kIn - 1][0] = LaneConvert<kIn, 1>;
  if constexpr (kIn != 2) k.convert[kIn - 1][1] = LaneConvert<kIn, 2>;
  if constexpr (kIn != 3) k.convert[kIn - 1][2] = LaneConvert<kIn, 3>;
  if constexpr (kIn != 4) k.convert[kIn - 1][3] = LaneConvert<kIn, 4>;
  k.minmax[kIn - 1] = LaneMinMax<kIn>;
  if constexpr (Lanes<Element<kIn>>::kCompares) k.compare[kIn - 1] = LaneCompare<kIn>;
  if constexpr (kIn < 4) {
    FillLanes<kIn + 1>(k);
  } else {
    k.members[6][3][1] = LaneSumTo128<4>;
    k.members[6][4][0] = LaneSumTo128<5>;
  }
}

}  // namespace
}  // namespace kestra::number::dsb
