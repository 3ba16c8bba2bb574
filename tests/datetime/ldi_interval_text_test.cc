// Intervals as text, in all notations and encodings.
#include <gtest/gtest.h>

#include "kestra/interval.h"
#include "tests/support/datetime_values.h"

namespace {

using kestra::test::DatetimeSource;
using kestra::test::Interval;
using kestra::test::Show;

std::string Fields(const LdiInter& inter, std::uint32_t leading, std::uint32_t fraction) {
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  const std::uint32_t error =
      LdiInterToString(text, sizeof text, &length, &inter, leading, fraction, nullptr);
  return error != 0 ? "!" + std::to_string(error) : std::string(text, text + length);
}

std::string Iso(const LdiInter& inter) {
  std::uint8_t text[KES_INTERVAL_TEXT];
  std::size_t length = 0;
  const std::uint32_t error = LdiInterToStringISO(text, sizeof text, &length, &inter, nullptr);
  return error != 0 ? "!" + std::to_string(error) : std::string(text, text + length);
}

std::string Read(std::string_view text, std::uint32_t type, std::uint32_t leading = 9,
                 std::uint32_t fraction = 9) {
  LdiInter inter{};
  const std::uint32_t error =
      LdiInterFromStringPrec(&inter, reinterpret_cast<const std::uint8_t*>(text.data()),
                             text.size(), type, leading, fraction, nullptr);
  std::u16string wide(text.begin(), text.end());
  LdiInter other{};
  EXPECT_EQ(LdiInterFromStringPrecU(&other, reinterpret_cast<const std::uint16_t*>(wide.data()),
                                    wide.size(), type, leading, fraction),
            error);
  EXPECT_EQ(Show(other), Show(inter));
  return error != 0 ? "!" + std::to_string(error) : Show(inter);
}

TEST(LdiInterToString, EachTypeAndPrecision) {
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_YEAR_TO_MONTH, 2, 11), 2, 0), "+02-11");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_YEAR, -2), 4, 0), "-0002");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_MONTH, 0, 123), 2, 0), "!1873");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY_TO_SECOND, -3, -4, -5, -6, -123000000), 6, 3),
            "-000003 04:05:06.123");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY_TO_SECOND, 3, 4, 5, 6, 999999999), 2, 0),
            "+03 04:05:07");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY_TO_MINUTE, 3, 4, 5), 2, 9), "+03 04:05");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_HOUR_TO_SECOND, 0, 100, 5, 6, 5), 3, 9),
            "+100:05:06.000000005");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_SECOND, 0, 0, 0, 0, -500000000), 2, 1), "-00.5");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_SECOND, 0, 0, 0, 99, 999999999), 2, 0), "!1873");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY, 7), KES_PRECISION_DEFAULT, KES_PRECISION_DEFAULT),
            "+07");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY, 7), 10, 0), "!1873");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_SECOND, 0, 0, 0, 7), 9, 10), "!1880");
  EXPECT_EQ(Fields(Interval(0, 7), 9, 9), "!1867");
  EXPECT_EQ(Fields(Interval(KES_INTERVAL_DAY_TO_HOUR, 7, -1), 9, 9), "!1867");
}

TEST(LdiInterToStringISO, LeavesOutWhatIsZero) {
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_YEAR_TO_MONTH, 2, 11)), "P2Y11M");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_MONTH, 0, -25)), "-P2Y1M");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_MONTH, 0, 0)), "P0M");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_DAY, 3)), "P3D");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_SECOND, 0, 0, 0, 0)), "PT0S");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_DAY_TO_SECOND, -3, 0, -5, 0, -120000000)), "-P3DT5M0.12S");
  EXPECT_EQ(Iso(Interval(KES_INTERVAL_MINUTE, 0, 0, 90)), "PT1H30M");
}

