// kestra calc: expressions from the command line and from lines, sums of columns, exit codes.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

struct Case {
  std::vector<std::string> arguments;
  const char* input;
  int exit_code;
  const char* out;
  const char* err;  // a part of it
};

const Case kCases[] = {
    {{"0.1+0.2"}, "", 0, "0.3\n", ""},
    {{"1", "+", "2"}, "", 0, "3\n", ""},
    {{"--bytes", "--", "-1*1"}, "", 0, "-1  3E 64 66\n", ""},
    {{"-d", "net=50*2", "--format", "FM$9,990.00", "net * 1.19"}, "", 0, "$119.00\n", ""},
    {{"1/(2-2)"}, "", 2, "", "byte 2: division by zero"},
    {{"--format", "9Q", "1"}, "", 2, "", "byte 2: no element of a model begins here"},
    {{"--set", "1x=2", "1"}, "", 2, "", "is not NAME=EXPRESSION"},
    {{"--sum", "1"}, "", 2, "", "takes no expression"},
    {{"--sum", "-i", "/nowhere/at/all"}, "", 4, "", "/nowhere/at/all"},
    {{}, "x = 3\n\nx ^ 2\n1/0\nans + 1", 1, "3\n9\n10\n", "line 4, byte 2: division by zero"},
    {{"--sum"}, "1.5\n2.25\n\n-0.75\n", 0, "3\n", ""},
    {{"--sum", "-c", "2", "-t", ";"}, "a;1\nb;x\nc;2\n", 1, "3\n", "line 2: 'x' is not a number"},
};

TEST(KestraCalc, AnswersAndExitCodes) {
  for (const Case& c : kCases) {
    std::vector<std::string> arguments = {"calc"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool("kestra", arguments, c.input);
    SCOPED_TRACE(::testing::PrintToString(arguments));
    EXPECT_EQ(result.exit_code, c.exit_code);
    EXPECT_EQ(result.out, c.out);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

TEST(KestraCalc, JsonOfASum) {
  const ChildResult result = RunTool("kestra", {"calc", "--json", "--sum", "--bytes"}, "1\n4\n");
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer["count"], 2);
  EXPECT_EQ(answer["sum"]["value"], "5");
  EXPECT_EQ(answer["sum"]["bytes"], "C1 06");
  EXPECT_EQ(answer["mean"]["value"], "2.5");
}

TEST(KestraCalc, SumsALongColumnInPieces) {
  std::string column;
  for (int i = 1; i <= 20'000; ++i) column += std::to_string(i) + ".01\n";
  EXPECT_EQ(RunTool("kestra", {"calc", "--sum"}, column, {}, 1000).out, "200010200\n");
}

}  // namespace
}  // namespace kestra::test
