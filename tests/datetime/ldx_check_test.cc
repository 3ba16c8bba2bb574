// Validation and the stored form.
#include <gtest/gtest.h>

#include <array>

#include "tests/support/calendar_reference.h"
#include "tests/support/date_values.h"

namespace kestra::test {
namespace {

using Stored = std::array<std::uint8_t, KES_DATE_BYTES>;

struct Range {
  int byte;
  int first;
  int last;
  std::uint32_t bits;
};
// 31 January 2019 12:30:30, one byte changed.
constexpr Stored kValid = {120, 119, 1, 31, 13, 31, 31};
constexpr Range kRanges[] = {
    {0, 0, 52, 16 + 32},    {0, 53, 199, 0},      {0, 200, 255, 16},   {1, 0, 0, 16 + 32},
    {1, 1, 199, 0},         {1, 200, 255, 16},    {2, 0, 0, 4 + 8},    {2, 1, 1, 0},
    {2, 2, 2, 1},           {2, 3, 3, 0},         {2, 4, 4, 1},        {2, 5, 5, 0},
    {2, 6, 6, 1},           {2, 7, 8, 0},         {2, 9, 9, 1},        {2, 10, 10, 0},
    {2, 11, 11, 1},         {2, 12, 12, 0},       {2, 13, 255, 4},     {3, 0, 0, 1 + 2},
    {3, 1, 31, 0},          {3, 32, 255, 1},      {4, 0, 0, 64 + 128}, {4, 1, 24, 0},
    {4, 25, 255, 64},       {5, 0, 0, 256 + 512}, {5, 1, 60, 0},       {5, 61, 255, 256},
    {6, 0, 0, 1024 + 2048}, {6, 1, 60, 0},        {6, 61, 255, 1024},
};

TEST(LdxCheck, EveryValueOfEveryStoredByte) {
  WeekContext ctx;
  int seen = 0;
  for (const Range& range : kRanges) {
    for (int value = range.first; value <= range.last; ++value, ++seen) {
      Stored bytes = kValid;
      bytes[static_cast<std::size_t>(range.byte)] = static_cast<std::uint8_t>(value);
      EXPECT_EQ(ldxchk(ctx, bytes.data(), KES_DATE_STORED), range.bits)
          << "byte " << range.byte << " is " << value;
    }
  }
  EXPECT_EQ(seen, 7 * 256);
}

TEST(LdxCheck, EveryValueOfEveryPart) {
  WeekContext ctx;
  for (int value = 0; value < 256; ++value) {
    const auto byte = static_cast<std::uint8_t>(value);
    ldxdate hour = Date("2019-01-31 12:30:30"), minute = hour, second = hour, day = hour;
    hour.hour = minute.minute = second.second = day.day = byte;
    EXPECT_EQ(ldxchk(ctx, &hour, 0), value < 24 ? 0u : 64u);
    EXPECT_EQ(ldxchk(ctx, &minute, 0), value < 60 ? 0u : 256u);
    EXPECT_EQ(ldxchk(ctx, &second, 0), value < 60 ? 0u : 1024u);
    EXPECT_EQ(ldxchk(ctx, &day, 0), value == 0 ? 3u : value < 32 ? 0u : 1u);
    EXPECT_EQ(ldxrck(ctx, &hour, 0), ldxchk(ctx, &hour, 0) | (value == 255 ? 65536u : 0u));
    EXPECT_EQ(ldxrck(ctx, &minute, 0), ldxchk(ctx, &minute, 0) | (value == 255 ? 131072u : 0u));
    EXPECT_EQ(ldxrck(ctx, &second, 0), ldxchk(ctx, &second, 0) | (value == 255 ? 262144u : 0u));
  }
}

struct PartsCase {
  const char* date;
  std::uint32_t bits;
};
constexpr PartsCase kParts[] = {
    {"1500-02-29", 0},
    {"1700-02-29", 1},
    {"2000-02-29", 0},
    {"2100-02-29", 1},
    {"-4712-02-29", 1},
    {"-4708-02-29", 0},
    {"-4712-01-01", 0},
    {"-4713-12-31", 16 + 32},
    {"9999-12-31", 0},
    {"10000-01-01", 16},
    {"0-06-01", 8192},
    {"1582-10-04", 0},
    {"1582-10-05", 4096},
    {"1582-10-10", 4096},
    {"1582-10-14", 4096},
    {"1582-10-15", 0},
    {"1582-09-10", 0},
    {"1581-10-10", 0},
    {"2019-00-00", 1 + 2 + 4 + 8},
    {"2019-00-31", 4 + 8},
    {"2019-13-32", 1 + 4},
    {"2019-13-31", 4},
    {"2019-04-31", 1},
};
TEST(LdxCheck, DaysThatThereAreNot) {
  WeekContext ctx;
  for (const PartsCase& c : kParts) {
    const ldxdate date = Date(c.date);
    EXPECT_EQ(ldxchk(ctx, &date, KES_DATE_PARTS), c.bits) << c.date;
    if (date.year > 9999) continue;  // cannot be stored
    Stored bytes = {};
    ldxite(ctx, bytes.data(), &date);
    EXPECT_EQ(ldxchk(ctx, bytes.data(), KES_DATE_STORED), c.bits) << c.date;
  }
}

TEST(LdxCheck, JulianDates) {
  WeekContext ctx;
  const auto check = [&](std::int32_t day, std::int32_t second) {
    const ldxjdate julian = {day, second};
    return ldxrck(ctx, &julian, KES_DATE_JULIAN);
  };
  EXPECT_EQ(check(1, 0), 0u);
  EXPECT_EQ(check(5373484, 86399), 0u);
  EXPECT_EQ(check(5373485, 0), 1u);
  EXPECT_EQ(check(0, 0), 3u);
  EXPECT_EQ(check(-1, -1), 3u + 1024u);
  EXPECT_EQ(check(1, 86400), 1024u);
  EXPECT_EQ(ldxchk(ctx, "", 3), 32768u);
  EXPECT_EQ(ldxrck(ctx, "", 77), 32768u);
}

TEST(LdxCheck, AbsentTimeOfStoredDates) {
  WeekContext ctx;
  const Stored bytes = {120, 119, 1, 31, 0, 0, 0};
  EXPECT_EQ(ldxrck(ctx, bytes.data(), KES_DATE_STORED),
            64u + 128 + 256 + 512 + 1024 + 2048 + 65536 + 131072 + 262144);
}

TEST(LdxRepresent, StoredFormsByHand) {
  WeekContext ctx;
  const struct {
    const char* date;
    Stored bytes;
  } cases[] = {
      {"2019-01-31 23:59:59", {120, 119, 1, 31, 24, 60, 60}},
      {"-4712-01-01", {53, 88, 1, 1, 1, 1, 1}},
      {"-1-12-31", {100, 99, 12, 31, 1, 1, 1}},
      {"-100-12-31", {99, 100, 12, 31, 1, 1, 1}},
      {"100-12-31", {101, 100, 12, 31, 1, 1, 1}},
      {"9999-12-31", {199, 199, 12, 31, 1, 1, 1}},
  };
  for (const auto& c : cases) {
    const ldxdate date = Date(c.date);
    Stored bytes = {};
    ldxite(ctx, bytes.data(), &date);
    EXPECT_EQ(bytes, c.bytes) << c.date;
    ldxdate back = Date("2011-11-11 11:11:11");
    ldxeti(ctx, &back, bytes.data());
    EXPECT_EQ(back, date);
  }
}

}  // namespace
}  // namespace kestra::test
