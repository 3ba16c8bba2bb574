// The mathematical functions: special arguments here, values in real_functions.
#include <cmath>

#include "kestra/number_math.h"
#include "number/decimal_arithmetic.h"
#include "number/real_functions.h"

namespace kestra::number {
namespace {

constexpr Decimal kOne = {Kind::kFinite, false, 1, 1, {1}};

Decimal Signed(Decimal value, bool negative) noexcept {
  if (value.kind != Kind::kZero) value.negative = negative;
  return value;
}

Decimal Magnitude(const Decimal& x) noexcept { return Signed(x, false); }

// Beyond these e^x is infinity or zero whatever the digits: ln 1E126 is 290.2, ln 1E-130 is -299.4.
constexpr double kLargestPower = 310;

Decimal ExponentialOf(const Real& x) noexcept {
  const double rough = ToDouble(x);
  if (rough > kLargestPower) return MakeInfinity(false);
  if (rough < -kLargestPower) return {};
  return ToDecimal(Exponential(x));
}

bool IsInteger(const Decimal& x) noexcept {
  return x.kind == Kind::kZero || (x.kind == Kind::kFinite && x.count <= x.exponent);
}

bool IsOddInteger(const Decimal& x) noexcept {
  return x.kind == Kind::kFinite && x.count == x.exponent && x.digits[x.count - 1] % 2 != 0;
}

int Store(const Decimal& value, std::uint8_t* out, std::size_t* outlen) noexcept {
  StoreNumber(value, out, outlen);
  return 0;
}

int PowerOf(const Decimal& x, const Decimal& y, std::uint8_t* out, std::size_t* outlen) noexcept {
  if (y.kind == Kind::kZero) return Store(kOne, out, outlen);
  const bool negative = x.negative && IsOddInteger(y);
  if (x.kind == Kind::kZero) return Store(y.negative ? MakeInfinity(false) : x, out, outlen);
  if (x.negative && y.kind == Kind::kFinite && !IsInteger(y)) return KES_NUMBER_DOMAIN;
  if (x.kind == Kind::kInfinity) {
    return Store(y.negative ? Decimal{} : MakeInfinity(negative), out, outlen);
  }
  const Decimal base = Magnitude(x);
  if (y.kind == Kind::kInfinity) {
    if (x.negative) return KES_NUMBER_DOMAIN;
    const int order = CompareMagnitudes(base, kOne);
    if (order == 0) return Store(kOne, out, outlen);
    return Store((order > 0) != y.negative ? MakeInfinity(false) : Decimal{}, out, outlen);
  }
  const Decimal power = ExponentialOf(Multiply(Logarithm(base), ToBigFloat<4>(y)));
  return Store(Signed(power, negative), out, outlen);
}

Real HalfPi() noexcept { return Scaled(Pi(), -1); }

Real WithSign(Real value, bool negative) noexcept {
  value.negative = negative;
  return value;
}

// The angle of the point (x, y) for values that are neither both zero nor infinite.
Real Angle(const Real& y, const Real& x) noexcept {
  if (x.IsZero()) return WithSign(HalfPi(), y.negative);
  const Real acute = ArcTangent(Divide(WithSign(y, false), WithSign(x, false)));
  return WithSign(x.negative ? Subtract(Pi(), acute) : acute, y.negative);
}

// sqrt(1 - x^2) of |x| <= 1. Near 1 the difference is exact in decimal, and else in binary nearly
// so.
Real Cathetus(const Decimal& x) noexcept {
  const Decimal magnitude = Magnitude(x);
  const Real value = ToBigFloat<4>(magnitude);
  const Real one = FromInteger<4>(1);
  const Real rest = value.exponent >= 0 ? ToBigFloat<4>(number::Subtract(kOne, magnitude))
                                        : number::Subtract(one, value);
  return SquareRoot(Multiply(rest, Add(one, value)));
}

bool IsAboveOne(const Decimal& x) noexcept {
  if (x.kind != Kind::kFinite) return x.kind == Kind::kInfinity;
  return CompareMagnitudes(x, kOne) > 0;
}

// Does e^|x| leave the range of NUMBER?
bool IsSteep(const Decimal& x) noexcept {
  return x.kind == Kind::kInfinity ||
         (x.kind == Kind::kFinite &&
          (x.exponent > 2 || std::fabs(ToDouble(ToBigFloat<4>(x))) > kLargestPower));
}

Decimal Floor(const Decimal& x) noexcept {
  const Decimal cut = RoundAt(x, 0, Rounding::kTruncate);
  return x.negative && !IsInteger(x) && x.kind == Kind::kFinite ? Subtract(cut, kOne) : cut;
}

}  // namespace
}  // namespace kestra::number

using namespace kestra::number;  // NOLINT: thin entry points of the functions above

int lnxsqr(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.negative) return KES_NUMBER_DOMAIN;
  if (value.kind != Kind::kFinite) return Store(value, out, outlen);
  return Store(ToDecimal(SquareRoot(ToBigFloat<4>(value))), out, outlen);
}

int lnxexp(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.kind == Kind::kInfinity) return Store(value.negative ? Decimal{} : value, out, outlen);
  return Store(ExponentialOf(ToBigFloat<4>(value)), out, outlen);
}

