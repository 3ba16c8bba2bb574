// Calendar arithmetic beside its peers: Howard Hinnant's date.h and the standard library's chrono.
// Dates are random days from 1970 to 2037, the same for all.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <vector>

#include "kestra/date.h"

#ifdef KESTRA_HAVE_HINNANT_DATE
#include <date/date.h>
#endif

namespace {

constexpr std::size_t kCount = 4096;
constexpr std::int32_t kFirstDay = 2440588;  // 1 January 1970
constexpr std::int32_t kDays = 68 * 365;

struct Dates {
  Dates() {
    std::mt19937_64 random(1);
    for (std::size_t i = 0; i < kCount; ++i) {
      const auto day = static_cast<std::int32_t>(random() % kDays);
      const ldxjdate julian = {kFirstDay + day, static_cast<std::int32_t>(random() % 86400)};
      ldxdate date = {};
      ldxdfd(nullptr, &date, &julian);
      days.push_back(day);
      months.push_back(static_cast<std::int32_t>(random() % 240) - 120);
      deltas.push_back({static_cast<std::int32_t>(random() % 2000) - 1000, 0});
      timed.push_back({deltas.back().days, static_cast<std::int32_t>(random() % 100'000)});
      weekdays.push_back(static_cast<std::uint32_t>(random() % 7) + 1);
      parts.push_back(date);
      julians.push_back(julian);
    }
    stored.resize(7 * kCount);
    out.resize(kCount);
    julian_out.resize(kCount);
    numbers.resize(22 * kCount);
    for (std::size_t i = 0; i < kCount; ++i) {
      ldxite(nullptr, &stored[7 * i], &parts[i]);
      in_address.push_back(&parts[i]);
      other_address.push_back(&parts[(i + 1) % kCount]);
      julian_address.push_back(&julians[i]);
      julian_out_address.push_back(&julian_out[i]);
      out_address.push_back(&out[i]);
      stored_address.push_back(&stored[7 * i]);
      stored_out_address.push_back(&stored[7 * i]);
      number_address.push_back(&numbers[22 * i]);
    }
    scattered_in = in_address;
    scattered_out = out_address;
    std::shuffle(scattered_in.begin(), scattered_in.end(), random);
    std::shuffle(scattered_out.begin(), scattered_out.end(), random);
  }

  std::vector<std::int32_t> days, months;
  std::vector<ldxdelta> deltas, timed;
  std::vector<std::uint32_t> weekdays;
  std::vector<ldxdate> parts, out;
  std::vector<ldxjdate> julians, julian_out;
  std::vector<std::uint8_t> stored, numbers;
  std::vector<const ldxdate*> in_address, other_address, scattered_in;
  std::vector<ldxdate*> out_address, scattered_out;
  std::vector<const ldxjdate*> julian_address;
  std::vector<ldxjdate*> julian_out_address;
  std::vector<const std::uint8_t*> stored_address;
  std::vector<std::uint8_t*> stored_out_address, number_address;
};

Dates& Input() {
  static Dates dates;
  return dates;
}

ldxctx* Context() {
  static ldxctx ctx = {};
  return &ctx;
}

// One operation on each date after the other; time per date.
template <typename Operation>
void PerDate(benchmark::State& state, const Operation& operation) {
  Dates& input = Input();
  std::size_t i = 0;
  for (auto _ : state) {
    operation(input, i);
    i = (i + 1) % kCount;
  }
  state.SetItemsProcessed(state.iterations());
}

// A call for all dates; the count is what items_per_second counts.
template <typename Operation>
void PerColumn(benchmark::State& state, const Operation& operation) {
  Dates& input = Input();
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    operation(input, count);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["ns_per_date"] =
      benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)) * 1e-9,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// ---- Date to day number

void BM_DayNumber_Kestra(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    const ldxdate& date = d.parts[i];
    benchmark::DoNotOptimize(ldxctj(nullptr, date.year, date.month, date.day));
  });
}
BENCHMARK(BM_DayNumber_Kestra);

void BM_DayNumber_Chrono(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    namespace c = std::chrono;
    const ldxdate& date = d.parts[i];
    const c::sys_days day(
        c::year_month_day(c::year(date.year), c::month(date.month), c::day(date.day)));
    benchmark::DoNotOptimize(day.time_since_epoch().count());
  });
}
BENCHMARK(BM_DayNumber_Chrono);

