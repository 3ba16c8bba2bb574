// Decimal vectors in tests: descriptors with memory of their own, made from and read as reference
// columns.
#pragma once

#include <memory>

#include "kestra/decimal_vector.h"
#include "tests/support/column_random.h"

namespace kestra::test {

// A descriptor over exactly the bytes that it needs.
class TestVector {
 public:
  // The elements of a column at its width, with known extremes; nulls when any element has no
  // value.
  explicit TestVector(const ref::Column& column, bool known = true);
  // Nothing yet: a result that takes memory from the context.
  TestVector() { ldsbvinit(nullptr, &vector, nullptr, 0); }
  ~TestVector() { ldsbvfree(nullptr, &vector); }
  TestVector(const TestVector&) = delete;
  TestVector& operator=(const TestVector&) = delete;

  ref::Column Read() const { return Read(vector); }
  static ref::Column Read(const ldsbvector& vector);

  ldsbvector vector;

 private:
  std::unique_ptr<std::uint8_t, decltype(&std::free)> buffer_{nullptr, &std::free};
  std::vector<std::uint8_t> nulls_;
};

// Exact agreement of values, nulls, scale, width and kind; extremes as Read found them.
bool Same(const ref::Column& x, const ref::Column& y);

}  // namespace kestra::test
