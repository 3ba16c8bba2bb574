// The kernels in plain C++: the reference for the others, eight bytes at a time where that is easy.
#include <bit>
#include <cstring>

#include "nls/kernels/convert_kernels.h"
#include "nls/lxg_unicode_codec.h"

namespace kestra::nls::kernels {
namespace {

using convert::Decoded;
using convert::kReplacementCharacter;

constexpr std::uint64_t kHighBits = 0x8080808080808080;

std::uint64_t LoadWord(const void* p) noexcept {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

std::size_t CopyAscii(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 16 <= size; i += 16) {
    const std::uint64_t first = LoadWord(in + i);
    const std::uint64_t second = LoadWord(in + i + 8);
    if (((first | second) & kHighBits) != 0) break;
    std::memcpy(out + i, &first, 8);
    std::memcpy(out + i + 8, &second, 8);
  }
  for (; i < size && in[i] < 0x80; ++i) out[i] = in[i];
  return i;
}

std::size_t CopyUnshifted(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept {
  // Eight bytes from 20 up have none of the three; a byte below borrows, perhaps from a good one.
  constexpr std::uint64_t kSpaces = 0x2020202020202020;
  std::size_t i = 0;
  while (i < size) {
    for (; i + 8 <= size; i += 8) {
      const std::uint64_t word = LoadWord(in + i);
      if (((word | (word - kSpaces)) & kHighBits) != 0) break;
      std::memcpy(out + i, &word, sizeof word);
    }
    for (const std::size_t stop = size - i < 8 ? size : i + 8; i < stop; ++i) {
      if (in[i] >= 0x80 || in[i] == 0x0E || in[i] == 0x0F || in[i] == 0x1B) return i;
      out[i] = in[i];
    }
  }
  return i;
}

std::size_t WidenAscii(const std::uint8_t* in, std::size_t size, std::uint16_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 8 <= size && (LoadWord(in + i) & kHighBits) == 0; i += 8) {
    for (std::size_t j = 0; j < 8; ++j) out[i + j] = in[i + j];
  }
  for (; i < size && in[i] < 0x80; ++i) out[i] = in[i];
  return i;
}

std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count, std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 4 <= count && (LoadWord(in + i) & 0xFF80FF80FF80FF80) == 0; i += 4) {
    for (std::size_t j = 0; j < 4; ++j) out[i + j] = static_cast<std::uint8_t>(in[i + j]);
  }
  for (; i < count && in[i] < 0x80; ++i) out[i] = static_cast<std::uint8_t>(in[i]);
  return i;
}

// Eight bytes are stored for each character, so the last ones are left to the caller.
constexpr std::size_t kStoreSize = 8;

template <typename Decoder, typename Encoder>
Progress ConvertPlain(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                      std::size_t room) noexcept {
  Progress done;
  const std::uint8_t* end = in + size;
  while (done.consumed < size && room - done.written >= kStoreSize) {
    const Decoded character = Decoder{}.Next(in + done.consumed, end);
    if (character.code_point >= kReplacementCharacter) [[unlikely]] {
      if (character.code_point == kReplacementCharacter ||
          character.code_point > convert::kMaxCodePoint) {
        break;
      }
    }
    const convert::Encoded encoded = Encoder::Encode(character.code_point);
    std::memcpy(out + done.written, &encoded.bytes, kStoreSize);
    done.consumed += character.length;
    done.written += encoded.length;
    ++done.characters;
  }
  return done;
}

// Four ASCII units at a time on top of the plain loop.
template <std::endian kOrder>
Progress Utf16ToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                     std::size_t room) noexcept {
  constexpr std::uint64_t kNotAscii =
      kOrder == std::endian::native ? 0xFF80FF80FF80FF80 : 0x80FF80FF80FF80FF;
  constexpr std::size_t kLowByte = kOrder == std::endian::big ? 1 : 0;
  constexpr std::size_t kBatch = 64;
  Progress done;
  size &= ~std::size_t{1};
  while (done.consumed < size) {
    while (size - done.consumed >= 8 && room - done.written >= 4 &&
           (LoadWord(in + done.consumed) & kNotAscii) == 0) {
      for (std::size_t i = 0; i < 4; ++i) {
        out[done.written + i] = in[done.consumed + 2 * i + kLowByte];
      }
      done.consumed += 8;
      done.written += 4;
      done.characters += 4;
    }
    // A pair may straddle the end of the batch: then it stops in front of it.
    const std::size_t batch = size - done.consumed < kBatch ? size - done.consumed : kBatch;
    const Progress step = ConvertPlain<convert::Utf16Decoder<kOrder>, convert::Utf8Encoder>(
        in + done.consumed, batch, out + done.written, room - done.written);
    done.consumed += step.consumed;
    done.written += step.written;
    done.characters += step.characters;
    if (step.consumed + 2 < batch || step.consumed == 0) break;
  }
  return done;
}

