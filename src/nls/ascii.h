// ASCII texts: names, keywords and specification strings, whatever the C locale is.
#pragma once

#include <cstddef>
#include <string_view>

namespace kestra::nls {

constexpr char ToUpper(char c) noexcept {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool IsSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (ToUpper(a[i]) != ToUpper(b[i])) return false;
  }
  return true;
}

constexpr std::string_view SkipSpaces(std::string_view text) noexcept {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  return text;
}

// Copies a text, which may be the empty one at null.
inline void CopyChars(void* to, std::string_view from) noexcept {
  if (!from.empty()) __builtin_memcpy(to, from.data(), from.size());
}

}  // namespace kestra::nls
