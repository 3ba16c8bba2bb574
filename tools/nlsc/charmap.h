// Code tables: the charmap format of the C library's locale sources, and our own .map text.
#pragma once

#include <cstdint>
#include <vector>

#include "input.h"

namespace kestra::nlsc {

// A character of a code table. Several mappings may share the bytes or the code point: the first
// one of the file wins in either direction.
struct Mapping {
  std::uint32_t bytes = 0;   // the byte sequence as one number, the first byte highest
  std::uint8_t length = 0;   // 1..4
  bool decode_only = false;  // never used to encode
  char32_t code = 0;
};

// Lines "<U0041> /x41 name" and ranges "<U..>..<U..> /x..", whose last byte counts up. Everything
// before the first such line and after END CHARMAP is passed over, and so is any line that begins
// with the comment character, but "%IRREVERSIBLE%<U..> /x.." is a mapping for decoding only.
std::vector<Mapping> ReadCharmap(const SourceText& source);

// Lines "BYTES CODE" in hexadecimal, "!" in front: for decoding only, "#" begins a comment.
std::vector<Mapping> ReadMap(const SourceText& source);

}  // namespace kestra::nlsc
