// exp, ln, sine and cosine by their power series after reduction; logarithm and arc tangent by one
// correction of the double's value, which leaves so little that a few terms of a series give the
// rest.
//
// Where a result is small the reduction keeps its relative precision: the logarithm near 1 takes x
// - 1 from exact decimal arithmetic, and angles are reduced with as many bits of pi as the angle
// has digits before the point, and 256 to spare (the distance of a 40-digit number from a multiple
// of pi / 2 is never below about 10^-42).
#include "number/real_functions.h"

#include "number/decimal_arithmetic.h"

namespace kestra::number {
namespace {

constexpr BigFloat<16> kPi = {
    {0x98DA48361C55D39A, 0xC2007CB8A163BF05, 0x49286651ECE45B3D, 0xAE9F24117C4B1FE6,
     0xEE386BFB5A899FA5, 0x0BFF5CB6F406B7ED, 0xF44C42E9A637ED6B, 0xE485B576625E7EC6,
     0x4FE1356D6D51C245, 0x302B0A6DF25F1437, 0xEF9519B3CD3A431B, 0x514A08798E3404DD,
     0x020BBEA63B139B22, 0x29024E088A67CC74, 0xC4C6628B80DC1CD1, 0xC90FDAA22168C234},
    2,
    false};
constexpr Real kLn2 = {
    {0x8A0D175B8BAAFA2B, 0x40F343267298B62D, 0xC9E3B39803F2F6AF, 0xB17217F7D1CF79AB}, 0, false};

constexpr int kBits = 256;

// 100^-kMostPower to 100^kMostPower, which is what reading and writing a NUMBER needs, with a word
// more than is kept.
constexpr int kMostPower = 96;
using PowerTable = std::array<Real, 2 * kMostPower + 1>;

constexpr PowerTable MakePowers() {
  PowerTable powers;
  BigFloat<5> up = FromInteger<5>(1);
  BigFloat<5> down = up;
  for (std::size_t i = 0; i <= kMostPower; ++i) {
    powers[kMostPower + i] = Resized<4>(up);
    powers[kMostPower - i] = Resized<4>(down);
    up = Multiply(up, FromInteger<5>(kBase));
    down = DivideBy(down, kBase);
  }
  return powers;
}
constexpr PowerTable kPowers = MakePowers();

// 1 / n and 1 / n!: a series multiplies by them, which takes a quarter of a division's time.
constexpr std::size_t kTerms = 64;
using TermTable = std::array<Real, kTerms>;
constexpr TermTable kInverse = [] {
  TermTable inverses;
  for (std::uint32_t n = 1; n < kTerms; ++n) inverses[n] = DivideBy(FromInteger<4>(1), n);
  return inverses;
}();
constexpr TermTable kInverseFactorial = [] {
  TermTable inverses;
  BigFloat<5> inverse = FromInteger<5>(1);
  inverses[0] = Resized<4>(inverse);
  for (std::uint32_t n = 1; n < kTerms; ++n) {
    inverse = DivideBy(inverse, n);
    inverses[n] = Resized<4>(inverse);
  }
  return inverses;
}();

// 100^power by repeated squaring.
template <std::size_t N>
BigFloat<N> PowerOf100(unsigned power) noexcept {
  BigFloat<N> result = FromInteger<N>(1);
  BigFloat<N> square = FromInteger<N>(kBase);
  for (; power != 0; power >>= 1) {
    if ((power & 1) != 0) result = Multiply(result, square);
    square = Multiply(square, square);
  }
  return result;
}

template <std::size_t N>
BigFloat<N> TimesPowerOf100(const BigFloat<N>& x, int power) noexcept {
  if constexpr (N == 4) {
    if (power >= -kMostPower && power <= kMostPower) {
      return Multiply(x, kPowers[static_cast<std::size_t>(power + kMostPower)]);
    }
  }
  if (power >= 0) return Multiply(x, PowerOf100<N>(static_cast<unsigned>(power)));
  return Divide(x, PowerOf100<N>(static_cast<unsigned>(-power)));
}

Real One() noexcept { return FromInteger<4>(1); }

// Terms of a series are left out when they are below 2^-kEnough of the first.
constexpr std::int64_t kEnough = 230;

// 1 / n! + s / (n + 2)! + s^2 / (n + 4)! + ...: sine, cosine and their hyperbolic kin, n being 1 or
// 0 and s -+x^2, below 1. 62! is above 2^280.
Real EverySecondTerm(std::size_t n, const Real& s) noexcept {
  std::size_t last = n;
  std::int64_t power = 0;  // of 2, that s to the power of the term is below
  while (last + 2 < kTerms && power + kInverseFactorial[last].exponent > -kEnough) {
    last += 2;
    power += s.exponent;
  }
  Real sum = kInverseFactorial[last];
  while (last > n) {
    last -= 2;
    sum = Add(kInverseFactorial[last], Multiply(sum, s));
  }
  return sum;
}

Real SmallSine(const Real& x) noexcept {  // |x| up to about pi / 4
  return Multiply(x, EverySecondTerm(1, Negated(Multiply(x, x))));
}
Real SmallCosine(const Real& x) noexcept { return EverySecondTerm(0, Negated(Multiply(x, x))); }

// The multiple of pi / 2 nearest to x, modulo 4, and what remains.
template <std::size_t N>
Real ReduceAngle(const Decimal& x, unsigned& quadrant) noexcept {
  const BigFloat<N> angle = ToBigFloat<N>(x);
  const BigFloat<N> half_pi = Scaled(Resized<N>(kPi), -1);
  const BigFloat<N> multiple = RoundToInteger(Divide(angle, half_pi), quadrant);
  if (x.negative) quadrant = (4 - quadrant) & 3;
  return Resized<4>(Subtract(angle, Multiply(multiple, half_pi)));
}

// The same for angles below 10^8, as integers after a multiplication by a power of 100: nothing is
// divided, and what cancels, at most about 2^160, leaves more than enough of the 512 bits.
Real ReduceModestAngle(const Decimal& x, unsigned& quadrant) noexcept {
  constexpr double kTwoByPi = 0.63661977236758134;
  const double multiple = std::nearbyint(std::fabs(ToDouble(ToBigFloat<4>(x))) * kTwoByPi);
  const auto turns = static_cast<std::uint64_t>(multiple);
  quadrant = static_cast<unsigned>((x.negative ? 4 - turns % 4 : turns) & 3);
  if (turns == 0) return ToBigFloat<4>(x);
  const int places = x.count > x.exponent ? x.count - x.exponent : 0;  // at most 20: exact
  Decimal integer = x;
  integer.negative = false;
  integer.exponent += places;
  const BigFloat<8> half_pi = Scaled(Resized<8>(kPi), -1);
  const BigFloat<8> whole =
      Multiply(Multiply(half_pi, FromInteger<8>(turns)),
               Resized<8>(kPowers[static_cast<std::size_t>(kMostPower + places)]));
  const BigFloat<8> rest = Subtract(Resized<8>(ToBigFloat<4>(integer)), whole);
  const Real r = Multiply(Resized<4>(rest), kPowers[static_cast<std::size_t>(kMostPower - places)]);
  return x.negative ? Negated(r) : r;
}

// ln(1 + d) for |d| below 2^-9: 2 artanh(d / (2 + d)).
Real LogarithmNearOne(const Real& d) noexcept {
  const Real z = Divide(d, Add(FromInteger<4>(2), d));
  const Real s = Multiply(z, z);
  Real power = z;
  Real sum = z;
  for (std::size_t i = 3; i < 31; i += 2) {  // z^2 is below 2^-19
    power = Multiply(power, s);
    sum = Add(sum, Multiply(power, kInverse[i]));
  }
  return Scaled(sum, 1);
}

}  // namespace

Real Pi() noexcept { return Resized<4>(kPi); }

template <std::size_t N>
BigFloat<N> ToBigFloat(const Decimal& x) noexcept {
  if (x.kind != Kind::kFinite) return {};
  // The digits are an integer below 2^133, in pieces of nine digits that fit a word.
  constexpr int kPiece = 9;
  BigFloat<N> value;
  for (int i = 0; i < x.count; i += kPiece) {
    std::uint64_t piece = 0;
    std::uint64_t scale = 1;
    for (int j = i; j < x.count && j < i + kPiece; ++j) {
      piece = piece * kBase + x.digits[j];
      scale *= kBase;
    }
    value = Add(Multiply(value, FromInteger<N>(scale)), FromInteger<N>(piece));
  }
  value.negative = x.negative;
  return TimesPowerOf100(value, x.exponent - x.count);
}
template BigFloat<4> ToBigFloat<4>(const Decimal& x) noexcept;
template BigFloat<8> ToBigFloat<8>(const Decimal& x) noexcept;
template BigFloat<16> ToBigFloat<16>(const Decimal& x) noexcept;

Decimal ToDecimal(const Real& x) noexcept {
  if (x.IsZero() || x.exponent < -450) return {};
  if (x.exponent > 450) return MakeInfinity(x.negative);
  // Scaled to an integer of 22 or 23 digits, 139 to 153 bits. Values just below one with few digits
  // are that one: the errors of the functions are far below 2^-200.
  constexpr int kDigits = 22;
  const int power =
      kDigits -
      static_cast<int>(std::floor(static_cast<double>(x.exponent) * 0.150514997831990597607));
  const Real raised = Add(x, Scaled(x, -200));
  Real scaled = TimesPowerOf100(raised, power);
  big_float_internal::ShiftRight(scaled.words, kBits - scaled.exponent);
  std::uint8_t digits[kDigits + 3] = {};
  for (std::size_t i = sizeof digits; i-- > 0;) {
    std::uint64_t rest = 0;
    for (std::size_t j = 3; j-- > 0;) {  // the words below 2^192, by 100
      const std::uint64_t word = scaled.words[j];
      const std::uint64_t high = rest << 32 | word >> 32;
      const std::uint64_t low = (high % kBase) << 32 | (word & 0xFFFFFFFF);
      scaled.words[j] = (high / kBase) << 32 | low / kBase;
      rest = low % kBase;
    }
    digits[i] = static_cast<std::uint8_t>(rest);
  }
  return MakeDecimal(x.negative, static_cast<int>(sizeof digits) - power, digits);
}

// x = n ln 2 + r; e^r is the 256th power of e^(r / 256), whose series is short.
Real Exponential(const Real& x) noexcept {
  if (x.IsZero()) return One();
  const double n = std::nearbyint(ToDouble(x) * 1.4426950408889634);
  Real r = Subtract(x, Multiply(FromDouble<4>(n), kLn2));
  if (!r.IsZero()) r = Scaled(r, -8);
  std::size_t term = 22;
  Real sum = kInverseFactorial[term];
  while (term > 0) sum = Add(kInverseFactorial[--term], Multiply(sum, r));
  for (int i = 0; i < 8; ++i) sum = Multiply(sum, sum);
  return Scaled(sum, static_cast<std::int64_t>(n));
}

// x = m 2^k with m near 1; one step from the double's logarithm y of m: ln m = y + ln(m e^-y).
Real Logarithm(const Decimal& x) noexcept {
  constexpr Decimal kOne = {Kind::kFinite, false, 1, 1, {1}};
  const Real distance = ToBigFloat<4>(Subtract(x, kOne));
  if (distance.IsZero() || distance.exponent < -9) {
    return distance.IsZero() ? Real{} : LogarithmNearOne(distance);
  }
  Real m = ToBigFloat<4>(x);
  std::int64_t k = m.exponent;
  m.exponent = 0;
  if (ToDouble(m) < 0.70710678118654752) {
    m.exponent = 1;
    --k;
  }
  const Real y = FromDouble<4>(std::log(ToDouble(m)));
  const Real d = Subtract(Multiply(m, Exponential(Negated(y))), One());
  Real sum = y;
  if (!d.IsZero()) sum = Add(sum, LogarithmNearOne(d));
  return Add(sum, Multiply(FromDouble<4>(static_cast<double>(k)), kLn2));
}

Real HyperbolicSine(const Real& x) noexcept {
  if (x.exponent < 0) return Multiply(x, EverySecondTerm(1, Multiply(x, x)));
  const Real e = Exponential(x);
  return Scaled(Subtract(e, Reciprocal(e)), -1);
}

Real HyperbolicCosine(const Real& x) noexcept {
  const Real e = Exponential(x);
  return Scaled(Add(e, Reciprocal(e)), -1);
}

Real Sine(const Decimal& x, unsigned quarters) noexcept {
  unsigned quadrant = 0;
  const Real r = x.exponent <= 4    ? ReduceModestAngle(x, quadrant)
                 : x.exponent <= 10 ? ReduceAngle<8>(x, quadrant)
                                    : ReduceAngle<16>(x, quadrant);
  quadrant = (quadrant + quarters) & 3;
  const Real value = (quadrant & 1) == 0 ? SmallSine(r) : SmallCosine(r);
  return quadrant < 2 ? value : Negated(value);
}

// y is the double's arc tangent; then atan x = y + atan((x cos y - sin y) / (cos y + x sin y)).
Real ArcTangent(const Real& x) noexcept {
  if (x.IsZero()) return {};
  const double start = std::atan(ToDouble(x));
  const Real y = FromDouble<4>(start);
  Real sine, cosine;
  if (std::fabs(start) <= 0.8) {
    sine = SmallSine(y);
    cosine = SmallCosine(y);
  } else {
    const Real other = Subtract(Scaled(Pi(), -1), start < 0 ? Negated(y) : y);
    sine = start < 0 ? Negated(SmallCosine(other)) : SmallCosine(other);
    cosine = SmallSine(other);
  }
  const Real d = Divide(Subtract(Multiply(x, cosine), sine), Add(cosine, Multiply(x, sine)));
  if (d.IsZero()) return y;
  // d is below 2^-50 of y: three terms of its arc tangent.
  const Real s = Multiply(d, d);
  Real sum = Subtract(d, DivideBy(Multiply(d, s), 3));
  sum = Add(sum, DivideBy(Multiply(d, Multiply(s, s)), 5));
  return Add(y, sum);
}

}  // namespace kestra::number
