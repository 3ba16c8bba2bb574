// What the environment asks for, variable by variable, and what of it the library accepts.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "session.h"

namespace kestra::tools {

// A value that is not used as it stands.
struct Finding {
  std::string variable;  // empty: of the data as a whole
  std::string value;
  std::uint32_t code = 0;  // of the library; 0 where it has none
  std::string text;
};

// One line: "NLS_COMP=FUZZY: error 29: ...".
std::string FindingLine(const Finding& finding);

// Every unknown or invalid value, in the order in which the library reads them.
std::vector<Finding> CheckEnvironment(Session& session);

// A component of NLS_LANG.
struct LangParts {
  bool set = false;  // NLS_LANG has a value
  std::string language, territory, charset;
  bool language_known = false, territory_known = false, charset_known = false;
};
LangParts ReadLangParts(Session& session);

// A line of the report.
struct Setting {
  std::string name;   // "date format"
  std::string value;  // UTF-8
  std::string from;   // "NLS_DATE_FORMAT", "territory AUSTRIA", "default"
};
std::vector<Setting> ResolveSettings(Session& session, const lxhandle& handle,
                                     const std::vector<Finding>& findings);

}  // namespace kestra::tools
