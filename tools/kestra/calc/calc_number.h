// A NUMBER as a value, over the public functions of the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kestra/number.h"
#include "kestra/number_format.h"
#include "kestra/number_text.h"

namespace kestra::tools {

class Number {
 public:
  Number() = default;  // zero
  static Number FromInteger(long long value);
  // Null: not the text of a number; bad, if given, receives the offset of the first bad byte. Text
  // that is too large is an infinity.
  static std::optional<Number> Parse(std::string_view text, std::size_t* bad = nullptr);
  // Null where digits of the text would be lost too; problem, if given, receives what is wrong: "is
  // not a number (at its byte 2)".
  static std::optional<Number> ParseExact(std::string_view text, std::string* problem = nullptr);
  // The number that a function of the library writes through its last two arguments.
  template <typename Write>
  static Number Make(Write write) {
    Number number;
    write(number.bytes_, &number.length_);
    return number;
  }

  const std::uint8_t* data() const { return bytes_; }
  std::size_t size() const { return length_; }

  // Not lnxsgn, to which the numbers nearest to zero are zero: they share its first byte.
  int Sign() const { return IsZero() ? 0 : bytes_[0] < 0x80 ? -1 : 1; }
  bool IsZero() const { return length_ == 1 && bytes_[0] == 0x80; }
  bool IsInteger() const;
  bool IsInfinite() const;
  std::string Text() const;
  std::string Text(const lnxmodel& model) const;
  std::string Hex() const;  // the stored bytes: "C1 02"
  // Null: not an integer, or outside long long.
  std::optional<long long> ToInteger() const;

  friend bool operator==(const Number& x, const Number& y) {
    return lnxcmp(x.bytes_, x.length_, y.bytes_, y.length_) == 0;
  }
  friend bool operator<(const Number& x, const Number& y) {
    return lnxcmp(x.bytes_, x.length_, y.bytes_, y.length_) < 0;
  }

 private:
  std::uint8_t bytes_[KES_NUMBER_BYTES] = {0x80};
  std::size_t length_ = 1;
};

// A binary or unary function of the library as one of values.
using LibraryBinary = void(const std::uint8_t*, std::size_t, const std::uint8_t*, std::size_t,
                           std::uint8_t*, std::size_t*);
using LibraryUnary = void(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t*);

inline Number Apply(LibraryBinary* function, const Number& x, const Number& y) {
  return Number::Make([&](std::uint8_t* out, std::size_t* length) {
    function(x.data(), x.size(), y.data(), y.size(), out, length);
  });
}
inline Number Apply(LibraryUnary* function, const Number& x) {
  return Number::Make(
      [&](std::uint8_t* out, std::size_t* length) { function(x.data(), x.size(), out, length); });
}

inline Number operator+(const Number& x, const Number& y) { return Apply(lnxadd, x, y); }
inline Number operator-(const Number& x, const Number& y) { return Apply(lnxsub, x, y); }
inline Number operator*(const Number& x, const Number& y) { return Apply(lnxmul, x, y); }
inline Number operator/(const Number& x, const Number& y) { return Apply(lnxdiv, x, y); }
inline Number operator-(const Number& x) { return Apply(lnxneg, x); }

}  // namespace kestra::tools
