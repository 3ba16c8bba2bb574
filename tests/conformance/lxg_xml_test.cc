// XML character references: written for what the destination lacks, and read back.
#include <gtest/gtest.h>

#include <random>

#include "kestra/convert.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

using Converter = decltype(&lxgxmlco);

class LxgXml : public testing::Test {
 protected:
  std::string Convert(Converter convert, std::uint32_t to, std::uint32_t from,
                      std::string_view source, std::size_t room = 4096, std::uint32_t options = 0) {
    GuardedBuffer out(room);
    const lxobject* destination = lxpcobj(to, session_.context());
    const lxobject* origin = lxpcobj(from, session_.context());
    const std::size_t n =
        convert(out.data(), destination, room, reinterpret_cast<const std::uint8_t*>(source.data()),
                origin, source.size(), options, session_.context());
    EXPECT_LE(n, room);
    return std::string(reinterpret_cast<char*>(out.data()), n);
  }
  const lxstatus& status() { return session_.context()->status; }
  std::uint32_t error() { return session_.context()->error; }

  NlsSession session_{FullHome()};
};

struct XmlCase {
  const char* what;
  Converter convert;
  std::uint32_t to, from;
  std::string source, result;
  std::uint64_t characters;
  std::uint64_t first_replaced = UINT64_MAX;
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
    EXPECT_EQ(Convert(c.convert, c.to, c.from, c.source), c.result);
    EXPECT_EQ(error(), 0u);
    EXPECT_EQ(status().consumed, c.source.size());
    EXPECT_EQ(status().characters_total, c.characters);
    EXPECT_EQ(status().first_replaced, c.first_replaced);
    EXPECT_EQ(status().replacement, c.first_replaced == UINT64_MAX ? 0 : 1000);
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
      const std::string coded = Convert(lxgxmlco, id, 873, text, 60'000);
      ASSERT_EQ(Convert(lxgxmlcv, 873, id, coded, 60'000), text) << id;
    }
  }
}

TEST_F(LxgXml, EveryRoomAndEveryCut) {
  std::mt19937 random(12);
  for (const Converter convert : {lxgxmlco, lxgxmlcv}) {
    for (const std::uint32_t id : {1u, 900u, 9999u}) {
      const std::string text = RandomUtf8(random, 40) + "&#x20AC;";
      const std::string whole = Convert(convert, id, 873, text);
      const lxstatus wanted = status();
      for (std::size_t room = 0; room <= whole.size() + 8; ++room) {
        const std::string cut = Convert(convert, id, 873, text, room);
        const std::uint64_t consumed = status().consumed;
        EXPECT_EQ(error(), room >= whole.size() ? 0u : 6u) << room;
        const std::string rest = Convert(convert, id, 873, text.substr(consumed));
        const std::string both = Convert(lxgcnvb, 873, id, cut) + Convert(lxgcnvb, 873, id, rest);
        EXPECT_EQ(both, Convert(lxgcnvb, 873, id, whole)) << room;
      }
      for (std::size_t at = 0; at <= text.size(); ++at) {
        std::string joined = Convert(convert, id, 873, text.substr(0, at), 4096, KES_CONVERT_MORE);
        const lxstatus first = status();
        joined +=
            Convert(convert, id, 873, text.substr(first.consumed), 4096, KES_CONVERT_CONTINUE);
        EXPECT_EQ(joined, whole) << "cut at " << at;
        EXPECT_EQ(first.consumed + status().consumed, text.size());
        EXPECT_EQ(first.characters_total + status().characters_total, wanted.characters_total);
      }
    }
  }
}

}  // namespace
}  // namespace kestra::test
