// Decoders and encoders of the Unicode forms: UTF-8 (873), UTF-16 in both byte orders (2000, 2002,
// and 1000 once its byte order is known), and the two forms that code each UTF-16 unit by itself:
// UTF8 (871) as UTF-8 of the unit, AL32UTFEBCDIC (872) as UTF-EBCDIC of the unit.
//
// Malformed UTF-8 gives one replacement for each maximal subpart (The Unicode Standard, chapter 3,
// table 3-8); a lone surrogate unit gives one replacement in every form over units.
#pragma once

#include <array>
#include <bit>

#include "nls/kernels/convert_kernels.h"
#include "nls/lxg_conversion.h"

namespace kestra::nls::convert {

constexpr bool IsHighSurrogate(std::uint32_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(std::uint32_t unit) noexcept { return (unit & 0xFC00) == 0xDC00; }
constexpr bool IsSurrogate(std::uint32_t unit) noexcept { return (unit & 0xF800) == 0xD800; }
constexpr std::uint32_t JoinSurrogates(std::uint32_t high, std::uint32_t low) noexcept {
  return (high << 10) + low - ((0xD800u << 10) + 0xDC00u - 0x10000u);
}
constexpr std::uint32_t HighSurrogate(std::uint32_t code_point) noexcept {
  return 0xD7C0u + (code_point >> 10);
}
constexpr std::uint32_t LowSurrogate(std::uint32_t code_point) noexcept {
  return 0xDC00u | (code_point & 0x3FFu);
}

// UTF-8.
struct Utf8Decoder {
  // Bytes that follow a lead byte, and the range of the first of them (Unicode table 3-7).
  struct Lead {
    std::uint8_t follow, low, high;
  };
  static constexpr Lead LeadOf(std::uint32_t byte) noexcept {
    if (byte < 0xC2) return {0, 0, 0};
    if (byte < 0xE0) return {1, 0x80, 0xBF};
    if (byte < 0xF0) {
      return {2, static_cast<std::uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
              static_cast<std::uint8_t>(byte == 0xED ? 0x9F : 0xBF)};
    }
    if (byte < 0xF5) {
      return {3, static_cast<std::uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
              static_cast<std::uint8_t>(byte == 0xF4 ? 0x8F : 0xBF)};
    }
    return {0, 0, 0};
  }

  static constexpr bool ascii_runs() noexcept { return true; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (first < 0x80) return {first, 1};
    const Lead lead = LeadOf(first);
    if (lead.follow == 0) return {kMalformed, 1};
    const auto left = static_cast<std::size_t>(end - p);
    if (left == 1) return {kTruncated, 1};
    if (p[1] < lead.low || p[1] > lead.high) return {kMalformed, 1};
    std::uint32_t code_point = first & (0x3Fu >> lead.follow);
    code_point = code_point << 6 | (p[1] & 0x3Fu);
    for (std::uint32_t i = 2; i <= lead.follow; ++i) {
      if (i == left) return {kTruncated, i};
      if ((p[i] & 0xC0) != 0x80) return {kMalformed, i};
      code_point = code_point << 6 | (p[i] & 0x3Fu);
    }
    return {code_point, lead.follow + 1u};
  }
  static kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels,
                                       const std::uint8_t* in, std::size_t size,
                                       std::uint16_t* units, std::size_t room) noexcept {
    auto* out = reinterpret_cast<std::uint8_t*>(units);
    kernels::Progress done = std::endian::native == std::endian::big
                                 ? kernels.utf8_to_utf16be(in, size, out, 2 * room)
                                 : kernels.utf8_to_utf16le(in, size, out, 2 * room);
    done.written /= 2;
    return done;
  }
};

struct Utf8Encoder {
  static constexpr bool ascii_runs() noexcept { return true; }
  static constexpr std::size_t kUnitSize = 3;
  static constexpr Encoded EncodeUnit(std::uint32_t unit) noexcept {
    if (unit < 0x80) return {unit, 1};
    if (unit < 0x800) return {0x80C0u | unit >> 6 | (unit & 0x3F) << 8, 2};
    return {0x8080E0u | unit >> 12 | (unit >> 6 & 0x3F) << 8 | (unit & 0x3F) << 16, 3};
  }
  static constexpr Encoded Encode(std::uint32_t code_point) noexcept {
    if (code_point < 0x10000) return EncodeUnit(code_point);
    return {0x808080F0u | code_point >> 18 | (code_point >> 12 & 0x3F) << 8 |
                (code_point >> 6 & 0x3F) << 16 | (code_point & 0x3F) << 24,
            4};
  }
  static constexpr Encoded replacement() noexcept { return {0xBDBFEF, 3}; }
  static kernels::Progress EncodeUnits(const kernels::ConvertKernels& kernels,
                                       const std::uint16_t* units, std::size_t count,
                                       std::uint8_t* out, std::size_t room) noexcept {
    const auto* in = reinterpret_cast<const std::uint8_t*>(units);
    kernels::Progress done = std::endian::native == std::endian::big
                                 ? kernels.utf16be_to_utf8(in, 2 * count, out, room)
                                 : kernels.utf16le_to_utf8(in, 2 * count, out, room);
    done.consumed /= 2;
    return done;
  }
};

// UTF-16. An odd last byte is not part of the source: the caller cuts it off.
template <std::endian kOrder>
struct Utf16Decoder {
  static constexpr bool ascii_runs() noexcept { return false; }
  static std::uint32_t Unit(const std::uint8_t* p) noexcept {
    if constexpr (kOrder == std::endian::big) return static_cast<std::uint32_t>(p[0] << 8 | p[1]);
    return static_cast<std::uint32_t>(p[1] << 8 | p[0]);
  }
  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t unit = Unit(p);
    if (!IsSurrogate(unit)) return {unit, 2};
    if (IsLowSurrogate(unit)) return {kMalformed, 2};
    if (end - p < 4) return {kTruncated, 2};
    const std::uint32_t low = Unit(p + 2);
    if (!IsLowSurrogate(low)) return {kMalformed, 2};
    return {JoinSurrogates(unit, low), 4};
  }
  static kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels,
                                       const std::uint8_t* in, std::size_t size,
                                       std::uint16_t* units, std::size_t room) noexcept {
    const std::size_t count = size / 2 < room ? size / 2 : room;
    const auto run =
        kOrder == std::endian::big ? kernels.utf16be_to_units : kernels.utf16le_to_units;
    std::size_t done = 0;
    std::size_t pairs = 0;
    for (;;) {
      done += run(in + 2 * done, count - done, units + done);
      if (done + 1 >= count || !IsHighSurrogate(Unit(in + 2 * done))) break;
      const std::uint32_t low = Unit(in + 2 * done + 2);
      if (!IsLowSurrogate(low)) break;
      units[done] = static_cast<std::uint16_t>(Unit(in + 2 * done));
      units[done + 1] = static_cast<std::uint16_t>(low);
      done += 2;
      ++pairs;
    }
    return {2 * done, done, done - pairs};
  }
};

