// AVX-512 kernels of single-byte sets: table lookups of 64 bytes at once.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx512.h"

namespace kestra::nls::kernels::avx512 {
namespace {

// One plane of a table of 256 words: its low or its high bytes.
struct Plane {
  __m512i quarter[4];
};

KES_AVX512 inline Plane LoadPlane(const std::uint16_t* table, __m512i picked) noexcept {
  Plane plane;
  for (int i = 0; i < 4; ++i) {
    plane.quarter[i] = _mm512_permutex2var_epi8(_mm512_loadu_si512(table + 64 * i), picked,
                                                _mm512_loadu_si512(table + 64 * i + 32));
  }
  return plane;
}

KES_AVX512 inline __m512i LookUp(const Plane& plane, __m512i bytes, __mmask64 upper) noexcept {
  const __m512i low = _mm512_permutex2var_epi8(plane.quarter[0], bytes, plane.quarter[1]);
  const __m512i high = _mm512_permutex2var_epi8(plane.quarter[2], bytes, plane.quarter[3]);
  return _mm512_mask_mov_epi8(low, upper, high);
}

}  // namespace

KES_AVX512 std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                                     std::size_t size, std::uint16_t* out) noexcept {
  const __m512i even = _mm512_add_epi8(ByteNumbers(), ByteNumbers());
  const Plane low_plane = LoadPlane(code_points, even);
  const Plane high_plane = LoadPlane(code_points, _mm512_add_epi8(even, Bytes(1)));
  std::size_t i = 0;
  while (i < size) {
    const std::size_t count = size - i < 64 ? size - i : 64;
    const std::uint64_t mask = FirstBits(count);
    const __m512i bytes = _mm512_maskz_loadu_epi8(mask, in + i);
    const __mmask64 upper = _mm512_movepi8_mask(bytes);
    const __m512i low = LookUp(low_plane, bytes, upper);
    const __m512i high = LookUp(high_plane, bytes, upper);
    // Interleaving works inside 128-bit lanes: spread the quarters so that they end up in order.
    const __m512i order = _mm512_set_epi64(7, 3, 6, 2, 5, 1, 4, 0);
    const __m512i low_spread = _mm512_permutexvar_epi64(order, low);
    const __m512i high_spread = _mm512_permutexvar_epi64(order, high);
    _mm512_mask_storeu_epi16(out + i, static_cast<__mmask32>(mask),
                             _mm512_unpacklo_epi8(low_spread, high_spread));
    _mm512_mask_storeu_epi16(out + i + 32, static_cast<__mmask32>(mask >> 32),
                             _mm512_unpackhi_epi8(low_spread, high_spread));
    // FFFD and FFFF, no character, have a high byte of FF and a low one from FD; surrogates have
    // D8 to DF. Neither is usual, so the low byte is looked at by the slow way alone.
    const std::uint64_t special =
        (_mm512_cmpeq_epi8_mask(high, Bytes(0xFF)) |
         _mm512_cmpeq_epi8_mask(_mm512_and_si512(high, Bytes(0xF8)), Bytes(0xD8))) &
        mask;
    if (special != 0) [[unlikely]] {
      const std::uint64_t stop = special & (_mm512_cmpge_epu8_mask(low, Bytes(0xFD)) |
                                            _mm512_cmpneq_epi8_mask(high, Bytes(0xFF)));
      if (stop != 0) return i + static_cast<std::size_t>(_tzcnt_u64(stop));
    }
    i += count;
  }
  return size;
}

namespace {

// The cells of 128 code points in a row: two blocks.
struct Window {
  __m512i first;
  __m512i second;
};

KES_AVX512 inline __m512i LoadBlock(const ByteEncodeTable& table, std::uint32_t slot) noexcept {
  if (slot >= table.index_size) return _mm512_setzero_si512();
  std::uint16_t block;
  __builtin_memcpy(&block, table.index + std::size_t{2} * slot, sizeof block);
  if (block >= table.block_count) return _mm512_setzero_si512();
  return _mm512_loadu_si512(table.cells + std::size_t{block} * 64);
}

KES_AVX512 inline Window LoadWindow(const ByteEncodeTable& table, std::uint32_t number) noexcept {
  return {LoadBlock(table, 2 * number), LoadBlock(table, 2 * number + 1)};
}

}  // namespace

