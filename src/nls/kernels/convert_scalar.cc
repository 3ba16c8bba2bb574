// The kernels in plain C++: the reference for the others, eight bytes at a time where that is easy.
#include <bit>
#include <cstring>
#include <type_traits>

#include "nls/kernels/scalar.h"
#include "nls/lxg_unicode_codec.h"

namespace kestra::nls::kernels::scalar {
namespace {

using convert::Decoded;
using convert::kReplacementCharacter;

// Pieces of loops. Called, they would pass the loop's pointers through memory.
#define KES_INLINE [[gnu::always_inline]] inline

static_assert(std::endian::native == std::endian::little, "units and bytes are put as words");

constexpr std::uint64_t kHighBits = 0x8080808080808080;

std::uint64_t LoadWord(const void* p) noexcept {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

}  // namespace

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

namespace {

// Four units below 800 in a word, one or two bytes each, without a branch: in most languages letters
// of the two kinds follow each other as they like. Both forms are computed for all four at once; a
// byte more than the result is written.
KES_INLINE std::uint8_t* PutFour(std::uint8_t* q, std::uint64_t units) noexcept {
  constexpr std::uint64_t kOnes = 0x0001000100010001;
  const std::uint64_t two = (units + 0x7F80 * kOnes) >> 15 & kOnes;
  const std::uint64_t pairs =
      (units >> 6 & 0x1F * kOnes) | (units & 0x3F * kOnes) << 8 | 0x80C0 * kOnes;
  std::uint64_t bytes = units ^ ((units ^ pairs) & two * 0xFFFF);
  std::uint64_t more = two;
  for (int i = 0; i < 4; ++i) {
    const auto pair = static_cast<std::uint16_t>(bytes);
    std::memcpy(q, &pair, sizeof pair);
    q += 1 + (more & 1);
    bytes >>= 16;
    more >>= 16;
  }
  return q;
}

constexpr std::uint64_t kNotShort = 0xF800F800F800F800;

// Any unit but a surrogate; four bytes are written.
KES_INLINE std::uint8_t* PutUnit(std::uint8_t* q, std::uint32_t unit) noexcept {
  const convert::Encoded encoded = convert::Utf8Encoder::EncodeUnit(unit);
  const auto bytes = static_cast<std::uint32_t>(encoded.bytes);
  std::memcpy(q, &bytes, sizeof bytes);
  return q + encoded.length;
}

// The character at p, at most four bytes of which are written. False: it is left to the caller.
template <std::endian kOrder>
KES_INLINE bool PutUtf16(const std::uint8_t*& p, const std::uint8_t* end, std::uint8_t*& q,
                         std::size_t& pairs) noexcept {
  const std::uint32_t unit = convert::Utf16Decoder<kOrder>::Unit(p);
  if (!convert::IsSurrogate(unit)) [[likely]] {
    if (unit == kReplacementCharacter) return false;
    q = PutUnit(q, unit);
    p += 2;
    return true;
  }
  if (convert::IsLowSurrogate(unit) || end - p < 4) return false;
  const std::uint32_t low = convert::Utf16Decoder<kOrder>::Unit(p + 2);
  if (!convert::IsLowSurrogate(low)) return false;
  const auto bytes = static_cast<std::uint32_t>(
      convert::Utf8Encoder::Encode(convert::JoinSurrogates(unit, low)).bytes);
  std::memcpy(q, &bytes, sizeof bytes);
  q += 4;
  p += 4;
  ++pairs;
  return true;
}

// Four units in the platform's order.
template <std::endian kOrder>
KES_INLINE std::uint64_t LoadFour(const std::uint8_t* p) noexcept {
  const std::uint64_t word = LoadWord(p);
  if constexpr (kOrder == std::endian::native) return word;
  return (word >> 8 & 0x00FF00FF00FF00FF) | (word & 0x00FF00FF00FF00FF) << 8;
}

// Sixteen units at a time: ASCII at once, others without asking for room. Fewer units would make
// the question whether they are ASCII hard to predict.
template <std::endian kOrder>
KES_INLINE Progress Utf16ToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  constexpr std::uint64_t kNotAscii =
      kOrder == std::endian::native ? 0xFF80FF80FF80FF80 : 0x80FF80FF80FF80FF;
  constexpr std::size_t kLowByte = kOrder == std::endian::big ? 1 : 0;
  constexpr std::ptrdiff_t kUnits = 16;
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + (size & ~std::size_t{1});
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t pairs = 0;
  bool plain = true;
  while (plain && end - p >= 2 * kUnits && out_end - q >= 4 * kUnits) {
    std::uint8_t units[2 * kUnits];
    std::memcpy(units, p, sizeof units);
    if (((LoadWord(units) | LoadWord(units + 8) | LoadWord(units + 16) | LoadWord(units + 24)) &
         kNotAscii) == 0) {
      std::uint8_t letters[kUnits];
      for (std::size_t i = 0; i < kUnits; ++i) letters[i] = units[2 * i + kLowByte];
      std::memcpy(q, letters, sizeof letters);
      p += 2 * kUnits;
      q += kUnits;
      continue;
    }
    const std::uint8_t* const stop = p + 2 * kUnits;
    while (plain && p < stop) {
      const std::uint64_t four = stop - p >= 8 ? LoadFour<kOrder>(p) : kNotShort;
      if ((four & kNotShort) == 0) {
        q = PutFour(q, four);
        p += 8;
        continue;
      }
      for (int i = 0; plain && p < stop && i < 4; ++i) plain = PutUtf16<kOrder>(p, end, q, pairs);
    }
  }
  while (plain && p < end && out_end - q >= 4) plain = PutUtf16<kOrder>(p, end, q, pairs);
  const auto consumed = static_cast<std::size_t>(p - in);
  return {consumed, static_cast<std::size_t>(q - out), consumed / 2 - pairs};
}

// Gives the character of two or three bytes that the four bytes at p begin with to `put`, and goes
// on behind it if that takes it. False also for U+FFFD and for anything else. Each length is a branch
// that the processor foresees in most texts: a length that is computed is waited for.
template <typename Put>
KES_INLINE bool TakeShort(const std::uint8_t*& p, const Put& put) noexcept {
  const std::uint32_t bytes = LoadAt<std::uint32_t>(p, 0);
  if ((bytes & 0xC0C0F0) == 0x8080E0) {
    const std::uint32_t unit = (bytes & 0x0F) << 12 | (bytes >> 2 & 0xFC0) | (bytes >> 16 & 0x3F);
    if (unit < 0x800 || convert::IsSurrogate(unit) || unit == kReplacementCharacter) return false;
    if (!put(unit)) return false;
    p += 3;
    return true;
  }
  if ((bytes & 0xC0E0) != 0x80C0 || (bytes & 0x1E) == 0) return false;
  if (!put((bytes & 0x1F) << 6 | (bytes >> 8 & 0x3F))) return false;
  p += 2;
  return true;
}

// How many of the eight bytes are ASCII in front of the first other one.
std::size_t CountAscii(std::uint64_t word) noexcept {
  const std::uint64_t other = word & kHighBits;
  return other == 0 ? 8 : static_cast<std::size_t>(std::countr_zero(other)) / 8;
}

template <std::endian kOrder>
void StoreUnit(std::uint8_t* q, std::uint32_t unit) noexcept {
  auto bytes = static_cast<std::uint16_t>(unit);
  if constexpr (kOrder != std::endian::native) bytes = __builtin_bswap16(bytes);
  std::memcpy(q, &bytes, sizeof bytes);
}

// ASCII eight bytes at a time up to the first other one, then characters up to the next ASCII.
template <std::endian kOrder>
KES_INLINE Progress Utf8ToUtf16(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  constexpr std::size_t kLowByte = kOrder == std::endian::big ? 1 : 0;
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + (room & ~std::size_t{1});
  std::size_t pairs = 0;
  const auto put = [&q](std::uint32_t unit) {
    StoreUnit<kOrder>(q, unit);
    q += 2;
    return true;
  };
  bool plain = true;
  while (plain) {
    while (end - p >= 8 && out_end - q >= 16) {
      const std::size_t letters = CountAscii(LoadWord(p));
      std::uint8_t units[16] = {};
      for (std::size_t i = 0; i < 8; ++i) units[2 * i + kLowByte] = p[i];
      std::memcpy(q, units, sizeof units);
      p += letters;
      q += 2 * letters;
      if (letters < 8) break;
    }
    while (end - p >= 4 && out_end - q >= 4) {
      // A single letter, such as the space between two words, is no run.
      if (*p < 0x80) {
        if (p[1] < 0x80) break;
        put(*p++);
        continue;
      }
      if (TakeShort(p, put)) [[likely]]
        continue;
      const Decoded four = *p >= 0xF0 ? convert::Utf8Decoder{}.Next(p, end) : Decoded{};
      plain = four.length == 4 && four.code_point <= convert::kMaxCodePoint;
      if (!plain) break;
      put(convert::HighSurrogate(four.code_point));
      put(convert::LowSurrogate(four.code_point));
      p += 4;
      ++pairs;
    }
    if (end - p < 8 || out_end - q < 16) break;
  }
  while (plain && p < end && *p < 0x80 && out_end - q >= 2) put(*p++);
  const auto written = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), written, written / 2 - pairs};
}

