// Random operations with random forms and overlaps, on every kernel of the machine, against exact
// decimal arithmetic. KESTRA_NUMBER_OPERATIONS sets how many (default 200000 over all operations).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kestra/number.h"
#include "number/kernels/number_kernels.h"
#include "tests/support/cpu_level_test.h"
#include "tests/support/hex.h"
#include "tests/support/number_random.h"
#include "tests/support/number_reference.h"

namespace kestra::number {
namespace {

using Number = std::vector<std::uint8_t>;
using test::Hex;
using test::NumberSource;
namespace ref = test::ref;

std::uint64_t OperationCount() {
  const char* text = std::getenv("KESTRA_NUMBER_OPERATIONS");
  return text != nullptr ? std::strtoull(text, nullptr, 10) : 200'000;
}

// Memory in which operands and result lie wherever the dice say, over one another too.
class Arena {
 public:
  explicit Arena(NumberSource& source) : source_(source) {
    for (std::uint8_t& byte : bytes_) byte = static_cast<std::uint8_t>(source.Below(256));
  }

  struct Input {
    const std::uint8_t* pointer;
    std::size_t length;
  };

  // The second operand never covers the first.
  Input Place(const Number& number, std::size_t from) {
    const bool prefixed = source_.Below(2) == 0;
    std::uint8_t* at = bytes_ + from + source_.Below(8);
    const Input input{at, prefixed ? 0 : number.size()};
    if (prefixed) *at++ = static_cast<std::uint8_t>(number.size());
    std::copy(number.begin(), number.end(), at);
    return input;
  }

  // Runs operation(out, outlen) with the output anywhere; returns the number, or a message in text.
  template <typename Operation>
  Number Run(Operation operation) {
    const bool prefixed = source_.Below(2) == 0;
    std::uint8_t* out = bytes_ + source_.Below(kSize - KES_NUMBER_PREFIXED_BYTES);
    std::uint8_t before[kSize];
    std::memcpy(before, bytes_, kSize);
    std::size_t length = 0;
    operation(out, prefixed ? nullptr : &length);
    std::uint8_t* const end = out + (prefixed ? std::size_t{1} + *out : length);
    for (const std::uint8_t* byte = bytes_; byte < bytes_ + kSize; ++byte) {
      if ((byte < out || byte >= end) && *byte != before[byte - bytes_]) {
        ADD_FAILURE() << "a byte outside the result was changed, at " << byte - out;
      }
    }
    return prefixed ? Number(out + 1, end) : Number(out, end);
  }

 private:
  static constexpr std::size_t kSize = 96;
  NumberSource& source_;
  std::uint8_t bytes_[kSize];
};

int RandomPlaces(NumberSource& source, const Number& x) {
  // Near the digits of x most of the time, anywhere now and then.
  if (source.Below(20) == 0) return static_cast<int>(source.Below(600)) - 300;
  const int exponent = x[0] >= 128 ? x[0] - 192 : 63 - x[0];
  return static_cast<int>(source.Below(44)) - 2 - 2 * exponent;
}

struct BinaryCase {
  const char* name;
  BinaryFunction* Kernels::*kernel;  // or null: one function for all
  BinaryFunction* function;
  Number (*reference)(const Number&, const Number&);
};

constexpr BinaryCase kBinaryCases[] = {
    {"+", &Kernels::add, nullptr, ref::Add},
    {"-", &Kernels::subtract, nullptr, ref::Subtract},
    {"*", &Kernels::multiply, nullptr, ref::Multiply},
    {"/", &Kernels::divide, nullptr, ref::Divide},
    {"mod", nullptr, lnxmod, ref::Modulo},
    {"rem", nullptr, lnxrem, ref::NearestRemainder},
};

struct RoundCase {
  const char* name;
  RoundFunction* Kernels::*kernel;
  ref::Mode mode;
};

constexpr RoundCase kRoundCases[] = {
    {"rounded", &Kernels::round, ref::Mode::kHalfAway},
    {"rounded to even", &Kernels::round_even, ref::Mode::kHalfEven},
    {"truncated", &Kernels::truncate, ref::Mode::kTruncate},
};

class LnxRandom : public test::CpuLevelTest {
 protected:
  const Kernels& kernels() const { return KernelsFor(GetParam()); }
};

TEST_P(LnxRandom, BinaryOperationsAgreeWithExactArithmetic) {
  NumberSource source(20261122);
  const std::uint64_t rounds = OperationCount() / 2;
  std::uint64_t done = 0;
  for (std::uint64_t round = 0; round < rounds; ++round) {
    const BinaryCase& operation = kBinaryCases[round % std::size(kBinaryCases)];
    const Number x = source.Next();
    Number y = source.Next();
    // The same number, or one that begins with the same digit, meets cancellation.
    if (source.Below(8) == 0) y = x;
    if (source.Below(8) == 0 && x.size() > 2 && y.size() > 2 && (x[0] < 128) == (y[0] < 128)) {
      std::copy_n(x.begin(), 2, y.begin());
    }
    Arena arena(source);
    const Arena::Input a = arena.Place(x, 0);
    const Arena::Input b = arena.Place(y, 32);
    BinaryFunction* function =
        operation.function != nullptr ? operation.function : kernels().*operation.kernel;
    const Number result = arena.Run([&](std::uint8_t* out, std::size_t* outlen) {
      function(a.pointer, a.length, b.pointer, b.length, out, outlen);
    });
    ASSERT_EQ(Hex(result), Hex(operation.reference(x, y)))
        << Hex(x) << " " << operation.name << " " << Hex(y);
    ASSERT_FALSE(HasFailure()) << Hex(x) << " " << operation.name << " " << Hex(y);
    ++done;
  }
  std::printf("%s: %llu binary operations agree\n", kernels().name,
              static_cast<unsigned long long>(done));
}

TEST_P(LnxRandom, RoundingAgreesWithExactArithmetic) {
  NumberSource source(7);
  const std::uint64_t rounds = OperationCount() / 4;
  for (std::uint64_t round = 0; round < rounds; ++round) {
    const RoundCase& operation = kRoundCases[round % std::size(kRoundCases)];
    const Number x = source.Next();
    const int places = RandomPlaces(source, x);
    Arena arena(source);
    const Arena::Input a = arena.Place(x, 16);
    const Number result = arena.Run([&](std::uint8_t* out, std::size_t* outlen) {
      (kernels().*operation.kernel)(a.pointer, a.length, out, outlen, places);
    });
    ASSERT_EQ(Hex(result), Hex(ref::Round(x, places, operation.mode)))
        << Hex(x) << " " << operation.name << " at " << places;
    ASSERT_FALSE(HasFailure()) << Hex(x);
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, LnxRandom,
                         testing::Values(os::CpuLevel::kBaseline, os::CpuLevel::kAvx512),
                         test::LevelName);

}  // namespace
}  // namespace kestra::number
