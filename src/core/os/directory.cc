#include "core/os/directory.h"

#include <dirent.h>
#include <string.h>

namespace kestra::os {

Directory::Directory(const char* path) noexcept : stream_(opendir(path)) {}

Directory::~Directory() {
  if (stream_ != nullptr) closedir(static_cast<DIR*>(stream_));
}

const char* Directory::Next() noexcept {
  if (stream_ == nullptr) return nullptr;
  while (const dirent* entry = readdir(static_cast<DIR*>(stream_))) {
    if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) return entry->d_name;
  }
  return nullptr;
}

}  // namespace kestra::os
