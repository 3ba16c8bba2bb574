// The build as a program: equal bytes everywhere, an old set that survives, faults that are named.
#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/check.h"

namespace kestra::test {
namespace {

namespace fs = std::filesystem;

TEST(NlscBuild, EqualInputGivesEqualBytesInAnyEnvironment) {
  const ScratchDirectory one, two;
  fs::create_directories(two / "somewhere/else");
  fs::copy(TestSources(), two / "copy", fs::copy_options::recursive);
  const ChildResult first = RunTool("nlsc", BuildArguments(TestSources(), one / "data"));
  ASSERT_EQ(first.exit_code, 0) << first.err;
  const ChildResult second =
      RunTool("nlsc", BuildArguments(two / "copy", two / "somewhere/else/data"), "",
              {{"TZ", "Pacific/Kiritimati"}, {"LC_ALL", "C.UTF-8"}, {"LANG", "tr_TR"}});
  ASSERT_EQ(second.exit_code, 0) << second.err;
  EXPECT_EQ(ReadFolder(one / "data"), ReadFolder(two / "somewhere/else/data"));
  EXPECT_EQ(ReadFolder(one / "data"), ReadFolder(TestObjects()));
  EXPECT_EQ(fs::status(two / "somewhere/else/data/lx1boot.nlb").permissions(), fs::perms(0644));
}

TEST(NlscBuild, ReplacesTheWholeDirectoryAndLeavesNothingBehind) {
  const ScratchDirectory folder;
  fs::create_directories(folder / "data");
  WriteFile(folder / "data/stale.nlb", "old");
  fs::create_directories(folder / ".data.new/deep");  // what a killed run left
  WriteFile(folder / ".data.new/deep/file", "half");
  ASSERT_EQ(RunTool("nlsc", BuildArguments(TestSources(), folder / "data")).exit_code, 0);
  EXPECT_FALSE(fs::exists(folder / "data/stale.nlb"));
  EXPECT_FALSE(fs::exists(folder / ".data.new"));
  EXPECT_TRUE(nlsc::CheckDirectory(folder / "data").empty());
}

// A run that is killed at any time leaves the old set or the new one, each of them whole. The two
// sets differ in byte order.
TEST(NlscBuild, KilledAtAnyTimeItLeavesAWholeSet) {
  const ScratchDirectory folder;
  ASSERT_EQ(RunTool("nlsc", BuildArguments(TestSources(), folder / "data")).exit_code, 0);
  const auto little = ReadFolder(TestObjects()), big = ReadFolder(TestObjects("big"));
  std::mt19937 random(1);
  int killed = 0;
  for (int round = 0; round < 40; ++round) {
    std::vector<std::string> arguments = BuildArguments(TestSources(), folder / "data");
    if (round % 2 == 0) arguments.push_back("--byte-order=big");
    arguments.insert(arguments.begin(), {"-s", "KILL", "0.0" + std::to_string(100 + random() % 500),
                                         KESTRA_BUILD_DIR "/bin/nlsc"});
    killed += RunTool("/usr/bin/timeout", arguments).exit_code == 128 + 9;
    const auto now = ReadFolder(folder / "data");
    ASSERT_TRUE(now == little || now == big) << "round " << round;
  }
  EXPECT_GT(killed, 0);
  ASSERT_EQ(RunTool("nlsc", BuildArguments(TestSources(), folder / "data")).exit_code, 0);
  EXPECT_EQ(ReadFolder(folder / "data"), little);
}

TEST(NlscBuild, NamesTheFileAndLineOfABadInputAndKeepsTheOldSet) {
  const struct {
    const char* file;
    const char* text;  // appended
    const char* message;
  } kCases[] = {
      {"definitions/charsets.csv", "4000,x,single,1,ASCII,1,iconv X,\n", "charsets.csv:25: \"x\""},
      {"definitions/charsets.csv", "4000,X,odd,1,ASCII,1,iconv X,\n", "unknown class odd"},
      {"definitions/charsets.csv", "4000,X,single,1,ASCII,1,iconv X,\n", "X.map: cannot be opened"},
      {"definitions/charsets.csv", "20000,X,single,1,ASCII,1,iconv X,\n", "not 1 to 16383"},
      {"definitions/languages.csv", "9,NEW\n", "fields where the header has"},
      {"definitions/sorts.csv", "5,NEW,other,x,standard,1,1,\n", "unknown engine other"},
      {"definitions/sorts.csv", "1000,NEW,uca,x,standard,1,1,\n", "have the same id"},
      {"sources/usr/share/unicode/UnicodeData.txt", "junk\n", "is not the file that the manifest"},
      {"sources/usr/share/unicode/cldr/common/main/de.xml", "<",
       "is not the file that the manifest"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.message);
    const ScratchDirectory folder;
    fs::copy(TestSources(), folder / "in", fs::copy_options::recursive);
    fs::create_directories(folder / "data");
    WriteFile(folder / "data/old", "old");
    std::ofstream(folder / std::string("in/") + c.file, std::ios::app) << c.text;
    const ChildResult result = RunTool("nlsc", BuildArguments(folder / "in", folder / "data"));
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
    EXPECT_EQ(ReadFile(folder / "data/old"), "old");
    EXPECT_FALSE(fs::exists(folder / ".data.new"));
  }
}

TEST(NlscBuild, TakesAChangedFileOnlyWhenAllowed) {
  const ScratchDirectory folder;
  fs::copy(TestSources(), folder / "in", fs::copy_options::recursive);
  std::ofstream(folder / "in/sources/usr/share/unicode/PropList.txt", std::ios::app) << "# more\n";
  std::vector<std::string> arguments = BuildArguments(folder / "in", folder / "data");
  EXPECT_EQ(RunTool("nlsc", arguments).exit_code, 3);
  arguments.push_back("--allow-version-change");
  const ChildResult result = RunTool("nlsc", arguments);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.err.find("PropList.txt: is not the file"), std::string::npos) << result.err;
  // Malformed XML is named by line once the manifest lets it through.
  std::ofstream(folder / "in/sources/usr/share/unicode/cldr/common/main/de.xml", std::ios::app)
      << "<";
  const ChildResult bad = RunTool("nlsc", arguments);
  EXPECT_EQ(bad.exit_code, 3);
  EXPECT_TRUE(std::string(bad.err).find("de.xml:") != std::string::npos) << bad.err;
}

TEST(NlscBuild, MakesAChosenSet) {
  const ScratchDirectory folder;
  WriteFile(folder / "list",
            "# a choice\nlanguage AMERICAN\nterritory AMERICA\ncharset US7ASCII\ncharset AL32UTF8\n"
            "calendar *\n");
  std::vector<std::string> arguments = BuildArguments(TestSources(), folder / "data");
  arguments.insert(arguments.end(), {"--only", folder / "list"});
  ASSERT_EQ(RunTool("nlsc", arguments).exit_code, 0);
  EXPECT_TRUE(nlsc::CheckDirectory(folder / "data").empty());
  EXPECT_EQ(ReadFolder(folder / "data").size(), 1u + 1 + 1 + 2 + 4 + 1);
  const struct {
    const char* list;
    const char* message;
  } kFaults[] = {
      {"language AMERICAN\nterritory AMERICA\ncharset US7ASCII\nsort NOSUCH\n",
       "list:4: there is no sort NOSUCH"},
      {"language GERMAN\nterritory GERMANY\ncharset US7ASCII\n",
       "default_charset WE8ISO8859P1 is not in this set"},
      {"territory AMERICA\ncharset US7ASCII\n", "there is no object lx00001.nlb with the id 1"},
      {"language\n", "list:1: a kind and a name are expected"},
  };
  for (const auto& c : kFaults) {
    WriteFile(folder / "list", c.list);
    const ChildResult result = RunTool("nlsc", arguments);
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_NE(result.err.find(c.message), std::string::npos) << result.err;
  }
}

TEST(NlscBuild, ReportsATargetThatCannotBeWritten) {
  const ScratchDirectory folder;
  WriteFile(folder / "file", "");
  EXPECT_EQ(RunTool("nlsc", BuildArguments(TestSources(), folder / "file")).exit_code, 4);
  EXPECT_EQ(RunTool("nlsc", BuildArguments(TestSources(), folder / "file/below")).exit_code, 4);
}

TEST(NlscCheck, AnswersWithItsExitStatus) {
  const ScratchDirectory folder;
  EXPECT_EQ(RunTool("nlsc", {"check", TestObjects()}).exit_code, 0);
  EXPECT_EQ(RunTool("nlsc", {"check", TestObjects() / "lx1boot.nlb", TestObjects() / "lx20001.nlb"})
                .exit_code,
            0);
  WriteFile(folder / "bad", "nothing of ours");
  EXPECT_EQ(RunTool("nlsc", {"check", folder / "bad"}).exit_code, 3);
  EXPECT_EQ(RunTool("nlsc", {"check", folder / "missing"}).exit_code, 4);
  EXPECT_EQ(RunTool("nlsc", {"check", folder.path()}).exit_code, 4);
  EXPECT_EQ(RunTool("nlsc", {"dump", folder / "bad"}).exit_code, 3);
}

TEST(Nlsc, AnswersWrongUsageWithStatus2) {
  const std::vector<std::string> wrong[] = {
      {}, {"compile"}, {"build"}, {"build", "--output", "x", "--byte-order=middle"}, {"check"},
  };
  for (const std::vector<std::string>& arguments : wrong) {
    EXPECT_EQ(RunTool("nlsc", arguments).exit_code, 2);
  }
}

// Every file of the home directory lies in the archive under its path, unchanged and aligned.
TEST(NlscPack, HoldsEveryFileByItsPath) {
  const ScratchDirectory folder;
  fs::create_directories(folder / "home/nls/data");
  fs::create_directories(folder / "home/.hidden");
  WriteFile(folder / "home/nls/data/b.nlb", "second");
  WriteFile(folder / "home/nls/data/a.nlb", std::string(17, 'x'));
  WriteFile(folder / "home/.hidden/c", "never");
  ASSERT_EQ(RunTool("nlsc", {"pack", folder / "home", "-o", folder / "archive"}).exit_code, 0);
  const std::string archive = ReadFile(folder / "archive");
  const auto number = [&](std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
      value = value << 8 | static_cast<unsigned char>(archive[at + i]);
    return value;
  };
  ASSERT_EQ(archive.substr(0, 8), "KESDATA1");
  ASSERT_EQ(number(8), 2u);
  const std::pair<const char*, std::string> expected[] = {{"nls/data/a.nlb", std::string(17, 'x')},
                                                          {"nls/data/b.nlb", "second"}};
  for (std::size_t i = 0; i < 2; ++i) {
    const std::size_t entry = 16 + 16 * i;
    EXPECT_EQ(archive.substr(number(entry), number(entry + 4)), expected[i].first);
    EXPECT_EQ(number(entry + 8) % 16, 0u);
    EXPECT_EQ(archive.substr(number(entry + 8), number(entry + 12)), expected[i].second);
  }
}

}  // namespace
}  // namespace kestra::test
