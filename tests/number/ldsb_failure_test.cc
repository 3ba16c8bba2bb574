// Every status of the family provoked, allocation refused at every call, and nothing leaked or
// changed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "kestra/number.h"
#include "tests/support/column_vector.h"

namespace kestra::test {
namespace {

using ref::Column;
using ref::Wide;

Column MakeColumn(std::size_t count, std::size_t width, std::int64_t scale, bool nulls) {
  Column column;
  for (std::size_t i = 0; i < count; ++i) {
    column.values.emplace_back(Wide(static_cast<std::int64_t>(i % 100)));
    if (nulls && i % 3 == 0) column.values.back().reset();
  }
  column.width = width;
  column.scale = scale;
  return column;
}

// An allocator that fails at call n and from then on, and knows what is not freed.
struct Allocator {
  long calls_left = 1 << 30;
  std::map<void*, std::size_t> live;

  static void* Allocate(void* handle, std::size_t size, const char* tag) {
    EXPECT_STREQ(tag, "ldsb temp");
    auto* self = static_cast<Allocator*>(handle);
    if (self->calls_left-- <= 0) return nullptr;
    void* memory = std::malloc(size);
    self->live[memory] = size;
    return memory;
  }
  static void Release(void* handle, void* memory, const char*) {
    auto* self = static_cast<Allocator*>(handle);
    EXPECT_EQ(self->live.erase(memory), 1u);
    std::free(memory);
  }
};

TEST(LdsbFailure, AllocationRefusedAtEveryCall) {
  const Column left = MakeColumn(1000, 2, 0, true);
  const Column right = MakeColumn(1000, 4, -1, true);
  const TestVector x(left), y(right);
  const std::int64_t ints[] = {1, 2, 3};
  const std::uint8_t nulls[] = {0b010};
  const std::uint8_t* numbers[] = {lnxqpos1, nullptr, lnxqtwo};
  enum { kOperate, kInPlace, kResize, kRescale, kCompare, kInts, kNumbers, kAppend, kKinds };
  for (int kind = 0; kind < kKinds; ++kind) {
    SCOPED_TRACE(kind);
    bool finished = false;
    for (long allowed = 0; !finished; ++allowed) {
      ASSERT_LT(allowed, 10);
      Allocator allocator;
      allocator.calls_left = allowed;
      ldsbctx ctx;
      ASSERT_EQ(ldsbinit(&ctx, Allocator::Allocate, Allocator::Release, &allocator), KES_DSB_OK);
      ldsbvector result;
      ASSERT_EQ(ldsbvinit(&ctx, &result, nullptr, 0), KES_DSB_OK);
      std::uint8_t matches[125];
      alignas(64) std::uint8_t overlapped[64] = {1, 2, 3};
      ldsbvector bytes;
      ASSERT_EQ(ldsbvinitx(&ctx, &bytes, KES_DSB_INT8, 0, 3, overlapped, 64, nullptr, nullptr),
                KES_DSB_OK);
      int status = KES_DSB_OK;
      switch (kind) {
        case kOperate:
          status = ldsbvop(&ctx, KES_DSB_ADD, &result, &x.vector, &y.vector, nullptr);
          break;
        case kInPlace:
          status = ldsbvop(&ctx, KES_DSB_MULTIPLY, &bytes, &bytes, &bytes, nullptr);
          break;
        case kResize:
          status = ldsbvresize(&ctx, &result, &x.vector, KES_DSB_INT64);
          break;
        case kRescale:
          status = ldsbvrescale(&ctx, &result, &x.vector, -3);
          break;
        case kCompare:
          status = ldsbvcompare(&ctx, 1, &x.vector, &y.vector, matches, nullptr);
          break;
        case kInts:
          status = ldsbvset_ints(&ctx, &result, 7, 0, 0, 3, ints, 8, nulls, 0);
          break;
        case kNumbers:
          status =
              ldsbvset_ons(&ctx, &result, 7, KES_DSB_NO_SCALE, 0, 3, numbers, nullptr, nulls, 0);
          break;
        default:
          status = ldsbvset_ints(&ctx, &bytes, 7, 0, 0, 3, ints, 8, nulls, KES_DSB_APPEND);
          break;
      }
      finished = status == KES_DSB_OK;
      EXPECT_TRUE(finished || status == KES_DSB_NO_MEMORY) << status;
      if (!finished) {
        EXPECT_TRUE(allocator.live.empty());
        EXPECT_EQ(overlapped[1], 2);
      }
      EXPECT_EQ(finished, allocator.calls_left >= 0);
      EXPECT_EQ(ldsbvfree(&ctx, &result), KES_DSB_OK);
      if (finished) {
        EXPECT_EQ(ldsbvfree(&ctx, &bytes), KES_DSB_OK);
      }
      EXPECT_TRUE(allocator.live.empty());
    }
  }
  EXPECT_TRUE(Same(x.Read(), left) && Same(y.Read(), right));
}

TEST(LdsbFailure, AMissingHalfOfThePairSelectsTheDefaults) {
  ldsbctx ctx;
  Allocator allocator;
  for (int half = 0; half < 3; ++half) {
    ASSERT_EQ(ldsbinit(&ctx, half == 1 ? Allocator::Allocate : nullptr,
                       half == 2 ? Allocator::Release : nullptr, &allocator),
              KES_DSB_OK);
    void* memory = ctx.allocate(ctx.handle, 10, "test");
    ASSERT_NE(memory, nullptr);
    ctx.release(ctx.handle, memory, "test");
    EXPECT_EQ(ctx.element_alignment, 16u);
    EXPECT_EQ(ctx.buffer_alignment, 64u);
    EXPECT_EQ(ctx.prec2width, ldsbcprec2width);
  }
  EXPECT_TRUE(allocator.live.empty());
}

TEST(LdsbFailure, TagsAreCheckedFirst) {
  const TestVector good(MakeColumn(3, 4, 0, false));
  ldsbvector bad = good.vector;
  ldsbvector result;
  std::uint8_t byte = 0;
  std::size_t stored = 0;
  std::uint8_t matches[1];
  const std::uint8_t* number = nullptr;
  std::uint16_t length = 0;
  for (const int tag : {0, 1, 165, 168, 255}) {
    SCOPED_TRACE(tag);
    bad.tag = static_cast<std::uint8_t>(tag);
    ASSERT_EQ(ldsbvinit(nullptr, &result, nullptr, 0), KES_DSB_OK);
    EXPECT_EQ(ldsbvop(nullptr, 3, &result, &bad, &good.vector, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvop(nullptr, 0, &result, &good.vector, &bad, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvop(nullptr, 0, &bad, &good.vector, &good.vector, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvsum(nullptr, &result, &bad), KES_DSB_TAG);
    EXPECT_EQ(ldsbvsum(nullptr, &bad, &good.vector), KES_DSB_TAG);
    EXPECT_EQ(ldsbvrescale(nullptr, &result, &bad, 0), KES_DSB_TAG);
    EXPECT_EQ(ldsbvrescale(nullptr, &bad, &good.vector, 0), KES_DSB_TAG);
    EXPECT_EQ(ldsbvresize(nullptr, &bad, &good.vector, 5), KES_DSB_TAG);
    EXPECT_EQ(ldsbvresize(nullptr, &result, &bad, 5), KES_DSB_TAG);
    EXPECT_EQ(ldsbvcompare(nullptr, 1, &bad, &good.vector, matches, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvcompare(nullptr, 1, &good.vector, &bad, matches, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvcompare_minmax_sb8(nullptr, &bad, 0, 0), KES_DSB_TAG);
    EXPECT_EQ(ldsbvset_updminmax(nullptr, &bad), KES_DSB_TAG);
    EXPECT_EQ(ldsbvupdate_minmax(nullptr, &bad, 0, 1), KES_DSB_TAG);
    EXPECT_EQ(ldsbvset_ints(nullptr, &bad, 7, 0, 0, 1, &byte, 1, nullptr, 0), KES_DSB_TAG);
    EXPECT_EQ(ldsbvset_pints(nullptr, &bad, 7, 0, 0, 1, &byte, 1, nullptr, KES_DSB_APPEND),
              KES_DSB_TAG);
    EXPECT_EQ(ldsbvset_ons(nullptr, &bad, 7, 0, 0, 1, &number, &length, nullptr, 0), KES_DSB_TAG);
    EXPECT_EQ(ldsbvget_ints(nullptr, &bad, 0, 1, &byte, 1), KES_DSB_TAG);
    EXPECT_EQ(ldsbvget_pints(nullptr, &bad, 0, 1, &byte, 1, &stored), KES_DSB_TAG);
    EXPECT_EQ(ldsbvget_ons(nullptr, &bad, 0, 1, &byte, 22, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvget_pons(nullptr, &bad, 0, 1, &number, &length, &byte, 1, nullptr), KES_DSB_TAG);
    EXPECT_EQ(ldsbvfree(nullptr, &bad), KES_DSB_TAG);
  }
}

TEST(LdsbFailure, OperationsRefuse) {
  const TestVector x(MakeColumn(3, 4, 0, false)), y(MakeColumn(4, 4, 0, false)),
      far(MakeColumn(3, 4, 29, false)), low(MakeColumn(3, 4, -60, false));
  Column minimum = MakeColumn(3, 24, 0, false);
  minimum.values[1] = -Wide::Power(2, 191);
  Column digits = MakeColumn(3, 24, 0, false);
  digits.values[1] = Wide::Power(2, 132) - Wide(1);
  const TestVector least(minimum), most(digits);
  TestVector result, empty;
  const auto run = [&](std::uint32_t operation, const TestVector& left, const TestVector& right) {
    return ldsbvop(nullptr, operation, &result.vector, &left.vector, &right.vector, nullptr);
  };
  EXPECT_EQ(run(3, x, x), KES_DSB_OPERATION);
  EXPECT_EQ(run(KES_DSB_GATHER, x, x), KES_DSB_OPERATION);
  EXPECT_EQ(run(0, x, y), KES_DSB_BOUNDS);
  EXPECT_EQ(run(0, x, empty), KES_DSB_PRECISION);
  EXPECT_EQ(run(0, x, far), KES_DSB_RANGE);      // scales 29 apart
  EXPECT_EQ(run(1, x, least), KES_DSB_RANGE);    // the 192-bit minimum
  EXPECT_EQ(run(0, most, x), KES_DSB_RANGE);     // 133 bits need 21 digits
  EXPECT_EQ(run(2, most, most), KES_DSB_RANGE);  // 264 bits
  EXPECT_EQ(run(2, low, low), KES_DSB_RANGE);    // scale -120
  std::uint8_t matches[1];
  EXPECT_EQ(ldsbvcompare(nullptr, 8, &x.vector, &x.vector, matches, nullptr), KES_DSB_OPERATION);
  EXPECT_EQ(ldsbvcompare(nullptr, 1, &x.vector, &y.vector, matches, nullptr), KES_DSB_BOUNDS);
  EXPECT_EQ(ldsbvcompare(nullptr, 1, &x.vector, &far.vector, matches, nullptr), KES_DSB_RANGE);
  ldsbvector unknown = least.vector;
  unknown.extremes.state = KES_DSB_EXTREMES_UNKNOWN;
  EXPECT_EQ(ldsbvsum(nullptr, &result.vector, &unknown), KES_DSB_RANGE);
  alignas(64) std::uint8_t buffer[64];
  ldsbvector small;
  ASSERT_EQ(ldsbvinit(nullptr, &small, buffer, 63), KES_DSB_OK);
  EXPECT_EQ(ldsbvop(nullptr, 0, &small, &x.vector, &x.vector, nullptr), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvresize(nullptr, &small, &x.vector, 4), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvresize(nullptr, &small, &x.vector, 0), KES_DSB_PRECISION);
  EXPECT_EQ(ldsbvresize(nullptr, &small, &least.vector, 5), KES_DSB_RANGE);
}

TEST(LdsbFailure, DescriptorsRefuse) {
  alignas(64) std::uint8_t buffer[256];
  ldsbvector v;
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 0, 0, 1, buffer, 64, nullptr, nullptr), KES_DSB_PRECISION);
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 7, 0, 1, buffer, 64, nullptr, nullptr), KES_DSB_PRECISION);
  for (std::size_t offset = 1; offset < 16; ++offset) {
    EXPECT_EQ(ldsbvinitx(nullptr, &v, 1, 0, 1, buffer + offset, 64, nullptr, nullptr),
              KES_DSB_ALIGNMENT);
  }
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 1, 0, 1, buffer, 63, nullptr, nullptr), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 4, 0, 9, buffer, 127, nullptr, nullptr), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 4, 0, 9, buffer, 128, nullptr, nullptr), KES_DSB_OK);
  for (const std::size_t count : {std::size_t{1} << 31, SIZE_MAX / 24, SIZE_MAX}) {
    EXPECT_EQ(ldsbvinitx(nullptr, &v, 6, 0, count, buffer, 256, nullptr, nullptr), KES_DSB_BUFFER);
  }
  EXPECT_EQ(ldsbvinitx(nullptr, &v, 6, 0, 0, nullptr, 0, nullptr, nullptr), KES_DSB_OK);
  TestVector sum;
  EXPECT_EQ(ldsbvsum(nullptr, &sum.vector, &v), KES_DSB_OK);  // of nothing
  EXPECT_TRUE(*sum.Read().values[0] == Wide(0));
  EXPECT_EQ(ldsbvinit(nullptr, &v, buffer + 1, 3), KES_DSB_BUFFER);
  const std::int8_t value = 5;
  EXPECT_EQ(ldsbvinit_sint(nullptr, &v, 1, 0, &value, 3), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbvinit_sint(nullptr, &v, 0, 0, &value, 1), KES_DSB_PRECISION);
  const std::int16_t wide = 128;
  EXPECT_EQ(ldsbvinit_sint(nullptr, &v, 1, 0, &wide, 2), KES_DSB_RANGE);
  EXPECT_EQ(ldsbvinit_sint(nullptr, &v, 7, 0, &wide, 2), KES_DSB_OK);
  EXPECT_EQ(v.precision, 2);

