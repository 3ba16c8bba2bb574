#include "write_zones.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>

#include "datetime/zone_format.h"
#include "kestra/datetime.h"
#include "object.h"

namespace kestra::nlsc {
namespace {

namespace zone = kestra::datetime::zone;

constexpr std::size_t kTableAlignment = 8;

// ASCII letters as small ones: the order of the name index.
std::string Folded(std::string name) {
  for (char& c : name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return name;
}

class Writer {
 public:
  Writer(const ZoneData& data, const ZoneFileOptions& options)
      : data_(data), options_(options), out_(options.big_endian, zone::kTablesAt) {
    for (const Zone& entry : data.zones) {
      if (options.complete || entry.common) zones_.push_back(&entry);
    }
  }

  std::vector<std::uint8_t> Write() {
    NumberHistories();
    WriteTransitions();
    WriteTypes();
    WriteNames();
    WriteHeader();
    if (out_.size() > zone::kMaxSize) {
      throw std::length_error(
          fmt::format("the zone file would have {} bytes; at most {} can be read", out_.size(),
                      zone::kMaxSize));
    }
    return out_.bytes();
  }

 private:
  struct Run {
    std::size_t history;
    std::uint32_t first;
    std::uint32_t canonical;  // its lowest zone
  };

  // Histories in the order of their first zone in this file; each becomes one run of transitions.
  void NumberHistories() {
    std::uint32_t next = 0;
    for (const Zone* entry : zones_) {
      const auto [at, fresh] = run_of_.try_emplace(entry->history, runs_.size());
      if (!fresh) continue;
      runs_.push_back({entry->history, next, entry->id});
      const ZoneHistory& history = data_.histories[entry->history];
      next += static_cast<std::uint32_t>(history.size());
      for (const ZoneTransition& transition : history) {
        types_.try_emplace({transition.type.offset, transition.type.abbreviation}, 0);
      }
    }
    std::uint32_t number = 0;
    for (auto& [type, index] : types_) index = number++;
  }

  template <typename Visit>
  void ForEachTransition(const Visit& visit) const {
    for (const Run& run : runs_) {
      for (const ZoneTransition& transition : data_.histories[run.history]) {
        visit(run, transition);
      }
    }
  }

  void WriteTransitions() {
    out_.Pad(kTableAlignment);
    out_.Put32(zone::kTransitionsAt, Here());
    ForEachTransition([&](const Run& run, const ZoneTransition& transition) {
      const CivilTime time = ToCivil(transition.at);
      out_.Append(static_cast<std::uint16_t>(time.year), 2);
      for (const unsigned field : {time.month, time.day, time.hour, time.minute, time.second, 0u}) {
        out_.Append(field, 1);
      }
      out_.Append(0, 4);  // fraction
      out_.Append(0, 2);  // zone
      out_.Append(KES_DATETIME_TIMESTAMP, 1);
      out_.Append(0, 1);
      out_.Append(run.canonical, 2);
      out_.Append(0, 2);
    });
    out_.Pad(kTableAlignment);
    out_.Put32(zone::kTransitionTypesAt, Here());
    ForEachTransition([&](const Run&, const ZoneTransition& transition) {
      out_.Append(types_.at({transition.type.offset, transition.type.abbreviation}), 2);
    });
    out_.Put32(zone::kFlagsAt, Here());
    ForEachTransition([&](const Run&, const ZoneTransition& transition) {
      out_.Append(transition.type.daylight ? 1 : 0, 1);
    });
  }

  void WriteTypes() {
    out_.Pad(kTableAlignment);
    out_.Put32(zone::kTypesAt, Here());
    std::map<std::string, std::uint32_t> texts;
    std::uint32_t text_at = Here() + static_cast<std::uint32_t>(types_.size() * zone::kTypeSize);
    for (const auto& [type, index] : types_) {
      const auto [at, fresh] = texts.try_emplace(type.second, text_at);
      if (fresh) text_at += static_cast<std::uint32_t>(type.second.size() + 1);
      out_.Append(static_cast<std::uint32_t>(type.first), 4);
      out_.Append(at->second, 4);
    }
    std::vector<std::pair<std::uint32_t, std::string>> order;
    for (const auto& [text, at] : texts) order.emplace_back(at, text);
    std::sort(order.begin(), order.end());
    for (const auto& [at, text] : order) out_.AppendText(text);
  }

  void WriteNames() {
    out_.Pad(kTableAlignment);
    out_.Put32(zone::kNameIndexAt, Here());
    std::vector<const Zone*> order = zones_;
    std::sort(order.begin(), order.end(),
              [](const Zone* a, const Zone* b) { return Folded(a->name) < Folded(b->name); });
    std::uint32_t text_at = Here() + static_cast<std::uint32_t>(order.size() * zone::kNameSize);
    for (const Zone* entry : order) {
      const Run& run = runs_[run_of_.at(entry->history)];
      const std::size_t at = zone::kHeaderSize + zone::kEntrySize * entry->id;
      const auto count = static_cast<std::uint32_t>(data_.histories[entry->history].size());
      out_.Put32(at + zone::kEntryCountAt, count);
      out_.Put32(at + zone::kEntryFirstAt, run.first);
      out_.Put32(at + zone::kEntryNameAt, text_at);
      out_.Append(text_at, 4);
      out_.Append(entry->id, 2);
      out_.Append(0, 2);
      text_at += static_cast<std::uint32_t>(entry->name.size() + 1);
    }
    for (const Zone* entry : order) out_.AppendText(entry->name);
  }

  void WriteHeader() {
    out_.Put32(zone::kMagicAt, zone::kMagic);
    out_.Put32(zone::kSizeAt, Here());
    out_.Put16(zone::kVersionAt, zone::kVersion);
    out_.Put16(zone::kContentAt, data_.content_version);
    out_.Put16(zone::kFileIdAt, options_.complete ? zone::kCompleteFileId : zone::kCommonFileId);
    out_.Put16(zone::kNameCountAt, static_cast<std::uint32_t>(zones_.size()));
  }

  std::uint32_t Here() const { return static_cast<std::uint32_t>(out_.size()); }

  const ZoneData& data_;
  const ZoneFileOptions& options_;
  ByteBuffer out_;
  std::vector<const Zone*> zones_;  // of this file, ascending by id
  std::vector<Run> runs_;
  std::map<std::size_t, std::size_t> run_of_;  // by history
  std::map<std::pair<std::int32_t, std::string>, std::uint32_t> types_;
};

}  // namespace

std::vector<std::uint8_t> WriteZones(const ZoneData& data, const ZoneFileOptions& options) {
  return Writer(data, options).Write();
}

std::string ZoneFileName(const ZoneData& data, bool complete) {
  return fmt::format("{}_{}.dat", complete ? "timezlrg" : "timezone", data.content_version);
}

}  // namespace kestra::nlsc
