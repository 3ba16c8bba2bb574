// How inner code reads and writes a NUMBER: bytes in either stored form become a Decimal (sign,
// exponent, digits 0..99), and a Decimal or a row of digits becomes the bytes again. Everything
// here takes any bytes; what it makes is always well formed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestra::number {

inline constexpr int kBase = 100;
inline constexpr int kMaxDigits = 20;      // base-100 digits of a number
inline constexpr int kMaxBytes = 21;       // exponent byte and mantissa
inline constexpr int kMaxPrefixed = 22;    // with a length byte before it
inline constexpr int kMinExponent = -64;   // exponent byte 128 of a positive number
inline constexpr int kMaxExponent = 63;    // exponent byte 255
inline constexpr int kExponentBias = 192;  // exponent byte of exponent 0
inline constexpr std::uint8_t kZeroByte = 0x80;
inline constexpr std::uint8_t kTerminator = 102;  // ends a negative number of fewer than 20 digits

enum class Kind : std::uint8_t { kZero, kFinite, kInfinity };

// The value 0.d1 d2 d3 ... (base 100) times 100^exponent, with its sign. Finite: 1 <= count <= 20,
// neither the first nor the last digit is 0, kMinExponent <= exponent <= kMaxExponent. Digits past
// count are 0.
struct Decimal {
  Kind kind = Kind::kZero;
  bool negative = false;
  int exponent = 0;
  int count = 0;
  std::uint8_t digits[kMaxDigits] = {};

  std::span<const std::uint8_t> Digits() const noexcept {
    return {digits, static_cast<std::size_t>(count)};
  }
};

// The bytes of a number in either form, never more than 21 of them; empty for a null pointer.
inline std::span<const std::uint8_t> NumberBytes(const std::uint8_t* x, std::size_t xlen) noexcept {
  if (x == nullptr) return {};
  if (xlen == 0) xlen = *x++;
  return {x, xlen < kMaxBytes ? xlen : static_cast<std::size_t>(kMaxBytes)};
}

// Bytes to value. Malformed ones are read as number.h tells: no bytes are zero, digits are clamped
// to 0..99, zero digits at the ends are dropped.
Decimal ReadNumber(std::span<const std::uint8_t> bytes) noexcept;

inline Decimal ReadNumber(const std::uint8_t* x, std::size_t xlen) noexcept {
  return ReadNumber(NumberBytes(x, xlen));
}

// Value to bytes; returns the length. The value must be as the comment of Decimal says.
std::size_t WriteNumber(const Decimal& value, std::uint8_t (&bytes)[kMaxBytes]) noexcept;

// Rounds digits (base 100, most significant first) to the first keep of them, half a unit away from
// zero, and drops trailing zeros. Returns how many stay; 0: the carry ran past digits[0], the value
// is one unit of the place before it. Requires digits[0] != 0 and 0 < keep < digits.size().
std::size_t RoundDigits(std::span<std::uint8_t> digits, std::size_t keep) noexcept;

// The value 0.d1 d2 ... times 100^exponent of any number of digits, zeros at the ends allowed:
// rounded half away from zero to 20 digits, too large is infinity, too small (before rounding)
// zero. Changes digits.
Decimal MakeDecimal(bool negative, int exponent, std::span<std::uint8_t> digits) noexcept;

inline Decimal MakeInfinity(bool negative) noexcept {
  Decimal value;
  value.kind = Kind::kInfinity;
  value.negative = negative;
  return value;
}

// Puts length bytes of a number into the caller's output in the form that outlen asks for. bytes
// and out may overlap.
void StoreBytes(const std::uint8_t* bytes, std::size_t length, std::uint8_t* out,
                std::size_t* outlen) noexcept;

inline void StoreNumber(const Decimal& value, std::uint8_t* out, std::size_t* outlen) noexcept {
  std::uint8_t bytes[kMaxBytes];
  StoreBytes(bytes, WriteNumber(value, bytes), out, outlen);
}

}  // namespace kestra::number
