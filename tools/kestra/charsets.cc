// kestra charsets: the character sets of the data in use, and what one has and another lacks.
#include "command.h"
#include "names.h"
#include "repertoire.h"
#include "session.h"

namespace kestra::tools {
namespace {

int List(const ListOptions& options, bool json) {
  Session session;
  Listing listing({{"id", "ID", false, Align::kRight},
                   {"name", "NAME"},
                   {"class", "CLASS"},
                   {"longest", "BYTES", false, Align::kRight},
                   {"alias", "ALSO KNOWN AS"},
                   {"aliases", "ALL ALIASES", true}},
                  options.filter);
  for (const Named& set : session.Names(kCharsetKind)) {
    const CharsetFacts facts = session.Facts(set.id);
    const std::vector<std::string> aliases = Aliases(set.id);
    listing.Add({set.id, set.name, facts.longest == 0 ? "not loadable" : facts.kind, facts.longest,
                 aliases.empty() ? "" : aliases.front(), aliases});
  }
  return listing.Print(options.all, json);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = AddListOptions(app, "Every alias; with --compare, every character");
  auto compare = std::make_shared<std::vector<std::string>>();
  app.add_option(
         "--compare", *compare,
         "Show the characters that one of two sets has and the other lacks; exit code 1 when "
         "there are any")
      ->expected(2)
      ->type_name("SET");
  app.footer(
      "CLASS tells how the bytes of a character are found, BYTES its longest character.\n\n" +
      Examples({"kestra charsets", "kestra charsets --all 8859", "kestra charsets --json utf",
                "kestra charsets --compare latin1 latin9"}));
  return [options, compare, &globals] {
    if (compare->empty()) return List(*options, globals.json);
    Session session;
    return CompareRepertoires(session, (*compare)[0], (*compare)[1], options->all ? 0 : 20,
                              globals.json);
  };
}

}  // namespace

const Command kCharsetsCommand{"charsets", "List character sets", Setup};

}  // namespace kestra::tools
