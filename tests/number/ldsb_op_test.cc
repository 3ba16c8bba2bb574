// ldsbvop against the rules told a second time over 256-bit integers, and what they do not say:
// results in the way of operands, named precisions, unknown extremes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/column_vector.h"
#include "tests/support/cpu_level_test.h"

namespace kestra::test {
namespace {

using ref::Column;
using ref::Operate;
using ref::Outcome;
using ref::Wide;

using LdsbOp = CpuLevelTest;
INSTANTIATE_TEST_SUITE_P(Levels, LdsbOp,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx2,
                                         os::CpuLevel::kAvx512),
                         LevelName);

Column MakeColumn(std::vector<std::int64_t> values, std::size_t width, std::int64_t scale) {
  Column column;
  for (const std::int64_t value : values) column.values.emplace_back(Wide(value));
  column.width = width;
  column.scale = scale;
  return column;
}

Column RandomColumn(ColumnSource& source, std::size_t count, std::int64_t scale) {
  Column column;
  const std::size_t precision = 1 + source.Below(6);
  column.width = kElementWidths[precision];
  column.scale = scale;
  column.scalar = source.Below(6) == 0;
  // Near each boundary of width choice more often than elsewhere.
  int bits = 1 + static_cast<int>(source.Below(8 * column.width - 1));
  if (source.Below(2) == 0) {
    constexpr int kBoundaries[] = {6,  7,  13,  14,  15,  30,  31,  61,  62, 63,
                                   65, 66, 124, 125, 126, 127, 131, 132, 133};
    bits = kBoundaries[source.Below(std::size(kBoundaries))];
  }
  if (bits > 8 * static_cast<int>(column.width) - 1) bits = 8 * static_cast<int>(column.width) - 1;
  const std::uint64_t null_kind = column.scalar ? 0 : source.Below(4);
  for (std::size_t i = 0; i < (column.scalar ? 1 : count); ++i) {
    const bool null = null_kind == 1 || (null_kind == 2 && source.Below(2) == 0);
    column.values.emplace_back();
    if (!null) column.values.back() = source.Value(bits);
    if (!null && source.Below(200) == 0)
      column.values.back() = -Wide::Power(2, 8 * static_cast<int>(column.width) - 1);
  }
  return column;
}

void CheckExtremes(const ldsbvector& vector, const Column& column) {
  std::optional<Wide> min, max;
  for (const auto& value : column.values) {
    if (value && (!min || *value < *min)) min = value;
    if (value && (!max || *max < *value)) max = value;
  }
  ASSERT_EQ(vector.extremes.state, min ? KES_DSB_EXTREMES_KNOWN : KES_DSB_EXTREMES_NONE);
  if (!min) return;
  ASSERT_TRUE(Wide::FromBytes(vector.extremes.min.word, 24) == *min);
  ASSERT_TRUE(Wide::FromBytes(vector.extremes.max.word, 24) == *max);
}

struct Tally {
  long done[3] = {};
  long refused = 0;
};

// Status, width, scale, elements, nulls and extremes of a result, and operands left alone.
void CheckPair(int operation, const Column& left, const Column& right, Tally& tally) {
  const Outcome wanted = Operate(operation, left, right);
  const TestVector x(left);
  const TestVector y(right);
  TestVector result;
  SCOPED_TRACE(testing::Message() << "operation " << operation << " widths " << left.width << " "
                                  << right.width << " scales " << left.scale << " " << right.scale);
  ASSERT_EQ(ldsbvop(nullptr, static_cast<std::uint32_t>(operation), &result.vector, &x.vector,
                    &y.vector, nullptr),
            wanted.status);
  ASSERT_TRUE(Same(x.Read(), left) && Same(y.Read(), right));
  if (wanted.status != 0) {
    ++tally.refused;
    return;
  }
  ++tally.done[operation];
  ASSERT_TRUE(Same(result.Read(), wanted.column))
      << int{result.vector.width} << " bytes for " << wanted.column.width;
  CheckExtremes(result.vector, wanted.column);
}

// KESTRA_VECTOR_PAIRS=1000000 for the long run.
TEST_P(LdsbOp, AgreesWithTheReferenceOnRandomPairs) {
  const char* text = std::getenv("KESTRA_VECTOR_PAIRS");
  const long pairs = text == nullptr ? 2000 : std::atol(text);
  ColumnSource source(20240601);
  Tally tally;
  for (long pair = 0; pair < pairs && !HasFatalFailure(); ++pair) {
    SCOPED_TRACE(pair);
    const std::size_t count = source.Below(12) == 0 ? source.Below(200) : source.Below(12);
    const auto scale = static_cast<std::int64_t>(source.Below(20) == 0 ? source.Below(140)
                                                                       : 60 + source.Below(8)) -
                       66;
    auto distance = static_cast<std::int64_t>(source.Below(source.Below(3) == 0 ? 32 : 6));
    if (source.Below(2) == 0) distance = -distance;
    const Column left = RandomColumn(source, count, scale);
    const Column right = RandomColumn(source, count, scale + distance);
    CheckPair(static_cast<int>(source.Below(3)), left, right, tally);
  }
  std::printf("%ld pairs: %ld sums, %ld differences, %ld products, %ld refused\n", pairs,
              tally.done[0], tally.done[1], tally.done[2], tally.refused);
  EXPECT_GT(tally.done[0], pairs / 10);
  EXPECT_GT(tally.done[2], pairs / 10);
  EXPECT_GT(tally.refused, pairs / 100);
}

// Elements of exactly that many bits, or as many as the width has: the most and the fewest that so
// many bits hold, and one between. Kind 0: no nulls, 1: nulls alone, 2: one null.
Column ColumnOfBits(ColumnSource& source, int bits, std::size_t width, std::int64_t scale,
                    std::uint64_t kind) {
  Column column;
  column.width = width;
  column.scale = scale;
  bits = std::clamp(bits, 1, 8 * static_cast<int>(width) - 1);
  const Wide most = Wide::Power(2, bits) - Wide(1);
  const bool negative = source.Below(2) == 0;
  column.values = {negative ? -most : most, source.Value(bits), Wide::Power(2, bits - 1)};
  if (kind == 2) column.values[1 + source.Below(2)].reset();
  if (kind == 1) column.values.assign(3, std::nullopt);
  return column;
}

// One bit below, at and above each bound where the choice of width or the range changes, at every
// pair of widths and every difference of scales.
TEST(LdsbOperation, EveryBoundaryOfWidthAtEveryScaleDifference) {
  ColumnSource source(20240602);
  Tally tally;
  for (int distance = -29; distance <= 29; ++distance) {
    const int power_bits = Wide::Power(100, std::abs(distance)).Bits();
    for (const int boundary : {8, 16, 32, 64, 128, 133}) {
      for (int bound = boundary - 1; bound <= boundary + 1; ++bound) {
        for (std::size_t pair = 0; pair < 36 && !HasFatalFailure(); ++pair) {
          const std::size_t left_width = kElementWidths[1 + pair / 6];
          const std::size_t right_width = kElementWidths[1 + pair % 6];
          const auto operation = static_cast<int>(source.Below(3));
          int left_bits = bound - 1;
          int right_bits = 1 + static_cast<int>(source.Below(static_cast<std::uint64_t>(bound)));
          if (operation == KES_DSB_MULTIPLY) {
            left_bits = bound - right_bits;
          } else {
            if (source.Below(2) == 0) std::swap(left_bits, right_bits);
            if (distance > 0) left_bits -= power_bits - static_cast<int>(source.Below(2));
            if (distance < 0) right_bits -= power_bits - static_cast<int>(source.Below(2));
          }
          CheckPair(operation,
                    ColumnOfBits(source, left_bits, left_width, distance - 20, source.Below(3)),
                    ColumnOfBits(source, right_bits, right_width, -20, source.Below(3)), tally);
        }
      }
    }
  }
  EXPECT_GT(tally.done[0] + tally.done[1] + tally.done[2], 10'000);
  EXPECT_GT(tally.refused, 1'000);
}

// Left, right and result in one buffer at every distance that matters.
TEST(LdsbOperation, TheResultMayOverlapItsOperands) {
  ColumnSource source(8);
  for (int round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    constexpr std::size_t kCount = 3000;
    alignas(64) static std::uint8_t area[6 * 24 * kCount];
    const std::size_t widths[] = {kElementWidths[1 + source.Below(4)],
                                  kElementWidths[1 + source.Below(4)]};
    Column columns[2];
    ldsbvector vectors[2];
    std::uint8_t* next = area + 16 * source.Below(100);
    for (int k = 0; k < 2; ++k) {
      columns[k].width = widths[k];
      columns[k].scale = -static_cast<std::int64_t>(source.Below(2));
      const std::size_t size = (kCount * widths[k] + 63) / 64 * 64;
      ASSERT_EQ(
          ldsbvinitx(nullptr, &vectors[k], static_cast<std::uint32_t>(ldsbget_prec(widths[k])),
                     static_cast<std::int32_t>(columns[k].scale), kCount, next, size, nullptr,
                     nullptr),
          KES_DSB_OK);
      for (std::size_t i = 0; i < kCount; ++i) {
        columns[k].values.emplace_back(source.Value(6));
        columns[k].values.back()->ToBytes(next + i * widths[k], widths[k]);
      }
      ASSERT_EQ(ldsbvset_updminmax(nullptr, &vectors[k]), KES_DSB_OK);
      next += size;
    }
    ldsbvector result;
    ldsbvector* target = &result;
    if (source.Below(3) == 0) {
      target = &vectors[source.Below(2)];
      target->buffer_size = sizeof area - static_cast<std::size_t>(target->buffer - area);
    } else {
      const std::size_t offset =
          source.Below(4) == 0 ? source.Below(1000)
                               : static_cast<std::size_t>(vectors[source.Below(2)].data - area) +
                                     16 * source.Below(3);
      ASSERT_EQ(ldsbvinit(nullptr, target, area + offset, sizeof area - offset), KES_DSB_OK);
    }
    const auto operation = static_cast<int>(source.Below(3));
    const Outcome wanted = Operate(operation, columns[0], columns[1]);
    ASSERT_EQ(wanted.status, KES_DSB_OK);
    ASSERT_EQ(ldsbvop(nullptr, static_cast<std::uint32_t>(operation), target, &vectors[0],
                      &vectors[1], nullptr),
              KES_DSB_OK);
    ASSERT_TRUE(Same(TestVector::Read(*target), wanted.column));
  }
}

TEST(LdsbOperation, ResultsReuseTheirMemory) {
  const TestVector x(MakeColumn({1, 2, 3}, 4, 0)), y(MakeColumn({10, 20, 30}, 4, 0));
  TestVector result;
  ASSERT_EQ(ldsbvop(nullptr, 0, &result.vector, &x.vector, &y.vector, nullptr), KES_DSB_OK);
  const std::uint8_t* buffer = result.vector.buffer;
  ASSERT_EQ(ldsbvop(nullptr, 1, &result.vector, &result.vector, &y.vector, nullptr), KES_DSB_OK);
  EXPECT_EQ(result.vector.buffer, buffer);
  EXPECT_TRUE(*result.Read().values[2] == Wide(3));
  std::vector<std::int64_t> many(1000, 7);
  const TestVector z(MakeColumn(many, 8, 0));
  ASSERT_EQ(ldsbvop(nullptr, 2, &result.vector, &z.vector, &z.vector, nullptr), KES_DSB_OK);
  EXPECT_EQ(result.vector.count, 1000u);
  EXPECT_TRUE(*result.Read().values[999] == Wide(49));
}

TEST(LdsbOperation, NamedPrecisions) {
  const TestVector x(MakeColumn({100}, 1, 0)), y(MakeColumn({27}, 1, 0)),
      wide(MakeColumn({1}, 4, 0));
  constexpr std::uint32_t kCheck = KES_DSB_CHECK_PRECISION;
  const struct {
    const char* what;
    const TestVector& right;
    ldsboptions options;
    int status;
    std::size_t width;
  } kCases[] = {
      {"the caller knows better", y, {0, KES_DSB_INT8, {}}, KES_DSB_OK, 1},
      {"but is checked", y, {kCheck, KES_DSB_INT8, {}}, KES_DSB_RANGE, 0},
      {"wide enough", y, {kCheck, KES_DSB_INT16, {}}, KES_DSB_OK, 2},
      {"wider than needed", y, {kCheck, KES_DSB_INT192, {}}, KES_DSB_OK, 24},
      {"narrower than an operand", wide, {0, KES_DSB_INT16, {}}, KES_DSB_NO_MEMBER, 0},
      {"narrower and checked", wide, {kCheck, KES_DSB_INT16, {}}, KES_DSB_RANGE, 0},
      {"no precision", y, {0, 7, {}}, KES_DSB_PRECISION, 0},
      {"fixed widths: 8 bits and 8 bits", y, {KES_DSB_FIXED_WIDTHS, 0, {}}, KES_DSB_OK, 2},
      {"fixed widths: 32 bits", wide, {KES_DSB_FIXED_WIDTHS, 0, {}}, KES_DSB_OK, 8},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    TestVector result;
    ASSERT_EQ(ldsbvop(nullptr, 0, &result.vector, &x.vector, &c.right.vector, &c.options),
              c.status);
    if (c.status == KES_DSB_OK) {
      EXPECT_EQ(result.vector.width, c.width);
    }
    if (c.status == KES_DSB_OK && &c.right == &y) {
      EXPECT_TRUE(*result.Read().values[0] == Wide(127));
    }
  }
}

TEST(LdsbOperation, UnknownExtremesCountAsTheWidth) {
  const TestVector x(MakeColumn({1, -128}, 1, 0), false), y(MakeColumn({1, -128}, 1, 0), false);
  TestVector result;
  ASSERT_EQ(ldsbvop(nullptr, KES_DSB_MULTIPLY, &result.vector, &x.vector, &y.vector, nullptr),
            KES_DSB_OK);
  EXPECT_EQ(result.vector.width, 4);  // 16 bits
  EXPECT_TRUE(*result.Read().values[1] == Wide(16384));
  const TestVector wide(MakeColumn({1}, 24, 0), false);
  EXPECT_EQ(ldsbvop(nullptr, KES_DSB_ADD, &result.vector, &wide.vector, &wide.vector, nullptr),
            KES_DSB_RANGE);
}

TEST(LdsbOperation, BitmapsOfResults) {
  Column left = MakeColumn({1, 2, 3, 4}, 4, 0);
  Column right = MakeColumn({5, 6, 7, 8}, 4, 0);
  left.values[1].reset();
  right.values[3].reset();
  const TestVector x(left), y(right), full(MakeColumn({1, 1, 1, 1}, 4, 0));
  // The caller's bitmap is used, and cleared when nothing is null.
  std::uint8_t bitmap[1] = {0xFF};
  alignas(16) std::uint8_t buffer[64];
  ldsbvector result;
  ASSERT_EQ(ldsbvinit(nullptr, &result, buffer, sizeof buffer), KES_DSB_OK);
  result.nulls = bitmap;
  std::memset(buffer, 0xA5, sizeof buffer);
  ASSERT_EQ(ldsbvop(nullptr, KES_DSB_ADD, &result, &x.vector, &y.vector, nullptr), KES_DSB_OK);
  EXPECT_EQ(bitmap[0] & 15, 0b1010);
  EXPECT_EQ(buffer[4], 0xA5);  // a null is not written
  EXPECT_EQ(buffer[8], 10);
  ASSERT_EQ(ldsbvop(nullptr, KES_DSB_ADD, &result, &full.vector, &full.vector, nullptr),
            KES_DSB_OK);
  EXPECT_EQ(bitmap[0] & 15, 0);
  // In place, the bitmaps of both.
  ASSERT_EQ(ldsbvop(nullptr, KES_DSB_ADD, &result, &result, &y.vector, nullptr), KES_DSB_OK);
  EXPECT_EQ(bitmap[0] & 15, 0b1000);
}

TEST(LdsbRescale, MultipliesExactlyOrRefuses) {
  const TestVector x(MakeColumn({1, -99}, 1, 2));
  TestVector result;
  ASSERT_EQ(ldsbvrescale(nullptr, &result.vector, &x.vector, 0), KES_DSB_OK);
  EXPECT_EQ(result.vector.scale, 0);
  EXPECT_TRUE(*result.Read().values[1] == Wide(-990000));
  ASSERT_EQ(ldsbvrescale(nullptr, &result.vector, &x.vector, 2), KES_DSB_OK);
  EXPECT_TRUE(Same(result.Read(), x.Read()));
  EXPECT_EQ(ldsbvrescale(nullptr, &result.vector, &x.vector, 3), KES_DSB_SCALE);
  EXPECT_EQ(ldsbvrescale(nullptr, &result.vector, &x.vector, -27), KES_DSB_RANGE);
  EXPECT_EQ(ldsbvrescale(nullptr, &result.vector, &x.vector, INT32_MIN), KES_DSB_RANGE);
}

TEST_P(LdsbOp, SumsOfManyChooseTheirWidth) {
  ColumnSource source(9);
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    Column column =
        RandomColumn(source, source.Below(3) == 0 ? source.Below(5000) : source.Below(40),
                     static_cast<std::int64_t>(source.Below(40)) - 30);
    const bool known = column.scalar || source.Below(4) != 0;
    Wide total;
    int bits = known ? 1 : 8 * static_cast<int>(column.width);
    for (const auto& value : column.values) {
      if (!value) continue;
      total = total + *value;
      bits = std::max(bits, value->Bits());
    }
    for (std::size_t n = 1; n < column.values.size(); n *= 2) ++bits;
    const TestVector vector(column, known);
    TestVector sum;
    const int status = ldsbvsum(nullptr, &sum.vector, &vector.vector);
    const bool fits = total.Bits() <= 132 && column.scale + 1 >= -64;
    const bool too_wide = bits > 192 || (bits == 192 && column.values.size() > 1);
    if (too_wide || !(fits || total == Wide(0))) {
      ASSERT_EQ(status, KES_DSB_RANGE);
      continue;
    }
    ASSERT_EQ(status, KES_DSB_OK);
    const Column found = sum.Read();
    ASSERT_TRUE(found.scalar && *found.values[0] == total && found.scale == column.scale);
    std::size_t width = column.width;
    while (width < 24 && bits >= 8 * static_cast<int>(width)) width = width < 16 ? 2 * width : 24;
    ASSERT_EQ(found.width, width);
  }
}

// 2^191 - 1 twice would wrap to -2.
TEST(LdsbSum, SumsThatNeedABitMoreThanThereIsAreRefused) {
  for (const int bits : {189, 190, 191}) {
    SCOPED_TRACE(bits);
    Column column;
    column.width = 24;
    column.values.assign(std::size_t{1} << (192 - bits), Wide::Power(2, bits) - Wide(1));
    const TestVector vector(column);
    TestVector sum;
    EXPECT_EQ(ldsbvsum(nullptr, &sum.vector, &vector.vector), KES_DSB_RANGE);
  }
  Column opposites = MakeColumn({0, 0}, 24, 0);
  opposites.values = {Wide::Power(2, 190) - Wide(1), Wide(1) - Wide::Power(2, 190)};
  const TestVector vector(opposites);
  TestVector sum;
  ASSERT_EQ(ldsbvsum(nullptr, &sum.vector, &vector.vector), KES_DSB_OK);
  EXPECT_TRUE(*sum.Read().values[0] == Wide(0));
}

TEST_P(LdsbOp, ComparesAsTheReferenceAtAnyScales) {
  ColumnSource source(10);
  long compared = 0;
  for (int round = 0; round < 1000; ++round) {
    SCOPED_TRACE(round);
    const std::size_t count = source.Below(10) == 0 ? source.Below(2000) : source.Below(20);
    Column left = RandomColumn(source, count, 0);
    Column right = RandomColumn(source, count, static_cast<std::int64_t>(source.Below(5)) - 2);
    if (!left.scalar && !right.scalar && left.width == right.width && left.scale == right.scale) {
      for (std::size_t i = 0; i < count; i += 2) right.values[i] = left.values[i];
    }
    const auto relation = static_cast<std::uint32_t>(source.Below(8));
    const TestVector x(left), y(right);
    const std::size_t size = left.scalar ? right.values.size() : left.values.size();
    std::vector<std::uint8_t> matches((size + 7) / 8, 0xA5);
    std::size_t matched = 0;
    const int status =
        ldsbvcompare(nullptr, relation, &x.vector, &y.vector, matches.data(), &matched);
    if (status == KES_DSB_RANGE) continue;
    ASSERT_EQ(status, KES_DSB_OK);
    ++compared;
    std::size_t wanted_count = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const auto& a = left.values[left.scalar ? 0 : i];
      const auto& b = right.values[right.scalar ? 0 : i];
      bool wanted = false;
      if (a && b) {
        const auto shift = static_cast<int>(left.scale - right.scale);
        const Wide p = shift > 0 ? *a * Wide::Power(100, shift) : *a;
        const Wide q = shift < 0 ? *b * Wide::Power(100, -shift) : *b;
        wanted = (relation & (p < q ? KES_DSB_BELOW : q < p ? KES_DSB_ABOVE : KES_DSB_EQUAL)) != 0;
      }
      ASSERT_EQ((matches[i / 8] >> i % 8 & 1) != 0, wanted) << i;
      wanted_count += wanted ? 1 : 0;
    }
    ASSERT_EQ(matched, wanted_count);
  }
  EXPECT_GT(compared, 600);
}

TEST(LdsbCompare, ExtremesAgainstAConstant) {
  const struct {
    const char* what;
    Column column;
    std::int64_t value;
    std::int32_t scale;
    int answer;
  } kCases[] = {
      {"all below", MakeColumn({1, 5}, 2, 0), 6, 0, KES_DSB_BELOW},
      {"all above", MakeColumn({1, 5}, 2, 0), 0, 0, KES_DSB_ABOVE},
      {"at the lower end", MakeColumn({1, 5}, 2, 0), 1, 0, KES_DSB_EQUAL | KES_DSB_ABOVE},
      {"at the upper end", MakeColumn({1, 5}, 2, 0), 5, 0, KES_DSB_BELOW | KES_DSB_EQUAL},
      {"within", MakeColumn({1, 5}, 2, 0), 3, 0, 7},
      {"all equal", MakeColumn({5, 5}, 2, -1), 5, -1, KES_DSB_EQUAL},
      {"a larger scale", MakeColumn({499, 500}, 2, -1), 5, 0, KES_DSB_BELOW | KES_DSB_EQUAL},
      {"a smaller scale", MakeColumn({5}, 2, 0), 501, -1, KES_DSB_BELOW},
      {"28 apart", MakeColumn({-1}, 2, 28), INT64_MIN, 0, KES_DSB_BELOW},
      {"29 apart", MakeColumn({-1}, 2, 29), 1, 0, KES_DSB_RANGE},
      {"scales at both ends", MakeColumn({1}, 2, INT32_MAX), 1, INT32_MIN, KES_DSB_RANGE},
      {"empty", MakeColumn({}, 2, 0), 1, 0, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    const TestVector vector(c.column);
    EXPECT_EQ(ldsbvcompare_minmax_sb8(nullptr, &vector.vector, c.value, c.scale), c.answer);
  }
  const TestVector unknown(MakeColumn({1}, 1, 0), false);
  EXPECT_EQ(ldsbvcompare_minmax_sb8(nullptr, &unknown.vector, 0, 0), 7);
  EXPECT_EQ(ldsbvcompare_minmax_sb8(nullptr, &unknown.vector, 128, 0), KES_DSB_BELOW);
}

}  // namespace
}  // namespace kestra::test
