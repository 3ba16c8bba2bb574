#include "datetime/plain_text.h"

#include <cstring>

#include "core/os/code_pages.h"
#include "datetime/datetime_value.h"
#include "datetime/utf16_text.h"
#include "nls/lxh_ebcdic.h"

namespace kestra::datetime {
namespace {

char AsciiOf(std::uint32_t c) noexcept { return c < 0x80 ? static_cast<char>(c) : '\xFF'; }

bool HasTwoByteUnits(const lxhandle* handle) noexcept {
  return handle != nullptr && (handle->flags & KES_CHARSET_UTF16) != 0;
}

bool IsAscii(std::string_view text) noexcept {
  std::uint64_t all = 0;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + at, 8);
    all |= word;
  }
  for (; at < text.size(); ++at) all |= static_cast<std::uint8_t>(text[at]);
  return (all & 0x8080808080808080) == 0;
}

std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

}  // namespace

// character(i) is the i-th character of a text.
template <typename Character>
void PlainText::Fill(std::size_t length, const Character& character) noexcept {
  while (length != 0 && character(length - 1) == ' ') --length;  // columns are padded
  std::size_t begin = 0;
  while (begin < length && character(begin) == ' ') ++begin;
  if (length - begin > kRoom) return;
  for (std::size_t i = begin; i < length; ++i) buffer_[i - begin] = character(i);
  text_ = {buffer_, length - begin};
}

PlainText::PlainText(const std::uint8_t* text, std::size_t length,
                     const lxhandle* handle) noexcept {
  if (HasTwoByteUnits(handle)) {
    const UnitOrder order = OrderOfSet(*handle);
    if (length % 2 != 0) return;  // half a unit: no text
    Fill(length / 2, [&](std::size_t i) { return AsciiOf(UnitAt(text + 2 * i, order)); });
  } else if (nls::lxhebc(handle, nullptr)) {
    Fill(length, [&](std::size_t i) {
      std::uint8_t byte = text[i];
      os::slste2a({&byte, 1});
      return AsciiOf(byte);
    });
  } else {
    const std::string_view bytes = Trim({reinterpret_cast<const char*>(text), length});
    if (bytes.size() <= kRoom && IsAscii(bytes)) {
      text_ = bytes;
    } else {
      Fill(length, [&](std::size_t i) { return AsciiOf(text[i]); });
    }
  }
}

PlainText::PlainText(const std::uint16_t* text, std::size_t length) noexcept {
  Fill(length, [&](std::size_t i) { return AsciiOf(text[i]); });
}

void PlainWriter::PutNumber(std::uint64_t value, unsigned digits) noexcept {
  char text[20];
  unsigned count = 0;
  do {
    text[count++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  for (unsigned i = count; i < digits; ++i) Put('0');
  while (count != 0) Put(text[--count]);
}

void PlainWriter::PutFraction(std::uint32_t nanos, unsigned precision) noexcept {
  PutNumber(nanos / kPowers10[9 - precision], precision);
}

void PlainWriter::PutShortFraction(std::uint32_t nanos) noexcept {
  unsigned digits = 9;
  while (digits > 1 && nanos % kPowers10[10 - digits] == 0) --digits;
  PutFraction(nanos, digits);
}

std::uint32_t PlainWriter::CopyTo(std::uint8_t* out, std::size_t size, std::size_t& length,
                                  const lxhandle* handle) const noexcept {
  const bool units = HasTwoByteUnits(handle);
  const std::size_t needed = units ? 2 * length_ : length_;
  if (needed > size) return KES_DATETIME_NO_ROOM;
  if (units) {
    const UnitOrder order = OrderOfSet(*handle);
    for (std::size_t i = 0; i < length_; ++i) {
      PutUnit(out + 2 * i, static_cast<std::uint8_t>(buffer_[i]), order);
    }
  } else {
    std::memcpy(out, buffer_, length_);
    if (nls::lxhebc(handle, nullptr)) os::slsta2e({out, length_});
  }
  length = needed;
  return 0;
}

std::uint32_t PlainWriter::CopyTo(std::uint16_t* out, std::size_t size,
                                  std::size_t& length) const noexcept {
  if (length_ > size) return KES_DATETIME_NO_ROOM;
  for (std::size_t i = 0; i < length_; ++i) out[i] = static_cast<std::uint8_t>(buffer_[i]);
  length = length_;
  return 0;
}

std::size_t PlainReader::Blanks() noexcept {
  std::size_t count = 0;
  while (count < text_.size() && text_[count] == ' ') ++count;
  text_.remove_prefix(count);
  return count;
}

bool PlainReader::Take(char c) noexcept {
  if (text_.empty() || text_.front() != c) return false;
  text_.remove_prefix(1);
  return true;
}

bool PlainReader::TakeWord(std::string_view word) noexcept {
  if (text_.size() < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (ToUpper(text_[i]) != word[i]) return false;
  }
  if (text_.size() > word.size()) {
    const char next = ToUpper(text_[word.size()]);
    if (IsDigit(next) || (next >= 'A' && next <= 'Z')) return false;
  }
  text_.remove_prefix(word.size());
  return true;
}

std::size_t PlainReader::TakeNumber(std::int64_t& value) noexcept {
  std::size_t count = 0;
  value = 0;
  for (; count < text_.size() && IsDigit(text_[count]); ++count) {
    value = value * 10 + (text_[count] - '0');
    if (value > kLimit) value = kLimit;
  }
  text_.remove_prefix(count);
  return count;
}

std::size_t PlainReader::TakeFraction(std::uint32_t& nanos) noexcept {
  std::size_t count = 0;
  nanos = 0;
  for (; count < text_.size() && IsDigit(text_[count]); ++count) {
    if (count < 9) nanos = nanos * 10 + static_cast<std::uint32_t>(text_[count] - '0');
  }
  if (count < 9) nanos *= kPowers10[9 - count];
  text_.remove_prefix(count);
  return count;
}

}  // namespace kestra::datetime
