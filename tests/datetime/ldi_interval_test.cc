// Intervals: making, checking, converting and computing.
#include <gtest/gtest.h>

#include "kestra/interval.h"
#include "tests/support/datetime_values.h"
#include "tests/support/number_text.h"

namespace {

using kestra::test::Interval;
using kestra::test::Number;
using kestra::test::NumberBytes;
using kestra::test::Show;
using kestra::test::Text;

constexpr std::int32_t kBig = 999'999'999;

TEST(LdiTables, MasksPowersAndLimitsAgree) {
  constexpr std::uint8_t kMasks[14] = {0, 32, 16, 8, 4, 2, 1, 48, 12, 14, 15, 6, 7, 3};
  for (int i = 0; i < 14; ++i) EXPECT_EQ(LdiTypeCode[i], kMasks[i]);
  for (int i = 1; i < 10; ++i) EXPECT_EQ(LdiPrecLimit[i] + 1, LdiPower10[i]);
  EXPECT_EQ(LdiPower10[0], 1u);
  EXPECT_EQ(LdiPrecLimit[0], 0u);
}

TEST(LdiInterConstruct, KeepsOnlyTheFieldsOfTheType) {
  constexpr const char* kFields[14] = {"",
                                       "1 0 0 0 0 /1",
                                       "0 2 0 0 0 /2",
                                       "3 0 0 0 0 /3",
                                       "0 4 0 0 0 /4",
                                       "0 0 5 0 0 /5",
                                       "0 0 0 6 700000000 /6",
                                       "1 2 0 0 0 /7",
                                       "3 4 0 0 0 /8",
                                       "3 4 5 0 0 /9",
                                       "3 4 5 6 700000000 /10",
                                       "0 4 5 0 0 /11",
                                       "0 4 5 6 700000000 /12",
                                       "0 0 5 6 700000000 /13"};
  for (std::uint32_t type = 1; type < 14; ++type) {
    LdiInter inter;
    ASSERT_EQ(LdiInterConstruct(&inter, 1, 2, 3, 4, 5, 6, 700000000, 9, 9, type), 0u);
    EXPECT_EQ(Show(inter), kFields[type]);
    EXPECT_EQ(LdiInterCheck(&inter), 0u);
  }
  LdiInter inter;
  EXPECT_EQ(LdiInterConstruct(&inter, 1, 2, 3, 4, 5, 6, 7, 9, 9, 0), 1867u);
  EXPECT_EQ(LdiInterConstruct(&inter, 1, 2, 3, 4, 5, 6, 7, 9, 9, 14), 1867u);
}

TEST(LdiInterConstruct, RangesSignsAndPrecisions) {
  struct Case {
    std::uint32_t error;
    std::uint32_t type;
    std::int32_t f[7];
    std::uint32_t leading, fraction;
    const char* out;
  };
  constexpr Case kCases[] = {
      {0, KES_INTERVAL_SECOND, {0, 0, 0, 0, 0, 59, 999999999}, 2, 6, "0 0 0 60 0 /6"},
      {0,
       KES_INTERVAL_DAY_TO_SECOND,
       {0, 0, -1, -23, -59, -59, -999999999},
       2,
       0,
       "-2 0 0 0 0 /10"},
      {1873, KES_INTERVAL_SECOND, {0, 0, 0, 0, 0, 99, 999999999}, 2, 6, ""},
      {1873, KES_INTERVAL_DAY, {0, 0, 100, 0, 0, 0, 0}, 2, 0, ""},
      {0, KES_INTERVAL_DAY, {0, 0, 100, 0, 0, 0, 0}, 3, 0, "100 0 0 0 0 /3"},
      {0, KES_INTERVAL_DAY, {0, 0, kBig, 0, 0, 0, 0}, 9, 0, "999999999 0 0 0 0 /3"},
      {1873, KES_INTERVAL_DAY, {0, 0, kBig + 1, 0, 0, 0, 0}, 9, 0, ""},
      {1873, KES_INTERVAL_YEAR, {INT32_MIN, 0, 0, 0, 0, 0, 0}, 9, 0, ""},
      {1873, KES_INTERVAL_DAY, {0, 0, 1, 0, 0, 0, 0}, 10, 0, ""},
      {1880, KES_INTERVAL_SECOND, {0, 0, 0, 0, 0, 1, 0}, 9, 10, ""},
      {1873, KES_INTERVAL_DAY, {0, 0, 1, 0, 0, 0, 0}, 0, 0, ""},
      {0, KES_INTERVAL_DAY, {0, 0, 0, 0, 0, 0, 0}, 0, 0, "0 0 0 0 0 /3"},
      {1843, KES_INTERVAL_YEAR_TO_MONTH, {1, 12, 0, 0, 0, 0, 0}, 9, 0, ""},
      {0, KES_INTERVAL_MONTH, {1, 12, 0, 0, 0, 0, 0}, 9, 0, "0 12 0 0 0 /2"},
      {1850, KES_INTERVAL_DAY_TO_HOUR, {0, 0, 1, 24, 0, 0, 0}, 9, 0, ""},
      {1851, KES_INTERVAL_HOUR_TO_MINUTE, {0, 0, 0, 1, 60, 0, 0}, 9, 0, ""},
      {1852, KES_INTERVAL_MINUTE_TO_SECOND, {0, 0, 0, 0, 1, 60, 0}, 9, 0, ""},
      {1880, KES_INTERVAL_SECOND, {0, 0, 0, 0, 0, 1, 1000000000}, 9, 0, ""},
      {1867, KES_INTERVAL_DAY_TO_HOUR, {0, 0, 1, -1, 0, 0, 0}, 9, 0, ""},
      {1867, KES_INTERVAL_SECOND, {0, 0, 0, 0, 0, -1, 1}, 9, 9, ""},
  };
  for (const Case& c : kCases) {
    LdiInter inter{};
    const std::int32_t* f = c.f;
    ASSERT_EQ(LdiInterConstruct(&inter, f[0], f[1], f[2], f[3], f[4], f[5], f[6], c.leading,
                                c.fraction, c.type),
              c.error)
        << c.type << " " << c.out;
    if (c.error == 0) {
      EXPECT_EQ(Show(inter), c.out);
    }
  }
}

TEST(LdiInterInterConvert, CutsFieldsAndKeepsTheAmount) {
  struct Case {
    LdiInter in;
    std::uint32_t type, leading, fraction, error;
    const char* out;
  };
  const Case cases[] = {
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, 90061, 5), KES_INTERVAL_DAY_TO_SECOND, 2, 9, 0,
       "1 1 1 1 5 /10"},
      {Interval(KES_INTERVAL_DAY_TO_SECOND, -1, -1, -1, -1, -5), KES_INTERVAL_HOUR, 2, 9, 0,
       "0 -25 0 0 0 /4"},
      {Interval(KES_INTERVAL_DAY, 5), KES_INTERVAL_HOUR_TO_MINUTE, 2, 0, 1873, ""},
      {Interval(KES_INTERVAL_DAY, kBig), KES_INTERVAL_SECOND, 9, 0, 1873, ""},
      {Interval(KES_INTERVAL_MONTH, 0, -25), KES_INTERVAL_YEAR_TO_MONTH, 2, 0, 0, "-2 -1 0 0 0 /7"},
      {Interval(KES_INTERVAL_MONTH, 0, -25), KES_INTERVAL_YEAR, 2, 0, 0, "-2 0 0 0 0 /1"},
      {Interval(KES_INTERVAL_YEAR, kBig), KES_INTERVAL_MONTH, 9, 0, 1873, ""},
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1, 499999999), KES_INTERVAL_SECOND, 2, 0, 0,
       "0 0 0 1 0 /6"},
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, -1, -500000000), KES_INTERVAL_SECOND, 2, 0, 0,
       "0 0 0 -2 0 /6"},
      {Interval(KES_INTERVAL_YEAR, 1), KES_INTERVAL_DAY, 2, 0, 1870, ""},
  };
  for (const Case& c : cases) {
    LdiInter out{};
    ASSERT_EQ(LdiInterInterConvert(&out, &c.in, c.type, c.leading, c.fraction), c.error)
        << Show(c.in);
    if (c.error == 0) {
      EXPECT_EQ(Show(out), c.out);
    }
  }
}

