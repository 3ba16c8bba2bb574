// Timestamps beside Abseil, date (libhowardhinnant-date) and ICU, all from fields to fields: that is
// what a value is when it is stored. 4096 random timestamps of the years 1970 to 2100.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "kestra/datetime_arithmetic.h"
#include "kestra/datetime_text.h"

#ifdef KESTRA_HAVE_ABSL
#include <absl/time/civil_time.h>
#include <absl/time/time.h>
#endif
#ifdef KESTRA_HAVE_DATE
#include <date/date.h>

#include <sstream>
#endif
#ifdef KESTRA_HAVE_ICU
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#endif

namespace {

constexpr std::size_t kCount = 4096;
constexpr std::size_t kMask = kCount - 1;
constexpr char kModel[] = "YYYY-MM-DD HH24:MI:SS.FF6";

struct Values {
  std::vector<LdiDate> dates;
  std::vector<LdiInter> spans;  // up to 100 days
};

const Values& Random() {
  static const Values values = [] {
    Values v;
    std::mt19937_64 random(1);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    for (std::size_t i = 0; i < kCount; ++i) {
      LdiDate date{};
      LdiDateConstruct(&date, static_cast<int>(1970 + below(130)), 1 + below(12), 1 + below(28),
                       below(24), below(60), below(60), below(1000000) * 1000, 9,
                       KES_DATETIME_TIMESTAMP, 0, 0, nullptr, 0, nullptr);
      v.dates.push_back(date);
      LdiInter span{};
      LdiInterConstruct(&span, 0, 0, static_cast<int>(below(100)), static_cast<int>(below(24)),
                        static_cast<int>(below(60)), static_cast<int>(below(60)),
                        static_cast<int>(below(1000000000)), 9, 9, KES_INTERVAL_DAY_TO_SECOND);
      v.spans.push_back(span);
    }
    return v;
  }();
  return values;
}

void BM_LdiDateInterAdd(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    LdiDate out;
    benchmark::DoNotOptimize(LdiDateInterAdd(&out, &v.dates[i & kMask], &v.spans[i & kMask]));
    benchmark::DoNotOptimize(out);
    ++i;
  }
}
BENCHMARK(BM_LdiDateInterAdd);

void BM_LdiDateDateSubtract(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    LdiInter out;
    benchmark::DoNotOptimize(LdiDateDateSubtract(
        &out, &v.dates[i & kMask], &v.dates[(i * 7 + 1) & kMask], KES_INTERVAL_DAY_TO_SECOND));
    benchmark::DoNotOptimize(out);
    ++i;
  }
}
BENCHMARK(BM_LdiDateDateSubtract);

void BM_LdiDateCompare(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    int order = 0;
    LdiDateCompare(&v.dates[i & kMask], &v.dates[(i * 7 + 1) & kMask], nullptr, &order);
    benchmark::DoNotOptimize(order);
    ++i;
  }
}
BENCHMARK(BM_LdiDateCompare);

// A column of values in a row, as array forms mostly get them; time for one of kCount.
template <typename T>
std::vector<T*> Addresses(std::vector<T>& values, std::size_t step = 1) {
  std::vector<T*> at;
  for (std::size_t i = 0; i < values.size(); ++i) at.push_back(&values[i * step % values.size()]);
  return at;
}
struct Columns {
  std::vector<LdiDate> dates = Random().dates;
  std::vector<LdiDate> others = dates;
  std::vector<LdiInter> spans = Random().spans;
  std::vector<LdiDate> sums = dates;
  std::vector<LdiInter> differences = spans;
  std::vector<LdiDate*> date = Addresses(dates), other = Addresses(others), sum = Addresses(sums);
  std::vector<LdiInter*> span = Addresses(spans), difference = Addresses(differences);
  std::vector<std::int8_t> orders = std::vector<std::int8_t>(kCount);

