// NUMBER arithmetic, stored bytes in and out, beside Boost cpp_dec_float<40>, Intel BID128 (34
// digits at most) and GMP integers already at one scale (not a full peer: no alignment, no
// rounding, no store). Operands are random with scales that differ: money is 3 to 8 digits with 2
// decimals and 2 to 5 digits with 0 to 2; 20, 34 and 40 are digits of both operands, with 0 to 9
// decimals.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/cpu_level.h"
#include "kestra/number.h"
#include "kestra/number_array.h"

#ifdef KESTRA_HAVE_BOOST
#include <boost/multiprecision/cpp_dec_float.hpp>
#endif
#ifdef KESTRA_HAVE_BID
#include "bench/peers/bid128.h"
#endif
#ifdef KESTRA_HAVE_GMP
#include <gmp.h>
#endif

namespace {

constexpr std::size_t kCount = 4096;  // distinct pairs

struct Decimal {
  std::string digits;
  int decimals;
  bool negative;

  std::string Text() const {
    std::string text = negative ? "-" : "";
    text.append(digits).append("e-").append(std::to_string(decimals));
    return text;
  }
};

using Random = std::mt19937_64;

Decimal RandomDecimal(Random& random, int least, int most, int fewest, int many) {
  const auto pick = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<std::uint64_t>(high - low + 1));
  };
  Decimal value;
  const int digits = pick(least, most);
  value.digits.push_back(static_cast<char>('0' + pick(1, 9)));
  while (static_cast<int>(value.digits.size()) < digits) {
    value.digits.push_back(static_cast<char>('0' + pick(0, 9)));
  }
  value.decimals = pick(fewest, many);
  value.negative = pick(0, 3) == 0;
  return value;
}

// column 0 is money, else digits.
std::array<Decimal, 2> RandomPair(Random& random, std::int64_t column) {
  if (column == 0) return {RandomDecimal(random, 3, 8, 2, 2), RandomDecimal(random, 2, 5, 0, 2)};
  const auto digits = static_cast<int>(column);
  return {RandomDecimal(random, digits, digits, 0, 9), RandomDecimal(random, digits, digits, 0, 9)};
}

std::vector<std::uint8_t> ToNumber(const Decimal& value) {
  std::string digits = value.digits;
  int decimals = value.decimals;
  if (decimals % 2 != 0) {
    digits.push_back('0');
    ++decimals;
  }
  if (digits.size() % 2 != 0) digits.insert(digits.begin(), '0');
  const int pairs = static_cast<int>(digits.size() / 2);
  std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(192 + pairs - decimals / 2)};
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>((digits[i] - '0') * 10 + digits[i + 1] - '0' + 1));
  }
  while (bytes.back() == 1) bytes.pop_back();
  if (bytes.size() > 21) {  // 40 digits that start in the middle of a byte
    bytes.resize(21);
    while (bytes.back() == 1) bytes.pop_back();
  }
  if (value.negative) {
    std::uint8_t out[21];
    std::size_t length = 0;
    lnxneg(bytes.data(), bytes.size(), out, &length);
    bytes.assign(out, out + length);
  }
  return bytes;
}

// Numbers at a stride, as rows of a fetch buffer.
struct Numbers {
  explicit Numbers(std::int64_t column, std::size_t count = kCount) : rows(count * 2) {
    Random random(42);
    for (std::size_t i = 0; i < count; ++i) {
      const std::array<Decimal, 2> pair = RandomPair(random, column);
      for (std::size_t side = 0; side < 2; ++side) {
        const std::vector<std::uint8_t> bytes = ToNumber(pair[side]);
        Row& row = rows[2 * i + side];
        std::copy(bytes.begin(), bytes.end(), row.bytes);
        row.length = static_cast<std::uint8_t>(bytes.size());
      }
    }
  }
  struct Row {
    std::uint8_t bytes[23];
    std::uint8_t length;
  };
  std::vector<Row> rows;
};

using BinaryFunction = void(const uint8_t*, size_t, const uint8_t*, size_t, uint8_t*,
                            size_t*) noexcept;

