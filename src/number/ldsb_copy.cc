// Copies and scans, plain and through a vector of element numbers. Numbers are checked against the
// limit in a pass of their own before anything is touched, so a bad one leaves the output as it
// was.
#include "number/ldsb_copy.h"

#include "number/kernels/ldsb_loops.h"
#include "number/ldsb_rules.h"

namespace kestra::number::dsb {
namespace {

// The largest element number that is not null lies below limit.
bool AllBelow(std::size_t count, const std::uint32_t* index, const std::uint8_t* nulls,
              std::size_t limit) noexcept {
  std::uint32_t largest = 0;
  bool any = false;
  for (std::size_t first = 0; first < count; first += kGroup) {
    std::uint64_t alive = AliveBits(nulls, first, count - first);
    any |= alive != 0;
    if (alive == ~std::uint64_t{0}) {
      for (std::size_t i = 0; i < kGroup; ++i) {
        const std::uint32_t number = LoadAt<std::uint32_t>(index, first + i);
        largest = number > largest ? number : largest;
      }
    } else {
      for (; alive != 0; alive &= alive - 1) {
        const std::uint32_t number =
            LoadAt<std::uint32_t>(index, first + static_cast<std::size_t>(std::countr_zero(alive)));
        largest = number > largest ? number : largest;
      }
    }
  }
  return !any || largest < limit;
}

template <class T>
struct CopyLoop {
  const void* in;
  void* out;
  KES_DSB_INLINE void One(std::size_t i) const noexcept { StoreAt<T>(out, i, LoadAt<T>(in, i)); }
};
template <class T>
struct GatherLoop {
  const std::uint32_t* index;
  const void* in;
  void* out;
  KES_DSB_INLINE void One(std::size_t i) const noexcept {
    StoreAt<T>(out, i, LoadAt<T>(in, LoadAt<std::uint32_t>(index, i)));
  }
};
template <class T>
struct ScatterLoop {
  const std::uint32_t* index;
  const void* in;
  void* out;
  KES_DSB_INLINE void One(std::size_t i) const noexcept {
    StoreAt<T>(out, LoadAt<std::uint32_t>(index, i), LoadAt<T>(in, i));
  }
};
// Merges the extremes of what is gathered, without a copy.
template <class T>
struct GatherMinMax {
  const std::uint32_t* index;
  const void* in;
  T* lo;
  T* hi;
  KES_DSB_INLINE void One(std::size_t i) const noexcept {
    const T x = LoadAt<T>(in, LoadAt<std::uint32_t>(index, i));
    if (x < *lo) *lo = x;
    if (*hi < x) *hi = x;
  }
};

// Groups in order: of equal element numbers the last must stay, so no loop is declared independent.
template <class Loop>
void RunInOrder(const Loop& loop, std::size_t n, const std::uint8_t* nulls) noexcept {
  for (std::size_t first = 0; first < n; first += kGroup) {
    for (std::uint64_t alive = AliveBits(nulls, first, n - first); alive != 0; alive &= alive - 1) {
      loop.One(first + static_cast<std::size_t>(std::countr_zero(alive)));
    }
  }
}

// Calls work with a value of the element type of a precision.
template <class Work>
void WithElement(int precision, Work&& work) noexcept {
  switch (precision) {
    case 1:
      return work(std::int8_t{});
    case 2:
      return work(std::int16_t{});
    case 3:
      return work(std::int32_t{});
    case 4:
      return work(std::int64_t{});
    case 5:
      return work(int128{});
    default:
      return work(Int192{});
  }
}

void MinMax(int precision, std::size_t n, const void* data, const std::uint8_t* nulls,
            ldsbminmax* minmax) noexcept {
  FindKernel([&](const Kernels& k) { return k.minmax[precision - 1]; })(n, data, nulls, minmax);
}

template <class T>
void GatherExtremes(std::size_t n, const std::uint32_t* index, const void* data,
                    const std::uint8_t* nulls, ldsbminmax* minmax) noexcept {
  T lo = HighestOf<T>();
  T hi = LowestOf<T>();
  RunInOrder(GatherMinMax<T>{index, data, &lo, &hi}, n, nulls);
  MergeExtremes(minmax, lo, hi);
}

int PrecisionOfRecord(const ldsboperation& record) noexcept {
  return IsPrecision(record.precision) ? static_cast<int>(record.precision) : 0;
}

// The same record for another set of functions: a width in place of a precision.
int Record(std::size_t width, const std::uint8_t* nulls, ldsbminmax* minmax, std::size_t limit,
           ldsboperation* record) noexcept {
  const int precision = PrecisionOfWidth(width);
  if (precision == 0) return KES_DSB_WIDTH;
  *record = {nulls, static_cast<std::uint32_t>(precision), 0, minmax, limit};
  return KES_DSB_OK;
}

}  // namespace

int ldsbminmaxop(std::size_t count, const void*, const void* right, void*,
                 const ldsboperation* record) noexcept {
  const int precision = PrecisionOfRecord(*record);
  if (precision == 0) return KES_DSB_PRECISION;
  if (record->minmax != nullptr) MinMax(precision, count, right, record->nulls, record->minmax);
  return KES_DSB_OK;
}

int ldsbcopyop(std::size_t count, const void*, const void* right, void* output,
               const ldsboperation* record) noexcept {
  const int precision = PrecisionOfRecord(*record);
  if (precision == 0) return KES_DSB_PRECISION;
  if (record->nulls == nullptr) {
    if (count != 0) std::memmove(output, right, count * WidthOf(precision));
  } else {
    WithElement(precision, [&](auto x) {
      RunGroups(CopyLoop<decltype(x)>{right, output}, count, record->nulls);
    });
  }
  if (record->minmax != nullptr) MinMax(precision, count, right, record->nulls, record->minmax);
  return KES_DSB_OK;
}

int ldsbcopy_scatterop(std::size_t count, const void* left, const void* right, void* output,
                       const ldsboperation* record) noexcept {
  const int precision = PrecisionOfRecord(*record);
  if (precision == 0) return KES_DSB_PRECISION;
  const auto* index = static_cast<const std::uint32_t*>(left);
  if (!AllBelow(count, index, record->nulls, record->limit)) return KES_DSB_BOUNDS;
  WithElement(precision, [&](auto x) {
    RunInOrder(ScatterLoop<decltype(x)>{index, right, output}, count, record->nulls);
  });
  if (record->minmax != nullptr) MinMax(precision, count, right, record->nulls, record->minmax);
  return KES_DSB_OK;
}

int ldsbcopy_gatherop(std::size_t count, const void* left, const void* right, void* output,
                      const ldsboperation* record) noexcept {
  const int precision = PrecisionOfRecord(*record);
  if (precision == 0) return KES_DSB_PRECISION;
  const auto* index = static_cast<const std::uint32_t*>(left);
  if (!AllBelow(count, index, record->nulls, record->limit)) return KES_DSB_BOUNDS;
  WithElement(precision, [&](auto x) {
    RunGroups(GatherLoop<decltype(x)>{index, right, output}, count, record->nulls);
  });
  if (record->minmax != nullptr) MinMax(precision, count, output, record->nulls, record->minmax);
  return KES_DSB_OK;
}

}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbminmaxdsbs(size_t width, size_t count, const void* data, const uint8_t* nulls,
                   ldsbminmax* minmax) noexcept {
  ldsboperation record;
  const int status = Record(width, nulls, minmax, 0, &record);
  return status != KES_DSB_OK ? status : ldsbminmaxop(count, nullptr, data, nullptr, &record);
}

