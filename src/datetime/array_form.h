// The frame of the array forms: which operand belongs to an element, and what is reported when one
// fails. Those of DATE raise as their last act (Finish), those of datetimes and intervals answer the
// error (RunArray, Answer).
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/date.h"

namespace kestra::datetime {

// Second operands: one each, or the first for all.
template <typename T>
class Operands {
 public:
  Operands(const T* values, std::uint32_t flags) noexcept
      : values_(values), step_((flags & KES_DATE_SHARED) != 0 ? 0 : 1) {}
  const T& operator[](std::size_t i) const noexcept { return values_[i * step_]; }
  std::size_t step() const noexcept { return step_; }
  const T* values() const noexcept { return values_; }

 private:
  const T* values_;
  std::size_t step_;
};

inline void Report(std::size_t done, std::size_t* processed) noexcept {
  if (processed != nullptr) *processed = done;
}

// Where an array form ended.
struct ArrayResult {
  std::size_t done;
  std::uint32_t error;  // of element done; 0: there was none
};

// Runs body(i), which answers 0 or an error, from element first on.
template <typename Body>
inline ArrayResult RunFrom(std::size_t first, std::size_t count, const Body& body) noexcept {
  for (std::size_t i = first; i < count; ++i) {
    const std::uint32_t error = body(i);
    if (error != 0) return {i, error};
  }
  return {count, 0};
}

// Runs body(i), which cannot fail.
template <typename Body>
inline void RunAll(std::size_t count, std::size_t* processed, const Body& body) noexcept {
  for (std::size_t i = 0; i < count; ++i) body(i);
  Report(count, processed);
}

// The end of an array form that answers its error.
inline std::uint32_t Answer(const ArrayResult& result, std::size_t* processed) noexcept {
  Report(result.done, processed);
  return result.error;
}
// The whole of one: body(i) is the scalar operation on element i.
template <typename Body>
inline std::uint32_t RunArray(std::size_t count, std::size_t* processed,
                              const Body& body) noexcept {
  return Answer(RunFrom(0, count, body), processed);
}

inline void Finish(ldxctx* ctx, const ArrayResult& result, std::size_t* processed) {
  Report(result.done, processed);
  if (result.error != 0) ldxerr(ctx, result.error);
}

}  // namespace kestra::datetime
