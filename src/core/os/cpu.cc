#include "core/os/cpu.h"

#include <atomic>

namespace kestra::os {
namespace {

constinit std::atomic<int> cached_level{-1};

int DetectLevel() noexcept {
#if defined(__x86_64__) && defined(__GNUC__)
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") ||
      !__builtin_cpu_supports("bmi2")) {
    return static_cast<int>(CpuLevel::kBaseline);
  }
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
      __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2")) {
    return static_cast<int>(CpuLevel::kAvx512);
  }
  return static_cast<int>(CpuLevel::kAvx2);
#else
  return static_cast<int>(CpuLevel::kBaseline);
#endif
}

}  // namespace

CpuLevel GetCpuLevel() noexcept {
  int level = cached_level.load(std::memory_order_relaxed);
  if (level < 0) {
    level = DetectLevel();
    cached_level.store(level, std::memory_order_relaxed);
  }
  return static_cast<CpuLevel>(level);
}

CpuLevel ForceCpuLevel(CpuLevel level) noexcept {
  const int found = DetectLevel();
  const int wanted = static_cast<int>(level);
  cached_level.store(wanted < found ? wanted : found, std::memory_order_relaxed);
  return GetCpuLevel();
}

}  // namespace kestra::os
