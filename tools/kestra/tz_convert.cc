// kestra tz --at: a time in other zones, and what is to be said of a local time that does not exist
// or exists twice.
#include <fmt/format.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "command.h"
#include "names.h"
#include "support/table.h"
#include "support/terminal.h"
#include "tz.h"

namespace kestra::tools {
namespace {

struct ParsedTime {
  std::int64_t seconds = 0;            // as the fields say
  std::optional<std::int32_t> offset;  // when the text has one
};

[[noreturn]] void FailTime(const std::string& text) {
  throw ToolError(kUsage, fmt::format("'{}' is no time such as 2026-03-08 02:30", text));
}

// Reads between least and most digits; the text moves behind them.
std::optional<int> Digits(std::string_view& text, std::size_t least, std::size_t most) {
  int value = 0;
  std::size_t count = 0;
  while (count < most && count < text.size() && text[count] >= '0' && text[count] <= '9') {
    value = value * 10 + (text[count++] - '0');
  }
  if (count < least) return std::nullopt;
  text.remove_prefix(count);
  return value;
}

bool Take(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

// "Z", "+05:30", "-0800", "+01".
std::optional<std::int32_t> ParseOffset(std::string_view& text) {
  if (Take(text, 'Z') || Take(text, 'z')) return 0;
  const bool negative = !text.empty() && text.front() == '-';
  if (!Take(text, '+') && !Take(text, '-')) return std::nullopt;
  const std::optional<int> hours = Digits(text, 2, 2);
  if (!hours || *hours > 15) return std::nullopt;
  Take(text, ':');
  const int minutes = text.empty() ? 0 : Digits(text, 2, 2).value_or(60);
  if (minutes > 59) return std::nullopt;
  const std::int32_t seconds = *hours * 3600 + minutes * 60;
  return negative ? -seconds : seconds;
}

ParsedTime ParseTime(const std::string& whole) {
  std::string_view text = whole;
  if (text == "now") return {std::time(nullptr), 0};
  if (Take(text, '@')) {
    char* end = nullptr;
    const long long seconds = std::strtoll(whole.c_str() + 1, &end, 10);
    if (text.empty() || *end != '\0' || std::isspace(static_cast<unsigned char>(text[0])) != 0) {
      FailTime(whole);
    }
    return {seconds, 0};
  }
  const std::optional<int> year = Digits(text, 4, 4);
  if (!year || !Take(text, '-')) FailTime(whole);
  const std::optional<int> month = Digits(text, 1, 2);
  if (!month || !Take(text, '-')) FailTime(whole);
  const std::optional<int> day = Digits(text, 1, 2);
  if (!day) FailTime(whole);
  int hour = 0, minute = 0, second = 0;
  if (Take(text, ' ') || Take(text, 'T') || Take(text, 't')) {
    const std::optional<int> hours = Digits(text, 1, 2);
    if (!hours || !Take(text, ':')) FailTime(whole);
    hour = *hours;
    minute = Digits(text, 2, 2).value_or(60);
    if (Take(text, ':')) second = Digits(text, 2, 2).value_or(60);
    Take(text, ' ');
  }
  ParsedTime result;
  if (!text.empty()) {
    result.offset = ParseOffset(text);
    if (!result.offset || !text.empty()) FailTime(whole);
  }
  const std::chrono::year_month_day date(std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok() || *year < 1 || hour > 23 || minute > 59 || second > 59) {
    throw ToolError(kUsage, fmt::format("'{}': there is no such date or time of day", whole));
  }
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  result.seconds = days * 86400 + hour * 3600 + minute * 60 + second;
  return result;
}

std::string TimeOfDay(std::int64_t seconds) { return FormatTime(seconds).substr(11); }

// What is special about a local time, in words; empty: nothing.
std::string Explain(const Zones& zones, const ZoneName& zone, std::int64_t local,
                    const ltzlocal& both) {
  const auto& first = both.reading[0];
  const auto& second = both.reading[1];
  if (both.kind == KES_ZONE_GAP) {
    const std::int64_t change = second.offset - first.offset;
    const ltzperiod period = zones.Period(zone.id, local - first.offset);
    const std::int64_t at = ToSeconds(period.from);
    return fmt::format(
        "{} does not exist in {}: at {} clocks were put forward {} to {} ({} {} to {} {}).\n"
        "It is read as {} {}.",
        FormatTime(local), zone.name, TimeOfDay(at + first.offset), FormatLength(change),
        change < 86400 ? TimeOfDay(at + second.offset) : FormatTime(at + second.offset),
        first.abbreviation, FormatOffset(first.offset), second.abbreviation,
        FormatOffset(second.offset), FormatTime(local + change), second.abbreviation);
  }
  if (both.kind == KES_ZONE_TWICE) {
    const auto& taken = both.reading[both.chosen];
    return fmt::format(
        "{} exists twice in {}: clocks were put back {}.\n"
        "  first as {} {}, {} UTC\n  then as {} {}, {} UTC\n"
        "It is read as {}; write the offset ({}{}) for the other.",
        FormatTime(local), zone.name, FormatLength(std::int64_t{first.offset} - second.offset),
        first.abbreviation, FormatOffset(first.offset), FormatTime(local - first.offset),
        second.abbreviation, FormatOffset(second.offset), FormatTime(local - second.offset),
        taken.abbreviation, FormatTime(local), FormatOffset(both.reading[1 - both.chosen].offset));
  }
  return "";
}

}  // namespace

int ConvertTime(const Zones& zones, const std::string& time, const ZoneName* from,
                const std::vector<const ZoneName*>& to, bool json) {
  const ParsedTime parsed = ParseTime(time);
  std::int64_t utc = parsed.seconds - parsed.offset.value_or(0);
  std::string explanation;
  std::uint32_t kind = KES_ZONE_ONCE;
  if (from != nullptr && !parsed.offset) {
    const ltzlocal both = zones.Local(from->id, parsed.seconds);
    utc = parsed.seconds - both.reading[both.chosen].offset;
    kind = both.kind;
    explanation = Explain(zones, *from, parsed.seconds, both);
  }
  if (utc != ToSeconds(ToTimestamp(utc))) {
    throw ToolError(kUsage, fmt::format("'{}' is not in the years 1 to 9999", time));
  }
  std::vector<std::pair<std::string, ZoneState>> answers = {{"UTC", {utc, 0, false, "UTC"}}};
  if (from != nullptr) answers.emplace_back(from->name, zones.At(from->id, utc));
  for (const ZoneName* zone : to) answers.emplace_back(zone->name, zones.At(zone->id, utc));
  if (json) {
    constexpr const char* kKinds[] = {"once", "gap", "twice"};
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& [name, state] : answers) {
      list.push_back({{"zone", name},
                      {"local", FormatTime(utc + state.offset)},
                      {"offset", state.offset},
                      {"abbreviation", state.abbreviation},
                      {"dst", state.dst}});
    }
    PrintJson({{"utc", FormatTime(utc)},
               {"seconds", utc},
               {"local_time", kKinds[kind]},
               {"explanation", explanation},
               {"zones", list}});
    return kind == KES_ZONE_ONCE ? kDone : kFound;
  }
  if (!explanation.empty()) fmt::print(stderr, "{}\n", Styled(2, Style::kYellow, explanation));
  Table table({{"ZONE"}, {"LOCAL TIME"}, {"OFFSET"}, {"NAME"}, {"DST"}});
  for (const auto& [name, state] : answers) {
    table.Add({name, FormatDayAndTime(utc + state.offset), FormatOffset(state.offset),
               state.abbreviation, state.dst ? "DST" : ""});
  }
  table.Print(stdout);
  return kind == KES_ZONE_ONCE ? kDone : kFound;
}

}  // namespace kestra::tools
