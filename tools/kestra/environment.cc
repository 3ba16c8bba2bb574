#include "environment.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "suggest.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kLongestLang = 4095;
constexpr std::size_t kLongestParameter = 255;
constexpr std::size_t kLongestPath = 511;
constexpr std::uint32_t kVisualOrder = 1u << 4;  // lxhandle.flags2

// The variables between NLS_LANG and NLS_DISPLAY, by index into lxhenvqnames.
constexpr std::size_t kFirstParameter = 1;
constexpr std::size_t kLastParameter = 22;
constexpr std::uint32_t kParameterItems[24] = {
    KES_ITEM_NLS_LANG,
    KES_ITEM_CURRENCY,
    KES_ITEM_ISO_CURRENCY,
    KES_ITEM_CALENDAR,
    KES_ITEM_DATE_FORMAT,
    KES_ITEM_DATE_LANGUAGE,
    KES_ITEM_NUMERIC_CHARACTERS,
    KES_ITEM_MONETARY_CHARACTERS,
    KES_ITEM_LIST_SEPARATOR,
    KES_ITEM_DEBIT,
    KES_ITEM_CREDIT,
    KES_ITEM_SORT,
    KES_ITEM_STORAGE_ORDER,
    KES_ITEM_COMP,
    KES_ITEM_LENGTH_SEMANTICS,
    KES_ITEM_CONV_EXCP,
    KES_ITEM_IMP_CONV,
    KES_ITEM_DUAL_CURRENCY,
    KES_ITEM_TIME_FORMAT,
    KES_ITEM_TIMESTAMP_FORMAT,
    KES_ITEM_TIME_TZ_FORMAT,
    KES_ITEM_TIMESTAMP_TZ_FORMAT,
    KES_ITEM_DUAL_CURRENCY,
    KES_ITEM_NLS_LANG,
};

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string_view Trim(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\r\n\v\f");
  return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

std::vector<std::string> NamesOf(Session& session, std::uint32_t kind) {
  std::vector<std::string> names;
  for (const Named& named : session.Names(kind)) names.push_back(named.name);
  return names;
}

Finding TooLong(const char* variable, const std::string& value, std::size_t longest) {
  return {variable, value.substr(0, 40) + "...", KES_NLS_DESTINATION_FULL,
          fmt::format("{} bytes, at most {} are read: the variable counts as unset", value.size(),
                      longest)};
}

void CheckLang(Session& session, std::vector<Finding>& findings) {
  const std::string value = Variable("NLS_LANG");
  if (value.size() > kLongestLang) {
    findings.push_back(TooLong("NLS_LANG", value, kLongestLang));
    return;
  }
  const LangParts parts = ReadLangParts(session);
  auto check = [&](bool known, const std::string& part, std::uint32_t code, std::uint32_t kind) {
    if (known || part.empty()) return;
    findings.push_back({"NLS_LANG", value, code,
                        fmt::format("{} '{}'{}", ErrorText(code), part,
                                    DidYouMean(part, NamesOf(session, kind)))});
  };
  check(parts.language_known, parts.language, KES_NLS_UNKNOWN_LANGUAGE, kLanguageKind);
  check(parts.territory_known, parts.territory, KES_NLS_UNKNOWN_TERRITORY, kTerritoryKind);
  check(parts.charset_known, parts.charset, KES_NLS_UNKNOWN_CHARSET, kCharsetKind);
}

// The kind of name that an item takes, 0 when it takes other text.
std::uint32_t KindOfItem(std::uint32_t item) {
  switch (item) {
    case KES_ITEM_DATE_LANGUAGE:
      return kLanguageKind;
    case KES_ITEM_SORT:
    case KES_ITEM_CALENDAR:
      return item;
    default:
      return 0;
  }
}

// A sort's name without the suffix that asks for a level.
std::string_view WithoutLevel(std::uint32_t item, std::string_view value) {
  constexpr std::size_t kSuffix = 3;
  if (item != KES_ITEM_SORT || value.size() <= kSuffix) return value;
  const std::string_view suffix = value.substr(value.size() - kSuffix);
  const bool level = EditDistance(suffix, "_AI") == 0 || EditDistance(suffix, "_CI") == 0;
  return level ? value.substr(0, value.size() - kSuffix) : value;
}

bool KnownName(Session& session, std::uint32_t item, const std::string& value) {
  switch (item) {
    case KES_ITEM_DATE_LANGUAGE:
      return lxplget(value.data(), value.size(), session.context()) != 0;
    case KES_ITEM_CALENDAR:
      return lxedget(value.data(), value.size(), session.context()) != 0;
    case KES_ITEM_SORT: {
      constexpr std::string_view kBinary = "BINARY";
      const bool binary =
          EditDistance(std::string_view(value).substr(0, kBinary.size()), kBinary) == 0;
      return binary ||
             lxpsget(value.data(), value.size(), nullptr, nullptr, session.context()) != 0;
    }
    default:
      return true;
  }
}

void CheckParameter(Session& session, std::size_t index, lxhandle& handle,
                    std::vector<Finding>& findings) {
  const char* name = lxhenvqnames[index];
  const std::string value = Variable(name);
  if (value.empty()) return;
  if (value.size() > kLongestParameter) {
    findings.push_back(TooLong(name, value, kLongestParameter));
    return;
  }
  const std::uint32_t item = kParameterItems[index];
  session.context()->error = 0;
  const int done = lxhlmod(&handle, value.data(), value.size(), item, 0, 0, session.context());
  const std::uint32_t error = session.context()->error;
  if (!KnownName(session, item, value)) {
    const std::uint32_t code = error != 0 ? error : static_cast<std::uint32_t>(KES_NLS_UNKNOWN_ID);
    findings.push_back(
        {name, value, code,
         fmt::format("unknown name '{}'{}", value,
                     DidYouMean(WithoutLevel(item, value), NamesOf(session, KindOfItem(item))))});
  } else if (error != 0) {
    findings.push_back({name, value, error, ErrorText(error)});
  } else if (done == 0) {
    findings.push_back({name, value, 0,
                        item == KES_ITEM_NUMERIC_CHARACTERS
                            ? "needs two different characters, the decimal character and the group "
                              "separator, and no digits or + - < >"
                            : "not accepted"});
  }
}

void CheckDirectory(const char* name, std::vector<Finding>& findings) {
  const std::string value = Variable(name);
  if (value.empty()) return;
  if (value.size() > kLongestPath) {
    findings.push_back(TooLong(name, value, kLongestPath));
    return;
  }
  struct stat info {};
  if (stat(value.c_str(), &info) != 0) {
    findings.push_back({name, value, 0, std::strerror(errno)});
  } else if (!S_ISDIR(info.st_mode)) {
    findings.push_back({name, value, 0, "is no directory"});
  }
}

// The name of the variable that set an item; empty when none did or its value was refused.
std::string SetBy(std::uint32_t item, const std::vector<Finding>& findings) {
  for (std::size_t index = kLastParameter; index >= kFirstParameter; --index) {
    if (kParameterItems[index] != item) continue;
    const std::string name = lxhenvqnames[index];
    if (Variable(name.c_str()).empty()) continue;
    const bool refused = std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
      return finding.variable == name;
    });
    if (!refused) return name;
  }
  return "";
}

}  // namespace

