#include "date_tool.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "command.h"
#include "suggest.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr std::uint32_t kCalendarKind = KES_ITEM_CALENDAR;
constexpr std::size_t kModelRoom = 8192;

void Throw(ldxctx* ctx, std::uint32_t number) {
  throw DateFault(number, static_cast<std::size_t>(ctx->error_offset));
}

const std::uint8_t* Bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::vector<std::string> NamesOf(Session& session, std::uint32_t kind) {
  std::vector<std::string> names;
  for (const Named& named : session.Names(kind)) names.push_back(named.name);
  return names;
}

// Names are unknown because there is no data.
void RequireData(Session& session) {
  if (!session.minimal()) return;
  throw ToolError(kBadData, "no locale data was found; set KESTRA_HOME, or install a data library");
}

struct Explanation {
  std::uint32_t number;
  const char* text;
};
constexpr Explanation kErrors[] = {
    {600, "the language has no default date format"},
    {1800, "quoted text of a model is longer than 209 bytes"},
    {1801, "the model or the text is too long"},
    {1810, "an element stands twice"},
    {1811, "DDD and J exclude each other"},
    {1812, "more than one element of the year"},
    {1813, "more than one element of the hour"},
    {1814, "AM and A.M. exclude each other"},
    {1815, "AD and A.D. exclude each other"},
    {1816, "more than one element of the month"},
    {1817, "more than one element of the weekday"},
    {1818, "AM or PM does not go with HH24"},
    {1819, "a signed year does not go with AD or BC"},
    {1820, "this element cannot be read"},
    {1821, "no element of a model begins here"},
    {1822, "the calendar has no eras of its own, or no arithmetic"},
    {1830, "text is left over behind the date"},
    {1831, "the year does not agree with another part"},
    {1832, "the day of the year does not agree with another part"},
    {1833, "the month does not agree with another part"},
    {1834, "the day does not agree with another part"},
    {1835, "the weekday does not agree with the date"},
    {1836, "the hour does not agree with the seconds past midnight"},
    {1837, "the minute does not agree with the seconds past midnight"},
    {1838, "the second does not agree with the seconds past midnight"},
    {1839, "the month does not have that day"},
    {1840, "the text ends before the model does"},
    {1841, "the year is not between -4712 and 9999, or is 0"},
    {1842, "the quarter is not between 1 and 4"},
    {1843, "there is no such month"},
    {1844, "the week is not between 1 and 52"},
    {1845, "the week of the month is not between 1 and 4"},
    {1846, "there is no such weekday"},
    {1847, "the day is not between 1 and the length of the month"},
    {1848, "the day of the year is not between 1 and 366"},
    {1849, "the hour is not between 1 and 12"},
    {1850, "the hour is not between 0 and 23"},
    {1851, "the minute is not between 0 and 59"},
    {1852, "the second is not between 0 and 59"},
    {1853, "the seconds past midnight are not between 0 and 86399"},
    {1854, "the Julian day is not between 1 and 5373484"},
    {1855, "AM or PM was expected"},
    {1856, "AD or BC was expected"},
    {1857, "the time zone is not known"},
    {1858, "a digit was expected"},
    {1859, "a letter was expected"},
    {1860, "the ISO week is not between 1 and 53"},
    {1861, "the text differs from the model's"},
    {1862, "FX wants all digits of the element"},
    {1863, "the year lies outside the calendar"},
    {1864, "the date lies outside the calendar"},
    {1865, "the era is not one of the calendar, or does not have that date"},
    {1890, "the language has no such format"},
    {1899, "nothing can be rounded to this element"},
};

