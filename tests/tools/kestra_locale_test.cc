// kestra locale and the listings: what the environment resolves to, why, and what is wrong with it.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

using Json = nlohmann::json;

constexpr char kHomePath[] = KESTRA_BUILD_DIR "/home";

ChildResult Kestra(std::vector<std::string> arguments, ChildEnvironment environment = {}) {
  environment.insert(environment.begin(), {"KESTRA_HOME", kHomePath});
  return RunTool("kestra", arguments, "", environment);
}

struct Expected {
  const char* setting;
  const char* value;
  const char* from;
};
struct Case {
  const char* what;
  ChildEnvironment environment;
  std::vector<Expected> settings;
};

const Case kCases[] = {
    {"nothing set: the defaults",
     {},
     {{"language", "AMERICAN", "default"},
      {"territory", "AMERICA", "language AMERICAN"},
      {"character set", "US7ASCII", "language AMERICAN"},
      {"date format", "DD-MON-RR", "territory AMERICA"},
      {"sort", "BINARY", "default"},
      {"calendar", "GREGORIAN", "default"},
      {"storage order", "LOGICAL", "default"},
      {"week begins on", "Sunday", "territory AMERICA"}}},
    {"all of NLS_LANG",
     {{"NLS_LANG", "GERMAN_SWITZERLAND.WE8ISO8859P1"}},
     {{"language", "GERMAN", "NLS_LANG"},
      {"territory", "SWITZERLAND", "NLS_LANG"},
      {"character set", "WE8ISO8859P1", "NLS_LANG"},
      {"ISO currency", "CHF", "territory SWITZERLAND"},
      {"date language", "GERMAN", "language GERMAN"},
      {"week begins on", "Montag", "territory SWITZERLAND"}}},
    {"a territory alone",
     {{"NLS_LANG", "_FRANCE"}},
     {{"language", "AMERICAN", "default"}, {"territory", "FRANCE", "NLS_LANG"}}},
    {"an unknown component takes its default",
     {{"NLS_LANG", "KLINGON_FRANCE.AL32UTF8"}},
     {{"language", "AMERICAN", "default"},
      {"territory", "FRANCE", "NLS_LANG"},
      {"character set", "AL32UTF8", "NLS_LANG"}}},
    {"parameters win over the territory",
     {{"NLS_LANG", "FRENCH_FRANCE.AL32UTF8"},
      {"NLS_DATE_FORMAT", "YYYY-MM-DD"},
      {"NLS_NUMERIC_CHARACTERS", ".,"},
      {"NLS_SORT", "SPANISH"},
      {"NLS_COMP", "LINGUISTIC"},
      {"NLS_STORAGE_ORDER", "visual"},
      {"NLS_CALENDAR", "JAPANESE"},
      {"NLS_DATE_LANGUAGE", "GERMAN"},
      {"NLS_LENGTH_SEMANTICS", "char"}},
     {{"date format", "YYYY-MM-DD", "NLS_DATE_FORMAT"},
      {"numeric characters", ".,", "NLS_NUMERIC_CHARACTERS"},
      {"sort", "SPANISH", "NLS_SORT"},
      {"comparison", "LINGUISTIC", "NLS_COMP"},
      {"storage order", "VISUAL", "NLS_STORAGE_ORDER"},
      {"calendar", "JAPANESE", "NLS_CALENDAR"},
      {"date language", "GERMAN", "NLS_DATE_LANGUAGE"},
      {"length semantics", "CHAR", "NLS_LENGTH_SEMANTICS"},
      {"time format", nullptr, "territory FRANCE"}}},
    {"the long date comes from the language of dates",
     {{"NLS_LANG", "GERMAN_SWITZERLAND"}, {"NLS_DATE_LANGUAGE", "FRENCH"}},
     {{"long date", "FMday DD month YYYY", "language FRENCH"},
      {"week begins on", "lundi", "territory SWITZERLAND"}}},
    {"the dual currency wins over the union's",
     {{"NLS_UNION_CURRENCY", "U"}, {"NLS_DUAL_CURRENCY", "D"}},
     {{"dual currency", "D", "NLS_DUAL_CURRENCY"}}},
    {"the union's currency alone",
     {{"NLS_UNION_CURRENCY", "U"}},
     {{"dual currency", "U", "NLS_UNION_CURRENCY"}}},
    {"UTF-16 text is shown too",
     {{"NLS_LANG", "RUSSIAN_RUSSIA.AL16UTF16LE"}},
     {{"character set", "AL16UTF16LE", "NLS_LANG"}, {"language", "RUSSIAN", "NLS_LANG"}}},
};

TEST(KestraLocale, SettingsAndWhereTheyComeFrom) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    const ChildResult result = Kestra({"locale", "--json"}, c.environment);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const Json root = Json::parse(result.out, nullptr, false);
    ASSERT_TRUE(root.contains("settings")) << result.out;
    for (const Expected& expected : c.settings) {
      bool found = false;
      for (const Json& setting : root["settings"]) {
        if (setting["name"] != expected.setting) continue;
        found = true;
        if (expected.value != nullptr) {
          EXPECT_EQ(setting["value"], expected.value) << setting;
        }
        EXPECT_EQ(setting["from"], expected.from) << setting;
      }
      EXPECT_TRUE(found) << expected.setting;
    }
  }
}

