// Members of the operation codes 7 to 10, in the shape of a ldsbmember.
#pragma once

#include <cstddef>

#include "kestra/decimal_vector_members.h"

namespace kestra::number::dsb {

int ldsbminmaxop(std::size_t count, const void* left, const void* right, void* output,
                 const ldsboperation* record) noexcept;
int ldsbcopyop(std::size_t count, const void* left, const void* right, void* output,
               const ldsboperation* record) noexcept;
int ldsbcopy_scatterop(std::size_t count, const void* left, const void* right, void* output,
                       const ldsboperation* record) noexcept;
int ldsbcopy_gatherop(std::size_t count, const void* left, const void* right, void* output,
                      const ldsboperation* record) noexcept;

}  // namespace kestra::number::dsb
