// Handles from specification texts, ids and names, the display setting.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

class LxhBuild : public ::testing::Test {
 protected:
  // Language, territory and character set of the handle that a text gives; or the error.
  std::string Build(const char* text, std::uint32_t mode) {
    lxhandle handle;
    std::memset(&handle, 0xAA, sizeof handle);
    const std::size_t length = std::strlen(text);
    if (lxhLaToId(text, length, &handle, mode, session_.context()) == nullptr) {
      const lxhandle zero{};
      EXPECT_EQ(std::memcmp(&handle, &zero, sizeof zero), 0) << "not zeroed: " << text;
      return "error " + std::to_string(session_.context()->error);
    }
    EXPECT_EQ(session_.context()->error, 0u);
    EXPECT_EQ(handle.context, session_.context());
    EXPECT_EQ(handle.constant_12, 12);
    EXPECT_EQ(handle.constant_1, 1);
    return session_.Info(handle, KES_ITEM_NLS_LANG);
  }
  NlsSession session_;
};

struct SpecificationCase {
  const char* text;
  const char* lenient;
  const char* strict;
};
constexpr SpecificationCase kSpecifications[] = {
    {"", "AMERICAN_AMERICA.US7ASCII", "AMERICAN_AMERICA.US7ASCII"},
    {"_", "AMERICAN_AMERICA.US7ASCII", "AMERICAN_AMERICA.US7ASCII"},
    {".", "AMERICAN_AMERICA.US7ASCII", "AMERICAN_AMERICA.US7ASCII"},
    {"_.", "AMERICAN_AMERICA.US7ASCII", "AMERICAN_AMERICA.US7ASCII"},
    {"GERMAN", "GERMAN_GERMANY.WE8ISO8859P1", "GERMAN_GERMANY.WE8ISO8859P1"},
    {"german_germany.al32utf8", "GERMAN_GERMANY.AL32UTF8", "GERMAN_GERMANY.AL32UTF8"},
    {"_GERMANY", "AMERICAN_GERMANY.US7ASCII", "AMERICAN_GERMANY.US7ASCII"},
    {".UTF8", "AMERICAN_AMERICA.UTF8", "AMERICAN_AMERICA.UTF8"},
    {"GERMAN.UTF8", "GERMAN_GERMANY.UTF8", "GERMAN_GERMANY.UTF8"},
    {" \tGERMAN_ GERMANY. UTF8", "GERMAN_GERMANY.UTF8", "GERMAN_GERMANY.UTF8"},
    {"GERMAN_GERMANY.NOSUCHSET", "GERMAN_GERMANY.WE8ISO8859P1", "error 7"},
    {"GERMAN_NOWHERE.UTF8", "GERMAN_GERMANY.UTF8", "error 19"},
    {"KLINGON_GERMANY.UTF8", "AMERICAN_GERMANY.UTF8", "error 18"},
    {"KLINGON_NOWHERE.NOSUCHSET", "AMERICAN_AMERICA.US7ASCII", "error 18"},
    {"GERMAN_NOWHERE.NOSUCHSET", "GERMAN_GERMANY.WE8ISO8859P1", "error 7"},
    {"GERMANY", "AMERICAN_AMERICA.US7ASCII", "error 18"},
};

TEST_F(LxhBuild, ComponentsAndTheirDefaults) {
  for (const SpecificationCase& c : kSpecifications) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Build(c.text, 0), c.lenient);
    EXPECT_EQ(Build(c.text, 1), c.lenient);
    EXPECT_EQ(Build(c.text, 2), c.strict);
  }
}

TEST_F(LxhBuild, MissingArguments) {
  lxhandle handle;
  EXPECT_NE(lxhLaToId(nullptr, 7, &handle, 0, session_.context()), nullptr);
  EXPECT_EQ(lxhLaToId("", 0, nullptr, 0, session_.context()), nullptr);
  EXPECT_EQ(lxhLaToId("", 0, &handle, 0, nullptr), nullptr);
}

