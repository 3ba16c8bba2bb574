// kestra languages: the languages of the data in use.
#include "command.h"
#include "names.h"
#include "session.h"

namespace kestra::tools {
namespace {

int List(const ListOptions& options, bool json) {
  Session session;
  Listing listing({{"id", "ID", false, Align::kRight},
                   {"name", "NAME"},
                   {"tag", "TAG"},
                   {"territory", "TERRITORY"},
                   {"charset", "CHARACTER SET"},
                   {"sort", "SORT", true},
                   {"direction", "DIRECTION", true},
                   {"english_name", "ENGLISH NAME", true},
                   {"native_name", "OWN NAME"}},
                  options.filter);
  lxhandle handle = session.Utf8Handle();
  for (const Named& language : session.Names(kLanguageKind)) {
    if (lxplset(language.id, &handle, session.context()) == 0) {
      listing.Add({language.id, language.name, "not loadable", "", "", "", "", "", ""});
      continue;
    }
    listing.Add(
        {language.id, language.name, session.Item(handle, KES_ITEM_TAG),
         session.Item(handle, KES_ITEM_LANGUAGE_TERRITORY),
         session.Item(handle, KES_ITEM_LANGUAGE_CHARSET),
         session.Item(handle, KES_ITEM_SORT_DEFAULT), session.Item(handle, KES_ITEM_DIRECTION),
         session.Item(handle, KES_ITEM_ENGLISH_NAME), session.Item(handle, KES_ITEM_NATIVE_NAME)});
  }
  return listing.Print(options.all, json);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = AddListOptions(app, "Sort, writing direction and English name too");
  app.footer(
      "TERRITORY and CHARACTER SET are what NLS_LANG takes when it names only the language.\n\n" +
      Examples({"kestra languages", "kestra languages --all arab",
                "kestra languages --json | jq -r '.[].name'"}));
  return [options, &globals] { return List(*options, globals.json); };
}

}  // namespace

const Command kLanguagesCommand{"languages", "List languages", Setup};

}  // namespace kestra::tools
