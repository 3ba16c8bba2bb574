// Loading and storing a NUMBER in 64-bit words: what the kernels for every machine share.
//
// A number of 21 bytes is three words as it stands: the exponent byte and 7 digits, 8 digits, 5
// digits. Eight digits are decoded, added, compared or coded by one operation on a word, since no
// byte of it ever carries into the next but where it shall. Numbers of up to seven digits, as money
// nearly always is, take a single word all the way.
//
// Signs are masks, 0 or all ones, since they come at random and a branch that goes wrong costs more
// than all the arithmetic on a word. No byte is read or written that is not the number's own: words
// that begin or end with it overlap.
//
// As the other kernels, these take well-formed finite numbers other than zero and hand everything
// else to the scalar function.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "number/kernels/number_located.h"
#include "number/number_view.h"

#define KES_INLINE __attribute__((always_inline)) inline

namespace kestra::number::words {

using Word = std::uint64_t;
using Wide = unsigned __int128;

static_assert(std::endian::native == std::endian::little, "words are turned when loaded");

inline constexpr int kWordBytes = 8;
inline constexpr Word kDigitBytes = ~Word{0} >> 8;  // of a first word: all but the exponent's

// The same byte eight times.
constexpr Word Each(unsigned byte) noexcept { return Word{0x0101010101010101} * byte; }

// Kept in memory, out of the compiler's sight: an instruction takes its operand from there, where it
// would take another one of ten bytes to build it.
struct Constants {
  Word digit_bytes = kDigitBytes;
  Word ones = Each(1);
  Word tops = Each(128);
  Word over = Each(128 - kBase);  // makes 100 and more reach the top bit
  Word bias = Each(256 - kBase);  // makes 100 and more carry
  Word more_taken = Each(153);    // of negative digits
  Word more_added = Each(155);
};
extern const Constants kConstants __attribute__((visibility("hidden")));

// Rows of 8 or 24 bytes, the most significant first. Of a number byte 0 is the exponent byte of the absolute
// value and byte 1 + k digit k, so that rows order numbers by magnitude; bytes past the last digit
// are 0.
//
// Members, not an array, and taken by value: rows stay in registers.
struct Row1 {
  Word first;
};
struct Row3 {
  Word first, second, third;
};

KES_INLINE Word LoadWord(const std::uint8_t* at) noexcept {
  Word word;
  std::memcpy(&word, at, sizeof word);
  return __builtin_bswap64(word);
}

KES_INLINE void StoreWord(std::uint8_t* at, Word word) noexcept {
  word = __builtin_bswap64(word);
  std::memcpy(at, &word, sizeof word);
}

// 2 to 8 bytes: the first and the last of them overlap.
KES_INLINE Word LoadShort(const std::uint8_t* bytes, std::size_t size) noexcept {
  if (size >= 4) {
    std::uint32_t first, last;
    std::memcpy(&first, bytes, 4);
    std::memcpy(&last, bytes + size - 4, 4);
    return __builtin_bswap64(first | static_cast<Word>(last) << (8 * size - 32));
  }
  std::uint16_t first, last;
  std::memcpy(&first, bytes, 2);
  std::memcpy(&last, bytes + size - 2, 2);
  return __builtin_bswap64(first | static_cast<Word>(last) << (8 * size - 16));
}

// The first 2 to 8 bytes of a word.
KES_INLINE void StoreShort(std::uint8_t* out, std::size_t size, Word word) noexcept {
  word = __builtin_bswap64(word);
  if (size >= 4) {
    const auto first = static_cast<std::uint32_t>(word);
    const auto last = static_cast<std::uint32_t>(word >> (8 * size - 32));
    std::memcpy(out, &first, 4);
    std::memcpy(out + size - 4, &last, 4);
  } else {
    const auto first = static_cast<std::uint16_t>(word);
    const auto last = static_cast<std::uint16_t>(word >> (8 * size - 16));
    std::memcpy(out, &first, 2);
    std::memcpy(out + size - 2, &last, 2);
  }
}

// Bytes of a word from its first on.
inline constexpr auto kFirstBytes = [] {
  struct {
    Word mask[kWordBytes + 1];
  } table{};
  for (unsigned count = 1; count <= kWordBytes; ++count) {
    table.mask[count] = ~Word{0} << (64 - 8 * count);
  }
  return table;
}();

// Mantissa bytes become digits as bytes ^ flip - take: b - 1, or 101 - b, which is (255 - b) - 154.
// This is for the first word of numbers of one word, by [is positive][size]. The exponent byte
// becomes that of the absolute value, the terminator 0, which spare is to check.
struct FirstDecoding {
  Word flip, take, spare, unused;
};
inline constexpr auto kFirstDecoding = [] {
  struct {
    alignas(64) FirstDecoding at[2][16];
  } table{};
  for (unsigned size = 2; size <= kWordBytes; ++size) {
    const Word last = Word{0xFF} << (64 - 8 * size);
    const Word digits = kFirstBytes.mask[size] & kDigitBytes;
    table.at[1][size] = {0, digits & Each(1), 0, 0};
    table.at[0][size] = {(~kDigitBytes | (digits & ~last)) + (last & Each(kTerminator)),
                         digits & ~last & Each(154), last, 0};
  }
  return table;
}();

// Other than 0 if a byte is no digit. The last wrong byte cannot hide: no carry or borrow reaches
// it.
KES_INLINE Word WrongDigits(Word digits) noexcept {
  return (digits | (digits + kConstants.over)) & kConstants.tops;
}

// A number's words; sign is all ones for a negative one, wrong other than 0 if a byte is wrong.
template <typename Row>
struct Loaded {
  Row row;
  Word sign;
  Word wrong;

