// kestra tz --svg, --png: a zone as a picture. A row for each year, from 1 January to 31 December UTC,
// a rectangle for each period in it; blue in standard time, orange in daylight-saving time, darker
// the further east.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <memory>

#include "command.h"
#include "tz.h"

namespace kestra::tools {
namespace {

constexpr int kRow = 6;      // height of a year
constexpr int kWidth = 732;  // of a year: two units a day
constexpr int kLeft = 48, kTop = 56, kLegend = 190;
constexpr std::int64_t kYearSeconds = 366 * 86400;

struct Kind {
  bool dst;
  std::int32_t offset;
  std::string name;
  auto operator<=>(const Kind&) const = default;
};

struct Block {
  int year;
  double begin, end;  // parts of a year of 366 days
  Kind kind;
};

std::int64_t YearStart(int year) {
  LdiDate date{};
  date.year = static_cast<std::int16_t>(year);
  date.month = date.day = 1;
  date.type = KES_DATETIME_TIMESTAMP;
  return ToSeconds(date);
}

std::vector<Block> Blocks(const Zones& zones, const ZoneName& zone, YearRange years) {
  std::vector<Block> blocks;
  for (int year = years.first; year <= years.last; ++year) {
    const std::int64_t start = YearStart(year);
    const std::int64_t end = year == 9999 ? start + 365 * 86400 : YearStart(year + 1);
    for (std::int64_t at = start; at < end;) {
      const ltzperiod period = zones.Period(zone.id, at);
      std::int64_t until = end;
      if (period.until.year != 0) until = std::min(end, ToSeconds(period.until));
      const auto part = [&](std::int64_t seconds) {
        return static_cast<double>(seconds - start) / static_cast<double>(kYearSeconds);
      };
      blocks.push_back({year,
                        part(at),
                        part(until),
                        {period.daylight != 0, period.offset, period.abbreviation}});
      at = until;
    }
  }
  return blocks;
}

// A colour for each kind of time: light to dark by offset.
std::map<Kind, std::uint32_t> Colours(const std::vector<Block>& blocks) {
  std::map<Kind, std::uint32_t> colours;
  for (const Block& block : blocks) colours[block.kind] = 0;
  for (const bool dst : {false, true}) {
    std::vector<std::int32_t> offsets;
    for (const auto& [kind, colour] : colours) {
      if (kind.dst == dst) offsets.push_back(kind.offset);
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    const std::uint32_t light = dst ? 0xFEE3BD : 0xD6E6F4, dark = dst ? 0xC4511B : 0x1B5A9B;
    for (auto& [kind, colour] : colours) {
      if (kind.dst != dst) continue;
      const auto rank = static_cast<double>(
          std::lower_bound(offsets.begin(), offsets.end(), kind.offset) - offsets.begin());
      const double part =
          offsets.size() == 1 ? 0.5 : rank / static_cast<double>(offsets.size() - 1);
      for (int shift = 0; shift < 24; shift += 8) {
        const double a = light >> shift & 0xFF, b = dark >> shift & 0xFF;
        colour |= static_cast<std::uint32_t>(a + (b - a) * part) << shift;
      }
    }
  }
  return colours;
}

std::string KindText(const Kind& kind) {
  return fmt::format("{} {}{}", FormatOffset(kind.offset), kind.name, kind.dst ? " DST" : "");
}

// Zone names and abbreviations come from a file.
std::string Escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += static_cast<unsigned char>(c) < ' ' || c == 0x7F ? '?' : c;
    }
  }
  return out;
}

// For a string of gnuplot in double quotes, which knows escapes of its own.
std::string Quoted(std::string text) {
  for (char& c : text) {
    const bool plain = std::isalnum(static_cast<unsigned char>(c)) != 0 ||
                       std::string_view(" +-:/,.()_").find(c) != std::string_view::npos;
    if (!plain) c = '?';
  }
  return text;
}

std::string Title(const Zones& zones, const ZoneName& zone, YearRange years) {
  return fmt::format("{}, {} to {}, tzdata {}", zone.name, years.first, years.last,
                     zones.Release());
}

// A label every 10, 50 or 100 years.
int LabelStep(YearRange years) {
  const int count = years.last - years.first + 1;
  return count <= 20 ? 1 : count <= 300 ? 10 : count <= 1500 ? 50 : 500;
}

