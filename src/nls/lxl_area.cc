// The global area: made from the boot file or from built-in data, shared, released; contexts.
#include <string.h>

#include "core/os/process_lock.h"
#include "core/os/virtual_files.h"
#include "kestra/context.h"
#include "kestra/object.h"
#include "nls/area.h"
#include "nls/lxl_builtin.h"
#include "nls/nlb_check.h"
#include "nls/process_state.h"

namespace kestra::nls {
namespace {

void* Allocate(const lxcallbacks& block, std::size_t size) noexcept {
  return block.allocate(block.allocate_ctx, size);
}
void Release(const lxcallbacks& block, void* memory) noexcept {
  if (memory != nullptr) block.release(block.release_ctx, memory);
}

// A slot table for a boot object that has been checked; null when there is no memory for it.
lxarea* MakeArea(lxobject* boot, lxcallbacks& block, bool profile) noexcept {
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
  if (CheckBootDirectory(bytes, size) == nullptr) area = MakeArea(boot, block, profile);
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
  lxarea* area = MakeArea(boot, block, false);
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

void SetError(std::uint32_t* error, std::uint32_t code) noexcept {
  if (error != nullptr) *error = code;
}

// Every area that has been handed out, so that releasing one twice is noticed. Areas of all
// threads, in every run mode.
constinit os::Mutex live_areas_mutex;
constinit lxarea* live_areas = nullptr;

void Register(lxarea* area) noexcept {
  const os::MutexLock lock(live_areas_mutex);
  Tail(area).next = live_areas;
  live_areas = area;
}

bool IsLive(const lxarea* area) noexcept {
  const os::MutexLock lock(live_areas_mutex);
  for (lxarea* live = live_areas; live != nullptr; live = Tail(live).next) {
    if (live == area) return true;
  }
  return false;
}

void Unregister(lxarea* area) noexcept {
  const os::MutexLock lock(live_areas_mutex);
  for (lxarea** link = &live_areas; *link != nullptr; link = &Tail(*link).next) {
    if (*link == area) {
      *link = Tail(area).next;
      return;
    }
  }
}

}  // namespace

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

using namespace kestra::nls;

extern "C" {

lxarea* lxlinit(lxcallbacks* block, int share, std::uint32_t* error) noexcept {
  SetError(error, KES_NLS_OK);
  const kestra::os::ProcessLock lock;
  ProcessState& state = State();
  kestra::os::lfvini2(2, "nls", "kciei", "kciicus", 1);
  if (share != 0 && state.slxlobcp != 0) {
    ++state.slxlobcp;
    return state.slxlobjp;
  }
  lxcallbacks* callbacks = lxldini(block);
  lxarea* area = LoadArea(*callbacks);
  if (area == nullptr) {
    area = BuiltInArea(*callbacks);
    SetError(error, area != nullptr ? KES_NLS_NO_BOOT_FILE : KES_NLS_NO_MEMORY);
    if (area == nullptr) return nullptr;
  }
  Register(area);
  if (share != 0) {
    state.slxlobjp = area;
    state.slxlcbkp = callbacks;
    ++state.slxlobcp;
  }
  return area;
}

lxcontext* lxinitc(lxcontext* context, lxarea* area, lxcallbacks* block,
                   int make_default) noexcept {
  if (context == nullptr) return nullptr;
  memset(context, 0, sizeof *context);
  const kestra::os::ProcessLock lock;
  ProcessState& state = State();
  if (block == nullptr) {
    if (state.slxlcbkp == nullptr) state.slxlcbkp = lxldini(nullptr);
    block = state.slxlcbkp;
  }
  if (area == nullptr) {
    area = state.slxlobcp != 0 ? state.slxlobjp : lxlinit(block, 1, &context->error);
    if (area == nullptr) return nullptr;
  }
  context->area_slot = &context->area;
  context->callbacks = block;
  context->area = area;
  if (make_default != 0) {
    state.slxlcbkp = block;
    state.slxlobjp = area;
    if (state.slxlobcp == 0) state.slxlobcp = 1;
  }
  return context;
}

int lxlterm(lxcontext* context) noexcept {
  if (context == nullptr) return 1;
  context->error = KES_NLS_OK;
  const kestra::os::ProcessLock lock;
  lxarea* area = context->area;
  if (area == nullptr || !IsLive(area)) {
    context->area = nullptr;
    return 1;
  }
  ProcessState& state = State();
  if (area == state.slxlobjp) {
    if (--state.slxlobcp != 0) return 0;
    state.slxlobjp = nullptr;
    state.slxlcbkp = nullptr;
  }
  Unregister(area);
  lxlfterm(area);
  context->area = nullptr;
  return 0;
}

int lxlrunmode(int mode) noexcept {
  using kestra::os::RunMode;
  if (mode < RunMode::kSingleThread || mode > RunMode::kPerThread)
    return kestra::os::slts_runmode();
  return kestra::os::SetRunMode(static_cast<RunMode>(mode));
}

const char* lxlbanner(void) noexcept { return "LNGRTL Version 19.0.0.0.0 - Production"; }

}  // extern "C"
