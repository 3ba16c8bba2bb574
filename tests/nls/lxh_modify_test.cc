// lxhlmod and what the query then answers.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

class LxhModify : public ::testing::Test {
 protected:
  int Set(lxhandle& handle, std::uint32_t item, std::string_view value, bool reset = false) {
    return lxhlmod(&handle, value.data(), value.size(), item, 0, reset ? 1 : 0, session_.context());
  }
  std::uint32_t error() { return session_.context()->error; }
  std::string Info(const lxhandle& handle, std::uint32_t item) {
    return session_.Info(handle, item);
  }
  NlsSession session_;
};

struct ItemCase {
  std::uint32_t item;
  const char* value;
  int result;
  std::uint32_t error;
  const char* answer;  // afterwards
};
// On GERMAN_GERMANY.WE8ISO8859P1.
constexpr ItemCase kItems[] = {
    {108, "ViSuAl", 1, 0, "VISUAL"},
    {108, "logical", 1, 0, "LOGICAL"},
    {108, "visualx", 0, 25, "LOGICAL"},
    {108, "visua", 0, 25, "LOGICAL"},
    {119, "ansi", 1, 0, "ANSI"},
    {119, "LINGUISTIC", 1, 0, "LINGUISTIC"},
    {119, "binary", 1, 0, "BINARY"},
    {119, "ling", 0, 29, "BINARY"},
    {130, "char", 1, 0, "CHAR"},
    {130, "BYTE", 1, 0, "BYTE"},
    {130, "bytes", 0, 31, "BYTE"},
    {131, "TRUE", 1, 0, "TRUE"},
    {131, "1", 0, 32, "FALSE"},
    {132, "true", 1, 0, "TRUE"},
    {132, "yes", 0, 33, "FALSE"},
    {69, "EUR ", 1, 0, "EUR "},
    {70, "XXX", 1, 0, "XXX"},
    {76, "YYYY-MM-DD", 1, 0, "YYYY-MM-DD"},
    {126, "HH24", 1, 0, "HH24"},
    {129, "TZR", 1, 0, "TZR"},
    {71, ". ", 1, 0, ". "},
    {71, ".,;", 1, 0, ".,"},
    {71, "..", 0, 0, ",."},
    {71, ".", 0, 0, ",."},
    {71, "+,", 0, 0, ",."},
    {71, ",-", 0, 0, ",."},
    {71, "<,", 0, 0, ",."},
    {71, ",>", 0, 0, ",."},
    {71, "1,", 0, 0, ",."},
    {71, ",9", 0, 0, ",."},
    {77, "FRENCH", 1, 0, "FRENCH"},
    {77, "french_FRANCE.UTF8", 1, 0, "FRENCH"},
    {77, "KLINGON", 0, 26, "GERMAN"},
    {85, "FRENCH", 1, 0, "FRENCH"},
    {85, "KLINGON", 0, 26, "GERMAN"},
    {78, "FRANCE", 1, 0, "FRANCE"},
    {78, "NOWHERE", 1, 0, "GERMANY"},
    {79, "UTF8", 1, 0, "UTF8"},
    {79, "NOSUCHSET", 1, 0, "WE8ISO8859P1"},
    {80, "russian", 1, 0, "RUSSIAN"},
    {80, "SPANISH_CI", 1, 0, "SPANISH_CI"},
    {80, "German Phonebook_ai", 1, 0, "GERMAN PHONEBOOK_AI"},
    {80, "SPANISH_XX", 0, 26, "BINARY"},
    {80, "SPANISH_S1", 0, 26, "BINARY"},
    {80, "BINARY_AI", 1, 0, "BINARY_AI"},
    {80, "BINARY_S1", 0, 26, "BINARY"},
    {80, "UCA ROOT_s2_by", 1, 0, "UCA ROOT_S2_BY"},
    {80, "UCA ROOT_CI", 1, 0, "UCA ROOT_CI"},
    {80, "UCA ROOT_S5", 0, 26, "BINARY"},
    {80, "UCA ROOT_S1_S1", 0, 26, "BINARY"},
    {80, "UCA ROOT_S", 0, 26, "BINARY"},
    {80, "NOSUCHSORT", 0, 26, "BINARY"},
    {81, "BUDDHIST", 1, 0, "BUDDHIST"},
    {81, "gregorian", 1, 0, "GREGORIAN"},
    {81, "MAYAN", 0, 26, "GREGORIAN"},
    {109, "FRENCH_FRANCE.UTF8", 1, 0, "FRENCH_FRANCE.UTF8"},
    {109, ".UTF8", 1, 0, "GERMAN_GERMANY.UTF8"},
    {109, "FRENCH_NOWHERE.UTF8", 0, 19, "GERMAN_GERMANY.WE8ISO8859P1"},
};

