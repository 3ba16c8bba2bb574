// Mathematical functions: exact results and special arguments by hand, precision against MPFR.
// KESTRA_NUMBER_POINTS sets how many random points each function is measured at (default 1000);
// results out of range, checked as well, are not counted.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "kestra/number.h"
#include "kestra/number_math.h"
#include "tests/support/hex.h"
#include "tests/support/number_call.h"
#include "tests/support/number_random.h"

#ifdef KESTRA_HAVE_MPFR
#include <mpfr.h>
#endif

namespace kestra::number {
namespace {

using Number = std::vector<std::uint8_t>;
using test::Apply;
using test::Bytes;
using test::Hex;
using test::NumberSource;
namespace ref = test::ref;

using Unary = int(const uint8_t*, size_t, uint8_t*, size_t*) noexcept;
using Binary = int(const uint8_t*, size_t, const uint8_t*, size_t, uint8_t*, size_t*) noexcept;

constexpr const char* kDomain = "";  // no result

struct UnaryCase {
  Unary* function;
  const char* x;
  const char* result;
};

constexpr const char* kPi = "C1 04 0F 10 5D 42 24 5A 50 21 27 2F 1B 2C 27 21 50 33 1D 55 15";
constexpr const char* kHalfPi = "C1 02 3A 08 61 21 44 5F 5A 43 14 18 0E 16 46 11 28 4C 0F 2B 0B";

TEST(LnxMath, ExactAndSpecialValues) {
  const UnaryCase cases[] = {
      {lnxsqr, "C1 05", "C1 03"},
      {lnxsqr, "80", "80"},
      {lnxsqr, "3E 64 66", kDomain},
      {lnxsqr, "FF 65", "FF 65"},
      {lnxsqr, "00", kDomain},
      {lnxsqr, "80 02", "A0 0B"},
      {lnxsqr, "D4 64*9 63 01*9 02", "CA 64*10"},  // (10^20 - 1)^2 = 99..9800..01
      {lnxexp, "80", "C1 02"},
      {lnxexp, "00", "80"},
      {lnxexp, "FF 65", "FF 65"},
      {lnxexp, "C2 04", "FF 65"},
      {lnxexp, "3D 62 66", "80"},
      {lnxexp, "FF 02", "FF 65"},
      {lnxln, "C1 02", "80"},
      {lnxln, "80", kDomain},
      {lnxln, "3E 64 66", kDomain},
      {lnxln, "FF 65", "FF 65"},
      {lnxsin, "80", "80"},
      {lnxcos, "80", "C1 02"},
      {lnxtan, "80", "80"},
      {lnxsin, "FF 65", kDomain},
      {lnxcos, "00", kDomain},
      {lnxasn, "C1 02", kHalfPi},
      {lnxasn, "C1 02 02", kDomain},
      {lnxacs, "C1 02", "80"},
      {lnxacs, "3E 64 66", kPi},
      {lnxacs, "80", kHalfPi},
      {lnxacs, "FF 65", kDomain},
      {lnxatn, "80", "80"},
      {lnxatn, "FF 65", kHalfPi},
      {lnxatn, "80 02", "80 02"},
      {lnxsnh, "80", "80"},
      {lnxsnh, "00", "00"},
      {lnxcsh, "00", "FF 65"},
      {lnxcsh, "80", "C1 02"},
      {lnxtnh, "00", "3E 64 66"},
      {lnxtnh, "FF 02", "C1 02"},
      {lnxtnh, "80", "80"},
  };
  for (const UnaryCase& c : cases) {
    EXPECT_EQ(Hex(Apply(c.function, Bytes(c.x))), Hex(Bytes(c.result))) << c.x;
  }
}

struct BinaryCase {
  Binary* function;
  const char* x;
  const char* y;
  const char* result;
};

TEST(LnxMath, PowersLogarithmsAndAngles) {
  const BinaryCase cases[] = {
      {lnxpow, "C1 03", "C1 0B", "C2 0B 19"},     // 2^10
      {lnxpow, "3E 63 66", "C1 04", "3E 5D 66"},  // (-2)^3
      {lnxpow, "3E 63 66", "C1 03", "C1 05"},     // (-2)^2
      {lnxpow, "3E 63 66", "C0 33", kDomain},     // (-2)^0.5
      {lnxpow, "C1 03", "3E 64 66", "C0 33"},     // 2^-1
      {lnxpow, "C1 05", "C0 33", "C1 03"},        // 4^0.5
      {lnxpow, "80", "80", "C1 02"},              // 0^0
      {lnxpow, "80", "3E 64 66", "FF 65"},        // 0^-1
      {lnxpow, "80", "C1 02", "80"},              // 0^1
      {lnxpow, "C1 0B", "C2 02 1C", "FF 65"},     // 10^126
      {lnxpow, "C1 0B", "C2 02 19", "FF 02"},     // 10^124
      {lnxpow, "00", "C1 04", "00"},              // (-inf)^3
      {lnxpow, "00", "C1 03", "FF 65"},           // (-inf)^2
      {lnxpow, "C0 33", "FF 65", "80"},           // 0.5^inf
      {lnxpow, "C0 33", "00", "FF 65"},           // 0.5^-inf
      {lnxpow, "C1 02", "FF 65", "C1 02"},        // 1^inf
      {lnxpow, "C1 02 01*18 02", "D4 02",
       "C1 03 48 53 52 53 55 3C 05 35 24 25 03 58 30 0E 35 43 19 62 4B"},
      {lnxlog, "C1 0B", "C2 0B", "C1 04"},     // log10 1000
      {lnxlog, "C1 03", "C2 0B 19", "C1 0B"},  // log2 1024
      {lnxlog, "C1 02", "C1 03", kDomain},     // base 1
      {lnxlog, "80", "C1 03", kDomain},        // base 0
      {lnxlog, "C1 03", "80", kDomain},        // of 0
      {lnxatn2, "80", "80", kDomain},          // nowhere
      {lnxatn2, "80", "3E 64 66", kPi},        // to the left
      {lnxatn2, "80", "C1 02", "80"},          // to the right
      {lnxatn2, "C1 02", "80", kHalfPi},       // up
      {lnxatn2, "FF 65", "C1 02", kHalfPi},    // far up
      {lnxatn2, "C1 02", "00", kPi},           // far left
      {lnxatn2, "C1 02", "FF 65", "80"},       // far right
  };
  for (const BinaryCase& c : cases) {
    EXPECT_EQ(Hex(Apply(c.function, Bytes(c.x), Bytes(c.y))), Hex(Bytes(c.result)))
        << c.x << ", " << c.y;
  }
  Number out(KES_NUMBER_PREFIXED_BYTES);
  const Number two = Bytes("C1 03");
  EXPECT_EQ(lnxpwi(two.data(), 2, -1, out.data(), nullptr), 0);
  EXPECT_EQ(Hex(out.data(), 3), "02 C0 33");
  EXPECT_EQ(lnxpwi(two.data(), 2, INT64_MIN, out.data(), nullptr), 0);
  EXPECT_EQ(Hex(out.data(), 2), "01 80");
}

TEST(LnxMath, FloorAndCeiling) {
  const struct {
    const char* x;
    const char* floor;
    const char* ceiling;
  } cases[] = {{"C1 03 33", "C1 03", "C1 04"},
               {"3E 63 33 66", "3E 62 66", "3E 63 66"},
               {"C0 02", "80", "C1 02"},
               {"3F 64 66", "3E 64 66", "80"},
               {"C1 03", "C1 03", "C1 03"},
               {"80", "80", "80"},
               {"C1 64 02", "C1 64", "C2 02"},
               {"FF 65", "FF 65", "FF 65"},
               {"00", "00", "00"},
               {"80 02", "80", "C1 02"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Hex(Apply(lnxflo, Bytes(c.x))), Hex(Bytes(c.floor))) << c.x;
    EXPECT_EQ(Hex(Apply(lnxcei, Bytes(c.x))), Hex(Bytes(c.ceiling))) << c.x;
  }
}

#ifdef KESTRA_HAVE_MPFR

std::uint64_t PointCount() {
  const char* text = std::getenv("KESTRA_NUMBER_POINTS");
  return text != nullptr ? std::strtoull(text, nullptr, 10) : 1000;
}

class Mpfr {
 public:
  explicit Mpfr(mpfr_prec_t bits) { mpfr_init2(value_, bits); }
  ~Mpfr() { mpfr_clear(value_); }
  Mpfr(const Mpfr&) = delete;
  Mpfr& operator=(const Mpfr&) = delete;

