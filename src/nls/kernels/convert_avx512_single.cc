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

}  // namespace kestra::nls::kernels::avx512

#endif
