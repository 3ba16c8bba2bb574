// Time zones: offset at an instant and at a local time, over 5 and over 400 zones, one by one and as
// a sorted column, beside the packaged peers. Instants are random between 1970 and 2100. The peers
// take seconds since 1970 and local days and seconds, ours the fields of a timestamp.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "kestra/timezone.h"

#ifdef KESTRA_HAVE_DATE_TZ
#include <date/tz.h>
#endif
#ifdef KESTRA_HAVE_ABSL
#include <absl/time/time.h>
#endif
#ifdef KESTRA_HAVE_ICU
#include <unicode/timezone.h>
#endif

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kInstants = 16384;
constexpr std::int64_t kEnd = 4102444800;  // 2100-01-01
const std::vector<std::string> kFiveZones = {"America/New_York", "Europe/Berlin", "Asia/Kolkata",
                                             "Australia/Sydney", "America/Sao_Paulo"};

LdiDate FromSeconds(std::int64_t seconds) {
  using namespace std::chrono;
  const sys_days day = floor<days>(sys_seconds(std::chrono::seconds(seconds)));
  const year_month_day date(day);
  const auto rest = seconds - day.time_since_epoch().count() * std::int64_t{86400};
  LdiDate result{};
  result.year = static_cast<std::int16_t>(static_cast<int>(date.year()));
  result.month = static_cast<std::uint8_t>(static_cast<unsigned>(date.month()));
  result.day = static_cast<std::uint8_t>(static_cast<unsigned>(date.day()));
  result.hour = static_cast<std::uint8_t>(rest / 3600);
  result.minute = static_cast<std::uint8_t>(rest / 60 % 60);
  result.second = static_cast<std::uint8_t>(rest % 60);
  result.type = KES_DATETIME_TIMESTAMP;
  return result;
}

fs::path ZoneFilePath() {
  const fs::path folder = fs::path(KESTRA_BUILD_DIR) / "home/kescore/zoneinfo";
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with("timezlrg_")) return entry.path();
  }
  std::fprintf(stderr, "no zone file in %s\n", folder.c_str());
  exit(1);
}

struct Data {
  std::vector<std::uint8_t> raw;
  const ltzfile* file = nullptr;
  std::vector<std::string> names;           // 400 canonical zones
  std::vector<std::int64_t> instants;       // random
  std::vector<LdiDate> dates, sorted;       // the same, as timestamps
  std::vector<std::uint32_t> five, many;    // a zone for each instant: index into kFiveZones, names
  std::vector<std::uint32_t> ids5, ids400;  // its id

  Data() {
    std::ifstream in(ZoneFilePath(), std::ios::binary);
    raw.assign(std::istreambuf_iterator<char>(in), {});
    file = ltzReadMemory(raw.data(), raw.size(), nullptr, nullptr);
    ltzstep step{};
    std::uint32_t id = 0;
    char name[256];
    while (names.size() < 400 &&
           ltzStep(nullptr, nullptr, file, &step, &id, name, sizeof name) == 0) {
      if (id < 512) names.emplace_back(name);
    }
    std::mt19937_64 random(20260101);
    for (std::size_t i = 0; i < kInstants; ++i) {
      instants.push_back(static_cast<std::int64_t>(random() % kEnd));
      dates.push_back(FromSeconds(instants.back()));
      five.push_back(static_cast<std::uint32_t>(random() % kFiveZones.size()));
      many.push_back(static_cast<std::uint32_t>(random() % names.size()));
      ids5.push_back(Id(kFiveZones[five.back()]));
      ids400.push_back(Id(names[many.back()]));
    }
    std::vector<std::int64_t> ordered = instants;
    std::sort(ordered.begin(), ordered.end());
    for (const std::int64_t at : ordered) sorted.push_back(FromSeconds(at));
  }
  std::uint32_t Id(const std::string& name) const {
    std::uint32_t id = 0;
    if (ltzID(nullptr, nullptr, file, name.c_str(), &id) != 0) exit(1);
    return id;
  }
};

const Data& GetData() {
  static const Data data;
  return data;
}
[[maybe_unused]] const std::vector<std::string>& Names(bool many) {
  return many ? GetData().names : kFiveZones;
}
[[maybe_unused]] const std::vector<std::uint32_t>& ZoneOf(bool many) {
  return many ? GetData().many : GetData().five;
}

using Getter = int (*)(const lxhandle*, lxcontext*, const ltzfile*, std::uint32_t, const LdiDate*,
                       std::int32_t*, char*, std::uint32_t*);

