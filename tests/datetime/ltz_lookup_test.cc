// Offsets at instants: known zones, the files in every access, ids, columns.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

struct InstantCase {
  const char* what;
  const char* zone;
  const char* utc;
  std::int32_t offset;
  const char* abbreviation;
  std::uint32_t dst;
};
constexpr InstantCase kInstants[] = {
    {"before the first transition", "America/New_York", "-4712-01-01", -17762, "LMT", 0},
    {"the year of the first entry", "America/New_York", "1-01-01 00:00:00", -17762, "LMT", 0},
    {"the second before", "America/New_York", "1883-11-18 16:59:59", -17762, "LMT", 0},
    {"equal to a transition", "America/New_York", "1883-11-18 17:00:00", -18000, "EST", 0},
    {"the second before summer", "America/New_York", "2026-03-08 06:59:59", -18000, "EST", 0},
    {"summer", "America/New_York", "2026-03-08 07:00:00", -14400, "EDT", 1},
    {"a link", "us/eastern", "2026-07-01 00:00:00", -14400, "EDT", 1},
    {"four transitions that year", "Africa/Casablanca", "2012-07-25 12:00:00", 0, "+00", 0},
    {"negative DST", "Europe/Dublin", "2026-01-01 00:00:00", 0, "GMT", 1},
    {"standard time is the summer's", "Europe/Dublin", "2026-07-01 00:00:00", 3600, "IST", 0},
    {"half an hour of DST", "Australia/Lord_Howe", "2026-01-01 00:00:00", 39600, "+11", 1},
    {"quarter hours", "Asia/Kathmandu", "2026-01-01 00:00:00", 20700, "+0545", 0},
    {"the rule goes on", "Europe/Berlin", "2199-07-01 00:00:00", 7200, "CEST", 1},
    {"seconds in an old offset", "Africa/Monrovia", "1950-01-01 00:00:00", -2670, "MMT", 0},
    {"a fixed zone", "UTC", "9999-12-31 23:59:59", 0, "UTC", 0},
};

TEST(LtzGet, KnownInstantsInEveryAccess) {
  for (const ZoneAccess access : kZoneAccesses) {
    SCOPED_TRACE(NameOf(access));
    const LoadedZones zones(TestHome(), access);
    for (const InstantCase& c : kInstants) {
      SCOPED_TRACE(c.what);
      const ZoneReading expected{0, c.offset, c.dst, c.abbreviation};
      EXPECT_EQ(Get(zones.file(), zones.Id(c.zone), Timestamp(c.utc)), expected);
    }
  }
}

TEST(LtzGet, AnyBytesAsDatetimeAreAnsweredAlike) {
  const LoadedZones indexed(TestHome(), ZoneAccess::kIndexedNative);
  const LoadedZones raw(TestHome(), ZoneAccess::kRawSwapped);
  const std::uint32_t id = indexed.Id("Africa/Casablanca");
  std::mt19937_64 random(7);
  for (int i = 0; i < 50000; ++i) {
    LdiDate date;
    for (std::size_t k = 0; k < sizeof date; ++k) {
      reinterpret_cast<std::uint8_t*>(&date)[k] = static_cast<std::uint8_t>(random());
    }
    if (i % 2 == 0) date.year = static_cast<std::int16_t>(1900 + random() % 200);
    if (i % 5 == 0) std::memset(static_cast<void*>(&date), 0xFF, 8);
    date.type = KES_DATETIME_TIMESTAMP;
    ASSERT_EQ(Get(indexed.file(), id, date), Get(raw.file(), id, date));
    ASSERT_EQ(GetLocal(indexed.file(), id, date).status, 0);
  }
}

