#include "output_directory.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "input.h"

namespace kestra::nlsc {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path& path, const char* what) {
  throw OutputError(fmt::format("{}: {}: {}", path.string(), what, std::strerror(errno)));
}

void WriteFile(const fs::path& path, const void* bytes, std::size_t size) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file < 0) Fail(path, "cannot be created");
  fchmod(file, 0644);  // whatever the umask
  const auto* at = static_cast<const std::uint8_t*>(bytes);
  while (size != 0) {
    const ssize_t count = write(file, at, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const int error = errno;
      close(file);
      errno = error;
      Fail(path, "cannot be written");
    }
    at += count;
    size -= static_cast<std::size_t>(count);
  }
  if (close(file) != 0) Fail(path, "cannot be written");
}

}  // namespace

OutputDirectory::OutputDirectory(const fs::path& target) {
  target_ = fs::absolute(target).lexically_normal();
  if (!target_.has_filename()) target_ = target_.parent_path();
  std::error_code error;
  if (fs::exists(target_, error) && !fs::is_directory(target_, error)) {
    throw OutputError(target_.string() + ": is no directory");
  }
  fresh_ = target_.parent_path() / ("." + target_.filename().string() + ".new");
  fs::create_directories(target_.parent_path(), error);
  if (error) throw OutputError(target_.parent_path().string() + ": " + error.message());
  Acquire();
}

// Creates the directory and locks it. Another run may exchange it between the two, so the name is
// looked at again with the lock held.
void OutputDirectory::Acquire() {
  for (;;) {
    if (mkdir(fresh_.c_str(), 0755) != 0 && errno != EEXIST) Fail(fresh_, "cannot be created");
    lock_ = open(fresh_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (lock_ < 0) Fail(fresh_, "cannot be opened");
    if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
      close(lock_);
      lock_ = -1;
      throw OutputError(fresh_.string() + ": another run is writing this directory");
    }
    struct stat held {
    }, named{};
    if (fstat(lock_, &held) == 0 && stat(fresh_.c_str(), &named) == 0 &&
        held.st_ino == named.st_ino && held.st_dev == named.st_dev) {
      break;
    }
    close(lock_);
  }
  fchmod(lock_, 0755);
  for (const fs::directory_entry& entry : fs::directory_iterator(fresh_)) {
    fs::remove_all(entry.path());
  }
}

OutputDirectory::~OutputDirectory() {
  std::error_code ignored;
  if (lock_ >= 0) {
    fs::remove_all(fresh_, ignored);
    close(lock_);
  }
}

void OutputDirectory::Write(const std::string& name, const std::vector<std::uint8_t>& bytes) {
  const fs::path path = fresh_ / name;
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  if (error) throw OutputError(path.parent_path().string() + ": " + error.message());
  WriteFile(path, bytes.data(), bytes.size());
}

void OutputDirectory::Commit() {
  const char* fresh = fresh_.c_str();
  const char* target = target_.c_str();
  if (renameat2(AT_FDCWD, fresh, AT_FDCWD, target, RENAME_EXCHANGE) == 0) return;
  if (errno == ENOENT) {  // the first run
    if (rename(fresh, target) != 0) Fail(target_, "cannot be put in place");
  } else if (errno == EINVAL || errno == ENOSYS) {  // a file system without exchange
    const fs::path old = fresh_.string() + ".old";
    std::error_code ignored;
    fs::remove_all(old, ignored);
    if (rename(target, old.c_str()) != 0) Fail(target_, "cannot be moved away");
    if (rename(fresh, target) != 0) {
      const int error = errno;
      rename(old.c_str(), target);
      errno = error;
      Fail(target_, "cannot be put in place");
    }
    fs::remove_all(old, ignored);
  } else {
    Fail(target_, "cannot be put in place");
  }
}

void WriteFileAtomically(const fs::path& path, std::string_view bytes) {
  if (path.has_parent_path()) fs::create_directories(path.parent_path());
  const fs::path fresh = path.string() + ".new";
  WriteFile(fresh, bytes.data(), bytes.size());
  if (rename(fresh.c_str(), path.c_str()) != 0) Fail(path, "cannot be put in place");
}

}  // namespace kestra::nlsc
