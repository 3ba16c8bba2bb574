#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <random>

#include "kestra/number_text.h"
#include "number/kernels/lnx_text_kernels.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/hex.h"
#include "tests/support/number_text.h"

namespace kestra::test {
namespace {

const std::uint8_t* Data(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

class LnxText : public CpuLevelTest {
 protected:
  void SetUp() override {
    CpuLevelTest::SetUp();
    number::ChooseTextKernels();
  }
  void TearDown() override {
    CpuLevelTest::TearDown();
    number::ChooseTextKernels();
  }
};
INSTANTIATE_TEST_SUITE_P(Levels, LnxText,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx512),
                         LevelName);

struct ReadCase {
  const char* text;
  const char* bytes;
};
constexpr ReadCase kReads[] = {
    {"0", "80"},
    {"-0.00", "80"},
    {"1", "C1 02"},
    {"+2", "C1 03"},
    {"-1", "3E 64 66"},
    {"100", "C2 02"},
    {".5", "C0 33"},
    {"5.", "C1 06"},
    {"123.45", "C2 02 18 2E"},
    {"-123.45", "3D 64 4E 38 66"},
    {" \t000123.4500 \r\n", "C2 02 18 2E"},
    {"12345E-2", "C2 02 18 2E"},
    {"0.0012345e+5", "C2 02 18 2E"},
    {"1E-130", "80 02"},
    {"9.9E-131", "80"},
    {"1e-99999999999999999999", "80"},
    {"0e99999999999999999999", "80"},
    {"9.9e125", "FF 64"},
    {"inf", "FF 65"},
    {"+INFINITY", "FF 65"},
    {"-Inf", "00"},
    {"3.14159265358979323846264338327950288420",
     "C1 04 0F 10 5D 42 24 5A 50 21 27 2F 1B 2C 27 21 50 "
     "33 1D 55 15"},
    {"99999999999999999999999999999999999999949", "D5 0A 64*19"},
    {"99999999999999999999999999999999999999950", "D5 0B"},
    {"9999999999999999999999999999999999999999.5", "D5 02"},
    {"-9999999999999999999999999999999999999999.4999", "2B 02*20"},
};

TEST_P(LnxText, ReadsHandWorkedValues) {
  for (const ReadCase& c : kReads) EXPECT_EQ(Hex(Number(c.text)), Hex(Bytes(c.bytes))) << c.text;
}

struct BadCase {
  std::string_view text;
  std::size_t offset;
};
constexpr BadCase kBad[] = {
    {"", 0},         {"   ", 3},       {"-", 1},    {"+ 1", 1},   {"--1", 1},   {".", 1},
    {"x", 0},        {"12x", 2},       {"1 2", 2},  {"1.2.3", 3}, {"1e", 2},    {"1e+", 3},
    {"1e+x", 3},     {"1,234", 1},     {"infi", 3}, {"-in", 1},   {"1e5.5", 3}, {"0x10", 1},
    {{"1\0", 2}, 1}, {"1\xC2\xA0", 1}, {".x", 1},   {"-.e5", 2},
};

TEST_P(LnxText, TellsTheFirstBadByte) {
  for (const BadCase& c : kBad) {
    std::array<std::uint8_t, 22> out;
    out.fill(0xEE);
    std::size_t bad = 99;
    EXPECT_EQ(lnxfromtext(Data(c.text), c.text.size(), nullptr, out.data(), nullptr, &bad),
              LNX_BAD_BYTE)
        << c.text;
    EXPECT_EQ(bad, c.offset) << c.text;
    for (const std::uint8_t byte : out) EXPECT_EQ(byte, 0xEE) << c.text;
  }
}

TEST_P(LnxText, TooLargeIsInfinityAndSaysSo) {
  for (const char* text : {"1e126", "-1e126", "9.99999999999999999999999999999999999999999e125"}) {
    std::uint8_t out[22];
    EXPECT_EQ(lnxfromtext(Data(text), std::strlen(text), nullptr, out, nullptr, nullptr),
              LNX_RANGE);
    EXPECT_EQ(Hex(out, 1u + out[0]), *text == '-' ? "01 00" : "02 FF 65");
  }
}

TEST_P(LnxText, ReadsTheCallersPointAndGroups) {
  lnxsymbols symbols = {};
  symbols.decimal = Span(",");
  symbols.group = Span("\xC2\xA0");
  const auto read = [&](std::string_view text) {
    std::uint8_t out[22];
    std::size_t length = 0, bad = 0;
    const int status = lnxfromtext(Data(text), text.size(), &symbols, out, &length, &bad);
    if (status != LNX_OK) return "bad at " + std::to_string(bad);
    return Text(NumberBytes(out, out + length));
  };
  EXPECT_EQ(read("1\xC2\xA0"
                 "234\xC2\xA0"
                 "567,25"),
            "1234567.25");
  EXPECT_EQ(read("1234567,25"), "1234567.25");
  EXPECT_EQ(read("1.5"), "bad at 1");
  EXPECT_EQ(read("1\xC2\xA0"), "bad at 1");
  EXPECT_EQ(read("1\xC2\xA0\xC2\xA0"
                 "2"),
            "bad at 1");
  EXPECT_EQ(read("1,2\xC2\xA0"
                 "3"),
            "bad at 3");
}

TEST_P(LnxText, ReadsAMegabyte) {
  const std::string zeros(1'000'000, '0');
  EXPECT_EQ(Text(Number("0." + zeros + "15e1000002")), "15");
  EXPECT_EQ(Text(Number("15" + zeros + "e-1000001")), "1.5");
  EXPECT_EQ(Text(Number(zeros + "7")), "7");
  EXPECT_EQ(Text(Number("0." + std::string(1'000'000, '9'))), "1");
}

TEST_P(LnxText, RoundsAndPairsAsTheReferenceDoes) {
  std::mt19937_64 random(31);
  for (int i = 0; i < 100'000; ++i) {
    const std::string text = RandomDigits(random, i % 2 == 0 ? 70 : 45);
    ASSERT_EQ(Hex(Number(text)), Hex(ref::NumberOfDigits(text))) << text;
  }
}

struct FormCase {
  const char* value;
  lnxtextform form;
  const char* text;
};
constexpr FormCase kForms[] = {
    {"0", {}, "0"},
    {"-0.5", {}, "-0.5"},
    {"-1234567.125", {}, "-1234567.125"},
    {"12e40", {}, "120000000000000000000000000000000000000000"},
    {"1e-45", {}, "0.000000000000000000000000000000000000000000001"},
    {"inf", {}, "Infinity"},
    {"-inf", {}, "-Infinity"},
    {"-1234567.125", {LNX_TEXT_PLAIN, LNX_TEXT_GROUPED, 0, 0, {}}, "-1'234'567.125"},
    {"123456", {LNX_TEXT_PLAIN, LNX_TEXT_GROUPED, 0, 0, {}}, "123'456"},
    {"123", {LNX_TEXT_PLAIN, LNX_TEXT_GROUPED, 0, 0, {}}, "123"},
    {"0", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "0"},
    {"0.5", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, ".5"},
    {"1e40", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "1E40"},
    {"1000", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "1E3"},
    {"100", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "100"},
    {"-15e-21", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "-15E-21"},
    {"1.5e-9", {LNX_TEXT_SHORTEST, 0, 0, 0, {}}, "1.5E-9"},
    {"2.5", {LNX_TEXT_FIXED, 0, 0, 0, {}}, "3"},
    {"-2.5", {LNX_TEXT_FIXED, 0, 0, 0, {}}, "-3"},
    {"0.05", {LNX_TEXT_FIXED, 0, 1, 0, {}}, "0.1"},
    {"-0.04", {LNX_TEXT_FIXED, 0, 1, 0, {}}, "0.0"},
    {"99.995", {LNX_TEXT_FIXED, 0, 2, 0, {}}, "100.00"},
    {"1250", {LNX_TEXT_FIXED, 0, -2, 0, {}}, "1300"},
    {"49", {LNX_TEXT_FIXED, 0, -2, 0, {}}, "0"},
    {"50", {LNX_TEXT_FIXED, 0, -2, 0, {}}, "100"},
    {"999999.5", {LNX_TEXT_FIXED, LNX_TEXT_GROUPED, 0, 0, {}}, "1'000'000"},
    {"1e-130", {LNX_TEXT_FIXED, 0, 1, 0, {}}, "0.0"},
    {"0", {LNX_TEXT_SCIENTIFIC, 0, 2, 0, {}}, "0.00E+00"},
    {"123456", {LNX_TEXT_SCIENTIFIC, 0, -1, 0, {}}, "1.23456E+05"},
    {"999.6", {LNX_TEXT_SCIENTIFIC, 0, 2, 0, {}}, "1.00E+03"},
    {"-1e-130", {LNX_TEXT_SCIENTIFIC, 0, -1, 0, {}}, "-1E-130"},
    {"5", {LNX_TEXT_SCIENTIFIC, 0, 0, 0, {}}, "5E+00"},
    {"123.45", {LNX_TEXT_WIDTH, 0, 0, 10, {}}, "    123.45"},
    {"123.45", {LNX_TEXT_WIDTH, LNX_TEXT_UNPADDED, 0, 10, {}}, "123.45"},
    {"123.456789", {LNX_TEXT_WIDTH, 0, 0, 6, {}}, "123.46"},
    {"9.96", {LNX_TEXT_WIDTH, 0, 0, 3, {}}, " 10"},
    {"99.996", {LNX_TEXT_WIDTH, 0, 0, 5, {}}, "  100"},
    {"0.000012345", {LNX_TEXT_WIDTH, 0, 0, 8, {}}, "1.23E-05"},
    {"123456789", {LNX_TEXT_WIDTH, 0, 0, 7, {}}, "1.2E+08"},
    {"-123456789", {LNX_TEXT_WIDTH, 0, 0, 5, {}}, "#####"},
    {"0.3", {LNX_TEXT_WIDTH, 0, 0, 1, {}}, "0"},
    {"-inf", {LNX_TEXT_WIDTH, 0, 0, 10, {}}, " -Infinity"},
    {"-inf", {LNX_TEXT_WIDTH, 0, 0, 8, {}}, "########"},
    {"1", {LNX_TEXT_FIXED, 0, 1001, 0, {}}, "!4"},
    {"1", {LNX_TEXT_FIXED, 0, -201, 0, {}}, "!4"},
    {"1", {LNX_TEXT_SCIENTIFIC, 0, -2, 0, {}}, "!4"},
    {"1", {LNX_TEXT_WIDTH, 0, 0, 0, {}}, "!4"},
    {"1", {5, 0, 0, 0, {}}, "!4"},
    {"1", {0, 4, 0, 0, {}}, "!4"},
};

TEST_P(LnxText, WritesEveryForm) {
  lnxsymbols symbols = {};
  symbols.group = Span("'");
  for (const FormCase& c : kForms) {
    EXPECT_EQ(Text(Number(c.value), &c.form, &symbols), c.text) << c.value << " " << c.form.kind;
    if ((c.form.flags & LNX_TEXT_GROUPED) == 0) {
      EXPECT_EQ(Text(Number(c.value), &c.form), c.text);
    }
  }
}

TEST_P(LnxText, EveryNumberOfThreeBytesReadsBackOrIsRefused) {
  int good = 0;
  std::uint8_t x[3] = {};
  for (std::size_t size = 1; size <= 3; ++size) {
    const std::uint32_t end = 1u << (8 * size);
    for (std::uint32_t i = 0; i < end; ++i) {
      for (std::size_t k = 0; k < size; ++k) x[k] = static_cast<std::uint8_t>(i >> (8 * k));
      std::uint8_t text[LNX_PLAIN_MAX];
      std::size_t length = 7;
      const int status = lnxtotext(x, size, nullptr, nullptr, text, sizeof text, &length);
      if (status == LNX_BAD_NUMBER) {
        ASSERT_EQ(length, 0u);
        continue;
      }
      ASSERT_EQ(status, LNX_OK) << Hex(x, size);
      ++good;
      std::uint8_t back[22];
      ASSERT_EQ(lnxfromtext(text, length, nullptr, back, nullptr, nullptr), LNX_OK);
      ASSERT_EQ(Hex(back + 1, back[0]), Hex(x, size));
    }
  }
  std::size_t length = 7;
  EXPECT_EQ(lnxtotext(nullptr, 0, nullptr, nullptr, x, 3, &length), LNX_BAD_NUMBER);
  for (const char* longer : {"FF 65 02", "3E 64*20 66", "3E 64*19", "C1 02*21", "C1 02 00 02"}) {
    EXPECT_EQ(Text(Bytes(longer)), "!" + std::to_string(LNX_BAD_NUMBER)) << longer;
  }
  // Zero and -infinity; one digit and +infinity; two digits, or one and the terminator.
  EXPECT_EQ(good, 2 + (128 * 99 + 1) + (128 * 99 * 99 + 128 * 99));
}

TEST_P(LnxText, EverySizeOfDestination) {
  const lnxtextform forms[] = {{},
                               {LNX_TEXT_SHORTEST, 0, 0, 0, {}},
                               {LNX_TEXT_FIXED, 0, 30, 0, {}},
                               {LNX_TEXT_SCIENTIFIC, 0, 5, 0, {}},
                               {LNX_TEXT_WIDTH, 0, 0, 20, {}}};
  for (const char* value : {"0", "-123.45", "1e125", "-1e-130", "-inf"}) {
    const NumberBytes number = Number(value);
    for (const lnxtextform& form : forms) {
      const std::string whole = Text(number, &form);
      ExpectEveryRoom(whole, [&](std::uint8_t* out, std::size_t size, std::size_t* length) {
        return lnxtotext(number.data(), number.size(), &form, nullptr, out, size, length);
      });
    }
  }
}

TEST_P(LnxText, MayOverwriteItsInput) {
  std::uint8_t buffer[64] = "-123.45";
  std::size_t length = 0;
  ASSERT_EQ(lnxfromtext(buffer, 7, nullptr, buffer, &length, nullptr), LNX_OK);
  EXPECT_EQ(Hex(buffer, length), "3D 64 4E 38 66");
  ASSERT_EQ(lnxtotext(buffer, length, nullptr, nullptr, buffer, sizeof buffer, &length), LNX_OK);
  EXPECT_EQ(std::string(buffer, buffer + length), "-123.45");
}

}  // namespace
}  // namespace kestra::test