void Run(benchmark::State& state, Getter get, const ltzfile* file) {
  const Data& data = GetData();
  const auto& ids = state.range(0) == 400 ? data.ids400 : data.ids5;
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < kInstants; ++i) {
      std::int32_t offset = 0;
      std::uint32_t dst = 0;
      sum += get(nullptr, nullptr, file, ids[i], &data.dates[i], &offset, nullptr, &dst);
      sum += offset + static_cast<std::int32_t>(dst);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kInstants));
}

void BM_LtzGet(benchmark::State& state) { Run(state, ltzGet, GetData().file); }
void BM_LtzGetLocal(benchmark::State& state) { Run(state, ltzGetLocal, GetData().file); }
void BM_LtzGetRaw(benchmark::State& state) {
  Run(state, ltzGet, reinterpret_cast<const ltzfile*>(GetData().raw.data()));
}
void BM_LtzGetLocalRaw(benchmark::State& state) {
  Run(state, ltzGetLocal, reinterpret_cast<const ltzfile*>(GetData().raw.data()));
}
BENCHMARK(BM_LtzGet)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_LtzGetLocal)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_LtzGetRaw)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_LtzGetLocalRaw)->ArgName("zones")->Arg(5)->Arg(400);

// A column of one zone in ascending order, each of the five zones in turn.
using ArrayGetter = int (*)(const ltzfile*, std::uint32_t, const LdiDate*, std::size_t,
                            std::int32_t*, std::uint8_t*, std::size_t*);
void RunColumn(benchmark::State& state, ArrayGetter get, const std::vector<LdiDate>& column) {
  const Data& data = GetData();
  std::vector<std::int32_t> offsets(kInstants);
  std::size_t zone = 0;
  for (auto _ : state) {
    const std::uint32_t id = data.Id(kFiveZones[zone++ % kFiveZones.size()]);
    get(data.file, id, column.data(), kInstants, offsets.data(), nullptr, nullptr);
    benchmark::DoNotOptimize(offsets.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kInstants));
}
void BM_LtzGetarr_Sorted(benchmark::State& state) { RunColumn(state, ltzGetarr, GetData().sorted); }
void BM_LtzGetarr_Random(benchmark::State& state) { RunColumn(state, ltzGetarr, GetData().dates); }
void BM_LtzGetLocalarr_Sorted(benchmark::State& state) {
  RunColumn(state, ltzGetLocalarr, GetData().sorted);
}
BENCHMARK(BM_LtzGetarr_Sorted);
BENCHMARK(BM_LtzGetarr_Random);
BENCHMARK(BM_LtzGetLocalarr_Sorted);

// The same sorted column one by one, for the ratio.
void BM_LtzGet_SortedOneByOne(benchmark::State& state) {
  const Data& data = GetData();
  std::size_t zone = 0;
  for (auto _ : state) {
    const std::uint32_t id = data.Id(kFiveZones[zone++ % kFiveZones.size()]);
    std::int64_t sum = 0;
    for (const LdiDate& date : data.sorted) {
      std::int32_t offset = 0;
      sum += ltzGet(nullptr, nullptr, data.file, id, &date, &offset, nullptr, nullptr) + offset;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kInstants));
}
BENCHMARK(BM_LtzGet_SortedOneByOne);

void BM_LtzID(benchmark::State& state) {
  const Data& data = GetData();
  std::size_t i = 0;
  for (auto _ : state) {
    std::uint32_t id = 0;
    benchmark::DoNotOptimize(
        ltzID(nullptr, nullptr, data.file, data.names[i++ % data.names.size()].c_str(), &id));
    benchmark::DoNotOptimize(id);
  }
}
BENCHMARK(BM_LtzID);

void BM_LtzRead(benchmark::State& state) {
  const std::string path = ZoneFilePath().string();
  for (auto _ : state) {
    const ltzfile* file = ltzRead(path.c_str(), KES_ZONE_ANY_ORDER, nullptr, nullptr);
    if (file == nullptr) state.SkipWithError("not read");
    ltzFree(file);
  }
}
BENCHMARK(BM_LtzRead)->Unit(benchmark::kMillisecond);

// Peers. Each answers the offset of an instant, or the instant of a local time.
template <typename Zone, typename Ask>
void RunPeer(benchmark::State& state, const std::vector<Zone>& zones, const Ask& ask) {
  const Data& data = GetData();
  const std::vector<std::uint32_t>& zone_of = ZoneOf(state.range(0) == 400);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < kInstants; ++i) sum += ask(zones[zone_of[i]], i);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(data.instants.size()));
}

