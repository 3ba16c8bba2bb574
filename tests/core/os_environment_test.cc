#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/os/code_pages.h"
#include "core/os/environment.h"
#include "tests/support/nls_fixture.h"

namespace kestra::os {
namespace {

constexpr char kName[] = "KES_TEST_VARIABLE";

TEST(Environment, ValueIsWholeOrAbsent) {
  test::Environment environment;
  char buffer[9];
  environment.Set(kName, nullptr);
  EXPECT_EQ(slzgetevar(kName, buffer, 8).state, Variable::kUnset);
  environment.Set(kName, "");
  EXPECT_EQ(slzgetevar(kName, buffer, 8).state, Variable::kSet);
  for (std::size_t length = 0; length < 20; ++length) {
    const std::string value(length, 'x');
    environment.Set(kName, value);
    std::memset(buffer, '#', sizeof buffer);
    const VariableResult plain = slzgetevar(kName, buffer, 8);
    EXPECT_EQ(plain.state, length <= 8 ? Variable::kSet : Variable::kTooLong);
    EXPECT_EQ(plain.length, length <= 8 ? length : 0);
    EXPECT_EQ(buffer[8], '#');
    // A directory is terminated within the room.
    std::memset(buffer, '#', sizeof buffer);
    const VariableResult path = slxldgnv(kName, buffer, 8);
    EXPECT_EQ(path.state, length < 8 ? Variable::kSet : Variable::kTooLong);
    EXPECT_EQ(std::string(buffer), length < 8 ? value : "");
    EXPECT_EQ(buffer[8], '#');
  }
}

TEST(CodePages, EbcdicNamesReadAsAsciiAndBack) {
  // "AMERICA 09" in code page 1047.
  std::uint8_t text[] = {0xC1, 0xD4, 0xC5, 0xD9, 0xC9, 0xC3, 0xC1, 0x40, 0xF0, 0xF9};
  slste2a(text);
  EXPECT_EQ(std::memcmp(text, "AMERICA 09", 10), 0);
  slsta2e(text);
  EXPECT_EQ(text[1], 0xD4);
  std::uint8_t all[256];
  for (int i = 0; i < 256; ++i) all[i] = static_cast<std::uint8_t>(i);
  slste2a(all);
  slsta2e(all);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(all[i], i);
}

}  // namespace
}  // namespace kestra::os
