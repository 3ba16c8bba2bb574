#include "tests/support/wide_reference.h"

#include <algorithm>
#include <cstring>

namespace kestra::test::ref {

Wide::Wide(std::int64_t value) {
  for (std::size_t i = 0; i < kLimbs; ++i) {
    limbs_[i] = static_cast<std::uint16_t>(value >> std::min<std::size_t>(16 * i, 63));
  }
}

Wide Wide::FromBytes(const void* bytes, std::size_t width) {
  unsigned char all[2 * kLimbs];
  std::memcpy(all, bytes, width);
  std::memset(all + width, all[width - 1] >= 0x80 ? 0xFF : 0, sizeof all - width);
  Wide result;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    result.limbs_[i] = static_cast<std::uint16_t>(all[2 * i] + 256 * all[2 * i + 1]);
  }
  return result;
}

Wide Wide::Power(int base, int exponent) {
  Wide result(1);
  while (exponent-- > 0) result = result * Wide(base);
  return result;
}

void Wide::ToBytes(void* bytes, std::size_t width) const {
  for (std::size_t i = 0; i < width; ++i) {
    static_cast<unsigned char*>(bytes)[i] =
        static_cast<unsigned char>(limbs_[i / 2] >> (i % 2 == 0 ? 0 : 8));
  }
}

bool Wide::Fits(std::size_t width) const {
  unsigned char bytes[2 * kLimbs];
  ToBytes(bytes, width);
  return FromBytes(bytes, width) == *this;
}

int Wide::Bits() const {
  const Wide magnitude = IsNegative() ? -*this : *this;
  for (int bit = 16 * static_cast<int>(kLimbs) - 1; bit > 0; --bit) {
    if ((magnitude.limbs_[static_cast<std::size_t>(bit / 16)] >> bit % 16 & 1) != 0) return bit + 1;
  }
  return 1;
}

Wide Wide::operator-() const {
  Wide result;
  for (std::size_t i = 0; i < kLimbs; ++i)
    result.limbs_[i] = static_cast<std::uint16_t>(~limbs_[i]);
  return result + Wide(1);
}

Wide Wide::operator+(const Wide& other) const {
  Wide result;
  std::uint32_t carry = 0;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    carry += std::uint32_t{limbs_[i]} + other.limbs_[i];
    result.limbs_[i] = static_cast<std::uint16_t>(carry);
    carry >>= 16;
  }
  return result;
}

Wide Wide::operator-(const Wide& other) const { return *this + -other; }

Wide Wide::operator*(const Wide& other) const {
  Wide result;
  for (std::size_t i = 0; i < kLimbs; ++i) {
    std::uint32_t carry = 0;
    for (std::size_t j = 0; i + j < kLimbs; ++j) {
      carry += std::uint32_t{limbs_[i]} * other.limbs_[j] + result.limbs_[i + j];
      result.limbs_[i + j] = static_cast<std::uint16_t>(carry);
      carry >>= 16;
    }
  }
  return result;
}

bool Wide::operator<(const Wide& other) const {
  if (IsNegative() != other.IsNegative()) return IsNegative();
  return std::lexicographical_compare(limbs_.rbegin(), limbs_.rend(), other.limbs_.rbegin(),
                                      other.limbs_.rend());
}

namespace {

constexpr int kOutOfRange = -246;
constexpr std::size_t kWidths[] = {1, 2, 4, 8, 16, 24};

std::size_t NextWidth(std::size_t width) {
  return *std::upper_bound(std::begin(kWidths), std::end(kWidths), width);
}

// The narrowest width for that many significant bits.
std::size_t WidthOfBits(int bits) {
  return *std::find_if(std::begin(kWidths), std::end(kWidths), [bits](std::size_t width) {
    return width == 24 || bits < 8 * static_cast<int>(width);
  });
}

int BitsOf(const Column& column) {
  int bits = 1;
  for (const auto& value : column.values) {
    if (value) bits = std::max(bits, value->Bits());
  }
  return bits;
}

// Base-100 digits of 2^bits - 1.
int DigitsOfBits(int bits) {
  static const auto kDigits = [] {
    std::array<int, 193> digits{};
    for (int b = 0; b <= 192; ++b) {
      while (!(Wide::Power(2, b) - Wide(1) < Wide::Power(100, digits[static_cast<std::size_t>(b)])))
        ++digits[static_cast<std::size_t>(b)];
    }
    return digits;
  }();
  return kDigits[static_cast<std::size_t>(bits)];
}

bool InRange(int bits, std::int64_t scale) {
  return bits <= 192 && DigitsOfBits(bits) <= 20 && scale >= -65 &&
         DigitsOfBits(bits) + scale <= 63;
}

// Widens a column with the minimum of its width; false at 24 bytes.
bool WidenMinimum(Column& column) {
  const Wide minimum = -Wide::Power(2, 8 * static_cast<int>(column.width) - 1);
  const bool has = std::any_of(column.values.begin(), column.values.end(),
                               [&](const auto& value) { return value && *value == minimum; });
  if (!has) return true;
  if (column.width == 24) return false;
  column.width = NextWidth(column.width);
  return true;
}

bool Rescale(Column& column, std::int64_t scale) {
  const std::int64_t power = column.scale - scale;
  if (power > 28) return false;
  const Wide factor = Wide::Power(100, static_cast<int>(power));
  const int bound = BitsOf(column) + factor.Bits();
  if (!InRange(bound, scale)) return false;
  for (auto& value : column.values) {
    if (value) value = *value * factor;
  }
  column.width = std::max(column.width, WidthOfBits(bound));
  column.scale = scale;
  return true;
}

}  // namespace

Outcome Operate(int operation, const Column& left, const Column& right) {
  const Outcome failed = {kOutOfRange, {}};
  Column x = left;
  Column y = right;
  if (!WidenMinimum(x) || !WidenMinimum(y)) return failed;
  Column result;
  int bound = 0;
  if (operation == 2) {
    result.scale = x.scale + y.scale;
    bound = BitsOf(x) + BitsOf(y);
  } else {
    result.scale = std::min(x.scale, y.scale);
    if (x.scale > result.scale && !Rescale(x, result.scale)) return failed;
    if (y.scale > result.scale && !Rescale(y, result.scale)) return failed;
    bound = std::max(BitsOf(x), BitsOf(y)) + 1;
  }
  if (!InRange(bound, result.scale)) return failed;
  result.width = std::max({x.width, y.width, WidthOfBits(bound)});
  result.scalar = left.scalar && right.scalar;
  const std::size_t count = left.scalar ? right.values.size() : left.values.size();
  for (std::size_t i = 0; i < count; ++i) {
    const auto& a = x.values[left.scalar ? 0 : i];
    const auto& b = y.values[right.scalar ? 0 : i];
    if (!a || !b) {
      result.values.emplace_back();
    } else {
      result.values.emplace_back(operation == 0 ? *a + *b : operation == 1 ? *a - *b : *a * *b);
    }
  }
  return {0, result};
}

}  // namespace kestra::test::ref
