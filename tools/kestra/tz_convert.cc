// kestra tz --at: a time in other zones, and what is to be said of a local time that does not exist
// or exists twice.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <limits>
#include <optional>

#include "command.h"
#include "names.h"
#include "support/table.h"
#include "support/terminal.h"
#include "tz.h"

namespace kestra::tools {
namespace {

constexpr std::int32_t kMostOffset = 15 * 3600;

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

// "Z", "+05:30", "-0800", "+01", "-04:56:02".
std::optional<std::int32_t> ParseOffset(std::string_view text) {
  if (text == "Z" || text == "z") return 0;
  const bool negative = text.starts_with('-');
  if (!Take(text, '+') && !Take(text, '-')) return std::nullopt;
  std::int32_t seconds = 0;
  for (const std::int32_t unit : {3600, 60, 1}) {
    const std::optional<int> value = Digits(text, 2, 2);
    if (!value || (unit < 3600 && *value > 59)) return std::nullopt;
    seconds += unit * *value;
    if (text.empty()) break;
    Take(text, ':');
  }
  if (!text.empty() || seconds > kMostOffset) return std::nullopt;
  return negative ? -seconds : seconds;
}

ParsedTime ParseTime(const std::string& whole) {
  std::string_view text = whole;
  if (text == "now") return {std::time(nullptr), 0};
  if (Take(text, '@')) {
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (text.empty() || end != text.data() + text.size()) FailTime(whole);
    return {error == std::errc() ? seconds : std::numeric_limits<std::int64_t>::max(), 0};
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
    if (!result.offset) FailTime(whole);
  }
  LdiDate date;
  const auto part = [](int value) { return static_cast<std::uint32_t>(value); };
  if (LdiDateConstruct(&date, *year, part(*month), part(*day), part(hour), part(minute),
                       part(second), 0, 0, KES_DATETIME_TIMESTAMP, 0, 0, nullptr, 0,
                       nullptr) != 0) {
    throw ToolError(kUsage, fmt::format("'{}': there is no such date or time of day", whole));
  }
  result.seconds = ToSeconds(date);
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

int ConvertTime(const Zones& zones, const std::string& text, const ZoneName* from,
                const std::vector<const ZoneName*>& to, bool json) {
  std::string time = text;
  const std::size_t blank = text.find_last_of(' ');
  const std::string tail = blank == std::string::npos ? "" : text.substr(blank + 1);
  if (!tail.empty() && std::isalpha(static_cast<unsigned char>(tail[0])) != 0) {
    from = &zones.Require(tail);
    time = text.substr(0, blank);
  }
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
  if (!IsInYears(utc)) {
    throw ToolError(kUsage, fmt::format("'{}' is not in the years 1 to 9999", time));
  }
  std::vector<std::pair<std::string, ZoneState>> answers = {{"UTC", {utc, 0, false, "UTC"}}};
  const auto add = [&](const ZoneName* zone) {
    const bool known = zone == nullptr ||
                       std::any_of(answers.begin(), answers.end(),
                                   [&](const auto& answer) { return answer.first == zone->name; });
    if (!known) answers.emplace_back(zone->name, zones.At(zone->id, utc));
  };
  add(from);
  for (const ZoneName* zone : to) add(zone);
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
