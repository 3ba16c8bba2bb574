// Elements up to 64 bits with AVX2.
#if defined(__x86_64__)

#define KES_DSB_TARGET [[gnu::target("avx2,bmi,bmi2")]]
#define KES_DSB_LANE_BYTES 32
#include "number/kernels/ldsb_lanes_vector.h"
// Needs the lanes.
#include "number/kernels/ldsb_lane_loops.h"

namespace kestra::number::dsb {
namespace {

constexpr Kernels MakeKernels() noexcept {
  Kernels k = {};
  FillLanes(k);
  return k;
}

}  // namespace

extern const Kernels kAvx2Kernels;
constinit const Kernels kAvx2Kernels = MakeKernels();

}  // namespace kestra::number::dsb

#endif