void BM_Lnx(benchmark::State& state, BinaryFunction* function) {
  const Numbers numbers(state.range(0));
  std::uint8_t out[64];
  std::size_t length = 0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < numbers.rows.size(); i += 2) {
      const Numbers::Row& x = numbers.rows[i];
      const Numbers::Row& y = numbers.rows[i + 1];
      function(x.bytes, x.length, y.bytes, y.length, out + (i & 2) * 16, &length);
      benchmark::DoNotOptimize(length);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

void BM_LnxCompare(benchmark::State& state) {
  const Numbers numbers(state.range(0));
  for (auto _ : state) {
    int sum = 0;
    for (std::size_t i = 0; i < numbers.rows.size(); i += 2) {
      const Numbers::Row& x = numbers.rows[i];
      const Numbers::Row& y = numbers.rows[i + 1];
      sum += lnxcmp(x.bytes, x.length, y.bytes, y.length) < 0;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

using RoundFunction = void(const uint8_t*, size_t, uint8_t*, size_t*, int) noexcept;

void BM_LnxRound(benchmark::State& state, RoundFunction* function) {
  const Numbers numbers(state.range(0));
  std::uint8_t out[64];
  std::size_t length = 0;
  for (auto _ : state) {
    for (std::size_t i = 0; i < numbers.rows.size(); i += 2) {
      const Numbers::Row& x = numbers.rows[i];
      function(x.bytes, x.length, out + (i & 2) * 16, &length, 1);
      benchmark::DoNotOptimize(length);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

// A million elements, both ways: the scalar function in a loop that packs its results, and the
// vector form.
struct Columns {
  static constexpr std::size_t kRows = 1'000'000;
  explicit Columns(std::int64_t column) : numbers(column, kRows), area(22 * kRows) {
    for (std::size_t i = 0; i < kRows; ++i) {
      x.push_back(numbers.rows[2 * i].bytes);
      y.push_back(numbers.rows[2 * i + 1].bytes);
      xlen.push_back(numbers.rows[2 * i].length);
      ylen.push_back(numbers.rows[2 * i + 1].length);
    }
    out.resize(kRows);
    outlen.resize(kRows);
  }
  Numbers numbers;
  std::vector<std::uint8_t> area;
  std::vector<const std::uint8_t*> x, y;
  std::vector<std::uint16_t> xlen, ylen;
  std::vector<std::uint8_t*> out;
  std::vector<std::uint16_t> outlen;
};

void BM_LnxMillionScalar(benchmark::State& state, BinaryFunction* function) {
  Columns c(state.range(0));
  for (auto _ : state) {
    std::uint8_t* next = c.area.data();
    for (std::size_t i = 0; i < Columns::kRows; ++i) {
      std::size_t length;
      function(c.x[i], c.xlen[i], c.y[i], c.ylen[i], next, &length);
      c.out[i] = next;
      c.outlen[i] = static_cast<std::uint16_t>(length);
      next += length;
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Columns::kRows));
}

using ArrayFunction = int(const uint8_t* const*, const uint16_t*, const uint8_t* const*,
                          const uint16_t*, size_t, const uint8_t*, uint8_t**, uint16_t*, uint8_t*,
                          size_t) noexcept;

void BM_LnxMillionArray(benchmark::State& state, ArrayFunction* function) {
  Columns c(state.range(0));
  for (auto _ : state) {
    function(c.x.data(), c.xlen.data(), c.y.data(), c.ylen.data(), Columns::kRows, nullptr,
             c.out.data(), c.outlen.data(), c.area.data(), c.area.size());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(Columns::kRows));
}

void AllColumns(benchmark::internal::Benchmark* b) {
  b->ArgName("digits")->Arg(0)->Arg(20)->Arg(34)->Arg(40);
}
void UpTo34(benchmark::internal::Benchmark* b) { b->ArgName("digits")->Arg(0)->Arg(20)->Arg(34); }
void Million(benchmark::internal::Benchmark* b) { b->ArgName("digits")->Arg(0)->Arg(34); }

BENCHMARK_CAPTURE(BM_Lnx, add, lnxadd)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Lnx, sub, lnxsub)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Lnx, mul, lnxmul)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Lnx, div, lnxdiv)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Lnx, mod, lnxmod)->Apply(AllColumns);
BENCHMARK(BM_LnxCompare)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_LnxRound, round, lnxrou)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_LnxRound, truncate, lnxtru)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_LnxMillionScalar, add, lnxadd)->Apply(Million);
BENCHMARK_CAPTURE(BM_LnxMillionArray, add, lnxaddarr)->Apply(Million);
BENCHMARK_CAPTURE(BM_LnxMillionScalar, mul, lnxmul)->Apply(Million);
BENCHMARK_CAPTURE(BM_LnxMillionArray, mul, lnxmularr)->Apply(Million);
BENCHMARK_CAPTURE(BM_LnxMillionScalar, div, lnxdiv)->Apply(Million);
BENCHMARK_CAPTURE(BM_LnxMillionArray, div, lnxdivarr)->Apply(Million);

