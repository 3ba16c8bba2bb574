#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "core/os/archive_format.h"
#include "core/os/data_file.h"
#include "core/os/virtual_files.h"
#include "tests/support/data_library.h"
#include "tests/support/hex.h"
#include "tests/support/nls_fixture.h"

namespace kestra::os {
namespace {

namespace fs = std::filesystem;

std::string ReadAll(DataFile file) {
  std::string text(file.size + 8, '\0');
  text.resize(
      slxcfrtlfv(file, std::span(reinterpret_cast<std::uint8_t*>(text.data()), text.size())));
  slxcfcl(file);
  EXPECT_FALSE(file.is_open());
  return text;
}

std::vector<std::uint8_t> Text(std::string_view text) { return {text.begin(), text.end()}; }

TEST(DataFiles, OnlyRegularFilesOfTheDirectoryAreOpened) {
  const test::TemporaryDirectory directory;
  const fs::path& path = directory.path();
  test::WriteFile(path / "in/plain.nlb", Text("bytes"));
  test::WriteFile(path / "outside.nlb", Text("secret"));
  fs::create_directory(path / "in/folder.nlb");
  ASSERT_EQ(mkfifo((path / "in/fifo.nlb").c_str(), 0600), 0);
  fs::create_symlink("/dev/zero", path / "in/device.nlb");
  fs::create_symlink(path / "outside.nlb", path / "in/link.nlb");
  fs::create_symlink(path / "in/nowhere.nlb", path / "in/broken.nlb");

  const std::string in = path / "in";
  const auto read = [&](const char* name) {
    DataFile file = slxcfot(in.c_str(), name, ".nlb");
    return file.is_open() ? ReadAll(file) : std::string("not opened");
  };
  EXPECT_EQ(read("plain"), "bytes");
  EXPECT_EQ(read("link"), "secret");  // who may place a link in the directory may place a file
  for (const char* name : {"missing", "folder", "fifo", "device", "broken", "", "..", ".",
                           "../outside", "/etc/passwd", "folder/../plain"}) {
    EXPECT_EQ(read(name), "not opened") << name;
  }
  EXPECT_FALSE(slxcfot(in.c_str(), "plain", ".nlb/").is_open());
}

TEST(DataFiles, NamesAndDirectoriesAtTheirLimits) {
  const test::TemporaryDirectory directory;
  // A directory of exactly n bytes, made of doubled separators.
  for (const std::size_t length : {kPathRoom - 2, kPathRoom - 1, kPathRoom, kPathRoom + 1}) {
    test::WriteFile(directory.path() / "a.nlb", Text("x"));
    std::string path = directory.path();
    path.append(length - path.size(), '/');
    EXPECT_EQ(slxcfot(path.c_str(), "a", ".nlb").is_open(), length < kPathRoom) << length;
  }
  const std::string in = directory.path();
  // The file system's own limit is 255 bytes.
  for (std::size_t length = 248; length < 300; ++length) {
    const std::string name(length, 'n');
    const bool can_be = length + 4 <= 255;
    if (can_be) test::WriteFile(directory.path() / (name + ".nlb"), Text("x"));
    DataFile file = slxcfot(in.c_str(), name.c_str(), ".nlb");
    EXPECT_EQ(file.is_open(), can_be) << length;
    slxcfcl(file);
  }
}

TEST(DataFiles, PathsGrowOnlyWhileTheyFit) {
  char path[kPathRoom] = "/a";
  std::size_t length = 2;
  EXPECT_TRUE(AppendToPath(path, length, "b"));
  EXPECT_STREQ(path, "/a/b");
  const std::string fits(kPathRoom - 6, 'c');
  const std::string over = fits + "c";
  EXPECT_FALSE(AppendToPath(path, length, over.c_str()));
  EXPECT_STREQ(path, "/a/b");
  EXPECT_TRUE(AppendToPath(path, length, fits.c_str()));
  EXPECT_EQ(length, kPathRoom - 1);
}

// Archives.

TEST(Archive, FindsExactlyItsNames) {
  const auto archive =
      test::MakeArchive({{"a", Text("1")}, {"a/b", Text("22")}, {"ab", Text("333")}});
  const auto find = [&](const char* name) {
    const auto bytes = FindInArchive(archive, name);
    return std::string(bytes.begin(), bytes.end());
  };
  EXPECT_EQ(find("a"), "1");
  EXPECT_EQ(find("a/b"), "22");
  EXPECT_EQ(find("ab"), "333");
  for (const char* name : {"", "A", "a/", "a/bc", "b", "0"}) EXPECT_EQ(find(name), "") << name;
}

TEST(Archive, DamagedBytesAreNeverLeft) {
  const auto archive = test::MakeArchive({{"a", Text("1")}, {"b", Text("22")}});
  for (std::size_t size = 0; size < archive.size(); ++size) {
    test::GuardedBuffer cut(size);
    std::copy_n(archive.begin(), size, cut.data());
    for (const char* name : {"a", "b", "c"}) FindInArchive({cut.data(), size}, name);
  }
  test::GuardedBuffer whole(archive.size());
  for (std::size_t at = 0; at < 80; ++at) {
    for (const unsigned value : {0x00u, 0x01u, 0x7Fu, 0x80u, 0xFFu}) {
      std::copy(archive.begin(), archive.end(), whole.data());
      whole.data()[at] = static_cast<std::uint8_t>(value);
      for (const char* name : {"a", "b", "c"}) {
        const auto found = FindInArchive({whole.data(), whole.size()}, name);
        EXPECT_TRUE(found.empty() || found.data() + found.size() <= whole.data() + whole.size());
      }
    }
  }
}

TEST(VirtualFiles, ServeWhatTheHomeDirectoryDoesNotHave) {
  const test::TemporaryDirectory directory;
  test::MakeDataLibrary(directory.path() / "lib", "kciei", {{"nls/data/x.nlb", Text("embedded")}});
  test::NlsEnvironment environment(directory.path());
  EXPECT_EQ(lfvini2(2, "test", "kciabsent", nullptr, 1), 0);
  EXPECT_EQ(lfvIsVfsMode("test"), 0);
  EXPECT_FALSE(OpenVirtualFile("test", "nls/data/x.nlb").is_open());
  EXPECT_EQ(lfvini2(2, "test", "kciabsent", "kciei", 1), 1) << "the second library was not found";
  EXPECT_EQ(lfvIsVfsMode("test"), 1);
  EXPECT_EQ(lfvIsVfsMode("other"), 0);
  EXPECT_EQ(ReadAll(OpenVirtualFile("test", "nls/data/x.nlb")), "embedded");
  EXPECT_FALSE(OpenVirtualFile("test", "nls/data/y.nlb").is_open());
  CloseVirtualFiles();
  EXPECT_EQ(lfvIsVfsMode("test"), 0);
}

TEST(VirtualFiles, LibraryWithoutASoundArchiveIsNotUsed) {
  const test::TemporaryDirectory directory;
  const test::NlsEnvironment environment(directory.path());
  test::WriteFile(directory.path() / "lib/libkciei.so", Text("not a library"));
  EXPECT_EQ(lfvini2(2, "test", "kciei", nullptr, 1), 0);
  test::MakeDataLibrary(directory.path() / "lib", "kciei", {});
  EXPECT_EQ(lfvini2(2, "test", "kciei", nullptr, 1), 1) << "an empty archive is sound";
  CloseVirtualFiles();
}

}  // namespace
}  // namespace kestra::os
