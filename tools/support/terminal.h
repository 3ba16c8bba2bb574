// What a tool needs to know about the terminal: whether there is one, how wide a text is on it, and
// how to show bytes of unknown origin without letting them steer it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestra::tools {

bool IsTerminal(int fd);
// Colour goes to terminals only, and never when NO_COLOR is set to anything (https://no-color.org)
// or the terminal is called dumb.
bool UseColour(int fd);
// Columns of the terminal behind fd; 80 when there is none.
std::size_t TerminalWidth(int fd);

// Columns that a UTF-8 text takes: 2 for wide characters, 0 for combining marks and format
// characters. A malformed byte counts 1.
std::size_t DisplayWidth(std::string_view utf8);

// The text with control characters and malformed UTF-8 written as \xNN, so that a value from a
// file or from the environment cannot move the cursor or change colours.
std::string Printable(std::string_view utf8);

// Whether a cut at a byte would go through a character.
inline bool IsInsideCharacter(std::string_view utf8, std::size_t at) {
  return at < utf8.size() && (static_cast<unsigned char>(utf8[at]) & 0xC0) == 0x80;
}

// A printable message: of a long one, which quotes a long value, the beginning and the end.
std::string PrintableMessage(std::string_view utf8);

// "E2 82 AC".
std::string HexBytes(std::span<const std::uint8_t> bytes);

enum class Style { kBold, kDim, kRed, kYellow, kGreen };
// The text in a style when colour is on for fd, else as it is.
std::string Styled(int fd, Style style, std::string_view text);

}  // namespace kestra::tools
