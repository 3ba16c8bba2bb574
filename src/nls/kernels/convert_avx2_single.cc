// AVX2 kernels of single-byte sets.
//
// A shuffle looks 32 bytes up in a table of sixteen; larger tables are as many rows, and each further
// bit of the bytes chooses one of two results. So 128 entries take eight shuffles and seven blends.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx2.h"

namespace kestra::nls::kernels::avx2 {
namespace {

// Rows 2i and 2i + 1 of a table: entry by the low half byte and bit 4, which is bit 7 of `bit4`.
KES_AVX2 inline __m256i LookUpInRows(const std::uint8_t* rows, __m256i nibbles,
                                     __m256i bit4) noexcept {
  const auto* row = reinterpret_cast<const __m128i*>(rows);
  return _mm256_blendv_epi8(
      _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(_mm_loadu_si128(row)), nibbles),
      _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(_mm_loadu_si128(row + 1)), nibbles), bit4);
}

// The entries of 32 bytes, by their lower seven bits, in two tables of 64.
KES_AVX2 inline __m256i LookUp(const std::uint8_t* first, const std::uint8_t* second,
                               __m256i bytes) noexcept {
  const __m256i nibbles = _mm256_and_si256(bytes, Bytes(0x0F));
  const __m256i bit4 = _mm256_slli_epi16(bytes, 3);
  const __m256i bit5 = _mm256_slli_epi16(bytes, 2);
  return _mm256_blendv_epi8(_mm256_blendv_epi8(LookUpInRows(first, nibbles, bit4),
                                               LookUpInRows(first + 32, nibbles, bit4), bit5),
                            _mm256_blendv_epi8(LookUpInRows(second, nibbles, bit4),
                                               LookUpInRows(second + 32, nibbles, bit4), bit5),
                            _mm256_slli_epi16(bytes, 1));
}

// A table of 256 words, its low and its high bytes apart.
struct Planes {
  alignas(32) std::uint8_t low[256];
  alignas(32) std::uint8_t high[256];
};

KES_AVX2 inline __m256i Pack(__m256i a, __m256i b) noexcept {
  return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
}
// For words that are 0 or FFFF.
KES_AVX2 inline __m256i PackMasks(__m256i a, __m256i b) noexcept {
  return _mm256_permute4x64_epi64(_mm256_packs_epi16(a, b), 0xD8);
}

KES_AVX2 inline void SetPlanes(Planes& planes, std::size_t place, __m256i a, __m256i b) noexcept {
  const __m256i low = Words(0xFF);
  Store(planes.low + place, Pack(_mm256_and_si256(a, low), _mm256_and_si256(b, low)));
  Store(planes.high + place, Pack(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8)));
}

KES_AVX2 inline __m256i LookUpAll(const std::uint8_t* plane, __m256i bytes) noexcept {
  return _mm256_blendv_epi8(LookUp(plane, plane + 64, bytes),
                            LookUp(plane + 128, plane + 192, bytes), bytes);
}

}  // namespace

KES_AVX2 std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                                   std::size_t size, std::uint16_t* out) noexcept {
  if (size < 32) return scalar::SingleToUnits(code_points, in, size, out);
  Planes planes;
  for (std::size_t i = 0; i < 256; i += 32) {
    SetPlanes(planes, i, Load(code_points + i), Load(code_points + i + 16));
  }
  std::size_t i = 0;
  while (i < size) {
    if (size - i < 32) i = size - 32;  // some once more
    const __m256i bytes = Load(in + i);
    const __m256i low = LookUpAll(planes.low, bytes);
    const __m256i high = LookUpAll(planes.high, bytes);
    const __m256i low_spread = _mm256_permute4x64_epi64(low, 0xD8);
    const __m256i high_spread = _mm256_permute4x64_epi64(high, 0xD8);
    Store(out + i, _mm256_unpacklo_epi8(low_spread, high_spread));
    Store(out + i + 16, _mm256_unpackhi_epi8(low_spread, high_spread));
    // FFFD, FFFF and surrogates, which no usual set has.
    const __m256i special =
        _mm256_or_si256(_mm256_cmpeq_epi8(high, Bytes(0xFF)),
                        _mm256_cmpeq_epi8(_mm256_and_si256(high, Bytes(0xF8)), Bytes(0xD8)));
    if (AnyBits(special, special)) [[unlikely]] {
      const std::size_t plain = scalar::SingleToUnits(code_points, in + i, 32, out + i);
      if (plain < 32) return i + plain;
    }
    i += 32;
  }
  return size;
}

