// Room for results: the caller's buffer when it is large enough, memory of the context else, and a
// copy in between when writing to the buffer would spoil an operand that is still to be read.
#include "number/ldsb_vector.h"

namespace kestra::number::dsb {
namespace {

std::uint8_t* AlignUp(std::uint8_t* p) noexcept {
  return p + (kElementAlignment - reinterpret_cast<std::uintptr_t>(p) % kElementAlignment) %
                 kElementAlignment;
}

}  // namespace

void Target::Protect(const void* begin, std::size_t size, std::size_t width) noexcept {
  protected_[protected_count_++] = {static_cast<const std::uint8_t*>(begin), size, width};
}

// Writing element i in place of element i is harmless; any other overlap is not.
bool Target::Clobbers(const std::uint8_t* begin, std::size_t width,
                      std::size_t size) const noexcept {
  const auto from = reinterpret_cast<std::uintptr_t>(begin);
  for (int i = 0; i < protected_count_; ++i) {
    const Range& range = protected_[i];
    const auto start = reinterpret_cast<std::uintptr_t>(range.begin);
    if (from == start && width == range.width) continue;
    if (from < start + range.size && start < from + size) return true;
  }
  return false;
}

int Target::Open(ldsbvector& vector, int precision, std::size_t count, bool with_nulls) noexcept {
  const std::size_t width = WidthOf(precision);
  std::size_t area = 0;
  if (!ElementArea(width, count, &area)) return KES_DSB_BUFFER;
  precision_ = precision;
  count_ = count;
  std::size_t room = 0;
  if (vector.buffer != nullptr) {
    final_data_ = AlignUp(vector.buffer);
    const auto gap = static_cast<std::size_t>(final_data_ - vector.buffer);
    room = vector.buffer_size > gap ? vector.buffer_size - gap : 0;
  }
  if (room >= area && (area == 0 || !Clobbers(final_data_, width, count * width))) {
    data_ = final_data_;
  } else if (room >= area) {
    staging_ = static_cast<std::uint8_t*>(Allocate(ctx_, kElementAlignment + area));
    if (staging_ == nullptr) return KES_DSB_NO_MEMORY;
    data_ = AlignUp(staging_);
  } else if (vector.buffer == nullptr || (vector.flags & KES_DSB_OWNS_BUFFER) != 0) {
    new_size_ = kElementAlignment + area - 1;
    new_buffer_ = static_cast<std::uint8_t*>(Allocate(ctx_, new_size_));
    if (new_buffer_ == nullptr) return KES_DSB_NO_MEMORY;
    data_ = final_data_ = AlignUp(new_buffer_);
  } else {
    return KES_DSB_BUFFER;
  }
  nulls_ = vector.nulls;
  const bool owned_too_small =
      (vector.flags & KES_DSB_OWNS_NULLS) != 0 && vector.bitmap_size < (count + 7) / 8;
  if (owned_too_small || (with_nulls && vector.nulls == nullptr)) {
    new_nulls_ = static_cast<std::uint8_t*>(Allocate(ctx_, (count + 7) / 8 + 1));
    if (new_nulls_ == nullptr) {
      Drop();
      return KES_DSB_NO_MEMORY;
    }
    nulls_ = new_nulls_;
  }
  return KES_DSB_OK;
}

void Target::Commit(ldsbvector& vector) noexcept {
  if (staging_ != nullptr) {
    ldsbcopydsbs(WidthOf(precision_), count_, data_, final_data_, nulls_, nullptr);
    Release(ctx_, staging_);
  }
  if (new_buffer_ != nullptr) {
    if ((vector.flags & KES_DSB_OWNS_BUFFER) != 0) Release(ctx_, vector.buffer);
    vector.buffer = new_buffer_;
    vector.buffer_size = new_size_;
    vector.flags |= KES_DSB_OWNS_BUFFER;
  }
  if (new_nulls_ != nullptr) {
    if ((vector.flags & KES_DSB_OWNS_NULLS) != 0) Release(ctx_, vector.nulls);
    vector.nulls = new_nulls_;
    vector.bitmap_size = (count_ + 7) / 8;
    vector.flags |= KES_DSB_OWNS_NULLS;
  }
  vector.tag = KES_DSB_VECTOR;
  vector.precision = static_cast<std::uint8_t>(precision_);
  vector.width = static_cast<std::uint8_t>(WidthOf(precision_));
  vector.count = count_;
  vector.data = final_data_;
}

void Target::Drop() noexcept {
  Release(ctx_, staging_);
  Release(ctx_, new_buffer_);
  Release(ctx_, new_nulls_);
  staging_ = new_buffer_ = new_nulls_ = nullptr;
}

}  // namespace kestra::number::dsb
