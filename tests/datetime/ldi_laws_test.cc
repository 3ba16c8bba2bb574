// Laws that hold for every value of every type. KESTRA_DATETIME_LAWS sets how many values are tried.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_zone.h"
#include "tests/support/datetime_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/record_laws.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace {

using kestra::test::DatetimeSource;
using kestra::test::LawCount;
using kestra::test::Show;

bool Same(const LdiDate& x, const LdiDate& y) { return std::memcmp(&x, &y, sizeof x) == 0; }
bool Same(const LdiInter& x, const LdiInter& y) { return std::memcmp(&x, &y, sizeof x) == 0; }

constexpr bool IsYearMonth(std::uint32_t type) { return type < 3 || type == 7; }

// Whether a walk from x to y and back may meet the year 0, which moves dates.
bool NearYearZero(const LdiDate& x, const LdiDate& y) {
  return (x.year < 0) != (y.year < 0) || x.year == 1 || x.year == -1 || y.year == 1 || y.year == -1;
}

TEST(LdiLaws, AddingAndTakingAwayIsNothing) {
  DatetimeSource source(1);
  const std::size_t count = LawCount(300'000);
  std::size_t undone = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const LdiDate x = source.Date();
    LdiInter inter = source.Inter();
    const bool exact = !IsYearMonth(inter.type);
    if (exact && x.type == KES_DATETIME_DATE) inter.field[4] = 0;
    if (source.Below(2) == 0) {
      for (std::int32_t& field : inter.field) field %= 2000;
    }
    LdiDate sum = x;
    const std::uint32_t error = LdiDateInterAdd(&sum, &x, &inter);
    if (error != 0) {
      ASSERT_TRUE(error == 1841 || error == 1870) << error;
      ASSERT_TRUE(Same(sum, x));
      continue;
    }
    ASSERT_EQ(LdiDateCheck(&sum), 0u) << Show(x) << " + " << Show(inter) << " = " << Show(sum);
    LdiDate back = sum;
    ASSERT_EQ(LdiDateInterSubtract(&back, &sum, &inter), 0u) << Show(sum) << " - " << Show(inter);
    const bool clamped = sum.day != x.day && !exact;
    if (clamped || NearYearZero(x, sum)) continue;
    ASSERT_TRUE(Same(back, x)) << Show(x) << " + " << Show(inter) << " = " << Show(sum) << ", back "
                               << Show(back);
    ++undone;
  }
  EXPECT_GT(undone, count / 8);
}

TEST(LdiLaws, TheDifferenceAddedIsTheOther) {
  DatetimeSource source(2);
  const std::size_t count = LawCount(300'000);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t type = source.DateType();
    const LdiDate x = source.Date(type);
    const LdiDate y = source.Date(type);
    LdiInter difference;
    ASSERT_EQ(LdiDateDateSubtract(&difference, &x, &y, KES_INTERVAL_DAY_TO_SECOND), 0u);
    ASSERT_EQ(LdiInterCheck(&difference), 0u) << Show(difference);
    LdiDate sum;
    int order = 2;
    if (LdiDateInterAdd(&sum, &y, &difference) == 0) {
      ASSERT_EQ(LdiDateCompare(&sum, &x, nullptr, &order), 0u);
      if (!NearYearZero(x, y)) {
        ASSERT_EQ(order, 0) << Show(x) << " - " << Show(y);
      }
    }
    ASSERT_EQ(LdiDateCompare(&x, &y, nullptr, &order), 0u);
    const LdiInter zero{{0, 0, 0, 0, 0}, KES_INTERVAL_DAY, 0, 0};
    int sign = 2;
    ASSERT_EQ(LdiInterCompare(&difference, &zero, &sign), 0u);
    ASSERT_EQ(order, sign) << Show(x) << " and " << Show(y);
    if (type == KES_DATETIME_TIME || type == KES_DATETIME_TIME_TZ) continue;
    ASSERT_EQ(LdiDateDateSubtract(&difference, &x, &y, KES_INTERVAL_YEAR_TO_MONTH), 0u);
    LdiInter reverse;
    ASSERT_EQ(LdiDateDateSubtract(&reverse, &y, &x, KES_INTERVAL_YEAR_TO_MONTH), 0u);
    ASSERT_EQ(LdiInterCheck(&difference), 0u);
    const std::int32_t months = difference.field[0] * 12 + difference.field[1];
    ASSERT_LE(order * months, order == 0 ? 0 : 12 * 14712);
    ASSERT_GE(order * months, 0) << Show(x) << " - " << Show(y) << ": " << Show(difference);
  }
}