TEST(LtzGet, StatusOfWrongArgumentsAndNothingWritten) {
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  const LoadedZones raw(TestHome(), ZoneAccess::kRawNative);
  const std::uint32_t id = zones.Id("Europe/Berlin");
  const LdiDate good = Timestamp("2026-07-01");
  LdiDate date_only = good;
  date_only.type = KES_DATETIME_DATE;
  for (const ltzfile* file : {zones.file(), raw.file()}) {
    const struct {
      const char* what;
      const ltzfile* file;
      std::uint32_t id;
      const LdiDate* date;
      int status;
    } cases[] = {
        {"id 0", file, 0, &good, 4},
        {"id 8192", file, 8192, &good, 4},
        {"a huge id", file, UINT32_MAX, &good, 4},
        {"the highest id, which no zone has", file, 8191, &good, 5},
        {"a zone that is not there", file, 300, &good, 5},
        {"a replaced id whose zone is not there", file, 1124, &good, 5},
        {"another type of datetime", file, id, &date_only, 2},
        {"the type is looked at before the file", nullptr, id, &date_only, 2},
        {"no file", nullptr, id, &good, 1},
        {"no datetime", file, id, nullptr, 1},
    };
    for (const auto& c : cases) {
      SCOPED_TRACE(c.what);
      std::int32_t offset = 12345;
      std::uint32_t dst = 77;
      char text[16] = "unchanged";
      EXPECT_EQ(ltzGet(nullptr, nullptr, c.file, c.id, c.date, &offset, text, &dst), c.status);
      EXPECT_EQ(ltzGetLocal(nullptr, nullptr, c.file, c.id, c.date, &offset, text, &dst), c.status);
      EXPECT_EQ(offset, 12345);
      EXPECT_EQ(dst, 77u);
      EXPECT_STREQ(text, "unchanged");
    }
    EXPECT_EQ(ltzGet(nullptr, nullptr, file, id, &good, nullptr, nullptr, nullptr), 1);
    std::int32_t offset = 0;
    EXPECT_EQ(ltzGet(nullptr, nullptr, file, id, &good, &offset, nullptr, nullptr), 0);
    EXPECT_EQ(offset, 7200);
  }
}

TEST(LtzGet, TheSevenReplacedIdsAreTheirLowNineBits) {
  const std::vector<std::uint8_t> bytes = BuildZones(SampleZones());
  const ltzfile* raw = reinterpret_cast<const ltzfile*>(bytes.data());
  const ltzfile* indexed = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  ASSERT_NE(indexed, nullptr);
  const LdiDate date = Timestamp("2000-07-01");
  const struct {
    std::uint32_t id, canonical;
  } ids[] = {{1124, 100}, {1125, 101}, {1127, 103}, {1636, 100}, {2150, 102}, {2662, 102}};
  for (const ltzfile* file : {raw, indexed}) {
    for (const auto& c : ids) {
      EXPECT_EQ(Get(file, c.id, date), Get(file, c.canonical, date)) << c.id;
      EXPECT_EQ(Get(file, c.id, date).status, 0);
      EXPECT_EQ(ltzCheckZoneExists(file, c.id), 0);
    }
    EXPECT_EQ(ltzCheckZoneExists(file, 1474), 5);  // 450 is no zone here
    EXPECT_EQ(ltzCheckZoneExists(file, 1126), 5);  // not in the list
  }
  ltzFree(indexed);
}

TEST(LtzGet, AbbreviationsOfTenThousandBytesAreTooLong) {
  const auto buffer = std::make_unique<char[]>(KES_ZONE_ABBREVIATION_ROOM);
  const LdiDate date = Timestamp("2026-01-01");
  for (const std::size_t length : {9999u, 10000u, 20000u}) {
    const std::vector<std::uint8_t> bytes =
        BuildZones({{10, "Long", {{kLongAgo, 60, false, std::string(length, 'x')}}}});
    const ltzfile* indexed = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
    ASSERT_NE(indexed, nullptr);
    for (const ltzfile* file : {indexed, reinterpret_cast<const ltzfile*>(bytes.data())}) {
      std::int32_t offset = 5;
      EXPECT_EQ(ltzGet(nullptr, nullptr, file, 10, &date, &offset, buffer.get(), nullptr),
                length < 10000 ? 0 : 8);
      EXPECT_EQ(offset, length < 10000 ? 60 : 5);
      EXPECT_EQ(ltzGet(nullptr, nullptr, file, 10, &date, &offset, nullptr, nullptr), 0);
    }
    ltzFree(indexed);
  }
}

