// Local times: gaps, times that exist twice, zones whose changes overtake each other.
#include <gtest/gtest.h>

#include <random>

#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

struct LocalCase {
  const char* what;
  const char* zone;
  const char* local;
  std::uint32_t kind;
  std::int32_t first, second, chosen;  // offsets
};
constexpr LocalCase kLocals[] = {
    {"an ordinary time", "America/New_York", "2026-07-01 12:00:00", 0, -14400, -14400, -14400},
    {"the last second before the gap", "America/New_York", "2026-03-08 01:59:59", 0, -18000, -18000,
     -18000},
    {"in the gap: moves forward", "America/New_York", "2026-03-08 02:00:00", 1, -18000, -14400,
     -18000},
    {"the last second of the gap", "America/New_York", "2026-03-08 02:59:59", 1, -18000, -14400,
     -18000},
    {"behind the gap", "America/New_York", "2026-03-08 03:00:00", 0, -14400, -14400, -14400},
    {"the first that exists twice", "America/New_York", "2026-11-01 01:00:00", 2, -14400, -18000,
     -18000},
    {"the last that exists twice", "America/New_York", "2026-11-01 01:59:59", 2, -14400, -18000,
     -18000},
    {"standard time comes first in Dublin", "Europe/Dublin", "2026-10-25 01:30:00", 2, 3600, 0,
     3600},
    {"a day that never was", "Pacific/Apia", "2011-12-30 12:00:00", 1, -36000, 50400, -36000},
    {"a fixed zone", "UTC", "2026-03-08 02:30:00", 0, 0, 0, 0},
    {"before everything", "Europe/Berlin", "-100-01-01 00:00:00", 0, 3208, 3208, 3208},
    {"behind everything", "Europe/Berlin", "5000-07-01 00:00:00", 0, 3600, 3600, 3600},
    {"alike but for the offset: the later one", "America/Caracas", "2007-12-09 02:45:00", 2, -14400,
     -16200, -16200},
};

TEST(LtzGetLocal, KnownTimesInEveryAccess) {
  for (const ZoneAccess access : kZoneAccesses) {
    SCOPED_TRACE(NameOf(access));
    const LoadedZones zones(TestHome(), access);
    for (const LocalCase& c : kLocals) {
      SCOPED_TRACE(c.what);
      const std::uint32_t id = zones.Id(c.zone);
      const LdiDate local = Timestamp(c.local);
      ltzlocal both{};
      ASSERT_EQ(ltzGetLocalA(zones.file(), id, &local, &both), 0);
      EXPECT_EQ(both.kind, c.kind);
      EXPECT_EQ(both.reading[0].offset, c.first);
      EXPECT_EQ(both.reading[1].offset, c.second);
      EXPECT_EQ(both.reading[both.chosen].offset, c.chosen);
      const ZoneReading taken = GetLocal(zones.file(), id, local);
      EXPECT_EQ(taken.offset, c.chosen);
      EXPECT_EQ(taken.abbreviation, both.reading[both.chosen].abbreviation);
      std::uint32_t index = 0;
      std::int32_t offset = 0;
      ASSERT_EQ(ltzGetIndex(zones.file(), id, &index), 0);
      EXPECT_EQ(ltzGetLocalByIndex(nullptr, nullptr, zones.file(), index, &local, &offset, nullptr,
                                   nullptr),
                0);
      EXPECT_EQ(offset, c.chosen);
    }
    const LdiDate local = Timestamp("2026-01-01");
    std::int32_t offset = 0;
    EXPECT_EQ(
        ltzGetLocalByIndex(nullptr, nullptr, zones.file(), 22, &local, &offset, nullptr, nullptr),
        5);
  }
}

