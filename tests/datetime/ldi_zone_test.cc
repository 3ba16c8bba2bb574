// Datetimes in zones: gaps, times that come twice, arithmetic across transitions, sessions, rounding.
#include <gtest/gtest.h>

#include "datetime/lazy_time.h"
#include "kestra/date_format.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
#include "tests/support/datetime_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

class LdiInZones : public testing::Test {
 protected:
  LdiInZones() : zones_(TestHome(), ZoneAccess::kIndexedNative) {
    LdiSessionInit(&session_, zones_.file());
  }

  // A timestamp of a region at a local time.
  LdiDate In(const char* region, std::string_view local) const {
    const LdiDate date = Datetime(local);
    LdiDate out{};
    const std::string name(region);
    EXPECT_EQ(LdiDateConstruct(&out, date.year, date.month, date.day, date.hour, date.minute,
                               date.second, date.fraction, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                               reinterpret_cast<const std::uint8_t*>(name.data()), name.size(),
                               zones_.file()),
              0u);
    return out;
  }
  // Without the region's id, which is the data's.
  static std::string Plain(LdiDate date) {
    date.region = 0;
    return Show(date);
  }
  LdiZone ZoneOf(std::string_view text) const {
    LdiZone zone{};
    EXPECT_EQ(LdiZoneFromText(&zone, reinterpret_cast<const std::uint8_t*>(text.data()),
                              text.size(), nullptr, zones_.file()),
              0u)
        << text;
    return zone;
  }

  LoadedZones zones_;
  LdiSession session_;
};

TEST_F(LdiInZones, ALocalTimeFindsItsOffset) {
  struct Case {
    const char* region;
    const char* local;
    const char* made;
  };
  constexpr Case kCases[] = {
      {"America/New_York", "2026-01-01 12:00:00", "2026-01-01 12:00:00.000000000 -05:00"},
      {"america/new_york", "2026-07-01 12:00:00", "2026-07-01 12:00:00.000000000 -04:00"},
      {"America/New_York", "2026-03-08 01:59:59.5", "2026-03-08 01:59:59.500000000 -05:00"},
      {"America/New_York", "2026-03-08 02:00:00", "2026-03-08 03:00:00.000000000 -04:00"},
      {"America/New_York", "2026-03-08 02:59:59.5", "2026-03-08 03:59:59.500000000 -04:00"},
      {"America/New_York", "2026-11-01 01:30:00", "2026-11-01 01:30:00.000000000 -05:00"},
      {"Europe/Berlin", "2026-03-29 02:30:00", "2026-03-29 03:30:00.000000000 +02:00"},
      {"Australia/Lord_Howe", "2026-10-04 02:10:00", "2026-10-04 02:40:00.000000000 +11:00"},
      {"Asia/Kathmandu", "2026-10-04 02:10:00", "2026-10-04 02:10:00.000000000 +05:45"},
      {"America/New_York", "1800-01-01 00:00:00", "1800-01-01 00:00:00.000000000 -04:56"},
  };
  for (const Case& c : kCases) {
    const LdiDate date = In(c.region, c.local);
    EXPECT_EQ(Plain(date), c.made) << c.region << " " << c.local;
    EXPECT_NE(date.region, 0);
    EXPECT_EQ(LdiDateCheck(&date), 0u);
    std::uint8_t bytes[KES_DATETIME_BYTES];
    std::size_t length = 0;
    ASSERT_EQ(LdiDateToArray(bytes, sizeof bytes, &length, &date), 0u);
    LdiDate back;
    ASSERT_EQ(LdiDateFromArray(&back, bytes, length, date.type, &session_), 0u);
    EXPECT_EQ(Show(back), Show(date)) << "the stored form";
  }
  LdiDate out = Datetime("2000-01-01");
  const std::uint8_t nowhere[] = "Europe/Atlantis";
  EXPECT_EQ(LdiDateConstruct(&out, 2026, 1, 1, 0, 0, 0, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                             nowhere, 15, zones_.file()),
            1882u);
  EXPECT_EQ(LdiDateConstructN(&out, 2026, 1, 1, 0, 0, 0, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                              8192, zones_.file()),
            1881u);
  EXPECT_EQ(LdiDateConstructN(&out, 2026, 1, 1, 0, 0, 0, 0, 9, KES_DATETIME_TIME_TZ, 0, 0, 1,
                              zones_.file()),
            1882u);
  EXPECT_EQ(Show(out), "2000-01-01 00:00:00");
}

