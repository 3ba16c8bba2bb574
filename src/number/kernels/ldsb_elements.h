// Elements of decimal vectors as C++ types, and what the kernels do with them. Signed overflow
// wraps.
#pragma once

#include "number/ldsb_int192.h"

namespace kestra::number::dsb {

inline constexpr int kPrecisions = 6;
// Elements whose null bits are looked at together.
inline constexpr std::size_t kGroup = 64;

template <int kPrecision>
struct ElementOf;
template <>
struct ElementOf<1> {
  using Type = std::int8_t;
};
template <>
struct ElementOf<2> {
  using Type = std::int16_t;
};
template <>
struct ElementOf<3> {
  using Type = std::int32_t;
};
template <>
struct ElementOf<4> {
  using Type = std::int64_t;
};
template <>
struct ElementOf<5> {
  using Type = int128;
};
template <>
struct ElementOf<6> {
  using Type = Int192;
};
template <int kPrecision>
using Element = typename ElementOf<kPrecision>::Type;

// The type in which T is added and multiplied without promotion to a signed type.
template <class T>
struct WrapOf {
  using Type = std::uint32_t;
};
template <>
struct WrapOf<std::int64_t> {
  using Type = std::uint64_t;
};
template <>
struct WrapOf<int128> {
  using Type = uint128;
};
template <>
struct WrapOf<Int192> {
  using Type = Int192;
};
template <class T>
using Wrap = typename WrapOf<T>::Type;

// Sign extension or truncation.
template <class Out, class In>
KES_DSB_INLINE Out Convert(const In& value) noexcept {
  if constexpr (sizeof(In) == sizeof(Out)) {
    return value;
  } else if constexpr (sizeof(In) == sizeof(Int192)) {
    return static_cast<Out>(value.Low128());
  } else if constexpr (sizeof(Out) == sizeof(Int192) && sizeof(In) <= 8) {
    return Int192(static_cast<std::int64_t>(value));
  } else if constexpr (sizeof(Out) == sizeof(Int192)) {
    return Int192(value);
  } else {
    return static_cast<Out>(value);
  }
}

template <class T>
KES_DSB_INLINE T LoadAt(const void* array, std::size_t i) noexcept {
  const char* p = static_cast<const char*>(array) + i * sizeof(T);
  T value;
  if constexpr (sizeof(T) == sizeof(Int192)) {
    // Word by word: copied as a whole it would go through memory once more.
    for (int k = 0; k < 3; ++k) std::memcpy(&value.w[k], p + 8 * k, 8);
  } else {
    std::memcpy(&value, p, sizeof(T));
  }
  return value;
}
template <class T>
KES_DSB_INLINE void StoreAt(void* array, std::size_t i, const T& value) noexcept {
  char* p = static_cast<char*>(array) + i * sizeof(T);
  if constexpr (sizeof(T) == sizeof(Int192)) {
    for (int k = 0; k < 3; ++k) std::memcpy(p + 8 * k, &value.w[k], 8);
  } else {
    std::memcpy(p, &value, sizeof(T));
  }
}

// Word by word, so that it is a conditional move and not a jump.
template <class T>
KES_DSB_INLINE void AssignIf(bool condition, T& to, const T& from) noexcept {
  if constexpr (sizeof(T) == sizeof(Int192)) {
    for (int k = 0; k < 3; ++k) to.w[k] = condition ? from.w[k] : to.w[k];
  } else {
    to = condition ? from : to;
  }
}

struct AddOperation {
  template <class T>
  KES_DSB_INLINE static T Apply(const T& x, const T& y) noexcept {
    return static_cast<T>(static_cast<Wrap<T>>(x) + static_cast<Wrap<T>>(y));
  }
};
struct SubtractOperation {
  template <class T>
  KES_DSB_INLINE static T Apply(const T& x, const T& y) noexcept {
    return static_cast<T>(static_cast<Wrap<T>>(x) - static_cast<Wrap<T>>(y));
  }
};
struct MultiplyOperation {
  template <class T>
  KES_DSB_INLINE static T Apply(const T& x, const T& y) noexcept {
    return static_cast<T>(static_cast<Wrap<T>>(x) * static_cast<Wrap<T>>(y));
  }
};

// The last, partial group of AliveBits; apart, because every kernel would hold a copy.
[[gnu::noinline]] std::uint64_t AliveTail(const std::uint8_t* nulls, std::size_t size) noexcept;

// Bits of the (at most 64) elements from first on, which is a multiple of 8: 1 where the element is
// not null; 0 past size.
KES_DSB_INLINE std::uint64_t AliveBits(const std::uint8_t* nulls, std::size_t first,
                                       std::size_t size) noexcept {
  if (size < 64) return AliveTail(nulls == nullptr ? nullptr : nulls + first / 8, size);
  std::uint64_t bits = 0;
  if (nulls != nullptr) std::memcpy(&bits, nulls + first / 8, 8);
  return ~bits;
}

// The same for all groups of a loop over n elements: the partial group is worked out first, so that
// the loop has no call in it, which would push its registers to memory.
class AliveGroups {
 public:
  KES_DSB_INLINE AliveGroups(const std::uint8_t* nulls, std::size_t n) noexcept
      : nulls_(nulls),
        full_(n / 64 * 64),
        tail_(full_ == n ? 0 : AliveBits(nulls, full_, n - full_)) {}
  KES_DSB_INLINE std::uint64_t At(std::size_t first) const noexcept {
    if (first >= full_) return tail_;
    std::uint64_t bits = 0;
    if (nulls_ != nullptr) std::memcpy(&bits, nulls_ + first / 8, 8);
    return ~bits;
  }

 private:
  const std::uint8_t* nulls_;
  std::size_t full_;
  std::uint64_t tail_;
};

// The first element that is not null; n: there is none.
std::size_t FirstAlive(std::size_t n, const std::uint8_t* nulls) noexcept;

// Stores the bits of a comparison of the size elements from first on (see CompareKernel).
KES_DSB_INLINE void StoreMatches(std::uint64_t below, std::uint64_t above, std::uint32_t relation,
                                 std::uint64_t alive, std::size_t first, std::size_t size,
                                 std::uint8_t* matches) noexcept {
  const auto all_if = [relation](std::uint32_t bit) {
    return (relation & bit) != 0 ? ~std::uint64_t{0} : 0;
  };
  const std::uint64_t bits =
      ((below & all_if(1)) | (~(below | above) & all_if(2)) | (above & all_if(4))) & alive;
  std::memcpy(matches + first / 8, &bits, size >= 64 ? 8 : (size + 7) / 8);
}

// Merges the extremes of some elements; hi < lo: there were none.
void MergeWide(ldsbminmax* minmax, const Int192& lo, const Int192& hi) noexcept;
template <class T>
KES_DSB_INLINE void MergeExtremes(ldsbminmax* minmax, const T& lo, const T& hi) noexcept {
  MergeWide(minmax, Convert<Int192>(lo), Convert<Int192>(hi));
}

template <class T>
KES_DSB_INLINE constexpr T LowestOf() noexcept {
  if constexpr (sizeof(T) == sizeof(Int192)) {
    return MinimumOf(192);
  } else {
    return static_cast<T>(Wrap<T>{1} << (8 * sizeof(T) - 1));
  }
}
template <class T>
KES_DSB_INLINE constexpr T HighestOf() noexcept {
  if constexpr (sizeof(T) == sizeof(Int192)) {
    return MaximumOf(192);
  } else {
    return static_cast<T>(~LowestOf<T>());
  }
}

}  // namespace kestra::number::dsb