// Every local second near the changes, in every access, against the definition: a reading of a local
// time is an instant that has it.
TEST(LtzGetLocal, AgreesWithTheDefinitionWhereChangesAreClose) {
  const std::vector<BuiltZone> built = SampleZones();
  for (const bool big_endian : {false, true}) {
    const std::vector<std::uint8_t> bytes = BuildZones(built, big_endian);
    const ltzfile* indexed = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
    ASSERT_NE(indexed, nullptr);
    const auto* raw = reinterpret_cast<const ltzfile*>(bytes.data());
    for (const BuiltZone& zone : built) {
      const std::vector<BuiltTransition>& periods = zone.transitions;
      for (std::size_t i = 1; i < periods.size(); ++i) {
        for (std::int64_t near = -100000; near <= 100000; near += 599) {
          const std::int64_t local = periods[i].at + near;
          std::vector<std::size_t> readings;
          for (std::size_t k = 0; k < periods.size(); ++k) {
            const std::int64_t utc = local - periods[k].offset;
            const bool begun = k == 0 || utc >= periods[k].at;
            if (begun && (k + 1 == periods.size() || utc < periods[k + 1].at))
              readings.push_back(k);
          }
          const LdiDate date = FromSeconds(local);
          for (const ltzfile* file : {indexed, raw}) {
            ltzlocal both{};
            ASSERT_EQ(ltzGetLocalA(file, zone.id, &date, &both), 0);
            const ZoneReading taken = GetLocal(file, zone.id, date);
            ASSERT_EQ(taken.offset, both.reading[both.chosen].offset);
            ASSERT_EQ(taken.abbreviation, both.reading[both.chosen].abbreviation);
            SCOPED_TRACE(zone.name + " " + ToText(date));
            if (readings.empty()) {
              ASSERT_EQ(both.kind, 1u);
              ASSERT_EQ(both.reading[1].index, both.reading[0].index + 1);
              ASSERT_EQ(both.chosen, 0u);
              // Moved forward over the gap, the clock shows a time of the period behind it.
              ASSERT_GE(local - both.reading[0].offset, periods[both.reading[1].index].at);
            } else if (readings.size() == 1) {
              ASSERT_EQ(both.kind, 0u);
              ASSERT_EQ(both.reading[0].index, readings[0]);
            } else {
              ASSERT_EQ(both.kind, 2u);
              ASSERT_EQ(both.reading[0].index, readings[readings.size() - 2]);
              ASSERT_EQ(both.reading[1].index, readings.back());
            }
          }
        }
      }
    }
    ltzFree(indexed);
  }
}

// There is no year 0 that a local time could lie in.
TEST(LtzGetLocal, TheFirstDaysOfTheYearOne) {
  for (const std::int32_t offset : {-90'000, -18'000, 0, 18'000, 90'000}) {
    const std::vector<std::uint8_t> bytes =
        BuildZones({{1,
                     "Test/First",
                     {{kLongAgo, offset, false, "ONE"},
                      {kLongAgo + 3600, -offset, false, "TWO"},
                      {kLongAgo + 90'000, 3600, false, "THREE"}}}});
    const auto* raw = reinterpret_cast<const ltzfile*>(bytes.data());
    const ltzfile* indexed = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
    ASSERT_NE(indexed, nullptr);
    for (const char* day :
         {"-0001-12-30", "-0001-12-31", "0001-01-01", "0001-01-02", "0001-01-03", "0001-01-04"}) {
      for (int hour = 0; hour < 24; ++hour) {
        LdiDate local = Timestamp(day);
        local.hour = static_cast<std::uint8_t>(hour);
        EXPECT_EQ(GetLocal(indexed, 1, local), GetLocal(raw, 1, local))
            << day << " " << hour << " " << offset;
        if (local.year < 0) {
          EXPECT_EQ(GetLocal(raw, 1, local).abbreviation, "ONE");
        }
      }
    }
    ltzFree(indexed);
  }
}

TEST(LtzGetLocal, InstantsComeBackFromTheirLocalTime) {
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  std::mt19937_64 random(11);
  for (const char* name : {"America/St_Johns", "Europe/Dublin", "Antarctica/Troll", "Asia/Kolkata",
                           "Australia/Lord_Howe", "America/Nuuk"}) {
    const std::uint32_t id = zones.Id(name);
    for (int i = 0; i < 20000; ++i) {
      const auto utc = static_cast<std::int64_t>(random() % 9000000000) - 2600000000;
      const std::int32_t offset = Get(zones.file(), id, FromSeconds(utc)).offset;
      const LdiDate local = FromSeconds(utc + offset);
      ltzlocal both{};
      ASSERT_EQ(ltzGetLocalA(zones.file(), id, &local, &both), 0);
      ASSERT_NE(both.kind, 1u);
      ASSERT_TRUE(both.reading[0].offset == offset || both.reading[1].offset == offset)
          << name << " " << ToText(local);
    }
  }
}

}  // namespace
}  // namespace kestra::test
