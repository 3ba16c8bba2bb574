#include "datetime/sldi_files.h"

#include <string.h>

#include "core/os/directory.h"
#include "core/os/environment.h"
#include "core/os/virtual_files.h"
#include "datetime/zone_format.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

constexpr char kArea[] = "kescore";
constexpr char kFolder[] = "kescore/zoneinfo";
constexpr char kStems[2][10] = {"timezone_", "timezlrg_"};
constexpr std::size_t kStemLength = 9;
constexpr char kExtension[] = ".dat";
constexpr std::size_t kFirstBytes = 16;
enum SizeStatus : int { kTooShort = 3, kNotOurs = 4, kTooLarge = 5 };

// timezone_2606.dat; false for any other name.
bool ParseName(const char* name, ZoneFileName& parsed) noexcept {
  parsed = {0, false, true};
  if (strncmp(name, kStems[1], kStemLength) == 0) {
    parsed.complete = true;
  } else if (strncmp(name, kStems[0], kStemLength) != 0) {
    return false;
  }
  const char* digit = name + kStemLength;
  for (; *digit >= '0' && *digit <= '9' && parsed.version <= UINT16_MAX; ++digit) {
    parsed.version = parsed.version * 10 + static_cast<std::uint32_t>(*digit - '0');
  }
  // A leading zero would not be the name that is made of the number again.
  const bool number = parsed.version != 0 && name[kStemLength] != '0';
  return number && parsed.version <= UINT16_MAX && strcmp(digit, kExtension) == 0;
}

void MakeName(const ZoneFileName& parsed, std::span<char, kZoneVariableRoom> name) noexcept {
  char* end = name.data();
  memcpy(end, kStems[parsed.complete ? 1 : 0], kStemLength);
  end += kStemLength;
  std::uint32_t divisor = 1;
  while (parsed.version / divisor >= 10) divisor *= 10;
  for (; divisor != 0; divisor /= 10)
    *end++ = static_cast<char>('0' + parsed.version / divisor % 10);
  memcpy(end, kExtension, sizeof kExtension);
}

bool IsBetter(const ZoneFileName& name, const ZoneFileName& best) noexcept {
  if (!best.found || name.version != best.version) {
    return !best.found || name.version > best.version;
  }
  return name.complete && !best.complete;
}

// The folder for a byte order, below a directory or, with an empty one, as the archives name it.
bool AppendFolder(std::span<char, os::kPathRoom> path, std::size_t length,
                  std::uint32_t order) noexcept {
  if (!os::AppendToPath(path, length, kFolder)) return false;
  if (order == KES_ZONE_BIG_ENDIAN) return os::AppendToPath(path, length, "big");
  if (order == KES_ZONE_LITTLE_ENDIAN) return os::AppendToPath(path, length, "little");
  return true;
}

bool HomeFolder(std::span<char, os::kPathRoom> path, std::uint32_t order) noexcept {
  const os::VariableResult home = os::slxldgnv("KESTRA_HOME", path.data(), path.size());
  return home.length > 0 && AppendFolder(path, home.length, order);
}

bool OpenArea() noexcept { return os::lfvini2(2, kArea, "kciei", "kciicus", 1) != 0; }

// A bare name of KES_TZFILE: the home directory's file, else the embedded one.
bool LocateBareName(ZoneLocation& location) noexcept {
  if (HomeFolder(location.directory, KES_ZONE_ANY_ORDER)) {
    os::DataFile file = OpenZoneFile(location);
    const bool there = file.is_open();
    os::slxcfcl(file);
    if (there) return true;
  }
  if (!OpenArea()) return location.directory[0] != '\0';
  location.directory[0] = '\0';
  location.embedded = true;
  return AppendFolder(location.directory, 0, KES_ZONE_ANY_ORDER);
}

}  // namespace

int sldigsz(std::span<const std::uint8_t> first_bytes, ZoneFileInfo& info) noexcept {
  if (first_bytes.size() < kFirstBytes) return kTooShort;
  const std::uint8_t* bytes = first_bytes.data();
  const auto number = [&](std::size_t at, std::size_t width, bool big) noexcept {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      value = value << 8 | bytes[at + (big ? i : width - 1 - i)];
    }
    return value;
  };
  const bool big = number(zone::kMagicAt, 4, true) == zone::kMagic;
  if (!big && number(zone::kMagicAt, 4, false) != zone::kMagic) return kNotOurs;
  if (number(zone::kVersionAt, 2, big) != zone::kVersion) return kNotOurs;
  const std::uint32_t size = number(zone::kSizeAt, 4, big);
  if (size > zone::kMaxSize) return kTooLarge;
  info = {size, number(zone::kContentAt, 2, big), number(zone::kFileIdAt, 2, big)};
  return 0;
}

