// lxhlinfo and lxhninfo: room, character sets, and every item of every language of the full data.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/convert.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

TEST(LxhQuery, EveryRoomGivesAPrefixCutAtACharacter) {
  NlsSession session;
  for (const char* specification :
       {"RUSSIAN_RUSSIA.AL32UTF8", "RUSSIAN_RUSSIA.CY8CP1251", "JAPANESE_JAPAN.AL32UTF8",
        "JAPANESE_JAPAN.AL16UTF16", "GERMAN_GERMANY.WE8IBM037", "JAPANESE_JAPAN.JA16SHIFTJIS"}) {
    SCOPED_TRACE(specification);
    lxhandle handle = session.Handle(specification);
    ASSERT_EQ(lxhlmod(&handle, "FRENCH", 6, KES_ITEM_DATE_LANGUAGE, 0, 0, session.context()), 1);
    const std::size_t unit = (handle.flags & KES_CHARSET_UTF16) != 0 ? 2 : 1;
    for (const std::uint32_t item : {0u, 18u, 60u, 61u, 69u, 80u, 82u, 112u, 143u}) {
      const std::string whole = session.Info(handle, item);
      for (std::size_t room = 0; room <= whole.size() + 8; ++room) {
        GuardedBuffer buffer(room);
        const std::size_t length = lxhlinfo(&handle, item, buffer.data(), room, session.context());
        const std::uint32_t error = session.context()->error;
        ASSERT_LE(length, room);
        EXPECT_EQ(std::memcmp(buffer.data(), whole.data(), length), 0);
        EXPECT_EQ(length % unit, 0u);
        const bool enough = room >= whole.size() && room >= 2 * unit;
        EXPECT_EQ(error, room == 0 || enough ? 0u : 6u) << item << " room " << room;
        EXPECT_TRUE(!enough || length == whole.size());
        // What was cut converts without damage.
        std::uint8_t text[1024];
        lxgcnv(text, lxpcobj(873, session.context()), sizeof text, buffer.data(),
               lxhcsobj(&handle, session.context()), length, session.context());
        EXPECT_EQ(session.context()->status.replacement, 0u);
      }
    }
  }
}

TEST(LxhQuery, Utf16FormsWithoutAnEntryAnswerZeros) {
  NlsSession session;
  for (const char* specification : {".UTF16", ".AL16UTF16LE"}) {
    const lxhandle handle = session.Handle(specification);
    for (const std::size_t room : {0u, 1u, 2u, 3u, 100u}) {
      std::uint8_t buffer[100];
      std::memset(buffer, '#', sizeof buffer);
      EXPECT_EQ(lxhlinfo(&handle, 60, buffer, room, session.context()), 0u);
      EXPECT_EQ(session.context()->error, room == 0 ? 0u : 20u);
      const std::size_t zeroed = std::min<std::size_t>(room, 2);
      for (std::size_t i = 0; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], i < zeroed ? 0 : '#');
    }
    EXPECT_EQ(lxhninfo(&handle, KES_ITEM_LONGEST_CHARACTER, session.context()), 4u);
  }
}

