// Every array form of datetimes and intervals against its scalar form: random values, some of which
// fail, with an operand for each and with one for all.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kestra/date_format.h"
#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"
#include "kestra/number_native.h"
#include "tests/support/datetime_values.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

constexpr std::size_t kCount = 300;

// A column of plain values.
template <typename T>
struct Values {
  std::vector<T> values = std::vector<T>(kCount);
  template <typename Make>
  explicit Values(const Make& make) {
    for (T& value : values) value = static_cast<T>(make());
  }
  const T& operator[](std::size_t i) const { return values[i]; }
  const T* at(std::size_t i) const { return values.data() + i; }
};

// A column of records, which are handed over by their addresses.
template <typename T>
struct Column : Values<T> {
  std::vector<const T*> addresses;
  template <typename Make>
  explicit Column(const Make& make) : Values<T>(make) {
    for (const T& value : this->values) addresses.push_back(&value);
  }
  const T* const* at(std::size_t i) const { return addresses.data() + i; }
};

// A text, a stored form or a NUMBER.
struct Bytes {
  std::uint8_t bytes[128];
  std::size_t length;
};

// A column of them to read.
struct Texts {
  std::vector<Bytes> values = std::vector<Bytes>(kCount);
  std::vector<const std::uint8_t*> addresses;
  Texts() {
    for (const Bytes& value : values) addresses.push_back(value.bytes);
  }
  std::uint8_t* room(std::size_t i) { return values[i].bytes; }
  const std::uint8_t* operator[](std::size_t i) const { return addresses[i]; }
  const std::uint8_t* const* at(std::size_t i) const { return addresses.data() + i; }
};

// Whatever an array form writes, and where.
template <typename T>
struct Results {
  std::vector<T> values = std::vector<T>(kCount);
  std::vector<T*> addresses;
  std::vector<std::uint8_t*> bytes;  // of Bytes
  std::vector<std::size_t> lengths = std::vector<std::size_t>(kCount);
  Results() {
    std::memset(static_cast<void*>(values.data()), 0, kCount * sizeof(T));
    for (T& value : values) {
      addresses.push_back(&value);
      if constexpr (std::is_same_v<T, Bytes>) bytes.push_back(value.bytes);
    }
  }
};

// What a call works on: elements from at on, with operands from operand on.
struct Part {
  std::size_t at, count, operand;
  std::uint32_t flags;
  std::size_t* done;
};

enum class Failures { kSome, kNone };

// scalar(i, j, value): element i with operand j. array(part, results). Both answer an error. The
// array form goes on behind each error, so that every element has its turn.
template <typename T, typename Scalar, typename Array>
void Agree(const char* what, const Scalar& scalar, const Array& array,
           Failures failures = Failures::kSome) {
  SCOPED_TRACE(what);
  for (const std::uint32_t flags : {0u, std::uint32_t{KES_DATETIME_SHARED}}) {
    std::size_t failed = 0, succeeded = 0;
    for (std::size_t at = 0; at < kCount;) {
      Results<T> results;
      std::size_t done = 999'999;
      const std::size_t count = kCount - at;
      const std::uint32_t error = array(Part{at, count, at, flags, &done}, results);
      ASSERT_LE(done, count);
      ASSERT_EQ(error == 0, done == count);
      for (std::size_t i = 0; i < done + (error != 0 ? 1 : 0); ++i) {
        T expected;
        std::memset(static_cast<void*>(&expected), 0, sizeof expected);
        const std::uint32_t wanted = scalar(at + i, flags == 0 ? at + i : at, expected);
        ASSERT_EQ(i < done ? 0u : error, wanted) << i;
        if constexpr (std::is_same_v<T, Bytes>) results.values[i].length = results.lengths[i];
        ASSERT_EQ(std::memcmp(&results.values[i], &expected, sizeof expected), 0) << i;
      }
      failed += error != 0 ? 1 : 0;
      succeeded += done;
      at += done + 1;
    }
    EXPECT_GT(succeeded, 0u);
    EXPECT_EQ(failed > 0, failures == Failures::kSome);
  }
  Results<T> results;
  EXPECT_EQ(array(Part{0, 0, 0, 0, nullptr}, results), 0u) << "no element, no count wanted";
}