  void* area = buffer + 5;
  std::size_t left = 200;
  EXPECT_EQ(ldsbvbinit(nullptr, &v, 7, 0, 3, &area, &left), KES_DSB_PRECISION);
  EXPECT_EQ(ldsbvbinit(nullptr, &v, 4, 0, 24, &area, &left), KES_DSB_BUFFER);
  EXPECT_EQ(area, buffer + 5);
  EXPECT_EQ(ldsbvbinit(nullptr, &v, 4, 0, 9, &area, &left), KES_DSB_OK);
  EXPECT_EQ(v.data, buffer + 16);
  EXPECT_EQ(area, buffer + 144);
  EXPECT_EQ(left, 61u);
  EXPECT_EQ(ldsbvbinit(nullptr, &v, 1, 0, 1, &area, &left), KES_DSB_BUFFER);
}

TEST(LdsbFailure, LoadsAndReadsRefuse) {
  TestVector vector(MakeColumn(5, 4, 0, true));
  std::uint8_t slots[5 * 22];
  std::size_t stored = 0;
  const std::uint8_t* numbers[5] = {};
  std::uint16_t lengths[5] = {};
  EXPECT_EQ(ldsbvget_ons(nullptr, &vector.vector, 0, 5, slots, 21, nullptr), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvget_ons(nullptr, &vector.vector, 1, 5, slots, 22, nullptr), KES_DSB_BOUNDS);
  EXPECT_EQ(ldsbvget_ons(nullptr, &vector.vector, SIZE_MAX, 2, slots, 22, nullptr), KES_DSB_BOUNDS);
  EXPECT_EQ(
      ldsbvget_pons(nullptr, &vector.vector, 0, 5, numbers, lengths, slots, 3 * 22 - 1, nullptr),
      KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvget_pons(nullptr, &vector.vector, 0, 5, numbers, lengths, slots, 3 * 22, nullptr),
            KES_DSB_OK);
  EXPECT_EQ(ldsbvget_ints(nullptr, &vector.vector, 0, 5, slots, 5), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbvget_pints(nullptr, &vector.vector, 0, 5, slots, 0, &stored), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbvget_pints(nullptr, &vector.vector, 4, 2, slots, 4, &stored), KES_DSB_BOUNDS);
  EXPECT_EQ(ldsbvset_ints(nullptr, &vector.vector, 7, 0, 0, 5, slots, 7, nullptr, 0),
            KES_DSB_WIDTH);
  EXPECT_EQ(ldsbvset_ints(nullptr, &vector.vector, 9, 0, 0, 5, slots, 1, nullptr, 0),
            KES_DSB_PRECISION);
  EXPECT_EQ(ldsbvupdate_minmax(nullptr, &vector.vector, 3, 3), KES_DSB_BOUNDS);
  alignas(64) std::uint8_t buffer[64];
  std::int8_t ints[65] = {};
  ldsbvector small;
  ASSERT_EQ(ldsbvinit(nullptr, &small, buffer, 64), KES_DSB_OK);
  EXPECT_EQ(ldsbvset_ints(nullptr, &small, 7, 0, 0, 65, ints, 1, nullptr, 0), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbvset_ints(nullptr, &small, 7, 0, 0, 64, ints, 1, nullptr, 0), KES_DSB_OK);
  std::int32_t scale = KES_DSB_NO_SCALE;
  std::uint32_t digits = 0;
  const std::uint8_t infinity[] = {0};
  const std::uint8_t* number = infinity;
  const std::uint16_t length = 1;
  EXPECT_EQ(ldsbvscan_ons(nullptr, 1, &number, &length, nullptr, &scale, &digits), KES_DSB_RANGE);
  EXPECT_EQ(scale, KES_DSB_NO_SCALE);
}

