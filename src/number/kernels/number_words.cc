// The table for every machine: entries that load, call a kernel, store, or hand over to the scalar
// function.
#include "number/kernels/array_plan.h"
#include "number/kernels/number_tables.h"
#include "number/kernels/words_add.h"
#include "number/kernels/words_divide.h"
#include "number/kernels/words_multiply.h"
#include "number/kernels/words_round.h"

namespace kestra::number {
namespace words {
namespace {

KES_INLINE Located At(const std::uint8_t* x, std::size_t xlen) noexcept {
  return {x, static_cast<std::uint32_t>(xlen)};
}

// Short and long numbers are functions of their own, which the entries do nothing but choose from:
// each saves the registers that it needs, and short ones do not wait for those of long ones. Lengths
// are of numbers alone here, 2 to 21.
template <typename Operation, BinaryFunction* other>
__attribute__((noinline)) void LongBinary(const std::uint8_t* x, std::size_t xlen,
                                          const std::uint8_t* y, std::size_t ylen,
                                          std::uint8_t* out, std::size_t* outlen) noexcept {
  if (!Operation::Long(At(x, xlen), At(y, ylen), Store{out, outlen})) [[unlikely]] {
    other(x, xlen, y, ylen, out, outlen);
  }
}

template <typename Operation, BinaryFunction* other>
__attribute__((noinline)) void ShortBinary(const std::uint8_t* x, std::size_t xlen,
                                           const std::uint8_t* y, std::size_t ylen,
                                           std::uint8_t* out, std::size_t* outlen) noexcept {
  if (!Operation::Short(At(x, xlen), At(y, ylen), Store{out, outlen})) [[unlikely]] {
    LongBinary<Operation, other>(x, xlen, y, ylen, out, outlen);
  }
}

template <typename Operation, BinaryFunction* other>
void Binary(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y, std::size_t ylen,
            std::uint8_t* out, std::size_t* outlen) noexcept {
  const Located a = Locate(x, xlen);
  const Located b = Locate(y, ylen);
  if (IsShort(a) && IsShort(b)) {
    return ShortBinary<Operation, other>(a.bytes, a.size, b.bytes, b.size, out, outlen);
  }
  if (IsLong(a) && IsLong(b)) {
    return LongBinary<Operation, other>(a.bytes, a.size, b.bytes, b.size, out, outlen);
  }
  other(x, xlen, y, ylen, out, outlen);
}

template <typename Row, Rounding rounding, RoundFunction* other>
__attribute__((noinline)) void RoundAs(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
                                       std::size_t* outlen, int places) noexcept {
  if (!RoundRow<Row, rounding>(At(x, xlen), places, Store{out, outlen})) [[unlikely]] {
    other(x, xlen, out, outlen, places);
  }
}

template <Rounding rounding, RoundFunction* other>
void RoundNumber(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out, std::size_t* outlen,
                 int places) noexcept {
  const Located a = Locate(x, xlen);
  if (IsShort(a)) return RoundAs<Row1, rounding, other>(a.bytes, a.size, out, outlen, places);
  if (IsLong(a)) return RoundAs<Row3, rounding, other>(a.bytes, a.size, out, outlen, places);
  other(x, xlen, out, outlen, places);
}

// The first two bytes, the first of them above.
KES_INLINE int FirstPair(const std::uint8_t* bytes) noexcept { return bytes[0] << 8 | bytes[1]; }

// Most numbers differ in the exponent or the first digit.
KES_INLINE int CompareLocated(Located x, Located y) noexcept {
  const std::size_t both = x.size < y.size ? x.size : y.size;
  std::size_t at = 0;
  if (both >= 2) [[likely]] {
    const int a = FirstPair(x.bytes);
    const int b = FirstPair(y.bytes);
    if (a != b) [[likely]] {
      const int first = (a >> 8) - (b >> 8);
      return first != 0 ? first : a - b;
    }
    at = 2;
  }
  for (; at + kWordBytes <= both; at += kWordBytes) {
    const Word a = LoadWord(x.bytes + at);
    const Word b = LoadWord(y.bytes + at);
    if (a == b) continue;
    at += LeadingBits(a ^ b) / 8;
    return x.bytes[at] - y.bytes[at];
  }
  for (; at < both; ++at) {
    if (x.bytes[at] != y.bytes[at]) return x.bytes[at] - y.bytes[at];
  }
  return static_cast<int>(x.size) - static_cast<int>(y.size);
}

KES_INLINE bool HasBytes(Located x) noexcept { return x.size - 1 <= kMaxBytes - 1; }

int Compare(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
            std::size_t ylen) noexcept {
  const Located a = Locate(x, xlen);
  const Located b = Locate(y, ylen);
  if (!HasBytes(a) || !HasBytes(b)) [[unlikely]]
    return scalar::Compare(x, xlen, y, ylen);
  return CompareLocated(a, b);
}

// Puts results one after another: more than a number's own bytes, while the area has room.
struct Pack {
  std::uint8_t* area;
  const std::uint8_t* end;
  std::size_t& length;