std::string FindingLine(const Finding& finding) {
  std::string line;
  if (!finding.variable.empty()) line = finding.variable + "=" + finding.value + ": ";
  if (finding.code != 0) line += fmt::format("error {}: ", finding.code);
  return line + finding.text;
}

LangParts ReadLangParts(Session& session) {
  LangParts parts;
  const std::string value = Variable("NLS_LANG");
  parts.set = !value.empty() && value.size() <= kLongestLang;
  if (!parts.set) return parts;
  // LANGUAGE_TERRITORY.CHARSET, each optional. A character set may have anything in its name.
  std::string_view rest = value;
  const std::size_t dot = rest.find('.');
  if (dot != std::string_view::npos) {
    parts.charset = Trim(rest.substr(dot + 1));
    rest = rest.substr(0, dot);
  }
  const std::size_t bar = rest.find('_');
  if (bar != std::string_view::npos) {
    parts.territory = Trim(rest.substr(bar + 1));
    rest = rest.substr(0, bar);
  }
  parts.language = Trim(rest);
  lxcontext* context = session.context();
  auto known = [&](auto* get, const std::string& name) {
    return !name.empty() && get(name.data(), name.size(), context) != 0;
  };
  parts.language_known = known(lxplget, parts.language);
  parts.territory_known = known(lxptget, parts.territory);
  parts.charset_known = known(lxpcget, parts.charset);
  return parts;
}

std::vector<Finding> CheckEnvironment(Session& session) {
  std::vector<Finding> findings;
  if (session.minimal()) {
    std::string text = ErrorText(KES_NLS_NO_BOOT_FILE);
    for (const char* name : {"KES_NLS_PROFILE33", "KES_NLS10", "KESTRA_HOME"}) {
      if (!Variable(name).empty()) text += fmt::format("; {}={}", name, Variable(name));
    }
    findings.push_back({"", "", KES_NLS_NO_BOOT_FILE, text});
  }
  for (const char* name : {"KESTRA_HOME", "KES_NLS10", "KES_NLS_PROFILE33"}) {
    CheckDirectory(name, findings);
  }
  CheckLang(session, findings);
  const std::string lang = Variable("NLS_LANG");
  lxhandle handle{};
  const bool built = lxhLaToId(lang.data(), lang.size() <= kLongestLang ? lang.size() : 0, &handle,
                               1, session.context()) != nullptr;
  if (!built) {
    findings.push_back(
        {"NLS_LANG", lang, session.context()->error,
         fmt::format("no handle can be built: {}", ErrorText(session.context()->error))});
    return findings;
  }
  for (std::size_t index = kFirstParameter; index <= kLastParameter; ++index) {
    CheckParameter(session, index, handle, findings);
  }
  const std::string display = Variable("NLS_DISPLAY");
  if (display.size() > kLongestParameter) {
    findings.push_back(TooLong("NLS_DISPLAY", display, kLongestParameter));
  } else if (!display.empty() &&
             lxhdisp(display.data(), display.size(), &handle, session.context()) == 0) {
    findings.push_back({"NLS_DISPLAY", display, session.context()->error,
                        "its character set cannot be displayed"});
  }
  return findings;
}

