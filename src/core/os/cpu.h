// CPU features, found once per process. The only file that asks the processor.
#pragma once

#include <atomic>

namespace kestra::os {

// A level includes all lower ones.
enum class CpuLevel : int {
  kBaseline = 0,  // what every x86-64 has, or another architecture
  kAvx2 = 1,      // AVX2, BMI1, BMI2, POPCNT
  kAvx512 = 2,    // AVX-512 F, BW, DQ, VL, VBMI, VBMI2
};

namespace detail {
extern std::atomic<int> cached_level;  // -1: not known yet
int FindCpuLevel() noexcept;
}  // namespace detail

// The best level of this machine, or a lower one that ForceCpuLevel asked for.
inline CpuLevel GetCpuLevel() noexcept {
  const int level = detail::cached_level.load(std::memory_order_relaxed);
  return static_cast<CpuLevel>(level >= 0 ? level : detail::FindCpuLevel());
}

// For tests, fuzzers and benchmarks: kernels chosen after this call use at most the given level.
// Returns the level that is now in force.
CpuLevel ForceCpuLevel(CpuLevel level) noexcept;

}  // namespace kestra::os
