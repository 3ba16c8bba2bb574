#include "nls/process_state.h"

#include "core/os/process_lock.h"

namespace kestra::nls {
namespace {

constinit ProcessState process_state{};
constinit thread_local ProcessState thread_state{};

}  // namespace

ProcessState& State() noexcept {
  return os::slts_runmode() == os::kPerThread ? thread_state : process_state;
}

}  // namespace kestra::nls
