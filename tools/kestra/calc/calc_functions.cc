#include "calc/calc_functions.h"

#include <algorithm>

namespace kestra::tools {
namespace {

using Arguments = std::span<const Number>;
using LibraryRound = void(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t*, int);

constexpr long long kMaxPlaces = 1000;
constexpr long long kMaxExponent = 1'000'000'000;

const Number kOne = Number::FromInteger(1);

Number WholePower(const Number& base, long long exponent) {
  Number result = kOne;
  Number square = base;
  for (long long left = exponent; left > 0; left /= 2) {
    if (left % 2 == 1) result = result * square;
    if (left > 1) square = square * square;
  }
  return result;
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

Number Floor(Arguments x, std::string& problem) {
  const Number whole = AtPlaces(lnxtru, x.first(1), problem);
  return x[0] < whole ? whole - kOne : whole;
}

Number Ceiling(Arguments x, std::string& problem) {
  const Number whole = AtPlaces(lnxtru, x.first(1), problem);
  return whole < x[0] ? whole + kOne : whole;
}

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
    {"ceil", "ceil(x)", 1, 1, Ceiling},
    {"floor", "floor(x)", 1, 1, Floor},
    {"max", "max(x, y, ...)", 1, kMany, Greatest},
    {"min", "min(x, y, ...)", 1, kMany, Least},
    {"mod", "mod(x, y)", 2, 2, Mod},
    {"pow", "pow(x, n)", 2, 2, Power},
    {"rem", "rem(x, y)", 2, 2, Rem},
    {"round", "round(x, places)", 1, 2, Round},
    {"roundeven", "roundeven(x, places)", 1, 2, RoundEven},
    {"sign", "sign(x)", 1, 1, Sign},
    {"sum", "sum(x, y, ...)", 1, kMany, Sum},
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
  const auto given = exponent.ToInteger();
  if (!given || *given < -kMaxExponent || *given > kMaxExponent) {
    problem = "the exponent must be a whole number up to 10^9";
    return {};
  }
  if (base.IsZero() && *given < 0) {
    problem = "division by zero";
    return {};
  }
  const bool inverse = *given < 0;
  const long long size = inverse ? -*given : *given;
  const Number power = WholePower(base, size);
  if (!inverse) return power;
  // 10^130 is too large, 10^-130 is not too small.
  return power.IsInfinite() ? WholePower(kOne / base, size) : kOne / power;
}

}  // namespace kestra::tools
