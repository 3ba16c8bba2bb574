// NLS_LANG texts and item values, on the small data set.
//
// Input: a byte for the mode, then lines; the first line is a specification text, each further line
// a byte for the item and its value. Laws: a handle that strict mode accepts is rebuilt from its
// own NLS_LANG text with the same parts; an item that was set answers what was set.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "kestra/handle.h"
#include "tests/support/nls_exercise.h"

namespace {

lxcontext* Context() {
  static lxcontext context;
  static const bool ready = [] {
    setenv("KESTRA_HOME", KESTRA_BUILD_DIR "/testdata/home", 1);
    std::uint32_t error = 0;
    lxinitc(&context, lxlinit(nullptr, 0, &error), nullptr, 0);
    kestra::test::Require(error == 0);
    return true;
  }();
  static_cast<void>(ready);
  return &context;
}

std::string Info(const lxhandle& handle, std::uint32_t item, lxcontext* context) {
  std::uint8_t buffer[512];
  const std::size_t length = lxhlinfo(&handle, item, buffer, sizeof buffer, context);
  return {reinterpret_cast<const char*>(buffer), length};
}

bool IsFreeText(std::uint32_t item) {
  return (item >= 69 && item <= 76 && item != 71) || item == 121 || (item >= 126 && item <= 129);
}

std::string_view NextLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  const std::string_view line = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  lxcontext* context = Context();
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::uint32_t mode = 1 + (data[0] & 1u);
  const std::string_view specification = NextLine(rest);
  lxhandle handle;
  if (lxhLaToId(specification.data(), specification.size(), &handle, mode, context) == nullptr) {
    kestra::test::Require(mode == 2 && context->error != 0);
    return 0;
  }
  if (mode == 2 && (handle.flags & KES_CHARSET_SINGLE) != 0 && handle.charset_id < 500) {
    const std::string text = Info(handle, KES_ITEM_NLS_LANG, context);
    lxhandle again;
    kestra::test::Require(lxhLaToId(text.data(), text.size(), &again, 2, context) != nullptr);
    kestra::test::Require(std::memcmp(&again, &handle, sizeof handle) == 0);
  }
  for (int n = 0; n < 8 && !rest.empty(); ++n) {
    const std::string_view line = NextLine(rest);
    if (line.empty()) continue;
    const std::uint32_t item = static_cast<std::uint8_t>(line[0]);
    const std::string_view value = line.substr(1);
    const int done = lxhlmod(&handle, value.data(), value.size(), item, 0, 0, context);
    const bool answers = handle.charset_id != 1000 && handle.charset_id != 2002;
    if (done == 1 && IsFreeText(item) && answers) {
      kestra::test::Require(Info(handle, item, context) == value);
    }
  }
  lxhdisp(specification.data(), specification.size(), &handle, context);
  kestra::test::ExerciseQueries(handle, context);
  return 0;
}
