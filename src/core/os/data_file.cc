#include "core/os/data_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestra::os {
namespace {

constexpr std::size_t kNameRoom = 257;  // a name of 255 bytes, a separator, a NUL

// False for names that would leave the directory.
bool IsPlainName(const char* name) noexcept {
  return name[0] != '\0' && strchr(name, '/') == nullptr && strcmp(name, "..") != 0;
}

}  // namespace

bool AppendToPath(std::span<char, kPathRoom> path, std::size_t& length, const char* part) noexcept {
  const std::size_t part_length = strlen(part);
  const std::size_t separator = length > 0 && path[length - 1] != '/' ? 1 : 0;
  if (length + separator + part_length >= path.size()) return false;
  if (separator != 0) path[length] = '/';
  memcpy(path.data() + length + separator, part, part_length + 1);
  length += separator + part_length;
  return true;
}

DataFile slxcfot(const char* directory, const char* name, const char* extension) noexcept {
  if (!IsPlainName(name) || strchr(extension, '/') != nullptr) return {};
  const std::size_t directory_length = strlen(directory);
  const std::size_t name_length = strlen(name);
  const std::size_t extension_length = strlen(extension);
  char path[kPathRoom + kNameRoom];
  if (directory_length >= kPathRoom || name_length + extension_length + 2 > kNameRoom) return {};
  char* end = path;
  memcpy(end, directory, directory_length);
  end += directory_length;
  if (directory_length > 0 && end[-1] != '/') *end++ = '/';
  memcpy(end, name, name_length);
  end += name_length;
  memcpy(end, extension, extension_length + 1);

  // O_NONBLOCK: opening a FIFO or a device must not wait for its other side.
  DataFile file;
  do {
    file.descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  } while (file.descriptor < 0 && errno == EINTR);
  if (file.descriptor < 0) return {};
  struct stat status;
  if (fstat(file.descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0) {
    slxcfcl(file);
    return {};
  }
  file.size = static_cast<std::uint64_t>(status.st_size);
  return file;
}

std::size_t slxcfrt(DataFile& file, std::span<std::uint8_t> buffer) noexcept {
  std::size_t done = 0;
  while (done < buffer.size()) {
    const ssize_t count = read(file.descriptor, buffer.data() + done, buffer.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  file.position += done;
  return done;
}

std::size_t slxcfrtlfv(DataFile& file, std::span<std::uint8_t> buffer) noexcept {
  if (file.archived == nullptr) return slxcfrt(file, buffer);
  const std::uint64_t left = file.size - file.position;
  const std::size_t count = left < buffer.size() ? static_cast<std::size_t>(left) : buffer.size();
  if (count != 0) memcpy(buffer.data(), file.archived + file.position, count);
  file.position += count;
  return count;
}

void slxcfcl(DataFile& file) noexcept {
  if (file.descriptor >= 0) close(file.descriptor);
  file = {};
}

}  // namespace kestra::os
