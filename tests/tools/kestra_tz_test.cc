// kestra tz: lists, transitions, conversion with gaps and overlaps, pictures, differences.
#include <gtest/gtest.h>
#include <zlib.h>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/zone_builder.h"

namespace kestra::test {
namespace {

ChildResult Tz(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "tz");
  return RunTool("kestra", arguments, "", {{"KESTRA_HOME", KESTRA_BUILD_DIR "/testdata/home"}});
}

struct Case {
  std::vector<std::string> arguments;
  int exit_code;
  const char* out;  // parts of what is printed
  const char* err;
};

const Case kCases[] = {
    {{"--at", "2026-07-01 12:00", "Asia/Kolkata"}, 0, "Wed 2026-07-01 17:30:00  +05:30  IST", ""},
    {{"--at", "2026-07-01T12:00:30Z", "GB"}, 0, "Wed 2026-07-01 13:00:30  +01:00  BST   DST", ""},
    {{"--at", "2026-07-01 12:00+05:30", "utc"}, 0, "Wed 2026-07-01 06:30:00  +00:00  UTC", ""},
    {{"--at", "@0", "Africa/Monrovia"}, 0, "Wed 1969-12-31 23:15:30  -00:44:30  MMT", ""},
    {{"--at", "2026-03-08 02:30", "--in", "america/new_york"},
     1,
     "Sun 2026-03-08 03:30:00  -04:00  EDT   DST",
     "2026-03-08 02:30:00 does not exist in America/New_York: at 02:00:00 clocks were put forward "
     "1:00 to 03:00:00 (EST -05:00 to EDT -04:00)."},
    {{"--at", "2026-11-01 01:30", "--in", "US/Eastern"},
     1,
     "Sun 2026-11-01 01:30:00  -05:00  EST",
     "first as EDT -04:00, 2026-11-01 05:30:00 UTC"},
    {{"--at", "2026-11-01 01:30-04:00", "--in", "US/Eastern"},
     0,
     "Sun 2026-11-01 01:30:00  -04:00  EDT   DST",
     ""},
    {{"--at", "2011-12-30 12:00", "--in", "Pacific/Apia"},
     1,
     "Sat 2011-12-31 12:00:00  +14:00",
     "clocks were put forward 24:00 to 2011-12-31 00:00:00"},
    // Local times may leave the years that an instant can be in.
    {{"--at", "9999-12-31 23:30", "Asia/Kolkata"}, 0, "Sat 10000-01-01 05:00:00  +05:30  IST", ""},
    {{"--at", "0001-01-01", "America/New_York"}, 0, "Fri 0000-12-31 19:03:58  -04:56:02  LMT", ""},
    {{"--at", "0001-01-01", "--in", "Asia/Kolkata"}, 2, "", "not in the years 1 to 9999"},
    // The first change, from local mean time, and its offset with seconds.
    {{"--at", "1883-11-18 12:00 America/New_York"},
     1,
     "Sun 1883-11-18 12:00:00  -05:00  EST",
     "write the offset (1883-11-18 12:00:00-04:56:02) for the other"},
    {{"--at", "1883-11-18 12:00:00-04:56:02", "America/New_York"},
     0,
     "Sun 1883-11-18 12:00:00  -04:56:02  LMT",
     ""},
    {{"--at", "1500-02-29", "UTC"}, 0, "Sat 1500-02-29", ""},  // a Julian leap year
    {{"--at", "1582-10-10", "UTC"}, 2, "", "there is no such date"},
    {{"--at", "2026-01-01 12:00+15:01"}, 2, "", "is no time such as"},
    {{"--at", "now America/New_Yrk"}, 2, "", "did you mean America/New_York?"},
    {{"--at", ""}, 2, "", "--at: the value is empty"},
    {{"newyork"}, 1, "", "nothing matches 'newyork'; did you mean America/New_York?"},
    {{std::string(10000, 'Z')}, 1, "", "ZZZ ... ZZZ"},
    {{"--at", "2026-02-29", "UTC"}, 2, "", "there is no such date"},
    {{"--at", "@9223372036854775807", "Asia/Kolkata"}, 2, "", "not in the years 1 to 9999"},
    {{"--at", "0001-01-01+01:00"}, 2, "", "not in the years 1 to 9999"},
    {{"--at", "2026-02-28 24:00", "UTC"}, 2, "", "there is no such date or time of day"},
    {{"--at", "tomorrow", "UTC"}, 2, "", "is no time such as"},
    {{"--at", "2026-01-01 10:00+25:00"}, 2, "", "is no time such as"},
    {{"--at", "now", "Europe/Berln"},
     2,
     "",
     "unknown time zone 'Europe/Berln'; did you mean "
     "Europe/Berlin"},
    {{"--at", "now", "berlin"}, 2, "", "did you mean Europe/Berlin?"},
    {{"--at", "now", "../../etc/passwd"}, 2, "", "unknown time zone"},
    {{"--at", "now", std::string(10000, 'Z')}, 2, "", "unknown time zone"},
    {{"--in", "UTC"}, 2, "", "--in needs --at"},
    {{"UTC", "GB"}, 2, "", "one zone at a time"},
    {{"--years", "2026"}, 2, "", "--years needs a zone"},
    {{"Europe/Dublin", "--years", "1971"},
     0,
     "Sun 1971-10-31 02:00:00  1971-10-31 03:00:00  1971-10-31 02:00:00  +00:00  GMT   DST  back "
     "1:00",
     ""},
    {{"Europe/Dublin", "--years", "1969-1970"}, 0, "Nothing changes from 1969 to 1970.", ""},
    {{"UTC", "--years", "2030-2020"}, 2, "", "is no range of years"},
    {{"UTC", "--years", "0-5"}, 2, "", "is no range of years"},
    {{"UTC", "--svg"}, 2, "", ""},
    {{"--svg", "-"}, 2, "", "a picture needs exactly one zone"},
    {{"UTC", "--svg", "-", "--at", "now"}, 2, "", "--at excludes --svg"},
    {{"UTC", "--png", "/nonexistent/x.png"}, 4, "", "/nonexistent/x.png"},
    {{"--file", "/nonexistent/zones.dat"}, 4, "", "it cannot be read"},
    {{"--file", "/etc/passwd"}, 3, "", "it is damaged"},
    {{"--diff", "/etc/passwd", "/etc/passwd"}, 3, "", "it is damaged"},
};

TEST(KestraTz, AnswersAndMessages) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.arguments).substr(0, 200));
    const ChildResult result = Tz(c.arguments);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.out << result.err;
    EXPECT_NE(result.out.find(c.out), std::string::npos) << result.out;
    EXPECT_NE(result.err.find(c.err), std::string::npos) << result.err;
  }
}