// ---- Day number to date

void BM_DateOfDay_Kestra(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    std::int16_t year;
    std::uint8_t month, day;
    ldxjtc(nullptr, d.julians[i].day, &year, &month, &day);
    benchmark::DoNotOptimize(year);
    benchmark::DoNotOptimize(month);
    benchmark::DoNotOptimize(day);
  });
}
BENCHMARK(BM_DateOfDay_Kestra);

void BM_DateOfDay_Chrono(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    namespace c = std::chrono;
    const c::year_month_day date{c::sys_days(c::days(d.days[i]))};
    benchmark::DoNotOptimize(date);
  });
}
BENCHMARK(BM_DateOfDay_Chrono);

// ---- Adding

void BM_AddDays_Kestra(benchmark::State& state) {
  PerDate(state,
          [](Dates& d, std::size_t i) { ldxads(nullptr, &d.out[i], &d.parts[i], &d.deltas[i]); });
}
BENCHMARK(BM_AddDays_Kestra);

void BM_AddDays_Chrono(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    namespace c = std::chrono;
    const ldxdate& date = d.parts[i];
    const c::sys_days day(
        c::year_month_day(c::year(date.year), c::month(date.month), c::day(date.day)));
    const c::year_month_day to(day + c::days(d.deltas[i].days));
    benchmark::DoNotOptimize(to);
  });
}
BENCHMARK(BM_AddDays_Chrono);

void BM_AddMonths_Kestra(benchmark::State& state) {
  PerDate(state,
          [](Dates& d, std::size_t i) { ldxadm(nullptr, &d.out[i], &d.parts[i], d.months[i]); });
}
BENCHMARK(BM_AddMonths_Kestra);

// With the day kept inside the month, as ours.
void BM_AddMonths_Chrono(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    namespace c = std::chrono;
    const ldxdate& date = d.parts[i];
    c::year_month_day to(c::year(date.year), c::month(date.month), c::day(date.day));
    to += c::months(d.months[i]);
    if (!to.ok()) to = to.year() / to.month() / c::last;
    benchmark::DoNotOptimize(to);
  });
}
BENCHMARK(BM_AddMonths_Chrono);

#ifdef KESTRA_HAVE_HINNANT_DATE
void BM_DayNumber_Hinnant(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    const ldxdate& at = d.parts[i];
    const date::sys_days day(
        date::year_month_day(date::year(at.year), date::month(at.month), date::day(at.day)));
    benchmark::DoNotOptimize(day.time_since_epoch().count());
  });
}
BENCHMARK(BM_DayNumber_Hinnant);

void BM_DateOfDay_Hinnant(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    const date::year_month_day at{date::sys_days(date::days(d.days[i]))};
    benchmark::DoNotOptimize(at);
  });
}
BENCHMARK(BM_DateOfDay_Hinnant);

void BM_AddDays_Hinnant(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    const ldxdate& at = d.parts[i];
    const date::sys_days day(
        date::year_month_day(date::year(at.year), date::month(at.month), date::day(at.day)));
    const date::year_month_day to(day + date::days(d.deltas[i].days));
    benchmark::DoNotOptimize(to);
  });
}
BENCHMARK(BM_AddDays_Hinnant);

void BM_AddMonths_Hinnant(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    const ldxdate& at = d.parts[i];
    date::year_month_day to(date::year(at.year), date::month(at.month), date::day(at.day));
    to += date::months(d.months[i]);
    if (!to.ok()) to = to.year() / to.month() / date::last;
    benchmark::DoNotOptimize(to);
  });
}
BENCHMARK(BM_AddMonths_Hinnant);
#endif

// ---- The other scalar operations

void BM_NextDay(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    ldxnxd(Context(), &d.out[i], &d.parts[i], d.weekdays[i]);
  });
}
BENCHMARK(BM_NextDay);

