// Counts beyond 2^31. A megabyte of memory appears over and over in a range of addresses, so that
// gigabytes of elements take no room and are their own expectation.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "kestra/decimal_vector.h"
#include "tests/support/wide_reference.h"

namespace kestra::test {
namespace {

using ref::Wide;

constexpr std::size_t kPiece = std::size_t{1} << 20;

class RepeatedMemory {
 public:
  explicit RepeatedMemory(std::size_t size) : size_((size + kPiece - 1) / kPiece * kPiece) {
    const int file = memfd_create("repeated", 0);
    void* all = mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (file < 0 || ftruncate(file, kPiece) != 0 || all == MAP_FAILED) return;
    data = static_cast<std::uint8_t*>(all);
    for (std::size_t at = 0; at < size_; at += kPiece) {
      if (mmap(data + at, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) ==
          MAP_FAILED)
        data = nullptr;
    }
    close(file);
  }
  ~RepeatedMemory() {
    if (data != nullptr) munmap(data, size_);
  }
  RepeatedMemory(const RepeatedMemory&) = delete;
  RepeatedMemory& operator=(const RepeatedMemory&) = delete;

  std::uint8_t* data = nullptr;

 private:
  std::size_t size_;
};

TEST(LdsbLarge, MoreElementsThanASigned32BitCountHolds) {
  constexpr std::size_t kCount = (std::size_t{1} << 31) + 11;
  const RepeatedMemory elements(kCount + 64), nulls(kCount / 8 + 64), sums(kCount + 64),
      sum_nulls(kCount / 8 + 64), matches(kCount / 8 + 64);
  for (const RepeatedMemory* memory : {&elements, &nulls, &sums, &sum_nulls, &matches}) {
    if (memory->data == nullptr) GTEST_SKIP() << "no address space";
  }
  const auto value_of = [](std::size_t i) { return static_cast<std::int8_t>(i % 127) - 63; };
  for (std::size_t i = 0; i < kPiece; ++i)
    elements.data[i] = static_cast<std::uint8_t>(value_of(i));
  for (std::size_t i = 0; i < kPiece; ++i) nulls.data[i] = i % 5 == 0 ? 0x81 : 0;
  // The bitmap repeats after eight times as many elements as they do.
  long long period = 0;
  long long tail = 0;
  long long above = 0;
  long long above_tail = 0;
  for (std::size_t i = 0; i < 8 * kPiece; ++i) {
    if ((nulls.data[i / 8] >> i % 8 & 1) != 0) continue;
    const int value = value_of(i % kPiece);
    period += value;
    above += value > 60;
    if (i < kCount % (8 * kPiece)) tail += value, above_tail += value > 60;
  }
  const auto times = static_cast<long long>(kCount / (8 * kPiece));
  const std::size_t area = (kCount + 63) / 64 * 64;
  ldsbvector x, y;
  ASSERT_EQ(ldsbvinitx(nullptr, &x, KES_DSB_INT8, 0, kCount, elements.data, area, nullptr, nullptr),
            KES_DSB_OK);
  x.nulls = nulls.data;
  ASSERT_EQ(ldsbvset_updminmax(nullptr, &x), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(x.extremes.min.word, 24) == Wide(-63));
  ASSERT_EQ(ldsbvinit(nullptr, &y, sums.data, area), KES_DSB_OK);
  y.nulls = sum_nulls.data;
  ASSERT_EQ(ldsbvop(nullptr, KES_DSB_ADD, &y, &x, &x, nullptr), KES_DSB_OK);
  EXPECT_EQ(y.count, kCount);
  EXPECT_EQ(y.width, 1);
  ldsbvector total;
  ASSERT_EQ(ldsbvinit(nullptr, &total, nullptr, 0), KES_DSB_OK);
  ASSERT_EQ(ldsbvsum(nullptr, &total, &y), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(total.extremes.min.word, 24) == Wide(2 * (period * times + tail)));
  ldsbvector limit;
  const std::int8_t sixty = 60;
  ASSERT_EQ(ldsbvinit_sint(nullptr, &limit, KES_DSB_INT8, 0, &sixty, 1), KES_DSB_OK);
  std::size_t matched = 0;
  ASSERT_EQ(ldsbvcompare(nullptr, KES_DSB_ABOVE, &x, &limit, matches.data, &matched), KES_DSB_OK);
  EXPECT_EQ(static_cast<long long>(matched), above * times + above_tail);
  std::int64_t last = 0;
  ASSERT_EQ(ldsbvget_ints(nullptr, &y, kCount - 1, 1, &last, 8), KES_DSB_OK);
  EXPECT_EQ(last, 2 * value_of((kCount - 1) % kPiece));
}

// Halves of words are summed apart: 2^31 of them with every bit set fill 63 bits.
TEST(LdsbLarge, SumsOfFullWordsCarryOn) {
  constexpr std::size_t kCount = (std::size_t{1} << 31) + kPiece / 16;
  const RepeatedMemory elements(16 * kCount);
  if (elements.data == nullptr) GTEST_SKIP() << "no address space";
  const std::uint64_t value[2] = {UINT64_MAX, 0};
  for (std::size_t i = 0; i < kPiece; i += 16) std::memcpy(elements.data + i, value, 16);
  ldsbvector x, total;
  ASSERT_EQ(
      ldsbvinitx(nullptr, &x, KES_DSB_INT128, 0, kCount, elements.data, 16 * kCount, value, value),
      KES_DSB_OK);
  ASSERT_EQ(ldsbvinit(nullptr, &total, nullptr, 0), KES_DSB_OK);
  ASSERT_EQ(ldsbvsum(nullptr, &total, &x), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(total.extremes.min.word, 24) ==
              Wide(static_cast<std::int64_t>(kCount)) * (Wide::Power(2, 64) - Wide(1)));
}

}  // namespace
}  // namespace kestra::test
