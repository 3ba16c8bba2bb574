#include "number/kernels/lnx_text_kernels.h"

namespace kestra::number {

constinit std::atomic<const TextKernels*> active_text_kernels{nullptr};

extern const TextKernels kWordTextKernels;
#if defined(__x86_64__)
extern const TextKernels kAvx512TextKernels;
#endif

const TextKernels& ChooseTextKernels() noexcept {
  const TextKernels* chosen = &kWordTextKernels;
#if defined(__x86_64__)
  if (os::GetCpuLevel() >= os::CpuLevel::kAvx512) chosen = &kAvx512TextKernels;
#endif
  active_text_kernels.store(chosen, std::memory_order_relaxed);
  return *chosen;
}

}  // namespace kestra::number