TEST(LdiInterToString, WritesNothingWithoutRoom) {
  const LdiInter inter = Interval(KES_INTERVAL_DAY_TO_SECOND, 3, 4, 5, 6, 7);
  for (std::size_t room = 0; room < 22; ++room) {
    std::uint8_t text[32] = {};
    std::size_t length = 99;
    const std::uint32_t error = LdiInterToString(text, room, &length, &inter, 2, 9, nullptr);
    EXPECT_EQ(error, room < 22 ? 1877u : 0u);
    EXPECT_EQ(length, 99u);
    EXPECT_EQ(text[0], 0);
  }
  std::uint16_t wide[22];
  std::size_t length = 0;
  ASSERT_EQ(LdiInterToStringU(wide, 22, &length, &inter, 2, 9), 0u);
  EXPECT_EQ(std::u16string(wide, wide + length), u"+03 04:05:06.000000007");
  ASSERT_EQ(LdiInterToStringISOU(wide, 22, &length, &inter), 0u);
  EXPECT_EQ(std::u16string(wide, wide + length), u"P3DT4H5M6.000000007S");
}

struct ReadCase {
  const char* text;
  std::uint32_t type;
  const char* result;
};

TEST(LdiInterFromString, FieldsOfATypeAndNothingElse) {
  constexpr ReadCase kCases[] = {
      {"2-11", KES_INTERVAL_YEAR_TO_MONTH, "2 11 0 0 0 /7"},
      {"  - 0002-1 ", KES_INTERVAL_YEAR_TO_MONTH, "-2 -1 0 0 0 /7"},
      {"+000000000000000000012", KES_INTERVAL_MONTH, "0 12 0 0 0 /2"},
      {"2-12", KES_INTERVAL_YEAR_TO_MONTH, "!1843"},
      {"2", KES_INTERVAL_YEAR_TO_MONTH, "!1867"},
      {"2-", KES_INTERVAL_YEAR_TO_MONTH, "!1867"},
      {"2-1-1", KES_INTERVAL_YEAR_TO_MONTH, "!1867"},
      {"", KES_INTERVAL_DAY, "!1867"},
      {"+", KES_INTERVAL_DAY, "!1867"},
      {"- -1", KES_INTERVAL_DAY, "!1867"},
      {"1 2:3:4.5", KES_INTERVAL_DAY_TO_SECOND, "1 2 3 4 500000000 /10"},
      {"-1   02:03:04.000000001", KES_INTERVAL_DAY_TO_SECOND, "-1 -2 -3 -4 -1 /10"},
      {"1 2:3:4.", KES_INTERVAL_DAY_TO_SECOND, "1 2 3 4 0 /10"},
      {"1 2:3:4.0000000001", KES_INTERVAL_DAY_TO_SECOND, "!1880"},
      {"1 24:0:0", KES_INTERVAL_DAY_TO_SECOND, "!1850"},
      {"1 23:60:0", KES_INTERVAL_DAY_TO_SECOND, "!1851"},
      {"1 23:59:60", KES_INTERVAL_DAY_TO_SECOND, "!1852"},
      {"1:23:59", KES_INTERVAL_DAY_TO_SECOND, "!1867"},
      {"100:59", KES_INTERVAL_HOUR_TO_MINUTE, "0 100 59 0 0 /11"},
      {"100:59.5", KES_INTERVAL_HOUR_TO_MINUTE, "!1867"},
      {"999999999.999999999", KES_INTERVAL_SECOND, "0 0 0 999999999 999999999 /6"},
      {"1000000000", KES_INTERVAL_SECOND, "!1873"},
      {"99999999999999999999999999", KES_INTERVAL_SECOND, "!1873"},
      {"1\xC3\xA4", KES_INTERVAL_DAY, "!1867"},
      {"1", 14, "!1867"},
  };
  for (const ReadCase& c : kCases) {
    if (c.text[0] == '1' && c.text[1] == '\xC3') continue;  // has no plain UTF-16 twin
    EXPECT_EQ(Read(c.text, c.type), c.result) << c.text;
  }
  LdiInter inter;
  EXPECT_EQ(LdiInterFromString(&inter, nullptr, 0, KES_INTERVAL_DAY, nullptr), 1867u);
  EXPECT_EQ(Read("99.96", KES_INTERVAL_SECOND, 2, 1), "!1873");
  EXPECT_EQ(Read("99.94", KES_INTERVAL_SECOND, 2, 1), "0 0 0 99 900000000 /6");
  EXPECT_EQ(Read("100", KES_INTERVAL_SECOND, 2, 1), "!1873");
}

