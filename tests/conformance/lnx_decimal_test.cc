// NUMBER against the General Decimal Arithmetic test collection, as far as its cases can be said of
// a NUMBER: finite values and infinities (there is no NaN, no signed zero, no count of trailing
// zeros), within 20 base-100 digits and their exponents. A result of the collection's precision is
// the library's result rounded to as many digits, where digits that a NUMBER does not hold cannot
// decide. How many cases of each operation were run is printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>

#include "kestra/number_math.h"
#include "kestra/number_text.h"
#include "tests/support/decimal_cases.h"
#include "tests/support/hex.h"
#include "tests/support/number_call.h"

namespace kestra::test {
namespace {

using Number = ref::NumberBytes;

// The digits without zeros at either end.
ref::Exact Normal(ref::Exact value) {
  value.digits.erase(0, std::min(value.digits.find_first_not_of('0'), value.digits.size()));
  while (!value.digits.empty() && value.digits.back() == '0') {
    value.digits.pop_back();
    ++value.scale;
  }
  if (value.IsZero()) value = {};
  return value;
}

bool Same(const ref::Exact& a, const ref::Exact& b) {
  if (a.infinite || b.infinite) return a.infinite == b.infinite && a.negative == b.negative;
  const ref::Exact x = Normal(a), y = Normal(b);
  return x.negative == y.negative && x.digits == y.digits && x.scale == y.scale;
}

// A finite number or infinity of the collection's notation; nothing: a NaN or no number.
std::optional<ref::Exact> ReadValue(const std::string& text) {
  ref::Exact value;
  std::size_t at = 0;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) value.negative = text[at++] == '-';
  std::string rest = text.substr(at);
  for (char& c : rest) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (rest == "inf" || rest == "infinity") {
    value.infinite = true;
    return value;
  }
  const std::size_t e = rest.find('e');
  const std::string coefficient = rest.substr(0, e);
  if (e != std::string::npos) {
    const std::string exponent = rest.substr(e + 1);
    const std::size_t sign = !exponent.empty() && (exponent[0] == '-' || exponent[0] == '+');
    if (exponent.size() == sign ||
        exponent.find_first_not_of("0123456789", sign) != std::string::npos) {
      return std::nullopt;
    }
    const long long scale = std::strtoll(exponent.c_str(), nullptr, 10);
    value.scale = static_cast<int>(std::clamp(scale, -1'000'000'000LL, 1'000'000'000LL));
  }
  const std::size_t point = coefficient.find('.');
  value.digits = coefficient;
  if (point != std::string::npos) {
    value.digits.erase(point, 1);
    value.scale -= static_cast<int>(coefficient.size() - point - 1);
  }
  if (value.digits.empty() || value.digits.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  return Normal(value);
}

// The value as a NUMBER that is exactly it.
std::optional<Number> ExactNumber(const ref::Exact& value) {
  const int first = value.scale + static_cast<int>(value.digits.size());
  if (!value.infinite && !value.IsZero() && (first > 126 || first < -130)) return std::nullopt;
  const Number number = ref::Write(value);
  if (!Same(ref::Read(number), value)) return std::nullopt;
  return number;
}

using Operands = std::vector<Number>;

int Order(const Operands& o) { return lnxcmp(o[0].data(), o[0].size(), o[1].data(), o[1].size()); }

struct Operation {
  const char* name;
  std::size_t operands;
  Number (*run)(const Operands&);  // no bytes: no value here
  bool half_even = false;          // whatever the case's rounding: the functions round so
};
const Operation kOperations[] = {
    {"add", 2, [](const Operands& o) { return Apply(lnxadd, o[0], o[1]); }},
    {"subtract", 2, [](const Operands& o) { return Apply(lnxsub, o[0], o[1]); }},
    {"multiply", 2, [](const Operands& o) { return Apply(lnxmul, o[0], o[1]); }},
    {"divide", 2, [](const Operands& o) { return Apply(lnxdiv, o[0], o[1]); }},
    {"remainder", 2, [](const Operands& o) { return Apply(lnxmod, o[0], o[1]); }},
    {"compare", 2,
     [](const Operands& o) {
       return ref::Write({false, Order(o) < 0, Order(o) == 0 ? "" : "1", 0});
     }},
    {"max", 2, [](const Operands& o) { return Order(o) < 0 ? o[1] : o[0]; }},
    {"abs", 1, [](const Operands& o) { return Apply(lnxabs, o[0]); }},
    {"minus", 1, [](const Operands& o) { return Apply(lnxneg, o[0]); }},
    {"plus", 1, [](const Operands& o) { return Apply(lnxcopy, o[0]); }},
    {"squareroot", 1, [](const Operands& o) { return Apply(lnxsqr, o[0]); }, true},
    {"exp", 1, [](const Operands& o) { return Apply(lnxexp, o[0]); }, true},
    {"ln", 1, [](const Operands& o) { return Apply(lnxln, o[0]); }, true},
    {"log10", 1,
     [](const Operands& o) {
       return Apply(lnxlog, {0xC1, 11}, o[0]);
     },
     true},
    {"power", 2, [](const Operands& o) { return Apply(lnxpow, o[0], o[1]); }},
};

// The number rounded to the case's precision; nothing where that cannot be said.
std::optional<Number> Rounded(const Number& number, const DecimalCase& c, bool half_even) {
  const ref::Exact value = Normal(ref::Read(number));
  const auto digits = static_cast<int>(value.digits.size());
  if (value.infinite || value.IsZero()) return number;
  if (c.Has("Inexact") && digits <= c.precision + 1 &&
      (digits <= c.precision || value.digits.back() == '5')) {
    return std::nullopt;
  }
  if (digits <= c.precision) return number;
  const int places = c.precision - digits - value.scale;
  if (half_even || c.rounding == "half_even") return Apply(lnxrou2e, number, places);
  if (c.rounding == "half_up") return Apply(lnxrou, number, places);
  if (c.rounding == "down") return Apply(lnxtru, number, places);
  return std::nullopt;
}

// Reading text: what is a number there is one here, with the same value, and nothing else is.
bool RunText(const DecimalCase& c) {
  const std::string& text = c.operands[0];
  // Encoded bytes; and blanks around a number are read here.
  if (text.starts_with("#") || text.starts_with(" ") || text.ends_with(" ")) return false;
  const std::optional<ref::Exact> value = ReadValue(text);
  const std::optional<Number> wanted = value ? ExactNumber(*value) : Number();
  if (!wanted) return false;
  int status = 0;
  Number number = Output([&](auto* out, auto* length) {
    status = lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), nullptr,
                         out, length, nullptr);
    return status;
  });
  EXPECT_EQ(status, value ? LNX_OK : LNX_BAD_BYTE) << c.name << " '" << text << "'";
  EXPECT_EQ(Hex(number), Hex(*wanted)) << c.name << " '" << text << "'";
  return true;
}

