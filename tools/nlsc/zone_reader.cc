#include "zone_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>

#include "datetime/zone_format.h"
#include "kestra/datetime.h"

namespace kestra::nlsc {
namespace {

namespace zone = kestra::datetime::zone;

constexpr std::size_t kMaxFaults = 40;
constexpr std::size_t kMaxText = 255;    // of a name or an abbreviation
constexpr std::size_t kMaxPeriods = 10;  // of a zone in a difference

std::uint32_t BigEndian32(std::span<const std::uint8_t> bytes) {
  return BytesReader(bytes, true).U32(0);
}
std::uint32_t LittleEndian32(std::span<const std::uint8_t> bytes) {
  return BytesReader(bytes, false).U32(0);
}

std::string Folded(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return name;
}

bool IsPlainText(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

class FileReader {
 public:
  FileReader(std::span<const std::uint8_t> bytes, bool big_endian, Faults& faults)
      : bytes_(bytes, big_endian), faults_(faults) {}

  void Read(ZoneFile& file) {
    file.size = bytes_.U32(zone::kSizeAt);
    file.file_id = bytes_.U16(zone::kFileIdAt);
    file.data.content_version = bytes_.U16(zone::kContentAt);
    Expect(bytes_.U16(zone::kVersionAt) == zone::kVersion, "the format version is not 3");
    Expect(file.size == bytes_.size(), "the size field says {}, the file has {} bytes", file.size,
           bytes_.size());
    Expect(bytes_.size() <= zone::kMaxSize, "the file has more than {} bytes", zone::kMaxSize);
    if (!faults_.empty()) return;
    ReadZones(file.data);
    ReadNames(file.data);
  }

 private:
  template <typename... Arguments>
  void Expect(bool holds, fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    if (holds || faults_.size() >= kMaxFaults) return;
    faults_.push_back(fmt::format(text, std::forward<Arguments>(arguments)...));
  }

  // Damaged files must not make long strings out of each other's bytes.
  std::string Text(std::size_t at) const {
    const std::size_t left = at < bytes_.size() ? bytes_.size() - at : 0;
    const auto text = bytes_.Slice(at, std::min(left, kMaxText + 1));
    const auto end = std::find(text.begin(), text.end(), 0);
    if (end == text.end()) throw BadObject(fmt::format("the string at {} does not end", at));
    return {text.begin(), end};
  }

  void ReadZones(ZoneData& data) {
    // More than fit into the file can only be runs that overlap.
    std::size_t left = bytes_.size() / zone::kTransitionSize;
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> runs;
    for (std::uint32_t id = 1; id <= zone::kMaxId; ++id) {
      const std::size_t at = zone::kHeaderSize + zone::kEntrySize * id;
      const std::uint32_t count = bytes_.U32(at + zone::kEntryCountAt);
      if (count == 0) continue;
      const std::uint32_t first = bytes_.U32(at + zone::kEntryFirstAt);
      Zone entry;
      entry.id = id;
      entry.name = Text(bytes_.U32(at + zone::kEntryNameAt));
      Expect(IsPlainText(entry.name), "zone {} has a name that is not plain text", id);
      for (const std::uint16_t replaced : zone::kReplacedIds) {
        Expect(id != replaced, "zone {} has an id that readers replace", id);
      }
      const auto [run, fresh] = runs.try_emplace({first, count}, data.histories.size());
      if (fresh) {
        if (count > left) throw BadObject(fmt::format("{}: its transitions overlap", entry.name));
        left -= count;
        data.histories.push_back(ReadHistory(entry, first, count));
      }
      entry.history = run->second;
      data.zones.push_back(std::move(entry));
    }
  }

  ZoneHistory ReadHistory(const Zone& entry, std::size_t first, std::size_t count) {
    // Bounds before anything is reserved.
    bytes_.Slice(bytes_.U32(zone::kTransitionsAt) + first * zone::kTransitionSize,
                 count * zone::kTransitionSize);
    ZoneHistory history;
    for (std::size_t i = first; i < first + count; ++i) {
      ZoneTransition transition;
      transition.at = ReadInstant(entry, i);
      const std::size_t type = bytes_.U16(bytes_.U32(zone::kTransitionTypesAt) + 2 * i);
      const std::size_t type_at = bytes_.U32(zone::kTypesAt) + type * zone::kTypeSize;
      transition.type.offset = static_cast<std::int32_t>(bytes_.U32(type_at + zone::kTypeOffsetAt));
      transition.type.abbreviation = Text(bytes_.U32(type_at + zone::kTypeNameAt));
      transition.type.daylight = bytes_.U8(bytes_.U32(zone::kFlagsAt) + i) != 0;
      const std::int32_t offset = transition.type.offset;
      Expect(offset >= -zone::kMaxOffset && offset <= zone::kMaxOffset,
             "{}: an offset of {} seconds", entry.name, offset);
      Expect(IsPlainText(transition.type.abbreviation),
             "{}: an abbreviation that is not plain text", entry.name);
      Expect(history.empty() || history.back().at < transition.at,
             "{}: transition {} is not later than the one before", entry.name, i);
      history.push_back(std::move(transition));
    }
    return history;
  }

  std::int64_t ReadInstant(const Zone& entry, std::size_t index) {
    const std::size_t at = bytes_.U32(zone::kTransitionsAt) + index * zone::kTransitionSize;
    const auto year = static_cast<std::int16_t>(bytes_.U16(at));
    const CivilTime time{year,
                         bytes_.U8(at + 2),
                         bytes_.U8(at + 3),
                         bytes_.U8(at + 4),
                         bytes_.U8(at + 5),
                         bytes_.U8(at + 6)};
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(time.month),
                                           std::chrono::day(time.day)};
    const bool valid = year >= 1 && year <= 9999 && date.ok() && time.hour < 24 &&
                       time.minute < 60 && time.second < 60;
    const bool rest = bytes_.U8(at + 7) == 0 && bytes_.U32(at + 8) == 0 &&
                      bytes_.U16(at + 12) == 0 && bytes_.U8(at + 14) == KES_DATETIME_TIMESTAMP &&
                      bytes_.U8(at + 15) == 0 && bytes_.U16(at + 18) == 0;
    Expect(valid && rest, "{}: transition {} is no UTC timestamp", entry.name, index);
    return valid ? FromCivil(time) : 0;
  }

  void ReadNames(const ZoneData& data) {
    const std::size_t count = bytes_.U16(zone::kNameCountAt);
    const std::size_t index = bytes_.U32(zone::kNameIndexAt);
    std::string previous;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t at = index + i * zone::kNameSize;
      const std::string name = Text(bytes_.U32(at + zone::kNameTextAt));
      const std::uint32_t id = bytes_.U16(at + zone::kNameIdAt);
      Expect(i == 0 || previous < Folded(name), "the name index is out of order at {}", name);
      previous = Folded(name);
      const auto entry = std::lower_bound(data.zones.begin(), data.zones.end(), id,
                                          [](const Zone& a, std::uint32_t b) { return a.id < b; });
      Expect(entry != data.zones.end() && entry->id == id && entry->name == name,
             "the name index gives {} the id {}, which is not its zone", name, id);
    }
    Expect(count == data.zones.size(), "{} zones have {} names", data.zones.size(), count);
  }

