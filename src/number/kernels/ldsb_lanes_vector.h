// Registers of 16 bytes, or of 32 with AVX2, as lanes of 8- to 64-bit elements, in the compiler's
// own vector types: the same code for every machine, and what ldsb_lane_loops.h is written with.
// Included by ldsb_portable.cc and ldsb_avx2.cc alone, which define before
//   KES_DSB_TARGET      the target attribute of functions, or nothing
//   KES_DSB_LANE_BYTES  16 or 32
//
// A mask is a register with all bits of a lane set or none, made from the bits of the bitmap: these
// are spread over a register, and each lane looks at the one that is its own. There is no masked
// store: results are blended with what the array holds. An example, four 32-bit elements of which
// the second is null:
//   bits everywhere    0010  0010  0010  0010
//   and the lane's own 0001  0010  0100  1000
//   equal to zero       all  none   all   all
#pragma once

#include <type_traits>

#include "number/kernels/ldsb_elements.h"
#if KES_DSB_LANE_BYTES == 32
#include <immintrin.h>
#endif

#define KES_DSB_LANE KES_DSB_TARGET [[gnu::always_inline]] static inline

namespace kestra::number::dsb {
namespace {

inline constexpr std::size_t kLaneBytes = KES_DSB_LANE_BYTES;
// Registers of a group in a row, and groups where they are one or few registers.
inline constexpr std::size_t kUnrolled = kLaneBytes == 32 ? 16 : 4;
inline constexpr int kGroupsUnrolled = kLaneBytes == 32 ? 2 : 1;

template <class T>
struct VectorOf {
  typedef T Type __attribute__((vector_size(kLaneBytes)));
};
template <class T>
using Vector = typename VectorOf<T>::Type;

template <class To, class From>
KES_DSB_LANE To BitCast(From x) noexcept {
  return __builtin_bit_cast(To, x);
}

template <class V>
KES_DSB_LANE V LoadVector(const void* p) noexcept {
  V x;
  std::memcpy(&x, p, sizeof x);
  return x;
}

template <class T>
KES_DSB_LANE Vector<T> Spread(T x) noexcept {
  return x - Vector<T>{};
}

// Which bits of a group the lanes of a mask look at; elements of more than 32 bits have several
// lanes, of the same bit. Rows are for one register of elements after the other.
template <std::size_t kElementBytes>
struct MaskPlan {
  using Lane =
      std::conditional_t<kElementBytes == 1, std::uint8_t,
                         std::conditional_t<kElementBytes == 2, std::uint16_t, std::uint32_t>>;
  static constexpr std::size_t kElements = kLaneBytes / kElementBytes;
  static constexpr std::size_t kLanes = kLaneBytes / sizeof(Lane);
  static constexpr std::size_t kRows = 8 * sizeof(Lane) > kElements ? 8 * sizeof(Lane) / kElements
                                                                    : 1;
  // Within the 8, 16 or 32 bits that lie in the lane; where rows repeat there are fewer.
  alignas(kLaneBytes) Lane own[kRows][kLanes];
  // 8- and 16-bit lanes: the byte of the group that each byte of the register takes.
  alignas(kLaneBytes) std::uint8_t bytes[kGroup / kElements][kLaneBytes];
};
template <std::size_t kElementBytes>
constexpr auto MakeMaskPlan() noexcept {
  using Plan = MaskPlan<kElementBytes>;
  using Lane = typename Plan::Lane;
  Plan plan = {};
  for (std::size_t i = 0; i < Plan::kRows * Plan::kLanes; ++i) {
    const std::size_t element = i / (kElementBytes / sizeof(Lane));
    plan.own[i / Plan::kLanes][i % Plan::kLanes] =
        static_cast<Lane>(Lane{1} << element % (8 * sizeof(Lane)));
  }
  for (std::size_t i = 0; i < kGroup * kElementBytes; ++i) {
    const std::size_t first = i / (8 * kElementBytes * sizeof(Lane)) * sizeof(Lane);
    plan.bytes[i / kLaneBytes][i % kLaneBytes] =
        static_cast<std::uint8_t>(first + i % sizeof(Lane));
  }
  return plan;
}
template <std::size_t kElementBytes>
constexpr auto kMaskPlan = MakeMaskPlan<kElementBytes>();

// The bits of a group that the 8- or 16-bit lanes of the elements from v on look at, in each lane.
template <class Lane>
KES_DSB_LANE Vector<Lane> SpreadBits(std::uint64_t bits, std::size_t v) noexcept {
#if KES_DSB_LANE_BYTES == 32
  // In each half of the register lie all 64 bits, so that no byte has to cross.
  const auto order = LoadVector<__m256i>(kMaskPlan<sizeof(Lane)>.bytes[v * sizeof(Lane) / 32]);
  return BitCast<Vector<Lane>>(_mm256_shuffle_epi8(BitCast<__m256i>(Spread(bits)), order));
#else
  if constexpr (sizeof(Lane) == 1) {
    constexpr std::uint64_t kEverywhere = 0x0101010101010101;
    return BitCast<Vector<Lane>>(Vector<std::uint64_t>{(bits >> v & 0xFF) * kEverywhere,
                                                       (bits >> v >> 8 & 0xFF) * kEverywhere});
  } else {
    return Spread(static_cast<Lane>(bits >> v / 16 * 16));
  }
#endif
}

// The mask of the elements from bit v on whose bits are 0.
template <std::size_t kElementBytes>
KES_DSB_LANE auto MaskOfZeros(std::uint64_t bits, std::size_t v) noexcept {
  using Plan = MaskPlan<kElementBytes>;
  using Lane = typename Plan::Lane;
  const auto own =
      LoadVector<Vector<Lane>>(kMaskPlan<kElementBytes>.own[v / Plan::kElements % Plan::kRows]);
  if constexpr (sizeof(Lane) == 4) {
    return (Spread(static_cast<Lane>(bits >> v / 32 * 32)) & own) == 0;
  } else {
    return (SpreadBits<Lane>(bits, v) & own) == 0;
  }
}

// x where the mask is set, else y. In the lanes that the mask was made in the compiler sees that it
// is a comparison, and the blend needs none of its own.
template <class Mask, class V>
KES_DSB_LANE V Select(Mask mask, V x, V y) noexcept {
  return BitCast<V>(mask ? BitCast<Mask>(x) : BitCast<Mask>(y));
}

// Copies less than a register.
KES_DSB_LANE void CopyShort(void* to, const void* from, std::size_t bytes) noexcept {
  auto* t = static_cast<char*>(to);
  const auto* f = static_cast<const char*>(from);
#pragma GCC unroll 5
  for (std::size_t step = kLaneBytes / 2; step != 0; step /= 2) {
    if ((bytes & step) == 0) continue;
    std::memcpy(t, f, step);
    t += step;
    f += step;
  }
}

// Lanes of kElementBytes, as unsigned integers W, so that overflow wraps.
template <class W, std::size_t kElementBytes>
struct AnyLanes {
  using Register = Vector<W>;
  using Mask = Vector<std::make_signed_t<typename MaskPlan<kElementBytes>::Lane>>;
  static constexpr std::size_t kCount = kLaneBytes / kElementBytes;

