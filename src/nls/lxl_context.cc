// Contexts, and how they share global areas.
#include <string.h>

#include "core/os/process_lock.h"
#include "core/os/virtual_files.h"
#include "kestra/context.h"
#include "nls/area.h"
#include "nls/process_state.h"

namespace kestra::nls {
namespace {

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
  bool built_in = false;
  lxarea* area = MakeArea(*callbacks, built_in);
  if (area == nullptr) {
    SetError(error, KES_NLS_NO_MEMORY);
    return nullptr;
  }
  if (built_in) SetError(error, KES_NLS_NO_BOOT_FILE);
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
