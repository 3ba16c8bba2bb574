// The entries of a directory, one after the other.
#pragma once

#include <cstddef>

namespace kestra::os {

class Directory {
 public:
  explicit Directory(const char* path) noexcept;
  ~Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  // The next name, "." and ".." left out; null at the end, and for a directory that cannot be read.
  // Valid until the next call.
  const char* Next() noexcept;

 private:
  void* stream_;
};

}  // namespace kestra::os