struct Element {
  std::uint32_t code;
  const char* meaning;
  bool readable;
};
constexpr Element kElements[] = {
    {KES_DATE_CC, "century", false},
    {KES_DATE_SCC, "century, - before our era", false},
    {KES_DATE_I, "last digit of the ISO year", false},
    {KES_DATE_Y, "last digit of the year", true},
    {KES_DATE_IY, "last 2 digits of the ISO year", false},
    {KES_DATE_YY, "last 2 digits of the year", true},
    {KES_DATE_IYY, "last 3 digits of the ISO year", false},
    {KES_DATE_YYY, "last 3 digits of the year", true},
    {KES_DATE_IYYY, "ISO year", false},
    {KES_DATE_YYYY, "year", true},
    {KES_DATE_Y_YYY, "year with a comma", true},
    {KES_DATE_SYYYY, "year, - before our era", true},
    {KES_DATE_SY_YYY, "year with a comma, - before our era", true},
    {KES_DATE_YEAR, "year in words", false},
    {KES_DATE_SYEAR, "year in words, - before our era", false},
    {KES_DATE_Q, "quarter", false},
    {KES_DATE_MM, "month", true},
    {KES_DATE_IW, "ISO week of the year", false},
    {KES_DATE_WW, "week of the year, from 1 January's weekday", false},
    {KES_DATE_W, "week of the month, from the 1st's weekday", false},
    {KES_DATE_D, "day of the week, by the territory's first", true},
    {KES_DATE_DD, "day of the month", true},
    {KES_DATE_DDD, "day of the year", true},
    {KES_DATE_HH24, "hour, 0 to 23", true},
    {KES_DATE_HH12, "hour, 1 to 12", true},
    {KES_DATE_MI, "minute", true},
    {KES_DATE_SS, "second", true},
    {KES_DATE_SSSSS, "seconds past midnight", true},
    {KES_DATE_J, "Julian day", true},
    {KES_DATE_MONTH, "name of the month", true},
    {KES_DATE_MON, "short name of the month", true},
    {KES_DATE_DAY, "name of the weekday", true},
    {KES_DATE_DY, "short name of the weekday", true},
    {KES_DATE_AM, "before or after noon", true},
    {KES_DATE_A_M, "before or after noon, with periods", true},
    {KES_DATE_AD, "before or in our era", true},
    {KES_DATE_A_D, "before or in our era, with periods", true},
    {KES_DATE_RM, "month in Roman numerals", true},
    {KES_DATE_FM, "turns filling with zeros and blanks off, or on again", true},
    {KES_DATE_RR, "last 2 digits of the year, century by today's", true},
    {KES_DATE_RRRR, "year; of 2 digits the century by today's", true},
    {KES_DATE_FX, "text has to match the model exactly", true},
    {KES_DATE_E, "short name of the calendar's era", true},
    {KES_DATE_EE, "name of the calendar's era", true},
    {KES_DATE_NYYYY, "year, - before our era", true},
    {KES_DATE_LITERAL, "text as it stands", true},
    {KES_DATE_DL, "the language's long date", true},
    {KES_DATE_DS, "the territory's short date", true},
    {KES_DATE_TS, "the territory's time", true},
};

const Element* FindElement(std::uint32_t code) {
  for (const Element& element : kElements) {
    if (element.code == code) return &element;
  }
  return nullptr;
}

}  // namespace

const char* DateErrorText(std::uint32_t number) {
  for (const Explanation& error : kErrors) {
    if (error.number == number) return error.text;
  }
  return "an error of the library";
}

DateFault::DateFault(std::uint32_t number, std::size_t offset)
    : std::runtime_error(fmt::format("error {}: {}", number, DateErrorText(number))),
      number_(number),
      offset_(offset) {}

std::string WithCaret(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, std::min(offset, text.size()));
  return fmt::format("  {}\n  {}^", Printable(text),
                     std::string(DisplayWidth(Printable(before)), ' '));
}

DateTool::DateTool(Session& session, const std::string& language, const std::string& calendar) {
  SetLanguage(session, language);
  if (!calendar.empty()) SetCalendar(session, calendar);
  // A default format that cannot be read is told when it is asked for.
  ldxnbeg(&ctx_, &handle_, session.context(), nullptr, nullptr, 0);
  ctx_.raise = Throw;
}

DateTool::~DateTool() { ldxend(&ctx_); }

void DateTool::SetLanguage(Session& session, const std::string& language) {
  lxcontext* nls = session.context();
  constexpr std::string_view kUtf8Name = "AL32UTF8";
  if (language.empty()) {
    if (lxhLangEnv(&handle_, 0, nls) == nullptr) {
      throw ToolError(kBadData, fmt::format("no handle can be built from the environment: {}",
                                            ErrorText(nls->error)));
    }
    lxhlmod(&handle_, kUtf8Name.data(), kUtf8Name.size(), KES_ITEM_CHARSET, 0, 0, nls);
    return;
  }
  const std::string specification = fmt::format("{}.{}", language, kUtf8Name);
  if (lxhLaToId(specification.data(), specification.size(), &handle_, 2, nls) != nullptr) return;
  RequireData(session);
  const std::size_t underscore = language.find('_');
  if (nls->error == KES_NLS_UNKNOWN_TERRITORY) {
    const std::string territory = language.substr(underscore + 1);
    throw ToolError(kUsage, fmt::format("unknown territory '{}'{}", territory,
                                        DidYouMean(territory, NamesOf(session, kTerritoryKind))));
  }
  const std::string name = language.substr(0, underscore);
  throw ToolError(kUsage, fmt::format("unknown language '{}'{}", name,
                                      DidYouMean(name, NamesOf(session, kLanguageKind))));
}

void DateTool::SetCalendar(Session& session, const std::string& calendar) {
  if (lxhlmod(&handle_, calendar.data(), calendar.size(), KES_ITEM_CALENDAR, 0, 0,
              session.context()) == 1) {
    return;
  }
  RequireData(session);
  throw ToolError(kUsage, fmt::format("unknown calendar '{}'{}", calendar,
                                      DidYouMean(calendar, NamesOf(session, kCalendarKind))));
}

