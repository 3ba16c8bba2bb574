// Zone files for tests: read from the test data, kept raw or handed to ltzReadMemory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/timezone.h"
#include "tests/support/zone_times.h"

namespace kestra::test {

// The only file with a name like this below a home directory.
std::vector<std::uint8_t> ReadZoneFile(const std::filesystem::path& home, std::string_view folder,
                                       std::string_view stem);

// The ways in which the library is given a file.
enum class ZoneAccess { kIndexedNative, kIndexedSwapped, kRawNative, kRawSwapped };
inline constexpr ZoneAccess kZoneAccesses[] = {ZoneAccess::kIndexedNative,
                                               ZoneAccess::kIndexedSwapped, ZoneAccess::kRawNative,
                                               ZoneAccess::kRawSwapped};
const char* NameOf(ZoneAccess access);

// The file of all zones of a home directory.
class LoadedZones {
 public:
  LoadedZones(const std::filesystem::path& home, ZoneAccess access);
  ~LoadedZones() { ltzFree(indexed_); }
  LoadedZones(const LoadedZones&) = delete;
  LoadedZones& operator=(const LoadedZones&) = delete;

  const ltzfile* file() const {
    return indexed_ != nullptr ? indexed_ : reinterpret_cast<const ltzfile*>(bytes_.data());
  }
  std::uint32_t Id(const char* name) const;

 private:
  std::vector<std::uint8_t> bytes_;
  const ltzfile* indexed_ = nullptr;
};

struct ZoneReading {
  int status = 0;
  std::int32_t offset = 0;
  std::uint32_t dst = 0;
  std::string abbreviation;
  bool operator==(const ZoneReading&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ZoneReading& reading);
ZoneReading Get(const ltzfile* file, std::uint32_t id, const LdiDate& utc);
ZoneReading GetLocal(const ltzfile* file, std::uint32_t id, const LdiDate& local);

}  // namespace kestra::test
