// kestra calc: a calculator with exact decimals, and sums of columns.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "calc/calc_column.h"
#include "calc/calc_engine.h"
#include "calc_columns.h"
#include "command.h"
#include "support/files.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kBlock = std::size_t{64} << 10;
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

struct CalcOptions {
  std::vector<std::string> expression;
  std::vector<std::string> settings;  // NAME=EXPRESSION
  std::string format;
  std::string file = "-";
  std::string separator;
  std::vector<std::size_t> column;
  bool bytes = false;
  bool sum = false;
  bool columns = false;
};

// The lines of a file, one after the other, in constant memory.
class LineReader {
 public:
  explicit LineReader(const std::string& path) : input_(path), buffer_(kBlock) {}

  // False: there are no more.
  bool Next(std::string& line) {
    line.clear();
    for (;;) {
      if (begin_ == end_ && !Fill()) return !line.empty();
      const auto first = buffer_.begin() + static_cast<std::ptrdiff_t>(begin_);
      const auto last = buffer_.begin() + static_cast<std::ptrdiff_t>(end_);
      const auto stop = std::find(first, last, std::uint8_t{'\n'});
      line.append(first, stop);
      begin_ += static_cast<std::size_t>(stop - first);
      if (line.size() > kLongestLine) {
        throw ToolError(kInputOutput, input_.name() + ": a line is longer than 1 MiB");
      }
      if (stop != last) {
        ++begin_;
        return true;
      }
    }
  }

 private:
  bool Fill() {
    begin_ = 0;
    end_ = input_.Read(buffer_);
    return end_ > 0;
  }

  InputFile input_;
  std::vector<std::uint8_t> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

std::string ModelProblem(int status) {
  switch (status) {
    case LNX_MODEL_UNKNOWN:
      return "no element of a model begins here";
    case LNX_MODEL_REPEATED:
      return "this element may stand only once";
    case LNX_MODEL_MISPLACED:
      return "this element may not stand here";
    case LNX_MODEL_CONFLICT:
      return "this element and an earlier one exclude each other";
    case LNX_MODEL_NO_DIGITS:
      return "there is no place for a digit";
    case LNX_MODEL_TOO_LONG:
      return "there are too many digits";
    default:
      return "it is not a model";
  }
}

// How results are shown: plain or in a model, with the stored bytes or without.
class Printer {
 public:
  Printer(const CalcOptions& options, bool json) : bytes_(options.bytes), json_(json) {
    if (options.format.empty()) return;
    std::size_t bad = 0;
    const int status = lnxfmtcompile(reinterpret_cast<const std::uint8_t*>(options.format.data()),
                                     options.format.size(), &model_, &bad);
    if (status != LNX_OK) {
      throw ToolError(kUsage, fmt::format("--format '{}', byte {}: {}", options.format, bad + 1,
                                          ModelProblem(status)));
    }
    modelled_ = true;
  }

  const lnxmodel* model() const { return modelled_ ? &model_ : nullptr; }

  std::string Text(const Number& number) const {
    return modelled_ ? number.Text(model_) : number.Text();
  }

  nlohmann::ordered_json Json(const Number& number) const {
    nlohmann::ordered_json value = {{"value", Text(number)}};
    if (bytes_) value["bytes"] = number.Hex();
    return value;
  }

  void Print(const Number& number) const {
    if (json_) {
      fmt::print("{}\n", Json(number).dump());
    } else if (bytes_) {
      fmt::print("{}  {}\n", Text(number), number.Hex());
    } else {
      fmt::print("{}\n", Text(number));
    }
  }

 private:
  lnxmodel model_ = {};
  bool modelled_ = false;
  bool bytes_;
  bool json_;
};

void Warn(const std::string& message) {
  fmt::print(stderr, "{} {}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"), Printable(message));
}

std::string Explain(const CalcError& error) {
  return fmt::format("byte {}: {}", error.offset() + 1, error.what());
}

void ApplySettings(const CalcOptions& options, Calculator& calculator) {
  for (const std::string& setting : options.settings) {
    const std::size_t equals = setting.find('=');
    const std::string name = setting.substr(0, equals);
    if (equals == std::string::npos || !Calculator::IsName(name)) {
      throw ToolError(kUsage, fmt::format("--set '{}' is not NAME=EXPRESSION", setting));
    }
    try {
      calculator.Set(name, calculator.Evaluate(std::string_view(setting).substr(equals + 1)));
    } catch (const CalcError& error) {
      throw ToolError(kUsage, fmt::format("--set {}: {}", name, Explain(error)));
    }
  }
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
  return text;
}

int EvaluateArguments(const CalcOptions& options, Calculator& calculator, const Printer& printer) {
  const std::string text = Joined(options.expression);
  try {
    printer.Print(calculator.Evaluate(text));
  } catch (const CalcError& error) {
    throw ToolError(kUsage, fmt::format("'{}', {}", text, Explain(error)));
  }
  return kDone;
}

