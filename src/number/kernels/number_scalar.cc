// The plain functions: bytes to values, the operation, values to bytes.
#include <bit>
#include <cstring>

#include "kestra/number_tables.h"
#include "number/decimal_arithmetic.h"
#include "number/kernels/array_plan.h"
#include "number/kernels/number_tables.h"
#include "number/number_view.h"

namespace kestra::number {

bool AreaHolds(std::size_t n, const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
               std::size_t area_size) noexcept {
  const std::size_t room = area_size / kMaxPrefixed;  // elements that fit
  if (room >= n) return true;
  std::size_t present = n;
  if (nulls != nullptr) {
    for (std::size_t i = 0; i < n / 8; ++i) {
      present -= static_cast<std::size_t>(std::popcount(nulls[i]));
    }
    for (std::size_t i = n - n % 8; i < n; ++i) present -= IsNull(nulls, i);
  }
  if (room >= present) return true;
  for (std::size_t i = 0; i < n; ++i) {
    out[i] = nullptr;
    outlen[i] = 0;
  }
  return false;
}

namespace scalar {
namespace {

// A number's bytes, held apart from its source so that any output may overlap it.
struct Copied {
  explicit Copied(std::span<const std::uint8_t> source) noexcept {
    for (const std::uint8_t byte : source) bytes[length++] = byte;
    if (length == 0) bytes[length++] = kZeroByte;
  }
  std::uint8_t bytes[kMaxBytes + 1];  // and a terminator that a malformed number may get
  std::size_t length = 0;
};

void NegateBytes(Copied& number) noexcept {
  std::uint8_t* bytes = number.bytes;
  if (number.length == 1 && bytes[0] == kZeroByte) return;
  if (number.length == 2 && bytes[0] == 0xFF && bytes[1] == 101) {
    bytes[0] = 0;
    number.length = 1;
    return;
  }
  if (number.length == 1 && bytes[0] == 0) {
    bytes[0] = 0xFF;
    bytes[1] = 101;
    number.length = 2;
    return;
  }
  const bool was_negative = bytes[0] < kZeroByte;
  if (was_negative && number.length > 1 && bytes[number.length - 1] == kTerminator) {
    --number.length;
  }
  bytes[0] = static_cast<std::uint8_t>(~bytes[0]);
  for (std::size_t i = 1; i < number.length; ++i) {
    bytes[i] = bytes[i] < sizeof LnxqNegate ? LnxqNegate[bytes[i]] : 0;
  }
  if (!was_negative && number.length < kMaxBytes) bytes[number.length++] = kTerminator;
}

Copied Negated(const std::uint8_t* x, std::size_t xlen) noexcept {
  Copied number(NumberBytes(x, xlen));
  NegateBytes(number);
  return number;
}

Copied Positive(const std::uint8_t* x, std::size_t xlen) noexcept {
  Copied number(NumberBytes(x, xlen));
  if (number.bytes[0] < kZeroByte) NegateBytes(number);
  return number;
}

template <Copied (*operation)(const std::uint8_t*, std::size_t) noexcept>
int UnaryArray(const std::uint8_t* const* x, const std::uint16_t* xlen, std::size_t n,
               const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
               std::uint8_t* area, std::size_t area_size) noexcept {
  return PackResults(n, nulls, out, outlen, area, area_size,
                     [&](std::size_t i, std::uint8_t* room) noexcept {
                       const Copied number = operation(x[i], xlen[i]);
                       std::memcpy(room, number.bytes, number.length);
                       return number.length;
                     });
}

Copied Same(const std::uint8_t* x, std::size_t xlen) noexcept {
  return Copied(NumberBytes(x, xlen));
}

}  // namespace

void Add(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y, std::size_t ylen,
         std::uint8_t* out, std::size_t* outlen) noexcept {
  StoreNumber(number::Add(ReadNumber(x, xlen), ReadNumber(y, ylen)), out, outlen);
}

void Subtract(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y, std::size_t ylen,
              std::uint8_t* out, std::size_t* outlen) noexcept {
  StoreNumber(number::Subtract(ReadNumber(x, xlen), ReadNumber(y, ylen)), out, outlen);
}

void Multiply(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y, std::size_t ylen,
              std::uint8_t* out, std::size_t* outlen) noexcept {
  StoreNumber(number::Multiply(ReadNumber(x, xlen), ReadNumber(y, ylen)), out, outlen);
}

void Divide(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y, std::size_t ylen,
            std::uint8_t* out, std::size_t* outlen) noexcept {
  StoreNumber(number::Divide(ReadNumber(x, xlen), ReadNumber(y, ylen)), out, outlen);
}

void Round(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out, std::size_t* outlen,
           int places) noexcept {
  StoreNumber(RoundAt(ReadNumber(x, xlen), places, Rounding::kHalfAway), out, outlen);
}

void RoundEven(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out, std::size_t* outlen,
               int places) noexcept {
  StoreNumber(RoundAt(ReadNumber(x, xlen), places, Rounding::kHalfEven), out, outlen);
}

void Truncate(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out, std::size_t* outlen,
              int places) noexcept {
  StoreNumber(RoundAt(ReadNumber(x, xlen), places, Rounding::kTruncate), out, outlen);
}

int Compare(const std::uint8_t* x, std::size_t xlen, const std::uint8_t* y,
            std::size_t ylen) noexcept {
  const std::span<const std::uint8_t> a = NumberBytes(x, xlen);
  const std::span<const std::uint8_t> b = NumberBytes(y, ylen);
  const std::size_t both = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < both; ++i) {
    if (a[i] != b[i]) return a[i] - b[i];
  }
  return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

void Negate(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
            std::size_t* outlen) noexcept {
  const Copied number = Negated(x, xlen);
  StoreBytes(number.bytes, number.length, out, outlen);
}

void Absolute(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
              std::size_t* outlen) noexcept {
  const Copied number = Positive(x, xlen);
  StoreBytes(number.bytes, number.length, out, outlen);
}

void Copy(const std::uint8_t* x, std::size_t xlen, std::uint8_t* out,
          std::size_t* outlen) noexcept {
  const Copied number = Same(x, xlen);
  StoreBytes(number.bytes, number.length, out, outlen);
}

int AbsoluteArray(const std::uint8_t* const* x, const std::uint16_t* xlen, std::size_t n,
                  const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
                  std::uint8_t* area, std::size_t area_size) noexcept {
  return UnaryArray<Positive>(x, xlen, n, nulls, out, outlen, area, area_size);
}

int NegateArray(const std::uint8_t* const* x, const std::uint16_t* xlen, std::size_t n,
                const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
                std::uint8_t* area, std::size_t area_size) noexcept {
  return UnaryArray<Negated>(x, xlen, n, nulls, out, outlen, area, area_size);
}

int CopyArray(const std::uint8_t* const* x, const std::uint16_t* xlen, std::size_t n,
              const std::uint8_t* nulls, std::uint8_t** out, std::uint16_t* outlen,
              std::uint8_t* area, std::size_t area_size) noexcept {
  return UnaryArray<Same>(x, xlen, n, nulls, out, outlen, area, area_size);
}

}  // namespace scalar
}  // namespace kestra::number