int lnxln(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.negative || value.kind == Kind::kZero) return KES_NUMBER_DOMAIN;
  if (value.kind == Kind::kInfinity) return Store(value, out, outlen);
  return Store(ToDecimal(Logarithm(value)), out, outlen);
}

int lnxlog(const uint8_t* base, size_t baselen, const uint8_t* x, size_t xlen, uint8_t* out,
           size_t* outlen) noexcept {
  const Decimal b = ReadNumber(base, baselen);
  const Decimal value = ReadNumber(x, xlen);
  if (b.negative || b.kind != Kind::kFinite || CompareMagnitudes(b, kOne) == 0) {
    return KES_NUMBER_DOMAIN;
  }
  if (value.negative || value.kind == Kind::kZero) return KES_NUMBER_DOMAIN;
  const Real divisor = Logarithm(b);
  if (value.kind == Kind::kInfinity) return Store(MakeInfinity(divisor.negative), out, outlen);
  return Store(ToDecimal(Divide(Logarithm(value), divisor)), out, outlen);
}

int lnxpow(const uint8_t* x, size_t xlen, const uint8_t* y, size_t ylen, uint8_t* out,
           size_t* outlen) noexcept {
  return PowerOf(ReadNumber(x, xlen), ReadNumber(y, ylen), out, outlen);
}

int lnxpwi(const uint8_t* x, size_t xlen, int64_t y, uint8_t* out, size_t* outlen) noexcept {
  std::uint8_t digits[10];  // 2^63 has 19 decimal digits
  std::uint64_t rest = y < 0 ? 0 - static_cast<std::uint64_t>(y) : static_cast<std::uint64_t>(y);
  for (std::size_t i = sizeof digits; i-- > 0; rest /= kBase) {
    digits[i] = static_cast<std::uint8_t>(rest % kBase);
  }
  return PowerOf(ReadNumber(x, xlen), MakeDecimal(y < 0, sizeof digits, digits), out, outlen);
}

int lnxsin(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.kind == Kind::kInfinity) return KES_NUMBER_DOMAIN;
  return Store(ToDecimal(Sine(value, 0)), out, outlen);
}

int lnxcos(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.kind == Kind::kInfinity) return KES_NUMBER_DOMAIN;
  return Store(ToDecimal(Sine(value, 1)), out, outlen);
}

int lnxtan(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.kind == Kind::kInfinity) return KES_NUMBER_DOMAIN;
  return Store(ToDecimal(Divide(Sine(value, 0), Sine(value, 1))), out, outlen);  // no cosine is 0
}

int lnxasn(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (IsAboveOne(value)) return KES_NUMBER_DOMAIN;
  return Store(ToDecimal(Angle(ToBigFloat<4>(value), Cathetus(value))), out, outlen);
}

int lnxacs(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (IsAboveOne(value)) return KES_NUMBER_DOMAIN;
  return Store(ToDecimal(Angle(Cathetus(value), ToBigFloat<4>(value))), out, outlen);
}

int lnxatn(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (value.kind == Kind::kInfinity) {
    return Store(ToDecimal(WithSign(HalfPi(), value.negative)), out, outlen);
  }
  return Store(ToDecimal(ArcTangent(ToBigFloat<4>(value))), out, outlen);
}

int lnxatn2(const uint8_t* y, size_t ylen, const uint8_t* x, size_t xlen, uint8_t* out,
            size_t* outlen) noexcept {
  Decimal a = ReadNumber(y, ylen);
  Decimal b = ReadNumber(x, xlen);
  if (a.kind == Kind::kZero && b.kind == Kind::kZero) return KES_NUMBER_DOMAIN;
  // Against an infinite coordinate a finite one is nothing; two infinite ones are equal.
  if (a.kind == Kind::kInfinity || b.kind == Kind::kInfinity) {
    const bool above = a.negative;
    a = a.kind == Kind::kInfinity ? Signed(kOne, a.negative) : Decimal{};
    b = b.kind == Kind::kInfinity ? Signed(kOne, b.negative) : Decimal{};
    if (a.kind == Kind::kZero) {
      return Store(b.negative ? ToDecimal(WithSign(Pi(), above)) : Decimal{}, out, outlen);
    }
  }
  return Store(ToDecimal(Angle(ToBigFloat<4>(a), ToBigFloat<4>(b))), out, outlen);
}

int lnxsnh(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (IsSteep(value)) return Store(MakeInfinity(value.negative), out, outlen);
  return Store(ToDecimal(HyperbolicSine(ToBigFloat<4>(value))), out, outlen);
}

int lnxcsh(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (IsSteep(value)) return Store(MakeInfinity(false), out, outlen);
  return Store(ToDecimal(HyperbolicCosine(ToBigFloat<4>(value))), out, outlen);
}

int lnxtnh(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  const Decimal value = ReadNumber(x, xlen);
  if (IsSteep(value)) return Store(Signed(kOne, value.negative), out, outlen);
  const Real real = ToBigFloat<4>(value);
  return Store(ToDecimal(Divide(HyperbolicSine(real), HyperbolicCosine(real))), out, outlen);
}

void lnxflo(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  StoreNumber(Floor(ReadNumber(x, xlen)), out, outlen);
}

void lnxcei(const uint8_t* x, size_t xlen, uint8_t* out, size_t* outlen) noexcept {
  StoreNumber(Negated(Floor(Negated(ReadNumber(x, xlen)))), out, outlen);
}
