// Every member, copy, scan and conversion at every processor level against 256-bit arithmetic: all
// widths, lengths around the groups of 64, odd addresses, nulls of every kind. Arrays have no byte
// to spare, so that the address sanitizer sees a step too far.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/decimal_vector.h"
#include "tests/support/column_random.h"
#include "tests/support/cpu_level_test.h"

namespace kestra::test {
namespace {

using os::CpuLevel;
using ref::Wide;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kCounts[] = {0, 1, 9, 63, 64, 130};

using LdsbKernels = CpuLevelTest;
INSTANTIATE_TEST_SUITE_P(Levels, LdsbKernels,
                         testing::Values(CpuLevel::kBaseline, CpuLevel::kAvx2, CpuLevel::kAvx512),
                         LevelName);

Wide ElementAt(const Bytes& bytes, std::size_t i, std::size_t width) {
  return Wide::FromBytes(bytes.data() + i * width, width);
}

// The result modulo the output width.
Wide Apply(std::uint32_t operation, const Wide& x, const Wide& y, std::size_t width) {
  const Wide exact = operation % 3 == 0 ? x + y : operation % 3 == 1 ? x - y : x * y;
  std::uint8_t bytes[24];
  exact.ToBytes(bytes, width);
  return Wide::FromBytes(bytes, width);
}

struct Extremes {
  bool any = false;
  Wide min;
  Wide max;
  void Add(const Wide& x) {
    if (!any || x < min) min = x;
    if (!any || max < x) max = x;
    any = true;
  }
  void Expect(const ldsbminmax& found) const {
    ASSERT_EQ(found.state, any ? KES_DSB_EXTREMES_KNOWN : KES_DSB_EXTREMES_NONE);
    if (!any) return;
    ASSERT_TRUE(Wide::FromBytes(found.min.word, 24) == min);
    ASSERT_TRUE(Wide::FromBytes(found.max.word, 24) == max);
  }
};

// One member at one precision; the portable one of the table too.
void CheckMember(ColumnSource& source, std::uint32_t operation, std::uint32_t in, std::uint32_t out,
                 std::size_t count, NullKind kind) {
  SCOPED_TRACE(testing::Message() << "operation " << operation << " " << in << "->" << out
                                  << " count " << count << " nulls " << static_cast<int>(kind));
  const std::size_t width = kElementWidths[in];
  const std::size_t out_width = kElementWidths[out];
  const bool sum = operation == KES_DSB_SUM;
  const bool scalar = operation >= KES_DSB_ADD_SCALAR;
  const bool with_minmax = sum || count % 2 == 0;
  const Bytes left = source.Elements(scalar ? 1 : count, width);
  const Bytes right = source.Elements(count, width);
  const Bytes nulls = source.Nulls(count, kind);
  Bytes wanted((sum ? 1 : count) * out_width, sum ? 0 : 0xA5);
  Extremes extremes;
  for (std::size_t i = 0; i < count; ++i) {
    if (IsNull(nulls, i)) continue;
    const Wide y = ElementAt(right, i, width);
    const std::size_t place = sum ? 0 : i;
    const Wide x = sum ? ElementAt(wanted, 0, out_width) : ElementAt(left, scalar ? 0 : i, width);
    const Wide result = Apply(operation, x, y, out_width);
    result.ToBytes(wanted.data() + place * out_width, out_width);
    if (!sum) extremes.Add(result);
  }
  if (sum) extremes.Add(ElementAt(wanted, 0, out_width));
  for (const auto find : {ldsbget_operation, ldsbget_generic_operation}) {
    ldsbmember member = nullptr;
    ASSERT_EQ(find(nullptr, operation, in, in, out, &member), KES_DSB_OK);
    Bytes output(wanted.size(), 0xA5);
    ldsbminmax minmax = {};
    const ldsboperation record = {OrNone(nulls), out, 0, with_minmax ? &minmax : nullptr, 0};
    ASSERT_EQ(member(count, left.data(), right.data(), output.data(), &record), KES_DSB_OK);
    ASSERT_EQ(output, wanted);
    if (with_minmax) extremes.Expect(minmax);
  }
}

TEST_P(LdsbKernels, MembersAgreeWithTheReference) {
  ColumnSource source(1);
  for (std::uint32_t operation = 0; operation <= KES_DSB_SUM; ++operation) {
    for (std::uint32_t in = 1; in <= 6; ++in) {
      for (std::uint32_t out = in; out <= in + 1 && out <= 6; ++out) {
        for (const std::size_t count : kCounts) {
          for (const NullKind kind : kNullKinds) {
            CheckMember(source, operation, in, out, count, kind);
            if (HasFatalFailure()) return;
          }
        }
      }
    }
  }
}

// 64-bit elements that are alike in their upper halves.
TEST_P(LdsbKernels, ExtremesDecidedByTheLowerHalf) {
  for (const std::int64_t middle : {INT64_C(0), INT64_C(1) << 31, INT64_C(1) << 32,
                                    -INT64_C(1) << 31, INT64_MAX - 40, INT64_MIN + 40}) {
    std::int64_t data[71];
    for (int i = 0; i < 71; ++i) data[i] = middle + (i * 29 % 71 - 35);
    ldsbminmax minmax = {};
    ASSERT_EQ(ldsbminmaxdsbs(8, 71, data, nullptr, &minmax), KES_DSB_OK);
    EXPECT_TRUE(Wide::FromBytes(minmax.min.word, 24) == Wide(middle - 35)) << middle;
    EXPECT_TRUE(Wide::FromBytes(minmax.max.word, 24) == Wide(middle + 35)) << middle;
  }
}

TEST(LdsbMembers, OtherOutputPrecisionsAreRefused) {
  std::uint8_t bytes[24] = {};
  for (std::uint32_t operation = 0; operation <= 6; ++operation) {
    for (std::uint32_t in = 1; in <= 6; ++in) {
      ldsbmember member = nullptr;
      ASSERT_EQ(ldsbget_operation(nullptr, operation, in, in, in, &member), KES_DSB_OK);
      for (std::uint32_t out = 0; out <= 8; ++out) {
        const ldsboperation record = {nullptr, out, 0, nullptr, 0};
        const bool allowed = out <= 6 && (out == in || out == in + 1);
        EXPECT_EQ(member(0, bytes, bytes, bytes, &record),
                  allowed ? KES_DSB_OK : KES_DSB_NO_MEMBER);
      }
    }
  }
}

TEST_P(LdsbKernels, ScansAndCopies) {
  ColumnSource source(5);
  for (std::uint32_t precision = 1; precision <= 6; ++precision) {
    const std::size_t width = kElementWidths[precision];
    for (const std::size_t count : kCounts) {
      for (const NullKind kind : kNullKinds) {
        SCOPED_TRACE(testing::Message() << "precision " << precision << " count " << count);
        const Bytes data = source.Elements(count, width);
        const Bytes nulls = source.Nulls(count, kind);
        ldsbminmax minmax = {};
        ldsbminmax copied = {};
        Bytes output(count * width, 0xA5);
        ASSERT_EQ(ldsbminmaxdsbs(width, count, data.data(), OrNone(nulls), &minmax), KES_DSB_OK);
        ASSERT_EQ(ldsbcopydsbs(width, count, data.data(), output.data(), OrNone(nulls), &copied),
                  KES_DSB_OK);
        Extremes extremes;
        for (std::size_t i = 0; i < count; ++i) {
          const Wide x = ElementAt(data, i, width);
          if (!IsNull(nulls, i)) extremes.Add(x);
          Bytes wanted(width, 0xA5);
          if (!IsNull(nulls, i)) x.ToBytes(wanted.data(), width);
          ASSERT_EQ(std::memcmp(output.data() + i * width, wanted.data(), width), 0);
        }
        extremes.Expect(minmax);
        extremes.Expect(copied);
      }
    }
  }
}

// Element numbers reach elements in any order, more than once, and only where no null is.
TEST(LdsbIndexed, GatherAndScatter) {
  ColumnSource source(7);
  constexpr std::size_t kLimit = 50;
  for (std::uint32_t precision = 1; precision <= 6; ++precision) {
    const std::size_t width = kElementWidths[precision];
    for (const NullKind kind : kNullKinds) {
      const std::size_t count = 100;
      const Bytes nulls = source.Nulls(count, kind);
      std::vector<std::uint32_t> index(count);
      for (std::size_t i = 0; i < count; ++i) {
        index[i] = IsNull(nulls, i) ? 0xFFFFFFFF : static_cast<std::uint32_t>(source.Below(kLimit));
      }
      const Bytes few = source.Elements(kLimit, width);
      const Bytes many = source.Elements(count, width);
      Bytes gathered(count * width, 0xA5), wanted_gathered = gathered;
      Bytes scattered(kLimit * width, 0xA5), wanted_scattered = scattered;
      Extremes extremes;
      for (std::size_t i = 0; i < count; ++i) {
        if (IsNull(nulls, i)) continue;
        std::memcpy(wanted_gathered.data() + i * width, few.data() + index[i] * width, width);
        std::memcpy(wanted_scattered.data() + index[i] * width, many.data() + i * width, width);
        extremes.Add(ElementAt(few, index[i], width));
      }
      ldsbminmax minmax[2] = {};
      ASSERT_EQ(ldsbcopydsbs_gather(width, count, index.data(), few.data(), kLimit, gathered.data(),
                                    OrNone(nulls), &minmax[0]),
                KES_DSB_OK);
      ASSERT_EQ(ldsbminmaxdsbs_gather(width, count, index.data(), few.data(), kLimit, OrNone(nulls),
                                      &minmax[1]),
                KES_DSB_OK);
      ASSERT_EQ(ldsbcopydsbs_scatter(width, count, index.data(), many.data(), scattered.data(),
                                     kLimit, OrNone(nulls), nullptr),
                KES_DSB_OK);
      EXPECT_EQ(gathered, wanted_gathered);
      EXPECT_EQ(scattered, wanted_scattered);
      extremes.Expect(minmax[0]);
      extremes.Expect(minmax[1]);
      if (kind == NullKind::kAll) continue;
      // One number past the end: nothing is touched.
      std::size_t alive = 0;
      while (IsNull(nulls, alive)) ++alive;
      index[alive] = kLimit;
      Bytes untouched(count * width, 0x5A);
      EXPECT_EQ(ldsbcopydsbs_gather(width, count, index.data(), few.data(), kLimit,
                                    untouched.data(), OrNone(nulls), nullptr),
                KES_DSB_BOUNDS);
      EXPECT_EQ(ldsbcopydsbs_scatter(width, count, index.data(), many.data(), untouched.data(),
                                     kLimit, OrNone(nulls), nullptr),
                KES_DSB_BOUNDS);
      EXPECT_EQ(ldsbminmaxdsbs_gather(width, count, index.data(), few.data(), kLimit, OrNone(nulls),
                                      &minmax[1]),
                KES_DSB_BOUNDS);
      EXPECT_EQ(untouched, Bytes(count * width, 0x5A));
    }
  }
}

TEST(LdsbIndexed, MembersOfTheTableAreTheSameFunctions) {
  const std::int32_t data[] = {5, -7, 9};
  const std::uint32_t index[] = {2, 0};
  std::int32_t output[3] = {};
  ldsbminmax minmax = {};
  ldsbmember member = nullptr;
  ldsboperation record = {nullptr, KES_DSB_INT32, 0, &minmax, 3};
  ASSERT_EQ(ldsbget_operation(nullptr, KES_DSB_GATHER, 0, 0, 0, &member), KES_DSB_OK);
  ASSERT_EQ(member(2, index, data, output, &record), KES_DSB_OK);
  EXPECT_EQ(output[0], 9);
  EXPECT_EQ(output[1], 5);
  ASSERT_EQ(ldsbget_operation(nullptr, KES_DSB_SCATTER, 0, 0, 0, &member), KES_DSB_OK);
  ASSERT_EQ(member(2, index, data, output, &record), KES_DSB_OK);
  EXPECT_EQ(output[2], 5);
  EXPECT_EQ(output[0], -7);
  ASSERT_EQ(ldsbget_operation(nullptr, KES_DSB_MINMAX, 0, 0, 0, &member), KES_DSB_OK);
  minmax = {};
  ASSERT_EQ(member(3, nullptr, data, nullptr, &record), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(minmax.min.word, 24) == Wide(-7));
  ASSERT_EQ(ldsbget_operation(nullptr, KES_DSB_COPY, 0, 0, 0, &member), KES_DSB_OK);
  ASSERT_EQ(member(3, nullptr, data, output, &record), KES_DSB_OK);
  EXPECT_EQ(std::memcmp(data, output, sizeof data), 0);
  record.precision = 7;
  for (std::uint32_t operation = KES_DSB_MINMAX; operation <= KES_DSB_GATHER; ++operation) {
    ASSERT_EQ(ldsbget_operation(nullptr, operation, 0, 0, 0, &member), KES_DSB_OK);
    EXPECT_EQ(member(1, index, data, output, &record), KES_DSB_PRECISION);
  }
}

TEST(LdsbIndexed, WidthsAreChecked) {
  std::uint8_t bytes[32] = {};
  const std::uint32_t index[] = {0};
  ldsbminmax minmax = {};
  for (const std::size_t width : {std::size_t{0}, std::size_t{3}, std::size_t{25}, SIZE_MAX}) {
    EXPECT_EQ(ldsbminmaxdsbs(width, 1, bytes, nullptr, &minmax), KES_DSB_WIDTH);
    EXPECT_EQ(ldsbminmaxdsbs_gather(width, 1, index, bytes, 1, nullptr, &minmax), KES_DSB_WIDTH);
    EXPECT_EQ(ldsbcopydsbs(width, 1, bytes, bytes, nullptr, nullptr), KES_DSB_WIDTH);
    EXPECT_EQ(ldsbcopydsbs_gather(width, 1, index, bytes, 1, bytes, nullptr, nullptr),
              KES_DSB_WIDTH);
    EXPECT_EQ(ldsbcopydsbs_scatter(width, 1, index, bytes, bytes, 1, nullptr, nullptr),
              KES_DSB_WIDTH);
  }
}

}  // namespace
}  // namespace kestra::test
