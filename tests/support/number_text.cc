#include "tests/support/number_text.h"

#include <cstdio>
#include <cstdlib>

namespace kestra::test {
namespace {

const std::uint8_t* Data(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

}  // namespace

NumberBytes Number(std::string_view text) {
  NumberBytes number(21);
  std::size_t length = 0;
  const int status = lnxfromtext(Data(text), text.size(), nullptr, number.data(), &length, nullptr);
  if (status != LNX_OK) {
    std::fprintf(stderr, "not a number: %.*s\n", static_cast<int>(text.size()), text.data());
    std::exit(3);
  }
  number.resize(length);
  return number;
}

std::string Text(const NumberBytes& number, const lnxtextform* form, const lnxsymbols* symbols) {
  std::string text(70000, '\0');
  std::size_t length = 0;
  const int status = lnxtotext(number.data(), number.size(), form, symbols,
                               reinterpret_cast<std::uint8_t*>(text.data()), text.size(), &length);
  if (status != LNX_OK) return "!" + std::to_string(status);
  text.resize(length);
  return text;
}

lnxspan Span(std::string_view bytes) { return {Data(bytes), bytes.size()}; }

namespace ref {

NumberBytes NumberOfDigits(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  std::string integers(text.substr(0, point));
  std::string fraction(point == std::string_view::npos ? "" : text.substr(point + 1));
  if (integers.size() % 2 == 1) integers.insert(0, "0");
  if (fraction.size() % 2 == 1) fraction += "0";
  std::string digits = integers + fraction;
  int exponent = static_cast<int>(integers.size() / 2);
  while (digits.starts_with("00")) {
    digits.erase(0, 2);
    --exponent;
  }
  if (digits.empty()) return {0x80};
  if (digits.size() > 40) {
    const bool up = digits[40] >= '5';
    digits.resize(40);
    std::size_t i = 40;
    while (up && i > 0 && digits[i - 1] == '9') digits[--i] = '0';
    if (up && i > 0) ++digits[i - 1];
    if (up && i == 0) {
      digits.insert(0, "01");
      ++exponent;
    }
  }
  while (digits.ends_with("00")) digits.resize(digits.size() - 2);
  NumberBytes number = {static_cast<std::uint8_t>(negative ? 63 - exponent : 192 + exponent)};
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int pair = std::stoi(digits.substr(i, 2));
    number.push_back(static_cast<std::uint8_t>(negative ? 101 - pair : 1 + pair));
  }
  if (negative && number.size() < 21) number.push_back(102);
  return number;
}

}  // namespace ref

std::string RandomDigits(std::mt19937_64& random, int max_digits) {
  const int count = 1 + static_cast<int>(random() % static_cast<unsigned>(max_digits));
  const int point = static_cast<int>(random() % static_cast<unsigned>(count + 1));
  std::string text = random() % 2 == 0 ? "-" : "";
  for (int i = 0; i < count;) {
    const auto run = static_cast<int>(random() % 6) + 1;
    const unsigned style = static_cast<unsigned>(random() % 4);
    for (int k = 0; k < run && i < count; ++k, ++i) {
      if (i == point && i > 0) text += '.';
      text += style == 0 ? '0' : style == 1 ? '9' : static_cast<char>('0' + random() % 10);
    }
  }
  return text;
}

}  // namespace kestra::test
