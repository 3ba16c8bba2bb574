// kestra inspect: which set a text is in, where it is malformed, what a data file holds, and that a
// damaged one is told from a good one.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

using Json = nlohmann::json;

const ChildEnvironment kHome = {{"KESTRA_HOME", KESTRA_BUILD_DIR "/home"}};
const std::string kHomePath = KESTRA_BUILD_DIR "/home";
const std::string kData = kHomePath + "/nls/data/";
const std::string kTexts = KESTRA_SOURCE_DIR "/scripts/demo_text/";

struct Inspected {
  int exit_code;
  Json json;
};

Inspected Inspect(std::vector<std::string> arguments, std::string_view input = "") {
  arguments.insert(arguments.begin(), {"inspect", "--json"});
  const ChildResult result = RunTool("kestra", arguments, input, kHome);
  return {result.exit_code, Json::parse(result.out, nullptr, false)};
}

TEST(KestraInspect, FindsTheSetOfRealText) {
  struct {
    const char* text;
    const char* set;
  } const kCases[] = {
      {"english", "US7ASCII"},      {"german", "WE8ISO8859P1"},     {"french", "WE8CP1252"},
      {"spanish", "WE8ISO8859P15"}, {"polish", "EE8ISO8859P2"},     {"polish", "EE8CP1250"},
      {"turkish", "TR8ISO8859P9"},  {"russian", "CY8CP1251"},       {"russian", "CY8KOI8R"},
      {"russian", "CY8IBM866"},     {"russian", "CY8ISO8859P5"},    {"greek", "GR8ISO8859P7"},
      {"hebrew", "HE8ISO8859P8"},   {"arabic", "AR8ISO8859P6"},     {"arabic", "AR8CP1256"},
      {"thai", "TH8TIS620"},        {"japanese", "JA16WINDOWS31J"}, {"japanese", "JA24EUCJP"},
      {"korean", "KO16UHC"},        {"chinese", "ZS16GBK"},         {"german", "WE8IBM1047"},
      {"french", "WE8MACINTOSH"},   {"japanese", "AL32UTF8"},       {"german", "AL32UTF8"},
      {"german", "AL16UTF16LE"},    {"russian", "AL16UTF16"},       {"chinese", "AL16UTF16LE"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.text) + " in " + c.set);
    const ChildResult text = RunTool(
        "kestra", {"convert", "-f", "AL32UTF8", "-t", c.set, kTexts + c.text + ".txt"}, "", kHome);
    ASSERT_EQ(text.exit_code, 0) << text.err;
    const Inspected found = Inspect({"-"}, text.out);
    ASSERT_TRUE(found.json.contains("charset")) << found.json;
    // Sets that hold the text at the same places cannot be told apart.
    bool among_best = false;
    for (const Json& candidate : found.json["candidates"]) {
      among_best = among_best || (candidate["charset"] == c.set && candidate["same_text"] == true);
    }
    EXPECT_TRUE(among_best) << found.json["candidates"];
    EXPECT_EQ(found.exit_code, 0);
  }
}

TEST(KestraInspect, TellsMarksLineEndsAndMalformedPlaces) {
  const Inspected text = Inspect({"-"},
                                 "\xEF\xBB\xBFgr\xC3\xBC\xC3\x9F\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x84"
                                 "\xC3\x96\xC3\x9C\xC3\xA9\xC3\xA8"
                                 "\r\na\nb\xFF\n\xE2\x82");
  EXPECT_EQ(text.exit_code, 1);
  EXPECT_EQ(text.json["charset"], "AL32UTF8");
  EXPECT_EQ(text.json["byte_order_mark"], "EF BB BF (AL32UTF8)");
  EXPECT_EQ(text.json["certainty"], "certain");
  EXPECT_EQ(text.json["line_ends"]["lf"], 2);
  EXPECT_EQ(text.json["line_ends"]["crlf"], 1);
  EXPECT_EQ(text.json["line_ends"]["last_line_ended"], false);
  EXPECT_EQ(text.json["malformed"], 2);
  EXPECT_EQ(text.json["places"][0]["line"], 3);
  EXPECT_EQ(text.json["places"][0]["column"], 2);
  EXPECT_EQ(text.json["places"][0]["bytes"], "FF");
  EXPECT_EQ(text.json["places"][1]["line"], 4);
  EXPECT_EQ(text.json["places"][1]["reason"], "the text ends within a character");
}

