// State of one conversion and the loop that every path shares.
//
// A path is a decoder and an encoder. The decoder reads one character of the source as a code
// point, the encoder gives its bytes in the destination set; the loop between them owns everything
// that has to be the same on every path: room, replacement, options, status. Faster ways (ASCII
// runs, kernels) convert a prefix that needs none of that and then hand back to the loop, so the
// result never depends on them. Tests: tests/nls/lxg_convert_test.cc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/os/check.h"
#include "kestra/convert.h"

namespace kestra::nls::convert {

inline constexpr std::uint32_t kReplacementCharacter = 0xFFFD;
inline constexpr std::uint32_t kMaxCodePoint = 0x10FFFF;
// What a decoder answers instead of a code point.
inline constexpr std::uint32_t kMalformed = 0x110000;
inline constexpr std::uint32_t kTruncated = 0x110001;  // cut off by the end of the source

// One character of the source. A malformed or truncated one has the number of bytes that one
// replacement stands for, at least 1.
struct Decoded {
  std::uint32_t code_point;
  std::uint32_t length;
};

// A character's bytes, the first one lowest. Length 0: the set does not have the character.
struct Encoded {
  std::uint64_t bytes = 0;
  std::uint32_t length = 0;
};

constexpr Encoded PackBytes(std::uint64_t bytes, std::uint32_t length) noexcept {
  return {bytes, length};
}

struct Conversion {
  const std::uint8_t* start;  // of the source
  const std::uint8_t* in;
  const std::uint8_t* in_end;
  std::uint8_t* out;
  std::uint8_t* out_end;
  bool stop = false;  // KES_CONVERT_STOP
  bool more = false;  // KES_CONVERT_MORE
  bool full = false;  // the next character did not fit
  bool unavailable = false;
  std::uint32_t shift_in = 0;  // states of the sets that have one, 0 at the start of a text
  std::uint32_t shift_out = 0;
  bool produced_replacement = false;
  std::uint64_t first_replaced = UINT64_MAX;
  std::uint64_t characters = 0;

  std::size_t source_left() const noexcept { return static_cast<std::size_t>(in_end - in); }
  std::size_t room() const noexcept { return static_cast<std::size_t>(out_end - out); }

  // The one place where a character is written. False: it does not fit, and nothing changed.
  // Bytes behind the character, as far as there is room, may be overwritten.
  bool Emit(Encoded character) noexcept {
    KES_DCHECK(character.length >= 1 && character.length <= 8);
    if (room() >= sizeof character.bytes) [[likely]] {
      std::memcpy(out, &character.bytes, sizeof character.bytes);
    } else if (room() >= character.length) {
      for (std::uint32_t i = 0; i < character.length; ++i) {
        out[i] = static_cast<std::uint8_t>(character.bytes >> (8 * i));
      }
    } else {
      full = true;
      return false;
    }
    out += character.length;
    return true;
  }

  // Writes the replacement for the character of `length` bytes under `in`. False: stop here.
  bool Replace(Encoded replacement, std::uint32_t length) noexcept {
    const auto place = static_cast<std::uint64_t>(in - start);
    if (stop) {
      first_replaced = first_replaced == UINT64_MAX ? place : first_replaced;
      return false;
    }
    if (!Emit(replacement)) return false;
    if (first_replaced == UINT64_MAX) first_replaced = place;
    produced_replacement = true;
    in += length;
    ++characters;
    return true;
  }
};

// Converts the character under c.in. False: the conversion ends here.
template <typename Decoder, typename Encoder>
inline bool ConvertOne(Conversion& c, const Decoder& decoder, const Encoder& encoder) noexcept {
  const Decoded character = decoder.Next(c.in, c.in_end);
  KES_DCHECK(character.length >= 1 && character.length <= c.source_left());
  if (character.code_point > kMaxCodePoint) [[unlikely]] {
    if (character.code_point == kTruncated && c.more) return false;
    return c.Replace(encoder.replacement(), character.length);
  }
  const Encoded encoded = encoder.Encode(character.code_point);
  if (encoded.length == 0) [[unlikely]] {
    return c.Replace(encoder.replacement(), character.length);
  }
  if (!c.Emit(encoded)) return false;
  if (character.code_point == kReplacementCharacter) [[unlikely]]
    c.produced_replacement = true;
  c.in += character.length;
  ++c.characters;
  return true;
}

// Every path ends here: converts what is left, character by character.
template <typename Decoder, typename Encoder>
inline void ConvertRest(Conversion& c, const Decoder& decoder, const Encoder& encoder) noexcept {
  while (c.in < c.in_end && ConvertOne(c, decoder, encoder)) {
  }
}

}  // namespace kestra::nls::convert
