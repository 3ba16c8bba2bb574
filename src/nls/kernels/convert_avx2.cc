// The AVX2 kernels of ASCII, and the table of all AVX2 kernels. What has none here is either bound by
// lookups or better off in the scalar form.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx2.h"

namespace kestra::nls::kernels::avx2 {
namespace {

// 32 bytes at a time as long as there are as many; the last ones are for the scalar kernels.
KES_AVX2 std::size_t CopyAscii(const std::uint8_t* in, std::size_t size,
                               std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    const __m256i bytes = Load(in + i);
    Store(out + i, bytes);
    const std::uint32_t other = MaskOf(bytes);
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
  }
  return i + scalar::CopyAscii(in + i, size - i, out + i);
}

KES_AVX2 std::size_t CopyUnshifted(const std::uint8_t* in, std::size_t size,
                                   std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    const __m256i bytes = Load(in + i);
    Store(out + i, bytes);
    const __m256i shift = _mm256_or_si256(bytes, Bytes(1));
    const std::uint32_t other =
        MaskOf(_mm256_or_si256(_mm256_or_si256(bytes, _mm256_cmpeq_epi8(bytes, Bytes(0x1B))),
                               _mm256_cmpeq_epi8(shift, Bytes(0x0F))));
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
  }
  return i + scalar::CopyUnshifted(in + i, size - i, out + i);
}

KES_AVX2 std::size_t WidenAscii(const std::uint8_t* in, std::size_t size,
                                std::uint16_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    const __m256i bytes = Load(in + i);
    Store(out + i, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    Store(out + i + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
    const std::uint32_t other = MaskOf(bytes);
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
  }
  return i + scalar::WidenAscii(in + i, size - i, out + i);
}

}  // namespace

KES_AVX2 std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count,
                                 std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 32 <= count; i += 32) {
    const __m256i a = Load(in + i);
    const __m256i b = Load(in + i + 16);
    if (AnyBits(_mm256_or_si256(a, b), Words(0xFF80))) break;
    Store(out + i, _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
  }
  return i + scalar::NarrowAscii(in + i, count - i, out + i);
}

namespace {

// Packing with saturation would not show what was too large, so that is asked first.
KES_AVX2 std::size_t NarrowCodePoints(const std::uint32_t* in, std::size_t count,
                                      std::uint16_t* out) noexcept {
  const __m256i limit = _mm256_set1_epi32(0xFFFD);
  const __m256i surrogate_bits = _mm256_set1_epi32(0xF800);
  const __m256i surrogate = _mm256_set1_epi32(0xD800);
  std::size_t i = 0;
  while (count >= 16) {
    const __m256i a = Load(in + i);
    const __m256i b = Load(in + i + 8);
    const __m256i large = _mm256_or_si256(_mm256_cmpeq_epi32(_mm256_max_epu32(a, limit), a),
                                          _mm256_cmpeq_epi32(_mm256_max_epu32(b, limit), b));
    const __m256i lone =
        _mm256_or_si256(_mm256_cmpeq_epi32(_mm256_and_si256(a, surrogate_bits), surrogate),
                        _mm256_cmpeq_epi32(_mm256_and_si256(b, surrogate_bits), surrogate));
    const __m256i special = _mm256_or_si256(large, lone);
    if (AnyBits(special, special)) break;
    Store(out + i, _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8));
    if (i + 16 == count) return count;
    i = i + 32 <= count ? i + 16 : count - 16;  // some once more
  }
  return i + scalar::NarrowCodePoints(in + i, count - i, out + i);
}

}  // namespace
}  // namespace kestra::nls::kernels::avx2

namespace kestra::nls::kernels {

constinit const ConvertKernels kAvx2ConvertKernels = {
    avx2::CopyAscii,        avx2::CopyUnshifted,  avx2::WidenAscii,       avx2::NarrowAscii,
    avx2::Utf16BeToUtf8,    avx2::Utf16LeToUtf8,  avx2::Utf8ToUtf16Be,    avx2::Utf8ToUtf16Le,
    avx2::Utf16BeToUnits,   avx2::Utf16LeToUnits, avx2::NarrowCodePoints, avx2::SingleToUnits,
    avx2::UnitsToSingle,    avx2::SingleToUtf8,   avx2::Utf8ToSingle,     scalar::MultibyteToUnits,
    avx2::UnitsToMultibyte,
};

}  // namespace kestra::nls::kernels

#endif
