// kestra tz ZONE: its transitions as a table. kestra tz --diff: what changed between two files.
#include <fmt/format.h>

#include <ctime>

#include "command.h"
#include "names.h"
#include "support/table.h"
#include "support/terminal.h"
#include "tz.h"

namespace kestra::tools {
namespace {

constexpr std::uint32_t kSpansShown = 10;  // of a zone, unless all are wanted

struct Transitions {
  ltztransition* array = nullptr;
  std::size_t count = 0;

  Transitions(const Zones& zones, std::uint32_t id) {
    if (ltzGetTransArray(nullptr, zones.file(), id, &array, &count) != KES_ZONE_OK) {
      throw ToolError(kBadData, fmt::format("the transitions of zone {} cannot be read", id));
    }
  }
  ~Transitions() { ltzFreeTransArray(nullptr, array); }
  Transitions(const Transitions&) = delete;
  Transitions& operator=(const Transitions&) = delete;
};

// What clocks did: "forward 1:00", "back 0:30", "new name".
std::string Describe(const ltztransition& before, const ltztransition& after) {
  const std::int64_t change = std::int64_t{after.offset} - before.offset;
  if (change == 0) return after.daylight == before.daylight ? "new name" : "same time, other kind";
  return fmt::format("{} {}", change > 0 ? "forward" : "back", FormatLength(std::abs(change)));
}

std::string UntilText(const ltzspan& span) {
  return span.until.year == 0 ? "on" : "to " + FormatTime(ToSeconds(span.until));
}

std::string TypeText(std::int32_t offset, std::uint8_t dst) {
  return FormatOffset(offset) + (dst != 0 ? " DST" : "");
}

class Delta {
 public:
  Delta(const std::string& before, const std::string& after) {
    const int status = ltzTZGetDeltaFromDisk(nullptr, before.c_str(), after.c_str(), &delta_);
    if (status != KES_ZONE_OK) {
      // Opening each says which one it is, and why.
      const Zones first(before), second(after);
      throw ToolError(kBadData, "the two files cannot be compared");
    }
  }
  ~Delta() { ltzFreeDelta(nullptr, delta_); }
  Delta(const Delta&) = delete;
  Delta& operator=(const Delta&) = delete;
  const ltzdelta* get() const { return delta_; }

 private:
  ltzdelta* delta_ = nullptr;
};

nlohmann::ordered_json SpanJson(const ltzspan& span) {
  return {
      {"from", FormatTime(ToSeconds(span.from))},
      {"until", span.until.year == 0 ? nlohmann::ordered_json()
                                     : nlohmann::ordered_json(FormatTime(ToSeconds(span.until)))},
      {"old_offset", span.old_offset},
      {"new_offset", span.new_offset},
      {"old_dst", span.old_daylight != 0},
      {"new_dst", span.new_daylight != 0},
      {"name_differs", (span.what & KES_ZONE_NAME_DIFFERS) != 0}};
}

void PrintSpans(const ltzdelta* delta, const ltzzonedelta& zone, bool all) {
  for (std::uint32_t i = 0; i < zone.count; ++i) {
    if (i == kSpansShown && !all) {
      fmt::print("  and {} more periods (--all)\n", zone.count - i);
      return;
    }
    ltzspan span{};
    ltzGetZoneDeltaTrans(delta, zone.id, i, &span);
    const bool only_name = span.what == KES_ZONE_NAME_DIFFERS;
    fmt::print("  {} {}: {}\n", FormatTime(ToSeconds(span.from)), UntilText(span),
               only_name ? "another name"
                         : TypeText(span.old_offset, span.old_daylight) + " became " +
                               TypeText(span.new_offset, span.new_daylight));
  }
}

}  // namespace

int ShowZone(const Zones& zones, const ZoneName& zone, YearRange years, bool json) {
  const Transitions transitions(zones, zone.id);
  const std::int64_t now = std::time(nullptr);
  const ZoneState state = zones.At(zone.id, now);
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  Table table({{"UTC"}, {"CLOCKS FROM"}, {"TO"}, {"OFFSET"}, {"NAME"}, {"DST"}, {"CHANGE"}});
  for (std::size_t i = 1; i < transitions.count; ++i) {
    const ltztransition& before = transitions.array[i - 1];
    const ltztransition& after = transitions.array[i];
    if (after.at.year < years.first || after.at.year > years.last) continue;
    const std::int64_t at = ToSeconds(after.at);
    table.Add({FormatDayAndTime(at), FormatTime(at + before.offset), FormatTime(at + after.offset),
               FormatOffset(after.offset), after.abbreviation, after.daylight != 0 ? "DST" : "",
               Describe(before, after)});
    rows.push_back({{"utc", FormatTime(at)},
                    {"seconds", at},
                    {"offset", after.offset},
                    {"abbreviation", after.abbreviation},
                    {"dst", after.daylight != 0}});
  }
  if (json) {
    PrintJson(
        {{"id", zone.id},
         {"name", zone.name},
         {"link_to", zone.target},
         {"release", zones.Release()},
         {"now",
          {{"offset", state.offset}, {"abbreviation", state.abbreviation}, {"dst", state.dst}}},
         {"transitions", rows}});
    return kDone;
  }
  fmt::print("{} (id {}){}\nNow       {} {} {}{}\nData      tzdata {}, {} changes, {}\n\n",
             Styled(1, Style::kBold, zone.name), zone.id,
             zone.target.empty() ? "" : ", the same as " + zone.target,
             FormatDayAndTime(now + state.offset), FormatOffset(state.offset), state.abbreviation,
             state.dst ? " DST" : "", zones.Release(), transitions.count - 1, zones.origin());
  if (table.rows() == 0) {
    fmt::print("Nothing changes from {} to {}.\n", years.first, years.last);
  } else {
    table.Print(stdout);
  }
  return kDone;
}

int DiffZoneFiles(const std::string& before, const std::string& after, bool all, bool json) {
  const Delta delta(before, after);
  const Zones old_zones(before), new_zones(after);
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  if (!json) {
    fmt::print("tzdata {} -> {}: {} zones differ\n", old_zones.Release(), new_zones.Release(),
               delta.get()->zone_count);
  }
  constexpr const char* kKinds[] = {"", "changed", "new", "removed"};
  for (std::uint32_t id = 1; id <= KES_ZONE_MAX_ID; ++id) {
    ltzzonedelta zone{};
    if (ltzGetZoneDelta(delta.get(), id, &zone) != KES_ZONE_OK || zone.id != id) continue;
    char name[256] = "";
    const ltzfile* file = zone.kind == KES_ZONE_REMOVED ? old_zones.file() : new_zones.file();
    ltzName(nullptr, nullptr, file, id, name, sizeof name);
    if (json) {
      nlohmann::ordered_json spans = nlohmann::ordered_json::array();
      for (std::uint32_t i = 0; i < zone.count; ++i) {
        ltzspan span{};
        ltzGetZoneDeltaTrans(delta.get(), id, i, &span);
        spans.push_back(SpanJson(span));
      }
      list.push_back({{"id", id}, {"name", name}, {"kind", kKinds[zone.kind]}, {"periods", spans}});
      continue;
    }
    fmt::print("{} (id {}): {}\n", name, id, kKinds[zone.kind]);
    PrintSpans(delta.get(), zone, all);
  }
  if (json) {
    PrintJson({{"old", old_zones.Release()}, {"new", new_zones.Release()}, {"zones", list}});
  }
  return delta.get()->zone_count == 0 ? kDone : kFound;
}

}  // namespace kestra::tools