  KES_DSB_LANE Mask MaskOf(std::uint64_t null, std::size_t v) noexcept {
    return MaskOfZeros<kElementBytes>(null, v);
  }
  KES_DSB_LANE Register Add(Register x, Register y) noexcept { return x + y; }
  KES_DSB_LANE Register AddMasked(Register x, Mask mask, Register y) noexcept {
    return x + (y & BitCast<Register>(mask));
  }
  KES_DSB_LANE Register Load(const void* p) noexcept { return LoadVector<Register>(p); }
  // The first count elements, which may be more than a register holds.
  KES_DSB_LANE Register LoadSome(const void* p, Mask, std::size_t count) noexcept {
    if (count >= kCount) return Load(p);
    Register x = {};
    CopyShort(&x, p, count * kElementBytes);
    return x;
  }
};

template <class T>
struct Lanes : AnyLanes<std::make_unsigned_t<T>, sizeof(T)> {
  using W = std::make_unsigned_t<T>;
  using Base = AnyLanes<W, sizeof(T)>;
  using Register = typename Base::Register;
  using Mask = typename Base::Mask;
  using Base::kCount;
  using Base::Load;
  using Base::LoadSome;
  using Signed = Vector<T>;
  // Where minimum and maximum are several instructions that wait for one another.
  static constexpr std::size_t kChains =
      kLaneBytes == 32 ? (sizeof(T) == 8 ? 4 : 1) : (sizeof(T) == 2 ? 1 : 2);
  static constexpr bool kCompares = kLaneBytes == 32;