template <std::endian kOrder>
struct Utf16Encoder {
  static constexpr bool ascii_runs() noexcept { return false; }
  static constexpr std::size_t kUnitSize = 2;
  static constexpr std::uint32_t Place(std::uint32_t unit) noexcept {
    if constexpr (kOrder == std::endian::big) return (unit >> 8 | unit << 8) & 0xFFFF;
    return unit;
  }
  static constexpr Encoded Encode(std::uint32_t code_point) noexcept {
    if (code_point < 0x10000) return {Place(code_point), 2};
    return {Place(HighSurrogate(code_point)) | Place(LowSurrogate(code_point)) << 16, 4};
  }
  static constexpr Encoded replacement() noexcept { return {Place(kReplacementCharacter), 2}; }
  static kernels::Progress EncodeUnits(const kernels::ConvertKernels&, const std::uint16_t* units,
                                       std::size_t count, std::uint8_t* out, std::size_t) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint16_t unit = units[i];
      out[2 * i] = static_cast<std::uint8_t>(kOrder == std::endian::big ? unit >> 8 : unit);
      out[2 * i + 1] = static_cast<std::uint8_t>(kOrder == std::endian::big ? unit : unit >> 8);
    }
    return {count, 2 * count, count};
  }
};

// A form over UTF-16 units, given how it codes one unit: joins surrogate pairs.
template <typename UnitDecoder>
struct PairDecoder {
  UnitDecoder units;
  static constexpr bool ascii_runs() noexcept { return UnitDecoder::ascii_runs(); }
  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const Decoded unit = units.Next(p, end);
    if (!IsSurrogate(unit.code_point)) [[likely]]
      return unit;
    if (IsLowSurrogate(unit.code_point)) return {kMalformed, unit.length};
    const std::uint8_t* next = p + unit.length;
    if (next == end) return {kTruncated, unit.length};
    const Decoded low = units.Next(next, end);
    // A cut-off second unit leaves open whether this is a pair, if it can still be a low surrogate.
    if (low.code_point == kTruncated && units.MayBecomeLow(next, end)) {
      return {kTruncated, unit.length};
    }
    if (!IsLowSurrogate(low.code_point)) return {kMalformed, unit.length};
    return {JoinSurrogates(unit.code_point, low.code_point), unit.length + low.length};
  }
};

