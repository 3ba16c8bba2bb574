// Text and raw bytes as numbers. Laws: every level of kernels answers alike; what is read is well
// formed and reads back from each exact form; a width is kept; nothing is written past the length.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "core/os/cpu.h"
#include "kestra/number.h"
#include "kestra/number_text.h"
#include "number/kernels/lnx_text_kernels.h"
#include "tests/support/fuzz_input.h"

namespace {

using kestra::os::CpuLevel;
using kestra::test::Require;
namespace scalar = kestra::number::scalar;

void Use(CpuLevel level) {
  kestra::os::ForceCpuLevel(level);
  kestra::number::ChooseTextKernels();
}

struct Reading {
  int status;
  std::string number;
  std::size_t bad;
  bool operator==(const Reading&) const = default;
};

Reading Read(std::string_view text, const lnxsymbols* symbols,
             kestra::number::FromTextFunction* from_text = lnxfromtext) {
  std::uint8_t out[21];
  Reading reading = {};
  std::size_t length = 0;
  reading.status = from_text(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                             symbols, out, &length, &reading.bad);
  reading.number.assign(reinterpret_cast<char*>(out), length);
  return reading;
}

// Asks for the size first, then writes into exactly that much.
std::string Write(std::string_view number, const lnxtextform* form, const lnxsymbols* symbols,
                  int& status, kestra::number::ToTextFunction* to_text = lnxtotext) {
  const auto* const x = reinterpret_cast<const std::uint8_t*>(number.data());
  std::size_t length = 0;
  status = to_text(x, number.size(), form, symbols, nullptr, 0, &length);
  if (status != LNX_FULL) return {};
  const auto exact = std::make_unique<std::uint8_t[]>(length);
  std::size_t written = 0;
  status = to_text(x, number.size(), form, symbols, exact.get(), length, &written);
  Require(status == LNX_OK && written == length);
  return {reinterpret_cast<char*>(exact.get()), length};
}

void CheckNumber(std::string_view number, const lnxsymbols* symbols, std::uint8_t choice) {
  int status = 0;
  for (const std::uint32_t kind : {LNX_TEXT_PLAIN, LNX_TEXT_SHORTEST, LNX_TEXT_SCIENTIFIC}) {
    for (const std::uint32_t flags : {0u, std::uint32_t{LNX_TEXT_GROUPED}}) {
      const lnxtextform form = {kind, flags, -1, 0, {}};
      const std::string text = Write(number, &form, symbols, status);
      Require(status == LNX_OK);
      const Reading back = Read(text, symbols);
      Require(back.status == LNX_OK && back.number == number);
    }
  }
  const lnxtextform width = {LNX_TEXT_WIDTH, 0, 0, choice % 64u + 1, {}};
  Require(Write(number, &width, symbols, status).size() == width.width);
  const lnxtextform fixed = {LNX_TEXT_FIXED, 0, choice - 100, 0, {}};
  const std::string text = Write(number, &fixed, symbols, status);
  const Reading once = Read(text, symbols);
  Require(once.status != LNX_BAD_BYTE);
  if (once.status == LNX_OK) {
    Require(Write(once.number, &fixed, symbols, status) == text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;  // a length of 0 would mean the other form of a number
  const std::uint8_t choice = data[0];
  const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  static const std::uint8_t kComma[] = ",", kSpace[] = "\xC2\xA0";
  lnxsymbols symbols = {};
  symbols.decimal = {kComma, 1};
  symbols.group = {kSpace, 2};
  const lnxsymbols* const used = choice % 2 == 0 ? nullptr : &symbols;

  const Reading reference = Read(rest, used, scalar::FromText);
  int reference_status = 0;
  const std::string reference_text = Write(rest, nullptr, used, reference_status, scalar::ToText);
  int status = 0;
  for (const CpuLevel level : {CpuLevel::kBaseline, CpuLevel::kAvx512}) {
    Use(level);
    Require(Read(rest, used) == reference);
    Require(Write(rest, nullptr, used, status) == reference_text && status == reference_status);
  }

  if (reference.status == LNX_BAD_BYTE) Require(reference.bad <= rest.size());
  if (reference.status == LNX_OK) CheckNumber(reference.number, used, choice);
  const bool well_formed =
      lnxchk(reinterpret_cast<const std::uint8_t*>(rest.data()), rest.size()) == 1;
  Require((status == LNX_OK) == well_formed);
  if (well_formed) CheckNumber(rest, used, choice);
  return 0;
}
