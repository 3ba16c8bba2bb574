// Loops that take elements one by one, for 128 and 192 bits and for what has no other loop.
//
// Elements are taken in groups of 64, the bits of one word of the null bitmap. A group without
// nulls is a loop of fixed length with no test in it; a group of nulls is skipped; a mixed one
// visits the elements that are not null by counting trailing zeros, which mispredicts once a group
// and not once an element.
#pragma once

#include "number/kernels/ldsb_kernels.h"

#if defined(__clang__)
// Loops of 128- and 192-bit elements are not vectorised, which is no fault.
#pragma clang diagnostic ignored "-Wpass-failed"
#define KES_DSB_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define KES_DSB_INDEPENDENT _Pragma("GCC ivdep")
#endif

namespace kestra::number::dsb {

template <class In, class Out, class Operation, bool kScalar>
struct MemberLoop {
  const void* left;
  const void* right;
  void* out;
  In scalar;

  KES_DSB_INLINE Out Result(std::size_t i) const noexcept {
    const In x = kScalar ? scalar : LoadAt<In>(left, i);
    return Operation::template Apply<Out>(Convert<Out>(x), Convert<Out>(LoadAt<In>(right, i)));
  }
  KES_DSB_INLINE void One(std::size_t i) const noexcept { StoreAt<Out>(out, i, Result(i)); }
};

template <class Loop>
KES_DSB_INLINE void RunGroups(const Loop& loop, std::size_t n, const std::uint8_t* nulls) noexcept {
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    std::uint64_t alive = groups.At(first);
    if (alive == ~std::uint64_t{0}) {
      KES_DSB_INDEPENDENT
      for (std::size_t i = 0; i < kGroup; ++i) loop.One(first + i);
      continue;
    }
    for (; alive != 0; alive &= alive - 1) {
      loop.One(first + static_cast<std::size_t>(std::countr_zero(alive)));
    }
  }
}

template <class T>
KES_DSB_INLINE void MinMaxBody(std::size_t n, const void* data, const std::uint8_t* nulls,
                               ldsbminmax* minmax) noexcept {
  T lo = HighestOf<T>();
  T hi = LowestOf<T>();
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    std::uint64_t alive = groups.At(first);
    if (alive == ~std::uint64_t{0}) {
      for (std::size_t i = 0; i < kGroup; ++i) {
        const T x = LoadAt<T>(data, first + i);
        AssignIf(x < lo, lo, x);
        AssignIf(hi < x, hi, x);
      }
    } else {
      for (; alive != 0; alive &= alive - 1) {
        const T x = LoadAt<T>(data, first + static_cast<std::size_t>(std::countr_zero(alive)));
        AssignIf(x < lo, lo, x);
        AssignIf(hi < x, hi, x);
      }
    }
  }
  MergeExtremes(minmax, lo, hi);
}

// Results are looked through for their extremes in spans that are still in the first-level cache.
template <class In, class Out, class Operation, bool kScalar>
KES_DSB_INLINE void MemberBody(std::size_t n, const void* left, const void* right, void* out,
                               const std::uint8_t* nulls, ldsbminmax* minmax,
                               MinMaxKernel minmax_kernel) noexcept {
  constexpr std::size_t kSpan = 8192 / sizeof(Out) / kGroup * kGroup;
  const In scalar = kScalar ? LoadAt<In>(left, 0) : In{};
  const std::size_t step = minmax == nullptr ? n : kSpan;
  for (std::size_t first = 0; first < n; first += step) {
    const std::size_t size = n - first < step ? n - first : step;
    const MemberLoop<In, Out, Operation, kScalar> loop = {
        kScalar ? left : static_cast<const char*>(left) + first * sizeof(In),
        static_cast<const char*>(right) + first * sizeof(In),
        static_cast<char*>(out) + first * sizeof(Out), scalar};
    const std::uint8_t* span_nulls = nulls == nullptr ? nullptr : nulls + first / 8;
    RunGroups(loop, size, span_nulls);
    if (minmax != nullptr) minmax_kernel(size, loop.out, span_nulls, minmax);
  }
}

template <class In, class Out>
KES_DSB_INLINE void SumBody(std::size_t n, const void* data, void* out, const std::uint8_t* nulls,
                            ldsbminmax* minmax) noexcept {
  Wrap<Out> sum{};
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    std::uint64_t alive = groups.At(first);
    if (alive == ~std::uint64_t{0}) {
      for (std::size_t i = 0; i < kGroup; ++i) {
        sum = sum + static_cast<Wrap<Out>>(Convert<Out>(LoadAt<In>(data, first + i)));
      }
    } else {
      for (; alive != 0; alive &= alive - 1) {
        const std::size_t i = first + static_cast<std::size_t>(std::countr_zero(alive));
        sum = sum + static_cast<Wrap<Out>>(Convert<Out>(LoadAt<In>(data, i)));
      }
    }
  }
  const Out result = static_cast<Out>(sum);
  StoreAt<Out>(out, 0, result);
  if (minmax != nullptr) MergeExtremes(minmax, result, result);
}

template <class In, class Out>
struct ConvertLoop {
  const void* in;
  void* out;

  KES_DSB_INLINE void One(std::size_t i) const noexcept {
    StoreAt<Out>(out, i, Convert<Out>(LoadAt<In>(in, i)));
  }
};

template <class T>
KES_DSB_INLINE void CompareBody(std::size_t n, const void* left, const void* right, bool one_right,
                                std::uint32_t relation, const std::uint8_t* nulls,
                                std::uint8_t* matches) noexcept {
  const AliveGroups groups(nulls, n);
  for (std::size_t first = 0; first < n; first += kGroup) {
    const std::size_t size = n - first < kGroup ? n - first : kGroup;
    std::uint64_t below = 0;
    std::uint64_t above = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const T x = LoadAt<T>(left, first + i);
      const T y = LoadAt<T>(right, one_right ? 0 : first + i);
      below |= std::uint64_t{x < y} << i;
      above |= std::uint64_t{y < x} << i;
    }
    StoreMatches(below, above, relation, groups.At(first), first, size, matches);
  }
}

}  // namespace kestra::number::dsb
