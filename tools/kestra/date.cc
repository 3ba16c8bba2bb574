// kestra date: dates written, read, and calculated with; models explained; columns of CSV files.
#include <fmt/format.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "command.h"
#include "date_column.h"
#include "date_steps.h"
#include "date_tool.h"
#include "names.h"
#include "support/table.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr char kPlainModel[] = "YYYY-MM-DD HH24:MI:SS";

struct DateOptions {
  std::vector<std::string> dates;
  std::string format;
  std::string parse;
  std::string language;
  std::string calendar;
  std::string explain;
  std::string column;
  std::string file = "-";
  std::string separator;
  bool last_day = false;  // a step, as those whose values are not kept here
};

// A model or a text that is wrong, shown with a caret at the fault.
struct Wrong {
  ExitCode code;
  std::string message;
  std::string picture;
};

template <typename Compile>
std::string CompileOption(const char* option, const std::string& model, const Compile& compile) {
  try {
    return compile(model);
  } catch (const DateFault& fault) {
    throw Wrong{kUsage, fmt::format("{}: {}", option, fault.what()),
                WithCaret(model, fault.offset())};
  }
}

// What a suffix of the element adds to its meaning.
std::string Meaning(const ModelPiece& piece) {
  std::string meaning = ElementMeaning(piece.code);
  if (piece.code < KES_DATE_LITERAL && piece.compiled.size() == 2) {
    constexpr const char* kSuffixes[] = {"", ", ordinal", ", in words", ", ordinal in words"};
    meaning += kSuffixes[piece.compiled[1] & 3];
  }
  return meaning;
}

// What an element writes; a fault of it lies where it begins in the model.
std::string WritePiece(DateTool& tool, const ldxdate& date, const ModelPiece& piece,
                       std::size_t begin) {
  try {
    return piece.compiled.empty() ? "" : tool.Write(date, piece.compiled);
  } catch (const DateFault& fault) {
    throw DateFault(fault.number(), begin);
  }
}

int Explain(DateTool& tool, const std::string& model, const ldxdate& date, bool json) {
  nlohmann::ordered_json answer = {{"model", model}};
  Table table({{"MODEL"}, {"MEANS"}, {"WRITES"}, {"READS"}});
  std::string problem;
  std::size_t at = 0;
  try {
    ldxscan state = {};
    state.repeat = 1;
    ModelPiece piece;
    while (at < model.size() && tool.NextPiece(model, at, state, piece)) {
      const std::string text = WritePiece(tool, date, piece, at - piece.text.size());
      const bool reads = IsReadable(piece.code);
      table.Add({Printable(piece.text), Meaning(piece), Printable("'" + text + "'"),
                 reads ? "yes" : "no"});
      answer["elements"].push_back(
          {{"model", piece.text}, {"means", Meaning(piece)}, {"writes", text}, {"reads", reads}});
    }
    answer["writes"] = tool.Write(date, tool.CompileForOutput(model));
    tool.Compile(model);  // what excludes each other is told here
  } catch (const DateFault& fault) {
    problem = fmt::format("{}\n{}", fault.what(), WithCaret(model, fault.offset()));
    answer["error"] = {{"number", fault.number()},
                       {"text", DateErrorText(fault.number())},
                       {"offset", fault.offset()}};
  }
  if (json) {
    PrintJson(answer);
  } else {
    if (answer.contains("elements")) table.Print(stdout);
    if (!problem.empty()) {
      fmt::print("\n{}\n", problem);
    } else if (answer.contains("writes")) {
      fmt::print("\n{}\n", Printable(answer["writes"].get<std::string>()));
    }
  }
  return problem.empty() ? kDone : kFound;
}

ldxdate ReadArgument(DateTool& tool, const DateOptions& options, const std::string& reading,
                     const std::string& text) {
  ldxdate date = {};
  if (options.parse.empty() || text == "now" || text == "today") {
    if (ReadPlainDate(text, date)) return date;
    throw ToolError(kUsage, fmt::format("'{}' is not a date as 2019-02-28 or 2019-02-28 12:30:00; "
                                        "--parse tells how to read others",
                                        text));
  }
  try {
    return tool.Read(text, reading);
  } catch (const DateFault& fault) {
    throw Wrong{kFound, fmt::format("'{}' read as {}: {}", text, options.parse, fault.what()),
                WithCaret(text, fault.offset())};
  }
}

int PrintDates(DateTool& tool, const DateOptions& options, const DateSteps& steps,
               const std::string& reading, const std::string& writing, bool json) {
  std::vector<std::string> texts = options.dates;
  if (texts.empty()) texts.emplace_back("now");
  for (const std::string& text : texts) {
    std::string result;
    try {
      result = steps.Result(tool, ReadArgument(tool, options, reading, text), writing);
    } catch (const DateFault& fault) {
      throw ToolError(kFound, fmt::format("'{}': {}", text, fault.what()));
    }
    if (json) {
      PrintJson({{"date", text}, {"result", result}});
    } else {
      fmt::print("{}\n", Printable(result));
    }
  }
  return kDone;
}

