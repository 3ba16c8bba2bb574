// Columns of decimals: members against dense loops over bare arrays without a null bitmap, loading
// and reading NUMBERs, and a column expression against the same row by row.
//
// The dense loops are compiled for the level that the members run at: BENCH_CPU_LEVEL=0 or 1 in the
// environment means that of lesser processors (see cpu_level.h).
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/cpu_level.h"
#include "kestra/decimal_vector.h"
#include "kestra/number.h"
#ifdef KESTRA_HAVE_BOOST
#include <boost/multiprecision/cpp_dec_float.hpp>
#endif
#ifdef KESTRA_HAVE_SQLITE
#include <sqlite3.h>
#endif

namespace {

__extension__ using int128 = __int128;

struct Int192 {
  std::uint64_t w[3];
};

template <class T>
inline T Sum(const T& x, const T& y) {
  return static_cast<T>(x + y);
}
// The carries written by hand.
template <>
inline Int192 Sum(const Int192& x, const Int192& y) {
  Int192 r = {{x.w[0] + y.w[0], x.w[1] + y.w[1], x.w[2] + y.w[2]}};
  const std::uint64_t carry = r.w[0] < x.w[0];
  const std::uint64_t above = r.w[1] < x.w[1];
  r.w[1] += carry;
  r.w[2] += above + (r.w[1] < carry);
  return r;
}

template <class T>
[[gnu::always_inline]] inline void DenseAdd(std::size_t n, const T* x, const T* y, T* out) {
  for (std::size_t i = 0; i < n; ++i) out[i] = Sum(x[i], y[i]);
}
template <class T>
[[gnu::always_inline]] inline void DenseMultiply(std::size_t n, const T* x, const T* y, T* out) {
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<T>(x[i] * y[i]);
}
template <class T>
[[gnu::always_inline]] inline void DenseAddScalar(std::size_t n, const T* x, const T* y, T* out) {
  const T scalar = *x;
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<T>(scalar + y[i]);
}
template <class T>
[[gnu::always_inline]] inline T DenseSum(std::size_t n, const T* x) {
  T sum = 0;
  for (std::size_t i = 0; i < n; ++i) sum = static_cast<T>(sum + x[i]);
  return sum;
}
// Products of the lower 192 bits, by hand as well.
template <>
[[gnu::always_inline]] inline void DenseMultiply(std::size_t n, const Int192* x, const Int192* y,
                                                 Int192* out) {
  __extension__ using uint128 = unsigned __int128;
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t* a = x[i].w;
    const std::uint64_t* b = y[i].w;
    const uint128 low = static_cast<uint128>(a[0]) * b[0];
    const uint128 cross = static_cast<uint128>(a[0]) * b[1];
    const uint128 other = static_cast<uint128>(a[1]) * b[0];
    const uint128 middle =
        (low >> 64) + static_cast<std::uint64_t>(cross) + static_cast<std::uint64_t>(other);
    const auto high = static_cast<std::uint64_t>((middle >> 64) + (cross >> 64) + (other >> 64));
    out[i] = {{static_cast<std::uint64_t>(low), static_cast<std::uint64_t>(middle),
               high + a[0] * b[2] + a[1] * b[1] + a[2] * b[0]}};
  }
}
// Sums with the running minimum and maximum of them, in one pass as the members do it.
bool Less(const int128& x, const int128& y) { return x < y; }
bool Less(const Int192& x, const Int192& y) {
  if (x.w[2] != y.w[2])
    return static_cast<std::int64_t>(x.w[2]) < static_cast<std::int64_t>(y.w[2]);
  return x.w[1] != y.w[1] ? x.w[1] < y.w[1] : x.w[0] < y.w[0];
}
template <class T>
[[gnu::always_inline]] inline void DenseAddMinMax(std::size_t n, const T* x, const T* y, T* out) {
  T lo = Sum(x[0], y[0]);
  T hi = lo;
  for (std::size_t i = 0; i < n; ++i) {
    out[i] = Sum(x[i], y[i]);
    if (Less(out[i], lo)) lo = out[i];
    if (Less(hi, out[i])) hi = out[i];
  }
  benchmark::DoNotOptimize(lo);
  benchmark::DoNotOptimize(hi);
}