struct CheckCase {
  const char* what;
  ChildEnvironment environment;
  std::vector<const char*> lines;  // the beginning of each
};

const CheckCase kChecks[] = {
    {"nothing set", {}, {}},
    {"all valid",
     {{"NLS_LANG", "FRENCH_CANADA.AL32UTF8"}, {"NLS_SORT", "SPANISH_CI"}, {"NLS_COMP", "ansi"}},
     {}},
    {"binary sort with a suffix", {{"NLS_SORT", "BINARY_CI"}}, {}},
    {"every component of NLS_LANG, all at once",
     {{"NLS_LANG", "GERMN_FRANC.UTF9"}},
     {"NLS_LANG=GERMN_FRANC.UTF9: error 18: unknown language 'GERMN'; did you mean GERMAN",
      "NLS_LANG=GERMN_FRANC.UTF9: error 19: unknown territory 'FRANC'; did you mean FRANCE",
      "NLS_LANG=GERMN_FRANC.UTF9: error 7: unknown character set 'UTF9'; did you mean UTF8"}},
    {"keywords",
     {{"NLS_COMP", "sometimes"},
      {"NLS_STORAGE_ORDER", "x"},
      {"NLS_LENGTH_SEMANTICS", "words"},
      {"NCHAR_CONV_EXCP", "yes"},
      {"NCHAR_IMP_CONV", "no"}},
     {"NLS_STORAGE_ORDER=x: error 25: ", "NLS_COMP=sometimes: error 29: ",
      "NLS_LENGTH_SEMANTICS=words: error 31: ", "NCHAR_CONV_EXCP=yes: error 32: ",
      "NCHAR_IMP_CONV=no: error 33: "}},
    {"names",
     {{"NLS_DATE_LANGUAGE", "FRENHC"}, {"NLS_SORT", "SPANSIH"}, {"NLS_CALENDAR", "MAYAN"}},
     {"NLS_CALENDAR=MAYAN: error 26: unknown name",
      "NLS_DATE_LANGUAGE=FRENHC: error 26: unknown name 'FRENHC'; did you mean FRENCH",
      "NLS_SORT=SPANSIH: error 26: unknown name 'SPANSIH'; did you mean SPANISH"}},
    {"a sort with a level suffix",
     {{"NLS_SORT", "SWEDSIH_CI"}},
     {"NLS_SORT=SWEDSIH_CI: error 26: unknown name 'SWEDSIH_CI'; did you mean SWEDISH"}},
    {"numeric characters that are equal",
     {{"NLS_NUMERIC_CHARACTERS", ".."}},
     {"NLS_NUMERIC_CHARACTERS=..: needs two different"}},
    {"a value too long", {{"NLS_DATE_FORMAT", std::string(256, 'Y')}}, {"NLS_DATE_FORMAT=YYYY"}},
    {"a directory that is none",
     {{"KES_NLS_PROFILE33", "/no/such/directory"}},
     {"KES_NLS_PROFILE33=/no/such/directory: No such file"}},
    {"control characters are disarmed", {{"NLS_COMP", "\x1b[2J"}}, {"NLS_COMP=\\x1B[2J: error 29"}},
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

TEST(KestraLocale, CheckListsEveryInvalidValueOneALine) {
  for (const CheckCase& c : kChecks) {
    SCOPED_TRACE(c.what);
    const ChildResult result = Kestra({"locale", "--check"}, c.environment);
    EXPECT_EQ(result.exit_code, c.lines.empty() ? 0 : 1);
    if (c.lines.empty()) {
      EXPECT_EQ(result.out.find("Every setting is valid"), 0u) << result.out;
      continue;
    }
    const std::vector<std::string> lines = Lines(result.out);
    ASSERT_EQ(lines.size(), c.lines.size()) << result.out;
    for (std::size_t i = 0; i < lines.size(); ++i)
      EXPECT_EQ(lines[i].find(c.lines[i]), 0u) << lines[i];
  }
}

TEST(KestraLocale, SaysWhereTheDataComesFrom) {
  const Json root = Json::parse(Kestra({"locale", "--json"}).out);
  EXPECT_EQ(root["minimal"], false);
  EXPECT_EQ(root["data"],
            std::filesystem::canonical(std::string(kHomePath) + "/nls/data").string());
}

TEST(KestraLocale, DataLibraryServesWithoutAHome) {
  const ChildResult result = RunTool("kestra", {"locale", "--json"}, "", {{"NLS_LANG", "_JAPAN"}});
  const Json root = Json::parse(result.out, nullptr, false);
  ASSERT_TRUE(root.contains("data")) << result.out;
  EXPECT_NE(root["data"].get<std::string>().find("/libkciei.so"), std::string::npos);
  EXPECT_EQ(root["minimal"], false);
  EXPECT_EQ(root["findings"].size(), 0u);
}

TEST(KestraLocale, SaysThatTheMinimalDataIsInUse) {
  const ScratchDirectory scratch;
  std::filesystem::create_directories(scratch / "nls/data");
  WriteFile(scratch / "nls/data/lx1boot.nlb",
            ReadFile(std::string(kHomePath) + "/nls/data/lx1boot.nlb").substr(0, 40));
  const ChildEnvironment damaged = {{"KESTRA_HOME", scratch.path()},
                                    {"NLS_LANG", "GERMAN_GERMANY.AL32UTF8"}};
  const ChildResult check = RunTool("kestra", {"locale", "--check"}, "", damaged);
  EXPECT_EQ(check.exit_code, 1);
  EXPECT_EQ(check.out.find("error 22: "), 0u) << check.out;
  EXPECT_NE(check.out.find("error 18: unknown language 'GERMAN'"), std::string::npos) << check.out;
  const ChildResult report = RunTool("kestra", {"locale"}, "", damaged);
  EXPECT_EQ(report.exit_code, 0);
  EXPECT_NE(report.out.find("error 22"), std::string::npos);
  EXPECT_NE(report.out.find("US7ASCII"), std::string::npos);
  const ChildResult convert =
      RunTool("kestra", {"convert", "-f", "utf-8", "-t", "latin1"}, "x", damaged);
  EXPECT_EQ(convert.exit_code, 3);
  EXPECT_NE(convert.err.find("error 22"), std::string::npos) << convert.err;
}

TEST(KestraLists, RowsAndFilter) {
  struct {
    std::vector<std::string> arguments;
    std::vector<std::pair<const char*, Json>> first;  // fields of the first row
  } const kLists[] = {
      {{"charsets", "AL32UTF8"},
       {{"id", 873}, {"class", "UTF-8"}, {"longest", 4}, {"alias", "UTF-8"}}},
      {{"charsets", "JA16SHIFTJIS"}, {{"id", 835}, {"class", "multibyte"}, {"longest", 2}}},
      {{"charsets", "101"}, {{"name", "WE8ISO8859P1"}, {"class", "single-byte"}, {"longest", 1}}},
      {{"charsets", "2002"}, {{"name", "AL16UTF16LE"}, {"class", "UTF-16"}}},
      {{"charsets", "shift_jis"}, {{"name", "JA16SHIFTJIS"}}},
      {{"languages", "GERMAN"},
       {{"name", "GERMAN"}, {"tag", "de"}, {"territory", "GERMANY"}, {"native_name", "Deutsch"}}},
      {{"languages", "deutsch"}, {{"name", "GERMAN"}}},
      {{"territories", "SWITZERLAND"},
       {{"iso", "CH"}, {"iso_currency", "CHF"}, {"first_day", "Monday"}}},
      {{"territories", "AMERICA"},
       {{"name", "AMERICA"}, {"numeric_characters", ".,"}, {"date_format", "DD-MON-RR"}}},
  };
  for (const auto& c : kLists) {
    SCOPED_TRACE(c.arguments[0] + " " + c.arguments[1]);
    std::vector<std::string> arguments = c.arguments;
    arguments.push_back("--json");
    const ChildResult result = Kestra(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const Json rows = Json::parse(result.out, nullptr, false);
    ASSERT_TRUE(rows.is_array() && !rows.empty()) << result.out;
    for (const auto& [name, value] : c.first) EXPECT_EQ(rows[0][name], value) << rows[0];
  }
  EXPECT_EQ(Kestra({"charsets", "nosuchset"}).exit_code, 1);
  EXPECT_EQ(Lines(Kestra({"languages"}).out).size(), 239u);
  EXPECT_EQ(Lines(Kestra({"territories"}).out).size(), 251u);
}

TEST(KestraTool, HelpVersionAndUsage) {
  for (const char* command :
       {"convert", "locale", "charsets", "languages", "territories", "inspect"}) {
    const ChildResult help = Kestra({command, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    const std::size_t examples = help.out.find("Examples:\n");
    ASSERT_NE(examples, std::string::npos) << command;
    const std::vector<std::string> lines = Lines(help.out.substr(examples));
    EXPECT_GE(lines.size(), 4u) << command;
  }
  const ChildResult version = Kestra({"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_NE(version.out.find("LNGRTL Version 19.0.0.0.0 - Production"), std::string::npos);
  const ChildResult typo = Kestra({"convrt"});
  EXPECT_EQ(typo.exit_code, 2);
  EXPECT_NE(typo.err.find("did you mean convert?"), std::string::npos) << typo.err;
  EXPECT_EQ(Kestra({}).exit_code, 2);
  EXPECT_EQ(Kestra({"inspect"}).exit_code, 2);
  // Nothing is lost without a word when the listing cannot be written.
  const ChildResult full =
      RunTool("/bin/sh", {"-c", KESTRA_BUILD_DIR "/bin/kestra charsets > /dev/full"}, "",
              {{"KESTRA_HOME", kHomePath}});
  EXPECT_EQ(full.exit_code, 4);
}

}  // namespace
}  // namespace kestra::test
