// Text of digits, signs and English words, as intervals and literals are written with: read from and
// written to a handle's set, which has the characters of ASCII as ASCII, as EBCDIC or as two-byte
// units, through a small ASCII buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "kestra/handle.h"

namespace kestra::datetime {

constexpr bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }
constexpr char ToUpper(char c) noexcept {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

// The longest text is the literal of a timestamp with a region, whose name has up to 255 characters.
inline constexpr std::size_t kPlainRoom = 320;

// What is read: the text in ASCII, blanks at both ends removed, where it is or as a copy. A character
// that ASCII has not is the byte FF. What does not fit is no literal: it is left empty.
class PlainText {
 public:
  PlainText(const std::uint8_t* text, std::size_t length, const lxhandle* handle) noexcept;
  PlainText(const std::uint16_t* text, std::size_t length) noexcept;
  std::string_view view() const noexcept { return text_; }

 private:
  static constexpr std::size_t kRoom = kPlainRoom;
  template <typename Character>
  void Fill(std::size_t length, const Character& character) noexcept;

  char buffer_[kRoom];
  std::string_view text_;
};

// What is written: built here, then copied out in the caller's encoding. The room is enough for
// every text that is made; what does not fit is dropped.
class PlainWriter {
 public:
  void Put(char c) noexcept {
    if (length_ < kRoom) buffer_[length_++] = c;
  }
  void Put(std::string_view text) noexcept {
    const std::size_t size = text.size() < kRoom - length_ ? text.size() : kRoom - length_;
    if (size != 0) std::memcpy(buffer_ + length_, text.data(), size);
    length_ += size;
  }
  // At least digits digits, zeros in front.
  void PutNumber(std::uint64_t value, unsigned digits = 1) noexcept;
  // The first precision digits of a fraction in nanoseconds.
  void PutFraction(std::uint32_t nanos, unsigned precision) noexcept;
  // The same without zeros at the end.
  void PutShortFraction(std::uint32_t nanos) noexcept;

  std::string_view view() const noexcept { return {buffer_, length_}; }

  // 0 or 1877, with nothing written then.
  std::uint32_t CopyTo(std::uint8_t* out, std::size_t size, std::size_t& length,
                       const lxhandle* handle) const noexcept;
  std::uint32_t CopyTo(std::uint16_t* out, std::size_t size, std::size_t& length) const noexcept;

 private:
  static constexpr std::size_t kRoom = kPlainRoom;
  char buffer_[kRoom];
  std::size_t length_ = 0;
};

// A cursor over such a text.
class PlainReader {
 public:
  explicit PlainReader(std::string_view text) noexcept : text_(text) {}

  bool AtEnd() const noexcept { return text_.empty(); }
  char Peek() const noexcept { return text_.empty() ? '\0' : text_.front(); }
  std::string_view Rest() const noexcept { return text_; }
  std::size_t Blanks() noexcept;  // skipped
  bool Take(char c) noexcept;
  // A word, without regard to case, that no letter or digit follows.
  bool TakeWord(std::string_view word) noexcept;
  // Digits: how many there were. value stays at kLimit once it is there.
  std::size_t TakeNumber(std::int64_t& value) noexcept;
  // Digits of a fraction, in nanoseconds: how many there were. Those after the ninth are dropped.
  std::size_t TakeFraction(std::uint32_t& nanos) noexcept;
  void Skip(std::size_t count) noexcept { text_.remove_prefix(count); }

  static constexpr std::int64_t kLimit = 100'000'000'000'000;

 private:
  std::string_view text_;
};

}  // namespace kestra::datetime
