// kestra date: what is printed, exit codes, messages with a caret, columns of CSV files; timestamps,
// zones and intervals.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/tool_cases.h"

namespace kestra::test {
namespace {

// The machine's zone is the one of values without a zone.
const ChildEnvironment kHome = {{"KESTRA_HOME", KESTRA_BUILD_DIR "/home"},
                                {"TZ", "America/New_York"}};

const ToolCase kCases[] = {
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
    {{"--format", "YYYY-ZZ", "2019-02-28"}, "", 2, "", "error 1821"},
    {{"--format", "YYYY-ZZ", "2019-02-28"}, "", 2, "", "\n  YYYY-ZZ\n       ^\n"},
    {{"--parse", "YYYY Q", "2019 1"},
     "",
     2,
     "",
     "error 1820: this element can only be written\n  YYYY Q\n       ^\n"},
    {{"--parse", "YYYY DDSP", "--column", "1"}, "2019 1\n", 2, "", "\n  YYYY DDSP\n       ^\n"},
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
    {{"--column", "1", "-t", "||"}, "a||b\n", 2, "", "is not one byte"},
};

// Timestamps, zones, intervals.
const ToolCase kTimestamps[] = {
    {{"2019-02-28T12:30:00.250", "-44-03-15 01:02:03.000000001"},
     "",
     0,
     "2019-02-28 12:30:00.25\n-0044-03-15 01:02:03.000000001\n",
     ""},
    {{"20260701T120000Z", "TIMESTAMP '2026-07-01 12:00:00.5 europe/berlin'"},
     "",
     0,
     "2026-07-01 12:00:00 +00:00\n2026-07-01 12:00:00.5 Europe/Berlin\n",
     ""},
    // A day on the clock, and 24 hours; a gap moves on; an overlap keeps the offset.
    {{"2026-03-07 12:00 America/New_York", "--add", "1"},
     "",
     0,
     "2026-03-08 12:00:00 America/New_York\n",
     ""},
    {{"2026-03-07 12:00 America/New_York", "--add", "P1D"},
     "",
     0,
     "2026-03-08 13:00:00 America/New_York\n",
     ""},
    {{"2026-03-07 02:30:00.5 America/New_York", "--add-days", "1"},
     "",
     0,
     "2026-03-08 03:30:00.5 America/New_York\n",
     ""},
    {{"2026-11-01 00:30 America/New_York", "--add", "PT1H", "--add-days", "0", "-f", "HH24:MI TZD"},
     "",
     0,
     "01:30 EDT\n",
     ""},
    {{"2026-03-07 02:30:00.25", "--add", "1-1", "--subtract", "PT0.25S"},
     "",
     0,
     "2027-04-07 02:30:00\n",
     ""},
    {{"2026-01-31", "--add", "0-1", "--subtract", "3 04:05:06.5"},
     "",
     0,
     "2026-02-24 19:54:53.5\n",
     ""},
    {{"--trunc", "SS", "2026-07-01 12:00:00.9"}, "", 0, "2026-07-01 12:00:00\n", ""},
    {{"--round", "MI", "2026-07-01 12:00:30.9+02:00"}, "", 0, "2026-07-01 12:01:00 +02:00\n", ""},
    {{"--minus", "2024-02-29T00:00:00.5+02:00", "2026-07-01T12:00Z"},
     "",
     0,
     "+853 13:59:59.5\n",
     ""},
    {{"--minus", "2026-03-09", "2026-03-08"}, "", 0, "-1 00:00:00\n", ""},
    {{"--minus", "2026-03-08 00:00 America/New_York", "2026-03-09"}, "", 0, "+0 23:00:00\n", ""},
    {{"--to", "+05:45", "2026-07-01T12:00"}, "", 0, "2026-07-01 21:45:00 +05:45\n", ""},
    {{"--zone", "Europe/Berlin", "--to", "UTC", "--trunc", "DD", "2026-07-01 01:00"},
     "",
     0,
     "2026-06-30 00:00:00 +00:00\n",
     ""},
    {{"2026-07-01", "-f", "DD.MM.YYYY HH24:MI:SS.FF2 TZH:TZM TZR TZD"},
     "",
     0,
     "01.07.2026 00:00:00.00 -04:00 America/New_York EDT\n",
     ""},
    {{"--parse", "DD Mon YYYY HH24:MI:SSXFF TZR", "1 Jul 2026 12:00:00.125 Asia/Tokyo"},
     "",
     0,
     "2026-07-01 12:00:00.125 Asia/Tokyo\n",
     ""},
    {{"--parse", "YYYY-MM-DD HH24:MI TZH:TZM", "2026-07-01 12:00 +16:00"}, "", 1, "", "error 1874"},
    {{"--parse", "YYYY-MM-DD HH24:MI:SSXFF", "2026-07-01 12:00:00.x"},
     "",
     1,
     "",
     "\n                      ^\n"},
    {{"2026-07-01 12:00 Europe/Berln"}, "", 2, "", "did you mean Europe/Berlin?"},
    {{"--to", "berlin", "2026-07-01"}, "", 2, "", "did you mean Europe/Berlin?"},
    {{"--to", "+15:01", "2026-07-01"}, "", 2, "", "offset beyond 15 hours"},
    {{"--zone", "", "2026-07-01"}, "", 2, "", "the value is empty"},
    {{std::string(10'000, 'Z')}, "", 2, "", "ZZZ ... ZZZ"},
    {{"12:00:00"}, "", 2, "", "no date or timestamp"},
    {{"2026-07-01T12:00:00.1234567890"}, "", 2, "", "more than nine digits"},
    {{"--add", "P1H", "2026-01-01"}, "", 2, "", "no interval such as P1DT2H"},
    {{"--add", "P1D", "9999-12-31"}, "", 1, "", "error 1841"},
    {{"--minus", "2026-01-01", "--add", "1"}, "", 2, "", "--minus has to be the last step"},
    {{"--file", "/etc/passwd", "2026-01-01"}, "", 3, "", "it is damaged"},
    {{"--column", "at", "--to", "Europe/Berlin", "--format", "YYYY-MM-DD HH24:MI:SSXFF1 TZD"},
     "id,at\n1,2026-07-01T12:00:00.5Z\n2,\n3,2026-07-01 12:00 Mars\n4,2026-12-01T12:00Z\n",
     1,
     "id,at\n1,2026-07-01 14:00:00.5 CEST\n2,\n3,2026-07-01 12:00 Mars\n4,2026-12-01 13:00:00.0 "
     "CET\n",
     "line 4, column 2: '2026-07-01 12:00 Mars' error 1882: unknown time zone 'Mars'"},
};

TEST(KestraDate, AnswersAndExitCodes) { RunToolCases("date", kCases, kHome); }
TEST(KestraDate, TimestampsZonesAndIntervals) { RunToolCases("date", kTimestamps, kHome); }

TEST(KestraDate, JsonOfAnIntervalInBothNotations) {
  const ChildResult result = RunTool(
      "kestra", {"date", "--json", "--minus", "2026-01-01", "2026-01-02 00:00:00.5"}, "", kHome);
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer["result"], "+1 00:00:00.5");
  EXPECT_EQ(answer["iso"], "P1DT0.5S");
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

TEST(KestraDate, ExplainsTheElementsOfTimestamps) {
  const ChildResult result =
      RunTool("kestra",
              {"date", "--json", "--explain", "NYYYY SSXFF3 TZR TZD DDSP DL HH25",
               "2026-07-01 12:00:00.25 Asia/Tokyo"},
              "", kHome);
  const auto answer = nlohmann::json::parse(result.out);
  std::string all;
  for (const auto& element : answer["elements"]) {
    if (element["means"] == "text as it stands") continue;
    all += element["means"].get<std::string>() + "=" + element["writes"].get<std::string>() +
           (element["reads"] ? "" : "!") + "\n";
  }
  EXPECT_EQ(all,
            "year, - before our era=2026\nsecond=00\ndecimal sign=.\n"
            "fraction of the second, 3 digits=250\ntime zone, or its offset=Asia/Tokyo\n"
            "abbreviation of the time zone=JST\nday of the month, in words=ONE!\n"
            "the language's long date=Wednesday, July 1, 2026\nhour, 0 to 24=12\n");
}

TEST(KestraDate, ShowsWhereAModelIsWrong) {
  const ChildResult unknown =
      RunTool("kestra", {"date", "--explain", "YYYY-MM-ZZ", "2019-05-02"}, "", kHome);
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_NE(unknown.out.find("error 1821"), std::string::npos);
  EXPECT_NE(unknown.out.find("\n  YYYY-MM-ZZ\n          ^\n"), std::string::npos) << unknown.out;
  const ChildResult both = RunTool("kestra", {"date", "--explain", "Q HH12 HH24"}, "", kHome);
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
