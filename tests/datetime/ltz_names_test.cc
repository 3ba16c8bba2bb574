// Names, ids, iteration and comparison of zones, and what changed between two files.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "core/os/code_pages.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

std::int64_t At(const char* text) { return ToSeconds(Timestamp(text)); }

TEST(LtzNames, NamesAndIdsAreInverse) {
  for (const ZoneAccess access : kZoneAccesses) {
    SCOPED_TRACE(NameOf(access));
    const LoadedZones zones(TestHome(), access);
    ltzstep step{};
    std::uint32_t id = 0, position = 0;
    char name[64], again[64];
    std::string previous;
    while (ltzStep(nullptr, nullptr, zones.file(), &step, &id, name, sizeof name) == 0) {
      EXPECT_EQ(zones.Id(name), id);
      EXPECT_EQ(ltzName(nullptr, nullptr, zones.file(), id, again, sizeof again), 0);
      EXPECT_STREQ(name, again);
      std::uint32_t index = 99;
      EXPECT_EQ(ltzGetIndex(zones.file(), id, &index), 0);
      EXPECT_EQ(index, position++);
      EXPECT_EQ(ltzCheckZoneExists(zones.file(), id), 0);
      EXPECT_LT(strcasecmp(previous.c_str(), name), 0);
      previous = name;
    }
    EXPECT_EQ(position, 22u);
  }
}

TEST(LtzNames, NamesThatAreNone) {
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  std::uint32_t id = 7;
  for (const std::string& name :
       {std::string(), std::string(".."), std::string("/"), std::string("../Europe/Berlin"),
        std::string("/etc/passwd"), std::string("Europe/Berli"), std::string("Europe/Berlin "),
        std::string("Europe/Berlins"), std::string(10000, 'E'), std::string("\xFF\xFE"),
        "Europe/Berlin" + std::string(10000, '\\')}) {
    EXPECT_EQ(ltzID(nullptr, nullptr, zones.file(), name.c_str(), &id), 5) << name.substr(0, 40);
  }
  EXPECT_EQ(id, 7u);
  EXPECT_EQ(ltzID(nullptr, nullptr, zones.file(), nullptr, &id), 1);
  EXPECT_EQ(ltzID(nullptr, nullptr, nullptr, "UTC", &id), 1);
  EXPECT_EQ(ltzID(nullptr, nullptr, zones.file(), "eUROPE/bERLIN", &id), 0);
  EXPECT_EQ(id, 354u);
}

TEST(LtzNames, BuffersOfEverySize) {
  const LoadedZones zones(TestHome(), ZoneAccess::kRawNative);
  const std::string name = "Europe/Berlin";
  for (std::size_t room = 0; room < name.size() + 4; ++room) {
    GuardedBuffer buffer(room);
    std::memset(buffer.data(), '#', room);
    auto* text = reinterpret_cast<char*>(buffer.data());
    const int status = ltzName(nullptr, nullptr, zones.file(), 354, text, room);
    if (room <= name.size()) {
      EXPECT_EQ(status, room == 0 && text == nullptr ? 1 : 8);
      EXPECT_EQ(std::string(text, room), std::string(room, '#'));
    } else {
      EXPECT_EQ(status, 0);
      EXPECT_EQ(text, name);
    }
  }
}

TEST(LtzNames, EbcdicHandlesGetAndGiveEbcdic) {
  NlsSession session;
  const lxhandle handle = session.Handle("AMERICAN_AMERICA.WE8IBM1047");
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  std::string name = "Europe/Berlin";
  os::slsta2e({reinterpret_cast<std::uint8_t*>(name.data()), name.size()});
  std::uint32_t id = 0;
  EXPECT_EQ(ltzID(&handle, session.context(), zones.file(), name.c_str(), &id), 0);
  EXPECT_EQ(id, 354u);
  EXPECT_EQ(ltzID(&handle, session.context(), zones.file(), "Europe/Berlin", &id), 5);
  char text[64];
  EXPECT_EQ(ltzName(&handle, session.context(), zones.file(), 354, text, sizeof text), 0);
  EXPECT_EQ(text, name);
  std::vector<char> abbreviation(KES_ZONE_ABBREVIATION_ROOM);
  const LdiDate date = Timestamp("2026-07-01");
  std::int32_t offset = 0;
  EXPECT_EQ(ltzGet(&handle, session.context(), zones.file(), 354, &date, &offset,
                   abbreviation.data(), nullptr),
            0);
  EXPECT_STREQ(abbreviation.data(), "\xC3\xC5\xE2\xE3");  // CEST
}

