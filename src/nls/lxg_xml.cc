// lxgxmlco, lxgxmlcv: conversion that writes and reads XML character references.
#include "nls/lxg_xml.h"

#include <cstring>

#include "nls/lxg_entry.h"
#include "nls/lxg_unicode_codec.h"

namespace kestra::nls::convert::xml {
namespace {

// What a text at a place is.
struct Reference {
  enum Kind : std::uint8_t { kNone, kCut, kWhole } kind;
  std::uint32_t length = 0;  // characters
  std::uint32_t code_point = 0;
};

// 16 for what is no digit of any base.
std::uint32_t DigitValue(std::uint32_t c) noexcept {
  if (c - '0' < 10) return c - '0';
  const std::uint32_t letter = (c | 0x20) - 'a';
  return letter < 6 ? letter + 10 : 16;
}

// A reference stays text where the character would become markup, or is none.
bool StaysText(std::uint32_t code_point) noexcept {
  return code_point == 0 || code_point > kMaxCodePoint || IsSurrogate(code_point) ||
         code_point == '&' || code_point == '<' || code_point == '>' || code_point == '"' ||
         code_point == '\'';
}

// The reference that begins with the '&' in front of text; a truncated character ends the text.
Reference Parse(const std::uint32_t* text, std::uint32_t count) noexcept {
  constexpr Reference kNothing{Reference::kNone};
  std::uint32_t i = 0;
  const auto more = [&] { return i < count && text[i] != kTruncated; };
  if (!more()) return {Reference::kCut};
  if (text[i++] != '#') return kNothing;
  if (!more()) return {Reference::kCut};
  const bool hexadecimal = (text[i] | 0x20) == 'x';
  const std::uint32_t base = hexadecimal ? 16 : 10;
  if (hexadecimal) ++i;
  std::uint32_t code_point = 0;
  for (std::uint32_t digits = 0; more(); ++i, ++digits) {
    if (text[i] == ';') {
      if (digits == 0 || StaysText(code_point)) return kNothing;
      return {Reference::kWhole, i + 2, code_point};
    }
    const std::uint32_t digit = DigitValue(text[i]);
    if (digit >= base || i + 2 >= References::kLongest) return kNothing;
    code_point = code_point > kMaxCodePoint ? code_point : code_point * base + digit;
  }
  return {Reference::kCut};
}

}  // namespace

bool WriteReference(Conversion& c, const BlockEncoder& to, std::uint32_t code_point) noexcept {
  constexpr std::uint32_t kMost = 10;  // &#x10FFFF;
  std::uint32_t text[kMost] = {'&', '#', 'x'};
  std::uint32_t length = 3;
  int shift = 4;
  while (code_point >> (shift + 4) != 0) shift += 4;
  for (; shift >= 0; shift -= 4) {
    text[length++] = static_cast<std::uint32_t>("0123456789ABCDEF"[code_point >> shift & 0xF]);
  }
  text[length++] = ';';
  // The state is the only thing the writer needs to know of what stands in front.
  std::uint8_t bytes[8 * kMost];
  Conversion own{.start = nullptr,
                 .in = nullptr,
                 .in_end = nullptr,
                 .out = bytes,
                 .out_end = bytes + sizeof bytes,
                 .more = true,
                 .shift_out = c.shift_out};
  if (to.Write(own, text, length) != length) return false;
  const auto size = static_cast<std::size_t>(own.out - bytes);
  if (c.room() < size + (c.more ? 0 : to.ReturnLength(own.shift_out))) {
    c.full = true;
    return false;
  }
  std::memcpy(c.out, bytes, size);
  c.out += size;
  c.shift_out = own.shift_out;
  return true;
}

bool References::Merge(const Conversion& c, const BlockDecoder& from, Block& block) noexcept {
  merged_ = false;
  std::uint32_t* text = block.code_points;
  const bool at_end = c.in + block.bytes == c.in_end;
  std::uint32_t kept = 0;
  for (std::uint32_t i = 0; i < block.count; ++kept) {
    if (text[i] == '&') [[unlikely]] {
      const Reference found = Parse(text + i + 1, block.count - i - 1);
      if (found.kind == Reference::kCut && (at_end ? c.more : i != 0)) {
        // What was merged so far is read again with the rest of the block cut off.
        Block before;
        from.Read(c, i, before);
        block.bytes = before.bytes;
        block.state = before.state;
        block.count = kept;
        return !at_end;
      }
      if (found.kind == Reference::kWhole) {
        if (!merged_) {
          for (std::uint32_t k = 0; k < kept; ++k) origins_[k] = static_cast<std::uint16_t>(k);
          merged_ = true;
        }
        origins_[kept] = static_cast<std::uint16_t>(i);
        text[kept] = found.code_point | kReferenceMark;
        i += found.length;
        continue;
      }
    }
    if (merged_) {
      origins_[kept] = static_cast<std::uint16_t>(i);
      text[kept] = text[i];
    }
    ++i;
  }
  block.count = kept;
  return true;
}

}  // namespace kestra::nls::convert::xml

extern "C" {

size_t lxgxmlco(uint8_t* destination, const lxobject* destination_charset,
                size_t destination_length, const uint8_t* source, const lxobject* source_charset,
                size_t source_length, uint32_t options, lxcontext* context) noexcept {
  using namespace kestra::nls::convert;
  return ConvertCall(destination, destination_charset, destination_length, source, source_charset,
                     source_length, options, Markup::kWrite, context);
}

size_t lxgxmlcv(uint8_t* destination, const lxobject* destination_charset,
                size_t destination_length, const uint8_t* source, const lxobject* source_charset,
                size_t source_length, uint32_t options, lxcontext* context) noexcept {
  using namespace kestra::nls::convert;
  return ConvertCall(destination, destination_charset, destination_length, source, source_charset,
                     source_length, options, Markup::kRead, context);
}

}  // extern "C"
