#include "core/os/cpu.h"

namespace kestra::os {
namespace {

int DetectLevel() noexcept {
#if defined(__x86_64__) && defined(__GNUC__)
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") ||
      !__builtin_cpu_supports("bmi2") || !__builtin_cpu_supports("popcnt")) {
    return static_cast<int>(CpuLevel::kBaseline);
  }
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
      __builtin_cpu_supports("avx512vbmi2")) {
    return static_cast<int>(CpuLevel::kAvx512);
  }
  return static_cast<int>(CpuLevel::kAvx2);
#else
  return static_cast<int>(CpuLevel::kBaseline);
#endif
}

}  // namespace

constinit std::atomic<int> detail::cached_level{-1};

int detail::FindCpuLevel() noexcept {
  const int level = DetectLevel();
  cached_level.store(level, std::memory_order_relaxed);
  return level;
}

CpuLevel ForceCpuLevel(CpuLevel level) noexcept {
  const int found = DetectLevel();
  const int wanted = static_cast<int>(level);
  detail::cached_level.store(wanted < found ? wanted : found, std::memory_order_relaxed);
  return GetCpuLevel();
}

}  // namespace kestra::os
