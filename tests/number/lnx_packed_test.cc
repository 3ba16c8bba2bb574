#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "kestra/number_decimal.h"
#include "tests/support/hex.h"
#include "tests/support/number_text.h"

namespace kestra::test {
namespace {

using ToField = int(const std::uint8_t*, std::size_t, const lnxfield*, std::uint8_t*, std::size_t,
                    std::size_t*);
using FromField = int(const std::uint8_t*, std::size_t, const lnxfield*, std::uint8_t*,
                      std::size_t*, std::size_t*);

std::string Field(ToField* to, std::string_view value, const lnxfield& field) {
  const NumberBytes number = Number(value);
  std::uint8_t out[200];
  std::size_t length = 0;
  const int status = to(number.data(), number.size(), &field, out, sizeof out, &length);
  return status == LNX_OK ? Hex(out, length) : "!" + std::to_string(status);
}

std::string Value(FromField* from, std::string_view bytes, const lnxfield& field) {
  const NumberBytes given = Bytes(bytes);
  std::uint8_t out[22];
  std::size_t length = 0, bad = 99;
  const int status = from(given.data(), given.size(), &field, out, &length, &bad);
  if (status == LNX_BAD_BYTE) return "bad at " + std::to_string(bad);
  if (status != LNX_OK) return "!" + std::to_string(status);
  return Text(NumberBytes(out, out + length));
}

struct WriteCase {
  const char* value;
  lnxfield field;
  const char* bytes;
};

constexpr WriteCase kPacked[] = {
    {"123.45", {5, 2, 0, 0, 0, 0}, "12 34 5C"},
    {"-123.45", {6, 2, 0, 0, 0, 0}, "00 12 34 5D"},
    {"-0.004", {3, 2, 0, 0, 0, 0}, "00 0C"},
    {"7", {1, 0, LNX_SIGN_NONE, 0, 0, 0}, "7F"},
    {"-7", {1, 0, LNX_SIGN_NONE, 0, 0, 0}, "!3"},
    {"12300", {3, -2, 0, 0, 0, 0}, "12 3C"},
    {"12350", {3, -2, 0, 0, 0, 0}, "12 4C"},
    {"12350", {3, -2, 0, 0, LNX_FIELD_EXACT, 0}, "!5"},
    {"999.5", {3, 0, 0, 0, 0, 0}, "!3"},
    {"999.4", {3, 0, 0, 0, 0, 0}, "99 9C"},
    {"inf", {3, 0, 0, 0, 0, 0}, "!3"},
    {"1", {0, 0, 0, 0, 0, 0}, "!4"},
    {"1", {127, 0, 0, 0, 0, 0}, "!4"},
    {"1", {3, 201, 0, 0, 0, 0}, "!4"},
    {"1", {3, 0, 5, 0, 0, 0}, "!4"},
    {"1e125", {126, 0, 0, 0, 0, 0}, "01 00*62 0C"},
};
constexpr WriteCase kZoned[] = {
    {"123", {3, 0, LNX_SIGN_LAST, LNX_ZONED_EBCDIC, 0, 0}, "F1 F2 C3"},
    {"-120", {3, 0, LNX_SIGN_LAST, LNX_ZONED_EBCDIC, 0, 0}, "F1 F2 D0"},
    {"-1.2", {3, 1, LNX_SIGN_FIRST, LNX_ZONED_EBCDIC, 0, 0}, "D0 F1 F2"},
    {"-12", {2, 0, LNX_SIGN_SEPARATE_LAST, LNX_ZONED_EBCDIC, 0, 0}, "F1 F2 60"},
    {"12", {2, 0, LNX_SIGN_SEPARATE_FIRST, LNX_ZONED_EBCDIC, 0, 0}, "4E F1 F2"},
    {"12", {2, 0, LNX_SIGN_NONE, LNX_ZONED_EBCDIC, 0, 0}, "F1 F2"},
    {"120", {3, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII, 0, 0}, "31 32 7B"},
    {"123", {3, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII, 0, 0}, "31 32 43"},
    {"-120", {3, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII, 0, 0}, "31 32 7D"},
    {"-129", {3, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII, 0, 0}, "31 32 52"},
    {"-129", {3, 0, LNX_SIGN_FIRST, LNX_ZONED_ASCII_ZONE, 0, 0}, "71 32 39"},
    {"129", {3, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII_ZONE, 0, 0}, "31 32 39"},
    {"-5", {2, 0, LNX_SIGN_SEPARATE_FIRST, LNX_ZONED_ASCII, 0, 0}, "2D 30 35"},
    {"-5", {2, 0, LNX_SIGN_NONE, LNX_ZONED_ASCII, 0, 0}, "!3"},
    {"100", {2, 0, LNX_SIGN_LAST, LNX_ZONED_ASCII, 0, 0}, "!3"},
    {"1", {2, 0, LNX_SIGN_LAST, 3, 0, 0}, "!4"},
};

TEST(LnxPacked, WritesHandWorkedFields) {
  for (const WriteCase& c : kPacked) {
    const std::string bytes = c.bytes[0] == '!' ? c.bytes : Hex(Bytes(c.bytes));
    EXPECT_EQ(Field(lnxtopacked, c.value, c.field), bytes) << c.value;
  }
}

TEST(LnxZoned, WritesHandWorkedFields) {
  for (const WriteCase& c : kZoned) EXPECT_EQ(Field(lnxtozoned, c.value, c.field), c.bytes);
}

TEST(LnxPacked, ReadsEverySignNibbleAndNamesTheBadByte) {
  const lnxfield field = {4, 2, 0, 0, 0, 0};
  const lnxfield bare = {4, 2, LNX_SIGN_NONE, 0, 0, 0};
  for (const char* sign : {"A", "C", "E", "F"}) {
    EXPECT_EQ(Value(lnxfrompacked, std::string("01 23 4") + sign, field), "12.34");
    EXPECT_EQ(Value(lnxfrompacked, std::string("01 23 4") + sign, bare), "12.34");
  }
  for (const char* sign : {"B", "D"}) {
    EXPECT_EQ(Value(lnxfrompacked, std::string("01 23 4") + sign, field), "-12.34");
    EXPECT_EQ(Value(lnxfrompacked, std::string("01 23 4") + sign, bare), "bad at 2");
  }
  EXPECT_EQ(Value(lnxfrompacked, "00 00 0D", field), "0");
  EXPECT_EQ(Value(lnxfrompacked, "01 23 49", field), "bad at 2");
  EXPECT_EQ(Value(lnxfrompacked, "01 2A 4C", field), "bad at 1");
  EXPECT_EQ(Value(lnxfrompacked, "B1 23 4C", field), "bad at 0");
  EXPECT_EQ(Value(lnxfrompacked, "11 23 4C", field), "bad at 0");
  EXPECT_EQ(Value(lnxfrompacked, "01 23", field), "!4");
  EXPECT_EQ(Value(lnxfrompacked, "9C", {1, -130, 0, 0, 0, 0}), "!3");
}

TEST(LnxZoned, ReadsEveryOverpunchAndNamesTheBadByte) {
  const lnxfield ebcdic = {2, 0, LNX_SIGN_LAST, LNX_ZONED_EBCDIC, 0, 0};
  for (const char* plus : {"F1 A2", "F1 C2", "F1 E2", "F1 F2"}) {
    EXPECT_EQ(Value(lnxfromzoned, plus, ebcdic), "12");
  }
  for (const char* minus : {"F1 B2", "F1 D2"}) {
    EXPECT_EQ(Value(lnxfromzoned, minus, ebcdic), "-12");
  }
  EXPECT_EQ(Value(lnxfromzoned, "C1 F2", ebcdic), "bad at 0");
  EXPECT_EQ(Value(lnxfromzoned, "F1 FA", ebcdic), "bad at 1");
  for (const std::uint8_t code : {LNX_ZONED_ASCII, LNX_ZONED_ASCII_ZONE}) {
    const lnxfield ascii = {2, 0, LNX_SIGN_FIRST, code, 0, 0};
    EXPECT_EQ(Value(lnxfromzoned, "41 32", ascii), "12");
    EXPECT_EQ(Value(lnxfromzoned, "31 32", ascii), "12");
    EXPECT_EQ(Value(lnxfromzoned, "4A 32", ascii), "-12");
    EXPECT_EQ(Value(lnxfromzoned, "71 32", ascii), "-12");
    EXPECT_EQ(Value(lnxfromzoned, "31 41", ascii), "bad at 1");
    EXPECT_EQ(Value(lnxfromzoned, "7A 32", ascii), "bad at 0");
  }
  EXPECT_EQ(Value(lnxfromzoned, "20 35", {1, 0, LNX_SIGN_SEPARATE_FIRST, LNX_ZONED_ASCII, 0, 0}),
            "bad at 0");
}

TEST(LnxPacked, FieldsReadBackAsTheRoundedValueInEveryShape) {
  std::mt19937_64 random(35);
  for (int i = 0; i < 100'000; ++i) {
    lnxfield field = {};
    field.digits = 1 + static_cast<std::uint32_t>(random() % 40);
    field.scale = static_cast<std::int32_t>(random() % 12) - 4;
    field.sign = static_cast<std::uint8_t>(random() % 5);
    field.code = static_cast<std::uint8_t>(random() % 3);
    const NumberBytes number = Number(RandomDigits(random, 38));
    const lnxtextform fixed = {LNX_TEXT_FIXED, 0, field.scale, 0, {}};
    const std::string rounded = Text(Number(Text(number, &fixed)));
    for (const bool packed : {true, false}) {
      std::uint8_t out[128];
      std::size_t length = 0;
      const int status = (packed ? lnxtopacked : lnxtozoned)(number.data(), number.size(), &field,
                                                             out, sizeof out, &length);
      std::size_t digits = rounded.find('.') - (rounded[0] == '-' ? 1 : 0);
      if (rounded.find('.') == std::string::npos) digits = rounded.size() - (rounded[0] == '-');
      if (rounded[rounded[0] == '-'] == '0') digits = 0;
      const bool fits = static_cast<std::int64_t>(digits) + field.scale <=
                        static_cast<std::int64_t>(field.digits);
      const bool signs = rounded[0] != '-' || field.sign != LNX_SIGN_NONE;
      if (digits > 0) {
        ASSERT_EQ(status, fits && signs ? LNX_OK : LNX_RANGE) << rounded;
      }
      if (status != LNX_OK) continue;
      const auto exact = std::make_unique<std::uint8_t[]>(length);  // the sanitizer guards its end
      std::memcpy(exact.get(), out, length);
      ASSERT_EQ(Value(packed ? lnxfrompacked : lnxfromzoned, Hex(exact.get(), length), field),
                rounded);
      ASSERT_EQ((packed ? lnxtopacked : lnxtozoned)(number.data(), number.size(), &field,
                                                    exact.get(), length, &length),
                LNX_OK);
      ASSERT_EQ((packed ? lnxtopacked : lnxtozoned)(number.data(), number.size(), &field,
                                                    exact.get(), length - 1, &length),
                LNX_FULL);
    }
  }
}

}  // namespace
}  // namespace kestra::test