  void Set(const Number& number) {
    const ref::Exact exact = ref::Read(number);
    std::string text = exact.negative ? "-" : "";
    text.append(exact.digits.empty() ? "0" : exact.digits).append("e");
    text.append(std::to_string(exact.scale));
    mpfr_set_str(value_, text.c_str(), 10, MPFR_RNDN);
  }
  mpfr_ptr get() { return value_; }

 private:
  mpfr_t value_;
};

using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using MpfrBinary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

// Of the arguments: the exponents' spread in base-100 digits, and whether they must be positive or
// within -1..1.
struct Measure {
  const char* name;
  Unary* unary;
  MpfrUnary mpfr_unary;
  Binary* binary;
  MpfrBinary mpfr_binary;
  int least_exponent;
  int most_exponent;
  bool positive;
};

int MpfrLog(mpfr_ptr result, mpfr_srcptr base, mpfr_srcptr x, mpfr_rnd_t rounding) {
  Mpfr divisor(mpfr_get_prec(result));
  mpfr_log(divisor.get(), base, rounding);
  mpfr_log(result, x, rounding);
  return mpfr_div(result, result, divisor.get(), rounding);
}

const Measure kMeasures[] = {
    {"sqrt", lnxsqr, mpfr_sqrt, nullptr, nullptr, -64, 63, true},
    {"exp", lnxexp, mpfr_exp, nullptr, nullptr, -10, 1, false},
    {"ln", lnxln, mpfr_log, nullptr, nullptr, -64, 63, true},
    {"ln near 1", lnxln, mpfr_log, nullptr, nullptr, 1, 1, true},
    {"log", nullptr, nullptr, lnxlog, MpfrLog, -64, 63, true},
    {"pow", nullptr, nullptr, lnxpow, mpfr_pow, -1, 1, true},
    {"sin", lnxsin, mpfr_sin, nullptr, nullptr, -10, 4, false},
    {"sin of large angles", lnxsin, mpfr_sin, nullptr, nullptr, 5, 63, false},
    {"cos", lnxcos, mpfr_cos, nullptr, nullptr, -10, 63, false},
    {"tan", lnxtan, mpfr_tan, nullptr, nullptr, -10, 63, false},
    {"asin", lnxasn, mpfr_asin, nullptr, nullptr, -10, 0, false},
    {"acos", lnxacs, mpfr_acos, nullptr, nullptr, -10, 0, false},
    {"atan", lnxatn, mpfr_atan, nullptr, nullptr, -60, 63, false},
    {"atan2", nullptr, nullptr, lnxatn2, mpfr_atan2, -30, 30, false},
    {"sinh", lnxsnh, mpfr_sinh, nullptr, nullptr, -10, 1, false},
    {"cosh", lnxcsh, mpfr_cosh, nullptr, nullptr, -10, 1, false},
    {"tanh", lnxtnh, mpfr_tanh, nullptr, nullptr, -10, 1, false},
};

Number Argument(NumberSource& source, const Measure& measure) {
  for (;;) {
    Number x = source.Next();
    if (x.size() < 2 || (x[0] == 0xFF && x[1] == 0x65)) continue;
    const bool negative = x[0] < 128;
    if (negative && measure.positive) x = ref::Negate(x);
    const int spread = measure.most_exponent - measure.least_exponent + 1;
    const int exponent = 192 + measure.least_exponent +
                         static_cast<int>(source.Below(static_cast<unsigned>(spread)));
    x[0] = static_cast<std::uint8_t>(x[0] < 128 ? 255 - exponent : exponent);
    if (std::string_view(measure.name) == "ln near 1") {  // 1.000... or 0.999...
      const std::size_t zeros = source.Below(x.size() - 1);
      const bool above = source.Below(2) == 0;
      x[0] = above ? 193 : 192;
      for (std::size_t i = 1; i <= zeros; ++i) x[i] = above ? 1 : 100;
      x[1] = above ? 2 : 100;
    }
    return x;
  }
}

// |number - exact| in units of the 20th base-100 digit of number.
double ErrorInUnits(const Number& number, mpfr_srcptr exact) {
  Mpfr difference(mpfr_get_prec(exact));
  Mpfr unit(mpfr_get_prec(exact));
  difference.Set(number);
  mpfr_sub(difference.get(), difference.get(), exact, MPFR_RNDN);
  const int exponent = number[0] >= 128 ? number[0] : 255 - number[0];
  const std::string text = "1e" + std::to_string(2 * (exponent - 192 - 20));
  mpfr_set_str(unit.get(), text.c_str(), 10, MPFR_RNDN);
  mpfr_div(difference.get(), difference.get(), unit.get(), MPFR_RNDN);
  return std::abs(mpfr_get_d(difference.get(), MPFR_RNDN));
}

TEST(LnxMath, WithinHalfAUnitOfTheLastDigitOfMpfr) {
  for (const Measure& measure : kMeasures) {
    NumberSource source(17);
    const mpfr_prec_t bits = measure.most_exponent > 4 ? 1100 : 500;
    Mpfr a(bits);
    Mpfr b(bits);
    Mpfr exact(bits);
    double worst = 0;
    std::uint64_t measured = 0;
    while (measured < PointCount()) {  // some arguments are skipped below
      const Number x = Argument(source, measure);
      const Number y = Argument(source, measure);
      Number result;
      a.Set(x);
      b.Set(y);
      if (measure.unary != nullptr) {
        result = Apply(measure.unary, x);
        measure.mpfr_unary(exact.get(), a.get(), MPFR_RNDN);
      } else {
        result = Apply(measure.binary, x, y);
        measure.mpfr_binary(exact.get(), a.get(), b.get(), MPFR_RNDN);
      }
      if (measure.binary == lnxlog && Hex(x) == "C1 02") continue;  // no logarithms to base 1
      ASSERT_FALSE(result.empty()) << measure.name << " " << Hex(x);
      ASSERT_EQ(lnxchk(result.data(), result.size()), 1) << measure.name << " " << Hex(x);
      if (result.size() == 1 ||
          (result[0] == 0xFF && result[1] == 0x65)) {  // out of range, or zero
        const double magnitude = std::abs(mpfr_get_d(exact.get(), MPFR_RNDN));
        ASSERT_TRUE(magnitude < 1.000001e-130 || magnitude > 9.99999e125)
            << measure.name << " " << Hex(x) << " " << Hex(y) << " " << magnitude;
        continue;
      }
      const double error = ErrorInUnits(result, exact.get());
      ASSERT_LE(error, 0.5 + 1e-9)
          << measure.name << " " << Hex(x) << " " << Hex(y) << " gave " << Hex(result);
      worst = std::max(worst, error);
      ++measured;
    }
    std::printf("%-20s %8llu points, worst error %.9f units of the last digit\n", measure.name,
                static_cast<unsigned long long>(measured), worst);
  }
}

TEST(LnxMath, ConstantsAreTheNearest) {
  Mpfr exact(400);
  const auto nearest = [&](const std::uint8_t* constant) {
    return ErrorInUnits(Number(constant + 1, constant + 1 + constant[0]), exact.get()) <= 0.5;
  };
  mpfr_const_pi(exact.get(), MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgtpi()));
  EXPECT_TRUE(nearest(lnxqpi));
  mpfr_set_ui(exact.get(), 1, MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgtone()));
  mpfr_exp(exact.get(), exact.get(), MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgte()));
  mpfr_set_ui(exact.get(), 10, MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgtten()));
  mpfr_log(exact.get(), exact.get(), MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgtln10()));
  mpfr_set_si(exact.get(), -1, MPFR_RNDN);
  EXPECT_TRUE(nearest(lnxqgtneg1()));
  EXPECT_EQ(Hex(lnxqgtzero(), 2), "01 80");
}

#endif

}  // namespace
}  // namespace kestra::number
