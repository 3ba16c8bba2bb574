#include "repertoire.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <nlohmann/json.hpp>
#include <span>

#include "command.h"
#include "kestra/convert.h"
#include "names.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

struct Range {
  std::uint32_t first, last;
  std::uint32_t count() const { return last - first + 1; }
};

std::vector<Range> RangesOf(const std::vector<std::uint32_t>& code_points) {
  std::vector<Range> ranges;
  for (const std::uint32_t code_point : code_points) {
    if (!ranges.empty() && ranges.back().last + 1 == code_point) {
      ranges.back().last = code_point;
    } else {
      ranges.push_back({code_point, code_point});
    }
  }
  return ranges;
}

std::string Name(const Range& range) {
  return range.first == range.last ? fmt::format("U+{:04X}", range.first)
                                   : fmt::format("U+{:04X}..U+{:04X}", range.first, range.last);
}

// The characters themselves, the first and the last of many.
std::string Sample(const Range& range) {
  const auto utf8 = [](std::uint32_t c) {
    std::string text;
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
      add(c);
    } else if (c < 0x800) {
      add(0xC0 | c >> 6), add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      add(0xE0 | c >> 12), add(0x80 | (c >> 6 & 0x3F)), add(0x80 | (c & 0x3F));
    } else {
      add(0xF0 | c >> 18), add(0x80 | (c >> 12 & 0x3F)), add(0x80 | (c >> 6 & 0x3F));
      add(0x80 | (c & 0x3F));
    }
    return text;
  };
  constexpr std::uint32_t kShown = 16;
  std::string text;
  for (std::uint32_t i = 0; i < std::min(range.count(), kShown); ++i) {
    const std::uint32_t code_point = range.first + i;
    if (code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0)) return "(controls)";
    if (code_point >= 0xE000 && code_point < 0xF900) return "(private use)";
    text += utf8(code_point);
  }
  if (range.count() > kShown) text += " ... " + utf8(range.last);
  return text;
}

}  // namespace

std::vector<std::uint32_t> Repertoire(Session& session, const Charset& charset) {
  const Charset utf16 = session.LoadCharset(kAl16Utf16);
  lxcontext* context = session.context();
  std::vector<std::uint32_t> found;
  for (std::uint32_t code_point = 0; code_point <= 0x10FFFF; ++code_point) {
    if (code_point == 0xD800) code_point = 0xE000;
    std::uint8_t units[4];
    std::size_t size = 0;
    const auto add = [&](std::uint32_t unit) {
      units[size++] = static_cast<std::uint8_t>(unit >> 8);
      units[size++] = static_cast<std::uint8_t>(unit);
    };
    if (code_point > 0xFFFF) add(0xD7C0 + (code_point >> 10));
    add(code_point > 0xFFFF ? 0xDC00 | (code_point & 0x3FF) : code_point);
    std::uint8_t out[32];
    lxgcnvb(out, charset.object, sizeof out, units, utf16.object, size, KES_CONVERT_STOP, context);
    if (context->error != KES_NLS_OK) {
      throw ToolError(kBadData, fmt::format("cannot convert to {}", charset.name));
    }
    if (context->status.consumed == size) found.push_back(code_point);
  }
  return found;
}

int CompareRepertoires(Session& session, const std::string& first, const std::string& second,
                       std::size_t at_most, bool json) {
  const std::array<Charset, 2> sets = {session.FindCharset(first), session.FindCharset(second)};
  const std::array<std::vector<std::uint32_t>, 2> all = {Repertoire(session, sets[0]),
                                                         Repertoire(session, sets[1])};
  std::array<std::vector<std::uint32_t>, 2> only;
  for (std::size_t i = 0; i < 2; ++i) {
    std::ranges::set_difference(all[i], all[1 - i], std::back_inserter(only[i]));
  }
  const std::size_t common = all[0].size() - only[0].size();
  if (json) {
    nlohmann::ordered_json root;
    root["sets"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < 2; ++i) {
      nlohmann::ordered_json ranges = nlohmann::ordered_json::array();
      for (const Range& range : RangesOf(only[i])) ranges.push_back(Name(range));
      root["sets"].push_back({{"name", sets[i].name},
                              {"characters", all[i].size()},
                              {"only_here", only[i].size()},
                              {"ranges", std::move(ranges)}});
    }
    root["common"] = common;
    PrintJson(root);
  } else {
    fmt::print("{} has {} characters, {} has {}; {} are in both.\n", sets[0].name, all[0].size(),
               sets[1].name, all[1].size(), common);
    for (std::size_t i = 0; i < 2; ++i) {
      if (only[i].empty()) continue;
      fmt::print("{}\n", Styled(STDOUT_FILENO, Style::kBold,
                                fmt::format("Only in {}: {}", sets[i].name, only[i].size())));
      const std::vector<Range> ranges = RangesOf(only[i]);
      const std::size_t shown = at_most == 0 ? ranges.size() : std::min(at_most, ranges.size());
      for (const Range& range : std::span(ranges).first(shown)) {
        fmt::print("  {:<18} {}\n", Name(range), Sample(range));
      }
      if (shown < ranges.size()) {
        fmt::print("  and {} more ranges (--all shows them)\n", ranges.size() - shown);
      }
    }
  }
  return only[0].empty() && only[1].empty() ? kDone : kFound;
}

}  // namespace kestra::tools
