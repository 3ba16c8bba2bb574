// kestra date: what is printed, exit codes, messages with a caret, columns of CSV files.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

const ChildEnvironment kHome = {{"KESTRA_HOME", KESTRA_BUILD_DIR "/home"}};

struct Case {
  std::vector<std::string> arguments;
  const char* input;
  int exit_code;
  const char* out;
  const char* err;  // a part of it
};

const Case kCases[] = {
    {{"2019-02-28"}, "", 0, "2019-02-28 00:00:00\n", ""},
    {{"2019-02-28T12:30", "-44-03-15 01:02:03", "--format", "SYYYY MM DD HH24:MI:SS"},
     "",
     0,
     " 2019 02 28 12:30:00\n-0044 03 15 01:02:03\n",
     ""},
    {{"--add-months", "1", "2019-02-28"}, "", 0, "2019-03-31 00:00:00\n", ""},
    {{"--add-days", "-1.5", "2019-02-28"}, "", 0, "2019-02-26 12:00:00\n", ""},
    {{"--add-days", "+1", "1582-10-04"}, "", 0, "1582-10-15 00:00:00\n", ""},
    {{"--last-day", "--add-days", "1", "--last-day", "2019-01-15"},
     "",
     0,
     "2019-02-28 00:00:00\n",
     ""},
    {{"--add-days", "1", "--trunc", "Q", "2019-03-31"}, "", 0, "2019-04-01 00:00:00\n", ""},
    {{"--trunc", "Q", "--add-days", "1", "2019-03-31"}, "", 0, "2019-01-02 00:00:00\n", ""},
    {{"--round", "month", "2019-01-16"}, "", 0, "2019-02-01 00:00:00\n", ""},
    {{"--next", "fri", "2019-05-10"}, "", 0, "2019-05-17 00:00:00\n", ""},
    {{"--next", "Freitag", "-l", "GERMAN", "2019-05-10"}, "", 0, "2019-05-17 00:00:00\n", ""},
    {{"--next", "1", "-l", "GERMAN", "2019-05-10"}, "", 0, "2019-05-13 00:00:00\n", ""},
    {{"--months-between", "2019-01-01", "2019-03-15"},
     "",
     0,
     "2.4516129032258064516129032258064516129\n",
     ""},
    {{"-l", "GERMAN", "-f", "FMDay, DD. Month YYYY", "2019-03-31"},
     "",
     0,
     "Sonntag, 31. M\xC3\xA4rz 2019\n",
     ""},
    {{"--parse", "DD.MM.YYYY", "--format", "YYYYMMDD", "28.2.2019"}, "", 0, "20190228\n", ""},
    {{"--calendar", "japanese", "2019-05-01"}, "", 0, "Reiwa  01-05-01\n", ""},
    {{"--calendar", "HEBREW", "--add-months", "1", "-f", "YYYY-MM-DD", "2019-02-05"},
     "",
     0,
     "5779-06-30\n",
     ""},
    {{"2019-02-29"}, "", 2, "", "is not a date as 2019-02-28"},
    {{"2019-02-28 12"}, "", 2, "", "is not a date"},
    {{"1582-10-10"}, "", 2, "", "is not a date"},
    {{"67555-01-01"}, "", 2, "", "is not a date"},  // 2019 in its low 16 bits
    {{"--add-days", "1", "9999-12-31"}, "", 1, "", "error 1841"},
    {{"--add-days", "many", "2019-02-28"}, "", 2, "", "'many' is not a number"},
    {{"--add-days", "1e9", "2019-02-28"}, "", 2, "", "too many days"},
    {{"--add-months", "1.5", "2019-02-28"}, "", 2, "", "'1.5' is not a number"},
    {{"--trunc", "XX", "2019-02-28"}, "", 2, "", "units are CC"},
    {{"--trunc", "SS", "2019-02-28"}, "", 1, "", "error 1899"},
    {{"--next", "8", "2019-02-28"}, "", 2, "", "neither 1 to 7"},
    {{"--months-between", "2019-02-28", "--last-day"}, "", 2, "", "the last step"},
    {{"--months-between", "soon"}, "", 2, "", "is not a date"},
    {{"--language", "GERMN"}, "", 2, "", "did you mean GERMAN"},
    {{"--language", "GERMAN_AUSTRIO"}, "", 2, "", "did you mean AUSTRIA"},
    {{"--calendar", "JAPANISE"}, "", 2, "", "did you mean JAPANESE"},
    {{"--format", "YYYY-XX", "2019-02-28"}, "", 2, "", "error 1821"},
    {{"--format", "YYYY-XX", "2019-02-28"}, "", 2, "", "\n  YYYY-XX\n       ^\n"},
    {{"--parse", "YYYY Q", "2019 1"}, "", 1, "", "error 1820"},
    {{"--parse", "YYYY-MM-DD", "2019-13-01"}, "", 1, "", "error 1843"},
    {{"--column", "due", "--add-months", "1", "--format", "YYYY-MM-DD"},
     "id,due,x\n1,2019-01-31,\"a,b\"\n2,,\"say \"\"no\"\"\"\n",
     0,
     "id,due,x\n1,2019-02-28,\"a,b\"\n2,,\"say \"\"no\"\"\"\n",
     ""},
    {{"--column", "2", "--parse", "DD.MM.YYYY", "--format", "YYYY-MM-DD"},
     "a;31.01.2019\nb;32.01.2019\nc\n",
     1,
     "a;2019-01-31\nb;32.01.2019\nc\n",
     "line 2, column 2: '32.01.2019' error 1847"},
    {{"--column", "dew"}, "id,due\n1,2019-01-31\n", 2, "", "the columns are id, due"},
    {{"--column", "1", "2019-01-01"}, "", 2, "", "takes no date"},
    {{"--column", "1", "-i", "/nowhere/at/all"}, "", 4, "", "/nowhere/at/all"},
};