// Looks 64 units up in the window of the first 128 code points and in the one that was used last;
// each further window that the units need costs one more turn.
KES_AVX512 std::size_t UnitsToSingle(const ByteEncodeTable& table, const std::uint16_t* in,
                                     std::size_t count, std::uint8_t* out) noexcept {
  const Window base = LoadWindow(table, 0);
  std::uint32_t current = 1;
  Window window = LoadWindow(table, current);
  std::size_t i = 0;
  while (i < count) {
    const std::size_t step = count - i < 64 ? count - i : 64;
    const std::uint64_t mask = FirstBits(step);
    const __m512i a = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(mask), in + i);
    const __m512i b = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(mask >> 32), in + i + 32);
    const __m512i places = _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi16_epi8(a)),
                                              _mm512_cvtepi16_epi8(b), 1);
    const __m512i numbers_a = _mm512_srli_epi16(a, 7);
    const __m512i numbers_b = _mm512_srli_epi16(b, 7);
    __m512i result = _mm512_permutex2var_epi8(base.first, places, base.second);
    std::uint64_t left = _mm512_test_epi16_mask(numbers_a, numbers_a) |
                         static_cast<std::uint64_t>(_mm512_test_epi16_mask(numbers_b, numbers_b))
                             << 32;
    while (left != 0) {
      const __m512i wanted = Words(static_cast<int>(current));
      const std::uint64_t hits =
          _mm512_cmpeq_epi16_mask(numbers_a, wanted) |
          static_cast<std::uint64_t>(_mm512_cmpeq_epi16_mask(numbers_b, wanted)) << 32;
      result = _mm512_mask_mov_epi8(result, hits,
                                    _mm512_permutex2var_epi8(window.first, places, window.second));
      left &= ~hits;
      if (left == 0) break;
      current = in[i + static_cast<std::size_t>(_tzcnt_u64(left))] >> 7;
      window = LoadWindow(table, current);
    }
    _mm512_mask_storeu_epi8(out + i, mask, result);
    const std::uint64_t empty = ~_mm512_test_epi8_mask(result, result) & mask;
    if (empty != 0) [[unlikely]] {
      const std::uint64_t nul = ~(_mm512_test_epi16_mask(a, a) |
                                  static_cast<std::uint64_t>(_mm512_test_epi16_mask(b, b)) << 32);
      const std::uint64_t stop = table.maps_nul ? empty & ~nul : empty;
      if (stop != 0) return i + static_cast<std::size_t>(_tzcnt_u64(stop));
    }
    i += step;
  }
  return count;
}

