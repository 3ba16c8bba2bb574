#include "posix_rule.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <string>

namespace kestra::nlsc {
namespace {

constexpr std::int64_t kDaySeconds = 86400;

// When a change happens in a year, in the local time before it.
struct ChangeRule {
  enum class Kind { kMonthWeekDay, kDayWithoutLeap, kDay } kind = Kind::kDay;
  unsigned month = 0, week = 0, weekday = 0;  // kMonthWeekDay; week 5: the last
  int day = 0;                                // kDayWithoutLeap 1..365, kDay 0..365
  std::int32_t time = 7200;

  std::int64_t LocalInstant(int year) const {
    using namespace std::chrono;
    const sys_days first = std::chrono::year(year) / January / 1;
    sys_days date = first;
    if (kind == Kind::kMonthWeekDay) {
      const year_month in = std::chrono::year(year) / std::chrono::month(month);
      date = week == 5 ? sys_days(in / std::chrono::weekday(weekday)[last])
                       : sys_days(in / std::chrono::weekday(weekday)[week]);
    } else if (kind == Kind::kDayWithoutLeap) {
      const bool leap = std::chrono::year(year).is_leap();
      date = first + days(day - 1 + (leap && day >= 60 ? 1 : 0));
    } else {
      date = first + days(day);
    }
    return date.time_since_epoch().count() * kDaySeconds + time;
  }
};

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  bool at_end() const { return text_.empty(); }

  std::string Name() {
    std::size_t length = 0;
    if (Take('<')) {
      length = text_.find('>');
      if (length == std::string_view::npos) Fail();
    } else {
      while (length < text_.size() && IsLetter(text_[length])) ++length;
    }
    if (length < 3) Fail();
    std::string name(text_.substr(0, length));
    text_.remove_prefix(length);
    Take('>');
    return name;
  }

  // [+-]h[h[h]][:mm[:ss]] in seconds.
  std::int32_t Time() {
    const bool negative = Take('-');
    if (!negative) Take('+');
    std::int32_t seconds = Number(167) * 3600;
    if (Take(':')) {
      seconds += Number(59) * 60;
      if (Take(':')) seconds += Number(59);
    }
    return negative ? -seconds : seconds;
  }

  ChangeRule Rule() {
    if (!Take(',')) Fail();
    ChangeRule rule;
    if (Take('M')) {
      rule.kind = ChangeRule::Kind::kMonthWeekDay;
      rule.month = static_cast<unsigned>(Number(12));
      if (!Take('.')) Fail();
      rule.week = static_cast<unsigned>(Number(5));
      if (!Take('.')) Fail();
      rule.weekday = static_cast<unsigned>(Number(6));
      if (rule.month == 0 || rule.week == 0) Fail();
    } else if (Take('J')) {
      rule.kind = ChangeRule::Kind::kDayWithoutLeap;
      rule.day = Number(365);
      if (rule.day == 0) Fail();
    } else {
      rule.day = Number(365);
    }
    if (Take('/')) rule.time = Time();
    return rule;
  }

  bool HasOffset() const { return !text_.empty() && text_.front() != ','; }
  [[noreturn]] static void Fail() { throw std::invalid_argument("the rule is not well formed"); }

 private:
  static bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

  bool Take(char c) {
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }
  int Number(int limit) {
    int value = 0;
    std::size_t length = 0;
    while (length < text_.size() && length < 3 && text_[length] >= '0' && text_[length] <= '9') {
      value = value * 10 + (text_[length++] - '0');
    }
    if (length == 0 || value > limit) Fail();
    text_.remove_prefix(length);
    return value;
  }

  std::string_view text_;
};

// Says nothing when the type in force is that one already.
void Append(ZoneHistory& history, std::int64_t at, const ZoneType& type) {
  if (history.back().type == type) return;
  history.push_back({at, type});
}

}  // namespace

void ExpandRule(std::string_view rule, std::int64_t after, int end_year, ZoneHistory& history) {
  if (rule.empty() || ToCivil(after).year > end_year) return;
  Parser parser(rule);
  ZoneType standard;
  standard.abbreviation = parser.Name();
  standard.offset = -parser.Time();
  if (parser.at_end()) {
    // Another type would have no instant to begin at.
    if (history.back().type != standard) {
      throw std::invalid_argument("the rule contradicts the last transition");
    }
    return;
  }
  ZoneType daylight;
  daylight.daylight = true;
  daylight.abbreviation = parser.Name();
  daylight.offset = parser.HasOffset() ? -parser.Time() : standard.offset + 3600;
  const ChangeRule begin = parser.Rule();
  const ChangeRule end = parser.Rule();
  if (!parser.at_end()) Parser::Fail();
  for (int year = static_cast<int>(ToCivil(after).year); year <= end_year; ++year) {
    std::array<ZoneTransition, 2> changes = {
        ZoneTransition{begin.LocalInstant(year) - standard.offset, daylight},
        ZoneTransition{end.LocalInstant(year) - daylight.offset, standard}};
    std::sort(changes.begin(), changes.end());
    for (const ZoneTransition& change : changes) {
      if (change.at > after && ToCivil(change.at).year <= end_year) {
        Append(history, change.at, change.type);
      }
    }
  }
}

}  // namespace kestra::nlsc
