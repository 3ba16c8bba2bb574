// Sets that carry a state, and GB18030, over the full data: a slow reference, every pair of bytes,
// every cut and room, and texts in pieces. KESTRA_LONG_TESTS=N makes N random texts a set instead
// of a few hundred.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "tests/support/conversion_fixture.h"
#include "tests/support/stateful_reference.h"

namespace kestra::test {
namespace {

struct SetName {
  std::uint32_t id;
  const char* map;  // null: no reference
};
constexpr SetName kSets[] = {{900, "IBM930"}, {901, "IBM939"},  {902, "IBM1390"}, {903, "IBM1399"},
                             {904, "IBM933"}, {905, "IBM1364"}, {906, "IBM935"},  {907, "IBM1388"},
                             {908, "IBM937"}, {909, "IBM1371"}, {854, nullptr},   {9994, nullptr},
                             {9995, nullptr}, {9996, nullptr},  {9997, nullptr},  {9998, nullptr},
                             {9999, nullptr}};
std::size_t TextCount(std::size_t ordinary) {
  const char* count = std::getenv("KESTRA_LONG_TESTS");
  return count == nullptr ? ordinary : static_cast<std::size_t>(std::atoll(count));
}

using Stateful = ConversionTest;

std::string ToUtf16(const std::vector<std::uint32_t>& text) {
  std::string bytes;
  const auto unit = [&bytes](std::uint32_t u) {
    bytes += static_cast<char>(u >> 8);
    bytes += static_cast<char>(u);
  };
  for (std::uint32_t code : text) {
    if (code == kRefMalformed) code = 0xFFFD;
    if (code >= 0x10000) {
      unit(0xD7C0 + (code >> 10));
      unit(0xDC00 | (code & 0x3FF));
    } else {
      unit(code);
    }
  }
  return bytes;
}

// Text with everything that can go wrong in it. Escapes and shifts come often, so that states
// change and repeat.
std::string RandomText(std::mt19937& random, std::uint32_t id, std::size_t size) {
  static const char* const kEscapes[] = {
      "\x1B(B",  "\x1B(J",  "\x1B(I",  "\x1B$B",  "\x1B$@",  "\x1B$(D", "\x1B$(O", "\x1B$(Q",
      "\x1B$(P", "\x1B$A",  "\x1B$(C", "\x1B.A",  "\x1B.F",  "\x1BN",   "\x1BO",   "\x1B$)A",
      "\x1B$)G", "\x1B$)C", "\x1B$*H", "\x1B$+I", "\x1B$+M", "\x1B$",   "\x1B",    "\n"};
  const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
  std::string text;
  while (text.size() < size) {
    const unsigned kind = below(16);
    if (id >= 9994 && kind < 3) {
      text += kEscapes[below(std::size(kEscapes))];
    } else if (kind == 3 || kind == 4) {
      text += static_cast<char>(kind == 3 ? 0x0E : 0x0F);
    } else if (kind == 5) {
      text += static_cast<char>(below(256));
    } else if (id == 854 && kind < 9) {
      text += static_cast<char>(0x81 + below(126));
      text += static_cast<char>(0x30 + below(10));
      text += static_cast<char>(0x81 + below(126));
      text += static_cast<char>(0x30 + below(10));
    } else if (kind < 13) {
      const unsigned base = id >= 9994 ? 0x21 : id == 854 ? 0x81 : 0x41;
      for (unsigned n = below(6); n > 0; --n) {
        text += static_cast<char>(base + below(id == 854 ? 126 : 94));
        text += static_cast<char>((id == 854 ? 0x40 : base) + below(94));
      }
    } else {
      for (unsigned n = below(8); n > 0; --n) text += static_cast<char>(0x20 + below(200));
    }
  }
  return text;
}

// Characters of all planes and of the ranges that the sets share.
std::string RandomUnicode(std::mt19937& random, std::size_t characters) {
  static constexpr std::uint32_t kRanges[][2] = {
      {0, 0x80},        {0x20, 0x7F},     {0xA0, 0x500},     {0x2000, 0x2700},
      {0x3000, 0x3100}, {0x4E00, 0x9FA5}, {0x4E00, 0x5500},  {0xAC00, 0xD7A4},
      {0xE000, 0xE800}, {0xFF00, 0xFFF0}, {0x20000, 0x2A000}};
  std::vector<std::uint32_t> text;
  while (text.size() < characters) {
    const auto& range = kRanges[random() % std::size(kRanges)];
    for (auto n = 1 + random() % 5; n > 0; --n) {
      text.push_back(range[0] + static_cast<std::uint32_t>(random() % (range[1] - range[0])));
    }
  }
  return ToUtf16(text);
}

// One to four places in order.
std::vector<std::size_t> RandomCuts(std::mt19937& random, std::size_t size) {
  std::vector<std::size_t> cuts(1 + random() % 4);
  for (std::size_t& cut : cuts) cut = random() % (size + 1);
  std::sort(cuts.begin(), cuts.end());
  return cuts;
}

TEST_F(Stateful, AgreeWithTheSlowReferenceOnRandomTexts) {
  for (const SetName& set : kSets) {
    if (set.map == nullptr) continue;
    SCOPED_TRACE(set.map);
    const StatefulReference reference(set.map);
    std::mt19937 random(20221);
    for (std::size_t i = 0; i < 300; ++i) {
      std::string source = RandomText(random, set.id, 1 + random() % 700);
      for (auto n = random() % 200; n > 0; --n) {  // and characters that are in the set
        const auto& all = reference.characters();
        const std::string& one = all[random() % all.size()];
        source += one.size() == 2 ? "\x0E" + one + (n % 3 == 0 ? "\x0F" : "") : "\x0F" + one;
      }
      const std::vector<std::uint32_t> wanted = reference.Decode(source);
      const Outcome got = Convert(kUtf16, set.id, source);
      ASSERT_EQ(Show(got.bytes), Show(ToUtf16(wanted))) << Show(source);
      ASSERT_EQ(got.status.characters_total, wanted.size());
      ASSERT_EQ(got.status.consumed, source.size());
      const Outcome back = Convert(set.id, kUtf16, got.bytes);
      ASSERT_EQ(Show(back.bytes), Show(reference.Encode(wanted)));
    }
  }
}

TEST_F(Stateful, PiecesGiveWhatOneCallGives) {
  for (const SetName& set : kSets) {
    SCOPED_TRACE(set.id);
    std::mt19937 random(7 + set.id);
    for (std::size_t i = 0; i < TextCount(150); ++i) {
      const std::string coded = RandomText(random, set.id, 1 + random() % 60);
      const Outcome read = Convert(kUtf16, set.id, coded);
      const std::string text = RandomUnicode(random, 1 + random() % 20);
      const Outcome written = Convert(set.id, kUtf16, text);
      const std::vector<std::size_t> cuts = RandomCuts(random, coded.size());
      ASSERT_TRUE(Same(ConvertPieces(kUtf16, set.id, coded, cuts), read))
          << Show(coded) << " at " << testing::PrintToString(cuts);
      const std::vector<std::size_t> places = RandomCuts(random, text.size());
      ASSERT_TRUE(Same(ConvertPieces(set.id, kUtf16, text, places), written))
          << Show(text) << " at " << testing::PrintToString(places);
    }
    // One longer text at every byte, also between two stateful sets.
    const std::string coded = Convert(set.id, kUtf16, RandomUnicode(random, 60)).bytes;
    for (std::size_t cut = 0; cut <= coded.size(); ++cut) {
      ASSERT_TRUE(Same(ConvertSplit(900, set.id, coded, cut), Convert(900, set.id, coded))) << cut;
      ASSERT_TRUE(Same(ConvertSplit(9999, set.id, coded, cut), Convert(9999, set.id, coded)))
          << cut;
    }
  }
}

// Without KES_CONVERT_MORE a cut result is a text of its own; with it, the pieces join.
TEST_F(Stateful, EveryRoomInEveryState) {
  for (const SetName& set : kSets) {
    SCOPED_TRACE(set.id);
    std::mt19937 random(99 + set.id);
    const std::string text = RandomUnicode(random, 24);
    const Outcome whole = Convert(set.id, kUtf16, text);
    const Outcome plain = Convert(kUtf16, set.id, whole.bytes);
    for (std::size_t room = 0; room <= whole.bytes.size() + 8; ++room) {
      const Outcome cut = Convert(set.id, kUtf16, text, room);
      const bool fits = room >= whole.bytes.size();
      ASSERT_EQ(cut.error, fits ? 0u : std::uint32_t{KES_NLS_DESTINATION_FULL}) << room;
      ASSERT_EQ(cut.status.consumed == text.size(), fits) << room;
      const Outcome back = Convert(kUtf16, set.id, cut.bytes);
      ASSERT_EQ(back.bytes, plain.bytes.substr(0, back.bytes.size())) << room;
      ASSERT_EQ(back.status.characters_total, cut.status.characters_total) << room;
      ASSERT_EQ(back.status.shift_in & 0x10001F, 0u) << "ends in the base state, room " << room;
    }
    // Every way of filling the room piece by piece.
    for (std::size_t room = 1; room <= 40; ++room) {
      std::string joined;
      std::size_t at = 0;
      std::uint32_t options = KES_CONVERT_MORE;
      for (int calls = 0; at < text.size() && calls < 400; ++calls) {
        const Outcome piece =
            Convert(set.id, kUtf16, std::string_view(text).substr(at), room, options);
        if (piece.bytes.empty()) break;  // the room holds none of what is next
        joined += piece.bytes;
        at += piece.status.consumed;
        options = KES_CONVERT_MORE | KES_CONVERT_CONTINUE;
      }
      if (room >= 8) {
        ASSERT_EQ(at, text.size()) << room;
        const Outcome end = Convert(set.id, kUtf16, "", room, KES_CONVERT_CONTINUE);
        ASSERT_EQ(end.error, 0u);
        joined += end.bytes;
        ASSERT_EQ(Show(joined), Show(whole.bytes)) << room;
      } else {
        ASSERT_EQ(joined, whole.bytes.substr(0, joined.size())) << room;
      }
    }
  }
}

TEST_F(Stateful, AnyStateWordIsSafe) {
  std::mt19937 random(5);
  for (const SetName& set : kSets) {
    for (int i = 0; i < 300; ++i) {
      session_.context()->status.shift_in = static_cast<std::uint32_t>(random());
      session_.context()->status.shift_out = static_cast<std::uint32_t>(random());
      const std::string source =
          i % 2 == 0 ? RandomText(random, set.id, 20) : RandomUnicode(random, 10);
      const auto [to, from] = i % 2 == 0 ? std::pair(kUtf16, set.id) : std::pair(set.id, kUtf16);
      const Outcome got =
          Convert(to, from, source, random() % 60, KES_CONVERT_CONTINUE | (random() & 3));
      ASSERT_LE(got.status.consumed, source.size());
    }
  }
}

TEST_F(Stateful, ShiftsTakeNoRoomAndAlwaysEnd) {
  const std::string shifts = [] {
    std::string s;
    for (int i = 0; i < 100'000; ++i) s += i % 3 == 0 ? "\x0E\x0E" : "\x0F";
    return s;
  }();
  const Outcome got = Convert(kUtf16, 900, shifts, 1);
  EXPECT_EQ(got.bytes, "");
  EXPECT_EQ(got.error, 0u);
  EXPECT_EQ(got.status.consumed, shifts.size());
  std::string escapes;
  for (int i = 0; i < 30'000; ++i) escapes += i % 2 == 0 ? "\x1B$B" : "\x1B(B";
  EXPECT_EQ(Convert(kUtf16, 9999, escapes, 1).status.consumed, escapes.size());
}

TEST_F(Stateful, NeverGrowsPastThePublishedFactor) {
  for (const SetName& set : kSets) {
    for (const std::uint32_t from : {101u, 105u, 107u, 873u, 2000u, 900u, 9996u}) {
      std::mt19937 random(set.id + from);
      for (int i = 0; i < 40; ++i) {
        std::string source(1 + random() % 50, '\0');
        for (char& byte : source) byte = static_cast<char>(random());
        const std::size_t most =
            set.id >= 9994 ? 8 * source.size() + 4 : 4 * source.size() + (set.id >= 900 ? 1 : 0);
        const Outcome got = Convert(set.id, from, source, most);
        ASSERT_EQ(got.error, 0u) << set.id << " from " << from << ": " << Show(source);
      }
    }
  }
}

TEST_F(Stateful, EveryPairOfBytesInBothStates) {
  for (const SetName& set : kSets) {
    if (set.map == nullptr) continue;
    SCOPED_TRACE(set.map);
    const StatefulReference reference(set.map);
    std::string shifted = "\x0E";
    std::string base;
    for (int a = 0; a < 256; ++a) {
      for (int b = 0; b < 256; ++b) {
        const std::string pair = {static_cast<char>(a), static_cast<char>(b)};
        shifted += pair + "\x0F\x0E";
        base += pair + "\x0F";
      }
    }
    EXPECT_EQ(Convert(kUtf16, set.id, shifted).bytes, ToUtf16(reference.Decode(shifted)));
    EXPECT_EQ(Convert(kUtf16, set.id, base).bytes, ToUtf16(reference.Decode(base)));
  }
}

struct TextCase {
  const char* what;
  std::uint32_t from;
  const char* source;
  const char* utf16;
  std::uint64_t first_replaced;
};
constexpr TextCase kCases[] = {
    {"ASCII, two and four bytes", 854, "41 D6 D0 81 30 81 30 90 30 81 30",
     "00 41 4E 2D 00 80 D8 00 DC 00", kNone},
    {"the last code point", 854, "E3 32 9A 35", "DB FF DF FF", kNone},
    {"one place further is none", 854, "E3 32 9A 36 41", "FF FD 00 41", 0},
    {"between the planes is none", 854, "84 31 A5 30", "FF FD", 0},
    {"FE 51 is supplementary", 854, "FE 51 95 32 90 31", "D8 40 DC 87 D8 40 DC 87", kNone},
    {"a lead byte does not swallow a quote", 854, "81 22 41", "FF FD 00 22 00 41", 0},
    {"... nor a digit that begins nothing", 854, "81 30 22 41", "FF FD 00 30 00 22 00 41", 0},
    {"... nor three bytes", 854, "81 30 81 41", "FF FD 00 30 4E 04", 0},
    {"80 and FF begin nothing", 854, "80 FF 41", "FF FD FF FD 00 41", 0},
    {"cut after one byte", 854, "41 81", "00 41 FF FD", 1},
    {"cut after three bytes", 854, "41 81 30 81", "00 41 FF FD", 1},
    {"shifted and back", 900, "C1 0E 45 41 0F C1", "00 41 4E 00 00 41", kNone},
    {"redundant shifts", 900, "0F C1 0E 0E 45 41 0F 0F C1", "00 41 4E 00 00 41", kNone},
    {"a shift as trail byte is obeyed", 900, "0E 45 0F C1", "FF FD 00 41", 1},
    {"half a pair at the end", 900, "0E 45 41 45", "4E 00 FF FD", 3},
    {"0E and 0F are no characters", 900, "0E 0F", "", kNone},
    {"ASCII, Roman and kanji", 9999, "41 1B 28 4A 5C 1B 24 42 46 7C 1B 28 42 5C",
     "00 41 00 A5 65 E5 00 5C", kNone},
    {"the older kanji escape", 9999, "1B 24 40 46 7C", "65 E5", kNone},
    {"katakana is not in this set", 9999, "1B 28 49 31", "FF FD 00 28 00 49 00 31", 0},
    {"a control is one in every state", 9999, "1B 24 42 46 7C 0A 46 7C", "65 E5 00 0A 65 E5",
     kNone},
    {"half a pair in front of a line end", 9999, "1B 24 42 46 0A 46 7C", "FF FD 00 0A 65 E5", 3},
    {"an escape cut off", 9999, "41 1B 24", "00 41 FF FD", 1},
    {"an unknown escape is text behind ESC", 9999, "1B 24 5A", "FF FD 00 24 00 5A", 0},
    {"a byte above 7F", 9999, "1B 24 42 C6 46 7C", "FF FD 65 E5", 3},
    {"Greek for one character", 9995, "1B 2E 46 1B 4E 61 41", "03 B1 00 41", kNone},
    {"... and forgotten at the line end", 9995, "1B 2E 46 0A 1B 4E 61", "00 0A FF FD 00 4E 00 61",
     4},
    {"Korean, Chinese, kanji", 9995, "1B 24 28 43 47 51 1B 24 41 56 50 1B 24 42 46 7C",
     "D5 5C 4E 2D 65 E5", kNone},
    {"katakana and the second plane", 9994, "1B 28 49 31 1B 24 28 50 21 21", "FF 71 D8 40 DC 89",
     kNone},
    {"shift-out without a designation", 9997, "0E 56 50", "FF FD 00 56 00 50", 0},
    {"designation, shift, line end forgets", 9997, "1B 24 29 41 0E 56 50 0A 56 50",
     "4E 2D 00 0A 00 56 00 50", kNone},
    {"... and the shift with it", 9997, "1B 24 29 41 0E 0A 1B 24 29 41 56 50 0E 56 50",
     "00 0A 00 56 00 50 4E 2D", kNone},
    {"second plane for one character", 9997, "1B 24 2A 48 1B 4E 21 2D 41", "4E 0F 00 41", kNone},
    {"Korean with and without a header", 9998, "1B 24 29 43 0E 47 51 0F 41", "D5 5C 00 41", kNone},
    {"... without", 9998, "0E 47 51 0F 41", "D5 5C 00 41", kNone},
};

TEST_F(Stateful, HandWorkedReading) {
  for (const TextCase& c : kCases) {
    SCOPED_TRACE(c.what);
    const std::vector<std::uint8_t> bytes = Bytes(c.source);
    const std::string source(bytes.begin(), bytes.end());
    const Outcome got = Convert(kUtf16, c.from, source);
    EXPECT_EQ(Show(got.bytes), c.utf16);
    EXPECT_EQ(got.error, 0u);
    EXPECT_EQ(got.status.consumed, source.size());
    EXPECT_EQ(got.status.first_replaced, c.first_replaced);
  }
}

constexpr TextCase kWriteCases[] = {
    {"runs share their shifts", 900, "C1 0E 45 41 45 42 0F C1", "00 41 4E 00 4E 8C 00 41", kNone},
    {"the return at the end", 900, "0E 45 41 0F", "4E 00", kNone},
    {"a replacement returns first", 900, "0E 45 41 0F 6F 0E 45 41 0F", "4E 00 AC 00 4E 00", 2},
    {"shift bytes cannot be smuggled in", 900, "6F 6F", "00 0E 00 0F", 0},
    {"nor an escape", 9999, "3F 24 42 3F 3F", "00 1B 00 24 00 42 00 0E 00 0F", 0},
    {"Roman for yen, ASCII before the line end", 9999, "1B 28 4A 5C 61 1B 28 42 0A",
     "00 A5 00 61 00 0A", kNone},
    {"backslash leaves Roman", 9999, "1B 28 4A 5C 1B 28 42 5C", "00 A5 00 5C", kNone},
    {"stays in a part that has it", 9995, "1B 24 28 43 47 51 6C 6D 1B 28 42", "D5 5C 65 E5", kNone},
    {"designated anew after a line end", 9997, "1B 24 29 41 0E 56 50 0F 0A 1B 24 29 41 0E 56 50 0F",
     "4E 2D 00 0A 4E 2D", kNone},
    {"the header stands first, once", 9998, "1B 24 29 43 41 0E 47 51 0F 0A 0E 47 51 0F",
     "00 41 D5 5C 00 0A D5 5C", kNone},
    {"four bytes for a supplementary one", 854, "90 30 81 30 E3 32 9A 35 FE 51",
     "D8 00 DC 00 DB FF DF FF D8 40 DC 87", kNone},
    {"a private one that moved is none", 854, "3F", "E7 8D", 0},
};

TEST_F(Stateful, HandWorkedWriting) {
  for (const TextCase& c : kWriteCases) {
    SCOPED_TRACE(c.what);
    const std::vector<std::uint8_t> bytes = Bytes(c.utf16);
    const Outcome got = Convert(c.from, kUtf16, std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(Show(got.bytes), c.source);
    EXPECT_EQ(got.status.first_replaced, c.first_replaced);
    EXPECT_EQ(got.status.replacement, c.first_replaced == kNone ? 0 : 1000);
  }
}

TEST_F(Stateful, StopLeavesTheCharacterUnread) {
  const std::vector<std::uint8_t> bytes = Bytes("4E 00 AC 00 4E 00");
  const Outcome got =
      Convert(900, kUtf16, std::string(bytes.begin(), bytes.end()), 64, KES_CONVERT_STOP);
  EXPECT_EQ(Show(got.bytes), "0E 45 41 0F");
  EXPECT_EQ(got.status.consumed, 2u);
  EXPECT_EQ(got.status.first_replaced, 2u);
  EXPECT_EQ(got.status.replacement, 0);
}

TEST_F(Stateful, EveryFourByteClassOfGb18030) {
  std::string source;
  std::size_t characters = 0;
  for (int a = 0x81; a <= 0xFE; ++a) {
    for (int b = 0x30; b <= 0x39; ++b) {
      source.clear();
      for (int x = 0x81; x <= 0xFE; ++x) {
        for (int y = 0x30; y <= 0x39; ++y) {
          source.append({static_cast<char>(a), static_cast<char>(b), static_cast<char>(x),
                         static_cast<char>(y)});
        }
      }
      const Outcome got = Convert(kUtf16, 854, source);
      ASSERT_EQ(got.status.characters_total, 1260u);
      const Outcome back = Convert(854, kUtf16, got.bytes);
      for (std::size_t at = 0, unit = 0; at < source.size(); at += 4) {
        const bool pair = (static_cast<std::uint8_t>(got.bytes[unit]) & 0xFC) == 0xD8;
        characters += got.bytes.substr(unit, 2) != "\xFF\xFD";
        unit += pair ? 4 : 2;
      }
      ASSERT_EQ(back.status.consumed, got.bytes.size());
    }
  }
  EXPECT_EQ(characters, 39402u - 1 + 0x100000u) << "without U+FFFD itself";
}

TEST_F(Stateful, WithoutItsPartsAnIso2022SetIsUnavailable) {
  const lxobject* set = Set(9999);
  const lxobject* utf16 = Set(kUtf16);
  lxcontext nothing{};
  std::uint8_t out[8];
  const std::uint8_t in[] = {0x41};
  EXPECT_EQ(lxgcnv(out, utf16, 8, in, set, 1, &nothing), 0u);
  EXPECT_EQ(nothing.error, KES_NLS_OBJECT_UNAVAILABLE);
  NlsSession small;  // has no EUC-JP in full, but no EUC-KR at all
  EXPECT_EQ(lxgcnv(out, set, 8, in, utf16, 1, small.context()), 0u);
}

}  // namespace
}  // namespace kestra::test