TEST_F(LxhModify, EachItemTakesAndRefusesValues) {
  const lxhandle fresh = session_.Handle("GERMAN_GERMANY.WE8ISO8859P1");
  for (const ItemCase& c : kItems) {
    SCOPED_TRACE(std::to_string(c.item) + " " + c.value);
    lxhandle handle = fresh;
    EXPECT_EQ(Set(handle, c.item, c.value), c.result);
    EXPECT_EQ(error(), c.error);
    EXPECT_EQ(Info(handle, c.item), c.answer);
    EXPECT_TRUE(c.result == 1 || std::memcmp(&handle, &fresh, sizeof handle) == 0);
    // Back to the default.
    EXPECT_EQ(lxhlmod(&handle, nullptr, 0, c.item, 0, 0, session_.context()), 0);
    if (c.item == 109 || c.item == 85) continue;
    EXPECT_EQ(lxhlmod(&handle, nullptr, 0, c.item, 0, 1, session_.context()), 1);
    EXPECT_EQ(Info(handle, c.item), Info(fresh, c.item));
  }
}

TEST_F(LxhModify, ItemsOutsideTheListAreRefused) {
  const lxhandle fresh = session_.Handle("GERMAN");
  for (std::uint32_t item = 0; item < 200; ++item) {
    const bool known = (item >= 69 && item <= 81 && item != 82) || item == 85 || item == 108 ||
                       item == 109 || item == 119 || item == 121 || (item >= 126 && item <= 132);
    lxhandle handle = fresh;
    const int result = Set(handle, item, "\x01");
    if (known) continue;
    EXPECT_EQ(result, 0) << item;
    EXPECT_EQ(error(), KES_NLS_UNKNOWN_ID) << item;
    EXPECT_EQ(std::memcmp(&handle, &fresh, sizeof handle), 0) << item;
  }
  EXPECT_EQ(lxhlmod(nullptr, "x", 1, 69, 0, 0, session_.context()), 0);
}

