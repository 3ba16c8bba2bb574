// Vector forms against the scalar functions, on every kernel, with random null bitmaps.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "kestra/number.h"
#include "kestra/number_array.h"
#include "number/kernels/number_kernels.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/hex.h"
#include "tests/support/number_call.h"
#include "tests/support/number_random.h"

namespace kestra::number {
namespace {

using Number = std::vector<std::uint8_t>;
using test::Hex;
using test::NumberSource;

// Up to seven digits within a few places of the point, as columns of money have.
Number ShortNumber(NumberSource& source) {
  Number number = {static_cast<std::uint8_t>(191 + source.Below(4))};
  const std::size_t count = 1 + source.Below(source.Below(4) == 0 ? 7 : 4);
  for (std::size_t i = 0; i < count; ++i) {
    const bool end = i == 0 || i + 1 == count;
    const bool extreme = source.Below(3) == 0;  // 0s and 99s carry, borrow and cancel
    number.push_back(static_cast<std::uint8_t>(extreme ? (end || source.Below(2) == 0 ? 100 : 1)
                                                       : 2 + source.Below(99)));
  }
  if (source.Below(3) == 0) {
    return test::Apply(lnxneg, number);
  }
  return number;
}

// A column of numbers in both forms, some of them malformed. In a column of short numbers these are
// few, so that most stretches of it have none.
struct Column {
  Column(NumberSource& source, std::size_t n, bool brief = false) {
    const unsigned rarely = brief ? 30 : 1;
    for (std::size_t i = 0; i < n; ++i) {
      Number number = brief && source.Below(50) != 0 ? ShortNumber(source) : source.Next();
      if (source.Below(10 * rarely) == 0) number[source.Below(number.size())] ^= 0x81;
      if (source.Below(10 * rarely) == 0) number.back() = 103;
      const bool prefixed = source.Below(3 * rarely) == 0;
      if (prefixed) number.insert(number.begin(), static_cast<std::uint8_t>(number.size()));
      length.push_back(prefixed ? std::uint16_t{0} : static_cast<std::uint16_t>(number.size()));
      numbers.push_back(number);
    }
    for (const Number& number : numbers) {  // a null pointer is a zero of any length
      pointer.push_back(source.Below(10 * rarely) == 0 ? nullptr : number.data());
    }
  }
  std::vector<Number> numbers;
  std::vector<const std::uint8_t*> pointer;
  std::vector<std::uint16_t> length;
};

struct Output {
  Output(std::size_t n, std::size_t area_size)
      : pointer(n, &sentinel), length(n, 77), area(area_size) {}
  Number At(std::size_t i) const { return Number(pointer[i], pointer[i] + length[i]); }
  std::uint8_t sentinel = 0;
  std::vector<std::uint8_t*> pointer;
  std::vector<std::uint16_t> length;
  Number area;
};

using LnxArray = test::CpuLevelTest;
INSTANTIATE_TEST_SUITE_P(Kernels, LnxArray,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx512),
                         test::LevelName);

TEST_P(LnxArray, EqualsTheScalarFormForEachElement) {
  const Kernels& k = KernelsFor(GetParam());
  struct Case {
    BinaryArrayFunction* binary;
    UnaryArrayFunction* unary;
    BinaryFunction* scalar_binary;
    UnaryFunction* scalar_unary;
  };
  const Case cases[] = {
      {k.add_array, nullptr, scalar::Add, nullptr},
      {k.subtract_array, nullptr, scalar::Subtract, nullptr},
      {k.multiply_array, nullptr, scalar::Multiply, nullptr},
      {k.divide_array, nullptr, scalar::Divide, nullptr},
      {nullptr, k.absolute_array, nullptr, scalar::Absolute},
      {nullptr, k.negate_array, nullptr, scalar::Negate},
      {nullptr, k.copy_array, nullptr, scalar::Copy},
  };
  NumberSource source(3);
  for (std::size_t n = 0; n < 300; n += 1 + n / 70) {
    for (const Case& c : cases) {
      const bool brief = source.Below(2) == 0;
      const Column x(source, n, brief);
      Column y(source, n, brief);
      for (std::size_t i = 0; i < n; ++i) {  // sums and differences of nothing
        if (source.Below(20) == 0) y.pointer[i] = x.pointer[i], y.length[i] = x.length[i];
      }
      Number nulls((n + 7) / 8);
      const std::uint64_t density =
          source.Below(3);  // of nulls: half, an eighth, none but by chance
      for (std::uint8_t& byte : nulls) {
        byte = static_cast<std::uint8_t>(source.Below(256));
        for (std::uint64_t i = 0; i < density; ++i)
          byte &= static_cast<std::uint8_t>(source.Below(256));
      }
      const bool with_nulls = source.Below(4) != 0;
      std::size_t present = n;
      for (std::size_t i = 0; i < n; ++i) present -= with_nulls && ((nulls[i / 8] >> i % 8) & 1);
      Output out(n, 22 * present);                 // the least that is enough
      const bool in_place = source.Below(3) == 0;  // on the arrays of x
      if (in_place) {
        for (std::size_t i = 0; i < n; ++i) {
          out.pointer[i] = const_cast<std::uint8_t*>(x.pointer[i]);
          out.length[i] = x.length[i];
        }
      }
      const std::uint8_t* const* first = in_place ? out.pointer.data() : x.pointer.data();
      const std::uint16_t* first_length = in_place ? out.length.data() : x.length.data();
      const std::uint8_t* bitmap = with_nulls ? nulls.data() : nullptr;
      const int status =
          c.binary != nullptr
              ? c.binary(first, first_length, y.pointer.data(), y.length.data(), n, bitmap,
                         out.pointer.data(), out.length.data(), out.area.data(), out.area.size())
              : c.unary(first, first_length, n, bitmap, out.pointer.data(), out.length.data(),
                        out.area.data(), out.area.size());
      ASSERT_EQ(status, 0);
      std::uint8_t* next = out.area.data();
      for (std::size_t i = 0; i < n; ++i) {
        if (with_nulls && ((nulls[i / 8] >> i % 8) & 1) != 0) {
          ASSERT_EQ(out.pointer[i], nullptr);
          ASSERT_EQ(out.length[i], 0);
          continue;
        }
        ASSERT_EQ(out.pointer[i], next);
        const Number wanted = test::Output([&](auto* to, auto* length) {
          if (c.binary != nullptr) {
            c.scalar_binary(x.pointer[i], x.length[i], y.pointer[i], y.length[i], to, length);
          } else {
            c.scalar_unary(x.pointer[i], x.length[i], to, length);
          }
        });
        ASSERT_EQ(Hex(out.At(i)), Hex(wanted)) << Hex(x.numbers[i]) << " " << Hex(y.numbers[i]);
        next += out.length[i];
      }
    }
  }
}

TEST_P(LnxArray, AnAreaTooSmallZeroesEverything) {
  const Kernels& k = KernelsFor(GetParam());
  NumberSource source(5);
  const std::size_t n = 19;
  const Column x(source, n);
  const std::uint8_t nulls[] = {0x11, 0x80,
                                0xFF};  // 3 + bits 16..18: 6 nulls, bits 19.. are nobody's
  const auto zeroed = [&](auto call) {
    Output out(n, 22 * 13 - 1);
    EXPECT_EQ(call(out), -24);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(out.pointer[i], nullptr);
      EXPECT_EQ(out.length[i], 0);
    }
    EXPECT_EQ(out.area, Number(out.area.size()));
  };
  for (BinaryArrayFunction* f : {k.add_array, k.subtract_array, k.multiply_array, k.divide_array}) {
    zeroed([&](Output& out) {
      return f(x.pointer.data(), x.length.data(), x.pointer.data(), x.length.data(), n, nulls,
               out.pointer.data(), out.length.data(), out.area.data(), out.area.size());
    });
  }
  for (UnaryArrayFunction* f : {k.absolute_array, k.negate_array, k.copy_array}) {
    zeroed([&](Output& out) {
      return f(x.pointer.data(), x.length.data(), n, nulls, out.pointer.data(), out.length.data(),
               out.area.data(), out.area.size());
    });
  }
}

