// A NUMBER as decimal digits in ASCII: what text, format models, packed and zoned fields are made
// from and read into. Stored numbers pair their digits by powers of 100, these fields do not; the
// pairing is undone and done here, for all of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "number/number_view.h"

namespace kestra::number {

// The value 0.d1 d2 d3 ... times 10^point, with its sign. Finite: the first and the last digit are
// not 0. A zero has no digits and is not negative.
struct Figures {
  static constexpr int kStart = 2;     // digits begin here or one later
  static constexpr int kMaxKept = 42;  // 20 pairs, the first of them perhaps half, and one to round
  static constexpr int kRoom = kStart + 64;

  char room[kRoom];  // '0' wherever there is no digit, so that digits may be taken past the last
  int first = kStart;
  int count = 0;
  std::int64_t point = 0;
  Kind kind = Kind::kZero;
  bool negative = false;

  Figures() noexcept { std::memset(room, '0', sizeof room); }
  const char* Digits() const noexcept { return room + first; }
  bool IsZero() const noexcept { return kind == Kind::kZero; }
  // Digits of the integer part, 0 when the value is below 1.
  std::int64_t IntegerDigits() const noexcept { return point > 0 ? point : 0; }
  // Digits after the point, 0 for an integer.
  std::int64_t FractionDigits() const noexcept { return count > point ? count - point : 0; }
};

// Takes the bytes of a number apart; false when they are not well formed.
bool ReadFigures(std::span<const std::uint8_t> bytes, Figures& figures) noexcept;

// The bytes of a number in either form; empty for a null pointer, and too long where the caller or
// a length byte says so.
inline std::span<const std::uint8_t> RawBytes(const std::uint8_t* x, std::size_t xlen) noexcept {
  if (x == nullptr) return {};
  if (xlen == 0) xlen = *x++;
  return {x, xlen};
}

// Rounds to the digits before 10^-places, half a unit away from zero.
void RoundToPlaces(Figures& figures, std::int64_t places) noexcept;

// Makes the value from digits that somebody else put into room from kStart on: count of them, of
// which at most kMaxKept are in room, zeros at the ends allowed; point counts from the first.
void Normalise(Figures& figures) noexcept;

// Writes the number, rounded to 20 base-100 digits, and returns its length. Too large gives
// infinity and clears in_range; too small gives zero.
std::size_t WriteFigures(const Figures& figures, std::uint8_t (&bytes)[kMaxBytes],
                         bool& in_range) noexcept;

// memcpy for at most 64 bytes, without the call.
inline void CopyShort(char* to, const char* from, std::size_t size) noexcept {
  if (size >= 16) {
    for (std::size_t at = 16; at < size; at += 16) std::memcpy(to + at - 16, from + at - 16, 16);
    std::memcpy(to + size - 16, from + size - 16, 16);
  } else if (size >= 8) {
    std::uint64_t head, tail;
    std::memcpy(&head, from, 8);
    std::memcpy(&tail, from + size - 8, 8);
    std::memcpy(to, &head, 8);
    std::memcpy(to + size - 8, &tail, 8);
  } else if (size >= 4) {
    std::uint32_t head, tail;
    std::memcpy(&head, from, 4);
    std::memcpy(&tail, from + size - 4, 4);
    std::memcpy(to, &head, 4);
    std::memcpy(to + size - 4, &tail, 4);
  } else if (size > 0) {
    to[0] = from[0];
    to[size / 2] = from[size / 2];
    to[size - 1] = from[size - 1];
  }
}

}  // namespace kestra::number