  Columns() {
    for (std::size_t i = 0; i < kCount; ++i) others[i] = dates[(i * 7 + 1) & kMask];
  }
};
Columns& Column() {
  static Columns columns;
  return columns;
}
template <typename Operation>
void RunColumn(benchmark::State& state, const Operation& operation) {
  Columns& c = Column();
  for (auto _ : state) {
    std::size_t done = 0;
    benchmark::DoNotOptimize(operation(c, &done));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}
void BM_LdiDateInterAddarr(benchmark::State& state) {
  RunColumn(state, [](Columns& c, std::size_t* done) {
    return LdiDateInterAddarr(c.sum.data(), c.date.data(), kCount, c.span.data(), 0, done);
  });
}
BENCHMARK(BM_LdiDateInterAddarr);
void BM_LdiDateDateSubtractarr(benchmark::State& state) {
  RunColumn(state, [](Columns& c, std::size_t* done) {
    return LdiDateDateSubtractarr(c.difference.data(), c.date.data(), kCount, c.other.data(),
                                  KES_INTERVAL_DAY_TO_SECOND, 0, done);
  });
}
BENCHMARK(BM_LdiDateDateSubtractarr);
void BM_LdiDateComparearr(benchmark::State& state) {
  RunColumn(state, [](Columns& c, std::size_t* done) {
    return LdiDateComparearr(c.orders.data(), c.date.data(), kCount, c.other.data(), nullptr, 0,
                             done);
  });
}
BENCHMARK(BM_LdiDateComparearr);

struct Formats {
  Formats() {
    LdiParseContextInit(&ctx, nullptr, nullptr, nullptr);
    LdiParseForInput(format, sizeof format, &length, reinterpret_cast<const std::uint8_t*>(kModel),
                     sizeof kModel - 1, &ctx);
  }
  LdiParseContext ctx;
  std::uint8_t format[64];
  std::size_t length = 0;
};

void BM_LdiDateToString(benchmark::State& state) {
  static Formats f;
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    std::uint8_t text[64];
    std::size_t length = 0;
    LdiDateToString(text, sizeof text, &length, &v.dates[i & kMask], f.format, f.length, 6, &f.ctx);
    benchmark::DoNotOptimize(text);
    ++i;
  }
}
BENCHMARK(BM_LdiDateToString);

std::vector<std::string> Texts() {
  static Formats f;
  std::vector<std::string> texts;
  for (const LdiDate& date : Random().dates) {
    std::uint8_t text[64];
    std::size_t length = 0;
    LdiDateToString(text, sizeof text, &length, &date, f.format, f.length, 6, &f.ctx);
    texts.emplace_back(text, text + length);
  }
  return texts;
}

void BM_LdiDateFromString(benchmark::State& state) {
  static Formats f;
  const std::vector<std::string> texts = Texts();
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = texts[i & kMask];
    LdiDate out;
    LdiDateFromString(&out, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                      f.format, f.length, KES_DATETIME_TIMESTAMP, 9, &f.ctx);
    benchmark::DoNotOptimize(out);
    ++i;
  }
}
BENCHMARK(BM_LdiDateFromString);

#ifdef KESTRA_HAVE_ABSL
absl::Time AbslOf(const LdiDate& d) {
  return absl::FromCivil(absl::CivilSecond(d.year, d.month, d.day, d.hour, d.minute, d.second),
                         absl::UTCTimeZone()) +
         absl::Nanoseconds(d.fraction);
}
void BM_AbslAdd(benchmark::State& state) {
  const Values& v = Random();
  const absl::TimeZone utc = absl::UTCTimeZone();
  std::size_t i = 0;
  for (auto _ : state) {
    const LdiInter& s = v.spans[i & kMask];
    const absl::Duration span = absl::Hours(24 * s.field[0] + s.field[1]) +
                                absl::Minutes(s.field[2]) + absl::Seconds(s.field[3]) +
                                absl::Nanoseconds(s.field[4]);
    benchmark::DoNotOptimize(utc.At(AbslOf(v.dates[i & kMask]) + span));
    ++i;
  }
}
BENCHMARK(BM_AbslAdd);
void BM_AbslSubtract(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(AbslOf(v.dates[i & kMask]) - AbslOf(v.dates[(i * 7 + 1) & kMask]));
    ++i;
  }
}
BENCHMARK(BM_AbslSubtract);
void BM_AbslCompare(benchmark::State& state) {
  std::vector<absl::Time> times;
  for (const LdiDate& date : Random().dates) times.push_back(AbslOf(date));
  std::size_t i = 0;
  for (auto _ : state) {
    const absl::Time a = times[i & kMask], b = times[(i * 7 + 1) & kMask];
    benchmark::DoNotOptimize(a < b ? -1 : a == b ? 0 : 1);
    ++i;
  }
}
BENCHMARK(BM_AbslCompare);
void BM_AbslFormat(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        absl::FormatTime("%Y-%m-%d %H:%M:%E6S", AbslOf(v.dates[i & kMask]), absl::UTCTimeZone()));
    ++i;
  }
}
BENCHMARK(BM_AbslFormat);
void BM_AbslParse(benchmark::State& state) {
  const std::vector<std::string> texts = Texts();
  std::size_t i = 0;
  for (auto _ : state) {
    absl::Time time;
    std::string error;
    absl::ParseTime("%Y-%m-%d %H:%M:%E6S", texts[i & kMask], &time, &error);
    benchmark::DoNotOptimize(time);
    ++i;
  }
}
BENCHMARK(BM_AbslParse);
#endif

