#include "calc/calc_engine.h"

#include <gtest/gtest.h>

#include "calc/calc_column.h"

namespace kestra::tools {
namespace {

std::string Result(std::string_view text) {
  Calculator calculator;
  try {
    return calculator.Evaluate(text).Text();
  } catch (const CalcError& error) {
    return std::string(error.what()) + " at " + std::to_string(error.offset());
  }
}

struct Case {
  const char* text;
  const char* result;
};
constexpr Case kCases[] = {
    {"0.1+0.2", "0.3"},
    {"1 + 2 * 3", "7"},
    {"(1 + 2) * 3", "9"},
    {"10 - 4 - 3", "3"},
    {"2 ^ 3 ^ 2", "512"},
    {"-2 ^ 2", "-4"},
    {"2 ^ -2", "0.25"},
    {"10 ^ -130 * 10 ^ 125", "0.00001"},
    {"0 ^ 0", "1"},
    {"1.5e3 - 5E2", "1000"},
    {"2e", "an operator was expected at 1"},
    {"- - 3", "3"},
    {"7 % 3 + -7 % 3", "0"},
    {"7.5 % 2", "1.5"},
    {"1 / 3 * 3", "0.9999999999999999999999999999999999999999"},
    {"a = 5; b = a * 2; a + b", "15"},
    {"a = 3;", "3"},
    {"3; ans", "there is no variable 'ans' at 3"},
    {"round(2.345, 2) + round(-2.5)", "-0.65"},
    {"roundeven(2.5) + trunc(-2.7)", "0"},
    {"floor(-2.5) * ceil(2.1)", "-9"},
    {"max(1, 3, 2) - min(4, -1)", "4"},
    {"sum(0.1, 0.2, 0.3)", "0.6"},
    {"abs(-5) * sign(-2)", "-5"},
    {"sign(1e-130) + sign(0)", "1"},
    {"1e-129 / 1e-130", "10"},
    {"mod(-7, 3) + rem(8, 3)", "-2"},
    {"round(pi, 10)", "3.1415926536"},
    {"pow(2, 100)", "1267650600228229401496703205376"},
    {"10^200", "Infinity"},
    {"", "the expression ends too early at 0"},
    {"1 +", "the expression ends too early at 3"},
    {"(1", "a ) was expected at 2"},
    {"1 2", "an operator was expected at 2"},
    {"1 / (2 - 2)", "division by zero at 2"},
    {"mod(1, 0)", "division by zero at 0"},
    {"0 ^ -1", "division by zero at 2"},
    {"(-2) ^ 0.5", "the function has no value there at 5"},
    {"sqrt(-1)", "the function has no value there at 0"},
    {"2 ^ 0.5 - sqrt(2)", "0"},
    {"log(2, 1024) + log(0.001)", "7"},
    {"round(ln(e), 30) + exp(0)", "2"},
    {"round(sin(pi / 6) ^ 2 + cos(pi / 6) ^ 2, 30)", "1"},
    {"round(4 * atan2(1, 1) - pi, 30)", "0"},
    {"1.2.3", "this is not a number at 3"},
    {"x + 1", "there is no variable 'x' at 0"},
    {"f(1)", "there is no function 'f' at 0"},
    {"abs()", "the function is used as abs(x) at 0"},
    {"abs(1, 2)", "the function is used as abs(x) at 6"},
    {"round(1, 0.5)", "places must be a whole number from -1000 to 1000 at 0"},
    {"1;;2", "a number, a name or a ( was expected at 2"},
    {"#", "a number, a name or a ( was expected at 0"},
};

TEST(CalcEngine, HandWorkedExpressions) {
  for (const Case& c : kCases) {
    EXPECT_EQ(Result(c.text), c.result) << c.text;
  }
}

TEST(CalcEngine, KeepsVariablesAndTheLastResult) {
  Calculator calculator;
  calculator.Set("rate", *Number::Parse("0.19"));
  EXPECT_EQ(calculator.Evaluate("net = 100; net * (1 + rate)").Text(), "119");
  EXPECT_EQ(calculator.Evaluate("ans / 2").Text(), "59.5");
  EXPECT_THROW(calculator.Evaluate("net = 7; nothing"), CalcError);
  EXPECT_EQ(calculator.Evaluate("net").Text(), "7");
}

TEST(CalcEngine, DeepAndLongInputEnds) {
  EXPECT_NE(Result(std::string(1'000'000, '(')).find("too deeply nested"), std::string::npos);
  EXPECT_NE(Result(std::string(1'000'000, '-')).find("too deeply nested"), std::string::npos);
  std::string sum = "1";
  for (int i = 0; i < 100'000; ++i) sum += "+1";
  EXPECT_EQ(Result(sum), "100001");
  EXPECT_EQ(Result("1.0000000001 ^ 1000000000").substr(0, 12), "1.1051709180");
}

TEST(CalcNumber, ShowsBytesAndModels) {
  const Number number = *Number::Parse("-123.45");
  EXPECT_EQ(number.Hex(), "3D 64 4E 38 66");
  lnxmodel model = {};
  const std::string_view text = "FM9,990.00PR";
  ASSERT_EQ(lnxfmtcompile(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), &model,
                          nullptr),
            LNX_OK);
  EXPECT_EQ(number.Text(model), "<123.45>");
}

TEST(CalcColumn, AddsUpAColumnAndNamesWhatItCannotRead) {
  ColumnSum csv(2, ';');
  EXPECT_EQ(csv.Add("a;0.1"), "");
  EXPECT_EQ(csv.Add("b; 0.2 ;x\r"), "");
  EXPECT_EQ(csv.Add(""), "");
  EXPECT_EQ(csv.Add("c"), "line 4: no column 2");
  EXPECT_EQ(csv.Add("d;1x"), "line 5: '1x' is not a number (at its byte 2)");
  EXPECT_EQ(csv.Add("e;"), "line 6: '' is not a number (at its byte 1)");
  EXPECT_EQ(csv.Add("f;-1"), "");
  EXPECT_EQ(csv.count(), 3u);
  EXPECT_EQ(csv.sum().Text(), "-0.7");
  EXPECT_EQ(csv.least().Text(), "-1");
  EXPECT_EQ(csv.greatest().Text(), "0.2");
  ColumnSum blanks(2);
  EXPECT_EQ(blanks.Add("  x   2.5  y"), "");
  EXPECT_EQ(blanks.Add("\tz\t3.5"), "");
  EXPECT_EQ(blanks.Add("   1 "), "line 3: no column 2");
  EXPECT_EQ(blanks.Mean().Text(), "3");
}

}  // namespace
}  // namespace kestra::tools
