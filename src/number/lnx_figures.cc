// Base-100 digits to decimal digits and back, 32 at a time: loops of fixed length over small
// arrays, which the compiler turns into vector code for any processor. A byte b of a positive
// number is digit b - 1, of a negative one 101 - b; both are (b ^ flip) + shift. Digit d of base
// 100 becomes the characters q = d / 10 and d - 10 q, which in a 16-bit lane are q + 256 (d - 10
// q), that is 256 d - 2559 q.
#include "number/lnx_figures.h"

#include <bit>

namespace kestra::number {
namespace {

constexpr int kLanes = 32;
constexpr std::uint8_t kNegativeOne = 101;  // what digit 0 is in a negative number

static_assert(std::endian::native == std::endian::little, "pairs are written as 16-bit words");

// Sets the kind for the forms that have no digits. False: there are digits.
bool ReadSpecial(std::span<const std::uint8_t> bytes, Figures& figures) noexcept {
  if (bytes.size() == 1 && bytes[0] == kZeroByte) return true;
  figures.negative = bytes[0] < kZeroByte;
  const bool infinite = (bytes.size() == 1 && bytes[0] == 0) ||
                        (bytes.size() == 2 && bytes[0] == 0xFF && bytes[1] == 101);
  if (infinite) figures.kind = Kind::kInfinity;
  return infinite;
}

}  // namespace

bool ReadFigures(std::span<const std::uint8_t> bytes, Figures& figures) noexcept {
  if (bytes.empty() || bytes.size() > kMaxBytes) return false;
  if (bytes.size() <= 2 && ReadSpecial(bytes, figures)) return true;
  const bool negative = bytes[0] < kZeroByte;
  std::size_t count = bytes.size() - 1;
  if (negative && count > 0 && bytes[count] == kTerminator) {
    --count;
    if (count == kMaxDigits) return false;
  } else if (negative && count < kMaxDigits) {
    return false;
  }
  if (count == 0) return false;

  const std::uint8_t flip = negative ? 0xFF : 0;
  const std::uint8_t shift = negative ? kNegativeOne + 1 : 0xFF;
  std::uint8_t digits[kLanes];
  std::memset(digits, negative ? kNegativeOne : 1, sizeof digits);
  CopyShort(reinterpret_cast<char*>(digits), reinterpret_cast<const char*>(bytes.data() + 1),
            count);
  std::uint8_t largest = 0;
  for (int i = 0; i < kLanes; ++i) {
    digits[i] = static_cast<std::uint8_t>((digits[i] ^ flip) + shift);
    largest = largest > digits[i] ? largest : digits[i];
  }
  if (largest >= kBase || digits[0] == 0 || digits[count - 1] == 0) return false;

  std::uint16_t pairs[kLanes];
  for (int i = 0; i < kLanes; ++i) {
    const std::uint16_t digit = digits[i];
    const auto tens = static_cast<std::uint16_t>((digit * 6554u) >> 16);  // exact up to 16388
    pairs[i] = static_cast<std::uint16_t>((digit << 8) - tens * 2559 + 0x3030);
  }
  static_assert(sizeof pairs == Figures::kRoom - Figures::kStart);
  std::memcpy(figures.room + Figures::kStart, pairs, sizeof pairs);

  const int half = digits[0] < 10 ? 1 : 0;
  const int exponent = (negative ? 255 - bytes[0] : bytes[0]) - kExponentBias;
  figures.kind = Kind::kFinite;
  figures.negative = negative;
  figures.first = Figures::kStart + half;
  figures.point = 2 * exponent - half;
  figures.count = 2 * static_cast<int>(count) - half;
  if (figures.room[figures.first + figures.count - 1] == '0') --figures.count;
  return true;
}

void RoundToPlaces(Figures& figures, std::int64_t places) noexcept {
  if (figures.kind != Kind::kFinite) return;
  const std::int64_t keep = figures.point + places;
  if (keep >= figures.count) return;
  char* const digits = figures.room + figures.first;
  const bool up = keep >= 0 && digits[keep] >= '5';
  int end = keep > 0 ? static_cast<int>(keep) : 0;
  std::memset(digits + end, '0', static_cast<std::size_t>(figures.count - end));
  const char dropped = up ? '9' : '0';
  while (end > 0 && digits[end - 1] == dropped) digits[--end] = '0';
  figures.count = end;
  if (end > 0) {
    if (up) ++digits[end - 1];
  } else if (up) {
    digits[0] = '1';
    figures.count = 1;
    figures.point += 1;
  } else {
    figures.kind = Kind::kZero;
    figures.negative = false;
    figures.point = 0;
  }
}

void Normalise(Figures& figures) noexcept {
  int kept = figures.count < Figures::kMaxKept ? figures.count : Figures::kMaxKept;
  const int end = Figures::kStart + kept;
  figures.first = Figures::kStart;
  while (kept > 0 && figures.room[figures.first] == '0') {
    ++figures.first;
    --figures.point;
    --kept;
  }
  figures.kind = kept > 0 ? Kind::kFinite : Kind::kZero;
  if (kept == 0) {
    figures.first = Figures::kStart;
    figures.point = 0;
    figures.negative = false;
  } else {
    int last = end;
    while (figures.room[last - 1] == '0') --last;
    kept = last - figures.first;
  }
  figures.count = kept;
}

std::size_t WriteFigures(const Figures& figures, std::uint8_t (&bytes)[kMaxBytes],
                         bool& in_range) noexcept {
  in_range = true;
  Decimal special;
  special.negative = figures.negative;
  special.kind = figures.kind;
  const int half = static_cast<int>(figures.point & 1);
  const std::int64_t exponent = (figures.point + half) / 2;  // exact: the sum is even
  if (figures.kind == Kind::kFinite && exponent > kMaxExponent) {
    special.kind = Kind::kInfinity;
    in_range = false;
  }
  if (figures.kind == Kind::kFinite && exponent < kMinExponent) special = {};
  if (special.kind != Kind::kFinite) return WriteNumber(special, bytes);

  const char* const text = figures.room + figures.first - half;
  static_assert(Figures::kStart + 1 + 2 * (kMaxDigits + 4) <= Figures::kRoom);
  std::uint8_t pairs[kMaxDigits + 4];
  for (int i = 0; i < kMaxDigits + 4; ++i) {
    pairs[i] = static_cast<std::uint8_t>((text[2 * i] - '0') * 10 + (text[2 * i + 1] - '0'));
  }
  std::size_t count = static_cast<std::size_t>(figures.count + half + 1) / 2;
  int carried = 0;
  if (count > kMaxDigits) {
    count = RoundDigits({pairs, count}, kMaxDigits);
    if (count == 0) {
      pairs[0] = 1;
      count = 1;
      carried = 1;
    }
  }
  if (exponent + carried > kMaxExponent) {
    special.kind = Kind::kInfinity;
    in_range = false;
    return WriteNumber(special, bytes);
  }
  const auto exponent_byte = static_cast<std::uint8_t>(exponent + carried + kExponentBias);
  const std::uint8_t flip = figures.negative ? 0xFF : 0;
  const std::uint8_t shift = figures.negative ? kNegativeOne + 1 : 1;
  bytes[0] = exponent_byte ^ flip;
  for (int i = 0; i < kMaxDigits; ++i) {
    bytes[1 + i] = static_cast<std::uint8_t>((pairs[i] ^ flip) + shift);
  }
  if (figures.negative && count < kMaxDigits) bytes[++count] = kTerminator;
  return 1 + count;
}

}  // namespace kestra::number
