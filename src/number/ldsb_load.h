// What filling from integers and from NUMBERs have in common.
#pragma once

#include "number/ldsb_vector.h"

namespace kestra::number::dsb {

// A ldsbvset_ call: where the values go.
struct Load {
  const ldsbctx& ctx;
  ldsbvector* vector;
  std::size_t first;
  std::size_t count;
  const std::uint8_t* nulls;
  bool append;
};

// The checks that need no values. A scale of KES_DSB_NO_SCALE becomes the vector's when appending.
int CheckLoad(const Load& load, std::uint32_t precision, std::int32_t* scale) noexcept;

// Writes the elements: fill(data, extremes) with the address of the first one and the extremes to
// merge with. Precision holds them all. source, source_size: what fill reads and must not be
// overwritten.
template <class Fill>
int RunLoad(const Load& load, int precision, std::int32_t scale, const void* source,
            std::size_t source_size, Fill&& fill) noexcept {
  ldsbvector& vector = *load.vector;
  const bool any_null = CountBits(load.nulls, load.count) != 0;
  if (load.append) {
    if (vector.nulls == nullptr && any_null) {
      std::uint8_t* bitmap = static_cast<std::uint8_t*>(Allocate(load.ctx, vector.count / 8 + 1));
      if (bitmap == nullptr) return KES_DSB_NO_MEMORY;
      std::memset(bitmap, 0, vector.count / 8 + 1);
      vector.nulls = bitmap;
      vector.bitmap_size = vector.count / 8 + 1;
      vector.flags |= KES_DSB_OWNS_NULLS;
    }
    if (vector.nulls != nullptr) PutBits(vector.nulls, load.first, load.count, load.nulls);
    fill(vector.data + load.first * WidthOf(precision), &vector.extremes);
    return KES_DSB_OK;
  }
  Target target(load.ctx);
  target.Protect(source, source_size, 0);
  const int status = target.Open(vector, precision, load.count, any_null);
  if (status != KES_DSB_OK) return status;
  if (target.nulls() != nullptr && target.nulls() != load.nulls) {
    PutBits(target.nulls(), 0, load.count, load.nulls);
  }
  ldsbminmax extremes = {};
  fill(target.data(), &extremes);
  target.Commit(vector);
  vector.scale = scale;
  vector.extremes = extremes;
  return KES_DSB_OK;
}

// The NUMBERs of a ldsbvset_ons call.
struct NumberArray {
  const std::uint8_t* const* numbers;
  const std::uint16_t* lengths;
};

// Scale and digit count of numbers, merged with those of an earlier scan (see ldsbvscan_ons).
int ldsbvscan_ons_int(const NumberArray& array, std::size_t count, const std::uint8_t* nulls,
                      std::int32_t* scale, std::uint32_t* digits) noexcept;

// Integers of scanned numbers in units of 100^scale, to elements of a precision that holds them.
void ldsbvset_ons_int(const NumberArray& array, std::size_t count, const std::uint8_t* nulls,
                      std::int32_t scale, std::uint32_t digits, int precision, std::uint8_t* data,
                      ldsbminmax* extremes) noexcept;

}  // namespace kestra::number::dsb
