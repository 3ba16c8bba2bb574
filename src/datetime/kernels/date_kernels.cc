#include "datetime/kernels/date_kernels.h"

namespace kestra::datetime {

constinit std::atomic<const DateKernels*> active_date_kernels{nullptr};

const DateKernels& DateKernelsFor(os::CpuLevel level) noexcept {
#if defined(__x86_64__)
  if (level >= os::CpuLevel::kAvx512) return kAvx512DateKernels;
  if (level >= os::CpuLevel::kAvx2) return kAvx2DateKernels;
#endif
  static_cast<void>(level);
  return kScalarDateKernels;
}

const DateKernels& ChooseDateKernels() noexcept {
  const DateKernels& chosen = DateKernelsFor(os::GetCpuLevel());
  active_date_kernels.store(&chosen, std::memory_order_relaxed);
  return chosen;
}

}  // namespace kestra::datetime
