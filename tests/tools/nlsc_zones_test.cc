// nlsc zones: rules that never end, TZif files, the table of ids, the compiled files.
#include <gtest/gtest.h>

#include <stdexcept>

#include "datetime/zone_format.h"
#include "tests/support/child_process.h"
#include "tests/support/zone_builder.h"
#include "tools/nlsc/input.h"
#include "tools/nlsc/object_reader.h"
#include "tools/nlsc/posix_rule.h"
#include "tools/nlsc/write_zones.h"
#include "tools/nlsc/zone_reader.h"
#include "tools/nlsc/zone_source.h"

namespace kestra::nlsc {
namespace {

using test::RunTool;
using test::ScratchDirectory;

struct RuleCase {
  const char* rule;
  int year;
  const char* changes;  // of that year, UTC, each with its type
};
constexpr RuleCase kRules[] = {
    {"EST5EDT,M3.2.0,M11.1.0", 2026,
     "2026-03-08 07:00:00 -04:00 EDT DST; 2026-11-01 06:00:00 -05:00 EST"},
    {"IST-1GMT0,M10.5.0,M3.5.0/1", 2026,
     "2026-03-29 01:00:00 +01:00 IST; 2026-10-25 01:00:00 +00:00 GMT DST"},
    {"<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", 2026,
     "2026-04-04 15:00:00 +10:30 +1030; 2026-10-03 15:30:00 +11:00 +11 DST"},
    {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0", 2026,
     "2026-03-29 01:00:00 -01:00 -01 DST; 2026-10-25 01:00:00 -02:00 -02"},
    {"EET-2EEST,M3.4.4/50,M10.4.4/50", 2026,
     "2026-03-28 00:00:00 +03:00 EEST DST; 2026-10-23 23:00:00 +02:00 EET"},
    {"AAA3BBB,J60/0,J300/0", 2024,
     "2024-03-01 03:00:00 -02:00 BBB DST; 2024-10-27 02:00:00 -03:00 AAA"},
    {"AAA3BBB,59/0,300/0", 2024,
     "2024-02-29 03:00:00 -02:00 BBB DST; 2024-10-27 02:00:00 -03:00 AAA"},
    {"<+05>-5", 2026, ""},
};

TEST(PosixRule, ChangesOfAYear) {
  for (const RuleCase& c : kRules) {
    SCOPED_TRACE(c.rule);
    ZoneHistory history = {{kFirstInstant, {18000, false, "+05"}}};
    const std::int64_t after = FromCivil({c.year - 1, 12, 31, 0, 0, 0});
    ExpandRule(c.rule, after, c.year, history);
    std::string text;
    for (std::size_t i = 1; i < history.size(); ++i) {
      if (ToCivil(history[i].at).year != c.year) continue;
      const ZoneType& type = history[i].type;
      text += (text.empty() ? "" : "; ") + FormatInstant(history[i].at) + " " +
              FormatOffset(type.offset) + " " + type.abbreviation + (type.daylight ? " DST" : "");
    }
    EXPECT_EQ(text, c.changes);
  }
}

TEST(PosixRule, ThoseThatAreNone) {
  for (const char* rule :
       {"E5", "EST", "EST5EDT", "EST5EDT,M3.2.0", "EST5EDT,M13.2.0,M11.1.0", "<EST5",
        "EST5EDT,M3.6.0,M11.1.0", "EST5EDT,J0,J5", "EST5EDT,M3.2.0,M11.1.0x", "EST5:60", "EST999",
        "EST5"}) {  // the last one contradicts the type in force
    ZoneHistory history = {{kFirstInstant, {0, false, "UTC"}}};
    EXPECT_THROW(ExpandRule(rule, 0, 2100, history), std::invalid_argument) << rule;
  }
}

TEST(ZoneSource, ReleasesAreContentVersions) {
  EXPECT_EQ(ContentVersion("2026f"), 2606u);
  EXPECT_EQ(ContentVersion("2025b"), 2502u);
  for (const char* text : {"2026", "2026F", "1999a", "20260f", "2026f ", ""}) {
    EXPECT_THROW(ContentVersion(text), std::invalid_argument) << text;
  }
}

TEST(ZoneSource, TzifFilesCutAnywhereAreRefused) {
  const ScratchDirectory scratch;
  const std::string source =
      KESTRA_SOURCE_DIR "/tests/data/nlsc/sources/usr/share/zoneinfo/tzdata.zi";
  ASSERT_EQ(RunTool("/usr/sbin/zic", {"-b", "fat", "-d", scratch.path(), source}).exit_code, 0);
  const std::vector<std::uint8_t> whole = ReadObjectFile(scratch / "Europe/Berlin");
  const ZoneHistory history = ReadTzif(whole, 2100);
  EXPECT_EQ(history.front().type.abbreviation, "LMT");
  EXPECT_EQ(FormatInstant(history.back().at), "2100-10-31 01:00:00");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_THROW(ReadTzif({whole.data(), size}, 2100), std::invalid_argument) << size;
  }
}

class ZoneTable : public testing::Test {
 protected:
  // Compiles with a table of our own; returns what nlsc said.
  test::ChildResult Compile(const std::string& rows) {
    test::WriteFile(scratch_ / "zones.csv", "id,name,link_to,file\n" + rows);
    return RunTool("nlsc",
                   {"zones", "-o", scratch_ / "out", "--definitions", scratch_.path(), "--source",
                    KESTRA_SOURCE_DIR "/tests/data/nlsc/sources/usr/share/zoneinfo/tzdata.zi"});
  }
  ScratchDirectory scratch_;
};

TEST_F(ZoneTable, IdsThatNobodyMayHave) {
  const struct {
    const char* rows;
    const char* message;
  } cases[] = {
      {"9,Europe/Berlin,,short\n", "the id is not one"},
      {"512,Europe/Berlin,,short\n", "the id is not one"},
      {"10,Europe/London,,short\n10,Europe/Berlin,,short\n", "the id is there twice"},
      {"10,Europe/London,,short\n11,Europe/London,,short\n", "the name is there twice"},
      {"10,Europe/London,,short\n523,GB,Europe/London,short\n", "the id is not one"},
      {"100,Europe/London,,short\n1124,GB,Europe/London,short\n", "readers replace"},
      {"522,GB,Europe/London,short\n", "unknown zone"},
      {"10,Europe/London,,large\n", "\"short\" or \"all\""},
  };
  for (const auto& c : cases) {
    const test::ChildResult result = Compile(c.rows);
    EXPECT_EQ(result.exit_code, 3) << c.rows;
    EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
  }
}

TEST_F(ZoneTable, NamesWithoutAnIdAndIdsWithoutAZone) {
  const test::ChildResult result =
      Compile("10,Europe/London,,short\n522,GB,Europe/London,short\n11,Europe/Atlantis,,all\n");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.err.find("Europe/Atlantis is not in release 2026f"), std::string::npos);
  EXPECT_NE(result.err.find("Eire of release 2026f has no id in zones.csv; it is a link to "
                            "Europe/Dublin"),
            std::string::npos);
  ZoneFile file;
  EXPECT_TRUE(ReadZoneFile(ReadObjectFile(scratch_ / "out/timezone_2606.dat"), file).empty());
  ASSERT_EQ(file.data.zones.size(), 2u);
  EXPECT_EQ(file.data.histories.size(), 1u);  // the link shares it
}