TEST_F(LxhModify, TextsHoldTheirRoomAndNotAByteMore) {
  lxhandle handle = session_.Handle("GERMAN");
  for (const std::size_t length : {254u, 255u, 256u, 4096u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(Set(handle, 76, text), length <= 255 ? 1 : 0);
    EXPECT_EQ(error(), length <= 255 ? 0u : std::uint32_t{KES_NLS_DESTINATION_FULL});
    EXPECT_EQ(Info(handle, 76), std::string(std::min<std::size_t>(length, 255), 'x'));
  }
}

TEST_F(LxhModify, NumericCharactersOfOtherSets) {
  lxhandle utf16 = session_.Handle("GERMAN_GERMANY.AL16UTF16");
  EXPECT_EQ(Set(utf16, 71, std::string_view("\0.\0,", 4)), 1);
  EXPECT_EQ(Info(utf16, 71), std::string("\0.\0,", 4));
  EXPECT_EQ(Set(utf16, 71, std::string_view("\0.\0.", 4)), 0);
  EXPECT_EQ(Set(utf16, 71, std::string_view("\0.\0", 3)), 0) << "half a code unit";
  lxhandle utf8 = session_.Handle("GERMAN_GERMANY.AL32UTF8");
  EXPECT_EQ(Set(utf8, 71, "\xD9\xAB\xD9\xACx"), 1) << "Arabic decimal and thousands separators";
  EXPECT_EQ(Info(utf8, 71), "\xD9\xAB\xD9\xAC");
  EXPECT_EQ(Set(utf8, 71, "\xD9\xAB\xD9"), 0) << "second character cut off";
  lxhandle ebcdic = session_.Handle("GERMAN_GERMANY.WE8IBM037");
  EXPECT_EQ(Set(ebcdic, 71, "\x4B\x6B"), 1) << ". and , in EBCDIC";
  EXPECT_EQ(Set(ebcdic, 71, "\x4E\x6B"), 0) << "+ in EBCDIC";
  EXPECT_EQ(Set(ebcdic, 71, "\xF1\x6B"), 0) << "1 in EBCDIC";
}

// The fixed data has no set with a shift state. 43 41 and 43 4B are two characters of this one.
TEST(LxhModifyFullData, NumericCharactersOfASetWithShiftState) {
  NlsSession session(FullHome());
  constexpr struct {
    const char* what;
    const char* given;
    const char* stored;  // null: refused
  } kCases[] = {
      {"base state", "4B 6B", "4B 6B"},
      {"what follows is left", "4B 6B C1", "4B 6B"},
      {"both shifted, with the return", "0E 43 41 43 4B 0F", "0E 43 41 43 4B 0F"},
      {"... which is added where it is missing", "0E 43 41 43 4B", "0E 43 41 43 4B 0F"},
      {"... and where more characters follow", "0E 43 41 43 4B 43 41", "0E 43 41 43 4B 0F"},
      {"one of each", "4B 0E 43 41 0F", "4B 0E 43 41 0F"},
      {"... the other way round", "0E 43 41 0F 6B", "0E 43 41 0F 6B"},
      {"the same character twice", "0E 43 41 43 41 0F", nullptr},
      {"half a character", "4B 0E 43", nullptr},
      {"only shifts behind the first", "4B 0E 0F", nullptr},
      {"only shifts", "0E 0F", nullptr},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    lxhandle handle = session.Handle("JAPANESE_JAPAN.JA16IBM930");
    const std::string before = session.Info(handle, 71);
    const std::vector<std::uint8_t> bytes = Bytes(c.given);
    const int done = lxhlmod(&handle, reinterpret_cast<const char*>(bytes.data()), bytes.size(), 71,
                             0, 0, session.context());
    EXPECT_EQ(done, c.stored != nullptr ? 1 : 0);
    const std::string after = session.Info(handle, 71);
    const auto* stored = reinterpret_cast<const std::uint8_t*>(after.data());
    if (c.stored == nullptr) {
      EXPECT_EQ(after, before);
    } else {
      EXPECT_EQ(Hex(stored, after.size()), c.stored);
    }
  }
}

TEST_F(LxhModify, CharacterSetCarriesTheTextsOver) {
  lxhandle handle = session_.Handle("GERMAN_GERMANY.WE8ISO8859P1");
  ASSERT_EQ(Set(handle, 69, "\xA3"), 1);  // pound sign
  ASSERT_EQ(Set(handle, 79, "AL32UTF8"), 1);
  EXPECT_EQ(Info(handle, 69), "\xC2\xA3");
  ASSERT_EQ(Set(handle, 79, "AL16UTF16"), 1);
  EXPECT_EQ(Info(handle, 69), std::string("\0\xA3", 2));
  ASSERT_EQ(Set(handle, 79, "WE8ISO8859P1"), 1);
  EXPECT_EQ(Info(handle, 69), "\xA3");
  EXPECT_EQ(Info(handle, 70), "EUR") << "a text that was not set is the territory's";
}

TEST_F(LxhModify, WhatFollowsATerritoryOrACalendar) {
  lxhandle handle = session_.Handle("GERMAN_GERMANY.AL32UTF8");
  const std::string german_format = Info(handle, 76);
  ASSERT_EQ(Set(handle, 76, "YYYY"), 1);
  ASSERT_EQ(Set(handle, 81, "BUDDHIST"), 1);
  EXPECT_NE(Info(handle, 76), "YYYY");
  EXPECT_EQ(Info(handle, 76), Info(handle, KES_ITEM_CALENDAR_DATE_FORMAT));
  ASSERT_EQ(Set(handle, 76, "MM"), 1);
  EXPECT_EQ(Info(handle, 76), "MM");
  ASSERT_EQ(Set(handle, 81, "GREGORIAN"), 1);
  EXPECT_EQ(Info(handle, 76), german_format);
  ASSERT_EQ(Set(handle, 69, "x"), 1);
  ASSERT_EQ(Set(handle, 78, "FRANCE"), 1);
  EXPECT_EQ(Info(handle, 69), "\xE2\x82\xAC") << "euro sign of the new territory";
  EXPECT_EQ(Info(handle, KES_ITEM_LOCALE_TAG), "de-FR");
  lxhandle austrian = session_.Handle("AUSTRIAN GERMAN");
  EXPECT_EQ(Info(austrian, KES_ITEM_LOCALE_TAG), "de-AT");
}

TEST_F(LxhModify, SortFlagsMakeTheCollationIdentifier) {
  lxhandle handle = session_.Handle("GERMAN");
  Set(handle, 80, "UCA ROOT_S4_BY");
  EXPECT_EQ(handle.sort_flags, 0x430000u);
  Set(handle, 80, "SPANISH_CI");
  EXPECT_EQ(handle.sort_flags, 0x20000u);
  Set(handle, 80, "BINARY");
  EXPECT_EQ(handle.sort_flags, 0u);
  EXPECT_EQ(handle.sort_slot, 0u);
  std::uint32_t flags = 0;
  std::size_t length = 0;
  EXPECT_EQ(lxpsget("UCA ROOT_AI", 11, &flags, &length, session_.context()), 1000u);
  EXPECT_EQ(flags, 0x10000u);
  EXPECT_EQ(length, 8u);
}

}  // namespace
}  // namespace kestra::test
