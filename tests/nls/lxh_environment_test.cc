// lxhLangEnv and lxhenvquery: which variable wins, what is cached, hostile values.
#include <gtest/gtest.h>

#include <cstring>

#include "nls/process_state.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

class LxhEnvironment : public ::testing::Test {
 protected:
  // A fresh process: nothing cached.
  lxhandle* Build(std::uint32_t mode = 0) {
    ForgetProcessState();
    return Again(mode);
  }
  lxhandle* Again(std::uint32_t mode) {
    handle_.valid = 0;
    lxhandle* result = lxhLangEnv(&handle_, mode, session_.context());
    EXPECT_EQ(handle_.valid, 1);
    return result;
  }
  void Set(const std::string& name, const char* value) { session_.environment().Set(name, value); }
  std::uint32_t error() { return session_.context()->error; }
  std::string Info(std::uint32_t item) { return session_.Info(handle_, item); }

  NlsSession session_;
  lxhandle handle_{};
};

TEST_F(LxhEnvironment, UnsetMeansDefaults) {
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(Info(KES_ITEM_NLS_LANG), "AMERICAN_AMERICA.US7ASCII");
  EXPECT_EQ(Build(2), nullptr) << "validation";
  EXPECT_EQ(error(), 0u);
  EXPECT_EQ(Build(1), nullptr);
  EXPECT_EQ(error(), 0u);
  EXPECT_EQ(Again(3), nullptr) << "NLS_LANG is known to be unset";
  ForgetProcessState();
  EXPECT_EQ(lxhenvquery(&handle_, 3, session_.context()), nullptr);
  EXPECT_NE(lxhenvquery(&handle_, 2, session_.context()), nullptr);
  Set("NLS_LANG", "");
  EXPECT_NE(Build(1), nullptr) << "empty is not unset";
  EXPECT_EQ(Info(KES_ITEM_NLS_LANG), "AMERICAN_AMERICA.US7ASCII");
}

TEST_F(LxhEnvironment, EveryVariableSetsItsItem) {
  const struct {
    const char* name;
    const char* value;
    std::uint32_t item;
    const char* answer;
  } variables[] = {{"NLS_CURRENCY", "cur", 69, "cur"},
                   {"NLS_ISO_CURRENCY", "ISO", 70, "ISO"},
                   {"NLS_CALENDAR", "Buddhist", 81, "BUDDHIST"},
                   {"NLS_DATE_FORMAT", "YYYY", 76, "YYYY"},
                   {"NLS_DATE_LANGUAGE", "french", 77, "FRENCH"},
                   {"NLS_NUMERIC_CHARACTERS", "/'", 71, "/'"},
                   {"NLS_MONETARY_CHARACTERS", "..", 72, ".."},
                   {"NLS_LIST_SEPARATOR", "|", 73, "|"},
                   {"NLS_DEBIT", "db", 74, "db"},
                   {"NLS_CREDIT", "cr", 75, "cr"},
                   {"NLS_SORT", "spanish_ci", 80, "SPANISH_CI"},
                   {"NLS_STORAGE_ORDER", "visual", 108, "VISUAL"},
                   {"NLS_COMP", "linguistic", 119, "LINGUISTIC"},
                   {"NLS_LENGTH_SEMANTICS", "char", 130, "CHAR"},
                   {"NCHAR_CONV_EXCP", "true", 131, "TRUE"},
                   {"NCHAR_IMP_CONV", "true", 132, "TRUE"},
                   {"NLS_TIME_FORMAT", "f126", 126, "f126"},
                   {"NLS_TIMESTAMP_FORMAT", "f127", 127, "f127"},
                   {"NLS_TIME_TZ_FORMAT", "f128", 128, "f128"},
                   {"NLS_TIMESTAMP_TZ_FORMAT", "f129", 129, "f129"},
                   {"NLS_UNION_CURRENCY", "union", 121, "dual"},
                   {"NLS_DUAL_CURRENCY", "dual", 121, "dual"},
                   {"NLS_DISPLAY", "v\xFC_RTL.AL32UTF8", 82, "v\xFC"}};
  Set("NLS_LANG", "GERMAN_GERMANY.WE8ISO8859P1");
  for (const auto& v : variables) Set(v.name, v.value);
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(error(), 0u);
  for (const auto& v : variables) EXPECT_EQ(Info(v.item), v.answer) << v.name;
  EXPECT_EQ(Info(83), "RTL");
  EXPECT_EQ(Info(84), "AL32UTF8");
  Set("NLS_DUAL_CURRENCY", nullptr);
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(Info(121), "union");
}

TEST_F(LxhEnvironment, BadValuesLeaveDefaultsAndTheLastError) {
  Set("NLS_LANG", "GERMAN");
  Set("NLS_COMP", "nonsense");
  Set("NLS_SORT", "NOSUCHSORT");
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(error(), KES_NLS_BAD_COMP);
  EXPECT_EQ(Info(119), "BINARY");
  Set("NLS_LENGTH_SEMANTICS", "words");
  Set("NLS_CURRENCY", "ok");
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(error(), KES_NLS_BAD_LENGTH_SEMANTICS);
  EXPECT_EQ(Info(69), "ok");
  ASSERT_NE(Again(0), nullptr);
  EXPECT_EQ(error(), KES_NLS_BAD_LENGTH_SEMANTICS) << "also from the saved handle";
}

