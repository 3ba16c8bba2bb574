// The objects that the build made of the test data, and making them again.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace kestra::test {

inline std::filesystem::path TestObjects(const char* set = "home") {
  return std::filesystem::path(KESTRA_BUILD_DIR) / "testdata" / set / "nls/data";
}
inline std::filesystem::path TestSources() {
  return std::filesystem::path(KESTRA_SOURCE_DIR) / "tests/data/nlsc";
}
// Arguments that build the test data into a folder.
inline std::vector<std::string> BuildArguments(const std::filesystem::path& inputs,
                                               const std::string& output) {
  return {"build",    "--definitions", inputs / "definitions", "--sources", inputs / "sources",
          "--output", output};
}

// Names and contents of all files of a folder.
inline std::vector<std::pair<std::string, std::string>> ReadFolder(
    const std::filesystem::path& path) {
  std::vector<std::pair<std::string, std::string>> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    files.emplace_back(entry.path().filename().string(), ReadFile(entry.path()));
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace kestra::test
