// What a date context keeps inside for format models, and how errors are raised.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/date.h"

namespace kestra::datetime {

// How a set writes letters, digits and signs.
enum class Basis : std::uint8_t { kAscii, kEbcdic };

// The error of an inner function. Entry points raise it as their last act.
struct Fault {
  std::uint32_t number = 0;
  std::size_t offset = 0;
  explicit operator bool() const noexcept { return number != 0; }
};

// Lies in ldxctx::inner. All zeros is a context without a language.
struct State {
  Basis basis;
  bool two_byte_units;  // UTF-16 handle: models and names are kept in UTF-8
};
static_assert(sizeof(State) <= KES_DATE_INNER_BYTES);

inline State& StateOf(ldxctx& ctx) noexcept { return *reinterpret_cast<State*>(ctx.inner); }
inline const State& StateOf(const ldxctx& ctx) noexcept {
  return *reinterpret_cast<const State*>(ctx.inner);
}

// Keeps the offset of a fault and raises its number, if there is one.
inline void Raise(ldxctx* ctx, const Fault& fault) {
  if (!fault) return;
  ctx->error_offset = fault.offset;
  ldxerr(ctx, fault.number);
}

}  // namespace kestra::datetime
