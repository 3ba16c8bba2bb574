// Cursor, classification, wide form, scan and byte-order marks, over the full data.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/charset.h"
#include "kestra/convert.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

using Test = int (*)(const lxcursor*, lxcontext*);
using WideTest = int (*)(std::uint32_t, const lxhandle*, lxcontext*);
constexpr struct {
  char letter;
  Test test;
  WideTest wide;
} kTests[] = {{'n', lxmalnx, lxwalnx}, {'a', lxmalpx, lxwalpx}, {'c', lxmcntx, lxwcntx},
              {'d', lxmdigx, lxwdigx}, {'g', lxmgrax, lxwgrax}, {'l', lxmlowx, lxwlowx},
              {'p', lxmprix, lxwprix}, {'.', lxmpunx, lxwpunx}, {'s', lxmspax, lxwspax},
              {'u', lxmuppx, lxwuppx}, {'x', lxmxdix, lxwxdix}};

class LxmCursor : public testing::Test {
 protected:
  lxhandle Handle(std::uint32_t id) {
    lxhandle handle = session_.Handle("AMERICAN_AMERICA.US7ASCII");
    EXPECT_EQ(lxpcset(id, &handle, session_.context()), 1) << id;
    return handle;
  }
  lxcontext* context() { return session_.context(); }

  // A cursor on a text that ends at a page that traps.
  lxcursor Open(const lxhandle& handle, const char* bytes, std::uint32_t options = 0) {
    const std::vector<std::uint8_t> text = Bytes(bytes);
    std::uint8_t* at = room_.data() + room_.size() - text.size();
    if (!text.empty()) std::memcpy(at, text.data(), text.size());
    lxcursor cursor;
    lxmopen(at, text.size(), &cursor, &handle, context(), options);
    return cursor;
  }
  // What lxmopen passes, then what each lxmfwdx answers.
  std::string Steps(const lxhandle& handle, const char* bytes, std::uint32_t options = 0) {
    lxcursor cursor = Open(handle, bytes, options);
    std::string steps = std::to_string(cursor.position - cursor.start) + ":";
    while (cursor.position < cursor.start + cursor.length) {
      steps += " " + std::to_string(lxmfwdx(&cursor, context()));
    }
    EXPECT_EQ(lxmfwdx(&cursor, context()), 0u);
    EXPECT_EQ(cursor.position, cursor.start + cursor.length);
    return steps;
  }
  // The classes of the character that a cursor is at, a letter for each function.
  std::string Classes(const lxcursor& cursor) {
    std::string found;
    for (const auto& test : kTests) {
      if (test.test(&cursor, context()) != 0) found += test.letter;
    }
    return found;
  }

  NlsSession session_{FullHome()};
  GuardedBuffer room_{4096};
};

struct StepCase {
  const char* what;
  std::uint32_t set;
  const char* text;
  const char* steps;
  std::uint32_t options = 0;
};
constexpr StepCase kSteps[] = {
    {"UTF-8 by the first byte", 873, "41 C3 A9 E4 B8 AD F0 9F 98 80", "0: 1 2 3 4"},
    {"... cut off, byte by byte", 873, "41 E2 82", "0: 1 0 1"},
    {"... of four", 873, "F0 9F 98", "0: 0 1 1"},
    {"units of UTF8", 871, "41 ED A0 BD ED B8 80", "0: 1 3 3"},
    {"UTF-EBCDIC", 872, "C1 DD 73 66 73", "0: 1 4"},
    {"EUC-JP", 831, "41 B0 A1 8F B0 A1 8E B1", "0: 1 2 3 2"},
    {"a lead byte at the end costs one byte", 831, "8F A2 AF 8F A2", "0: 3 0 0"},
    {"single bytes", 101, "41 E9 FF", "0: 1 1 1"},
    {"code units", 2000, "00 41 D8 3D DE 00 00", "0: 2 2 2 0"},
    {"GB18030 by two bytes", 854, "41 D6 D0 81 30 81 30 90 30 81 30 81", "0: 1 2 4 4 0"},
    {"... cut off", 854, "81 30 81", "0: 0 1 0"},
    {"shifts count with the character in front", 900, "C1 0E 45 41 45 42 0F 0F C1", "0: 2 2 4 1"},
    {"two kinds in one step", 900, "C1 0E 0F C2", "0: 3 1"},
    {"leading shifts are passed at once", 900, "0F 0E 45 41", "2: 2"},
    {"... but not with options", 900, "0E 45 41", "0: 1 1 1", 1},
    {"half a pair, then a byte in the shifted state", 900, "0E 45 41 45", "1: 2 0"},
    {"only shifts", 900, "0E 0F", "2:"},
    {"nothing", 873, "", "0:"},
};