TEST(LdiLaws, CompareIsTotal) {
  DatetimeSource source(3);
  const std::size_t count = LawCount(200'000);
  for (std::size_t i = 0; i < count; ++i) {
    const bool dated = source.Below(2) == 0;
    LdiDate v[3];
    for (LdiDate& x : v) {
      do {
        x = source.Date();
      } while ((x.type == KES_DATETIME_TIME || x.type == KES_DATETIME_TIME_TZ) == dated);
    }
    if (source.Below(3) == 0) {
      v[1] = v[0];
      v[1].second ^= 1;
    }
    int ab, ba, bc, ac, aa;
    ASSERT_EQ(LdiDateCompare(&v[0], &v[1], nullptr, &ab), 0u);
    ASSERT_EQ(LdiDateCompare(&v[1], &v[0], nullptr, &ba), 0u);
    ASSERT_EQ(LdiDateCompare(&v[1], &v[2], nullptr, &bc), 0u);
    ASSERT_EQ(LdiDateCompare(&v[0], &v[2], nullptr, &ac), 0u);
    ASSERT_EQ(LdiDateCompare(&v[0], &v[0], nullptr, &aa), 0u);
    ASSERT_EQ(ab, -ba);
    ASSERT_EQ(aa, 0);
    if (ab == bc) {
      ASSERT_EQ(ac, ab) << Show(v[0]) << ", " << Show(v[1]) << ", " << Show(v[2]);
    }
  }
}

TEST(LdiLaws, StoredFormsComeBack) {
  DatetimeSource source(4);
  const std::size_t count = LawCount(300'000);
  for (std::size_t i = 0; i < count; ++i) {
    const LdiDate x = source.Date();
    LdiSession session{};
    session.zone_hour = x.zone_hour;
    session.zone_minute = x.zone_minute;
    std::uint8_t bytes[KES_DATETIME_BYTES];
    std::size_t length = 0;
    ASSERT_EQ(LdiDateToArray(bytes, sizeof bytes, &length, &x), 0u) << Show(x);
    LdiDate back;
    ASSERT_EQ(LdiDateFromArray(&back, bytes, length, x.type, &session), 0u) << Show(x);
    ASSERT_TRUE(Same(back, x)) << Show(x) << " came back as " << Show(back);
    const LdiInter inter = source.Inter();
    ASSERT_EQ(LdiInterToArray(bytes, sizeof bytes, &length, &inter), 0u) << Show(inter);
    LdiInter again;
    ASSERT_EQ(LdiInterFromArray(&again, bytes, length, inter.type), 0u);
    ASSERT_TRUE(Same(again, inter)) << Show(inter) << " came back as " << Show(again);
    LdiJulian julian;
    LdiDate date;
    ASSERT_EQ(LdiDateToJulian(&julian, &x), 0u);
    ASSERT_EQ(LdiJulianToDate(&date, &julian, x.type, &session), 0u) << Show(x);
    ASSERT_TRUE(Same(date, x)) << Show(x) << " came back as " << Show(date);
  }
}

TEST(LdiLaws, IntervalTextsComeBack) {
  DatetimeSource source(5);
  const std::size_t count = LawCount(200'000);
  for (std::size_t i = 0; i < count; ++i) {
    const LdiInter inter = source.Inter();
    std::uint8_t text[KES_INTERVAL_TEXT];
    std::size_t length = 0;
    ASSERT_EQ(LdiInterToString(text, sizeof text, &length, &inter, 9, 9, nullptr), 0u);
    LdiInter back{};
    ASSERT_EQ(LdiInterFromString(&back, text, length, inter.type, nullptr), 0u);
    ASSERT_TRUE(Same(back, inter)) << Show(inter);
    ASSERT_EQ(LdiInterToStringISO(text, sizeof text, &length, &inter, nullptr), 0u);
    ASSERT_EQ(LdiInterFromString(&back, text, length, inter.type, nullptr), 0u);
    ASSERT_TRUE(Same(back, inter))
        << Show(inter) << " through " << std::string(text, text + length);
  }
}

TEST(LdiLaws, SumsOfIntervals) {
  DatetimeSource source(6);
  const std::size_t count = LawCount(300'000);
  std::size_t summed = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const LdiInter x = source.Inter();
    LdiInter y = source.Inter();
    LdiInter sum{};
    const std::uint32_t error = LdiInterInterAdd(&sum, &x, &y);
    if (error != 0) {
      ASSERT_EQ(error, IsYearMonth(x.type) == IsYearMonth(y.type) ? 1873u : 1870u);
      continue;
    }
    ++summed;
    ASSERT_EQ(LdiInterCheck(&sum), 0u) << Show(x) << " + " << Show(y) << " = " << Show(sum);
    LdiInter back;
    ASSERT_EQ(LdiInterInterSubtract(&back, &sum, &y), 0u);
    int order = 2;
    ASSERT_EQ(LdiInterCompare(&back, &x, &order), 0u);
    ASSERT_EQ(order, 0) << Show(x) << " + " << Show(y) << " = " << Show(sum) << ", back "
                        << Show(back);
    LdiInter twice;
    LdiInter doubled;
    if (LdiInterInterAdd(&twice, &y, &y) == 0) {
      ASSERT_EQ(LdiIIntMult(&doubled, &y, 2), 0u);
      ASSERT_EQ(LdiInterCompare(&twice, &doubled, &order), 0u);
      ASSERT_EQ(order, 0) << Show(y);
    }
  }
  EXPECT_GT(summed, count / 8);
}

// The regions of a file and where they change.
class Regions {
 public:
  explicit Regions(const ltzfile* file) {
    ltzstep step{};
    std::uint32_t id = 0;
    char name[256];
    while (ltzStep(nullptr, nullptr, file, &step, &id, name, sizeof name) == 0) {
      ltztransition* array = nullptr;
      std::size_t count = 0;
      if (ltzGetTransArray(nullptr, file, id, &array, &count) != 0) continue;
      Region region{static_cast<std::uint16_t>(id), {}};
      for (std::size_t i = 1; i < count; ++i) region.changes.push_back(array[i].at);
      ltzFreeTransArray(nullptr, array);
      regions_.push_back(region);
    }
  }

  // A region and a time, of which every other one is beside a change of it.
  std::uint16_t Draw(DatetimeSource& source, LdiDate& time) const {
    const Region& region = regions_[source.Below(regions_.size())];
    time = source.Date(KES_DATETIME_TIMESTAMP);
    if (source.Below(4) == 0) {
      time.year = static_cast<std::int16_t>(1850 + source.Below(300));
      if (time.day == 29) time.day = 28;
    }
    if (region.changes.empty() || source.Below(2) == 0) return region.id;
    time = region.changes[source.Below(region.changes.size())];
    time.region = 0;
    const std::int32_t reach = source.Below(2) == 0 ? 120 : 90'000;
    const auto width = static_cast<std::uint64_t>(2 * reach);
    const std::int32_t seconds = static_cast<std::int32_t>(source.Below(width)) - reach;
    const LdiInter inter{{0, 0, 0, seconds, 0}, KES_INTERVAL_SECOND, 0, 0};
    EXPECT_EQ(LdiDateInterAdd(&time, &time, &inter), 0u);
    return region.id;
  }

  std::size_t size() const { return regions_.size(); }

 private:
  struct Region {
    std::uint16_t id;
    std::vector<LdiDate> changes;  // in UTC
  };
  std::vector<Region> regions_;
};

// Values with regions, made of instants and of what the clock shows, and all that have none.
void KeepRecords(const ltzfile* file, std::uint64_t seed, std::size_t count) {
  LdiSession session;
  ASSERT_EQ(LdiSessionInit(&session, file), 0u);
  const LdiSession utc = session;
  const Regions regions(file);
  ASSERT_GT(regions.size(), 0u);
  kestra::test::RecordLaws laws(session);
  DatetimeSource source(seed);
  std::size_t made = 0;
  for (std::size_t i = 0; i < count; ++i) {
    LdiDate time;
    LdiDate date = source.Date();
    session.region = regions.Draw(source, time);
    const bool timestamp = date.type >= KES_DATETIME_TIMESTAMP_TZ;
    if (timestamp && source.Below(8) != 0) {
      const LdiZone zone{0, 0, session.region};
      const std::uint32_t error =
          source.Below(2) == 0
              ? LdiTimeZoneAdjust(&date, &time, zone, &utc)
              : LdiDateConstructN(&date, time.year, time.month, time.day, time.hour, time.minute,
                                  time.second, time.fraction, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                                  zone.region, file);
      if (error == KES_DATETIME_BAD_YEAR) continue;
      ASSERT_EQ(error, 0u) << Show(time);
      if (source.Below(2) == 0) date.type = KES_DATETIME_TIMESTAMP_LTZ;
      ++made;
    } else if (date.type == KES_DATETIME_TIMESTAMP_LTZ) {
      if (LdiFixTSLTZ(&date, &date, &session) != 0) continue;
    }
    const char* broken = laws.Broken(date);
    ASSERT_EQ(broken, nullptr) << Show(date) << ", from " << Show(time) << ": " << broken;
  }
  EXPECT_GT(made, count / 5);
}

TEST(LdiLaws, RecordsOfAllRegionsStayTheSame) {
  const kestra::test::LoadedZones zones(kestra::test::TestHome(),
                                        kestra::test::ZoneAccess::kIndexedNative);
  KeepRecords(zones.file(), 7, LawCount(40'000));
}

TEST(LdiLaws, RecordsOfMeanTimesStayTheSame) {
  std::vector<kestra::test::BuiltZone> built = kestra::test::SampleZones();
  for (const kestra::test::BuiltZone& zone : kestra::test::MeanTimeZones()) built.push_back(zone);
  const std::vector<std::uint8_t> bytes = kestra::test::BuildZones(built);
  const ltzfile* zones = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  ASSERT_NE(zones, nullptr);
  KeepRecords(zones, 8, LawCount(40'000));
  ltzFree(zones);
}

}  // namespace
