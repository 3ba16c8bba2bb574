// kestra convert as a user runs it: output, report and exit code over tables of command lines, and
// the laws of a filter: the same result however the input arrives, and no file half written.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {
namespace {

using Arguments = std::vector<std::string>;

const ChildEnvironment kHome = {{"KESTRA_HOME", KESTRA_BUILD_DIR "/home"}};

ChildResult Convert(Arguments arguments, std::string_view input = "", std::size_t piece = 0) {
  arguments.insert(arguments.begin(), "convert");
  return RunTool("kestra", arguments, input, kHome, piece);
}

struct Case {
  const char* what;
  const char* from;
  const char* to;
  const char* options;  // words between blanks
  std::string input;
  std::string out;
  int exit_code = 0;
  const char* in_report = "";  // parts between |; each must appear on standard error
};

std::string Bytes(const char* text, std::size_t size) { return {text, size}; }

const Case kCases[] = {
    {"our names", "WE8ISO8859P1", "AL32UTF8", "", "caf\xE9\n", "caf\xC3\xA9\n"},
    {"names in any case", "we8iso8859p1", "al32utf8", "", "\xE9", "\xC3\xA9"},
    {"registered aliases", "Latin1", "utf-8", "", "\xE9", "\xC3\xA9"},
    {"aliases with other punctuation", "iso 8859 1", "utf_8", "", "\xE9", "\xC3\xA9"},
    {"nothing at all", "utf-8", "latin1", "", "", ""},
    {"EBCDIC", "utf-8", "IBM1047", "", "ABC", "\xC1\xC2\xC3"},
    {"a character that the target lacks is replaced and reported with its place", "utf-8",
     "US7ASCII", "", "first\nsec\xC3\xB6nd \xE2\x82\xAC\n", "first\nsec?nd ?\n", 1,
     "2 places|standard input:2:4: byte 9: C3 B6: U+00F6 does not exist in US7ASCII|standard "
     "input:2:8: byte 14: E2 82 AC: U+20AC"},
    {"a supplementary character is one column", "utf-8", "US7ASCII", "", "\xF0\x9F\x98\x80\xC3\xA9",
     "??", 1, ":1:1: byte 0: F0 9F 98 80: U+1F600|:1:2: byte 4: C3 A9: U+00E9"},
    {"malformed input is told apart from unmappable", "utf-8", "AL16UTF16", "", "a\xFF\n",
     Bytes("\0a\xFF\xFD\0\n", 6), 1, "1 place|:1:2: byte 1: FF: not AL32UTF8 text"},
    {"a text that ends within a character", "utf-8", "AL16UTF16", "", "a\xE2\x82",
     Bytes("\0a\xFF\xFD", 4), 1,
     ":1:2: byte 1: E2 82: the text ends within a character of AL32UTF8"},
    {"half a UTF-16 code unit", "AL16UTF16", "utf-8", "", Bytes("\0a\0", 3), "a\xEF\xBF\xBD", 1,
     ":1:2: byte 2: 00: the text ends within a character of AL16UTF16"},
    {"a replacement character in the source is no loss", "utf-8", "AL16UTF16LE", "", "\xEF\xBF\xBD",
     "\xFD\xFF"},
    {"lines of UTF-16", "AL16UTF16LE", "US7ASCII", "", Bytes("a\0\n\0\x0A\x0A\xAC\x20", 8), "a\n??",
     1, ":2:1: byte 4: 0A 0A: U+0A0A|:2:2: byte 6: AC 20: U+20AC"},
    {"strict stops at the first", "utf-8", "US7ASCII", "--strict", "ab\xC3\xB6\xE2\x82\xAC", "ab",
     1, "stopped|:1:3: byte 2: C3 B6: U+00F6"},
    {"... also by the other name", "utf-8", "US7ASCII", "--on-error=stop", "ab\xC3\xB6\xE2\x82\xAC",
     "ab", 1, "stopped|:1:3: byte 2: C3 B6: U+00F6"},
    {"references for what the target lacks, which is no loss", "utf-8", "latin1", "--on-error=xml",
     "a\xC3\xB6\xE2\x82\xAC\xF0\x9F\x98\x80&\n", "a\xF6&#x20AC;&#x1F600;&\n"},
    {"... but malformed bytes are replaced and reported", "utf-8", "US7ASCII", "--on-error xml",
     "\xE2\x82\xAC\xFF\xE2\x82",
     "&#x20AC;?"
     "?",
     1, "2 places|:1:2: byte 3: FF: not AL32UTF8 text|:1:3: byte 4: E2 82: the text ends"},
    {"references in EBCDIC", "utf-8", "IBM1047", "--on-error=XML", "\xE2\x82\xAC",
     "\x50\x7B\xA7\xF2\xF0\xC1\xC3\x5E"},
    {"references return from a shift first", "utf-8", "ISO2022JP", "--on-error=xml",
     "\xE6\x97\xA5\xEA\xB0\x80\xE6\x97\xA5", "\x1B$BF|\x1B(B&#xAC00;\x1B$BF|\x1B(B"},
    {"left out", "utf-8", "US7ASCII", "--on-error=skip", "a\xC3\xB6\xFF\nb\xE2\x82", "a\nb", 1,
     "3 places could not be converted to US7ASCII and were left out|:1:2: byte 1: C3 B6|:1:3: byte "
     "3: FF|:2:2: byte 6: E2 82"},
    {"left out between shifts", "utf-8", "JA16IBM930", "--on-error=skip",
     "\xE4\xB8\x80\xEA\xB0\x80\xE4\xB8\x80", "\x0E\x45\x41\x45\x41\x0F", 1, "1 place"},
    {"nothing is transliterated unless it is asked for", "utf-8", "US7ASCII", "",
     "\xC3\xA9\xE2\x80\xA6", "??", 1, "2 places"},
    {"similar text", "utf-8", "US7ASCII", "--transliterate",
     "\xC3\x89t\xC3\xA9\xE2\x80\xA6 \xE2\x82\xAC 5 \xEF\xBC\xA1\xD0\x96", "Ete... EUR 5 A?", 1,
     "5 characters became similar text|1 place|D0 96: U+0416"},
    {"... only for what the target lacks, and the rest by reference", "utf-8", "latin1",
     "--transliterate --on-error=xml", "\xC3\xA9\xE2\x80\xA6\xD0\x96", "\xE9...&#x416;", 0,
     "1 character became similar text"},
    {"the rate on demand", "utf-8", "latin1", "--progress --quiet", "abc", "abc", 0,
     "kestra convert: 0.0 MB in |MB/s"},
    {"an unknown way", "utf-8", "latin1", "--on-error=ignore", "", "", 2, "--on-error|replace"},
    {"two ways", "utf-8", "latin1", "--on-error=skip --strict", "", "", 2, "--strict"},
    {"a mark is kept where it can be", "utf-8", "AL16UTF16", "",
     "\xEF\xBB\xBF"
     "a",
     Bytes("\xFE\xFF\0a", 4)},
    {"a mark goes where the target has none", "utf-8", "US7ASCII", "",
     "\xEF\xBB\xBF"
     "a",
     "a"},
    {"a mark is stripped on demand", "utf-8", "utf-8", "--bom strip",
     "\xEF\xBB\xBF"
     "a",
     "a"},
    {"a mark is added once", "utf-8", "AL16UTF16LE", "--bom=add",
     "\xEF\xBB\xBF"
     "a",
     Bytes("\xFF\xFE"
           "a\0",
           4)},
    {"UTF16 takes its order from the mark", "UTF16", "utf-8", "",
     Bytes("\xFF\xFE"
           "a\0",
           4),
     "a"},
    {"UTF16 without a mark is big-endian", "UTF16", "utf-8", "", Bytes("\0a", 2), "a"},
    {"a mark of the other order wins and is told", "AL16UTF16", "utf-8", "--bom strip",
     Bytes("\xFF\xFE"
           "a\0",
           4),
     "a", 0, "the byte-order mark says AL16UTF16LE"},
    {"an unknown set suggests the nearest", "WE8ISO8859P11", "utf-8", "", "", "", 2,
     "unknown character set 'WE8ISO8859P11'|WE8ISO8859P1"},
    {"a missing file", "utf-8", "latin1", "/no/such/file", "", "", 4, "/no/such/file: cannot open"},
    {"a directory", "utf-8", "latin1", "/", "", "", 4, "/: is a directory"},
    {"an unknown option suggests the nearest", "utf-8", "utf-8", "--stict", "", "", 2, "--strict"},
};

TEST(KestraConvert, Table) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    Arguments arguments = {"-f", c.from, "-t", c.to};
    std::istringstream options(c.options);
    for (std::string word; options >> word;) arguments.push_back(word);
    const ChildResult result = Convert(arguments, c.input);
    EXPECT_EQ(result.out, c.out);
    EXPECT_EQ(result.exit_code, c.exit_code) << result.err;
    std::istringstream report(c.in_report);
    for (std::string text; std::getline(report, text, '|');) {
      EXPECT_NE(result.err.find(text), std::string::npos) << text << "\nin\n" << result.err;
    }
    if (c.exit_code == 0 && *c.in_report == 0) {
      EXPECT_EQ(result.err, "");
    }
  }
  EXPECT_EQ(Convert({"-f", "utf-8"}).exit_code, 2);
}