#ifdef KESTRA_HAVE_DATE_TZ
std::vector<const date::time_zone*> DateZones(bool many) {
  std::vector<const date::time_zone*> zones;
  for (const std::string& name : Names(many)) zones.push_back(date::locate_zone(name));
  return zones;
}
void BM_DateTz_Utc(benchmark::State& state) {
  const auto zones = DateZones(state.range(0) == 400);
  RunPeer(state, zones, [&](const date::time_zone* zone, std::size_t i) {
    const std::chrono::sys_seconds at{std::chrono::seconds(GetData().instants[i])};
    return zone->get_info(at).offset.count();
  });
}
void BM_DateTz_Local(benchmark::State& state) {
  const auto zones = DateZones(state.range(0) == 400);
  RunPeer(state, zones, [&](const date::time_zone* zone, std::size_t i) {
    const date::local_seconds at{std::chrono::seconds(GetData().instants[i])};
    return zone->get_info(at).first.offset.count();
  });
}
BENCHMARK(BM_DateTz_Utc)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_DateTz_Local)->ArgName("zones")->Arg(5)->Arg(400);
#endif

#ifdef KESTRA_HAVE_ABSL
std::vector<absl::TimeZone> AbslZones(bool many) {
  std::vector<absl::TimeZone> zones;
  for (const std::string& name : Names(many)) {
    absl::TimeZone zone;
    if (!absl::LoadTimeZone(name, &zone)) exit(1);
    zones.push_back(zone);
  }
  return zones;
}
void BM_Absl_Utc(benchmark::State& state) {
  const auto zones = AbslZones(state.range(0) == 400);
  RunPeer(state, zones, [&](const absl::TimeZone& zone, std::size_t i) {
    return zone.At(absl::FromUnixSeconds(GetData().instants[i])).offset;
  });
}
void BM_Absl_Local(benchmark::State& state) {
  const auto zones = AbslZones(state.range(0) == 400);
  std::vector<absl::CivilSecond> local;
  for (const LdiDate& d : GetData().dates) {
    local.emplace_back(d.year, d.month, d.day, d.hour, d.minute, d.second);
  }
  RunPeer(state, zones, [&](const absl::TimeZone& zone, std::size_t i) {
    return absl::ToUnixSeconds(zone.At(local[i]).pre);
  });
}
BENCHMARK(BM_Absl_Utc)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_Absl_Local)->ArgName("zones")->Arg(5)->Arg(400);
#endif

#ifdef KESTRA_HAVE_ICU
std::vector<std::unique_ptr<icu::TimeZone>> IcuZones(bool many) {
  std::vector<std::unique_ptr<icu::TimeZone>> zones;
  for (const std::string& name : Names(many)) {
    zones.emplace_back(icu::TimeZone::createTimeZone(name.c_str()));
  }
  return zones;
}
void RunIcu(benchmark::State& state, UBool local) {
  const auto zones = IcuZones(state.range(0) == 400);
  RunPeer(state, zones, [&](const std::unique_ptr<icu::TimeZone>& zone, std::size_t i) {
    std::int32_t raw = 0, dst = 0;
    UErrorCode error = U_ZERO_ERROR;
    zone->getOffset(static_cast<double>(GetData().instants[i]) * 1000, local, raw, dst, error);
    return raw + dst;
  });
}
void BM_Icu_Utc(benchmark::State& state) { RunIcu(state, 0); }
void BM_Icu_Local(benchmark::State& state) { RunIcu(state, 1); }
BENCHMARK(BM_Icu_Utc)->ArgName("zones")->Arg(5)->Arg(400);
BENCHMARK(BM_Icu_Local)->ArgName("zones")->Arg(5)->Arg(400);
#endif

// The C library has one zone at a time.
void BM_Glibc_localtime(benchmark::State& state) {
  setenv("TZ", "America/New_York", 1);
  tzset();
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const std::int64_t instant : GetData().instants) {
      const time_t at = instant;
      tm fields;
      localtime_r(&at, &fields);
      sum += fields.tm_gmtoff;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kInstants));
}
void BM_Glibc_mktime(benchmark::State& state) {
  setenv("TZ", "America/New_York", 1);
  tzset();
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const LdiDate& date : GetData().dates) {
      tm fields{};
      fields.tm_year = date.year - 1900;
      fields.tm_mon = date.month - 1;
      fields.tm_mday = date.day;
      fields.tm_hour = date.hour;
      fields.tm_min = date.minute;
      fields.tm_sec = date.second;
      fields.tm_isdst = -1;
      sum += mktime(&fields);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kInstants));
}
BENCHMARK(BM_Glibc_localtime);
BENCHMARK(BM_Glibc_mktime);

}  // namespace

BENCHMARK_MAIN();