TEST(KestraInspect, OtherKindsOfFile) {
  EXPECT_EQ(Inspect({"-"}).json["kind"], "empty");
  std::string binary;
  for (unsigned i = 0; i < 4096; ++i) binary += static_cast<char>(i * 197 % 256 * (i % 3));
  EXPECT_EQ(Inspect({"-"}, binary).json["kind"], "binary");
  const Inspected told = Inspect({"-f", "utf-8", "-"}, "\xE9t\xE9");
  EXPECT_EQ(told.exit_code, 1);
  EXPECT_EQ(told.json["malformed"], 2);
}

TEST(KestraInspect, FieldsOfObjects) {
  struct {
    const char* file;
    std::vector<std::pair<const char*, Json>> fields;
  } const kCases[] = {
      {"lx1boot.nlb",
       {{"kind", "boot file"}, {"valid", "yes"}, {"languages", 238}, {"sorts", 312}}},
      {"lx00001.nlb",
       {{"kind", "language"},
        {"name", "AMERICAN"},
        {"id", 1},
        {"valid", "yes"},
        {"checksum", "right"},
        {"AM", "AM"},
        {"day 1", "Sunday"},
        {"month 1", "January"},
        {"tag", "en"},
        {"default territory", "AMERICA (1)"},
        {"default character set", "US7ASCII (1)"}}},
      {"lx10001.nlb",
       {{"kind", "territory"},
        {"name", "AMERICA"},
        {"valid", "yes"},
        {"ISO code", "US"},
        {"ISO currency", "USD"},
        {"numeric characters", ".,"},
        {"week begins on", "Sunday"},
        {"date format", "DD-MON-RR"}}},
      {"lx20369.nlb",
       {{"kind", "character set"},
        {"name", "AL32UTF8"},
        {"valid", "yes"},
        {"longest character", 4},
        {"basis", "ASCII"}}},
      {"lx20065.nlb",
       {{"name", "WE8ISO8859P1"}, {"valid", "yes"}, {"longest character", 1}, {"characters", 256}}},
      {"lx30001.nlb", {{"kind", "sort"}, {"valid", "yes"}, {"locale", "af"}, {"type", "standard"}}},
      {"lx40011.nlb", {{"kind", "supplement"}, {"valid", "yes"}}},
      {"lx50002.nlb",
       {{"kind", "calendar"}, {"name", "JAPANESE"}, {"valid", "yes"}, {"months", 12}}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.file);
    const Inspected object = Inspect({kData + c.file});
    EXPECT_EQ(object.exit_code, 0);
    for (const auto& [name, value] : c.fields) {
      ASSERT_TRUE(object.json.contains(name)) << name << object.json;
      EXPECT_EQ(object.json[name], value) << name;
    }
  }
}

TEST(KestraInspect, DamagedObjectsAreNamedAsSuch) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "damaged.nlb";
  for (const char* file : {"lx1boot.nlb", "lx00001.nlb", "lx20065.nlb"}) {
    const std::string good = ReadFile(kData + file);
    ASSERT_GT(good.size(), 100u);
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{26}, std::size_t{47}, std::size_t{48},
          std::size_t{91}, std::size_t{92}, good.size() - 9}) {
      WriteFile(path, good.substr(0, size));
      const Inspected cut = Inspect({path});
      EXPECT_EQ(cut.exit_code, 3) << file << " cut to " << size;
      EXPECT_EQ(cut.json["valid"].get<std::string>().substr(0, 4), "no: ") << cut.json;
    }
  }
  std::string language = ReadFile(kData + "lx00001.nlb");
  language[110] = static_cast<char>(language[110] ^ 0x40);  // a string offset
  WriteFile(path, language);
  EXPECT_EQ(Inspect({path}).exit_code, 3);
  std::string text = ReadFile(kData + "lx00001.nlb");
  text[text.find("Sunday")] = 'F';
  WriteFile(path, text);
  EXPECT_EQ(Inspect({path}).json["checksum"], "wrong");
}

}  // namespace
}  // namespace kestra::test
