// Number text in the language of a handle.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/number_format.h"
#include "kestra/number_locale.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

std::string Shown(const lnxspan& span) {
  return std::string(reinterpret_cast<const char*>(span.bytes), span.length);
}

std::string InModel(const char* model, const char* value, const lnxsymbols& symbols) {
  std::uint8_t number[22];
  std::size_t length = 0;
  lnxmodel compiled;
  const auto bytes = [](const char* text) { return reinterpret_cast<const std::uint8_t*>(text); };
  EXPECT_EQ(lnxfromtext(bytes(value), std::strlen(value), nullptr, number, &length, nullptr), 0);
  EXPECT_EQ(lnxfmtcompile(bytes(model), std::strlen(model), &compiled, nullptr), 0);
  std::uint8_t out[200];
  std::size_t outlen = 0;
  EXPECT_EQ(lnxfmtwrite(number, length, &compiled, &symbols, out, sizeof out, &outlen), 0);
  return std::string(out, out + outlen);
}

TEST(LxhNumber, FormatsInTheLanguageOfTheHandle) {
  NlsSession session(FullHome());
  const struct {
    const char* specification;
    const char* model;
    const char* text;
  } cases[] = {
      {"AMERICAN_AMERICA.AL32UTF8", "FML9G999G999D00", "$1,234,567.80"},
      {"GERMAN_GERMANY.AL32UTF8", "FM9G999G999D00L", "1.234.567,80\xE2\x82\xAC"},
      {"GERMAN_GERMANY.WE8CP1252", "FM9G999G999D00L", "1.234.567,80\x80"},
      {"GERMAN_GERMANY.AL32UTF8", "FMC9999999D00", "EUR1234567,80"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.specification);
    const lxhandle handle = session.Handle(c.specification);
    std::uint8_t buffer[KES_NUMBER_SYMBOLS_ROOM];
    lnxsymbols symbols;
    ASSERT_EQ(lxhnumsym(&handle, &symbols, buffer, sizeof buffer, session.context()), 1);
    EXPECT_EQ(InModel(c.model, "1234567.80", symbols), c.text);
  }
}

TEST(LxhNumber, SeparatorsAreWholeCharacters) {
  NlsSession session;
  lxhandle handle = session.Handle("RUSSIAN_RUSSIA.AL32UTF8");
  ASSERT_EQ(
      lxhlmod(&handle, "\xD9\xAB\xC2\xA0", 4, KES_ITEM_NUMERIC_CHARACTERS, 0, 0, session.context()),
      1);
  std::uint8_t buffer[KES_NUMBER_SYMBOLS_ROOM];
  lnxsymbols symbols;
  ASSERT_EQ(lxhnumsym(&handle, &symbols, buffer, sizeof buffer, session.context()), 1);
  EXPECT_EQ(Shown(symbols.decimal), "\xD9\xAB");
  EXPECT_EQ(Shown(symbols.group), "\xC2\xA0");
}

TEST(LxhNumber, EveryRoomIsEnoughOrAnError) {
  NlsSession session;
  const lxhandle handle = session.Handle("GERMAN_GERMANY.AL32UTF8");
  bool enough = false;
  for (std::size_t room = 0; room < 64; ++room) {
    GuardedBuffer buffer(room);
    lnxsymbols symbols;
    const int done = lxhnumsym(&handle, &symbols, buffer.data(), room, session.context());
    EXPECT_EQ(session.context()->error, done == 1 ? 0u : 6u) << room;
    EXPECT_EQ(symbols.decimal.length, done == 1 ? 1u : 0u);
    EXPECT_TRUE(done == 1 || !enough);
    enough = done == 1;
  }
  EXPECT_TRUE(enough);
}

TEST(LxhNumber, SetsWithoutAsciiAreRefused) {
  NlsSession session;
  for (const char* specification :
       {"GERMAN_GERMANY.WE8IBM037", "JAPANESE_JAPAN.AL16UTF16", ".UTF16"}) {
    const lxhandle handle = session.Handle(specification);
    std::uint8_t buffer[KES_NUMBER_SYMBOLS_ROOM];
    lnxsymbols symbols;
    EXPECT_EQ(lxhnumsym(&handle, &symbols, buffer, sizeof buffer, session.context()), 0);
    EXPECT_EQ(session.context()->error, 20u) << specification;
    EXPECT_EQ(symbols.decimal.bytes, nullptr);
  }
}

}  // namespace
}  // namespace kestra::test
