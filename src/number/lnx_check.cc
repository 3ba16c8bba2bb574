#include <algorithm>

#include "kestra/number.h"
#include "number/number_check.h"
#include "number/number_view.h"

namespace kestra::number {
namespace {

bool AllWithin(std::span<const std::uint8_t> bytes, int low, int high) noexcept {
  return std::all_of(bytes.begin(), bytes.end(),
                     [=](std::uint8_t byte) { return byte >= low && byte <= high; });
}

bool IsWellFormedPositive(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.size() == 1) return bytes[0] == kZeroByte;
  if (bytes.size() == 2 && bytes[0] == 0xFF && bytes[1] == 101) return true;
  return bytes.size() <= kMaxBytes && bytes[1] >= 2 && bytes.back() >= 2 &&
         AllWithin(bytes.subspan(1), 1, kBase);
}

bool IsWellFormedNegative(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.size() < 3) return bytes.size() == 1 && bytes[0] == 0;
  if (bytes.size() > kMaxBytes || bytes[1] > kBase) return false;
  std::span<const std::uint8_t> mantissa = bytes.subspan(1);
  if (mantissa.back() == kTerminator) {
    mantissa = mantissa.first(mantissa.size() - 1);
  } else if (bytes.size() != kMaxBytes) {
    return false;
  }
  return mantissa.back() <= kBase && AllWithin(mantissa, 2, kBase + 1);
}

// The whole of what the caller named: unlike NumberBytes, too long a number keeps its length.
std::span<const std::uint8_t> NamedBytes(const std::uint8_t* x, std::size_t xlen) noexcept {
  if (x == nullptr) return {};
  return xlen != 0 ? std::span(x, xlen) : std::span(x + 1, std::size_t{*x});
}

}  // namespace

bool IsWellFormed(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.empty()) return false;
  return bytes[0] >= kZeroByte ? IsWellFormedPositive(bytes) : IsWellFormedNegative(bytes);
}

}  // namespace kestra::number

int lnxchk(const uint8_t* x, size_t xlen) noexcept {
  return kestra::number::IsWellFormed(kestra::number::NamedBytes(x, xlen)) ? 1 : 0;
}

int lnxqchk(const uint8_t* x, size_t xlen, uint32_t flags) noexcept {
  std::span<const uint8_t> bytes = kestra::number::NamedBytes(x, xlen);
  if ((flags & KES_NUMBER_TRAILING_ZERO_BYTES) != 0) {
    while (bytes.size() > 1 && bytes.back() == 0) bytes = bytes.first(bytes.size() - 1);
  }
  return kestra::number::IsWellFormed(bytes) ? 1 : 0;
}
