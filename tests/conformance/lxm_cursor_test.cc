// Cursor, classification, wide form and scan over the full data.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "kestra/charset.h"
#include "kestra/convert.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

class LxmCursor : public testing::Test {
 protected:
  lxhandle Handle(std::uint32_t id) {
    lxhandle handle = session_.Handle("AMERICAN_AMERICA.US7ASCII");
    EXPECT_EQ(lxpcset(id, &handle, session_.context()), 1) << id;
    return handle;
  }
  lxcontext* context() { return session_.context(); }

  NlsSession session_{FullHome()};
};

struct StepCase {
  const char* what;
  std::uint32_t set;
  const char* text;
  std::vector<std::size_t> steps;  // what lxmfwdx answers
};

TEST_F(LxmCursor, Steps) {
  const StepCase cases[] = {
      {"UTF-8 by the first byte", 873, "41 C3 A9 E4 B8 AD F0 9F 98 80", {1, 2, 3, 4}},
      {"a lead byte at the end costs one byte", 831, "8F A2 AF 8F A2", {3, 0, 0}},
      {"code units", 2000, "00 41 D8 3D DE 00 00", {2, 2, 2, 0}},
      {"GB18030", 854, "41 D6 D0 81 30 81 30 90 30 81 30 81", {1, 2, 4, 4, 0}},
      {"shifts count with the character in front", 900, "C1 0E 45 41 45 42 0F 0F C1", {2, 2, 4, 1}},
      {"leading shifts are passed at once", 900, "0F 0E 45 41", {2}},
      {"half a pair, then a byte in the shifted state", 900, "0E 45 41 45", {2, 0}},
      {"only shifts", 900, "0E 0F", {}},
  };
  for (const StepCase& c : cases) {
    SCOPED_TRACE(c.what);
    const std::vector<std::uint8_t> bytes = Bytes(c.text);
    GuardedBuffer text(bytes.size());
    std::memcpy(text.data(), bytes.data(), bytes.size());
    const lxhandle handle = Handle(c.set);
    lxcursor cursor;
    lxmopen(text.data(), text.size(), &cursor, &handle, context(), 0);
    std::vector<std::size_t> steps;
    while (cursor.position < text.data() + text.size())
      steps.push_back(lxmfwdx(&cursor, context()));
    EXPECT_EQ(steps, c.steps);
    EXPECT_EQ(lxmfwdx(&cursor, context()), 0u) << "at the end";
  }
}

TEST_F(LxmCursor, OptionsLeaveLeadingShiftsAlone) {
  const lxhandle handle = Handle(900);
  const std::uint8_t text[] = {0x0E, 0x45, 0x41};
  lxcursor cursor;
  lxmopen(text, sizeof text, &cursor, &handle, context(), 1);
  EXPECT_EQ(cursor.position, text);
  EXPECT_EQ(cursor.shift_state, 0u);
}

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
      std::string classes;
      std::string wide_classes;
      for (const auto& test : kTests) {
        if (test.test(&cursor, context()) != 0) classes += test.letter;
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

// The scan ends where a conversion that stops would stop, and counts as the cursor steps.
TEST_F(LxmCursor, ScanAgreesWithConversionAndCursor) {
  std::mt19937 random(31);
  for (const std::uint32_t id :
       {1u, 101u, 831u, 862u, 854u, 871u, 872u, 873u, 900u, 907u, 2000u, 2002u}) {
    const lxhandle handle = Handle(id);
    const lxobject* set = lxpcobj(id, context());
    for (int i = 0; i < 400; ++i) {
      std::vector<std::uint8_t> source(2 * (1 + random() % 800));
      for (std::uint8_t& byte : source) {
        byte = static_cast<std::uint8_t>(random() % 8 == 0 ? random() : 0x40 + random() % 0x30);
      }
      std::vector<std::uint8_t> text(4 * source.size() + 8);
      text.resize(lxgcnv(text.data(), set, text.size(), source.data(), lxpcobj(2000, context()),
                         source.size(), context()));
      if (i % 2 == 1) text[random() % text.size()] = static_cast<std::uint8_t>(random());
      lxscan scan;
      lxcscan(text.data(), text.size(), &scan, &handle, context());
      std::vector<std::uint8_t> out(4 * text.size());
      lxgcnvb(out.data(), lxpcobj(873, context()), out.size(), text.data(), set, text.size(),
              KES_CONVERT_STOP, context());
      const std::uint64_t first = context()->status.first_replaced;
      ASSERT_EQ(scan.length, first == UINT64_MAX ? text.size() : first) << id << " " << Hex(text);
      lxcursor cursor;
      lxmopen(text.data(), static_cast<std::size_t>(scan.length), &cursor, &handle, context(), 0);
      std::uint64_t steps = 0;
      while (lxmfwdx(&cursor, context()) != 0) ++steps;
      ASSERT_EQ(steps, scan.characters) << id << " " << Hex(text);
    }
  }
}

}  // namespace
}  // namespace kestra::test
