#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "kestra/number_format.h"
#include "tests/support/hex.h"
#include "tests/support/number_text.h"

namespace kestra::test {
namespace {

const std::uint8_t* Data(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

lnxsymbols GermanSymbols() {
  lnxsymbols symbols = {};
  symbols.decimal = Span(",");
  symbols.group = Span(".");
  symbols.currency = Span("\xE2\x82\xAC");  // euro sign, 3 bytes
  symbols.iso_currency = Span("EUR");
  symbols.dual_currency = Span("DM");
  return symbols;
}

lnxmodel Compiled(std::string_view text) {
  lnxmodel model = {};
  EXPECT_EQ(lnxfmtcompile(Data(text), text.size(), &model, nullptr), LNX_OK) << text;
  return model;
}

std::string Written(std::string_view model, std::string_view value,
                    const lnxsymbols* symbols = nullptr) {
  const lnxmodel compiled = Compiled(model);
  const NumberBytes number = Number(value);
  std::string text(1000, '\0');
  std::size_t length = 0;
  const int status =
      lnxfmtwrite(number.data(), number.size(), &compiled, symbols,
                  reinterpret_cast<std::uint8_t*>(text.data()), text.size(), &length);
  if (status != LNX_OK) return "!" + std::to_string(status);
  text.resize(length);
  return text;
}

std::string ReadBack(std::string_view model, std::string_view text,
                     const lnxsymbols* symbols = nullptr) {
  const lnxmodel compiled = Compiled(model);
  std::uint8_t out[22];
  std::size_t length = 0, bad = 99;
  const int status = lnxfmtread(Data(text), text.size(), &compiled, symbols, out, &length, &bad);
  if (status == LNX_BAD_BYTE) return "bad at " + std::to_string(bad);
  if (status != LNX_OK) return "!" + std::to_string(status);
  return Text(NumberBytes(out, out + length));
}

struct WriteCase {
  const char* model;
  const char* value;
  const char* text;
};
constexpr WriteCase kWrites[] = {
    // The published examples of to_char in PostgreSQL, where both define the model.
    {"99.99", "-0.1", "  -.10"},
    {"FM9.99", "-0.1", "-.1"},
    {"FM90.99", "-0.1", "-0.1"},
    {"0.9", "0.1", " 0.1"},
    {"9990999.9", "12", "    0012.0"},
    {"FM9990999.9", "12", "0012."},
    {"999", "485", " 485"},
    {"999", "-485", "-485"},
    {"9,999", "1485", " 1,485"},
    {"999.999", "148.5", " 148.500"},
    {"FM999.999", "148.5", "148.5"},
    {"FM999.990", "148.5", "148.500"},
    {"999S", "-485", "485-"},
    {"999MI", "-485", "485-"},
    {"999MI", "485", "485 "},
    {"FM999MI", "485", "485"},
    {"999PR", "-485", "<485>"},
    {"RN", "485", "        CDLXXXV"},
    {"FMRN", "485", "CDLXXXV"},
    {"FMRN", "5.2", "V"},
    {"99V999", "12", " 12000"},
    {"99V999", "12.4", " 12400"},
    {"99V9", "12.45", " 125"},
    // Zeros and blanks.
    {"99", "0", "  0"},
    {"9.9", "0", "  .0"},
    {"9.", "0", " 0."},
    {"FM9.9", "0", "0."},
    {"FM.9", "0", ".0"},
    {"FM9.9", "0.5", ".5"},
    {"9990", "0", "    0"},
    {"0,000", "5", " 0,005"},
    {"9,999", "5", "     5"},
    {"9,990.0", "5", "     5.0"},
    {"B99.9", "0", "     "},
    {"B99.9", "0.5", "   .5"},
    {"B90.9", "0.5", "   .5"},
    {"FMB99", "0", ""},
    {"B99", "7", "  7"},
    // Rounding, signs, and what does not fit.
    {"99", "2.5", "  3"},
    {"99", "-2.5", " -3"},
    {"99", "-0.4", "  0"},
    {"99", "99.5", "###"},
    {"FM99", "100", "###"},
    {"99.9", "-1e40", "#####"},
    {"99", "inf", "###"},
    {"S99", "7", " +7"},
    {"S99", "-7", " -7"},
    {"99S", "0", " 0+"},
    {"99PR", "7", "  7 "},
    {"FM99PR", "7", "7"},
    {"FM99PR", "-7", "<7>"},
    {"99MI", "-7", " 7-"},
    {".99", "0.126", " .13"},
    {".99", "1", "####"},
    // Currencies; L takes 10 bytes, C 7.
    {"$999", "-12", " -$12"},
    {"99$", "12", " $12"},
    {"L999", "12", "           $12"},
    {"L999S", "-12", "          $12-"},
    {"C999", "12", "      USD12"},
    {"FMC999", "-12", "-USD12"},
    {"999L", "12", "           12$"},
    {"99L99", "3.5", "  3$50"},
    {"FMU99", "3", "$3"},
    {"FML99.0", "inf", "###############"},
    // Scientific, hexadecimal, Roman, text.
    {"9.99EEEE", "0.0004859", "  4.86E-04"},
    {"9.99EEEE", "12345", "  1.23E+04"},
    {"9.9EEEE", "-9.96e120", "-1.0E+121"},
    {"99.9eeee", "0", "   0.0e+00"},
    {"FM9.99EEEE", "1200", "1.2E+03"},
    {"FM9.00EEEE", "1200", "1.20E+03"},
    {"9.9EEEEMI", "-12", " 1.2E+01-"},
    {"XXXX", "255", "   FF"},
    {"xxxx", "48879", " beef"},
    {"0XXX", "255", " 00FF"},
    {"FMXXXX", "255.5", "100"},
    {"X", "0", " 0"},
    {"XX", "256", "###"},
    {"XX", "-1", "###"},
    {"FMXXXXXXXXXXXXXXXXXXXXXXXXXXXXXXXXXX", "9999999999999999999999999999999999999999",
     "1D6329F1C35CA4BFABB9F560FFFFFFFFFF"},
    {"rn", "3888", "mmmdccclxxxviii"},
    {"FMRN", "3999", "MMMCMXCIX"},
    {"RN", "4000", "###############"},
    {"RN", "0", "###############"},
    {"TM", "0.5", ".5"},
    {"TM9", "-12.5", "-12.5"},
    {"TM", "0", "0"},
    {"TM", "1e63", "1000000000000000000000000000000000000000000000000000000000000000"},
    {"TM", "1e64", "1E+64"},
    {"tme", "123.45", "1.2345e+02"},
    {"TME", "-5", "-5E+00"},
    {"TM", "-inf", "-Infinity"},
};

TEST(LnxFormat, WritesHandWorkedCases) {
  for (const WriteCase& c : kWrites) {
    EXPECT_EQ(Written(c.model, c.value), c.text) << c.model << " of " << c.value;
  }
}

constexpr WriteCase kGermanWrites[] = {
    {"9G999D99", "1234.5", " 1.234,50"},
    {"9,999.99", "1234.5", " 1,234.50"},
    {"FM999D99", "0.5", ",5"},
    {"FML9G999D00", "-1234.5",
     "-\xE2\x82\xAC"
     "1.234,50"},
    {"L9", "1",
     "        \xE2\x82\xAC"
     "1"},
    {"FM9D9C", "1.5", "1,5EUR"},
    {"FM9U99", "1.5", "1DM5"},
    {"TM9", "-1.5", "-1,5"},
};

TEST(LnxFormat, TakesTheCallersSymbols) {
  const lnxsymbols symbols = GermanSymbols();
  for (const WriteCase& c : kGermanWrites) {
    const std::string text = Written(c.model, c.value, &symbols);
    EXPECT_EQ(text, c.text) << c.model;
    EXPECT_EQ(ReadBack(c.model, text, &symbols), Text(Number(c.value))) << c.model;
  }
}

struct ReadCase {
  const char* model;
  const char* text;
  const char* value;
};
constexpr ReadCase kReads[] = {
    {"999", " 12 ", "12"},
    {"999", "-12", "-12"},
    {"999", "+12", "12"},
    {"999", "1234", "bad at 3"},
    {"999", "12.5", "bad at 2"},
    {"999", "", "bad at 0"},
    {"999", "  ", "bad at 2"},
    {"999", "-", "bad at 1"},
    {"999", "12 3", "bad at 2"},
    {"99.99", "1.5", "1.5"},
    {"99.99", ".5", "0.5"},
    {"99.99", "5.", "5"},
    {"99.99", ".", "bad at 1"},
    {"99.99", "1.555", "bad at 4"},
    {"9,999,999", "1,234,567", "1234567"},
    {"9,999,999", "1234567", "1234567"},
    {"9,999,999", "234,567", "234567"},
    {"9,999,999", "12,34", "bad at 2"},
    {"9,999,999", ",234", "bad at 0"},
    {"9,999,999", "1,,234", "bad at 1"},
    {"99G999D9S", "12,454.8-", "-12454.8"},
    {"99MI", "12-", "-12"},
    {"99MI", "12", "12"},
    {"99PR", "<12>", "-12"},
    {"99PR", " 12 ", "12"},
    {"99PR", "<12", "bad at 3"},
    {"S99", "-12", "-12"},
    {"$999", "-$12", "-12"},
    {"$999", "12", "12"},
    {"C999", "USD5", "5"},
    {"999L", "5$", "5"},
    {"9L99", "5$25", "5.25"},
    {"B99", "   ", "0"},
    {"99V99", "1250", "12.5"},
    {"9.9EEEE", "1.5E+03", "1500"},
    {"9.9EEEE", "1.5e-3", "0.0015"},
    {"9.9EEEE", "1.5E", "bad at 4"},
    {"9.9EEEE", "1E999999999999999999", "!3"},
    {"XXXX", "beef", "48879"},
    {"XXXX", " FF", "255"},
    {"XXXX", "12345", "bad at 4"},
    {"XXXX", "1G", "bad at 1"},
    {"RN", "mcmlxxxiv", "1984"},
    {"RN", "IIII", "bad at 3"},
    {"RN", "IVI", "bad at 2"},
    {"RN", "MMMM", "bad at 3"},
    {"TM9", "-1.5e3", "-1500"},
};

TEST(LnxFormat, ReadsHandWorkedCases) {
  for (const ReadCase& c : kReads) {
    EXPECT_EQ(ReadBack(c.model, c.text), c.value) << c.model << " of " << c.text;
  }
}

struct BadModel {
  std::string_view model;
  int status;
  std::size_t offset;
};
constexpr BadModel kBadModels[] = {
    {"", LNX_MODEL_NO_DIGITS, 0},         {"FM", LNX_MODEL_NO_DIGITS, 2},
    {"$", LNX_MODEL_NO_DIGITS, 1},        {".", LNX_MODEL_NO_DIGITS, 1},
    {"99 9", LNX_MODEL_UNKNOWN, 2},       {"99Q", LNX_MODEL_UNKNOWN, 2},
    {"9EEE", LNX_MODEL_UNKNOWN, 1},       {"9T", LNX_MODEL_UNKNOWN, 1},
    {"99.9.9", LNX_MODEL_REPEATED, 4},    {"9.9D9", LNX_MODEL_CONFLICT, 3},
    {"9,9D9", LNX_MODEL_CONFLICT, 3},     {"9G9.9", LNX_MODEL_CONFLICT, 3},
    {"9,9G9", LNX_MODEL_CONFLICT, 3},     {",99", LNX_MODEL_MISPLACED, 0},
    {"9,,9", LNX_MODEL_MISPLACED, 2},     {"9.9,9", LNX_MODEL_MISPLACED, 3},
    {"FMFM9", LNX_MODEL_REPEATED, 2},     {"9FM", LNX_MODEL_MISPLACED, 1},
    {"$9$", LNX_MODEL_REPEATED, 2},       {"$9L", LNX_MODEL_CONFLICT, 2},
    {"9.9L9", LNX_MODEL_MISPLACED, 4},    {"S9S", LNX_MODEL_REPEATED, 2},
    {"S9MI", LNX_MODEL_CONFLICT, 2},      {"9S9", LNX_MODEL_MISPLACED, 2},
    {"9PRMI", LNX_MODEL_MISPLACED, 3},    {"MI9", LNX_MODEL_MISPLACED, 0},
    {"9V9V9", LNX_MODEL_REPEATED, 3},     {"9.9V9", LNX_MODEL_CONFLICT, 3},
    {"9V9.9", LNX_MODEL_CONFLICT, 3},     {"9EEEE9", LNX_MODEL_MISPLACED, 5},
    {"9,9EEEE", LNX_MODEL_CONFLICT, 3},   {".9EEEE", LNX_MODEL_MISPLACED, 2},
    {"9EEEEEEEE", LNX_MODEL_REPEATED, 5}, {"9X", LNX_MODEL_CONFLICT, 1},
    {"X9", LNX_MODEL_CONFLICT, 1},        {"X0", LNX_MODEL_MISPLACED, 1},
    {"SX", LNX_MODEL_CONFLICT, 1},        {"RN9", LNX_MODEL_CONFLICT, 2},
    {"9RN", LNX_MODEL_CONFLICT, 1},       {"TM9S", LNX_MODEL_CONFLICT, 3},
    {"TMTM", LNX_MODEL_REPEATED, 2},      {"BB9", LNX_MODEL_REPEATED, 1},
};

TEST(LnxFormat, TellsWhereAModelIsWrong) {
  for (const BadModel& c : kBadModels) {
    lnxmodel model = {};
    std::size_t bad = 99;
    EXPECT_EQ(lnxfmtcompile(Data(c.model), c.model.size(), &model, &bad), c.status) << c.model;
    EXPECT_EQ(bad, c.offset) << c.model;
    EXPECT_EQ(lnxfmtwidth(&model, nullptr), 0u) << c.model;
  }
}

TEST(LnxFormat, LimitsTheDigitsOfAModel) {
  lnxmodel model = {};
  std::size_t bad = 0;
  const std::string nines(1'000'000, '9');
  EXPECT_EQ(lnxfmtcompile(Data(nines), nines.size(), &model, &bad), LNX_MODEL_TOO_LONG);
  EXPECT_EQ(bad, 128u);
  const std::string fraction = "." + nines;
  EXPECT_EQ(lnxfmtcompile(Data(fraction), fraction.size(), &model, &bad), LNX_MODEL_TOO_LONG);
  EXPECT_EQ(bad, 201u);
  const std::string longest = nines.substr(0, 128) + "." + nines.substr(0, 200);
  EXPECT_EQ(Written("FM" + longest, "1e125"), "1" + std::string(125, '0') + ".");
  EXPECT_EQ(Written("FM" + longest, "1e-130"), "." + std::string(129, '0') + "1");
}

TEST(LnxFormat, ReadsAMegabyteOfText) {
  const std::string zeros(1'000'000, '0');
  EXPECT_EQ(ReadBack("99", zeros), "bad at 2");
  EXPECT_EQ(ReadBack("9.9EEEE", "1e" + zeros + "5"), "100000");
  EXPECT_EQ(ReadBack("9", std::string(1'000'000, ' ')), "bad at 1000000");
}

TEST(LnxFormat, EveryIntegerKeepsItsHexadecimalAndRomanValue) {
  for (int i = 1; i < 4000; ++i) {
    const std::string value = std::to_string(i);
    ASSERT_EQ(ReadBack("RN", Written("RN", value)), value);
    char hex[8];
    std::snprintf(hex, sizeof hex, "%5X", static_cast<unsigned>(i));
    ASSERT_EQ(Written("XXXX", value), hex);
    ASSERT_EQ(ReadBack("XXXX", hex), value);
  }
}

TEST(LnxFormat, EverySizeOfDestination) {
  for (const char* text : {"L9G999D00PR", "FM9.9", "RN", "XXX", "TM", "B9"}) {
    const lnxmodel model = Compiled(text);
    for (const char* value : {"0", "12.5", "-1234.5", "1e60"}) {
      const NumberBytes number = Number(value);
      const std::string whole = Written(text, value);
      ExpectEveryRoom(whole, [&](std::uint8_t* out, std::size_t size, std::size_t* length) {
        return lnxfmtwrite(number.data(), number.size(), &model, nullptr, out, size, length);
      });
    }
  }
}

TEST(LnxFormat, RefusesStructsThatNobodyCompiled) {
  std::mt19937_64 random(34);
  const NumberBytes number = Number("-123.45");
  int refused = 0;
  for (int i = 0; i < 200'000; ++i) {
    const auto below = [&](unsigned end) { return static_cast<std::uint8_t>(random() % end); };
    lnxmodel model = {};
    model.kind = below(6);
    model.sign = below(6);
    model.point = below(5);
    model.currency = below(6);
    model.currency_place = below(4);
    model.integers = below(random() % 2 == 0 ? 4 : 132);
    model.fraction = below(random() % 2 == 0 ? 4 : 206);
    model.least_integers = below(model.integers + 2u);
    model.least_fraction = below(model.fraction + 2u);
    model.scale = below(4);
    model.flags = below(33);
    for (std::uint64_t& word : model.groups) word = random() & random();
    std::uint8_t out[1000];
    std::size_t length = 0;
    if (lnxfmtwrite(number.data(), number.size(), &model, nullptr, out, sizeof out, &length) ==
        LNX_BAD_ARGUMENT) {
      ++refused;
    } else {
      ASSERT_LE(length, lnxfmtwidth(&model, nullptr));
    }
    std::size_t bad = 0;
    lnxfmtread(Data("-123.45"), 7, &model, nullptr, out, nullptr, &bad);
  }
  EXPECT_GT(refused, 1000);
  EXPECT_LT(refused, 199'000);
}

}  // namespace
}  // namespace kestra::test
