// Making and freeing a global area: from the boot object, or from built-in data.
#include <string.h>

#include "kestra/object.h"
#include "nls/area.h"
#include "nls/lxl_builtin.h"
#include "nls/nlb_check.h"

namespace kestra::nls {
namespace {

void* Allocate(const lxcallbacks& block, std::size_t size) noexcept {
  return block.allocate(block.allocate_ctx, size);
}
void Release(const lxcallbacks& block, void* memory) noexcept {
  if (memory != nullptr) block.release(block.release_ctx, memory);
}

// A slot table for a boot object that has been checked; null when there is no memory for it.
lxarea* SlotTable(lxobject* boot, lxcallbacks& block, bool profile) noexcept {
  const std::uint32_t slots = BootView(boot).count() + kExtraSlots;
  auto* area = static_cast<lxarea*>(Allocate(block, AreaSize(slots)));
  if (area == nullptr) return nullptr;
  memset(static_cast<void*>(area), 0, AreaSize(slots));
  area->boot = boot;
  Tail(area).block = &block;
  Tail(area).profile = profile;
  // Read-only bytes in slots of their own, which are never unloaded.
  for (std::uint32_t i = 0; i < kIso2022Slots; ++i) {
    auto* table = reinterpret_cast<const lxobject*>(lxd2022arr[i]);
    *SlotAddress(area, BootView(boot).count() + i) = const_cast<lxobject*>(table);
  }
  return area;
}

// The area of the first boot object that the block's callback gives, the profile's before the
// common one; null when it gives none, or one that is not sound.
lxarea* LoadArea(lxcallbacks& block) noexcept {
  char name[KES_OBJECT_NAME_SIZE];
  lxfgnb(name, 2);
  lxobject* boot = block.load_boot(block.load_boot_ctx, name, 0);
  const bool profile = boot != nullptr;
  if (!profile) {
    lxfgnb(name, 1);
    boot = block.load_boot(block.load_boot_ctx, name, 1);
  }
  if (boot == nullptr) return nullptr;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(boot);
  const std::size_t size = Load32(bytes, nlb::boot::kSizeAt);
  lxarea* area = nullptr;
  if (CheckBootDirectory(bytes, size) == nullptr) area = SlotTable(boot, block, profile);
  if (area == nullptr) block.release_boot(block.release_boot_ctx, boot);
  return area;
}

// Copies built-in bytes into memory of the block; null when there is none.
lxobject* CopyBuiltIn(const std::uint8_t* bytes, std::size_t size, lxcallbacks& block) noexcept {
  void* copy = Allocate(block, size);
  if (copy != nullptr) memcpy(copy, bytes, size);
  return static_cast<lxobject*>(copy);
}

// The minimal area; null when there is no memory for it.
lxarea* BuiltInArea(lxcallbacks& block) noexcept {
  lxobject* boot = CopyBuiltIn(lxdlbot, builtin::kBootSize, block);
  if (boot == nullptr) return nullptr;
  lxarea* area = SlotTable(boot, block, false);
  if (area == nullptr) {
    Release(block, boot);
    return nullptr;
  }
  const struct {
    std::uint32_t type;
    const std::uint8_t* bytes;
  } objects[] = {{KES_OBJECT_LANGUAGE, lxdllan},
                 {KES_OBJECT_TERRITORY, lxdlter},
                 {KES_OBJECT_CHARSET, lxdlchr}};
  for (const auto& object : objects) {
    const std::uint32_t slot = BootView(boot).run(object.type).first;
    const std::size_t size = Load32(object.bytes, nlb::kSizeAt);
    *SlotAddress(area, slot) = CopyBuiltIn(object.bytes, size, block);
    if (*SlotAddress(area, slot) == nullptr) {
      lxlfterm(area);
      return nullptr;
    }
  }
  return area;
}

}  // namespace

lxarea* MakeArea(lxcallbacks& block, bool& built_in) noexcept {
  lxarea* area = LoadArea(block);
  built_in = area == nullptr;
  return built_in ? BuiltInArea(block) : area;
}

void lxlfterm(lxarea* area) noexcept {
  lxcallbacks& block = *Tail(area).block;
  const std::uint32_t count = Boot(area).count();
  const std::uint32_t slots = SlotCount(area);
  const bool built_in = Boot(area).built_in();
  for (std::uint32_t slot = 1; slot < slots; ++slot) {
    if (slot >= count && slot < count + kIso2022Slots) continue;
    lxobject** address = SlotAddress(area, slot);
    if (*address == nullptr) continue;
    if (built_in && slot < count) {
      Release(block, *address);
    } else {
      block.unload_object(block.unload_object_ctx, address);
    }
  }
  if (built_in) {
    Release(block, area->boot);
  } else {
    block.release_boot(block.release_boot_ctx, area->boot);
  }
  Release(block, area);
}

}  // namespace kestra::nls
