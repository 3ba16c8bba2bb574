// Replacing a whole directory at once: a reader sees the old set or the new one, never a mixture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::nlsc {

// Files are written into ".NAME.new" beside the target, which Commit exchanges with the target. A
// run that ends before leaves the target as it was; what it wrote is removed by the destructor or,
// after a kill, by the next run. Two runs for one target exclude each other.
class OutputDirectory {
 public:
  explicit OutputDirectory(const std::filesystem::path& target);
  ~OutputDirectory();
  OutputDirectory(const OutputDirectory&) = delete;
  OutputDirectory& operator=(const OutputDirectory&) = delete;

  // The name may have folders, which are made. Throws OutputError.
  void Write(const std::string& name, const std::vector<std::uint8_t>& bytes);
  void Commit();

 private:
  void Acquire();

  std::filesystem::path target_, fresh_;
  int lock_ = -1;
};

// Writes one file so that its name always has the old or the whole new content.
void WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes);

}  // namespace kestra::nlsc
