// Integers go by 128-bit arithmetic, two decimal digits at a time. Floating point goes by way of
// decimal text, for which the C++ library has exact and shortest conversions that neither allocate
// nor look at a locale.
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "kestra/number_native.h"
#include "number/number_view.h"

namespace kestra::number {
namespace {

using Wide = unsigned __int128;

void StoreInteger(Wide magnitude, bool negative, std::uint8_t* out, std::size_t* outlen) noexcept {
  std::uint8_t digits[kMaxDigits] = {};
  int place = kMaxDigits;
  while (magnitude > std::numeric_limits<std::uint64_t>::max()) {
    digits[--place] = static_cast<std::uint8_t>(magnitude % kBase);
    magnitude /= kBase;
  }
  for (auto rest = static_cast<std::uint64_t>(magnitude); rest != 0; rest /= kBase) {
    digits[--place] = static_cast<std::uint8_t>(rest % kBase);
  }
  StoreNumber(MakeDecimal(negative, kMaxDigits, digits), out, outlen);
}

struct Integer {
  Wide magnitude = 0;
  bool negative = false;
  int status = KES_NUMBER_EXACT;
};

Integer ToInteger(const Decimal& value) noexcept {
  Integer result;
  result.negative = value.negative;
  if (value.kind == Kind::kZero) return result;
  // 100^20 is above 2^128: only twenty digits can be too many, and their accumulation tells.
  if (value.kind == Kind::kInfinity || value.exponent > kMaxDigits) {
    result.status = KES_NUMBER_OUT_OF_RANGE;
    return result;
  }
  bool fits = true;
  for (int i = 0; i < value.exponent; ++i) {
    const Wide digit = i < value.count ? value.digits[i] : 0;
    fits = fits && !__builtin_mul_overflow(result.magnitude, Wide{kBase}, &result.magnitude) &&
           !__builtin_add_overflow(result.magnitude, digit, &result.magnitude);
  }
  if (value.count > value.exponent) {
    result.status = KES_NUMBER_ROUNDED;
    const bool up = value.exponent >= 0 && value.digits[value.exponent] >= kBase / 2;
    if (up) fits = fits && !__builtin_add_overflow(result.magnitude, Wide{1}, &result.magnitude);
  }
  if (!fits) result.status = KES_NUMBER_OUT_OF_RANGE;
  return result;
}

bool IsSize(std::size_t size) noexcept {
  return size == 1 || size == 2 || size == 4 || size == 8 || size == 16;
}

int StoreNative(const Integer& integer, Wide largest, void* value, std::size_t size) noexcept {
  if (integer.status < 0) return integer.status;
  if (integer.magnitude > largest) return KES_NUMBER_OUT_OF_RANGE;
  const Wide bits = integer.negative ? 0 - integer.magnitude : integer.magnitude;
  // The low bytes of the 128 bits, in the machine's order.
  if (size == 16) {
    std::memcpy(value, &bits, size);
    return integer.status;
  }
  const auto low = static_cast<std::uint64_t>(bits);
  const auto low4 = static_cast<std::uint32_t>(low);
  const auto low2 = static_cast<std::uint16_t>(low);
  const auto low1 = static_cast<std::uint8_t>(low);
  const void* const source = size == 8   ? static_cast<const void*>(&low)
                             : size == 4 ? static_cast<const void*>(&low4)
                             : size == 2 ? static_cast<const void*>(&low2)
                                         : static_cast<const void*>(&low1);
  std::memcpy(value, source, size);
  return integer.status;
}

// Every double of at least 1E-130 has fewer significant digits than this.
constexpr int kExactDigits = 780;

struct Read {
  Decimal value;
  bool lost = false;  // digits other than 0 beyond the 40th, or all of them
};

// "d.ddde-xx", the form of the C++ library's scientific format without a sign, to a value.
Read FromScientific(const char* begin, const char* end, bool negative) noexcept {
  const char* exponent_at = begin;
  while (*exponent_at != 'e') ++exponent_at;
  int exponent = 0;
  const bool small = exponent_at[1] == '-';
  std::from_chars(exponent_at + 2, end, exponent);
  if (small) exponent = -exponent;
  // The first digit has the weight 10^exponent: an even one is the second half of a byte.
  std::uint8_t digits[kExactDigits / 2 + 2] = {};
  int place = exponent & 1 ? 0 : 1;  // in decimal digits
  for (const char* at = begin; at < exponent_at; ++at) {
    if (*at == '.') continue;
    const int digit = *at - '0';
    digits[place / 2] =
        static_cast<std::uint8_t>(digits[place / 2] + (place % 2 == 0 ? 10 * digit : digit));
    ++place;
  }
  Read result;
  const int count = (place + 1) / 2;
  for (int i = kMaxDigits; i < count; ++i) result.lost = result.lost || digits[i] != 0;
  result.value =
      MakeDecimal(negative, (exponent >> 1) + 1, {digits, static_cast<std::size_t>(count)});
  result.lost = result.lost || result.value.kind == Kind::kZero;
  return result;
}

template <typename Float, typename Print>
int FromFloat(Float value, std::uint8_t* out, std::size_t* outlen, Print print) noexcept {
  if (std::isnan(value)) return KES_NUMBER_NOT_A_NUMBER;
  const bool negative = std::signbit(value);
  if (std::isinf(value) || value == 0) {
    StoreNumber(value == 0 ? Decimal{} : MakeInfinity(negative), out, outlen);
    return KES_NUMBER_EXACT;
  }
  char text[kExactDigits + 16];
  const char* const end = print(text, text + sizeof text, std::fabs(value));
  const Read read = FromScientific(text, end, negative);
  if (read.value.kind == Kind::kInfinity) return KES_NUMBER_OUT_OF_RANGE;
  StoreNumber(read.value, out, outlen);
  return read.lost ? KES_NUMBER_ROUNDED : KES_NUMBER_EXACT;
}

template <typename Float>
int ToFloat(const Decimal& x, Float* value) noexcept {
  Float result = 0;
  if (x.kind == Kind::kInfinity) {
    result = std::numeric_limits<Float>::infinity();
  } else if (x.kind == Kind::kFinite) {
    char text[2 * kMaxDigits + 8];
    char* at = text;
    for (const std::uint8_t digit : x.Digits()) {
      *at++ = static_cast<char>('0' + digit / 10);
      *at++ = static_cast<char>('0' + digit % 10);
    }
    *at++ = 'e';
    at = std::to_chars(at, text + sizeof text, 2 * (x.exponent - x.count)).ptr;
    if (std::from_chars(text, at, result).ec != std::errc()) {
      if (x.exponent > 0) return KES_NUMBER_OUT_OF_RANGE;
      result = 0;  // below half of the smallest subnormal
    }
  }
  if (x.negative) result = -result;
  std::memcpy(value, &result, sizeof result);
  return KES_NUMBER_EXACT;
}

}  // namespace
}  // namespace kestra::number

