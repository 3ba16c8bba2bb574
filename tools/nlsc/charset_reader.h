// A character set's code tables, read from its object without trust: the slow way to decode and
// encode, against which dump, check and the tests hold the object.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "object_reader.h"

namespace kestra::nlsc {

// Bytes of a character as one number, the first byte highest.
struct CharacterBytes {
  std::uint32_t bytes = 0;
  unsigned length = 0;
  bool operator==(const CharacterBytes&) const = default;
};

std::string FormatBytes(const CharacterBytes& bytes);  // "8FA2AF"

class CharsetReader {
 public:
  explicit CharsetReader(const ObjectReader& object);  // keeps a reference

  bool has_tables() const { return decode_width_ != 0 || encode_width_ != 0; }
  bool stateful() const { return stateful_; }
  bool gb18030() const { return gb18030_; }
  // By the class table. In stateful sets that is the length in the single-byte state, in GB18030
  // that of the two-byte characters.
  unsigned Length(std::uint8_t first) const;

  std::optional<char32_t> Decode(const CharacterBytes& bytes) const;
  std::optional<CharacterBytes> Encode(char32_t code) const;
  // Class word of a character, without the length bits.
  std::uint16_t ClassWord(const CharacterBytes& bytes) const;

  using Visit = std::function<void(const CharacterBytes&, char32_t)>;
  // Every byte sequence that decodes, in ascending order by first byte; the four-byte characters of
  // GB18030 last, and of them those from U+10000 not at all, which are counted and not stored. Rows
  // that are shared by several prefixes are refused, so the work is bounded by the number of cells.
  void ForEachDecoding(const Visit& visit) const;
  // Every code point that encodes.
  void ForEachEncoding(const Visit& visit) const;

 private:
  // The cell of a trail byte in a row; nothing outside the row.
  std::optional<std::uint32_t> CellIndex(std::uint32_t row_number, std::uint8_t byte) const;
  std::uint32_t Cell(std::uint32_t index) const;
  std::optional<std::uint32_t> LastCell(const CharacterBytes& bytes) const;
  void VisitLinear(const Visit& visit) const;
  void VisitRow(std::uint32_t row_number, CharacterBytes prefix, unsigned following,
                std::size_t& cells_left, const Visit& visit) const;

  const ObjectReader& object_;
  unsigned decode_width_, encode_width_;
  bool stateful_, gb18030_;
  BytesReader leads_, rows_, cells_, encode_index_, encode_, linear_;
};

}  // namespace kestra::nlsc
