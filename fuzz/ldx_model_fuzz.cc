// Date format models. Input: a byte that chooses a context, a byte for the room, the model. Laws: a
// model compiles into exactly its bytes and into no room less; scanned item by item it gives the
// same bytes; what compiles for both uses compiles for writing alike.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/date_contexts.h"

namespace {

using kestra::test::Require;
constexpr std::size_t kRoom = 16384;

bool IsModelError(std::uint32_t number) {
  return number == 1800 || number == 1801 || (number >= 1810 && number <= 1821) || number == 1890;
}

using Compiler = decltype(&ldxsti);

// The error, 0 for none.
std::uint32_t Compile(Compiler compile, ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                      std::size_t room, std::string& compiled) {
  const auto out = std::make_unique<std::uint8_t[]>(room);
  ctx->error = 0;
  const std::size_t used = compile(ctx, text, length, out.get(), room);
  Require(used <= room && (ctx->error == 0 || used == 0));
  if (ctx->error != 0) Require(IsModelError(ctx->error) && ctx->error_offset <= length);
  compiled.assign(reinterpret_cast<char*>(out.get()), used);
  return ctx->error;
}

std::uint32_t ScanAll(ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                      std::string& compiled) {
  const auto bytes = std::make_unique<std::uint8_t[]>(kRoom);
  std::uint8_t* out = bytes.get();
  std::size_t space = kRoom;
  ldxscan state{};
  ctx->error = 0;
  for (;;) {
    const std::size_t before = length;
    const std::uint32_t code = ldxsnf(ctx, &text, &length, &out, &space, &state);
    if (code == 0) break;
    Require(length < before && code <= KES_DATE_TS);
  }
  compiled.assign(reinterpret_cast<char*>(bytes.get()), kRoom - space);
  return ctx->error;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static kestra::test::DateContexts contexts;
  if (size < 2) return 0;
  ldxctx* const ctx = contexts[data[0]];
  const std::uint8_t* const text = data + 2;
  const std::size_t length = size - 2;

  std::string small, whole, for_writing, scanned;
  Compile(ldxsti, ctx, text, length, data[1], small);
  const std::uint32_t error = Compile(ldxsti, ctx, text, length, kRoom, whole);
  const std::uint32_t writing_error = Compile(ldxsto, ctx, text, length, kRoom, for_writing);
  const std::uint32_t scan_error = ScanAll(ctx, text, length, scanned);
  if (error == 0) {
    Require(writing_error == 0 && scan_error == 0);
    Require(for_writing == whole && scanned == whole);
    std::string exact;
    Require(Compile(ldxsti, ctx, text, length, whole.size(), exact) == 0 && exact == whole);
    if (!whole.empty()) {
      Require(Compile(ldxsti, ctx, text, length, whole.size() - 1, exact) != 0);
    }
  } else if (error >= 1811 && error <= 1819) {
    Require(writing_error == 0 && scan_error == 0);
  }
  return 0;
}