namespace {

constexpr std::size_t kUnitBlock = 512;

// For 64 bytes of a set the first and the second byte of their UTF-8 form: the second is 0 where
// there is none, the first FF where the form has three bytes or the byte is no character.
struct Utf8Planes {
  __m512i first;
  __m512i second;
};

KES_AVX512 inline Utf8Planes PlanesOf(__m512i low, __m512i high) noexcept {
  const __mmask64 hard = _mm512_cmpge_epu8_mask(high, Bytes(8));
  const __mmask64 plain =
      _mm512_mask_cmplt_epu8_mask(_mm512_testn_epi8_mask(high, high), low, Bytes(0x80));
  const __m512i lead = Or3(_mm512_and_si512(_mm512_srli_epi16(low, 6), Bytes(0x03)),
                           _mm512_and_si512(_mm512_slli_epi16(high, 2), Bytes(0x1C)), Bytes(0xC0));
  const __m512i trail = _mm512_or_si512(_mm512_and_si512(low, Bytes(0x3F)), Bytes(0x80));
  return {_mm512_mask_mov_epi8(_mm512_mask_mov_epi8(lead, plain, low), hard, Bytes(0xFF)),
          _mm512_maskz_mov_epi8(~(hard | plain), trail)};
}

template <bool kAscii>
KES_AVX512 inline Progress ToUtf8(const std::uint16_t* code_points, const std::uint8_t* in,
                                  std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  const __m512i even = _mm512_add_epi8(ByteNumbers(), ByteNumbers());
  const Plane low_plane = LoadPlane(code_points, even);
  const Plane high_plane = LoadPlane(code_points, _mm512_add_epi8(even, Bytes(1)));
  Plane first;
  Plane second;
  for (int i = kAscii ? 2 : 0; i < 4; ++i) {
    const Utf8Planes planes = PlanesOf(low_plane.quarter[i], high_plane.quarter[i]);
    first.quarter[i] = planes.first;
    second.quarter[i] = planes.second;
  }
  const __m512i order = _mm512_set_epi64(7, 3, 6, 2, 5, 1, 4, 0);
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  while (p < end) {
    const auto left = static_cast<std::size_t>(end - p);
    const auto free = static_cast<std::size_t>(out_end - q);
    const std::size_t count = left < 64 ? left : 64;
    const std::uint64_t mask = FirstBits(count);
    const __m512i bytes = _mm512_maskz_loadu_epi8(mask, p);
    const __mmask64 upper = _mm512_movepi8_mask(bytes);
    if (kAscii && upper == 0) {
      if (free < count) break;
      Store(q, free, bytes, count);
      p += count;
      q += count;
      continue;
    }
    __m512i firsts;
    __m512i seconds;
    if constexpr (kAscii) {
      firsts = _mm512_mask_mov_epi8(
          bytes, upper, _mm512_permutex2var_epi8(first.quarter[2], bytes, first.quarter[3]));
      seconds = _mm512_maskz_permutex2var_epi8(upper, second.quarter[2], bytes, second.quarter[3]);
    } else {
      firsts = LookUp(first, bytes, upper);
      seconds = LookUp(second, bytes, upper);
    }
    if ((_mm512_cmpeq_epi8_mask(firsts, Bytes(0xFF)) & mask) != 0) [[unlikely]] {
      // Three bytes somewhere: a longer piece through units.
      std::uint16_t units[kUnitBlock];
      const std::size_t piece = left < kUnitBlock ? left : kUnitBlock;
      const std::size_t made = SingleToUnits(code_points, p, piece, units);
      const Progress step =
          Utf16LeToUtf8(reinterpret_cast<const std::uint8_t*>(units), 2 * made, q, free);
      p += step.consumed / 2;
      q += step.written;
      if (step.consumed / 2 != piece) break;
      continue;
    }
    firsts = _mm512_permutexvar_epi64(order, firsts);
    seconds = _mm512_permutexvar_epi64(order, seconds);
    const __m512i low = _mm512_unpacklo_epi8(firsts, seconds);
    const __m512i high = _mm512_unpackhi_epi8(firsts, seconds);
    const std::uint64_t keep_low =
        (_mm512_test_epi8_mask(low, low) | kEvenBytes) & FirstBits(count < 32 ? 2 * count : 64);
    const std::uint64_t keep_high = (_mm512_test_epi8_mask(high, high) | kEvenBytes) &
                                    FirstBits(count < 32 ? 0 : 2 * count - 64);
    const std::size_t length_low = CountBits(keep_low);
    const std::size_t length_high = CountBits(keep_high);
    if (length_low + length_high > free) break;
    Store(q, free, _mm512_maskz_compress_epi8(keep_low, low), length_low);
    Store(q + length_low, free - length_low, _mm512_maskz_compress_epi8(keep_high, high),
          length_high);
    p += count;
    q += length_low + length_high;
  }
  const auto consumed = static_cast<std::size_t>(p - in);
  return {consumed, static_cast<std::size_t>(q - out), consumed};
}

// The cells of characters of two and three bytes, at their last bytes. The block of 64 cells that a
// code point chooses is what a lead byte (or the first two of three) chooses in UTF-8, so that a window
// of two blocks is looked up by the last byte and one bit of the byte before it. The window that was
// used last is tried first.
KES_AVX512 inline __m512i LookUpLonger(const ByteEncodeTable& table, const Utf8Block& block,
                                       std::uint64_t ends, const std::uint8_t* p, __m512i result,
                                       std::uint32_t& current, Window& window) noexcept {
  const __m512i bytes = block.bytes;
  const std::uint64_t three = block.lead3_up << 2;
  const __m512i before = _mm512_maskz_permutexvar_epi8(block.expected, OneBack(), bytes);
  const __m512i before_that = _mm512_maskz_permutexvar_epi8(three, TwoBack(), bytes);
  // The number of the window: 5 bits of the byte before, 4 of the one before that.
  const __m512i number_low = _mm512_and_si512(before, Bytes(0x3E));
  const __m512i number_high = _mm512_and_si512(before_that, Bytes(0x0F));
  const __m512i place =
      _mm512_mask_add_epi8(bytes, _mm512_test_epi8_mask(before, Bytes(1)), bytes, Bytes(0x40));
  std::uint64_t left = ends & block.trail;
  for (;;) {
    const std::uint64_t hits =
        _mm512_cmpeq_epi8_mask(number_low, Bytes(static_cast<int>(2 * current & 0x3E))) &
        _mm512_cmpeq_epi8_mask(number_high, Bytes(static_cast<int>(current >> 5))) & left;
    result = _mm512_mask_mov_epi8(result, hits,
                                  _mm512_permutex2var_epi8(window.first, place, window.second));
    left &= ~hits;
    if (left == 0) return result;
    const auto at = static_cast<std::size_t>(_tzcnt_u64(left));
    current = (p[at - 1] & 0x3Eu) >> 1;
    if ((three >> at & 1) != 0) current |= (p[at - 2] & 0x0Fu) << 5;
    window = LoadWindow(table, current);
  }
}

template <bool kAscii>
KES_AVX512 inline Progress FromUtf8(const ByteEncodeTable& given, const std::uint8_t* in,
                                    std::size_t size, std::uint8_t* out,
                                    std::size_t room) noexcept {
  const ByteEncodeTable table = given;
  const Window base = LoadWindow(table, 0);
  std::uint32_t current = 1;
  Window window = LoadWindow(table, current);
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  while (p < end) {
    // Letters alone, 64 at a time.
    while (end - p >= 64 && out_end - q >= 64) {
      const __m512i letters = _mm512_loadu_si512(p);
      if (_mm512_movepi8_mask(letters) != 0) break;
      __m512i cells = letters;
      if constexpr (!kAscii) {
        cells = _mm512_permutex2var_epi8(base.first, letters, base.second);
        if (_mm512_testn_epi8_mask(cells, cells) != 0) break;
      }
      _mm512_storeu_si512(q, cells);
      p += 64;
      q += 64;
    }
    if (p == end) break;
    const Utf8Block block = LoadUtf8Block(p, static_cast<std::size_t>(end - p));
    bool last = block.last || block.lead4_up != 0;
    std::size_t consumed = block.consumed;
    if (block.lead4_up != 0) {
      const auto four = static_cast<std::size_t>(_tzcnt_u64(block.lead4_up));
      consumed = four < consumed ? four : consumed;
    }
    if (consumed == 0) break;
    const std::uint64_t inside = FirstBits(consumed);
    const std::uint64_t ends = ~((block.trail & inside) >> 1) & inside;
    const __m512i bytes = block.bytes;
    __m512i result = bytes;
    if constexpr (!kAscii) result = _mm512_permutex2var_epi8(base.first, bytes, base.second);
    if ((ends & block.trail) != 0) {
      result = LookUpLonger(table, block, ends, p, result, current, window);
    }
    const std::uint64_t empty = _mm512_testn_epi8_mask(result, result) & ends;
    if (empty != 0) [[unlikely]] {
      const std::uint64_t nul = table.maps_nul ? _mm512_testn_epi8_mask(bytes, bytes) : 0;
      const std::uint64_t stop = empty & ~nul;
      if (stop != 0) {
        const auto at = static_cast<std::size_t>(_tzcnt_u64(stop));
        consumed = 63 - static_cast<std::size_t>(_lzcnt_u64(~block.trail & FirstBits(at + 1)));
        last = true;
      }
    }
    const std::uint64_t made = ends & FirstBits(consumed);
    const std::size_t length = CountBits(made);
    const auto free = static_cast<std::size_t>(out_end - q);
    if (length > free) break;
    Store(q, free, _mm512_maskz_compress_epi8(made, result), length);
    p += consumed;
    q += length;
    if (last) break;
  }
  const auto made = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), made, made};
}

}  // namespace

KES_AVX512 Progress SingleToUtf8(const std::uint16_t* code_points, bool ascii,
                                 const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                 std::size_t room) noexcept {
  return ascii ? ToUtf8<true>(code_points, in, size, out, room)
               : ToUtf8<false>(code_points, in, size, out, room);
}

KES_AVX512 Progress Utf8ToSingle(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                                 std::size_t size, std::uint8_t* out, std::size_t room) noexcept {
  return ascii ? FromUtf8<true>(table, in, size, out, room)
               : FromUtf8<false>(table, in, size, out, room);
}

}  // namespace kestra::nls::kernels::avx512

#endif
