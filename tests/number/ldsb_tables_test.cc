// The constant tables bit for bit, and the queries on them.
#include <gtest/gtest.h>

#include <cstring>

#include "kestra/decimal_vector.h"
#include "tests/support/wide_reference.h"

namespace kestra::test {
namespace {

using ref::Wide;

TEST(LdsbTables, PowersOf100AreComplete) {
  constexpr std::uint32_t kWidths[] = {1, 1, 2, 4, 4, 8, 8, 8, 8, 8, 16};
  constexpr std::uint32_t kBits[] = {1, 7, 14, 20, 27, 34, 40, 47};
  for (int k = 0; k <= 28; ++k) {
    SCOPED_TRACE(k);
    const std::uint32_t* row = ldsbcpow100tab[k];
    const Wide power = Wide::Power(100, k);
    EXPECT_TRUE(Wide::FromBytes(row + 3, 24) == power);
    EXPECT_TRUE(power.Fits(row[0]));
    EXPECT_EQ(static_cast<int>(row[0]), ldsbget_width(row[1]));
    if (row[1] > 1) {
      EXPECT_FALSE(power.Fits(static_cast<std::size_t>(ldsbget_width(row[1] - 1))));
    }
    EXPECT_EQ(static_cast<int>(row[2]), power.Bits());
    if (k < 11) {
      EXPECT_EQ(row[0], kWidths[k]);
    }
    if (k < 8) {
      EXPECT_EQ(row[2], kBits[k]);
    }
  }
}

TEST(LdsbTables, DigitsOfBitsAreTheFewestAndTheMost) {
  EXPECT_EQ(ldsbcnbits2ods[0][0], 0);
  EXPECT_EQ(ldsbcnbits2ods[0][1], 0);
  for (int bits = 1; bits <= 192; ++bits) {
    SCOPED_TRACE(bits);
    const int fewest = ldsbcnbits2ods[bits][0];
    const int most = ldsbcnbits2ods[bits][1];
    const Wide smallest = Wide::Power(2, bits - 1);
    const Wide largest = Wide::Power(2, bits) - Wide(1);
    EXPECT_TRUE(smallest < Wide::Power(100, fewest) && !(smallest < Wide::Power(100, fewest - 1)));
    EXPECT_TRUE(largest < Wide::Power(100, most) && !(largest < Wide::Power(100, most - 1)));
  }
}

TEST(LdsbTables, ConstantsOfWideIntegers) {
  EXPECT_TRUE(Wide::FromBytes(Sls16ConstZero, 16) == Wide(0));
  EXPECT_TRUE(Wide::FromBytes(Sls24ConstZero, 24) == Wide(0));
  EXPECT_TRUE(Wide::FromBytes(Sls16ConstMin, 16) == -Wide::Power(2, 127));
  EXPECT_TRUE(Wide::FromBytes(Sls24ConstMin, 24) == -Wide::Power(2, 191));
  EXPECT_TRUE(Wide::FromBytes(ldsbcmaxmantissa, 20) == Wide::Power(10, 40) - Wide(1));
}

TEST(LdsbQueries, CodesAndWidthsAreInverse) {
  constexpr int kWidths[] = {1, 2, 4, 8, 16, 24};
  for (std::uint32_t code = 1; code <= 6; ++code) {
    EXPECT_EQ(ldsbget_width(code), kWidths[code - 1]);
    EXPECT_EQ(ldsbcprec2width[code], kWidths[code - 1]);
    EXPECT_EQ(ldsbget_prec(static_cast<std::size_t>(kWidths[code - 1])), static_cast<int>(code));
  }
  int listed = 0;
  for (std::size_t width = 0; width < 25; ++width) {
    if (ldsbcwidth2prec[width] != 0) {
      ++listed;
    } else {
      EXPECT_EQ(ldsbget_prec(width), KES_DSB_WIDTH) << width;
    }
  }
  EXPECT_EQ(listed, 6);
  EXPECT_EQ(ldsbcprec2width[0], 0);
  EXPECT_EQ(ldsbcprec2width[7], 0);
  EXPECT_EQ(ldsbget_prec(25), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbget_prec(SIZE_MAX), KES_DSB_WIDTH);
}

TEST(LdsbQueries, DigitsChooseThePrecision) {
  constexpr struct {
    std::uint32_t digits;
    int precision;
  } kCases[] = {{0, 1},
                {1, 1},
                {2, 2},
                {3, 3},
                {4, 3},
                {5, 4},
                {9, 4},
                {10, 5},
                {19, 5},
                {20, 6},
                {21, KES_DSB_RANGE}};
  for (const auto& c : kCases) EXPECT_EQ(ldsbget_prec_ondigs(c.digits), c.precision) << c.digits;
}

TEST(LdsbQueries, SignificantBitsCountTheMagnitude) {
  constexpr struct {
    std::int64_t value;
    int bits;
    int precision;
  } kCases[] = {{0, 1, 1},         {1, 1, 1},      {-1, 1, 1},         {2, 2, 1},
                {127, 7, 1},       {-128, 8, 1},   {128, 8, 2},        {-129, 8, 2},
                {255, 8, 2},       {32767, 15, 2}, {INT32_MIN, 32, 3}, {INT64_MAX, 63, 4},
                {INT64_MIN, 64, 4}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.value);
    for (const std::size_t width : {8, 16, 24}) {
      unsigned char bytes[24];
      Wide(c.value).ToBytes(bytes, width);
      EXPECT_EQ(ldsbget_valsigbits(bytes, width), c.bits);
      EXPECT_EQ(ldsbget_minprec(bytes, width), c.precision);
    }
  }
  EXPECT_EQ(ldsbget_valsigbits(Sls16ConstMin, 16), 128);
  EXPECT_EQ(ldsbget_valsigbits(Sls24ConstMin, 24), 192);
  EXPECT_EQ(ldsbget_minprec(Sls24ConstMin, 24), 6);
  const std::int16_t min = -300, max = 40;
  EXPECT_EQ(ldsbget_minmaxsigbits(&min, &max, 2), 9);
  EXPECT_EQ(ldsbget_minmaxsigbits(&min, &max, 3), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbget_valsigbits(&min, 25), KES_DSB_WIDTH);
  EXPECT_EQ(ldsbget_minprec(&min, 0), KES_DSB_WIDTH);
}

TEST(LdsbQueries, BufferSizes) {
  std::size_t size = 0;
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_INT8, 1, &size), KES_DSB_OK);
  EXPECT_EQ(size, 16u + 64 - 1);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_INT64, 9, &size), KES_DSB_OK);
  EXPECT_EQ(size, 16u + 128 - 1);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_NARROWEST, 8, &size), KES_DSB_OK);
  EXPECT_EQ(size, 16u + 192 - 1);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_INT192, 0, &size), KES_DSB_OK);
  EXPECT_EQ(size, 15u);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_INT8, std::size_t{1} << 31, &size), KES_DSB_OK);
  EXPECT_EQ(size, (std::size_t{1} << 31) + 15);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, KES_DSB_INT16, SIZE_MAX / 2, &size), KES_DSB_BUFFER);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, 0, 1, &size), KES_DSB_PRECISION);
  EXPECT_EQ(ldsbget_buffer_size(nullptr, 8, 1, &size), KES_DSB_PRECISION);
}