TEST_F(LxhBuild, CharacterSetFactsAreCopiedIntoTheHandle) {
  EXPECT_NE(session_.Handle(".WE8ISO8859P1").flags & KES_CHARSET_SINGLE, 0u);
  EXPECT_NE(session_.Handle(".AL32UTF8").flags & KES_CHARSET_UTF8, 0u);
  EXPECT_NE(session_.Handle(".AL16UTF16").flags & KES_CHARSET_UTF16, 0u);
  const lxhandle little = session_.Handle(".AL16UTF16LE");
  EXPECT_EQ(little.charset_id, 2002);
  EXPECT_EQ(little.charset_slot, session_.Handle(".AL16UTF16").charset_slot);
  const lxobject* set = lxhcsobj(&little, session_.context());
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set, lxpcobj(2002, session_.context()));
  lxhandle handle = little;
  EXPECT_NE(lxpcobj(9999, session_.context()), nullptr);
  EXPECT_EQ(lxpcset(9999, &handle, session_.context()), 0) << "for conversion only";
  EXPECT_EQ(handle.charset_id, 2002);
  EXPECT_EQ(lxpcobj(9993, session_.context()), nullptr);
  EXPECT_EQ(session_.context()->error, KES_NLS_OBJECT_UNAVAILABLE);
}

TEST_F(LxhBuild, IdsAndNamesBothWays) {
  lxcontext* context = session_.context();
  const std::uint32_t kinds[] = {60, 78, 79, 80, 81};
  for (const std::uint32_t kind : kinds) {
    int found = 0;
    for (std::uint32_t id = 0; id < 0x4000; ++id) {
      const char* name = lxhid2name(kind, id, context);
      if (name == nullptr) {
        EXPECT_EQ(context->error, KES_NLS_UNKNOWN_ID);
        continue;
      }
      ++found;
      EXPECT_EQ(lxhname2id(kind, name, context), id) << name;
    }
    EXPECT_GT(found, 1) << kind;
  }
  EXPECT_STREQ(lxhid2name(79, 2002, context), "AL16UTF16LE");
  EXPECT_STREQ(lxhid2name(79, 1000, context), "UTF16");
  EXPECT_EQ(lxhname2id(79, "al16utf16le", context), 2002u);
  EXPECT_EQ(lxhname2id(79, "ISO2022JP", context), 9999u) << "for conversion only";
  EXPECT_EQ(lxpcget("ISO2022JP", 9, context), 0u) << "not for handles";
  EXPECT_EQ(lxhname2id(79, "NOSUCHSET", context), 0u);
  EXPECT_EQ(context->error, KES_NLS_UNKNOWN_ID);
  EXPECT_EQ(lxhid2name(61, 1, context), nullptr);
  EXPECT_EQ(context->error, KES_NLS_UNKNOWN_KIND);
  EXPECT_EQ(lxhname2id(0, "AMERICAN", context), 0u);
  EXPECT_EQ(context->error, KES_NLS_UNKNOWN_KIND);
  EXPECT_EQ(lxhid2name(60, 0x4001, context), nullptr) << "only the low 14 bits are an id";
}

struct DisplayCase {
  const char* text;
  int result;
  const char* name;
  const char* direction;
  const char* charset;
};
constexpr DisplayCase kDisplays[] = {
    {"VT100_RTL.WE8ISO8859P1", 1, "VT100", "RTL", "WE8ISO8859P1"},
    {"VT100_rtl", 1, "VT100", "RTL", "US7ASCII"},
    {"VT100_LTR", 1, "VT100", "LTR", "US7ASCII"},
    {"VT100_RTLX", 1, "VT100", "LTR", "US7ASCII"},
    {".AL16UTF16LE", 0, "", "LTR", ""},
    {"X.NOSUCHSET", 0, "X", "LTR", ""},
    {"A23456789012345678901234567890123456789", 1, "A23456789012345678901234567890123456789", "LTR",
     "US7ASCII"},
    {"A234567890123456789012345678901234567890", 1, "A23456789012345678901234567890123456789",
     "LTR", "US7ASCII"},
};

TEST_F(LxhBuild, DisplaySetting) {
  for (const DisplayCase& c : kDisplays) {
    SCOPED_TRACE(c.text);
    lxhandle handle = session_.Handle("AMERICAN");
    EXPECT_EQ(lxhdisp(c.text, std::strlen(c.text), &handle, session_.context()), c.result);
    EXPECT_EQ(session_.Info(handle, KES_ITEM_DISPLAY_NAME), c.name);
    EXPECT_EQ(session_.Info(handle, KES_ITEM_DISPLAY_DIRECTION), c.direction);
    EXPECT_EQ(session_.Info(handle, KES_ITEM_DISPLAY_CHARSET), c.charset);
  }
}

}  // namespace
}  // namespace kestra::test
