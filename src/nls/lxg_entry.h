// What lxgcnvb and the XML converters share.
#pragma once

#include "nls/lxg_blocks.h"

namespace kestra::nls::convert {

struct DestinationText {
  std::uint8_t* bytes;
  std::size_t length;
  const lxobject* charset;
};
struct SourceText {
  const std::uint8_t* bytes;
  std::size_t length;
  const lxobject* charset;
};

// One call of a converter: checks the arguments, chooses the path, reports the status. Returns the
// bytes written.
std::size_t ConvertCall(DestinationText destination, SourceText source, std::uint32_t options,
                        Markup markup, lxcontext* context) noexcept;

}  // namespace kestra::nls::convert