template <std::endian kOrder>
Progress Utf8ToUtf16(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                     std::size_t room) noexcept {
  constexpr std::size_t kLowByte = kOrder == std::endian::big ? 1 : 0;
  constexpr std::size_t kBatch = 64;
  Progress done;
  while (done.consumed < size) {
    while (size - done.consumed >= 8 && room - done.written >= 16 &&
           (LoadWord(in + done.consumed) & kHighBits) == 0) {
      for (std::size_t i = 0; i < 8; ++i) {
        out[done.written + 2 * i + kLowByte] = in[done.consumed + i];
        out[done.written + 2 * i + (1 - kLowByte)] = 0;
      }
      done.consumed += 8;
      done.written += 16;
      done.characters += 8;
    }
    const std::size_t batch = size - done.consumed < kBatch ? size - done.consumed : kBatch;
    const Progress step = ConvertPlain<convert::Utf8Decoder, convert::Utf16Encoder<kOrder>>(
        in + done.consumed, batch, out + done.written, room - done.written);
    done.consumed += step.consumed;
    done.written += step.written;
    done.characters += step.characters;
    if (step.consumed + 3 < batch || step.consumed == 0) break;
  }
  return done;
}

template <std::endian kOrder>
std::size_t Utf16ToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t unit = convert::Utf16Decoder<kOrder>::Unit(in + 2 * i);
    if (convert::IsSurrogate(unit) || unit == kReplacementCharacter) return i;
    out[i] = static_cast<std::uint16_t>(unit);
  }
  return count;
}

std::size_t NarrowCodePoints(const std::uint32_t* in, std::size_t count,
                             std::uint16_t* out) noexcept {
  constexpr std::size_t kStep = 16;
  const auto is_plain = [](std::uint32_t c) {
    return c < kReplacementCharacter && !convert::IsSurrogate(c);
  };
  std::size_t i = 0;
  for (; i + kStep <= count; i += kStep) {
    bool plain = true;
    for (std::size_t k = 0; k < kStep; ++k) plain &= is_plain(in[i + k]);
    if (!plain) break;
    for (std::size_t k = 0; k < kStep; ++k) out[i + k] = static_cast<std::uint16_t>(in[i + k]);
  }
  for (; i < count && is_plain(in[i]); ++i) out[i] = static_cast<std::uint16_t>(in[i]);
  return i;
}

std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out) noexcept {
  for (std::size_t i = 0; i < size; ++i) {
    const std::uint16_t unit = code_points[in[i]];
    if (unit >= kReplacementCharacter || convert::IsSurrogate(unit)) return i;
    out[i] = unit;
  }
  return size;
}

std::size_t UnitsToSingle(const ByteEncodeTable& table, const std::uint16_t* in, std::size_t count,
                          std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t unit = in[i];
    out[i] = static_cast<std::uint8_t>(FindByteCell(table, unit));
    if (out[i] == 0 && (unit != 0 || !table.maps_nul)) return i;
  }
  return count;
}

Progress SingleToUtf8(const std::uint16_t* code_points, bool, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  std::size_t i = 0;
  std::size_t written = 0;
  for (; i < size && room - written >= kStoreSize; ++i) {
    const std::uint32_t code_point = code_points[in[i]];
    if (code_point >= kReplacementCharacter || convert::IsSurrogate(code_point)) break;
    const convert::Encoded encoded = convert::Utf8Encoder::EncodeUnit(code_point);
    std::memcpy(out + written, &encoded.bytes, kStoreSize);
    written += encoded.length;
  }
  return {i, written, i};
}

