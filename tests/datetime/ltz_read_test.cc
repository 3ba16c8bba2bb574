// Finding the zone file, reading it, and what becomes of damaged ones.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <random>
#include <thread>

#include "core/os/virtual_files.h"
#include "datetime/sldi_files.h"
#include "datetime/zone_format.h"
#include "tests/support/data_library.h"
#include "tests/support/nls_fixture.h"
#include "tests/support/zone_builder.h"
#include "tests/support/zone_fixture.h"

namespace kestra::test {
namespace {

namespace fs = std::filesystem;
namespace zone = datetime::zone;

// A file of one zone with a content version of its own.
std::vector<std::uint8_t> Release(std::uint32_t content) {
  std::vector<std::uint8_t> bytes = BuildZones({{10, "A", {{kLongAgo, 0, false, "AAA"}}}});
  bytes[zone::kContentAt] = static_cast<std::uint8_t>(content);
  bytes[zone::kContentAt + 1] = static_cast<std::uint8_t>(content >> 8);
  return bytes;
}

struct ReadResult {
  std::uint32_t status = 99;
  std::uint32_t content = 0;
  bool operator==(const ReadResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ReadResult& result) {
  return out << "status " << result.status << ", content " << result.content;
}
ReadResult Read(const char* path = nullptr, std::uint32_t order = KES_ZONE_ANY_ORDER) {
  ReadResult result;
  const ltzfile* file = ltzRead(path, order, nullptr, &result.status);
  if (file != nullptr) result.content = ltzGetFileContentVer(file);
  ltzFree(file);
  return result;
}

class ZoneHome : public testing::Test {
 protected:
  ZoneHome() : home_(directory_.path() / "home") {
    os::CloseVirtualFiles();
    environment_.Set("KESTRA_HOME", home_.string());
    environment_.Set("KES_TZFILE", nullptr);
  }
  ~ZoneHome() override { os::CloseVirtualFiles(); }

  void Put(const std::string& name, std::uint32_t content) {
    const fs::path path = home_ / "kescore/zoneinfo" / name;
    fs::create_directories(path.parent_path());
    WriteFile(path, Release(content));
  }

