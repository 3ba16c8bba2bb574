// Data libraries for tests: archives, and shared libraries that carry them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kestra::test {

using ArchiveFiles = std::vector<std::pair<std::string, std::vector<std::uint8_t>>>;

// The files have to be sorted by name.
std::vector<std::uint8_t> MakeArchive(const ArchiveFiles& files);

// Writes directory/lib<name>.so with the archive, using the compiler that built the tests.
void MakeDataLibrary(const std::filesystem::path& directory, const std::string& name,
                     const ArchiveFiles& files);

}  // namespace kestra::test
