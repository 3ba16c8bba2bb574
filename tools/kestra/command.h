// What a subcommand is to main.cc: a name, a line for the overview, and a function that declares
// its options. A new subcommand is a file that defines a Command and a line in kCommands of
// main.cc.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>

namespace kestra::tools {

// Exit codes, the same for every subcommand.
enum ExitCode : int {
  kDone = 0,
  kFound = 1,  // something to report: unconvertible text, an invalid setting, no match
  kUsage = 2,
  kBadData = 3,  // locale data missing or damaged
  kInputOutput = 4,
};

// Ends the program with a message and an exit code.
class ToolError : public std::runtime_error {
 public:
  ToolError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// Options in front of or behind any subcommand.
struct Globals {
  bool json = false;
};

struct Command {
  const char* name;
  const char* summary;
  // Declares the options and returns what runs once they are parsed. What it refers to must live in
  // the returned function; globals outlives it.
  std::function<int()> (*setup)(CLI::App& app, const Globals& globals);
};

// For options whose empty value is a slip, such as a variable of a script that is not set.
inline const CLI::Validator kNotEmpty(
    [](std::string& value) { return value.empty() ? std::string("the value is empty") : ""; }, "");

// The text under the options of --help.
inline std::string Examples(std::initializer_list<const char*> lines) {
  std::string text = "Examples:\n";
  for (const char* line : lines) text.append("  ").append(line).append("\n");
  text.pop_back();
  return text;
}

extern const Command kConvertCommand;
extern const Command kLocaleCommand;
extern const Command kCharsetsCommand;
extern const Command kLanguagesCommand;
extern const Command kTerritoriesCommand;
extern const Command kInspectCommand;
extern const Command kCalcCommand;
extern const Command kDateCommand;
extern const Command kTzCommand;

}  // namespace kestra::tools
