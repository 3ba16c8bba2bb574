// Rounding at a decimal place: half a unit of the place is added, and what is below the place cut
// off. An even place ends with a digit, so the half is a 50 in the byte after it; an odd place lies
// inside a byte, gets a 5 there and leaves the tens. Half to even is the same but for ties, where
// the unit that came in is taken back if it made the last place odd.
#pragma once

#include "number/decimal_arithmetic.h"
#include "number/kernels/words_add.h"

namespace kestra::number::words {

// All ones for the word that byte k is in. Places vary, so words are picked without a branch.
KES_INLINE Row3 WordOf(unsigned k) noexcept {
  const Word first = Word{0} - (k < kWordBytes ? 1 : 0);
  const Word third = Word{0} - (k >= 2 * kWordBytes ? 1 : 0);
  return {first, ~(first | third), third};
}

// The value in byte k of a row, 0 elsewhere.
KES_INLINE Row1 InByte(Row1, unsigned k, Word value) noexcept { return {value << (56 - 8 * k)}; }
KES_INLINE Row3 InByte(Row3, unsigned k, Word value) noexcept {
  const Word word = value << (56 - 8 * (k % kWordBytes));
  const Row3 there = WordOf(k);
  return {word & there.first, word & there.second, word & there.third};
}

KES_INLINE unsigned ByteOf(Row1 row, unsigned k) noexcept {
  return static_cast<std::uint8_t>(row.first >> (56 - 8 * k));
}
KES_INLINE unsigned ByteOf(Row3 row, unsigned k) noexcept {
  const Row3 there = WordOf(k);
  const Word word =
      (row.first & there.first) | (row.second & there.second) | (row.third & there.third);
  return static_cast<std::uint8_t>(word >> (56 - 8 * (k % kWordBytes)));
}

// Bytes 0 to k - 1, the others cleared; k is below the size.
KES_INLINE Row1 Cut(Row1 row, unsigned k) noexcept { return {row.first & ~(~Word{0} >> (8 * k))}; }
KES_INLINE Row3 Cut(Row3 row, unsigned k) noexcept {
  const Word partly = ~(~Word{0} >> (8 * (k % kWordBytes)));
  const Row3 there = WordOf(k);
  return {row.first & (partly | ~there.first), row.second & ((partly & there.second) | there.third),
          row.third & partly & there.third};
}

// Byte by byte, none above 255.
KES_INLINE Row1 Plus(Row1 a, Row1 b) noexcept { return {a.first + b.first}; }
KES_INLINE Row3 Plus(Row3 a, Row3 b) noexcept {
  return {a.first + b.first, a.second + b.second, a.third + b.third};
}
KES_INLINE bool Same(Row1 a, Row1 b) noexcept { return a.first == b.first; }
KES_INLINE bool Same(Row3 a, Row3 b) noexcept {
  return ((a.first ^ b.first) | (a.second ^ b.second) | (a.third ^ b.third)) == 0;
}

// Keeps what is before byte k, and of it the tens if inside.
template <typename Row>
KES_INLINE Row Kept(Row row, unsigned k, bool inside) noexcept {
  const unsigned byte = ByteOf(row, k);
  return Plus(Cut(row, k), InByte(row, k, inside ? byte * 103 / 1024 * 10 : 0));
}

// False: not a case for rows of this size.
template <typename Row, Rounding rounding, typename Sink>
KES_INLINE bool RoundRow(Located a, int places, Sink sink) noexcept {
  constexpr unsigned kLastByte = sizeof(Row) == sizeof(Row1) ? kWordBytes - 1 : kMaxDigits + 1;
  Loaded<Row> x;
  Load(a, x);
  if (!IsSound(x)) [[unlikely]]
    return false;
  Row row = x.row;
  const std::int32_t exponent = x.Exponent();
  row.first &= kDigitBytes;
  bool inside = (places & 1) != 0;
  const std::int32_t end = exponent - kExponentBias + (places >> 1) + (inside ? 1 : 0);
  if (end < (inside ? 1 : 0)) [[unlikely]]
    return false;
  // The byte that is rounded by: digit end, or inside of the one before it.
  auto k = static_cast<unsigned>(end) + (inside ? 0 : 1);
  if (k > kLastByte) {  // every digit is kept
    Finish(row, exponent + 1, x.sign, sink);
    return true;
  }
  Row rounded = row;
  if constexpr (rounding != Rounding::kTruncate) {
    const Row half = InByte(row, k, inside ? 5 : kBase / 2);
    rounded = Combine(row, half, 0, true);
    if (rounding == Rounding::kHalfEven && Same(Plus(Kept(row, k, inside), half), row))
        [[unlikely]] {
      const unsigned last = inside ? k : k - 1;
      const unsigned byte = ByteOf(rounded, last);
      const bool odd = (inside ? byte / 10 : byte) % 2 != 0;
      if (odd) rounded = Combine(rounded, InByte(row, last, inside ? 10 : 1), ~Word{0}, true);
    }
  }
  Finish(Kept(rounded, k, inside), exponent + 1, x.sign, sink);
  return true;
}

}  // namespace kestra::number::words
