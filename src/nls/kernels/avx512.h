// What the AVX-512 kernels share. Included by them alone.
#pragma once

#include <cstddef>
#include <cstdint>

// GCC 12 takes the undefined vectors inside its own headers for uninitialized variables.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
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

KES_AVX512 inline __m512i WordNumbers() noexcept {
  return _mm512_cvtepu8_epi16(_mm512_castsi512_si256(ByteNumbers()));
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

// Up to 64 bytes of UTF-8, classified: one bit for each byte.
struct Utf8Block {
  __m512i bytes;
  std::uint64_t trail;     // continues a character
  std::uint64_t expected;  // should
  std::uint64_t lead3_up;  // begins a character of three or four bytes
  std::uint64_t lead4_up;  // of four
  std::size_t consumed;    // whole, well-formed characters from the start, in bytes
  bool last;               // a malformed one follows
};

KES_AVX512 inline Utf8Block LoadUtf8Block(const std::uint8_t* p, std::size_t left) noexcept {
  Utf8Block block;
  const std::size_t count = left < 64 ? left : 64;
  const std::uint64_t mask = FirstBits(count);
  const __m512i bytes = _mm512_maskz_loadu_epi8(mask, p);
  const std::uint64_t not_ascii = _mm512_movepi8_mask(bytes);
  const std::uint64_t lead = _mm512_cmpge_epu8_mask(bytes, Bytes(0xC2));
  const std::uint64_t lead3_up = _mm512_cmpge_epu8_mask(bytes, Bytes(0xE0));
  const std::uint64_t lead4_up = _mm512_cmpge_epu8_mask(bytes, Bytes(0xF0));
  const std::uint64_t trail = _mm512_cmplt_epi8_mask(bytes, Bytes(0xC0));
  const std::uint64_t expected = lead << 1 | lead3_up << 2 | lead4_up << 3;
  // What may not stand where it does; C0 and C1 are neither lead nor trail.
  std::uint64_t bad = (not_ascii & ~lead & ~trail) | (trail ^ expected);
  if (lead3_up != 0) {
    const std::uint64_t from_a0 = _mm512_cmpge_epu8_mask(bytes, Bytes(0xA0));
    const std::uint64_t e0 = _mm512_cmpeq_epi8_mask(bytes, Bytes(0xE0));
    const std::uint64_t ed = _mm512_cmpeq_epi8_mask(bytes, Bytes(0xED));
    bad |= (e0 << 1 & ~from_a0) | (ed << 1 & from_a0);
    if (lead4_up != 0) {
      const std::uint64_t from_90 = _mm512_cmpge_epu8_mask(bytes, Bytes(0x90));
      const std::uint64_t f0 = _mm512_cmpeq_epi8_mask(bytes, Bytes(0xF0));
      const std::uint64_t f4 = _mm512_cmpeq_epi8_mask(bytes, Bytes(0xF4));
      bad |= _mm512_cmpge_epu8_mask(bytes, Bytes(0xF5));
      bad |= (f0 << 1 & ~from_90) | (f4 << 1 & from_90);
    }
  }
  // A last character that reaches past the bytes at hand begins the next step. The next step waits
  // for this number, so in a full block it comes from the last bytes alone.
  std::size_t consumed;
  if (count == 64) [[likely]] {
    std::size_t unfinished = p[63] >= 0xC2 ? 1 : 0;
    unfinished = p[62] >= 0xE0 ? 2 : unfinished;
    unfinished = p[61] >= 0xF0 ? 3 : unfinished;
    consumed = 64 - unfinished;
  } else {
    const std::uint64_t cut =
        (lead & ~(mask >> 1)) | (lead3_up & ~(mask >> 2)) | (lead4_up & ~(mask >> 3));
    consumed = cut == 0 ? count : static_cast<std::size_t>(_tzcnt_u64(cut));
  }
  bad &= FirstBits(consumed + 1);
  block.last = bad != 0;
  if (bad != 0) [[unlikely]] {
    // The first bad byte either should have continued a character, which then is bad as a whole,
    // or stands between characters.
    consumed = static_cast<std::size_t>(_tzcnt_u64(bad));
    if ((expected >> consumed & 1) != 0) {
      consumed = 63 - static_cast<std::size_t>(_lzcnt_u64(lead & FirstBits(consumed)));
    }
  }
  block.bytes = bytes;
  block.trail = trail;
  block.expected = expected;
  block.lead3_up = lead3_up;
  block.lead4_up = lead4_up;
  block.consumed = consumed;
  return block;
}

// The kernels, by file.
// convert_avx512.cc
std::size_t CopyAscii(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
std::size_t CopyUnshifted(const std::uint8_t* in, std::size_t size, std::uint8_t* out) noexcept;
std::size_t WidenAscii(const std::uint8_t* in, std::size_t size, std::uint16_t* out) noexcept;
std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count, std::uint8_t* out) noexcept;
// convert_avx512_unicode.cc
std::size_t NarrowCodePoints(const std::uint32_t* in, std::size_t count,
                             std::uint16_t* out) noexcept;
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
Progress SingleToUtf8(const std::uint16_t* code_points, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
Progress Utf8ToSingle(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
// convert_avx512_multibyte.cc
Progress MultibyteToUnits(const MultibyteDecodeTable& table, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out, std::size_t room) noexcept;
Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                          std::size_t count, std::uint8_t* out, std::size_t room) noexcept;

}  // namespace kestra::nls::kernels::avx512
