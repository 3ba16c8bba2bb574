#include "tests/support/number_reference.h"

#include <algorithm>
#include <cstdlib>

namespace kestra::test::ref {
namespace {

std::string Stripped(std::string digits) {
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  return digits;
}

int CompareNatural(const std::string& a, const std::string& b) {  // both without leading zeros
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b);
}

std::string AddNatural(const std::string& a, const std::string& b) {
  std::string sum;
  int carry = 0;
  for (std::size_t i = 0; i < std::max(a.size(), b.size()) || carry != 0; ++i) {
    if (i < a.size()) carry += a[a.size() - 1 - i] - '0';
    if (i < b.size()) carry += b[b.size() - 1 - i] - '0';
    sum.push_back(static_cast<char>('0' + carry % 10));
    carry /= 10;
  }
  std::reverse(sum.begin(), sum.end());
  return sum;
}

std::string SubtractNatural(const std::string& a, const std::string& b) {  // a >= b
  std::string difference = a;
  int borrow = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    int digit = a[a.size() - 1 - i] - '0' - borrow;
    if (i < b.size()) digit -= b[b.size() - 1 - i] - '0';
    borrow = digit < 0 ? 1 : 0;
    difference[a.size() - 1 - i] = static_cast<char>('0' + digit + 10 * borrow);
  }
  return Stripped(difference);
}

std::string MultiplyNatural(const std::string& a, const std::string& b) {
  std::vector<int> columns(a.size() + b.size(), 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < b.size(); ++j) columns[i + j + 1] += (a[i] - '0') * (b[j] - '0');
  }
  std::string product(columns.size(), '0');
  int carry = 0;
  for (std::size_t i = columns.size(); i-- > 0;) {
    carry += columns[i];
    product[i] = static_cast<char>('0' + carry % 10);
    carry /= 10;
  }
  return Stripped(product);
}

struct Quotient {
  std::string quotient;
  std::string remainder;
};

Quotient DivideNatural(const std::string& a, const std::string& b) {
  Quotient result;
  for (const char digit : a) {
    if (!result.remainder.empty() || digit != '0') result.remainder.push_back(digit);
    char times = '0';
    while (CompareNatural(result.remainder, b) >= 0) {
      result.remainder = SubtractNatural(result.remainder, b);
      ++times;
    }
    result.quotient.push_back(times);
  }
  result.quotient = Stripped(result.quotient);
  return result;
}

std::string Zeros(int count) { return std::string(static_cast<std::size_t>(count), '0'); }

void BringToOneScale(Exact& x, Exact& y) {
  Exact& coarse = x.scale > y.scale ? x : y;
  const int scale = std::min(x.scale, y.scale);
  if (!coarse.digits.empty()) coarse.digits += Zeros(coarse.scale - scale);
  x.scale = y.scale = scale;
}

Exact Sum(Exact x, Exact y) {
  if (x.infinite || y.infinite) return x.infinite ? x : y;
  BringToOneScale(x, y);
  if (x.negative == y.negative) {
    x.digits = AddNatural(x.digits, y.digits);
  } else if (CompareNatural(x.digits, y.digits) >= 0) {
    x.digits = SubtractNatural(x.digits, y.digits);
  } else {
    x.digits = SubtractNatural(y.digits, x.digits);
    x.negative = y.negative;
  }
  return x;
}

Exact Negated(Exact x) {
  if (!x.IsZero()) x.negative = !x.negative;
  return x;
}

Exact Infinity(bool negative) { return {true, negative, "", 0}; }

}  // namespace

Exact Read(const NumberBytes& bytes) {
  if (bytes == NumberBytes{0xFF, 0x65}) return Infinity(false);
  if (bytes == NumberBytes{0}) return Infinity(true);
  Exact value;
  if (bytes.size() == 1) return value;
  value.negative = bytes[0] < 128;
  std::size_t end = bytes.size();
  if (value.negative && bytes[end - 1] == 102) --end;
  for (std::size_t i = 1; i < end; ++i) {
    const int digit = value.negative ? 101 - bytes[i] : bytes[i] - 1;
    value.digits.push_back(static_cast<char>('0' + digit / 10));
    value.digits.push_back(static_cast<char>('0' + digit % 10));
  }
  const int exponent = (value.negative ? 255 - bytes[0] : bytes[0]) - 192;
  value.scale = 2 * (exponent - static_cast<int>(end - 1));
  value.digits = Stripped(value.digits);
  return value;
}