TEST_F(LxmCursor, Steps) {
  for (const StepCase& c : kSteps) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(Steps(Handle(c.set), c.text, c.options), c.steps);
  }
  const lxhandle stateful = Handle(900);
  EXPECT_EQ(Open(stateful, "0E 45 41").shift_state, 1u);
  EXPECT_EQ(Open(stateful, "0E 0F C1").shift_state, 0u);
  EXPECT_EQ(Open(stateful, "0E 45 41", 1).shift_state, 0u);
  lxcursor cursor;
  const lxhandle handle = Handle(873);
  lxmopen(nullptr, 0, &cursor, &handle, context(), 0);
  EXPECT_EQ(lxmfwdx(&cursor, context()), 0u);
  EXPECT_EQ(Classes(cursor), "");
}

struct ClassCase {
  std::uint32_t set;
  const char* text;
  const char* classes;
};
constexpr ClassCase kClasses[] = {
    {101, "41", "nagpux"},
    {101, "7A", "naglp"},
    {101, "37", "ndgpx"},
    {101, "20", "ps"},
    {101, "0A", "cs"},
    {101, "2B", "gp."},
    {101, "E9", "naglp"},
    {101, "D7", "gp."},
    {101, "00", "c"},
    {516, "C1", "nagpux"},
    {516, "41", "ps"},
    {873, "D0 B6", "naglp"},
    {873, "EF BC 91", "ndgpx"},
    {873, "E2 82 AC", "gp."},
    {873, "F0 9F 98 80", "gp."},
    {873, "E2 82", ""},
    {873, "80 80", ""},
    {871, "ED A0 BD ED B8 80", "gp."},
    {831, "A1 A1", "ps"},
    {831, "A9 A1", ""},
    {2000, "D8 3D DE 00", "gp."},
    {2000, "D8 01 00 41", ""},
    {2000, "00", ""},
    {2002, "00 01", "nagpu"},
    {2002, "16 04", "nagpu"},
    {900, "0E 0F C1", "nagpux"},
};

TEST_F(LxmCursor, Classes) {
  for (const ClassCase& c : kClasses) {
    const lxhandle handle = Handle(c.set);
    EXPECT_EQ(Classes(Open(handle, c.text)), c.classes) << c.set << ": " << c.text;
  }
}

// Every call sets the error word, also where nothing can be loaded.
TEST_F(LxmCursor, ErrorWord) {
  lxhandle handle = Handle(873);
  context()->error = 99;
  Open(handle, "41");
  EXPECT_EQ(context()->error, 0u);
  context()->error = 99;
  EXPECT_NE(lxwalpx('A', &handle, context()), 0);
  EXPECT_EQ(context()->error, 0u);

  handle.charset_slot = 0xFFFF;
  EXPECT_EQ(Classes(Open(handle, "41 E2 82")), "");
  EXPECT_EQ(Steps(handle, "41 E2 82"), "0: 1 1 1");
  const std::uint8_t text[] = {0x41, 0xE2, 0x82};
  std::uint32_t wide = 0;
  lxscan scan;
  const auto unavailable = [&](const auto& call) {
    context()->error = 0;
    call();
    return context()->error == KES_NLS_OBJECT_UNAVAILABLE;
  };
  EXPECT_TRUE(unavailable([&] { Open(handle, "41 E2 82"); }));
  EXPECT_TRUE(unavailable([&] { EXPECT_EQ(lxwalpx('A', &handle, context()), 0); }));
  EXPECT_TRUE(unavailable([&] { EXPECT_EQ(lxwfrmb(&wide, 1, text, 3, &handle, context()), 0u); }));
  EXPECT_TRUE(unavailable([&] { EXPECT_EQ(lxcscan(text, 3, &scan, &handle, context()), 0u); }));
}