template <std::endian kOrder>
KES_INLINE std::size_t Utf16ToUnits(const std::uint8_t* in, std::size_t count,
                                    std::uint16_t* out) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t unit = convert::Utf16Decoder<kOrder>::Unit(in + 2 * i);
    if (convert::IsSurrogate(unit) || unit == kReplacementCharacter) return i;
    out[i] = static_cast<std::uint16_t>(unit);
  }
  return count;
}

}  // namespace

Progress Utf16BeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept {
  return Utf16ToUtf8<std::endian::big>(in, size, out, room);
}
Progress Utf16LeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept {
  return Utf16ToUtf8<std::endian::little>(in, size, out, room);
}
Progress Utf8ToUtf16Be(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept {
  return Utf8ToUtf16<std::endian::big>(in, size, out, room);
}
Progress Utf8ToUtf16Le(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept {
  return Utf8ToUtf16<std::endian::little>(in, size, out, room);
}
std::size_t Utf16BeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept {
  return Utf16ToUnits<std::endian::big>(in, count, out);
}
std::size_t Utf16LeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept {
  return Utf16ToUnits<std::endian::little>(in, count, out);
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

// Tables are taken by value where bytes are written: for all the compiler knows, these might change
// the caller's.
std::size_t UnitsToSingle(const ByteEncodeTable& given, const std::uint16_t* in, std::size_t count,
                          std::uint8_t* out) noexcept {
  const ByteEncodeTable table = given;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t unit = in[i];
    const std::uint32_t byte = FindByteCell(table, unit);
    if (byte == 0 && (unit != 0 || !table.maps_nul)) return i;
    out[i] = static_cast<std::uint8_t>(byte);
  }
  return count;
}

Progress SingleToUtf8(const std::uint16_t* code_points, bool, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  std::size_t i = 0;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  while (i < size && out_end - q >= 12) {
    std::uint64_t four = kNotShort;
    if (size - i >= 4) {
      four = 0;
      for (std::size_t k = 0; k < 4; ++k) {
        four |= std::uint64_t{code_points[in[i + k]]} << (16 * k);
      }
    }
    if ((four & kNotShort) == 0) {
      q = PutFour(q, four);
      i += 4;
      continue;
    }
    const std::uint32_t unit = code_points[in[i]];
    if (unit >= kReplacementCharacter || convert::IsSurrogate(unit)) break;
    q = PutUnit(q, unit);
    ++i;
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

Progress Utf8ToSingle(const ByteEncodeTable& given, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  const ByteEncodeTable table = given;
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  const auto put = [&q, &table](std::uint32_t code_point) {
    const std::uint32_t byte = FindByteCell(table, code_point);
    *q = static_cast<std::uint8_t>(byte);
    q += byte != 0 ? 1 : 0;
    return byte != 0;
  };
  while (end - p >= 4 && q < out_end) {
    if (ascii && *p < 0x80 && p[1] < 0x80 && end - p >= 8 && out_end - q >= 8) {
      const std::uint64_t word = LoadWord(p);
      const std::size_t letters = CountAscii(word);
      std::memcpy(q, &word, sizeof word);
      p += letters;
      q += letters;
      continue;
    }
    if (*p >= 0x80) {
      if (!TakeShort(p, put)) break;
    } else {
      if (!put(*p)) break;
      ++p;
    }
  }
  const auto made = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), made, made};
}

namespace {

// The cell of the pair at p, kNoCell if none begins there: by the rows that were collected ...
KES_INLINE std::uint32_t FindPair(const MultibyteDecodeTable& table, const LeadRows& rows,
                                  const std::uint8_t* p) noexcept {
  const std::size_t lead = p[0] & 0x7Fu;
  const std::uint32_t trail = p[1] - std::uint32_t{rows.first[lead]};
  const std::uint32_t cell = rows.cell[lead] + trail;
  return p[0] >= 0x80 && trail < rows.count[lead] && cell < table.cell_count ? cell : kNoCell;
}

// ... or from the object, for texts too short to collect them and for first bytes below 80.
struct RowsInPlace {};

KES_INLINE std::uint32_t FindPair(const MultibyteDecodeTable& table, const RowsInPlace&,
                                  const std::uint8_t* p) noexcept {
  if (table.row_count == 0 || table.code_points[p[0]] != nlb::charset::kNoCharacter ||
      (table.classes[p[0]] & 3u) != 1) {
    return kNoCell;
  }
  return FindRowCell(table, Load16(table.leads, std::size_t{2} * p[0]) - 1u, p[1]);
}

template <typename Cell, typename Rows>
KES_INLINE Progress ReadMultibyte(const MultibyteDecodeTable& given, const Rows& rows,
                                  const std::uint8_t* in, std::size_t size, std::uint16_t* out,
                                  std::size_t room) noexcept {
  const MultibyteDecodeTable table = given;
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint16_t* q = out;
  std::uint16_t* const out_end = out + room;
  while (end - p >= 2 && q < out_end) {
    if (table.ascii && *p < 0x80) {
      if (end - p >= 8 && out_end - q >= 8 && (LoadWord(p) & kHighBits) == 0) {
        for (std::size_t i = 0; i < 8; ++i) q[i] = p[i];
        p += 8;
        q += 8;
      } else {
        *q++ = *p++;
      }
      continue;
    }
    const std::uint32_t cell = FindPair(table, rows, p);
    if (cell != kNoCell) {
      const std::uint32_t unit = LoadAt<Cell>(table.cells, sizeof(Cell) * std::size_t{cell});
      if (unit - 1 >= kReplacementCharacter - 1 || convert::IsSurrogate(unit)) break;
      *q++ = static_cast<std::uint16_t>(unit);
      p += 2;
    } else {
      const std::uint32_t unit = table.code_points[*p];
      if (unit >= kReplacementCharacter || convert::IsSurrogate(unit)) break;
      *q++ = static_cast<std::uint16_t>(unit);
      ++p;
    }
  }
  const auto made = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), made, made};
}

}  // namespace

Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out, std::size_t room) noexcept {
  if (table.lead_rows != nullptr && table.ascii) {
    const LeadRows& rows = *table.lead_rows;
    return table.wide ? ReadMultibyte<std::uint32_t>(table, rows, in, size, out, room)
                      : ReadMultibyte<std::uint16_t>(table, rows, in, size, out, room);
  }
  const RowsInPlace rows;
  return table.wide ? ReadMultibyte<std::uint32_t>(table, rows, in, size, out, room)
                    : ReadMultibyte<std::uint16_t>(table, rows, in, size, out, room);
}