TEST(LdiInterFromString, IsoDurations) {
  constexpr ReadCase kCases[] = {
      {"P2Y11M", KES_INTERVAL_YEAR_TO_MONTH, "2 11 0 0 0 /7"},
      {"p25m", KES_INTERVAL_YEAR_TO_MONTH, "2 1 0 0 0 /7"},
      {"-P25M", KES_INTERVAL_YEAR_TO_MONTH, "-2 -1 0 0 0 /7"},
      {"P25M", KES_INTERVAL_YEAR, "!1878"},
      {"P24M", KES_INTERVAL_YEAR, "2 0 0 0 0 /1"},
      {"P1W2DT36H90M0.5S", KES_INTERVAL_DAY_TO_SECOND, "10 13 30 0 500000000 /10"},
      {"P-1DT-2H", KES_INTERVAL_DAY_TO_SECOND, "-1 -2 0 0 0 /10"},
      {"-P-1DT-2H", KES_INTERVAL_DAY_TO_SECOND, "1 2 0 0 0 /10"},
      {"P-1DT2H", KES_INTERVAL_DAY_TO_SECOND, "!1867"},
      {"P-0DT2H", KES_INTERVAL_DAY_TO_SECOND, "0 2 0 0 0 /10"},
      {"PT0,25S", KES_INTERVAL_SECOND, "0 0 0 0 250000000 /6"},
      {"PT1.5H", KES_INTERVAL_DAY_TO_SECOND, "!1867"},
      {"P1Y", KES_INTERVAL_DAY, "!1870"},
      {"P0Y1D", KES_INTERVAL_DAY, "1 0 0 0 0 /3"},
      {"P1D", KES_INTERVAL_YEAR, "!1870"},
      {"P", KES_INTERVAL_DAY, "!1867"},
      {"PT", KES_INTERVAL_DAY, "!1867"},
      {"P1DT", KES_INTERVAL_DAY, "!1867"},
      {"P1H", KES_INTERVAL_HOUR, "!1867"},
      {"PT1S1M", KES_INTERVAL_DAY_TO_SECOND, "!1867"},
      {"P1D1D", KES_INTERVAL_DAY, "!1867"},
      {"P1", KES_INTERVAL_DAY, "!1867"},
      {"PT1.0000000001S", KES_INTERVAL_SECOND, "!1880"},
      {"P99999999999999999999D", KES_INTERVAL_DAY, "!1873"},
      {"PT99999999999999999999S", KES_INTERVAL_DAY_TO_SECOND, "!1873"},
  };
  for (const ReadCase& c : kCases) EXPECT_EQ(Read(c.text, c.type), c.result) << c.text;
}

TEST(LdiInterFromString, SqlLiterals) {
  constexpr ReadCase kCases[] = {
      {"INTERVAL '1-2' YEAR TO MONTH", KES_INTERVAL_YEAR_TO_MONTH, "1 2 0 0 0 /7"},
      {"interval'100' year(3)", KES_INTERVAL_MONTH, "0 1200 0 0 0 /2"},
      {"INTERVAL '100' YEAR", KES_INTERVAL_YEAR, "!1873"},
      {"INTERVAL - '1-2' YEAR TO MONTH", KES_INTERVAL_YEAR_TO_MONTH, "-1 -2 0 0 0 /7"},
      {"INTERVAL -'-1 2:3:4.5678' DAY(2) TO SECOND(2)", KES_INTERVAL_DAY_TO_SECOND,
       "1 2 3 4 570000000 /10"},
      {"INTERVAL '30.12345' SECOND(2,4)", KES_INTERVAL_DAY_TO_SECOND, "0 0 0 30 123500000 /10"},
      {"INTERVAL '30' SECOND ( 2 )", KES_INTERVAL_MINUTE, "!1878"},
      {"INTERVAL '60' SECOND", KES_INTERVAL_MINUTE, "0 0 1 0 0 /5"},
      {"INTERVAL '1' DAY", KES_INTERVAL_YEAR, "!1870"},
      {"INTERVAL '1:2' HOUR TO MINUTE", KES_INTERVAL_HOUR_TO_MINUTE, "0 1 2 0 0 /11"},
      {"INTERVAL '1 2' DAY TO MONTH", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1 2' HOUR TO DAY", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1' DAY(10)", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1' DAYS", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1 DAY", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1'", KES_INTERVAL_DAY, "!1867"},
      {"INTERVAL '1' DAY x", KES_INTERVAL_DAY, "!1867"},
  };
  for (const ReadCase& c : kCases) EXPECT_EQ(Read(c.text, c.type), c.result) << c.text;
}

}  // namespace
