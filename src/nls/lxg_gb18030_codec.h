// Decoder and encoder of GB18030 (854): ASCII; two bytes 81..FE, 40..FE by a flat table; four bytes
// 81..FE, 30..39, 81..FE, 30..39 by their linear place (gb18030.h), below U+10000 through a table.
//
// What is malformed is replaced as in the multibyte sets: a byte below 80 is never swallowed, but
// for the digits inside a complete four-byte character that stands for nothing.
#pragma once

#include "nls/gb18030.h"
#include "nls/lxg_table_codec.h"

namespace kestra::nls::convert {

class Gb18030Decoder {
 public:
  explicit Gb18030Decoder(CharsetView set) noexcept
      : cells_(set.table(nlb::charset::kDecodeTable)),
        linear_(set.table(nlb::charset::kLinearTable)),
        cell_count_(set.decode_width() == 4
                        ? static_cast<std::uint32_t>(set.table_size(nlb::charset::kDecodeTable) / 4)
                        : 0),
        linear_count_(static_cast<std::uint32_t>(set.table_size(nlb::charset::kLinearTable) / 2)) {}

  static constexpr bool ascii_runs() noexcept { return true; }

  Decoded Next(const std::uint8_t* p, const std::uint8_t* end) const noexcept {
    const std::uint32_t first = *p;
    if (first < 0x80) return {first, 1};
    if (first - 0x81 > 0xFE - 0x81) return {kMalformed, 1};
    const auto left = static_cast<std::size_t>(end - p);
    if (left == 1) return {kTruncated, 1};
    if (IsDigit(p[1])) return NextOfFour(p, left);
    const std::uint32_t code_point = Pair(first, p[1]);
    if (code_point - 1 < kMaxCodePoint) return {code_point, 2};
    return {kMalformed, p[1] < 0x80 ? 1u : 2u};
  }

  kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                std::size_t size, std::uint16_t* units,
                                std::size_t room) const noexcept {
    const std::uint8_t* p = in;
    const std::uint8_t* const end = in + size;
    std::uint16_t* out = units;
    std::uint16_t* const out_end = units + room;
    std::size_t pairs = 0;
    while (end - p >= 8 && out_end - out >= 8) {
      if ((LoadAt<std::uint64_t>(p, 0) & 0x8080808080808080u) == 0) {
        const auto most =
            static_cast<std::size_t>(end - p < out_end - out ? end - p : out_end - out);
        const std::size_t run = kernels.widen_ascii(p, most, out);
        p += run;
        out += run;
        continue;
      }
      if (!StepBranchFree(p, out) && !StepOfFour(p, out, pairs)) break;
    }
    const auto written = static_cast<std::size_t>(out - units);
    return {static_cast<std::size_t>(p - in), written, written - pairs};
  }

 private:
  static constexpr bool IsDigit(std::uint32_t byte) noexcept { return byte - 0x30 < 10; }

  std::uint32_t Pair(std::uint32_t first, std::uint32_t second) const noexcept {
    const std::uint32_t cell =
        (first - 0x81) * nlb::charset::kGb18030Row + (second - nlb::charset::kGb18030FirstTrail);
    return second >= nlb::charset::kGb18030FirstTrail && second < 0xFF && cell < cell_count_
               ? Load32(cells_, std::size_t{4} * cell)
               : 0;
  }

  // The code point of four bytes in place; 0 none.
  std::uint32_t Four(std::uint32_t place) const noexcept {
    if (place < linear_count_) return Load16(linear_, std::size_t{2} * place);
    return place >= gb18030::kSupplementary ? gb18030::CodePoint(place) : 0;
  }

  Decoded NextOfFour(const std::uint8_t* p, std::size_t left) const noexcept {
    if (left == 2) return {kTruncated, 2};
    if (p[2] - 0x81u > 0xFE - 0x81) return {kMalformed, 1};
    if (left == 3) return {kTruncated, 3};
    if (!IsDigit(p[3])) return {kMalformed, 1};
    const std::uint32_t code_point = Four(gb18030::Place(__builtin_bswap32(Load32(p, 0))));
    return {code_point - 1 < kMaxCodePoint ? code_point : kMalformed, 4};
  }

