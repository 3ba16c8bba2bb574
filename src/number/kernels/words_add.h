// Addition and subtraction of eight digits at a time.
//
// With 156 added to every byte of one operand, bytes that reach 100 carry into the next by
// themselves, and those that do not get the 156 taken off again:
//   01 63 07 + (9C FF 9E) = 9E 62 A5, bytes 0 and 2 did not carry: 02 62 09.
// A difference borrows by itself, and bytes that borrowed are 156 too large. Seen as the addition
// of the complement these are again the ones that did not carry, so both are one piece of code.
//
// Rows order numbers by magnitude, exponents included, so one comparison and an exchange put the
// larger first. The smaller is moved down by the difference of the exponents. 24 bytes hold the
// carry and places 1 to 23. Of digits moved out below them only the borrow matters that they ask
// for: a difference starts at place 2 at the lowest then, and place 22 decides the rounding.
#pragma once

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "number/kernels/words_number.h"

namespace kestra::number::words {

#if defined(__x86_64__)
using Carry = unsigned char;
KES_INLINE Word Sum(Word a, Word b, Carry& carry) noexcept {
  unsigned long long sum;
  carry = _addcarry_u64(carry, a, b, &sum);
  return sum;
}
#else
using Carry = Word;
KES_INLINE Word Sum(Word a, Word b, Carry& carry) noexcept {
  const Wide sum = static_cast<Wide>(a) + b + carry;
  carry = static_cast<Word>(sum >> 64);
  return static_cast<Word>(sum);
}
#endif

// All ones if x is below y.
KES_INLINE Word IsBelow(Row1 x, Row1 y) noexcept { return Word{0} - (x.first < y.first ? 1 : 0); }
KES_INLINE Word IsBelow(Row3 x, Row3 y) noexcept {
  if (x.first == y.first) [[unlikely]] {
    const bool below = x.second != y.second ? x.second < y.second : x.third < y.third;
    return Word{0} - (below ? 1 : 0);
  }
  return Word{0} - (x.first < y.first ? 1 : 0);
}

KES_INLINE void ExchangeIf(Word mask, Word& x, Word& y) noexcept {
  const Word change = (x ^ y) & mask;
  x ^= change;
  y ^= change;
}
KES_INLINE void ExchangeIf(Word mask, Row1& x, Row1& y) noexcept {
  ExchangeIf(mask, x.first, y.first);
}
KES_INLINE void ExchangeIf(Word mask, Row3& x, Row3& y) noexcept {
  ExchangeIf(mask, x.first, y.first);
  ExchangeIf(mask, x.second, y.second);
  ExchangeIf(mask, x.third, y.third);
}

// Moves digits down. False: some get lost.
KES_INLINE bool MoveDown(Row1& row, std::uint32_t bytes) noexcept {
  if (bytes >= kWordBytes) [[unlikely]]
    return false;
  const Word moved = row.first >> (8 * bytes);
  const bool whole = moved << (8 * bytes) == row.first;
  row.first = moved;
  return whole;
}

KES_INLINE bool MoveDown(Row3& row, std::uint32_t bytes) noexcept {
  Word lost = 0;
  if (bytes >= kWordBytes) [[unlikely]] {
    if (bytes > 3 * kWordBytes) bytes = 3 * kWordBytes;
    for (; bytes >= kWordBytes; bytes -= kWordBytes) {
      lost |= row.third;
      row = {0, row.first, row.second};
    }
  }
  const unsigned bits = 8 * bytes;
  lost |= (row.third << 1) << (63 - bits);
  row = {row.first >> bits, Down(row.first, row.second, bits), Down(row.second, row.third, bits)};
  return lost == 0;
}

// The sum of words to that of their digits: bytes that did not carry are 156 too large.
KES_INLINE Word Corrected(Word sum, Word a, Word b) noexcept {
  const Word carried = (a & b) | ((a | b) & ~sum);  // bit 7 of each byte: out of it
  return sum - (~carried >> 7 & kConstants.ones) * (256 - kBase);
}

// larger + smaller, or larger - smaller where opposite is all ones; less a unit of the last place
// if not whole.
KES_INLINE Row1 Combine(Row1 larger, Row1 smaller, Word opposite, bool) noexcept {
  const Word term = (smaller.first ^ opposite) + (kConstants.bias & ~opposite);
  return {Corrected(larger.first + term + (opposite & 1), larger.first, term)};
}
KES_INLINE Row3 Combine(Row3 larger, Row3 smaller, Word opposite, bool whole) noexcept {
  const Word bias = kConstants.bias & ~opposite;
  const Row3 term = {(smaller.first ^ opposite) + bias, (smaller.second ^ opposite) + bias,
                     (smaller.third ^ opposite) + bias};
  Carry carry = static_cast<Carry>(opposite & (whole ? 1 : 0));
  Row3 sum;
  sum.third = Sum(larger.third, term.third, carry);
  sum.second = Sum(larger.second, term.second, carry);
  sum.first = Sum(larger.first, term.first, carry);
  return {Corrected(sum.first, larger.first, term.first),
          Corrected(sum.second, larger.second, term.second),
          Corrected(sum.third, larger.third, term.third)};
}

// False: not a case for rows of this size.
template <typename Row, typename Sink>
KES_INLINE bool AddRows(Located a, Located b, Word subtract, Sink sink) noexcept {
  Loaded<Row> first, second;
  Load(a, first);
  Load(b, second);
  if (!AreSound(first, second)) [[unlikely]]
    return false;
  Row x = first.row;
  Row y = second.row;
  const Word below = IsBelow(x, y);
  ExchangeIf(below, x, y);
  const Word opposite = first.sign ^ second.sign ^ subtract;
  const auto exponent = static_cast<std::uint32_t>(x.first >> 56);
  const auto distance = exponent - static_cast<std::uint32_t>(y.first >> 56);
  x.first &= kConstants.digit_bytes;
  y.first &= kConstants.digit_bytes;
  const bool whole = MoveDown(y, distance);
  if (sizeof(Row) == sizeof(Row1) && !whole) [[unlikely]]
    return false;
  Finish(Combine(x, y, opposite, whole), static_cast<std::int32_t>(exponent) + 1,
         first.sign ^ (opposite & below), sink);
  return true;
}

// x + y, or x - y where subtract is all ones.
template <Word subtract>
struct Add {
  template <typename Sink>
  static KES_INLINE bool Short(Located x, Located y, Sink sink) noexcept {
    return AddRows<Row1>(x, y, subtract, sink);
  }
  template <typename Sink>
  static KES_INLINE bool Long(Located x, Located y, Sink sink) noexcept {
    return AddRows<Row3>(x, y, subtract, sink);
  }
};

}  // namespace kestra::number::words
