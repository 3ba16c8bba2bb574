// The AVX-512 kernels: those of ASCII, and the table of all.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx512.h"

namespace kestra::nls::kernels::avx512 {
KES_AVX512 std::size_t CopyAscii(const std::uint8_t* in, std::size_t size,
                                 std::uint8_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 256 <= size; i += 256) {
    const __m512i a = _mm512_loadu_si512(in + i);
    const __m512i b = _mm512_loadu_si512(in + i + 64);
    const __m512i c = _mm512_loadu_si512(in + i + 128);
    const __m512i d = _mm512_loadu_si512(in + i + 192);
    const __m512i any = Or3(_mm512_or_si512(a, b), c, d);
    if (_mm512_movepi8_mask(any) != 0) break;
    _mm512_storeu_si512(out + i, a);
    _mm512_storeu_si512(out + i + 64, b);
    _mm512_storeu_si512(out + i + 128, c);
    _mm512_storeu_si512(out + i + 192, d);
  }
  for (; i + 64 <= size; i += 64) {
    const __m512i bytes = _mm512_loadu_si512(in + i);
    _mm512_storeu_si512(out + i, bytes);
    const std::uint64_t other = _mm512_movepi8_mask(bytes);
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u64(other));
  }
  if (i < size) {
    const std::uint64_t mask = FirstBits(size - i);
    const __m512i bytes = _mm512_maskz_loadu_epi8(mask, in + i);
    _mm512_mask_storeu_epi8(out + i, mask, bytes);
    const std::uint64_t other = _mm512_movepi8_mask(bytes);
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u64(other));
  }
  return size;
}

KES_AVX512 std::size_t CopyUnshifted(const std::uint8_t* in, std::size_t size,
                                     std::uint8_t* out) noexcept {
  for (std::size_t i = 0; i < size; i += 64) {
    const std::uint64_t mask = FirstBits(size - i < 64 ? size - i : 64);
    const __m512i bytes = _mm512_maskz_loadu_epi8(mask, in + i);
    _mm512_mask_storeu_epi8(out + i, mask, bytes);
    const __m512i shift = _mm512_or_si512(bytes, Bytes(1));
    const std::uint64_t other = _mm512_movepi8_mask(bytes) |
                                _mm512_cmpeq_epi8_mask(bytes, Bytes(0x1B)) |
                                _mm512_cmpeq_epi8_mask(shift, Bytes(0x0F));
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u64(other));
  }
  return size;
}

KES_AVX512 std::size_t WidenAscii(const std::uint8_t* in, std::size_t size,
                                  std::uint16_t* out) noexcept {
  std::size_t i = 0;
  while (i < size) {
    const std::size_t step = size - i < 32 ? size - i : 32;
    const auto mask = static_cast<__mmask32>(FirstBits(step));
    const __m256i bytes = _mm256_maskz_loadu_epi8(mask, in + i);
    _mm512_mask_storeu_epi16(out + i, mask, _mm512_cvtepu8_epi16(bytes));
    const std::uint32_t other = _mm256_movepi8_mask(bytes);
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
    i += step;
  }
  return size;
}

KES_AVX512 std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count,
                                   std::uint8_t* out) noexcept {
  std::size_t i = 0;
  while (i < count) {
    const std::size_t step = count - i < 32 ? count - i : 32;
    const auto mask = static_cast<__mmask32>(FirstBits(step));
    const __m512i units = _mm512_maskz_loadu_epi16(mask, in + i);
    _mm256_mask_storeu_epi8(out + i, mask, _mm512_cvtepi16_epi8(units));
    const std::uint32_t other = _mm512_cmpge_epu16_mask(units, Words(0x80));
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
    i += step;
  }
  return count;
}

}  // namespace kestra::nls::kernels::avx512

namespace kestra::nls::kernels {

constinit const ConvertKernels kAvx512ConvertKernels = {
    avx512::CopyAscii,        avx512::CopyUnshifted,    avx512::WidenAscii,
    avx512::NarrowAscii,      avx512::Utf16BeToUtf8,    avx512::Utf16LeToUtf8,
    avx512::Utf8ToUtf16Be,    avx512::Utf8ToUtf16Le,    avx512::Utf16BeToUnits,
    avx512::Utf16LeToUnits,   avx512::NarrowCodePoints, avx512::SingleToUnits,
    avx512::UnitsToSingle,    avx512::SingleToUtf8,     avx512::Utf8ToSingle,
    avx512::MultibyteToUnits, avx512::UnitsToMultibyte,
};

}  // namespace kestra::nls::kernels

#endif
