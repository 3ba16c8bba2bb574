// Language environments for tests: home directories, variables, allocators that fail, pages that
// trap.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kestra/context.h"
#include "kestra/handle.h"
#include "kestra/object.h"

namespace kestra::test {

// Sets variables for its own lifetime and restores them afterwards.
class Environment {
 public:
  Environment() = default;
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  // nullptr unsets.
  void Set(const std::string& name, const char* value);
  void Set(const std::string& name, const std::string& value) { Set(name, value.c_str()); }

 private:
  std::map<std::string, std::optional<std::string>> before_;
};

// A callback block whose allocator counts, and fails when it is told to.
class CountingAllocator {
 public:
  CountingAllocator();
  ~CountingAllocator();
  CountingAllocator(const CountingAllocator&) = delete;
  CountingAllocator& operator=(const CountingAllocator&) = delete;

  // The call with this number (from 0) is refused; with onwards all later ones too.
  void FailAt(std::size_t call, bool onwards);
  void FailNever() { fail_at_ = SIZE_MAX; }

  lxcallbacks* block() { return &block_; }
  std::size_t calls() const { return calls_; }
  std::size_t live() const { return sizes_.size(); }
  std::size_t live_bytes() const;

 private:
  static void* Allocate(void* self, std::size_t size);
  static void Release(void* self, void* memory);

  lxcallbacks block_{};
  std::size_t calls_ = 0;
  std::size_t fail_at_ = SIZE_MAX;
  bool onwards_ = false;
  std::map<void*, std::size_t> sizes_;
};

// Memory that ends at a page that cannot be touched.
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::uint8_t* data() { return data_; }
  std::size_t size() const { return size_; }

 private:
  void* pages_;
  std::size_t mapped_;
  std::uint8_t* data_;
  std::size_t size_;
};

// An empty directory that is removed with everything in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

std::vector<std::uint8_t> ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes);

// The small fixed data set, in this platform's byte order and in big-endian order, and the full
// set.
std::filesystem::path TestHome();
std::filesystem::path BigEndianHome();
std::filesystem::path FullHome();

// Forgets what the process has cached: NLS_LANG, its verdict, the saved handle, the defaults. No
// area may be shared at that time.
void ForgetProcessState();

// Every variable that the library reads, unset but KESTRA_HOME.
class NlsEnvironment : public Environment {
 public:
  explicit NlsEnvironment(const std::filesystem::path& home = TestHome());
};

// A private area and a context on a home directory, for the life of the object. The variables are
// set while it lives.
class NlsSession {
 public:
  explicit NlsSession(const std::filesystem::path& home = TestHome(), lxcallbacks* block = nullptr);
  ~NlsSession();
  NlsSession(const NlsSession&) = delete;
  NlsSession& operator=(const NlsSession&) = delete;

  NlsEnvironment& environment() { return environment_; }
  lxcontext* context() { return &context_; }
  lxarea* area() { return context_.area; }
  std::uint32_t start_error() const { return start_error_; }

  // A handle from "LANGUAGE_TERRITORY.CHARSET"; the test fails when there is none.
  lxhandle Handle(std::string_view specification);
  // The text of an item, as bytes of the handle's set.
  std::string Info(const lxhandle& handle, std::uint32_t item);

 private:
  NlsEnvironment environment_;
  lxcontext context_{};
  std::uint32_t start_error_ = 0;
};

}  // namespace kestra::test
