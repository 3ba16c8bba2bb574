// Conversions worked by hand over the full data: bytes and status of each kind of set, malformed
// text, rooms, options, states, and faults that converters of this kind are known for.
#include "kestra/object.h"
#include "tests/support/conversion_fixture.h"

namespace kestra::test {
namespace {

using LxgConvert = ConversionTest;

constexpr std::uint64_t kAll = UINT64_MAX;
constexpr std::uint32_t kFull = KES_NLS_DESTINATION_FULL;
constexpr std::uint32_t kMore = KES_CONVERT_MORE, kStop = KES_CONVERT_STOP;

struct ConvertCase {
  const char* what;
  std::uint32_t to, from;
  const char* source;
  const char* result;
  std::uint64_t first_replaced = kNone;
  std::uint64_t consumed = kAll;
  std::size_t room = 64;
  std::uint32_t error = 0;
  std::uint32_t options = 0;
  bool indicator = false;  // set although nothing was replaced, or the other way round
};

constexpr ConvertCase kUnicodeForms[] = {
    {"UTF-16 to UTF-8, one to four bytes", 873, 2000, "00 41 00 E9 20 AC D8 3D DE 00",
     "41 C3 A9 E2 82 AC F0 9F 98 80"},
    {"an odd last byte is not read", 873, 2000, "00 41 00", "41", kNone, 2},
    {"a high surrogate at the end", 873, 2000, "00 41 D8 3D", "41 EF BF BD", 2},
    {"a high surrogate before a letter", 873, 2000, "D8 3D 00 41", "EF BF BD 41", 0},
    {"a lone low surrogate", 873, 2000, "DE 00 00 41", "EF BF BD 41", 0},
    {"UTF-8 to UTF-16", 2000, 873, "41 C3 A9 E2 82 AC F0 9F 98 80",
     "00 41 00 E9 20 AC D8 3D DE 00"},
    {"... little-endian", 2002, 873, "41 F0 9F 98 80", "41 00 3D D8 00 DE"},
    {"UTF16 as destination is big-endian without a mark", 1000, 873, "41", "00 41"},
    {"UTF16 as source: mark FE FF", 873, 1000, "FE FF 00 41", "41"},
    {"UTF16 as source: mark FF FE", 873, 1000, "FF FE 41 00", "41"},
    {"UTF16 as source: no mark", 873, 1000, "00 41 00 42", "41 42"},
    {"AL16UTF16 keeps the mark as a character", 873, 2000, "FE FF 00 41", "EF BB BF 41"},
    {"UTF8 codes the two surrogates", 871, 873, "F0 9F 98 80", "ED A0 BD ED B8 80"},
    {"... and reads them as one", 873, 871, "ED A0 BD ED B8 80", "F0 9F 98 80"},
    {"four-byte forms are malformed in UTF8", 873, 871, "F0 9F", "EF BF BD EF BF BD", 0},
    {"UTF-EBCDIC: the mark", 872, 873, "EF BB BF", "DD 73 66 73"},
    {"UTF-EBCDIC: line feed 15, next line 25", 872, 873, "0A C2 85 41", "15 25 C1"},
    {"UTF-EBCDIC reads the mark", 2000, 872, "DD 73 66 73", "FE FF"},
    {"a source U+FFFD sets the indicator but is not replaced", 2000, 873, "EF BF BD", "FF FD",
     kNone, kAll, 64, 0, 0, true},
    {"an overlong form", kUtf16, 873, "C0 AF E0 80 AF", "FF FD FF FD FF FD FF FD FF FD", 0},
    {"a surrogate in UTF-8", kUtf16, 873, "ED A0 80", "FF FD FF FD FF FD", 0},
};

constexpr ConvertCase kTables[] = {
    {"US7ASCII 80 and above", 873, 1, "41 80 FF 42", "41 EF BF BD EF BF BD 42", 1},
    {"single-byte set to UTF-8", 873, 252, "41 E9 80", "41 C3 A9 E2 82 AC"},
    {"a byte that is no character", 873, 252, "41 81", "41 EF BF BD", 1},
    {"UTF-8 to a single-byte set", 252, 873, "41 C3 A9 E2 82 AC D0 96", "41 E9 80 3F", 6},
    {"EBCDIC replacement", 516, 873, "41 D0 96 39", "C1 6F F9", 1},
    {"single-byte to single-byte", 516, 252, "41 80 E9 00", "C1 6F 51 00", 1},
    {"one to three bytes to UTF-8", 873, 831, "41 A4 A2 A7 A1 8E B1 8F A2 AF",
     "41 E3 81 82 D0 90 EF BD B1 CB 98"},
    {"... and back", 831, 873, "41 E3 81 82 D0 90 EF BD B1 CB 98", "41 A4 A2 A7 A1 8E B1 8F A2 AF"},
    {"four bytes", 873, 862, "8E A2 A1 A1", "E4 B9 82"},
    {"an unassigned pair is one replacement", 873, 831, "A8 FE 41", "EF BF BD 41", 0},
    {"a trail byte is not trusted", 873, 831, "A7 0A 8F A1 22", "EF BF BD 0A EF BF BD 22", 0},
    {"... of two", kUtf16, 841, "B0 22 3E", "FF FD 00 22 00 3E", 0},
    {"... in four", kUtf16, 862, "8E A2 A1 0A", "FF FD 00 0A", 0},
    {"... at the end of the text", kUtf16, 831, "8F 22", "FF FD 00 22", 0},
    {"... nor read behind it", kUtf16, 851, "81", "FF FD", 0},
    {"two code points for one, the second lost", kUtf16, 830, "A4 F7 41", "FF FD 00 41", 0},
    {"a surrogate out of a table", 873, 861, "FE FF", "EF BF BD", 0},
};

constexpr ConvertCase kGb18030[] = {
    {"ASCII, two and four bytes", kUtf16, 854, "41 D6 D0 81 30 81 30 90 30 81 30",
     "00 41 4E 2D 00 80 D8 00 DC 00"},
    {"the last code point", kUtf16, 854, "E3 32 9A 35", "DB FF DF FF"},
    {"one place further is none", kUtf16, 854, "E3 32 9A 36 41", "FF FD 00 41", 0},
    {"between the planes is none", kUtf16, 854, "84 31 A5 30", "FF FD", 0},
    {"FE 51 is supplementary", kUtf16, 854, "FE 51 95 32 90 31", "D8 40 DC 87 D8 40 DC 87"},
    {"a lead byte does not swallow a quote", kUtf16, 854, "81 22 41", "FF FD 00 22 00 41", 0},
    {"... nor a digit that begins nothing", kUtf16, 854, "81 30 22 41", "FF FD 00 30 00 22 00 41",
     0},
    {"... nor three bytes", kUtf16, 854, "81 30 81 41", "FF FD 00 30 4E 04", 0},
    {"80 and FF begin nothing", kUtf16, 854, "80 FF 41", "FF FD FF FD 00 41", 0},
    {"cut after one byte", kUtf16, 854, "41 81", "00 41 FF FD", 1},
    {"cut after three bytes", kUtf16, 854, "41 81 30 81", "00 41 FF FD", 1},
    {"four bytes for a supplementary one", 854, kUtf16, "D8 00 DC 00 DB FF DF FF D8 40 DC 87",
     "90 30 81 30 E3 32 9A 35 FE 51"},
    {"a private one that moved is none", 854, kUtf16, "E7 8D", "3F", 0},
};

constexpr ConvertCase kShifts[] = {
    {"shifted and back", kUtf16, 900, "C1 0E 45 41 0F C1", "00 41 4E 00 00 41"},
    {"redundant shifts", kUtf16, 900, "0F C1 0E 0E 45 41 0F 0F C1", "00 41 4E 00 00 41"},
    {"... that end nowhere", kUtf16, 900, "0F 0F 0F 0F", "", kNone, kAll, 2},
    {"... in the shifted state", kUtf16, 905, "0E 0E 0E 0E", "", kNone, kAll, 2},
    {"... with no room behind a character", kUtf16, 904, "C1 0F 0F", "00 41", kNone, kAll, 2},
    {"a shift as trail byte is obeyed", kUtf16, 900, "0E 45 0F C1", "FF FD 00 41", 1},
    {"half a pair at the end", kUtf16, 900, "0E 45 41 45", "4E 00 FF FD", 3},
    {"runs share their shifts", 900, kUtf16, "00 41 4E 00 4E 8C 00 41", "C1 0E 45 41 45 42 0F C1"},
    {"the return at the end", 900, kUtf16, "4E 00", "0E 45 41 0F"},
    {"... without room", 900, kUtf16, "4E 00", "", kNone, 0, 3, kFull},
    {"a replacement returns first", 900, kUtf16, "4E 00 AC 00 4E 00", "0E 45 41 0F 6F 0E 45 41 0F",
     2},
    {"stop leaves the character unread", 900, kUtf16, "4E 00 AC 00 4E 00", "0E 45 41 0F", 2, 2, 64,
     0, kStop},
    {"shift bytes cannot be smuggled in", 900, kUtf16, "00 0E 00 0F", "6F 6F", 0},
};

constexpr ConvertCase kEscapes[] = {
    {"ASCII, Roman and kanji", kUtf16, 9999, "41 1B 28 4A 5C 1B 24 42 46 7C 1B 28 42 5C",
     "00 41 00 A5 65 E5 00 5C"},
    {"the older kanji escape", kUtf16, 9999, "1B 24 40 46 7C", "65 E5"},
    {"katakana is not in this set", kUtf16, 9999, "1B 28 49 31", "FF FD 00 28 00 49 00 31", 0},
    {"a control is one in every state", kUtf16, 9999, "1B 24 42 46 7C 0A 46 7C",
     "65 E5 00 0A 65 E5"},
    {"half a pair in front of a line end", kUtf16, 9999, "1B 24 42 46 0A 46 7C",
     "FF FD 00 0A 65 E5", 3},
    {"an escape cut off", kUtf16, 9999, "41 1B 24", "00 41 FF FD", 1},
    {"an unknown escape is text behind ESC", kUtf16, 9999, "1B 24 5A", "FF FD 00 24 00 5A", 0},
    {"escapes to where the text is", kUtf16, 9999, "1B 28 42 1B 28 42", "", kNone, kAll, 2},
    {"a byte above 7F", kUtf16, 9999, "1B 24 42 C6 46 7C", "FF FD 65 E5", 3},
    {"Greek for one character", kUtf16, 9995, "1B 2E 46 1B 4E 61 41", "03 B1 00 41"},
    {"... and forgotten at the line end", kUtf16, 9995, "1B 2E 46 0A 1B 4E 61",
     "00 0A FF FD 00 4E 00 61", 4},
    {"Korean, Chinese, kanji", kUtf16, 9995, "1B 24 28 43 47 51 1B 24 41 56 50 1B 24 42 46 7C",
     "D5 5C 4E 2D 65 E5"},
    {"katakana and the second plane", kUtf16, 9994, "1B 28 49 31 1B 24 28 50 21 21",
     "FF 71 D8 40 DC 89"},
    {"a state that no text can be in", kUtf16, 9994, "1B 28 49 7E 1B 24 28 51 7E 7F",
     "FF FD FF FD 00 7F", 3},
    {"shift-out without a designation", kUtf16, 9997, "0E 56 50", "FF FD 00 56 00 50", 0},
    {"designation, shift, line end forgets", kUtf16, 9997, "1B 24 29 41 0E 56 50 0A 56 50",
     "4E 2D 00 0A 00 56 00 50"},
    {"... and the shift with it", kUtf16, 9997, "1B 24 29 41 0E 0A 1B 24 29 41 56 50 0E 56 50",
     "00 0A 00 56 00 50 4E 2D"},
    {"second plane for one character", kUtf16, 9997, "1B 24 2A 48 1B 4E 21 2D 41", "4E 0F 00 41"},
    {"Korean with a header", kUtf16, 9998, "1B 24 29 43 0E 47 51 0F 41", "D5 5C 00 41"},
    {"... without", kUtf16, 9998, "0E 47 51 0F 41", "D5 5C 00 41"},
    {"an escape cannot be smuggled in", 9999, kUtf16, "00 1B 00 24 00 42 00 0E 00 0F",
     "3F 24 42 3F 3F", 0},
    {"Roman for yen, ASCII before the line end", 9999, kUtf16, "00 A5 00 61 00 0A",
     "1B 28 4A 5C 61 1B 28 42 0A"},
    {"backslash leaves Roman", 9999, kUtf16, "00 A5 00 5C", "1B 28 4A 5C 1B 28 42 5C"},
    {"stays in a part that has it", 9995, kUtf16, "D5 5C 65 E5",
     "1B 24 28 43 47 51 6C 6D 1B 28 42"},
    {"designated anew after a line end", 9997, kUtf16, "4E 2D 00 0A 4E 2D",
     "1B 24 29 41 0E 56 50 0F 0A 1B 24 29 41 0E 56 50 0F"},
    {"the header stands first, once", 9998, kUtf16, "00 41 D5 5C 00 0A D5 5C",
     "1B 24 29 43 41 0E 47 51 0F 0A 0E 47 51 0F"},
    {"an escape sequence without room", 9996, kUtf16, "4E 0F", "", kNone, 0, 5, kFull},
    {"... or all but its last byte", 9996, kUtf16, "4E 0F", "", kNone, 0, 7, kFull},
    {"... and with it", 9996, kUtf16, "4E 0F", "1B 24 2A 48 1B 4E 21 2D", kNone, kAll, 8},
    {"the header of a text without room", 9998, kUtf16, "00 41", "", kNone, 0, 4, kFull},
};

constexpr ConvertCase kRoomsAndOptions[] = {
    {"what does not fit leaves what was converted", 873, 2000, "00 41 20 AC 00 42", "41", kNone, 2,
     3, kFull},
    {"... which may be nothing", 873, 2000, "D8 3D DE 00", "", kNone, 0, 3, kFull},
    {"filled to the last byte", 873, 1, "41 42 43", "41 42", kNone, 2, 2, kFull},
    {"filled and enough", 873, 2000, "00 41 00 42", "41 42", kNone, 4, 2},
    {"no source", 873, 2000, "", ""},
    {"no room", 873, 2000, "00 41", "", kNone, 0, 0, kFull},
    {"a replacement that does not fit is not reported", 873, 1, "41 80", "41", kNone, 1, 3, kFull},
    {"stop in front of the first replaced", 252, 873, "41 D0 96 42", "41", 1, 1, 64, 0, kStop},
    {"... or malformed one", 873, 2000, "00 41 DC 00 00 42", "41", 2, 2, 64, 0, kStop},
    {"... but U+FFFD itself is a character", 873, 2000, "FF FD 00 41", "EF BF BD 41", kNone, kAll,
     64, 0, kStop, true},
    {"more leaves a truncated character", 873, 873, "41 E2 82", "41", kNone, 1, 64, 0, kMore},
    {"... of one byte", 873, 873, "41 F0", "41", kNone, 1, 64, 0, kMore},
    {"... not a malformed one", 873, 873, "41 E2 41", "41 EF BF BD 41", 1, 3, 64, 0, kMore},
    {"... half a surrogate pair", 873, 2000, "00 41 D8 3D", "41", kNone, 2, 64, 0, kMore},
    {"... and an odd byte of the other", 873, 2000, "00 41 D8 3D DE", "41", kNone, 2, 64, 0, kMore},
    {"... half a pair of UTF8", 873, 871, "41 ED A0 BD", "41", kNone, 1, 64, 0, kMore},
    {"... and a bit of the other", 873, 871, "41 ED A0 BD ED B8", "41", kNone, 1, 64, 0, kMore},
    {"... which cannot become a low one", 873, 871, "41 ED A0 BD ED A0", "41 EF BF BD", 1, 4, 64, 0,
     kMore},
    {"... one byte of two", 873, 831, "41 A4", "41", kNone, 1, 64, 0, kMore},
    {"... two of three", 873, 831, "41 8F A2", "41", kNone, 1, 64, 0, kMore},
};

TEST_F(LxgConvert, HandWorkedCases) {
  const std::span<const ConvertCase> tables[] = {kUnicodeForms, kTables,  kGb18030,
                                                 kShifts,       kEscapes, kRoomsAndOptions};
  for (const std::span<const ConvertCase> table : tables) {
    for (const ConvertCase& c : table) {
      SCOPED_TRACE(c.what);
      const std::vector<std::uint8_t> bytes = Bytes(c.source);
      const std::string source(bytes.begin(), bytes.end());
      const Outcome got = Convert(c.to, c.from, source, c.room, c.options);
      EXPECT_EQ(Show(got.bytes), c.result);
      EXPECT_EQ(got.error, c.error);
      EXPECT_EQ(got.status.consumed, c.consumed == kAll ? source.size() : c.consumed);
      EXPECT_EQ(got.status.characters, got.status.characters_total);
      EXPECT_EQ(got.status.first_replaced, c.first_replaced);
      const bool replaced = c.first_replaced != kNone && (c.options & kStop) == 0;
      EXPECT_EQ(got.status.replacement, replaced || c.indicator ? 1000 : 0);
    }
  }
}

TEST_F(LxgConvert, SixteenBitCountWrapsAndTheFastPathsIsOneShortWhenFull) {
  const Outcome many = Convert(873, 1, std::string(70'000, 'x'));
  EXPECT_EQ(many.status.characters, 70'000 - 65'536);
  EXPECT_EQ(many.status.characters_total, 70'000u);
  const Outcome full = Convert(873, 2000, std::string_view("\0A\0B\0C", 6), 2);
  EXPECT_EQ(full.error, kFull);
  EXPECT_EQ(full.status.consumed, 4u);
  EXPECT_EQ(full.status.characters, 1);
  EXPECT_EQ(full.status.characters_total, 2u);
}

TEST_F(LxgConvert, MissingAndRawSetsCopy) {
  const auto* raw = reinterpret_cast<const lxobject*>(lxdlwkb);
  const lxobject *utf8 = Set(873), *utf16 = Set(2000);
  lxcontext* context = session_.context();
  const std::uint8_t source[] = {0x80, 0xFF, 0};
  for (const auto& [to, from] : {std::pair<const lxobject*, const lxobject*>{nullptr, utf16},
                                 {utf8, nullptr},
                                 {nullptr, nullptr},
                                 {utf8, raw},
                                 {raw, utf8}}) {
    for (const std::size_t room : {2u, 3u, 8u}) {
      std::uint8_t out[8];
      const std::size_t n = lxgcnv(out, to, room, source, from, sizeof source, context);
      EXPECT_EQ(Hex(out, n), room == 2 ? "80 FF" : "80 FF 00");
      EXPECT_EQ(context->error, room == 2 ? kFull : 0);
      EXPECT_EQ(context->status.consumed, n);
      EXPECT_EQ(context->status.replacement, 0);
    }
  }
  EXPECT_EQ(lxgcnv(nullptr, utf8, 0, nullptr, utf16, 0, context), 0u);
  EXPECT_EQ(context->error, 0u);
}

}  // namespace
}  // namespace kestra::test
