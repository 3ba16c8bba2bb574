// The byte tables, each made by the formula it stands for.
#include <array>
#include <cstddef>
#include <cstdint>

#include "kestra/number_tables.h"
#include "number/number_view.h"

// The exported tables are plain C arrays, which no function can return: each formula is spelled per
// entry.
#define KES_ENTRIES_10(f, n)                                                                  \
  f((n)), f((n) + 1), f((n) + 2), f((n) + 3), f((n) + 4), f((n) + 5), f((n) + 6), f((n) + 7), \
      f((n) + 8), f((n) + 9)
#define KES_ENTRIES_50(f, n)                                                        \
  KES_ENTRIES_10(f, (n)), KES_ENTRIES_10(f, (n) + 10), KES_ENTRIES_10(f, (n) + 20), \
      KES_ENTRIES_10(f, (n) + 30), KES_ENTRIES_10(f, (n) + 40)
#define KES_ENTRIES_100(f) KES_ENTRIES_50(f, 0), KES_ENTRIES_50(f, 50)
#define KES_ENTRIES_101(f) KES_ENTRIES_100(f), f(100)
#define KES_ENTRIES_102(f) KES_ENTRIES_101(f), f(101)
#define KES_ENTRIES_203(f) \
  KES_ENTRIES_100(f), KES_ENTRIES_50(f, 100), KES_ENTRIES_50(f, 150), f(200), f(201), f(202)
#define KES_PAIR(f) \
  { f[0], f[1] }

namespace kestra::number {
namespace {

constexpr std::uint8_t Byte(int value) { return static_cast<std::uint8_t>(value); }

constexpr int PositiveDigit(int byte) { return byte - 1; }
constexpr int NegativeDigit(int byte) { return kBase + 1 - byte; }
constexpr std::uint8_t PositiveByte(int digit) { return Byte(digit + 1); }
constexpr std::uint8_t NegativeByte(int digit) { return Byte(kBase + 1 - digit); }

constexpr int HalfAway(int digit) { return (digit + 5) / 10 * 10; }
constexpr int HalfEven(int digit) {
  const int tens = digit / 10;
  const bool up = digit % 10 > 5 || (digit % 10 == 5 && tens % 2 != 0);
  return (tens + (up ? 1 : 0)) * 10;
}
constexpr int Cut(int digit) { return digit / 10 * 10; }

template <int rounded(int)>
constexpr std::uint8_t RoundedPositive(int byte) {
  return byte == 0 ? Byte(0) : PositiveByte(rounded(PositiveDigit(byte)));
}
template <int rounded(int)>
constexpr std::uint8_t RoundedNegative(int byte) {
  return byte == 0 ? Byte(0) : NegativeByte(rounded(NegativeDigit(byte)));
}

constexpr std::uint8_t Negate(int byte) { return byte == 0 ? Byte(0) : Byte(102 - byte); }
constexpr std::uint8_t MultipleOfTen(int byte) { return byte % 10 == 1 ? Byte(1) : Byte(0); }

// One place of an addition: the value that the bytes' sum stands for, below 0 or above 99 with a
// carry.
using Pair = std::array<std::uint8_t, 2>;
constexpr Pair Place(int value, bool negative) {
  if (value < -kBase || value >= 2 * kBase) return {0, 0};  // no sum of two digits and a carry
  const bool carry = value < 0 || value >= kBase;
  const int digit = (value + kBase) % kBase;
  return {negative ? NegativeByte(digit) : PositiveByte(digit), Byte(carry ? 1 : 0)};
}

constexpr Pair Tens(int digit, int byte) {
  return byte == 0 ? Pair{0, 0} : Pair{Byte(digit / 10), Byte(digit % 10)};
}

}  // namespace
}  // namespace kestra::number

using namespace kestra::number;  // NOLINT: the tables below are the namespace's formulas, exported

#define KES_SUM_PPP(sum) KES_PAIR(Place((sum)-2, false))
#define KES_SUM_PNP(sum) KES_PAIR(Place((sum)-102, false))
#define KES_SUM_PNN(sum) KES_PAIR(Place(102 - (sum), true))
#define KES_SUM_NNN(sum) KES_PAIR(Place(202 - (sum), true))
#define KES_TENS_P(byte) KES_PAIR(Tens(PositiveDigit(byte), byte))
#define KES_TENS_N(byte) KES_PAIR(Tens(NegativeDigit(byte), byte))

const uint8_t LnxqNegate[102] = {KES_ENTRIES_102(Negate)};
const uint8_t LnxsubIdentity[102] = {KES_ENTRIES_102(Byte)};
const uint8_t LnxqDigit_P[100] = {KES_ENTRIES_100(PositiveByte)};
const uint8_t LnxqDigit_N[100] = {KES_ENTRIES_100(NegativeByte)};
const uint8_t LnxqComponent_P[101][2] = {KES_ENTRIES_101(KES_TENS_P)};
const uint8_t LnxqComponent_N[102][2] = {KES_ENTRIES_102(KES_TENS_N)};
const uint8_t LnxqFirstDigit[102] = {KES_ENTRIES_102(MultipleOfTen)};
const uint8_t LnxqRound_P[101] = {KES_ENTRIES_101(RoundedPositive<HalfAway>)};
const uint8_t LnxqRound_N[102] = {KES_ENTRIES_102(RoundedNegative<HalfAway>)};
const uint8_t LnxqRound2e_P[101] = {KES_ENTRIES_101(RoundedPositive<HalfEven>)};
const uint8_t LnxqRound2e_N[102] = {KES_ENTRIES_102(RoundedNegative<HalfEven>)};
const uint8_t LnxqTruncate_P[101] = {KES_ENTRIES_101(RoundedPositive<Cut>)};
const uint8_t LnxqTruncate_N[102] = {KES_ENTRIES_102(RoundedNegative<Cut>)};
const uint8_t LnxqAdd_PPP[203][2] = {KES_ENTRIES_203(KES_SUM_PPP)};
const uint8_t LnxqAdd_PNP[203][2] = {KES_ENTRIES_203(KES_SUM_PNP)};
const uint8_t LnxqAdd_PNN[203][2] = {KES_ENTRIES_203(KES_SUM_PNN)};
const uint8_t LnxqAdd_NNN[203][2] = {KES_ENTRIES_203(KES_SUM_NNN)};
