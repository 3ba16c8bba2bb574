// Reading vectors back, as integers and as NUMBERs.
//
// A magnitude below 10^16 is eight base-100 digits: four base-10^4 parts by division, all eight
// digits at once by multiplication within a 64-bit word, and the zeros at both ends are counted in
// the word. Example: 1234500 -> 00 00 00 00 01 23 45 00, four zero digits before and one after; at
// scale -1 that is the exponent -1 + 8 - 4 = 3 and the digits 01 23 45: 12345.00.
#include "number/ldsb_vector.h"
#include "number/number_view.h"

namespace kestra::number::dsb {
namespace {

constexpr std::uint64_t kShortLimit = 10'000'000'000'000'000;

// The eight base-100 digits of value < 10^16, the most significant in the lowest byte.
std::uint64_t EightDigits(std::uint64_t value) noexcept {
  const auto high = static_cast<std::uint32_t>(value / 100'000'000);
  const auto low = static_cast<std::uint32_t>(value % 100'000'000);
  const std::uint64_t even = high / 10'000 | std::uint64_t{low / 10'000} << 32;
  const std::uint64_t odd = high % 10'000 | std::uint64_t{low % 10'000} << 32;
  // x / 100 is x * 5243 >> 19 for x < 10,000; both 32-bit halves at once.
  constexpr std::uint64_t kQuotientBits = 0x0000'007F'0000'007F;
  const std::uint64_t even_tens = (even * 5243 >> 19) & kQuotientBits;
  const std::uint64_t odd_tens = (odd * 5243 >> 19) & kQuotientBits;
  const std::uint64_t even_units = even - even_tens * kBase;
  const std::uint64_t odd_units = odd - odd_tens * kBase;
  return even_tens | even_units << 8 | odd_tens << 16 | odd_units << 24;
}

// Scales at which no number of eight digits leaves the range of exponents.
bool IsShortScale(std::int64_t scale) noexcept {
  return scale >= kMinExponent && scale + 8 <= kMaxExponent;
}

// Writes a number of up to eight digits; 10 bytes of out may be written. Returns its length.
KES_DSB_INLINE std::size_t WriteShort(std::uint64_t magnitude, bool negative, int scale,
                                      std::uint8_t* out) noexcept {
  if (magnitude == 0) {
    *out = kZeroByte;
    return 1;
  }
  const std::uint64_t digits = EightDigits(magnitude);
  const int before = std::countr_zero(digits) / 8;
  const int after = std::countl_zero(digits) / 8;
  const auto count = static_cast<std::size_t>(8 - before - after);
  const std::uint64_t leading = digits >> 8 * before;
  constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101;
  const std::uint64_t mantissa = negative ? kOnes * (kBase + 1) - leading : leading + kOnes;
  const int exponent = scale + 8 - before + kExponentBias;
  *out = static_cast<std::uint8_t>(negative ? 255 - exponent : exponent);
  std::memcpy(out + 1, &mantissa, sizeof mantissa);
  out[1 + count] = kTerminator;  // past the end of a positive number
  return 1 + count + (negative ? 1 : 0);
}

// Any value: digits in base 100^8 by long division, then rounded to what a number holds.
std::size_t WriteLong(const Int192& value, std::int64_t scale, std::uint8_t* out) noexcept {
  constexpr int kChunks = 4;  // 2^192 has 29 base-100 digits
  std::uint8_t digits[8 * kChunks];
  const Int192 magnitude = Magnitude(value);
  std::uint64_t words[3] = {magnitude.w[0], magnitude.w[1], magnitude.w[2]};
  for (int chunk = kChunks - 1; chunk >= 0; --chunk) {
    uint128 remainder = 0;
    for (int i = 2; i >= 0; --i) {
      const uint128 part = remainder << 64 | words[i];
      words[i] = static_cast<std::uint64_t>(part / kShortLimit);
      remainder = part % kShortLimit;
    }
    const std::uint64_t eight = EightDigits(static_cast<std::uint64_t>(remainder));
    std::memcpy(digits + 8 * chunk, &eight, sizeof eight);
  }
  // An exponent beyond both ends of the range stays beyond them.
  const std::int64_t limit = 1000;
  const std::int64_t near_scale = scale < -limit ? -limit : scale > limit ? limit : scale;
  std::uint8_t bytes[kMaxBytes];
  const std::size_t length = WriteNumber(
      MakeDecimal(value.IsNegative(), static_cast<int>(near_scale) + 8 * kChunks, digits), bytes);
  std::memcpy(out, bytes, length);
  return length;
}

