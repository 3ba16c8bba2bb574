// kestra charsets: the character sets of the data in use.
#include "command.h"
#include "names.h"
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
  auto options = AddListOptions(app, "Every alias");
  app.footer(
      "CLASS tells how the bytes of a character are found, BYTES its longest character.\n\n" +
      Examples({"kestra charsets", "kestra charsets --all 8859", "kestra charsets --json utf"}));
  return [options, &globals] { return List(*options, globals.json); };
}

}  // namespace

const Command kCharsetsCommand{"charsets", "List character sets", Setup};

}  // namespace kestra::tools