template <typename UnitEncoder>
struct PairEncoder {
  static constexpr bool ascii_runs() noexcept { return UnitEncoder::ascii_runs(); }
  static constexpr Encoded Encode(std::uint32_t code_point) noexcept {
    if (code_point < 0x10000) return UnitEncoder::EncodeUnit(code_point);
    const Encoded high = UnitEncoder::EncodeUnit(HighSurrogate(code_point));
    const Encoded low = UnitEncoder::EncodeUnit(LowSurrogate(code_point));
    return {high.bytes | low.bytes << (8 * high.length), high.length + low.length};
  }
  static constexpr Encoded replacement() noexcept {
    return UnitEncoder::EncodeUnit(kReplacementCharacter);
  }
};

// UTF-8 of one unit, surrogates included, never four bytes.
struct Utf8UnitDecoder {
  static constexpr bool ascii_runs() noexcept { return true; }
  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (first < 0x80) return {first, 1};
    if (first < 0xC2 || first >= 0xF0) return {kMalformed, 1};
    const auto left = static_cast<std::size_t>(end - p);
    if (left == 1) return {kTruncated, 1};
    if ((p[1] & 0xC0) != 0x80 || (first == 0xE0 && p[1] < 0xA0)) return {kMalformed, 1};
    if (first < 0xE0) return {(first & 0x1F) << 6 | (p[1] & 0x3Fu), 2};
    if (left == 2) return {kTruncated, 2};
    if ((p[2] & 0xC0) != 0x80) return {kMalformed, 2};
    return {(first & 0x0F) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu), 3};
  }
  bool MayBecomeLow(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    return p[0] == 0xED && (end - p == 1 || p[1] >= 0xB0);
  }
};
using Cesu8Decoder = PairDecoder<Utf8UnitDecoder>;
using Cesu8Encoder = PairEncoder<Utf8Encoder>;