std::string DateTool::Compile(std::string_view model) {
  std::string out(kModelRoom, '\0');
  out.resize(ldxsti(&ctx_, Bytes(model), model.size(), reinterpret_cast<std::uint8_t*>(out.data()),
                    out.size()));
  return out;
}

std::string DateTool::CompileForOutput(std::string_view model) {
  std::string out(kModelRoom, '\0');
  out.resize(ldxsto(&ctx_, Bytes(model), model.size(), reinterpret_cast<std::uint8_t*>(out.data()),
                    out.size()));
  return out;
}

std::string DateTool::Write(const ldxdate& date, std::string_view compiled) {
  const std::size_t length =
      ldxdts(&ctx_, &date, Bytes(compiled), compiled.size(), text_.data(), text_.size());
  return {reinterpret_cast<const char*>(text_.data()), length};
}

ldxdate DateTool::Read(std::string_view text, std::string_view compiled) {
  ldxdate date = {};
  ldxstd(&ctx_, Bytes(text), text.size(), Bytes(compiled), compiled.size(), &date);
  return date;
}

bool DateTool::NextPiece(std::string_view model, std::size_t& at, ldxscan& state,
                         ModelPiece& piece) {
  std::string out(kModelRoom, '\0');
  const std::uint8_t* text = Bytes(model) + at;
  std::size_t remaining = model.size() - at;
  auto* to = reinterpret_cast<std::uint8_t*>(out.data());
  std::size_t space = out.size();
  try {
    piece.code = ldxsnf(&ctx_, &text, &remaining, &to, &space, &state);
  } catch (const DateFault& fault) {
    throw DateFault(fault.number(), at + fault.offset());
  }
  const std::size_t end = model.size() - remaining;
  piece.text = model.substr(at, end - at);
  out.resize(out.size() - space);
  piece.compiled = std::move(out);
  at = end;
  return piece.code != 0;
}

std::string DateTool::DefaultFormat() const {
  return {reinterpret_cast<const char*>(ctx_.default_format), ctx_.default_length};
}

bool ReadPlainDate(std::string_view text, ldxdate& out) {
  if (text == "now" || text == "today") {
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    out = {static_cast<std::int16_t>(local.tm_year + 1900),
           static_cast<std::uint8_t>(local.tm_mon + 1),
           static_cast<std::uint8_t>(local.tm_mday),
           static_cast<std::uint8_t>(local.tm_hour),
           static_cast<std::uint8_t>(local.tm_min),
           static_cast<std::uint8_t>(local.tm_sec % 60),
           0};
    if (text == "today") out.hour = out.minute = out.second = 0;
    return true;
  }
  const std::string copy(text);
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
  int end = 0, date_end = 0;
  char between = ' ';
  if (std::sscanf(copy.c_str(), "%5d-%2u-%2u%n", &year, &month, &day, &date_end) != 3) return false;
  end = date_end;
  if (static_cast<std::size_t>(date_end) < copy.size()) {
    int minute_end = 0, second_end = 0;
    const int read = std::sscanf(copy.c_str() + date_end, "%c%2u:%2u%n:%2u%n", &between, &hour,
                                 &minute, &minute_end, &second, &second_end);
    if (read < 3 || (between != ' ' && between != 'T')) return false;
    end += read == 4 ? second_end : minute_end;
  }
  if (static_cast<std::size_t>(end) != copy.size()) return false;
  out = {static_cast<std::int16_t>(year),
         static_cast<std::uint8_t>(month),
         static_cast<std::uint8_t>(day),
         static_cast<std::uint8_t>(hour),
         static_cast<std::uint8_t>(minute),
         static_cast<std::uint8_t>(second),
         0};
  return year >= -9999 && year <= 9999 && ldxchk(nullptr, &out, KES_DATE_PARTS) == 0;
}

std::uint32_t UnitOf(DateTool& tool, std::string_view name) {
  try {
    const std::string compiled = tool.CompileForOutput(name);
    if (compiled.size() == 2) {
      const auto code = static_cast<std::uint8_t>(compiled[0]);
      if (code < KES_DATE_LITERAL) return code;
    }
  } catch (const DateFault&) {
  }
  throw ToolError(kUsage,
                  fmt::format("'{}' is not a unit; units are CC, IYYY, YYYY, Q, MM, IW, WW, "
                              "W, D, DD, HH24 and MI",
                              name));
}

const char* ElementMeaning(std::uint32_t code) {
  const Element* element = FindElement(code);
  return element == nullptr ? "" : element->meaning;
}

bool IsReadable(std::uint32_t code) {
  const Element* element = FindElement(code);
  return element != nullptr && element->readable;
}

}  // namespace kestra::tools
