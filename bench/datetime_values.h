// Timestamps for benchmarks, and the same as instants of Abseil and of date (libhowardhinnant-date):
// 4096 random ones of the years 1970 to 2100, with intervals of up to 100 days.
#pragma once

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "kestra/datetime.h"
#include "kestra/interval.h"

#ifdef KESTRA_HAVE_ABSL
#include <absl/time/civil_time.h>
#include <absl/time/time.h>
#endif
#ifdef KESTRA_HAVE_DATE
#include <date/date.h>
#endif

namespace kestra::bench {

inline constexpr std::size_t kCount = 4096;
inline constexpr std::size_t kMask = kCount - 1;

struct Values {
  std::vector<LdiDate> dates;
  std::vector<LdiInter> spans;
};

inline const Values& Random() {
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

// Addresses of values in a row, as array forms mostly get them.
template <typename T>
std::vector<T*> Addresses(std::vector<T>& values) {
  std::vector<T*> at;
  for (T& value : values) at.push_back(&value);
  return at;
}

// The time of a column is that of one of its values: run is called for kCount at once.
template <typename Run>
void RunColumn(benchmark::State& state, const Run& run) {
  while (state.KeepRunningBatch(kCount)) {
    benchmark::DoNotOptimize(run());
    benchmark::ClobberMemory();
  }
}

#ifdef KESTRA_HAVE_ABSL
inline absl::Time AbslOf(const LdiDate& d) {
  return absl::FromCivil(absl::CivilSecond(d.year, d.month, d.day, d.hour, d.minute, d.second),
                         absl::UTCTimeZone()) +
         absl::Nanoseconds(d.fraction);
}
#endif

#ifdef KESTRA_HAVE_DATE
using Nanos = std::chrono::nanoseconds;
inline date::sys_time<Nanos> DateOf(const LdiDate& d) {
  return date::sys_days{date::year{d.year} / d.month / d.day} + std::chrono::hours{d.hour} +
         std::chrono::minutes{d.minute} + std::chrono::seconds{d.second} + Nanos{d.fraction};
}
#endif

}  // namespace kestra::bench