TEST(LdsbExtremes, AreScannedAndUpdated) {
  TestVector vector(MakeColumn(100, 2, 0, true), false);
  ldsbvector& v = vector.vector;
  EXPECT_EQ(v.extremes.state, KES_DSB_EXTREMES_UNKNOWN);
  EXPECT_EQ(ldsbvupdate_minmax(nullptr, &v, 0, 100), KES_DSB_OK);
  EXPECT_EQ(v.extremes.state, KES_DSB_EXTREMES_UNKNOWN);
  EXPECT_EQ(ldsbvset_updminmax(nullptr, &v), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(v.extremes.min.word, 24) == Wide(1));
  EXPECT_TRUE(Wide::FromBytes(v.extremes.max.word, 24) == Wide(98));
  const std::int16_t large = 1000;
  std::memcpy(v.data + 2 * 50, &large, 2);
  std::memcpy(v.data + 2 * 51, &large, 2);  // element 51 is null
  EXPECT_EQ(ldsbvupdate_minmax(nullptr, &v, 51, 5), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(v.extremes.max.word, 24) == Wide(98));
  EXPECT_EQ(ldsbvupdate_minmax(nullptr, &v, 50, 1), KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(v.extremes.max.word, 24) == Wide(1000));
}

}  // namespace
}  // namespace kestra::test
