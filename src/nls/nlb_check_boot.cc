// Checks of boot files.
#include <string.h>

#include "nls/area.h"
#include "nls/nlb_check.h"

namespace kestra::nls {
namespace {

using namespace nlb::boot;

Fault CheckEntry(const std::uint8_t* entry, std::uint32_t type) noexcept {
  if (Load16(entry, kEntryTypeAt) != type) return "entry in the run of another type";
  const std::size_t length = entry[kEntryNameLengthAt];
  if (length < 1 || length > kEntryNameSize) return "length of a name";
  if (memchr(entry + kEntryNameAt, 0, length) != entry + kEntryNameAt + length - 1) {
    return "name not terminated where its length says";
  }
  return nullptr;
}

Fault CheckRun(const BootView& boot, std::uint32_t type, const std::uint8_t* entries) noexcept {
  const BootView::Run run = boot.run(type);
  std::uint32_t next_id = 0;
  for (std::uint32_t slot = run.first; slot < run.end; ++slot) {
    if (const Fault fault = CheckEntry(entries + slot * kEntrySize, type)) return fault;
    const std::uint32_t id = boot.entry(slot).id();
    if (id < next_id) return "ids out of order";
    next_id = id + 1;
  }
  return nullptr;
}

}  // namespace

Fault CheckBootHeader(std::span<const std::uint8_t> header) noexcept {
  if (header.size() < kHeaderSize) return "shorter than a boot file's header";
  if (header[kMagicAt] != kMagic) return "not a boot file: wrong magic";
  if (Load32(header.data(), kVersionAt) < nlb::kMinVersion) return "format too old";
  if (Load32(header.data(), kSizeAt) < kHeaderSize + kEntrySize * Load16(header.data(), kCountAt)) {
    return "size does not cover the directory";
  }
  return nullptr;
}

Fault CheckBootRuns(std::span<const std::uint8_t> header) noexcept {
  for (std::size_t i = 0; i < kRunCount; ++i) {
    if (Load16(header.data(), kRunsAt + 2 * i) > Load16(header.data(), kRunsAt + 2 * i + 2)) {
      return "runs out of order";
    }
  }
  return nullptr;
}

Fault CheckBootDirectory(const std::uint8_t* bytes, std::size_t size) noexcept {
  const std::span header(bytes, size);
  if (const Fault fault = CheckBootHeader(header)) return fault;
  if (const Fault fault = CheckBootRuns(header)) return fault;
  if (Load32(bytes, kSizeAt) > size) return "shorter than its header says";
  const BootView boot(reinterpret_cast<const lxobject*>(bytes));
  if (boot.run(0).first == 0) return "run begins at the empty entry";
  for (std::uint32_t type = 0; type < kRunCount; ++type) {
    if (const Fault fault = CheckRun(boot, type, bytes + kHeaderSize)) return fault;
  }
  for (const std::uint32_t type : {KES_OBJECT_LANGUAGE, KES_OBJECT_TERRITORY, KES_OBJECT_CHARSET}) {
    const BootView::Run run = boot.run(type);
    if (run.first == run.end || boot.entry(run.first).id() != 1) {
      return "no language, territory or character set 1";
    }
  }
  return nullptr;
}

}  // namespace kestra::nls