#ifdef KESTRA_HAVE_BOOST
using BoostDecimal = boost::multiprecision::number<boost::multiprecision::cpp_dec_float<40>,
                                                   boost::multiprecision::et_off>;

template <typename Operation>
void BM_Boost(benchmark::State& state, Operation operation) {
  Random random(42);
  std::vector<BoostDecimal> values;
  for (std::size_t i = 0; i < kCount; ++i) {
    for (const Decimal& value : RandomPair(random, state.range(0)))
      values.emplace_back(value.Text());
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < values.size(); i += 2) {
      auto result = operation(values[i], values[i + 1]);
      benchmark::DoNotOptimize(result);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

using B = const BoostDecimal&;
BENCHMARK_CAPTURE(BM_Boost, add, [](B a, B b) { return BoostDecimal(a + b); })->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Boost, sub, [](B a, B b) { return BoostDecimal(a - b); })->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Boost, mul, [](B a, B b) { return BoostDecimal(a * b); })->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Boost, div, [](B a, B b) { return BoostDecimal(a / b); })->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Boost, compare, [](B a, B b) { return a < b; })->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Boost, round, [](B a, B) {
  return BoostDecimal(round(a * 10) / 10);
})->Apply(AllColumns);
#endif

#ifdef KESTRA_HAVE_BID
using kestra::bench::Bid128;

template <typename Operation>
void BM_Bid128(benchmark::State& state, Operation operation) {
  Random random(42);
  std::vector<Bid128> values;
  for (std::size_t i = 0; i < kCount; ++i) {
    for (const Decimal& value : RandomPair(random, state.range(0))) {
      values.push_back(kestra::bench::BidFromText(value.Text().c_str()));
    }
  }
  for (auto _ : state) {
    for (std::size_t i = 0; i < values.size(); i += 2) {
      auto result = operation(values[i], values[i + 1]);
      benchmark::DoNotOptimize(result);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

BENCHMARK_CAPTURE(BM_Bid128, add, kestra::bench::BidAdd)->Apply(UpTo34);
BENCHMARK_CAPTURE(BM_Bid128, sub, kestra::bench::BidSubtract)->Apply(UpTo34);
BENCHMARK_CAPTURE(BM_Bid128, mul, kestra::bench::BidMultiply)->Apply(UpTo34);
BENCHMARK_CAPTURE(BM_Bid128, div, kestra::bench::BidDivide)->Apply(UpTo34);
BENCHMARK_CAPTURE(BM_Bid128, compare, kestra::bench::BidLess)->Apply(UpTo34);
BENCHMARK_CAPTURE(BM_Bid128, round, kestra::bench::BidToOnePlace)->Apply(UpTo34);
#endif

#ifdef KESTRA_HAVE_GMP
template <typename Operation>
void BM_Gmp(benchmark::State& state, Operation operation) {
  Random random(42);
  std::vector<mpz_t> values(2 * kCount);
  std::size_t next = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    for (const Decimal& value : RandomPair(random, state.range(0))) {
      mpz_init_set_str(values[next], value.digits.c_str(), 10);
      if (value.negative) mpz_neg(values[next], values[next]);
      ++next;
    }
  }
  mpz_t result;
  mpz_init2(result, 512);
  for (auto _ : state) {
    for (std::size_t i = 0; i < values.size(); i += 2) {
      operation(result, values[i], values[i + 1]);
      benchmark::DoNotOptimize(result);
    }
  }
  mpz_clear(result);
  for (mpz_t& value : values) mpz_clear(value);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}

BENCHMARK_CAPTURE(BM_Gmp, add, mpz_add)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Gmp, mul, mpz_mul)->Apply(AllColumns);
BENCHMARK_CAPTURE(BM_Gmp, div, mpz_tdiv_q)->Apply(AllColumns);
#endif

}  // namespace

int main(int argc, char** argv) {
  kestra::bench::ForceCpuLevelOfEnvironment();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
