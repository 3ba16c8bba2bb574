#include "calc/calc_number.h"

#include <charconv>
#include <cstdio>

namespace kestra::tools {

Number Number::FromInteger(long long value) { return *Parse(std::to_string(value)); }

std::optional<Number> Number::Parse(std::string_view text, std::size_t* bad) {
  Number number;
  const int status = lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                                 nullptr, number.bytes_, &number.length_, bad);
  if (status != LNX_OK && status != LNX_RANGE) return std::nullopt;
  return number;
}

namespace {

// Digits of a decimal text, its exponent apart, without the zeros at both ends.
std::size_t SignificantDigits(std::string_view text) {
  std::size_t digits = 0;
  std::size_t zeros = 0;
  for (const char c : text.substr(0, text.find_first_of("eE"))) {
    if (c < '0' || c > '9') continue;
    zeros = c == '0' ? zeros + 1 : 0;
    if (digits != 0 || c != '0') ++digits;
  }
  return digits == 0 ? 0 : digits - zeros;
}

}  // namespace

std::optional<Number> Number::ParseExact(std::string_view text, std::string* problem) {
  std::size_t bad = 0;
  const std::optional<Number> value = Parse(text, &bad);
  const char* what = nullptr;
  if (value && value->IsInfinite()) {
    what = "is too large for a NUMBER";
  } else if (value && (text.size() > 38 || value->IsZero()) &&
             SignificantDigits(text) != SignificantDigits(value->Text())) {
    what = value->IsZero() ? "is too small for a NUMBER" : "has more digits than a NUMBER holds";
  }
  if (value && what == nullptr) return value;
  if (problem != nullptr) {
    *problem =
        what != nullptr ? what : "is not a number (at its byte " + std::to_string(bad + 1) + ")";
  }
  return std::nullopt;
}

bool Number::IsInteger() const {
  return Number::Make([this](std::uint8_t* out, std::size_t* length) {
           lnxtru(bytes_, length_, out, length, 0);
         }) == *this &&
         !IsInfinite();
}

bool Number::IsInfinite() const {
  return (length_ == 1 && bytes_[0] == 0) || (length_ == 2 && bytes_[0] == 255 && bytes_[1] == 101);
}

std::string Number::Text() const {
  std::string text(LNX_PLAIN_MAX, '\0');
  std::size_t length = 0;
  lnxtotext(bytes_, length_, nullptr, nullptr, reinterpret_cast<std::uint8_t*>(text.data()),
            text.size(), &length);
  text.resize(length);
  return text;
}

std::string Number::Text(const lnxmodel& model) const {
  std::string text(lnxfmtwidth(&model, nullptr), '\0');
  std::size_t length = 0;
  lnxfmtwrite(bytes_, length_, &model, nullptr, reinterpret_cast<std::uint8_t*>(text.data()),
              text.size(), &length);
  text.resize(length);
  return text;
}

std::string Number::Hex() const {
  std::string text;
  for (std::size_t i = 0; i < length_; ++i) {
    char digits[4];
    std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : " %02X", bytes_[i]);
    text += digits;
  }
  return text;
}

std::optional<long long> Number::ToInteger() const {
  const std::string text = Text();
  long long value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace kestra::tools
