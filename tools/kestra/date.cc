// kestra date: dates and timestamps written, read, and calculated with; models explained; columns of
// CSV files.
#include <fmt/format.h>
#include <unistd.h>

#include <map>
#include <memory>

#include "command.h"
#include "date_column.h"
#include "date_explain.h"
#include "date_steps.h"
#include "date_tool.h"
#include "names.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

struct DateOptions {
  DateSettings settings;
  std::vector<std::string> dates;
  std::string format;
  std::string parse;
  std::string explain;
  std::string column;
  std::string file = "-";
  std::string separator;
};

// A model or a text that is wrong, shown with a caret at the fault.
struct Wrong {
  ExitCode code;
  std::string message;
  std::string picture;
};

template <typename Compile>
std::optional<DateModel> CompileOption(const char* option, const std::string& model,
                                       const Compile& compile) {
  if (model.empty()) return std::nullopt;
  try {
    return compile(model);
  } catch (const DateFault& fault) {
    throw Wrong{kUsage, fmt::format("{}: {}", option, fault.what()),
                WithCaret(model, fault.offset())};
  }
}

LdiDate ReadPlain(DateTool& tool, const std::string& text) {
  try {
    return tool.Read(text);
  } catch (const DateFault& fault) {
    throw ToolError(
        kUsage, fmt::format("'{}' is not a date as 2019-02-28, 2019-02-28 12:30:00 or "
                            "2019-02-28T12:30:00.5+01:00 ({}); --parse tells how to read others",
                            text, fault.what()));
  }
}

LdiDate ReadArgument(DateTool& tool, const std::string& text, const DateOptions& options,
                     const std::optional<DateModel>& reading) {
  if (!reading || text == "now" || text == "today") return ReadPlain(tool, text);
  try {
    return tool.Read(text, *reading);
  } catch (const DateFault& fault) {
    throw Wrong{kFound, fmt::format("'{}' read as {}: {}", text, options.parse, fault.what()),
                WithCaret(text, fault.offset())};
  }
}

