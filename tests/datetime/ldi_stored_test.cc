// The stored forms of datetimes and intervals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "kestra/datetime.h"
#include "kestra/interval.h"
#include "tests/support/datetime_values.h"
#include "tests/support/hex.h"

namespace {

using kestra::test::Bytes;
using kestra::test::Datetime;
using kestra::test::DatetimeSource;
using kestra::test::Hex;
using kestra::test::Interval;
using kestra::test::Show;

struct Stored {
  const char* what;
  const char* value;
  std::uint32_t type;
  const char* bytes;
};
constexpr Stored kStored[] = {
    {"date", "2019-03-04 05:06:07", KES_DATETIME_DATE, "78 77 03 04 06 07 08"},
    {"years before 1", "-4712-01-01", KES_DATETIME_DATE, "35 58 01 01 01 01 01"},
    {"time", "05:06:07", KES_DATETIME_TIME, "06 07 08"},
    {"time, fraction", "05:06:07.5", KES_DATETIME_TIME, "06 07 08 1D CD 65 00"},
    {"timestamp", "2019-03-04 05:06:07", KES_DATETIME_TIMESTAMP, "78 77 03 04 06 07 08"},
    {"fraction", "2019-03-04 05:06:07.000000001", KES_DATETIME_TIMESTAMP,
     "78 77 03 04 06 07 08 00 00 00 01"},
    {"zone", "2019-03-04 05:06:07 +05:30", KES_DATETIME_TIMESTAMP_TZ,
     "78 77 03 03 18 25 08 00 00 00 00 19 5A"},
    {"the day before in UTC", "2019-03-01 00:00:00 +14:00", KES_DATETIME_TIMESTAMP_TZ,
     "78 77 02 1C 0B 01 01 00 00 00 00 22 3C"},
    {"west", "2019-12-31 23:00:00 -01:30", KES_DATETIME_TIMESTAMP_TZ,
     "78 78 01 01 01 1F 01 00 00 00 00 13 1E"},
    {"time with zone wraps", "01:00:00 +02:00", KES_DATETIME_TIME_TZ, "18 01 01 00 00 00 00 16 3C"},
    {"year 0 only in UTC", "0001-01-01 00:00:00 +01:00", KES_DATETIME_TIMESTAMP_TZ,
     "64 64 0C 1F 18 01 01 00 00 00 00 15 3C"},
};

TEST(LdiDateToArray, HandWorkedBytesBothWays) {
  for (const Stored& c : kStored) {
    SCOPED_TRACE(c.what);
    LdiDate date = Datetime(c.value, c.type);
    const std::vector<std::uint8_t> expected = Bytes(c.bytes);
    std::uint8_t bytes[KES_DATETIME_BYTES];
    std::size_t length = 0;
    ASSERT_EQ(LdiDateToArray(bytes, sizeof bytes, &length, &date), 0u);
    EXPECT_EQ(Hex(bytes, length), Hex(expected));
    LdiDate back;
    ASSERT_EQ(LdiDateFromArray(&back, expected.data(), expected.size(), c.type, nullptr), 0u);
    EXPECT_EQ(Show(back), Show(date));
    for (std::size_t room = 0; room < expected.size(); ++room) {
      EXPECT_EQ(LdiDateToArray(bytes, room, &length, &date), 1877u);
    }
  }
}

TEST(LdiDateFromArray, RefusesBadBytes) {
  struct Case {
    std::uint32_t error;
    std::uint32_t type;
    const char* bytes;
  };
  constexpr Case kCases[] = {
      {1866, 6, "78 77 03 04 06 07 08"},
      {1891, KES_DATETIME_DATE, "78 77 03 04 06 07"},
      {1891, KES_DATETIME_DATE, "78 77 03 04 06 07 08 00 00 00 01"},
      {1891, KES_DATETIME_TIMESTAMP, "78 77 03 04 06 07 08 00"},
      {1891, KES_DATETIME_TIMESTAMP_TZ, "78 77 03 04 06 07 08 00 00 00 01"},
      {1891, KES_DATETIME_TIME, "06 07"},
      {1841, KES_DATETIME_DATE, "35 57 01 01 01 01 01"},  // -4713
      {1841, KES_DATETIME_DATE, "C8 64 01 01 01 01 01"},  // 10000
      {1841, KES_DATETIME_DATE, "64 64 01 01 01 01 01"},  // 0
      {1841, KES_DATETIME_DATE, "78 63 01 01 01 01 01"},  // 2000 less 1
      {1841, KES_DATETIME_DATE, "77 C8 01 01 01 01 01"},  // 1900 and 100
      {1841, KES_DATETIME_DATE, "63 65 01 01 01 01 01"},
      {1843, KES_DATETIME_DATE, "78 77 0D 04 06 07 08"},
      {1843, KES_DATETIME_DATE, "78 77 00 04 06 07 08"},
      {1847, KES_DATETIME_DATE, "78 77 02 1D 06 07 08"},
      {1847, KES_DATETIME_DATE, "73 B6 0A 05 01 01 01"},  // 5 October 1582
      {1850, KES_DATETIME_DATE, "78 77 03 04 00 07 08"},
      {1850, KES_DATETIME_TIME, "19 07 08"},
      {1851, KES_DATETIME_TIME, "18 3D 08"},
      {1852, KES_DATETIME_TIME, "18 3C 00"},
      {1880, KES_DATETIME_TIME, "18 3C 01 3B 9A CA 00"},
      {1874, KES_DATETIME_TIME_TZ, "01 01 01 00 00 00 00 24 3C"},  // +16
      {1874, KES_DATETIME_TIME_TZ, "01 01 01 00 00 00 00 04 3C"},  // -16
      {1875, KES_DATETIME_TIME_TZ, "01 01 01 00 00 00 00 23 3D"},  // +15:01
      {1875, KES_DATETIME_TIME_TZ, "01 01 01 00 00 00 00 15 3B"},  // +1 and -1 minute
      {1881, KES_DATETIME_TIMESTAMP_TZ, "78 77 03 04 06 07 08 00 00 00 01 80 00"},
      {1804, KES_DATETIME_TIMESTAMP_TZ, "78 77 03 04 06 07 08 00 00 00 01 80 01"},
      {1841, KES_DATETIME_TIMESTAMP_TZ, "64 64 06 01 01 01 01 00 00 00 00 14 3C"},  // local year 0
      {1841, KES_DATETIME_TIMESTAMP_TZ, "C7 C7 0C 1F 18 01 01 00 00 00 00 15 3C"},
  };
  for (const Case& c : kCases) {
    const std::vector<std::uint8_t> bytes = Bytes(c.bytes);
    LdiDate date = Datetime("2000-01-01");
    EXPECT_EQ(LdiDateFromArray(&date, bytes.data(), bytes.size(), c.type, nullptr), c.error)
        << c.bytes;
    EXPECT_EQ(Show(date), "2000-01-01 00:00:00") << "nothing is written";
  }
}

TEST(LdiDateToArray, BytesOrderAsTheValuesDo) {
  DatetimeSource source(42);
  for (int i = 0; i < 100'000; ++i) {
    const std::uint32_t type = source.DateType();
    LdiDate x = source.Date(type);
    LdiDate y = source.Below(4) == 0 ? x : source.Date(type);
    if (source.Below(2) == 0) y.fraction = type == KES_DATETIME_DATE ? 0 : 7;
    std::uint8_t a[KES_DATETIME_BYTES] = {};
    std::uint8_t b[KES_DATETIME_BYTES] = {};
    std::size_t a_length = 0;
    std::size_t b_length = 0;
    ASSERT_EQ(LdiDateToArray(a, sizeof a, &a_length, &x), 0u);
    ASSERT_EQ(LdiDateToArray(b, sizeof b, &b_length, &y), 0u);
    int order = 2;
    ASSERT_EQ(LdiDateCompare(&x, &y, nullptr, &order), 0u);
    const std::size_t time = type == KES_DATETIME_TIME_TZ ? 7 : std::min<std::size_t>(11, sizeof a);
    const int bytes = std::memcmp(a, b, time);
    ASSERT_EQ(order, (bytes > 0) - (bytes < 0)) << Show(x) << " and " << Show(y);
  }
}

TEST(LdiInterToArray, HandWorkedBytesBothWays) {
  struct Case {
    LdiInter inter;
    const char* bytes;
  };
  const Case cases[] = {
      {Interval(KES_INTERVAL_YEAR_TO_MONTH, 1, 11), "80 00 00 01 47"},
      {Interval(KES_INTERVAL_MONTH, 0, -25), "7F FF FF FE 3B"},
      {Interval(KES_INTERVAL_YEAR, 999999999), "BB 9A C9 FF 3C"},
      {Interval(KES_INTERVAL_DAY_TO_SECOND, 1, 2, 3, 4, 5), "80 00 00 01 3E 3F 40 80 00 00 05"},
      {Interval(KES_INTERVAL_SECOND, 0, 0, 0, -90061, -5), "7F FF FF FF 3B 3B 3B 7F FF FF FB"},
  };
  for (const Case& c : cases) {
    std::uint8_t bytes[KES_INTERVAL_BYTES];
    std::size_t length = 0;
    ASSERT_EQ(LdiInterToArray(bytes, sizeof bytes, &length, &c.inter), 0u);
    EXPECT_EQ(Hex(bytes, length), Hex(Bytes(c.bytes)));
    LdiInter back;
    ASSERT_EQ(LdiInterFromArray(&back, bytes, length, c.inter.type), 0u);
    EXPECT_EQ(Show(back), Show(c.inter));
    EXPECT_EQ(LdiInterToArray(bytes, length - 1, &length, &c.inter), 1877u);
    EXPECT_EQ(LdiInterFromArray(&back, bytes, length - 1, c.inter.type), 1891u);
  }
  LdiInter inter;
  struct Bad {
    std::uint32_t error;
    std::uint32_t type;
    const char* bytes;
  };
  constexpr Bad kBad[] = {{1867, 14, "80 00 00 01 47"},
                          {1843, KES_INTERVAL_YEAR_TO_MONTH, "80 00 00 01 48"},
                          {1867, KES_INTERVAL_YEAR_TO_MONTH, "80 00 00 01 3B"},  // 1 and -1
                          {1873, KES_INTERVAL_YEAR_TO_MONTH, "BB 9A CA 00 3C"},
                          {1873, KES_INTERVAL_MONTH, "BB 9A C9 FF 3C"},  // too many months
                          {1850, KES_INTERVAL_DAY_TO_SECOND, "80 00 00 01 54 3C 3C 80 00 00 00"},
                          {1851, KES_INTERVAL_DAY_TO_SECOND, "80 00 00 01 3C 78 3C 80 00 00 00"},
                          {1852, KES_INTERVAL_DAY_TO_SECOND, "80 00 00 01 3C 3C 78 80 00 00 00"},
                          {1880, KES_INTERVAL_DAY_TO_SECOND, "80 00 00 01 3C 3C 3C BB 9A CA 00"}};
  for (const Bad& c : kBad) {
    const std::vector<std::uint8_t> bytes = Bytes(c.bytes);
    EXPECT_EQ(LdiInterFromArray(&inter, bytes.data(), bytes.size(), c.type), c.error) << c.bytes;
  }
}

}  // namespace
