// Timestamps and intervals beside Abseil, date (libhowardhinnant-date) and ICU, all from fields to
// fields: that is what a value is when it is stored.
#include <vector>

#include "bench/cpu_level.h"
#include "bench/datetime_values.h"
#include "kestra/datetime_arithmetic.h"

#ifdef KESTRA_HAVE_ICU
#include <unicode/gregocal.h>
#endif

namespace {

using namespace kestra::bench;

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

struct Columns {
  std::vector<LdiDate> dates = Random().dates, others = dates, sums = dates;
  std::vector<LdiInter> spans = Random().spans, differences = spans;
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
void BM_LdiDateInterAddarr(benchmark::State& state) {
  Columns& c = Column();
  RunColumn(state, [&c] {
    return LdiDateInterAddarr(c.sum.data(), c.date.data(), kCount, c.span.data(), 0, nullptr);
  });
}
BENCHMARK(BM_LdiDateInterAddarr);
void BM_LdiDateDateSubtractarr(benchmark::State& state) {
  Columns& c = Column();
  RunColumn(state, [&c] {
    return LdiDateDateSubtractarr(c.difference.data(), c.date.data(), kCount, c.other.data(),
                                  KES_INTERVAL_DAY_TO_SECOND, 0, nullptr);
  });
}
BENCHMARK(BM_LdiDateDateSubtractarr);
void BM_LdiDateComparearr(benchmark::State& state) {
  Columns& c = Column();
  RunColumn(state, [&c] {
    return LdiDateComparearr(c.orders.data(), c.date.data(), kCount, c.other.data(), nullptr, 0,
                             nullptr);
  });
}
BENCHMARK(BM_LdiDateComparearr);

#ifdef KESTRA_HAVE_ABSL
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
void BM_AbslCompareColumn(benchmark::State& state) {
  std::vector<absl::Time> x, y;
  std::vector<std::int8_t> orders(kCount);
  for (const LdiDate& date : Column().dates) x.push_back(AbslOf(date));
  for (const LdiDate& date : Column().others) y.push_back(AbslOf(date));
  RunColumn(state, [&] {
    for (std::size_t i = 0; i < kCount; ++i) {
      orders[i] = static_cast<std::int8_t>(x[i] < y[i] ? -1 : x[i] == y[i] ? 0 : 1);
    }
    return orders[0];
  });
}
BENCHMARK(BM_AbslCompareColumn);
#endif

#ifdef KESTRA_HAVE_DATE
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
// From columns of records to columns of records.
void SetTime(LdiDate& out, const date::hh_mm_ss<Nanos>& time) {
  out.hour = static_cast<std::uint8_t>(time.hours().count());
  out.minute = static_cast<std::uint8_t>(time.minutes().count());
  out.second = static_cast<std::uint8_t>(time.seconds().count());
  out.fraction = static_cast<std::uint32_t>(time.subseconds().count());
}
void BM_DateAddColumn(benchmark::State& state) {
  Columns& c = Column();
  RunColumn(state, [&c] {
    for (std::size_t i = 0; i < kCount; ++i) {
      const LdiInter& s = c.spans[i];
      const auto sum = DateOf(c.dates[i]) + date::days{s.field[0]} +
                       std::chrono::hours{s.field[1]} + std::chrono::minutes{s.field[2]} +
                       std::chrono::seconds{s.field[3]} + Nanos{s.field[4]};
      const auto day = date::floor<date::days>(sum);
      const date::year_month_day parts{day};
      c.sums[i] = {};
      c.sums[i].year = static_cast<std::int16_t>(static_cast<int>(parts.year()));
      c.sums[i].month = static_cast<std::uint8_t>(static_cast<unsigned>(parts.month()));
      c.sums[i].day = static_cast<std::uint8_t>(static_cast<unsigned>(parts.day()));
      SetTime(c.sums[i], date::hh_mm_ss<Nanos>{sum - day});
      c.sums[i].type = KES_DATETIME_TIMESTAMP;
    }
    return c.sums[0];
  });
}
BENCHMARK(BM_DateAddColumn);
void BM_DateSubtractColumn(benchmark::State& state) {
  Columns& c = Column();
  RunColumn(state, [&c] {
    for (std::size_t i = 0; i < kCount; ++i) {
      const auto span = DateOf(c.dates[i]) - DateOf(c.others[i]);
      const auto days = std::chrono::duration_cast<date::days>(span);
      const date::hh_mm_ss<Nanos> time{span - days};
      const int sign = time.is_negative() ? -1 : 1;
      c.differences[i] = {{static_cast<std::int32_t>(days.count()),
                           static_cast<std::int32_t>(sign * time.hours().count()),
                           static_cast<std::int32_t>(sign * time.minutes().count()),
                           static_cast<std::int32_t>(sign * time.seconds().count()),
                           static_cast<std::int32_t>(sign * time.subseconds().count())},
                          KES_INTERVAL_DAY_TO_SECOND,
                          0,
                          0};
    }
    return c.differences[0];
  });
}
BENCHMARK(BM_DateSubtractColumn);
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
#endif

}  // namespace

int main(int argc, char** argv) {
  kestra::bench::ForceCpuLevelOfEnvironment();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
