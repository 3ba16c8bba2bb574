// Loading: where files are looked for, and files that are missing, short, damaged, of the other
// byte order, or no files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>

#include "core/os/virtual_files.h"
#include "nls/area.h"
#include "tests/support/data_library.h"
#include "tests/support/nls_fixture.h"

namespace kestra::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

constexpr char kData[] = "nls/data";
constexpr char kSpecification[] = "GERMAN_GERMANY.WE8CP1252";

// A copy of the test data that a test may damage.
class HomeCopy {
 public:
  HomeCopy() { fs::copy(TestHome() / kData, data(), fs::copy_options::recursive); }
  fs::path home() const { return directory_.path() / "home"; }
  fs::path data() const {
    fs::create_directories(home() / kData);
    return home() / kData;
  }
  fs::path file(const char* name) const { return data() / (std::string(name) + ".nlb"); }

 private:
  TemporaryDirectory directory_;
};

// Starts on a home directory: the error of the start, then "language/error of the handle".
std::string Start(const fs::path& home, const char* specification = kSpecification) {
  NlsSession session(home);
  lxhandle handle{};
  const bool built = lxhLaToId(specification, std::strlen(specification), &handle, 1,
                               session.context()) != nullptr;
  const std::string second = built ? session.Info(handle, KES_ITEM_LANGUAGE)
                                   : "error " + std::to_string(session.context()->error);
  return std::to_string(session.start_error()) + " " + second;
}

TEST(LxlLoad, MissingAndCutFiles) {
  const HomeCopy copy;
  EXPECT_EQ(Start(copy.home()), "0 GERMAN");
  const struct {
    const char* file;
    const char* result;
  } files[] = {{"lx00023", "0 error 34"},
               {"lx10114", "0 error 34"},
               {"lx200fc", "0 error 34"},
               {"lx40011", "0 error 34"},
               {"lx1boot", "22 AMERICAN"}};
  for (const auto& c : files) {
    const fs::path path = copy.file(c.file);
    const Bytes bytes = ReadFile(path);
    fs::remove(path);
    EXPECT_EQ(Start(copy.home()), c.result) << "no " << c.file;
    fs::create_directory(path);
    EXPECT_EQ(Start(copy.home()), c.result) << "a directory " << c.file;
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Start(copy.home()), c.result) << "a FIFO " << c.file;
    fs::remove(path);
    fs::create_symlink("/dev/zero", path);
    EXPECT_EQ(Start(copy.home()), c.result) << "a device " << c.file;
    fs::remove(path);
    WriteFile(path, bytes);
    // Objects are padded: what is missing of the last 8 bytes may be padding of the directory.
    for (const std::size_t cut : {std::size_t{1}, std::size_t{8}, bytes.size() / 2,
                                  bytes.size() - 92, bytes.size() - 47, bytes.size()}) {
      fs::resize_file(path, bytes.size() - cut);
      EXPECT_EQ(Start(copy.home()), c.result) << c.file << " cut by " << cut;
    }
    WriteFile(path, bytes);
  }
  EXPECT_EQ(Start(copy.home()), "0 GERMAN");
}

TEST(LxlLoad, BootNamesMayBeEbcdic) {
  const HomeCopy copy;
  Bytes boot = ReadFile(copy.file("lx1boot"));
  boot[45] = static_cast<std::uint8_t>(boot[45] & ~1u);
  for (std::size_t entry = 48 + 40; entry + 40 <= boot.size(); entry += 40) {
    for (std::size_t at = entry + 9; at < entry + 38; ++at) {
      const std::uint8_t c = boot[at];  // letters, digits and spaces of code page 1047
      if (c >= 'A' && c <= 'I') boot[at] = static_cast<std::uint8_t>(0xC1 + c - 'A');
      if (c >= 'J' && c <= 'R') boot[at] = static_cast<std::uint8_t>(0xD1 + c - 'J');
      if (c >= 'S' && c <= 'Z') boot[at] = static_cast<std::uint8_t>(0xE2 + c - 'S');
      if (c >= '0' && c <= '9') boot[at] = static_cast<std::uint8_t>(0xF0 + c - '0');
      if (c == ' ') boot[at] = 0x40;
    }
  }
  WriteFile(copy.file("lx1boot"), boot);
  EXPECT_EQ(Start(copy.home()), "0 GERMAN");
}