namespace {

// The cells of 128 code points in a row: two blocks.
struct Window {
  std::uint32_t number;
  const std::uint8_t* first;
  const std::uint8_t* second;
};

alignas(32) constexpr std::uint8_t kNoCells[64] = {};

const std::uint8_t* FindBlock(const ByteEncodeTable& table, std::uint32_t slot) noexcept {
  if (slot >= table.index_size) return kNoCells;
  const std::uint32_t block = LoadAt<std::uint16_t>(table.index, std::size_t{2} * slot);
  return block < table.block_count ? table.cells + std::size_t{block} * 64 : kNoCells;
}
Window FindWindow(const ByteEncodeTable& table, std::uint32_t number) noexcept {
  return {number, FindBlock(table, 2 * number), FindBlock(table, 2 * number + 1)};
}

}  // namespace

// Looks 32 units up in the window of the first 128 code points and in the one that was used last;
// each further window that the units need costs one more turn.
KES_AVX2 std::size_t UnitsToSingle(const ByteEncodeTable& given, const std::uint16_t* in,
                                   std::size_t count, std::uint8_t* out) noexcept {
  if (count < 32) return scalar::UnitsToSingle(given, in, count, out);
  const ByteEncodeTable table = given;
  const Window base = FindWindow(table, 0);
  Window window = FindWindow(table, 1);
  const __m256i low_bits = Words(0x7F);
  std::size_t i = 0;
  while (i < count) {
    if (count - i < 32) i = count - 32;  // some once more
    const __m256i a = Load(in + i);
    const __m256i b = Load(in + i + 16);
    const __m256i places = Pack(_mm256_and_si256(a, low_bits), _mm256_and_si256(b, low_bits));
    const __m256i numbers_a = _mm256_srli_epi16(a, 7);
    const __m256i numbers_b = _mm256_srli_epi16(b, 7);
    const __m256i none = _mm256_setzero_si256();
    __m256i result = LookUp(base.first, base.second, places);
    std::uint32_t left = ~MaskOf(
        PackMasks(_mm256_cmpeq_epi16(numbers_a, none), _mm256_cmpeq_epi16(numbers_b, none)));
    while (left != 0) {
      const __m256i wanted = Words(static_cast<int>(window.number));
      const __m256i hits =
          PackMasks(_mm256_cmpeq_epi16(numbers_a, wanted), _mm256_cmpeq_epi16(numbers_b, wanted));
      result = _mm256_blendv_epi8(result, LookUp(window.first, window.second, places), hits);
      left &= ~MaskOf(hits);
      if (left == 0) break;
      window = FindWindow(table, in[i + static_cast<std::size_t>(_tzcnt_u32(left))] >> 7);
    }
    Store(out + i, result);
    const __m256i empty = _mm256_cmpeq_epi8(result, none);
    if (AnyBits(empty, empty)) [[unlikely]] {
      const std::size_t plain = scalar::UnitsToSingle(table, in + i, 32, out + i);
      if (plain < 32) return i + plain;
    }
    i += 32;
  }
  return count;
}

namespace {

constexpr std::size_t kUnitBlock = 512;

// For sixteen code points the two bytes of their UTF-8 forms; FFFF where that has three bytes, or
// the byte is no character.
KES_AVX2 inline __m256i ShortForms(const std::uint16_t* code_points) noexcept {
  const __m256i units = Load(code_points);
  const __m256i none = _mm256_setzero_si256();
  const __m256i ascii = _mm256_cmpeq_epi16(_mm256_and_si256(units, Words(0xFF80)), none);
  const __m256i fits = _mm256_cmpeq_epi16(_mm256_and_si256(units, Words(0xF800)), none);
  const __m256i two = _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi16(units, 6), Words(0x80C0)),
                                      _mm256_slli_epi16(_mm256_and_si256(units, Words(0x3F)), 8));
  return _mm256_blendv_epi8(Words(0xFFFF), _mm256_blendv_epi8(two, units, ascii), fits);
}

