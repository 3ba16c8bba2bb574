// Filling vectors from native integers, a slot each or packed without the nulls.
#include "number/ldsb_load.h"

namespace kestra::number::dsb {

int CheckLoad(const Load& load, std::uint32_t precision, std::int32_t* scale) noexcept {
  const ldsbvector& vector = *load.vector;
  if (!HasTag(vector)) return KES_DSB_TAG;
  if (precision != KES_DSB_NARROWEST && !IsPrecision(precision)) return KES_DSB_PRECISION;
  if (!load.append) return load.first == 0 ? KES_DSB_OK : KES_DSB_BOUNDS;
  if (IsScalar(vector)) return KES_DSB_TAG;
  const int status = CheckReadable(vector);
  if (status != KES_DSB_OK) return status;
  if (precision != KES_DSB_NARROWEST && precision != vector.precision) return KES_DSB_BOUNDS;
  if (load.first > vector.count || load.count > vector.count - load.first) return KES_DSB_BOUNDS;
  if (*scale == KES_DSB_NO_SCALE) *scale = vector.scale;
  return *scale == vector.scale ? KES_DSB_OK : KES_DSB_SCALE;
}

namespace {

struct Integers {
  const std::uint8_t* values;
  int precision;  // of the native integers
  bool packed;
};

// Values of n places, n at most kBlock: those of the array itself, or spread out over the places.
constexpr std::size_t kBlock = 512;

class IntegerReader {
 public:
  IntegerReader(const Integers& integers, const std::uint8_t* nulls) noexcept
      : next_(integers.values),
        width_(WidthOf(integers.precision)),
        nulls_(nulls),
        spread_(integers.packed && nulls != nullptr) {}

  // first is a multiple of kBlock; calls go upwards.
  const std::uint8_t* Block(std::size_t first, std::size_t n) noexcept {
    const std::uint8_t* begin = next_;
    if (!spread_) {
      next_ += n * width_;
      return begin;
    }
    for (std::size_t i = 0; i < n; i += 64) {
      for (std::uint64_t alive = AliveBits(nulls_, first + i, n - i); alive != 0;
           alive &= alive - 1) {
        const std::size_t place = i + static_cast<std::size_t>(std::countr_zero(alive));
        std::memcpy(places_ + place * width_, next_, width_);
        next_ += width_;
      }
    }
    return places_;
  }

 private:
  const std::uint8_t* next_;
  std::size_t width_;
  const std::uint8_t* nulls_;
  bool spread_;
  std::uint8_t places_[kBlock * sizeof(Int192)];
};

int SetIntegers(const Load& load, std::uint32_t precision, std::int32_t scale,
                const Integers& integers) noexcept {
  int status = CheckLoad(load, precision, &scale);
  if (status != KES_DSB_OK) return status;
  if (scale == KES_DSB_NO_SCALE) scale = 0;
  const std::size_t width = WidthOf(integers.precision);
  const std::size_t present =
      integers.packed ? load.count - CountBits(load.nulls, load.count) : load.count;
  ldsbminmax found = {};
  const auto minmax =
      FindKernel([&](const Kernels& k) { return k.minmax[integers.precision - 1]; });
  minmax(present, integers.values, integers.packed ? nullptr : load.nulls, &found);
  int needed = 1;
  if (found.state == KES_DSB_EXTREMES_KNOWN) {
    const int low = PrecisionOf(FromPublic(found.min));
    const int high = PrecisionOf(FromPublic(found.max));
    needed = low > high ? low : high;
  }
  int known = static_cast<int>(precision);
  if (precision == KES_DSB_NARROWEST) known = load.append ? load.vector->precision : needed;
  if (needed > known) return KES_DSB_RANGE;
  const auto fill = [&](std::uint8_t* data, ldsbminmax* extremes) {
    IntegerReader reader(integers, load.nulls);
    for (std::size_t first = 0; first < load.count; first += kBlock) {
      const std::size_t n = load.count - first < kBlock ? load.count - first : kBlock;
      ConvertElements(integers.precision, known, n, reader.Block(first, n),
                      data + first * WidthOf(known),
                      load.nulls == nullptr ? nullptr : load.nulls + first / 8);
    }
    if (found.state == KES_DSB_EXTREMES_KNOWN) {
      MergeWide(extremes, FromPublic(found.min), FromPublic(found.max));
    }
  };
  return RunLoad(load, known, scale, integers.values, present * width, fill);
}

}  // namespace
}  // namespace kestra::number::dsb

using namespace kestra::number::dsb;

int ldsbvset_ints(const ldsbctx* ctx, ldsbvector* vector, uint32_t precision, int32_t scale,
                  size_t first, size_t count, const void* ints, size_t width, const uint8_t* nulls,
                  uint32_t options) noexcept {
  if (PrecisionOfWidth(width) == 0) return KES_DSB_WIDTH;
  const Load load = {ContextOf(ctx), vector, first, count, nulls, (options & KES_DSB_APPEND) != 0};
  return SetIntegers(load, precision, scale,
                     {static_cast<const uint8_t*>(ints), PrecisionOfWidth(width), false});
}

int ldsbvset_pints(const ldsbctx* ctx, ldsbvector* vector, uint32_t precision, int32_t scale,
                   size_t first, size_t count, const void* ints, size_t width, const uint8_t* nulls,
                   uint32_t options) noexcept {
  if (PrecisionOfWidth(width) == 0) return KES_DSB_WIDTH;
  const Load load = {ContextOf(ctx), vector, first, count, nulls, (options & KES_DSB_APPEND) != 0};
  return SetIntegers(load, precision, scale,
                     {static_cast<const uint8_t*>(ints), PrecisionOfWidth(width), true});
}
