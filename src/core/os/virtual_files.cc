#include "core/os/virtual_files.h"

#include <dlfcn.h>
#include <string.h>
#include <unistd.h>

#include <atomic>

#include "core/os/archive_format.h"
#include "core/os/environment.h"
#include "core/os/process_lock.h"

namespace kestra::os {
namespace {

constexpr std::size_t kMaxAreas = 4;
constexpr std::size_t kAreaNameRoom = 16;

struct Library {
  void* handle;
  std::span<const std::uint8_t> archive;
};

// Written once under the mutex before active is set; read without it afterwards.
struct Area {
  char name[kAreaNameRoom];
  Library library;
  std::atomic<bool> active;
};

// Process-wide in every run mode: an open library is the same for all threads. Its own mutex, since
// run mode 2 takes no process lock.
constinit Mutex areas_mutex;
constinit Area areas[kMaxAreas] = {};
constinit std::atomic<std::size_t> area_count{0};

Area* FindArea(const char* name) noexcept {
  const std::size_t count = area_count.load(std::memory_order_acquire);
  for (std::size_t i = 0; i < count; ++i) {
    if (strcmp(areas[i].name, name) == 0) return &areas[i];
  }
  return nullptr;
}

Area* AddArea(const char* name) noexcept {
  const std::size_t count = area_count.load(std::memory_order_relaxed);
  const std::size_t length = strlen(name);
  if (count == kMaxAreas || length >= kAreaNameRoom) return nullptr;
  memcpy(areas[count].name, name, length + 1);
  area_count.store(count + 1, std::memory_order_release);
  return &areas[count];
}

// Cuts the last component off a path; false when there is no directory in it.
bool CutToDirectory(char* path) noexcept {
  char* slash = strrchr(path, '/');
  if (slash == nullptr) return false;
  *(slash == path ? slash + 1 : slash) = '\0';
  return true;
}

// The directory of this library, or of the program that it is linked into.
bool OwnDirectory(std::span<char, kPathRoom> path) noexcept {
  Dl_info info;
  static const char marker = 0;
  if (dladdr(&marker, &info) != 0 && info.dli_fname != nullptr) {
    const std::size_t length = strnlen(info.dli_fname, path.size());
    const bool trusted = info.dli_fname[0] == '/' || !IsPrivilegedProcess();
    if (length < path.size() && trusted) {
      memcpy(path.data(), info.dli_fname, length + 1);
      if (CutToDirectory(path.data())) return true;
    }
  }
  // A statically linked program started through the search path knows only its bare name.
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size() - 1);
  if (length <= 0) return false;
  path[static_cast<std::size_t>(length)] = '\0';
  return CutToDirectory(path.data());
}

bool HomeLibraryDirectory(std::span<char, kPathRoom> path) noexcept {
  const VariableResult home = slxldgnv("KESTRA_HOME", path.data(), path.size());
  std::size_t length = home.length;
  return home.length > 0 && AppendToPath(path, length, "lib");
}

std::uint32_t Read32(std::span<const std::uint8_t> bytes, std::size_t offset) noexcept {
  return static_cast<std::uint32_t>(bytes[offset]) |
         static_cast<std::uint32_t>(bytes[offset + 1]) << 8 |
         static_cast<std::uint32_t>(bytes[offset + 2]) << 16 |
         static_cast<std::uint32_t>(bytes[offset + 3]) << 24;
}

bool IsArchive(std::span<const std::uint8_t> bytes) noexcept {
  if (bytes.size() < archive::kIndexAt) return false;
  if (memcmp(bytes.data(), archive::kMagic, sizeof archive::kMagic) != 0) return false;
  return Read32(bytes, archive::kCountAt) <=
         (bytes.size() - archive::kIndexAt) / archive::kEntrySize;
}

// Concatenates into room bytes; false when it does not fit.
bool Join(char* out, std::size_t room, const char* a, const char* b, const char* c) noexcept {
  const std::size_t lengths[] = {strlen(a), strlen(b), strlen(c)};
  if (lengths[0] + lengths[1] + lengths[2] >= room) return false;
  memcpy(out, a, lengths[0]);
  memcpy(out + lengths[0], b, lengths[1]);
  memcpy(out + lengths[0] + lengths[1], c, lengths[2] + 1);
  return true;
}

bool OpenLibrary(std::span<char, kPathRoom> directory, const char* name, Library& out) noexcept {
  char file_name[64];
  char symbol[64];
  std::size_t length = strlen(directory.data());
  if (!Join(file_name, sizeof file_name, "lib", name, ".so") ||
      !AppendToPath(directory, length, file_name)) {
    return false;
  }
  // The common case is that there is none: ask before the dynamic linker composes an error text.
  if (access(directory.data(), R_OK) != 0) return false;
  void* handle = dlopen(directory.data(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return false;
  const void* bytes = nullptr;
  const void* size = nullptr;
  if (Join(symbol, sizeof symbol, name, "_archive", "")) bytes = dlsym(handle, symbol);
  if (Join(symbol, sizeof symbol, name, "_archive", "_size")) size = dlsym(handle, symbol);
  if (bytes != nullptr && size != nullptr) {
    std::uint64_t archive_size;
    memcpy(&archive_size, size, sizeof archive_size);
    const std::span archive(static_cast<const std::uint8_t*>(bytes), archive_size);
    if (IsArchive(archive)) {
      out = {handle, archive};
      return true;
    }
  }
  dlclose(handle);
  return false;
}

bool OpenNamedLibrary(const char* name, Library& out) noexcept {
  char path[kPathRoom];
  if (OwnDirectory(path) && OpenLibrary(path, name, out)) return true;
  return HomeLibraryDirectory(path) && OpenLibrary(path, name, out);
}

}  // namespace

int lfvini2(int level, const char* area_name, const char* first, const char* second,
            int flag) noexcept {
  if (lfvIsVfsMode(area_name) != 0) return 1;
  if (level < 2) return 0;
  const MutexLock lock(areas_mutex);
  Area* area = FindArea(area_name);
  if (area != nullptr && (flag & 1) == 0) return lfvIsVfsMode(area_name);
  if (area == nullptr) area = AddArea(area_name);
  if (area == nullptr) return 0;
  if (area->active.load(std::memory_order_acquire)) return 1;
  // The first library is complete: the second is opened only where the first is missing.
  for (const char* name : {first, second}) {
    if (name != nullptr && OpenNamedLibrary(name, area->library)) {
      area->active.store(true, std::memory_order_release);
      return 1;
    }
  }
  return 0;
}

int lfvIsVfsMode(const char* area_name) noexcept {
  const Area* area = FindArea(area_name);
  return area != nullptr && area->active.load(std::memory_order_acquire) ? 1 : 0;
}

std::span<const std::uint8_t> FindInArchive(std::span<const std::uint8_t> archive,
                                            const char* path) noexcept {
  if (!IsArchive(archive)) return {};
  const std::size_t path_length = strlen(path);
  std::size_t low = 0;
  std::size_t high = Read32(archive, archive::kCountAt);
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const std::size_t entry = archive::kIndexAt + middle * archive::kEntrySize;
    const std::size_t name_at = Read32(archive, entry);
    const std::size_t name_length = Read32(archive, entry + 4);
    if (name_at > archive.size() || name_length > archive.size() - name_at) return {};
    const std::size_t common = path_length < name_length ? path_length : name_length;
    int order = memcmp(path, archive.data() + name_at, common);
    if (order == 0 && path_length == name_length) {
      const std::size_t file_at = Read32(archive, entry + 8);
      const std::size_t file_size = Read32(archive, entry + 12);
      if (file_at > archive.size() || file_size > archive.size() - file_at) return {};
      return archive.subspan(file_at, file_size);
    }
    if (order == 0) order = path_length < name_length ? -1 : 1;
    if (order < 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return {};
}

DataFile OpenVirtualFile(const char* area_name, const char* path) noexcept {
  if (lfvIsVfsMode(area_name) == 0) return {};
  const std::span<const std::uint8_t> bytes =
      FindInArchive(FindArea(area_name)->library.archive, path);
  DataFile file;
  if (!bytes.empty()) {
    file.archived = bytes.data();
    file.size = bytes.size();
  }
  return file;
}

bool NextVirtualFile(const char* area_name, const char* directory, std::size_t& position,
                     std::span<char> name) noexcept {
  if (lfvIsVfsMode(area_name) == 0) return false;
  const std::span<const std::uint8_t> archive = FindArea(area_name)->library.archive;
  const std::size_t count = Read32(archive, archive::kCountAt);
  const std::size_t prefix = strlen(directory);
  while (position < count) {
    const std::size_t entry = archive::kIndexAt + position++ * archive::kEntrySize;
    const std::size_t at = Read32(archive, entry);
    const std::size_t length = Read32(archive, entry + 4);
    if (at > archive.size() || length > archive.size() - at || length <= prefix + 1) continue;
    const auto* text = reinterpret_cast<const char*>(archive.data() + at);
    if (memcmp(text, directory, prefix) != 0 || text[prefix] != '/') continue;
    const std::size_t rest = length - prefix - 1;
    if (memchr(text + prefix + 1, '/', rest) != nullptr || rest >= name.size()) continue;
    memcpy(name.data(), text + prefix + 1, rest);
    name[rest] = '\0';
    return true;
  }
  return false;
}

void CloseVirtualFiles() noexcept {
  const MutexLock lock(areas_mutex);
  const std::size_t count = area_count.load(std::memory_order_acquire);
  for (std::size_t i = 0; i < count; ++i) {
    areas[i].active.store(false, std::memory_order_release);
    if (areas[i].library.handle != nullptr) dlclose(areas[i].library.handle);
    areas[i].library = {};
  }
}

}  // namespace kestra::os
