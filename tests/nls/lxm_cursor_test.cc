// The character cursor, classification and byte-order marks.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/charset.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

class LxmCursor : public testing::Test {
 protected:
  void SetSpecification(const char* text) {
    ASSERT_NE(lxhLaToId(text, std::strlen(text), &handle_, 2, session_.context()), nullptr) << text;
  }
  void SetCharset(std::uint32_t id) {
    SetSpecification("AMERICAN_AMERICA.US7ASCII");
    ASSERT_EQ(lxpcset(id, &handle_, session_.context()), 1) << id;
  }
  void Open(const char* bytes, std::uint32_t options = 0) {
    text_ = Bytes(bytes);
    lxmopen(text_.data(), text_.size(), &cursor_, &handle_, session_.context(), options);
  }
  // The steps of the whole text.
  std::string Steps(const char* bytes, std::uint32_t options = 0) {
    Open(bytes, options);
    std::string steps = std::to_string(cursor_.position - cursor_.start) + ":";
    while (cursor_.position < cursor_.start + cursor_.length) {
      steps += " " + std::to_string(lxmfwdx(&cursor_, session_.context()));
    }
    EXPECT_EQ(lxmfwdx(&cursor_, session_.context()), 0u);
    EXPECT_EQ(cursor_.position, cursor_.start + cursor_.length);
    return steps;
  }
  // The classes of the character at the start of a text, a letter for each function.
  std::string Classes(const char* bytes) {
    Open(bytes);
    return ClassesHere();
  }
  std::string ClassesHere() {
    lxcontext* context = session_.context();
    const std::pair<char, int (*)(const lxcursor*, lxcontext*)> tests[] = {
        {'n', lxmalnx}, {'a', lxmalpx}, {'c', lxmcntx}, {'d', lxmdigx},
        {'g', lxmgrax}, {'l', lxmlowx}, {'r', lxmprix}, {'p', lxmpunx},
        {'s', lxmspax}, {'u', lxmuppx}, {'x', lxmxdix}};
    std::string found;
    for (const auto& [letter, test] : tests) {
      if (test(&cursor_, context) != 0) found += letter;
    }
    return found;
  }

  NlsSession session_;
  lxhandle handle_{};
  lxcursor cursor_{};
  std::vector<std::uint8_t> text_;
};

TEST_F(LxmCursor, StepsOverCharacters) {
  SetCharset(873);
  EXPECT_EQ(Steps("41 C3 A9 E2 82 AC F0 9F 98 80"), "0: 1 2 3 4");
  SetCharset(871);
  EXPECT_EQ(Steps("41 ED A0 BD ED B8 80"), "0: 1 3 3");
  SetCharset(872);
  EXPECT_EQ(Steps("C1 DD 73 66 73"), "0: 1 4");
  SetCharset(2000);
  EXPECT_EQ(Steps("00 41 D8 3D DE 00"), "0: 2 2 2");
  SetCharset(831);
  EXPECT_EQ(Steps("41 B0 A1 8F B0 A1 8E B1"), "0: 1 2 3 2");
  SetCharset(101);
  EXPECT_EQ(Steps("41 E9 FF"), "0: 1 1 1");
}

TEST_F(LxmCursor, CutOffCharacterIsPassedByteByByte) {
  SetCharset(873);
  EXPECT_EQ(Steps("41 E2 82"), "0: 1 0 1");
  EXPECT_EQ(Steps("F0 9F 98"), "0: 0 1 1");
  SetCharset(831);
  EXPECT_EQ(Steps("8F B0"), "0: 0 0");
  SetCharset(2000);
  EXPECT_EQ(Steps("00 41 00"), "0: 2 0");
}

TEST_F(LxmCursor, EmptyAndNullTexts) {
  SetCharset(873);
  lxmopen(nullptr, 0, &cursor_, &handle_, session_.context(), 0);
  EXPECT_EQ(lxmfwdx(&cursor_, session_.context()), 0u);
  EXPECT_EQ(ClassesHere(), "");
}

