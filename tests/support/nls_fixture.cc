#include "tests/support/nls_fixture.h"

#include <stdlib.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "nls/process_state.h"

namespace kestra::test {

namespace fs = std::filesystem;

Environment::~Environment() {
  for (const auto& [name, value] : before_) {
    if (value) {
      setenv(name.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name.c_str());
    }
  }
}

void Environment::Set(const std::string& name, const char* value) {
  const char* old = getenv(name.c_str());
  before_.try_emplace(name, old == nullptr ? std::nullopt : std::optional<std::string>(old));
  if (value == nullptr) {
    unsetenv(name.c_str());
  } else {
    setenv(name.c_str(), value, 1);
  }
}

CountingAllocator::CountingAllocator() {
  block_.allocate = Allocate;
  block_.allocate_ctx = this;
  block_.release = Release;
  block_.release_ctx = this;
}

CountingAllocator::~CountingAllocator() { EXPECT_EQ(sizes_.size(), 0u) << "memory not released"; }

void CountingAllocator::FailAt(std::size_t call, bool onwards) {
  calls_ = 0;
  fail_at_ = call;
  onwards_ = onwards;
}

std::size_t CountingAllocator::live_bytes() const {
  std::size_t total = 0;
  for (const auto& [memory, size] : sizes_) total += size;
  return total;
}

void* CountingAllocator::Allocate(void* self, std::size_t size) {
  auto* me = static_cast<CountingAllocator*>(self);
  const std::size_t call = me->calls_++;
  if (call == me->fail_at_ || (me->onwards_ && call > me->fail_at_)) return nullptr;
  void* memory = malloc(size);
  me->sizes_[memory] = size;
  return memory;
}

void CountingAllocator::Release(void* self, void* memory) {
  if (memory == nullptr) return;
  EXPECT_EQ(static_cast<CountingAllocator*>(self)->sizes_.erase(memory), 1u)
      << "released memory that was not allocated here";
  free(memory);
}

GuardedBuffer::GuardedBuffer(std::size_t size) : size_(size) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t usable = (size + page - 1) / page * page;
  mapped_ = usable + page;
  pages_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages_ == MAP_FAILED) abort();
  auto* bytes = static_cast<std::uint8_t*>(pages_);
  if (mprotect(bytes + usable, page, PROT_NONE) != 0) abort();
  data_ = bytes + usable - size;
}

GuardedBuffer::~GuardedBuffer() { munmap(pages_, mapped_); }

TemporaryDirectory::TemporaryDirectory() {
  // Tests rewrite files thousands of times: in memory where the system has a place for that.
  // Data libraries are opened from there too.
  struct statvfs info;
  const bool has_memory = access("/dev/shm", W_OK | X_OK) == 0 && statvfs("/dev/shm", &info) == 0 &&
                          (info.f_flag & ST_NOEXEC) == 0;
  const fs::path parent = has_memory ? fs::path("/dev/shm") : fs::temp_directory_path();
  std::string name = (parent / "kestra_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) abort();
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::vector<std::uint8_t> ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, std::span<const std::uint8_t> bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(file.good()) << path;
}

fs::path TestHome() { return fs::path(KESTRA_BUILD_DIR) / "testdata/home"; }
fs::path BigEndianHome() { return fs::path(KESTRA_BUILD_DIR) / "testdata/big"; }
fs::path FullHome() { return fs::path(KESTRA_BUILD_DIR) / "home"; }

void ForgetProcessState() { nls::State() = {}; }

NlsEnvironment::NlsEnvironment(const fs::path& home) {
  for (const auto& name : lxhenvqnames) Set(name, nullptr);
  for (const char* name : {"KES_NLS10", "KES_NLS_PROFILE33"}) Set(name, nullptr);
  Set("KESTRA_HOME", home.string());
}

NlsSession::NlsSession(const fs::path& home, lxcallbacks* block) : environment_(home) {
  ForgetProcessState();
  lxarea* area = lxlinit(block, 0, &start_error_);
  lxinitc(&context_, area, block == nullptr ? lxldini(nullptr) : block, 0);
}

NlsSession::~NlsSession() {
  lxlterm(&context_);
  ForgetProcessState();
}

lxhandle NlsSession::Handle(std::string_view specification) {
  lxhandle handle{};
  EXPECT_NE(lxhLaToId(specification.data(), specification.size(), &handle, 2, context()), nullptr)
      << specification << ": error " << context_.error;
  return handle;
}

std::string NlsSession::Info(const lxhandle& handle, std::uint32_t item) {
  std::uint8_t buffer[1024];
  const std::size_t length = lxhlinfo(&handle, item, buffer, sizeof buffer, context());
  return {reinterpret_cast<const char*>(buffer), length};
}

}  // namespace kestra::test
