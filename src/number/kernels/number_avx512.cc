// The AVX-512 table: entries that load, call a kernel, store, or hand over to the scalar function.
#if defined(__GNUC__) && !defined(__clang__)
// g++ 12 takes the undefined register inside its own intrinsics for a fault of their callers.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

#include "number/kernels/number_tables.h"

#if defined(__x86_64__)

#include "number/kernels/array_plan.h"
#include "number/kernels/avx512_add.h"
#include "number/kernels/avx512_block.h"
#include "number/kernels/avx512_divide.h"
#include "number/kernels/avx512_multiply.h"
#include "number/kernels/avx512_number.h"
#include "number/kernels/avx512_round.h"

namespace kestra::number {
namespace avx512 {
namespace {

using BinaryKernel = bool(Located x, Located y, Result& result) noexcept;

KES_AVX512 bool Sum(Located x, Located y, Result& result) noexcept {
  Loaded a, b;
  return Load(x, a) && Load(y, b) && Add(a, b, 0, result);
}
KES_AVX512 bool Difference(Located x, Located y, Result& result) noexcept {
  Loaded a, b;
  return Load(x, a) && Load(y, b) && Add(a, b, 1, result);
}
KES_AVX512 bool Product(Located x, Located y, Result& result) noexcept {
  Loaded a, b;
  return Load(x, a) && Load(y, b) && Multiply(a, b, result);
}
KES_AVX512 bool Quotient(Located x, Located y, Result& result) noexcept {
  Loaded a, b;
  return Load(x, a) && Load(y, b) && Divide(a, b, result);
}

template <BinaryKernel* kernel, BinaryFunction* other>
KES_AVX512_ENTRY void Binary(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
                             std::size_t ylen, std::uint8_t* out, std::size_t* outlen) noexcept {
  Result result;
  if (!kernel(Locate(x, xlen), Locate(y, ylen), result)) [[unlikely]] {
    return other(x, xlen, y, ylen, out, outlen);
  }
  Store(result, out, outlen);
}

template <Rounding rounding, RoundFunction* other>
KES_AVX512_ENTRY void RoundNumber(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
                                  std::size_t* outlen, int places) noexcept {
  Result result;
  if (!RoundAtPlace<rounding>(Locate(x, xlen), places, result)) [[unlikely]] {
    return other(x, xlen, out, outlen, places);
  }
  Store(result, out, outlen);
}

KES_AVX512 int CompareLocated(Located x, Located y) noexcept {
  const std::uint32_t both = _bzhi_u32(~0u, x.size < y.size ? x.size : y.size);
  const __m256i a = _mm256_maskz_loadu_epi8(both, x.bytes);
  const __m256i b = _mm256_maskz_loadu_epi8(both, y.bytes);
  const std::uint32_t unequal = _mm256_cmpneq_epi8_mask(a, b);
  if (unequal == 0) return static_cast<int>(x.size) - static_cast<int>(y.size);
  const std::uint32_t place = _tzcnt_u32(unequal);
  return x.bytes[place] - y.bytes[place];
}

KES_AVX512_ENTRY int Compare(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
                             std::size_t ylen) noexcept {
  const Located a = Locate(x, xlen);
  const Located b = Locate(y, ylen);
  if (a.size == 0 || b.size == 0) [[unlikely]]
    return scalar::Compare(x, xlen, y, ylen);
  return CompareLocated(a, b);
}

// What the vector forms of two columns work on.
struct BinaryColumns {
  const std::uint8_t* const* x;
  const std::uint16_t* xlen;
  const std::uint8_t* const* y;
  const std::uint16_t* ylen;
  const std::uint8_t* nulls;
  std::uint8_t** out;
  std::uint16_t* outlen;
  const std::uint8_t* area_end;
};

// Puts a result at area; end is the end of the caller's area.
KES_AVX512 std::size_t Pack(Result result, std::uint8_t* area, const std::uint8_t* end) noexcept {
  *area = result.first;
  if (end - area > 32) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(area + 1), result.mantissa);
  } else {
    _mm256_mask_storeu_epi8(area + 1, _bzhi_u32(~0u, result.length - 1), result.mantissa);
  }
  return result.length;
}

using BlockKernel = bool(const Block& x, const Block& y, Block& result) noexcept;

// No operation on blocks: each element by itself.
KES_AVX512 bool NoBlock(const Block&, const Block&, Block&) noexcept { return false; }

// Elements begin to end; returns the end of their results. No part of its caller: it needs all
// registers for itself.
template <BinaryKernel* kernel, BinaryFunction* other>
KES_AVX512_ENTRY __attribute__((noinline)) std::uint8_t* EachByItself(const BinaryColumns columns,
                                                                      std::size_t begin,
                                                                      std::size_t end,
                                                                      std::uint8_t* area) noexcept {
  const auto [x, xlen, y, ylen, nulls, out, outlen, area_end] = columns;
  for (std::size_t i = begin; i < end; ++i) {
    if (IsNull(nulls, i)) {
      out[i] = nullptr;
      outlen[i] = 0;
      continue;
    }
    Result result;
    std::size_t length;
    if (kernel(Locate(x[i], xlen[i]), Locate(y[i], ylen[i]), result)) [[likely]] {
      length = Pack(result, area, area_end);
    } else {
      other(x[i], xlen[i], y[i], ylen[i], area, &length);
    }
    out[i] = area;
    outlen[i] = static_cast<std::uint16_t>(length);
    area += length;
  }
  return area;
}

// The block of elements from begin on. False: not a case for blocks, and nothing is written.
template <BlockKernel* block>
KES_AVX512 bool WholeBlock(const BinaryColumns& c, std::size_t begin,
                           std::uint8_t*& area) noexcept {
  const __mmask8 absent = c.nulls == nullptr ? __mmask8{0} : __mmask8{c.nulls[begin / kBlock]};
  Block x, y, result;
  return c.area_end - area >= static_cast<std::ptrdiff_t>(kBlock * kRowBytes) &&
         LoadBlock(c.x + begin, c.xlen + begin, absent, x) &&
         LoadBlock(c.y + begin, c.ylen + begin, absent, y) && block(x, y, result) &&
         PackBlock(result, absent, c.out + begin, c.outlen + begin, area);
}

// Asks for the numbers of a block further on. They lie anywhere, and blocks are done sooner than
// the memory answers.
KES_AVX512 void Prefetch(const std::uint8_t* const* x, std::size_t begin, std::size_t n) noexcept {
  constexpr std::size_t kAhead = 4 * kBlock;
  if (n - begin < kAhead + kBlock) return;
  for (std::size_t i = 0; i < kBlock; ++i) __builtin_prefetch(x[begin + kAhead + i]);
}

template <BinaryKernel* kernel, BinaryFunction* other, BlockKernel* block>
KES_AVX512_ENTRY int BinaryArray(const std::uint8_t* const* x, const std::uint16_t* xlen,
                                 const std::uint8_t* const* y, const std::uint16_t* ylen,
                                 std::size_t n, const std::uint8_t* nulls, std::uint8_t** out,
                                 std::uint16_t* outlen, std::uint8_t* area,
                                 std::size_t area_size) noexcept {
  if (!AreaHolds(n, nulls, out, outlen, area_size)) return kAreaTooSmall;
  const BinaryColumns columns = {x, xlen, y, ylen, nulls, out, outlen, area + area_size};
  constexpr std::size_t kRun = 8 * kBlock;  // after a block that could not be done
  std::size_t i = 0;
  while (i < n) {
    while (block != NoBlock && n - i >= kBlock && WholeBlock<block>(columns, i, area)) {
      i += kBlock;
      Prefetch(x, i, n);
      Prefetch(y, i, n);
    }
    const std::size_t end = n - i < kRun ? n : i + kRun;
    area = EachByItself<kernel, other>(columns, i, end, area);
    i = end;
  }
  return 0;
}

using UnaryKernel = bool(Located x, Result& result) noexcept;

KES_AVX512 bool CopyBytes(Located x, Result& result) noexcept {
  if (x.size == 0) return false;
  result = {_mm256_maskz_loadu_epi8(_bzhi_u32(~0u, x.size - 1), x.bytes + 1), x.size, x.bytes[0]};
  return true;
}

// Bytes 1..101 are turned one by one; specials and other bytes are left to the scalar function.
KES_AVX512 bool NegateBytes(Located x, Result& result) noexcept {
  if (x.size < 2 || x.bytes[0] == 0xFF) return false;
  const std::uint32_t negative = x.bytes[0] >> 7;  // of the result
  const std::uint32_t ended = (negative ^ 1) & (x.bytes[x.size - 1] == kTerminator ? 1u : 0u);
  const std::uint32_t count = x.size - 1 - ended;
  const std::uint32_t places = _bzhi_u32(~0u, count);
  const __m256i raw = _mm256_maskz_loadu_epi8(places, x.bytes + 1);
  const __m256i terminators = Row(kConstants.terminators);
  const __m256i turned = _mm256_sub_epi8(terminators, raw);
  if ((_mm256_cmpgt_epu8_mask(_mm256_sub_epi8(raw, Row(kConstants.ones)),
                              Row(kConstants.hundreds)) &
       places) != 0) {
    return false;
  }
  const std::uint32_t terminator = negative & (count < kMaxDigits ? 1u : 0u);
  result = {turned, 1 + count + terminator, static_cast<std::uint8_t>(~x.bytes[0])};
  return true;
}

KES_AVX512 bool AbsoluteBytes(Located x, Result& result) noexcept {
  if (x.size == 0) return false;
  return x.bytes[0] < kZeroByte ? NegateBytes(x, result) : CopyBytes(x, result);
}

template <UnaryKernel* kernel, UnaryFunction* other>
KES_AVX512_ENTRY int UnaryArray(const std::uint8_t* const* x, const std::uint16_t* xlen,
                                std::size_t n, const std::uint8_t* nulls, std::uint8_t** out,
                                std::uint16_t* outlen, std::uint8_t* area,
                                std::size_t area_size) noexcept {
  if (!AreaHolds(n, nulls, out, outlen, area_size)) return kAreaTooSmall;
  const std::uint8_t* const end = area + area_size;
  for (std::size_t i = 0; i < n; ++i) {
    if (IsNull(nulls, i)) {
      out[i] = nullptr;
      outlen[i] = 0;
      continue;
    }
    Result result;
    std::size_t length;
    if (kernel(Locate(x[i], xlen[i]), result)) [[likely]] {
      length = Pack(result, area, end);
    } else {
      other(x[i], xlen[i], area, &length);
    }
    out[i] = area;
    outlen[i] = static_cast<std::uint16_t>(length);
    area += length;
  }
  return 0;
}

KES_AVX512_ENTRY void CompareArray(const std::uint8_t* const* x, const std::uint16_t* xlen,
                                   const std::uint8_t* const* y, const std::uint16_t* ylen,
                                   std::size_t n, const std::uint8_t* nulls, int* result) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    if (IsNull(nulls, i)) {
      result[i] = 0;
      continue;
    }
    const Located a = Locate(x[i], xlen[i]);
    const Located b = Locate(y[i], ylen[i]);
    result[i] = a.size == 0 || b.size == 0 ? scalar::Compare(x[i], xlen[i], y[i], ylen[i])
                                           : CompareLocated(a, b);
  }
}

}  // namespace
}  // namespace avx512

