// Filling vectors from NUMBERs. A first pass finds the scale and the digits that the column needs,
// from the exponent and the ends of each number alone; the second turns digits into integers,
// blocks of them at a time through 64-bit integers when 8 base-100 digits are enough.
#include "number/kernels/ldsb_decode.h"
#include "number/ldsb_load.h"

namespace kestra::number::dsb {
namespace {

// The places of a number that is not zero: 100^(top - 1) down to 100^bottom.
struct Places {
  int top;
  int bottom;
};

enum class Found : std::uint8_t { kZero, kPlaces, kInfinity };

Found PlacesOfAny(std::span<const std::uint8_t> bytes, Places* places) noexcept {
  const Decimal value = ReadNumber(bytes);
  if (value.kind == Kind::kInfinity) return Found::kInfinity;
  if (value.kind == Kind::kZero) return Found::kZero;
  *places = {value.exponent, value.exponent - value.count};
  return Found::kPlaces;
}

// Well-formed numbers need their first byte and the two ends of the mantissa.
KES_DSB_INLINE Found FindPlaces(std::span<const std::uint8_t> bytes, Places* places) noexcept {
  const std::size_t length = bytes.size();
  if (length < 2) return PlacesOfAny(bytes, places);
  const std::uint8_t head = bytes[0];
  const bool negative = head < kZeroByte;
  const std::size_t last = length - 1 - (negative && bytes[length - 1] == kTerminator ? 1 : 0);
  if (head == 255 || last == 0 || DigitOf(bytes[1], negative) == 0 ||
      DigitOf(bytes[last], negative) == 0) {
    return PlacesOfAny(bytes, places);
  }
  const int exponent = (negative ? 255 - head : head) - kExponentBias;
  *places = {exponent, exponent - static_cast<int>(last)};
  return Found::kPlaces;
}

constexpr std::uint32_t kShortDigits = 8;  // of numbers that the decoding kernels take
constexpr std::size_t kBlock = 512;

}  // namespace

int ldsbvscan_ons_int(const NumberArray& array, std::size_t count, const std::uint8_t* nulls,
                      std::int32_t* scale, std::uint32_t* digits) noexcept {
  constexpr std::int64_t kNone = KES_DSB_NO_SCALE;
  std::int64_t bottom = *scale;
  std::int64_t top = *scale == kNone ? -kNone : std::int64_t{*scale} + *digits;
  for (std::size_t first = 0; first < count; first += 64) {
    for (std::uint64_t alive = AliveBits(nulls, first, count - first); alive != 0;
         alive &= alive - 1) {
      const std::size_t i = first + static_cast<std::size_t>(std::countr_zero(alive));
      const std::size_t length = array.lengths == nullptr ? 0 : array.lengths[i];
      Places places = {};
      const Found found = FindPlaces(NumberBytes(array.numbers[i], length), &places);
      if (found == Found::kInfinity) return KES_DSB_RANGE;
      if (found == Found::kZero) continue;
      bottom = places.bottom < bottom ? places.bottom : bottom;
      top = places.top > top ? places.top : top;
    }
  }
  if (bottom == kNone) return KES_DSB_OK;
  if (top - bottom > kMaxDigits) return KES_DSB_RANGE;
  *scale = static_cast<std::int32_t>(bottom);
  *digits = static_cast<std::uint32_t>(top - bottom);
  return KES_DSB_OK;
}

void ldsbvset_ons_int(const NumberArray& array, std::size_t count, const std::uint8_t* nulls,
                      std::int32_t scale, std::uint32_t digits, int precision, std::uint8_t* data,
                      ldsbminmax* extremes) noexcept {
  const std::size_t width = WidthOf(precision);
  const auto minmax = FindKernel([&](const Kernels& k) { return k.minmax[precision - 1]; });
  const DecodeKernel decode = FindKernel([](const Kernels& k) { return k.decode; });
  std::int64_t integers[kBlock];
  for (std::size_t first = 0; first < count; first += kBlock) {
    const std::size_t n = count - first < kBlock ? count - first : kBlock;
    const std::uint8_t* block_nulls = nulls == nullptr ? nullptr : nulls + first / 8;
    std::uint8_t* block = data + first * width;
    if (digits <= kShortDigits) {
      decode(n, array.numbers + first, array.lengths == nullptr ? nullptr : array.lengths + first,
             block_nulls, scale, integers);
      ConvertElements(KES_DSB_INT64, precision, n, integers, block, block_nulls);
    } else {
      for (std::size_t i = 0; i < n; ++i) {
        if (block_nulls != nullptr && (block_nulls[i / 8] >> i % 8 & 1) != 0) continue;
        const NumberParts number = NumberAt(array.numbers, array.lengths, first + i);
        StoreElement(DecodeLongOne(number, scale), block + i * width, width);
      }
    }
    minmax(n, block, block_nulls, extremes);
  }
}

namespace {

// The scale and digits that the values will have, from what the scan found and the caller wants.
int SettleScale(std::int32_t wanted, std::int32_t* scale, std::uint32_t* digits) noexcept {
  if (*scale == KES_DSB_NO_SCALE) {  // zeros only
    *scale = wanted == KES_DSB_NO_SCALE ? 0 : wanted;
    *digits = 1;
    return KES_DSB_OK;
  }
  if (wanted == KES_DSB_NO_SCALE) return KES_DSB_OK;
  if (wanted > *scale) return KES_DSB_SCALE;
  const std::int64_t shift = std::int64_t{*scale} - wanted;
  if (*digits + shift > kMaxDigits) return KES_DSB_RANGE;
  *scale = wanted;
  *digits += static_cast<std::uint32_t>(shift);
  return KES_DSB_OK;
}

// The precision to use for that many digits.
int SettlePrecision(std::uint32_t wanted, std::uint32_t digits, int* precision) noexcept {
  const int needed = ldsbget_prec_ondigs(digits);
  if (needed < 0) return needed;
  *precision = wanted == KES_DSB_NARROWEST ? needed : static_cast<int>(wanted);
  return *precision < needed ? KES_DSB_RANGE : KES_DSB_OK;
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvscan_ons(const ldsbctx*, size_t count, const uint8_t* const* numbers,
                  const uint16_t* lengths, const uint8_t* nulls, int32_t* scale,
                  uint32_t* digits) noexcept {
  return ldsbvscan_ons_int({numbers, lengths}, count, nulls, scale, digits);
}

int ldsbvset_ons(const ldsbctx* ctx, ldsbvector* vector, uint32_t precision, int32_t scale,
                 size_t first, size_t count, const uint8_t* const* numbers, const uint16_t* lengths,
                 const uint8_t* nulls, uint32_t options) noexcept {
  const Load load = {ContextOf(ctx), vector, first, count, nulls, (options & KES_DSB_APPEND) != 0};
  int status = CheckLoad(load, precision, &scale);
  if (status != KES_DSB_OK) return status;
  const NumberArray array = {numbers, lengths};
  std::int32_t found_scale = KES_DSB_NO_SCALE;
  std::uint32_t digits = 0;
  status = ldsbvscan_ons_int(array, count, nulls, &found_scale, &digits);
  if (status == KES_DSB_OK) status = SettleScale(scale, &found_scale, &digits);
  if (status != KES_DSB_OK) return status;
  int known = 0;
  const std::uint32_t wanted = load.append ? vector->precision : precision;
  status = SettlePrecision(wanted, digits, &known);
  if (status != KES_DSB_OK) return status;
  return RunLoad(
      load, known, found_scale, nullptr, 0, [&](std::uint8_t* data, ldsbminmax* extremes) {
        ldsbvset_ons_int(array, count, nulls, found_scale, digits, known, data, extremes);
      });
}

int ldsbvinit_son(const ldsbctx* ctx, ldsbvector* scalar, uint32_t precision, int32_t scale,
                  const uint8_t* number, size_t length) noexcept {
  if (precision != KES_DSB_NARROWEST && !IsPrecision(precision)) return KES_DSB_PRECISION;
  const std::uint8_t* const numbers[] = {number};
  constexpr std::size_t kLongest = kestra::number::kMaxBytes;
  const std::uint16_t lengths[] = {
      static_cast<std::uint16_t>(length < kLongest ? length : kLongest)};
  const NumberArray array = {numbers, lengths};
  std::int32_t found_scale = KES_DSB_NO_SCALE;
  std::uint32_t digits = 0;
  int status = ldsbvscan_ons_int(array, 1, nullptr, &found_scale, &digits);
  if (status == KES_DSB_OK) status = SettleScale(scale, &found_scale, &digits);
  int known = 0;
  if (status == KES_DSB_OK) status = SettlePrecision(precision, digits, &known);
  if (status != KES_DSB_OK) return status;
  const Int192 value = DecodeLongOne(NumberAt(numbers, lengths, 0), found_scale);
  status = ldsbvinit(ctx, scalar, nullptr, 0);
  SetScalar(*scalar, known, found_scale, value);
  return status;
}
