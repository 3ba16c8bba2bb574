// The strings that number text is made with, after the defaults are filled in.
#pragma once

#include <string_view>

#include "kestra/number_text.h"

namespace kestra::number {

inline constexpr std::size_t kMaxSymbol = 255;

// Every view has at most kMaxSymbol bytes.
struct Symbols {
  std::string_view decimal = ".";
  std::string_view group;
  std::string_view currency = "$";
  std::string_view iso_currency = "USD";
  std::string_view dual_currency = "$";
};

// Takes over what is given; false when a string is too long or null with a length.
inline bool ReadSymbols(const lnxsymbols* given, Symbols& symbols) noexcept {
  if (given == nullptr) return true;
  struct Member {
    const lnxspan& from;
    std::string_view& to;
  };
  const Member members[] = {{given->decimal, symbols.decimal},
                            {given->group, symbols.group},
                            {given->currency, symbols.currency},
                            {given->iso_currency, symbols.iso_currency},
                            {given->dual_currency, symbols.dual_currency}};
  for (const Member& member : members) {
    const lnxspan& span = member.from;
    if (span.length > kMaxSymbol || (span.bytes == nullptr && span.length > 0)) return false;
    if (span.length > 0) member.to = {reinterpret_cast<const char*>(span.bytes), span.length};
  }
  return true;
}

}  // namespace kestra::number
