// Dates written in models. Input: a byte that chooses a context, a flag byte, the 8 bytes of a date,
// the model, or with the flag a compiled format as it is. Laws: a text needs exactly its room;
// UTF-16 says the same; when it can be read back and written again, it is the same text.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "tests/support/date_contexts.h"

namespace {

using kestra::test::DateContexts;
using kestra::test::Require;

std::uint32_t Write(ldxctx* ctx, const ldxdate& date, const std::string& format, std::size_t room,
                    std::string& text) {
  const auto out = std::make_unique<std::uint8_t[]>(room);
  const auto exact = std::make_unique<std::uint8_t[]>(format.size());
  if (!format.empty()) std::memcpy(exact.get(), format.data(), format.size());
  std::size_t length = 0;
  const std::uint32_t number =
      ldxdtsint(ctx, &date, exact.get(), format.size(), out.get(), room, &length);
  Require(length <= room && (number == 0 || length == 0));
  text.assign(reinterpret_cast<char*>(out.get()), length);
  return number;
}

// A weekday says nothing of a date whose day is not written.
bool HasIdleWeekday(const std::string& format) {
  std::uint64_t seen = 0;
  for (std::size_t at = 0; at + 1 < format.size();) {
    const auto code = static_cast<std::uint8_t>(format[at]);
    if (code < 46) seen |= std::uint64_t{1} << code;
    at += code < 46 ? 2 : code - 44u;
  }
  const auto has = [seen](std::uint32_t code) { return (seen >> code & 1u) != 0; };
  return (has(KES_DATE_D) || has(KES_DATE_DAY) || has(KES_DATE_DY)) && !has(KES_DATE_DD) &&
         !has(KES_DATE_DDD) && !has(KES_DATE_J);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static DateContexts contexts;
  if (size < 10) return 0;
  ldxctx* const ctx = contexts[data[0]];
  ldxdate date;
  std::memcpy(&date, data + 2, sizeof date);
  std::string format(reinterpret_cast<const char*>(data + 10), size - 10);
  const bool from_model = (data[1] & 1u) == 0;
  if (from_model) {
    std::uint8_t compiled[4096];
    ctx->error = 0;
    const std::size_t length = ldxsto(ctx, data + 10, size - 10, compiled, sizeof compiled);
    if (ctx->error != 0) return 0;
    format.assign(reinterpret_cast<char*>(compiled), length);
  }
  std::string text;
  constexpr std::size_t kRoom = 1u << 17;
  const std::uint32_t number = Write(ctx, date, format, kRoom, text);
  if (number != 0) {
    Require(number == 1801 || number == 1821 || number == 1822 || number == 1865 ||
            (number >= 1841 && number <= 1852));
    return 0;
  }
  std::string again;
  Require(Write(ctx, date, format, text.size(), again) == 0 && again == text);
  if (!text.empty()) Require(Write(ctx, date, format, text.size() - 1, again) == 1801);
  Write(ctx, date, format, data[1], again);

  const auto* bytes = reinterpret_cast<const std::uint8_t*>(format.data());
  const auto units = std::make_unique<std::uint16_t[]>(text.size() + 1);
  ctx->error = 0;
  const std::size_t count = ldxdtsu(ctx, &date, bytes, format.size(), units.get(), text.size() + 1);
  Require(ctx->error == 0 && count <= text.size());

  if (HasIdleWeekday(format)) return 0;
  ldxdate back;
  const std::uint32_t read =
      ldxstdnew(ctx, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), bytes,
                format.size(), &back, KES_DATE_QUIET, nullptr);
  // A format that no model gives may have digits in its punctuation, which a number swallows.
  const bool written = read == 0 && Write(ctx, back, format, kRoom, again) == 0;
  Require(!written || !from_model || again == text);
  return 0;
}
