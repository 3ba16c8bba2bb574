// What the AVX-512 kernels share. Included by them alone.
#pragma once

#include <cstddef>
#include <cstdint>

// GCC 12 takes the undefined vectors inside its own headers for uninitialized variables.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "core/os/check.h"
#include "nls/kernels/convert_kernels.h"

#define KES_AVX512                                                                 \
  __attribute__((                                                                  \
      target("avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2," \
             "popcnt,lzcnt")))

namespace kestra::nls::kernels::avx512 {

constexpr std::uint64_t kEvenBytes = 0x5555555555555555;

// count is at most 255: the instruction looks at eight bits of it.
KES_AVX512 inline std::uint64_t FirstBits(std::size_t count) noexcept {
  KES_DCHECK(count < 256);
  return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(count));
}

KES_AVX512 inline std::size_t CountBits(std::uint64_t bits) noexcept {
  return static_cast<std::size_t>(_mm_popcnt_u64(bits));
}

KES_AVX512 inline __m512i Bytes(int value) noexcept {
  return _mm512_set1_epi8(static_cast<char>(value));
}
KES_AVX512 inline __m512i Words(int value) noexcept {
  return _mm512_set1_epi16(static_cast<short>(value));
}
KES_AVX512 inline __m512i Dwords(std::uint32_t value) noexcept {
  return _mm512_set1_epi32(static_cast<int>(value));
}
KES_AVX512 inline __m512i Or3(__m512i a, __m512i b, __m512i c) noexcept {
  return _mm512_ternarylogic_epi64(a, b, c, 0xFE);
}
KES_AVX512 inline __m256i Half(__m512i vector, int half) noexcept {
  return half == 0 ? _mm512_castsi512_si256(vector) : _mm512_extracti64x4_epi64(vector, 1);
}
// Bytes 0, 1, 2 ... 63.
KES_AVX512 inline __m512i ByteNumbers() noexcept {
  return _mm512_set_epi64(0x3F3E3D3C3B3A3938, 0x3736353433323130, 0x2F2E2D2C2B2A2928,
                          0x2726252423222120, 0x1F1E1D1C1B1A1918, 0x1716151413121110,
                          0x0F0E0D0C0B0A0908, 0x0706050403020100);
}

// Writes the first `size` bytes of a vector into a room that holds at least that many.
KES_AVX512 inline void Store(std::uint8_t* out, std::size_t room, __m512i bytes,
                             std::size_t size) noexcept {
  if (room >= 64) [[likely]] {
    _mm512_storeu_si512(out, bytes);
  } else {
    _mm512_mask_storeu_epi8(out, FirstBits(size), bytes);
  }
}

KES_AVX512 inline __m512i SwapUnits(__m512i units) noexcept {
  return _mm512_shuffle_epi8(units,
                             _mm512_set4_epi32(0x0E0F0C0D, 0x0A0B0809, 0x06070405, 0x02030001));
}

// The first byte of b behind those of a, and so on for two: what stands one or two bytes before
// each.
KES_AVX512 inline __m512i OneBack() noexcept { return _mm512_sub_epi8(ByteNumbers(), Bytes(1)); }
KES_AVX512 inline __m512i TwoBack() noexcept { return _mm512_sub_epi8(ByteNumbers(), Bytes(2)); }

// The kernels, by file.
// convert_avx512_unicode.cc
Progress Utf16BeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf16LeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf8ToUtf16Be(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
Progress Utf8ToUtf16Le(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                       std::size_t room) noexcept;
std::size_t Utf16BeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept;
std::size_t Utf16LeToUnits(const std::uint8_t* in, std::size_t count, std::uint16_t* out) noexcept;
// convert_avx512_single.cc
std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out) noexcept;
std::size_t UnitsToSingle(const ByteEncodeTable& table, const std::uint16_t* in, std::size_t count,
                          std::uint8_t* out) noexcept;
// convert_avx512_multibyte.cc
Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out, std::size_t room) noexcept;

}  // namespace kestra::nls::kernels::avx512
