// Parts of the command-line tool that can be asked directly: widths on the screen, suggestions, and
// the stream that converts block by block.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "session.h"
#include "suggest.h"
#include "support/terminal.h"
#include "text_stream.h"

namespace kestra::tools {
namespace {

TEST(Terminal, DisplayWidthCountsColumns) {
  struct {
    const char* text;
    std::size_t width;
  } const kCases[] = {
      {"", 0},
      {"abc", 3},
      {"\xC3\xA9", 1},                  // e acute
      {"e\xCC\x81", 1},                 // e and combining acute
      {"\xE6\x97\xA5\xE6\x9C\xAC", 4},  // two ideographs
      {"\xED\x95\x9C", 2},              // a Hangul syllable
      {"\xF0\x9F\x98\x80", 2},          // an emoji
      {"\xE0\xB8\x81\xE0\xB8\xB4", 1},  // Thai letter and vowel above
      {"\xFF", 1},                      // malformed
      {"a\xE2\x82", 3},                 // cut off
  };
  for (const auto& c : kCases) EXPECT_EQ(DisplayWidth(c.text), c.width) << c.text;
}

TEST(Terminal, PrintableDisarmsControlsAndKeepsText) {
  EXPECT_EQ(Printable("a\x1b[31mb\n\xC3\xA9\xFF"), "a\\x1B[31mb\\x0A\xC3\xA9\\xFF");
  EXPECT_EQ(Printable("\xC2\x9B"), "\\xC2\\x9B");  // a control sequence introducer in one character
}

TEST(Suggest, NearestNamesComeFirst) {
  const std::vector<std::string> names = {"GERMAN",   "GERMANY",      "FRENCH",       "ROMANSH",
                                          "AL32UTF8", "WE8ISO8859P1", "WE8ISO8859P15"};
  struct {
    const char* name;
    std::vector<std::string> nearest;
  } const kCases[] = {
      {"GERMN", {"GERMAN", "GERMANY"}},
      {"german", {"GERMAN", "GERMANY"}},
      {"FRNECH", {"FRENCH"}},
      {"AL32UTF", {"AL32UTF8"}},
      {"WE8ISO8859P51", {"WE8ISO8859P1", "WE8ISO8859P15"}},
      {"KLINGON", {}},
      {"", {}},
  };
  for (const auto& c : kCases) EXPECT_EQ(Nearest(c.name, names), c.nearest) << c.name;
  EXPECT_EQ(DidYouMean("GERMN", names), "; did you mean GERMAN or GERMANY?");
  EXPECT_EQ(DidYouMean("KLINGON", names), "");
}

class Collector : public ByteSink {
 public:
  std::span<std::uint8_t> Room(std::size_t) override { return buffer_; }
  void Advance(std::size_t written) override {
    text.append(reinterpret_cast<const char*>(buffer_.data()), written);
  }
  std::string text;

 private:
  std::vector<std::uint8_t> buffer_ = std::vector<std::uint8_t>(64);
};

std::string Places(const TextStream& stream) {
  std::string text;
  for (const Trouble& t : stream.troubles()) {
    text += std::to_string(t.offset) + "/" + std::to_string(t.line) + "/" +
            std::to_string(t.column) +
            (t.cut         ? " cut "
             : t.malformed ? " bad "
                           : " lost ") +
            HexBytes(t.bytes) + "\n";
  }
  return text + std::to_string(stream.characters()) + " characters";
}

class TextStreamTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/home", 1); }

  // The text in pieces that end at the given offsets.
  std::string Run(const std::string& text, const char* from, const char* to,
                  const std::vector<std::size_t>& ends) {
    Session session;
    const Charset source = session.FindCharset(from);
    const Charset target = session.FindCharset(to);
    TextStream stream(session, source, target, {});
    Collector sink;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    std::size_t used = 0;
    for (const std::size_t end : ends) {
      used += stream.Convert(std::span(bytes + used, end - used), true, sink);
    }
    used += stream.Convert(std::span(bytes + used, text.size() - used), false, sink);
    EXPECT_EQ(used, text.size());
    EXPECT_EQ(stream.offset(), text.size());
    return sink.text + "\n" + Places(stream);
  }
};

TEST_F(TextStreamTest, EverySplitGivesTheSame) {
  struct {
    const char* from;
    const char* to;
    std::string text;
  } const kCases[] = {
      {"utf-8", "US7ASCII", "a\xC3\xA9\n\xE2\x82\xAC\xF0\x9F\x98\x80\xFFz\n\xE2\x82"},
      {"utf-8", "AL16UTF16", "\xF0\x9F\x98\n\xED\xA0\x80\xC0\x80q\xF4\x90\x80\x80"},
      {"AL16UTF16LE", "utf-8", std::string("a\0\n\0\x3D\xD8\0\xDE\x3D\xD8z\0\0", 13)},
      {"AL16UTF16", "JA16SHIFTJIS",
       std::string("\x65\xE5\x67\x2C\xD8\x3D\xDE\x00\0\n\x30\x42", 12)},
      {"JA16SHIFTJIS", "utf-8", "\x93\xFA\x96\x7B\n\xB1\x85\x40\x80\xFF\x93"},
      {"ZS16GBK", "latin1", "\xB5\xDA\x81\x30\xFF\n\xD2\xBB"},
      {"IBM1047", "utf-8", "\xC1\x15\xC2\x25\xC3"},
      {"WE8ISO8859P1", "utf-8", "\xE9\n\xFF\x80"},
      {"utf-8", "JA16IBM939", "a\xE6\x97\xA5\xE6\x9C\xAC\nb\xE2\x82\xAC\xE6\x97\xA5"},
      {"utf-8", "ISO-2022-JP", "a\xE6\x97\xA5\xE6\x9C\xAC\nb\xE2\x82\xAC\xE6\x97\xA5\xFF"},
      {"ISO-2022-JP", "utf-8", "a\x1B$BF|K\\\x1B(B\nb\x1B$BF|\x1B(B\x80z"},
      {"ISO2022KR", "utf-8", "\x1B$)Ca\x0EGQ\x0F\nb\x0EGQ\x0F\x80z"},
      {"JA16IBM939", "ISO-2022-JP", "\x81\x0E\x45\xC6\x45\xB6\x0F\x25\x82\x0E\x45\xC6\x0F\xFF\x81"},
  };
  for (const auto& c : kCases) {
    const std::string whole = Run(c.text, c.from, c.to, {});
    for (std::size_t i = 0; i <= c.text.size(); ++i) {
      EXPECT_EQ(Run(c.text, c.from, c.to, {i}), whole) << c.from << " split at " << i;
      for (std::size_t j = i; j <= c.text.size(); ++j) {
        EXPECT_EQ(Run(c.text, c.from, c.to, {i, j}), whole) << c.from << " at " << i << ", " << j;
      }
    }
  }
}

TEST_F(TextStreamTest, EbcdicLinesEndAtNewLineAndLineFeed) {
  // A, next line, B, line feed, and a byte that IBM1047 has but ASCII has not.
  const std::string text = "\xC1\x15\xC2\x25\xC3\x4A";
  EXPECT_EQ(Run(text, "IBM1047", "US7ASCII", {}),
            "A?B\nC?\n1/1/2 lost 15\n5/3/2 lost 4A\n6 characters");
}

}  // namespace
}  // namespace kestra::tools
