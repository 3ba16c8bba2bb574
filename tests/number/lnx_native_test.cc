#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "kestra/number.h"
#include "kestra/number_native.h"
#include "tests/support/hex.h"
#include "tests/support/number_call.h"
#include "tests/support/number_random.h"

namespace kestra::number {
namespace {

using Number = std::vector<std::uint8_t>;
using test::Bytes;
using test::Hex;
using test::Output;
namespace ref = test::ref;

std::string Shown(const Number& number) {  // digits and exponent, as strtod reads them
  const ref::Exact exact = ref::Read(number);
  std::string text = exact.negative ? "-" : "";
  return text.append(exact.digits.empty() ? "0" : exact.digits)
      .append("e")
      .append(std::to_string(exact.scale));
}

template <typename Function, typename Value>
Number FromFloat(Function function, Value value, int status) {
  return Output(
      [&](auto* out, auto* length) { EXPECT_EQ(function(value, out, length), status) << value; });
}

TEST(LnxNative, IntegersGoThereAndBack) {
  test::NumberSource source(1);
  for (int i = 0; i < 100'000; ++i) {
    const auto bits = source.Below(~std::uint64_t{0}) >> source.Below(64);
    const auto value = static_cast<std::int64_t>(source.Below(2) != 0 ? bits : 0 - bits);
    const Number number = Output([&](auto* out, auto* length) { lnxmin(value, out, length); });
    ASSERT_EQ(lnxchk(number.data(), number.size()), 1);
    ASSERT_EQ(Hex(number),
              Hex(ref::Write({false, value < 0, std::to_string(value).substr(value < 0), 0})));
    std::int64_t back = 0;
    ASSERT_EQ(lnxgin(number.data(), number.size(), &back, 8), KES_NUMBER_EXACT);
    ASSERT_EQ(back, value);
    std::int32_t narrow = 99;
    const bool fits = value == static_cast<std::int32_t>(value);
    ASSERT_EQ(lnxgin(number.data(), number.size(), &narrow, 4),
              fits ? KES_NUMBER_EXACT : KES_NUMBER_OUT_OF_RANGE);
    ASSERT_EQ(narrow, fits ? static_cast<std::int32_t>(value) : 99);
  }
}

struct Limit {
  const char* number;  // digits
  std::size_t size;
  bool is_signed;
  int status;
};

TEST(LnxNative, LimitsOfEveryWidth) {
  const Limit limits[] = {
      {"127", 1, true, 0},
      {"128", 1, true, -1},
      {"-128", 1, true, 0},
      {"-129", 1, true, -1},
      {"255", 1, false, 0},
      {"256", 1, false, -1},
      {"-1", 1, false, -1},
      {"32767", 2, true, 0},
      {"-32769", 2, true, -1},
      {"65536", 2, false, -1},
      {"4294967295", 4, false, 0},
      {"4294967296", 4, false, -1},
      {"9223372036854775808", 8, true, -1},
      {"-9223372036854775808", 8, true, 0},
      {"18446744073709551615", 8, false, 0},
      {"18446744073709551616", 8, false, -1},
      {"170141183460469231731687303715884105727", 16, true, 0},
      {"170141183460469231731687303715884105728", 16, true, -1},
      {"-170141183460469231731687303715884105728", 16, true, 0},
      {"340282366920938463463374607431768211455", 16, false, 0},
      {"340282366920938463463374607431768211456", 16, false, -1},
      {"9999999999999999999999999999999999999999", 16, false, -1},
      {"1", 3, true, -2},
      {"1", 0, false, -2},
  };
  for (const Limit& limit : limits) {
    const bool negative = limit.number[0] == '-';
    const Number number = ref::Write({false, negative, limit.number + negative, 0});
    unsigned __int128 value = 0x77;
    const auto function = limit.is_signed ? lnxgin : lnxgun;
    EXPECT_EQ(function(number.data(), number.size(), &value, limit.size), limit.status)
        << limit.number << " " << limit.size;
    if (limit.status != 0) {
      EXPECT_TRUE(value == 0x77) << limit.number;
      continue;
    }
    if (limit.size == 16) {
      const auto high = static_cast<std::uint64_t>(value >> 64);
      const auto low = static_cast<std::uint64_t>(value);
      const Number back = Output([&](auto* out, auto* length) {
        if (limit.is_signed) {
          lnxmiq(static_cast<std::int64_t>(high), low, out, length);
        } else {
          lnxmuq(high, low, out, length);
        }
      });
      EXPECT_EQ(Hex(back), Hex(number));
    }
  }
}

TEST(LnxNative, FractionsRoundHalfAwayFromZero) {
  const struct {
    const char* bytes;
    int value;
    int status;
  } cases[] = {{"C1 03 33", 3, 1}, {"3E 63 33 66", -3, 1}, {"C1 03 32 64", 2, 1}, {"C0 33", 1, 1},
               {"C0 32 64", 0, 1}, {"BF 64", 0, 1},        {"3F 33 66", -1, 1},   {"80", 0, 0},
               {"80 02", 0, 1},    {"C1 64 64*3", 100, 1}};
  for (const auto& c : cases) {
    const Number number = Bytes(c.bytes);
    int value = 12345;
    EXPECT_EQ(lnxgin(number.data(), number.size(), &value, sizeof value), c.status) << c.bytes;
    EXPECT_EQ(value, c.value) << c.bytes;
  }
  const Number tiny = Bytes("3F 60 66");  // -0.06
  unsigned value = 5;
  EXPECT_EQ(lnxgun(tiny.data(), tiny.size(), &value, sizeof value), KES_NUMBER_ROUNDED);
  EXPECT_EQ(value, 0u);
  const Number infinity = Bytes("FF 65");
  EXPECT_EQ(lnxgin(infinity.data(), 2, &value, 4), KES_NUMBER_OUT_OF_RANGE);
}

TEST(LnxNative, DoublesGoThereAndBackByTheirShortestDigits) {
  test::NumberSource source(2);
  int done = 0;
  while (done < 100'000) {
    const double value = std::bit_cast<double>(source.Below(~std::uint64_t{0}));
    if (!(std::fabs(value) >= 1e-129 && std::fabs(value) < 1e126)) continue;
    const Number number = FromFloat(lnxmdb, value, KES_NUMBER_EXACT);
    double back = 0;
    ASSERT_EQ(lnxgdb(number.data(), number.size(), &back), KES_NUMBER_EXACT);
    ASSERT_EQ(back, value);
    ASSERT_LE(ref::Read(number).digits.size(), 18u);  // 17, and a zero to fill the byte
    ++done;
  }
}

TEST(LnxNative, NumbersGoToTheNearestDoubleAndFloat) {
  test::NumberSource source(3);
  for (int i = 0; i < 50'000; ++i) {
    const Number number = source.Next();
    if (ref::Read(number).infinite) continue;
    double wide = 0;
    ASSERT_EQ(lnxgdb(number.data(), number.size(), &wide), KES_NUMBER_EXACT);
    ASSERT_EQ(wide, std::strtod(Shown(number).c_str(), nullptr)) << Hex(number);
    float narrow = 7;
    const float wanted = std::strtof(Shown(number).c_str(), nullptr);
    const int status = lnxgfl(number.data(), number.size(), &narrow);
    ASSERT_EQ(status, std::isinf(wanted) ? KES_NUMBER_OUT_OF_RANGE : KES_NUMBER_EXACT)
        << Hex(number);
    if (status == KES_NUMBER_EXACT) {
      ASSERT_EQ(narrow, wanted) << Hex(number);
    }
  }
}

TEST(LnxNative, ExactDoubles) {
  EXPECT_EQ(Shown(FromFloat(lnxmdx, 0.1, KES_NUMBER_ROUNDED)),
            "1000000000000000055511151231257827021182e-40");
  EXPECT_EQ(Shown(FromFloat(lnxmdx, -0.375, KES_NUMBER_EXACT)), "-3750e-4");
  EXPECT_EQ(Hex(FromFloat(lnxmdx, 0x1p100, KES_NUMBER_EXACT)),
            Hex(ref::Write({false, false, "1267650600228229401496703205376", 0})));
  EXPECT_EQ(Hex(FromFloat(lnxmfl, 0.1f, KES_NUMBER_EXACT)), "C0 0B");
  EXPECT_EQ(Shown(FromFloat(lnxmdx, static_cast<double>(0.1f), KES_NUMBER_EXACT)),
            "1000000014901161193847656250e-28");
}

TEST(LnxNative, SpecialDoubles) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Hex(FromFloat(lnxmdb, infinity, KES_NUMBER_EXACT)), "FF 65");
  EXPECT_EQ(Hex(FromFloat(lnxmdx, -infinity, KES_NUMBER_EXACT)), "00");
  EXPECT_EQ(Hex(FromFloat(lnxmdb, -0.0, KES_NUMBER_EXACT)), "80");
  EXPECT_EQ(Hex(FromFloat(lnxmdb, 5e-324, KES_NUMBER_ROUNDED)), "80");
  EXPECT_EQ(Hex(FromFloat(lnxmdx, -5e-324, KES_NUMBER_ROUNDED)), "80");
  FromFloat(lnxmdb, std::numeric_limits<double>::max(), KES_NUMBER_OUT_OF_RANGE);
  FromFloat(lnxmdx, 1.0000000001e126, KES_NUMBER_OUT_OF_RANGE);
  FromFloat(lnxmdb, std::nan(""), KES_NUMBER_NOT_A_NUMBER);
  double back = 0;
  const Number negative = {0};
  EXPECT_EQ(lnxgdb(negative.data(), 1, &back), KES_NUMBER_EXACT);
  EXPECT_EQ(back, -infinity);
}

}  // namespace
}  // namespace kestra::number
