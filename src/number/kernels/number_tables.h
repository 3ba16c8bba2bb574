// The tables of kernels themselves, for the one file that chooses.
#pragma once

#include "number/kernels/number_kernels.h"

namespace kestra::number {

extern const Kernels kWordKernels;
#if defined(__x86_64__)
extern const Kernels kAvx512Kernels;
#endif

}  // namespace kestra::number
