// Integers of 256 bits, slow and plain, and the rules of decimal vectors told a second time with
// them. Shares nothing with src/number: sixteen 16-bit limbs, schoolbook arithmetic.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kestra::test::ref {

class Wide {
 public:
  Wide() = default;
  explicit Wide(std::int64_t value);
  static Wide FromBytes(const void* bytes, std::size_t width);  // little-endian, sign-extended
  static Wide Power(int base, int exponent);

  void ToBytes(void* bytes, std::size_t width) const;  // the low bytes
  bool IsNegative() const { return limbs_[kLimbs - 1] >= 0x8000; }
  bool Fits(std::size_t width) const;  // a signed integer of width bytes holds it
  int Bits() const;                    // bit length of the absolute value, 1 for zero

  Wide operator-() const;
  Wide operator+(const Wide& other) const;
  Wide operator-(const Wide& other) const;
  Wide operator*(const Wide& other) const;
  bool operator<(const Wide& other) const;
  bool operator==(const Wide& other) const { return limbs_ == other.limbs_; }

 private:
  static constexpr std::size_t kLimbs = 16;
  std::array<std::uint16_t, kLimbs> limbs_{};
};

// A column: integers, a scale, the width of its elements in bytes; no value where an element is
// null.
struct Column {
  std::vector<std::optional<Wide>> values;
  std::int64_t scale = 0;
  std::size_t width = 0;
  bool scalar = false;
};

// What an operation (0 add, 1 subtract, 2 multiply) must give: a status, or the column.
struct Outcome {
  int status = 0;
  Column column;
};
Outcome Operate(int operation, const Column& left, const Column& right);

}  // namespace kestra::test::ref