// The same characters have the same classes in every set that holds them.
TEST_F(LxmCursor, ClassesOfTheSameCharacterAgree) {
  struct CharacterCase {
    std::uint32_t code;
    const char* classes;
  };
  constexpr CharacterCase kCharacters[] = {
      {'A', "nagpux"},  {'z', "naglp"},     {'7', "ndgpx"},   {' ', "ps"},
      {'!', "gp."},     {'\r', "cs"},       {0x3B1, "naglp"}, {0x416, "nagpu"},
      {0x4E00, "nagp"}, {0x3042, "nagp"},   {0x3001, "gp."},  {0x3000, "ps"},
      {0xD55C, "nagp"}, {0xFF21, "nagpux"}, {0xE9, "naglp"},  {0x20000, "nagp"}};
  constexpr std::uint32_t kSets[] = {1,   101, 105, 830, 831, 841, 850, 854,  862, 871,
                                     872, 873, 900, 902, 904, 907, 908, 2000, 2002};
  int held = 0;
  for (const std::uint32_t id : kSets) {
    const lxhandle handle = Handle(id);
    for (const CharacterCase& c : kCharacters) {
      std::uint8_t source[4] = {static_cast<std::uint8_t>(c.code >> 8),
                                static_cast<std::uint8_t>(c.code)};
      std::size_t size = 2;
      if (c.code > 0xFFFF) {
        if (id >= 2000 || id == 871 || id == 872) continue;  // two steps there
        const std::uint32_t high = 0xD7C0 + (c.code >> 10);
        const std::uint32_t low = 0xDC00 | (c.code & 0x3FF);
        const std::uint32_t units = high << 16 | low;
        for (std::size_t i = 0; i < 4; ++i) {
          source[i] = static_cast<std::uint8_t>(units >> (24 - 8 * i));
        }
        size = 4;
      }
      std::uint8_t text[16];
      const std::size_t n = lxgcnvb(text, lxpcobj(id, context()), sizeof text, source,
                                    lxpcobj(2000, context()), size, KES_CONVERT_STOP, context());
      if (n == 0) continue;
      ++held;
      lxcursor cursor;
      lxmopen(text, n, &cursor, &handle, context(), 0);
      std::uint32_t wide = 0;
      ASSERT_EQ(lxwfrmb(&wide, 1, text, n, &handle, context()), 1u);
      const std::string classes = Classes(cursor);
      std::string wide_classes;
      for (const auto& test : kTests) {
        if (test.wide(wide, &handle, context()) != 0) wide_classes += test.letter;
      }
      EXPECT_EQ(classes, c.classes) << std::hex << "U+" << c.code << std::dec << " in " << id;
      EXPECT_EQ(wide_classes, classes) << std::hex << wide << " in " << std::dec << id;
    }
  }
  EXPECT_GT(held, 150);
}

