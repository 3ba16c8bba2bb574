// Finding and opening the time-zone file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/os/data_file.h"

namespace kestra::datetime {

inline constexpr std::size_t kZoneVariableRoom = 256;  // of KES_TZFILE: 255 bytes and a NUL

// What the first 16 bytes of a file say of it.
struct ZoneFileInfo {
  std::uint32_t size = 0;
  std::uint32_t content = 0;  // version of the data
  std::uint32_t file_id = 0;
};

// Where a file was found. The file itself may be gone by the time it is opened.
struct ZoneLocation {
  char directory[os::kPathRoom] = {};  // for an embedded file: below the home directory
  char name[kZoneVariableRoom] = {};
  bool embedded = false;
};

// sldigsz: reads the size, content version and file id: 0; 3 for fewer than 16 bytes, 4 for a magic
// or a format version that is not ours, 5 for a size above the limit.
int sldigsz(std::span<const std::uint8_t> first_bytes, ZoneFileInfo& info) noexcept;

// sLdiPickOTZF: the file that KES_TZFILE names, else the newest one of the home directory; order is
// KES_ZONE_ANY_ORDER and so on. False when there is none: without KESTRA_HOME and a data library,
// for a variable that is too long, for a directory without zone files.
bool sLdiPickOTZF(std::uint32_t order, ZoneLocation& location) noexcept;

// sLdiReadDir: raises best to the highest version of the zone files in a directory; of two equal
// ones the larger set wins. False when nothing in it is better.
struct ZoneFileName {
  std::uint32_t version = 0;
  bool complete = false;  // timezlrg_N.dat, else timezone_N.dat
  bool found = false;
};
bool sLdiReadDir(const char* directory, bool embedded, ZoneFileName& best) noexcept;

// sLdiGetFullPath: directory and name. Returns the length without the NUL; 0 when it does not fit.
std::size_t sLdiGetFullPath(const ZoneLocation& location, std::span<char> path) noexcept;

// A location of a path as it stands. False for one that is too long.
bool LocatePath(const char* path, ZoneLocation& location) noexcept;
os::DataFile OpenZoneFile(const ZoneLocation& location) noexcept;

// sLdiTZGetFileInfo: opens the file, reads its first bytes and leaves it open behind them. Status as
// sldigsz; 1 when it cannot be opened.
int sLdiTZGetFileInfo(const ZoneLocation& location, os::DataFile& file,
                      ZoneFileInfo& info) noexcept;

// sldigpts: the path, the size, version and id of the file that would be read. Status as above.
int sldigpts(std::uint32_t order, std::span<char> path, ZoneFileInfo& info) noexcept;

}  // namespace kestra::datetime
