// Environment variables, copied into the caller's buffer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestra::os {

enum class Variable : std::uint8_t {
  kUnset,
  kSet,      // copied; may be empty
  kTooLong,  // longer than the buffer: nothing copied, to be treated as unset
};

struct VariableResult {
  Variable state;
  std::size_t length;  // bytes copied, without a NUL
};

// slzgetevar: a parameter. Copies at most room bytes; the copy is not terminated.
VariableResult slzgetevar(const char* name, char* buffer, std::size_t room) noexcept;

// slxldgnv: a variable that names a directory. Read as unset in a process that runs with more
// privilege than its caller. The copy is terminated, so room holds paths of room - 1 bytes.
VariableResult slxldgnv(const char* name, char* buffer, std::size_t room) noexcept;

// True in a process that runs with more privilege than its caller.
bool IsPrivilegedProcess() noexcept;

}  // namespace kestra::os