TEST(KestraDate, AnswersAndExitCodes) {
  for (const Case& c : kCases) {
    std::vector<std::string> arguments = {"date"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ChildResult result = RunTool("kestra", arguments, c.input, kHome);
    SCOPED_TRACE(::testing::PrintToString(arguments));
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    EXPECT_EQ(result.out, c.out);
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

TEST(KestraDate, ExplainsAModel) {
  const ChildResult result = RunTool(
      "kestra", {"date", "--json", "--explain", "DDth Q \"of\" FMMonth", "2019-05-02"}, "", kHome);
  EXPECT_EQ(result.exit_code, 0);
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer["writes"], "02nd 2 of May");
  ASSERT_EQ(answer["elements"].size(), 8u);
  EXPECT_EQ(answer["elements"][0]["means"], "day of the month, ordinal");
  EXPECT_EQ(answer["elements"][0]["writes"], "02nd");
  EXPECT_EQ(answer["elements"][2]["reads"], false);
  EXPECT_EQ(answer["elements"][7]["writes"], "May");
}

TEST(KestraDate, ShowsWhereAModelIsWrong) {
  const ChildResult unknown =
      RunTool("kestra", {"date", "--explain", "YYYY-MM-XX", "2019-05-02"}, "", kHome);
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_NE(unknown.out.find("error 1821"), std::string::npos);
  EXPECT_NE(unknown.out.find("\n  YYYY-MM-XX\n          ^\n"), std::string::npos) << unknown.out;
  const ChildResult both = RunTool("kestra", {"date", "--explain", "HH12 HH24"}, "", kHome);
  EXPECT_EQ(both.exit_code, 1);
  EXPECT_NE(both.out.find("error 1813"), std::string::npos) << both.out;
  // An element that cannot be written is pointed at too.
  const ChildResult era =
      RunTool("kestra", {"date", "--explain", "YYYY E", "2019-05-02"}, "", kHome);
  EXPECT_EQ(era.exit_code, 1);
  EXPECT_NE(era.out.find("\n  YYYY E\n       ^\n"), std::string::npos) << era.out;
}

TEST(KestraDate, NowIsBetweenBeforeAndAfter) {
  const auto seconds = [] {
    const ChildResult now =
        RunTool("kestra", {"date", "--format", "YYYYMMDDHH24MISS", "now"}, "", kHome);
    return std::stoll(now.out);
  };
  const long long first = seconds();
  EXPECT_GT(first, 20'200'101'000'000);
  EXPECT_LE(first, seconds());
}

}  // namespace
}  // namespace kestra::test
