#include "calc/calc_engine.h"

#include <algorithm>
#include <span>

#include "calc/calc_functions.h"
#include "kestra/number_math.h"

namespace kestra::tools {
namespace {

constexpr int kMaxDepth = 200;  // parentheses, signs and powers inside one another

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

class Parser {
 public:
  Parser(std::string_view text, std::map<std::string, Number, std::less<>>& variables)
      : text_(text), variables_(variables) {}

  Number Statements() {
    Number value;
    do {
      SkipBlanks();
      if (at_ == text_.size() && at_ > 0 && seen_) break;  // a ; at the end
      value = Statement();
      seen_ = true;
    } while (Take(';'));
    if (at_ < text_.size()) Fail("an operator was expected");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& message) const { throw CalcError(at_, message); }

  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  // Takes the character if it comes next, after blanks.
  bool Take(char c) {
    SkipBlanks();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  std::string_view TakeName() {
    const std::size_t start = at_;
    while (at_ < text_.size() && (IsLetter(text_[at_]) || IsDigit(text_[at_]))) ++at_;
    return text_.substr(start, at_ - start);
  }

  Number Statement() {
    SkipBlanks();
    const std::size_t start = at_;
    if (at_ < text_.size() && IsLetter(text_[at_])) {
      const std::string name(TakeName());
      if (Take('=')) {
        const Number value = Expression();
        variables_[name] = value;
        return value;
      }
      at_ = start;
    }
    return Expression();
  }

  Number Expression() {
    Number value = Term();
    for (;;) {
      if (Take('+')) {
        value = value + Term();
      } else if (Take('-')) {
        value = value - Term();
      } else {
        return value;
      }
    }
  }

  Number Term() {
    Number value = Unary();
    for (;;) {
      SkipBlanks();
      const std::size_t sign = at_;
      if (Take('*')) {
        value = value * Unary();
      } else if (Take('/')) {
        value = value / Divisor(sign);
      } else if (Take('%')) {
        value = Apply(lnxmod, value, Divisor(sign));
      } else {
        return value;
      }
    }
  }

  Number Divisor(std::size_t sign) {
    const Number divisor = Unary();
    if (divisor.IsZero()) throw CalcError(sign, "division by zero");
    return divisor;
  }

  Number Unary() {
    const Nesting nesting(*this);
    if (Take('-')) return -Unary();
    if (Take('+')) return Unary();
    return Power();
  }

  Number Power() {
    const Number base = Primary();
    SkipBlanks();
    const std::size_t sign = at_;
    if (!Take('^')) return base;
    const Number exponent = Unary();
    std::string problem;
    const Number value = RaiseToPower(base, exponent, problem);
    if (!problem.empty()) throw CalcError(sign, problem);
    return value;
  }

  Number Primary() {
    SkipBlanks();
    if (Take('(')) {
      const Number value = Expression();
      if (!Take(')')) Fail("a ) was expected");
      return value;
    }
    if (at_ < text_.size() && (IsDigit(text_[at_]) || text_[at_] == '.')) return Literal();
    if (at_ < text_.size() && IsLetter(text_[at_])) return NameOrCall();
    Fail(at_ == text_.size() ? "the expression ends too early"
                             : "a number, a name or a ( was expected");
  }

  Number Literal() {
    const std::size_t start = at_;
    while (at_ < text_.size() && (IsDigit(text_[at_]) || text_[at_] == '.')) ++at_;
    if (at_ < text_.size() && (text_[at_] | 0x20) == 'e') {
      std::size_t digits = at_ + 1;
      if (digits < text_.size() && (text_[digits] == '+' || text_[digits] == '-')) ++digits;
      if (digits < text_.size() && IsDigit(text_[digits])) {
        while (digits < text_.size() && IsDigit(text_[digits])) ++digits;
        at_ = digits;
      }
    }
    std::size_t bad = 0;
    const auto value = Number::Parse(text_.substr(start, at_ - start), &bad);
    if (!value) throw CalcError(start + bad, "this is not a number");
    return *value;
  }

  Number NameOrCall() {
    const std::size_t start = at_;
    const std::string_view name = TakeName();
    if (Take('(')) return Call(name, start);
    const auto variable = variables_.find(name);
    if (variable == variables_.end()) {
      throw CalcError(start, "there is no variable '" + std::string(name) + "'");
    }
    return variable->second;
  }

  Number Call(std::string_view name, std::size_t start) {
    const CalcFunction* const function = FindFunction(name);
    if (function == nullptr) {
      throw CalcError(start, "there is no function '" + std::string(name) + "'");
    }
    std::vector<Number> arguments;
    if (!Take(')')) {
      do {
        if (arguments.size() == function->most) Fail(ArgumentsOf(*function));
        arguments.push_back(Expression());
      } while (Take(','));
      if (!Take(')')) Fail("a ) or a , was expected");
    }
    if (arguments.size() < function->least) throw CalcError(start, ArgumentsOf(*function));
    std::string problem;
    const Number value = function->call(arguments, problem);
    if (!problem.empty()) throw CalcError(start, problem);
    return value;
  }

  static std::string ArgumentsOf(const CalcFunction& function) {
    return "the function is used as " + std::string(function.usage);
  }

  // Counts how deep the parser is, for as long as it lives.
  class Nesting {
   public:
    explicit Nesting(Parser& parser) : parser_(parser) {
      if (++parser_.depth_ > kMaxDepth) parser_.Fail("too deeply nested");
    }
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    Parser& parser_;
  };

  std::string_view text_;
  std::map<std::string, Number, std::less<>>& variables_;
  std::size_t at_ = 0;
  int depth_ = 0;
  bool seen_ = false;
};

}  // namespace

Calculator::Calculator() {
  const auto stored = [](const std::uint8_t* number) {
    return Number::Make(
        [&](std::uint8_t* out, std::size_t* length) { lnxcopy(number, 0, out, length); });
  };
  variables_["pi"] = stored(lnxqgtpi());
  variables_["e"] = stored(lnxqgte());
}

Number Calculator::Evaluate(std::string_view text) {
  const Number value = Parser(text, variables_).Statements();
  variables_["ans"] = value;
  return value;
}

std::vector<std::string> Calculator::Functions() {
  std::vector<std::string> usages;
  for (const CalcFunction& function : CalcFunctions()) usages.emplace_back(function.usage);
  return usages;
}

bool Calculator::IsName(std::string_view text) {
  return !text.empty() && IsLetter(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
}

}  // namespace kestra::tools
