// kestra locale: what the environment resolves to, and why.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "command.h"
#include "environment.h"
#include "names.h"
#include "session.h"
#include "support/table.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

struct Options {
  bool check = false;
};

constexpr char kMinimalNotice[] =
    "No usable locale data was found (error 22): only AMERICAN, AMERICA and US7ASCII, which are "
    "built\ninto the library, are available. Set KESTRA_HOME or KES_NLS10, or install a data "
    "library.";

nlohmann::ordered_json FindingsJson(const std::vector<Finding>& findings) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"variable", finding.variable},
                    {"value", finding.value},
                    {"code", finding.code},
                    {"text", finding.text}});
  }
  return list;
}

int Check(Session& session, bool json) {
  const std::vector<Finding> findings = CheckEnvironment(session);
  if (json) {
    PrintJson({{"data", session.Origin()},
               {"minimal", session.minimal()},
               {"findings", FindingsJson(findings)}});
  } else {
    for (const Finding& finding : findings) fmt::print("{}\n", Printable(FindingLine(finding)));
    if (findings.empty()) fmt::print("Every setting is valid; data from {}.\n", session.Origin());
  }
  return findings.empty() ? kDone : kFound;
}

int Report(Session& session, bool json) {
  lxhandle handle{};
  if (lxhLangEnv(&handle, 0, session.context()) == nullptr) {
    throw ToolError(kBadData,
                    fmt::format("no handle can be built from the environment (error {}: {})",
                                session.context()->error, ErrorText(session.context()->error)));
  }
  const std::vector<Finding> findings = CheckEnvironment(session);
  const std::vector<Setting> settings = ResolveSettings(session, handle, findings);
  const char* lang = std::getenv("NLS_LANG");
  if (json) {
    nlohmann::ordered_json root;
    root["nls_lang"] = lang == nullptr ? nlohmann::ordered_json() : nlohmann::ordered_json(lang);
    root["data"] = session.Origin();
    root["minimal"] = session.minimal();
    for (const Setting& setting : settings) {
      root["settings"].push_back(
          {{"name", setting.name}, {"value", setting.value}, {"from", setting.from}});
    }
    root["findings"] = FindingsJson(findings);
    PrintJson(root);
    return kDone;
  }
  if (session.minimal()) {
    fmt::print("{}\n\n", Styled(STDOUT_FILENO, Style::kYellow, kMinimalNotice));
  }
  fmt::print("NLS_LANG  {}\nData      {}\n\n", lang == nullptr ? "(not set)" : Printable(lang),
             Printable(session.Origin()));
  Table table({{"SETTING"}, {"VALUE"}, {"FROM"}});
  for (const Setting& setting : settings) table.Add({setting.name, setting.value, setting.from});
  table.Print(stdout);
  if (!findings.empty()) {
    fmt::print("\n{}\n", Styled(STDOUT_FILENO, Style::kYellow, "Not used as it stands:"));
    for (const Finding& finding : findings) fmt::print("  {}\n", Printable(FindingLine(finding)));
  }
  return kDone;
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<Options>();
  app.add_flag("--check", options->check,
               "Only list unknown and invalid values, one a line; exit code 1 when there are any");
  app.footer(
      "FROM is the variable that set a value, or the territory or language that it comes "
      "with.\n\n" +
      Examples({"kestra locale", "NLS_LANG=FRENCH_CANADA NLS_SORT=FRENCH kestra locale",
                "kestra locale --check || echo 'settings need care'"}));
  return [options, &globals] {
    Session session;
    return options->check ? Check(session, globals.json) : Report(session, globals.json);
  };
}

}  // namespace

const Command kLocaleCommand{"locale", "Show what the environment resolves to", Setup};

}  // namespace kestra::tools
