// Capitals and small letters of names, one letter for one letter.
#pragma once

#include <cstdint>

namespace kestra::datetime {

// turkic: dotted and dotless i are two letters, as in Turkish and Azerbaijani.
std::uint32_t ToUpperLetter(std::uint32_t code_point, bool turkic) noexcept;
std::uint32_t ToLowerLetter(std::uint32_t code_point, bool turkic) noexcept;

}  // namespace kestra::datetime
