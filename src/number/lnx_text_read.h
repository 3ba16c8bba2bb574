// Reading text into a value, and values into the caller's buffers.
#pragma once

#include "number/lnx_scan.h"
#include "number/lnx_symbols.h"

namespace kestra::number {

// The text that lnxfromtext takes. False: bad is the offset of the first byte that is not of it.
bool ReadPlainText(std::string_view text, const Symbols& symbols, Figures& figures,
                   std::size_t& bad) noexcept;

// Writes the number in the form that outlen asks for; LNX_OK, or LNX_RANGE for a new infinity.
int StoreFigures(const Figures& figures, std::uint8_t* out, std::size_t* outlen) noexcept;

}  // namespace kestra::number
