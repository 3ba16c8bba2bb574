// kestra territories: the territories of the data in use.
#include <array>

#include "command.h"
#include "names.h"
#include "session.h"

namespace kestra::tools {
namespace {

constexpr std::uint32_t kIsoCode = 110;
constexpr std::uint32_t kEnglishName = 111;
constexpr std::uint32_t kNativeName = 112;

const char* DayName(std::uint32_t day) {
  constexpr std::array kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                "Thursday", "Friday", "Saturday"};
  return day < kDays.size() ? kDays[day] : "";
}

// A blank used as a separator cannot be seen in a table.
std::string Visible(std::string text, bool json) {
  if (json) return text;
  for (std::size_t at = 0; (at = text.find("\xC2\xA0", at)) != std::string::npos;) {
    text.replace(at, 2, " ");
  }
  return text.find(' ') == std::string::npos ? text : "\"" + text + "\"";
}

int List(const ListOptions& options, bool json) {
  Session session;
  Listing listing({{"id", "ID", false, Align::kRight},
                   {"name", "NAME"},
                   {"iso", "ISO"},
                   {"iso_currency", "MONEY"},
                   {"currency", "SIGN"},
                   {"dual_currency", "DUAL", true},
                   {"numeric_characters", "NUMBERS"},
                   {"list_separator", "LIST", true},
                   {"date_format", "DATE"},
                   {"short_date", "SHORT DATE", true},
                   {"time", "TIME"},
                   {"timestamp_format", "TIMESTAMP", true},
                   {"first_day", "WEEK BEGINS"},
                   {"english_name", "ENGLISH NAME", true},
                   {"native_name", "OWN NAME", true}},
                  options.filter);
  lxhandle handle = session.Utf8Handle();
  for (const Named& territory : session.Names(kTerritoryKind)) {
    if (lxptset(territory.id, &handle, session.context()) == 0) {
      std::vector<nlohmann::ordered_json> row(15, "");
      row[0] = territory.id;
      row[1] = territory.name;
      row[2] = "not loadable";
      listing.Add(std::move(row));
      continue;
    }
    auto item = [&](std::uint32_t code) { return session.Item(handle, code); };
    listing.Add({territory.id, territory.name, item(kIsoCode), item(KES_ITEM_ISO_CURRENCY),
                 item(KES_ITEM_CURRENCY), item(KES_ITEM_DUAL_CURRENCY),
                 Visible(item(KES_ITEM_NUMERIC_CHARACTERS), json), item(KES_ITEM_LIST_SEPARATOR),
                 item(KES_ITEM_DATE_FORMAT), item(KES_ITEM_SHORT_DATE), item(KES_ITEM_TIME),
                 item(KES_ITEM_TIMESTAMP_FORMAT),
                 DayName(lxhninfo(&handle, KES_ITEM_FIRST_DAY, session.context())),
                 item(kEnglishName), item(kNativeName)});
  }
  return listing.Print(options.all, json);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = AddListOptions(app, "Every currency and format, and the names");
  app.footer("NUMBERS are the decimal character and the group separator.\n\n" +
             Examples({"kestra territories", "kestra territories --all switzerland",
                       "kestra territories EUR"}));
  return [options, &globals] { return List(*options, globals.json); };
}

}  // namespace

const Command kTerritoriesCommand{"territories", "List territories", Setup};

}  // namespace kestra::tools
