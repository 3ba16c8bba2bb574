#include "core/os/cpu.h"

#include <gtest/gtest.h>

namespace kestra::os {
namespace {

TEST(Cpu, ForcingNeverRaisesTheLevelAndCanBeUndone) {
  const CpuLevel best = ForceCpuLevel(CpuLevel::kAvx512);
  EXPECT_EQ(ForceCpuLevel(CpuLevel::kBaseline), CpuLevel::kBaseline);
  EXPECT_EQ(GetCpuLevel(), CpuLevel::kBaseline);
  EXPECT_EQ(ForceCpuLevel(CpuLevel::kAvx512), best);
}

}  // namespace
}  // namespace kestra::os
