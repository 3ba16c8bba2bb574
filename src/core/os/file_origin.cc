#include "core/os/file_origin.h"

#include <dlfcn.h>
#include <string.h>
#include <unistd.h>

namespace kestra::os {
namespace {

// Writes /proc/self/fd/N.
void DescriptorLink(int descriptor, char (&link)[32]) noexcept {
  constexpr char kPrefix[] = "/proc/self/fd/";
  char digits[12];
  std::size_t count = 0;
  auto value = static_cast<unsigned>(descriptor);
  do {
    digits[count++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  memcpy(link, kPrefix, sizeof kPrefix - 1);
  char* end = link + sizeof kPrefix - 1;
  while (count > 0) *end++ = digits[--count];
  *end = '\0';
}

}  // namespace

std::size_t FileOrigin(const DataFile& file, std::span<char> path) noexcept {
  if (path.empty() || !file.is_open()) return 0;
  if (file.archived != nullptr) {
    Dl_info info;
    if (dladdr(file.archived, &info) == 0 || info.dli_fname == nullptr) return 0;
    const std::size_t length = strlen(info.dli_fname);
    if (length >= path.size()) return 0;
    memcpy(path.data(), info.dli_fname, length + 1);
    return length;
  }
  char link[32];
  DescriptorLink(file.descriptor, link);
  const ssize_t length = readlink(link, path.data(), path.size());
  if (length <= 0 || static_cast<std::size_t>(length) >= path.size()) return 0;
  std::size_t end = static_cast<std::size_t>(length);
  while (end > 1 && path[end - 1] != '/') --end;
  if (end > 1) --end;  // the directory without its last separator
  path[end] = '\0';
  return end;
}

}  // namespace kestra::os