TEST(LtzStep, EveryDistinctAbbreviationOfEveryZone) {
  for (const ZoneAccess access : kZoneAccesses) {
    const LoadedZones zones(TestHome(), access);
    std::map<std::uint32_t, std::vector<std::string>> expected, pairs;
    ltzstep step{};
    std::uint32_t id = 0;
    char text[64];
    while (ltzStep(nullptr, nullptr, zones.file(), &step, &id, nullptr, 0) == 0) {
      ltztransition* array = nullptr;
      std::size_t count = 0;
      ASSERT_EQ(ltzGetTransArray(nullptr, zones.file(), id, &array, &count), 0);
      for (std::size_t i = 0; i < count; ++i) {
        std::vector<std::string>& seen = expected[id];
        if (std::find(seen.begin(), seen.end(), array[i].abbreviation) == seen.end()) {
          seen.emplace_back(array[i].abbreviation);
        }
      }
      ltzFreeTransArray(nullptr, array);
      ltzstep within{};
      std::vector<std::string> own;
      while (ltzStepB(nullptr, nullptr, zones.file(), &within, id, text, sizeof text) == 0) {
        own.emplace_back(text);
      }
      EXPECT_EQ(own, expected[id]);
      EXPECT_EQ(within.array, nullptr);
    }
    step = {};
    int status = 0;
    while ((status = ltzStepA(nullptr, nullptr, zones.file(), &step, &id, text, sizeof text)) ==
           0) {
      pairs[id].emplace_back(text);
    }
    EXPECT_EQ(status, 7);
    EXPECT_EQ(step.array, nullptr);
    EXPECT_EQ(pairs, expected);
  }
}

TEST(LtzStep, ManyAbbreviationsAndAShortBuffer) {
  BuiltZone zone{10, "Many", {}};
  for (int i = 0; i < 100; ++i) {
    zone.transitions.push_back({kLongAgo + i * 86400, i, false, "N" + std::to_string(i % 50)});
  }
  const std::vector<std::uint8_t> bytes = BuildZones({zone});
  const auto* file = reinterpret_cast<const ltzfile*>(bytes.data());
  ltzstep step{};
  char text[4];
  std::vector<std::string> seen;
  EXPECT_EQ(ltzStepB(nullptr, nullptr, file, &step, 10, text, 2), 8);
  while (ltzStepB(nullptr, nullptr, file, &step, 10, text, sizeof text) == 0)
    seen.emplace_back(text);
  EXPECT_EQ(seen.size(), 50u);
  EXPECT_EQ(seen[49], "N49");
  EXPECT_EQ(ltzStepB(nullptr, nullptr, file, &step, 11, text, sizeof text), 5);
}

TEST(LtzCmp, HistoriesAreOrderedTotally) {
  const LoadedZones zones(TestHome(), ZoneAccess::kRawSwapped);
  int order = 9;
  EXPECT_EQ(ltzCmp(zones.file(), zones.Id("GB"), zones.Id("Europe/London"), &order), 0);
  EXPECT_EQ(order, 0);
  std::vector<std::uint32_t> ids;
  ltzstep step{};
  std::uint32_t id = 0;
  while (ltzStep(nullptr, nullptr, zones.file(), &step, &id, nullptr, 0) == 0) ids.push_back(id);
  for (const std::uint32_t a : ids) {
    for (const std::uint32_t b : ids) {
      int forward = 9, back = 9;
      ASSERT_EQ(ltzCmp(zones.file(), a, b, &forward), 0);
      ASSERT_EQ(ltzCmp(zones.file(), b, a, &back), 0);
      EXPECT_EQ(forward, -back);
      EXPECT_EQ(forward == 0, (a & 511) == (b & 511)) << a << " " << b;
    }
  }
  EXPECT_EQ(ltzCmp(zones.file(), 0, 354, &order), 4);
  EXPECT_EQ(ltzCmp(zones.file(), 354, 300, &order), 5);
}