int RunDate(const DateOptions& options, const std::vector<DateStep>& order, bool json) {
  Session session;
  DateTool tool(session, options.language, options.calendar);
  if (!options.explain.empty()) {
    ldxdate date = {};
    const std::string text = options.dates.empty() ? "now" : options.dates.front();
    if (!ReadPlainDate(text, date)) {
      throw ToolError(kUsage, fmt::format("'{}' is not a date as 2019-02-28", text));
    }
    return Explain(tool, options.explain, date, json);
  }
  std::string reading;
  if (!options.parse.empty()) {
    reading = CompileOption("--parse", options.parse,
                            [&](const std::string& model) { return tool.Compile(model); });
  }
  // A calendar brings a format of its own.
  std::string model = options.format;
  if (model.empty() && options.calendar.empty()) model = kPlainModel;
  std::string writing = tool.DefaultFormat();
  if (!model.empty()) {
    writing = CompileOption("--format", model,
                            [&](const std::string& text) { return tool.CompileForOutput(text); });
  }
  const DateSteps steps(tool, order);
  if (options.column.empty()) return PrintDates(tool, options, steps, reading, writing, json);
  if (!options.dates.empty()) throw ToolError(kUsage, "--column takes no date");
  if (json) throw ToolError(kUsage, "--column has no --json");
  if (options.separator.size() > 1) {
    throw ToolError(kUsage, fmt::format("--separator '{}' is not one byte", options.separator));
  }
  return ChangeDateColumn(
      tool, steps,
      {options.file, options.column, options.separator.empty() ? '\0' : options.separator[0],
       reading, writing});
}

// The steps in the order in which they stand on the command line.
std::vector<DateStep> OrderOf(const CLI::App& app) {
  std::vector<DateStep> order;
  std::map<const CLI::Option*, std::size_t> used;
  for (const CLI::Option* option : app.parse_order()) {
    const std::string name = option->get_name();
    if (!DateSteps::IsStep(name)) continue;
    const std::size_t occurrence = used[option]++;
    const bool flag = option->get_expected_max() == 0;
    order.push_back({name, flag ? "" : option->results().at(occurrence)});
  }
  return order;
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<DateOptions>();
  app.add_option("date", options->dates,
                 "Dates as 2019-02-28 or 2019-02-28 12:30:00, now, today (default: now)");
  app.add_option("-f,--format", options->format,
                 "The model that results are written in (default: YYYY-MM-DD HH24:MI:SS)");
  app.add_option("-p,--parse", options->parse, "The model that dates are read in");
  auto values = std::make_shared<std::vector<std::vector<std::string>>>(8);
  std::size_t next = 0;
  const auto step = [&](const char* name, const char* help) {
    app.add_option(name, (*values)[next++], help)->allow_extra_args(false);
  };
  step("--add-days", "Adds days; -1.5 are a day and a half back");
  step("--add-months", "Adds months; the last day of a month stays a last day");
  step("--trunc", "Truncates to a unit: CC, YYYY, IYYY, Q, MM, WW, IW, W, D, DD, HH24, MI");
  step("--round", "Rounds to a unit");
  step("--next", "The next weekday: 1 to 7, or its name");
  app.add_flag("--last-day", options->last_day, "The last day of the month");
  step("--months-between", "The months from this date to the date, as a number");
  app.add_option("-l,--language", options->language,
                 "LANGUAGE or LANGUAGE_TERRITORY of names and weeks (default: the environment's)");
  app.add_option("--calendar", options->calendar,
                 "A calendar, such as \"JAPANESE\" (default: the environment's)");
  app.add_option("-e,--explain", options->explain,
                 "A model: its elements, what each writes, where it is wrong");
  app.add_option("-c,--column", options->column,
                 "Changes the dates of a column, by number or name, of a CSV input");
  app.add_option("-t,--separator", options->separator,
                 "What separates columns, one byte (default: a comma, or the semicolon or tab\n"
                 "that the first line has)");
  app.add_option("-i,--input", options->file, "The CSV input (default: standard input)");
  app.footer("Steps are done in the order in which they are given, and may be repeated.\n\n" +
             Examples({"kestra date --format 'Day, DD Month YYYY' --language GERMAN 2019-02-28",
                       "kestra date --add-months 1 --last-day --format 'FMDDth Month' today",
                       "kestra date --parse DD-MON-RR --months-between 2019-01-01 15-MAR-19",
                       "kestra date --explain 'YYYY-MM-DD HH24:MI' 2019-02-28",
                       "kestra date --column due --parse DD.MM.YYYY --add-days 14 -i orders.csv"}));
  return [options, values, &app, &globals]() -> int {
    try {
      return RunDate(*options, OrderOf(app), globals.json);
    } catch (const Wrong& wrong) {
      fmt::print(stderr, "{} {}\n{}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"),
                 Printable(wrong.message), wrong.picture);
      return static_cast<int>(wrong.code);
    }
  };
}

}  // namespace

const Command kDateCommand{"date", "Write, read and calculate with dates", Setup};

}  // namespace kestra::tools
