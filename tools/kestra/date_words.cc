#include "date_words.h"

#include <fmt/format.h>

#include <algorithm>

#include "kestra/datetime_text.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

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
    {1820, "this element can only be written"},
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
    {1857, "the time zone does not have that abbreviation then"},
    {1858, "a digit was expected"},
    {1859, "a letter was expected"},
    {1860, "the ISO week is not between 1 and 53"},
    {1861, "the text differs from the model's"},
    {1862, "FX wants all digits of the element"},
    {1863, "the year lies outside the calendar"},
    {1864, "the date lies outside the calendar"},
    {1865, "the era is not one of the calendar, or does not have that date"},
    {1867, "not an interval"},
    {1870, "months do not go together with days and times"},
    {1873, "the leading field is too large"},
    {1874, "an offset beyond 15 hours"},
    {1875, "an offset beyond 15 hours, or minutes that are not between 0 and 59"},
    {1879, "the hour is not between 0 and 24, or 24 is not the end of the day"},
    {1880, "more than nine digits of a fraction"},
    {1882, "the time zone is not known, or does not have that offset then"},
    {1890, "the language has no such format"},
    {1899, "nothing can be rounded to this element"},
};

struct Element {
  std::uint32_t code;
  const char* meaning;
};
constexpr Element kElements[] = {
    {KES_DATE_CC, "century"},
    {KES_DATE_SCC, "century, - before our era"},
    {KES_DATE_I, "last digit of the ISO year"},
    {KES_DATE_Y, "last digit of the year"},
    {KES_DATE_IY, "last 2 digits of the ISO year"},
    {KES_DATE_YY, "last 2 digits of the year"},
    {KES_DATE_IYY, "last 3 digits of the ISO year"},
    {KES_DATE_YYY, "last 3 digits of the year"},
    {KES_DATE_IYYY, "ISO year"},
    {KES_DATE_YYYY, "year"},
    {KES_DATE_Y_YYY, "year with a comma"},
    {KES_DATE_SYYYY, "year, - before our era"},
    {KES_DATE_SY_YYY, "year with a comma, - before our era"},
    {KES_DATE_YEAR, "year in words"},
    {KES_DATE_SYEAR, "year in words, - before our era"},
    {KES_DATE_Q, "quarter"},
    {KES_DATE_MM, "month"},
    {KES_DATE_IW, "ISO week of the year"},
    {KES_DATE_WW, "week of the year, from 1 January's weekday"},
    {KES_DATE_W, "week of the month, from the 1st's weekday"},
    {KES_DATE_D, "day of the week, by the territory's first"},
    {KES_DATE_DD, "day of the month"},
    {KES_DATE_DDD, "day of the year"},
    {KES_DATE_HH24, "hour, 0 to 23"},
    {KES_DATE_HH12, "hour, 1 to 12"},
    {KES_DATE_MI, "minute"},
    {KES_DATE_SS, "second"},
    {KES_DATE_SSSSS, "seconds past midnight"},
    {KES_DATE_J, "Julian day"},
    {KES_DATE_MONTH, "name of the month"},
    {KES_DATE_MON, "short name of the month"},
    {KES_DATE_DAY, "name of the weekday"},
    {KES_DATE_DY, "short name of the weekday"},
    {KES_DATE_AM, "before or after noon"},
    {KES_DATE_A_M, "before or after noon, with periods"},
    {KES_DATE_AD, "before or in our era"},
    {KES_DATE_A_D, "before or in our era, with periods"},
    {KES_DATE_RM, "month in Roman numerals"},
    {KES_DATE_FM, "turns filling with zeros and blanks off, or on again"},
    {KES_DATE_RR, "last 2 digits of the year, century by today's"},
    {KES_DATE_RRRR, "year; of 2 digits the century by today's"},
    {KES_DATE_FX, "text has to match the model exactly"},
    {KES_DATE_E, "short name of the calendar's era"},
    {KES_DATE_EE, "name of the calendar's era"},
    {KES_DATETIME_HH25, "hour, 0 to 24"},
    {KES_DATETIME_FF, "fraction of the second"},
    {KES_DATETIME_TZH, "hours of the offset, with sign"},
    {KES_DATETIME_TZM, "minutes of the offset"},
    {KES_DATETIME_TZD, "abbreviation of the time zone"},
    {KES_DATETIME_TZR, "time zone, or its offset"},
    {KES_DATETIME_X, "decimal sign"},
    {KES_DATETIME_NYYYY, "year, - before our era"},
    {KES_DATETIME_LITERAL_ITEM, "text as it stands"},
    {KES_DATETIME_DL, "the language's long date"},
    {KES_DATETIME_DS, "the territory's short date"},
    {KES_DATETIME_TS, "the territory's time"},
};

}  // namespace

const char* DateErrorText(std::uint32_t number) {
  for (const Explanation& error : kErrors) {
    if (error.number == number) return error.text;
  }
  return "an error of the library";
}

DateFault::DateFault(std::uint32_t number, std::size_t offset, const std::string& words)
    : std::runtime_error(
          fmt::format("error {}: {}", number, words.empty() ? DateErrorText(number) : words)),
      number_(number),
      offset_(offset) {}

std::string WithCaret(std::string_view text, std::size_t offset) {
  constexpr std::size_t kAround = 60;  // bytes of a long text on either side
  offset = std::min(offset, text.size());
  std::size_t begin = offset - std::min(offset, kAround);
  std::size_t end = std::min(offset + kAround, text.size());
  if (text.size() <= 2 * kAround) begin = 0, end = text.size();
  while (begin < offset && IsInsideCharacter(text, begin)) ++begin;
  while (end > offset && IsInsideCharacter(text, end)) --end;
  const std::string before =
      (begin != 0 ? "..." : "") + Printable(text.substr(begin, offset - begin));
  return fmt::format("  {}{}{}\n  {}^", before, Printable(text.substr(offset, end - offset)),
                     end != text.size() ? "..." : "", std::string(DisplayWidth(before), ' '));
}

std::string ElementMeaning(std::uint32_t code) {
  if (code >= KES_DATETIME_FF1 && code < KES_DATETIME_NYYYY) {
    const std::uint32_t digits = code - KES_DATETIME_FF1 + 1;
    return fmt::format("fraction of the second, {} digit{}", digits, digits == 1 ? "" : "s");
  }
  for (const Element& element : kElements) {
    if (element.code == code) return element.meaning;
  }
  return "";
}

}  // namespace kestra::tools
