// NUMBERs of up to eight base-100 digits, eight at a time.
//
// Each number is one masked load of its own length (nothing past it is touched). A byte permutation
// then puts the mantissas into eight 64-bit lanes, first digit on top, and the exponents into eight
// others; every later step works on all eight: bytes to digits for both signs, a shift by the
// exponent that puts the unit of the column's scale into the lowest byte, and three multiply-adds
// that join digits to pairs, pairs to fours, fours to the integer. Example, scale -1: C1 18 2E
// (23.45) is the lane 23 45 00 ..., the exponent 1; two places from the scale on, so 6 bytes are
// shifted out and 23 * 100 + 45 stays.
//
// Groups with anything malformed go to the portable code.
#if defined(__x86_64__)

#include "number/kernels/ldsb_decode.h"
#include "number/kernels/ldsb_lanes_avx512.h"

namespace kestra::number::dsb {
namespace {

constexpr std::size_t kLanes = 8;
constexpr std::size_t kSlot = 16;          // bytes of one number in a register
constexpr std::uint8_t kNothing[1] = {0};  // in place of a null: length-prefixed, of length 0

struct ByteIndex {
  alignas(64) std::uint8_t bytes[64];
};

// Byte b of lane k is mantissa byte 8 - b of number k, or (heads) its exponent byte in byte 0.
constexpr ByteIndex MakeIndex(bool heads) noexcept {
  ByteIndex index = {};
  for (std::size_t i = 0; i < 64; ++i) {
    index.bytes[i] = static_cast<std::uint8_t>(kSlot * (i / 8) + (heads ? 0 : 8 - i % 8));
  }
  return index;
}
constexpr ByteIndex kMantissas = MakeIndex(false);
constexpr ByteIndex kHeads = MakeIndex(true);

// Four numbers, each in 16 bytes, zeros after their end; a bit of loaded for each byte of them.
struct Four {
  __m512i bytes;
  std::uint64_t loaded;
};

KES_DSB_LANE __m128i LoadOne(const std::uint8_t* number, std::size_t length, bool null,
                             unsigned place, std::uint64_t* loaded) noexcept {
  const std::uint8_t* p = null || number == nullptr ? kNothing : number;
  length = p == kNothing ? 0 : length;
  const std::size_t prefix = *p;
  const bool prefixed = length == 0;
  p += prefixed ? 1 : 0;
  length = prefixed ? prefix : length;
  const auto bits = static_cast<unsigned>(length < kSlot ? length : kSlot);
  const auto mask = static_cast<__mmask16>(_bzhi_u32(0xFFFF, bits));
  *loaded |= static_cast<std::uint64_t>(mask) << kSlot * place;
  return _mm_maskz_loadu_epi8(mask, p);
}

KES_DSB_LANE Four LoadFour(const std::uint8_t* const* numbers, const std::uint16_t* lengths,
                           unsigned null_bits) noexcept {
  std::uint64_t loaded = 0;
  __m128i x[4];
#pragma GCC unroll 4
  for (unsigned j = 0; j < 4; ++j) {
    const std::size_t length = lengths == nullptr ? 0 : lengths[j];
    x[j] = LoadOne(numbers[j], length, (null_bits >> j & 1) != 0, j, &loaded);
  }
  __m512i bytes = _mm512_castsi128_si512(x[0]);
  bytes = _mm512_inserti32x4(bytes, x[1], 1);
  bytes = _mm512_inserti32x4(bytes, x[2], 2);
  bytes = _mm512_inserti32x4(bytes, x[3], 3);
  return {bytes, loaded};
}

// The integers of eight numbers; false when the portable code must look at them.
KES_DSB_LANE bool DecodeEight(const Four& low, const Four& high, std::int32_t scale,
                              std::int64_t* out) noexcept {
  const __m512i mantissa =
      _mm512_permutex2var_epi8(low.bytes, _mm512_load_si512(kMantissas.bytes), high.bytes);
  const __m512i heads = _mm512_maskz_permutex2var_epi8(0x0101010101010101, low.bytes,
                                                       _mm512_load_si512(kHeads.bytes), high.bytes);
  const __mmask64 zero_bytes = _mm512_mask_testn_epi8_mask(low.loaded, low.bytes, low.bytes) |
                               _mm512_mask_testn_epi8_mask(high.loaded, high.bytes, high.bytes);

  const __mmask8 negative = _mm512_cmplt_epu64_mask(heads, _mm512_set1_epi64(kZeroByte));
  const __m512i negative_lanes = _mm512_movm_epi64(negative);
  const __m512i positive_digits = _mm512_subs_epu8(mantissa, _mm512_set1_epi8(1));
  const __m512i digits_any = _mm512_mask_subs_epu8(
      positive_digits, _mm512_movepi8_mask(negative_lanes), _mm512_set1_epi8(kBase + 1), mantissa);
  const __m512i digits = _mm512_maskz_min_epu8(_mm512_test_epi8_mask(mantissa, mantissa),
                                               digits_any, _mm512_set1_epi8(kBase - 1));

  const __m512i exponents =
      _mm512_xor_si512(heads, _mm512_and_si512(negative_lanes, _mm512_set1_epi64(0xFF)));
  const __m512i places =
      _mm512_sub_epi64(exponents, _mm512_set1_epi64(std::int64_t{kExponentBias} + scale));
  const __mmask8 too_long = _mm512_mask_cmpgt_epi64_mask(_mm512_test_epi64_mask(heads, heads),
                                                         places, _mm512_set1_epi64(8));
  const __mmask8 leading_zero = _mm512_mask_cmplt_epu64_mask(
      _mm512_test_epi64_mask(digits, digits), digits, _mm512_set1_epi64(std::int64_t{1} << 56));
  if ((zero_bytes | too_long | leading_zero) != 0) return false;

  const __m512i shift = _mm512_sub_epi64(_mm512_set1_epi64(64), _mm512_slli_epi64(places, 3));
  const __m512i lanes = _mm512_srlv_epi64(digits, shift);  // shifts of 64 and more give 0
  const __m512i pairs = _mm512_maddubs_epi16(lanes, _mm512_set1_epi16(100 << 8 | 1));
  const __m512i fours = _mm512_madd_epi16(pairs, _mm512_set1_epi32(10'000 << 16 | 1));
  const __m512i upper =
      _mm512_mul_epu32(_mm512_srli_epi64(fours, 32), _mm512_set1_epi64(100'000'000));
  const __m512i value =
      _mm512_add_epi64(upper, _mm512_and_si512(fours, _mm512_set1_epi64(0xFFFFFFFF)));
  _mm512_storeu_si512(out, _mm512_mask_sub_epi64(value, negative, _mm512_setzero_si512(), value));
  return true;
}

}  // namespace

KES_DSB_TARGET void DecodeShortAvx512(std::size_t n, const std::uint8_t* const* numbers,
                                      const std::uint16_t* lengths, const std::uint8_t* nulls,
                                      std::int32_t scale, std::int64_t* out) noexcept {
  std::size_t first = 0;
  for (; first + kLanes <= n; first += kLanes) {
    const unsigned null_bits = nulls == nullptr ? 0u : nulls[first / 8];
    const std::uint16_t* group_lengths = lengths == nullptr ? nullptr : lengths + first;
    const Four low = LoadFour(numbers + first, group_lengths, null_bits);
    const Four high =
        LoadFour(numbers + first + 4, group_lengths == nullptr ? nullptr : group_lengths + 4,
                 null_bits >> 4);
    if (!DecodeEight(low, high, scale, out + first)) {
      DecodeShort(kLanes, numbers + first, group_lengths,
                  nulls == nullptr ? nullptr : nulls + first / 8, scale, out + first);
    }
  }
  if (first < n) {
    DecodeShort(n - first, numbers + first, lengths == nullptr ? nullptr : lengths + first,
                nulls == nullptr ? nullptr : nulls + first / 8, scale, out + first);
  }
}

}  // namespace kestra::number::dsb

#endif