template <bool kAscii>
KES_AVX2 inline Progress ToUtf8(const std::uint16_t* code_points, const std::uint8_t* in,
                                std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  Planes forms;
  for (std::size_t i = kAscii ? 128 : 0; i < 256; i += 32) {
    SetPlanes(forms, i, ShortForms(code_points + i), ShortForms(code_points + i + 16));
  }
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  while (p < end && out_end - q >= 64) {
    const auto left = static_cast<std::size_t>(end - p);
    const std::size_t count = left < 32 ? left : 32;
    const __m256i bytes = count < 32 ? LoadPart(p, count) : Load(p);
    if (kAscii && MaskOf(bytes) == 0) {
      Store(q, bytes);
      p += count;
      q += count;
      continue;
    }
    __m256i firsts;
    __m256i seconds;
    if constexpr (kAscii) {
      firsts = _mm256_blendv_epi8(bytes, LookUp(forms.low + 128, forms.low + 192, bytes), bytes);
      seconds = _mm256_blendv_epi8(_mm256_setzero_si256(),
                                   LookUp(forms.high + 128, forms.high + 192, bytes), bytes);
    } else {
      firsts = LookUpAll(forms.low, bytes);
      seconds = LookUpAll(forms.high, bytes);
    }
    // Second bytes have their highest bit set.
    const std::uint32_t inside = FirstBits(count);
    if ((MaskOf(_mm256_cmpeq_epi8(seconds, Bytes(0xFF))) & inside) != 0) [[unlikely]] {
      // Three bytes somewhere: a longer piece through units.
      std::uint16_t units[kUnitBlock];
      const std::size_t piece = left < kUnitBlock ? left : kUnitBlock;
      const std::size_t made = SingleToUnits(code_points, p, piece, units);
      const Progress step = Utf16LeToUtf8(reinterpret_cast<const std::uint8_t*>(units), 2 * made, q,
                                          static_cast<std::size_t>(out_end - q));
      p += step.consumed / 2;
      q += step.written;
      if (step.consumed / 2 != piece) break;
      continue;
    }
    const std::uint32_t more = MaskOf(seconds) & inside;
    const __m256i even = _mm256_unpacklo_epi8(firsts, seconds);
    const __m256i odd = _mm256_unpackhi_epi8(firsts, seconds);
    Squeeze(q, _mm256_castsi256_si128(even), kSecondsWithBit, more);
    Squeeze(q + 8 + CountBits(more & 0xFF), _mm256_castsi256_si128(odd), kSecondsWithBit,
            more >> 8);
    Squeeze(q + 16 + CountBits(more & 0xFFFF), _mm256_extracti128_si256(even, 1), kSecondsWithBit,
            more >> 16);
    Squeeze(q + 24 + CountBits(more & 0xFFFFFF), _mm256_extracti128_si256(odd, 1), kSecondsWithBit,
            more >> 24);
    p += count;
    q += count + CountBits(more);
  }
  const auto consumed = static_cast<std::size_t>(p - in);
  return {consumed, static_cast<std::size_t>(q - out), consumed};
}

// Of eight bytes those with a bit.
struct alignas(8) ShortShuffle {
  std::uint8_t from[8];
};
constexpr std::array<ShortShuffle, 256> MakeShortShuffles() noexcept {
  std::array<ShortShuffle, 256> shuffles{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned count = 0;
    for (unsigned byte = 0; byte < 8; ++byte) {
      if ((mask >> byte & 1) != 0) shuffles[mask].from[count++] = static_cast<std::uint8_t>(byte);
    }
    while (count < 8) shuffles[mask].from[count++] = 0x80;
  }
  return shuffles;
}
constexpr std::array<ShortShuffle, 256> kBytesWithBit = MakeShortShuffles();

KES_AVX2 inline void SqueezeEight(std::uint8_t* q, __m128i bytes, std::uint32_t mask) noexcept {
  const auto* shuffle = reinterpret_cast<const __m128i*>(&kBytesWithBit[mask & 0xFF]);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(q),
                   _mm_shuffle_epi8(bytes, _mm_loadl_epi64(shuffle)));
}