// UTF-EBCDIC (Unicode Technical Report 16): a unit is coded in bytes of an intermediate form (one
// byte to 9F, then leads C0.. with trails A0..BF that carry five bits each), and each of those is
// mapped to EBCDIC. Intermediate bytes 00..9F lie where code page 1047 has U+0000..U+009F, with
// line feed at 15 and next line at 25 as the report has them; A0..FF fill the free places upward.
namespace utf_ebcdic {
inline constexpr std::array<std::uint8_t, 160> kBasic = {
    0x00, 0x01, 0x02, 0x03, 0x37, 0x2D, 0x2E, 0x2F, 0x16, 0x05, 0x15, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F,
    0x10, 0x11, 0x12, 0x13, 0x3C, 0x3D, 0x32, 0x26, 0x18, 0x19, 0x3F, 0x27, 0x1C, 0x1D, 0x1E, 0x1F,
    0x40, 0x5A, 0x7F, 0x7B, 0x5B, 0x6C, 0x50, 0x7D, 0x4D, 0x5D, 0x5C, 0x4E, 0x6B, 0x60, 0x4B, 0x61,
    0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0x7A, 0x5E, 0x4C, 0x7E, 0x6E, 0x6F,
    0x7C, 0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6,
    0xD7, 0xD8, 0xD9, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xAD, 0xE0, 0xBD, 0x5F, 0x6D,
    0x79, 0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96,
    0x97, 0x98, 0x99, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xC0, 0x4F, 0xD0, 0xA1, 0x07,
    0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x06, 0x17, 0x28, 0x29, 0x2A, 0x2B, 0x2C, 0x09, 0x0A, 0x1B,
    0x30, 0x31, 0x1A, 0x33, 0x34, 0x35, 0x36, 0x08, 0x38, 0x39, 0x3A, 0x3B, 0x04, 0x14, 0x3E, 0xFF};

// The EBCDIC byte of each intermediate byte.
constexpr std::array<std::uint8_t, 256> MakeToEbcdic() noexcept {
  std::array<std::uint8_t, 256> table{};
  std::array<bool, 256> taken{};
  for (std::size_t i = 0; i < kBasic.size(); ++i) {
    table[i] = kBasic[i];
    taken[kBasic[i]] = true;
  }
  std::size_t next = kBasic.size();
  for (std::size_t byte = 0; byte < 256; ++byte) {
    if (!taken[byte]) table[next++] = static_cast<std::uint8_t>(byte);
  }
  return table;
}
inline constexpr std::array<std::uint8_t, 256> kToEbcdic = MakeToEbcdic();

constexpr std::array<std::uint8_t, 256> MakeFromEbcdic() noexcept {
  std::array<std::uint8_t, 256> table{};
  for (std::size_t i = 0; i < 256; ++i) table[kToEbcdic[i]] = static_cast<std::uint8_t>(i);
  return table;
}
inline constexpr std::array<std::uint8_t, 256> kFromEbcdic = MakeFromEbcdic();

struct UnitDecoder {
  static constexpr bool ascii_runs() noexcept { return false; }
  static constexpr std::uint32_t Trail(std::uint8_t byte) noexcept { return byte & 0x1Fu; }
  static constexpr bool IsTrail(std::uint8_t byte) noexcept { return (byte & 0xE0) == 0xA0; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = kFromEbcdic[*p];
    if (first < 0xA0) return {first, 1};
    // C0..C4 and E0 begin overlong forms only, F2 and above lie beyond the units.
    if (first < 0xC5 || first == 0xE0 || first > 0xF1) return {kMalformed, 1};
    const auto left = static_cast<std::size_t>(end - p);
    if (left == 1) return {kTruncated, 1};
    const std::uint8_t second = kFromEbcdic[p[1]];
    if (!IsTrail(second) || (first == 0xF0 && second < 0xB0)) return {kMalformed, 1};
    const std::uint32_t follow = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    std::uint32_t unit = (first & (0x3Fu >> follow)) << 5 | Trail(second);
    for (std::uint32_t i = 2; i <= follow; ++i) {
      if (i == left) return {kTruncated, i};
      const std::uint8_t byte = kFromEbcdic[p[i]];
      if (!IsTrail(byte)) return {kMalformed, i};
      unit = unit << 5 | Trail(byte);
    }
    return {unit, follow + 1};
  }
  // DC00..DFFF are F1 B7 and any two trails in the intermediate form.
  bool MayBecomeLow(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    return kFromEbcdic[p[0]] == 0xF1 && (end - p == 1 || kFromEbcdic[p[1]] == 0xB7);
  }
};

struct UnitEncoder {
  static constexpr bool ascii_runs() noexcept { return false; }
  static constexpr std::uint64_t Byte(std::uint32_t intermediate, std::uint32_t place) noexcept {
    return static_cast<std::uint64_t>(kToEbcdic[intermediate]) << (8 * place);
  }
  static constexpr Encoded EncodeUnit(std::uint32_t unit) noexcept {
    const auto trail = [unit](std::uint32_t shift) { return 0xA0u | (unit >> shift & 0x1F); };
    if (unit < 0xA0) return {Byte(unit, 0), 1};
    if (unit < 0x400) return {Byte(0xC0 | unit >> 5, 0) | Byte(trail(0), 1), 2};
    if (unit < 0x4000) {
      return {Byte(0xE0 | unit >> 10, 0) | Byte(trail(5), 1) | Byte(trail(0), 2), 3};
    }
    return {Byte(0xF0 | unit >> 15, 0) | Byte(trail(10), 1) | Byte(trail(5), 2) | Byte(trail(0), 3),
            4};
  }
};
}  // namespace utf_ebcdic
using UtfEbcdicDecoder = PairDecoder<utf_ebcdic::UnitDecoder>;
using UtfEbcdicEncoder = PairEncoder<utf_ebcdic::UnitEncoder>;

}  // namespace kestra::nls::convert
