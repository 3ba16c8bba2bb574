// Number text in 64-bit words, for every machine.
//
// A word holds eight characters, or eight base-100 digits; four digits become eight characters, and
// back, by one multiplication for the tens of all of them. Numbers become a row of characters with
// zeros around it, of which the text is two pieces with the point between:
//   C2 02 18 2E  ->  ...00 01 23 45 00...  ->  "123" "." "45".
// Texts are taken together the other way round, up to 16 characters, as money is, by shifts of two
// registers, longer ones in memory. Anything but a well-formed number and plain text is left to the
// ordinary code.
#include <cstring>

#include "number/kernels/lnx_text_kernels.h"
#include "number/kernels/words_number.h"
#include "number/lnx_figures.h"
#include "number/lnx_scan.h"

namespace kestra::number {
namespace words {
namespace {

constexpr Word kZeros = Each('0');

// Four digits in the lower half of a word to eight characters less '0'.
KES_INLINE Word ToTens(Word digits) noexcept {
  digits = (digits | digits << 16) & 0x0000FFFF0000FFFF;
  digits = (digits | digits << 8) & 0x00FF00FF00FF00FF;
  const Word tens = digits * 103 >> 10 & 0x000F000F000F000F;  // exact below 179
  return digits + tens * ((1 << 8) - 10);
}

// The way back.
KES_INLINE Word FromTens(Word tens) noexcept {
  Word digits = tens - (tens >> 8 & 0x00FF00FF00FF00FF) * ((1 << 8) - 10);
  digits = (digits | digits >> 8) & 0x0000FFFF0000FFFF;
  return (digits | digits >> 16) & 0xFFFFFFFF;
}

KES_INLINE Wide Both(Word high, Word low) noexcept { return static_cast<Wide>(high) << 64 | low; }
KES_INLINE Word High(Wide value) noexcept { return static_cast<Word>(value >> 64); }

KES_INLINE int LeadingBytes(Wide value) noexcept {
  const Word high = High(value);
  return high != 0 ? std::countl_zero(high) / 8
                   : kWordBytes + std::countl_zero(static_cast<Word>(value)) / 8;
}
// 1 to 16 bytes; zeros after them.
KES_INLINE Wide GetBytes(const std::uint8_t* bytes, std::size_t size) noexcept {
  if (size >= kWordBytes) {
    const Wide last = Both(LoadWord(bytes + size - kWordBytes), 0);
    return Both(LoadWord(bytes), 0) | last >> (8 * (size - kWordBytes));
  }
  return Both(size >= 2 ? LoadShort(bytes, size) : static_cast<Word>(*bytes) << 56, 0);
}

// Eight digits to sixteen characters.
KES_INLINE void PutTens(std::uint8_t* at, Word digits) noexcept {
  StoreWord(at, ToTens(digits >> 32) + kZeros);
  StoreWord(at + kWordBytes, ToTens(digits & 0xFFFFFFFF) + kZeros);
}

// A number as plain text with "." and no groups. Returns the length; 0: not a case for this.
KES_INLINE std::size_t ToPlain(Located x, std::uint8_t* out, std::size_t outsize) noexcept {
  if (!IsLong(x)) return 0;
  Loaded<Row3> number;
  Load(x, number);
  if (!IsSound(number)) return 0;
  const auto negative = static_cast<unsigned>(number.sign & 1);
  const unsigned ended = negative & (x.bytes[x.size - 1] == kTerminator ? 1u : 0u);
  const std::uint32_t size = x.size - ended;  // the exponent byte and digits
  if (negative != ended && size < kMaxBytes) return 0;

  // A row of '0', and in the middle of it two that stand for the exponent byte, and the digits.
  constexpr int kBefore = 16;
  constexpr int kDigits = 6 * kWordBytes;
  constexpr int kAfter = 16;
  char characters[kBefore + kDigits + kAfter];
  std::memset(characters, '0', sizeof characters);
  const Row3& row = number.row;
  auto* const at = reinterpret_cast<std::uint8_t*>(characters) + kBefore;
  PutTens(at, row.first & kDigitBytes);
  std::uint32_t spare = 2 * kWordBytes + TrailingBytes(row.first);
  if (size > kWordBytes) {
    PutTens(at + 2 * kWordBytes, row.second);
    spare = kWordBytes + TrailingBytes(row.second);
  }
  if (size > 2 * kWordBytes) {
    PutTens(at + 4 * kWordBytes, row.third);
    spare = TrailingBytes(row.third);
  }
  if (spare + size != 3 * kWordBytes) return 0;  // zeros at the end
  const int half = (row.first >> 48 & 0xFF) < 10 ? 1 : 0;
  const char* const first = characters + kBefore + 2 + half;
  const auto end = static_cast<int>(2 * (size - 1)) - half;
  const int count = end - (first[end - 1] == '0' ? 1 : 0);
  const int point = 2 * (number.Exponent() - kExponentBias) - half;
  const int integers = point > 1 ? point : 1;
  const int zeros = integers - point;  // written before the first digit
  const int fraction = count > point ? count - point : 0;
  const unsigned dotted = fraction > 0;
  const auto length = static_cast<std::size_t>(integers + fraction) + dotted + negative;
  if ((zeros > kBefore) | (integers > kDigits) | (length > outsize)) return 0;
  auto* text = reinterpret_cast<char*>(out);
  *text = '-';
  text += negative;
  CopyShort(text, first - zeros, static_cast<std::size_t>(integers));
  if (fraction == 0) return length;
  text[integers] = '.';
  CopyShort(text + integers + 1, first - zeros + integers, static_cast<std::size_t>(fraction));
  return length;
}

// Bytes of a value that are no digit after '0' has been taken off by an exclusive or: bit 7 of each.
KES_INLINE Word NoDigit(Word tens) noexcept {
  return (((tens & Each(127)) + Each(128 - 10)) | tens) & Each(128);
}

// Writes a number as StoreBytes does; the length.
struct PutNumber {
  std::uint8_t* out;
  std::size_t& length;

