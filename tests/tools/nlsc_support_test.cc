// What tools/nlsc_support.h declares, and a test that the pieces it relies on are there.
#include "tests/tools/nlsc_support.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kestra::test {

namespace fs = std::filesystem;

NlscResult RunNlsc(const std::vector<std::string>& arguments,
                   const std::vector<std::pair<std::string, std::string>>& environment,
                   unsigned mask, unsigned kill_after) {
  const std::string program = KESTRA_BUILD_DIR "/bin/nlsc";
  char output[] = "/tmp/nlsc_output_XXXXXX";
  const int file = mkstemp(output);
  const pid_t child = fork();
  if (child == 0) {
    dup2(file, STDOUT_FILENO);
    dup2(file, STDERR_FILENO);
    umask(mask);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  if (kill_after != 0) {
    usleep(kill_after);
    kill(child, SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  close(file);
  NlscResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(output)};
  fs::remove(output);
  return result;
}

TemporaryFolder::TemporaryFolder() {
  char name[] = "/tmp/nlsc_test_XXXXXX";
  path_ = mkdtemp(name);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::vector<std::string> BuildArguments(const fs::path& inputs, const fs::path& output) {
  return {"build",    "--definitions", inputs / "definitions", "--sources", inputs / "sources",
          "--output", output};
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFile(const fs::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::vector<std::pair<std::string, std::string>> ReadFolder(const fs::path& path) {
  std::vector<std::pair<std::string, std::string>> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    files.emplace_back(entry.path().filename().string(), ReadFile(entry.path()));
  }
  std::sort(files.begin(), files.end());
  return files;
}

namespace {

TEST(Nlsc, IsBuiltAndSaysWhatItIs) {
  const NlscResult result = RunNlsc({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(result.text.starts_with("nlsc ")) << result.text;
}

TEST(Nlsc, AnswersWrongUsageWithStatus2) {
  const std::vector<std::string> wrong[] = {
      {}, {"compile"}, {"build"}, {"build", "--output", "x", "--byte-order=middle"}, {"check"},
  };
  for (const std::vector<std::string>& arguments : wrong) EXPECT_EQ(RunNlsc(arguments).status, 2);
}

}  // namespace
}  // namespace kestra::test