TEST(LxhQuery, ItemsOfKnownLocales) {
  NlsSession session;
  const struct {
    const char* handle;
    std::uint32_t item;
    const char* text;
  } texts[] = {
      {"GERMAN_AUSTRIA.AL32UTF8", 0, "Sonntag"},
      {"GERMAN_AUSTRIA.AL32UTF8", 13, "Sa."},
      {"GERMAN_AUSTRIA.AL32UTF8", 16, "M\xC3\xA4rz"},
      {"GERMAN_AUSTRIA.AL32UTF8", 28, "M\xC3\xA4rz"},
      {"GERMAN_AUSTRIA.AL32UTF8", 58, "de"},
      {"GERMAN_AUSTRIA.AL32UTF8", 59, "German"},
      {"GERMAN_AUSTRIA.AL32UTF8", 60, "GERMAN"},
      {"GERMAN_AUSTRIA.AL32UTF8", 61, "Deutsch"},
      {"GERMAN_AUSTRIA.AL32UTF8", 62, "WE8ISO8859P1"},
      {"GERMAN_AUSTRIA.AL32UTF8", 63, "GERMANY"},
      {"GERMAN_AUSTRIA.AL32UTF8", 70, "EUR"},
      {"GERMAN_AUSTRIA.AL32UTF8", 71, ", "},
      {"GERMAN_AUSTRIA.AL32UTF8", 78, "AUSTRIA"},
      {"GERMAN_AUSTRIA.AL32UTF8", 79, "AL32UTF8"},
      {"GERMAN_AUSTRIA.AL32UTF8", 80, "BINARY"},
      {"GERMAN_AUSTRIA.AL32UTF8", 81, "GREGORIAN"},
      {"GERMAN_AUSTRIA.AL32UTF8", 83, "LTR"},
      {"GERMAN_AUSTRIA.AL32UTF8", 84, ""},
      {"GERMAN_AUSTRIA.AL32UTF8", 85, "GERMAN"},
      {"GERMAN_AUSTRIA.AL32UTF8", 109, "GERMAN_AUSTRIA.AL32UTF8"},
      {"GERMAN_AUSTRIA.AL32UTF8", 110, "AT"},
      {"GERMAN_AUSTRIA.AL32UTF8", 121, "\xE2\x82\xAC"},
      {"GERMAN_AUSTRIA.AL32UTF8", 150, "de-AT"},
      {"AUSTRIAN GERMAN.AL32UTF8", 14, "J\xC3\xA4nner"},  // its own
      {"AUSTRIAN GERMAN.AL32UTF8", 1, "Montag"},          // from the parent
      {"AMERICAN_AMERICA.AL32UTF8", 37, "Dec"},
      {"AMERICAN_AMERICA.AL32UTF8", 76, "DD-MON-RR"},
      {"AMERICAN_AMERICA.AL32UTF8", 129, "DD-MON-RR FMHH:FMMI:SSXFF AM TZR"},
      {"FRENCH_FRANCE.AL32UTF8", 56, "oui"},
      // Genitive in a date, nominative alone.
      {"RUSSIAN_RUSSIA.AL32UTF8", 14, "\xD1\x8F\xD0\xBD\xD0\xB2\xD0\xB0\xD1\x80\xD1\x8F"},
      {"RUSSIAN_RUSSIA.AL32UTF8", 44, "\xD1\x8F\xD0\xBD\xD0\xB2\xD0\xB0\xD1\x80\xD1\x8C"},
      {"JAPANESE_JAPAN.AL32UTF8", 14, "1\xE6\x9C\x88"},
      {"JAPANESE_JAPAN.AL32UTF8", 70, "JPY"},
  };
  for (const auto& c : texts) {
    EXPECT_EQ(session.Info(session.Handle(c.handle), c.item), c.text) << c.handle << " " << c.item;
  }
  const lxhandle german = session.Handle("GERMAN_AUSTRIA.AL32UTF8");
  const struct {
    std::uint32_t item;
    std::uint32_t number;
  } numbers[] = {{60, 35}, {78, 40},  {79, 873}, {80, 0},  {81, 1},   {97, 1}, {98, 4},
                 {99, 2},  {100, 40}, {101, 4},  {102, 1}, {104, 12}, {105, 0}};
  for (const auto& c : numbers) {
    EXPECT_EQ(lxhninfo(&german, c.item, session.context()), c.number) << c.item;
    EXPECT_EQ(session.context()->error, 0u);
  }
  lxhninfo(&german, 0, session.context());
  EXPECT_EQ(session.context()->error, KES_NLS_UNKNOWN_ID);
  std::uint8_t buffer[16];
  for (const std::uint32_t item : {64u, 90u, 152u, 0xFFFFFFFFu}) {
    EXPECT_EQ(lxhlinfo(&german, item, buffer, sizeof buffer, session.context()), 0u);
    EXPECT_EQ(session.context()->error, KES_NLS_UNKNOWN_ID);
  }
}

// Every language and territory answers every item in UTF-8, and the same as big-endian UTF-16.
TEST(LxhQuery, WholeDataInTwoUnicodeForms) {
  NlsSession session(FullHome());
  ASSERT_EQ(session.start_error(), 0u);
  lxcontext* context = session.context();
  int languages = 0;
  for (std::uint32_t id = 1; id < 400; ++id) {
    const char* name = lxhid2name(KES_ITEM_LANGUAGE, id, context);
    if (name == nullptr) continue;
    ++languages;
    lxhandle utf8 = session.Handle(std::string(name) + ".AL32UTF8");
    lxhandle utf16 = session.Handle(std::string(name) + ".AL16UTF16");
    for (std::uint32_t item = 0; item < 152; ++item) {
      const std::string text = session.Info(utf8, item);
      if (context->error == KES_NLS_UNKNOWN_ID) continue;
      ASSERT_EQ(context->error, 0u) << name << " " << item;
      EXPECT_TRUE(item > 61 || item == 56 || item == 57 || text != "") << name << " " << item;
      if (item == KES_ITEM_CHARSET || item == KES_ITEM_NLS_LANG) continue;
      const std::string wide = session.Info(utf16, item);
      std::uint8_t back[1024];
      const std::size_t length = lxgcnv(back, lxpcobj(873, context), sizeof back,
                                        reinterpret_cast<const std::uint8_t*>(wide.data()),
                                        lxpcobj(2000, context), wide.size(), context);
      EXPECT_EQ(std::string(reinterpret_cast<char*>(back), length), text) << name << " " << item;
    }
  }
  EXPECT_GT(languages, 200);
}

}  // namespace
}  // namespace kestra::test
