// Check accepts what build wrote and finds every damage; dump says the same of both byte orders.
#include <gtest/gtest.h>

#include "nls/nlb_format.h"
#include "tests/tools/nlsc_support.h"
#include "tools/nlsc/check.h"
#include "tools/nlsc/dump.h"
#include "tools/nlsc/object.h"

namespace kestra::nlsc {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// One object of every type, and of every kind of character set; both byte orders.
std::vector<Bytes> SomeObjects() {
  std::vector<Bytes> objects;
  for (const char* set : {"home", "big"}) {
    for (const auto& [type, id] : std::initializer_list<std::pair<unsigned, unsigned>>{{0, 35},
                                                                                       {1, 276},
                                                                                       {2, 128},
                                                                                       {2, 862},
                                                                                       {2, 872},
                                                                                       {2, 2000},
                                                                                       {3, 1000},
                                                                                       {4, 17},
                                                                                       {5, 2}}) {
      objects.push_back(ReadObjectFile(test::TestObjects(set) / ObjectFileName(type, id)));
    }
  }
  return objects;
}

// Every byte of the header, then some hundred places of the rest, at odd distances.
std::size_t Step(const Bytes& object, std::size_t at) {
  return at < nls::nlb::kHeaderSize + 64 ? 1 : object.size() / 500 * 2 + 1;
}

TEST(NlscCheck, AcceptsEverythingThatBuildWrote) {
  for (const char* set : {"home", "big"}) {
    EXPECT_EQ(CheckDirectory(test::TestObjects(set)), Faults()) << set;
  }
  EXPECT_EQ(CheckDirectory(fs::path(KESTRA_BUILD_DIR) / "home/nls/data"), Faults());
}

// The header holds two bytes that mean nothing (24, 27) and the data release; every other byte
// counts.
TEST(NlscCheck, FindsAChangeOfAnyByte) {
  for (const Bytes& object : SomeObjects()) {
    for (std::size_t at = 0; at < object.size(); at += Step(object, at)) {
      const bool free = at == 24 || at == 27 || (at >= 4 && at < 8) ||
                        (at >= nls::nlb::kNameAt && at < nls::nlb::kHeaderSize);
      if (free || at == 1 || at == 0 || at == 3 || at == 2) continue;  // a higher version is valid
      Bytes changed = object;
      changed[at] ^= 0xFF;
      ASSERT_FALSE(CheckObject(changed).empty()) << ObjectReader(object).name() << " at " << at;
    }
  }
}

TEST(NlscCheck, FindsDirectoriesThatDoNotAgree) {
  const test::ScratchDirectory folder;
  const auto faults_after = [&](const auto& change) {
    fs::remove_all(folder / "data");
    fs::copy(test::TestObjects(), folder / "data");
    change(folder / "data");
    const Faults faults = CheckDirectory(folder / "data");
    return faults.empty() ? std::string() : faults.front();
  };
  EXPECT_EQ(faults_after([](const fs::path&) {}), "");
  EXPECT_EQ(faults_after([](const fs::path& data) { fs::remove(data / "lx20001.nlb"); }),
            "lx20001.nlb: is missing");
  EXPECT_EQ(faults_after(
                [](const fs::path& data) { fs::copy(data / "lx20001.nlb", data / "lx21234.nlb"); }),
            "lx21234.nlb: is not in the directory");
  EXPECT_NE(faults_after([](const fs::path& data) {
              fs::rename(data / "lx2000f.nlb", data / "lx20001.nlb");
            }).find("lx20001.nlb: "),
            std::string::npos);
  EXPECT_EQ(faults_after([](const fs::path& data) {
              fs::copy_file(test::TestObjects("big") / "lx20001.nlb", data / "lx20001.nlb",
                            fs::copy_options::overwrite_existing);
            }),
            "lx20001.nlb: is of the other byte order than the boot file");
}

TEST(NlscCheck, FindsFaultsOfABootFile) {
  const Bytes boot = ReadObjectFile(test::TestObjects() / kBootFileName);
  ASSERT_EQ(CheckBoot(boot), Faults());
  const struct {
    std::size_t at;
    std::uint8_t value;
    const char* fault;
  } kCases[] = {
      {3, 1, "the format is too old"},         {8, 1, "entries take"},
      {20, 2, "the first run does not begin"}, {24, 1, "ends before it begins"},
      {48 + 40 + 6, 9, "has not the id 1"},    {48 + 80 + 6, 1, "out of order"},
      {48 + 40 + 8, 40, "length of the name"}, {48 + 40 + 4, 7, "type 7"},
  };
  for (const auto& c : kCases) {
    Bytes changed = boot;
    changed[c.at] = c.value;
    const Faults faults = CheckBoot(changed);
    ASSERT_FALSE(faults.empty()) << c.fault;
    EXPECT_NE(faults.front().find(c.fault), std::string::npos) << faults.front();
  }
  for (std::size_t size = 0; size < boot.size(); ++size) {
    ASSERT_FALSE(
        CheckBoot({boot.begin(), boot.begin() + static_cast<std::ptrdiff_t>(size)}).empty());
  }
}

// The text without the two lines that tell twins apart.
std::string WithoutOrder(std::string text) {
  for (const char* line : {"\nformat: ", "\nchecksum: "}) {
    const std::size_t begin = text.find(line);
    if (begin != std::string::npos) text.erase(begin, text.find('\n', begin + 1) - begin);
  }
  return text;
}

TEST(NlscDump, SaysTheSameOfBothByteOrders) {
  std::size_t compared = 0;
  for (const fs::directory_entry& file : fs::directory_iterator(test::TestObjects())) {
    const fs::path twin = test::TestObjects("big") / file.path().filename();
    const std::string little = Dump(ReadObjectFile(file.path()), true);
    const std::string big = Dump(ReadObjectFile(twin), true);
    EXPECT_NE(little, big) << twin;
    EXPECT_EQ(WithoutOrder(little), WithoutOrder(big)) << twin;
    ++compared;
  }
  EXPECT_GT(compared, 40u);
}

TEST(NlscDump, PrintsFieldsAndNames) {
  const std::string german = Dump(ReadObjectFile(test::TestObjects() / "lx00023.nlb"), false);
  for (const char* line : {"language 35 GERMAN\n", "string 16 (month 3): M\xC3\xA4rz\n",
                           "default character set: 101\n", "string 59 (English name): German\n"}) {
    EXPECT_NE(german.find(line), std::string::npos) << line;
  }
  const std::string euc = Dump(ReadObjectFile(test::TestObjects() / "lx2033f.nlb"), true);
  EXPECT_NE(euc.find("  A4A2 U+3042 alphabetic wide\n"), std::string::npos);
  EXPECT_THROW(Dump(Bytes(100), false), BadObject);
}

}  // namespace
}  // namespace kestra::nlsc
