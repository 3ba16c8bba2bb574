// Errors of dates, and elements of their models, in words.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kestra::tools {

// An error that the library told. offset: where in the model or text.
class DateFault : public std::runtime_error {
 public:
  explicit DateFault(std::uint32_t number, std::size_t offset = 0, const std::string& words = "");
  std::uint32_t number() const { return number_; }
  std::size_t offset() const { return offset_; }

 private:
  std::uint32_t number_;
  std::size_t offset_;
};

// The error of reading with an element that is only written.
inline constexpr std::uint32_t kOnlyWritten = 1820;

// An error number of dates, models and intervals in words.
const char* DateErrorText(std::uint32_t number);

// "model, then a line with a caret under the byte at offset", for a terminal of any width.
std::string WithCaret(std::string_view text, std::size_t offset);

// What an element of a model means: its code as kestra/datetime_text.h counts.
std::string ElementMeaning(std::uint32_t code);

}  // namespace kestra::tools
