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
  Exact value;
  value.negative = text.starts_with('-');
  value.digits = text.substr(value.negative ? 1 : 0);
  const std::size_t point = value.digits.find('.');
  if (point != std::string::npos) {
    value.digits.erase(point, 1);
    value.scale = -static_cast<int>(value.digits.size() - point);
  }
  return Write(value);
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