TEST(LtzLookup, PeriodsFollowEachOther) {
  for (const ZoneAccess access : kZoneAccesses) {
    const LoadedZones zones(TestHome(), access);
    const std::uint32_t id = zones.Id("Pacific/Apia");
    LdiDate at = Timestamp("1-01-01");
    ltzperiod period{}, previous{};
    std::uint32_t index = 0;
    do {
      ASSERT_EQ(ltzLookup(zones.file(), id, &at, &period), 0);
      EXPECT_EQ(period.index, index);
      EXPECT_EQ(ToText(period.from), ToText(at));
      if (index != 0) {
        EXPECT_EQ(ToText(previous.until), ToText(period.from));
      }
      const ZoneReading reading = Get(zones.file(), id, at);
      EXPECT_EQ(reading.offset, period.offset);
      EXPECT_EQ(reading.abbreviation, period.abbreviation);
      previous = period;
      at = period.until;
      ++index;
    } while (period.until.year != 0);
    EXPECT_EQ(index, period.count);
  }
}

TEST(LtzGetarr, AgreesWithOneByOneInAnyOrder) {
  for (const ZoneAccess access : {ZoneAccess::kIndexedSwapped, ZoneAccess::kRawNative}) {
    const LoadedZones zones(TestHome(), access);
    std::mt19937_64 random(3);
    for (const char* name : {"America/New_York", "Africa/Casablanca", "Pacific/Apia", "UTC"}) {
      const std::uint32_t id = zones.Id(name);
      std::vector<LdiDate> dates;
      std::int64_t second = -2000000000;
      for (int i = 0; i < 4000; ++i) {
        second += static_cast<std::int64_t>(random() % 2600000) - (i % 3 == 0 ? 900000 : 0);
        dates.push_back(FromSeconds(second));
      }
      std::vector<std::int32_t> utc(dates.size()), local(dates.size());
      std::vector<std::uint8_t> dst(dates.size()), local_dst(dates.size());
      std::size_t done = 0;
      ASSERT_EQ(
          ltzGetarr(zones.file(), id, dates.data(), dates.size(), utc.data(), dst.data(), &done),
          0);
      EXPECT_EQ(done, dates.size());
      ASSERT_EQ(ltzGetLocalarr(zones.file(), id, dates.data(), dates.size(), local.data(),
                               local_dst.data(), &done),
                0);
      for (std::size_t i = 0; i < dates.size(); ++i) {
        const ZoneReading one = Get(zones.file(), id, dates[i]);
        const ZoneReading one_local = GetLocal(zones.file(), id, dates[i]);
        ASSERT_EQ(utc[i], one.offset) << name << " " << ToText(dates[i]);
        ASSERT_EQ(dst[i], one.dst);
        ASSERT_EQ(local[i], one_local.offset) << name << " " << ToText(dates[i]);
        ASSERT_EQ(local_dst[i], one_local.dst);
      }
    }
  }
}

TEST(LtzGetarr, StopsAtAnElementOfAnotherType) {
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  const LoadedZones raw(TestHome(), ZoneAccess::kRawNative);
  const std::uint32_t id = zones.Id("Europe/Berlin");
  std::vector<LdiDate> dates(5, Timestamp("2026-07-01"));
  dates[3].type = KES_DATETIME_TIMESTAMP_TZ;
  for (const ltzfile* file : {zones.file(), raw.file()}) {
    std::vector<std::int32_t> offset(5, -1);
    std::size_t done = 99;
    EXPECT_EQ(ltzGetarr(file, id, dates.data(), 5, offset.data(), nullptr, &done), 2);
    EXPECT_EQ(done, 3u);
    EXPECT_EQ(offset, (std::vector<std::int32_t>{7200, 7200, 7200, -1, -1}));
    EXPECT_EQ(ltzGetLocalarr(file, id, dates.data(), 5, offset.data(), nullptr, &done), 2);
    EXPECT_EQ(done, 3u);
    EXPECT_EQ(ltzGetarr(file, id, nullptr, 0, nullptr, nullptr, &done), 0);
    EXPECT_EQ(ltzGetarr(file, 9999, dates.data(), 5, offset.data(), nullptr, &done), 4);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(ltzGetarr(nullptr, id, dates.data(), 5, offset.data(), nullptr, &done), 1);
  }
}

}  // namespace
}  // namespace kestra::test