TEST_F(LxhEnvironment, ValuesTooLongCountAsUnset) {
  for (const std::size_t length : {254u, 255u, 256u, 5000u}) {
    Set("NLS_CURRENCY", std::string(length, 'c').c_str());
    ASSERT_NE(Build(), nullptr);
    EXPECT_EQ(error(), length <= 255 ? 0u : 6u);
    EXPECT_EQ(Info(69), length <= 255 ? std::string(length, 'c') : "$") << length;
  }
  Set("NLS_CURRENCY", nullptr);
  for (const std::size_t length : {255u, 256u, 4095u, 4096u, 4097u, 100000u}) {
    Set("NLS_LANG", (std::string(length - 6, ' ') + "GERMAN").c_str());
    ASSERT_NE(Build(), nullptr);
    EXPECT_EQ(error(), length <= 4096 ? 0u : 6u);
    EXPECT_EQ(Info(60), length <= 4096 ? "GERMAN" : "AMERICAN") << length;
    ForgetProcessState();
    ASSERT_NE(lxhenvquery(&handle_, 2, session_.context()), nullptr);
    EXPECT_EQ(Info(60), length <= 255 ? "GERMAN" : "AMERICAN") << length;
  }
}

TEST_F(LxhEnvironment, BytesOfAnyKind) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  for (const char* charset : {".US7ASCII", ".AL32UTF8", ".AL16UTF16", ".UTF16", ".WE8IBM037"}) {
    for (const auto& name : lxhenvqnames) Set(name, bytes.c_str());
    Set("NLS_LANG", charset);
    ASSERT_NE(Build(), nullptr) << charset;
    EXPECT_EQ(Info(119) == "BINARY",
              handle_.charset_id != 1000 && handle_.charset_id < 2000 && handle_.charset_id != 516);
  }
}

TEST_F(LxhEnvironment, TextsAreConvertedForSetsWithoutAscii) {
  Set("NLS_LANG", "GERMAN_GERMANY.AL16UTF16");
  Set("NLS_CURRENCY", "\xC2\xA3");
  Set("NLS_DATE_FORMAT", "YY");
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(Info(69), std::string("\0\xA3", 2));
  EXPECT_EQ(Info(76), std::string("\0Y\0Y", 4));
  Set("NLS_LANG", "GERMAN_GERMANY.WE8IBM037");
  ASSERT_NE(Build(), nullptr);
  EXPECT_EQ(Info(76), "\xE8\xE8");
}

TEST_F(LxhEnvironment, TheFirstBuildIsKept) {
  Set("NLS_LANG", "GERMAN_GERMANY.AL32UTF8");
  Set("NLS_CURRENCY", "first");
  ASSERT_NE(Build(), nullptr);
  Set("NLS_LANG", "FRENCH_FRANCE.UTF8");
  Set("NLS_CURRENCY", "second");
  lxhandle other{};
  ASSERT_EQ(lxhLangEnv(&other, 0, session_.context()), &other);
  EXPECT_EQ(std::memcmp(&other, &handle_, sizeof other), 0);
  EXPECT_EQ(Info(69), "first");
  EXPECT_NE(Again(1), nullptr);
  // Other modes apply the parameters to the handle as it stands.
  handle_ = session_.Handle("RUSSIAN");
  EXPECT_NE(Again(3), nullptr);
  EXPECT_EQ(Info(60), "RUSSIAN");
  EXPECT_EQ(Info(69), "second");
  EXPECT_NE(Again(0x10000), nullptr) << "the low 16 bits are the mode";
  EXPECT_EQ(Info(60), "GERMAN");
}

TEST_F(LxhEnvironment, VerdictIsKept) {
  Set("NLS_LANG", "GERMAN_NOWHERE.AL32UTF8");
  EXPECT_EQ(Build(2), nullptr);
  EXPECT_EQ(error(), KES_NLS_UNKNOWN_TERRITORY);
  Set("NLS_LANG", "GERMAN");
  EXPECT_EQ(Again(2), nullptr);
  EXPECT_EQ(error(), KES_NLS_UNKNOWN_TERRITORY);
  EXPECT_NE(Build(2), nullptr);
  EXPECT_EQ(error(), 0u);
  EXPECT_NE(Again(2), nullptr);
}

TEST_F(LxhEnvironment, SavedHandleOfAnotherAreaIsBuiltAnew) {
  Set("NLS_LANG", "GERMAN_GERMANY.AL32UTF8");
  ASSERT_NE(Build(), nullptr);
  // Another data set, where the same slots hold other objects; then none at all.
  for (const auto& [home, answer] :
       {std::pair{FullHome().string(), "GERMAN_GERMANY.AL32UTF8"},
        std::pair{std::string("/nonexistent"), "AMERICAN_AMERICA.US7ASCII"}}) {
    Set("KESTRA_HOME", home.c_str());
    std::uint32_t start_error = 0;
    lxcontext other{};
    ASSERT_NE(lxinitc(&other, lxlinit(nullptr, 0, &start_error), nullptr, 0), nullptr);
    const nls::ProcessState before = nls::State();
    lxhandle handle{};
    EXPECT_EQ(lxhLangEnv(&handle, 1, &other), nullptr) << "mode 1 does not rebuild";
    ASSERT_NE(lxhLangEnv(&handle, 0, &other), nullptr);
    EXPECT_EQ(session_.Info(handle, 60), "") << "slots of another area";
    std::uint8_t text[64];
    const std::size_t length = lxhlinfo(&handle, KES_ITEM_NLS_LANG, text, sizeof text, &other);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(text), length), answer);
    nls::State() = before;
    lxlterm(&other);
  }
}

}  // namespace
}  // namespace kestra::test