TEST_P(LnxArray, ComparesLikeTheScalarForm) {
  NumberSource source(9);
  const std::size_t n = 999;
  const Column x(source, n);
  const Column y(source, n);
  Number nulls((n + 7) / 8);
  for (std::uint8_t& byte : nulls) byte = static_cast<std::uint8_t>(source.Below(256));
  std::vector<int> result(n, 1000);
  KernelsFor(GetParam())
      .compare_array(x.pointer.data(), x.length.data(), y.pointer.data(), y.length.data(), n,
                     nulls.data(), result.data());
  for (std::size_t i = 0; i < n; ++i) {
    const bool null = ((nulls[i / 8] >> i % 8) & 1) != 0;
    EXPECT_EQ(result[i], null ? 0 : lnxcmp(x.pointer[i], x.length[i], y.pointer[i], y.length[i]));
  }
}

TEST(LnxCheckArray, StopsAtTheFirstOrCountsAll) {
  const Number good = {0xC1, 2};
  const Number bad = {0xC1, 1};
  const std::uint8_t* x[] = {good.data(), nullptr, bad.data(), good.data(), bad.data()};
  const std::uint16_t lengths[] = {2, 2, 2, 2, 2};
  const std::uint8_t nulls[] = {0x02};
  std::uint8_t valid[] = {9, 9, 9, 9, 9};
  std::size_t invalid = 99;
  EXPECT_EQ(lnxchkarr(x, lengths, 5, nulls, valid, &invalid, 0), 0);
  EXPECT_EQ(invalid, 2u);
  EXPECT_EQ(Hex(valid, 5), "01 01 00 09 09");
  EXPECT_EQ(lnxchkarr(x, lengths, 5, nulls, valid, &invalid, KES_NUMBER_COUNT_INVALID), 0);
  EXPECT_EQ(invalid, 2u);
  EXPECT_EQ(Hex(valid, 5), "01 01 00 01 00");
  EXPECT_EQ(lnxchkarr(x, lengths, 2, nulls, valid, &invalid, 0), 0);
  EXPECT_EQ(invalid, 2u);
}

}  // namespace
}  // namespace kestra::number
