// Between UTF-16 and UTF-8 with AVX2: sixteen units or 32 bytes a step.
//
// Both ways work like the AVX-512 kernels: the forms of all lanes are computed at once, masks choose
// between them, and the lanes that a shorter form leaves empty are squeezed out (avx2.h).
//
// From UTF-8 a unit is made at the last byte of each character out of this byte and the two before
// it; at the other bytes something is made too, and squeezed out:
//
//   bytes  41    C3   A9    E2   82   AC
//   units  0041  ..   00E9  ..   ..   20AC
#include "nls/kernels/convert_kernels.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include "nls/kernels/avx2.h"

namespace kestra::nls::kernels::avx2 {
namespace {

// Sixteen units, each with two bytes of its UTF-8 form; the third one is always that of `third`.
struct Forms {
  __m256i first_two;
  __m256i third;
  std::uint32_t more;  // two bits for each unit: it has a second byte, a third
  std::uint32_t lows;  // two bits for each low surrogate
  std::size_t count;   // units that these are, 0: something special is among them
};

// Each half of a surrogate pair makes two bytes of the four.
KES_AVX2 inline __m256i FormsOfPairs(__m256i units, __m256i lows) noexcept {
  const __m256i before =
      _mm256_alignr_epi8(units, _mm256_permute2x128_si256(units, units, 0x08), 14);
  const __m256i six = Words(0x3F);
  const __m256i high = _mm256_add_epi16(_mm256_and_si256(units, Words(0x3FF)), Words(0x40));
  const __m256i of_high =
      _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi16(high, 8), Words(0x80F0)),
                      _mm256_slli_epi16(_mm256_and_si256(_mm256_srli_epi16(high, 2), six), 8));
  const __m256i of_low = _mm256_or_si256(
      _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(before, Words(3)), 4),
                      _mm256_and_si256(_mm256_srli_epi16(units, 6), Words(0x0F))),
      _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(units, six), 8), Words(0x8080)));
  return _mm256_blendv_epi8(of_high, of_low, lows);
}

KES_AVX2 inline Forms FormsOf(__m256i units, std::size_t count, __m256i ascii) noexcept {
  const __m256i middle = _mm256_srli_epi16(units, 6);
  const __m256i last = _mm256_and_si256(units, Words(0x3F));
  const __m256i top = _mm256_and_si256(units, Words(0xF800));
  __m256i short_form = _mm256_cmpeq_epi16(top, _mm256_setzero_si256());
  const __m256i two =
      _mm256_or_si256(_mm256_or_si256(middle, _mm256_slli_epi16(last, 8)), Words(0x80C0));
  const __m256i three =
      _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi16(units, 12), Words(0x80E0)),
                      _mm256_slli_epi16(_mm256_and_si256(middle, Words(0x3F)), 8));
  Forms forms;
  forms.count = count;
  forms.lows = 0;
  forms.first_two = _mm256_blendv_epi8(_mm256_blendv_epi8(three, two, short_form), units, ascii);
  forms.third = _mm256_or_si256(last, Words(0x80));
  const __m256i surrogates = _mm256_cmpeq_epi16(top, Words(0xD800));
  const __m256i replacements = _mm256_cmpeq_epi16(units, Words(0xFFFD));
  const __m256i special = _mm256_or_si256(surrogates, replacements);
  std::uint32_t inside = FirstBits(2 * count);
  if (AnyBits(special, special)) {
    const __m256i low_units =
        _mm256_cmpeq_epi16(_mm256_and_si256(units, Words(0xFC00)), Words(0xDC00));
    const std::uint32_t lows = MaskOf(low_units);
    const std::uint32_t highs = MaskOf(surrogates) & ~lows;
    // A pair whose low half is in the next step begins there. What is wrong with a high surrogate
    // shows at the unit behind it, which the check therefore includes.
    const std::uint32_t checked = inside;
    if ((highs >> (2 * count - 1) & 1) != 0) inside = FirstBits(2 * --forms.count);
    const std::uint32_t bad = (lows ^ highs << 2) | MaskOf(replacements);
    if ((bad & checked) != 0) forms.count = 0;
    forms.lows = lows & inside;
    forms.first_two =
        _mm256_blendv_epi8(forms.first_two, FormsOfPairs(units, low_units), surrogates);
    short_form = _mm256_or_si256(short_form, surrogates);
  }
  forms.more = ~MaskOf(_mm256_blendv_epi8(ascii, short_form, Words(0xFF00))) & inside;
  return forms;
}

