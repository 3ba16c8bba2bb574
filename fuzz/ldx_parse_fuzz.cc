// Texts read in models. Input: a byte that chooses a context, the length of the model, the model,
// the text. Laws: a date that was read is valid; the offset of an error lies in the text or format;
// a date written in the model with fill mode, when it can be read back, is the same date.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "tests/support/date_contexts.h"

namespace {

using kestra::test::DateContexts;
using kestra::test::Require;

std::uint32_t Read(ldxctx* ctx, const std::uint8_t* text, std::size_t length,
                   const std::string& format, ldxdate& date, std::uint32_t flags) {
  const auto exact = std::make_unique<std::uint8_t[]>(length);
  if (length != 0) std::memcpy(exact.get(), text, length);
  std::size_t bad = 0;
  const std::uint32_t number =
      ldxstdnew(ctx, exact.get(), length, reinterpret_cast<const std::uint8_t*>(format.data()),
                format.size(), &date, flags | KES_DATE_QUIET, &bad);
  Require(bad <= std::max(length, format.size()));
  return number;
}

// Fill mode everywhere and no FX: the text of a number has all its digits.
bool IsFilled(const std::string& format) {
  for (std::size_t at = 0; at + 1 < format.size();) {
    const auto code = static_cast<std::uint8_t>(format[at]);
    if (code < 46 && (code == KES_DATE_FX || (format[at + 1] & 16) == 0)) return false;
    at += code < 46 ? 2 : code - 44u;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static DateContexts contexts;
  if (size < 2) return 0;
  ldxctx* const ctx = contexts[data[0]];
  const std::size_t model_length = std::min<std::size_t>(data[1], size - 2);
  std::uint8_t compiled[1024];
  ctx->error = 0;
  const std::size_t used = ldxsti(ctx, data + 2, model_length, compiled, sizeof compiled);
  if (ctx->error != 0) return 0;
  const std::string format(reinterpret_cast<char*>(compiled), used);
  const std::uint8_t* const text = data + 2 + model_length;
  const std::size_t length = size - 2 - model_length;

  ldxdate date{};
  const std::uint32_t number = Read(ctx, text, length, format, date, 0);
  ldxdate plain{};
  const std::uint32_t without_retry = Read(ctx, text, length, format, plain, KES_DATE_NO_RETRY);
  if (number != 0) {
    Require(without_retry == number && number >= 1820 && number <= 1865);
    return 0;
  }
  Require(ldxchk(ctx, &date, 0) == 0);
  if (!IsFilled(format)) return 0;
  std::uint8_t out[4096];
  std::size_t written = 0;
  if (ldxdtsint(ctx, &date, compiled, used, out, sizeof out, &written) != 0) return 0;
  ldxdate back{};
  if (Read(ctx, out, written, format, back, 0) == 0 && without_retry == 0) {
    Require(std::memcmp(&back, &date, sizeof date) == 0);
  }
  return 0;
}