void BM_LastDay(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) { ldxldd(nullptr, &d.out[i], &d.parts[i]); });
}
BENCHMARK(BM_LastDay);

void BM_TruncateMonth(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) { ldxtrn(Context(), &d.out[i], &d.parts[i], 17); });
}
BENCHMARK(BM_TruncateMonth);

void BM_RoundIsoWeek(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) { ldxrnd(Context(), &d.out[i], &d.parts[i], 18); });
}
BENCHMARK(BM_RoundIsoWeek);

void BM_MonthsBetween(benchmark::State& state) {
  PerDate(state, [](Dates& d, std::size_t i) {
    ldxsbm(nullptr, d.number_address[i], &d.parts[i], d.other_address[i]);
  });
}
BENCHMARK(BM_MonthsBetween);

// ---- Columns

void BM_AddDaysColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxadsarr(nullptr, d.out_address.data(), d.in_address.data(), n, d.deltas.data(), 0, nullptr);
  });
}
BENCHMARK(BM_AddDaysColumn)->Arg(16)->Arg(kCount);

void BM_AddDaysColumnScattered(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxadsarr(nullptr, d.scattered_out.data(), d.scattered_in.data(), n, d.deltas.data(), 0,
              nullptr);
  });
}
BENCHMARK(BM_AddDaysColumnScattered)->Arg(kCount);

void BM_AddDaysAndSecondsColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxadsarr(nullptr, d.out_address.data(), d.in_address.data(), n, d.timed.data(), 0, nullptr);
  });
}
BENCHMARK(BM_AddDaysAndSecondsColumn)->Arg(kCount);

void BM_AddMonthsColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxadmarr(nullptr, d.out_address.data(), d.in_address.data(), n, d.months.data(), 0, nullptr);
  });
}
BENCHMARK(BM_AddMonthsColumn)->Arg(16)->Arg(kCount);

void BM_NextDayColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxnxdarr(Context(), d.out_address.data(), d.in_address.data(), n, d.weekdays.data(), 0,
              nullptr);
  });
}
BENCHMARK(BM_NextDayColumn)->Arg(kCount);

void BM_LastDayColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxlddarr(nullptr, d.out_address.data(), d.in_address.data(), n, nullptr, 0, nullptr);
  });
}
BENCHMARK(BM_LastDayColumn)->Arg(kCount);

void BM_ToJulianColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxdtdarr(nullptr, d.julian_out_address.data(), d.in_address.data(), n, nullptr, 0, nullptr);
  });
}
BENCHMARK(BM_ToJulianColumn)->Arg(kCount);

void BM_FromJulianColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxdfdarr(nullptr, d.out_address.data(), d.julian_address.data(), n, nullptr, 0, nullptr);
  });
}
BENCHMARK(BM_FromJulianColumn)->Arg(kCount);

void BM_FromStoredColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxetiarr(nullptr, d.out_address.data(), d.stored_address.data(), n, nullptr, 0, nullptr);
  });
}
BENCHMARK(BM_FromStoredColumn)->Arg(kCount);

void BM_ToStoredColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    ldxitearr(nullptr, d.stored_out_address.data(), d.in_address.data(), n, nullptr, 0, nullptr);
  });
}
BENCHMARK(BM_ToStoredColumn)->Arg(kCount);

void BM_CheckStoredColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    static std::uint32_t bits[kCount];
    const std::uint32_t kind = KES_DATE_STORED;
    ldxchkarr(nullptr, bits, reinterpret_cast<const void* const*>(d.stored_address.data()), n,
              &kind, KES_DATE_SHARED, nullptr);
  });
}
BENCHMARK(BM_CheckStoredColumn)->Arg(kCount);

void BM_TruncateMonthColumn(benchmark::State& state) {
  PerColumn(state, [](Dates& d, std::size_t n) {
    const std::uint32_t unit = 17;
    ldxtrnarr(Context(), d.out_address.data(), d.in_address.data(), n, &unit, KES_DATE_SHARED,
              nullptr);
  });
}
BENCHMARK(BM_TruncateMonthColumn)->Arg(kCount);

}  // namespace

BENCHMARK_MAIN();
