// What the AVX2 kernels share. Included by them alone.
//
// AVX2 has no compression: what is spread over lanes is squeezed by a byte shuffle that a mask of
// eight bits chooses from a table. So sixteen bytes at most are squeezed at once, and stored whole;
// the next ones overwrite what is too much.
#pragma once

#include <immintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/os/check.h"
#include "nls/kernels/scalar.h"

// Not pdep and pext, which older processors of this level emulate slowly.
#define KES_AVX2 __attribute__((target("avx2,bmi,popcnt")))

namespace kestra::nls::kernels::avx2 {

// Byte shuffles: the bytes chosen, then zeros.
struct alignas(16) Shuffle {
  std::uint8_t from[16];
};
using Shuffles = std::array<Shuffle, 256>;

// Those that keep every byte i for which keeps(mask, i).
template <typename Keeps>
constexpr Shuffles MakeShuffles(Keeps keeps) noexcept {
  Shuffles shuffles{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned count = 0;
    for (unsigned byte = 0; byte < 16; ++byte) {
      if (keeps(mask, byte)) shuffles[mask].from[count++] = static_cast<std::uint8_t>(byte);
    }
    while (count < 16) shuffles[mask].from[count++] = 0x80;
  }
  return shuffles;
}

// Of eight words those with a bit.
inline constexpr Shuffles kWordsWithBit =
    MakeShuffles([](unsigned mask, unsigned byte) { return (mask >> byte / 2 & 1) != 0; });
// Of eight words the first byte, and the second of those with a bit.
inline constexpr Shuffles kSecondsWithBit = MakeShuffles(
    [](unsigned mask, unsigned byte) { return byte % 2 == 0 || (mask >> byte / 2 & 1) != 0; });
// Of four dwords the first byte, and the second and the third by two bits each.
inline constexpr Shuffles kFormsWithBits = MakeShuffles([](unsigned mask, unsigned byte) {
  const unsigned place = byte % 4;
  return place == 0 || (place < 3 && (mask >> (byte / 4 * 2 + place - 1) & 1) != 0);
});

KES_AVX2 inline __m256i Bytes(int value) noexcept {
  return _mm256_set1_epi8(static_cast<char>(value));
}
KES_AVX2 inline __m256i Words(int value) noexcept {
  return _mm256_set1_epi16(static_cast<short>(value));
}
KES_AVX2 inline __m256i Load(const void* p) noexcept {
  return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}
KES_AVX2 inline void Store(void* p, __m256i bytes) noexcept {
  _mm256_storeu_si256(static_cast<__m256i*>(p), bytes);
}
KES_AVX2 inline std::uint32_t MaskOf(__m256i bytes) noexcept {
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}
KES_AVX2 inline bool AnyBits(__m256i vector, __m256i mask) noexcept {
  return _mm256_testz_si256(vector, mask) == 0;
}
KES_AVX2 inline std::size_t CountBits(std::uint32_t bits) noexcept {
  return static_cast<std::size_t>(_mm_popcnt_u32(bits));
}
// count up to 32.
KES_AVX2 inline std::uint32_t FirstBits(std::size_t count) noexcept {
  KES_DCHECK(count <= 32);
  return static_cast<std::uint32_t>((std::uint64_t{1} << count) - 1);
}

KES_AVX2 inline __m256i SwapUnits(__m256i units) noexcept {
  return _mm256_or_si256(_mm256_slli_epi16(units, 8), _mm256_srli_epi16(units, 8));
}

// Stores what a shuffle keeps of sixteen bytes; all sixteen are written.
KES_AVX2 inline void Squeeze(std::uint8_t* q, __m128i bytes, const Shuffles& shuffles,
                             std::uint32_t mask) noexcept {
  const auto* shuffle = reinterpret_cast<const __m128i*>(&shuffles[mask & 0xFF]);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_shuffle_epi8(bytes, _mm_load_si128(shuffle)));
}

