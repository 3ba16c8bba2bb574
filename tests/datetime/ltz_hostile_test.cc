// Files that pass every check and are made to be slow: thousands of zones with one long history,
// abbreviations that are the ends of one endless text. Each call ends within the limit of
// src/datetime/zone_work.h.
#include <gtest/gtest.h>

#include <cstring>

#include "datetime/zone_format.h"
#include "datetime/zone_work.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

namespace zone = datetime::zone;

using File = std::vector<std::uint8_t>;

std::vector<BuiltTransition> LongHistory(std::size_t count) {
  std::vector<BuiltTransition> history = {{kLongAgo, 0, false, "A"}};
  for (std::size_t i = 1; i < count; ++i) {
    history.push_back({static_cast<std::int64_t>(i) * 86'400, i % 2 == 0 ? 0 : 3600, false, "A"});
  }
  return history;
}

// A zone for every id there may be: the first history, and those of the others or links to it.
std::vector<BuiltZone> AllZones(const std::vector<BuiltTransition>& first,
                                const std::vector<BuiltTransition>& others = {}) {
  std::vector<BuiltZone> zones;
  for (std::uint32_t id = 1; id <= zone::kMaxId; ++id) {
    bool replaced = false;
    for (const std::uint16_t other : zone::kReplacedIds) replaced = replaced || id == other;
    if (replaced) continue;
    zones.push_back({id, "Z" + std::to_string(id), zones.empty() ? first : others});
  }
  return zones;
}

// Lets the types from one on have the ends of a text of the file as abbreviations.
void ShareText(File& file, std::size_t first_type, std::size_t count, std::size_t text) {
  std::uint32_t types;
  std::memcpy(&types, &file[zone::kTypesAt], sizeof types);
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = static_cast<std::uint32_t>(text + i);
    std::memcpy(&file[types + (first_type + i) * zone::kTypeSize + zone::kTypeNameAt], &at,
                sizeof at);
  }
}

std::size_t PlaceOf(const File& file, char c) {
  const std::string run(100, c);
  const auto found = std::search(file.begin(), file.end(), run.begin(), run.end());
  return static_cast<std::size_t>(found - file.begin());
}

// Both accesses of a file, as it is and checked.
class Accesses {
 public:
  explicit Accesses(const File& bytes) : bytes_(bytes) {
    EXPECT_LE(bytes.size(), zone::kMaxSize);
    std::uint32_t status = 9;
    checked_ = ltzReadMemory(bytes.data(), bytes.size(), nullptr, &status);
    EXPECT_EQ(status, 0u) << "the file passes the checks";
  }
  ~Accesses() { ltzFree(checked_); }
  Accesses(const Accesses&) = delete;
  Accesses& operator=(const Accesses&) = delete;
  const ltzfile* raw() const { return reinterpret_cast<const ltzfile*>(bytes_.data()); }
  const ltzfile* checked() const { return checked_; }
  std::vector<const ltzfile*> both() const { return {raw(), checked_}; }

 private:
  File bytes_;
  const ltzfile* checked_ = nullptr;
};

struct Delta {
  int status = 0;
  std::uint32_t zones = 0, spans = 0;
};
Delta Compare(const ltzfile* from, const ltzfile* to) {
  ltzdelta* delta = nullptr;
  Delta result;
  result.status = ltzGetDelta(nullptr, from, to, &delta);
  if (result.status != 0) return result;
  result = {0, delta->zone_count, delta->span_count};
  ltzzonedelta zone{};
  EXPECT_EQ(ltzGetZoneDelta(delta, zone::kMaxId, &zone),
            result.zones != 0 ? KES_ZONE_OK : KES_ZONE_NOT_FOUND);
  ltzFreeDelta(nullptr, delta);
  return result;
}

TEST(LtzHostile, LinksOfOneLongHistoryAreComparedOnce) {
  const std::size_t count = 50'000;
  std::vector<BuiltTransition> history = LongHistory(count);
  const Accesses before(BuildZones(AllZones(history)));
  history.back().offset += 60;
  const Accesses after(BuildZones(AllZones(history)));
  for (BuiltTransition& transition : history) transition.offset += 60;
  const Accesses all(BuildZones(AllZones(history)));
  const std::uint32_t zones = zone::kMaxId - 7;
  ASSERT_GT(std::uint64_t{zones} * count, std::uint64_t{datetime::kMaxSteps});
  for (const ltzfile* from : before.both()) {
    const Delta none = Compare(from, before.checked());
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.zones, 0u);
    const Delta last = Compare(from, after.raw());
    EXPECT_EQ(last.status, 0);
    EXPECT_EQ(last.zones, zones);
    EXPECT_EQ(last.spans, zones);
    EXPECT_EQ(Compare(from, all.raw()).status, KES_ZONE_NO_MEMORY)
        << "a delta of 400 million spans";
  }
}