// What gnuplot draws for a script. No shell reads any of our text: it goes through a pipe, and the
// picture comes back in a file without a name.
std::string RunGnuplot(const std::string& script) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> picture(std::tmpfile(), std::fclose);
  if (picture == nullptr) throw ToolError(kInputOutput, "no temporary file can be created");
  const std::string command = fmt::format("gnuplot >/dev/fd/{} 2>/dev/null", fileno(picture.get()));
  std::FILE* pipe = popen(command.c_str(), "w");
  if (pipe == nullptr) throw ToolError(kInputOutput, "gnuplot cannot be started");
  const bool written = std::fwrite(script.data(), 1, script.size(), pipe) == script.size();
  const bool done = pclose(pipe) == 0 && written;
  std::string bytes;
  char block[4096];
  std::rewind(picture.get());
  while (const std::size_t size = std::fread(block, 1, sizeof block, picture.get())) {
    bytes.append(block, size);
  }
  if (!done || !bytes.starts_with("\x89PNG")) {
    throw ToolError(kInputOutput,
                    "the picture could not be drawn: is gnuplot installed? --svg needs nothing");
  }
  return bytes;
}

}  // namespace

std::string PictureSvg(const Zones& zones, const ZoneName& zone, YearRange years) {
  const std::vector<Block> blocks = Blocks(zones, zone, years);
  const auto colours = Colours(blocks);
  const int rows = years.last - years.first + 1;
  const int row = rows <= 30 ? 3 * kRow : rows <= 80 ? 2 * kRow : kRow;
  const int height = kTop + std::max(rows * row, 20 * static_cast<int>(colours.size())) + 24;
  std::string out = fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" "
      "viewBox=\"0 0 {0} {1}\" font-family=\"sans-serif\" font-size=\"11\">\n"
      "<title>{2}</title>\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
      "<text x=\"{3}\" y=\"24\" font-size=\"16\">{2}</text>\n",
      kLeft + kWidth + kLegend, height, Escaped(Title(zones, zone, years)), kLeft);
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  constexpr int kMonthStart[] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
  for (int month = 0; month < 12; ++month) {
    out += fmt::format("<text x=\"{}\" y=\"{}\" fill=\"#555\">{}</text>\n",
                       kLeft + kMonthStart[month] * 2, kTop - 6, kMonths[month]);
  }
  out += "<g shape-rendering=\"crispEdges\">\n";
  for (const Block& block : blocks) {
    out += fmt::format(
        "<rect x=\"{:.2f}\" y=\"{}\" width=\"{:.2f}\" height=\"{}\" fill=\"#{:06X}\"/>\n",
        kLeft + block.begin * kWidth, kTop + (block.year - years.first) * row,
        std::max((block.end - block.begin) * kWidth, 0.5), row, colours.at(block.kind));
  }
  out += "</g>\n";
  const int step = LabelStep(years);
  for (int year = years.first; year <= years.last; ++year) {
    if (year % step != 0) continue;
    out += fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"end\" fill=\"#555\">{}</text>\n",
                       kLeft - 6, kTop + (year - years.first) * row + 9, year);
  }
  int y = kTop;
  for (const auto& [kind, colour] : colours) {
    out += fmt::format(
        "<rect x=\"{0}\" y=\"{1}\" width=\"14\" height=\"14\" fill=\"#{2:06X}\"/>"
        "<text x=\"{3}\" y=\"{4}\">{5}</text>\n",
        kLeft + kWidth + 16, y, colour, kLeft + kWidth + 36, y + 11, Escaped(KindText(kind)));
    y += 20;
  }
  return out + "</svg>\n";
}

std::string PicturePng(const Zones& zones, const ZoneName& zone, YearRange years) {
  constexpr int kMostHeight = 30000;  // of gnuplot's terminal, about
  const std::vector<Block> blocks = Blocks(zones, zone, years);
  const auto colours = Colours(blocks);
  const int rows = years.last - years.first + 1;
  const int row = std::clamp(kMostHeight / rows, 1, kRow);
  std::string script = fmt::format(
      "set terminal pngcairo size {},{} noenhanced\nset title \"{}\" noenhanced\n"
      "set xrange [0:366]\nset yrange [{}:{}]\nset key outside right top noenhanced\n"
      "set xtics ('Jan' 0, 'Apr' 91, 'Jul' 182, 'Oct' 274)\nset style fill solid noborder\nplot ",
      kLeft + kWidth + kLegend, kTop + rows * row + 60, Quoted(Title(zones, zone, years)),
      years.last + 1, years.first);
  std::string data;
  bool first = true;
  for (const auto& [kind, colour] : colours) {
    script += fmt::format("{}'-' using 1:2:3:4:5:6 with boxxyerror lc rgb '#{:06X}' title \"{}\"",
                          first ? "" : ", ", colour, Quoted(KindText(kind)));
    first = false;
    for (const Block& block : blocks) {
      if (block.kind != kind) continue;
      data += fmt::format("{:.3f} {} {:.3f} {:.3f} {} {}\n", block.begin * 366, block.year + 0.5,
                          block.begin * 366, block.end * 366, block.year, block.year + 1);
    }
    data += "e\n";
  }
  return RunGnuplot(script + "\n" + data);
}

}  // namespace kestra::tools
