// Finding and opening data files.
#pragma once

#include "core/os/data_file.h"

namespace kestra::nls {

// lxlfOpen: opens the data file of a name without extension.
// profile   only the directory named by KES_NLS_PROFILE33.
// legacy    the directory of the older release, nls/data/9idata below KESTRA_HOME.
// Otherwise the directory named by KES_NLS10 (not in virtual mode), else nls/data below
// KESTRA_HOME; in virtual mode the data library serves what KESTRA_HOME does not have. A name
// shorter than 3 characters is opened as it is, in the current directory.
os::DataFile lxlfOpen(const char* name, bool profile, bool legacy) noexcept;

}  // namespace kestra::nls