int ldsbminmaxdsbs_gather(size_t width, size_t count, const uint32_t* index, const void* data,
                          size_t limit, const uint8_t* nulls, ldsbminmax* minmax) noexcept {
  const int precision = PrecisionOfWidth(width);
  if (precision == 0) return KES_DSB_WIDTH;
  if (!AllBelow(count, index, nulls, limit)) return KES_DSB_BOUNDS;
  WithElement(precision,
              [&](auto x) { GatherExtremes<decltype(x)>(count, index, data, nulls, minmax); });
  return KES_DSB_OK;
}

int ldsbcopydsbs(size_t width, size_t count, const void* data, void* output, const uint8_t* nulls,
                 ldsbminmax* minmax) noexcept {
  ldsboperation record;
  const int status = Record(width, nulls, minmax, 0, &record);
  return status != KES_DSB_OK ? status : ldsbcopyop(count, nullptr, data, output, &record);
}

int ldsbcopydsbs_gather(size_t width, size_t count, const uint32_t* index, const void* data,
                        size_t limit, void* output, const uint8_t* nulls,
                        ldsbminmax* minmax) noexcept {
  ldsboperation record;
  const int status = Record(width, nulls, minmax, limit, &record);
  return status != KES_DSB_OK ? status : ldsbcopy_gatherop(count, index, data, output, &record);
}

int ldsbcopydsbs_scatter(size_t width, size_t count, const uint32_t* index, const void* data,
                         void* output, size_t limit, const uint8_t* nulls,
                         ldsbminmax* minmax) noexcept {
  ldsboperation record;
  const int status = Record(width, nulls, minmax, limit, &record);
  return status != KES_DSB_OK ? status : ldsbcopy_scatterop(count, index, data, output, &record);
}
