#include "core/os/environment.h"

#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>

namespace kestra::os {
namespace {

VariableResult CopyValue(const char* value, char* buffer, std::size_t room) noexcept {
  if (value == nullptr) return {Variable::kUnset, 0};
  const std::size_t length = strnlen(value, room + 1);
  if (length > room) return {Variable::kTooLong, 0};
  memcpy(buffer, value, length);
  return {Variable::kSet, length};
}

}  // namespace

VariableResult slzgetevar(const char* name, char* buffer, std::size_t room) noexcept {
  return CopyValue(getenv(name), buffer, room);
}

VariableResult slxldgnv(const char* name, char* buffer, std::size_t room) noexcept {
  if (room == 0) return {Variable::kTooLong, 0};
  const VariableResult result = CopyValue(secure_getenv(name), buffer, room - 1);
  buffer[result.length] = '\0';
  return result;
}

bool IsPrivilegedProcess() noexcept { return getauxval(AT_SECURE) != 0; }

}  // namespace kestra::os
