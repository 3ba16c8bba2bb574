// Descriptors as the operations see and make them.
#pragma once

#include "number/kernels/ldsb_kernels.h"
#include "number/ldsb_context.h"

namespace kestra::number::dsb {

inline bool HasTag(const ldsbvector& vector) noexcept {
  return (vector.tag & ~1) == KES_DSB_VECTOR;
}
inline bool IsScalar(const ldsbvector& vector) noexcept { return vector.tag == KES_DSB_SCALAR; }

// 0 when the vector or scalar can be read: its tag, its precision, elements where it has a count.
int CheckReadable(const ldsbvector& vector) noexcept;

// Where the elements lie; a scalar's value is in its extremes.
inline const std::uint8_t* ElementsOf(const ldsbvector& vector) noexcept {
  return IsScalar(vector) ? reinterpret_cast<const std::uint8_t*>(vector.extremes.min.word)
                          : vector.data;
}
inline const std::uint8_t* At(const ldsbvector& vector, std::size_t i) noexcept {
  return ElementsOf(vector) + i * WidthOf(vector.precision);
}

// The bitmap; a scalar is never null.
inline const std::uint8_t* NullsOf(const ldsbvector& vector) noexcept {
  return IsScalar(vector) ? nullptr : vector.nulls;
}

inline bool IsKnown(const ldsbvector& vector) noexcept {
  return vector.extremes.state == KES_DSB_EXTREMES_KNOWN;
}

// Makes the descriptor a scalar; its buffer stays its own.
void SetScalar(ldsbvector& scalar, int precision, std::int64_t scale, const Int192& value) noexcept;

// Elements in another precision; equal ones are copied. Arrays do not overlap.
void ConvertElements(int in_precision, int out_precision, std::size_t n, const void* in, void* out,
                     const std::uint8_t* nulls) noexcept;

// Extremes of elements first to first + n - 1, over a bitmap of the whole vector.
ldsbminmax ExtremesOf(const ldsbvector& vector, std::size_t first, std::size_t n) noexcept;

// A bitmap of n bits from bit first of another; kBitmapSpan bits at a time. Bits past n are 0.
inline constexpr std::size_t kBitmapSpan = 4096;
struct NullSpan {
  std::uint8_t bytes[kBitmapSpan / 8 + 8];
  // nulls may be null; then the answer is null too. Needs n <= kBitmapSpan.
  const std::uint8_t* Take(const std::uint8_t* nulls, std::size_t first, std::size_t n) noexcept;
};

// Overwrites n bits of a bitmap from bit first on with those of bits (null: zeros).
void PutBits(std::uint8_t* bitmap, std::size_t first, std::size_t n,
             const std::uint8_t* bits) noexcept;
// The number of bits set among the first n; 0 for null.
std::size_t CountBits(const std::uint8_t* bits, std::size_t n) noexcept;

// Room for a result, prepared before anything is computed, so that a failure leaves the descriptor
// and the operands alone. Elements are written to data (perhaps in memory of the target's own, when
// the buffer of the descriptor overlaps an operand), the bitmap to nulls; Commit makes them the
// descriptor's, Drop gives them back.
class Target {
 public:
  explicit Target(const ldsbctx& ctx) noexcept : ctx_(ctx) {}

  // Keeps [begin, begin + size) readable until Commit.
  void Protect(const void* begin, std::size_t size, std::size_t width) noexcept;
  int Open(ldsbvector& vector, int precision, std::size_t count, bool with_nulls) noexcept;
  std::uint8_t* data() const noexcept { return data_; }
  std::uint8_t* nulls() const noexcept { return nulls_; }
  // Makes vector the result: elements, count, precision and bitmap; the caller sets scale and
  // extremes of it afterwards.
  void Commit(ldsbvector& vector) noexcept;
  void Drop() noexcept;

 private:
  struct Range {
    const std::uint8_t* begin;
    std::size_t size;
    std::size_t width;
  };
  bool Clobbers(const std::uint8_t* begin, std::size_t width, std::size_t size) const noexcept;

  const ldsbctx& ctx_;
  Range protected_[2] = {};
  int protected_count_ = 0;
  int precision_ = 0;
  std::size_t count_ = 0;
  std::uint8_t* data_ = nullptr;
  std::uint8_t* nulls_ = nullptr;
  std::uint8_t* final_data_ = nullptr;  // where the elements go at last
  std::uint8_t* new_buffer_ = nullptr;  // allocated, to become the descriptor's
  std::size_t new_size_ = 0;
  std::uint8_t* staging_ = nullptr;  // allocated, to be copied from
  std::uint8_t* new_nulls_ = nullptr;
};

}  // namespace kestra::number::dsb