// The last bytes of a text, fewer than 32, and zeros. Two loads that overlap are put together in
// registers: out of memory a vector would wait until the last of its parts has arrived there.
KES_AVX2 inline __m256i LoadPart(const std::uint8_t* p, std::size_t count) noexcept {
  KES_DCHECK(count >= 1 && count < 32);
  if (count >= 16) {
    static constexpr Shuffle kSlide[2] = {
        {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {{128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128}}};
    const auto* slide = reinterpret_cast<const __m128i*>(
        reinterpret_cast<const std::uint8_t*>(kSlide) + 32 - count);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + count - 16));
    return _mm256_setr_m128i(low, _mm_shuffle_epi8(high, _mm_loadu_si128(slide)));
  }
  std::uint64_t low;
  std::uint64_t high = 0;
  if (count >= 8) {
    const std::size_t half = 4 * (16 - count);
    low = LoadAt<std::uint64_t>(p, 0);
    high = LoadAt<std::uint64_t>(p, count - 8) >> half >> half;
  } else if (count >= 4) {
    low = LoadAt<std::uint32_t>(p, 0) | std::uint64_t{LoadAt<std::uint32_t>(p, count - 4)}
                                            << (8 * (count - 4));
  } else {
    low = p[0] | std::uint64_t{p[count / 2]} << (8 * (count / 2)) |
          std::uint64_t{p[count - 1]} << (8 * (count - 1));
  }
  return _mm256_setr_epi64x(static_cast<long long>(low), static_cast<long long>(high), 0, 0);
}

// Up to 32 bytes of UTF-8 from the start of a character on.
struct Utf8Block {
  __m256i bytes;
  __m256i trails;      // FF where a byte continues a character
  __m256i before;      // the byte before one that does, else zero
  __m256i third;       // the byte two before the third and fourth bytes of characters, else zero
  __m256i of_four[2];  // bit 7: third, fourth byte of a character of four
  std::uint32_t ends;  // one bit for each byte that is the last of a character
  bool has_three;      // a character has three or four bytes
  bool has_four;
  std::size_t consumed;  // whole characters, in bytes; 0: none, or a malformed one is there
};

// Validity by three lookups of half bytes: John Keiser, Daniel Lemire, "Validating UTF-8 in less
// than one instruction per byte", Software: Practice and Experience 51 (2021). Each bit of the
// tables is a way in which two bytes cannot follow each other; the highest one says that the second
// continues a character of three or more, which is right where one began two or three bytes before.
KES_AVX2 inline __m256i FindPairErrors(__m256i bytes, __m256i before) noexcept {
  constexpr char kTooShort = 1 << 0;   // a lead byte, then none that continues it
  constexpr char kTooLong = 1 << 1;    // ASCII, then one that continues
  constexpr char kLong3 = 1 << 2;      // E0 80..9F
  constexpr char kTooLarge = 1 << 3;   // F4 90..BF, F5 and up
  constexpr char kSurrogate = 1 << 4;  // ED A0..BF
  constexpr char kLong2 = 1 << 5;      // C0, C1
  constexpr char kLarge1000 = 1 << 6;  // F5 and up with 80..8F, or F0 80..8F
  constexpr char kTwoTrails = static_cast<char>(1 << 7);
  constexpr char kCarry = static_cast<char>(kTooShort | kTooLong | kTwoTrails);
  constexpr char kLarge = static_cast<char>(kCarry | kTooLarge);
  constexpr char kLarger = static_cast<char>(kLarge | kLarge1000);
  const __m256i nibble = Bytes(0x0F);
  const __m256i first_high = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong, kTooLong,
                    kTwoTrails, kTwoTrails, kTwoTrails, kTwoTrails, kTooShort | kLong2, kTooShort,
                    kTooShort | kLong3 | kSurrogate, kTooShort | kTooLarge | kLarge1000));
  const __m256i first_low = _mm256_broadcastsi128_si256(_mm_setr_epi8(
      static_cast<char>(kCarry | kLong3 | kLong2 | kLarge1000), static_cast<char>(kCarry | kLong2),
      kCarry, kCarry, kLarge, kLarger, kLarger, kLarger, kLarger, kLarger, kLarger, kLarger,
      kLarger, static_cast<char>(kLarger | kSurrogate), kLarger, kLarger));
  constexpr char kTrail = static_cast<char>(kTooLong | kLong2 | kTwoTrails);
  const __m256i second_high = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort,
                    kTooShort, static_cast<char>(kTrail | kLong3 | kLarge1000),
                    static_cast<char>(kTrail | kLong3 | kTooLarge),
                    static_cast<char>(kTrail | kSurrogate | kTooLarge),
                    static_cast<char>(kTrail | kSurrogate | kTooLarge), kTooShort, kTooShort,
                    kTooShort, kTooShort));
  return _mm256_and_si256(
      _mm256_and_si256(
          _mm256_shuffle_epi8(first_high, _mm256_and_si256(_mm256_srli_epi16(before, 4), nibble)),
          _mm256_shuffle_epi8(first_low, _mm256_and_si256(before, nibble))),
      _mm256_shuffle_epi8(second_high, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibble)));
}