// The same function compiled for each level, and the one of the level in force.
#if defined(__x86_64__)
#define AT_LEVELS(result, name, parameters, arguments)                                    \
  template <class T>                                                                      \
  [[gnu::noinline,                                                                        \
    gnu::target("avx512f,avx512bw,avx512dq,avx512vl,prefer-vector-width=512")]] result    \
      name##Avx512 parameters {                                                           \
    return name arguments;                                                                \
  }                                                                                       \
  template <class T>                                                                      \
  [[gnu::noinline, gnu::target("avx2,bmi,bmi2")]] result name##Avx2 parameters {          \
    return name arguments;                                                                \
  }                                                                                       \
  template <class T>                                                                      \
  [[gnu::noinline]] result name##Baseline parameters {                                    \
    return name arguments;                                                                \
  }                                                                                       \
  template <class T>                                                                      \
  result(*name##AtLevel()) parameters {                                                   \
    const int level = static_cast<int>(kestra::os::GetCpuLevel());                        \
    return level == 0 ? name##Baseline<T> : level == 1 ? name##Avx2<T> : name##Avx512<T>; \
  }
#else
#define AT_LEVELS(result, name, parameters, arguments) \
  template <class T>                                   \
  result(*name##AtLevel()) parameters {                \
    return name<T>;                                    \
  }
#endif
AT_LEVELS(void, DenseAdd, (std::size_t n, const T* x, const T* y, T* out), (n, x, y, out))
AT_LEVELS(void, DenseMultiply, (std::size_t n, const T* x, const T* y, T* out), (n, x, y, out))
AT_LEVELS(void, DenseAddScalar, (std::size_t n, const T* x, const T* y, T* out), (n, x, y, out))
AT_LEVELS(void, DenseAddMinMax, (std::size_t n, const T* x, const T* y, T* out), (n, x, y, out))
AT_LEVELS(T, DenseSum, (std::size_t n, const T* x), (n, x))

std::vector<std::uint8_t> MakeNulls(std::size_t n, int percent) {
  std::mt19937 random(3);
  std::vector<std::uint8_t> nulls(n / 8 + 1);
  for (std::size_t i = 0; i < n; ++i) {
    if (static_cast<int>(random() % 100) < percent)
      nulls[i / 8] |= static_cast<std::uint8_t>(1 << i % 8);
  }
  return nulls;
}

template <class T>
struct Array {
  explicit Array(std::size_t n)
      : memory(n * sizeof(T) + 64),
        data(reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(memory.data()) + 63) / 64 *
                                  64)) {
    std::mt19937_64 random(n);
    for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<std::uint8_t>(random());
  }
  std::vector<std::uint8_t> memory;
  T* data;
};

using Size = std::size_t;