bool sLdiReadDir(const char* directory, bool embedded, ZoneFileName& best) noexcept {
  bool better = false;
  const auto consider = [&](const char* name) noexcept {
    ZoneFileName parsed;
    if (!ParseName(name, parsed) || !IsBetter(parsed, best)) return;
    best = parsed;
    better = true;
  };
  if (embedded) {
    char name[64];
    std::size_t position = 0;
    while (os::NextVirtualFile(kArea, directory, position, name)) consider(name);
  } else {
    os::Directory entries(directory);
    while (const char* name = entries.Next()) consider(name);
  }
  return better;
}

bool sLdiPickOTZF(std::uint32_t order, ZoneLocation& location) noexcept {
  location = {};
  char value[kZoneVariableRoom];
  const os::VariableResult variable = os::slxldgnv("KES_TZFILE", value, sizeof value);
  if (variable.state == os::Variable::kTooLong) return false;
  if (variable.length > 0) {
    if (strchr(value, '/') != nullptr) return LocatePath(value, location);
    memcpy(location.name, value, variable.length + 1);
    return LocateBareName(location);
  }
  ZoneFileName best;
  if (HomeFolder(location.directory, order)) sLdiReadDir(location.directory, false, best);
  if (OpenArea()) {
    char folder[os::kPathRoom] = {};
    if (AppendFolder(folder, 0, order) && sLdiReadDir(folder, true, best)) {
      location.embedded = true;
      memcpy(location.directory, folder, sizeof folder);
    }
  }
  if (best.found) MakeName(best, location.name);
  return best.found;
}

bool LocatePath(const char* path, ZoneLocation& location) noexcept {
  location = {};
  const char* slash = strrchr(path, '/');
  const char* name = slash == nullptr ? path : slash + 1;
  // The slash stays when it is all there is: the root directory.
  std::size_t directory = slash == nullptr ? 0 : static_cast<std::size_t>(slash - path);
  if (slash == path) directory = 1;
  if (directory >= sizeof location.directory || strlen(name) >= sizeof location.name) return false;
  memcpy(location.directory, path, directory);
  memcpy(location.name, name, strlen(name) + 1);
  return *name != '\0';
}

std::size_t sLdiGetFullPath(const ZoneLocation& location, std::span<char> path) noexcept {
  const std::size_t directory = strlen(location.directory);
  const std::size_t separator = directory > 0 && location.directory[directory - 1] != '/' ? 1 : 0;
  const std::size_t name = strlen(location.name);
  const std::size_t length = directory + separator + name;
  if (length >= path.size()) {
    if (!path.empty()) path[0] = '\0';
    return 0;
  }
  memcpy(path.data(), location.directory, directory);
  if (separator != 0) path[directory] = '/';
  memcpy(path.data() + directory + separator, location.name, name + 1);
  return length;
}

os::DataFile OpenZoneFile(const ZoneLocation& location) noexcept {
  if (!location.embedded) return os::slxcfot(location.directory, location.name, "");
  char path[os::kPathRoom + kZoneVariableRoom];
  if (sLdiGetFullPath(location, path) == 0) return {};
  return os::OpenVirtualFile(kArea, path);
}

int sLdiTZGetFileInfo(const ZoneLocation& location, os::DataFile& file,
                      ZoneFileInfo& info) noexcept {
  file = OpenZoneFile(location);
  if (!file.is_open()) return KES_ZONE_MISSING;
  std::uint8_t bytes[kFirstBytes];
  const std::size_t count = os::slxcfrtlfv(file, bytes);
  return sldigsz({bytes, count}, info);
}

int sldigpts(std::uint32_t order, std::span<char> path, ZoneFileInfo& info) noexcept {
  ZoneLocation location;
  if (!sLdiPickOTZF(order, location)) return KES_ZONE_MISSING;
  if (sLdiGetFullPath(location, path) == 0) return KES_ZONE_NO_ROOM;
  os::DataFile file;
  const int status = sLdiTZGetFileInfo(location, file, info);
  os::slxcfcl(file);
  return status;
}

}  // namespace kestra::datetime
