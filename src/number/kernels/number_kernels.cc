#include "number/kernels/number_kernels.h"

#include "number/kernels/number_tables.h"

namespace kestra::number {

constinit std::atomic<const Kernels*> active_kernels{nullptr};

const Kernels& KernelsFor(os::CpuLevel level) noexcept {
#if defined(__x86_64__)
  if (level >= os::CpuLevel::kAvx512) return kAvx512Kernels;
#endif
  static_cast<void>(level);
  return kWordKernels;
}

const Kernels& ChooseKernels() noexcept {
  const Kernels& chosen = KernelsFor(os::GetCpuLevel());
  active_kernels.store(&chosen, std::memory_order_relaxed);
  return chosen;
}

}  // namespace kestra::number
