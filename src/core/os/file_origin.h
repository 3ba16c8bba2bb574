// Where an open data file lies.
#pragma once

#include <cstddef>
#include <span>

#include "core/os/data_file.h"

namespace kestra::os {

// The directory of a file, or the path of the data library whose archive holds it, with a NUL.
// Returns the length without the NUL; 0 when it does not fit or the system does not tell.
std::size_t FileOrigin(const DataFile& file, std::span<char> path) noexcept;

}  // namespace kestra::os
