// The text functions that have more than one implementation, behind one table that is chosen once.
// All have the arguments and the behaviour of the exported function of their name; the scalar ones
// are the reference, and take what a kernel does not.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "core/os/cpu.h"
#include "kestra/number_text.h"

namespace kestra::number {

using ToTextFunction = int(const std::uint8_t* x, std::size_t xlen, const lnxtextform* form,
                           const lnxsymbols* symbols, std::uint8_t* out, std::size_t outsize,
                           std::size_t* outlen) noexcept;
using FromTextFunction = int(const std::uint8_t* text, std::size_t textlen,
                             const lnxsymbols* symbols, std::uint8_t* out, std::size_t* outlen,
                             std::size_t* bad) noexcept;

namespace scalar {
ToTextFunction ToText;
FromTextFunction FromText;
}  // namespace scalar

struct TextKernels {
  ToTextFunction* to_text;
  FromTextFunction* from_text;
};

extern constinit std::atomic<const TextKernels*> active_text_kernels;
// Chooses by the processor level in force now.
const TextKernels& ChooseTextKernels() noexcept;

inline const TextKernels& ActiveTextKernels() noexcept {
  const TextKernels* kernels = active_text_kernels.load(std::memory_order_relaxed);
  if (kernels == nullptr) [[unlikely]]
    return ChooseTextKernels();
  return *kernels;
}

}  // namespace kestra::number