TEST(KestraTz, ListsByPartsOfNames) {
  const ChildResult all = Tz({"--json"});
  EXPECT_EQ(nlohmann::json::parse(all.out).size(), 22u);
  const ChildResult some = Tz({"sydn"});
  EXPECT_EQ(some.exit_code, 0);
  EXPECT_NE(some.out.find("Australia/Sydney"), std::string::npos);
  EXPECT_EQ(some.out.find("Berlin"), std::string::npos);
  EXPECT_EQ(Tz({"atlantis"}).exit_code, 1);
  const auto links = nlohmann::json::parse(Tz({"eire", "--all", "--json"}).out);
  EXPECT_EQ(links.at("link_to"), "Europe/Dublin");
}

TEST(KestraTz, JsonHoldsTheWholeAnswer) {
  const ChildResult result =
      Tz({"--json", "--at", "2026-11-01 01:30", "--in", "US/Eastern", "Europe/Berlin"});
  EXPECT_EQ(result.exit_code, 1);
  const auto answer = nlohmann::json::parse(result.out);
  EXPECT_EQ(answer.at("local_time"), "twice");
  EXPECT_EQ(answer.at("seconds"), 1793514600);
  EXPECT_EQ(answer.at("zones").size(), 3u);
  EXPECT_EQ(answer.at("zones").at(2).at("local"), "2026-11-01 07:30:00");
  const auto zone = nlohmann::json::parse(Tz({"GB", "--years", "2026", "--json"}).out);
  EXPECT_EQ(zone.at("release"), "2026f");
  EXPECT_EQ(zone.at("transitions").size(), 2u);
  EXPECT_EQ(zone.at("transitions").at(0).at("abbreviation"), "BST");
}

