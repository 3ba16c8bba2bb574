// Every line that zdump prints for a zone between 1880 and 2200 against ltzGet, and the local times
// around every transition against a search over those lines. The zones are compiled by the zic that
// nlsc used. An eighth of the zones; all of them (a minute) with KESTRA_ALL_ZONES=1.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>

#include "tests/support/child_process.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

constexpr const char* kSource = "/usr/share/zoneinfo/tzdata.zi";
constexpr const char* kZic = "/usr/sbin/zic";
constexpr const char* kZdump = "/usr/bin/zdump";
constexpr int kFirstYear = 1880, kEndYear = 2200;

struct DumpLine {
  std::int64_t utc = 0;
  ZoneReading reading;
};

unsigned MonthNumber(const std::string& name) {
  static const std::string kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  return static_cast<unsigned>(kMonths.find(name) / 3 + 1);
}

// "FILE  Sun Mar  8 07:00:00 2026 UT = Sun Mar  8 03:00:00 2026 EDT isdst=1 gmtoff=-14400"
bool ParseLine(const std::string& line, std::string& file, DumpLine& parsed) {
  std::istringstream in(line);
  std::string weekday, month, time, ut, equals, local, abbreviation, dst, offset;
  int day = 0, year = 0;
  in >> file >> weekday >> month >> day >> time >> year >> ut >> equals;
  if (!in || ut != "UT" || equals != "=") return false;
  in >> local >> local >> local >> local >> local >> abbreviation >> dst >> offset;
  if (!in || !offset.starts_with("gmtoff=")) return false;
  char text[64];
  std::snprintf(text, sizeof text, "%d-%u-%d %s", year, MonthNumber(month), day, time.c_str());
  parsed.utc = ToSeconds(Timestamp(text));
  parsed.reading = {0, std::atoi(offset.c_str() + 7), dst == "isdst=1" ? 1u : 0u, abbreviation};
  return true;
}

// What is in force from an instant on; the first entry from ever.
struct Period {
  std::int64_t from;
  ZoneReading reading;
};

struct LocalReference {
  std::uint32_t kind = KES_ZONE_ONCE;
  ZoneReading chosen;
};

// Looks at every period: the rules of ltzGetLocal, applied without any search.
LocalReference ReadLocal(const std::vector<Period>& periods, std::int64_t local) {
  std::vector<const ZoneReading*> readings;
  const ZoneReading* before_gap = nullptr;
  for (std::size_t i = 0; i < periods.size(); ++i) {
    const std::int64_t utc = local - periods[i].reading.offset;
    const bool begun = i == 0 || utc >= periods[i].from;
    const bool over = i + 1 < periods.size() && utc >= periods[i + 1].from;
    if (begun && !over) readings.push_back(&periods[i].reading);
    const bool next_begun =
        i + 1 < periods.size() && local - periods[i + 1].reading.offset >= periods[i + 1].from;
    if (over && !next_begun && before_gap == nullptr) before_gap = &periods[i].reading;
  }
  if (readings.empty()) return {KES_ZONE_GAP, *before_gap};
  if (readings.size() == 1) return {KES_ZONE_ONCE, *readings[0]};
  const ZoneReading& earlier = *readings[readings.size() - 2];
  const ZoneReading& later = *readings.back();
  return {KES_ZONE_TWICE, earlier.dst == 0 && later.dst != 0 ? earlier : later};
}

class ZoneConformance : public testing::Test {
 protected:
  void SetUp() override {
    if (access(kSource, R_OK) != 0 || access(kZic, X_OK) != 0 || access(kZdump, X_OK) != 0) {
      GTEST_SKIP() << "needs tzdata and libc-bin";
    }
    for (const ZoneAccess access : kZoneAccesses) {
      zones_.push_back(std::make_unique<LoadedZones>(FullHome(), access));
    }
    ASSERT_EQ(RunTool(kZic, {"-b", "fat", "-d", scratch_.path(), kSource}).exit_code, 0);
  }

  std::map<std::uint32_t, std::string> ChosenZones() const {
    const bool all = std::getenv("KESTRA_ALL_ZONES") != nullptr;
    std::map<std::uint32_t, std::string> chosen;
    ltzstep step{};
    std::uint32_t id = 0;
    char name[256];
    while (ltzStep(nullptr, nullptr, zones_[0]->file(), &step, &id, name, sizeof name) == 0) {
      if (all || id % 8 == 0 || id > 2048) chosen[id] = name;
    }
    return chosen;
  }

  std::map<std::string, std::vector<DumpLine>> Dump(
      const std::map<std::uint32_t, std::string>& chosen) const {
    std::vector<std::string> arguments = {
        "-V", "-c", std::to_string(kFirstYear) + "," + std::to_string(kEndYear)};
    for (const auto& [id, name] : chosen) arguments.push_back(scratch_ / name);
    const ChildResult result = RunTool(kZdump, arguments);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    std::map<std::string, std::vector<DumpLine>> lines;
    std::istringstream in(result.out);
    for (std::string line; std::getline(in, line);) {
      std::string file;
      DumpLine parsed;
      EXPECT_TRUE(ParseLine(line, file, parsed)) << line;
      lines[file.substr(scratch_.path().size() + 1)].push_back(parsed);
    }
    return lines;
  }

  void CheckLocal(const std::vector<Period>& periods, std::uint32_t id, std::int64_t local) {
    const LocalReference expected = ReadLocal(periods, local);
    const LdiDate date = FromSeconds(local);
    for (const auto& zones : zones_) {
      ++local_checks_;
      ltzlocal both{};
      ASSERT_EQ(ltzGetLocalA(zones->file(), id, &date, &both), KES_ZONE_OK);
      ASSERT_EQ(both.kind, expected.kind) << id << " local " << ToText(date);
      ASSERT_EQ(GetLocal(zones->file(), id, date), expected.chosen)
          << id << " local " << ToText(date);
      ASSERT_EQ(both.reading[both.chosen].offset, expected.chosen.offset);
    }
  }

  ScratchDirectory scratch_;
  std::vector<std::unique_ptr<LoadedZones>> zones_;
  std::size_t local_checks_ = 0;
};

TEST_F(ZoneConformance, EveryLineOfZdumpAndEveryLocalTimeAroundATransition) {
  const std::map<std::uint32_t, std::string> chosen = ChosenZones();
  const auto dumped = Dump(chosen);
  std::size_t lines = 0;
  for (const auto& [id, name] : chosen) {
    const auto found = dumped.find(name);
    if (found == dumped.end()) continue;  // nothing ever changed
    SCOPED_TRACE(name);
    // zdump prints two lines a transition: the second before, and the first one of it.
    std::vector<Period> periods = {{0, found->second.front().reading}};
    for (const DumpLine& line : found->second) {
      for (const auto& zones : zones_) {
        ++lines;
        ASSERT_EQ(Get(zones->file(), id, FromSeconds(line.utc)), line.reading)
            << ToText(FromSeconds(line.utc));
      }
      if (line.reading != periods.back().reading) periods.push_back({line.utc, line.reading});
    }
    for (std::size_t i = 1; i < periods.size(); ++i) {
      const std::int64_t at = periods[i].from;
      for (const int second : {-1, 0, 1}) {
        CheckLocal(periods, id, at + periods[i - 1].reading.offset + second);
        CheckLocal(periods, id, at + periods[i].reading.offset + second);
        if (HasFatalFailure()) return;
      }
    }
  }
  std::printf("%zu zones, %zu lines, %zu local times: 0 differences\n", chosen.size(), lines,
              local_checks_);
  EXPECT_GT(lines, 10000u);
}

}  // namespace
}  // namespace kestra::test