TEST_F(LxmCursor, WideFormAndBack) {
  struct WideCase {
    std::uint32_t set;
    const char* text;
    std::vector<std::uint32_t> wide;
  };
  const WideCase cases[] = {
      {873, "41 C3 A9 E4 B8 AD F0 9F 98 80", {0x41, 0xC3A9, 0xE4B8AD, 0xF09F9880}},
      {831, "C6 FC 8F A2 AF", {0xC6FC, 0x8FA2AF}},
      {2000, "00 00 00 41 D8 3D", {0, 0x41, 0xD83D}},
      {2002, "41 00", {0x4100}},
      {854, "81 30 81 30 41", {0x81308130, 0x41}},
      {900, "C1 0E 45 41 45 42 0F C1", {0xC1, 0x4541, 0x4542, 0xC1}},
      {900, "0E 45 41 0F", {0x4541}},
  };
  for (const WideCase& c : cases) {
    SCOPED_TRACE(c.text);
    const lxhandle handle = Handle(c.set);
    const std::vector<std::uint8_t> text = Bytes(c.text);
    std::vector<std::uint32_t> wide(16);
    wide.resize(lxwfrmb(wide.data(), wide.size(), text.data(), text.size(), &handle, context()));
    EXPECT_EQ(wide, c.wide);
    EXPECT_EQ(context()->error, 0u);
    for (std::size_t room = 0; room <= text.size() + 4; ++room) {
      GuardedBuffer back(room);
      const std::size_t n =
          lxwtomb(back.data(), room, wide.data(), wide.size(), &handle, context());
      ASSERT_LE(n, room);
      ASSERT_EQ(context()->error, room >= text.size() ? 0u : 6u) << room;
      if (room >= text.size()) {
        EXPECT_EQ(Hex(back.data(), n), Hex(text));
      }
      // What was cut is text of its own: it gives the wide characters that were taken.
      std::vector<std::uint32_t> again(16);
      again.resize(lxwfrmb(again.data(), again.size(), back.data(), n, &handle, context()));
      EXPECT_EQ(again, std::vector(wide.begin(), wide.begin() + static_cast<int>(again.size())));
    }
  }
}

struct ScanCase {
  const char* what;
  std::uint32_t set;
  const char* text;
  std::uint64_t length, characters, columns;
  std::uint32_t verdict;
};
constexpr ScanCase kScans[] = {
    {"empty", 873, "", 0, 0, 0, KES_SCAN_WELL_FORMED},
    {"Latin, combining, wide, emoji", 873, "41 65 CC 81 E4 B8 AD F0 9F 98 80", 11, 5, 6, 0},
    {"malformed at the third byte", 873, "41 42 80 43", 2, 2, 2, KES_SCAN_MALFORMED},
    {"a lone surrogate", 873, "41 ED A0 80", 1, 1, 1, KES_SCAN_MALFORMED},
    {"cut off", 873, "41 E4 B8", 1, 1, 1, KES_SCAN_CUT_OFF},
    {"controls take no column", 101, "41 0A 07 42 AD", 5, 5, 3, 0},
    {"units are counted, columns are of the character", 2000, "D8 3D DE 00 00 41", 6, 3, 3, 0},
    {"an odd byte", 2000, "00 41 00", 2, 1, 1, KES_SCAN_CUT_OFF},
    {"little-endian", 2002, "41 00 2D 4E", 4, 2, 3, 0},
    {"EUC-JP", 831, "41 C6 FC 8E B1 8F B0 A1", 8, 4, 6, 0},
    {"unassigned in EUC-JP", 831, "41 A9 A1", 1, 1, 1, KES_SCAN_MALFORMED},
    {"GB18030", 854, "41 D6 D0 90 30 81 30 81 30", 7, 3, 4, KES_SCAN_CUT_OFF},
    {"GB18030, every length, a control", 854, "41 D6 D0 81 30 81 30 90 30 81 30", 11, 4, 4, 0},
    {"stateful", 900, "C1 0E 45 41 45 42 0F C1", 8, 4, 6, 0},
    {"stateful, unassigned pair", 900, "C1 0E 45 41 FE FE 0F", 4, 2, 3, KES_SCAN_MALFORMED},
    {"stateful, half a pair", 900, "0E 45", 1, 0, 0, KES_SCAN_CUT_OFF},
};

TEST_F(LxmCursor, Scan) {
  for (const ScanCase& c : kScans) {
    SCOPED_TRACE(c.what);
    const lxhandle handle = Handle(c.set);
    const std::vector<std::uint8_t> bytes = Bytes(c.text);
    GuardedBuffer text(bytes.size());
    if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
    lxscan scan;
    EXPECT_EQ(lxcscan(text.data(), text.size(), &scan, &handle, context()), c.length);
    EXPECT_EQ(scan.length, c.length);
    EXPECT_EQ(scan.characters, c.characters);
    EXPECT_EQ(scan.columns, c.columns);
    EXPECT_EQ(scan.verdict, c.verdict);
  }
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
