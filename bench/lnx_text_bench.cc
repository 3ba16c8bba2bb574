// NUMBER to and from text, beside a decimal floating-point library and the integers of the standard
// library. Money: 3 to 8 digits with 2 places; then 20, 34 and 40 digits with the point inside.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/cpu_level.h"
#include "kestra/number_format.h"
#include "kestra/number_text.h"

#ifdef KESTRA_HAVE_BID
#define DECIMAL_CALL_BY_REFERENCE 0
#define DECIMAL_GLOBAL_ROUNDING 0
#define DECIMAL_GLOBAL_EXCEPTION_FLAGS 0
extern "C" {
struct alignas(16) BidValue {
  std::uint64_t words[2];
};
BidValue __bid128_from_string(char* text, unsigned rounding, unsigned* flags);
void __bid128_to_string(char* text, BidValue value, unsigned* flags);
}
#endif

namespace {

constexpr std::size_t kValues = 1024;
constexpr int kMoney = 0;

std::vector<std::string> Texts(int digits) {
  std::mt19937_64 random(20251122);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < kValues; ++i) {
    const int count = digits == kMoney ? 3 + static_cast<int>(random() % 6) : digits;
    const int point = digits == kMoney
                          ? count - 2
                          : 1 + static_cast<int>(random() % static_cast<unsigned>(count - 1));
    std::string text = random() % 2 == 0 ? "-" : "";
    for (int k = 0; k < count; ++k) {
      if (k == point) text += '.';
      const bool end = k == 0 || k == count - 1;
      text += static_cast<char>(end ? '1' + random() % 9 : '0' + random() % 10);
    }
    texts.push_back(text);
  }
  return texts;
}

struct Stored {
  std::uint8_t bytes[21];
  std::size_t length;
};

std::vector<Stored> Numbers(int digits) {
  std::vector<Stored> numbers;
  for (const std::string& text : Texts(digits)) {
    Stored number = {};
    lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), nullptr,
                number.bytes, &number.length, nullptr);
    numbers.push_back(number);
  }
  return numbers;
}

void BM_LnxToText(benchmark::State& state) {
  const std::vector<Stored> numbers = Numbers(static_cast<int>(state.range(0)));
  std::uint8_t text[200];
  std::size_t i = 0;
  for (auto _ : state) {
    const Stored& number = numbers[i++ % kValues];
    std::size_t length = 0;
    benchmark::DoNotOptimize(
        lnxtotext(number.bytes, number.length, nullptr, nullptr, text, sizeof text, &length));
    benchmark::ClobberMemory();
  }
}

void BM_LnxFromText(benchmark::State& state) {
  const std::vector<std::string> texts = Texts(static_cast<int>(state.range(0)));
  std::uint8_t number[21];
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = texts[i++ % kValues];
    std::size_t length = 0;
    benchmark::DoNotOptimize(lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()),
                                         text.size(), nullptr, number, &length, nullptr));
    benchmark::ClobberMemory();
  }
}

// Money in format models: compiling, writing, and reading what was written.
constexpr const char* kModels[] = {"FM999G990D00", "$999,990.00MI", "S0999999.99"};

lnxmodel Compiled(const char* text) {
  lnxmodel model = {};
  lnxfmtcompile(reinterpret_cast<const std::uint8_t*>(text), std::char_traits<char>::length(text),
                &model, nullptr);
  return model;
}

void BM_LnxModelCompile(benchmark::State& state) {
  const char* text = kModels[state.range(0)];
  for (auto _ : state) {
    lnxmodel model = Compiled(text);
    benchmark::DoNotOptimize(model);
  }
  state.SetLabel(text);
}

void BM_LnxModelWrite(benchmark::State& state) {
  const std::vector<Stored> numbers = Numbers(kMoney);
  const lnxmodel model = Compiled(kModels[state.range(0)]);
  std::uint8_t text[64];
  std::size_t i = 0;
  for (auto _ : state) {
    const Stored& number = numbers[i++ % kValues];
    std::size_t length = 0;
    benchmark::DoNotOptimize(
        lnxfmtwrite(number.bytes, number.length, &model, nullptr, text, sizeof text, &length));
    benchmark::ClobberMemory();
  }
  state.SetLabel(kModels[state.range(0)]);
}

void BM_LnxModelRead(benchmark::State& state) {
  const lnxmodel model = Compiled(kModels[state.range(0)]);
  std::vector<std::string> texts;
  for (const Stored& number : Numbers(kMoney)) {
    std::uint8_t text[64];
    std::size_t length = 0;
    lnxfmtwrite(number.bytes, number.length, &model, nullptr, text, sizeof text, &length);
    texts.emplace_back(text, text + length);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = texts[i++ % kValues];
    std::uint8_t number[21];
    std::size_t length = 0;
    benchmark::DoNotOptimize(lnxfmtread(reinterpret_cast<const std::uint8_t*>(text.data()),
                                        text.size(), &model, nullptr, number, &length, nullptr));
    benchmark::ClobberMemory();
  }
  state.SetLabel(kModels[state.range(0)]);
}
BENCHMARK(BM_LnxModelCompile)->DenseRange(0, 2);
BENCHMARK(BM_LnxModelWrite)->DenseRange(0, 2);
BENCHMARK(BM_LnxModelRead)->DenseRange(0, 2);

#define DIGITS Arg(kMoney)->Arg(20)->Arg(34)->Arg(40)->ArgName("digits")
BENCHMARK(BM_LnxToText)->DIGITS;
BENCHMARK(BM_LnxFromText)->DIGITS;

#ifdef KESTRA_HAVE_BID
void BM_PeerBidToText(benchmark::State& state) {
  std::vector<BidValue> values;
  unsigned flags = 0;
  for (std::string& text : Texts(static_cast<int>(state.range(0)))) {
    values.push_back(__bid128_from_string(text.data(), 0, &flags));
  }
  char text[64];
  std::size_t i = 0;
  for (auto _ : state) {
    __bid128_to_string(text, values[i++ % kValues], &flags);
    benchmark::ClobberMemory();
  }
}

void BM_PeerBidFromText(benchmark::State& state) {
  std::vector<std::string> texts = Texts(static_cast<int>(state.range(0)));
  unsigned flags = 0;
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(__bid128_from_string(texts[i++ % kValues].data(), 0, &flags));
  }
}
BENCHMARK(BM_PeerBidToText)->Arg(kMoney)->Arg(20)->Arg(34)->ArgName("digits");
BENCHMARK(BM_PeerBidFromText)->Arg(kMoney)->Arg(20)->Arg(34)->ArgName("digits");
#endif

void BM_PeerInt64ToChars(benchmark::State& state) {
  std::mt19937_64 random(7);
  std::vector<std::int64_t> values(kValues);
  for (std::int64_t& value : values) value = static_cast<std::int64_t>(random() % 100'000'000);
  char text[24];
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::to_chars(text, text + sizeof text, values[i++ % kValues]));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_PeerInt64ToChars);

}  // namespace

int main(int argc, char** argv) {
  kestra::bench::ForceCpuLevelOfEnvironment();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
