#include "number/kernels/ldsb_kernels.h"

#include "core/os/cpu.h"

namespace kestra::number::dsb {

std::uint64_t AliveTail(const std::uint8_t* nulls, std::size_t size) noexcept {
  const std::uint64_t exist = (std::uint64_t{1} << size) - 1;
  if (nulls == nullptr) return exist;
  std::uint64_t bits = 0;
  for (std::size_t i = 0; 8 * i < size; ++i) bits |= std::uint64_t{nulls[i]} << 8 * i;
  return ~bits & exist;
}

std::size_t FirstAlive(std::size_t n, const std::uint8_t* nulls) noexcept {
  if (nulls == nullptr) return 0;
  for (std::size_t first = 0; first < n; first += kGroup) {
    const std::uint64_t alive = AliveBits(nulls, first, n - first);
    if (alive != 0) return first + static_cast<std::size_t>(std::countr_zero(alive));
  }
  return n;
}

void MergeWide(ldsbminmax* minmax, const Int192& lo, const Int192& hi) noexcept {
  if (hi < lo || minmax->state == KES_DSB_EXTREMES_UNKNOWN) return;
  const bool none = minmax->state == KES_DSB_EXTREMES_NONE;
  if (none || lo < FromPublic(minmax->min)) minmax->min = ToPublic(lo);
  if (none || FromPublic(minmax->max) < hi) minmax->max = ToPublic(hi);
  minmax->state = KES_DSB_EXTREMES_KNOWN;
}

#if defined(__x86_64__)
extern const Kernels kAvx2Kernels;
extern const Kernels kAvx512Kernels;
namespace {
constinit const Kernels* const kChain[] = {&kAvx512Kernels, &kAvx2Kernels, &kPortableKernels};
}  // namespace

const Kernels* const* KernelChain() noexcept {
  return kChain + (static_cast<int>(os::CpuLevel::kAvx512) - static_cast<int>(os::GetCpuLevel()));
}
#else
namespace {
constinit const Kernels* const kChain[] = {&kPortableKernels};
}  // namespace

const Kernels* const* KernelChain() noexcept { return kChain; }
#endif

}  // namespace kestra::number::dsb
