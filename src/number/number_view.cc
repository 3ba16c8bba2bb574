#include "number/number_view.h"

#include <cstring>

namespace kestra::number {
namespace {

constexpr std::uint8_t kPositiveInfinity[] = {0xFF, 101};
constexpr std::uint8_t kNegativeInfinity[] = {0};

bool IsBytes(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> wanted) noexcept {
  return bytes.size() == wanted.size() &&
         std::memcmp(bytes.data(), wanted.data(), wanted.size()) == 0;
}

std::uint8_t ClampedDigit(int digit) noexcept {
  if (digit < 0) return 0;
  return static_cast<std::uint8_t>(digit < kBase ? digit : kBase - 1);
}

}  // namespace

Decimal ReadNumber(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.empty()) return {};
  if (IsBytes(bytes, kPositiveInfinity)) return MakeInfinity(false);
  if (IsBytes(bytes, kNegativeInfinity)) return MakeInfinity(true);
  Decimal value;
  value.negative = bytes[0] < kZeroByte;
  value.exponent = (value.negative ? 255 - bytes[0] : bytes[0]) - kExponentBias;
  std::span<const std::uint8_t> mantissa = bytes.subspan(1);
  if (value.negative && !mantissa.empty() && mantissa.back() == kTerminator) {
    mantissa = mantissa.first(mantissa.size() - 1);
  }
  for (const std::uint8_t byte : mantissa) {
    const std::uint8_t digit = ClampedDigit(value.negative ? kBase + 1 - byte : byte - 1);
    if (value.count == 0 && digit == 0) {
      --value.exponent;
    } else {
      value.digits[value.count++] = digit;
    }
  }
  while (value.count > 0 && value.digits[value.count - 1] == 0) --value.count;
  if (value.count == 0 || value.exponent < kMinExponent) return {};
  value.kind = Kind::kFinite;
  return value;
}

std::size_t WriteNumber(const Decimal& value, std::uint8_t (&bytes)[kMaxBytes]) noexcept {
  if (value.kind == Kind::kZero) {
    bytes[0] = kZeroByte;
    return 1;
  }
  if (value.kind == Kind::kInfinity) {
    bytes[0] = value.negative ? kNegativeInfinity[0] : kPositiveInfinity[0];
    if (value.negative) return 1;
    bytes[1] = kPositiveInfinity[1];
    return 2;
  }
  std::size_t length = 0;
  const int exponent_byte = value.exponent + kExponentBias;
  bytes[length++] = static_cast<std::uint8_t>(value.negative ? 255 - exponent_byte : exponent_byte);
  for (const std::uint8_t digit : value.Digits()) {
    bytes[length++] = static_cast<std::uint8_t>(value.negative ? kBase + 1 - digit : digit + 1);
  }
  if (value.negative && value.count < kMaxDigits) bytes[length++] = kTerminator;
  return length;
}

std::size_t RoundDigits(std::span<std::uint8_t> digits, std::size_t keep) noexcept {
  std::size_t end = keep;
  if (digits[keep] < kBase / 2) {
    while (digits[end - 1] == 0) --end;  // ends: digits[0] != 0
    return end;
  }
  // A 99 that takes the carry becomes a trailing zero, which is not stored: drop it and carry on.
  while (end > 0 && digits[end - 1] == kBase - 1) --end;
  if (end > 0) ++digits[end - 1];
  return end;
}

Decimal MakeDecimal(bool negative, int exponent, std::span<std::uint8_t> digits) noexcept {
  std::size_t begin = 0;
  while (begin < digits.size() && digits[begin] == 0) ++begin;
  digits = digits.subspan(begin);
  const long long shifted = static_cast<long long>(exponent) - static_cast<long long>(begin);
  if (digits.empty() || shifted < kMinExponent) return {};
  std::size_t count = digits.size();
  int raised = 0;
  if (count > kMaxDigits) {
    count = RoundDigits(digits, kMaxDigits);
    if (count == 0) {
      digits[0] = 1;
      count = 1;
      raised = 1;
    }
  } else {
    while (digits[count - 1] == 0) --count;
  }
  if (shifted + raised > kMaxExponent) return MakeInfinity(negative);
  Decimal value;
  value.kind = Kind::kFinite;
  value.negative = negative;
  value.exponent = static_cast<int>(shifted) + raised;
  value.count = static_cast<int>(count);
  std::memcpy(value.digits, digits.data(), count);
  return value;
}

void StoreBytes(const std::uint8_t* bytes, std::size_t length, std::uint8_t* out,
                std::size_t* outlen) noexcept {
  if (outlen == nullptr) {
    std::memmove(out + 1, bytes, length);
    *out = static_cast<std::uint8_t>(length);
  } else {
    std::memmove(out, bytes, length);
    *outlen = length;
  }
}

}  // namespace kestra::number