template <bool kSwap>
KES_AVX2 inline Progress Utf16ToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                     std::size_t room) noexcept {
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + (size & ~std::size_t{1});
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t lows = 0;
  while (p < end) {
    // ASCII, 32 units at a time.
    while (end - p >= 64 && out_end - q >= 32) {
      __m256i a = Load(p);
      __m256i b = Load(p + 32);
      if (AnyBits(_mm256_or_si256(a, b), Words(kSwap ? 0x80FF : 0xFF80))) break;
      if constexpr (kSwap) {
        a = _mm256_srli_epi16(a, 8);
        b = _mm256_srli_epi16(b, 8);
      }
      Store(q, _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
      p += 64;
      q += 32;
    }
    // The longest forms, and the rest of the last vector.
    if (p == end || out_end - q < 64) break;
    const auto left = static_cast<std::size_t>(end - p) / 2;
    const std::size_t count = left < 16 ? left : 16;
    __m256i units = count < 16 ? LoadPart(p, 2 * count) : Load(p);
    if constexpr (kSwap) units = SwapUnits(units);
    const __m256i ascii =
        _mm256_cmpeq_epi16(_mm256_and_si256(units, Words(0xFF80)), _mm256_setzero_si256());
    if (!AnyBits(units, Words(0xF800))) {
      const __m256i two =
          _mm256_or_si256(_mm256_or_si256(_mm256_srli_epi16(units, 6), Words(0x80C0)),
                          _mm256_slli_epi16(_mm256_and_si256(units, Words(0x3F)), 8));
      const __m256i forms = _mm256_blendv_epi8(two, units, ascii);
      // Eight bits of each half.
      const std::uint32_t more = ~MaskOf(_mm256_packs_epi16(ascii, ascii)) & 0x00FF00FF;
      Squeeze(q, _mm256_castsi256_si128(forms), kSecondsWithBit, more);
      Squeeze(q + 8 + CountBits(more & 0xFF), _mm256_extracti128_si256(forms, 1), kSecondsWithBit,
              more >> 16);
      p += 2 * count;
      q += count + CountBits(more);
      continue;
    }
    const Forms forms = FormsOf(units, count, ascii);
    if (forms.count == 0) break;
    const __m256i even = _mm256_unpacklo_epi16(forms.first_two, forms.third);
    const __m256i odd = _mm256_unpackhi_epi16(forms.first_two, forms.third);
    Squeeze(q, _mm256_castsi256_si128(even), kFormsWithBits, forms.more);
    Squeeze(q + 4 + CountBits(forms.more & 0xFF), _mm256_castsi256_si128(odd), kFormsWithBits,
            forms.more >> 8);
    Squeeze(q + 8 + CountBits(forms.more & 0xFFFF), _mm256_extracti128_si256(even, 1),
            kFormsWithBits, forms.more >> 16);
    Squeeze(q + 12 + CountBits(forms.more & 0xFFFFFF), _mm256_extracti128_si256(odd, 1),
            kFormsWithBits, forms.more >> 24);
    p += 2 * forms.count;
    q += forms.count + CountBits(forms.more);
    lows += CountBits(forms.lows) / 2;
  }
  const auto consumed = static_cast<std::size_t>(p - in);
  return GoOn({consumed, static_cast<std::size_t>(q - out), consumed / 2 - lows},
              kSwap ? scalar::Utf16BeToUtf8 : scalar::Utf16LeToUtf8, in, size & ~std::size_t{1},
              out, room);
}

// Units out of the last bytes of characters; at the third byte of four the high surrogate.
KES_AVX2 inline __m256i JoinBytes(const Utf8Block& block, __m256i low, __m256i high,
                                  bool upper) noexcept {
  __m256i units = upper ? _mm256_unpackhi_epi8(low, high) : _mm256_unpacklo_epi8(low, high);
  if (block.has_four) {
    const __m256i none = _mm256_setzero_si256();
    __m256i third = _mm256_cmpgt_epi8(none, block.of_four[0]);
    __m256i fourth = _mm256_cmpgt_epi8(none, block.of_four[1]);
    third = upper ? _mm256_unpackhi_epi8(third, third) : _mm256_unpacklo_epi8(third, third);
    fourth = upper ? _mm256_unpackhi_epi8(fourth, fourth) : _mm256_unpacklo_epi8(fourth, fourth);
    units = _mm256_blendv_epi8(units, _mm256_add_epi16(_mm256_srli_epi16(units, 4), Words(0xD7C0)),
                               third);
    units = _mm256_blendv_epi8(
        units, _mm256_or_si256(_mm256_and_si256(units, Words(0x3FF)), Words(0xDC00)), fourth);
  }
  return units;
}

template <bool kSwap>
KES_AVX2 inline Progress Utf8ToUtf16(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                     std::size_t room) noexcept {
  const std::uint8_t* p = in;
  const std::uint8_t* const end = in + size;
  std::uint8_t* q = out;
  std::uint8_t* const out_end = out + room;
  std::size_t pairs = 0;
  while (out_end - q >= 64) {
    // ASCII, 32 bytes at a time.
    while (end - p >= 32 && out_end - q >= 64) {
      const __m256i bytes = Load(p);
      if (MaskOf(bytes) != 0) break;
      __m256i low = _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes));
      __m256i high = _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1));
      if constexpr (kSwap) {
        low = _mm256_slli_epi16(low, 8);
        high = _mm256_slli_epi16(high, 8);
      }
      Store(q, low);
      Store(q + 32, high);
      p += 32;
      q += 64;
    }
    // A unit for each byte at most, and the rest of the last vector.
    if (p == end || out_end - q < 64) break;
    const Utf8Block block = LoadUtf8Block(p, static_cast<std::size_t>(end - p));
    if (block.consumed == 0) break;
    const __m256i last =
        _mm256_andnot_si256(_mm256_and_si256(block.trails, Bytes(0xC0)), block.bytes);
    const __m256i low =
        _mm256_or_si256(last, _mm256_and_si256(_mm256_slli_epi16(block.before, 6), Bytes(0xC0)));
    const __m256i high =
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(block.before, 2), Bytes(0x0F)),
                        _mm256_and_si256(_mm256_slli_epi16(block.third, 4), Bytes(0xF0)));
    __m256i even = JoinBytes(block, low, high, false);
    __m256i odd = JoinBytes(block, low, high, true);
    std::uint32_t made = block.ends;
    if (block.has_three) {
      const __m256i replacement = Words(0xFFFD);
      const __m256i found = _mm256_or_si256(_mm256_cmpeq_epi16(even, replacement),
                                            _mm256_cmpeq_epi16(odd, replacement));
      if (AnyBits(found, found)) break;
      const std::uint32_t thirds = MaskOf(block.of_four[0]) & FirstBits(block.consumed);
      made |= thirds;
      pairs += CountBits(thirds);
    }
    if constexpr (kSwap) {
      even = SwapUnits(even);
      odd = SwapUnits(odd);
    }
    Squeeze(q, _mm256_castsi256_si128(even), kWordsWithBit, made);
    Squeeze(q + 2 * CountBits(made & 0xFF), _mm256_castsi256_si128(odd), kWordsWithBit, made >> 8);
    Squeeze(q + 2 * CountBits(made & 0xFFFF), _mm256_extracti128_si256(even, 1), kWordsWithBit,
            made >> 16);
    Squeeze(q + 2 * CountBits(made & 0xFFFFFF), _mm256_extracti128_si256(odd, 1), kWordsWithBit,
            made >> 24);
    p += block.consumed;
    q += 2 * CountBits(made);
  }
  const auto written = static_cast<std::size_t>(q - out);
  return GoOn({static_cast<std::size_t>(p - in), written, written / 2 - pairs},
              kSwap ? scalar::Utf8ToUtf16Be : scalar::Utf8ToUtf16Le, in, size, out, room);
}

