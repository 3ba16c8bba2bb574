#include "tests/support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kestra::test {
namespace {

struct Pipe {
  int read_end = -1;
  int write_end = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == 0) {
      read_end = ends[0];
      write_end = ends[1];
    }
  }
};

void CloseEnd(int& end) {
  if (end >= 0) close(end);
  end = -1;
}

[[noreturn]] void BecomeChild(const std::string& path, const std::vector<std::string>& arguments,
                              const std::vector<std::string>& environment, const Pipe& in,
                              const Pipe& out, const Pipe& err) {
  dup2(in.read_end, 0);
  dup2(out.write_end, 1);
  dup2(err.write_end, 2);
  std::vector<char*> argv = {const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const std::string& variable : environment) {
    envp.push_back(const_cast<char*>(variable.c_str()));
  }
  envp.push_back(nullptr);
  execve(path.c_str(), argv.data(), envp.data());
  _exit(127);
}

// Feeds standard input and drains both outputs until the child has closed them.
void Exchange(std::string_view input, std::size_t piece, Pipe& in, Pipe& out, Pipe& err,
              ChildResult& result) {
  std::array<char, 1 << 16> buffer;
  if (piece == 0) piece = buffer.size();
  if (input.empty()) CloseEnd(in.write_end);
  while (out.read_end >= 0 || err.read_end >= 0) {
    std::array<pollfd, 3> ends = {pollfd{in.write_end, POLLOUT, 0}, pollfd{out.read_end, POLLIN, 0},
                                  pollfd{err.read_end, POLLIN, 0}};
    if (poll(ends.data(), ends.size(), -1) < 0) break;
    if (ends[0].revents != 0) {
      const ssize_t count = write(in.write_end, input.data(), std::min(piece, input.size()));
      if (count > 0) input.remove_prefix(static_cast<std::size_t>(count));
      if (count < 0 || input.empty()) CloseEnd(in.write_end);
    }
    auto drain = [&](short events, int& end, std::string& text) {
      if (events == 0) return;
      const ssize_t count = read(end, buffer.data(), buffer.size());
      if (count <= 0) {
        CloseEnd(end);
      } else {
        text.append(buffer.data(), static_cast<std::size_t>(count));
      }
    };
    drain(ends[1].revents, out.read_end, result.out);
    drain(ends[2].revents, err.read_end, result.err);
  }
}

}  // namespace

ChildResult RunTool(const std::string& program, const std::vector<std::string>& arguments,
                    std::string_view input, const ChildEnvironment& environment,
                    std::size_t piece) {
  const std::string path =
      program.starts_with('/') ? program : std::string(KESTRA_BUILD_DIR "/bin/") + program;
  std::vector<std::string> variables;
  for (const char* name : {"PATH", "HOME", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = std::getenv(name)) variables.push_back(std::string(name) + "=" + value);
  }
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);

  ChildResult result;
  Pipe in;
  Pipe out;
  Pipe err;
  signal(SIGPIPE, SIG_IGN);  // a child may end without reading its input
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGPIPE, SIG_DFL);
    BecomeChild(path, arguments, variables, in, out, err);
  }
  CloseEnd(in.read_end);
  CloseEnd(out.write_end);
  CloseEnd(err.write_end);
  fcntl(in.write_end, F_SETFL, O_NONBLOCK);
  Exchange(input, piece, in, out, err, result);
  CloseEnd(in.write_end);
  int status = 0;
  waitpid(child, &status, 0);
  result.exit_code = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

ScratchDirectory::ScratchDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "kestra_test.XXXXXX").string();
  if (mkdtemp(name.data()) != nullptr) path_ = name;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace kestra::test