template <class T>
KES_DSB_INLINE std::size_t WriteElement(const T& x, std::int64_t scale, bool short_scale,
                                        std::uint8_t* out) noexcept {
  if constexpr (sizeof(T) <= 8) {
    const std::int64_t value = x;
    const std::uint64_t magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    if (magnitude < kShortLimit && short_scale) {
      return WriteShort(magnitude, value < 0, static_cast<int>(scale), out);
    }
  }
  return WriteLong(Convert<Int192>(x), scale, out);
}

// Where numbers go: slots of one size, or one after another.
struct Slots {
  std::uint8_t* slots;
  std::size_t stride;
  std::uint16_t* lengths;

  template <class Write>
  KES_DSB_INLINE void Put(std::size_t i, Write&& write) noexcept {
    std::uint8_t* slot = slots + i * stride;
    if (lengths == nullptr) {
      *slot = static_cast<std::uint8_t>(write(slot + 1));
    } else {
      lengths[i] = static_cast<std::uint16_t>(write(slot));
    }
  }
  void PutNull(std::size_t i) noexcept {
    if (lengths == nullptr) {
      slots[i * stride] = 0;
    } else {
      lengths[i] = 0;
    }
  }
};

struct Packed {
  const std::uint8_t** numbers;
  std::uint16_t* lengths;
  std::uint8_t* next;

  template <class Write>
  KES_DSB_INLINE void Put(std::size_t i, Write&& write) noexcept {
    const std::size_t length = write(next);
    numbers[i] = next;
    lengths[i] = static_cast<std::uint16_t>(length);
    next += length;
  }
  void PutNull(std::size_t i) noexcept {
    numbers[i] = nullptr;
    lengths[i] = 0;
  }
};

template <class T, class Place>
void WriteNumbers(const ldsbvector& vector, std::size_t first, std::size_t count,
                  Place& place) noexcept {
  const void* elements = At(vector, first);
  const std::uint8_t* nulls = NullsOf(vector);
  const bool short_scale = IsShortScale(vector.scale);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t bit = first + i;
    if (nulls != nullptr && (nulls[bit / 8] >> bit % 8 & 1) != 0) {
      place.PutNull(i);
      continue;
    }
    place.Put(i, [&](std::uint8_t* out) {
      return WriteElement(LoadAt<T>(elements, i), vector.scale, short_scale, out);
    });
  }
}

template <class Place>
void WriteAll(const ldsbvector& vector, std::size_t first, std::size_t count,
              Place& place) noexcept {
  switch (vector.precision) {
    case 1:
      return WriteNumbers<std::int8_t>(vector, first, count, place);
    case 2:
      return WriteNumbers<std::int16_t>(vector, first, count, place);
    case 3:
      return WriteNumbers<std::int32_t>(vector, first, count, place);
    case 4:
      return WriteNumbers<std::int64_t>(vector, first, count, place);
    case 5:
      return WriteNumbers<int128>(vector, first, count, place);
    default:
      return WriteNumbers<Int192>(vector, first, count, place);
  }
}

int CheckRead(const ldsbvector& vector, std::size_t first, std::size_t count) noexcept {
  const int status = CheckReadable(vector);
  if (status != KES_DSB_OK) return status;
  return first > vector.count || count > vector.count - first ? KES_DSB_BOUNDS : KES_DSB_OK;
}