// Whether the case could be run.
bool RunCase(const DecimalCase& c) {
  if (c.operation == "tosci" || c.operation == "toeng" || c.operation == "apply") {
    return RunText(c);
  }
  const auto* operation =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [&](const Operation& candidate) { return candidate.name == c.operation; });
  if (operation == std::end(kOperations) || operation->operands != c.operands.size()) return false;
  // Limits of exponents that a NUMBER has not.
  if (c.Has("Overflow") || c.Has("Underflow") || c.Has("Subnormal")) return false;
  const std::optional<ref::Exact> wanted = ReadValue(c.result);
  if (!wanted || !ExactNumber(*wanted)) return false;
  Operands operands;
  std::string given;
  for (const std::string& text : c.operands) {
    const std::optional<ref::Exact> value = ReadValue(text);
    const std::optional<Number> number = value ? ExactNumber(*value) : std::nullopt;
    if (!number || (value->IsZero() && text.starts_with("-") && wanted->infinite)) return false;
    operands.push_back(*number);
    given.append(text).append(" ");
  }
  const Number result = operation->run(operands);
  if (result.empty()) return false;
  const std::optional<Number> rounded = Rounded(result, c, operation->half_even);
  if (!rounded) return false;
  EXPECT_TRUE(Same(ref::Read(*rounded), *wanted))
      << c.name << " " << c.operation << " " << given << "precision " << c.precision << " "
      << c.rounding << " gave " << Hex(*rounded) << " instead of " << c.result;
  return true;
}

TEST(LnxDecimalArithmetic, AgreesWithThePublicCollection) {
  const std::string directory = DecimalCasesDirectory();
  if (directory.empty()) GTEST_SKIP() << "the collection is not installed";
  std::map<std::string, std::size_t> run;
  std::size_t done = 0;
  for (const auto& file : std::filesystem::directory_iterator(directory)) {
    if (file.path().extension() != ".decTest") continue;
    for (const DecimalCase& c : ReadDecimalCases(file.path().string())) {
      if (!RunCase(c)) continue;
      ++run[c.operation];
      ++done;
    }
  }
  for (const auto& [operation, count] : run) std::printf("%8zu %s\n", count, operation.c_str());
  EXPECT_GT(done, 18'000u);
}

}  // namespace
}  // namespace kestra::test
