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
      : pairs_(set),
        cells_(set.table(nlb::charset::kDecodeTable)),
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

  // Two-byte characters have rows like those of the multibyte sets, so their kernel reads them; it
  // stops at four bytes.
  kernels::Progress DecodeUnits(const kernels::ConvertKernels& kernels, const std::uint8_t* in,
                                std::size_t size, std::uint16_t* units,
                                std::size_t room) const noexcept {
    kernels::Progress done;
    for (;;) {
      const kernels::Progress part =
          pairs_.DecodeUnits(kernels, in + done.consumed, size - done.consumed,
                             units + done.written, room - done.written);
      done.consumed += part.consumed;
      done.written += part.written;
      done.characters += part.characters;
      const std::size_t before = done.consumed;
      while (size - done.consumed >= 4 && room - done.written >= 2 &&
             StepOfFour(in + done.consumed, units, done)) {
      }
      if (done.consumed == before) return done;
    }
  }

  // For longer texts, as in the multibyte sets.
  Gb18030Decoder CollectRows(kernels::LeadRows& rows) const noexcept {
    Gb18030Decoder decoder = *this;
    decoder.pairs_ = pairs_.CollectRows(rows);
    return decoder;
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

  // Four bytes to one or two units. False: nothing plain.
  bool StepOfFour(const std::uint8_t* p, std::uint16_t* units,
                  kernels::Progress& done) const noexcept {
    if (p[0] < 0x81 || !IsDigit(p[1])) return false;
    const std::uint32_t code_point = NextOfFour(p, 4).code_point;
    if (code_point > kMaxCodePoint || code_point == kReplacementCharacter ||
        IsSurrogate(code_point)) {
      return false;
    }
    if (code_point >= 0x10000) {
      units[done.written++] = static_cast<std::uint16_t>(HighSurrogate(code_point));
      units[done.written++] = static_cast<std::uint16_t>(LowSurrogate(code_point));
    } else {
      units[done.written++] = static_cast<std::uint16_t>(code_point);
    }
    done.consumed += 4;
    ++done.characters;
    return true;
  }

  MultibyteDecoder pairs_;
  const std::uint8_t* cells_;
  const std::uint8_t* linear_;
  std::uint32_t cell_count_;
  std::uint32_t linear_count_;
};

class Gb18030Encoder {
 public:
  explicit Gb18030Encoder(CharsetView set) noexcept : table_(set) {}

  // For longer texts, as in the multibyte sets.
  Gb18030Encoder CollectBases(kernels::EncodeBases& bases) const noexcept {
    Gb18030Encoder encoder = *this;
    encoder.table_ = table_.CollectBases(bases);
    return encoder;
  }

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