Progress Utf8ToSingle(const ByteEncodeTable& table, bool, const std::uint8_t* in, std::size_t size,
                      std::uint8_t* out, std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t made = 0;
  while (at < size && made < room) {
    const Decoded character = convert::Utf8Decoder{}.Next(in + at, in + size);
    if (character.code_point == 0 || character.code_point >= kReplacementCharacter) break;
    const std::uint32_t byte = FindByteCell(table, character.code_point);
    if (byte == 0) break;
    out[made++] = static_cast<std::uint8_t>(byte);
    at += character.length;
  }
  return {at, made, made};
}

Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out, std::size_t room) noexcept {
  std::size_t at = 0;
  std::size_t made = 0;
  while (at < size && made < room) {
    const std::uint32_t first = in[at];
    std::uint32_t unit = table.code_points[first];
    std::size_t length = 1;
    if (unit == nlb::charset::kNoCharacter) {
      if ((table.classes[first] & 3u) != 1 || size - at < 2 || table.row_count == 0) break;
      const std::uint32_t row = Load16(table.leads, std::size_t{2} * first);
      const std::uint32_t cell = row == 0 ? kNoCell : FindRowCell(table, row - 1, in[at + 1]);
      if (cell == kNoCell) break;
      unit = LoadCell(table, cell);
      length = 2;
    }
    if (unit == 0 && length == 2) break;
    if (unit >= kReplacementCharacter || convert::IsSurrogate(unit)) break;
    out[made++] = static_cast<std::uint16_t>(unit);
    at += length;
  }
  return {at, made, made};
}

template <std::uint32_t kWidth>
Progress UnitsToWidth(MultibyteEncodeTable table, const std::uint16_t* in, std::size_t count,
                      std::uint8_t* out) noexcept {
  table.width = kWidth;  // by value: stores to out cannot change it
  std::uint8_t* q = out;
  std::size_t i = 0;
  while (i < count) {
    // Runs of ASCII pay only when they are long; single letters go through the table.
    if (table.ascii && count - i >= 8 &&
        ((LoadWord(in + i) | LoadWord(in + i + 4)) & 0xFF80FF80FF80FF80) == 0) {
      const std::size_t run = NarrowAscii(in + i, count - i, q);
      i += run;
      q += run;
      continue;
    }
    const std::size_t stop = count - i < 8 ? count : i + 8;
    for (; i < stop; ++i) {
      const std::uint32_t number = FindEncodeCell(table, in[i]);
      if (number == 0) [[unlikely]]
        return {i, static_cast<std::size_t>(q - out), i};
      // The first byte is the highest of the number; what lies behind the last is overwritten.
      if constexpr (kWidth == 2) {
        const std::uint32_t two = number >> 8 != 0 ? 1 : 0;
        const std::uint16_t bytes =
            __builtin_bswap16(static_cast<std::uint16_t>(number << (8 - 8 * two)));
        std::memcpy(q, &bytes, sizeof bytes);
        q += 1 + two;
      } else {
        const auto leading = static_cast<std::uint32_t>(__builtin_clz(number)) & ~7u;
        const std::uint32_t bytes = __builtin_bswap32(number << leading);
        std::memcpy(q, &bytes, sizeof bytes);
        q += 4 - leading / 8;
      }
    }
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                          std::size_t count, std::uint8_t* out, std::size_t) noexcept {
  return table.width == 2 ? UnitsToWidth<2>(table, in, count, out)
                          : UnitsToWidth<4>(table, in, count, out);
}

}  // namespace

constinit const ConvertKernels kScalarConvertKernels = {
    CopyAscii,
    CopyUnshifted,
    WidenAscii,
    NarrowAscii,
    Utf16ToUtf8<std::endian::big>,
    Utf16ToUtf8<std::endian::little>,
    Utf8ToUtf16<std::endian::big>,
    Utf8ToUtf16<std::endian::little>,
    Utf16ToUnits<std::endian::big>,
    Utf16ToUnits<std::endian::little>,
    NarrowCodePoints,
    SingleToUnits,
    UnitsToSingle,
    SingleToUtf8,
    Utf8ToSingle,
    MultibyteToUnits,
    UnitsToMultibyte,
};

}  // namespace kestra::nls::kernels