TEST(NlscZones, EveryRunMakesTheSameFilesAndBothOrdersSayTheSame) {
  const ScratchDirectory scratch;
  const std::vector<std::string> arguments = {
      "zones",
      "--definitions",
      KESTRA_SOURCE_DIR "/tests/data/nlsc/definitions",
      "--source",
      KESTRA_SOURCE_DIR "/tests/data/nlsc/sources/usr/share/zoneinfo/tzdata.zi",
      "-o"};
  for (const char* name : {"a", "b"}) {
    std::vector<std::string> all = arguments;
    all.push_back(scratch / name);
    ASSERT_EQ(RunTool("nlsc", all, "", {{"TZ", "Asia/Tokyo"}, {"LC_ALL", "de_DE"}}).exit_code, 0);
  }
  for (const char* file : {"timezone_2606.dat", "timezlrg_2606.dat"}) {
    const auto path = [&](const std::string& folder) { return scratch / (folder + file); };
    EXPECT_EQ(ReadObjectFile(path("a/")), ReadObjectFile(path("b/")));
    EXPECT_EQ(ReadObjectFile(path("a/")), ReadObjectFile(path("a/little/")));
    ZoneFile little, big;
    EXPECT_TRUE(ReadZoneFile(ReadObjectFile(path("a/little/")), little).empty());
    EXPECT_TRUE(ReadZoneFile(ReadObjectFile(path("a/big/")), big).empty());
    EXPECT_EQ(DiffZones(little.data, big.data), "");
    EXPECT_TRUE(big.big_endian);
    EXPECT_EQ(RunTool("nlsc", {"check", path("a/big/")}).exit_code, 0);
    EXPECT_EQ(RunTool("nlsc", {"zones", "--diff", path("a/big/"), path("b/")}).exit_code, 0);
  }
  const test::ChildResult diff = RunTool(
      "nlsc",
      {"zones", "--diff", scratch / "a/timezone_2606.dat", scratch / "a/timezlrg_2606.dat"});
  EXPECT_EQ(diff.exit_code, 1);
  EXPECT_EQ(diff.out, "Antarctica/Troll (id 211): new\n");
  const test::ChildResult dump =
      RunTool("nlsc", {"dump", "--full", scratch / "a/timezone_2606.dat"});
  EXPECT_NE(dump.out.find("2011-12-30 10:00:00 +14:00 +14 DST"), std::string::npos);
}

