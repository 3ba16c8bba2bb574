// The boot file: its names, finding and reading it.
#include <string.h>

#include "core/os/code_pages.h"
#include "kestra/object.h"
#include "nls/area.h"
#include "nls/lxl_file.h"
#include "nls/nlb_check.h"

namespace kestra::nls {
namespace {

// Reads the rest of a boot file behind its header, which is in native order and has been checked.
lxobject* ReadBoot(os::DataFile& file, std::span<const std::uint8_t> header, bool swapped,
                   lxcallbacks& block) noexcept {
  const std::size_t size = Load32(header.data(), nlb::boot::kSizeAt);
  if (size > file.size || CheckBootRuns(header) != nullptr) return nullptr;
  auto* bytes = static_cast<std::uint8_t*>(block.allocate(block.allocate_ctx, size));
  if (bytes == nullptr) return nullptr;
  memcpy(bytes, header.data(), header.size());
  const std::span body(bytes + header.size(), size - header.size());
  if (os::slxcfrtlfv(file, body) != body.size()) {
    block.release(block.release_ctx, bytes);
    return nullptr;
  }
  const std::span boot(bytes, size);
  if (swapped) SwapBootEntries(boot);
  if ((bytes[nlb::boot::kByteFlagsAt] & nlb::boot::kAsciiNamesFlag) == 0) {
    const std::size_t count = Load16(bytes, nlb::boot::kCountAt);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t entry = nlb::boot::kHeaderSize + i * nlb::boot::kEntrySize;
      os::slste2a(boot.subspan(entry + nlb::boot::kEntryNameAt, nlb::boot::kEntryNameSize));
    }
  }
  return reinterpret_cast<lxobject*>(bytes);
}

lxobject* lxldLoadBoot(lxcallbacks* block, const char* name, std::uint32_t variant,
                       bool legacy) noexcept {
  if (block == nullptr || name == nullptr) return nullptr;
  os::DataFile file = lxlfOpen(name, variant == 0, legacy);
  if (!file.is_open()) return nullptr;
  lxobject* boot = nullptr;
  std::uint8_t header[nlb::boot::kHeaderSize];
  if (os::slxcfrtlfv(file, header) == sizeof header) {
    const bool swapped = HasForeignOrder(header[nlb::boot::kByteFlagsAt]);
    if (swapped) SwapBootHeader(header);
    if (CheckBootHeader(header) == nullptr) boot = ReadBoot(file, header, swapped, *block);
  }
  os::slxcfcl(file);
  return boot;
}

}  // namespace
}  // namespace kestra::nls

extern "C" {

std::size_t lxfgnb(char* name, std::uint32_t digit) noexcept {
  memcpy(name, "lx0boot", 8);
  name[2] = static_cast<char>('0' + digit % 10);
  return 7;
}

lxobject* lxldlbb(void* ctx, const char* name, std::uint32_t variant) noexcept {
  return kestra::nls::lxldLoadBoot(static_cast<lxcallbacks*>(ctx), name, variant, false);
}

lxobject* lxldlbb9i(void* ctx, const char* name, std::uint32_t variant) noexcept {
  return kestra::nls::lxldLoadBoot(static_cast<lxcallbacks*>(ctx), name, variant, true);
}

}  // extern "C"
