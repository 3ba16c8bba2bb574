// Array forms of timestamps do what the scalar ones do: each level of the processor, shared and own
// second operands, records in a row and scattered ones, results over their operands, errors anywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "datetime/kernels/date_kernels.h"
#include "kestra/datetime_arithmetic.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/datetime_values.h"

namespace kestra::test {
namespace {

using datetime::ChooseDateKernels;

class LdiArray : public CpuLevelTest {
 protected:
  void SetUp() override {
    CpuLevelTest::SetUp();
    ChooseDateKernels();
  }
  void TearDown() override {
    CpuLevelTest::TearDown();
    ChooseDateKernels();
  }

  std::size_t Below(std::size_t limit) { return source_.Below(limit); }

  // Mostly timestamps, in some rounds values of any type, in others also any bytes.
  LdiDate AnyDate(int round) {
    LdiDate date = source_.Date(KES_DATETIME_TIMESTAMP);
    if (round % 4 >= 2 && Below(20) == 0) date = source_.Date();
    if (round % 4 == 3 && Below(20) == 0) Scramble(date);
    return date;
  }
  LdiInter AnyInter(int round) {
    LdiInter inter = source_.Inter(KES_INTERVAL_DAY_TO_SECOND);
    if (Below(50) != 0) inter.field[0] %= 3000;
    if (round % 4 >= 2 && Below(20) == 0) inter = source_.Inter();
    if (round % 4 == 3 && Below(20) == 0) Scramble(inter);
    return inter;
  }
  template <typename T>
  void Scramble(T& record) {
    auto* bytes = reinterpret_cast<std::uint8_t*>(&record);
    const std::size_t first = Below(2) * Below(sizeof record);
    for (std::size_t i = first; i < sizeof record && Below(8) != 0; ++i) {
      bytes[i] = static_cast<std::uint8_t>(Below(256));
    }
  }

  template <typename T>
  static std::vector<T*> Addresses(std::vector<T>& values, const std::vector<std::size_t>& places) {
    std::vector<T*> at;
    for (const std::size_t place : places) at.push_back(&values[place]);
    return at;
  }

  DatetimeSource source_{41};
};

template <typename T>
std::vector<const T*> Constant(const std::vector<T*>& at) {
  return {at.begin(), at.end()};
}

// One round: arrays of up to 40 elements at the same places in both runs.
struct Round {
  std::size_t count;
  std::vector<std::size_t> places, others;
  std::uint32_t flags;
};

TEST_P(LdiArray, AgreesWithTheScalarFormsOnEveryRecord) {
  std::mt19937_64 random(42);
  for (int i = 0; i < 12'000; ++i) {
    SCOPED_TRACE("round " + std::to_string(i));
    Round r{Below(41), {}, {}, Below(3) == 0 ? std::uint32_t{KES_DATETIME_SHARED} : 0};
    r.places.resize(r.count + 1);
    std::iota(r.places.begin(), r.places.end(), 0);
    r.others = r.places;
    if (Below(3) == 0) std::shuffle(r.places.begin(), r.places.end(), random);
    if (Below(3) == 0) std::shuffle(r.others.begin(), r.others.end(), random);
    std::vector<LdiDate> x, y;
    std::vector<LdiInter> inters;
    for (std::size_t k = 0; k <= r.count; ++k) {
      x.push_back(AnyDate(i));
      y.push_back(AnyDate(i));
      if (Below(4) == 0) y.back() = x.back();
      inters.push_back(AnyInter(i));
    }
    const auto at = Addresses(x, r.places);
    const auto other = Constant(Addresses(y, r.others));
    const auto inter = Constant(Addresses(inters, r.others));
    const auto second = [&](std::size_t k) { return r.flags != 0 ? 0 : k; };

    // Differences and orders.
    const std::uint32_t type =
        Below(6) == 0 ? source_.InterType() : std::uint32_t{KES_INTERVAL_DAY_TO_SECOND};
    std::vector<LdiInter> expected(r.count + 1), differences(r.count + 1);
    std::vector<int> order(r.count);
    std::size_t done = 0, array_done = 0;
    std::uint32_t error = 0;
    for (; done < r.count && error == 0; done += error == 0) {
      LdiInter& to = expected[r.others[done]];
      error = LdiDateDateSubtract(&to, at[done], other[second(done)], type);
    }
    ASSERT_EQ(LdiDateDateSubtractarr(Addresses(differences, r.others).data(), Constant(at).data(),
                                     r.count, other.data(), type, r.flags, &array_done),
              error);
    ASSERT_EQ(array_done, done);
    ASSERT_EQ(std::memcmp(differences.data(), expected.data(), sizeof(LdiInter) * r.count), 0);
    error = 0;
    for (done = 0; done < r.count && error == 0; done += error == 0) {
      error = LdiDateCompare(at[done], other[second(done)], nullptr, &order[done]);
    }
    std::vector<std::int8_t> orders(r.count + 1, 99);
    ASSERT_EQ(LdiDateComparearr(orders.data(), Constant(at).data(), r.count, other.data(), nullptr,
                                r.flags, &array_done),
              error);
    ASSERT_EQ(array_done, done);
    ASSERT_TRUE(std::equal(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(done),
                           orders.begin()));
    ASSERT_EQ(orders[done], 99);

    // Sums, half of them over their operands.
    const bool less = Below(2) == 0;
    std::vector<LdiDate> in_place = x;
    std::vector<LdiDate> sums = x;
    error = 0;
    for (done = 0; done < r.count && error == 0; done += error == 0) {
      const auto add = less ? LdiDateInterSubtract : LdiDateInterAdd;
      error = add(&sums[r.places[done]], at[done], inter[second(done)]);
    }
    const auto to = Addresses(in_place, r.places);
    const auto add = less ? LdiDateInterSubtractarr : LdiDateInterAddarr;
    const auto from = Below(2) == 0 ? Constant(to) : Constant(at);
    ASSERT_EQ(add(to.data(), from.data(), r.count, inter.data(), r.flags, &array_done), error);
    ASSERT_EQ(array_done, done);
    ASSERT_EQ(std::memcmp(in_place.data(), sums.data(), sizeof(LdiDate) * sums.size()), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, LdiArray,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx2,
                                         os::CpuLevel::kAvx512),
                         LevelName);

}  // namespace
}  // namespace kestra::test