TEST_F(LdiInZones, AddingAcrossTransitions) {
  struct Case {
    const char* local;
    LdiInter inter;
    const char* sum;
  };
  const Case cases[] = {
      {"2026-03-07 01:30:00", Interval(KES_INTERVAL_HOUR, 0, 24),
       "2026-03-08 01:30:00.000000000 -05:00"},
      {"2026-03-07 02:30:00", Interval(KES_INTERVAL_DAY, 1),
       "2026-03-08 03:30:00.000000000 -04:00"},
      {"2026-03-08 01:30:00", Interval(KES_INTERVAL_MINUTE, 0, 0, 60),
       "2026-03-08 03:30:00.000000000 -04:00"},
      {"2026-11-01 00:30:00", Interval(KES_INTERVAL_HOUR, 0, 1),
       "2026-11-01 01:30:00.000000000 -04:00"},
      {"2026-11-01 00:30:00", Interval(KES_INTERVAL_HOUR, 0, 2),
       "2026-11-01 01:30:00.000000000 -05:00"},
      {"2026-02-08 02:30:00", Interval(KES_INTERVAL_MONTH, 0, 1),
       "2026-03-08 03:30:00.000000000 -04:00"},
      {"2026-01-31 12:00:00", Interval(KES_INTERVAL_MONTH, 0, 6),
       "2026-07-31 12:00:00.000000000 -04:00"},
      {"2026-07-31 12:00:00", Interval(KES_INTERVAL_YEAR_TO_MONTH, -1, -1),
       "2025-06-30 12:00:00.000000000 -04:00"},
  };
  for (const Case& c : cases) {
    const LdiDate in = In("America/New_York", c.local);
    LdiDate out;
    ASSERT_EQ(LdiDateInterAddTZ(&out, &in, &c.inter, &session_), 0u);
    EXPECT_EQ(Plain(out), c.sum) << c.local << " + " << Show(c.inter);
    EXPECT_EQ(out.region, in.region);
    if (LdiTypeCode[c.inter.type] >= KES_MASK_MONTH) continue;
    LdiDate back;
    ASSERT_EQ(LdiDateInterSubtractTZ(&back, &out, &c.inter, &session_), 0u);
    EXPECT_EQ(Show(back), Show(in));
  }
  const LdiDate in = In("America/New_York", "2026-03-07 01:30:00");
  const LdiInter day = Interval(KES_INTERVAL_DAY, 1);
  LdiDate out;
  EXPECT_EQ(LdiDateInterAddTZ(&out, &in, &day, nullptr), 1804u) << "no file in the session";
}

TEST_F(LdiInZones, InstantsMoveFromZoneToZone) {
  const LdiDate in = In("America/New_York", "2026-07-01 23:30:00");
  LdiDate out;
  ASSERT_EQ(LdiTimeZoneAdjust(&out, &in, ZoneOf("Asia/Kathmandu"), &session_), 0u);
  EXPECT_EQ(Plain(out), "2026-07-02 09:15:00.000000000 +05:45");
  ASSERT_EQ(LdiTimeZoneAdjust(&out, &in, ZoneOf("-9:30"), &session_), 0u);
  EXPECT_EQ(Show(out), "2026-07-01 18:00:00.000000000 -09:30");
  int order = 2;
  ASSERT_EQ(LdiDateCompare(&in, &out, nullptr, &order), 0u);
  EXPECT_EQ(order, 0);

  const LdiDate local = Datetime("2026-07-01 12:00:00");
  ASSERT_EQ(LdiTimeZoneShift(&out, &local, ZoneOf("Europe/Berlin"), ZoneOf("America/New_York"),
                             &session_),
            0u);
  EXPECT_EQ(Show(out), "2026-07-01 06:00:00.000000000");
  EXPECT_EQ(LdiTimeZoneShift(&out, &in, ZoneOf("Z"), ZoneOf("Z"), &session_), 1866u);
  ASSERT_EQ(LdiT2TZ(&out, &local, ZoneOf("Europe/Berlin"), &session_), 0u);
  EXPECT_EQ(Plain(out), "2026-07-01 12:00:00.000000000 +02:00");
  ASSERT_EQ(LdiTZ2T(&out, &out), 0u);
  EXPECT_EQ(Show(out), "2026-07-01 12:00:00.000000000");
  EXPECT_EQ(LdiTZ2T(&out, &out), 1866u);
  EXPECT_EQ(LdiTimeZoneAdjust(&out, &local, LdiZone{15, 1, 0}, &session_), 1882u);
  const LdiDate time = Datetime("23:30:00 +02:00");
  ASSERT_EQ(LdiTimeZoneAdjust(&out, &time, LdiZone{5, 30, 0}, &session_), 0u);
  EXPECT_EQ(Show(out), "03:00:00.000000000 +05:30");
  const LdiDate last = Datetime("9999-12-31 23:30:00 +00:00");
  EXPECT_EQ(LdiTimeZoneAdjust(&out, &last, LdiZone{1, 0, 0}, &session_), 1841u);
}

