// XML character references: written for what the destination lacks, and read back.
#include <random>

#include "tests/support/conversion_fixture.h"

namespace kestra::test {
namespace {

using LxgXml = ConversionTest;

struct XmlCase {
  const char* what;
  Converter convert;
  std::uint32_t to, from;
  std::string source, result;
  std::uint64_t characters;
  std::uint64_t first_replaced = kNone;
};

TEST_F(LxgXml, HandWorked) {
  const XmlCase cases[] = {
      {"what ASCII lacks", lxgxmlco, 1, 873, "a\xE2\x82\xAC<b>&amp;\xF0\x9F\x98\x80",
       "a&#x20AC;<b>&amp;&#x1F600;", 11},
      {"short and long digits", lxgxmlco, 1, 873, "\xC2\x80\xC3\xBF\xC4\x80\xF4\x8F\xBF\xBF",
       "&#x80;&#xFF;&#x100;&#x10FFFF;", 4},
      {"malformed is replaced", lxgxmlco, 1, 873, "\xC3\xA9\x80", "&#xE9;?", 2, 2},
      {"in a stateful set it shifts back", lxgxmlco, 900, 873,
       "\xE4\xB8\x80\xED\x95\x9C\xE4\xB8\x80",
       "\x0E\x45\x41\x0F\x50\x7B\xB7\xC4\xF5\xF5\xC3\x5E\x0E\x45\x41\x0F", 3},
      {"in ISO-2022 too", lxgxmlco, 9999, 873, "\xE6\x97\xA5\xED\x95\x9C", "\x1B$BF|\x1B(B&#xD55C;",
       2},
      {"in UTF-16 nothing is missing", lxgxmlco, 2000, 873, "\xE2\x82\xAC", "\x20\xAC", 1},
      {"both bases", lxgxmlcv, 873, 1, "a&#x20AC;&#8364;&#X20ac;",
       "a\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC", 4},
      {"markup stays", lxgxmlcv, 873, 1, "&#60;&#x26;&#x3E;&#34;&#39;&amp;&lt;",
       "&#60;&#x26;&#x3E;&#34;&#39;&amp;&lt;", 36},
      {"no character stays text", lxgxmlcv, 873, 1,
       "&#0;&#xD800;&#x110000;&#99999999999;&#;&#x;&#xG;& &#",
       "&#0;&#xD800;&#x110000;&#99999999999;&#;&#x;&#xG;& &#", 52},
      {"leading zeros, as far as they go", lxgxmlcv, 873, 1, "&#x00000000E9;&#x000000000000000E9;",
       "\xC3\xA9&#x000000000000000E9;", 22},
      {"what the destination lacks stays a reference", lxgxmlcv, 101, 1, "&#233;&#8364;&#x1F600;",
       "\xE9&#x20AC;&#x1F600;", 3},
      {"other characters are replaced as ever", lxgxmlcv, 1, 873, "\xC3\xA9&#65;", "?A", 2, 0},
      {"from a stateful set", lxgxmlcv, 873, 900, "\x50\x7B\xF2\xF3\xF3\x5E\x0E\x45\x41\x0F",
       "\xC3\xA9\xE4\xB8\x80", 2},
      {"an ampersand is no reference by itself", lxgxmlcv, 873, 2000,
       std::string("\0&\0#\0x\0E\0&\0#\0x\0E\0009\0;", 20), "&#xE\xC3\xA9", 5},
  };
  for (const XmlCase& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome got = Convert(c.to, c.from, c.source, 4096, 0, c.convert);
    EXPECT_EQ(got.bytes, c.result);
    EXPECT_EQ(got.error, 0u);
    EXPECT_EQ(got.status.consumed, c.source.size());
    EXPECT_EQ(got.status.characters_total, c.characters);
    EXPECT_EQ(got.status.first_replaced, c.first_replaced);
    EXPECT_EQ(got.status.replacement, c.first_replaced == kNone ? 0 : 1000);
  }
}

std::string RandomUtf8(std::mt19937& random, std::size_t characters) {
  std::string text;
  for (std::size_t i = 0; i < characters; ++i) {
    switch (random() % 5) {
      case 0:
        text += "\xE4\xB8\x80";
        break;
      case 1:
        text += "\xED\x95\x9C\xF0\x9F\x98\x80";
        break;
      case 2:
        text += random() % 2 == 0 ? "&#x" : "&#8364;";
        break;
      default:
        text += static_cast<char>(0x20 + random() % 0x5F);
    }
  }
  return text;
}

// Through a set that lacks much of it, a text comes back whole.
TEST_F(LxgXml, ReadsBackWhatItWrote) {
  std::mt19937 random(11);
  for (const std::uint32_t id : {1u, 101u, 300u, 854u, 900u, 904u, 9995u, 9998u}) {
    if (lxpcobj(id, session_.context()) == nullptr) continue;
    for (int i = 0; i < 100; ++i) {
      std::string text = RandomUtf8(random, 1 + random() % 900);
      for (char& c : text) c = c == '&' ? '+' : c;
      const std::string coded = Convert(id, 873, text, 60'000, 0, lxgxmlco).bytes;
      ASSERT_EQ(Convert(873, id, coded, 60'000, 0, lxgxmlcv).bytes, text) << id;
    }
  }
}

}  // namespace
}  // namespace kestra::test