using namespace kestra::number;  // NOLINT: thin entry points of the functions above

void lnxmin(int64_t value, uint8_t* out, size_t* outlen) noexcept {
  const auto bits = static_cast<std::uint64_t>(value);
  StoreInteger(value < 0 ? 0 - bits : bits, value < 0, out, outlen);
}

void lnxmun(uint64_t value, uint8_t* out, size_t* outlen) noexcept {
  StoreInteger(value, false, out, outlen);
}

void lnxmiq(int64_t high, uint64_t low, uint8_t* out, size_t* outlen) noexcept {
  const Wide bits = static_cast<Wide>(static_cast<std::uint64_t>(high)) << 64 | low;
  StoreInteger(high < 0 ? 0 - bits : bits, high < 0, out, outlen);
}

void lnxmuq(uint64_t high, uint64_t low, uint8_t* out, size_t* outlen) noexcept {
  StoreInteger(static_cast<Wide>(high) << 64 | low, false, out, outlen);
}

int lnxgin(const uint8_t* x, size_t xlen, void* value, size_t size) noexcept {
  if (!IsSize(size)) return KES_NUMBER_BAD_SIZE;
  const Integer integer = ToInteger(ReadNumber(x, xlen));
  const Wide half = Wide{1} << (8 * size - 1);
  return StoreNative(integer, integer.negative ? half : half - 1, value, size);
}

int lnxgun(const uint8_t* x, size_t xlen, void* value, size_t size) noexcept {
  if (!IsSize(size)) return KES_NUMBER_BAD_SIZE;
  const Integer integer = ToInteger(ReadNumber(x, xlen));
  const Wide largest = size == 16 ? ~Wide{0} : (Wide{1} << (8 * size)) - 1;
  return StoreNative(integer, integer.negative ? 0 : largest, value, size);
}

int lnxmdb(double value, uint8_t* out, size_t* outlen) noexcept {
  return FromFloat(value, out, outlen, [](char* begin, char* end, double magnitude) noexcept {
    return std::to_chars(begin, end, magnitude, std::chars_format::scientific).ptr;
  });
}

int lnxmfl(float value, uint8_t* out, size_t* outlen) noexcept {
  return FromFloat(value, out, outlen, [](char* begin, char* end, float magnitude) noexcept {
    return std::to_chars(begin, end, magnitude, std::chars_format::scientific).ptr;
  });
}

int lnxmdx(double value, uint8_t* out, size_t* outlen) noexcept {
  return FromFloat(value, out, outlen, [](char* begin, char* end, double magnitude) noexcept {
    return std::to_chars(begin, end, magnitude, std::chars_format::scientific, kExactDigits - 2)
        .ptr;
  });
}

int lnxgdb(const uint8_t* x, size_t xlen, double* value) noexcept {
  return ToFloat(ReadNumber(x, xlen), value);
}

int lnxgfl(const uint8_t* x, size_t xlen, float* value) noexcept {
  return ToFloat(ReadNumber(x, xlen), value);
}