TEST_F(LdiInZones, TheSessionsZoneServesValuesWithout) {
  const std::uint8_t berlin[] = "Europe/Berlin";
  ASSERT_EQ(LdiSessionSetZone(&session_, berlin, 13, nullptr), 0u);
  const LdiDate local = Datetime("2026-07-01 12:00:00");
  LdiDate ltz;
  ASSERT_EQ(LdiDateDateConvert(&ltz, &local, KES_DATETIME_TIMESTAMP_LTZ, 9, &session_), 0u);
  EXPECT_EQ(Plain(ltz), "2026-07-01 12:00:00.000000000 +02:00");
  const LdiDate utc = Datetime("2026-07-01 10:00:00 +00:00");
  int order = 2;
  ASSERT_EQ(LdiDateCompare(&local, &utc, &session_, &order), 0u);
  EXPECT_EQ(order, 0);
  const std::uint8_t zulu[] = "Z";
  ASSERT_EQ(LdiSessionSetZone(&session_, zulu, 1, nullptr), 0u);
  ASSERT_EQ(LdiFixTSLTZ(&ltz, &ltz, &session_), 0u);
  EXPECT_EQ(Show(ltz), "2026-07-01 10:00:00.000000000 +00:00");
  std::uint8_t text[64];
  std::size_t length = 0;
  const LdiDate winter = In("America/New_York", "2026-01-01 00:00:00");
  ASSERT_EQ(LdiDateExtractTZ(text, sizeof text, &length, &winter, KES_FIELD_ABBREVIATION, &session_,
                             nullptr),
            0u);
  EXPECT_EQ(std::string(text, text + length), "EST");
  ASSERT_EQ(
      LdiDateExtractTZ(text, sizeof text, &length, &winter, KES_FIELD_REGION, &session_, nullptr),
      0u);
  EXPECT_EQ(std::string(text, text + length), "America/New_York");
  EXPECT_EQ(LdiDateExtractTZ(text, 15, &length, &winter, KES_FIELD_REGION, &session_, nullptr),
            1877u);
  EXPECT_EQ(
      LdiDateExtractTZ(text, sizeof text, &length, &local, KES_FIELD_REGION, &session_, nullptr),
      1878u);
}