#ifdef KESTRA_HAVE_DATE
using Nanos = std::chrono::nanoseconds;
date::sys_time<Nanos> DateOf(const LdiDate& d) {
  return date::sys_days{date::year{d.year} / d.month / d.day} + std::chrono::hours{d.hour} +
         std::chrono::minutes{d.minute} + std::chrono::seconds{d.second} + Nanos{d.fraction};
}
void BM_DateAdd(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    const LdiInter& s = v.spans[i & kMask];
    const auto sum = DateOf(v.dates[i & kMask]) + date::days{s.field[0]} +
                     std::chrono::hours{s.field[1]} + std::chrono::minutes{s.field[2]} +
                     std::chrono::seconds{s.field[3]} + Nanos{s.field[4]};
    const auto day = date::floor<date::days>(sum);
    benchmark::DoNotOptimize(date::year_month_day{day});
    benchmark::DoNotOptimize(date::hh_mm_ss<Nanos>{sum - day});
    ++i;
  }
}
BENCHMARK(BM_DateAdd);
void BM_DateSubtract(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    const auto span = DateOf(v.dates[i & kMask]) - DateOf(v.dates[(i * 7 + 1) & kMask]);
    const auto days = std::chrono::duration_cast<date::days>(span);
    benchmark::DoNotOptimize(days);
    benchmark::DoNotOptimize(date::hh_mm_ss<Nanos>{span - days});
    ++i;
  }
}
BENCHMARK(BM_DateSubtract);
void BM_DateFormat(benchmark::State& state) {
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(date::format(
        "%F %T",
        std::chrono::time_point_cast<std::chrono::microseconds>(DateOf(v.dates[i & kMask]))));
    ++i;
  }
}
BENCHMARK(BM_DateFormat);
void BM_DateParse(benchmark::State& state) {
  const std::vector<std::string> texts = Texts();
  std::size_t i = 0;
  for (auto _ : state) {
    std::istringstream in(texts[i & kMask]);
    date::sys_time<std::chrono::microseconds> time;
    in >> date::parse("%F %T", time);
    benchmark::DoNotOptimize(time);
    ++i;
  }
}
BENCHMARK(BM_DateParse);
#endif

#ifdef KESTRA_HAVE_ICU
void BM_IcuAdd(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(*icu::TimeZone::getGMT(), status);
  const Values& v = Random();
  std::size_t i = 0;
  for (auto _ : state) {
    const LdiDate& d = v.dates[i & kMask];
    const LdiInter& s = v.spans[i & kMask];
    calendar.set(d.year, d.month - 1, d.day, d.hour, d.minute, d.second);
    const double span = ((s.field[0] * 24.0 + s.field[1]) * 60 + s.field[2]) * 60 + s.field[3];
    calendar.setTime(calendar.getTime(status) + span * 1000, status);
    benchmark::DoNotOptimize(calendar.get(UCAL_YEAR, status) + calendar.get(UCAL_SECOND, status));
    ++i;
  }
}
BENCHMARK(BM_IcuAdd);
void BM_IcuFormat(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString("yyyy-MM-dd HH:mm:ss.SSS"), status);
  format.setTimeZone(*icu::TimeZone::getGMT());
  double at = 0;
  for (auto _ : state) {
    icu::UnicodeString text;
    format.format(at, text);
    benchmark::DoNotOptimize(text);
    at += 123456789.0;
  }
}
BENCHMARK(BM_IcuFormat);
#endif

}  // namespace

BENCHMARK_MAIN();
