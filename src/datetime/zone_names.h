// Names of zones: their order, and text in the handle's character set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datetime/zone_file.h"
#include "kestra/handle.h"

namespace kestra::datetime {

inline unsigned char FoldCase(char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte | 0x20) : byte;
}

// The order of the name index: byte by byte, capital ASCII letters as small ones.
inline int CompareNames(const char* a, const char* b) noexcept {
  for (;; ++a, ++b) {
    const int difference = FoldCase(*a) - FoldCase(*b);
    if (difference != 0 || *a == '\0') return difference;
  }
}

// ltzIDcmp: a name that is not terminated, in the handle's character set or ASCII, against one of
// the file.
int ltzIDcmp(std::string_view name, bool ebcdic, const char* text) noexcept;

// The position of a name in the name index and its zone: 0, 2 or 5.
int FindName(const ZoneFile& file, std::string_view name, bool ebcdic, std::uint32_t& index,
             std::uint32_t& id) noexcept;

// The entry at a position of the name index: its name and zone. 0, 2, or 5 past the end.
int NameAt(const ZoneFile& file, std::uint32_t index, const char*& name,
           std::uint32_t& id) noexcept;

// Copies a text of the file with its NUL, in EBCDIC if wanted. False when room is too small.
bool CopyText(const char* text, bool ebcdic, char* buffer, std::size_t room) noexcept;

}  // namespace kestra::datetime
