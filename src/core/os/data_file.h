// Data files: regular files of a directory, or files of a data library's archive, read front to
// back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestra::os {

// A path buffer holds a directory and its subdirectory; longer ones count as unset.
inline constexpr std::size_t kPathRoom = 512;

struct DataFile {
  int descriptor = -1;
  const std::uint8_t* archived = nullptr;  // the file's bytes, when it lies in an archive
  std::uint64_t size = 0;
  std::uint64_t position = 0;

  bool is_open() const noexcept { return descriptor >= 0 || archived != nullptr; }
};

// slxcfot: opens directory/name+extension for reading. Only regular files are opened, and name may
// not lead into another directory: a name with a separator, or "..", fails. An empty directory is
// the current one. A symbolic link is followed. Never blocks, whatever the name stands for.
DataFile slxcfot(const char* directory, const char* name, const char* extension) noexcept;

// slxcfrt reads from the operating system's file, slxcfrtlfv from either kind. Both read until the
// buffer is full or the file ends and return the bytes read; an error ends the file.
std::size_t slxcfrt(DataFile& file, std::span<std::uint8_t> buffer) noexcept;
std::size_t slxcfrtlfv(DataFile& file, std::span<std::uint8_t> buffer) noexcept;

// slxcfcl: closes; a file that is not open is left alone.
void slxcfcl(DataFile& file) noexcept;

// Appends "/part" to the path of the given length in a buffer of kPathRoom bytes. False, with the
// path unchanged, when it does not fit together with its NUL.
bool AppendToPath(std::span<char, kPathRoom> path, std::size_t& length, const char* part) noexcept;

}  // namespace kestra::os
