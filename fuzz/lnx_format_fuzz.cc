// Number format models: the first byte is the length of the model, then come the model, a byte with
// the length of a number's text, that text, and text to be read. Laws: a number takes at most the
// width of its model, and exactly that without FM; what is written reads back and is written alike.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kestra/number.h"
#include "kestra/number_format.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::test::Require;

const std::uint8_t* Data(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

// Takes a length byte and as much of the input, or the whole of a long input.
std::string_view TakePart(std::string_view& input) {
  if (input.empty()) return {};
  const auto wanted = static_cast<std::uint8_t>(input[0]);
  input.remove_prefix(1);
  const std::string_view part = input.substr(0, wanted == 255 ? input.size() : wanted);
  input.remove_prefix(part.size());
  return part;
}

std::string Write(std::string_view number, const lnxmodel& model) {
  std::size_t length = 0;
  int status = lnxfmtwrite(Data(number), number.size(), &model, nullptr, nullptr, 0, &length);
  Require(status == LNX_FULL || (status == LNX_OK && length == 0));
  const auto exact = std::make_unique<std::uint8_t[]>(length);
  std::size_t written = 0;
  status = lnxfmtwrite(Data(number), number.size(), &model, nullptr, exact.get(), length, &written);
  Require(status == LNX_OK && written == length);
  return {reinterpret_cast<char*>(exact.get()), length};
}

int Read(std::string_view text, const lnxmodel& model, std::string& number) {
  std::uint8_t out[21];
  std::size_t length = 0, bad = 0;
  const int status = lnxfmtread(Data(text), text.size(), &model, nullptr, out, &length, &bad);
  if (status == LNX_BAD_BYTE) Require(bad <= text.size());
  if (status == LNX_OK) Require(lnxchk(out, length) == 1);
  number.assign(reinterpret_cast<char*>(out), length);
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string_view text = TakePart(input);
  lnxmodel model = {};
  std::size_t bad = 0;
  const int compiled = lnxfmtcompile(Data(text), text.size(), &model, &bad);
  if (compiled != LNX_OK) {
    Require(compiled >= LNX_MODEL_UNKNOWN && compiled <= LNX_MODEL_TOO_LONG && bad <= text.size());
    return 0;
  }
  const std::string_view value = TakePart(input);
  std::uint8_t number[21];
  std::size_t length = 0;
  if (lnxfromtext(Data(value), value.size(), nullptr, number, &length, nullptr) == LNX_OK) {
    const std::string written = Write({reinterpret_cast<char*>(number), length}, model);
    const bool filled = (model.flags & 1) == 0 && text.find_first_of("Tt") == text.npos;
    const std::size_t width = lnxfmtwidth(&model, nullptr);
    Require(filled ? written.size() == width : written.size() <= width);
    std::string back;
    if (written.find('#') == written.npos) {
      const int status = Read(written, model, back);
      Require(status == LNX_OK || status == LNX_RANGE);  // 9.99e125 may round up to 1E+126
      if (status == LNX_OK) Require(Write(back, model) == written);
    }
  }
  std::string read;
  Read(input, model, read);
  return 0;
}
