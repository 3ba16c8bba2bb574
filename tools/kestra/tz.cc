// kestra tz: time zones: listed, shown, drawn, converted between, compared.
#include "tz.h"

#include <fmt/format.h>

#include <charconv>
#include <ctime>
#include <memory>

#include "command.h"
#include "names.h"
#include "support/files.h"

namespace kestra::tools {
namespace {

constexpr YearRange kPictureYears = {1900, 2040};
constexpr int kTableYears = 2;  // on either side of this one

struct Options {
  std::vector<std::string> names;
  std::string file, at, in, years, svg, png;
  std::vector<std::string> diff;
  bool all = false;
};

int ThisYear() { return ToTimestamp(std::time(nullptr)).year; }

// "2020-2030", "1916".
YearRange ParseYears(const std::string& text, YearRange standard) {
  if (text.empty()) return standard;
  YearRange range;
  const char* end = text.data() + text.size();
  auto [rest, error] = std::from_chars(text.data(), end, range.first);
  range.last = range.first;
  bool good = error == std::errc();
  if (good && rest != end) {
    good = *rest == '-' && std::from_chars(rest + 1, end, range.last).ptr == end && rest + 1 != end;
  }
  if (!good || range.first < 1 || range.last > 9999 || range.first > range.last) {
    throw ToolError(kUsage, fmt::format("'{}' is no range of years such as 2020-2030", text));
  }
  return range;
}

int List(const Zones& zones, const std::string& filter, bool all, bool json) {
  Listing listing({{"id", "ID", false, Align::kRight},
                   {"name", "NAME"},
                   {"link_to", "SAME AS"},
                   {"offset", "NOW"},
                   {"abbreviation", "NAME NOW"},
                   {"dst", "DST"},
                   {"next_change", "NEXT CHANGE (UTC)", true},
                   {"transitions", "CHANGES", true, Align::kRight}},
                  filter);
  const std::int64_t now = std::time(nullptr);
  for (const ZoneName& zone : zones.names()) {
    const ltzperiod period = zones.Period(zone.id, now);
    const bool changes = period.until.year != 0;
    listing.Add({zone.id, zone.name, zone.target, FormatOffset(period.offset), period.abbreviation,
                 period.daylight != 0 ? "DST" : "",
                 changes ? FormatTime(ToSeconds(period.until)) : "", period.count - 1});
  }
  return listing.Print(all, json, listing.empty() ? zones.Hint(filter) : "");
}

void WriteText(const std::string& path, const std::string& text) {
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  if (path == "-") {
    OutputFile out;
    out.Write(bytes);
    out.Flush();
    return;
  }
  OutputFile out(path);
  out.Write(bytes);
  out.Commit();
}

int Draw(const Zones& zones, const Options& options) {
  if (options.names.size() != 1) throw ToolError(kUsage, "a picture needs exactly one zone");
  const ZoneName& zone = zones.Require(options.names[0]);
  const YearRange years = ParseYears(options.years, kPictureYears);
  if (!options.svg.empty()) WriteText(options.svg, PictureSvg(zones, zone, years));
  if (!options.png.empty()) WriteText(options.png, PicturePng(zones, zone, years));
  return kDone;
}

int Run(const Options& options, bool json) {
  if (!options.diff.empty()) {
    return DiffZoneFiles(options.diff[0], options.diff[1], options.all, json);
  }
  const Zones zones(options.file);
  if (!options.at.empty()) {
    const ZoneName* from = options.in.empty() ? nullptr : &zones.Require(options.in);
    std::vector<const ZoneName*> to;
    for (const std::string& name : options.names) to.push_back(&zones.Require(name));
    return ConvertTime(zones, options.at, from, to, json);
  }
  if (!options.in.empty()) throw ToolError(kUsage, "--in needs --at");
  if (!options.svg.empty() || !options.png.empty()) {
    if (json) throw ToolError(kUsage, "a picture has no --json");
    return Draw(zones, options);
  }
  if (options.names.size() > 1) throw ToolError(kUsage, "one zone at a time, or --at TIME");
  if (options.names.empty() && !options.years.empty()) {
    throw ToolError(kUsage, "--years needs a zone");
  }
  const std::string name = options.names.empty() ? "" : options.names[0];
  const ZoneName* zone = name.empty() ? nullptr : zones.Find(name);
  if (zone == nullptr && options.years.empty()) return List(zones, name, options.all, json);
  const int year = ThisYear();
  return ShowZone(zones, zones.Require(name),
                  ParseYears(options.years, {year - kTableYears, year + kTableYears}), json);
}

std::function<int()> Setup(CLI::App& app, const Globals& globals) {
  auto options = std::make_shared<Options>();
  app.add_option("zone", options->names,
                 "A zone to show, or a part of names to list; with --at: zones to convert to")
      ->type_name("ZONE");
  const auto option = [&](const char* name, std::string& value, const char* type,
                          const char* help) {
    return app.add_option(name, value, help)->type_name(type)->check(kNotEmpty);
  };
  CLI::Option* at = option("--at", options->at, "TIME",
                           "Convert a time: now, 2026-03-08 02:30, 2026-03-08T02:30Z, ...+05:30,\n"
                           "'2026-03-08 02:30 Europe/Berlin', @SECONDS");
  CLI::Option* in =
      option("--in", options->in, "ZONE", "The zone that TIME is a local time of; UTC by default");
  CLI::Option* years =
      option("--years", options->years, "YEARS", "Years to show, for example 2020-2030");
  CLI::Option* svg = option("--svg", options->svg, "FILE",
                            "Draw the zone: a row a year, a colour an offset; - is stdout");
  CLI::Option* png =
      option("--png", options->png, "FILE", "The same as PNG, where gnuplot is installed");
  at->excludes(years)->excludes(svg)->excludes(png);
  CLI::Option* file = option("--file", options->file, "FILE", "Use this zone file");
  CLI::Option* diff =
      app.add_option("--diff", options->diff, "What changed from one zone file to another")
          ->expected(2)
          ->type_name("FILE")
          ->check(kNotEmpty);
  for (CLI::Option* other : {at, in, years, svg, png, file}) diff->excludes(other);
  app.add_flag("-a,--all", options->all, "Every column of the list, every period of a difference");
  app.footer(
      "Exit code 1: nothing found, a local time that does not exist or exists twice, or a\n"
      "difference.\n\n" +
      Examples({"kestra tz europe", "kestra tz America/New_York --years 2020-2030",
                "kestra tz --at '2026-03-08 02:30' --in America/New_York Europe/Berlin",
                "kestra tz Europe/Dublin --svg dublin.svg",
                "kestra tz --diff old/timezlrg_2502.dat new/timezlrg_2606.dat"}));
  return [options, &globals] { return Run(*options, globals.json); };
}

}  // namespace

const Command kTzCommand{"tz", "Time zones: list, show, draw, convert, compare", Setup};

}  // namespace kestra::tools
