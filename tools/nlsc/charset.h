// Character sets: from a code table and the character database to the tables of an object.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "charmap.h"
#include "object.h"
#include "unicode_data.h"

namespace kestra::nlsc {

// A row of charsets.csv.
struct CharsetDefinition {
  std::uint32_t id = 0;
  std::string name;
  std::string kind;  // single, multi, mixed, gb18030, utf16; iso2022 has no object
  std::uint32_t max_bytes = 0;
  std::uint16_t basis = 0;
  std::uint32_t mappings = 0;
  std::string source;
};

// Trail bytes first..last of a prefix, and the cell of the first of them.
struct CharsetRow {
  std::uint8_t first = 0, last = 0;
  std::uint32_t cell = 0;
};

// Everything an object holds, in its own words. Tables as in nls/nlb_format.h.
struct CharsetModel {
  CharsetDefinition definition;
  std::uint32_t flags = 0;
  std::uint32_t handle_flags = 0;
  std::uint8_t min_bytes = 1;
  std::uint8_t class_byte = 0;
  std::uint8_t shifted_width = 0, shift_in = 0, shift_out = 0;  // stateful sets
  std::vector<std::uint8_t> replacement;
  std::uint8_t decode_width = 0, encode_width = 0;
  std::uint8_t traits = 0;
  std::uint8_t class_kind = 0;
  std::array<std::uint16_t, 256> classes{};
  std::array<std::uint8_t, 256> upper{}, lower{};
  std::array<std::uint16_t, 256> single{};
  std::vector<std::uint8_t> utf8;   // 256 x 4
  std::vector<std::uint16_t> lead;  // 256, or none
  std::vector<CharsetRow> rows;
  std::vector<std::uint32_t> decode;
  std::vector<std::uint16_t> class_index;  // by code point >> 8, or none
  std::vector<std::uint8_t> class_cells;
  std::vector<std::uint16_t> class_words;
  std::vector<std::uint16_t> encode_index;
  std::vector<std::uint32_t> encode;
  std::vector<std::uint16_t> linear;  // GB18030
};

// Single-byte, multibyte and stateful sets and GB18030. Throws InputError (naming the source) when
// the table contradicts the definition: number of mappings, longest character, or two lengths for
// one first byte.
CharsetModel MakeTableCharset(const CharsetDefinition& definition,
                              const std::vector<Mapping>& mappings, const UnicodeData& unicode,
                              const std::string& source_name);

// The computed sets 871, 872, 873 and 2000; ebcdic: the one-byte table that 872 is derived from
// (IBM1047), used by 872 alone.
CharsetModel MakeUnicodeCharset(const CharsetDefinition& definition, const UnicodeData& unicode,
                                const std::vector<Mapping>& ebcdic);

Object WriteCharset(const CharsetModel& model, const std::string& sources, bool big_endian);

// The bytes of UTF-EBCDIC (UTR 16) for the 256 intermediate bytes, derived from the one-byte table:
// 00-9F stand where it has U+0000-U+009F, but line feed and next line are swapped as in UTR 16 (15
// and 25), and A0-FF fill the free places in ascending order.
std::array<std::uint8_t, 256> MakeUtfEbcdicBytes(const std::vector<Mapping>& ebcdic);

}  // namespace kestra::nlsc
