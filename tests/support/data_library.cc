#include "tests/support/data_library.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "core/os/archive_format.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

void Put32(std::vector<std::uint8_t>& bytes, std::size_t at, std::size_t value) {
  for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}  // namespace

std::vector<std::uint8_t> MakeArchive(const ArchiveFiles& files) {
  namespace layout = os::archive;
  std::vector<std::uint8_t> bytes(std::begin(layout::kMagic), std::end(layout::kMagic));
  bytes.resize(layout::kIndexAt + files.size() * layout::kEntrySize);
  Put32(bytes, layout::kCountAt, files.size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    Put32(bytes, layout::kIndexAt + i * layout::kEntrySize, bytes.size());
    Put32(bytes, layout::kIndexAt + i * layout::kEntrySize + 4, files[i].first.size());
    bytes.insert(bytes.end(), files[i].first.begin(), files[i].first.end());
  }
  for (std::size_t i = 0; i < files.size(); ++i) {
    bytes.resize((bytes.size() + 15) / 16 * 16);
    Put32(bytes, layout::kIndexAt + i * layout::kEntrySize + 8, bytes.size());
    Put32(bytes, layout::kIndexAt + i * layout::kEntrySize + 12, files[i].second.size());
    bytes.insert(bytes.end(), files[i].second.begin(), files[i].second.end());
  }
  return bytes;
}

void MakeDataLibrary(const std::filesystem::path& directory, const std::string& name,
                     const ArchiveFiles& files) {
  const TemporaryDirectory scratch;
  const std::vector<std::uint8_t> archive = MakeArchive(files);
  WriteFile(scratch.path() / "archive", archive);
  std::ofstream(scratch.path() / "archive.s")
      << "  .section .rodata\n  .global " << name << "_archive\n  .balign 16\n"
      << name << "_archive:\n  .incbin \"" << (scratch.path() / "archive").string() << "\"\n"
      << "  .global " << name << "_archive_size\n  .balign 8\n"
      << name << "_archive_size:\n  .quad " << archive.size() << "\n"
      << "  .section .note.GNU-stack,\"\",%progbits\n";
  std::filesystem::create_directories(directory);
  const std::string command = std::string(KESTRA_C_COMPILER) + " -shared -nostdlib -o '" +
                              (directory / ("lib" + name + ".so")).string() + "' '" +
                              (scratch.path() / "archive.s").string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

}  // namespace kestra::test