  // One or two bytes to a unit; which of them is data, not a branch: in mixed text a branch would
  // be mispredicted at every third character. False, and nothing read: neither.
  bool StepBranchFree(const std::uint8_t*& p, std::uint16_t*& out) const noexcept {
    const std::uint32_t first = p[0];
    const std::uint32_t two = first >> 7;
    const std::uint32_t second = p[1];
    const std::uint32_t place =
        (first - 0x81) * nlb::charset::kGb18030Row + (second - nlb::charset::kGb18030FirstTrail);
    const std::uint32_t cell = two != 0 ? place : 0;
    // A first byte of 80 or FF and a second of FF or below 40 lead to other cells or outside.
    if (cell >= cell_count_) return false;
    if ((two & static_cast<std::uint32_t>((second < nlb::charset::kGb18030FirstTrail) |
                                          (second == 0xFF))) != 0) {
      return false;
    }
    const std::uint32_t decoded = Load32(cells_, std::size_t{4} * cell);
    const std::uint32_t unit = two != 0 ? decoded : first;
    if (unit - 1 >= kReplacementCharacter - 1 || IsSurrogate(unit)) return false;
    *out++ = static_cast<std::uint16_t>(unit);
    p += 1 + two;
    return true;
  }

  // Four bytes to one or two units; there are eight bytes and room for eight units.
  bool StepOfFour(const std::uint8_t*& p, std::uint16_t*& out, std::size_t& pairs) const noexcept {
    if (p[0] < 0x81 || !IsDigit(p[1])) return false;
    const Decoded character = NextOfFour(p, 4);
    const std::uint32_t code_point = character.code_point;
    if (code_point >= 0x10000) {
      if (code_point > kMaxCodePoint) return false;
      *out++ = static_cast<std::uint16_t>(HighSurrogate(code_point));
      *out++ = static_cast<std::uint16_t>(LowSurrogate(code_point));
      ++pairs;
    } else {
      if (code_point == kReplacementCharacter || IsSurrogate(code_point)) return false;
      *out++ = static_cast<std::uint16_t>(code_point);
    }
    p += 4;
    return true;
  }

  const std::uint8_t* cells_;
  const std::uint8_t* linear_;
  std::uint32_t cell_count_;
  std::uint32_t linear_count_;
};

class Gb18030Encoder {
 public:
  explicit Gb18030Encoder(CharsetView set) noexcept : table_(set) {}

  static constexpr bool ascii_runs() noexcept { return true; }
  static constexpr std::size_t kUnitSize = 4;

  Encoded Encode(std::uint32_t code_point) const noexcept {
    const Encoded listed = table_.Encode(code_point);
    if (listed.length != 0 || code_point < gb18030::kFirstSupplementary) return listed;
    return {gb18030::Bytes(code_point - gb18030::kFirstSupplementary + gb18030::kSupplementary), 4};
  }
  Encoded replacement() const noexcept { return table_.replacement(); }

  kernels::Progress EncodeUnits(const kernels::ConvertKernels& kernels, const std::uint16_t* units,
                                std::size_t count, std::uint8_t* out,
                                std::size_t room) const noexcept {
    kernels::Progress done;
    for (;;) {
      const kernels::Progress part =
          table_.EncodeUnits(kernels, units + done.consumed, count - done.consumed,
                             out + done.written, room - done.written);
      done.consumed += part.consumed;
      done.written += part.written;
      done.characters += part.characters;
      if (count - done.consumed < 2 || !IsHighSurrogate(units[done.consumed])) return done;
      const Encoded pair = Encode(JoinSurrogates(units[done.consumed], units[done.consumed + 1]));
      const auto bytes = static_cast<std::uint32_t>(pair.bytes);
      std::memcpy(out + done.written, &bytes, sizeof bytes);
      done.written += pair.length;
      done.consumed += 2;
      ++done.characters;
    }
  }

 private:
  TableEncoder<4> table_;
};

}  // namespace kestra::nls::convert
