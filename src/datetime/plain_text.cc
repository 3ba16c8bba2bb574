#include "datetime/plain_text.h"

#include <cstring>

#include "core/os/code_pages.h"
#include "datetime/datetime_value.h"
#include "nls/lxh_ebcdic.h"

namespace kestra::datetime {
namespace {

constexpr char kNoAscii = '\xFF';

std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

PlainText::PlainText(const std::uint8_t* text, std::size_t length,
                     const lxhandle* handle) noexcept {
  const bool ebcdic = nls::lxhebc(handle, nullptr);
  const std::uint8_t blank = ebcdic ? 0x40 : ' ';
  while (length > kRoom && text[length - 1] == blank) --length;  // columns are padded
  if (length == 0 || length > kRoom) return;
  std::memcpy(buffer_, text, length);
  if (ebcdic) os::slste2a({reinterpret_cast<std::uint8_t*>(buffer_), length});
  for (std::size_t i = 0; i < length; ++i) {
    if (static_cast<unsigned char>(buffer_[i]) >= 0x80) buffer_[i] = kNoAscii;
  }
  text_ = Trim({buffer_, length});
}

PlainText::PlainText(const std::uint16_t* text, std::size_t length) noexcept {
  while (length > kRoom && text[length - 1] == u' ') --length;
  if (length == 0 || length > kRoom) return;
  for (std::size_t i = 0; i < length; ++i) {
    buffer_[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : kNoAscii;
  }
  text_ = Trim({buffer_, length});
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
  if (length_ > size) return KES_DATETIME_NO_ROOM;
  std::memcpy(out, buffer_, length_);
  if (nls::lxhebc(handle, nullptr)) os::slsta2e({out, length_});
  length = length_;
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