std::vector<Setting> ResolveSettings(Session& session, const lxhandle& handle,
                                     const std::vector<Finding>& findings) {
  const LangParts parts = ReadLangParts(session);
  const std::string language = session.Item(handle, KES_ITEM_LANGUAGE);
  const std::string territory = session.Item(handle, KES_ITEM_TERRITORY);
  const char* charset = lxhid2name(kCharsetKind, handle.charset_id, session.context());
  const std::string by_language = "language " + language;
  // Names and the long date are in the language of dates, which may be another.
  const std::string by_date_language = "language " + session.Item(handle, KES_ITEM_DATE_LANGUAGE);
  const std::string by_territory = "territory " + territory;
  const std::string built_in = "default";

  std::vector<Setting> settings;
  settings.push_back({"language", language, parts.language_known ? "NLS_LANG" : built_in});
  settings.push_back({"territory", territory, parts.territory_known ? "NLS_LANG" : by_language});
  settings.push_back({"character set", charset != nullptr ? charset : "",
                      parts.charset_known ? "NLS_LANG" : by_language});
  auto add = [&](const char* name, std::uint32_t item, const std::string& otherwise) {
    const std::string variable = SetBy(item, findings);
    settings.push_back({name, session.Item(handle, item), variable.empty() ? otherwise : variable});
  };
  add("currency", KES_ITEM_CURRENCY, by_territory);
  add("ISO currency", KES_ITEM_ISO_CURRENCY, by_territory);
  add("dual currency", KES_ITEM_DUAL_CURRENCY, by_territory);
  add("numeric characters", KES_ITEM_NUMERIC_CHARACTERS, by_territory);
  add("monetary characters", KES_ITEM_MONETARY_CHARACTERS, by_territory);
  add("list separator", KES_ITEM_LIST_SEPARATOR, by_territory);
  add("debit", KES_ITEM_DEBIT, by_territory);
  add("credit", KES_ITEM_CREDIT, by_territory);
  add("calendar", KES_ITEM_CALENDAR, built_in);
  add("date language", KES_ITEM_DATE_LANGUAGE, by_language);
  add("date format", KES_ITEM_DATE_FORMAT, by_territory);
  add("time format", KES_ITEM_TIME_FORMAT, by_territory);
  add("timestamp format", KES_ITEM_TIMESTAMP_FORMAT, by_territory);
  add("time with zone", KES_ITEM_TIME_TZ_FORMAT, by_territory);
  add("timestamp with zone", KES_ITEM_TIMESTAMP_TZ_FORMAT, by_territory);
  add("short date", KES_ITEM_SHORT_DATE, by_territory);
  add("short time", KES_ITEM_TIME, by_territory);
  add("long date", KES_ITEM_LONG_DATE, by_date_language);
  const std::uint32_t first_day = lxhninfo(&handle, KES_ITEM_FIRST_DAY, session.context());
  settings.push_back(
      {"week begins on", session.Item(handle, KES_ITEM_DAY + first_day % 7), by_territory});
  // A sort that no variable asked for is binary, unless the language brings its own.
  const std::string sort = session.Item(handle, KES_ITEM_SORT);
  add("sort", KES_ITEM_SORT, sort == "BINARY" ? built_in : by_language);
  add("comparison", KES_ITEM_COMP, built_in);
  add("length semantics", KES_ITEM_LENGTH_SEMANTICS, built_in);
  const std::string order = SetBy(KES_ITEM_STORAGE_ORDER, findings);
  settings.push_back({"storage order", (handle.flags2 & kVisualOrder) != 0 ? "VISUAL" : "LOGICAL",
                      order.empty() ? built_in : order});
  add("report lost characters", KES_ITEM_CONV_EXCP, built_in);
  add("implicit conversion", KES_ITEM_IMP_CONV, built_in);
  const std::string display = Variable("NLS_DISPLAY").empty() ? built_in : "NLS_DISPLAY";
  settings.push_back({"display", session.Item(handle, KES_ITEM_DISPLAY_NAME), display});
  settings.push_back(
      {"display direction", session.Item(handle, KES_ITEM_DISPLAY_DIRECTION), display});
  settings.push_back(
      {"display character set", session.Item(handle, KES_ITEM_DISPLAY_CHARSET), display});
  return settings;
}

}  // namespace kestra::tools