// Text of several blocks with characters of every length, and with bytes that are no UTF-8.
std::string MixedText(std::size_t characters, bool damaged) {
  std::mt19937 random(7);
  const std::string parts[] = {"a", "\n", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xFF"};
  std::string text;
  for (std::size_t i = 0; i < characters; ++i) {
    const bool plain = random() % 16 != 0;
    text += parts[plain ? random() % 5 : damaged ? 5 : 0];
  }
  return text;
}

// Line, column and offset of each 0xFF, by walking the text one character at a time.
std::vector<std::string> PlacesOf(const std::string& text, std::size_t limit) {
  std::vector<std::string> places;
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t i = 0; i < text.size() && places.size() < limit;) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead == 0xFF) {
      places.push_back(":" + std::to_string(line) + ":" + std::to_string(column) + ": byte " +
                       std::to_string(i) + ": FF: not AL32UTF8 text");
    }
    ++column;
    if (lead == '\n') {
      ++line;
      column = 1;
    }
    i += lead == 0xFF || lead < 0x80 ? 1u : lead < 0xE0 ? 2u : lead < 0xF0 ? 3u : 4u;
  }
  return places;
}

TEST(KestraConvert, PlacesAreExactInLongInputThatArrivesInPieces) {
  const std::string text = MixedText(150'000, true);
  const std::vector<std::string> places = PlacesOf(text, SIZE_MAX);
  const Arguments arguments = {"-f", "utf-8", "-t", "utf-8", "--reports", "100000"};
  const ChildResult whole = Convert(arguments, text);
  EXPECT_EQ(whole.exit_code, 1);
  std::size_t at = 0;
  for (const std::string& place : places) {
    const std::size_t found = whole.err.find(place, at);
    ASSERT_NE(found, std::string::npos) << place;
    at = found;
  }
  EXPECT_NE(whole.err.find(std::to_string(places.size()) + " places"), std::string::npos);
  for (const std::size_t piece : {977u, 4093u, 65537u}) {
    const ChildResult pieces = Convert(arguments, text, piece);
    EXPECT_TRUE(pieces.out == whole.out) << piece;
    EXPECT_TRUE(pieces.err == whole.err) << piece;
  }
}

TEST(KestraConvert, ThereAndBackThroughUnicodeFormsLosesNothing) {
  const std::string text = MixedText(200'000, false);
  for (const char* set : {"AL16UTF16", "AL16UTF16LE", "UTF8", "AL32UTFEBCDIC"}) {
    const ChildResult there = Convert({"-f", "utf-8", "-t", set}, text);
    ASSERT_EQ(there.exit_code, 0) << set << there.err;
    const ChildResult back = Convert({"-f", set, "-t", "utf-8"}, there.out, 5003);
    EXPECT_EQ(back.exit_code, 0) << set << back.err;
    EXPECT_TRUE(back.out == text) << set;
  }
}

TEST(KestraConvert, SetsWithStatesRoundTripRealText) {
  struct {
    const char* text;
    const char* set;
  } const kTexts[] = {{"japanese", "ISO2022JP"},
                      {"japanese", "JA16IBM939"},
                      {"korean", "ISO2022KR"},
                      {"korean", "KO16IBM933"},
                      {"chinese", "ZS16IBM1388"}};
  for (const auto& c : kTexts) {
    SCOPED_TRACE(c.set);
    std::string text =
        ReadFile(KESTRA_SOURCE_DIR "/scripts/demo_text/" + std::string(c.text) + ".txt");
    for (int doubling = 0; doubling < 9; ++doubling) text += text;
    const ChildResult there = Convert({"-f", "utf-8", "-t", c.set, "--strict"}, text);
    ASSERT_EQ(there.exit_code, 0) << there.err;
    const ChildResult back = Convert({"-f", c.set, "-t", "utf-8", "--strict"}, there.out, 4099);
    EXPECT_EQ(back.exit_code, 0) << back.err;
    EXPECT_TRUE(back.out == text);
  }
}

TEST(KestraCharsets, Compare) {
  const auto compare = [](Arguments arguments) {
    arguments.insert(arguments.begin(), {"charsets", "--compare"});
    return RunTool("kestra", arguments, "", kHome);
  };
  const ChildResult latin = compare({"latin1", "WE8ISO8859P15"});
  EXPECT_EQ(latin.exit_code, 1);
  for (const char* text :
       {"WE8ISO8859P1 has 256 characters, WE8ISO8859P15 has 256; 248 are in both.",
        "Only in WE8ISO8859P1: 8", "U+00BC..U+00BE     \xC2\xBC\xC2\xBD\xC2\xBE",
        "Only in WE8ISO8859P15: 8", "U+20AC             \xE2\x82\xAC"}) {
    EXPECT_NE(latin.out.find(text), std::string::npos) << text << "\nin\n" << latin.out;
  }
  const ChildResult same = compare({"AL32UTF8", "AL16UTF16"});
  EXPECT_EQ(same.exit_code, 0);
  EXPECT_NE(same.out.find("1112064 are in both"), std::string::npos) << same.out;
  const ChildResult json = compare({"US7ASCII", "ISO2022KR", "--json"});
  for (const char* text : {"\"only_here\": 3", "\"U+000E..U+000F\"", "\"U+001B\"", "\"U+AC00"}) {
    EXPECT_NE(json.out.find(text), std::string::npos) << text << "\nin\n" << json.out;
  }
  EXPECT_EQ(compare({"latin1", "latin99"}).exit_code, 2);
  EXPECT_EQ(compare({"latin1"}).exit_code, 2);
}

TEST(KestraConvert, OutputFileIsReplacedWholeOrNotAtAll) {
  const ScratchDirectory scratch;
  const std::string target = scratch / "out";
  WriteFile(target, "old");
  chmod(target.c_str(), 0640);

  EXPECT_EQ(
      Convert({"-f", "utf-8", "-t", "US7ASCII", "--strict", "-o", target}, "a\xC3\xA9").exit_code,
      1);
  EXPECT_EQ(ReadFile(target), "old");
  EXPECT_EQ(
      Convert({"-f", "utf-8", "-t", "latin1", "-o", target, "-", "/no/such/file"}, "a").exit_code,
      4);
  EXPECT_EQ(ReadFile(target), "old");
  EXPECT_EQ(Convert({"-f", "utf-8", "-t", "latin1", "-o", target}, "\xC3\xA9").exit_code, 0);
  EXPECT_EQ(ReadFile(target), "\xE9");
  EXPECT_EQ(std::filesystem::status(target).permissions(), std::filesystem::perms(0640));
  // In place: the input is read before the output takes its name.
  EXPECT_EQ(Convert({"-f", "latin1", "-t", "utf-8", "-o", target, target}).exit_code, 0);
  EXPECT_EQ(ReadFile(target), "\xC3\xA9");
  // A link stays a link to the file that is replaced.
  const std::string link = scratch / "link";
  std::filesystem::create_symlink(target, link);
  EXPECT_EQ(Convert({"-f", "utf-8", "-t", "utf-8", "-o", link}, "new").exit_code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadFile(target), "new");
  // Nothing stays behind.
  std::size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
    ++entries;
  }
  EXPECT_EQ(entries, 2u);
}

TEST(KestraConvert, FullDiskIsAnInputOutputError) {
  for (const std::size_t size : {std::size_t{3}, std::size_t{1} << 20}) {
    const ChildResult result =
        Convert({"-f", "utf-8", "-t", "utf-8", "-o", "/dev/full"}, std::string(size, 'x'));
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
  }
}

TEST(KestraConvert, ReaderThatLeavesEndsItSilently) {
  const ScratchDirectory scratch;
  WriteFile(scratch / "big", std::string(1 << 20, 'x'));
  const std::string command = std::string(KESTRA_BUILD_DIR "/bin/kestra") +
                              " convert -f utf-8 -t utf-8 " + (scratch / "big") +
                              " | head -c 5 >/dev/null";
  const ChildResult result = RunTool("/bin/sh", {"-c", command}, "", kHome);
  EXPECT_EQ(result.err, "");
}

TEST(KestraConvert, ReportInJson) {
  const ChildResult result =
      Convert({"--json", "-f", "utf-8", "-t", "US7ASCII"}, "a\n\xE2\x82\xAC");
  EXPECT_EQ(result.out, "a\n?");
  EXPECT_EQ(result.exit_code, 1);
  for (const char* text : {"\"unconvertible\": 1", "\"offset\": 2", "\"line\": 2", "\"column\": 1",
                           "\"bytes\": \"E2 82 AC\"", "\"code_points\": \"U+20AC\"",
                           "\"reason\": \"not in target\"", "\"characters\": 3"}) {
    EXPECT_NE(result.err.find(text), std::string::npos) << text << "\nin\n" << result.err;
  }
}

}  // namespace
}  // namespace kestra::test
