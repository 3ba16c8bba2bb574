// A text while it is read along a compiled format, which the readers of dates and of datetimes share.
#pragma once

#include <string.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "datetime/date_read.h"

namespace kestra::datetime {

inline constexpr std::uint32_t kDamaged = 1821;
inline constexpr std::uint32_t kTextEnds = 1840;
inline constexpr std::uint32_t kDigitExpected = 1858;
inline constexpr std::uint32_t kLetterExpected = 1859;
inline constexpr std::uint32_t kLiteralDiffers = 1861;
inline constexpr std::uint32_t kWrongDigits = 1862;

// Where the reader is in the text; in the bytes of the context's set.
class TextWalk {
 public:
  TextWalk(ldxctx& ctx, std::span<const std::uint8_t> text, ReadFields& fields) noexcept
      : ctx_(ctx),
        state_(StateOf(ctx)),
        fields_(fields),
        begin_(text.data()),
        at_(begin_),
        end_(begin_ + text.size()),
        zero_(InSet(state_, '0')),
        blank_(InSet(state_, ' ')) {}

  bool exact() const noexcept { return exact_; }
  void ToggleExact() noexcept { exact_ = !exact_; }
  bool AtEnd() const noexcept { return at_ == end_; }
  std::size_t offset() const noexcept { return static_cast<std::size_t>(at_ - begin_); }
  std::span<const std::uint8_t> left() const noexcept { return {at_, end_}; }
  ldxctx& ctx() const noexcept { return ctx_; }
  State& state() const noexcept { return state_; }
  ReadFields& fields() const noexcept { return fields_; }

  void SkipBlanks() noexcept {
    while (at_ != end_ && *at_ == blank_) ++at_;
  }
  // At most count blanks.
  void SkipBlanks(std::size_t count) noexcept {
    for (; count != 0 && at_ != end_ && *at_ == blank_; --count) ++at_;
  }
  void Advance(std::size_t bytes) noexcept { at_ += bytes; }

  // 0..9, or more for what is no digit.
  std::uint32_t DigitAt(const std::uint8_t* p) const noexcept {
    return static_cast<std::uint8_t>(*p - zero_);
  }
  bool IsNext(char c) const noexcept { return at_ != end_ && *at_ == InSet(state_, c); }
  bool Accept(char c) noexcept {
    if (!IsNext(c)) return false;
    ++at_;
    return true;
  }
  bool AcceptBytes(std::string_view bytes) noexcept {
    if (bytes.empty()) return true;
    if (left().size() < bytes.size() || memcmp(at_, bytes.data(), bytes.size()) != 0) return false;
    at_ += bytes.size();
    return true;
  }

  // Up to most digits; returns how many there were.
  std::uint32_t TakeDigits(std::uint32_t most, std::uint32_t& value) noexcept {
    std::uint32_t count = 0;
    for (; count < most && at_ != end_ && DigitAt(at_) <= 9; ++count) {
      value = 10 * value + DigitAt(at_++);
    }
    return count;
  }

  Fault Error(std::uint32_t number) const noexcept { return {number, offset()}; }
  // A digit or letter that is missing: the text ends, or goes on with something else.
  Fault Missing(std::uint32_t number) const noexcept { return Error(AtEnd() ? kTextEnds : number); }

  bool IsLetterOrDigit(std::uint8_t byte) const noexcept {
    if (state_.basis == Basis::kAscii) {
      const std::uint32_t letter = (byte | 0x20u) - 'a';
      return letter < 26 || byte - std::uint32_t{'0'} < 10 || byte >= 0x80;
    }
    return byte >= 0x81;
  }
  bool IsPunctuation(std::uint8_t byte) const noexcept {
    if (state_.basis == Basis::kAscii) {
      return byte > 0x20 && byte < 0x7F && !IsLetterOrDigit(byte);
    }
    return byte > 0x40 && byte < 0x80;
  }

  // A literal without FX: of punctuation.
  void PassPunctuation(std::span<const std::uint8_t> literal) noexcept {
    for (const std::uint8_t byte : literal) {
      SkipBlanks();
      if (IsPunctuation(byte) && !AtEnd() && IsPunctuation(*at_)) ++at_;
      if (byte >= 0x80 && state_.basis == Basis::kAscii) return;  // a character beyond ASCII
    }
  }

 private:
  ldxctx& ctx_;
  State& state_;
  ReadFields& fields_;
  const std::uint8_t* begin_;
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  std::uint8_t zero_;
  std::uint8_t blank_;
  bool exact_ = false;
};

// st, nd, rd or th behind a number.
Fault TakeOrdinalSuffix(TextWalk& walk, std::uint32_t value) noexcept;

// most digits, all of them under FX in fill mode, and the suffix that the modifier tells.
inline Fault TakeNumber(TextWalk& walk, std::uint32_t most, std::uint8_t modifier,
                        std::uint32_t& value) noexcept {
  const std::uint32_t count = walk.TakeDigits(most, value);
  if (count == 0) return walk.Missing(kDigitExpected);
  if (walk.exact() && (modifier & kFill) != 0 && count < most) return walk.Error(kWrongDigits);
  if ((modifier & kSuffixMask) != 0) return TakeOrdinalSuffix(walk, value);
  return {};
}

// An element of datetimes (datetime_model.h); walk.fields() has them.
Fault ReadDatetimeElement(TextWalk& walk, std::uint8_t code) noexcept;

}  // namespace kestra::datetime