// A function and its array form: the results, and the arguments of both.
#define FORM(T, NAME, SCALAR_ARGUMENTS, ARRAY_ARGUMENTS, ...)                     \
  Agree<T>(                                                                       \
      #NAME,                                                                      \
      [&]([[maybe_unused]] std::size_t i, [[maybe_unused]] std::size_t j, T& v) { \
        return NAME SCALAR_ARGUMENTS;                                             \
      },                                                                          \
      [&](const Part& p, [[maybe_unused]] Results<T>& r) {                        \
        return NAME##arr ARRAY_ARGUMENTS;                                         \
      } __VA_OPT__(, ) __VA_ARGS__)
// The same where the scalar form gives its answer as another type.
#define FORM_OF_INT(T, NAME, SCALAR_ARGUMENTS, ARRAY_ARGUMENTS)                   \
  Agree<T>(                                                                       \
      #NAME,                                                                      \
      [&]([[maybe_unused]] std::size_t i, [[maybe_unused]] std::size_t j, T& v) { \
        int answer = 0;                                                           \
        const std::uint32_t error = NAME SCALAR_ARGUMENTS;                        \
        v = static_cast<T>(answer);                                               \
        return error;                                                             \
      },                                                                          \
      [&](const Part& p, Results<T>& r) { return NAME##arr ARRAY_ARGUMENTS; })

#define OUT r.addresses.data()
#define ANSWERS r.values.data()
#define TEXTS r.bytes.data()
#define FROM(COLUMN) (COLUMN).at(p.at), p.count
#define WITH(COLUMN) (COLUMN).at(p.operand)

class LdiArrayForms : public testing::Test {
 protected:
  LdiArrayForms() : zones_(TestHome(), ZoneAccess::kIndexedNative) {
    LdiSessionInit(&session_, zones_.file());
    const std::string_view berlin = "Europe/Berlin";
    EXPECT_EQ(LdiSessionSetZone(&session_, reinterpret_cast<const std::uint8_t*>(berlin.data()),
                                berlin.size(), nullptr),
              0u);
  }
  // A datetime of any type, with a region now and then, or one of no type.
  LdiDate AnyDate() {
    LdiDate date = source_.Date();
    if (source_.Below(40) == 0) date.type = 6;
    if (date.type == KES_DATETIME_TIMESTAMP_TZ && source_.Below(2) == 0) {
      LdiDate moved;
      if (LdiTimeZoneAdjust(&moved, &date, AnyZone(), &session_) == 0) date = moved;
    }
    return date;
  }
  // The same with a date, or of no type: nothing asks the clock.
  LdiDate AnyDated() {
    for (;;) {
      const LdiDate date = AnyDate();
      if (date.type != KES_DATETIME_TIME && date.type != KES_DATETIME_TIME_TZ) return date;
    }
  }
  LdiInter AnyInterval() {
    LdiInter inter = source_.Inter();
    if (source_.Below(2) == 0) inter.field[0] %= 5;
    if (source_.Below(40) == 0) inter.type = 0;
    return inter;
  }
  LdiZone AnyZone() {
    if (source_.Below(20) == 0) return {16, 0, 0};
    if (source_.Below(2) == 0) return {static_cast<std::int8_t>(source_.Below(15)), 30, 0};
    return {0, 0, static_cast<std::uint16_t>(zones_.Id("America/New_York"))};
  }
  DatetimeSource source_{2};
  LoadedZones zones_;
  LdiSession session_{};
};

TEST_F(LdiArrayForms, DatetimesToOtherForms) {
  const Column<LdiDate> in([this] { return AnyDate(); });
  const Column<LdiDate> dated([this] { return AnyDated(); });
  const Column<ldxdate> dates([this] {
    const LdiDate d = source_.Date(KES_DATETIME_DATE);
    return ldxdate{d.year, d.month, d.day, d.hour, d.minute, d.second, 0};
  });
  const Column<LdiJulian> julians([this] {
    return LdiJulian{static_cast<std::int32_t>(source_.Below(6'000'000)),
                     static_cast<std::int32_t>(source_.Below(86'400)),
                     static_cast<std::uint32_t>(source_.Below(1'000'000'000))};
  });
  const Values<std::int32_t> days(
      [this] { return static_cast<std::int32_t>(source_.Below(6'000'000)); });
  Texts numbers;
  for (std::size_t i = 0; i < kCount; ++i) {
    if (LdiJulianToNumber(&julians[i], numbers.room(i), nullptr) != 0) {
      lnxmin(-1, numbers.room(i), nullptr);
    }
  }
  constexpr std::uint32_t kStamp = KES_DATETIME_TIMESTAMP_TZ, kTime = KES_DATETIME_TIME_TZ;
  const LdiSession* session = &session_;
  Agree<std::uint32_t>(
      "LdiDateCheck",
      [&](std::size_t i, std::size_t, std::uint32_t& v) { return v = LdiDateCheck(&in[i]), 0u; },
      [&](const Part& p, Results<std::uint32_t>& r) {
        return LdiDateCheckarr(ANSWERS, FROM(in), p.done);
      },
      Failures::kNone);
  FORM(LdiDate, LdiDateFromLDX, (&v, &dates[i], kStamp, session),
       (OUT, FROM(dates), kStamp, session, p.done), Failures::kNone);
  FORM(ldxdate, LdiDateToLDX, (&v, &dated[i], session), (OUT, FROM(dated), session, p.done));
  FORM(LdiDate, LdiDateRoundFS, (&v, &in[i], 1, session), (OUT, FROM(in), 1, session, p.done));
  FORM(LdiDate, LdiDateDateConvert, (&v, &dated[i], kTime, 3, session),
       (OUT, FROM(dated), kTime, 3, session, p.done));
  FORM(LdiJulian, LdiDateToJulian, (&v, &in[i]), (OUT, FROM(in), p.done));
  FORM(LdiDate, LdiJulianToDate, (&v, &julians[i], kStamp, session),
       (OUT, FROM(julians), kStamp, session, p.done));
  FORM(std::int32_t, LdiDateToJDays, (&v, &in[i]), (ANSWERS, FROM(in), p.done));
  FORM(LdiDate, LdiJDaysToDate, (&v, days[i], kStamp, session),
       (OUT, FROM(days), kStamp, session, p.done));
  FORM(Bytes, LdiJulianToNumber, (&julians[i], v.bytes, nullptr), (TEXTS, FROM(julians), p.done));
  FORM(LdiJulian, LdiJulianFromNumber, (&v, numbers[i], 0), (OUT, FROM(numbers), p.done));
}

TEST_F(LdiArrayForms, ArithmeticOfDatetimes) {
  const Column<LdiDate> in([this] { return AnyDate(); });
  const Column<LdiDate> dated([this] { return AnyDated(); });
  const Column<LdiDate> others([this] { return AnyDated(); });
  const Column<LdiInter> by([this] { return AnyInterval(); });
  constexpr std::uint32_t kType = KES_INTERVAL_DAY_TO_SECOND;
  const LdiSession* session = &session_;
#define SUM(NAME) \
  FORM(LdiDate, NAME, (&v, &in[i], &by[j]), (OUT, FROM(in), WITH(by), p.flags, p.done))
  SUM(LdiDateInterAdd);
  SUM(LdiDateInterSubtract);
#define SUM_IN_ZONE(NAME)                            \
  FORM(LdiDate, NAME, (&v, &in[i], &by[j], session), \
       (OUT, FROM(in), WITH(by), session, p.flags, p.done))
  SUM_IN_ZONE(LdiDateInterAddTZ);
  SUM_IN_ZONE(LdiDateInterSubtractTZ);
  SUM_IN_ZONE(LdiDateInterAddTZISO);
  SUM_IN_ZONE(LdiDateInterSubtractTZISO);
  // The days that are left over, and nowhere to put them.
  std::vector<LdiDate> dropped(kCount);
  std::vector<LdiDate*> places;
  for (LdiDate& date : dropped) places.push_back(&date);
#define CLOCK(NAME)                                                                    \
  FORM(LdiDate, NAME, (&v, &in[i], &by[j], nullptr),                                   \
       (OUT, FROM(in), WITH(by), nullptr, p.flags, p.done));                           \
  Agree<std::int32_t>(                                                                 \
      #NAME,                                                                           \
      [&](std::size_t i, std::size_t j, std::int32_t& v) {                             \
        LdiDate date;                                                                  \
        return NAME(&date, &in[i], &by[j], &v);                                        \
      },                                                                               \
      [&](const Part& p, Results<std::int32_t>& r) {                                   \
        return NAME##arr(places.data(), FROM(in), WITH(by), ANSWERS, p.flags, p.done); \
      })
  CLOCK(LdiDateIntertimeAdd);
  CLOCK(LdiDateIntertimeSubtract);
  FORM(LdiInter, LdiDateDateSubtract, (&v, &in[i], &others[j], kType),
       (OUT, FROM(in), WITH(others), kType, p.flags, p.done));
  FORM(LdiInter, LdiDateDateSubtractWithTZ, (&v, &dated[i], &others[j], kType, session),
       (OUT, FROM(dated), WITH(others), kType, session, p.flags, p.done));
  FORM_OF_INT(std::int8_t, LdiDateCompare, (&dated[i], &others[j], session, &answer),
              (ANSWERS, FROM(dated), WITH(others), session, p.flags, p.done));
}

TEST_F(LdiArrayForms, FieldsUnitsAndZonesOfDatetimes) {
  const Column<LdiDate> in([this] { return AnyDate(); });
  const Column<LdiDate> dated([this] { return AnyDated(); });
  const Column<LdiDate> local([this] {
    return source_.Date(source_.Below(8) == 0 ? KES_DATETIME_DATE : KES_DATETIME_TIMESTAMP_LTZ);
  });
  const Values<LdiZone> zones([this] { return AnyZone(); });
  const Values<std::size_t> rooms([this] { return source_.Below(20) == 0 ? 5u : 100u; });
  const LdiSession* session = &session_;
  for (const std::uint32_t field : {KES_FIELD_YEAR, KES_FIELD_SECOND, KES_FIELD_ZONE_HOUR}) {
    FORM(Bytes, LdiDateExtract, (&in[i], field, v.bytes, nullptr),
         (TEXTS, FROM(in), field, p.done));
  }
  FORM(Bytes, LdiDateExtractTZ,
       (v.bytes, rooms[j], &v.length, &in[i], KES_FIELD_REGION, session, nullptr),
       (TEXTS, FROM(in), WITH(rooms), r.lengths.data(), KES_FIELD_REGION, session, nullptr, p.flags,
        p.done));
  FORM(std::uint32_t, LdiDayofWeek, (&in[i], 1, &v), (ANSWERS, FROM(in), 1, p.done));
  for (const std::uint32_t unit : {KES_DATE_MM, KES_DATE_HH24, KES_DATE_SS}) {
    FORM(LdiDate, LdiRound, (&v, &in[i], unit, 0, session),
         (OUT, FROM(in), unit, 0, session, p.done));
    FORM(LdiDate, LdiTruncate, (&v, &in[i], unit, 0, session),
         (OUT, FROM(in), unit, 0, session, p.done));
  }
  FORM(LdiDate, LdiTimeZoneAdjust, (&v, &dated[i], zones[j], session),
       (OUT, FROM(dated), WITH(zones), session, p.flags, p.done));
  FORM(LdiDate, LdiT2TZ, (&v, &dated[i], zones[j], session),
       (OUT, FROM(dated), WITH(zones), session, p.flags, p.done));
  FORM(LdiDate, LdiTZ2T, (&v, &in[i]), (OUT, FROM(in), p.done));
  const LdiZone from{0, 0, static_cast<std::uint16_t>(zones_.Id("America/New_York"))};
  const LdiZone to{5, 45, 0};
  FORM(LdiDate, LdiTimeZoneShift, (&v, &dated[i], from, to, session),
       (OUT, FROM(dated), from, to, session, p.done));
  FORM(LdiDate, LdiFixTSLTZ, (&v, &local[i], session), (OUT, FROM(local), session, p.done));
}

TEST_F(LdiArrayForms, AnotherReleaseOfTheZones) {
  std::vector<BuiltZone> zones = SampleZones();
  const std::vector<std::uint8_t> before = BuildZones(zones);
  for (BuiltZone& zone : zones) {
    for (BuiltTransition& transition : zone.transitions) transition.offset += 1800;
  }
  const std::vector<std::uint8_t> after = BuildZones(zones);
  const auto* from = reinterpret_cast<const ltzfile*>(before.data());
  const auto* to = reinterpret_cast<const ltzfile*>(after.data());
  LdiSession session{};
  session.zones = from;
  constexpr std::uint32_t kStamp = KES_DATETIME_TIMESTAMP_TZ;
  const Column<LdiDate> in([&] {
    if (source_.Below(3) == 0) return AnyDate();
    LdiDate date = source_.Date(kStamp);
    const std::uint32_t id = source_.Below(9) == 0 ? 8000u : zones[source_.Below(3)].id;
    const LdiZone zone{0, 0, static_cast<std::uint16_t>(id)};
    if (LdiTimeZoneAdjust(&date, &date, zone, &session) != 0) date.region = zone.region;
    return date;
  });
  Texts stored;
  Values<std::size_t> lengths([] { return std::size_t{13}; });
  for (std::size_t i = 0; i < kCount; ++i) {
    if (LdiDateToArray(stored.room(i), 13, &lengths.values[i], &in[i]) != 0) lengths.values[i] = 5;
  }
  ltzdelta* delta = nullptr;
  ASSERT_EQ(ltzGetDelta(nullptr, from, to, &delta), 0);
  LdiDate date;
  std::vector<LdiDate*> places(kCount, &date);
  FORM(LdiDate, LdiDateTimeUpgrade, (&v, &in[i], to, nullptr),
       (OUT, FROM(in), to, nullptr, p.done));
  Agree<std::uint8_t>(
      "LdiDateTimeUpgrade: changed",
      [&](std::size_t i, std::size_t, std::uint8_t& v) {
        int changed = 0;
        const std::uint32_t error = LdiDateTimeUpgrade(&date, &in[i], to, &changed);
        v = static_cast<std::uint8_t>(changed);
        return error;
      },
      [&](const Part& p, Results<std::uint8_t>& r) {
        return LdiDateTimeUpgradearr(places.data(), FROM(in), to, ANSWERS, p.done);
      });
  Agree<Bytes>(
      "LdiDateTimeArrayUpgrade",
      [&](std::size_t i, std::size_t j, Bytes& v) {
        int changed = 0;
        std::memcpy(v.bytes, stored[i], 13);
        const std::uint32_t error =
            LdiDateTimeArrayUpgrade(v.bytes, lengths[j], kStamp, from, to, &changed);
        v.length = static_cast<std::size_t>(changed);
        return error;
      },
      [&](const Part& p, Results<Bytes>& r) {
        std::uint8_t changed[kCount] = {};
        for (std::size_t i = 0; i < p.count; ++i) std::memcpy(TEXTS[i], stored[p.at + i], 13);
        const std::uint32_t error = LdiDateTimeArrayUpgradearr(
            TEXTS, p.count, WITH(lengths), kStamp, from, to, changed, p.flags, p.done);
        for (std::size_t i = 0; i < p.count; ++i) r.lengths[i] = changed[i];
        return error;
      });
  FORM_OF_INT(std::uint8_t, LdiTZIsDateAffected, (&in[i], delta, &answer),
              (ANSWERS, FROM(in), delta, p.done));
  ltzFreeDelta(nullptr, delta);
}

TEST_F(LdiArrayForms, Intervals) {
  const Column<LdiInter> x([this] { return AnyInterval(); });
  const Column<LdiInter> y([this] { return AnyInterval(); });
  const Values<std::int32_t> factors(
      [this] { return static_cast<std::int32_t>(source_.Below(20'000)) - 10'000; });
  Texts numbers;
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto value = static_cast<std::int64_t>(source_.Below(3'000'000'000)) - 100'000;
    lnxmin(i % 3 == 0 ? value : value % 100, numbers.room(i), nullptr);
  }
  constexpr std::uint32_t kType = KES_INTERVAL_HOUR_TO_SECOND, kHour = KES_INTERVAL_HOUR;
  Agree<std::uint32_t>(
      "LdiInterCheck",
      [&](std::size_t i, std::size_t, std::uint32_t& v) { return v = LdiInterCheck(&x[i]), 0u; },
      [&](const Part& p, Results<std::uint32_t>& r) {
        return LdiInterCheckarr(ANSWERS, FROM(x), p.done);
      },
      Failures::kNone);
  FORM_OF_INT(std::int8_t, LdiInterCompare, (&x[i], &y[j], &answer),
              (ANSWERS, FROM(x), WITH(y), p.flags, p.done));
#define COMBINED(NAME, OPERAND, COLUMN) \
  FORM(LdiInter, NAME, OPERAND, (OUT, FROM(x), WITH(COLUMN), p.flags, p.done))
  COMBINED(LdiInterInterAdd, (&v, &x[i], &y[j]), y);
  COMBINED(LdiInterInterSubtract, (&v, &x[i], &y[j]), y);
  COMBINED(LdiInterMultiply, (&v, &x[i], numbers[j], 0), numbers);
  COMBINED(LdiInterDivide, (&v, &x[i], numbers[j], 0), numbers);
  COMBINED(LdiIIntMult, (&v, &x[i], factors[j]), factors);
  FORM(LdiInter, LdiInterInterConvert, (&v, &x[i], kType, 9, 2),
       (OUT, FROM(x), kType, 9, 2, p.done));
  FORM(LdiInter, LdiInterRoundFS, (&v, &x[i], 0), (OUT, FROM(x), 0, p.done));
  FORM(LdiInter, LdiInterFromNumber, (&v, numbers[i], 0, kHour, kType),
       (OUT, FROM(numbers), kHour, kType, p.done));
  FORM(Bytes, LdiInterToNumber, (&x[i], kHour, v.bytes, nullptr), (TEXTS, FROM(x), kHour, p.done));
  FORM(Bytes, LdiInterToTN, (&x[i], v.bytes, nullptr), (TEXTS, FROM(x), p.done));
  FORM(Bytes, LdiInterExtract, (&x[i], KES_INTERVAL_SECOND, v.bytes, nullptr),
       (TEXTS, FROM(x), KES_INTERVAL_SECOND, p.done));
}

// Texts and stored forms: written, and read from what was written with some of it left out.
TEST_F(LdiArrayForms, TextsAndStoredForms) {
  const Column<LdiDate> in([this] { return AnyDate(); });
  const Column<LdiInter> x([this] { return AnyInterval(); });
  const Values<std::size_t> rooms([this] { return source_.Below(20) == 0 ? 4u : 100u; });
  Texts texts;
  Values<std::size_t> lengths([] { return std::size_t{0}; });
  const auto fill = [&](const auto& write) {
    for (std::size_t i = 0; i < kCount; ++i) {
      if (write(i, texts.room(i), &lengths.values[i]) != 0 || i % 10 == 3) lengths.values[i] = 0;
    }
  };
  const LdiSession* session = &session_;
#define WRITTEN(NAME, COLUMN, ...)                                                              \
  FORM(Bytes, NAME, (v.bytes, rooms[j], &v.length, &COLUMN[i] __VA_OPT__(, ) __VA_ARGS__),      \
       (TEXTS, FROM(COLUMN), WITH(rooms), r.lengths.data() __VA_OPT__(, ) __VA_ARGS__, p.flags, \
        p.done));                                                                               \
  fill([&](std::size_t i, std::uint8_t* out, std::size_t* length) {                             \
    return NAME(out, 100, length, &COLUMN[i] __VA_OPT__(, ) __VA_ARGS__);                       \
  })
#define READ(T, NAME, ...)                               \
  FORM(T, NAME, (&v, texts[i], lengths[j], __VA_ARGS__), \
       (OUT, FROM(texts), WITH(lengths), __VA_ARGS__, p.flags, p.done))
  constexpr std::uint32_t kStamp = KES_DATETIME_TIMESTAMP_TZ, kType = KES_INTERVAL_DAY_TO_SECOND;
  WRITTEN(LdiDateToArray, in);
  READ(LdiDate, LdiDateFromArray, kStamp, session);
  WRITTEN(LdiInterToArray, x);
  READ(LdiInter, LdiInterFromArray, kType);
  WRITTEN(LdiInterToString, x, 9, 9, nullptr);
  READ(LdiInter, LdiInterFromString, KES_INTERVAL_HOUR, nullptr);
  WRITTEN(LdiInterToStringISO, x, nullptr);
  READ(LdiInter, LdiInterFromStringPrec, kType, 5, 1, nullptr);
  WRITTEN(LdiDateToLiteral, in, 9, session, nullptr);
  READ(LdiDate, LdiDateFromLiteral, 0, session, nullptr);
  LdiParseContext context;
  LdiParseContext* const ctx = &context;
  ASSERT_EQ(LdiParseContextInit(ctx, nullptr, nullptr, session), 0u);
  constexpr std::string_view kModel = "SYYYY-MM-DD HH24:MI:SSXFF TZR";
  std::uint8_t format[64];
  std::size_t used = 0;
  ASSERT_EQ(
      LdiParseForInput(format, sizeof format, &used,
                       reinterpret_cast<const std::uint8_t*>(kModel.data()), kModel.size(), ctx),
      0u);
  WRITTEN(LdiDateToString, in, format, used, 9, ctx);
  READ(LdiDate, LdiDateFromString, format, used, kStamp, 9, ctx);
  LdiParseContextTerm(ctx);
}

}  // namespace
}  // namespace kestra::test
