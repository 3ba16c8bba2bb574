// kestra: the command line of the library. Each subcommand is a file of its own; this one picks it,
// keeps the conventions that all share, and turns failures into messages and exit codes.
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "command.h"
#include "suggest.h"
#include "support/files.h"
#include "support/terminal.h"
#include "version.h"

namespace kestra::tools {
namespace {

constexpr std::array kCommands = {&kConvertCommand,   &kLocaleCommand,      &kCharsetsCommand,
                                  &kLanguagesCommand, &kTerritoriesCommand, &kInspectCommand,
                                  &kCalcCommand,      &kDateCommand,        &kTzCommand};

int Complain(ExitCode code, const std::string& message) {
  fmt::print(stderr, "{} {}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"),
             PrintableMessage(message));
  return code;
}

std::vector<std::string> CommandNames() {
  std::vector<std::string> names;
  for (const Command* command : kCommands) names.emplace_back(command->name);
  return names;
}

// What the parser says of an unknown option or too many arguments, with the nearest option.
std::string ExplainExtras(const CLI::App& app, const std::vector<std::string>& extras) {
  std::vector<std::string> options;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) options.push_back("--" + name);
  }
  options.emplace_back("--json");
  const std::string extra = extras.empty() ? "" : extras.front();
  if (extra.size() > 1 && extra.front() == '-') {
    return fmt::format("{} has no option {}{}", app.get_name(), extra, DidYouMean(extra, options));
  }
  return fmt::format("{} takes no argument '{}'", app.get_name(), extra);
}

int Run(int argc, char** argv) {
  CLI::App app(
      "Character sets, languages, decimals, dates and time zones: convert text, calculate, see\n"
      "what the environment means, look into text and data files.",
      "kestra");
  Globals globals;
  bool version = false;
  app.add_flag("--json", globals.json, "Answer in JSON");
  app.add_flag("--version", version, "Versions of the library, its data and Unicode");
  app.set_help_flag("-h,--help", "This text; `kestra COMMAND --help` tells more and has examples");
  app.footer(
      Examples({"kestra convert -f latin1 -t utf-8 letter.txt",
                "kestra date --add 14 --language GERMAN --format DL today",
                "NLS_LANG=GERMAN_AUSTRIA kestra locale"}) +
      "\n\nExit codes: 0 done, 1 something found (text that cannot be converted, an invalid\n"
      "setting, no match), 2 wrong usage, 3 locale data missing or damaged, 4 input or output.");
  app.get_formatter()->column_width(28);
  std::vector<std::function<int()>> actions;
  std::vector<CLI::App*> subcommands;
  for (const Command* command : kCommands) {
    CLI::App* sub = app.add_subcommand(command->name, command->summary);
    sub->fallthrough();
    sub->set_help_flag("-h,--help", "This text");
    actions.push_back(command->setup(*sub, globals));
    subcommands.push_back(sub);
  }

  const std::vector<std::string> names = CommandNames();
  if (argc > 1 && argv[1][0] != '-' &&
      std::find(names.begin(), names.end(), argv[1]) == names.end()) {
    return Complain(kUsage,
                    fmt::format("unknown command '{}'{}", argv[1], DidYouMean(argv[1], names)));
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ExtrasError& error) {
    for (const CLI::App* sub : subcommands) {
      if (sub->parsed()) return Complain(kUsage, ExplainExtras(*sub, app.remaining(true)));
    }
    return Complain(kUsage, error.what());
  } catch (const CLI::ParseError& error) {
    return Complain(kUsage, error.what());
  }
  if (version) return PrintVersion(globals.json);
  for (std::size_t i = 0; i < subcommands.size(); ++i) {
    if (subcommands[i]->parsed()) return actions[i]();
  }
  fmt::print(stderr, "{}", app.help());
  return kUsage;
}

}  // namespace
}  // namespace kestra::tools

int main(int argc, char** argv) {
  using namespace kestra::tools;
  // A reader that goes away ends the program without a word, also when the parent ignored the
  // signal.
  signal(SIGPIPE, SIG_DFL);
  int code = kDone;
  try {
    code = Run(argc, argv);
  } catch (const ToolError& error) {
    code = Complain(error.code(), error.what());
  } catch (const IoError& error) {
    code = Complain(kInputOutput, error.what());
  } catch (const std::bad_alloc&) {
    code = Complain(kInputOutput, "out of memory");
  }
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    code = Complain(kInputOutput,
                    fmt::format("standard output: cannot write: {}", std::strerror(errno)));
  }
  return code;
}