template <class T>
void Dense(benchmark::State& state, void (*loop)(Size, const T*, const T*, T*)) {
  const auto n = static_cast<Size>(state.range(0));
  Array<T> x(n), y(n), out(n);
  for (auto _ : state) {
    loop(n, x.data, y.data, out.data);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class T>
void Member(benchmark::State& state, ldsbmember member, std::uint32_t precision) {
  const auto n = static_cast<Size>(state.range(0));
  Array<T> x(n), y(n), out(n);
  const auto nulls = MakeNulls(n, static_cast<int>(state.range(1)));
  ldsbminmax minmax = {};
  const ldsboperation record = {state.range(1) < 0 ? nullptr : nulls.data(), precision, 0,
                                state.range(2) != 0 ? &minmax : nullptr, 0};
  for (auto _ : state) {
    member(n, x.data, y.data, out.data, &record);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class T>
void DenseSums(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  Array<T> x(n);
  T (*const sum)(Size, const T*) = DenseSumAtLevel<T>();
  for (auto _ : state) benchmark::DoNotOptimize(sum(n, x.data));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr std::int64_t kSizes[] = {16384, 1 << 20};
constexpr std::int64_t kShort = 20;

template <class T>
void RegisterDense(const std::string& what, void (*loop)(Size, const T*, const T*, T*)) {
  benchmark::RegisterBenchmark(("BM_Dense/" + what).c_str(), Dense<T>, loop)
      ->ArgNames({"n"})
      ->Arg(kSizes[0])
      ->Arg(kSizes[1]);
}
template <class T>
void RegisterMember(const std::string& what, ldsbmember member, std::uint32_t precision) {
  auto* b =
      benchmark::RegisterBenchmark(("BM_Member/" + what).c_str(), Member<T>, member, precision);
  b->ArgNames({"n", "null_percent", "minmax"});
  for (const std::int64_t n : kSizes) {
    for (const std::int64_t percent : {-1, 5, 50, 95}) b->Args({n, percent, 0});
    b->Args({n, -1, 1})->Args({n, 5, 1});
  }
  b->Args({kShort, 5, 0})->Args({kShort, 5, 1});
}
template <class T>
void RegisterWidth(const char* bits, std::uint32_t precision, ldsbmember add, ldsbmember multiply,
                   ldsbmember add_scalar, ldsbmember sum) {
  const std::string name = bits;
  RegisterDense<T>("add" + name, DenseAddAtLevel<T>());
  RegisterMember<T>("add" + name, add, precision);
  RegisterDense<T>("mul" + name, DenseMultiplyAtLevel<T>());
  RegisterMember<T>("mul" + name, multiply, precision);
  if constexpr (sizeof(T) > 8)
    RegisterDense<T>("add" + name + "_minmax", DenseAddMinMaxAtLevel<T>());
  if constexpr (sizeof(T) != sizeof(Int192)) {
    RegisterDense<T>("adds" + name, DenseAddScalarAtLevel<T>());
    RegisterMember<T>("adds" + name, add_scalar, precision);
    benchmark::RegisterBenchmark(("BM_Dense/sum" + name).c_str(), DenseSums<T>)
        ->ArgNames({"n"})
        ->Arg(kSizes[0])
        ->Arg(kSizes[1]);
    RegisterMember<T>("sum" + name, sum, precision);
  }
}

// ---- NUMBERs ----

// Numbers of up to so many decimal digits with two of them after the point, as a column holds them:
// one after another, with pointers and lengths.
struct NumberColumn {
  NumberColumn(Size n, int digits) : pointers(n), lengths(n) {
    std::mt19937_64 random(7);
    std::vector<std::int64_t> values(n);
    std::int64_t limit = 1;
    for (int i = 0; i < digits; ++i) limit *= 10;
    for (auto& value : values) {
      std::int64_t bound = limit;
      for (auto cut = random() % static_cast<std::uint64_t>(digits - 2); cut > 0; --cut)
        bound /= 10;
      value = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(bound));
      if (random() % 8 == 0) value = -value;
    }
    ldsbvinit(nullptr, &vector, nullptr, 0);
    ldsbvset_ints(nullptr, &vector, 7, -1, 0, n, values.data(), 8, nullptr, 0);
    area.resize(22 * n);
    ldsbvget_pons(nullptr, &vector, 0, n, pointers.data(), lengths.data(), area.data(), area.size(),
                  nullptr);
  }
  ~NumberColumn() { ldsbvfree(nullptr, &vector); }
  std::vector<const std::uint8_t*> pointers;
  std::vector<std::uint16_t> lengths;
  std::vector<std::uint8_t> area;
  ldsbvector vector;
};

void BM_LoadNumbers(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  const NumberColumn column(n, static_cast<int>(state.range(1)));
  ldsbvector vector;
  ldsbvinit(nullptr, &vector, nullptr, 0);
  for (auto _ : state) {
    if (ldsbvset_ons(nullptr, &vector, KES_DSB_NARROWEST, KES_DSB_NO_SCALE, 0, n,
                     column.pointers.data(), column.lengths.data(), nullptr, 0) != 0)
      state.SkipWithError("load");
  }
  ldsbvfree(nullptr, &vector);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LoadNumbers)->ArgNames({"n", "digits"})->ArgsProduct({{16384, 1 << 20}, {8, 14, 20}});

void BM_ScanNumbers(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  const NumberColumn column(n, static_cast<int>(state.range(1)));
  for (auto _ : state) {
    std::int32_t scale = KES_DSB_NO_SCALE;
    std::uint32_t digits = 0;
    ldsbvscan_ons(nullptr, n, column.pointers.data(), column.lengths.data(), nullptr, &scale,
                  &digits);
    benchmark::DoNotOptimize(digits);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ScanNumbers)->ArgNames({"n", "digits"})->Args({16384, 8})->Args({1 << 20, 8});

void BM_ReadNumbersPacked(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  NumberColumn column(n, static_cast<int>(state.range(1)));
  for (auto _ : state) {
    ldsbvget_pons(nullptr, &column.vector, 0, n, column.pointers.data(), column.lengths.data(),
                  column.area.data(), column.area.size(), nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReadNumbersPacked)
    ->ArgNames({"n", "digits"})
    ->ArgsProduct({{16384, 1 << 20}, {8, 14}});

void BM_ReadNumberSlots(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  NumberColumn column(n, static_cast<int>(state.range(1)));
  for (auto _ : state) {
    ldsbvget_ons(nullptr, &column.vector, 0, n, column.area.data(), 22, nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReadNumberSlots)->ArgNames({"n", "digits"})->ArgsProduct({{16384, 1 << 20}, {8, 14}});

// ---- price * quantity + tax, 5 percent nulls ----

struct Orders {
  explicit Orders(Size n) : price(n), quantity(n), tax(n), nulls(MakeNulls(n, 5)) {
    std::mt19937 random(11);
    for (Size i = 0; i < n; ++i) {
      price.data[i] = static_cast<std::int32_t>(random() % 1'000'000);  // cents
      quantity.data[i] = static_cast<std::int16_t>(1 + random() % 100);
      tax.data[i] = static_cast<std::int32_t>(random() % 10'000);
    }
  }
  Array<std::int32_t> price;
  Array<std::int16_t> quantity;
  Array<std::int32_t> tax;
  std::vector<std::uint8_t> nulls;
};

// A block of a column with the extremes of the column.
template <class T>
ldsbvector Block(const Array<T>& column, std::vector<std::uint8_t>& nulls, Size first, Size n,
                 std::int32_t scale, T min, T max) {
  ldsbvector vector;
  ldsbvinitx(nullptr, &vector, static_cast<std::uint32_t>(ldsbget_prec(sizeof(T))), scale, n,
             column.data + first, (n * sizeof(T) + 63) / 64 * 64, &min, &max);
  vector.nulls = nulls.data() + first / 8;
  return vector;
}

void BM_ExpressionColumns(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  const auto step = static_cast<Size>(state.range(1));
  Orders orders(n);
  Array<std::int64_t> total(n);
  std::vector<std::uint8_t> total_nulls(n / 8 + 8), product_nulls(step / 8 + 8),
      scratch(step * 8 + 128);
  const ldsboptions wide = {0, KES_DSB_INT64, {}};
  for (auto _ : state) {
    for (Size first = 0; first < n; first += step) {
      const Size size = n - first < step ? n - first : step;
      const ldsbvector price =
          Block<std::int32_t>(orders.price, orders.nulls, first, size, -1, 0, 999'999);
      const ldsbvector quantity =
          Block<std::int16_t>(orders.quantity, orders.nulls, first, size, 0, 1, 100);
      const ldsbvector tax =
          Block<std::int32_t>(orders.tax, orders.nulls, first, size, -1, 0, 9'999);
      ldsbvector product, result;
      ldsbvinit(nullptr, &product, scratch.data(), scratch.size());
      product.nulls = product_nulls.data();
      ldsbvinit(nullptr, &result, total.data + first, (size * 8 + 63) / 64 * 64);
      result.nulls = total_nulls.data() + first / 8;
      if (ldsbvop(nullptr, KES_DSB_MULTIPLY, &product, &price, &quantity, nullptr) != 0 ||
          ldsbvop(nullptr, KES_DSB_ADD, &result, &product, &tax, &wide) != 0) {
        state.SkipWithError("ldsbvop");
      }
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ExpressionColumns)
    ->ArgNames({"rows", "block"})
    ->Args({10'000'000, 4096})
    ->Args({10'000'000, 16384})
    ->Args({10'000'000, 10'000'000})
    ->Args({1'000'000, 4096})
    ->Unit(benchmark::kMillisecond);

// The bytes of all three columns as NUMBERs in length-prefixed slots.
struct NumberOrders {
  explicit NumberOrders(Size n)
      : orders(n), price(22 * n), quantity(22 * n), tax(22 * n), total(22 * n) {
    const auto fill = [n](const void* ints, Size width, std::int32_t scale,
                          std::vector<std::uint8_t>& slots) {
      ldsbvector vector;
      ldsbvinit(nullptr, &vector, nullptr, 0);
      ldsbvset_ints(nullptr, &vector, 7, scale, 0, n, ints, width, nullptr, 0);
      ldsbvget_ons(nullptr, &vector, 0, n, slots.data(), 22, nullptr);
      ldsbvfree(nullptr, &vector);
    };
    fill(orders.price.data, 4, -1, price);
    fill(orders.quantity.data, 2, 0, quantity);
    fill(orders.tax.data, 4, -1, tax);
  }
  Orders orders;
  std::vector<std::uint8_t> price, quantity, tax, total;
};

void BM_ExpressionNumbers(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  NumberOrders numbers(n);
  for (auto _ : state) {
    for (Size i = 0; i < n; ++i) {
      if ((numbers.orders.nulls[i / 8] >> i % 8 & 1) != 0) continue;
      std::uint8_t product[22];
      lnxmul(&numbers.price[22 * i], 0, &numbers.quantity[22 * i], 0, product, nullptr);
      lnxadd(product, 0, &numbers.tax[22 * i], 0, &numbers.total[22 * i], nullptr);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ExpressionNumbers)->ArgNames({"rows"})->Arg(1'000'000)->Unit(benchmark::kMillisecond);

#ifdef KESTRA_HAVE_BOOST
void BM_ExpressionBoost(benchmark::State& state) {
  using Decimal = boost::multiprecision::number<boost::multiprecision::cpp_dec_float<40>,
                                                boost::multiprecision::et_off>;
  const auto n = static_cast<Size>(state.range(0));
  const Orders orders(n);
  std::vector<Decimal> price(n), quantity(n), tax(n), total(n);
  for (Size i = 0; i < n; ++i) {
    price[i] = Decimal(orders.price.data[i]) / 100;
    quantity[i] = orders.quantity.data[i];
    tax[i] = Decimal(orders.tax.data[i]) / 100;
  }
  for (auto _ : state) {
    for (Size i = 0; i < n; ++i) {
      if ((orders.nulls[i / 8] >> i % 8 & 1) == 0) total[i] = price[i] * quantity[i] + tax[i];
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ExpressionBoost)->ArgNames({"rows"})->Arg(1'000'000)->Unit(benchmark::kMillisecond);
#endif

#ifdef KESTRA_HAVE_SQLITE
void BM_ExpressionSqlite(benchmark::State& state) {
  const auto n = static_cast<Size>(state.range(0));
  const Orders orders(n);
  sqlite3* db = nullptr;
  sqlite3_open(":memory:", &db);
  sqlite3_exec(db, "create table orders(price real, quantity real, tax real); begin", nullptr,
               nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(db, "insert into orders values(?, ?, ?)", -1, &insert, nullptr);
  for (Size i = 0; i < n; ++i) {
    if ((orders.nulls[i / 8] >> i % 8 & 1) != 0) {
      sqlite3_bind_null(insert, 1);
    } else {
      sqlite3_bind_double(insert, 1, orders.price.data[i] / 100.0);
    }
    sqlite3_bind_double(insert, 2, orders.quantity.data[i]);
    sqlite3_bind_double(insert, 3, orders.tax.data[i] / 100.0);
    sqlite3_step(insert);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  sqlite3_exec(db, "commit", nullptr, nullptr, nullptr);
  sqlite3_stmt* sum = nullptr;
  sqlite3_prepare_v2(db, "select sum(price * quantity + tax) from orders", -1, &sum, nullptr);
  for (auto _ : state) {
    if (sqlite3_step(sum) != SQLITE_ROW) state.SkipWithError("sqlite");
    benchmark::DoNotOptimize(sqlite3_column_double(sum, 0));
    sqlite3_reset(sum);
  }
  sqlite3_finalize(sum);
  sqlite3_close(db);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ExpressionSqlite)->ArgNames({"rows"})->Arg(1'000'000)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

int main(int argc, char** argv) {
  kestra::bench::ForceCpuLevelOfEnvironment();
  RegisterWidth<std::int8_t>("8", 1, ldsbgopadd8x8, ldsbgopmul8x8, ldsbgopadds8x8, ldsbgopsum8);
  RegisterWidth<std::int16_t>("16", 2, ldsbgopadd16x16, ldsbgopmul16x16, ldsbgopadds16x16,
                              ldsbgopsum16);
  RegisterWidth<std::int32_t>("32", 3, ldsbgopadd32x32, ldsbgopmul32x32, ldsbgopadds32x32,
                              ldsbgopsum32);
  RegisterWidth<std::int64_t>("64", 4, ldsbgopadd64x64, ldsbgopmul64x64, ldsbgopadds64x64,
                              ldsbgopsum64);
  RegisterWidth<int128>("128", 5, ldsbgopadd128x128, ldsbgopmul128x128, ldsbgopadds128x128,
                        ldsbgopsum128);
  RegisterWidth<Int192>("192", 6, ldsbgopadd192x192, ldsbgopmul192x192, nullptr, nullptr);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
