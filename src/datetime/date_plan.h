// Plans: the commonest compiled formats, such as that of YYYY-MM-DD HH24:MI:SS, are nothing but
// fields of two digits between literals. Such a format is written as its text with holes, into
// which the pairs are put, and read by comparing the text around the holes: no walk over elements,
// no branch that depends on the date. A context keeps the plan of the format that came last.
#pragma once

#include <string.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/ldx_state.h"

namespace kestra::datetime {

// The limits of a plan's text: a byte that has to be the same, and a digit.
inline constexpr std::uint8_t kExact = 0x7F;
inline constexpr std::uint8_t kDigit = 0x7F - 9;

// Put a literal, or an element, behind a plan's text; false when it is of no plan or does not fit.
bool AddText(Plan& plan, std::span<const std::uint8_t> text) noexcept;
bool AddElement(Plan& plan, std::uint32_t code, std::uint32_t modifier, Basis basis) noexcept;

void MakePlan(Plan& plan, std::span<const std::uint8_t> format, Basis basis) noexcept;

// Any plan that knows what it was made of.
template <typename AnyPlan>
inline bool SameFormat(const AnyPlan& plan, std::span<const std::uint8_t> format) noexcept {
  const std::size_t length = format.size();
  if (plan.format_length != length) return false;
  // Overlapping words instead of a call: formats of plans are short.
  if (length < 8) return memcmp(plan.format, format.data(), length) == 0;
  const auto differs = [&](std::size_t at) {
    std::uint64_t x, y;
    memcpy(&x, plan.format + at, 8);
    memcpy(&y, format.data() + at, 8);
    return x != y;
  };
  for (std::size_t at = 0; at + 8 < length; at += 8) {
    if (differs(at)) return false;
  }
  return !differs(length - 8);
}

// Reads a text that agrees with a readable plan byte by byte. False: it does not, or what it says is
// no date; out then has no meaning.
bool ReadPlan(const Plan& plan, std::span<const std::uint8_t> text, ldxdate& out) noexcept;

// The plan of a format; null when it is not of that kind.
inline const Plan* PlanOf(State& state, std::span<const std::uint8_t> format) noexcept {
  if (format.empty() || format.size() > kPlanFormat) return nullptr;
  if (!SameFormat(state.plan, format)) [[unlikely]]
    MakePlan(state.plan, format, state.basis);
  return state.plan.text_length != 0 ? &state.plan : nullptr;
}

// Pairs of decimal digits, the tens in the lower byte's place in memory; from 100 on they repeat.
struct DigitPairs {
  std::uint8_t bytes[256][2];
};
inline constexpr DigitPairs kDigitPairs = [] {
  DigitPairs pairs{};
  for (std::size_t i = 0; i < 256; ++i) {
    pairs.bytes[i][0] = static_cast<std::uint8_t>('0' + i % 100 / 10);
    pairs.bytes[i][1] = static_cast<std::uint8_t>('0' + i % 10);
  }
  return pairs;
}();

// Added to a pair for the digits of a basis.
constexpr std::uint16_t PairMark(Basis basis) noexcept {
  return basis == Basis::kEbcdic ? 0xC0C0 : 0;
}

inline void PutPair(std::uint8_t* at, std::uint32_t value, std::uint16_t mark) noexcept {
  std::uint16_t pair;
  memcpy(&pair, kDigitPairs.bytes[value & 0xFF], 2);
  pair |= mark;
  memcpy(at, &pair, 2);
}

// Copies a plan's text in pieces that overlap.
inline void CopyPlanText(const Plan& plan, std::uint8_t* out) noexcept {
  const std::size_t length = plan.text_length;
  if (length < 8) {
    for (std::size_t i = 0; i < length; ++i) out[i] = plan.text[i];
  } else if (length < 16) {
    memcpy(out, plan.text, 8);
    memcpy(out + length - 8, plan.text + length - 8, 8);
  } else {
    for (std::size_t at = 0; at + 16 < length; at += 16) memcpy(out + at, plan.text + at, 16);
    memcpy(out + length - 16, plan.text + length - 16, 16);
  }
}

}  // namespace kestra::datetime