  std::int32_t Exponent() const noexcept { return static_cast<std::int32_t>(row.first >> 56); }
  bool HasFirstDigit() const noexcept { return static_cast<std::uint8_t>(row.first >> 48) != 0; }
};

// Is it a case for kernels?
template <typename Row>
KES_INLINE bool IsSound(const Loaded<Row>& x) noexcept {
  return x.wrong == 0 && x.HasFirstDigit();
}
template <typename Row>
KES_INLINE bool AreSound(const Loaded<Row>& x, const Loaded<Row>& y) noexcept {
  return (x.wrong | y.wrong) == 0 && x.HasFirstDigit() && y.HasFirstDigit();
}

KES_INLINE bool IsShort(Located x) noexcept { return x.size - 2 <= kWordBytes - 2; }
KES_INLINE bool IsLong(Located x) noexcept { return x.size - 2 <= kMaxBytes - 2; }

// Numbers of 2 to 8 bytes.
KES_INLINE void Load(Located x, Loaded<Row1>& number) noexcept {
  const Word stored = LoadShort(x.bytes, x.size);
  const Word positive = stored >> 63;
  const FirstDecoding& decoding = kFirstDecoding.at[positive][x.size];
  const Word first = (stored ^ decoding.flip) - decoding.take;
  number = {{first},
            positive - 1,
            WrongDigits(first & kConstants.digit_bytes) | (first & decoding.spare)};
}

// Numbers of 2 to 21 bytes.
KES_INLINE void Load(Located x, Loaded<Row3>& number) noexcept {
  if (x.size <= kWordBytes) {
    Loaded<Row1> brief;
    Load(x, brief);
    number = {{brief.row.first, 0, 0}, brief.sign, brief.wrong};
    return;
  }
  const Word first = LoadWord(x.bytes);
  const Word last = LoadWord(x.bytes + x.size - kWordBytes);
  const Word sign = (first >> 63) - 1;
  const std::size_t ended = sign & (static_cast<std::uint8_t>(last) == kTerminator ? 1 : 0);
  const Word take = kConstants.ones + (sign & kConstants.more_taken);
  Row3 row = {(first ^ sign) - (take & kConstants.digit_bytes), 0, 0};
  if (x.size <= 2 * kWordBytes) {
    const std::size_t bytes = x.size - kWordBytes;
    const Word mask = kFirstBytes.mask[bytes - ended];
    row.second = ((last << (64 - 8 * bytes) ^ sign) & mask) - (take & mask);
  } else {
    const std::size_t bytes = x.size - 2 * kWordBytes;
    const Word mask = kFirstBytes.mask[bytes - ended];
    row.second = (LoadWord(x.bytes + kWordBytes) ^ sign) - take;
    row.third = ((last << (64 - 8 * bytes) ^ sign) & mask) - (take & mask);
  }
  number = {row, sign,
            WrongDigits(row.first & kConstants.digit_bytes) | WrongDigits(row.second) |
                WrongDigits(row.third)};
}

// A number to be stored: count mantissa bytes from the first of the words on.
template <typename Row>
struct Result {
  Row mantissa;
  std::uint32_t count;       // 0: the first byte alone
  std::uint32_t terminator;  // 1: one follows
  std::uint8_t first;
};

inline constexpr std::int32_t kLowestExponent = 128;  // as a byte of a positive number

KES_INLINE bool InRange(std::int32_t exponent) noexcept {
  return static_cast<std::uint32_t>(exponent - kLowestExponent) <= 127;
}

KES_INLINE Result<Row1> Zero() noexcept { return {{0}, 0, 0, kZeroByte}; }

KES_INLINE Result<Row1> OutOfRange(std::int32_t exponent, Word sign) noexcept {
  if (exponent < kLowestExponent) return Zero();
  if (sign != 0) return {{0}, 0, 0, 0};
  return {{Word{101} << 56}, 1, 0, 0xFF};
}

// The first word of (high, low) moved up by 0 to 63 bits, and the last one moved down.
KES_INLINE Word Up(Word high, Word low, unsigned bits) noexcept {
  return high << bits | (low >> 1) >> (63 - bits);
}
KES_INLINE Word Down(Word high, Word low, unsigned bits) noexcept {
  return (high << 1) << (63 - bits) | low >> bits;
}

// Digit 19, the last, has become 100: carries on through 99s. The carry out of digit 0 is left in
// carried.
__attribute__((noinline)) inline Row3 CarryOn(Row3 row, std::int32_t& carried) noexcept {
  Word* const words[] = {&row.first, &row.second, &row.third};
  for (int k = kMaxDigits - 1; k >= 0; --k) {
    Word& word = *words[k / kWordBytes];
    const int shift = 56 - 8 * (k % kWordBytes);
    if ((word >> shift & 0xFF) != kBase) return row;
    word &= ~(Word{0xFF} << shift);
    if (k > 0) *words[(k - 1) / kWordBytes] += Word{1} << (56 - 8 * ((k - 1) % kWordBytes));
  }
  carried = 1;
  return {Word{1} << 56, 0, 0};
}

// Rounds digits 0 to 23, the first of them not 0, to 20. Where that carries past the first, carried
// is set and the digits are those of the exponent above.
KES_INLINE Row3 Round(Row3 row, std::int32_t& carried) noexcept {
  constexpr Word kDigit19 = Word{1} << 32;
  const Word up = static_cast<std::uint32_t>(row.third) >= std::uint32_t{kBase / 2} << 24 ? 1 : 0;
  row.third = (row.third & ~(kDigit19 - 1)) + up * kDigit19;
  if ((row.third >> 32 & 0xFF) != kBase) [[likely]]
    return row;
  std::int32_t raised = 0;
  row = CarryOn(row, raised);
  carried = raised;
  return row;
}

// Digits to mantissa bytes: d + 1, or 101 - d.
KES_INLINE Word Encode(Word digits, Word sign) noexcept {
  return (digits ^ sign) + kConstants.ones - (sign & kConstants.more_added);
}

KES_INLINE std::uint32_t TrailingBytes(Word word) noexcept {
  return static_cast<std::uint32_t>(std::countr_zero(word)) / 8;
}

KES_INLINE std::uint32_t LeadingBits(Word word) noexcept {
  return static_cast<std::uint32_t>(std::countl_zero(word)) & ~7u;
}

KES_INLINE std::uint8_t FirstByte(std::int32_t exponent, Word sign) noexcept {
  return static_cast<std::uint8_t>(static_cast<Word>(exponent) ^ sign);
}

// Rows of digits from byte 0 on, zeros at the ends allowed, to a number, which sink gets. exponent is
// that of byte 0 as the first digit, as a byte of the absolute value or outside of one.
template <typename Sink>
KES_INLINE void Finish(Row1 row, std::int32_t exponent, Word sign, Sink sink) noexcept {
  if (row.first == 0) [[unlikely]]
    return sink(Zero());
  const std::uint32_t above = LeadingBits(row.first);
  exponent -= static_cast<std::int32_t>(above / 8);
  if (!InRange(exponent)) [[unlikely]]
    return sink(OutOfRange(exponent, sign));
  const Word digits = row.first << above;
  sink(Result<Row1>{{Encode(digits, sign)},
                    kWordBytes - TrailingBytes(digits),
                    static_cast<std::uint32_t>(sign & 1),
                    FirstByte(exponent, sign)});
}

template <typename Sink>
KES_INLINE void Finish(Row3 row, std::int32_t exponent, Word sign, Sink sink) noexcept {
  while (row.first == 0) [[unlikely]] {
      row = {row.second, row.third, 0};
      exponent -= kWordBytes;
      if ((row.first | row.second) == 0) return sink(Zero());
    }
  const std::uint32_t above = LeadingBits(row.first);
  exponent -= static_cast<std::int32_t>(above / 8);
  if (!InRange(exponent)) [[unlikely]]
    return sink(OutOfRange(exponent, sign));
  row = {Up(row.first, row.second, above), Up(row.second, row.third, above), row.third << above};
  std::int32_t carried = 0;
  row = Round(row, carried);
  exponent += carried;
  if (!InRange(exponent)) [[unlikely]]
    return sink(OutOfRange(exponent, sign));
  std::uint32_t count;
  if (row.third != 0) {
    count = 3 * kWordBytes - TrailingBytes(row.third);
  } else if (row.second != 0) {
    count = 2 * kWordBytes - TrailingBytes(row.second);
  } else {
    count = kWordBytes - TrailingBytes(row.first);
  }
  sink(Result<Row3>{{Encode(row.first, sign), Encode(row.second, sign), Encode(row.third, sign)},
                    count,
                    static_cast<std::uint32_t>(sign & (count < kMaxDigits ? 1 : 0)),
                    FirstByte(exponent, sign)});
}

// Writes exactly the number. Where no terminator belongs the last byte is written over it.
KES_INLINE void Put(const Result<Row1>& result, std::uint8_t* out) noexcept {
  const std::size_t count = result.count;
  const Word mantissa = result.mantissa.first;
  const std::size_t size = 1 + count + result.terminator;
  if (size - 2 <= kWordBytes - 2) [[likely]] {
    // Digit 0 of a negative number is coded as 101, the terminator is 102.
    const Word ended = mantissa + (static_cast<Word>(result.terminator) << (56 - 8 * count));
    StoreShort(out, size, static_cast<Word>(result.first) << 56 | ended >> 8);
    return;
  }
  out[size - 1] = kTerminator;
  out[0] = result.first;
  if (count == 0) return;
  for (std::size_t k = 0; k < count; ++k) {
    out[1 + k] = static_cast<std::uint8_t>(mantissa >> (56 - 8 * k));
  }
}

KES_INLINE void Put(const Result<Row3>& result, std::uint8_t* out) noexcept {
  const std::size_t count = result.count;
  const Row3& mantissa = result.mantissa;
  if (count <= kWordBytes) {
    return Put(Result<Row1>{{mantissa.first}, result.count, result.terminator, result.first}, out);
  }
  out[count + result.terminator] = kTerminator;
  out[0] = result.first;
  StoreWord(out + 1, mantissa.first);
  std::uint8_t* const last = out + 1 + count - kWordBytes;
  if (count > 2 * kWordBytes) {
    StoreWord(out + 1 + kWordBytes, mantissa.second);
    StoreWord(last, Down(mantissa.second, mantissa.third,
                         static_cast<unsigned>(8 * (3 * kWordBytes - count))));
  } else {
    StoreWord(last, Down(mantissa.first, mantissa.second,
                         static_cast<unsigned>(8 * (2 * kWordBytes - count))));
  }
}

template <typename Row>
KES_INLINE std::size_t Length(const Result<Row>& result) noexcept {
  return 1 + result.count + result.terminator;
}

// Writes exactly the result, in the form that outlen asks for.
struct Store {
  std::uint8_t* out;
  std::size_t* outlen;

  template <typename Row>
  KES_INLINE void operator()(const Result<Row>& result) const noexcept {
    std::uint8_t* at = out;
    if (outlen == nullptr) {
      *at++ = static_cast<std::uint8_t>(Length(result));
    } else {
      *outlen = Length(result);
    }
    Put(result, at);
  }
};

}  // namespace kestra::number::words
