// Numbers as text in tests: short ways to call the library, and a slow reading of digits to
// compare.
#pragma once
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/number_text.h"

namespace kestra::test {

using NumberBytes = std::vector<std::uint8_t>;

// The number that the library reads from text; ends the program when it does not.
NumberBytes Number(std::string_view text);

// The library's text of a number; "!1" for the answer 1, and so on.
std::string Text(const NumberBytes& number, const lnxtextform* form = nullptr,
                 const lnxsymbols* symbols = nullptr);

lnxspan Span(std::string_view bytes);

namespace ref {
// [-]digits[.digits] as a number, by string surgery: pads to whole pairs, cuts 20 of them, rounds
// by counting up in decimal.
NumberBytes NumberOfDigits(std::string_view text);
}  // namespace ref

// [-]digits[.digits] with up to the given number of digits, often with runs of 0 and 9.
std::string RandomDigits(std::mt19937_64& random, int max_digits);

}  // namespace kestra::test