  static constexpr std::ptrdiff_t kRoom = 1 + 3 * kWordBytes;

  template <typename Row>
  KES_INLINE void operator()(const Result<Row>& result) const noexcept {
    length = Length(result);
    if (end - area < kRoom) [[unlikely]]
      return Put(result, area);
    area[0] = result.first;
    StoreWord(area + 1, result.mantissa.first);
    if constexpr (sizeof(Row) == sizeof(Row3)) {
      StoreWord(area + 1 + kWordBytes, result.mantissa.second);
      StoreWord(area + 1 + 2 * kWordBytes, result.mantissa.third);
    }
    area[1 + result.count] = kTerminator;
  }
};

template <typename Operation, BinaryFunction* other>
__attribute__((noinline)) std::size_t LongElement(const std::uint8_t* x, std::size_t xlen,
                                                  const std::uint8_t* y, std::size_t ylen,
                                                  std::uint8_t* area,
                                                  const std::uint8_t* end) noexcept {
  const Located a = Locate(x, xlen);
  const Located b = Locate(y, ylen);
  std::size_t length = 0;
  if (!IsLong(a) || !IsLong(b) || !Operation::Long(a, b, Pack{area, end, length})) [[unlikely]] {
    other(x, xlen, y, ylen, area, &length);
  }
  return length;
}

template <typename Operation, BinaryFunction* other>
int BinaryArray(const std::uint8_t* const* x, const std::uint16_t* xlen,
                const std::uint8_t* const* y, const std::uint16_t* ylen, std::size_t n,
                const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
                std::uint8_t* area, std::size_t area_size) noexcept {
  // Numbers lie anywhere, and are done with sooner than the memory answers.
  constexpr std::size_t kAhead = 32;
  const std::uint8_t* const end = area + area_size;
  return PackResults(
      n, nulls, out, outlen, area, area_size, [&](std::size_t i, std::uint8_t* room) noexcept {
        if (n - i > kAhead) {
          __builtin_prefetch(x[i + kAhead]);
          __builtin_prefetch(y[i + kAhead]);
        }
        const Located a = Locate(x[i], xlen[i]);
        const Located b = Locate(y[i], ylen[i]);
        std::size_t length = 0;
        if (IsShort(a) && IsShort(b) && Operation::Short(a, b, Pack{room, end, length})) {
          return length;
        }
        return LongElement<Operation, other>(x[i], xlen[i], y[i], ylen[i], room, end);
      });
}

void CompareArray(const std::uint8_t* const* x, const std::uint16_t* xlen,
                  const std::uint8_t* const* y, const std::uint16_t* ylen, std::size_t n,
                  const std::uint8_t* nulls, int* result) noexcept {
  for (std::size_t i = 0; i < n; ++i) {
    result[i] = IsNull(nulls, i) ? 0 : Compare(x[i], xlen[i], y[i], ylen[i]);
  }
}

}  // namespace
}  // namespace words

constinit const Kernels kWordKernels = {
    "words",
    words::Binary<words::Add<0>, scalar::Add>,
    words::Binary<words::Add<~words::Word{0}>, scalar::Subtract>,
    words::Binary<words::Multiply, scalar::Multiply>,
    words::Binary<words::Divide, scalar::Divide>,
    words::RoundNumber<Rounding::kHalfAway, scalar::Round>,
    words::RoundNumber<Rounding::kHalfEven, scalar::RoundEven>,
    words::RoundNumber<Rounding::kTruncate, scalar::Truncate>,
    words::Compare,
    scalar::AbsoluteArray,
    scalar::NegateArray,
    scalar::CopyArray,
    words::BinaryArray<words::Add<0>, scalar::Add>,
    words::BinaryArray<words::Add<~words::Word{0}>, scalar::Subtract>,
    words::BinaryArray<words::Multiply, scalar::Multiply>,
    words::BinaryArray<words::Divide, scalar::Divide>,
    words::CompareArray,
};

}  // namespace kestra::number
