// Reading source files: tables, charmaps, maps; what is malformed is named with file and line.
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/charmap.h"
#include "tools/nlsc/input.h"

namespace kestra::nlsc {
namespace {

using test::ScratchDirectory;

// The message of the InputError that an action throws, or "" when it does not.
template <typename Action>
std::string MessageOf(const Action& action) {
  try {
    action();
  } catch (const InputError& error) {
    return error.what();
  }
  return "";
}

TEST(NlscTable, ReadsQuotedFields) {
  const SourceText source{"t.csv", "id,name,note\r\n1,\"a, \"\"b\"\"\",\n\n2,,\"\"\n"};
  const Table table(source);
  ASSERT_EQ(table.rows().size(), 2u);
  EXPECT_EQ(table.rows()[0].Number("id"), 1u);
  EXPECT_EQ(table.rows()[0]["name"], "a, \"b\"");
  EXPECT_EQ(table.rows()[0]["note"], "");
  EXPECT_EQ(table.rows()[1]["note"], "");
}

TEST(NlscTable, NamesFileAndLineOfAFault) {
  const auto read = [](const char* text, const char* column) {
    return MessageOf([&] {
      const SourceText source{"t.csv", text};
      const Table table(source);
      for (const Table::Row& row : table.rows()) row.Number(column);
    });
  };
  EXPECT_EQ(read("id,name\n1,a\n2\n", "id"), "t.csv:3: 1 fields where the header has 2");
  EXPECT_EQ(read("id,name\n1,\"a\n", "id"), "t.csv:2: a quoted field does not end");
  EXPECT_EQ(read("id\n1\n-1\n", "id"), "t.csv:3: column id is not a number: \"-1\"");
  EXPECT_EQ(read("id\n99999999999\n", "id"), "t.csv:2: column id is not a number: \"99999999999\"");
  EXPECT_EQ(read("id\n1\n", "name"), "t.csv:1: has no column name");
  EXPECT_EQ(read("", "id"), "t.csv: has no header row");
}

TEST(NlscCharmap, ReadsRangesOneWayMappingsAndComments) {
  const std::vector<Mapping> mappings =
      ReadCharmap({"X",
                   "<code_set_name> X\nCHARMAP\n% comment\n<U0041>..<U0043>  /x61 LETTERS\n"
                   "%IRREVERSIBLE%<UFF21> /x61\n<U00010000>\t/x8f/xa1/xfe\n%<U0044> /x64\n"
                   "END CHARMAP\nWIDTH\n<U0045> 2\n"});
  ASSERT_EQ(mappings.size(), 5u);
  EXPECT_EQ(mappings[2].code, U'C');
  EXPECT_EQ(mappings[2].bytes, 0x63u);
  EXPECT_TRUE(mappings[3].decode_only);
  EXPECT_FALSE(mappings[4].decode_only);
  EXPECT_EQ(mappings[4].bytes, 0x8FA1FEu);
  EXPECT_EQ(mappings[4].length, 3u);
  EXPECT_EQ(mappings[4].code, char32_t{0x10000});
}

TEST(NlscCharmap, RefusesWhatItCannotMean) {
  const struct {
    const char* text;
    const char* message;
  } kCases[] = {
      {"<U0041> x61\n", "X:1: a byte /xHH is expected"},
      {"<U0041> /x6\n", "X:1: not 1 to 4 bytes /xHH"},
      {"<U0041> /x61/x62/x63/x64/x65\n", "X:1: not 1 to 4 bytes /xHH"},
      {"<U0041> /x61junk\n", "X:1: text after the bytes"},
      {"<UD800> /x61\n", "X:1: not a code point of a character"},
      {"<U110000> /x61\n", "X:1: not a code point of a character"},
      {"<U0041 /x61\n", "X:1: not a code point of a character"},
      {"<U0043>..<U0041> /x61\n",
       "X:1: a range that ends before it begins or leaves its last byte"},
      {"<U0041>..<U0043> /xfe\n",
       "X:1: a range that ends before it begins or leaves its last byte"},
      {"<U0041> /x61\nnonsense\n", "X:2: neither a mapping nor a comment"},
      {"CHARMAP\nEND CHARMAP\n", "X:2: the charmap has no mappings"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(MessageOf([&] { ReadCharmap({"X", c.text}); }), c.message) << c.text;
  }
}

TEST(NlscMap, ReadsAndRefuses) {
  const std::vector<Mapping> mappings = ReadMap({"M", "# comment\n41 0041\n!8FA2AF 02D8\n"});
  ASSERT_EQ(mappings.size(), 2u);
  EXPECT_TRUE(mappings[1].decode_only);
  EXPECT_EQ(mappings[1].length, 3u);
  for (const char* text : {"4 0041\n", "41\n", "41 D800\n", "41 110000\n", "4142434445 0041\n",
                           "41 \n", "XX 0041\n", "# nothing\n"}) {
    EXPECT_NE(MessageOf([&] { ReadMap({"M", text}); }), "") << text;
  }
}

TEST(NlscSources, TakesCompressedAndPlainFilesAndComparesThemWithTheManifest) {
  const ScratchDirectory folder;
  const std::string text = "<U0041> /x41\n";
  const gzFile packed = gzopen((folder / "A.gz").c_str(), "wb");
  gzwrite(packed, text.data(), static_cast<unsigned>(text.size()));
  gzclose(packed);
  test::WriteFile(folder / "B", text);
  Sources recorder(folder.path(), {}, VersionCheck::kRecord);
  EXPECT_EQ(recorder.Read("A.gz").text, text);
  EXPECT_EQ(recorder.Read("B.gz").text, text);  // found without its suffix
  EXPECT_NE(MessageOf([&] { recorder.Read("C.gz"); }).find("is missing"), std::string::npos);

  test::WriteFile(folder / "manifest.csv", FormatManifest(recorder.recorded()));
  const Manifest manifest = ReadManifest(folder / "manifest.csv");
  EXPECT_EQ(manifest, recorder.recorded());
  Sources strict(folder.path(), manifest, VersionCheck::kStrict);
  EXPECT_EQ(strict.Read("A.gz").text, text);
  test::WriteFile(folder / "B", text + " ");
  EXPECT_NE(MessageOf([&] { strict.Read("B.gz"); }).find("--allow-version-change"),
            std::string::npos);
  Sources lenient(folder.path(), manifest, VersionCheck::kAllowChange);
  EXPECT_EQ(lenient.Read("B.gz").text, text + " ");
  EXPECT_EQ(lenient.warnings().size(), 1u);
}

TEST(NlscSources, ReportsACutCompressedFile) {
  const ScratchDirectory folder;
  const gzFile packed = gzopen((folder / "whole.gz").c_str(), "wb");
  for (int i = 0; i < 1000; ++i) gzprintf(packed, "<U%04X> /x41\n", i * 7919 % 50000);
  gzclose(packed);
  const std::string bytes = test::ReadFile(folder / "whole.gz");
  for (const std::size_t size : {bytes.size() - 1, bytes.size() / 2, std::size_t{30}}) {
    test::WriteFile(folder / "cut.gz", std::string_view(bytes).substr(0, size));
    EXPECT_NE(MessageOf([&] { ReadText(folder / "cut.gz"); }).find("cannot be read"),
              std::string::npos)
        << size;
  }
}

}  // namespace
}  // namespace kestra::nlsc
