// Memory that is needed during one call.
#pragma once

#include <cstddef>

#include "kestra/context.h"

namespace kestra::datetime {

// Memory of a block for the life of the object; null when there is none.
class Scratch {
 public:
  Scratch(lxcallbacks& block, std::size_t size) noexcept
      : block_(block), memory_(block.allocate(block.allocate_ctx, size)) {}
  ~Scratch() {
    if (memory_ != nullptr) block_.release(block_.release_ctx, memory_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  void* memory() const noexcept { return memory_; }

 private:
  lxcallbacks& block_;
  void* memory_;
};

}  // namespace kestra::datetime
