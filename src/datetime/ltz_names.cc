// Names and ids of zones.
#include <string.h>

#include "core/os/code_pages.h"
#include "datetime/zone_names.h"
#include "kestra/timezone.h"
#include "nls/lxh_ebcdic.h"

namespace kestra::datetime {

int ltzIDcmp(std::string_view name, bool ebcdic, const char* text) noexcept {
  for (const char c : name) {
    std::uint8_t byte = static_cast<std::uint8_t>(c);
    if (ebcdic) os::slste2a({&byte, 1});
    const int difference = FoldCase(static_cast<char>(byte)) - FoldCase(*text);
    // A NUL inside the name is no end of it.
    if (difference != 0) return difference;
    if (*text == '\0') return 1;
    ++text;
  }
  return *text == '\0' ? 0 : -1;
}

int NameAt(const ZoneFile& file, std::uint32_t index, const char*& name,
           std::uint32_t& id) noexcept {
  if (index >= file.U16(zone::kNameCountAt)) return KES_ZONE_NOT_FOUND;
  const std::uint64_t at = file.U32(zone::kNameIndexAt) + std::uint64_t{index} * zone::kNameSize;
  if (!file.Contains(at, zone::kNameSize)) return KES_ZONE_DAMAGED;
  name = file.Text(file.U32(static_cast<std::size_t>(at) + zone::kNameTextAt));
  id = file.U16(static_cast<std::size_t>(at) + zone::kNameIdAt);
  return name == nullptr ? KES_ZONE_DAMAGED : KES_ZONE_OK;
}

int FindName(const ZoneFile& file, std::string_view name, bool ebcdic, std::uint32_t& index,
             std::uint32_t& id) noexcept {
  std::uint32_t low = 0, high = file.U16(zone::kNameCountAt);
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    const char* text = nullptr;
    std::uint32_t found = 0;
    const int status = NameAt(file, middle, text, found);
    if (status != KES_ZONE_OK) return status;
    const int order = ltzIDcmp(name, ebcdic, text);
    if (order == 0) {
      index = middle;
      id = found;
      return KES_ZONE_OK;
    }
    if (order < 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return KES_ZONE_NOT_FOUND;
}

bool CopyText(const char* text, bool ebcdic, char* buffer, std::size_t room) noexcept {
  const std::size_t length = strlen(text);
  if (length >= room) return false;
  memcpy(buffer, text, length + 1);
  if (ebcdic) os::slsta2e({reinterpret_cast<std::uint8_t*>(buffer), length});
  return true;
}

}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

int ltzID(const lxhandle* handle, lxcontext* work, const ltzfile* file, const char* name,
          std::uint32_t* id) noexcept {
  if (name == nullptr || id == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  const int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  std::uint32_t index = 0;
  return FindName(zones, name, kestra::nls::lxhebc(handle, work), index, *id);
}

int ltzName(const lxhandle* handle, lxcontext* work, const ltzfile* file, std::uint32_t id,
            char* buffer, std::size_t room) noexcept {
  if (buffer == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  ZoneRun run;
  status = zones.FindRun(id, run);
  if (status != KES_ZONE_OK) return status;
  const std::size_t entry = ZoneFile::EntryAt(ZoneFile::Replaced(id));
  const char* name = zones.Text(zones.U32(entry + zone::kEntryNameAt));
  if (name == nullptr) return KES_ZONE_DAMAGED;
  const bool fits = CopyText(name, kestra::nls::lxhebc(handle, work), buffer, room);
  return fits ? KES_ZONE_OK : KES_ZONE_NO_ROOM;
}

int ltzGetIndex(const ltzfile* file, std::uint32_t id, std::uint32_t* index) noexcept {
  if (index == nullptr) return KES_ZONE_MISSING;
  ZoneFile zones;
  int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  ZoneRun run;
  status = zones.FindRun(id, run);
  if (status != KES_ZONE_OK) return status;
  const std::size_t entry = ZoneFile::EntryAt(ZoneFile::Replaced(id));
  const char* name = zones.Text(zones.U32(entry + zone::kEntryNameAt));
  if (name == nullptr) return KES_ZONE_DAMAGED;
  std::uint32_t found = 0, position = 0;
  status = FindName(zones, name, false, position, found);
  if (status == KES_ZONE_OK) *index = position;
  return status;
}

int ltzCheckZoneExists(const ltzfile* file, std::uint32_t id) noexcept {
  ZoneFile zones;
  const int status = zones.Open(file);
  if (status != KES_ZONE_OK) return status;
  ZoneRun run;
  return zones.FindRun(id, run);
}

}  // extern "C"