// Every call sets the error word, also where nothing can be loaded.
TEST_F(LxmCursor, ErrorWord) {
  lxcontext* context = session_.context();
  SetCharset(873);
  context->error = 99;
  Open("41");
  EXPECT_EQ(context->error, 0u);
  context->error = 99;
  EXPECT_NE(lxwalpx('A', &handle_, context), 0);
  EXPECT_EQ(context->error, 0u);

  handle_.charset_slot = 0xFFFF;
  Open("41 E2 82");
  EXPECT_EQ(context->error, KES_NLS_OBJECT_UNAVAILABLE);
  EXPECT_EQ(ClassesHere(), "");
  EXPECT_EQ(Steps("41 E2 82"), "0: 1 1 1");
  EXPECT_EQ(lxwalpx('A', &handle_, context), 0);
  EXPECT_EQ(context->error, KES_NLS_OBJECT_UNAVAILABLE);
  std::uint32_t wide = 0;
  context->error = 0;
  EXPECT_EQ(lxwfrmb(&wide, 1, text_.data(), text_.size(), &handle_, context), 0u);
  EXPECT_EQ(context->error, KES_NLS_OBJECT_UNAVAILABLE);
  lxscan scan;
  context->error = 0;
  EXPECT_EQ(lxcscan(text_.data(), text_.size(), &scan, &handle_, context), 0u);
  EXPECT_EQ(context->error, KES_NLS_OBJECT_UNAVAILABLE);
}

// A stateful set by its facts in the handle alone.
TEST_F(LxmCursor, ShiftBytesBelongToTheCharacterBeforeThem) {
  SetCharset(516);
  handle_.flags = KES_CHARSET_STATEFUL;
  handle_.shifted_width = 2;
  handle_.shift_out = 0x0E;
  handle_.shift_in = 0x0F;
  EXPECT_EQ(Steps("C1 0E 42 C1 43 C2 0F C2"), "0: 2 2 3 1");
  EXPECT_EQ(Steps("0E 0F 0E 42 C1 0F"), "3: 3");  // leading shifts are passed at once
  EXPECT_EQ(Steps("0E 42 C1", 1), "0: 1 1 1");    // but not with options
  EXPECT_EQ(Steps("C1 0E 0F C2"), "0: 3 1");      // two shifts in one step
  EXPECT_EQ(Steps("C1 0E 42"), "0: 2 0");
  Open("0E 0F C1");
  EXPECT_EQ(cursor_.shift_state, 0u);
  EXPECT_EQ(ClassesHere(), "nagrux");  // A in the single-byte state
  Open("0E 42 C1");
  EXPECT_EQ(cursor_.shift_state, 1u);
}

TEST_F(LxmCursor, Gb18030LengthsComeFromTwoBytes) {
  SetCharset(873);
  handle_.flags = KES_CHARSET_GB18030;
  EXPECT_EQ(Steps("41 B0 A1 81 30 81 30 42"), "0: 1 2 4 1");
  EXPECT_EQ(Steps("81 30 81"), "0: 0 1 0");
}

TEST_F(LxmCursor, ClassesOfOneByteCharacters) {
  SetCharset(101);
  EXPECT_EQ(Classes("41"), "nagrux");
  EXPECT_EQ(Classes("7A"), "naglr");
  EXPECT_EQ(Classes("37"), "ndgrx");
  EXPECT_EQ(Classes("20"), "rs");
  EXPECT_EQ(Classes("0A"), "cs");
  EXPECT_EQ(Classes("2B"), "grp");
  EXPECT_EQ(Classes("E9"), "naglr");
  EXPECT_EQ(Classes("D7"), "grp");  // multiplication sign
  EXPECT_EQ(Classes("00"), "c");
  SetCharset(516);
  EXPECT_EQ(Classes("C1"), "nagrux");
  EXPECT_EQ(Classes("41"), "rs");  // no-break space
}

