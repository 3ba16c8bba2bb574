#include "calc/calc_functions.h"

#include <algorithm>

#include "kestra/number_math.h"

namespace kestra::tools {
namespace {

using Arguments = std::span<const Number>;
using LibraryRound = void(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t*, int);

constexpr long long kMaxPlaces = 1000;
constexpr const char* kNoValue = "the function has no value there";

const Number kTen = Number::FromInteger(10);

// A mathematical function of the library, which answers 0 or that there is no value.
using LibraryMath = int(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t*);
using LibraryMath2 = int(const std::uint8_t*, std::size_t, const std::uint8_t*, std::size_t,
                         std::uint8_t*, std::size_t*);

template <LibraryMath* function>
Number Math(Arguments x, std::string& problem) {
  return Number::Make([&](std::uint8_t* out, std::size_t* length) {
    if (function(x[0].data(), x[0].size(), out, length) != 0) problem = kNoValue;
  });
}

template <LibraryMath2* function>
Number Math2(Arguments x, std::string& problem) {
  return Number::Make([&](std::uint8_t* out, std::size_t* length) {
    if (function(x[0].data(), x[0].size(), x[1].data(), x[1].size(), out, length) != 0) {
      problem = kNoValue;
    }
  });
}

Number Logarithm(Arguments x, std::string& problem) {
  if (x.size() == 2) return Math2<lnxlog>(x, problem);
  const Number arguments[] = {kTen, x[0]};
  return Math2<lnxlog>(arguments, problem);
}

// The function of the library with the places of the second argument, 0 without one.
Number AtPlaces(LibraryRound* function, Arguments arguments, std::string& problem) {
  long long places = 0;
  if (arguments.size() > 1) {
    const auto given = arguments[1].ToInteger();
    if (!given || *given < -kMaxPlaces || *given > kMaxPlaces) {
      problem = "places must be a whole number from -1000 to 1000";
      return {};
    }
    places = *given;
  }
  return Number::Make([&](std::uint8_t* out, std::size_t* length) {
    function(arguments[0].data(), arguments[0].size(), out, length, static_cast<int>(places));
  });
}

Number Absolute(Arguments x, std::string&) { return Apply(lnxabs, x[0]); }
Number Sign(Arguments x, std::string&) { return Number::FromInteger(x[0].Sign()); }
Number Round(Arguments x, std::string& problem) { return AtPlaces(lnxrou, x, problem); }
Number RoundEven(Arguments x, std::string& problem) { return AtPlaces(lnxrou2e, x, problem); }
Number Truncate(Arguments x, std::string& problem) { return AtPlaces(lnxtru, x, problem); }

Number Floor(Arguments x, std::string&) { return Apply(lnxflo, x[0]); }
Number Ceiling(Arguments x, std::string&) { return Apply(lnxcei, x[0]); }

Number Remainder(LibraryBinary* function, Arguments x, std::string& problem) {
  if (x[1].IsZero()) problem = "division by zero";
  return Apply(function, x[0], x[1]);
}
Number Mod(Arguments x, std::string& problem) { return Remainder(lnxmod, x, problem); }
Number Rem(Arguments x, std::string& problem) { return Remainder(lnxrem, x, problem); }

Number Power(Arguments x, std::string& problem) { return RaiseToPower(x[0], x[1], problem); }

Number Least(Arguments x, std::string&) { return *std::min_element(x.begin(), x.end()); }
Number Greatest(Arguments x, std::string&) { return *std::max_element(x.begin(), x.end()); }

Number Sum(Arguments x, std::string&) {
  Number sum;
  for (const Number& value : x) sum = sum + value;
  return sum;
}

constexpr std::size_t kMany = 1000;
constexpr CalcFunction kFunctions[] = {
    {"abs", "abs(x)", 1, 1, Absolute},
    {"acos", "acos(x)", 1, 1, Math<lnxacs>},
    {"asin", "asin(x)", 1, 1, Math<lnxasn>},
    {"atan", "atan(x)", 1, 1, Math<lnxatn>},
    {"atan2", "atan2(y, x)", 2, 2, Math2<lnxatn2>},
    {"ceil", "ceil(x)", 1, 1, Ceiling},
    {"cos", "cos(x)", 1, 1, Math<lnxcos>},
    {"cosh", "cosh(x)", 1, 1, Math<lnxcsh>},
    {"exp", "exp(x)", 1, 1, Math<lnxexp>},
    {"floor", "floor(x)", 1, 1, Floor},
    {"ln", "ln(x)", 1, 1, Math<lnxln>},
    {"log", "log(x) or log(base, x)", 1, 2, Logarithm},
    {"max", "max(x, y, ...)", 1, kMany, Greatest},
    {"min", "min(x, y, ...)", 1, kMany, Least},
    {"mod", "mod(x, y)", 2, 2, Mod},
    {"pow", "pow(x, y)", 2, 2, Power},
    {"rem", "rem(x, y)", 2, 2, Rem},
    {"round", "round(x, places)", 1, 2, Round},
    {"roundeven", "roundeven(x, places)", 1, 2, RoundEven},
    {"sign", "sign(x)", 1, 1, Sign},
    {"sin", "sin(x)", 1, 1, Math<lnxsin>},
    {"sinh", "sinh(x)", 1, 1, Math<lnxsnh>},
    {"sqrt", "sqrt(x)", 1, 1, Math<lnxsqr>},
    {"sum", "sum(x, y, ...)", 1, kMany, Sum},
    {"tan", "tan(x)", 1, 1, Math<lnxtan>},
    {"tanh", "tanh(x)", 1, 1, Math<lnxtnh>},
    {"trunc", "trunc(x, places)", 1, 2, Truncate},
};

}  // namespace

std::span<const CalcFunction> CalcFunctions() { return kFunctions; }

const CalcFunction* FindFunction(std::string_view name) {
  for (const CalcFunction& function : kFunctions) {
    if (function.name == name) return &function;
  }
  return nullptr;
}

Number RaiseToPower(const Number& base, const Number& exponent, std::string& problem) {
  if (base.IsZero() && exponent.Sign() < 0) {
    problem = "division by zero";
    return {};
  }
  const Number arguments[] = {base, exponent};
  return Math2<lnxpow>(arguments, problem);
}

}  // namespace kestra::tools