// The bytes with a bit; 32 are written at most.
KES_AVX2 inline void SqueezeBytes(std::uint8_t* q, __m256i bytes, std::uint32_t mask) noexcept {
  const __m128i low = _mm256_castsi256_si128(bytes);
  const __m128i high = _mm256_extracti128_si256(bytes, 1);
  SqueezeEight(q, low, mask);
  SqueezeEight(q + CountBits(mask & 0xFF), _mm_srli_si128(low, 8), mask >> 8);
  SqueezeEight(q + CountBits(mask & 0xFFFF), high, mask >> 16);
  SqueezeEight(q + CountBits(mask & 0xFFFFFF), _mm_srli_si128(high, 8), mask >> 24);
}

// The block of 64 cells that a code point chooses is what a lead byte (or the first two of three)
// chooses in UTF-8, so that a window of two blocks is looked up by the last byte and one bit of the
// byte before it.
template <bool kAscii>
KES_AVX2 inline Progress FromUtf8(const ByteEncodeTable& given, const std::uint8_t* in,
                                  std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  const ByteEncodeTable table = given;
  const Window base = FindWindow(table, 0);
  Window window = FindWindow(table, 1);
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  while (p < end && out_end - q >= 32) {
    if constexpr (kAscii) {
      if (end - p >= 32) {
        const __m256i letters = Load(p);
        if (MaskOf(letters) == 0) {
          Store(q, letters);
          p += 32;
          q += 32;
          continue;
        }
      }
    }
    const Utf8Block block = LoadUtf8Block(p, static_cast<std::size_t>(end - p));
    if (block.consumed == 0 || block.has_four) break;
    __m256i result = block.bytes;
    if constexpr (!kAscii) result = LookUp(base.first, base.second, block.bytes);
    std::uint32_t left = MaskOf(block.trails) & block.ends;
    // The number of the window: 5 bits of the byte before, 4 of the one before that.
    const __m256i number_low = _mm256_and_si256(block.before, Bytes(0x3E));
    const __m256i number_high = _mm256_and_si256(block.third, Bytes(0x0F));
    const __m256i places =
        _mm256_or_si256(_mm256_and_si256(block.bytes, Bytes(0x3F)),
                        _mm256_and_si256(_mm256_slli_epi16(block.before, 6), Bytes(0x40)));
    while (left != 0) {
      const __m256i hits = _mm256_and_si256(
          _mm256_cmpeq_epi8(number_low, Bytes(static_cast<int>(2 * window.number & 0x3E))),
          _mm256_cmpeq_epi8(number_high, Bytes(static_cast<int>(window.number >> 5))));
      result = _mm256_blendv_epi8(result, LookUp(window.first, window.second, places), hits);
      left &= ~MaskOf(hits);
      if (left == 0) break;
      const std::uint8_t* const at = p + _tzcnt_u32(left);
      std::uint32_t number = (at[-1] & 0x3Eu) >> 1;
      if (at[-1] < 0xC0) number |= (at[-2] & 0x0Fu) << 5;
      window = FindWindow(table, number);
    }
    const __m256i empty = _mm256_cmpeq_epi8(result, _mm256_setzero_si256());
    if ((MaskOf(empty) & block.ends) != 0) [[unlikely]]
      break;
    SqueezeBytes(q, result, block.ends);
    p += block.consumed;
    q += CountBits(block.ends);
  }
  const auto made = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), made, made};
}

}  // namespace

KES_AVX2 Progress SingleToUtf8(const std::uint16_t* code_points, bool ascii, const std::uint8_t* in,
                               std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  const Progress done = ascii ? ToUtf8<true>(code_points, in, size, out, room)
                              : ToUtf8<false>(code_points, in, size, out, room);
  if (done.consumed == size) return done;
  const Progress rest =
      scalar::SingleToUtf8(code_points, ascii, in + done.consumed, size - done.consumed,
                           out + done.written, room - done.written);
  return Sum(done, rest);
}

KES_AVX2 Progress Utf8ToSingle(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                               std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  const Progress done = ascii ? FromUtf8<true>(table, in, size, out, room)
                              : FromUtf8<false>(table, in, size, out, room);
  if (done.consumed == size) return done;
  const Progress rest = scalar::Utf8ToSingle(table, ascii, in + done.consumed, size - done.consumed,
                                             out + done.written, room - done.written);
  return Sum(done, rest);
}

}  // namespace kestra::nls::kernels::avx2

#endif
