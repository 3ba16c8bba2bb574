// Runs a benchmark as on a processor with less: BENCH_CPU_LEVEL=0 in the environment means what
// every x86-64 has, 1 AVX2, 2 AVX-512. The library itself has no such switch, so a program that
// calls this links it statically.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "core/os/cpu.h"

namespace kestra::bench {

// Once, before the first call into the library. Ends the program if the processor lacks the level.
inline void ForceCpuLevelOfEnvironment() {
  const char* const wanted = std::getenv("BENCH_CPU_LEVEL");
  if (wanted == nullptr) return;
  const auto level = static_cast<os::CpuLevel>(std::atoi(wanted));
  if (os::ForceCpuLevel(level) == level) return;
  std::fprintf(stderr, "BENCH_CPU_LEVEL: no level %s on this processor\n", wanted);
  std::exit(1);
}

}  // namespace kestra::bench