int RunDate(const DateOptions& options, const std::vector<DateStep>& order, bool json) {
  Session session;
  DateTool tool(session, options.settings);
  if (!options.explain.empty()) {
    if (options.dates.size() > 1) throw ToolError(kUsage, "--explain takes one date");
    const std::string text = options.dates.empty() ? "now" : options.dates.front();
    return ExplainModel(tool, options.explain, ReadPlain(tool, text), json);
  }
  const std::optional<DateModel> reading = CompileOption(
      "--parse", options.parse, [&](const std::string& model) { return tool.Compile(model); });
  std::optional<DateModel> writing =
      CompileOption("--format", options.format,
                    [&](const std::string& model) { return tool.CompileForOutput(model); });
  if (writing) tool.ExpectToWrite(*writing);
  // A calendar brings a format of its own.
  if (!writing && !options.settings.calendar.empty()) writing = tool.DefaultFormat();
  const DateModel* const format = writing ? &*writing : nullptr;
  const DateSteps steps(tool, order);
  if (!options.column.empty()) {
    if (!options.dates.empty()) throw ToolError(kUsage, "--column takes no date");
    if (json) throw ToolError(kUsage, "--column has no --json");
    return ChangeDateColumn(
        tool, steps,
        {options.file, options.column, options.separator, reading ? &*reading : nullptr, format});
  }
  std::vector<std::string> texts = options.dates;
  if (texts.empty()) texts.emplace_back("now");
  for (const std::string& text : texts) {
    DateResult result;
    const LdiDate value = ReadArgument(tool, text, options, reading);
    try {
      result = steps.Result(tool, value, format);
    } catch (const DateFault& fault) {
      throw ToolError(kFound, fmt::format("'{}': {}", text, fault.what()));
    }
    nlohmann::ordered_json answer = {{"date", text}, {"result", result.text}};
    if (!result.iso.empty()) answer["iso"] = result.iso;
    json ? PrintJson(answer) : fmt::print("{}\n", Printable(result.text));
  }
  return kDone;
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

void AddSteps(CLI::App& app) {
  const auto step = [&](const char* name, const char* type, const char* help) {
    app.add_option(name)->description(help)->type_name(type)->expected(1)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
  };
  step("--add", "INTERVAL", "Adds 3 (days), P1DT2H, '3 04:05:06.5' or 1-6 (a year and 6 months)");
  step("--subtract", "INTERVAL", "Takes an interval away");
  step("--add-days", "N", "Adds days; -1.5 are a day and a half back");
  step("--add-months", "N", "Adds months; the last day of a month stays a last day");
  step("--trunc", "UNIT",
       "Truncates to a unit: CC, YYYY, IYYY, Q, MM, WW, IW, W, D, DD, HH24, MI, SS");
  step("--round", "UNIT", "Rounds to a unit");
  step("--next", "DAY", "The next weekday: 1 to 7, or its name");
  app.add_flag("--last-day")->description("The last day of the month");
  step("--to", "ZONE", "The same instant in another zone: a region or +hh:mm");
  step("--minus", "DATE", "The interval from this date to the date, exact to the nanosecond");
  step("--months-between", "DATE", "The months from this date to the date, as a number");
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<DateOptions>();
  DateSettings& settings = options->settings;
  app.add_option("date", options->dates,
                 "2019-02-28, 2019-02-28 12:30:00, 2019-02-28T12:30:00.5+01:00,\n"
                 "'2019-02-28 12:30 Europe/Berlin', now, today (default: now)");
  app.add_option("-f,--format", options->format,
                 "The model that results are written in (default: YYYY-MM-DD HH24:MI:SS, with\n"
                 "fraction and zone where there is one)")
      ->check(kNotEmpty);
  app.add_option("-p,--parse", options->parse, "The model that dates are read in")
      ->check(kNotEmpty);
  AddSteps(app);
  app.add_option("-z,--zone", settings.zone,
                 "The zone of dates without one: a region or +hh:mm (default: the machine's)")
      ->check(kNotEmpty);
  app.add_option("-l,--language", settings.language,
                 "LANGUAGE or LANGUAGE_TERRITORY of names and weeks (default: the environment's)");
  app.add_option("--calendar", settings.calendar,
                 "A calendar, such as \"JAPANESE\" (default: the environment's)");
  app.add_option("-e,--explain", options->explain,
                 "A model: its elements, what each writes, where it is wrong")
      ->check(kNotEmpty);
  app.add_option("-c,--column", options->column,
                 "Changes the dates of a column, by number or name, of a CSV input")
      ->check(kNotEmpty);
  app.add_option("-t,--separator", options->separator,
                 "What separates columns, one byte (default: a comma, or the semicolon or tab\n"
                 "that the first line has)");
  app.add_option("-i,--input", options->file, "The CSV input (default: standard input)");
  app.add_option("--file", settings.zone_file, "A zone file in place of the installed one")
      ->check(kNotEmpty);
  app.footer("Steps are done in the order in which they are given, and may be repeated.\n\n" +
             Examples({"kestra date --format 'Day, DD Month YYYY' --language GERMAN 2019-02-28",
                       "kestra date --add-months 1 --last-day --format 'FMDDth Month' today",
                       "kestra date --parse DD-MON-RR --months-between 2019-01-01 15-MAR-19",
                       "kestra date --to Asia/Tokyo '2026-03-08 02:30 America/New_York'",
                       "kestra date --add P1DT2H --format 'HH24:MI:SSXFF3 TZD' now",
                       "kestra date --explain 'YYYY-MM-DD HH24:MI' 2019-02-28",
                       "kestra date --column due --parse DD.MM.YYYY --add 14 -i orders.csv"}));
  return [options, &app, &globals]() -> int {
    try {
      return RunDate(*options, OrderOf(app), globals.json);
    } catch (const Wrong& wrong) {
      fmt::print(stderr, "{} {}\n{}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"),
                 Printable(wrong.message), wrong.picture);
      return static_cast<int>(wrong.code);
    } catch (const DateFault& fault) {
      throw ToolError(kUsage, fault.what());
    }
  };
}

}  // namespace

const Command kDateCommand{"date", "Write, read and calculate with dates and timestamps", Setup};

}  // namespace kestra::tools
