// Tests that run once for each processor level this machine has.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/os/cpu.h"

namespace kestra::test {

class CpuLevelTest : public testing::TestWithParam<os::CpuLevel> {
 protected:
  void SetUp() override {
    if (os::ForceCpuLevel(GetParam()) != GetParam()) GTEST_SKIP() << "not on this machine";
  }
  void TearDown() override { os::ForceCpuLevel(os::CpuLevel::kAvx512); }
};

inline std::string LevelName(const testing::TestParamInfo<os::CpuLevel>& info) {
  return info.param == os::CpuLevel::kBaseline ? "baseline"
         : info.param == os::CpuLevel::kAvx2   ? "avx2"
                                               : "avx512";
}

}  // namespace kestra::test