TEST(LdiInterInterAdd, UnitesTheFieldsOfTheTypes) {
  struct Case {
    LdiInter x, y;
    const char* sum;
    const char* difference;
  };
  const Case cases[] = {
      {Interval(KES_INTERVAL_HOUR, 0, 5), Interval(KES_INTERVAL_MINUTE_TO_SECOND, 0, 0, 59, 59, 1),
       "0 5 59 59 1 /12", "0 4 0 0 999999999 /12"},
      {Interval(KES_INTERVAL_DAY, 1), Interval(KES_INTERVAL_SECOND, 0, 0, 0, 86400),
       "2 0 0 0 0 /10", "0 0 0 0 0 /10"},
      {Interval(KES_INTERVAL_YEAR, 1), Interval(KES_INTERVAL_MONTH, 0, 13), "2 1 0 0 0 /7",
       "0 -1 0 0 0 /7"},
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, 0, 1), Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1),
       "0 0 0 1 1 /6", "0 0 0 0 -999999999 /6"},
      {Interval(KES_INTERVAL_MINUTE, 0, 0, 1), Interval(KES_INTERVAL_DAY, 1), "1 0 1 0 0 /9",
       "0 -23 -59 0 0 /9"},
  };
  for (const Case& c : cases) {
    LdiInter out{};
    ASSERT_EQ(LdiInterInterAdd(&out, &c.x, &c.y), 0u);
    EXPECT_EQ(Show(out), c.sum);
    ASSERT_EQ(LdiInterInterSubtract(&out, &c.x, &c.y), 0u);
    EXPECT_EQ(Show(out), c.difference);
  }
}

