// Mathematical functions of NUMBERs of 20 digits between 0 and 100, stored bytes in and out, beside
// Boost cpp_dec_float<40> and MPFR with 136 bits (values already binary: no conversion, no full
// peer).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "kestra/number_math.h"
#include "kestra/number_text.h"

#ifdef KESTRA_HAVE_BOOST
#include <boost/multiprecision/cpp_dec_float.hpp>
#endif
#ifdef KESTRA_HAVE_MPFR
#include <mpfr.h>
#endif

namespace {

constexpr std::size_t kValues = 256;

std::vector<std::string> Texts() {
  std::mt19937_64 random(7);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < kValues; ++i) {
    std::string text = std::to_string(random() % 100) + ".";
    for (int k = 0; k < 18; ++k) text += static_cast<char>('0' + random() % 10);
    texts.push_back(text + "1");
  }
  return texts;
}

struct Stored {
  std::uint8_t bytes[21];
  std::size_t length;
};

using Function = int(const uint8_t*, size_t, uint8_t*, size_t*) noexcept;
using Power = int(const uint8_t*, size_t, const uint8_t*, size_t, uint8_t*, size_t*) noexcept;

template <typename Call>
void Measure(benchmark::State& state, Call call) {
  std::vector<Stored> numbers;
  for (const std::string& text : Texts()) {
    Stored number = {};
    lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), nullptr,
                number.bytes, &number.length, nullptr);
    numbers.push_back(number);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    std::uint8_t out[21];
    std::size_t length = 0;
    benchmark::DoNotOptimize(call(numbers[i % kValues], numbers[(i + 1) % kValues], out, &length));
    benchmark::ClobberMemory();
    ++i;
  }
}

void BM_Lnx(benchmark::State& state, Function* function) {
  Measure(state, [=](const Stored& x, const Stored&, std::uint8_t* out, std::size_t* length) {
    return function(x.bytes, x.length, out, length);
  });
}
void BM_LnxTwo(benchmark::State& state, Power* function) {
  Measure(state, [=](const Stored& x, const Stored& y, std::uint8_t* out, std::size_t* length) {
    return function(x.bytes, x.length, y.bytes, y.length, out, length);
  });
}

BENCHMARK_CAPTURE(BM_Lnx, sqrt, lnxsqr);
BENCHMARK_CAPTURE(BM_Lnx, exp, lnxexp);
BENCHMARK_CAPTURE(BM_Lnx, ln, lnxln);
BENCHMARK_CAPTURE(BM_LnxTwo, pow, lnxpow);
BENCHMARK_CAPTURE(BM_Lnx, sin, lnxsin);
BENCHMARK_CAPTURE(BM_Lnx, atan, lnxatn);

#ifdef KESTRA_HAVE_BOOST
using BoostDecimal = boost::multiprecision::number<boost::multiprecision::cpp_dec_float<40>,
                                                   boost::multiprecision::et_off>;

template <typename Operation>
void BM_Boost(benchmark::State& state, Operation operation) {
  std::vector<BoostDecimal> values;
  for (const std::string& text : Texts()) values.emplace_back(text);
  std::size_t i = 0;
  for (auto _ : state) {
    auto result = operation(values[i % kValues], values[(i + 1) % kValues]);
    benchmark::DoNotOptimize(result);
    ++i;
  }
}

using B = const BoostDecimal&;
BENCHMARK_CAPTURE(BM_Boost, sqrt, [](B x, B) { return BoostDecimal(sqrt(x)); });
BENCHMARK_CAPTURE(BM_Boost, exp, [](B x, B) { return BoostDecimal(exp(x)); });
BENCHMARK_CAPTURE(BM_Boost, ln, [](B x, B) { return BoostDecimal(log(x)); });
BENCHMARK_CAPTURE(BM_Boost, pow, [](B x, B y) { return BoostDecimal(pow(x, y)); });
BENCHMARK_CAPTURE(BM_Boost, sin, [](B x, B) { return BoostDecimal(sin(x)); });
BENCHMARK_CAPTURE(BM_Boost, atan, [](B x, B) { return BoostDecimal(atan(x)); });
#endif

#ifdef KESTRA_HAVE_MPFR
template <typename Operation>
void BM_Mpfr(benchmark::State& state, Operation operation) {
  std::vector<mpfr_t> values(kValues);
  const std::vector<std::string> texts = Texts();
  for (std::size_t i = 0; i < kValues; ++i) {
    mpfr_init2(values[i], 136);
    mpfr_set_str(values[i], texts[i].c_str(), 10, MPFR_RNDN);
  }
  mpfr_t result;
  mpfr_init2(result, 136);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(result, values[i % kValues], values[(i + 1) % kValues]));
    ++i;
  }
  mpfr_clear(result);
  for (mpfr_t& value : values) mpfr_clear(value);
}

using R = mpfr_ptr;
using M = mpfr_srcptr;
BENCHMARK_CAPTURE(BM_Mpfr, sqrt, [](R r, M x, M) { return mpfr_sqrt(r, x, MPFR_RNDN); });
BENCHMARK_CAPTURE(BM_Mpfr, exp, [](R r, M x, M) { return mpfr_exp(r, x, MPFR_RNDN); });
BENCHMARK_CAPTURE(BM_Mpfr, ln, [](R r, M x, M) { return mpfr_log(r, x, MPFR_RNDN); });
BENCHMARK_CAPTURE(BM_Mpfr, pow, [](R r, M x, M y) { return mpfr_pow(r, x, y, MPFR_RNDN); });
BENCHMARK_CAPTURE(BM_Mpfr, sin, [](R r, M x, M) { return mpfr_sin(r, x, MPFR_RNDN); });
BENCHMARK_CAPTURE(BM_Mpfr, atan, [](R r, M x, M) { return mpfr_atan(r, x, MPFR_RNDN); });
#endif

}  // namespace

BENCHMARK_MAIN();