TEST(NlscZones, CheckFindsWhatIsWrong) {
  const std::vector<std::uint8_t> whole = test::BuildZones(test::SampleZones());
  ZoneFile file;
  EXPECT_TRUE(ReadZoneFile(whole, file).empty());
  EXPECT_EQ(file.data.zones.size(), 6u);
  std::size_t found = 0;
  for (std::size_t at = datetime::zone::kTablesAt; at < whole.size(); ++at) {
    std::vector<std::uint8_t> damaged = whole;
    damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ 0x80);
    found += ReadZoneFile(damaged, file).empty() ? 0 : 1;
    DumpZones(damaged, true);
  }
  EXPECT_GT(found, 600u);
  for (std::size_t size = 0; size < whole.size(); size += size < 60 ? 1 : 997) {
    EXPECT_FALSE(ReadZoneFile({whole.data(), size}, file).empty()) << size;
  }
}

TEST(NlscZones, FilesThatWouldBeTooLargeAreRefused) {
  ZoneData data;
  data.content_version = 2606;
  for (std::uint32_t id = 10; id < 200; ++id) {
    ZoneHistory history = {{kFirstInstant, {0, false, "AAA"}}};
    for (int i = 1; i < 600; ++i) {
      history.push_back({i * std::int64_t{86400}, {i % 2 * 3600, i % 2 != 0, "AAA"}});
    }
    data.zones.push_back({id, "Z" + std::to_string(id), true, data.histories.size()});
    history.back().at += id;
    data.histories.push_back(std::move(history));
  }
  EXPECT_THROW(WriteZones(data, {}), std::length_error);
  data.zones.resize(100);
  EXPECT_LE(WriteZones(data, {}).size(), datetime::zone::kMaxSize);
}

}  // namespace
}  // namespace kestra::nlsc
