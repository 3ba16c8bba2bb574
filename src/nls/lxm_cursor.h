// What the cursor, the classification and other walkers of text share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/charset.h"

namespace kestra::nls::cursor {

inline std::size_t BytesLeft(const lxcursor& cursor) noexcept {
  return cursor.length - static_cast<std::size_t>(cursor.position - cursor.start);
}

// The class word of a first byte; without a character-set object every byte is a plain character.
inline std::uint32_t ClassOfByte(const lxcursor& cursor, std::uint8_t byte) noexcept {
  return cursor.class_table == nullptr ? 0u : cursor.class_table[byte];
}

// Length of the GB18030 character at p, 1, 2 or 4; left is at least 1. A character that is cut off
// may answer more than there is.
std::size_t Gb18030Length(const std::uint8_t* p, std::size_t left) noexcept;

// Passes over shift bytes, keeping the state; returns how many there were.
std::size_t SkipShifts(const lxhandle& handle, const std::uint8_t* p, const std::uint8_t* end,
                       std::uint32_t* shift_state) noexcept;

// Length of the character under the cursor without shift bytes; left is at least 1. May be more
// than is left.
std::size_t CharacterLength(const lxcursor& cursor, std::size_t left) noexcept;

}  // namespace kestra::nls::cursor
