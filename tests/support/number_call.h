// Calls of functions that write a NUMBER, with numbers as bytes.
#pragma once

#include <type_traits>

#include "kestra/number.h"
#include "tests/support/number_reference.h"

namespace kestra::test {

// What call(out, length) writes; no bytes at all when it answers that it has no result.
template <typename Call>
ref::NumberBytes Output(const Call& call) {
  ref::NumberBytes out(KES_NUMBER_BYTES);
  std::size_t length = 0;
  if constexpr (std::is_void_v<decltype(call(out.data(), &length))>) {
    call(out.data(), &length);
  } else if (call(out.data(), &length) != 0) {
    return {};
  }
  out.resize(length);
  return out;
}

template <typename Function>
ref::NumberBytes Apply(Function* function, const ref::NumberBytes& x) {
  return Output([&](auto* out, auto* length) { return function(x.data(), x.size(), out, length); });
}
template <typename Function>
ref::NumberBytes Apply(Function* function, const ref::NumberBytes& x, const ref::NumberBytes& y) {
  return Output([&](auto* out, auto* length) {
    return function(x.data(), x.size(), y.data(), y.size(), out, length);
  });
}
template <typename Function>
ref::NumberBytes Apply(Function* function, const ref::NumberBytes& x, int places) {
  return Output(
      [&](auto* out, auto* length) { return function(x.data(), x.size(), out, length, places); });
}

}  // namespace kestra::test
