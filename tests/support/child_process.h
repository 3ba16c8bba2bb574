// Running a built program as a child, the way a user or a script does.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestra::test {

struct ChildResult {
  int exit_code = -1;  // 128 + the number of the signal that ended it
  std::string out;
  std::string err;
};

// What the child's environment holds beyond PATH, HOME and the sanitizers' options.
using ChildEnvironment = std::vector<std::pair<std::string, std::string>>;

// Runs a program of the build's bin folder, or of an absolute path. Standard input comes through a
// pipe, written in pieces of `piece` bytes (0: in one).
ChildResult RunTool(const std::string& program, const std::vector<std::string>& arguments,
                    std::string_view input = "", const ChildEnvironment& environment = {},
                    std::size_t piece = 0);

// A directory that is removed with everything in it.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view bytes);

}  // namespace kestra::test
