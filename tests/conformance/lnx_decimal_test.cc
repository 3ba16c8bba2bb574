// NUMBER against the General Decimal Arithmetic test collection, as far as its cases can be said of
// a NUMBER: finite values and infinities (there is no NaN, no signed zero, no count of trailing
// zeros), within 20 base-100 digits and their exponents. A result of the collection's precision is
// the library's result rounded to as many digits. Each case that is left out has a reason, and the
// counts are printed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "kestra/number.h"
#include "kestra/number_math.h"
#include "kestra/number_text.h"
#include "tests/support/decimal_cases.h"
#include "tests/support/hex.h"
#include "tests/support/number_reference.h"

namespace kestra::test {
namespace {

using Number = std::vector<std::uint8_t>;
using Binary = void(const uint8_t*, size_t, const uint8_t*, size_t, uint8_t*, size_t*) noexcept;
using Function = int(const uint8_t*, size_t, uint8_t*, size_t*) noexcept;
using Sign = void(const uint8_t*, size_t, uint8_t*, size_t*) noexcept;
using Rounder = void(const uint8_t*, size_t, uint8_t*, size_t*, int) noexcept;

constexpr int kHeldDigits = 38;  // of any value; 40 of one that begins and ends well

const Number kZero = {0x80}, kOne = {0xC1, 2}, kMinusOne = {0x3E, 100, 102};

// What the function writes.
template <typename Call>
Number Output(Call call) {
  Number out(KES_NUMBER_BYTES);
  std::size_t length = 0;
  call(out.data(), &length);
  out.resize(length);
  return out;
}

Number Apply(Binary* function, const Number& x, const Number& y) {
  return Output([&](std::uint8_t* out, std::size_t* length) {
    function(x.data(), x.size(), y.data(), y.size(), out, length);
  });
}

Number Apply(Sign* function, const Number& x) {
  return Output(
      [&](std::uint8_t* out, std::size_t* length) { function(x.data(), x.size(), out, length); });
}

Number RoundTo(Rounder* rounder, const Number& x, int places) {
  return Output([&](std::uint8_t* out, std::size_t* length) {
    rounder(x.data(), x.size(), out, length, places);
  });
}

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

Rounder* RounderFor(const std::string& mode) {
  if (mode == "half_up") return lnxrou;
  if (mode == "half_even") return lnxrou2e;
  return mode == "down" ? lnxtru : nullptr;
}

// A result, and whether it is the exact one, not rounded to what a NUMBER holds.
struct Outcome {
  Number number;
  bool exact = false;
  const char* left_out = nullptr;  // why
};

Outcome LeftOut(const char* why) { return {{}, false, why}; }

using Operands = std::vector<Number>;

Outcome Sum(const Operands& o) {
  const Number sum = Apply(lnxadd, o[0], o[1]);
  return {sum, Apply(lnxsub, sum, o[0]) == o[1] && Apply(lnxsub, sum, o[1]) == o[0]};
}
Outcome Difference(const Operands& o) { return Sum({o[0], Apply(lnxneg, o[1])}); }
Outcome Product(const Operands& o) {
  const Number product = Apply(lnxmul, o[0], o[1]);
  const bool infinite = ref::Read(product).infinite;
  if (infinite && (o[0] == kZero || o[1] == kZero)) return LeftOut("undefined there");
  const std::size_t digits = ref::Read(o[0]).digits.size() + ref::Read(o[1]).digits.size();
  return {product, digits <= kHeldDigits || infinite};
}
Outcome ProductAndSum(const Operands& o) {
  const Outcome product = Product({o[0], o[1]});
  if (product.left_out != nullptr) return product;
  if (!product.exact) return LeftOut("decided by digits that a NUMBER does not hold");
  return Sum({product.number, o[2]});
}
Outcome Quotient(const Operands& o) {
  if (ref::Read(o[0]).infinite && ref::Read(o[1]).infinite) return LeftOut("undefined there");
  if (o[0] == kZero && o[1] == kZero) return LeftOut("undefined there");
  const Number quotient = Apply(lnxdiv, o[0], o[1]);
  const ref::Exact q = ref::Read(quotient);
  const std::size_t digits = q.digits.size() + ref::Read(o[1]).digits.size();
  return {quotient, q.infinite || (digits <= kHeldDigits && Apply(lnxmul, quotient, o[1]) == o[0])};
}
bool HasRemainder(const Operands& o) { return !ref::Read(o[0]).infinite && o[1] != kZero; }
Outcome Remainder(const Operands& o) {
  if (!HasRemainder(o)) return LeftOut("undefined there");
  return {Apply(lnxmod, o[0], o[1]), true};
}
Outcome NearestRemainder(const Operands& o) {
  if (!HasRemainder(o)) return LeftOut("undefined there");
  const Number rest = Apply(lnxrem, o[0], o[1]);
  if (Apply(lnxabs, Apply(lnxadd, rest, rest)) == Apply(lnxabs, o[1])) {
    return LeftOut("a tie, which goes away from zero here and to even there");
  }
  return {rest, true};
}
Outcome IntegerQuotient(const Operands& o) {
  if (!HasRemainder(o) || ref::Read(o[1]).infinite) return LeftOut("undefined there");
  return Quotient({Apply(lnxsub, o[0], Apply(lnxmod, o[0], o[1])), o[1]});
}
Outcome Comparison(const Operands& o) {
  const int order = lnxcmp(o[0].data(), o[0].size(), o[1].data(), o[1].size());
  return {order == 0 ? kZero : order < 0 ? kMinusOne : kOne, true};
}
Outcome Largest(const Operands& o) {
  return {lnxcmp(o[0].data(), o[0].size(), o[1].data(), o[1].size()) < 0 ? o[1] : o[0], true};
}
Outcome Smallest(const Operands& o) {
  return {lnxcmp(o[0].data(), o[0].size(), o[1].data(), o[1].size()) < 0 ? o[0] : o[1], true};
}
Outcome Itself(const Operands& o) { return {Apply(lnxcopy, o[0]), true}; }
Outcome Magnitude(const Operands& o) { return {Apply(lnxabs, o[0]), true}; }
Outcome Opposite(const Operands& o) { return {Apply(lnxneg, o[0]), true}; }

template <Function* function>
Outcome Real(const Operands& o) {
  Number out(KES_NUMBER_BYTES);
  std::size_t length = 0;
  if (function(o[0].data(), o[0].size(), out.data(), &length) != 0) {
    return LeftOut("undefined here");
  }
  out.resize(length);
  return {out, ref::Read(out).infinite};
}
Outcome Root(const Operands& o) {
  Outcome root = Real<lnxsqr>(o);
  root.exact = root.left_out == nullptr && Product({root.number, root.number}).exact &&
               Apply(lnxmul, root.number, root.number) == o[0];
  return root;
}
Outcome Power(const Operands& o) {
  if (o[0] == kZero && o[1] == kZero) return LeftOut("undefined there");
  Number out(KES_NUMBER_BYTES);
  std::size_t length = 0;
  if (lnxpow(o[0].data(), o[0].size(), o[1].data(), o[1].size(), out.data(), &length) != 0) {
    return LeftOut("undefined here");
  }
  out.resize(length);
  return {out, false};
}
Outcome Logarithm10(const Operands& o) {
  Number out(KES_NUMBER_BYTES);
  std::size_t length = 0;
  const std::uint8_t* ten = lnxqgtten();
  if (lnxlog(ten, 0, o[0].data(), o[0].size(), out.data(), &length) != 0) {
    return LeftOut("undefined here");
  }
  out.resize(length);
  return {out, false};
}

struct Operation {
  const char* name;
  std::size_t operands;
  Outcome (*run)(const Operands&);
  bool half_even;  // whatever the case's rounding: the functions round so
};

const Operation kOperations[] = {
    {"add", 2, Sum, false},
    {"subtract", 2, Difference, false},
    {"multiply", 2, Product, false},
    {"fma", 3, ProductAndSum, false},
    {"divide", 2, Quotient, false},
    {"divideint", 2, IntegerQuotient, false},
    {"remainder", 2, Remainder, false},
    {"remaindernear", 2, NearestRemainder, false},
    {"compare", 2, Comparison, false},
    {"comparesig", 2, Comparison, false},
    {"max", 2, Largest, false},
    {"min", 2, Smallest, false},
    {"abs", 1, Magnitude, false},
    {"minus", 1, Opposite, false},
    {"plus", 1, Itself, false},
    {"reduce", 1, Itself, false},
    {"copy", 1, Itself, false},
    {"copyabs", 1, Magnitude, false},
    {"copynegate", 1, Opposite, false},
    {"squareroot", 1, Root, true},
    {"exp", 1, Real<lnxexp>, true},
    {"ln", 1, Real<lnxln>, true},
    {"log10", 1, Logarithm10, true},
    {"power", 2, Power, false},
};

// The outcome rounded to the case's precision.
Outcome Rounded(const Outcome& outcome, const DecimalCase& c, const std::string& mode) {
  const ref::Exact value = Normal(ref::Read(outcome.number));
  if (value.infinite || value.IsZero()) return outcome;
  const auto digits = static_cast<int>(value.digits.size());
  const bool tail_is_decided =
      digits > c.precision + 1 || (digits == c.precision + 1 && value.digits.back() != '5');
  if (!outcome.exact && c.Has("Inexact") && !tail_is_decided) {
    return LeftOut("decided by digits that a NUMBER does not hold");
  }
  if (digits <= c.precision) return outcome;
  Rounder* rounder = RounderFor(mode);
  if (rounder == nullptr) return LeftOut("rounding that is not offered");
  return {RoundTo(rounder, outcome.number, c.precision - digits - value.scale), true};
}

// quantize, rescale and tointegral: at a place instead of to a precision.
Outcome AtPlace(const DecimalCase& c, const Operands& operands) {
  Rounder* rounder = RounderFor(c.rounding);
  if (rounder == nullptr) return LeftOut("rounding that is not offered");
  int places = 0;
  if (c.operation == "rescale") {
    const std::optional<ref::Exact> exponent = ReadValue(c.operands[1]);
    if (!exponent.has_value() || exponent->infinite || exponent->scale < 0 || exponent->scale > 3 ||
        exponent->digits.size() > 3) {
      return LeftOut("undefined there");
    }
    places = std::atoi(exponent->digits.c_str());
    for (int i = 0; i < exponent->scale; ++i) places *= 10;
    if (!exponent->negative) places = -places;
  } else if (c.operation == "quantize") {
    // The exponent as it is written: 1.00 asks for two places.
    const std::string& pattern = c.operands[1];
    const std::size_t e = pattern.find_first_of("eE");
    const std::size_t point = pattern.substr(0, e).find('.');
    places = e == std::string::npos ? 0 : -std::atoi(pattern.c_str() + e + 1);
    if (point != std::string::npos) {
      places += static_cast<int>(pattern.substr(0, e).size() - point - 1);
    }
  }
  return {RoundTo(rounder, operands[0], places), true};
}

bool IsAtPlace(const std::string& operation) {
  return operation == "quantize" || operation == "rescale" || operation == "tointegral" ||
         operation == "tointegralx";
}

Outcome Run(const DecimalCase& c, const Operands& operands) {
  if (IsAtPlace(c.operation)) return AtPlace(c, operands);
  const auto* operation =
      std::find_if(std::begin(kOperations), std::end(kOperations),
                   [&](const Operation& candidate) { return candidate.name == c.operation; });
  if (operation == std::end(kOperations) || operation->operands != operands.size()) {
    return LeftOut("operation that is not offered");
  }
  const Outcome outcome = operation->run(operands);
  if (outcome.left_out != nullptr) return outcome;
  return Rounded(outcome, c, operation->half_even ? "half_even" : c.rounding);
}

// Reading text: what is a number there is one here, with the same value, and nothing else is.
const char* CheckText(const DecimalCase& c) {
  const std::string& text = c.operands[0];
  if (text.starts_with("#")) return "encoded bytes";
  if (text.starts_with(" ") || text.ends_with(" ")) return "blanks around a number are read here";
  Number number(KES_NUMBER_BYTES);
  std::size_t length = 0;
  const int status = lnxfromtext(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                                 nullptr, number.data(), &length, nullptr);
  const std::optional<ref::Exact> value = ReadValue(text);
  if (!value.has_value()) {
    EXPECT_EQ(status, LNX_BAD_BYTE) << c.name << " '" << text << "'";
    return nullptr;
  }
  const std::optional<Number> wanted = ExactNumber(*value);
  if (!wanted.has_value()) return "value beyond a NUMBER";
  number.resize(length);
  EXPECT_EQ(status, LNX_OK) << c.name << " '" << text << "'";
  EXPECT_EQ(Hex(number), Hex(*wanted)) << c.name << " '" << text << "'";
  return nullptr;
}

// Null: the case was run. Otherwise the reason why it was not.
const char* Check(const DecimalCase& c) {
  if (c.operation == "tosci" || c.operation == "toeng" || c.operation == "apply") {
    return CheckText(c);
  }
  const std::optional<ref::Exact> wanted = ReadValue(c.result);
  for (const char* condition : {"Overflow", "Underflow", "Subnormal"}) {
    if (c.Has(condition)) return "limits of exponents that a NUMBER has not";
  }
  std::vector<Number> operands;
  for (const std::string& text : c.operands) {
    if (text.starts_with("#")) return "encoded bytes";
    const std::optional<ref::Exact> value = ReadValue(text);
    if (!value.has_value() || !wanted.has_value()) return "NaN";
    const std::optional<Number> number = ExactNumber(*value);
    if (!number.has_value()) return "value beyond a NUMBER";
    if (value->IsZero() && text.starts_with("-") && wanted->infinite) return "sign of a zero";
    operands.push_back(*number);
  }
  if (!ExactNumber(*wanted).has_value()) return "value beyond a NUMBER";
  const Outcome outcome = Run(c, operands);
  if (outcome.left_out != nullptr) return outcome.left_out;
  std::string given;
  for (const std::string& operand : c.operands) given.append(operand).append(" ");
  EXPECT_TRUE(Same(ref::Read(outcome.number), *wanted))
      << c.name << " " << c.operation << " " << given << "precision " << c.precision << " "
      << c.rounding << " gave " << Hex(outcome.number) << " instead of " << c.result;
  return nullptr;
}

TEST(LnxDecimalArithmetic, AgreesWithThePublicCollection) {
  const std::string directory = DecimalCasesDirectory();
  if (directory.empty()) GTEST_SKIP() << "the collection is not installed";
  std::map<std::string, std::size_t> run, left_out;
  std::size_t all = 0, done = 0;
  for (const auto& file : std::filesystem::directory_iterator(directory)) {
    if (file.path().extension() != ".decTest") continue;
    for (const DecimalCase& c : ReadDecimalCases(file.path().string())) {
      ++all;
      const char* reason = Check(c);
      if (reason == nullptr) {
        ++run[c.operation];
        ++done;
      } else {
        ++left_out[reason];
      }
    }
  }
  std::printf("%zu of %zu cases run\n", done, all);
  for (const auto& [operation, count] : run) std::printf("%8zu %s\n", count, operation.c_str());
  std::printf("left out:\n");
  for (const auto& [reason, count] : left_out) std::printf("%8zu %s\n", count, reason.c_str());
  EXPECT_GT(done, 20'000u);
}

}  // namespace
}  // namespace kestra::test
