// Operands of vector operations: how many bits their values may have, how they come to a common
// scale, and their elements, block by block, in the precision that a kernel wants.
//
// Example: a 32-bit vector at scale 0 (values up to 1,000,000: 20 bits) is added to a 64-bit vector
// at scale -2. The first has the larger scale, so its values are to be multiplied by 100^2 (14
// bits): 34 bits, 64 wide. The reader widens and multiplies a block of elements at a time into
// scratch memory that stays in the first-level cache, where the addition finds it; no temporary
// column is made.
#pragma once

#include "number/ldsb_vector.h"

namespace kestra::number::dsb {

struct Operand {
  ldsbvector vector;       // a copy: the result may be the same descriptor
  int precision = 0;       // that holds its values; at least the vector's
  int power = 0;           // values are to be multiplied by 100^power
  std::int64_t scale = 0;  // after that
  int bits = 0;            // significant bits of the values, after that
  bool any_value = false;  // of the width, whatever the extremes are

  bool scalar() const noexcept { return IsScalar(vector); }
  Int192 value() const noexcept { return FromPublic(vector.extremes.min) * PowerOf100(power); }
};

// Checks the descriptor and takes precision, scale and bits from it. any_value: as if its elements
// could have any value of their width.
int TakeOperand(const ldsbvector& vector, bool any_value, Operand* operand) noexcept;

// True when a value may be the minimum of its width, which has no negative there.
bool ldsbvop_is_minval(const Operand& operand) noexcept;

// 100^power as a scalar at scale -power.
void ldsbvop_initscale(int power, Operand* constant) noexcept;

// Multiplies the operand so that its scale goes down by difference.
int ldsbvop_rescale(Operand* operand, std::int64_t difference) noexcept;

// Brings two operands to the smaller scale of both.
int AlignScales(Operand* left, Operand* right) noexcept;

// The number of elements of two operands: that of the vectors, which must agree, or 1.
int CountOf(const Operand& left, const Operand& right, std::size_t* count) noexcept;

inline constexpr std::size_t kScratchBytes = 16384;

// Elements of an operand in a given precision, scaled.
class Reader {
 public:
  Reader(const Operand& operand, int precision) noexcept;

  // Elements must be computed: Block needs scratch of kScratchBytes and takes at most BlockCount.
  bool needs_scratch() const noexcept { return converts_ || multiplies_; }
  std::size_t BlockCount() const noexcept { return kScratchBytes / WidthOf(precision_) / 64 * 64; }
  // Elements first to first + n - 1; a scalar gives its one element.
  const void* Block(std::size_t first, std::size_t n, void* scratch) const noexcept;
  void NegateScalar() noexcept { scalar_ = -scalar_; }

 private:
  const ldsbvector& vector_;
  int precision_;
  bool converts_;
  bool multiplies_;
  Int192 scalar_;
  Int192 factor_;
};

// Runs work(first, n, left elements, right elements) over blocks.
template <class Work>
int ForEachBlock(const ldsbctx& ctx, const Reader& left, const Reader& right, std::size_t count,
                 Work&& work) noexcept {
  std::uint8_t* scratch = nullptr;
  std::size_t step = count;
  if (left.needs_scratch() || right.needs_scratch()) {
    step = left.BlockCount();
    scratch = static_cast<std::uint8_t*>(Allocate(ctx, 2 * kScratchBytes + kBufferAlignment));
    if (scratch == nullptr) return KES_DSB_NO_MEMORY;
  }
  for (std::size_t first = 0; first < count; first += step) {
    const std::size_t n = count - first < step ? count - first : step;
    work(first, n, left.Block(first, n, scratch),
         right.Block(first, n, scratch == nullptr ? nullptr : scratch + kScratchBytes));
  }
  Release(ctx, scratch);
  return KES_DSB_OK;
}

}  // namespace kestra::number::dsb
