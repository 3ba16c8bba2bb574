// Number text in one register: both conversions work on all digits at once and do not branch on
// their number, on the sign or on the place of the point.
//
// To text: the mantissa bytes become digits 0..99, each digit two characters in a 16-bit lane
// (256 d - 2559 (d / 10)), a byte permutation drops a leading zero or adds the zeros of 0.00d, and
// an expansion spreads the row over a register of points, leaving one of them visible:
//   C2 02 18 2E  ->  "012345"  ->  "12345"  ->  "123.45".
// From text is the mirror image: compress the point away, align by the parity of the point, and
// multiply the digits by 10 and 1 in pairs. Tested against the ordinary code in
// tests/number/lnx_text_test.cc and by the fuzz target.
#include "number/kernels/lnx_text_kernels.h"
#include "number/lnx_figures.h"

#if defined(__x86_64__)
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // GCC 12's own _mm512_undefined_epi32
#endif
#include <immintrin.h>

#include <algorithm>

#define KES_TARGET \
  __attribute__((  \
      target("avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt")))

namespace kestra::number {
namespace {

constexpr int kLanes = 64;

// The bytes 0, 1, 2 ... 63.
alignas(64) constexpr auto kIota = [] {
  struct {
    std::uint8_t at[kLanes];
  } iota{};
  for (int i = 0; i < kLanes; ++i) iota.at[i] = static_cast<std::uint8_t>(i);
  return iota;
}();

KES_TARGET inline __m512i Broadcast(int byte) noexcept {
  return _mm512_set1_epi8(static_cast<char>(byte));
}

// The row moved so that lane i holds lane i + by, around the end.
KES_TARGET inline __m512i Rotated(__m512i row, int by) noexcept {
  const __m512i index = _mm512_add_epi8(_mm512_load_si512(kIota.at), Broadcast(by));
  return _mm512_permutexvar_epi8(index, row);
}

KES_TARGET inline std::uint64_t LowBits(std::uint64_t count) noexcept {
  return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(count));
}

// The bytes of a number as plain text with "." and no groups. Returns the length; 0: malformed,
// without digits, longer than 64 bytes or too long for the room.
KES_TARGET inline std::size_t ToPlain(std::span<const std::uint8_t> bytes, std::uint8_t* out,
                                      std::size_t outsize) noexcept {
  const std::size_t size = bytes.size();
  if (size < 2 || size > kMaxBytes) return 0;
  // Signs come at random: 0 or 1 is calculated with, never branched on.
  const unsigned negative = static_cast<unsigned>(bytes[0] >> 7) ^ 1u;
  const unsigned terminated = negative & static_cast<unsigned>(bytes[size - 1] == kTerminator);
  const auto count = static_cast<int>(size - 1 - terminated);
  const unsigned full = count == kMaxDigits;
  const unsigned badly_ended = negative & ~(full ^ terminated);
  const unsigned flipped = 0xFF & (0u - negative);
  const int exponent = static_cast<int>(bytes[0] ^ flipped) - kExponentBias;

  const auto lanes = static_cast<__mmask32>(LowBits(static_cast<unsigned>(count)));
  const __m256i flip = _mm256_set1_epi8(static_cast<char>(flipped));
  const __m256i shift = _mm256_set1_epi8(static_cast<char>(0xFF ^ (flipped & (0xFF ^ 102))));
  const __m256i stored = _mm256_maskz_loadu_epi8(lanes, bytes.data() + 1);
  const __m256i digits = _mm256_maskz_add_epi8(lanes, _mm256_xor_si256(stored, flip), shift);
  const __mmask32 outside = _mm256_cmpgt_epu8_mask(digits, _mm256_set1_epi8(kBase - 1));

  const __m512i wide = _mm512_cvtepu8_epi16(digits);
  const __m512i tens = _mm512_mulhi_epu16(wide, _mm512_set1_epi16(6554));
  const __m512i pairs = _mm512_sub_epi16(_mm512_slli_epi16(wide, 8),
                                         _mm512_mullo_epi16(tens, _mm512_set1_epi16(2559)));
  const std::uint64_t nonzero = _mm512_test_epi8_mask(pairs, pairs);
  const __m512i row = _mm512_add_epi8(pairs, Broadcast('0'));
  const int first = static_cast<int>(_tzcnt_u64(nonzero));
  const int last = 63 - static_cast<int>(_lzcnt_u64(nonzero));
  if ((outside != 0) | (first > 1) | (last < 2 * count - 2) | (count == 0) | badly_ended) return 0;

  const int point = 2 * exponent - first;
  const int integers = std::max(point, 1);
  const int zeros = integers - point;  // written before the first digit
  const int fraction = std::max(last + 1 - first - point, 0);
  const unsigned dotted = fraction > 0;
  const int dot = integers + static_cast<int>(negative);
  const auto length = static_cast<std::size_t>(dot + fraction + static_cast<int>(dotted));
  // A row has 22 zeros and more after the last digit; rotating brings them to the front.
  if ((zeros > 22) | (length > kLanes) | (length > outsize)) return 0;
  const std::uint64_t places =
      ~(static_cast<std::uint64_t>(dotted) << (dot & 63)) & ~std::uint64_t{negative};
  const __m512i frame = _mm512_mask_mov_epi8(Broadcast('.'), 1, Broadcast('-'));
  const __m512i text = _mm512_mask_expand_epi8(frame, places, Rotated(row, first - zeros));
  _mm512_mask_storeu_epi8(out, LowBits(length), text);
  return length;
}

// [sign] digits [. digits] of at most 63 bytes as a number; writes into bytes up to its length
// alone. Returns the length; 0: anything else in the text, or digits to round.
KES_TARGET inline std::size_t FromPlain(const std::uint8_t* given, std::size_t size,
                                        std::uint8_t* bytes) noexcept {
  if (size < 1 || size >= kLanes) return 0;
  const unsigned negative = given[0] == '-';
  const std::uint64_t sign = negative | static_cast<unsigned>(given[0] == '+');
  const std::uint64_t inside = LowBits(size) & ~sign;
  const __m512i text = _mm512_maskz_loadu_epi8(inside, given);
  const __m512i values = _mm512_sub_epi8(text, Broadcast('0'));
  const std::uint64_t digits = _mm512_mask_cmplt_epu8_mask(inside, values, Broadcast(10));
  const std::uint64_t others = inside & ~digits;
  const std::uint64_t dots = _mm512_cmpeq_epi8_mask(text, Broadcast('.'));
  if ((others != (others & dots)) | ((others & (others - 1)) != 0) | (digits == 0)) return 0;

  const __m512i row = _mm512_maskz_compress_epi8(digits, values);
  const std::uint64_t nonzero = _mm512_test_epi8_mask(row, row);
  if (nonzero == 0) {
    bytes[0] = kZeroByte;
    return 1;
  }
  // others - 1 covers what is before the point, everything when there is none.
  const int integers = static_cast<int>(_mm_popcnt_u64(digits & (others - 1)));
  const int first = static_cast<int>(_tzcnt_u64(nonzero));
  const int last = 63 - static_cast<int>(_lzcnt_u64(nonzero));
  const int point = integers - first;
  const int half = point & 1;
  const int exponent = (point + half) / 2;
  const int count = (last - first + half) / 2 + 1;
  if (count > kMaxDigits) return 0;

  // Mantissa bytes begin at lane 1, after the exponent byte. Lane 63 of the row is zero, and stands
  // before its lane 0 when the first pair is half.
  const __m512i aligned = Rotated(row, first - half - 2);
  const __m512i pairs = _mm512_maddubs_epi16(aligned, _mm512_set1_epi16(0x010A));
  const __m256i base100 = _mm512_cvtepi16_epi8(pairs);
  const unsigned flipped = 0xFF & (0u - negative);
  const __m256i flip = _mm256_set1_epi8(static_cast<char>(flipped));
  const __m256i shift = _mm256_set1_epi8(static_cast<char>(1 ^ (flipped & (1 ^ 102))));
  const __m256i mantissa = _mm256_add_epi8(_mm256_xor_si256(base100, flip), shift);
  const unsigned exponent_byte = static_cast<unsigned>(exponent + kExponentBias) ^ flipped;
  const unsigned terminated = negative & static_cast<unsigned>(count < kMaxDigits);
  const auto end = static_cast<__mmask32>(2 * terminated << count);
  __m256i number =
      _mm256_mask_mov_epi8(mantissa, 1, _mm256_set1_epi8(static_cast<char>(exponent_byte)));
  number = _mm256_mask_mov_epi8(number, end, _mm256_set1_epi8(static_cast<char>(kTerminator)));
  const unsigned stored = 1 + static_cast<unsigned>(count) + terminated;
  _mm256_mask_storeu_epi8(bytes, static_cast<__mmask32>(LowBits(stored)), number);
  return stored;
}

KES_TARGET int ToText(const std::uint8_t* x, std::size_t xlen, const lnxtextform* form,
                      const lnxsymbols* symbols, std::uint8_t* out, std::size_t outsize,
                      std::size_t* outlen) noexcept {
  if (symbols == nullptr && (form == nullptr || (form->kind | form->flags) == 0)) {
    const std::size_t size = ToPlain(RawBytes(x, xlen), out, outsize);
    if (size > 0) {
      *outlen = size;
      return LNX_OK;
    }
  }
  return scalar::ToText(x, xlen, form, symbols, out, outsize, outlen);
}

KES_TARGET int FromText(const std::uint8_t* text, std::size_t textlen, const lnxsymbols* symbols,
                        std::uint8_t* out, std::size_t* outlen, std::size_t* bad) noexcept {
  if (symbols == nullptr && text != nullptr) {
    const std::size_t size = FromPlain(text, textlen, outlen == nullptr ? out + 1 : out);
    if (size > 0) {
      if (outlen == nullptr) {
        *out = static_cast<std::uint8_t>(size);
      } else {
        *outlen = size;
      }
      return LNX_OK;
    }
  }
  return scalar::FromText(text, textlen, symbols, out, outlen, bad);
}

}  // namespace

extern const TextKernels kAvx512TextKernels;
constinit const TextKernels kAvx512TextKernels = {ToText, FromText};

}  // namespace kestra::number
#endif
