// Reading, checking and freeing zone files; their headers.
#include <string.h>

#include "datetime/sldi_files.h"
#include "datetime/zone_build.h"
#include "datetime/zone_check.h"
#include "datetime/zone_scratch.h"
#include "kestra/timezone.h"

namespace kestra::datetime {
namespace {

const ltzfile* Fail(int status, std::uint32_t* out) noexcept {
  if (out != nullptr) *out = static_cast<std::uint32_t>(status);
  return nullptr;
}

const ltzfile* CheckAndIndex(std::span<const std::uint8_t> bytes, lxcallbacks& block,
                             std::uint32_t* status) noexcept {
  const Scratch scratch(block, zone::kMaxId * sizeof(RunSummary));
  if (scratch.memory() == nullptr) return Fail(KES_ZONE_NO_MEMORY, status);
  const std::span zones(static_cast<RunSummary*>(scratch.memory()), zone::kMaxId);
  ZoneSummary summary{};
  const int verdict = CheckZoneFile(bytes, zones, summary);
  if (verdict != KES_ZONE_OK) return Fail(verdict, status);
  const ltzfile* file = BuildIndexedFile(bytes, zones, summary, block);
  if (file == nullptr) return Fail(KES_ZONE_NO_MEMORY, status);
  if (status != nullptr) *status = KES_ZONE_OK;
  return file;
}

const ltzfile* ReadOpened(os::DataFile& file, lxcallbacks& block, std::uint32_t* status) noexcept {
  std::uint8_t header[zone::kHeaderSize] = {};
  const std::size_t count = os::slxcfrtlfv(file, header);
  ZoneFileInfo info;
  if (sldigsz({header, count}, info) != 0 || count < sizeof header) {
    ZoneFile zones;
    const int reason = zones.Open(header);
    return Fail(reason == KES_ZONE_BAD_VERSION ? reason : KES_ZONE_DAMAGED, status);
  }
  if (file.size != info.size) return Fail(KES_ZONE_DAMAGED, status);
  if (file.archived != nullptr) return CheckAndIndex({file.archived, info.size}, block, status);
  const Scratch scratch(block, info.size);
  auto* bytes = static_cast<std::uint8_t*>(scratch.memory());
  if (bytes == nullptr) return Fail(KES_ZONE_NO_MEMORY, status);
  memcpy(bytes, header, count);
  const std::size_t rest = info.size - count;
  if (os::slxcfrt(file, {bytes + count, rest}) != rest) return Fail(KES_ZONE_DAMAGED, status);
  return CheckAndIndex({bytes, info.size}, block, status);
}

}  // namespace
}  // namespace kestra::datetime

using namespace kestra::datetime;

extern "C" {

const ltzfile* ltzRead(const char* path, std::uint32_t order, lxcallbacks* block,
                       std::uint32_t* status) noexcept {
  ZoneLocation location;
  const bool located = path == nullptr ? sLdiPickOTZF(order, location) : LocatePath(path, location);
  if (!located) return Fail(KES_ZONE_MISSING, status);
  kestra::os::DataFile data = OpenZoneFile(location);
  if (!data.is_open()) return Fail(KES_ZONE_MISSING, status);
  const ltzfile* file = ReadOpened(data, *lxldini(block), status);
  kestra::os::slxcfcl(data);
  return file;
}

const ltzfile* ltzReadMemory(const std::uint8_t* bytes, std::size_t size, lxcallbacks* block,
                             std::uint32_t* status) noexcept {
  return CheckAndIndex({bytes, size}, *lxldini(block), status);
}

int ltzFree(const ltzfile* file) noexcept {
  if (file == nullptr) return KES_ZONE_OK;
  const ZoneIndex* index = IndexOf(file);
  if (index == nullptr) return KES_ZONE_DAMAGED;
  lxcallbacks& block = *index->block;
  // The seal must not outlive the index.
  memset(const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(file)) + kSealAt, 0, 8);
  block.release(block.release_ctx, index->memory);
  return KES_ZONE_OK;
}

std::size_t ltzPath(std::uint32_t order, char* path, std::size_t room, int* embedded) noexcept {
  if (path == nullptr || room == 0) return 0;
  path[0] = '\0';
  ZoneLocation location;
  if (!sLdiPickOTZF(order, location)) return 0;
  if (embedded != nullptr) *embedded = location.embedded ? 1 : 0;
  return sLdiGetFullPath(location, {path, room});
}

const ltzfile* ltzCheck(const ltzfile* file, std::uint32_t* status) noexcept {
  ZoneFile zones;
  const int verdict = zones.Open(file);
  if (status != nullptr) *status = static_cast<std::uint32_t>(verdict);
  return verdict == KES_ZONE_OK ? file : nullptr;
}

std::uint32_t ltzGetFileVersion(const ltzfile* file) noexcept {
  ZoneFile zones;
  return zones.Open(file) == KES_ZONE_OK ? zones.U16(zone::kVersionAt) : 0;
}

std::uint32_t ltzGetFileContentVer(const ltzfile* file) noexcept {
  ZoneFile zones;
  return zones.Open(file) == KES_ZONE_OK ? zones.U16(zone::kContentAt) : 0;
}

std::uint32_t ltzGetFileID(const ltzfile* file) noexcept {
  ZoneFile zones;
  return zones.Open(file) == KES_ZONE_OK ? zones.U16(zone::kFileIdAt) : 0;
}

}  // extern "C"
