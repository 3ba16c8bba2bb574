// Character-set objects made in memory from a list of mappings, for tests that need a set of their
// own: small, odd or damaged ones. Written from the layout alone, apart from the data compiler.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kestra/context.h"

namespace kestra::test {

struct Mapping {
  std::string bytes;
  std::uint32_t code_point;
  bool decodes = true;
  bool encodes = true;
};

class CharsetObject {
 public:
  explicit CharsetObject(std::vector<std::uint64_t> words) : words_(std::move(words)) {}
  const lxobject* get() const { return reinterpret_cast<const lxobject*>(words_.data()); }
  std::uint8_t* bytes() { return reinterpret_cast<std::uint8_t*>(words_.data()); }
  std::size_t size() const { return words_.size() * 8; }

 private:
  std::vector<std::uint64_t> words_;
};

// A set given by tables. lengths: for multibyte sets, the length by first byte; bytes that are not
// listed as first bytes of longer characters stand alone.
CharsetObject MakeTableSet(std::uint16_t id, const std::vector<Mapping>& mappings,
                           const std::string& replacement);

// One of the Unicode forms: 871, 872, 873, 1000, 2000, 2002.
CharsetObject MakeUnicodeSet(std::uint16_t id);

// Sets for tests. Latin: ISO 8859-1 without 80..9F. Ebcdic: letters and digits at EBCDIC places and
// no ASCII below 80. Double: ASCII, 8-byte-row two-byte characters and a few of three bytes. Pairs: its
// characters of one and two bytes.
std::vector<Mapping> AsciiMappings();
std::vector<Mapping> LatinMappings();
std::vector<Mapping> EbcdicMappings();
std::vector<Mapping> DoubleMappings();
std::vector<Mapping> PairMappings();
const CharsetObject& UsAscii();
const CharsetObject& Latin();
const CharsetObject& Ebcdic();
const CharsetObject& Double();
const CharsetObject& Pairs();
const CharsetObject& Unicode(std::uint16_t id);

}  // namespace kestra::test
