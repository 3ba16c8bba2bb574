// Hand-worked cases: limits, carries, specials, and what happens to malformed input.
#include <gtest/gtest.h>

#include "kestra/number.h"
#include "kestra/number_tables.h"
#include "number/kernels/number_kernels.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/hex.h"
#include "tests/support/number_call.h"

namespace kestra::number {
namespace {

using Number = std::vector<std::uint8_t>;
using test::Apply;
using test::Bytes;
using test::Hex;

using Binary = void(const uint8_t*, size_t, const uint8_t*, size_t, uint8_t*, size_t*) noexcept;

struct BinaryCase {
  const char* what;
  Binary* function;
  const char* x;
  const char* y;
  const char* result;
};

constexpr BinaryCase kBinaryCases[] = {
    {"opposites leave the one-byte zero", lnxadd, "C1 02", "3E 64 66", "80"},
    {"a carry through 38 nines adds a digit", lnxadd, "D3 64*19", "C1 02", "D4 02"},
    {"digit 21 is 50: away from zero", lnxadd, "D4 02 01*18 02", "C0 33", "D4 02 01*18 03"},
    {"digit 21 is 49: cut off", lnxadd, "D4 02 01*18 02", "C0 32 64*10", "D4 02 01*18 02"},
    {"of unlike infinities added the first decides", lnxadd, "FF 65", "00", "FF 65"},
    {"like infinities subtract to zero", lnxsub, "FF 65", "FF 65", "80"},
    {"unlike infinities: the first decides", lnxsub, "00", "FF 65", "00"},
    {"like infinities add", lnxadd, "00", "00", "00"},
    {"too large is infinity", lnxmul, "FF 64", "C2 02", "FF 65"},
    {"a rounded-up sum may be too large", lnxadd, "FF 64*20", "EB 64", "FF 65"},
    {"too small is zero", lnxdiv, "80 02", "C1 0B", "80"},
    {"the smallest number", lnxdiv, "80 0B", "C1 0B", "80 02"},
    {"zero times infinity, zero being positive", lnxmul, "80", "00", "00"},
    {"a number over zero", lnxdiv, "C1 06", "80", "FF 65"},
    {"zero over zero", lnxdiv, "80", "80", "FF 65"},
    {"zero over infinity", lnxdiv, "80", "00", "80"},
    {"infinity over infinity", lnxdiv, "FF 65", "00", "00"},
    {"a number over infinity", lnxdiv, "C1 06", "FF 65", "80"},
    {"a remainder has the sign of the dividend", lnxmod, "3E 5E 66", "C1 04", "3E 64 66"},
    {"the nearest quotient rounds its half away", lnxrem, "C1 06", "C1 03", "3E 64 66"},
    {"modulo zero", lnxmod, "C1 06", "80", "C1 06"},
    {"infinity modulo a number", lnxrem, "00", "C1 06", "00"},
};

// On every kernel of the machine.
class LnxArithmetic : public test::CpuLevelTest {
 protected:
  void SetUp() override {
    CpuLevelTest::SetUp();
    ChooseKernels();
  }
  void TearDown() override {
    CpuLevelTest::TearDown();
    ChooseKernels();
  }
};
INSTANTIATE_TEST_SUITE_P(Levels, LnxArithmetic,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx512),
                         test::LevelName);

TEST_P(LnxArithmetic, HandWorkedCases) {
  for (const BinaryCase& c : kBinaryCases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(Hex(Apply(c.function, Bytes(c.x), Bytes(c.y))), Hex(Bytes(c.result)));
  }
}

struct RoundCase {
  const char* what;
  const char* x;
  int places;
  const char* away;
  const char* even;
  const char* cut;
};

constexpr RoundCase kRoundCases[] = {
    {"2.5", "C1 03 33", 0, "C1 04", "C1 03", "C1 03"},
    {"-2.5", "3E 63 33 66", 0, "3E 62 66", "3E 63 66", "3E 63 66"},
    {"0.5: up from below the place", "C0 33", 0, "C1 02", "80", "80"},
    {"0.05 at one place", "C0 06", 1, "C0 0B", "80", "80"},
    {"0.05 at no place", "C0 06", 0, "80", "80", "80"},
    {"0.155 at two places is not a tie in its byte", "C0 10 33", 2, "C0 11", "C0 11", "C0 10"},
    {"0.25 at one place, to even", "C0 1A", 1, "C0 1F", "C0 15", "C0 15"},
    {"0.2500...01 is above the tie", "C0 1A 01*5 02", 1, "C0 1F", "C0 1F", "C0 15"},
    {"99.95 carries out of the byte", "C1 64 60", 1, "C2 02", "C2 02", "C1 64 5B"},
    {"50 at hundreds: a tie with nothing before it", "C1 33", -2, "C2 02", "80", "80"},
    {"51 at hundreds", "C1 34", -2, "C2 02", "C2 02", "80"},
    {"4 at tens", "C1 05", -1, "80", "80", "80"},
    {"far left of the number", "C1 64", -2147483647 - 1, "80", "80", "80"},
    {"far right of the number", "C1 64", 2147483647, "C1 64", "C1 64", "C1 64"},
    {"rounding up past the largest", "FF 64*20", -87, "FF 65", "FF 65", "FF 64*19 5B"},
    {"infinity", "FF 65", 0, "FF 65", "FF 65", "FF 65"},
};

TEST_P(LnxArithmetic, HandWorkedRoundings) {
  for (const RoundCase& c : kRoundCases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(Hex(Apply(lnxrou, Bytes(c.x), c.places)), Hex(Bytes(c.away)));
    EXPECT_EQ(Hex(Apply(lnxrou2e, Bytes(c.x), c.places)), Hex(Bytes(c.even)));
    EXPECT_EQ(Hex(Apply(lnxtru, Bytes(c.x), c.places)), Hex(Bytes(c.cut)));
  }
}

TEST(LnxSign, NegationTurnsSpecialsAndTerminators) {
  const char* const pairs[][2] = {{"80", "80"},
                                  {"FF 65", "00"},
                                  {"C1 02", "3E 64 66"},
                                  {"C1 02*20", "3E 64*20"},
                                  {"C1 02*19", "3E 64*19 66"}};
  for (const auto& [positive, negative] : pairs) {
    EXPECT_EQ(Hex(Apply(lnxneg, Bytes(positive))), Hex(Bytes(negative)));
    EXPECT_EQ(Hex(Apply(lnxneg, Bytes(negative))), Hex(Bytes(positive)));
    EXPECT_EQ(Hex(Apply(lnxabs, Bytes(negative))), Hex(Bytes(positive)));
  }
}

TEST(LnxSign, LooksAtTheFirstByteAlone) {
  const std::uint8_t smallest[] = {0x80, 2};
  EXPECT_EQ(lnxsgn(smallest, 2), 0);
  const std::uint8_t prefixed[] = {3, 0x3E, 100, 102};
  EXPECT_EQ(lnxsgn(prefixed, 0), -1);
  EXPECT_EQ(lnxsgn(lnxqpi, 0), 1);
}

TEST_P(LnxArithmetic, ComparisonGivesTheDifferenceOfTheFirstUnequalBytes) {
  const std::uint8_t minus_half[] = {0x3F, 0x33, 0x66};
  EXPECT_EQ(lnxcmp(lnxqneg1, 0, minus_half, 3), 0x3E - 0x3F);
  EXPECT_EQ(lnxcmp(lnxqpos1, 0, lnxqpi, 0), 2 - 4);
  const std::uint8_t one_and_more[] = {0xC1, 2, 1, 9};
  EXPECT_EQ(lnxcmp(one_and_more, 4, lnxqpos1, 0), 4 - 2);
}

struct CheckCase {
  const char* bytes;
  int ok;
  int ok_before_zero_bytes;
};

constexpr CheckCase kChecks[] = {
    {"80", 1, 1},          {"00", 1, 1},
    {"00 00 00", 0, 1},    {"FF 65", 1, 1},
    {"C1 65", 0, 0},       {"FF", 0, 0},
    {"C1", 0, 0},          {"C1 02 01", 0, 0},
    {"C1 01 02", 0, 0},    {"C1 02 00 02", 0, 0},
    {"C1 02 00 00", 0, 1}, {"C1 64*20", 1, 1},
    {"C1 64*21", 0, 0},    {"C1 64*20 00*30", 0, 1},
    {"80 02", 1, 1},       {"80 00", 0, 1},
    {"3E 64 66", 1, 1},    {"3E 64", 0, 0},
    {"3E 64 65", 0, 0},    {"3E 65 64 66", 0, 0},
    {"3E 66 66", 0, 0},    {"3E 64 65 66", 0, 0},
    {"3E 64 66 00", 0, 1}, {"3E 64*20", 1, 1},
    {"3E 64*20 66", 0, 0}, {"3E 64*19 66", 1, 1},
    {"3E 64*19 65", 0, 0}, {"3E 64 01 64 66", 0, 0},
    {"7F 64 66", 1, 1},
};

TEST(LnxCheck, WellFormedOrNot) {
  for (const CheckCase& c : kChecks) {
    const Number bytes = Bytes(c.bytes);
    EXPECT_EQ(lnxchk(bytes.data(), bytes.size()), c.ok) << c.bytes;
    EXPECT_EQ(lnxqchk(bytes.data(), bytes.size(), 0), c.ok) << c.bytes;
    EXPECT_EQ(lnxqchk(bytes.data(), bytes.size(), 1), c.ok_before_zero_bytes) << c.bytes;
    Number prefixed = bytes;
    prefixed.insert(prefixed.begin(), static_cast<std::uint8_t>(bytes.size()));
    EXPECT_EQ(lnxchk(prefixed.data(), 0), c.ok) << c.bytes;
  }
  const std::uint8_t none[] = {0};
  EXPECT_EQ(lnxchk(none, 0), 0);
  EXPECT_EQ(lnxchk(nullptr, 5), 0);
  EXPECT_EQ(lnxqchk(nullptr, 0, 1), 0);
}

TEST_P(LnxArithmetic, LengthsOutOfRangeAreCut) {
  // 255 as a length byte: 21 bytes are read, and the array has no more.
  Number x(22, 2);
  x[0] = 255;
  x[1] = 0xC1;
  std::uint8_t out[KES_NUMBER_PREFIXED_BYTES];
  lnxadd(x.data(), 0, nullptr, 0, out, nullptr);
  EXPECT_EQ(Hex(out, 22), Hex(Bytes("15 C1 02*20")));
  lnxadd(x.data() + 1, 4000, nullptr, 7, out, nullptr);
  EXPECT_EQ(Hex(out, 22), Hex(Bytes("15 C1 02*20")));
  const std::uint8_t lone[] = {102};  // an exponent byte that looks like a terminator
  lnxneg(lone, 1, out, nullptr);
  EXPECT_EQ(Hex(out, 2), "01 99");
  const std::uint8_t none[] = {0};
  lnxcopy(none, 0, out, nullptr);
  EXPECT_EQ(Hex(out, 2), "01 80");
}

// The tables do an addition of their own: 0.01020304... style numbers summed place by place.
TEST(LnxTables, AddPlacesOfEverySignCombination) {
  for (int a = 0; a < 100; ++a) {
    for (int b = 0; b < 100; ++b) {
      for (int carry = 0; carry < 2; ++carry) {
        const int pa = LnxqDigit_P[a], pb = LnxqDigit_P[b];
        const int na = LnxqDigit_N[a], nb = LnxqDigit_N[b];
        const auto* sum = LnxqAdd_PPP[pa + pb + carry];
        ASSERT_EQ(sum[0] - 1 + 100 * sum[1], a + b + carry);
        sum = LnxqAdd_NNN[na + nb - carry];
        ASSERT_EQ(101 - sum[0] + 100 * sum[1], a + b + carry);
        sum = LnxqAdd_PNP[pa + nb - carry];
        ASSERT_EQ(sum[0] - 1 - 100 * sum[1], a - b - carry);
        sum = LnxqAdd_PNN[na + pb + carry];
        ASSERT_EQ(101 - sum[0] - 100 * sum[1], a - b - carry);
      }
    }
  }
}

TEST(LnxTables, BytesOfBothSignsMeanTheSameDigit) {
  for (int digit = 0; digit < 100; ++digit) {
    const std::uint8_t p = LnxqDigit_P[digit];
    const std::uint8_t n = LnxqDigit_N[digit];
    EXPECT_EQ(LnxqNegate[p], n);
    EXPECT_EQ(LnxqNegate[n], p);
    EXPECT_EQ(LnxsubIdentity[p], p);
    EXPECT_EQ(LnxqComponent_P[p][0] * 10 + LnxqComponent_P[p][1], digit);
    EXPECT_EQ(LnxqComponent_N[n][0] * 10 + LnxqComponent_N[n][1], digit);
    EXPECT_EQ(LnxqFirstDigit[p], digit % 10 == 0);
    EXPECT_EQ(LnxqFirstDigit[n], digit % 10 == 0);
    EXPECT_EQ(LnxqTruncate_P[p] + LnxqTruncate_N[n], 102);
    EXPECT_EQ(LnxqRound_P[p] + LnxqRound_N[n], 102);
    EXPECT_EQ(LnxqRound2e_P[p] + LnxqRound2e_N[n], 102);
  }
  EXPECT_EQ(LnxqNegate[0], 0);
  EXPECT_EQ(LnxqRound_P[95 + 1], 101);   // 95 to 100
  EXPECT_EQ(LnxqRound_P[4 + 1], 1);      // 4 to 0
  EXPECT_EQ(LnxqRound2e_P[5 + 1], 1);    // 5 to 0
  EXPECT_EQ(LnxqRound2e_P[15 + 1], 21);  // 15 to 20
  EXPECT_EQ(LnxqRound2e_P[25 + 1], 21);  // 25 to 20
  EXPECT_EQ(LnxqTruncate_P[99 + 1], 91);
}

}  // namespace
}  // namespace kestra::number
