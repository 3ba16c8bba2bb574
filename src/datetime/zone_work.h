// How much one call may do. A file that passes every check can still be made to be slow: thousands of
// zones that share the longest history, thousands of abbreviations that are the ends of one endless
// text. What compares histories counts its steps, and 64 bytes of text for a step; files of real
// zones take a tenth of the limit.
//
// Tests: tests/datetime/ltz_hostile_test.cc.
#pragma once

#include <cstdint>
#include <cstring>

namespace kestra::datetime {

inline constexpr std::uint32_t kMaxSteps = 1u << 22;  // about a tenth of a second

class WorkLimit {
 public:
  // False when there is nothing left.
  bool Take(std::uint32_t steps = 1) noexcept {
    if (steps > left_) {
      left_ = 0;
      return false;
    }
    left_ -= steps;
    return true;
  }
  bool exhausted() const noexcept { return left_ == 0; }

  // As strcmp; 0 for texts at one place, and at the end of the limit.
  int Compare(const char* a, const char* b) noexcept {
    constexpr std::size_t kChunk = 64;
    if (a == b) return 0;
    for (;; a += kChunk, b += kChunk) {
      if (!Take()) return 0;
      const int order = std::strncmp(a, b, kChunk);
      if (order != 0 || strnlen(a, kChunk) < kChunk) return order;
    }
  }

 private:
  std::uint32_t left_ = kMaxSteps;
};

}  // namespace kestra::datetime
