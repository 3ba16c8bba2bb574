// What a conversion reports: room, options, counts, and the sets that only copy.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/convert.h"
#include "kestra/object.h"
#include "tests/support/charset_builder.h"
#include "tests/support/hex.h"

namespace kestra::test {
namespace {

class LxgStatus : public testing::Test {
 protected:
  // Converts and returns the bytes written, in hexadecimal.
  std::string Convert(const lxobject* to, const lxobject* from, const char* source,
                      std::size_t room, std::uint32_t options = 0) {
    const std::vector<std::uint8_t> text = Bytes(source);
    std::vector<std::uint8_t> out(room + 1);
    context_.error = 99;
    const std::size_t n =
        lxgcnvb(out.data(), to, room, text.data(), from, text.size(), options, &context_);
    return Hex(out.data(), n);
  }
  const lxstatus& status() const { return context_.status; }

  lxcontext context_{};
  const lxobject* utf8_ = Unicode(873).get();
  const lxobject* utf16_ = Unicode(2000).get();
};

TEST_F(LxgStatus, SequenceThatDoesNotFitLeavesWhatWasConverted) {
  EXPECT_EQ(Convert(utf8_, utf16_, "00 41 20 AC 00 42", 3), "41");  // 3 bytes wanted, 2 left
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(status().consumed, 2u);
  EXPECT_EQ(status().characters, 1);
  EXPECT_EQ(Convert(utf8_, utf16_, "D8 3D DE 00", 3), "");
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(status().consumed, 0u);
  EXPECT_EQ(status().characters, 0);
}

TEST_F(LxgStatus, FastPathCountsOneLessWhenTheDestinationIsFilledToItsLastByte) {
  EXPECT_EQ(Convert(utf8_, utf16_, "00 41 00 42 00 43", 2), "41 42");
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(status().consumed, 4u);
  EXPECT_EQ(status().characters, 1);
  EXPECT_EQ(status().characters_total, 2u);
  // The other paths count what they converted.
  EXPECT_EQ(Convert(utf8_, UsAscii().get(), "41 42 43", 2), "41 42");
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(status().characters, 2);
  // A destination that is filled and suffices is no error.
  EXPECT_EQ(Convert(utf8_, utf16_, "00 41 00 42", 2), "41 42");
  EXPECT_EQ(context_.error, 0u);
  EXPECT_EQ(status().characters, 2);
}

TEST_F(LxgStatus, EmptySidesConvertNothing) {
  EXPECT_EQ(Convert(utf8_, utf16_, "", 8), "");
  EXPECT_EQ(context_.error, 0u);
  EXPECT_EQ(Convert(utf8_, utf16_, "00 41", 0), "");
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(lxgcnv(nullptr, utf8_, 0, nullptr, utf16_, 0, &context_), 0u);
  EXPECT_EQ(context_.error, 0u);
  EXPECT_EQ(status().first_replaced, UINT64_MAX);
}

TEST_F(LxgStatus, ReplacementThatDoesNotFitIsNotReported) {
  EXPECT_EQ(Convert(utf8_, UsAscii().get(), "41 80", 3), "41");
  EXPECT_EQ(context_.error, 6u);
  EXPECT_EQ(status().replacement, 0);
  EXPECT_EQ(status().first_replaced, UINT64_MAX);
}

TEST_F(LxgStatus, StopEndsInFrontOfTheFirstReplacedCharacter) {
  EXPECT_EQ(Convert(Latin().get(), utf8_, "41 D0 96 42", 8, KES_CONVERT_STOP), "41");
  EXPECT_EQ(context_.error, 0u);
  EXPECT_EQ(status().consumed, 1u);
  EXPECT_EQ(status().first_replaced, 1u);
  EXPECT_EQ(status().replacement, 0);
  EXPECT_EQ(Convert(utf8_, utf16_, "00 41 DC 00 00 42", 8, KES_CONVERT_STOP), "41");
  EXPECT_EQ(status().first_replaced, 2u);
  // U+FFFD itself is a character that the destination has.
  EXPECT_EQ(Convert(utf8_, utf16_, "FF FD 00 41", 8, KES_CONVERT_STOP), "EF BF BD 41");
  EXPECT_EQ(status().replacement, 1000);
  EXPECT_EQ(status().first_replaced, UINT64_MAX);
}

TEST_F(LxgStatus, MoreLeavesATruncatedCharacterUnconsumed) {
  const struct {
    const lxobject* from;
    const char* source;
    std::uint64_t consumed;
  } cases[] = {
      {utf8_, "41 E2 82", 1},
      {utf8_, "41 F0", 1},
      {utf8_, "41 E2 41", 3},  // malformed, not truncated
      {utf16_, "00 41 D8 3D", 2},
      {utf16_, "00 41 D8 3D DE", 2},
      {Unicode(871).get(), "41 ED A0 BD", 1},        // half a pair
      {Unicode(871).get(), "41 ED A0 BD ED B8", 1},  // and a bit of the other
      {Unicode(871).get(), "41 ED A0 BD ED A0", 4},  // which cannot become a low one
      {Double().get(), "41 88", 1},
      {Double().get(), "41 8F A1", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    Convert(utf8_, c.from, c.source, 64, KES_CONVERT_MORE);
    EXPECT_EQ(context_.error, 0u);
    EXPECT_EQ(status().consumed, c.consumed);
    Convert(utf8_, c.from, c.source, 64);
    EXPECT_GE(status().consumed + 1, Bytes(c.source).size());  // but for an odd byte of UTF-16
    EXPECT_EQ(status().replacement, 1000);
  }
}

TEST_F(LxgStatus, MissingAndRawSetsCopy) {
  const auto* raw = reinterpret_cast<const lxobject*>(lxdlwkb);
  const struct {
    const lxobject* to;
    const lxobject* from;
  } pairs[] = {{nullptr, utf16_}, {utf8_, nullptr}, {nullptr, nullptr}, {utf8_, raw}, {raw, utf8_}};
  for (const auto& pair : pairs) {
    EXPECT_EQ(Convert(pair.to, pair.from, "80 FF 00", 8), "80 FF 00");
    EXPECT_EQ(context_.error, 0u);
    EXPECT_EQ(status().replacement, 0);
    EXPECT_EQ(Convert(pair.to, pair.from, "80 FF 00", 2), "80 FF");
    EXPECT_EQ(context_.error, 6u);
    EXPECT_EQ(status().consumed, 2u);
  }
}

TEST_F(LxgStatus, SixteenBitCountWrapsAndTheWholeCountDoesNot) {
  const std::vector<std::uint8_t> text(70000, 'x');
  std::vector<std::uint8_t> out(text.size());
  lxgcnv(out.data(), utf8_, out.size(), text.data(), UsAscii().get(), text.size(), &context_);
  EXPECT_EQ(status().characters, 70000 - 65536);
  EXPECT_EQ(status().characters_total, 70000u);
}

}  // namespace
}  // namespace kestra::test
