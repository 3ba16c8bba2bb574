// Conversion by hand-worked cases: each path's bytes and whole status.
#include <gtest/gtest.h>

#include <vector>

#include "kestra/convert.h"
#include "tests/support/charset_builder.h"
#include "tests/support/hex.h"

namespace kestra::test {
namespace {

struct Outcome {
  std::string bytes;
  lxstatus status;
  std::uint32_t error;
};

Outcome Convert(const CharsetObject& to, const CharsetObject& from,
                const std::vector<std::uint8_t>& source, std::size_t room = 64,
                std::uint32_t options = 0) {
  lxcontext context{};
  context.error = 99;
  std::vector<std::uint8_t> out(room);
  const std::size_t n = lxgcnvb(out.data(), to.get(), room, source.data(), from.get(),
                                source.size(), options, &context);
  return {Hex(out.data(), n), context.status, context.error};
}

struct ConvertCase {
  const char* what;
  const CharsetObject& (*to)();
  const CharsetObject& (*from)();
  const char* source;
  const char* result;
  std::uint64_t consumed;
  unsigned characters;
  std::uint64_t first_replaced;
};

template <std::uint16_t kId>
const CharsetObject& U() {
  return Unicode(kId);
}
constexpr std::uint64_t kNone = UINT64_MAX;

const ConvertCase kCases[] = {
    {"UTF-16 to UTF-8, one to four bytes", U<873>, U<2000>, "00 41 00 E9 20 AC D8 3D DE 00",
     "41 C3 A9 E2 82 AC F0 9F 98 80", 10, 4, kNone},
    {"an odd last byte is not read", U<873>, U<2000>, "00 41 00", "41", 2, 1, kNone},
    {"a high surrogate at the end", U<873>, U<2000>, "00 41 D8 3D", "41 EF BF BD", 4, 2, 2},
    {"a high surrogate before a letter", U<873>, U<2000>, "D8 3D 00 41", "EF BF BD 41", 4, 2, 0},
    {"a lone low surrogate", U<873>, U<2000>, "DE 00 00 41", "EF BF BD 41", 4, 2, 0},
    {"US7ASCII 80 and above", U<873>, UsAscii, "41 80 FF 42", "41 EF BF BD EF BF BD 42", 4, 4, 1},
    {"UTF-8 to UTF-16", U<2000>, U<873>, "41 C3 A9 E2 82 AC F0 9F 98 80",
     "00 41 00 E9 20 AC D8 3D DE 00", 10, 4, kNone},
    {"... little-endian", U<2002>, U<873>, "41 F0 9F 98 80", "41 00 3D D8 00 DE", 5, 2, kNone},
    {"UTF16 as destination is big-endian without a mark", U<1000>, U<873>, "41", "00 41", 1, 1,
     kNone},
    {"UTF16 as source: mark FE FF", U<873>, U<1000>, "FE FF 00 41", "41", 4, 1, kNone},
    {"UTF16 as source: mark FF FE", U<873>, U<1000>, "FF FE 41 00", "41", 4, 1, kNone},
    {"UTF16 as source: no mark", U<873>, U<1000>, "00 41 00 42", "41 42", 4, 2, kNone},
    {"AL16UTF16 keeps the mark as a character", U<873>, U<2000>, "FE FF 00 41", "EF BB BF 41", 4, 2,
     kNone},
    {"UTF8 codes the two surrogates", U<871>, U<873>, "F0 9F 98 80", "ED A0 BD ED B8 80", 4, 1,
     kNone},
    {"... and reads them as one", U<873>, U<871>, "ED A0 BD ED B8 80", "F0 9F 98 80", 6, 1, kNone},
    {"four-byte forms are malformed in UTF8", U<873>, U<871>, "F0 9F", "EF BF BD EF BF BD", 2, 2,
     0},
    {"UTF-EBCDIC: the mark", U<872>, U<873>, "EF BB BF", "DD 73 66 73", 3, 1, kNone},
    {"UTF-EBCDIC: line feed 15, next line 25", U<872>, U<873>, "0A C2 85 41", "15 25 C1", 4, 3,
     kNone},
    {"UTF-EBCDIC reads the mark", U<2000>, U<872>, "DD 73 66 73", "FE FF", 4, 1, kNone},
    {"single-byte set to UTF-8", U<873>, Latin, "41 E9 80", "41 C3 A9 E2 82 AC", 3, 3, kNone},
    {"a byte that is no character", U<873>, Latin, "41 81", "41 EF BF BD", 2, 2, 1},
    {"UTF-8 to a single-byte set", Latin, U<873>, "41 C3 A9 E2 82 AC D0 96", "41 E9 80 3F", 8, 4,
     6},
    {"EBCDIC replacement", Ebcdic, U<873>, "41 D0 96 39", "C1 6F F9", 4, 3, 1},
    {"single-byte to single-byte", Ebcdic, Latin, "41 80 E9 00", "C1 B1 6F 00", 4, 4, 2},
    {"multibyte to UTF-8", U<873>, Double, "41 88 41 A7 A1 8F A1 B0 B1 A8 A1",
     "41 E4 B8 80 D0 90 EA B0 80 EF BD B1 F0 A0 80 80", 11, 6, kNone},
    {"UTF-8 to multibyte", Double, U<873>, "41 E4 B8 80 D0 90 EA B0 80 EF BD B1 F0 A0 80 80",
     "41 88 41 A7 A1 8F A1 B0 B1 A8 A1", 16, 6, kNone},
    {"an unassigned pair is one replacement", U<873>, Double, "A8 A3 41", "EF BF BD 41", 3, 2, 0},
    {"... but never swallows ASCII", U<873>, Double, "A7 0A 8F A1 22", "EF BF BD 0A EF BF BD 22", 5,
     4, 0},
    {"a source U+FFFD sets the indicator but is not replaced", U<2000>, U<873>, "EF BF BD", "FF FD",
     3, 1, kNone},
};

TEST(LxgConvert, HandWorkedCases) {
  for (const ConvertCase& c : kCases) {
    SCOPED_TRACE(c.what);
    const Outcome got = Convert(c.to(), c.from(), Bytes(c.source));
    EXPECT_EQ(got.bytes, c.result);
    EXPECT_EQ(got.error, 0u);
    EXPECT_EQ(got.status.consumed, c.consumed);
    EXPECT_EQ(got.status.characters, c.characters);
    EXPECT_EQ(got.status.characters_total, c.characters);
    EXPECT_EQ(got.status.first_replaced, c.first_replaced);
    const bool indicator = c.first_replaced != kNone || std::string(c.source) == "EF BF BD";
    EXPECT_EQ(got.status.replacement, indicator ? 1000 : 0);
  }
}

}  // namespace
}  // namespace kestra::test