TEST(LdiInterInterAdd, OverflowOfEveryLeadingField) {
  const LdiInter limits[] = {Interval(KES_INTERVAL_YEAR, kBig),
                             Interval(KES_INTERVAL_MONTH, 0, kBig),
                             Interval(KES_INTERVAL_DAY, kBig),
                             Interval(KES_INTERVAL_HOUR, 0, kBig),
                             Interval(KES_INTERVAL_MINUTE, 0, 0, kBig),
                             Interval(KES_INTERVAL_SECOND, 0, 0, 0, kBig, 999999999)};
  for (LdiInter x : limits) {
    LdiInter one = x;
    LdiInter out = Interval(KES_INTERVAL_DAY, 7);
    EXPECT_EQ(LdiInterInterAdd(&out, &x, &one), 1873u);
    for (std::int32_t& field : x.field) field = -field;
    EXPECT_EQ(LdiInterInterSubtract(&out, &x, &one), 1873u);
    EXPECT_EQ(LdiIIntMult(&out, &x, INT32_MIN), 1873u);
    const NumberBytes tiny = Number("1E-30");
    EXPECT_EQ(LdiInterDivide(&out, &x, tiny.data(), tiny.size()), 1873u);
    const NumberBytes huge = Number("1E100");
    EXPECT_EQ(LdiInterMultiply(&out, &x, huge.data(), huge.size()), 1873u);
    EXPECT_EQ(Show(out), "7 0 0 0 0 /3") << "nothing is written";
    ASSERT_EQ(LdiInterInterAdd(&out, &x, &one), 0u);
    EXPECT_EQ(Show(out).substr(0, 10), "0 0 0 0 0 ");
  }
}

TEST(LdiInterMultiply, ByNumbersRoundsToTheSmallestUnit) {
  struct Case {
    LdiInter in;
    const char* factor;
    const char* product;
    const char* quotient;
  };
  const Case cases[] = {
      {Interval(KES_INTERVAL_YEAR, 1), "0.5", "0 6 0 0 0 /7", "2 0 0 0 0 /7"},
      {Interval(KES_INTERVAL_MONTH, 0, 5), "-0.5", "0 -3 0 0 0 /7", "0 -10 0 0 0 /7"},
      {Interval(KES_INTERVAL_DAY, 1), "3", "3 0 0 0 0 /10", "0 8 0 0 0 /10"},
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, 1), "7", "0 0 0 7 0 /10", "0 0 0 0 142857143 /10"},
      {Interval(KES_INTERVAL_DAY, -1), "1.00000000000005", "-1 0 0 0 -4 /10",
       "0 -23 -59 -59 -999999996 /10"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.factor);
    const NumberBytes factor = Number(c.factor);
    LdiInter out{};
    ASSERT_EQ(LdiInterMultiply(&out, &c.in, factor.data(), factor.size()), 0u);
    EXPECT_EQ(Show(out), c.product);
    ASSERT_EQ(LdiInterDivide(&out, &c.in, factor.data(), factor.size()), 0u);
    EXPECT_EQ(Show(out), c.quotient);
  }
  LdiInter out{};
  const LdiInter day = Interval(KES_INTERVAL_DAY, 1);
  const NumberBytes zero = Number("0");
  EXPECT_EQ(LdiInterDivide(&out, &day, zero.data(), zero.size()), 1884u);
}

