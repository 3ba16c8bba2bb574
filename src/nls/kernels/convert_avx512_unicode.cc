// The kernels for AVX-512 with VBMI and VBMI2: 32 units or 64 bytes a step.
//
// Both directions between UTF-16 and UTF-8 work the same way. Each unit is spread over as many
// lanes as its longest form needs, the forms are computed for all lanes at once, masks choose
// between them, and one byte compression squeezes out the lanes that a shorter form leaves empty.
// Validity is a few operations on 64-bit masks of byte classes, one bit for each byte: what must
// continue a sequence is the lead bytes shifted up, and has to equal what does continue one.
//
//   bytes          41  C3 A9  E2 82 AC     continuation  0 0 1 0 1 1
//   leads of 2, 3  ..  2. ..  3. .. ..     2<<1 | 3<<1 | 3<<2   = the same
//
// Loads and stores are masked at the end, so that short texts need no other loop.
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx512.h"

namespace kestra::nls::kernels::avx512 {
namespace {

// UTF-8 of sixteen units in dwords, in the low bytes of each; empty bytes are zero.
KES_AVX512 inline __m512i Utf8OfUnits(__m512i units) noexcept {
  const __mmask16 two_up = _mm512_cmpge_epu32_mask(units, Dwords(0x80));
  const __mmask16 three = _mm512_cmpge_epu32_mask(units, Dwords(0x800));
  const __m512i last = _mm512_and_si512(units, Dwords(0x3F));
  const __m512i middle = _mm512_srli_epi32(units, 6);
  __m512i result = units;
  result = _mm512_mask_or_epi32(result, two_up, _mm512_or_si512(middle, Dwords(0x80C0)),
                                _mm512_slli_epi32(last, 8));
  const __m512i lead = _mm512_or_si512(_mm512_srli_epi32(units, 12), Dwords(0x8080E0));
  const __m512i second = _mm512_slli_epi32(_mm512_and_si512(middle, Dwords(0x3F)), 8);
  return _mm512_mask_mov_epi32(result, three, Or3(lead, second, _mm512_slli_epi32(last, 16)));
}

// The same for the pairs: sixteen high surrogates and the units behind them.
KES_AVX512 inline __m512i Utf8OfPairs(__m512i high, __m512i low) noexcept {
  const __m512i code_points =
      _mm512_add_epi32(_mm512_slli_epi32(high, 10),
                       _mm512_sub_epi32(low, Dwords((0xD800u << 10) + 0xDC00 - 0x10000)));
  const __m512i six = Dwords(0x3F);
  const __m512i b1 =
      _mm512_slli_epi32(_mm512_and_si512(_mm512_srli_epi32(code_points, 12), six), 8);
  const __m512i b2 =
      _mm512_slli_epi32(_mm512_and_si512(_mm512_srli_epi32(code_points, 6), six), 16);
  const __m512i b3 = _mm512_slli_epi32(code_points, 24);
  const __m512i b3_only = _mm512_and_si512(b3, Dwords(0x3F000000));
  const __m512i b0 = _mm512_or_si512(_mm512_srli_epi32(code_points, 18), Dwords(0x808080F0));
  return _mm512_or_si512(Or3(b0, b1, b2), b3_only);
}

// The forms of 32 units, four bytes a unit, and the bytes that they consist of.
struct Forms {
  __m512i bytes[2];
  __m512i kept[2];  // not zero
};

KES_AVX512 inline Forms FormsOf(__m512i first_half, __m512i second_half) noexcept {
  const __m512i first_byte = Dwords(0xFF);  // stays, also when it is a zero
  const __m512i first = Utf8OfUnits(first_half);
  const __m512i second = Utf8OfUnits(second_half);
  return {{first, second},
          {_mm512_or_si512(first, first_byte), _mm512_or_si512(second, first_byte)}};
}

// Puts in the forms of pairs, at their high halves. next: the units behind each.
KES_AVX512 inline void PutPairs(Forms& forms, __m512i first_half, __m512i second_half, __m512i next,
                                std::uint32_t high, std::uint32_t low) noexcept {
  const __m512i first_byte = Dwords(0xFF);
  const __m512i first =
      _mm512_mask_mov_epi32(forms.bytes[0], static_cast<__mmask16>(high),
                            Utf8OfPairs(first_half, _mm512_cvtepu16_epi32(Half(next, 0))));
  const __m512i second =
      _mm512_mask_mov_epi32(forms.bytes[1], static_cast<__mmask16>(high >> 16),
                            Utf8OfPairs(second_half, _mm512_cvtepu16_epi32(Half(next, 1))));
  forms.bytes[0] = first;
  forms.bytes[1] = second;
  forms.kept[0] =
      _mm512_maskz_mov_epi32(static_cast<__mmask16>(~low), _mm512_or_si512(first, first_byte));
  forms.kept[1] = _mm512_maskz_mov_epi32(static_cast<__mmask16>(~low >> 16),
                                         _mm512_or_si512(second, first_byte));
}

template <bool kSwap>
KES_AVX512 inline Progress Utf16ToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                       std::size_t room) noexcept {
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + (size & ~std::size_t{1});
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t lows = 0;
  const __m512i ascii_limit = Words(0x80);
  // Where the low byte of a unit lies, for two vectors at once.
  const __m512i byte_numbers = ByteNumbers();
  const __m512i low_bytes =
      _mm512_add_epi8(_mm512_add_epi8(byte_numbers, byte_numbers), Bytes(kSwap ? 1 : 0));
  const __m512i not_ascii = Words(kSwap ? 0x80FF : 0xFF80);
  while (p < end) {
    // ASCII, 64 units at a time.
    while (end - p >= 128 && out_end - q >= 64) {
      const __m512i a = _mm512_loadu_si512(p);
      const __m512i b = _mm512_loadu_si512(p + 64);
      if (_mm512_test_epi16_mask(_mm512_or_si512(a, b), not_ascii) != 0) break;
      _mm512_storeu_si512(q, _mm512_permutex2var_epi8(a, low_bytes, b));
      p += 128;
      q += 64;
    }
    const auto left = static_cast<std::size_t>(end - p) / 2;
    if (left == 0) break;
    std::size_t count = left < 32 ? left : 32;
    auto mask = static_cast<__mmask32>(FirstBits(count));
    __m512i units = _mm512_maskz_loadu_epi16(mask, p);
    if constexpr (kSwap) units = SwapUnits(units);
    const auto free = static_cast<std::size_t>(out_end - q);
    const std::uint32_t two_up = _mm512_cmpge_epu16_mask(units, ascii_limit);
    const std::uint32_t three = _mm512_cmpge_epu16_mask(units, Words(0x800));
    if (three == 0) {
      const std::size_t length = count + CountBits(two_up);
      if (length > free) break;
      const __m512i pair =
          Or3(_mm512_srli_epi16(units, 6),
              _mm512_slli_epi16(_mm512_and_si512(units, Words(0x3F)), 8), Words(0x80C0));
      const __m512i spread = _mm512_mask_mov_epi16(units, two_up, pair);
      const std::uint64_t keep = kEvenBytes | _pdep_u64(two_up, ~kEvenBytes);
      Store(q, free, _mm512_maskz_compress_epi8(keep, spread), length);
      p += 2 * count;
      q += length;
      continue;
    }
    bool last = false;
    const __m512i top = _mm512_and_si512(units, Words(0xFC00));
    const std::uint32_t high = _mm512_cmpeq_epi16_mask(top, Words(0xD800));
    const std::uint32_t low = _mm512_cmpeq_epi16_mask(top, Words(0xDC00));
    const std::uint32_t replacement = _mm512_cmpeq_epi16_mask(units, Words(0xFFFD));
    // A pair whose low half is in the next step begins there. No branch: emoji are anywhere.
    const std::uint32_t last_unit = p[2 * count - (kSwap ? 2 : 1)];
    count -= (last_unit & 0xFC) == 0xD8 ? 1 : 0;
    if (count == 0) break;
    const std::uint64_t inside = FirstBits(count);
    const std::uint64_t bad = ((high & ~(low >> 1)) | (low & ~(high << 1)) | replacement) & inside;
    if (bad != 0) {
      count = static_cast<std::size_t>(_tzcnt_u64(bad));
      if (count == 0) break;
      last = true;
    }
    const __m512i first_half = _mm512_cvtepu16_epi32(Half(units, 0));
    const __m512i second_half = _mm512_cvtepu16_epi32(Half(units, 1));
    Forms forms = FormsOf(first_half, second_half);
    if (high != 0) {
      mask = static_cast<__mmask32>(FirstBits(left - 1 < 32 ? left - 1 : 32));
      __m512i next = _mm512_maskz_loadu_epi16(mask, p + 2);
      if constexpr (kSwap) next = SwapUnits(next);
      PutPairs(forms, first_half, second_half, next, high, low);
    }
    const std::uint64_t keep1 = _mm512_test_epi8_mask(forms.kept[0], forms.kept[0]) &
                                FirstBits(count < 16 ? 4 * count : 64);
    const std::uint64_t keep2 = _mm512_test_epi8_mask(forms.kept[1], forms.kept[1]) &
                                FirstBits(count > 16 ? 4 * count - 64 : 0);
    const std::size_t length1 = CountBits(keep1);
    const std::size_t length2 = CountBits(keep2);
    if (length1 + length2 > free) break;
    Store(q, free, _mm512_maskz_compress_epi8(keep1, forms.bytes[0]), length1);
    Store(q + length1, free - length1, _mm512_maskz_compress_epi8(keep2, forms.bytes[1]), length2);
    p += 2 * count;
    q += length1 + length2;
    lows += CountBits(low & FirstBits(count));
    if (last) break;
  }
  const auto consumed = static_cast<std::size_t>(p - in);
  return {consumed, static_cast<std::size_t>(q - out), consumed / 2 - lows};
}

// The units that are made at the bytes of `made`, 64 at most; those of `third` are high surrogates.
KES_AVX512 inline void UnitsOf(const Utf8Block& block, std::uint64_t made, std::uint64_t third,
                               __m512i units[2]) noexcept {
  const __m512i trail_bits = Bytes(0x3F);
  const __m512i b0 =
      _mm512_mask_mov_epi8(block.bytes, block.trail, _mm512_and_si512(block.bytes, trail_bits));
  // The byte before, for characters of two and more bytes, and the one before that for three.
  const __m512i b1 = _mm512_maskz_permutexvar_epi8(block.expected, OneBack(), block.bytes);
  const __m512i b2 = _mm512_maskz_permutexvar_epi8(block.lead3_up << 2 | block.lead4_up << 3,
                                                   TwoBack(), block.bytes);
  const __m512i packed0 = _mm512_maskz_compress_epi8(made, b0);
  const __m512i packed1 = _mm512_maskz_compress_epi8(made, _mm512_and_si512(b1, trail_bits));
  const __m512i packed2 = _mm512_maskz_compress_epi8(made, _mm512_and_si512(b2, Bytes(0x0F)));
  const auto third_units = _pext_u64(third, made);
  for (int half = 0; half < 2; ++half) {
    __m512i unit = Or3(_mm512_cvtepu8_epi16(Half(packed0, half)),
                       _mm512_slli_epi16(_mm512_cvtepu8_epi16(Half(packed1, half)), 6),
                       _mm512_slli_epi16(_mm512_cvtepu8_epi16(Half(packed2, half)), 12));
    if (third != 0) {
      const auto high = static_cast<__mmask32>(third_units >> (32 * half));
      const auto low = static_cast<__mmask32>((third_units << 1) >> (32 * half));
      unit = _mm512_mask_add_epi16(unit, high, _mm512_srli_epi16(unit, 4), Words(0xD7C0));
      unit = _mm512_mask_mov_epi16(
          unit, low, _mm512_or_si512(_mm512_and_si512(unit, Words(0x3FF)), Words(0xDC00)));
    }
    units[half] = unit;
  }
}

template <bool kSwap>
KES_AVX512 inline Progress Utf8ToUtf16(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                       std::size_t room) noexcept {
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + (room & ~std::size_t{1});
  std::size_t pairs = 0;
  while (p < end) {
    while (end - p >= 64 && out_end - q >= 128) {
      const __m512i bytes = _mm512_loadu_si512(p);
      if (_mm512_movepi8_mask(bytes) != 0) break;
      __m512i low = _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes));
      __m512i high = _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1));
      if constexpr (kSwap) {
        low = _mm512_slli_epi16(low, 8);
        high = _mm512_slli_epi16(high, 8);
      }
      _mm512_storeu_si512(q, low);
      _mm512_storeu_si512(q + 64, high);
      p += 64;
      q += 128;
    }
    const auto left = static_cast<std::size_t>(end - p);
    if (left == 0) break;
    const Utf8Block block = LoadUtf8Block(p, left);
    std::size_t consumed = block.consumed;
    if (consumed == 0) break;
    bool last = block.last;
    const std::uint64_t inside = FirstBits(consumed);
    // A unit is made at the last byte of each character; of a character of four bytes also at the
    // third, which makes the high surrogate.
    const std::uint64_t fourth = block.lead4_up << 3 & inside;
    const std::uint64_t third = fourth >> 1;
    const std::uint64_t made = (~((block.trail & inside) >> 1) & inside) | third;
    __m512i result[2];
    UnitsOf(block, made, third, result);
    std::size_t units = CountBits(made);
    if (block.lead3_up != 0) {
      const __m512i replacement = Words(0xFFFD);
      const std::uint64_t found =
          (_mm512_cmpeq_epi16_mask(result[0], replacement) |
           static_cast<std::uint64_t>(_mm512_cmpeq_epi16_mask(result[1], replacement)) << 32) &
          FirstBits(units);
      if (found != 0) {
        units = static_cast<std::size_t>(_tzcnt_u64(found));
        consumed = static_cast<std::size_t>(_tzcnt_u64(_pdep_u64(1ull << units, made))) - 2;
        if (consumed == 0) break;
        last = true;
      }
    }
    const auto free = static_cast<std::size_t>(out_end - q);
    if (2 * units > free) break;
    if constexpr (kSwap) {
      result[0] = SwapUnits(result[0]);
      result[1] = SwapUnits(result[1]);
    }
    if (free >= 128) [[likely]] {
      _mm512_storeu_si512(q, result[0]);
      _mm512_storeu_si512(q + 64, result[1]);
    } else {
      _mm512_mask_storeu_epi16(q, static_cast<__mmask32>(FirstBits(units)), result[0]);
      _mm512_mask_storeu_epi16(q + 64, static_cast<__mmask32>(FirstBits(units) >> 32), result[1]);
    }
    p += consumed;
    q += 2 * units;
    pairs += CountBits(fourth & FirstBits(consumed));
    if (last) break;
  }
  const auto written = static_cast<std::size_t>(q - out);
  return {static_cast<std::size_t>(p - in), written, written / 2 - pairs};
}

