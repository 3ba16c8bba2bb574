// Columns filled from NUMBERs and integers and read back, against decimal text and 256-bit
// integers.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "tests/support/column_vector.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/hex.h"
#include "tests/support/number_random.h"
#include "tests/support/number_reference.h"

namespace kestra::test {
namespace {

using os::CpuLevel;
using ref::Exact;
using ref::NumberBytes;
using ref::Wide;

// Pointers and lengths as the library takes them; each number lies in exactly its bytes.
struct Numbers {
  std::vector<NumberBytes> bytes;
  std::vector<const std::uint8_t*> pointers;
  std::vector<std::uint16_t> lengths;

  void Add(NumberBytes number, bool prefixed = false) {
    if (prefixed) number.insert(number.begin(), static_cast<std::uint8_t>(number.size()));
    lengths.push_back(prefixed ? 0 : static_cast<std::uint16_t>(number.size()));
    number.shrink_to_fit();
    bytes.push_back(std::move(number));
    pointers.push_back(bytes.back().data());
  }
  NumberBytes At(std::size_t i) const {
    return lengths[i] != 0 ? bytes[i] : NumberBytes(bytes[i].begin() + 1, bytes[i].end());
  }
};

// What loading must give: 100^scale is the least digit's unit, digits base-100 digits hold all.
struct Expected {
  int status = KES_DSB_OK;
  int scale = 0;
  int digits = 1;
};

Expected ScaleOf(const Numbers& numbers, const std::vector<std::uint8_t>& nulls,
                 std::int32_t wanted) {
  int bottom = INT_MAX;
  int top = INT_MIN;
  for (std::size_t i = 0; i < numbers.bytes.size(); ++i) {
    if (IsNull(nulls, i)) continue;
    const Exact value = ref::Read(numbers.At(i));
    if (value.infinite) return {KES_DSB_RANGE, 0, 0};
    if (value.IsZero()) continue;
    // digits * 10^scale; pairs of decimal places counted from the point.
    const int low = value.scale;
    const int high = value.scale + static_cast<int>(value.digits.size());
    int trailing = 0;
    while (value.digits[value.digits.size() - 1 - static_cast<std::size_t>(trailing)] == '0')
      ++trailing;
    bottom = std::min(bottom, static_cast<int>(std::floor((low + trailing) / 2.0)));
    top = std::max(top, static_cast<int>(std::ceil(high / 2.0)));
  }
  if (bottom == INT_MAX) return {KES_DSB_OK, wanted == KES_DSB_NO_SCALE ? 0 : wanted, 1};
  if (top - bottom > 20) return {KES_DSB_RANGE, 0, 0};
  if (wanted != KES_DSB_NO_SCALE) {
    if (wanted > bottom) return {KES_DSB_SCALE, 0, 0};
    bottom = wanted;
    if (top - bottom > 20) return {KES_DSB_RANGE, 0, 0};
  }
  return {KES_DSB_OK, bottom, top - bottom};
}

Wide IntegerOf(const NumberBytes& number, int scale) {
  const Exact value = ref::Read(number);
  Wide result;
  if (value.IsZero()) return result;
  for (const char digit : value.digits) result = result * Wide(10) + Wide(digit - '0');
  int shift = value.scale - 2 * scale;
  for (; shift > 0; --shift) result = result * Wide(10);
  std::string digits = value.digits;
  if (shift < 0) {  // only trailing zeros can lie below the scale
    result = Wide(0);
    digits.resize(digits.size() - static_cast<std::size_t>(-shift));
    for (const char digit : digits) result = result * Wide(10) + Wide(digit - '0');
  }
  return value.negative ? -result : result;
}

using LdsbLoad = CpuLevelTest;
INSTANTIATE_TEST_SUITE_P(Levels, LdsbLoad, testing::Values(CpuLevel::kBaseline, CpuLevel::kAvx512),
                         LevelName);

// Numbers of a column: money-sized, or with up to so many digits around a scale.
NumberBytes RandomNumber(ColumnSource& source, int max_digits, int around) {
  Exact value;
  value.negative = source.Below(3) == 0;
  const auto digits = static_cast<int>(source.Below(static_cast<std::uint64_t>(max_digits) + 1));
  for (int i = 0; i < digits; ++i) {
    value.digits +=
        static_cast<char>('0' + (source.Below(3) == 0 ? 9 * source.Below(2) : source.Below(10)));
  }
  value.digits.erase(0, value.digits.find_first_not_of('0'));
  if (value.digits.empty()) value.negative = false;
  value.scale = value.digits.empty() ? 0 : around + static_cast<int>(source.Below(5)) - 2;
  return ref::Write(value);
}

TEST_P(LdsbLoad, NumbersLoadExactlyAndReadBackAsTheyWere) {
  ColumnSource source(11);
  int done = 0;
  for (int round = 0; round < 1500; ++round) {
    SCOPED_TRACE(round);
    const std::size_t count = source.Below(8) == 0 ? source.Below(1400) : source.Below(30);
    const int max_digits = static_cast<int>(source.Below(2) == 0 ? 8 : 1 + source.Below(40));
    const int around =
        static_cast<int>(source.Below(4) == 0 ? source.Below(240) - 125 : source.Below(6) - 5);
    const bool prefixed = source.Below(3) == 0;
    Numbers numbers;
    for (std::size_t i = 0; i < count; ++i)
      numbers.Add(RandomNumber(source, max_digits, around), prefixed || source.Below(10) == 0);
    if (count != 0 && source.Below(20) == 0) numbers.Add({0xFF, 0x65}), numbers.Add({0x00});
    const std::size_t total = numbers.bytes.size();
    const auto nulls = source.Nulls(total, kNullKinds[source.Below(5)]);
    for (std::size_t i = 0; i < total; ++i) {
      if (IsNull(nulls, i)) numbers.pointers[i] = nullptr;
    }
    std::int32_t wanted_scale = KES_DSB_NO_SCALE;
    if (source.Below(3) == 0)
      wanted_scale = static_cast<std::int32_t>(around / 2 - 2 + static_cast<int>(source.Below(3)));
    const Expected wanted = ScaleOf(numbers, nulls, wanted_scale);
    TestVector vector;
    ASSERT_EQ(ldsbvset_ons(nullptr, &vector.vector, KES_DSB_NARROWEST, wanted_scale, 0, total,
                           numbers.pointers.data(), numbers.lengths.data(), OrNone(nulls), 0),
              wanted.status);
    if (wanted.status != KES_DSB_OK) continue;
    ++done;
    const ldsbvector& v = vector.vector;
    ASSERT_EQ(v.scale, wanted.scale);
    ASSERT_EQ(v.precision, ldsbget_prec_ondigs(static_cast<std::uint32_t>(wanted.digits)));
    ldsbminmax extremes = {};
    ASSERT_EQ(ldsbminmaxdsbs(v.width, total, v.data, v.nulls, &extremes), KES_DSB_OK);
    ASSERT_EQ(std::memcmp(&extremes, &v.extremes, sizeof extremes), 0);
    std::vector<std::uint8_t> slots(total * 22);
    std::vector<std::uint16_t> lengths(total);
    std::vector<const std::uint8_t*> pointers(total);
    std::vector<std::uint8_t> area(total * 22);
    std::size_t used = 0;
    ASSERT_EQ(ldsbvget_ons(nullptr, &v, 0, total, slots.data(), 22, nullptr), KES_DSB_OK);
    ASSERT_EQ(ldsbvget_pons(nullptr, &v, 0, total, pointers.data(), lengths.data(), area.data(),
                            area.size(), &used),
              KES_DSB_OK);
    std::size_t offset = 0;
    for (std::size_t i = 0; i < total; ++i) {
      if (IsNull(nulls, i)) {
        ASSERT_EQ(slots[22 * i], 0);
        ASSERT_TRUE(pointers[i] == nullptr && lengths[i] == 0);
        continue;
      }
      const NumberBytes number = numbers.At(i);
      ASSERT_TRUE(Wide::FromBytes(v.data + i * v.width, v.width) == IntegerOf(number, v.scale))
          << Hex(number);
      ASSERT_EQ(NumberBytes(&slots[22 * i + 1], &slots[22 * i + 1] + slots[22 * i]), number);
      ASSERT_EQ(pointers[i], area.data() + offset);
      ASSERT_EQ(NumberBytes(pointers[i], pointers[i] + lengths[i]), number);
      offset += lengths[i];
    }
    ASSERT_EQ(used, offset);
  }
  EXPECT_GT(done, 700);
}

TEST(LdsbLoadRules, ScalesAndPrecisions) {
  const NumberBytes one = {0xC1, 2}, cents = {0xC1, 2, 51}, big = {0xC4, 2}, zero = {0x80},
                    tiny = {0xAE, 2};
  const struct {
    const char* what;
    std::vector<NumberBytes> numbers;
    std::uint32_t precision;
    std::int32_t scale;
    int status, found_precision, found_scale;
  } kCases[] = {
      {"one digit", {one}, 7, KES_DSB_NO_SCALE, 0, 1, 0},
      {"zeros only", {zero, zero}, 7, KES_DSB_NO_SCALE, 0, 1, 0},
      {"zeros at a scale", {zero}, 7, -5, 0, 1, -5},
      {"zeros at the lowest scale", std::vector(1000, zero), 7, INT32_MIN, 0, 1, INT32_MIN},
      {"a zero of two bytes there", {{0xC1, 1}}, 7, INT32_MIN, 0, 1, INT32_MIN},
      {"the least digit decides", {one, cents}, 7, KES_DSB_NO_SCALE, 0, 2, -1},
      {"trailing zeros do not", {big}, 7, KES_DSB_NO_SCALE, 0, 1, 3},
      {"the precision given", {one, cents}, 4, KES_DSB_NO_SCALE, 0, 4, -1},
      {"too narrow a precision", {one, cents}, 1, KES_DSB_NO_SCALE, KES_DSB_RANGE, 0, 0},
      {"a finer scale", {one}, 7, -2, 0, 3, -2},
      {"too coarse a scale", {one}, 7, 1, KES_DSB_SCALE, 0, 0},
      {"20 digits", {one}, 7, -19, 0, 6, -19},
      {"21 digits", {one}, 7, -20, KES_DSB_RANGE, 0, 0},
      {"far apart", {big, tiny}, 7, KES_DSB_NO_SCALE, KES_DSB_RANGE, 0, 0},
      {"positive infinity", {one, {0xFF, 0x65}}, 7, KES_DSB_NO_SCALE, KES_DSB_RANGE, 0, 0},
      {"negative infinity", {{0x00}}, 7, KES_DSB_NO_SCALE, KES_DSB_RANGE, 0, 0},
      {"no precision", {one}, 8, KES_DSB_NO_SCALE, KES_DSB_PRECISION, 0, 0},
      {"no precision", {one}, 0, KES_DSB_NO_SCALE, KES_DSB_PRECISION, 0, 0},
      {"nothing at all", {}, 7, KES_DSB_NO_SCALE, 0, 1, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    Numbers numbers;
    for (const NumberBytes& number : c.numbers) numbers.Add(number);
    TestVector vector;
    ASSERT_EQ(ldsbvset_ons(nullptr, &vector.vector, c.precision, c.scale, 0, numbers.bytes.size(),
                           numbers.pointers.data(), numbers.lengths.data(), nullptr, 0),
              c.status);
    if (c.status == KES_DSB_OK) {
      EXPECT_EQ(vector.vector.precision, c.found_precision);
      EXPECT_EQ(vector.vector.scale, c.found_scale);
    }
    if (numbers.bytes.size() != 1) continue;
    ldsbvector scalar;
    ASSERT_EQ(ldsbvinit_son(nullptr, &scalar, c.precision, c.scale, numbers.pointers[0],
                            numbers.lengths[0]),
              c.status);
    if (c.status == KES_DSB_OK) {
      EXPECT_EQ(scalar.precision, c.found_precision);
      EXPECT_EQ(scalar.scale, c.found_scale);
    }
  }
}

TEST(LdsbLoadRules, AScalarOfNoBytesIsZero) {
  const std::vector<std::uint8_t> empty = {0};  // a length byte and nothing after it
  ldsbvector scalar;
  for (const std::uint8_t* number : {empty.data(), static_cast<const std::uint8_t*>(nullptr)}) {
    ASSERT_EQ(ldsbvinit_son(nullptr, &scalar, 7, KES_DSB_NO_SCALE, number, 0), KES_DSB_OK);
    EXPECT_TRUE(Wide::FromBytes(scalar.extremes.min.word, 24) == Wide(0));
  }
  const NumberBytes one = {0xC1, 2};  // longer than any number: the first 21 bytes count
  NumberBytes long_one(0x10002, 1);
  std::copy(one.begin(), one.end(), long_one.begin());
  ASSERT_EQ(ldsbvinit_son(nullptr, &scalar, 7, KES_DSB_NO_SCALE, long_one.data(), long_one.size()),
            KES_DSB_OK);
  EXPECT_TRUE(Wide::FromBytes(scalar.extremes.min.word, 24) == Wide(1));
}

TEST(LdsbLoadRules, ScansContinue) {
  Numbers numbers;
  numbers.Add({0xC1, 2, 51});
  numbers.Add({0x80});
  numbers.Add({0xC3, 7});
  std::int32_t scale = KES_DSB_NO_SCALE;
  std::uint32_t digits = 0;
  EXPECT_EQ(ldsbvscan_ons(nullptr, 1, &numbers.pointers[1], &numbers.lengths[1], nullptr, &scale,
                          &digits),
            KES_DSB_OK);
  EXPECT_EQ(scale, KES_DSB_NO_SCALE);
  EXPECT_EQ(ldsbvscan_ons(nullptr, 1, &numbers.pointers[0], &numbers.lengths[0], nullptr, &scale,
                          &digits),
            KES_DSB_OK);
  EXPECT_EQ(scale, -1);
  EXPECT_EQ(digits, 2u);
  EXPECT_EQ(ldsbvscan_ons(nullptr, 2, &numbers.pointers[1], &numbers.lengths[1], nullptr, &scale,
                          &digits),
            KES_DSB_OK);
  EXPECT_EQ(scale, -1);
  EXPECT_EQ(digits, 4u);
}

TEST(LdsbAppend, FillsPartsOfAVector) {
  TestVector vector;
  const std::int32_t base[10] = {};
  ldsbvector& v = vector.vector;
  ASSERT_EQ(ldsbvset_ints(nullptr, &v, KES_DSB_INT16, -1, 0, 10, base, 4, nullptr, 0), KES_DSB_OK);
  Numbers numbers;
  numbers.Add({0xC1, 6, 51});    // 5.5
  numbers.Add({0x3E, 96, 102});  // -5
  numbers.Add({0xC1, 2, 2, 2});  // 1.0101
  const std::uint8_t nulls[] = {0b010};
  ASSERT_EQ(ldsbvset_ons(nullptr, &v, 7, KES_DSB_NO_SCALE, 3, 2, numbers.pointers.data(),
                         numbers.lengths.data(), nullptr, KES_DSB_APPEND),
            KES_DSB_OK);
  const std::int64_t more[] = {300, 9, -2};
  ASSERT_EQ(ldsbvset_ints(nullptr, &v, 7, KES_DSB_NO_SCALE, 7, 3, more, 8, nulls, KES_DSB_APPEND),
            KES_DSB_OK);
  const std::int64_t packed[] = {11, 12};
  const std::uint8_t middle[] = {0b0010};
  ASSERT_EQ(ldsbvset_pints(nullptr, &v, KES_DSB_INT16, -1, 5, 3, packed, 8, middle, KES_DSB_APPEND),
            KES_DSB_OK);
  std::int32_t read[10];
  std::memset(read, 0x55, sizeof read);
  ASSERT_EQ(ldsbvget_ints(nullptr, &v, 0, 10, read, 4), KES_DSB_OK);
  const std::int32_t wanted[10] = {0, 0, 0, 550, -500, 11, 0x55555555, 12, 0x55555555, -2};
  EXPECT_EQ(std::memcmp(read, wanted, sizeof read), 0);
  EXPECT_TRUE(Wide::FromBytes(v.extremes.min.word, 24) == Wide(-500));
  std::int64_t few[8];
  std::size_t stored = 0;
  ASSERT_EQ(ldsbvget_pints(nullptr, &v, 3, 7, few, 8, &stored), KES_DSB_OK);
  EXPECT_EQ(stored, 5u);
  EXPECT_EQ(few[4], -2);
  const ldsbvector before = v;
  const auto set = [&](std::uint32_t precision, std::int32_t scale, std::size_t first,
                       std::size_t count) {
    return ldsbvset_ons(nullptr, &v, precision, scale, first, count, numbers.pointers.data(),
                        numbers.lengths.data(), nullptr, KES_DSB_APPEND);
  };
  EXPECT_EQ(set(KES_DSB_INT32, -1, 0, 1), KES_DSB_BOUNDS);
  EXPECT_EQ(set(7, -1, 9, 2), KES_DSB_BOUNDS);
  EXPECT_EQ(set(7, -1, 11, 0), KES_DSB_BOUNDS);
  EXPECT_EQ(set(7, -1, SIZE_MAX, 2), KES_DSB_BOUNDS);
  EXPECT_EQ(set(7, -2, 0, 1), KES_DSB_SCALE);
  EXPECT_EQ(set(7, -1, 0, 3), KES_DSB_SCALE);  // 1.0101 has digits below the scale
  const std::int32_t large = 40000;
  EXPECT_EQ(ldsbvset_ints(nullptr, &v, 7, -1, 0, 1, &large, 4, nullptr, KES_DSB_APPEND),
            KES_DSB_RANGE);
  EXPECT_EQ(ldsbvset_ints(nullptr, &v, 7, -1, 1, 1, &large, 4, nullptr, 0), KES_DSB_BOUNDS);
  EXPECT_EQ(std::memcmp(&before, &v, sizeof v), 0);
}

TEST_P(LdsbLoad, AllWidthsGoInAndOut) {
  ColumnSource source(13);
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    const std::size_t width = kElementWidths[1 + source.Below(6)];
    const std::size_t count = source.Below(5) == 0 ? source.Below(1500) : source.Below(40);
    const auto bytes = source.Elements(count, width);
    const auto nulls = source.Nulls(count, kNullKinds[source.Below(5)]);
    const bool packed = source.Below(2) == 0;
    std::vector<std::uint8_t> dense;
    int needed = 1;
    for (std::size_t i = 0; i < count; ++i) {
      if (IsNull(nulls, i)) continue;
      dense.insert(dense.end(), bytes.begin() + static_cast<std::ptrdiff_t>(i * width),
                   bytes.begin() + static_cast<std::ptrdiff_t>((i + 1) * width));
      needed = std::max(needed, ldsbget_minprec(bytes.data() + i * width, width));
    }
    TestVector vector;
    ldsbvector& v = vector.vector;
    const auto wanted = static_cast<std::uint32_t>(source.Below(2) == 0 ? 7 : 1 + source.Below(6));
    const int status = (packed ? ldsbvset_pints : ldsbvset_ints)(
        nullptr, &v, wanted, 3, 0, count, packed ? dense.data() : bytes.data(), width,
        OrNone(nulls), 0);
    if (wanted != 7 && static_cast<int>(wanted) < needed) {
      ASSERT_EQ(status, KES_DSB_RANGE);
      continue;
    }
    ASSERT_EQ(status, KES_DSB_OK);
    ASSERT_EQ(v.precision, wanted == 7 ? needed : static_cast<int>(wanted));
    std::vector<std::uint8_t> slots(count * width, 0xA5), again(dense.size());
    std::size_t stored = 0;
    ASSERT_EQ(ldsbvget_ints(nullptr, &v, 0, count, slots.data(), width), KES_DSB_OK);
    ASSERT_EQ(ldsbvget_pints(nullptr, &v, 0, count, again.data(), width, &stored), KES_DSB_OK);
    ASSERT_EQ(stored, dense.size() / width);
    ASSERT_EQ(again, dense);
    for (std::size_t i = 0; i < count; ++i) {
      const std::vector<std::uint8_t> element(
          slots.begin() + static_cast<std::ptrdiff_t>(i * width),
          slots.begin() + static_cast<std::ptrdiff_t>((i + 1) * width));
      ASSERT_EQ(element, IsNull(nulls, i)
                             ? std::vector<std::uint8_t>(width, 0xA5)
                             : std::vector<std::uint8_t>(
                                   bytes.begin() + static_cast<std::ptrdiff_t>(i * width),
                                   bytes.begin() + static_cast<std::ptrdiff_t>((i + 1) * width)));
    }
    // A part that starts within a byte of the bitmap, into the narrowest width and one below it.
    if (count > 11 && needed < 6) {
      std::vector<std::uint8_t> part(24 * count);
      ASSERT_EQ(ldsbvget_ints(nullptr, &v, 5, count - 11, part.data(), kElementWidths[needed]),
                KES_DSB_OK);
    }
    if (needed > 1) {
      ASSERT_EQ(ldsbvget_ints(nullptr, &v, 0, count, slots.data(), kElementWidths[needed - 1]),
                KES_DSB_RANGE);
    }
  }
}

// Widths that a NUMBER cannot hold: rounded, infinite or zero.
TEST(LdsbRead, NumbersAreRoundedToTwentyDigits) {
  ColumnSource source(14);
  for (int round = 0; round < 1000; ++round) {
    SCOPED_TRACE(round);
    const int bits =
        static_cast<int>(round % 2 == 0 ? 1 + source.Below(191) : 48 + source.Below(16));
    Wide value = source.Value(bits);
    if (!value.Fits(24)) continue;
    const auto scale = static_cast<std::int32_t>(source.Below(4) == 0 ? source.Below(200)
                                                                      : 80 + source.Below(40)) -
                       100;
    std::uint8_t bytes[24];
    value.ToBytes(bytes, 24);
    ldsbvector scalar;
    ASSERT_EQ(ldsbvinit_sint(nullptr, &scalar, 7, scale, bytes, 24), KES_DSB_OK);
    std::uint8_t slot[22];
    std::uint16_t length = 0;
    ASSERT_EQ(ldsbvget_ons(nullptr, &scalar, 0, 1, slot, 22, &length), KES_DSB_OK);
    Exact exact;
    exact.negative = value.IsNegative();
    Wide rest = exact.negative ? -value : value;
    for (int place = 60; place >= 0; --place) {
      char digit = '0';
      for (const Wide power = Wide::Power(10, place); !(rest < power); ++digit) rest = rest - power;
      exact.digits += digit;
    }
    exact.digits.erase(0, exact.digits.find_first_not_of('0'));
    if (exact.digits.empty()) exact.negative = false;
    exact.scale = exact.digits.empty() ? 0 : 2 * scale;
    const NumberBytes wanted = ref::Write(exact);
    ASSERT_EQ(Hex(slot, length), Hex(wanted));
  }
  ldsbvector scalar;
  const std::int8_t one = 1;
  std::uint8_t slot[22];
  for (const std::int32_t scale : {INT32_MIN, INT32_MAX}) {
    ASSERT_EQ(ldsbvinit_sint(nullptr, &scalar, 1, scale, &one, 1), KES_DSB_OK);
    ASSERT_EQ(ldsbvget_ons(nullptr, &scalar, 0, 1, slot, 22, nullptr), KES_DSB_OK);
    EXPECT_EQ(slot[1], scale < 0 ? 0x80 : 0xFF);
  }
}

}  // namespace
}  // namespace kestra::test