// Stops at surrogates too: characters outside the basic plane are for the slow way.
template <bool kSwap>
KES_AVX2 inline std::size_t Utf16ToUnits(const std::uint8_t* in, std::size_t count,
                                         std::uint16_t* out) noexcept {
  std::size_t i = 0;
  for (; i + 16 <= count; i += 16) {
    __m256i units = Load(in + 2 * i);
    if constexpr (kSwap) units = SwapUnits(units);
    Store(out + i, units);
    const __m256i special =
        _mm256_or_si256(_mm256_cmpeq_epi16(_mm256_and_si256(units, Words(0xF800)), Words(0xD800)),
                        _mm256_cmpeq_epi16(units, Words(0xFFFD)));
    if (AnyBits(special, special)) break;
  }
  return i +
         (kSwap ? scalar::Utf16BeToUnits : scalar::Utf16LeToUnits)(in + 2 * i, count - i, out + i);
}

}  // namespace

KES_AVX2 Progress Utf16BeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  return Utf16ToUtf8<true>(in, size, out, room);
}
KES_AVX2 Progress Utf16LeToUtf8(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  return Utf16ToUtf8<false>(in, size, out, room);
}
KES_AVX2 Progress Utf8ToUtf16Be(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  return Utf8ToUtf16<true>(in, size, out, room);
}
KES_AVX2 Progress Utf8ToUtf16Le(const std::uint8_t* in, std::size_t size, std::uint8_t* out,
                                std::size_t room) noexcept {
  return Utf8ToUtf16<false>(in, size, out, room);
}
KES_AVX2 std::size_t Utf16BeToUnits(const std::uint8_t* in, std::size_t count,
                                    std::uint16_t* out) noexcept {
  return Utf16ToUnits<true>(in, count, out);
}
KES_AVX2 std::size_t Utf16LeToUnits(const std::uint8_t* in, std::size_t count,
                                    std::uint16_t* out) noexcept {
  return Utf16ToUnits<false>(in, count, out);
}

}  // namespace kestra::nls::kernels::avx2

#endif