TEST_F(LdiInZones, RandomInstantsInRandomZonesComeBack) {
  constexpr const char* kRegions[7] = {"America/New_York",   "Europe/Berlin",     "Asia/Kathmandu",
                                       "Europe/Dublin",      "Africa/Casablanca", "Africa/Monrovia",
                                       "Australia/Lord_Howe"};
  DatetimeSource source(11);
  const std::size_t count = LawCount(30'000);
  std::size_t moved = 0;
  for (std::size_t i = 0; i < count; ++i) {
    LdiDate x = source.Date(KES_DATETIME_TIMESTAMP_TZ);
    x.year = static_cast<std::int16_t>(1850 + source.Below(340));
    if (LdiDateCheck(&x) != 0) continue;
    const auto region = static_cast<std::uint16_t>(zones_.Id(kRegions[source.Below(7)]));
    LdiDate in;
    ASSERT_EQ(LdiTimeZoneAdjust(&in, &x, LdiZone{0, 0, region}, &session_), 0u);
    ASSERT_EQ(LdiDateCheck(&in), 0u) << Show(in);
    int order = 2;
    ASSERT_EQ(LdiDateCompare(&in, &x, nullptr, &order), 0u);
    ASSERT_EQ(order, 0) << Show(x) << " is " << Show(in);
    LdiInter inter = source.Inter(KES_INTERVAL_DAY_TO_SECOND);
    inter.field[0] %= 1000;
    LdiDate sum, back;
    ASSERT_EQ(LdiDateInterAddTZ(&sum, &in, &inter, &session_), 0u);
    ASSERT_EQ(LdiDateInterSubtractTZ(&back, &sum, &inter, &session_), 0u);
    ASSERT_EQ(Show(back), Show(in)) << Show(inter) << " by way of " << Show(sum);
    std::uint8_t bytes[KES_DATETIME_BYTES];
    std::size_t length = 0;
    ASSERT_EQ(LdiDateToArray(bytes, sizeof bytes, &length, &in), 0u);
    ASSERT_EQ(LdiDateFromArray(&back, bytes, length, in.type, &session_), 0u);
    ASSERT_EQ(Show(back), Show(in));
    ++moved;
  }
  EXPECT_GT(moved, count / 4);
}

TEST(LdiZoneFromText, OffsetsAndTheirLimits) {
  struct Case {
    const char* text;
    std::uint32_t error;
    int hour, minute;
  };
  constexpr Case kCases[] = {
      {"+05:30", 0, 5, 30},    {"-0:30", 0, 0, -30},    {"15", 0, 15, 0},
      {" -15:00 ", 0, -15, 0}, {"utc", 0, 0, 0},        {"Z", 0, 0, 0},
      {"16", 1874, 0, 0},      {"+15:01", 1875, 0, 0},  {"+5:60", 1875, 0, 0},
      {"+5:", 1875, 0, 0},     {"+", 1874, 0, 0},       {"+123", 1874, 0, 0},
      {"", 1882, 0, 0},        {"+05:30x", 1875, 0, 0}, {"Europe/Berlin", 1804, 0, 0}};
  for (const Case& c : kCases) {
    LdiZone zone{};
    const std::string text(c.text);
    EXPECT_EQ(LdiZoneFromText(&zone, reinterpret_cast<const std::uint8_t*>(text.data()),
                              text.size(), nullptr, nullptr),
              c.error)
        << c.text;
    EXPECT_EQ(zone.hour, c.hour) << c.text;
    EXPECT_EQ(zone.minute, c.minute) << c.text;
  }
}

TEST(LdiDateCurrent, AnOffsetOfTheClockIsAcceptedOrNot) {
  const os::BrokenDown utc{2026, 1, 1, 0, 0, 0};
  struct Case {
    os::BrokenDown local;
    int minutes;
  };
  const Case cases[] = {{{2026, 1, 1, 5, 30, 0}, 330}, {{2025, 12, 31, 14, 30, 0}, -570},
                        {{2026, 1, 1, 15, 0, 0}, 900}, {{2026, 1, 1, 15, 30, 0}, 0},
                        {{2025, 12, 31, 8, 30, 0}, 0}, {{2026, 1, 1, 16, 0, 0}, 0}};
  for (const Case& c : cases) EXPECT_EQ(datetime::AcceptedOffset(c.local, utc), c.minutes);
  for (const std::uint32_t type : {1u, 2u, 3u, 4u, 5u, 7u}) {
    LdiDate now;
    ASSERT_EQ(LdiDateCurrent(&now, type, 6, nullptr), 0u);
    EXPECT_EQ(LdiDateCheck(&now), 0u) << Show(now);
    EXPECT_EQ(now.fraction % 1000, 0u);
  }
  LdiDate now;
  EXPECT_EQ(LdiDateCurrent(&now, 6, 6, nullptr), 1866u);
}

TEST_F(LdiInZones, RoundingFindsTheOffsetAgain) {
  struct Case {
    const char* in;
    std::uint32_t unit;
    const char* rounded;
    const char* truncated;
  };
  constexpr Case kCases[] = {
      {"2026-03-08 12:34:56.5", KES_DATE_DD, "2026-03-09 00:00:00.000000000",
       "2026-03-08 00:00:00.000000000"},
      {"2026-07-16 12:34:56.5", KES_DATE_MM, "2026-08-01 00:00:00.000000000",
       "2026-07-01 00:00:00.000000000"},
      {"2026-07-16 12:34:56.5", KES_DATE_YYYY, "2027-01-01 00:00:00.000000000",
       "2026-01-01 00:00:00.000000000"},
      {"2026-07-16 12:34:56.5", KES_DATE_SS, "2026-07-16 12:34:57.000000000",
       "2026-07-16 12:34:56.000000000"},
      {"23:45:00", KES_DATE_HH24, "00:00:00.000000000", "23:00:00.000000000"},
  };
  for (const Case& c : kCases) {
    const LdiDate in = Datetime(c.in);
    LdiDate out;
    ASSERT_EQ(LdiRound(&out, &in, c.unit, 0, &session_), 0u);
    EXPECT_EQ(Show(out), c.rounded);
    ASSERT_EQ(LdiTruncate(&out, &in, c.unit, 0, &session_), 0u);
    EXPECT_EQ(Show(out), c.truncated);
  }
  const LdiDate summer = In("America/New_York", "2026-03-08 12:00:00");
  LdiDate out;
  ASSERT_EQ(LdiTruncate(&out, &summer, KES_DATE_DD, 0, &session_), 0u);
  EXPECT_EQ(Plain(out), "2026-03-08 00:00:00.000000000 -05:00");
  const LdiDate time = Datetime("10:00:00");
  EXPECT_EQ(LdiRound(&out, &time, KES_DATE_DD, 0, nullptr), 1899u);
  EXPECT_EQ(LdiRound(&out, &summer, KES_DATE_Y_YYY, 0, &session_), 1899u);
  EXPECT_EQ(LdiRound(&out, &summer, 200, 0, &session_), 1899u);
}

// 1:30 comes twice on this day: first at -04:00, then at -05:00.
// The carry of a fraction crosses a transition: the instant moves by the rounding alone.
TEST_F(LdiInZones, AFractionThatCarriesFindsTheOffsetBehindTheTransition) {
  struct Case {
    const char* local;
    const char* abbreviation;
    std::uint32_t precision;
    const char* rounded;
  };
  constexpr Case kCases[] = {
      {"2026-03-08 01:59:59.9999999", "EST", 3, "2026-03-08 03:00:00.000000000 -04:00"},
      {"2026-03-08 01:59:59.9994", "EST", 3, "2026-03-08 01:59:59.999000000 -05:00"},
      {"2026-11-01 01:59:59.9999999", "EDT", 3, "2026-11-01 01:00:00.000000000 -05:00"},
      {"2026-11-01 01:59:59.9999999", "EST", 3, "2026-11-01 02:00:00.000000000 -05:00"},
      {"2026-12-31 23:59:59.5", "EST", 0, "2027-01-01 00:00:00.000000000 -05:00"},
  };
  LdiParseContext ctx;
  ASSERT_EQ(LdiParseContextInit(&ctx, nullptr, nullptr, &session_), 0u);
  constexpr std::string_view kModel = "YYYY-MM-DD HH24:MI:SS.FF TZR TZD";
  std::uint8_t format[64];
  std::size_t length = 0;
  ASSERT_EQ(
      LdiParseForInput(format, sizeof format, &length,
                       reinterpret_cast<const std::uint8_t*>(kModel.data()), kModel.size(), &ctx),
      0u);
  for (const Case& c : kCases) {
    const std::string text =
        std::string(c.local) + " America/New_York " + std::string(c.abbreviation);
    const auto read = [&](std::uint32_t precision) {
      LdiDate date{};
      EXPECT_EQ(
          LdiDateFromString(&date, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                            format, length, KES_DATETIME_TIMESTAMP_TZ, precision, &ctx),
          0u)
          << text;
      return date;
    };
    const LdiDate in = read(9);
    LdiDate out;
    ASSERT_EQ(LdiDateRoundFS(&out, &in, c.precision, &session_), 0u);
    EXPECT_EQ(Plain(out), c.rounded) << text;
    LdiDate converted;
    ASSERT_EQ(LdiDateDateConvert(&converted, &in, in.type, c.precision, &session_), 0u);
    EXPECT_EQ(Show(converted), Show(out)) << text;
    EXPECT_EQ(Show(read(c.precision)), Show(out)) << text;
    if (out.fraction == 0) {
      ASSERT_EQ(LdiRound(&converted, &in, KES_DATE_SS, 0, &session_), 0u);
      EXPECT_EQ(Show(converted), Show(out)) << text;
    }
    // Without a file only what carries needs to fail.
    const std::uint32_t without = LdiDateRoundFS(&converted, &in, c.precision, nullptr);
    EXPECT_EQ(without, out.fraction == 0 ? 1804u : 0u) << text;
  }
  LdiParseContextTerm(&ctx);
}

TEST_F(LdiInZones, ATimeThatComesTwiceKeepsItsOffset) {
  LdiInter none;
  ASSERT_EQ(LdiInterConstruct(&none, 0, 0, 0, 0, 0, 0, 0, 2, 0, KES_INTERVAL_MONTH), 0u);
  const LdiZone new_york = ZoneOf("America/New_York");
  const struct {
    const char* utc;
    const char* hour;
    const char* same;
  } kCases[] = {
      {"2026-11-01 05:30:00", "2026-11-01 01:00:00.000000000 -04:00",
       "2026-11-01 01:30:00.000000000 -04:00"},
      {"2026-11-01 06:30:00", "2026-11-01 01:00:00.000000000 -05:00",
       "2026-11-01 01:30:00.000000000 -05:00"},
  };
  for (const auto& c : kCases) {
    const LdiDate utc = Datetime(c.utc);
    LdiDate in, out;
    ASSERT_EQ(LdiTimeZoneAdjust(&in, &utc, new_york, &session_), 0u);
    ASSERT_EQ(LdiTruncate(&out, &in, KES_DATE_HH24, 0, &session_), 0u);
    EXPECT_EQ(Plain(out), c.hour);
    ASSERT_EQ(LdiRound(&out, &in, KES_DATE_MI, 0, &session_), 0u);
    EXPECT_EQ(Plain(out), c.same);
    ASSERT_EQ(LdiDateInterAddTZ(&out, &in, &none, &session_), 0u);
    EXPECT_EQ(Plain(out), c.same);
  }
}

// What the look-ups answer in status codes.
TEST(LdiErrors, EveryStatusOfTheZonesHasItsNumber) {
  struct Case {
    const char* what;
    std::uint32_t at, byte;  // of the file, that is changed to byte
    std::uint32_t id;
    std::uint32_t constructed, named, abbreviated;
  };
  constexpr std::uint32_t kNothing = 16;  // is not read
  const Case cases[] = {
      {"0", kNothing, 0, 1, 0, 0, 0},
      {"2: another magic", 0, 'k', 1, 1804, 1804, 1804},
      {"3: another version", 9, 4, 1, 1804, 1804, 1804},
      {"4: no id", kNothing, 0, 8192, 1881, 1881, 1881},
      {"5: no such zone", kNothing, 0, 4, 1882, 1882, 1882},
      {"8: a name of 300 bytes", kNothing, 0, 2, 0, 1891, 0},
      {"an abbreviation of 300 bytes", kNothing, 0, 3, 0, 0, 1891},
  };
  const std::vector<std::uint8_t> bytes =
      BuildZones({{1, "Test/One", {{kLongAgo, 3600, false, "ONE"}}},
                  {2, std::string(300, 'n'), {{kLongAgo, 3600, false, "TWO"}}},
                  {3, "Test/Three", {{kLongAgo, 3600, false, std::string(300, 'a')}}}},
                 true);
  const auto ask = [](const Case& c, const ltzfile* zones) {
    LdiSession session{};
    session.zones = zones;
    LdiDate date = Datetime("2026-01-01 00:00:00 +00:00");
    const auto id = static_cast<std::uint16_t>(c.id);
    EXPECT_EQ(LdiDateConstructN(&date, 2026, 1, 1, 0, 0, 0, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                                c.id, zones),
              c.constructed);
    date.region = id;
    std::uint8_t text[1000];
    std::size_t length = 0;
    EXPECT_EQ(LdiZoneToText(text, sizeof text, &length, {0, 0, id}, nullptr, zones), c.named);
    EXPECT_EQ(LdiDateExtractTZ(text, sizeof text, &length, &date, KES_FIELD_ABBREVIATION, &session,
                               nullptr),
              c.abbreviated);
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<std::uint8_t> changed = bytes;
    changed[c.at] = static_cast<std::uint8_t>(c.byte);
    ask(c, reinterpret_cast<const ltzfile*>(changed.data()));
  }
  SCOPED_TRACE("1: no file");
  ask({"", 0, 0, 1, 1804, 1804, 1804}, nullptr);
  CountingAllocator allocator;
  allocator.FailAt(0, true);
  const ltzfile* file = nullptr;
  NlsEnvironment environment;
  EXPECT_EQ(LdiTZMapFile(&file, nullptr, KES_ZONE_ANY_ORDER, allocator.block()), 1891u);
  environment.Set("KES_TZFILE", "/nowhere/at.dat");
  EXPECT_EQ(LdiTZMapFile(&file, nullptr, KES_ZONE_ANY_ORDER, nullptr), 1804u);
}

TEST(LdiDateToLiteral, TheLongestNameOfARegionComesBack) {
  const std::vector<std::uint8_t> bytes =
      BuildZones({{1, std::string(255, 'N'), {{kLongAgo, -12600, false, std::string(256, 'A')}}}});
  const ltzfile* zones = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  ASSERT_NE(zones, nullptr);
  LdiSession session;
  LdiSessionInit(&session, zones);
  LdiDate in;
  ASSERT_EQ(LdiDateConstructN(&in, -4711, 12, 31, 23, 59, 59, 999999999, 9,
                              KES_DATETIME_TIMESTAMP_TZ, 0, 0, 1, zones),
            0u);
  std::uint8_t text[400];
  std::size_t length = 0;
  ASSERT_EQ(LdiDateToLiteral(text, sizeof text, &length, &in, 9, &session, nullptr), 0u);
  LdiDate back;
  ASSERT_EQ(LdiDateFromLiteral(&back, text, length, 0, &session, nullptr), 0u)
      << std::string(text, text + length);
  EXPECT_EQ(Show(back), Show(in));
  // An abbreviation that long is refused, not cut.
  EXPECT_EQ(
      LdiDateExtractTZ(text, sizeof text, &length, &in, KES_FIELD_ABBREVIATION, &session, nullptr),
      1891u);
  ltzFree(zones);
}

TEST(LdiDateFromString, OffsetsOfLocalMeanTimesComeBack) {
  const std::vector<std::uint8_t> bytes =
      BuildZones({{1, "Far/East", {{kLongAgo, 15 * 3600 + 13 * 60, false, "LMT"}}},
                  {2, "West", {{kLongAgo, -15584, false, "LMT"}, {86'400, -14400, false, "W"}}}});
  const ltzfile* zones = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  ASSERT_NE(zones, nullptr);
  LdiSession session;
  LdiSessionInit(&session, zones);
  LdiParseContext ctx;
  LdiParseContextInit(&ctx, nullptr, nullptr, &session);
  const std::string model = "YYYY-MM-DD HH24:MI TZR TZH:TZM";
  const std::string text = "1860-01-01 12:00 Far/East +15:13";
  const auto bytes_of = [](const std::string& s) {
    return reinterpret_cast<const std::uint8_t*>(s.data());
  };
  std::uint8_t format[100], out[100];
  std::size_t format_length = 0, length = 0;
  ASSERT_EQ(
      LdiParseForInput(format, sizeof format, &format_length, bytes_of(model), model.size(), &ctx),
      0u);
  LdiDate date{};
  ASSERT_EQ(LdiDateFromString(&date, bytes_of(text), text.size(), format, format_length,
                              KES_DATETIME_TIMESTAMP_TZ, 9, &ctx),
            0u);
  ASSERT_EQ(LdiDateToString(out, sizeof out, &length, &date, format, format_length, 9, &ctx), 0u);
  EXPECT_EQ(std::string(out, out + length), text);
  // Ten seconds before a local mean time of -4:19:44 ends: -4:19 shows a time that the clock left out.
  const LdiDate last = Datetime("1970-01-01 23:59:50 +00:00");
  ASSERT_EQ(LdiTimeZoneAdjust(&date, &last, {0, 0, 2}, &session), 0u);
  ASSERT_EQ(LdiDateToString(out, sizeof out, &length, &date, format, format_length, 9, &ctx), 0u);
  EXPECT_EQ(std::string(out, out + length), "1970-01-01 19:40 West -04:19");
  LdiDate other{};
  int changed = 9;
  EXPECT_EQ(LdiDateTimeUpgrade(&other, &date, zones, &changed), 0u);
  EXPECT_EQ(changed, 0);
  ASSERT_EQ(LdiDateFromString(&other, out, length, format, format_length, KES_DATETIME_TIMESTAMP_TZ,
                              9, &ctx),
            0u);
  EXPECT_EQ(Show(other), "1970-01-01 19:40:00.000000000 -04:19 #2");
  // Four seconds into the time left out: by the clock that knew no change it is 00:00:04 UTC.
  ASSERT_EQ(LdiDateConstructN(&other, 1970, 1, 1, 19, 40, 20, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0,
                              2, zones),
            0u);
  EXPECT_EQ(Show(other), "1970-01-01 20:00:04.000000000 -04:00 #2");
  LdiParseContextTerm(&ctx);
  ltzFree(zones);
}

// Two releases of one zone: the second puts the clock forward an hour on 2 January 1970.
class LdiUpgrade : public testing::Test {
 protected:
  static const ltzfile* Load(const std::vector<BuiltZone>& zones) {
    const std::vector<std::uint8_t> bytes = BuildZones(zones);
    return ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  }
  LdiUpgrade()
      : old_(Load({{1, "Here", {{kLongAgo, 3600, false, "A"}}},
                   {2, "There", {{kLongAgo, 0, false, "B"}}}})),
        new_(Load({{1, "Here", {{kLongAgo, 3600, false, "A"}, {82800, 7200, true, "AD"}}},
                   {2, "There", {{kLongAgo, 0, false, "B"}}}})) {}
  ~LdiUpgrade() override {
    ltzFree(old_);
    ltzFree(new_);
  }
  const ltzfile* old_;
  const ltzfile* new_;
};

TEST_F(LdiUpgrade, LocalTimesStayAndFindTheNewOffset) {
  struct Case {
    const char* local;
    std::uint32_t region;
    const char* upgraded;
    int changed;
  };
  constexpr Case kCases[] = {
      {"1969-12-31 12:00:00", 1, "1969-12-31 12:00:00.000000000 +01:00 #1", 0},
      {"1970-01-01 23:59:59", 1, "1970-01-01 23:59:59.000000000 +01:00 #1", 0},
      {"1970-01-02 00:30:00", 1, "1970-01-02 01:30:00.000000000 +02:00 #1", 1},
      {"1970-06-01 12:00:00", 1, "1970-06-01 12:00:00.000000000 +02:00 #1", 1},
      {"1970-06-01 12:00:00", 2, "1970-06-01 12:00:00.000000000 +00:00 #2", 0},
  };
  ASSERT_NE(old_, nullptr);
  ASSERT_NE(new_, nullptr);
  alignas(8) std::uint8_t block[1024];
  std::size_t size = 0;
  std::size_t length = 0;
  ASSERT_EQ(LdiTZGetDeltaSize(&size, nullptr, old_, new_), 0u);
  EXPECT_EQ(LdiTZGetDelta(block, size - 1, &length, nullptr, old_, new_), 1877u);
  ASSERT_EQ(LdiTZGetDelta(block, sizeof block, &length, nullptr, old_, new_), 0u);
  EXPECT_EQ(length, size);
  const auto* delta = reinterpret_cast<const ltzdelta*>(block);
  std::uint8_t bitmap[KES_ZONE_BITMAP_BYTES];
  ASSERT_EQ(LdiTZGetDeltaBitmap(bitmap, delta), 0u);
  EXPECT_EQ(bitmap[0], 2);
  LdiDate from;
  ASSERT_EQ(LdiTZGetDeltaMinAffectedTime(&from, delta), 0u);
  EXPECT_EQ(Show(from), "1970-01-01 23:00:00.000000000");

  for (const Case& c : kCases) {
    const LdiDate local = Datetime(c.local);
    LdiDate date;
    ASSERT_EQ(
        LdiDateConstructN(&date, local.year, local.month, local.day, local.hour, local.minute,
                          local.second, 0, 9, KES_DATETIME_TIMESTAMP_TZ, 0, 0, c.region, old_),
        0u);
    int affected = 2;
    ASSERT_EQ(LdiTZIsDateAffected(&date, delta, &affected), 0u);
    EXPECT_EQ(affected, c.changed) << c.local;
    std::uint8_t bytes[KES_DATETIME_BYTES];
    ASSERT_EQ(LdiDateToArray(bytes, sizeof bytes, &length, &date), 0u);
    int changed = 2;
    ASSERT_EQ(LdiDateTimeArrayUpgrade(bytes, length, date.type, old_, new_, &changed), 0u);
    EXPECT_EQ(changed, c.changed);
    LdiSession session{};
    session.zones = new_;
    LdiDate stored;
    ASSERT_EQ(LdiDateFromArray(&stored, bytes, length, date.type, &session), 0u);
    EXPECT_EQ(Show(stored), c.upgraded);
    ASSERT_EQ(LdiDateTimeUpgrade(&date, &date, new_, &changed), 0u);
    EXPECT_EQ(changed, c.changed);
    EXPECT_EQ(Show(date), c.upgraded);
  }
  ASSERT_EQ(LdiTZGetDelta(block, sizeof block, &length, nullptr, old_, old_), 0u);
  EXPECT_EQ(LdiTZGetDeltaMinAffectedTime(&from, delta), 1878u);
}

TEST(LdiTZReadFile, TheBytesOfTheFileThatIsFound) {
  EXPECT_EQ(LdiTZGetMaxFileSize(), 2097152u);
  std::size_t size = 0;
  EXPECT_EQ(LdiTZGetFileSize(&size, "/nowhere/timezone_1.dat"), 1804u);
  const ltzfile* file = nullptr;
  EXPECT_EQ(LdiTZMapFile(&file, "/nowhere/timezone_1.dat", KES_ZONE_ANY_ORDER, nullptr), 1804u);
  EXPECT_EQ(file, nullptr);
}

}  // namespace
}  // namespace kestra::test