// Stops at surrogates too: characters outside the basic plane are for the slow way.
template <bool kSwap>
KES_AVX512 inline std::size_t Utf16ToUnits(const std::uint8_t* in, std::size_t count,
                                           std::uint16_t* out) noexcept {
  std::size_t i = 0;
  while (i < count) {
    const std::size_t step = count - i < 32 ? count - i : 32;
    const auto mask = static_cast<__mmask32>(FirstBits(step));
    __m512i units = _mm512_maskz_loadu_epi16(mask, in + 2 * i);
    if constexpr (kSwap) units = SwapUnits(units);
    _mm512_mask_storeu_epi16(out + i, mask, units);
    const std::uint32_t stop =
        _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, Words(0xF800)), Words(0xD800)) |
        _mm512_cmpeq_epi16_mask(units, Words(0xFFFD));
    if (stop != 0) return i + static_cast<std::size_t>(_tzcnt_u32(stop));
    i += step;
  }
  return count;
}

}  // namespace

KES_AVX512 std::size_t NarrowCodePoints(const std::uint32_t* in, std::size_t count,
                                        std::uint16_t* out) noexcept {
  for (std::size_t i = 0; i < count; i += 16) {
    const auto lanes = static_cast<__mmask16>(FirstBits(count - i < 16 ? count - i : 16));
    const __m512i code_points = _mm512_maskz_loadu_epi32(lanes, in + i);
    _mm512_mask_cvtepi32_storeu_epi16(out + i, lanes, code_points);
    const std::uint32_t other =
        _mm512_cmpge_epu32_mask(code_points, Dwords(0xFFFD)) |
        _mm512_cmpeq_epi32_mask(_mm512_and_si512(code_points, Dwords(0xFFFFF800)), Dwords(0xD800));
    if (other != 0) return i + static_cast<std::size_t>(_tzcnt_u32(other));
  }
  return count;
}

KES_AVX512 Progress Utf16BeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                  std::size_t room) noexcept {
  return Utf16ToUtf8<true>(in, size, out, room);
}
KES_AVX512 Progress Utf16LeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                  std::size_t room) noexcept {
  return Utf16ToUtf8<false>(in, size, out, room);
}
KES_AVX512 Progress Utf8ToUtf16Be(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                  std::size_t room) noexcept {
  return Utf8ToUtf16<true>(in, size, out, room);
}
KES_AVX512 Progress Utf8ToUtf16Le(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                  std::size_t room) noexcept {
  return Utf8ToUtf16<false>(in, size, out, room);
}
KES_AVX512 std::size_t Utf16BeToUnits(const std::uint8_t* in, std::size_t count,
                                      std::uint16_t* out) noexcept {
  return Utf16ToUnits<true>(in, count, out);
}
KES_AVX512 std::size_t Utf16LeToUnits(const std::uint8_t* in, std::size_t count,
                                      std::uint16_t* out) noexcept {
  return Utf16ToUnits<false>(in, count, out);
}

}  // namespace kestra::nls::kernels::avx512

#endif