int EvaluateLines(const CalcOptions& options, Calculator& calculator, const Printer& printer) {
  LineReader reader(options.file);
  std::string line;
  int code = kDone;
  for (std::uint64_t number = 1; reader.Next(line); ++number) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    try {
      printer.Print(calculator.Evaluate(line));
    } catch (const CalcError& error) {
      Warn(fmt::format("line {}, {}", number, Explain(error)));
      code = kFound;
    }
  }
  return code;
}

int SumColumn(const CalcOptions& options, const Printer& printer, bool json) {
  if (options.column.size() > 1) throw ToolError(kUsage, "--sum adds up one column");
  ColumnSum sum(options.column.empty() ? 1 : options.column[0],
                options.separator.empty() ? '\0' : options.separator[0]);
  LineReader reader(options.file);
  std::string line;
  int code = kDone;
  while (reader.Next(line)) {
    const std::string problem = sum.Add(line);
    if (problem.empty()) continue;
    Warn(problem);
    code = kFound;
  }
  if (json) {
    nlohmann::ordered_json answer = {{"count", sum.count()}, {"sum", printer.Json(sum.sum())}};
    if (sum.count() > 0) {
      answer["mean"] = printer.Json(sum.Mean());
      answer["least"] = printer.Json(sum.least());
      answer["greatest"] = printer.Json(sum.greatest());
    }
    fmt::print("{}\n", answer.dump(2));
  } else {
    printer.Print(sum.sum());
  }
  return code;
}

int Calculate(const CalcOptions& options, bool json) {
  const Printer printer(options, json);
  if (options.separator.size() > 1) {
    throw ToolError(kUsage, fmt::format("--separator '{}' is not one byte", options.separator));
  }
  if (options.sum) {
    if (!options.expression.empty()) {
      throw ToolError(kUsage, "--sum takes no expression; name a file with --input");
    }
    return SumColumn(options, printer, json);
  }
  if (options.columns) {
    if (options.expression.empty()) throw ToolError(kUsage, "--columns takes an expression");
    if (options.bytes) throw ToolError(kUsage, "--columns has no --bytes");
    return CalculateColumns({Joined(options.expression), options.file, options.separator,
                             options.column, printer.model(), json});
  }
  Calculator calculator;
  ApplySettings(options, calculator);
  return options.expression.empty() ? EvaluateLines(options, calculator, printer)
                                    : EvaluateArguments(options, calculator, printer);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<CalcOptions>();
  app.add_option("expression", options->expression,
                 "What to calculate; without one, each line of the input");
  app.add_option("-d,--set", options->settings, "NAME=EXPRESSION: a variable; may be repeated")
      ->allow_extra_args(false);
  app.add_option("-f,--format", options->format, "A number format model for results");
  app.add_flag("-b,--bytes", options->bytes, "Show the stored bytes too");
  CLI::Option* sum = app.add_flag("-s,--sum", options->sum, "Add up a column of the input");
  app.add_flag("--columns", options->columns,
               "Calculate with whole columns of a CSV file, or of one number a line")
      ->excludes(sum);
  app.add_option("-c,--column", options->column,
                 "Which column, from 1 (with --columns: which ones are a, b, c)")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->check(CLI::Range(std::size_t{1}, std::size_t{1} << 20));
  app.add_option("-t,--separator", options->separator,
                 "What separates columns, one byte (default: blanks; with --columns: a comma,\n"
                 "or the semicolon or tab that the first line has)");
  app.add_option("-i,--input", options->file, "The input (default: standard input)");
  std::string functions;  // broken into lines
  std::size_t line = 0;
  for (const std::string& function : Calculator::Functions()) {
    const bool full = functions.size() - line + function.size() > 76;
    if (!functions.empty()) functions += full ? ",\n  " : ", ";
    if (full) line = functions.size();
    functions += function;
  }
  app.footer(
      "Operators: + - * / % ^ and parentheses; a ; between statements; NAME = EXPRESSION sets\n"
      "a variable, ans is the last result, pi and e are the constants. 38 digits are exact.\n"
      "Functions:\n  " +
      functions +
      "\n\nWith --columns: + - * and parentheses over names of columns, which are those of the "
      "first\nline, or a, b, c; sum, min, max and count of such an expression. Results are exact; "
      "a missing\nvalue has no result and is not counted.\n\n" +
      Examples({"kestra calc \"0.1+0.2\"",
                "kestra calc -d net=100 --format 'FM$9,990.00' \"net * 1.19\"",
                "cut -d';' -f3 orders.csv | kestra calc --sum",
                "kestra calc --columns 'price * quantity + tax' -i orders.csv",
                "kestra calc --columns 'sum(a*b), max(a)' -c 2,5 -i orders.csv"}));
  return [options, &globals] { return Calculate(*options, globals.json); };
}

}  // namespace

const Command kCalcCommand{"calc", "Calculate with exact decimals, add up columns", Setup};

}  // namespace kestra::tools
