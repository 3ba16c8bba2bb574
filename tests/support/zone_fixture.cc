#include "tests/support/zone_fixture.h"

#include <bit>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>

namespace kestra::test {

namespace fs = std::filesystem;

std::vector<std::uint8_t> ReadZoneFile(const fs::path& home, std::string_view folder,
                                       std::string_view stem) {
  for (const fs::directory_entry& entry :
       fs::directory_iterator(home / "kescore/zoneinfo" / folder)) {
    if (!entry.path().filename().string().starts_with(stem)) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  ADD_FAILURE() << "no " << stem << " below " << home;
  return {};
}

const char* NameOf(ZoneAccess access) {
  switch (access) {
    case ZoneAccess::kIndexedNative:
      return "indexed";
    case ZoneAccess::kIndexedSwapped:
      return "indexed, of the other byte order";
    case ZoneAccess::kRawNative:
      return "raw";
    case ZoneAccess::kRawSwapped:
      return "raw, of the other byte order";
  }
  return "";
}

LoadedZones::LoadedZones(const fs::path& home, ZoneAccess access) {
  const bool swapped = access == ZoneAccess::kIndexedSwapped || access == ZoneAccess::kRawSwapped;
  const bool little = (std::endian::native == std::endian::little) != swapped;
  bytes_ = ReadZoneFile(home, little ? "little" : "big", "timezlrg_");
  if (access == ZoneAccess::kRawNative || access == ZoneAccess::kRawSwapped) return;
  std::uint32_t status = 99;
  indexed_ = ltzReadMemory(bytes_.data(), bytes_.size(), nullptr, &status);
  EXPECT_EQ(status, 0u);
  EXPECT_NE(indexed_, nullptr);
}

std::uint32_t LoadedZones::Id(const char* name) const {
  std::uint32_t id = 0;
  EXPECT_EQ(ltzID(nullptr, nullptr, file(), name, &id), KES_ZONE_OK) << name;
  return id;
}

std::ostream& operator<<(std::ostream& out, const ZoneReading& reading) {
  return out << "status " << reading.status << ", " << reading.offset << " s, "
             << reading.abbreviation << (reading.dst != 0 ? " DST" : "");
}

namespace {

template <typename Function>
ZoneReading Ask(const Function& function, const ltzfile* file, std::uint32_t id,
                const LdiDate& date) {
  static const auto buffer = std::make_unique<char[]>(KES_ZONE_ABBREVIATION_ROOM);
  ZoneReading reading;
  buffer[0] = '\0';
  reading.status =
      function(nullptr, nullptr, file, id, &date, &reading.offset, buffer.get(), &reading.dst);
  reading.abbreviation = buffer.get();
  return reading;
}

}  // namespace

ZoneReading Get(const ltzfile* file, std::uint32_t id, const LdiDate& utc) {
  return Ask(ltzGet, file, id, utc);
}
ZoneReading GetLocal(const ltzfile* file, std::uint32_t id, const LdiDate& local) {
  return Ask(ltzGetLocal, file, id, local);
}

}  // namespace kestra::test