TEST(LxlLoad, SizesAgreeInMultiplesOfEight) {
  const HomeCopy copy;
  const fs::path path = copy.file("lx200fc");
  const Bytes good = ReadFile(path);
  const std::size_t rounded = (good.size() + 7) / 8 * 8;
  const auto with_size = [&](std::size_t size) {
    Bytes bytes = good;
    bytes.resize(std::max(size, good.size()));
    for (int i = 0; i < 4; ++i) {
      bytes[8 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(size >> (8 * i));
    }
    WriteFile(path, bytes);
    return Start(copy.home());
  };
  EXPECT_EQ(with_size(good.size()), "0 GERMAN");
  EXPECT_EQ(with_size(rounded), "0 GERMAN");
  EXPECT_EQ(with_size(rounded + 1), "0 error 34");
  EXPECT_EQ(with_size(rounded + 8), "0 error 34");
  EXPECT_EQ(with_size(rounded - 8), "0 error 34");
  // A longer file than its header says is read as far as the header says.
  Bytes longer = good;
  longer.resize(good.size() + 1000);
  WriteFile(path, longer);
  EXPECT_EQ(Start(copy.home()), "0 GERMAN");
}

TEST(LxlLoad, DirectorySearch) {
  const HomeCopy good;
  const TemporaryDirectory empty;
  NlsEnvironment environment(empty.path());
  const auto error = [] {
    std::uint32_t code = 99;
    lxcontext context{};
    lxinitc(&context, lxlinit(nullptr, 0, &code), nullptr, 0);
    // The objects come from where the boot file came from.
    EXPECT_NE(lxdgetobj(1, KES_OBJECT_LANGUAGE, &context), nullptr);
    lxlterm(&context);
    return code;
  };
  EXPECT_EQ(error(), 22u);
  environment.Set("KES_NLS10", good.data().string());
  EXPECT_EQ(error(), 0u);
  environment.Set("KESTRA_HOME", good.home().string());
  environment.Set("KES_NLS10", empty.path().string());
  EXPECT_EQ(error(), 22u) << "the directory that is named is the only one";
  environment.Set("KES_NLS10", std::string(512, 'x'));
  EXPECT_EQ(error(), 0u) << "too long counts as unset";
  environment.Set("KES_NLS10", "");
  EXPECT_EQ(error(), 0u);
  std::string home = good.home();
  home.append(511 - home.size(), '/');
  environment.Set("KESTRA_HOME", home);
  EXPECT_EQ(error(), 22u) << "no room for the subdirectory";
  environment.Set("KESTRA_HOME", nullptr);
  EXPECT_EQ(error(), 22u);
}

TEST(LxlLoad, ProfileDirectoryComesFirst) {
  const HomeCopy normal;
  const HomeCopy profile;
  fs::rename(profile.file("lx1boot"), profile.file("lx2boot"));
  NlsEnvironment environment("/nonexistent");
  environment.Set("KES_NLS_PROFILE33", profile.data().string());
  CountingAllocator allocator;
  std::uint32_t error = 0;
  lxcontext context{};
  lxinitc(&context, lxlinit(allocator.block(), 0, &error), allocator.block(), 0);
  EXPECT_EQ(error, 0u);
  lxhandle handle{};
  EXPECT_NE(lxhLaToId("GERMAN", 6, &handle, 2, &context), nullptr) << "objects of the profile";
  // What the profile lacks is taken from the normal directory.
  fs::remove(profile.file("lx10188"));
  EXPECT_EQ(lxptset(392, &handle, &context), 0);
  environment.Set("KESTRA_HOME", normal.home().string());
  EXPECT_EQ(lxptset(392, &handle, &context), 1);
  lxlterm(&context);
}

TEST(LxlLoad, OlderReleaseDirectory) {
  const HomeCopy copy;
  fs::rename(copy.data(), copy.home() / "old");
  fs::create_directories(copy.home() / kData);
  fs::rename(copy.home() / "old", copy.home() / kData / "9idata");
  EXPECT_EQ(Start(copy.home()), "22 AMERICAN");
  lxcallbacks block{};
  lxldini(&block);
  block.load_boot = lxldlbb9i;
  NlsSession session(copy.home(), &block);
  EXPECT_EQ(session.start_error(), 0u);
  EXPECT_EQ(session.Info(session.Handle(kSpecification), 60), "GERMAN");
  char path[4096];
  EXPECT_NE(lxlorigin(path, sizeof path, session.context()), 0u);
  EXPECT_EQ(path, copy.home() / kData / "9idata");
}

TEST(LxlLoad, DataLibraryServesWithoutAHome) {
  ArchiveFiles files;
  for (const auto& entry : fs::directory_iterator(TestHome() / kData)) {
    files.emplace_back("nls/data/" + entry.path().filename().string(), ReadFile(entry.path()));
  }
  std::sort(files.begin(), files.end());
  const TemporaryDirectory directory;
  MakeDataLibrary(directory.path() / "lib", "kciicus", files);
  EXPECT_EQ(Start(directory.path()), "0 GERMAN");
  ASSERT_EQ(os::lfvIsVfsMode("nls"), 1);
  EXPECT_EQ(Start("/nonexistent"), "0 GERMAN") << "the library stays open";
  {
    NlsEnvironment environment(directory.path());
    environment.Set("KES_NLS10", "/nonexistent");
    std::uint32_t error = 99;
    lxcontext context{};
    lxinitc(&context, lxlinit(nullptr, 0, &error), nullptr, 0);
    EXPECT_EQ(error, 0u) << "KES_NLS10 is not asked in virtual mode";
    lxlterm(&context);
  }
  // A real file wins over the embedded one.
  const HomeCopy copy;
  WriteFile(copy.file("lx00023"), Bytes(2000, 'x'));
  EXPECT_EQ(Start(copy.home()), "0 error 34");
  fs::remove(copy.file("lx00023"));
  EXPECT_EQ(Start(copy.home()), "0 GERMAN");
  os::CloseVirtualFiles();
  EXPECT_EQ(Start(directory.path() / "lib"), "22 AMERICAN");
}

TEST(LxlLoad, NamesAndSizes) {
  NlsSession session;
  char name[KES_OBJECT_NAME_SIZE];
  EXPECT_EQ(lxfgnb(name, 1), 7u);
  EXPECT_STREQ(name, "lx1boot");
  EXPECT_EQ(lxfgno(name, 2, 0x369), 7u);
  EXPECT_STREQ(name, "lx20369");
  EXPECT_EQ(lxlgsz("lx20001", session.area()), fs::file_size(TestHome() / "nls/data/lx20001.nlb"));
  for (const char* bad : {"", "lx", "lx2000", "lx200011", "LX20001", "lx2000G", "lx2000A",
                          "lx20002", "../x", "lx2/../"}) {
    EXPECT_EQ(lxlgsz(bad, session.area()), 0u) << bad;
  }
  EXPECT_EQ(lxlgsz(nullptr, session.area()), 0u);
  EXPECT_EQ(lxlgsz("lx20001", nullptr), 0u);
}

TEST(LxlLoad, SlotsAreCheckedAgainstTypesAndNames) {
  NlsSession session;
  lxcontext* context = session.context();
  const std::uint32_t slots = nls::SlotCount(session.area());
  for (std::uint32_t slot = 0; slot < slots + 10; ++slot) {
    int types = 0;
    for (std::uint32_t type = 0; type < 16; ++type) {
      if (lxdgetobj(slot, type, context) != nullptr) ++types;
    }
    const bool user = slot + nls::kUserSlots >= slots;
    EXPECT_EQ(types, slot == 0 || user ? 0 : 1) << slot;
  }
  EXPECT_EQ(lxdgetobj(1, KES_OBJECT_LANGUAGE, nullptr), nullptr);
  // A name that is not the slot's.
  const std::uint32_t slot = lxpe2i(1, session.area(), KES_OBJECT_CHARSET, nullptr, 0);
  EXPECT_EQ(lxldunl(&lxldcbk, nls::SlotAddress(session.area(), slot)), 1);
  EXPECT_EQ(lxldunl(&lxldcbk, nls::SlotAddress(session.area(), slot)), 1) << "empty slot";
  EXPECT_EQ(lxldlod(&lxldcbk, "lx20065", session.area(), slot), nullptr);
  EXPECT_NE(lxldlod(&lxldcbk, "lx20001", session.area(), slot), nullptr);
  std::uint32_t error = 0;
  EXPECT_EQ(lxpe2i(5, session.area(), KES_OBJECT_CHARSET, &error, 0), 0u);
  EXPECT_EQ(error, KES_NLS_UNKNOWN_ID);
  EXPECT_EQ(lxpe2i(9999, session.area(), KES_OBJECT_CHARSET, &error, 0), slots - 7);
  EXPECT_EQ(lxpe2i(9996, session.area(), KES_OBJECT_CHARSET, &error, 0), slots - 4);
  EXPECT_EQ(lxpe2i(9995, session.area(), KES_OBJECT_CHARSET, &error, 0), 0u);
}

TEST(LxlLoad, UserDefinedObjectsAreRaw) {
  const HomeCopy copy;
  const Bytes bytes = {'r', 'a', 'w'};
  WriteFile(copy.file("lxc0001"), bytes);
  CountingAllocator allocator;
  NlsSession session(copy.home(), allocator.block());
  lxarea* area = session.area();
  const std::uint32_t slot = nls::SlotCount(area) - 1;
  EXPECT_EQ(lxlgsz("lxc0001", area), 3u);
  EXPECT_EQ(lxlgsz("lxc0002", area), 0u);
  EXPECT_EQ(lxldlod(allocator.block(), "lx20001", area, slot), nullptr) << "not user-defined";
  EXPECT_EQ(lxldlod(allocator.block(), "lxc0001", area, 1), nullptr) << "not a user slot";
  ASSERT_NE(lxldlod(allocator.block(), "lxc0001", area, slot), nullptr);
  const auto object = nls::UserObject(area, slot);
  EXPECT_EQ(Bytes(object.begin(), object.end()), bytes);
  EXPECT_EQ(lxdgetobj(slot, KES_OBJECT_CHARSET, session.context()), nullptr);
  EXPECT_NE(lxdgetobj(slot, 0xC, session.context()), nullptr);
  EXPECT_TRUE(nls::UserObject(area, slot - 1).empty());
  EXPECT_TRUE(nls::UserObject(area, 1).empty());
}

// A caller's own loader may return anything in the right layout; it is checked like a file.
TEST(LxlLoad, ObjectsOfTheCallersLoaderAreChecked) {
  struct Loader {
    Bytes bytes;
    int unloaded = 0;
  } loader;
  loader.bytes = ReadFile(TestHome() / "nls/data/lx20001.nlb");
  loader.bytes.resize((loader.bytes.size() + 7) / 8 * 8);
  lxcallbacks block{};
  block.load_object = [](void* ctx, const char* name, lxarea*, std::uint32_t) -> lxobject* {
    if (std::strcmp(name, "lx20001") != 0) return nullptr;
    return reinterpret_cast<lxobject*>(static_cast<Loader*>(ctx)->bytes.data());
  };
  block.load_object_ctx = &loader;
  block.unload_object = [](void* ctx, lxobject** slot) {
    *slot = nullptr;
    return ++static_cast<Loader*>(ctx)->unloaded;
  };
  block.unload_object_ctx = &loader;
  {
    NlsSession session(TestHome(), &block);
    EXPECT_NE(lxpcobj(1, session.context()), nullptr);
    EXPECT_EQ(lxpcobj(101, session.context()), nullptr);
  }
  EXPECT_EQ(loader.unloaded, 1);
  loader.bytes[2472] = 0xFF;  // end of the tables
  NlsSession session(TestHome(), &block);
  EXPECT_EQ(lxpcobj(1, session.context()), nullptr);
  EXPECT_EQ(loader.unloaded, 2);
}

}  // namespace
}  // namespace kestra::test