namespace {

// The bytes of a cell, the highest first; as many bytes as the cell has are written.
KES_INLINE std::uint8_t* PutCell(std::uint8_t* q, std::uint16_t number) noexcept {
  const std::uint32_t first = number >> 8;
  *q = static_cast<std::uint8_t>(first);
  q += first != 0 ? 1 : 0;
  *q = static_cast<std::uint8_t>(number);
  return q + 1;
}
KES_INLINE std::uint8_t* PutCell(std::uint8_t* q, std::uint32_t number) noexcept {
  const auto leading = static_cast<std::uint32_t>(__builtin_clz(number)) & ~7u;
  const std::uint32_t bytes = __builtin_bswap32(number << leading);
  std::memcpy(q, &bytes, sizeof bytes);
  return q + 4 - leading / 8;
}

template <typename Cell, bool kCollected>
Progress WriteMultibyte(MultibyteEncodeTable table, const std::uint16_t* in, std::size_t count,
                        std::uint8_t* out) noexcept {
  table.width = sizeof(Cell);
  const EncodeBases* const bases = table.bases;
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
      const std::uint32_t unit = in[i];
      Cell number;
      if constexpr (kCollected) {
        const std::size_t cell = bases->base[unit >> 6] + unit;
        number = LoadAt<Cell>(table.cells, sizeof(Cell) * cell);
      } else {
        number = static_cast<Cell>(FindEncodeCell(table, unit));
      }
      if (number == 0) [[unlikely]]
        return {i, static_cast<std::size_t>(q - out), i};
      q = PutCell(q, number);
    }
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

}  // namespace

Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                          std::size_t count, std::uint8_t* out, std::size_t) noexcept {
  if (table.bases != nullptr) {
    return table.width == 2 ? WriteMultibyte<std::uint16_t, true>(table, in, count, out)
                            : WriteMultibyte<std::uint32_t, true>(table, in, count, out);
  }
  return table.width == 2 ? WriteMultibyte<std::uint16_t, false>(table, in, count, out)
                          : WriteMultibyte<std::uint32_t, false>(table, in, count, out);
}

}  // namespace kestra::nls::kernels::scalar

namespace kestra::nls::kernels {

constinit const ConvertKernels kScalarConvertKernels = {
    scalar::CopyAscii,        scalar::CopyUnshifted,    scalar::WidenAscii,
    scalar::NarrowAscii,      scalar::Utf16BeToUtf8,    scalar::Utf16LeToUtf8,
    scalar::Utf8ToUtf16Be,    scalar::Utf8ToUtf16Le,    scalar::Utf16BeToUnits,
    scalar::Utf16LeToUnits,   scalar::NarrowCodePoints, scalar::SingleToUnits,
    scalar::UnitsToSingle,    scalar::SingleToUtf8,     scalar::Utf8ToSingle,
    scalar::MultibyteToUnits, scalar::UnitsToMultibyte,
};

}  // namespace kestra::nls::kernels