  template <typename Row>
  KES_INLINE void operator()(const Result<Row>& result) const noexcept {
    length = Length(result);
    Put(result, out);
  }
};

// 1 to 16 characters. Returns the length; 0: not a case for this.
KES_INLINE std::size_t FromShortPlain(const std::uint8_t* given, std::size_t size,
                                      std::uint8_t* bytes) noexcept {
  Wide text = GetBytes(given, size) ^ Both(kZeros, kZeros);
  const Word negative = given[0] == '-';
  const bool sign = given[0] == '-' || given[0] == '+';
  if (sign) text = text << 8 | '0';
  const auto left = static_cast<int>(size) - (sign ? 1 : 0);
  // What follows the text counts as no digit.
  const int integers = LeadingBytes(Both(NoDigit(High(text)), NoDigit(static_cast<Word>(text))));
  if (integers > left) return 0;
  if (integers == left) {
    if (integers == 0) return 0;
    text = integers == 16 ? text : text & ~(~Wide{0} >> (8 * integers));
  } else {
    const Wide before = integers == 0 ? 0 : text >> (128 - 8 * integers) << (128 - 8 * integers);
    const Wide after = text << (8 * integers) << 8;
    const int fraction = left - integers - 1;
    const bool dotted = static_cast<std::uint8_t>(text >> (120 - 8 * integers)) == ('.' ^ '0');
    const Wide wrong = Both(NoDigit(High(after)), NoDigit(static_cast<Word>(after)));
    if (!dotted || integers + fraction == 0) return 0;
    if (fraction > 0 && wrong >> (128 - 8 * fraction) != 0) return 0;
    text = before | (fraction == 0
                         ? 0
                         : after >> (128 - 8 * fraction) << (128 - 8 * fraction) >> (8 * integers));
  }
  const unsigned half = integers & 1;
  text >>= 8 * half;  // of 16 digits none, since those have no point
  std::size_t length = 0;
  const Row1 row{FromTens(High(text)) << 32 | FromTens(static_cast<Word>(text))};
  Finish(row, kExponentBias + (integers + 1) / 2, Word{0} - negative, PutNumber{bytes, length});
  return length;
}

KES_INLINE std::size_t FromLongPlain(const std::uint8_t* given, std::size_t size,
                                     std::uint8_t* bytes) noexcept {
  constexpr std::size_t kDigits = 6 * kWordBytes;
  const auto* const text = reinterpret_cast<const char*>(given);
  const Word negative = *text == '-';
  const std::size_t sign = *text == '-' || *text == '+' ? 1 : 0;
  const std::string_view all(text, size);
  const std::size_t integers = DigitRun(all, sign);
  const std::size_t after = sign + integers + 1;
  std::size_t fraction = 0;
  if (after <= size) {
    if (text[after - 1] != '.') return 0;
    fraction = DigitRun(all, after);
    if (after + fraction != size) return 0;
  }
  const std::size_t half = integers & 1;
  if (half + integers + fraction > kDigits || integers + fraction == 0) return 0;
  char characters[kDigits + kWordBytes];
  std::memset(characters, '0', sizeof characters);
  CopyShort(characters + half, text + sign, integers);
  CopyShort(characters + half + integers, text + size - fraction, fraction);
  Row3 row;
  const auto* at = reinterpret_cast<const std::uint8_t*>(characters);
  for (Word* word : {&row.first, &row.second, &row.third}) {
    *word = FromTens(LoadWord(at) - kZeros) << 32 | FromTens(LoadWord(at + kWordBytes) - kZeros);
    at += 2 * kWordBytes;
  }
  std::size_t length = 0;
  Finish(row, kExponentBias + static_cast<std::int32_t>(integers + half) / 2, Word{0} - negative,
         PutNumber{bytes, length});
  return length;
}

int ToText(const std::uint8_t* x, std::size_t xlen, const lnxtextform* form,
           const lnxsymbols* symbols, std::uint8_t* out, std::size_t outsize,
           std::size_t* outlen) noexcept {
  if (symbols == nullptr && (form == nullptr || (form->kind | form->flags) == 0)) {
    const std::size_t size = ToPlain(Locate(x, xlen), out, outsize);
    if (size > 0) {
      *outlen = size;
      return LNX_OK;
    }
  }
  return scalar::ToText(x, xlen, form, symbols, out, outsize, outlen);
}

int FromText(const std::uint8_t* text, std::size_t textlen, const lnxsymbols* symbols,
             std::uint8_t* out, std::size_t* outlen, std::size_t* bad) noexcept {
  if (symbols == nullptr && text != nullptr && textlen - 1 < 64) {
    std::uint8_t* const bytes = outlen == nullptr ? out + 1 : out;
    const std::size_t size = textlen <= 2 * kWordBytes ? FromShortPlain(text, textlen, bytes)
                                                       : FromLongPlain(text, textlen, bytes);
    if (size > 0) {
      if (outlen == nullptr) {
        *out = static_cast<std::uint8_t>(size);
      } else {
        *outlen = size;
      }
      return LNX_OK;
    }
  }
  return scalar::FromText(text, textlen, symbols, out, outlen, bad);
}

}  // namespace
}  // namespace words

extern const TextKernels kWordTextKernels;
constinit const TextKernels kWordTextKernels = {words::ToText, words::FromText};

}  // namespace kestra::number
