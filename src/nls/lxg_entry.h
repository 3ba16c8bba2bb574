// What lxgcnvb and the XML converters share.
#pragma once

#include "nls/lxg_blocks.h"

namespace kestra::nls::convert {

// One call of a converter: checks the arguments, chooses the path, reports the status. Returns the
// bytes written. The arguments are those of the entry points, one by one: put together in a struct
// they would go through memory, which for a short text is a good part of the work.
std::size_t ConvertCall(std::uint8_t* destination, const lxobject* destination_set,
                        std::size_t room, const std::uint8_t* source, const lxobject* source_set,
                        std::size_t size, std::uint32_t options, Markup markup,
                        lxcontext* context) noexcept;

}  // namespace kestra::nls::convert
