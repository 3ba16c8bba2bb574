// Every short byte sequence that can go wrong, in every set of the full data that has more than one
// byte a character, at the end of a page that traps, cut at every point.
#include <gtest/gtest.h>
#include <iconv.h>

#include "core/os/cpu.h"
#include "tests/support/conversion_fixture.h"

namespace kestra::test {
namespace {

using Sequences = ConversionTest;

constexpr std::uint32_t kMultibyte[] = {830, 831, 832, 833, 834, 835, 836, 837, 840, 841, 842,
                                        843, 850, 851, 854, 860, 861, 862, 871, 872, 873};

bool HoldsAscii(std::uint32_t id) { return id != 872; }

std::string Byte(int value) { return std::string(1, static_cast<char>(value)); }

// All pairs alone, cut in the middle, and by the kernels: the pairs of one first byte with line
// ends between them, which no set takes for a second byte.
TEST_F(Sequences, EveryPairOfBytesInEveryMultibyteSet) {
  for (const std::uint32_t id : kMultibyte) {
    SCOPED_TRACE(id);
    const std::string line_end = HoldsAscii(id) ? "\n" : "\x15";
    for (int a = 0; a < 256; ++a) {
      std::string lines;
      std::string wanted;
      for (int b = 0; b < 256; ++b) {
        const std::string pair = Byte(a) + Byte(b);
        const Outcome whole = Convert(kUtf16, id, pair);
        ASSERT_EQ(whole.status.consumed, 2u) << Show(pair);
        ASSERT_TRUE(Same(ConvertSplit(kUtf16, id, pair, 1), whole)) << Show(pair);
        ASSERT_TRUE(Same(ConvertSplit(kUtf16, id, pair + line_end, 1),
                         Convert(kUtf16, id, pair + line_end)))
            << Show(pair);
        // What decodes can be written, and decodes to the same again.
        if (whole.status.replacement == 0) {
          const Outcome back = Convert(id, kUtf16, whole.bytes);
          if (back.status.replacement == 0) {
            ASSERT_EQ(Show(Convert(kUtf16, id, back.bytes).bytes), Show(whole.bytes));
          }
        } else if (HoldsAscii(id) && b < 0x80 && !(id == 854 && b >= '0' && b <= '9')) {
          // A second byte that makes no character, nor can begin to, is never swallowed.
          ASSERT_EQ(Show(whole.bytes.substr(whole.bytes.size() - 2)),
                    Show(Convert(kUtf16, id, Byte(b)).bytes))
              << Show(pair);
        }
        lines += pair + line_end;
        wanted += Convert(kUtf16, id, pair + line_end).bytes;
      }
      for (const os::CpuLevel level : {os::CpuLevel::kBaseline, os::CpuLevel::kAvx512}) {
        os::ForceCpuLevel(level);
        const Outcome got = Convert(kUtf16, id, lines);
        ASSERT_TRUE(got.bytes == wanted) << a << " at level " << static_cast<int>(level);
      }
    }
  }
}

// Bytes on both sides of every border of the four places.
TEST_F(Sequences, EveryClassOfFourBytesOfGb18030) {
  constexpr int kFirst[] = {0x7F, 0x80, 0x81, 0x84, 0x85, 0x8F, 0x90, 0xE3, 0xE4, 0xFE, 0xFF};
  constexpr int kSecond[] = {0x2F, 0x30, 0x31, 0x32, 0x39, 0x3A, 0x40, 0x7F, 0x80, 0xFE, 0xFF};
  constexpr int kThird[] = {0x30, 0x7F, 0x80, 0x81, 0x9A, 0xA4, 0xFE, 0xFF};
  constexpr int kFourth[] = {0x2F, 0x30, 0x35, 0x36, 0x39, 0x3A, 0x81};
  iconv_t reference = iconv_open("UTF-16BE", "GB18030");
  ASSERT_NE(reference, reinterpret_cast<iconv_t>(-1));
  int characters = 0;
  for (const int a : kFirst) {
    for (const int b : kSecond) {
      for (const int c : kThird) {
        for (const int d : kFourth) {
          std::string text = Byte(a) + Byte(b) + Byte(c) + Byte(d);
          const Outcome whole = Convert(kUtf16, 854, text);
          ASSERT_EQ(whole.status.consumed, text.size());
          for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            ASSERT_TRUE(Same(ConvertSplit(kUtf16, 854, text, cut), whole)) << Show(text);
            const std::string head = text.substr(0, cut);
            const Outcome ended = Convert(kUtf16, 854, head);
            ASSERT_EQ(ended.status.consumed, cut) << Show(head);
          }
          std::string source = text;
          char units[32];
          char *from = source.data(), *to = units;
          std::size_t left = source.size(), room = sizeof units;
          iconv(reference, nullptr, nullptr, nullptr, nullptr);
          const bool good = iconv(reference, &from, &left, &to, &room) == 0 && left == 0;
          ASSERT_EQ(whole.status.replacement == 0, good) << Show(text);
          if (good) {
            ASSERT_EQ(Show(whole.bytes), Show({units, sizeof units - room})) << Show(text);
            ++characters;
          }
        }
      }
    }
  }
  iconv_close(reference);
  EXPECT_GT(characters, 400);
}

}  // namespace
}  // namespace kestra::test
