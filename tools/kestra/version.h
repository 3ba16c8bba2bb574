// --version: of the library, its data and Unicode.
#pragma once

namespace kestra::tools {

int PrintVersion(bool json);

}  // namespace kestra::tools
