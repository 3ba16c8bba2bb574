#include "tests/support/number_random.h"

#include "tests/support/number_reference.h"

namespace kestra::test {

std::vector<std::uint8_t> NumberSource::Next() {
  switch (Below(200)) {
    case 0:
      return {0x80};
    case 1:
      return {0xFF, 0x65};
    case 2:
      return {0};
    default:
      break;
  }
  constexpr int kAwkward[] = {0, 0, 1, 9, 10, 49, 50, 51, 90, 98, 99, 99};
  const std::uint64_t style = Below(8);  // 0: runs of one digit, 1-2: awkward digits, else anything
  const std::uint64_t count = 1 + (Below(3) == 0 ? 19 - Below(3) : Below(20));
  int exponent = 193 + static_cast<int>(Below(7)) - 3;
  if (Below(4) == 0) exponent = 193 + static_cast<int>(Below(51)) - 25;
  if (Below(16) == 0) exponent = 128 + static_cast<int>(Below(128));
  std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(exponent)};
  int run = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    if (style > 2) run = static_cast<int>(Below(100));
    if (style == 1 || style == 2 || (style == 0 && (i == 0 || Below(6) == 0))) {
      run = kAwkward[Below(std::size(kAwkward))];
    }
    bytes.push_back(static_cast<std::uint8_t>(run + 1));
  }
  if (bytes[1] == 1) bytes[1] = static_cast<std::uint8_t>(2 + Below(99));
  while (bytes.back() == 1) bytes.pop_back();
  return Below(2) == 0 ? bytes : ref::Negate(bytes);
}

}  // namespace kestra::test