TEST(LdsbOperations, MembersExistForEqualInputsAndTheNextWiderOutput) {
  ldsbctx ctx;
  ASSERT_EQ(ldsbinit(&ctx, nullptr, nullptr, nullptr), KES_DSB_OK);
  for (std::uint32_t operation = 0; operation <= 12; ++operation) {
    for (std::uint32_t left = 0; left <= 8; ++left) {
      for (std::uint32_t right = 0; right <= 8; ++right) {
        for (std::uint32_t output = 0; output <= 8; ++output) {
          const bool arithmetic = left >= 1 && left <= 6 && left == right && output <= 6 &&
                                  (output == left || output == left + 1);
          const bool exists = operation <= 6 ? arithmetic : operation <= 10;
          ldsbmember member = nullptr;
          ldsbmember generic = nullptr;
          const int status = exists ? KES_DSB_OK : KES_DSB_NO_MEMBER;
          ASSERT_EQ(ldsbget_operation(&ctx, operation, left, right, output, &member), status);
          ASSERT_EQ(ldsbget_generic_operation(&ctx, operation, left, right, output, &generic),
                    status);
          ASSERT_EQ(member != nullptr, exists);
          ASSERT_EQ(generic != nullptr, exists);
        }
      }
    }
  }
  ldsbmember member = nullptr;
  ASSERT_EQ(ldsbget_operation(&ctx, 2, 4, 4, 5, &member), KES_DSB_OK);
  EXPECT_EQ(member, &ldsbgopmul64x64);
  ASSERT_EQ(ldsbget_operation(nullptr, 6, 6, 6, 6, &member), KES_DSB_OK);
  EXPECT_EQ(member, &ldsbgopsum192);
  EXPECT_EQ(ldsbdone(&ctx), KES_DSB_OK);
}

}  // namespace
}  // namespace kestra::test