  BytesReader bytes_;
  Faults& faults_;
};

std::string DescribeType(const ZoneType& type) {
  return fmt::format("{} {}{}", FormatOffset(type.offset), type.abbreviation,
                     type.daylight ? " DST" : "");
}

const Zone* FindZone(const ZoneData& data, const std::string& name) {
  for (const Zone& entry : data.zones) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

// One line for each period in which the two differ.
std::vector<std::string> DiffHistories(const ZoneHistory& from, const ZoneHistory& to) {
  std::vector<std::string> lines;
  std::size_t i = 0, j = 0;
  for (;;) {
    const bool more_from = i + 1 < from.size(), more_to = j + 1 < to.size();
    const std::int64_t begin = std::max(from[i].at, to[j].at);
    std::int64_t end = 0;
    if (more_from) end = from[i + 1].at;
    if (more_to && (!more_from || to[j + 1].at < end)) end = to[j + 1].at;
    if (from[i].type != to[j].type) {
      const bool first = begin == kFirstInstant;
      lines.push_back(fmt::format("  {} {} {}: {} -> {}", first ? "always" : FormatInstant(begin),
                                  more_from || more_to ? "to" : "on",
                                  more_from || more_to ? FormatInstant(end) : "",
                                  DescribeType(from[i].type), DescribeType(to[j].type)));
    }
    if (!more_from && !more_to) return lines;
    if (more_from && from[i + 1].at == end) ++i;
    if (more_to && to[j + 1].at == end) ++j;
  }
}

}  // namespace

bool IsZoneFile(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= zone::kHeaderSize &&
         (BigEndian32(bytes) == zone::kMagic || LittleEndian32(bytes) == zone::kMagic);
}

Faults ReadZoneFile(std::span<const std::uint8_t> bytes, ZoneFile& file) {
  Faults faults;
  if (!IsZoneFile(bytes)) return {"this is no time-zone file"};
  file = {};
  file.big_endian = BigEndian32(bytes) == zone::kMagic;
  try {
    FileReader(bytes, file.big_endian, faults).Read(file);
  } catch (const BadObject& error) {
    faults.emplace_back(error.what());
  }
  return faults;
}

std::string DumpZones(std::span<const std::uint8_t> bytes, bool full) {
  ZoneFile file;
  const Faults faults = ReadZoneFile(bytes, file);
  std::string out;
  const auto to = std::back_inserter(out);
  fmt::format_to(to, "time-zone file\nbyte order: {}\nsize: {}\ncontent: {}\nfile id: {}\n",
                 file.big_endian ? "big-endian" : "little-endian", file.size,
                 file.data.content_version, file.file_id);
  for (const std::string& fault : faults) fmt::format_to(to, "damaged: {}\n", fault);
  fmt::format_to(to, "zones: {} with {} histories\n", file.data.zones.size(),
                 file.data.histories.size());
  for (const Zone& entry : file.data.zones) {
    if (entry.history >= file.data.histories.size()) break;
    const ZoneHistory& history = file.data.histories[entry.history];
    fmt::format_to(to, "  {:4} {:<32} {:4} transitions\n", entry.id, entry.name, history.size());
    if (!full) continue;
    for (const ZoneTransition& transition : history) {
      fmt::format_to(to, "       {} {}\n", FormatInstant(transition.at),
                     DescribeType(transition.type));
    }
  }
  return out;
}

std::string DiffZones(const ZoneData& from, const ZoneData& to) {
  std::string out;
  const auto end = std::back_inserter(out);
  for (const Zone& entry : from.zones) {
    const Zone* other = FindZone(to, entry.name);
    if (other == nullptr) {
      fmt::format_to(end, "{} (id {}): removed\n", entry.name, entry.id);
      continue;
    }
    if (other->id != entry.id) {
      fmt::format_to(end, "{}: id {} became {}\n", entry.name, entry.id, other->id);
    }
    const std::vector<std::string> lines =
        DiffHistories(from.histories[entry.history], to.histories[other->history]);
    if (lines.empty()) continue;
    fmt::format_to(end, "{} (id {}):\n", entry.name, entry.id);
    for (std::size_t i = 0; i < lines.size() && i < kMaxPeriods; ++i) {
      fmt::format_to(end, "{}\n", lines[i]);
    }
    if (lines.size() > kMaxPeriods) {
      fmt::format_to(end, "  and {} more periods\n", lines.size() - kMaxPeriods);
    }
  }
  for (const Zone& entry : to.zones) {
    if (FindZone(from, entry.name) == nullptr) {
      fmt::format_to(end, "{} (id {}): new\n", entry.name, entry.id);
    }
  }
  return out;
}

}  // namespace kestra::nlsc
