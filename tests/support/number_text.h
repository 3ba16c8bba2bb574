// Numbers as text in tests: short ways to call the library, and the reference's reading.
#pragma once
#include <gtest/gtest.h>

#include <random>
#include <string_view>

#include "kestra/number_text.h"
#include "tests/support/number_reference.h"

namespace kestra::test {

using ref::NumberBytes;

// The number that the library reads from text; ends the program when it does not.
NumberBytes Number(std::string_view text);

// The library's text of a number; "!1" for the answer 1, and so on.
std::string Text(const NumberBytes& number, const lnxtextform* form = nullptr,
                 const lnxsymbols* symbols = nullptr);

lnxspan Span(std::string_view bytes);

namespace ref {
NumberBytes NumberOfDigits(std::string_view text);  // [-]digits[.digits]
}

// Calls write(out, room, length) with every room up to more than enough for the whole text: too
// little is LNX_FULL with the length that is needed, and nothing is written.
template <typename Write>
void ExpectEveryRoom(const std::string& whole, const Write& write) {
  for (std::size_t room = 0; room <= whole.size() + 8; ++room) {
    std::vector<std::uint8_t> out(room, 0xEE);  // the sanitizer guards its end
    std::size_t length = 0;
    const bool enough = room >= whole.size();
    ASSERT_EQ(write(out.data(), room, &length), enough ? LNX_OK : LNX_FULL) << room;
    ASSERT_EQ(length, whole.size());
    std::string wanted(room, '\xEE');
    if (enough) wanted.replace(0, whole.size(), whole);
    ASSERT_EQ(std::string(out.begin(), out.end()), wanted);
  }
}

// [-]digits[.digits] with up to the given number of digits, often with runs of 0 and 9.
std::string RandomDigits(std::mt19937_64& random, int max_digits);

}  // namespace kestra::test
