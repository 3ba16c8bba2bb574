// Running the data compiler, and the objects that the build made of the test data.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kestra::test {

struct NlscResult {
  int status = -1;   // exit status, or -1 when a signal ended it
  std::string text;  // both outputs
};

// Runs build/<preset>/bin/nlsc. environment: variables to set; mask: umask of the child.
// kill_after: microseconds after which the child is killed, 0 never.
NlscResult RunNlsc(const std::vector<std::string>& arguments,
                   const std::vector<std::pair<std::string, std::string>>& environment = {},
                   unsigned mask = 022, unsigned kill_after = 0);

// A folder that is removed with its content.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

inline std::filesystem::path TestObjects(const char* set = "home") {
  return std::filesystem::path(KESTRA_BUILD_DIR) / "testdata" / set / "nls/data";
}
inline std::filesystem::path TestSources() {
  return std::filesystem::path(KESTRA_SOURCE_DIR) / "tests/data/nlsc";
}
// Arguments that build the test data into a folder.
std::vector<std::string> BuildArguments(const std::filesystem::path& inputs,
                                        const std::filesystem::path& output);

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view text);
// Names and contents of all files of a folder.
std::vector<std::pair<std::string, std::string>> ReadFolder(const std::filesystem::path& path);

}  // namespace kestra::test