TEST(LdiInterToNumber, UnitsBothWaysAndFields) {
  const LdiInter inter = Interval(KES_INTERVAL_DAY_TO_SECOND, -1, -12, 0, -30, -500000000);
  struct Case {
    std::uint32_t unit;
    const char* text;
  };
  constexpr Case kCases[] = {{KES_INTERVAL_SECOND, "-129630.5"},
                             {KES_INTERVAL_MINUTE, "-2160.50833333"}};
  for (const Case& c : kCases) {
    std::uint8_t number[21];
    std::size_t length = 0;
    ASSERT_EQ(LdiInterToNumber(&inter, c.unit, number, &length), 0u);
    EXPECT_EQ(Text({number, number + length}).substr(0, std::string(c.text).size()), c.text);
    LdiInter back{};
    ASSERT_EQ(LdiInterFromNumber(&back, number, length, c.unit, KES_INTERVAL_DAY_TO_SECOND), 0u);
    EXPECT_EQ(Show(back), Show(inter));
  }
  std::uint8_t number[21];
  std::size_t length = 0;
  EXPECT_EQ(LdiInterToNumber(&inter, KES_INTERVAL_MONTH, number, &length), 1870u);
  EXPECT_EQ(LdiInterToNumber(&inter, KES_INTERVAL_DAY_TO_HOUR, number, &length), 1867u);
  ASSERT_EQ(LdiInterExtract(&inter, KES_INTERVAL_SECOND, number, &length), 0u);
  EXPECT_EQ(Text({number, number + length}), "-30.5");
  ASSERT_EQ(LdiInterExtract(&inter, KES_INTERVAL_HOUR, number, &length), 0u);
  EXPECT_EQ(Text({number, number + length}), "-12");
  EXPECT_EQ(LdiInterExtract(&inter, KES_INTERVAL_YEAR, number, &length), 1878u);
  const LdiInter hours = Interval(KES_INTERVAL_HOUR_TO_MINUTE, 0, 100, 59);
  ASSERT_EQ(LdiInterToTN(&hours, number, &length), 0u);
  EXPECT_EQ(Text({number, number + length}), "6059");
}

TEST(LdiInterToTZ, OffsetsBothWaysAndTheirLimits) {
  for (std::int32_t minutes = -900; minutes <= 900; ++minutes) {
    LdiInter inter;
    ASSERT_EQ(LdiInterFromTZ(&inter, minutes / 60, minutes % 60), 0u);
    std::int32_t hour = 99;
    std::int32_t minute = 99;
    ASSERT_EQ(LdiInterToTZ(&inter, &hour, &minute), 0u);
    ASSERT_EQ(hour * 60 + minute, minutes);
  }
  LdiInter inter;
  EXPECT_EQ(LdiInterFromTZ(&inter, 15, 1), 1874u);
  EXPECT_EQ(LdiInterFromTZ(&inter, 16, 0), 1874u);
  EXPECT_EQ(LdiInterFromTZ(&inter, 1, -1), 1875u);
  EXPECT_EQ(LdiInterFromTZ(&inter, 0, 60), 1875u);
  std::int32_t hour, minute;
  inter = Interval(KES_INTERVAL_SECOND, 0, 0, 0, 61);
  EXPECT_EQ(LdiInterToTZ(&inter, &hour, &minute), 1875u);
  inter = Interval(KES_INTERVAL_MINUTE, 0, 0, 901);
  EXPECT_EQ(LdiInterToTZ(&inter, &hour, &minute), 1874u);
}

}  // namespace
