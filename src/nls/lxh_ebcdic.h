// Whether a handle's character set is an EBCDIC one.
#pragma once

#include "kestra/handle.h"

namespace kestra::nls {

// lxhebc: false without a handle, and for a set that cannot be loaded. context may be null: the
// handle's own.
bool lxhebc(const lxhandle* handle, lxcontext* context) noexcept;

}  // namespace kestra::nls
