// Every short byte sequence that can go wrong, in every set of the full data that has more than one
// byte a character, at the end of a page that traps, cut at every point; and every room in every
// state of a writer.
#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <set>

#include "core/os/cpu.h"
#include "tests/support/conversion_fixture.h"

namespace kestra::test {
namespace {

using Sequences = ConversionTest;

constexpr std::uint32_t kMultibyte[] = {830, 831, 832, 833, 834, 835, 836, 837, 840, 841, 842,
                                        843, 850, 851, 854, 860, 861, 862, 871, 872, 873};
constexpr std::uint32_t kWithState[] = {900, 901, 902,  903,  904,  905,  906,  907,
                                        908, 909, 9994, 9995, 9996, 9997, 9998, 9999};

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

// Sequences of shifts, characters and halves of them, up to four, in every EBCDIC set with shifts;
// of escape sequences, two at a time, in every ISO-2022 set. Cut at every point.
TEST_F(Sequences, EveryShiftSequence) {
  const std::array<std::string, 6> pieces = {"\x0E", "\x0F", "\xC1", "\x45\x41", "\x45", "\x15"};
  static const char* const kEscapes[] = {
      "\x1B(B",  "\x1B(J",  "\x1B(I",  "\x1B$B",  "\x1B$@",  "\x1B$(D", "\x1B$(O",
      "\x1B$(Q", "\x1B$(P", "\x1B$A",  "\x1B$(C", "\x1B.A",  "\x1B.F",  "\x1B$)A",
      "\x1B$)G", "\x1B$)C", "\x1B$*H", "\x1B$+I", "\x1B$+M", "\x0E",    "\x0F"};
  const auto check = [this](std::uint32_t id, const std::string& text) {
    const Outcome whole = Convert(kUtf16, id, text);
    EXPECT_EQ(whole.error, 0u);
    EXPECT_EQ(whole.status.consumed, text.size()) << Show(text);
    for (std::size_t cut = 1; cut < text.size(); ++cut) {
      ASSERT_TRUE(Same(ConvertSplit(kUtf16, id, text, cut), whole)) << Show(text) << " at " << cut;
    }
  };
  for (const std::uint32_t id : kWithState) {
    SCOPED_TRACE(id);
    if (id < 1000) {
      for (unsigned number = 0; number < 6 * 6 * 6 * 6; ++number) {
        std::string text;
        for (unsigned rest = number; rest != 0; rest /= 6) text += pieces[rest % 6];
        check(id, text);
      }
      continue;
    }
    for (const std::string first : kEscapes) {
      for (const std::string second : kEscapes) {
        check(id, first + "\x30\x21" + second + "\x30\x21\x1BN\x21\x22\n\x30\x21");
      }
    }
  }
}

// A writer is brought into each state that some text leaves it in; from there two more characters
// are written with every room, and then the rest.
TEST_F(Sequences, EveryRoomInEveryStateOfAWriter) {
  // A, line end, yen, e acute, alpha, hiragana, half-width katakana, ideographs of several parts,
  // hangul, one beyond the basic plane.
  const std::array<std::string, 14> characters = {std::string("\0A", 2),
                                                  std::string("\0\n", 2),
                                                  std::string("\0\xA5", 2),
                                                  std::string("\0\xE9", 2),
                                                  "\x03\xB1",
                                                  "\x30\x42",
                                                  "\xFF\x71",
                                                  "\x4E\x00",
                                                  "\x4E\x2D",
                                                  "\x4E\x0F",
                                                  "\x4E\x28",
                                                  "\x4F\x02",
                                                  "\xAC\x00",
                                                  "\xD8\x40\xDC\x0B"};
  lxstatus& status = session_.context()->status;
  for (const std::uint32_t id : kWithState) {
    SCOPED_TRACE(id);
    std::set<std::uint32_t> states;
    for (const std::string& a : characters) {
      for (const std::string& b : characters) {
        Convert(id, kUtf16, a + b, 64, KES_CONVERT_MORE);
        states.insert(status.shift_out);
      }
    }
    EXPECT_GE(states.size(), 2u);
    const auto from_state = [&](std::uint32_t state, const std::string& text, std::size_t room,
                                std::uint32_t options) {
      status.shift_in = 0;
      status.shift_out = state;
      return Convert(id, kUtf16, text, room, KES_CONVERT_CONTINUE | options);
    };
    for (const std::uint32_t state : states) {
      for (const std::string& a : characters) {
        for (const std::string& b : characters) {
          const std::string text = a + b;
          const Outcome whole = from_state(state, text, 64, 0);
          ASSERT_EQ(whole.error, 0u);
          for (std::size_t room = 0; room <= whole.bytes.size() + 8; ++room) {
            // To the end of the text: full says exactly that the room is too small.
            const Outcome cut = from_state(state, text, room, 0);
            const bool fits = room >= whole.bytes.size() && room != 0;
            ASSERT_EQ(cut.error, fits ? 0u : std::uint32_t{KES_NLS_DESTINATION_FULL})
                << Show(text) << " state " << state << " room " << room;
            // Piece by piece: nothing is lost and nothing written twice.
            Outcome piece = from_state(state, text, room, KES_CONVERT_MORE);
            std::string joined = piece.bytes;
            joined +=
                Convert(id, kUtf16, text.substr(piece.status.consumed), 64, KES_CONVERT_CONTINUE)
                    .bytes;
            ASSERT_EQ(Show(joined), Show(whole.bytes))
                << Show(text) << " state " << state << " room " << room;
          }
        }
      }
    }
  }
}

// A text of every kind of character, cut at every byte, between every set and UTF-8.
TEST_F(Sequences, SplittingAtEveryByteChangesNothing) {
  std::string utf8;
  for (const char* part :
       {"Az 09\t\n", "\xC3\xA9\xC2\xA5", "\xD0\x96", "\xE3\x81\x82", "\xEF\xBD\xB1",
        "\xE4\xB8\x80\xE4\xB8\xAD", "\xED\x95\x9C ", "\xE4\xBC\x82", "\xF0\xA0\x80\x8B", "\xFF",
        "\xE2\x82", "\xEF\xBF\xBD", "end"}) {
    utf8 += part;
  }
  std::vector<std::uint32_t> ids(std::begin(kMultibyte), std::end(kMultibyte));
  ids.insert(ids.end(), std::begin(kWithState), std::end(kWithState));
  for (const std::uint32_t id : {1u, 101u, 251u, 543u, 1000u, 2000u, 2002u}) ids.push_back(id);
  for (const std::uint32_t id : ids) {
    SCOPED_TRACE(id);
    const Outcome coded = Convert(id, 873, utf8);
    const Outcome back = Convert(873, id, coded.bytes);
    for (std::size_t cut = 0; cut <= utf8.size(); ++cut) {
      ASSERT_TRUE(Same(ConvertSplit(id, 873, utf8, cut), coded)) << cut;
    }
    for (std::size_t cut = 0; cut <= coded.bytes.size(); ++cut) {
      ASSERT_TRUE(Same(ConvertSplit(873, id, coded.bytes, cut), back)) << cut;
    }
  }
}

// Faults that converters of this kind are known for.
struct FaultCase {
  const char* fault;
  std::uint32_t to, from;
  const char* source;
  std::size_t room;
  const char* result;
  std::uint64_t consumed;
  std::uint32_t error;
};
constexpr FaultCase kFaults[] = {
    {"an escape sequence written without room", 9996, kUtf16, "4E 0F", 5, "", 0, 6},
    {"... or all but its last byte", 9996, kUtf16, "4E 0F", 7, "", 0, 6},
    {"... and with it", 9996, kUtf16, "4E 0F", 8, "1B 24 2A 48 1B 4E 21 2D", 2, 0},
    {"the header of a text without room", 9998, kUtf16, "00 41", 4, "", 0, 6},
    {"the return to the base state without room", 900, kUtf16, "4E 00", 3, "", 0, 6},
    {"redundant shifts that end nowhere", kUtf16, 900, "0F 0F 0F 0F", 2, "", 4, 0},
    {"... in the shifted state", kUtf16, 905, "0E 0E 0E 0E", 2, "", 4, 0},
    {"... with no room behind a character", kUtf16, 904, "C1 0F 0F", 2, "00 41", 3, 0},
    {"... and escapes to where the text is", kUtf16, 9999, "1B 28 42 1B 28 42", 2, "", 6, 0},
    {"a trail byte trusted", kUtf16, 841, "B0 22 3E", 64, "FF FD 00 22 00 3E", 3, 0},
    {"... of three", kUtf16, 831, "8F A2 22", 64, "FF FD 00 22", 3, 0},
    {"... in four", kUtf16, 862, "8E A2 A1 0A", 64, "FF FD 00 0A", 4, 0},
    {"... at the end of the text", kUtf16, 831, "8F 22", 64, "FF FD 00 22", 2, 0},
    {"a trail byte read behind the end", kUtf16, 851, "81", 64, "FF FD", 1, 0},
    {"a state that no text can be in, asserted", kUtf16, 9994, "1B 28 49 7E 1B 24 28 51 7E 7F", 64,
     "FF FD FF FD 00 7F", 10, 0},
    {"two code points for one, the second lost", kUtf16, 830, "A4 F7 41", 64, "FF FD 00 41", 3, 0},
    {"a surrogate out of a table", 873, 861, "FE FF", 64, "EF BF BD", 2, 0},
    {"an overlong form", kUtf16, 873, "C0 AF E0 80 AF", 64, "FF FD FF FD FF FD FF FD FF FD", 5, 0},
    {"a surrogate in UTF-8", kUtf16, 873, "ED A0 80", 64, "FF FD FF FD FF FD", 3, 0},
};
TEST_F(Sequences, FaultsThatConvertersAreKnownFor) {
  for (const FaultCase& c : kFaults) {
    SCOPED_TRACE(c.fault);
    const std::vector<std::uint8_t> bytes = Bytes(c.source);
    const Outcome got = Convert(c.to, c.from, std::string(bytes.begin(), bytes.end()), c.room);
    EXPECT_EQ(Show(got.bytes), c.result);
    EXPECT_EQ(got.status.consumed, c.consumed);
    EXPECT_EQ(got.error, c.error);
  }
}

}  // namespace
}  // namespace kestra::test