TEST_F(LxmCursor, ClassesOfMultibyteCharacters) {
  SetCharset(873);
  EXPECT_EQ(Classes("D0 96"), "nagru");
  EXPECT_EQ(Classes("D0 B6"), "naglr");
  EXPECT_EQ(Classes("EF BC 91"), "ndgrx");  // full-width digit
  EXPECT_EQ(Classes("E2 82 AC"), "grp");    // euro
  EXPECT_EQ(Classes("E3 80 80"), "rs");     // ideographic space
  EXPECT_EQ(Classes("F0 9F 98 80"), "grp");
  EXPECT_EQ(Classes("E2 82"), "");  // cut off
  EXPECT_EQ(Classes("80 80"), "");
  SetCharset(871);
  EXPECT_EQ(Classes("ED A0 BD ED B8 80"), "grp");
  SetCharset(872);
  EXPECT_EQ(Classes("C1"), "nagrux");
  SetCharset(831);
  EXPECT_EQ(Classes("A7 A1"), "nagru");  // Cyrillic capital
  EXPECT_EQ(Classes("A1 A1"), "rs");     // ideographic space
  EXPECT_EQ(Classes("B0 A1"), "nagr");   // ideograph
  EXPECT_EQ(Classes("A9 A1"), "");       // unassigned
}

TEST_F(LxmCursor, ClassesOfBothByteOrders) {
  SetCharset(2000);
  EXPECT_EQ(Classes("00 41"), "nagrux");
  EXPECT_EQ(Classes("04 16"), "nagru");
  EXPECT_EQ(Classes("D8 3D DE 00"), "grp");
  EXPECT_EQ(Classes("D8 01 00 41"), "");
  EXPECT_EQ(Classes("00"), "");
  SetCharset(2002);
  EXPECT_EQ(Classes("41 00"), "nagrux");
  EXPECT_EQ(Classes("00 01"), "nagru");  // A with macron, first byte 0
  EXPECT_EQ(Classes("16 04"), "nagru");
}

struct MarkCase {
  std::uint32_t declared;
  const char* text;
  std::uint32_t charset;
  std::size_t length;
  std::uint32_t status;
};
constexpr MarkCase kMarks[] = {
    {0, "FE FF", 2000, 2, 0},
    {0, "FF FE", 2002, 2, 0},
    {0, "EF BB 41", 873, 3, 0},  // the third byte is not looked at
    {0, "EF BB", 0, 0, 0},
    {0, "DD 73 00 00", 872, 4, 0},
    {0, "DD 73 66", 0, 0, 0},
    {0, "41 42", 0, 0, 0},
    {0, "FE", 0, 0, 0},
    {873, "EF BB BF", 873, 3, 0},
    {871, "EF BB BF 41", 871, 3, 0},
    {873, "EF BB 41", 873, 0, 0},
    {872, "DD 73 66 73", 872, 4, 0},
    {872, "DD 73 66 74", 872, 0, 0},
    {1000, "FE FF", 2000, 2, 0},
    {1000, "FF FE", 2002, 2, 0},
    {2000, "FE FF 00 41", 2000, 2, 0},
    {2000, "FF FE", 2002, 2, 2000},
    {2002, "FF FE", 2002, 2, 0},
    {2002, "FE FF", 2000, 2, 2000},
    {101, "FE FF", 101, 0, 0},
    {2000, "EF BB BF", 2000, 0, 0},
};

TEST(LxBomDetect, MarkByDeclaredSet) {
  for (const MarkCase& c : kMarks) {
    SCOPED_TRACE(std::to_string(c.declared) + ": " + c.text);
    const std::vector<std::uint8_t> text = Bytes(c.text);
    std::uint32_t charset = c.declared;
    std::uint32_t status = 77;
    EXPECT_EQ(lxBomDetect(text.data(), text.size(), &charset, &status), c.length);
    EXPECT_EQ(charset, c.charset);
    EXPECT_EQ(status, c.status);
    if (c.declared == 0) {
      EXPECT_EQ(lxBomDetect(text.data(), text.size(), nullptr, nullptr), c.length);
    }
  }
  std::uint32_t charset = 873;
  EXPECT_EQ(lxBomDetect(nullptr, 0, &charset, nullptr), 0u);
}

}  // namespace
}  // namespace kestra::test
