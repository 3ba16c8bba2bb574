// kestra calc: expressions from the command line and from lines, sums of columns, exit codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/tool_cases.h"

namespace kestra::test {
namespace {

const ToolCase kCases[] = {
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
    {{"--sum", "-c", "1,2"}, "", 2, "", "adds up one column"},
    {{"--columns", "sum(a), min(a), max(a), count(a)"},
     "1.5\r\n2.25\n\n-7",
     0,
     "sum(a)\t-3.25\nmin(a)\t-7\nmax(a)\t2.25\ncount(a)\t3\n",
     ""},
    {{"--columns", "price*(quantity-1)+tax"},
     "\xEF\xBB\xBFprice,quantity,tax\n12.50,4,0.13\n,3,0.1\n0.01,-7,1e-20\n",
     0,
     "37.63\n\n-0.07999999999999999999\n",
     ""},
    {{"--columns", "\"unit \"*2, -b"}, "\"unit \";b\n\" 2\";\"3\n\"\n", 0, "4;-3\n", ""},
    {{"--columns", "\"a, b\"*2, -b"}, "\"a, b\",b\n\" 2\",\"3\n\"\n", 0, "4,-3\n", ""},
    {{"--columns", "\"a\"\"", "*b"}, "a,b\n1,2\n", 2, "", "an operator was expected"},
    {{"--columns", "a*b", "-c", "3,1"}, "x;y;z\n2;0;5\n", 0, "10\n", ""},
    {{"--columns", "a*b", "-t", "|"}, "2|4\n", 0, "8\n", ""},
    {{"--columns", "a+b"},
     "1,2\n1,x2\n1\n1,2e200\n",
     1,
     "3\n\n\n\n",
     "line 2, column 2 (b): 'x2' is not a number (at its byte 1)"},
    {{"--columns", "a+b"}, "1\n", 1, "\n", "line 1: no column 2 (b)"},
    {{"--columns", "a"},
     "1\n1234567890123456789012345678901234567890123",
     1,
     "1\n\n",
     "more digits"},
    {{"--columns", "a"}, "1e-200", 1, "\n", "too small"},
    {{"--columns", "a*a"},
     "9e37\n99999999999999999999999\n2\n",
     1,
     "8100000000000000000000000000000000000000000000000000000000000000000000000000\n\n4\n",
     "line 2: the result needs"},
    // Of several items each has its own place, also in a row without any result.
    {{"--columns", "a*a, a+b, b"},
     "1,2\n,\n99999999999999999999999,1\n,3\n",
     1,
     "1,3,2\n,,\n,100000000000000000000000,1\n,,3\n",
     "line 3: the result needs"},
    {{"--columns", "a*a, a+b", "--json"},
     ",\n99999999999999999999999,1\n",
     1,
     "[null,null]\n[null,\"100000000000000000000000\"]\n",
     "line 2: the result needs"},
    // Values too far apart for one block.
    {{"--columns", "a+a"},
     "1e40\n1e-20\n3",
     0,
     "20000000000000000000000000000000000000000\n0.00000000000000000002\n6\n",
     ""},
    {{"--columns", "max(a), min(b)"},
     "1e40,\n1e-20,\n",
     0,
     "max(a)\t10000000000000000000000000000000000000000\nmin(b)\t\n",
     ""},
    {{"--columns", "sum(a)"}, "1e40\n1e-20\n", 1, "", "sum(a) needs more digits"},
    {{"--columns", "a/2"}, "1\n", 2, "", "byte 2: columns know + - * alone"},
    {{"--columns", "1+2"}, "1\n", 2, "", "byte 1: no column is named here"},
    {{"--columns", "a, sum(a)"}, "1\n", 2, "", "not both"},
    {{"--columns", "1+sum(a)"}, "1\n", 2, "", "byte 3: a total cannot be part"},
    {{"--columns", "prise"}, "price\n1\n", 2, "", "no column 'prise'; the columns are price"},
    {{"--columns", "a"}, "\n\n", 4, "", "no rows"},
    {{"--columns", "a"}, "a\n\"1\n", 4, "", "line 2: a quote is never closed"},
    {{"--columns"}, "", 2, "", "takes an expression"},
};

TEST(KestraCalc, AnswersAndExitCodes) { RunToolCases("calc", kCases); }

TEST(KestraCalc, JsonOfASum) {
  const ChildResult result = RunTool("kestra", {"calc", "--json", "--sum", "--bytes"}, "1\n4\n");
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer["count"], 2);
  EXPECT_EQ(answer["sum"]["value"], "5");
  EXPECT_EQ(answer["sum"]["bytes"], "C1 06");
  EXPECT_EQ(answer["mean"]["value"], "2.5");
}

// More than one block, cut anywhere by the pipe, against the same sum of integers.
TEST(KestraCalc, ColumnsOfManyBlocks) {
  std::string rows = "a,b\n";
  long long cents = 0;
  for (int i = 0; i < 40'000; ++i) {
    const int a = i % 977 - 400;
    rows += std::to_string(a) + (i % 7 == 0 ? ",\n" : "," + std::to_string(i % 50) + ".25\n");
    if (i % 7 != 0) cents += static_cast<long long>(a) * (100 * (i % 50) + 25);
  }
  const ChildResult total =
      RunTool("kestra", {"calc", "--json", "--columns", "sum(a*b)"}, rows, {}, 999);
  const std::string found = nlohmann::json::parse(total.out)["sum(a*b)"];
  EXPECT_EQ(RunTool("kestra", {"calc", found + " * 100"}).out, std::to_string(cents) + "\n");
  const ChildResult each = RunTool("kestra", {"calc", "--columns", "a*b"}, rows);
  EXPECT_EQ(std::count(each.out.begin(), each.out.end(), '\n'), 40'000);
  EXPECT_EQ(RunTool("kestra", {"calc", "--columns", "sum(a)"}, each.out).out, found + "\n");
}

TEST(KestraCalc, SumsALongColumnInPieces) {
  std::string column;
  for (int i = 1; i <= 20'000; ++i) column += std::to_string(i) + ".01\n";
  EXPECT_EQ(RunTool("kestra", {"calc", "--sum"}, column, {}, 1000).out, "200010200\n");
}

}  // namespace
}  // namespace kestra::test