constinit const Kernels kAvx512Kernels = {
    "avx512",
    avx512::Binary<avx512::Sum, scalar::Add>,
    avx512::Binary<avx512::Difference, scalar::Subtract>,
    avx512::Binary<avx512::Product, scalar::Multiply>,
    avx512::Binary<avx512::Quotient, scalar::Divide>,
    avx512::RoundNumber<Rounding::kHalfAway, scalar::Round>,
    avx512::RoundNumber<Rounding::kHalfEven, scalar::RoundEven>,
    avx512::RoundNumber<Rounding::kTruncate, scalar::Truncate>,
    avx512::Compare,
    avx512::UnaryArray<avx512::AbsoluteBytes, scalar::Absolute>,
    avx512::UnaryArray<avx512::NegateBytes, scalar::Negate>,
    avx512::UnaryArray<avx512::CopyBytes, scalar::Copy>,
    avx512::BinaryArray<avx512::Sum, scalar::Add, avx512::AddBlock<false>>,
    avx512::BinaryArray<avx512::Difference, scalar::Subtract, avx512::AddBlock<true>>,
    avx512::BinaryArray<avx512::Product, scalar::Multiply, avx512::MultiplyBlock>,
    avx512::BinaryArray<avx512::Quotient, scalar::Divide, avx512::NoBlock>,
    avx512::CompareArray,
};

}  // namespace kestra::number

#endif
