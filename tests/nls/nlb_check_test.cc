// Checks and byte swapping of object bytes.
#include "nls/nlb_check.h"

#include <gtest/gtest.h>

#include <cstring>

#include "nls/area.h"
#include "tests/support/nls_fixture.h"

namespace kestra::nls {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

std::vector<fs::path> ObjectFiles(const fs::path& home) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(home / "nls/data")) {
    if (entry.path().extension() == ".nlb") files.push_back(entry.path());
  }
  return files;
}

const char* Check(Bytes bytes, bool boot) {
  return lxlobjcheck(bytes.data(), bytes.size(), boot ? 1 : 0);
}

TEST(NlbCheck, EveryFileOfTheDataIsSound) {
  for (const fs::path& home : {test::TestHome(), test::BigEndianHome(), test::FullHome()}) {
    int count = 0;
    for (const fs::path& file : ObjectFiles(home)) {
      const bool boot = file.stem().string().find("boot") != std::string::npos;
      EXPECT_EQ(Check(test::ReadFile(file), boot), nullptr) << file;
      ++count;
    }
    EXPECT_GT(count, 20);
  }
}

// Swapped, a big-endian object is its little-endian twin but for the flag and the checksum.
TEST(NlbCheck, SwappingGivesTheTwin) {
  const bool big_platform = lxpendian != 0;
  const fs::path foreign = big_platform ? test::TestHome() : test::BigEndianHome();
  const fs::path native = big_platform ? test::BigEndianHome() : test::TestHome();
  for (const fs::path& file : ObjectFiles(foreign)) {
    SCOPED_TRACE(file.filename().string());
    const bool boot = file.stem().string().find("boot") != std::string::npos;
    Bytes swapped = test::ReadFile(file);
    Bytes twin = test::ReadFile(native / "nls/data" / file.filename());
    ASSERT_EQ(swapped.size(), twin.size());
    ASSERT_EQ(lxlobjcheck(swapped.data(), swapped.size(), boot ? 1 : 0), nullptr);
    const std::size_t flags_at = boot ? nlb::boot::kByteFlagsAt : nlb::kByteFlagsAt;
    EXPECT_EQ((swapped[flags_at] ^ twin[flags_at]), nlb::kBigEndianFlag);
    swapped[flags_at] = twin[flags_at];
    if (!boot) std::memcpy(&swapped[nlb::kChecksumAt], &twin[nlb::kChecksumAt], 4);
    const auto [at, other] = std::mismatch(swapped.begin(), swapped.end(), twin.begin());
    EXPECT_EQ(at, swapped.end()) << "byte " << at - swapped.begin();
  }
}

void Put(Bytes& bytes, std::size_t at, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) {
    const std::size_t place = lxpendian != 0 ? width - 1 - i : i;
    bytes.at(at + place) = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

struct FaultCase {
  const char* file;
  std::size_t at;
  std::uint64_t value;
  std::size_t width;
  const char* fault;
};
constexpr std::size_t kEntry1 = 48 + 40;
constexpr FaultCase kFaults[] = {
    {"lx1boot", 44, 0, 1, "wrong magic"},
    {"lx1boot", 0, 0x020FFFFF, 4, "too old"},
    {"lx1boot", 8, 100, 4, "does not cover"},
    {"lx1boot", 8, 0xFFFFFFF0, 4, "shorter than its header"},
    {"lx1boot", 40, 0xFFFF, 2, "does not cover"},
    {"lx1boot", 40, 1, 2, "runs out of order"},
    {"lx1boot", 20, 0, 2, "empty entry"},
    {"lx1boot", 20, 2, 2, "character set 1"},
    {"lx1boot", 22, 2, 2, "another type"},
    {"lx1boot", kEntry1 + 4, 1, 2, "another type"},
    {"lx1boot", kEntry1 + 6, 2, 2, "character set 1"},
    {"lx1boot", kEntry1 + 6, 0x3FFF, 2, "out of order"},
    {"lx1boot", kEntry1 + 8, 0, 1, "length of a name"},
    {"lx1boot", kEntry1 + 8, 30, 1, "length of a name"},
    {"lx1boot", kEntry1 + 8, 8, 1, "not terminated"},
    {"lx1boot", kEntry1 + 8, 10, 1, "not terminated"},
    {"lx00001", 25, 'z', 1, "wrong magic"},
    {"lx00001", 8, 0xFFFFFFFF, 4, "size is not"},
    {"lx00001", 8, 92, 4, "size is not"},
    {"lx00001", 12, 1, 4, "variable part"},
    {"lx00001", 108, 0, 2, "do not increase"},
    {"lx00001", 108, 0xFFFF, 2, "out of order"},
    {"lx00001", 296, 0xFFFFFFFF, 4, "beyond the object"},
    {"lx00001", 20, 2, 2, "shorter than the fixed part"},
    {"lx10001", 120, 0xFFFF, 2, "out of order"},
    {"lx20343", 104, 0, 1, "longest character"},
    {"lx20343", 109, 5, 1, "replacement"},
    {"lx20343", 106, 5, 1, "shifted"},
    {"lx20343", 114, 0x13, 1, "width of decode"},
    {"lx20343", 114, 0x32, 1, "width of encode"},
    {"lx20343", 117, 3, 1, "kind of class table"},
    {"lx20343", 120, 0xFFFFFFFF, 4, "too small"},
    {"lx20343", 124, 0xFFFFFFFF, 4, "too small"},
    {"lx20343", 124, 1, 4, "row number out of range"},
    {"lx20343", 128, 0xFFFFFFFF, 4, "too small"},
    {"lx20343", 128, 1, 4, "encode block out of range"},
    {"lx20343", 132, 0xFFFFFFFF, 4, "too large"},
    {"lx20343", 2284, 0xFFFFFFFF, 4, "out of order"},
    {"lx20001", 2476 + 3, 4, 1, "length of UTF-8"},
    {"lx50004", 98, 0xFFFF, 2, "too small"},
    {"lx50004", 100, 0xFFFF, 2, "too small"},
    {"lx50004", 98, 8, 2, "string index too small"},
    {"lx50004", 100, 2, 2, "era table too small"},
    {"lx50004", 102, 9, 2, "too many"},
    {"lx40011", 94, 0xFFFF, 2, "too small"},
    {"lx303e8", 96, 0x20, 4, "sort function"},
};

TEST(NlbCheck, EachFaultIsFound) {
  for (const FaultCase& c : kFaults) {
    const bool boot = std::strcmp(c.file, "lx1boot") == 0;
    Bytes bytes = test::ReadFile(test::TestHome() / "nls/data" / (std::string(c.file) + ".nlb"));
    Put(bytes, c.at, c.value, c.width);
    const char* fault = Check(bytes, boot);
    ASSERT_NE(fault, nullptr) << c.file << " at " << c.at;
    EXPECT_NE(std::strstr(fault, c.fault), nullptr) << c.file << " at " << c.at << ": " << fault;
  }
}

}  // namespace
}  // namespace kestra::nls
