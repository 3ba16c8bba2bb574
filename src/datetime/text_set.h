// The set that models, names and literals of a context are kept in: the handle's own, or UTF-8 for
// a handle with two-byte code units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "datetime/ldx_state.h"

namespace kestra::datetime {

// The handle whose set that is. For two-byte units it is a copy of the context's handle with
// another set, which lives here; therefore large: for the rare calls that ask the data.
class TextHandle {
 public:
  explicit TextHandle(const ldxctx& ctx) noexcept;
  TextHandle(const TextHandle&) = delete;
  TextHandle& operator=(const TextHandle&) = delete;
  // Null without a language.
  const lxhandle* get() const noexcept { return handle_; }

 private:
  const lxhandle* handle_;
  lxhandle copy_;
};

// The set's object; null without a language.
const lxobject* TextSet(const ldxctx& ctx) noexcept;

// A text item of the context's handle in that set; 0 when there is none, or it does not fit.
std::size_t HandleText(const ldxctx& ctx, std::uint32_t item, std::uint8_t* out,
                       std::size_t room) noexcept;

inline constexpr std::uint32_t kUtf8Id = 873;

}  // namespace kestra::datetime
