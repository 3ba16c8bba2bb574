#include "number/kernels/lnx_text_kernels.h"

namespace kestra::number {
namespace {

std::size_t DeclineToPlain(std::span<const std::uint8_t>, std::span<char>) noexcept { return 0; }
std::size_t DeclineFromPlain(std::string_view, std::uint8_t*) noexcept { return 0; }

constexpr TextKernels kNoKernels = {DeclineToPlain, DeclineFromPlain};

}  // namespace

#if defined(__x86_64__)
extern const TextKernels kAvx512TextKernels;
#endif

const TextKernels& TextKernelsOf(os::CpuLevel level) noexcept {
#if defined(__x86_64__)
  if (level >= os::CpuLevel::kAvx512) return kAvx512TextKernels;
#endif
  static_cast<void>(level);
  return kNoKernels;
}

}  // namespace kestra::number
