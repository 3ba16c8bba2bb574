#include "support/files.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace kestra::tools {
namespace {

[[noreturn]] void Fail(const std::string& name, const char* what) {
  throw IoError(name + ": " + what + ": " + std::strerror(errno));
}

// The temporary file to remove when a signal ends the program. One output at a time.
char g_temporary[4096];
volatile sig_atomic_t g_have_temporary = 0;

extern "C" void RemoveAndDie(int signal_number) {
  if (g_have_temporary != 0) unlink(g_temporary);
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

void RemoveOnSignals(const std::string& path) {
  if (path.size() >= sizeof g_temporary) return;
  std::memcpy(g_temporary, path.c_str(), path.size() + 1);
  g_have_temporary = 1;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction old {};
    if (sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_DFL) {
      signal(number, RemoveAndDie);
    }
  }
}

}  // namespace

InputFile::InputFile(const std::string& path) : name_(path) {
  if (path == "-") {
    name_ = "standard input";
    fd_ = 0;
  } else {
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) Fail(name_, "cannot open");
  }
  struct stat info {};
  if (fstat(fd_, &info) == 0) {
    if (S_ISDIR(info.st_mode)) {
      if (fd_ != 0) close(fd_);
      throw IoError(name_ + ": is a directory");
    }
    regular_ = S_ISREG(info.st_mode);
    if (regular_) {
      size_ = static_cast<std::uint64_t>(info.st_size);
      posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
  }
}

InputFile::~InputFile() {
  if (fd_ > 0) close(fd_);
}

std::size_t InputFile::Read(std::span<std::uint8_t> into) {
  for (;;) {
    const ssize_t count = read(fd_, into.data(), into.size());
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) Fail(name_, "cannot read");
  }
}

OutputFile::OutputFile() { buffer_.resize(kBuffer); }

OutputFile::OutputFile(const std::string& path) : name_(path) {
  buffer_.resize(kBuffer);
  struct stat info {};
  const bool exists = stat(path.c_str(), &info) == 0;
  if (exists && S_ISDIR(info.st_mode)) throw IoError(path + ": is a directory");
  if (exists && !S_ISREG(info.st_mode)) {
    fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd_ < 0) Fail(name_, "cannot open for writing");
    return;
  }
  target_ = path;
  if (char* real = realpath(path.c_str(), nullptr); real != nullptr) {
    target_ = real;  // a link stays a link
    std::free(real);
  }
  if (exists && access(path.c_str(), W_OK) != 0) Fail(name_, "cannot write");
  std::string name = target_ + ".XXXXXX";
  fd_ = mkostemp(name.data(), O_CLOEXEC);
  if (fd_ < 0) Fail(name_, "cannot create a file beside it");
  temporary_ = name;
  RemoveOnSignals(temporary_);
  mode_t mode = info.st_mode & 0777u;
  if (!exists) {
    const mode_t mask = umask(0);
    umask(mask);
    mode = 0666u & ~mask;
  }
  if (fchmod(fd_, mode) != 0) Fail(name_, "cannot set permissions");
}

OutputFile::~OutputFile() {
  if (fd_ > 1) close(fd_);
  if (!temporary_.empty()) {
    unlink(temporary_.c_str());
    g_have_temporary = 0;
  }
}

std::span<std::uint8_t> OutputFile::Room(std::size_t minimum) {
  if (buffer_.size() - used_ < minimum) Flush();
  return std::span(buffer_).subspan(used_);
}

void OutputFile::Write(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const std::span<std::uint8_t> room = Room(1);
    const std::size_t count = std::min(room.size(), bytes.size());
    std::copy_n(bytes.begin(), count, room.begin());
    Advance(count);
    bytes = bytes.subspan(count);
  }
}

void OutputFile::Flush() {
  std::size_t done = 0;
  while (done < used_) {
    const ssize_t count = write(fd_, buffer_.data() + done, used_ - done);
    if (count < 0) {
      if (errno == EINTR) continue;
      flushed_ += done;
      used_ = 0;
      Fail(name_, "cannot write");
    }
    done += static_cast<std::size_t>(count);
  }
  flushed_ += used_;
  used_ = 0;
}

void OutputFile::Commit() {
  Flush();
  if (fd_ <= 1) return;
  const int fd = fd_;
  fd_ = -1;
  if (close(fd) != 0) Fail(name_, "cannot write");
  if (temporary_.empty()) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail(name_, "cannot replace");
  temporary_.clear();
  g_have_temporary = 0;
}

}  // namespace kestra::tools
