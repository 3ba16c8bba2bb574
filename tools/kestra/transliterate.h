// Similar ASCII text for characters that a target set does not have.
#pragma once

#include <cstdint>
#include <string>

namespace kestra::tools {

// "e" for e acute, "..." for the ellipsis, "EUR" for the euro sign; empty where nothing is similar.
std::string Transliterate(std::uint32_t code_point);

}  // namespace kestra::tools