TEST(KestraTz, PicturesHaveARowForEachYear) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "picture.svg";
  ASSERT_EQ(Tz({"Europe/Berlin", "--years", "2001-2004", "--svg", path}).exit_code, 0);
  pugi::xml_document svg;
  ASSERT_TRUE(svg.load_file(path.c_str()));
  const auto blocks = svg.select_nodes("//g/rect");
  EXPECT_EQ(blocks.size(), 4 * 3u);  // three periods a year
  EXPECT_NE(svg.select_node("//text[.='+02:00 CEST DST']"), pugi::xpath_node());
  double widths = 0;
  for (const auto& block : blocks) widths += block.node().attribute("width").as_double();
  EXPECT_NEAR(widths, 2 * (4 * 365 + 1), 0.1);  // two units a day
  EXPECT_EQ(Tz({"Europe/Berlin", "--years", "2001", "--svg", "-"}).out.substr(0, 4), "<svg");
}

std::uint32_t BigEndianAt(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

// A PNG file (RFC 2083) is a signature and chunks with checksums from IHDR to IEND.
TEST(KestraTz, PicturesAsPngAreWhole) {
  if (RunTool("/bin/sh", {"-c", "command -v gnuplot"}).exit_code != 0) GTEST_SKIP();
  const ScratchDirectory scratch;
  const std::string path = scratch / "it's a picture.png";
  for (const char* years : {"2001-2004", "1-9999"}) {
    ASSERT_EQ(Tz({"Europe/Berlin", "--years", years, "--png", path}).exit_code, 0);
    const std::string png = ReadFile(path);
    ASSERT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1A\n");
    std::string kinds;
    std::size_t at = 8;
    while (at + 12 <= png.size()) {
      const std::size_t length = BigEndianAt(png, at);
      ASSERT_LE(at + 12 + length, png.size());
      const auto* data = reinterpret_cast<const unsigned char*>(png.data()) + at + 4;
      ASSERT_EQ(crc32(0, data, static_cast<unsigned>(length + 4)),
                BigEndianAt(png, at + 8 + length));
      kinds += png.substr(at + 4, 4);
      at += 12 + length;
    }
    EXPECT_EQ(at, png.size());
    EXPECT_TRUE(kinds.starts_with("IHDR") && kinds.ends_with("IDATIEND")) << kinds;
  }
}

TEST(KestraTz, DifferencesOfTwoFiles) {
  const ScratchDirectory scratch;
  const auto write = [&](const char* name, const std::vector<BuiltZone>& zones) {
    const std::vector<std::uint8_t> bytes = BuildZones(zones);
    WriteFile(scratch / name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return scratch / name;
  };
  std::vector<BuiltZone> changed = SampleZones();
  changed[1].transitions.pop_back();
  changed.push_back({400, "Test/New", {{kLongAgo, 0}}});
  const std::string before = write("a.dat", SampleZones()), after = write("b.dat", changed);
  EXPECT_EQ(Tz({"--diff", before, before}).exit_code, 0);
  const ChildResult result = Tz({"--diff", before, after});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.out.find("Test/Summer (id 100): changed\n"
                            "  2001-10-28 06:00:00 on: -05:00 became -04:00 DST\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("Test/New (id 400): new"), std::string::npos);
  const auto json = nlohmann::json::parse(Tz({"--diff", after, before, "--json"}).out);
  EXPECT_EQ(json.at("zones").size(), 3u);
  EXPECT_EQ(json.at("zones").at(1).at("kind"), "removed");
}

}  // namespace
}  // namespace kestra::test