TEST(LtzHostile, PairsOfHistoriesEndAtTheLimit) {
  const Accesses one(BuildZones(AllZones(LongHistory(40'000))));
  const Accesses many(BuildZones(AllZones(LongHistory(2), LongHistory(2))));
  EXPECT_EQ(Compare(one.checked(), many.checked()).status, KES_ZONE_DAMAGED);
  EXPECT_EQ(Compare(many.raw(), one.raw()).status, KES_ZONE_DAMAGED);
}

TEST(LtzHostile, AbbreviationsThatAreTheEndsOfOneText) {
  const std::size_t count = 12'000, length = 300'000;
  std::vector<BuiltZone> zones = {{1, "One", LongHistory(count)}, {2, "Two", LongHistory(count)}};
  zones[0].transitions[0].abbreviation = std::string(length, 'x');
  zones[1].transitions[0].abbreviation = std::string(length, 'y');
  File bytes = BuildZones(zones);
  const std::size_t x = PlaceOf(bytes, 'x'), y = PlaceOf(bytes, 'y');
  std::memset(&bytes[y], 'x', length);  // two equal texts
  ShareText(bytes, 0, count, x);
  ShareText(bytes, count, count, y);
  const Accesses file(bytes), other(bytes);
  std::vector<char> room(length + 1);
  for (const ltzfile* access : file.both()) {
    int order = 0;
    EXPECT_EQ(ltzCmp(access, 1, 2, &order), KES_ZONE_DAMAGED);
    EXPECT_EQ(Compare(access, other.raw()).status, KES_ZONE_DAMAGED);
    EXPECT_EQ(Compare(access, file.checked()).status,
              access == file.checked() ? 0 : KES_ZONE_DAMAGED)
        << "texts at one place need no look";
    ltzstep step{};
    std::uint32_t id = 0;
    EXPECT_EQ(ltzStepA(nullptr, nullptr, access, &step, &id, room.data(), room.size()),
              KES_ZONE_DAMAGED);
    EXPECT_EQ(ltzStepB(nullptr, nullptr, access, &step, 1, room.data(), room.size()),
              KES_ZONE_DAMAGED);
    // Searching needs no abbreviation.
    const LdiDate utc = Timestamp("2000-01-01");
    std::int32_t offset = -1;
    EXPECT_EQ(ltzGet(nullptr, nullptr, access, 1, &utc, &offset, nullptr, nullptr), KES_ZONE_OK);
  }
}

// Every link has the abbreviations of its zone, which are collected once.
TEST(LtzHostile, LinksShareTheirAbbreviations) {
  std::vector<BuiltTransition> history = LongHistory(40'000);
  history[39'999].abbreviation = "LAST";
  const Accesses file(BuildZones(AllZones(history)));
  ltzstep step{};
  std::uint32_t id = 0, pairs = 0;
  char text[8];
  int status = 0;
  while ((status = ltzStepA(nullptr, nullptr, file.checked(), &step, &id, text, sizeof text)) ==
         0) {
    EXPECT_STREQ(text, pairs % 2 == 0 ? "A" : "LAST");
    ++pairs;
  }
  EXPECT_EQ(status, KES_ZONE_END);
  EXPECT_EQ(pairs, 2u * (zone::kMaxId - 7));
}

TEST(WorkLimit, TextsCostAStepForEach64Bytes) {
  const std::string x(6400, 'x'), y(6400, 'x');
  datetime::WorkLimit limit;
  std::uint32_t compared = 0;
  while (!limit.exhausted()) {
    EXPECT_EQ(limit.Compare(x.c_str(), y.c_str()), 0);
    ++compared;
  }
  EXPECT_EQ(compared, datetime::kMaxSteps / 101 + 1);
  EXPECT_FALSE(limit.Take());
  datetime::WorkLimit fresh;
  EXPECT_LT(fresh.Compare("xa", "xb"), 0);
  EXPECT_GT(fresh.Compare((x + "b").c_str(), y.c_str()), 0);
}

}  // namespace
}  // namespace kestra::test