NumberBytes Write(const Exact& value) {
  const NumberBytes infinity = value.negative ? NumberBytes{0} : NumberBytes{0xFF, 0x65};
  if (value.infinite) return infinity;
  std::string digits = Stripped(value.digits);
  int scale = value.scale;
  if (digits.empty()) return {0x80};
  if (scale % 2 != 0) {
    digits.push_back('0');
    --scale;
  }
  if (digits.size() % 2 != 0) digits.insert(0, "0");
  int exponent = scale / 2 + static_cast<int>(digits.size() / 2);
  if (exponent < -64) return {0x80};
  if (digits.size() > 40) {
    const bool up = digits[40] >= '5';
    digits.resize(40);
    if (up) digits = AddNatural(digits, "1");
    if (digits.size() % 2 != 0) digits.insert(0, "0");
    if (digits.size() > 40) ++exponent;
  }
  if (exponent > 63) return infinity;
  NumberBytes bytes{static_cast<std::uint8_t>(192 + exponent)};
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>((digits[i] - '0') * 10 + (digits[i + 1] - '0') + 1));
  }
  while (bytes.back() == 1) bytes.pop_back();
  return value.negative ? Negate(bytes) : bytes;
}

NumberBytes Add(const NumberBytes& x, const NumberBytes& y) { return Write(Sum(Read(x), Read(y))); }

NumberBytes Subtract(const NumberBytes& x, const NumberBytes& y) {
  const Exact a = Read(x);
  const Exact b = Read(y);
  if (a.infinite && b.infinite && a.negative == b.negative) return {0x80};
  return Write(Sum(a, Negated(b)));
}

NumberBytes Multiply(const NumberBytes& x, const NumberBytes& y) {
  const Exact a = Read(x);
  const Exact b = Read(y);
  const bool negative = a.negative != b.negative;
  if (a.infinite || b.infinite) return Write(Infinity(negative));
  return Write({false, negative, MultiplyNatural(a.digits, b.digits), a.scale + b.scale});
}

NumberBytes Divide(const NumberBytes& x, const NumberBytes& y) {
  const Exact a = Read(x);
  const Exact b = Read(y);
  const bool negative = a.negative != b.negative;
  if (b.IsZero()) return Write(Infinity(negative));
  if (a.IsZero()) return {0x80};
  if (a.infinite) return Write(Infinity(negative));
  if (b.infinite) return {0x80};
  const int more = 46 + static_cast<int>(b.digits.size());
  return Write({false, negative, DivideNatural(a.digits + Zeros(more), b.digits).quotient,
                a.scale - b.scale - more});
}

NumberBytes Modulo(const NumberBytes& x, const NumberBytes& y) {
  Exact a = Read(x);
  Exact b = Read(y);
  if (a.infinite || b.infinite || b.IsZero()) return x;
  BringToOneScale(a, b);
  a.digits = DivideNatural(a.digits, b.digits).remainder;
  return Write(a);
}

NumberBytes NearestRemainder(const NumberBytes& x, const NumberBytes& y) {
  Exact a = Read(x);
  Exact b = Read(y);
  if (a.infinite || b.infinite || b.IsZero()) return x;
  BringToOneScale(a, b);
  a.digits = DivideNatural(a.digits, b.digits).remainder;
  if (CompareNatural(AddNatural(a.digits, a.digits), b.digits) < 0) return Write(a);
  a.digits = SubtractNatural(b.digits, a.digits);
  a.negative = !a.negative;
  return Write(a);
}

NumberBytes Round(const NumberBytes& x, int places, Mode mode) {
  Exact value = Read(x);
  const int cut = -places - value.scale;  // digits that go
  if (value.infinite || value.IsZero() || cut <= 0) return x;
  const auto count = static_cast<std::size_t>(cut);
  if (value.digits.size() < count) value.digits.insert(0, count - value.digits.size(), '0');
  const std::string rest = value.digits.substr(value.digits.size() - count);
  value.digits.resize(value.digits.size() - count);
  value.scale = -places;
  const std::string half = "5" + Zeros(cut - 1);
  bool up = mode != Mode::kTruncate && rest >= half;
  if (mode == Mode::kHalfEven && rest == half) {
    up = !value.digits.empty() && (value.digits.back() - '0') % 2 != 0;
  }
  if (up) value.digits = AddNatural(value.digits, "1");
  value.digits = Stripped(value.digits);
  return Write(value);
}

NumberBytes Negate(const NumberBytes& x) {
  if (x == NumberBytes{0x80}) return x;
  if (x == NumberBytes{0}) return {0xFF, 0x65};
  if (x == NumberBytes{0xFF, 0x65}) return {0};
  NumberBytes bytes = x;
  if (x[0] < 128 && bytes.back() == 102) bytes.pop_back();
  bytes[0] = static_cast<std::uint8_t>(255 - bytes[0]);
  for (std::size_t i = 1; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(102 - bytes[i]);
  if (x[0] >= 128 && bytes.size() < 21) bytes.push_back(102);
  return bytes;
}

NumberBytes Absolute(const NumberBytes& x) { return x[0] < 128 ? Negate(x) : x; }

int Compare(const NumberBytes& x, const NumberBytes& y) {
  const Exact a = Read(x);
  const Exact b = Read(y);
  if (a.infinite && b.infinite) return static_cast<int>(b.negative) - static_cast<int>(a.negative);
  const Exact difference = Sum(a, Negated(b));
  if (difference.IsZero()) return 0;
  return difference.negative ? -1 : 1;
}

}  // namespace kestra::test::ref
