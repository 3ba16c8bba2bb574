#include "core/os/process_lock.h"

#include <pthread.h>

#include <atomic>

#include "core/os/check.h"

namespace kestra::os {
namespace {

constinit std::atomic<RunMode> run_mode{kShared};

// The mutex alone is not recursive: the owner and the depth are kept here, so that a nested hold
// costs one comparison. Only the owner writes slx_lock_count; slx_current_tid is compared by every
// thread but can equal a thread's own id only if that thread stored it.
pthread_mutex_t slx_global_lock = PTHREAD_MUTEX_INITIALIZER;
constinit std::atomic<pthread_t> slx_current_tid{};
constinit unsigned slx_lock_count = 0;

}  // namespace

RunMode slts_runmode() noexcept { return run_mode.load(std::memory_order_relaxed); }

RunMode SetRunMode(RunMode mode) noexcept {
  return run_mode.exchange(mode, std::memory_order_relaxed);
}

ProcessLock::ProcessLock() noexcept : taken_(slts_runmode() == kShared) {
  if (!taken_) return;
  const pthread_t self = pthread_self();
  if (slx_current_tid.load(std::memory_order_relaxed) == self) {
    ++slx_lock_count;
    return;
  }
  [[maybe_unused]] const int failed = pthread_mutex_lock(&slx_global_lock);
  KES_DCHECK(failed == 0);
  slx_lock_count = 1;
  slx_current_tid.store(self, std::memory_order_relaxed);
}

ProcessLock::~ProcessLock() {
  if (!taken_ || --slx_lock_count != 0) return;
  slx_current_tid.store(pthread_t{}, std::memory_order_relaxed);
  pthread_mutex_unlock(&slx_global_lock);
}

}  // namespace kestra::os
