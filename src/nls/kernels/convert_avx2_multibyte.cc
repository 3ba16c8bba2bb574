// Units to multibyte sets with AVX2. Reading such sets is a chain of lookups, for which the scalar
// kernel does.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx2.h"

namespace kestra::nls::kernels::avx2 {
namespace {

constexpr std::size_t kBlock = 128;

// Two-byte cells, in two passes: the cells of a block one by one, then their bytes sixteen at a
// time. So nothing waits for the length of a single character.
KES_AVX2 inline Progress ToPairs(const MultibyteEncodeTable& given, const std::uint16_t* in,
                                 std::size_t count, std::uint8_t* out, std::size_t room) noexcept {
  MultibyteEncodeTable table = given;
  table.width = 2;
  const std::uint32_t* const bases = table.bases != nullptr ? table.bases->base : nullptr;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t i = 0;
  while (i < count) {
    // Letters alone, 32 at a time.
    if (table.ascii && in[i] < 0x80 && count - i >= 32) {
      const std::size_t run = NarrowAscii(in + i, count - i, q);
      if (run >= 32) {
        i += run;
        q += run;
        continue;
      }
    }
    const std::size_t block = count - i < kBlock ? count - i : kBlock;
    alignas(32) std::uint16_t cells[kBlock + 16];
    if (bases != nullptr) {
      for (std::size_t k = 0; k < block; ++k) {
        const std::uint32_t unit = in[i + k];
        cells[k] = LoadAt<std::uint16_t>(table.cells, 2 * std::size_t{bases[unit >> 6] + unit});
      }
    } else {
      for (std::size_t k = 0; k < block; ++k) {
        cells[k] = static_cast<std::uint16_t>(FindEncodeCell(table, in[i + k]));
      }
    }
    Store(cells + block, _mm256_setzero_si256());
    for (std::size_t k = 0; k < block; k += 16) {
      const std::size_t step = block - k < 16 ? block - k : 16;
      const __m256i numbers = Load(cells + k);
      const __m256i none = _mm256_setzero_si256();
      const std::uint32_t missing = MaskOf(_mm256_cmpeq_epi16(numbers, none)) & FirstBits(2 * step);
      if (missing != 0 || out_end - q < 32) [[unlikely]]
        return {i, static_cast<std::size_t>(q - out), i};
      const __m256i one = _mm256_cmpeq_epi16(_mm256_and_si256(numbers, Words(0xFF00)), none);
      const __m256i bytes = _mm256_blendv_epi8(SwapUnits(numbers), numbers, one);
      const std::uint32_t more = ~MaskOf(_mm256_packs_epi16(one, one)) & 0x00FF00FF;
      Squeeze(q, _mm256_castsi256_si128(bytes), kSecondsWithBit, more);
      Squeeze(q + 8 + CountBits(more & 0xFF), _mm256_extracti128_si256(bytes, 1), kSecondsWithBit,
              more >> 16);
      i += step;
      q += step + CountBits(more);
    }
  }
  return {i, static_cast<std::size_t>(q - out), i};
}

}  // namespace

KES_AVX2 Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                                   std::size_t count, std::uint8_t* out,
                                   std::size_t room) noexcept {
  Progress done;
  if (table.width == 2) done = ToPairs(table, in, count, out, room);
  if (done.consumed == count) return done;
  return Sum(done, scalar::UnitsToMultibyte(table, in + done.consumed, count - done.consumed,
                                            out + done.written, room - done.written));
}

}  // namespace kestra::nls::kernels::avx2

#endif