// Integers of a width must hold elements first to first + count - 1.
int CheckWidth(const ldsbvector& vector, std::size_t first, std::size_t count,
               int precision) noexcept {
  if (precision >= vector.precision) return KES_DSB_OK;
  ldsbminmax extremes = vector.extremes;
  const auto fits = [&] {
    return extremes.state == KES_DSB_EXTREMES_NONE ||
           (PrecisionOf(FromPublic(extremes.min)) <= precision &&
            PrecisionOf(FromPublic(extremes.max)) <= precision);
  };
  if (extremes.state != KES_DSB_EXTREMES_UNKNOWN && fits()) return KES_DSB_OK;
  if (!IsScalar(vector)) extremes = ExtremesOf(vector, first, count);
  return fits() ? KES_DSB_OK : KES_DSB_RANGE;
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvget_ints(const ldsbctx*, const ldsbvector* vector, size_t first, size_t count, void* ints,
                  size_t width) noexcept {
  int status = CheckRead(*vector, first, count);
  if (status != KES_DSB_OK) return status;
  const int precision = PrecisionOfWidth(width);
  if (precision == 0) return KES_DSB_WIDTH;
  status = CheckWidth(*vector, first, count, precision);
  if (status != KES_DSB_OK) return status;
  NullSpan nulls;
  for (std::size_t i = 0; i < count; i += kBitmapSpan) {
    const std::size_t n = count - i < kBitmapSpan ? count - i : kBitmapSpan;
    ConvertElements(vector->precision, precision, n, At(*vector, first + i),
                    static_cast<std::uint8_t*>(ints) + i * width,
                    nulls.Take(NullsOf(*vector), first + i, n));
  }
  return KES_DSB_OK;
}

int ldsbvget_pints(const ldsbctx*, const ldsbvector* vector, size_t first, size_t count, void* ints,
                   size_t width, size_t* stored) noexcept {
  int status = CheckRead(*vector, first, count);
  if (status != KES_DSB_OK) return status;
  const int precision = PrecisionOfWidth(width);
  if (precision == 0) return KES_DSB_WIDTH;
  status = CheckWidth(*vector, first, count, precision);
  if (status != KES_DSB_OK) return status;
  const std::uint8_t* nulls = NullsOf(*vector);
  const std::size_t element_width = WidthOf(vector->precision);
  std::uint8_t* next = static_cast<std::uint8_t*>(ints);
  for (std::size_t i = first; i < first + count; ++i) {
    if (nulls != nullptr && (nulls[i / 8] >> i % 8 & 1) != 0) continue;
    StoreElement(LoadElement(At(*vector, i), element_width), next, width);
    next += width;
  }
  *stored = static_cast<std::size_t>(next - static_cast<std::uint8_t*>(ints)) / width;
  return KES_DSB_OK;
}

int ldsbvget_ons(const ldsbctx*, const ldsbvector* vector, size_t first, size_t count,
                 uint8_t* slots, size_t stride, uint16_t* lengths) noexcept {
  const int status = CheckRead(*vector, first, count);
  if (status != KES_DSB_OK) return status;
  if (stride < kestra::number::kMaxPrefixed) return KES_DSB_BUFFER;
  Slots place = {slots, stride, lengths};
  WriteAll(*vector, first, count, place);
  return KES_DSB_OK;
}

int ldsbvget_pons(const ldsbctx*, const ldsbvector* vector, size_t first, size_t count,
                  const uint8_t** numbers, uint16_t* lengths, uint8_t* area, size_t area_size,
                  size_t* used) noexcept {
  const int status = CheckRead(*vector, first, count);
  if (status != KES_DSB_OK) return status;
  std::size_t present = count;
  NullSpan nulls;
  for (std::size_t i = 0; i < count; i += kBitmapSpan) {
    const std::size_t n = count - i < kBitmapSpan ? count - i : kBitmapSpan;
    present -= CountBits(nulls.Take(NullsOf(*vector), first + i, n), n);
  }
  if (present > area_size / kestra::number::kMaxPrefixed) return KES_DSB_BUFFER;
  Packed place = {numbers, lengths, area};
  WriteAll(*vector, first, count, place);
  if (used != nullptr) *used = static_cast<std::size_t>(place.next - area);
  return KES_DSB_OK;
}
