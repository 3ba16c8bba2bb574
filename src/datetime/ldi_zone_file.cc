// The zone file as a file: where it is, its size, its bytes.
#include <cstring>
#include <span>

#include "datetime/sldi_files.h"
#include "datetime/zone_format.h"
#include "datetime/zone_rules.h"
#include "kestra/datetime_zone.h"

namespace kestra::datetime {
namespace {

// A file that is closed at the end of its life.
struct OpenedFile {
  os::DataFile data;
  ZoneFileInfo info;
  ~OpenedFile() { os::slxcfcl(data); }
};

bool Locate(const char* path, std::uint32_t order, ZoneLocation& location) noexcept {
  return path == nullptr ? sLdiPickOTZF(order, location) : LocatePath(path, location);
}

// Opens a zone file and reads what its first bytes say; that its size is right is looked at too.
bool Open(const ZoneLocation& location, OpenedFile& file) noexcept {
  return sLdiTZGetFileInfo(location, file.data, file.info) == 0 && file.data.size == file.info.size;
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

uint32_t LdiTZGetPathAndSize(char* path, size_t room, size_t* size, uint32_t order) noexcept {
  ZoneLocation location;
  OpenedFile file;
  if (!Locate(nullptr, order, location) || !Open(location, file)) return KES_DATETIME_ZONE_FILE;
  char full[kestra::os::kPathRoom + kZoneVariableRoom];
  const std::size_t length = sLdiGetFullPath(location, full);
  if (length == 0 || length >= room) return KES_DATETIME_NO_ROOM;
  std::memcpy(path, full, length + 1);
  *size = file.info.size;
  return 0;
}

uint32_t LdiTZGetFileSize(size_t* size, const char* path) noexcept {
  ZoneLocation location;
  OpenedFile file;
  if (!Locate(path, KES_ZONE_ANY_ORDER, location) || !Open(location, file)) {
    return KES_DATETIME_ZONE_FILE;
  }
  *size = file.info.size;
  return 0;
}

size_t LdiTZGetMaxFileSize(void) noexcept { return zone::kMaxSize; }

uint32_t LdiTZMapFile(const ltzfile** out, const char* path, uint32_t order,
                      lxcallbacks* block) noexcept {
  std::uint32_t status = 0;
  const ltzfile* file = ltzRead(path, order, block, &status);
  if (file == nullptr) return ZoneError(static_cast<int>(status));
  *out = file;
  return 0;
}

uint32_t LdiTZReadFile(uint8_t* out, size_t size, size_t* length, const char* path,
                       uint32_t order) noexcept {
  ZoneLocation location;
  OpenedFile file;
  if (!Locate(path, order, location) || !Open(location, file)) return KES_DATETIME_ZONE_FILE;
  if (file.info.size > size) return KES_DATETIME_NO_ROOM;
  // The first bytes were read already: once more from the start.
  kestra::os::DataFile again = OpenZoneFile(location);
  const std::size_t count =
      again.is_open() ? kestra::os::slxcfrtlfv(again, std::span(out, file.info.size)) : 0;
  kestra::os::slxcfcl(again);
  if (count != file.info.size) return KES_DATETIME_ZONE_FILE;
  *length = count;
  return 0;
}