  TemporaryDirectory directory_;
  fs::path home_;
  Environment environment_;
};

TEST_F(ZoneHome, TheHighestVersionIsRead) {
  EXPECT_EQ(Read(), (ReadResult{1, 0}));  // nothing there
  Put("timezone_7.dat", 7);
  EXPECT_EQ(Read(), (ReadResult{0, 7}));
  Put("timezlrg_10.dat", 10);
  Put("timezone_9.dat", 9);
  EXPECT_EQ(Read(), (ReadResult{0, 10}));
  Put("timezone_10.dat", 1010);  // of equal versions the larger set
  EXPECT_EQ(Read(), (ReadResult{0, 10}));
  Put("timezone_11.dat", 11);
  EXPECT_EQ(Read(), (ReadResult{0, 11}));
  for (const char* name :
       {"timezone_99.DAT", "timezone_.dat", "timezone_012.dat", "timezone_65536.dat",
        "timezone_12.dat.old", "timezone_12dat", "zone_13.dat", "timezone_99999999999.dat",
        "timezone_-5.dat", "xtimezone_14.dat"}) {
    Put(name, 99);
  }
  EXPECT_EQ(Read(), (ReadResult{0, 11}));
  char path[600];
  int embedded = 7;
  const std::string expected = (home_ / "kescore/zoneinfo/timezone_11.dat").string();
  EXPECT_EQ(ltzPath(0, path, sizeof path, &embedded), expected.size());
  EXPECT_EQ(path, expected);
  EXPECT_EQ(embedded, 0);
  EXPECT_EQ(ltzPath(0, path, expected.size(), nullptr), 0u);
  EXPECT_STREQ(path, "");
}

TEST_F(ZoneHome, PathSizeAndReleaseOfTheFileThatWouldBeRead) {
  char path[600];
  datetime::ZoneFileInfo info;
  EXPECT_EQ(datetime::sldigpts(KES_ZONE_ANY_ORDER, path, info), 1);
  Put("timezlrg_10.dat", 10);
  EXPECT_EQ(datetime::sldigpts(KES_ZONE_ANY_ORDER, path, info), 0);
  EXPECT_EQ(path, (home_ / "kescore/zoneinfo/timezlrg_10.dat").string());
  EXPECT_EQ(info.size, fs::file_size(path));
  EXPECT_EQ(info.content, 10u);
  EXPECT_EQ(datetime::sldigpts(KES_ZONE_ANY_ORDER, std::span(path, 20), info), 8);
  WriteFile(home_ / "kescore/zoneinfo/timezlrg_10.dat", std::vector<std::uint8_t>(15, 'K'));
  EXPECT_EQ(datetime::sldigpts(KES_ZONE_ANY_ORDER, path, info), 3);
}

TEST_F(ZoneHome, ADirectoryForEachByteOrder) {
  Put("timezone_5.dat", 5);
  Put("big/timezone_6.dat", 6);
  Put("little/timezlrg_7.dat", 7);
  EXPECT_EQ(Read(nullptr, KES_ZONE_ANY_ORDER), (ReadResult{0, 5}));
  EXPECT_EQ(Read(nullptr, KES_ZONE_BIG_ENDIAN), (ReadResult{0, 6}));
  EXPECT_EQ(Read(nullptr, KES_ZONE_LITTLE_ENDIAN), (ReadResult{0, 7}));
}

TEST_F(ZoneHome, TheVariableNamesTheFile) {
  Put("timezone_5.dat", 5);
  Put("special.dat", 77);
  WriteFile(directory_.path() / "elsewhere.bin", Release(88));
  WriteFile(home_ / "outside.dat", Release(99));
  const std::string outside = (directory_.path() / "elsewhere.bin").string();
  const struct {
    const char* what;
    std::string value;
    ReadResult result;
  } cases[] = {
      {"a bare name is looked up in the home directory", "special.dat", {0, 77}},
      {"with a directory it stands as it is", outside, {0, 88}},
      {"a name that does not exist is not replaced by another", "missing.dat", {1, 0}},
      {"a path that does not exist neither", "/nonexistent/timezone_5.dat", {1, 0}},
      {"the parent directory is no name", "..", {1, 0}},
      {"a directory is no file", directory_.path().string() + "/home", {1, 0}},
      {"a path that ends in a separator", outside + "/", {1, 0}},
      {"an empty value is none", "", {0, 5}},
      {"255 bytes", std::string(255 - outside.size(), '/') + outside, {0, 88}},
      {"256 bytes are no file", std::string(256 - outside.size(), '/') + outside, {1, 0}},
      {"ten thousand bytes neither", std::string(10000, 'x'), {1, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    environment_.Set("KES_TZFILE", c.value);
    EXPECT_EQ(Read(), c.result);
  }
}

TEST_F(ZoneHome, OnlyRegularFilesAreRead) {
  const fs::path folder = home_ / "kescore/zoneinfo";
  fs::create_directories(folder / "timezone_9.dat");
  EXPECT_EQ(Read(), (ReadResult{1, 0}));
  fs::remove(folder / "timezone_9.dat");
  ASSERT_EQ(mkfifo((folder / "timezone_9.dat").c_str(), 0600), 0);
  EXPECT_EQ(Read(), (ReadResult{1, 0}));  // and does not wait for a writer
  fs::remove(folder / "timezone_9.dat");
  fs::create_symlink("/dev/zero", folder / "timezone_9.dat");
  EXPECT_EQ(Read(), (ReadResult{1, 0}));
  environment_.Set("KESTRA_HOME", nullptr);
  EXPECT_EQ(Read(), (ReadResult{1, 0}));
  environment_.Set("KESTRA_HOME", std::string(5000, 'h'));
  EXPECT_EQ(Read(), (ReadResult{1, 0}));
}

TEST_F(ZoneHome, ADataLibraryServesWhatTheHomeDirectoryHasNot) {
  MakeDataLibrary(home_ / "lib", "kciei",
                  {{"kescore/zoneinfo/big/timezlrg_30.dat", Release(30)},
                   {"kescore/zoneinfo/timezlrg_20.dat", Release(20)},
                   {"kescore/zoneinfo/timezone_20.dat", Release(1020)}});
  EXPECT_EQ(Read(), (ReadResult{0, 20}));
  EXPECT_EQ(Read(nullptr, KES_ZONE_BIG_ENDIAN), (ReadResult{0, 30}));
  EXPECT_EQ(Read(nullptr, KES_ZONE_LITTLE_ENDIAN), (ReadResult{1, 0}));
  char path[100];
  int embedded = 0;
  EXPECT_GT(ltzPath(0, path, sizeof path, &embedded), 0u);
  EXPECT_STREQ(path, "kescore/zoneinfo/timezlrg_20.dat");
  EXPECT_EQ(embedded, 1);
  Put("timezlrg_20.dat", 2020);  // a file that really exists wins over an equal one
  EXPECT_EQ(Read(), (ReadResult{0, 2020}));
  Put("timezlrg_19.dat", 19);
  fs::remove(home_ / "kescore/zoneinfo/timezlrg_20.dat");
  EXPECT_EQ(Read(), (ReadResult{0, 20}));
  environment_.Set("KES_TZFILE", "timezone_20.dat");
  EXPECT_EQ(Read(), (ReadResult{0, 1020}));
  environment_.Set("KES_TZFILE", "timezone_21.dat");
  EXPECT_EQ(Read(), (ReadResult{1, 0}));
}

TEST(ZoneHeader, TheFirstBytesTellSizeVersionAndId) {
  const std::vector<std::uint8_t> little = BuildZones(SampleZones(), false);
  const std::vector<std::uint8_t> big = BuildZones(SampleZones(), true);
  for (const auto& bytes : {little, big}) {
    datetime::ZoneFileInfo info;
    EXPECT_EQ(datetime::sldigsz({bytes.data(), 16}, info), 0);
    EXPECT_EQ(info.size, bytes.size());
    EXPECT_EQ(info.content, 2601u);
    EXPECT_EQ(info.file_id, 2u);
    EXPECT_EQ(datetime::sldigsz({bytes.data(), 15}, info), 3);
    EXPECT_EQ(datetime::sldigsz({}, info), 3);
  }
  datetime::ZoneFileInfo info;
  std::vector<std::uint8_t> bytes(big.begin(), big.begin() + 16);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "KeTZ");
  bytes[0] = 'k';
  EXPECT_EQ(datetime::sldigsz(bytes, info), 4);
  bytes[0] = 'K';
  bytes[9] = 4;
  EXPECT_EQ(datetime::sldigsz(bytes, info), 4);
  bytes[9] = 3;
  const std::uint8_t limit[] = {0, 0x20, 0, 0};
  std::copy(limit, limit + 4, bytes.begin() + 4);
  EXPECT_EQ(datetime::sldigsz(bytes, info), 0);
  bytes[7] = 1;
  EXPECT_EQ(datetime::sldigsz(bytes, info), 5);
}

TEST(ZoneHeader, CheckTellsMagicFromVersion) {
  std::vector<std::uint8_t> bytes = BuildZones(SampleZones(), true);
  const auto* file = reinterpret_cast<const ltzfile*>(bytes.data());
  std::uint32_t status = 99;
  EXPECT_EQ(ltzCheck(file, &status), file);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(ltzGetFileVersion(file), 3u);
  EXPECT_EQ(ltzGetFileContentVer(file), 2601u);
  EXPECT_EQ(ltzGetFileID(file), 2u);
  EXPECT_EQ(ltzCheck(nullptr, &status), nullptr);
  EXPECT_EQ(status, 1u);
  bytes[9] = 2;
  EXPECT_EQ(ltzCheck(file, &status), nullptr);
  EXPECT_EQ(status, 3u);
  EXPECT_EQ(ltzReadMemory(bytes.data(), bytes.size(), nullptr, &status), nullptr);
  EXPECT_EQ(status, 3u);
  bytes[0] = 'X';
  EXPECT_EQ(ltzCheck(file, nullptr), nullptr);
  EXPECT_EQ(ltzGetFileVersion(file), 0u);
}

// ---- damage ----

// Asks everything of a file; the answers only have to be answers.
void Exercise(const ltzfile* file) {
  static char buffer[KES_ZONE_ABBREVIATION_ROOM];
  const LdiDate dates[] = {Timestamp("-4712-01-01"), Timestamp("2000-01-01 07:00:00"),
                           Timestamp("2000-10-29 01:30:00"), Timestamp("9999-12-31")};
  std::int32_t offset = 0;
  std::uint32_t id = 0;
  for (const char* name : {"test/summer", "Test/Fixed", "nowhere", ""}) {
    ltzID(nullptr, nullptr, file, name, &id);
  }
  for (const std::uint32_t zone : {10u, 100u, 612u, 103u, 1124u, 5u, 8191u}) {
    for (const LdiDate& date : dates) {
      ltzGet(nullptr, nullptr, file, zone, &date, &offset, buffer, nullptr);
      ltzGetLocal(nullptr, nullptr, file, zone, &date, &offset, buffer, nullptr);
      ltzlocal both;
      ltzGetLocalA(file, zone, &date, &both);
      ltzperiod period;
      ltzLookup(file, zone, &date, &period);
    }
    std::int32_t offsets[4];
    ltzGetarr(file, zone, dates, 4, offsets, nullptr, nullptr);
    ltzGetLocalarr(file, zone, dates, 4, offsets, nullptr, nullptr);
    ltzName(nullptr, nullptr, file, zone, buffer, sizeof buffer);
    std::uint32_t index = 0;
    int order = 0;
    ltzGetIndex(file, zone, &index);
    ltzCmp(file, zone, 101, &order);
    ltztransition* array = nullptr;
    std::size_t count = 0;
    if (ltzGetTransArray(nullptr, file, zone, &array, &count) == 0) {
      ltzFreeTransArray(nullptr, array);
    }
  }
  ltzstep step{};
  while (ltzStepA(nullptr, nullptr, file, &step, &id, buffer, sizeof buffer) == 0) {
  }
  ltzStepEnd(&step);
}

// Bytes at the end of a page behind which nothing can be read.
class AtPageEnd {
 public:
  explicit AtPageEnd(const std::vector<std::uint8_t>& bytes) : buffer_(bytes.size()) {
    std::copy(bytes.begin(), bytes.end(), buffer_.data());
  }
  std::uint8_t* data() { return buffer_.data(); }
  const ltzfile* file() { return reinterpret_cast<const ltzfile*>(buffer_.data()); }

 private:
  GuardedBuffer buffer_;
};

void SetSize(std::vector<std::uint8_t>& bytes, bool big_endian) {
  const auto size = static_cast<std::uint32_t>(bytes.size());
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[zone::kSizeAt + (big_endian ? 3 - i : i)] = static_cast<std::uint8_t>(size >> 8 * i);
  }
}

TEST(ZoneDamage, CutAtEveryLength) {
  const std::vector<std::uint8_t> whole = BuildZones(SampleZones());
  ASSERT_LT(whole.size() - zone::kTablesAt, 2000u);
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    // The empty entries in the middle of the file are all alike.
    if (size > 200 && size < zone::kTablesAt - 20 && size % 4099 != 0) continue;
    std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    std::uint32_t status = 99;
    const ltzfile* file = ltzReadMemory(cut.data(), cut.size(), nullptr, &status);
    EXPECT_EQ(file != nullptr, size == whole.size()) << size;
    if (size != whole.size()) {
      EXPECT_EQ(status, size == 0 ? 1u : 2u) << size;
    }
    ltzFree(file);
    if (size < zone::kHeaderSize) continue;
    // The same with a size field that owns up to it: no read behind the end.
    SetSize(cut, false);
    AtPageEnd at_end(cut);
    Exercise(at_end.file());
    file = ltzReadMemory(cut.data(), cut.size(), nullptr, &status);
    EXPECT_EQ(file != nullptr, size == whole.size()) << size;
    ltzFree(file);
  }
}

TEST(ZoneDamage, EveryHeaderAndTableByteChanged) {
  std::size_t accepted = 0, refused = 0;
  for (const bool big_endian : {false, true}) {
    const std::vector<std::uint8_t> whole = BuildZones(SampleZones(), big_endian);
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < zone::kHeaderSize; ++at) places.push_back(at);
    for (const std::size_t id : {10u, 11u, 100u, 103u, 612u, 8191u}) {
      for (std::size_t at = 0; at < zone::kEntrySize; ++at) {
        places.push_back(zone::kHeaderSize + zone::kEntrySize * id + at);
      }
    }
    for (std::size_t at = zone::kTablesAt; at < whole.size(); ++at) places.push_back(at);
    AtPageEnd at_end(whole);
    for (const std::size_t at : places) {
      for (const int flip : {0x01, 0x80, 0xFF}) {
        at_end.data()[at] = static_cast<std::uint8_t>(at_end.data()[at] ^ flip);
        const bool size_field = at >= zone::kSizeAt && at < zone::kSizeAt + 4;
        if (!size_field) Exercise(at_end.file());  // a raw file owes its size field's bytes
        std::uint32_t status = 0;
        const ltzfile* file = ltzReadMemory(at_end.data(), whole.size(), nullptr, &status);
        EXPECT_EQ(file == nullptr, status != 0);
        if (file != nullptr) {
          Exercise(file);
          ++accepted;
        } else {
          EXPECT_TRUE(status == 2 || status == 3) << status;
          ++refused;
        }
        ltzFree(file);
        at_end.data()[at] = static_cast<std::uint8_t>(at_end.data()[at] ^ flip);
      }
    }
  }
  EXPECT_GT(refused, 2000u);
  EXPECT_GT(accepted, 500u);  // content version, names, flags, abbreviations
}

TEST(ZoneDamage, WhatACheckedFilePromises) {
  const auto at = [](const char* text) { return ToSeconds(Timestamp(text)); };
  const BuiltZone good = {10, "A", {{kLongAgo, 0}, {at("2000-01-01"), 3600}}};
  const auto in_a_day = [&at](int count) {
    BuiltZone zone{10, "A", {{kLongAgo, 0}}};
    for (int i = 0; i < count; ++i) {
      zone.transitions.push_back({at("2000-01-01") + 20 * i, i % 2 == 0 ? 3600 : 0});
    }
    return zone;
  };
  const struct {
    const char* what;
    std::vector<BuiltZone> zones;
    bool accepted;
  } cases[] = {
      {"64 transitions in a day", {in_a_day(64)}, true},
      {"65 transitions in a day", {in_a_day(65)}, false},
      {"a good one", {good}, true},
      {"no zones at all", {}, true},
      {"transitions out of order", {{10, "A", {{at("2000-01-01"), 0}, {kLongAgo, 0}}}}, false},
      {"two at the same instant", {{10, "A", {{kLongAgo, 0}, {kLongAgo, 60}}}}, false},
      {"an offset of a day and two hours", {{10, "A", {{kLongAgo, 93600}}}}, false},
      {"an offset just below", {{10, "A", {{kLongAgo, -93599}}}}, true},
      {"a name of 255 bytes", {{10, std::string(255, 'a'), {{kLongAgo, 0}}}}, true},
      {"a name of 256 bytes", {{10, std::string(256, 'a'), {{kLongAgo, 0}}}}, false},
      {"an empty name", {{10, "", {{kLongAgo, 0}}}}, false},
      {"two names that differ in case", {good, {11, "a", {{kLongAgo, 0}}}}, false},
      {"a history of nine thousand years",
       {{10, "A", {{kLongAgo, 0}, {at("100-01-01"), 60}, {at("9000-01-01"), 0}}}},
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::vector<std::uint8_t> bytes = BuildZones(c.zones);
    const ltzfile* file = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
    EXPECT_EQ(file != nullptr, c.accepted);
    if (file != nullptr) Exercise(file);
    ltzFree(file);
  }
}

// A seal that was copied with the bytes is worth nothing at another address.
TEST(ZoneSeal, CopiedBytesAreRawAgain) {
  const LoadedZones zones(TestHome(), ZoneAccess::kIndexedNative);
  const auto* begin = reinterpret_cast<const std::uint8_t*>(zones.file());
  std::uint32_t size = 0;
  std::memcpy(&size, begin + zone::kSizeAt, sizeof size);
  std::vector<std::uint8_t> copy(begin, begin + size);
  const auto* file = reinterpret_cast<const ltzfile*>(copy.data());
  const std::uint32_t id = zones.Id("Europe/Berlin");
  EXPECT_EQ(Get(file, id, Timestamp("2026-07-01")), Get(zones.file(), id, Timestamp("2026-07-01")));
  EXPECT_EQ(ltzFree(file), 2);
  EXPECT_EQ(ltzFree(nullptr), 0);
}

TEST(ZoneMemory, EveryRefusedAllocationIsStatusSix) {
  const std::vector<std::uint8_t> bytes = BuildZones(SampleZones());
  const TemporaryDirectory directory;
  WriteFile(directory.path() / "zones.dat", bytes);
  const std::string path = (directory.path() / "zones.dat").string();
  CountingAllocator allocator;
  lxcontext work{};
  work.callbacks = lxldini(allocator.block());
  const LdiDate date = Timestamp("2000-07-01");
  for (std::size_t call = 0; call < 8; ++call) {
    allocator.FailAt(call, true);
    const std::size_t calls = allocator.calls();
    allocator.FailAt(calls + call, true);
    std::uint32_t status = 0;
    const ltzfile* file = ltzRead(path.c_str(), 0, work.callbacks, &status);
    if (file == nullptr) {
      EXPECT_EQ(status, 6u);
    } else {
      EXPECT_EQ(Get(file, 100, date).offset, -14400);
      ltztransition* array = nullptr;
      std::size_t count = 0;
      const int result = ltzGetTransArray(&work, file, 100, &array, &count);
      EXPECT_TRUE(result == 0 || result == 6);
      ltzFreeTransArray(&work, array);
      ltzstep step{};
      char text[16];
      const int stepped = ltzStepB(nullptr, &work, file, &step, 100, text, sizeof text);
      EXPECT_TRUE(stepped == 0 || stepped == 6);
      ltzStepEnd(&step);
    }
    ltzFree(file);
    allocator.FailNever();
    EXPECT_EQ(allocator.live(), 0u) << call;
  }
}

TEST(ZoneThreads, ManyThreadsReadAndShareFiles) {
  const std::vector<std::uint8_t> bytes = BuildZones(SampleZones());
  const ltzfile* shared = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
  ASSERT_NE(shared, nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&] {
      const ltzfile* own = ltzReadMemory(bytes.data(), bytes.size(), nullptr, nullptr);
      const LdiDate date = FromSeconds(954659000 + static_cast<std::int64_t>(bytes.size()));
      for (int k = 0; k < 200; ++k) {
        std::int32_t a = 0, b = 1;
        EXPECT_EQ(ltzGet(nullptr, nullptr, own, 100, &date, &a, nullptr, nullptr), 0);
        EXPECT_EQ(ltzGet(nullptr, nullptr, shared, 612, &date, &b, nullptr, nullptr), 0);
        EXPECT_EQ(a, b);
      }
      ltzFree(own);
    });
  }
  for (std::thread& thread : threads) thread.join();
  ltzFree(shared);
}

}  // namespace
}  // namespace kestra::test
