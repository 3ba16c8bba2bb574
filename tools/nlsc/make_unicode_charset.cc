// The computed Unicode forms. Their objects hold no code tables, only lengths and classes.
#include <stdexcept>

#include "charset_tables.h"
#include "kestra/charset.h"
#include "nls/nlb_format.h"

namespace kestra::nlsc {
namespace {

namespace layout = kestra::nls::nlb::charset;

enum : std::uint32_t { kUtf8CodeUnits = 871, kUtfEbcdic = 872, kUtf8 = 873, kUtf16 = 2000 };
constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr std::uint8_t kLineFeed = 0x0A, kNextLine = 0x85;
constexpr std::uint8_t kEbcdicLineFeed = 0x15, kEbcdicNextLine = 0x25;

void SetLength(CharsetModel& model, unsigned first, unsigned last, unsigned length) {
  for (unsigned byte = first; byte <= last; ++byte) {
    model.classes[byte] = static_cast<std::uint16_t>(length - 1);
  }
}

void MakeUtf8(CharsetModel& model) {
  model.handle_flags = KES_CHARSET_UTF8;
  for (unsigned byte = 0; byte < 0x80; ++byte)
    model.single[byte] = static_cast<std::uint16_t>(byte);
  model.replacement = {0xEF, 0xBF, 0xBD};
}

void MakeUtfEbcdic(CharsetModel& model, const std::array<std::uint8_t, 256>& bytes) {
  model.flags |= layout::kAlgorithmicFlag;
  for (unsigned code = 0; code < 0xA0; ++code) {
    model.single[bytes[code]] = static_cast<std::uint16_t>(code);
  }
  // U+FFFD is 1111000w 101xxxxx 101yyyyy 101zzzzz before the byte table.
  model.replacement = {bytes[0xF0 | kReplacementCharacter >> 15],
                       bytes[0xA0 | (kReplacementCharacter >> 10 & 0x1F)],
                       bytes[0xA0 | (kReplacementCharacter >> 5 & 0x1F)],
                       bytes[0xA0 | (kReplacementCharacter & 0x1F)]};
}

// Lengths go in after the classes of the one-byte characters: a first byte is either.
void SetUtfEbcdicLengths(CharsetModel& model, const std::array<std::uint8_t, 256>& bytes) {
  for (unsigned lead = 0xC5; lead <= 0xF1; ++lead) {
    if (lead == 0xE0) continue;  // would begin an overlong form
    SetLength(model, bytes[lead], bytes[lead], lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4);
  }
}

}  // namespace

std::array<std::uint8_t, 256> MakeUtfEbcdicBytes(const std::vector<Mapping>& ebcdic) {
  std::array<std::uint8_t, 256> bytes{};
  std::array<bool, 256> taken{};
  for (const Mapping& mapping : ebcdic) {
    if (mapping.code >= 0xA0 || mapping.length != 1 || mapping.decode_only) continue;
    bytes[mapping.code] = static_cast<std::uint8_t>(mapping.bytes);
  }
  bytes[kLineFeed] = kEbcdicLineFeed;
  bytes[kNextLine] = kEbcdicNextLine;
  for (unsigned code = 0; code < 0xA0; ++code) {
    if (taken[bytes[code]]) throw std::logic_error("the EBCDIC table lacks a control or letter");
    taken[bytes[code]] = true;
  }
  unsigned free = 0;
  for (unsigned code = 0xA0; code < 0x100; ++code, ++free) {
    while (taken[free]) ++free;
    bytes[code] = static_cast<std::uint8_t>(free);
  }
  return bytes;
}

CharsetModel MakeUnicodeCharset(const CharsetDefinition& definition, const UnicodeData& unicode,
                                const std::vector<Mapping>& ebcdic) {
  CharsetModel model;
  model.definition = definition;
  model.flags = layout::kDisplayFlag;
  model.single.fill(layout::kNoCharacter);
  std::array<std::uint8_t, 256> ebcdic_bytes{};
  switch (definition.id) {
    case kUtf8CodeUnits:
    case kUtf8:
      if (definition.id == kUtf8CodeUnits) model.flags |= layout::kAlgorithmicFlag;
      MakeUtf8(model);
      break;
    case kUtfEbcdic:
      ebcdic_bytes = MakeUtfEbcdicBytes(ebcdic);
      MakeUtfEbcdic(model, ebcdic_bytes);
      break;
    case kUtf16:
      model.flags = layout::kLeadingZeroFlag;
      model.handle_flags = KES_CHARSET_UTF16;
      model.min_bytes = 2;
      model.replacement = {0xFF, 0xFD};
      break;
    default:
      throw std::logic_error("not a computed character set");
  }
  FillOneByteClasses(model, unicode);
  FillTraits(model);
  if (definition.id == kUtfEbcdic) {
    SetUtfEbcdicLengths(model, ebcdic_bytes);
  } else if (definition.id == kUtf16) {
    for (unsigned byte = 0; byte < 256; ++byte) {
      model.classes[byte] = static_cast<std::uint16_t>(unicode.ClassWord(byte) | 1);
    }
  } else {
    SetLength(model, 0xC2, 0xDF, 2);
    SetLength(model, 0xE0, 0xEF, 3);
    if (definition.id == kUtf8) SetLength(model, 0xF0, 0xF4, 4);
  }
  FillCodePointClasses(model, unicode);
  return model;
}

}  // namespace kestra::nlsc
