// What the cursor, the classification and other walkers of text share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/charset.h"
#include "nls/lxg_paths.h"

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

// How the text of the cursor is read: by its set, with the byte order of the handle's id.
convert::SetKind KindOfHandle(const lxcursor& cursor) noexcept;

// The class word of the character under the cursor; 0 at the end, and for one that is cut off.
std::uint32_t ClassWord(const lxcursor& cursor) noexcept;

// The class word of a code point, in sets that keep classes by code point; 0 for what is none.
std::uint32_t ClassOfCodePoint(CharsetView set, std::uint32_t code_point) noexcept;

}  // namespace kestra::nls::cursor