KES_AVX2 inline Utf8Block LoadUtf8Block(const std::uint8_t* p, std::size_t left) noexcept {
  Utf8Block block;
  const std::size_t count = left < 32 ? left : 32;
  const __m256i bytes = count == 32 ? Load(p) : LoadPart(p, count);
  // A last character that reaches past the bytes at hand begins the next step. The next step waits
  // for this number, so it comes from the last bytes alone.
  std::size_t unfinished = p[count - 1] >= 0xC0 ? 1 : 0;
  if (count >= 3) [[likely]] {
    unfinished = p[count - 2] >= 0xE0 ? 2 : unfinished;
    unfinished = p[count - 3] >= 0xF0 ? 3 : unfinished;
  } else if (count == 2 && p[0] >= 0xE0) {
    unfinished = 2;
  }
  const std::size_t consumed = count - unfinished;
  const __m256i lower = _mm256_permute2x128_si256(bytes, bytes, 0x08);
  const __m256i one_back = _mm256_alignr_epi8(bytes, lower, 15);
  const __m256i two_back = _mm256_alignr_epi8(bytes, lower, 14);
  const __m256i three_back = _mm256_alignr_epi8(bytes, lower, 13);
  const __m256i after_three = _mm256_subs_epu8(two_back, Bytes(0xE0 - 0x80));
  const __m256i fourth = _mm256_subs_epu8(three_back, Bytes(0xF0 - 0x80));
  const __m256i expected = _mm256_and_si256(_mm256_or_si256(after_three, fourth), Bytes(0x80));
  const __m256i errors = _mm256_xor_si256(FindPairErrors(bytes, one_back), expected);
  const std::uint32_t inside = FirstBits(consumed);
  block.consumed = consumed;
  if (AnyBits(errors, errors)) [[unlikely]] {
    // Behind the characters at hand, zeros seem to cut one off. The lead of an unfinished one still
    // tells whether what is in front of it was cut off.
    const std::uint32_t good = MaskOf(_mm256_cmpeq_epi8(errors, _mm256_setzero_si256()));
    const std::uint32_t known = unfinished != 0 ? inside << 1 | 1 : inside;
    if ((~good & known) != 0) block.consumed = 0;
  }
  block.bytes = bytes;
  block.trails = _mm256_cmpgt_epi8(Bytes(0xC0), bytes);
  block.before = _mm256_and_si256(one_back, block.trails);
  block.third = _mm256_blendv_epi8(_mm256_setzero_si256(), two_back, after_three);
  block.of_four[0] = _mm256_subs_epu8(two_back, Bytes(0xF0 - 0x80));
  block.of_four[1] = fourth;
  block.has_three = AnyBits(expected, expected);
  block.has_four = AnyBits(fourth, Bytes(0x80));
  block.ends = ~((MaskOf(block.trails) & inside) >> 1) & inside;
  return block;
}

inline Progress Sum(Progress a, Progress b) noexcept {
  return {a.consumed + b.consumed, a.written + b.written, a.characters + b.characters};
}

// What a kernel leaves in front of the end or of something special is for the scalar one.
inline Progress GoOn(Progress done, TextKernel scalar, const std::uint8_t* in, std::size_t size,
                     std::uint8_t* out, std::size_t room) noexcept {
  if (done.consumed == size) return done;
  return Sum(done, scalar(in + done.consumed, size - done.consumed, out + done.written,
                          room - done.written));
}

// The kernels, by file.
// convert_avx2_unicode.cc
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
// convert_avx2_single.cc
std::size_t SingleToUnits(const std::uint16_t* code_points, const std::uint8_t* in,
                          std::size_t size, std::uint16_t* out) noexcept;
std::size_t UnitsToSingle(const ByteEncodeTable& table, const std::uint16_t* in, std::size_t count,
                          std::uint8_t* out) noexcept;
Progress SingleToUtf8(const std::uint16_t* code_points, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
Progress Utf8ToSingle(const ByteEncodeTable& table, bool ascii, const std::uint8_t* in,
                      std::size_t size, std::uint8_t* out, std::size_t room) noexcept;
// convert_avx2_multibyte.cc
Progress UnitsToMultibyte(const MultibyteEncodeTable& table, const std::uint16_t* in,
                          std::size_t count, std::uint8_t* out, std::size_t room) noexcept;
// convert_avx2.cc
std::size_t NarrowAscii(const std::uint16_t* in, std::size_t count, std::uint8_t* out) noexcept;

}  // namespace kestra::nls::kernels::avx2