TEST(LtzDelta, SpansInWhichTheAnswersDiffer) {
  std::vector<BuiltZone> before = SampleZones(), after = SampleZones();
  after[1].transitions.pop_back();      // summer goes on for ever
  after[3].transitions[1].dst = false;  // Test/Winter: the flag alone
  after[0].transitions.push_back({At("2010-01-01"), 19800, false, "NEW"});
  after.push_back({400, "Test/New", {{kLongAgo, 0}}});
  before.push_back({401, "Test/Old", {{kLongAgo, 0}}});
  const std::vector<std::uint8_t> from = BuildZones(before, true), to = BuildZones(after);
  ltzdelta* delta = nullptr;
  ASSERT_EQ(ltzGetDelta(nullptr, reinterpret_cast<const ltzfile*>(from.data()),
                        reinterpret_cast<const ltzfile*>(to.data()), &delta),
            0);
  EXPECT_EQ(delta->zone_count, 6u);  // 10, 100, 101, its alias, 400, 401
  EXPECT_EQ(ToText(delta->from), "2000-10-29 01:00:00");

  const struct {
    std::uint32_t id;
    std::uint16_t kind;
    std::uint32_t count;
    const char* from;
    const char* until;
    std::int32_t old_offset, new_offset;
    unsigned what;
  } cases[] = {
      {10, 1, 1, "2010-01-01 00:00:00", nullptr, 19800, 19800, 4},
      {100, 1, 1, "2001-10-28 06:00:00", nullptr, -18000, -14400, 7},
      {612, 1, 1, "2001-10-28 06:00:00", nullptr, -18000, -14400, 7},
      {101, 1, 1, "2000-10-29 01:00:00", "2001-03-25 01:00:00", 0, 0, 2},
      {1124, 1, 1, "2001-10-28 06:00:00", nullptr, -18000, -14400, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    ltzzonedelta zone{};
    ASSERT_EQ(ltzGetZoneDelta(delta, c.id, &zone), 0);
    EXPECT_EQ(zone.kind, c.kind);
    EXPECT_EQ(zone.count, c.count);
    std::size_t size = 0;
    std::uint32_t count = 0;
    EXPECT_EQ(ltzGetZoneDeltaSize(delta, c.id, &size), 0);
    EXPECT_EQ(size, c.count * sizeof(ltzspan));
    EXPECT_EQ(ltzGetZoneDeltaTransNum(delta, c.id, &count), 0);
    EXPECT_EQ(count, c.count);
    ltzspan span{};
    ASSERT_EQ(ltzGetZoneDeltaTrans(delta, c.id, 0, &span), 0);
    EXPECT_EQ(ToText(span.from), c.from);
    EXPECT_EQ(ToText(zone.from), c.from);
    if (c.until == nullptr) {
      EXPECT_EQ(span.until.year, 0);
    } else {
      EXPECT_EQ(ToText(span.until), c.until);
    }
    EXPECT_EQ(span.old_offset, c.old_offset);
    EXPECT_EQ(span.new_offset, c.new_offset);
    EXPECT_EQ(span.what, c.what);
    EXPECT_EQ(ltzGetZoneDeltaTrans(delta, c.id, 1, &span), 5);
  }
  ltzzonedelta zone{};
  EXPECT_EQ(ltzGetZoneDelta(delta, 400, &zone), 0);
  EXPECT_EQ(zone.kind, KES_ZONE_ADDED);
  EXPECT_EQ(ltzGetZoneDelta(delta, 401, &zone), 0);
  EXPECT_EQ(zone.kind, KES_ZONE_REMOVED);
  EXPECT_EQ(ltzGetZoneDelta(delta, 102, &zone), 5);
  EXPECT_EQ(ltzGetZoneDelta(delta, 0, &zone), 4);

  // A delta that comes back from elsewhere.
  for (std::size_t at = 0; at < delta->size; ++at) {
    std::vector<std::uint8_t> bytes(delta->size);
    std::memcpy(bytes.data(), delta, delta->size);
    bytes[at] ^= 0xFF;
    GuardedBuffer buffer((bytes.size() + 3) / 4 * 4);
    std::memcpy(buffer.data(), bytes.data(), bytes.size());
    const auto* damaged = reinterpret_cast<const ltzdelta*>(buffer.data());
    ltzspan span;
    for (const std::uint32_t id : {10u, 100u, 612u, 400u}) {
      const int status = ltzGetZoneDeltaTrans(damaged, id, 0, &span);
      EXPECT_TRUE(status == 0 || status == 2 || status == 5) << at;
    }
  }
  ltzFreeDelta(nullptr, delta);
}

TEST(LtzDelta, FromDiskAndOfEqualFiles) {
  const TemporaryDirectory directory;
  const std::string a = (directory.path() / "a").string(), b = (directory.path() / "b").string();
  WriteFile(a, BuildZones(SampleZones(), false));
  WriteFile(b, BuildZones(SampleZones(), true));
  CountingAllocator allocator;
  lxcontext work{};
  work.callbacks = lxldini(allocator.block());
  ltzdelta* delta = nullptr;
  ASSERT_EQ(ltzTZGetDeltaFromDisk(&work, a.c_str(), b.c_str(), &delta), 0);
  EXPECT_EQ(delta->zone_count, 0u);
  EXPECT_EQ(delta->size, sizeof(ltzdelta));
  EXPECT_EQ(delta->from.year, 0);
  ltzFreeDelta(&work, delta);
  EXPECT_EQ(ltzTZGetDeltaFromDisk(&work, a.c_str(), "/nonexistent/b", &delta), 1);
  EXPECT_EQ(ltzTZGetDeltaFromDisk(&work, nullptr, b.c_str(), &delta), 1);
  EXPECT_EQ(allocator.live(), 0u);
}

}  // namespace
}  // namespace kestra::test