  KES_DSB_LANE Register Fill(T x) noexcept { return Spread(static_cast<W>(x)); }
  KES_DSB_LANE Register Subtract(Register x, Register y) noexcept { return x - y; }
  KES_DSB_LANE Register Multiply(Register x, Register y) noexcept { return x * y; }
  // Of lanes that hold elements of half their width.
  KES_DSB_LANE Register MultiplyExtended(Register x, Register y) noexcept {
#if KES_DSB_LANE_BYTES == 32
    if constexpr (sizeof(T) == 8) {
      return BitCast<Register>(_mm256_mul_epi32(BitCast<__m256i>(x), BitCast<__m256i>(y)));
    }
#endif
    return x * y;
  }
  // A null repeats what its lane had last, which the extremes know.
  template <bool kAll>
  KES_DSB_LANE void AddExtremes(Register& lo, Register& hi, Register& last, Mask mask,
                                Register x) noexcept {
    last = kAll ? x : Select(mask, x, last);
#if KES_DSB_LANE_BYTES == 16
    if constexpr (sizeof(T) == 8) {
      lo = Select(Less(last, lo), last, lo);
      hi = Select(Less(hi, last), last, hi);
      return;
    }
#endif
    const auto y = BitCast<Signed>(last);
    const auto low = BitCast<Signed>(lo);
    const auto high = BitCast<Signed>(hi);
    lo = BitCast<Register>(y < low ? y : low);
    hi = BitCast<Register>(high < y ? y : high);
  }
#if KES_DSB_LANE_BYTES == 16
  // Where 64-bit lanes cannot be compared, as on every x86-64: x < y in 32-bit halves. The upper
  // half of r tells: with equal upper halves that of x - y is the borrow of the lower ones.
  KES_DSB_LANE Vector<std::int32_t> Less(Register x, Register y) noexcept {
    const auto a = BitCast<Vector<std::int32_t>>(x);
    const auto b = BitCast<Vector<std::int32_t>>(y);
    const auto r = ((a == b) & BitCast<Vector<std::int32_t>>(x - y)) | (a < b);
    return __builtin_shufflevector(r, r, 1, 1, 3, 3);
  }
#endif
  KES_DSB_LANE void Store(void* p, Register x) noexcept { std::memcpy(p, &x, sizeof x); }
  KES_DSB_LANE void StoreMasked(void* p, Mask mask, Register x) noexcept {
    Store(p, Select(mask, x, Load(p)));
  }
  KES_DSB_LANE void StoreSome(void* p, Mask mask, std::size_t count, Register x) noexcept {
    if (count >= kCount) return StoreMasked(p, mask, x);
    const Register blended = Select(mask, x, LoadSome(p, mask, count));
    CopyShort(p, &blended, count * sizeof(T));
  }

  // Elements of half the width, sign-extended.
  KES_DSB_LANE Register LoadNarrow(const void* p) noexcept {
    Vector<std::uint8_t> x = {};
    std::memcpy(&x, p, kLaneBytes / 2);
    return Extend(x);
  }
  KES_DSB_LANE Register LoadNarrowSome(const void* p, Mask, std::size_t count) noexcept {
    if (count >= kCount) return LoadNarrow(p);
    Vector<std::uint8_t> x = {};
    CopyShort(&x, p, count * sizeof(T) / 2);
    return Extend(x);
  }

#if KES_DSB_LANE_BYTES == 32
  KES_DSB_LANE Register Extend(Vector<std::uint8_t> x) noexcept {
    const __m128i half = _mm256_castsi256_si128(BitCast<__m256i>(x));
    if constexpr (sizeof(T) == 2) return BitCast<Register>(_mm256_cvtepi8_epi16(half));
    if constexpr (sizeof(T) == 4) return BitCast<Register>(_mm256_cvtepi16_epi32(half));
    return BitCast<Register>(_mm256_cvtepi32_epi64(half));
  }

  // A bit for each lane in which x is below y.
  KES_DSB_LANE std::uint64_t Below(Register x, Register y) noexcept {
    const auto below = BitCast<__m256i>(BitCast<Signed>(x) < BitCast<Signed>(y));
    if constexpr (sizeof(T) == 8) {
      return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(below)));
    } else if constexpr (sizeof(T) == 4) {
      return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(below)));
    } else if constexpr (sizeof(T) == 2) {
      const __m128i bytes =
          _mm_packs_epi16(_mm256_castsi256_si128(below), _mm256_extracti128_si256(below, 1));
      return static_cast<unsigned>(_mm_movemask_epi8(bytes));
    } else {
      return static_cast<unsigned>(_mm256_movemask_epi8(below));
    }
  }
#else
  KES_DSB_LANE Register Extend(Vector<std::uint8_t> x) noexcept {
    // Each element beside itself, and the lower copy shifted out.
    Register result;
    if constexpr (sizeof(T) == 2) {
      result = BitCast<Register>(
          __builtin_shufflevector(x, x, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7));
    } else if constexpr (sizeof(T) == 4) {
      const auto y = BitCast<Vector<std::uint16_t>>(x);
      result = BitCast<Register>(__builtin_shufflevector(y, y, 0, 0, 1, 1, 2, 2, 3, 3));
    } else {
      const auto y = BitCast<Vector<std::uint32_t>>(x);
      result = BitCast<Register>(__builtin_shufflevector(y, y, 0, 0, 1, 1));
    }
    return BitCast<Register>(BitCast<Signed>(result) >> 4 * sizeof(T));
  }
#endif

  // Of 64-bit lanes: halves as lanes.
  KES_DSB_LANE Register LowHalf(Register x) noexcept { return x & Spread(W{0xFFFFFFFF}); }
  KES_DSB_LANE Register HighHalf(Register x) noexcept { return x >> 32; }
  KES_DSB_LANE Register HighHalfSigned(Register x) noexcept {
    return BitCast<Register>(BitCast<Signed>(x) >> 32);
  }
};

// 128-bit elements, two 64-bit lanes each, the lower word in the even one: only what sums need.
template <>
struct Lanes<int128> : AnyLanes<std::uint64_t, 16> {};

}  // namespace
}  // namespace kestra::number::dsb
