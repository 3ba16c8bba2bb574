// What a data object or boot file holds, read over the offsets that docs/formats/ describes. The
// library's own check runs first: fields of a file that fails it are shown only as far as the
// header.
#include <fmt/format.h>
#include <zlib.h>

#include <array>
#include <cstring>
#include <fstream>

#include "command.h"
#include "inspect.h"
#include "kestra/object.h"
#include "names.h"
#include "session.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kObjectHeader = 92;
constexpr std::size_t kBootHeader = 48;
constexpr std::size_t kLargestFile = std::size_t{64} << 20;

// How a number of the file is shown.
enum class As { kNumber, kHex, kCharset, kTerritory, kSort, kLanguage, kDay, kBasis, kEngine };

struct NumberField {
  const char* name;
  std::size_t offset;
  unsigned width;
  As as = As::kNumber;
};

struct TextField {
  const char* name;
  std::size_t index;
  bool detail = false;  // only with --all
};

// What one type of object holds beyond its header.
struct Layout {
  const char* kind;
  std::span<const NumberField> numbers;
  std::size_t offsets_at;  // string or table offsets
  unsigned offset_width;   // bytes of each
  std::size_t base;        // what they are relative to
  std::span<const TextField> texts;
};

constexpr NumberField kLanguageNumbers[] = {
    {"default character set", 94, 2, As::kCharset},
    {"default territory", 96, 2, As::kTerritory},
    {"string character set", 98, 2, As::kCharset},
    {"flags", 100, 2, As::kHex},
    {"default sort", 102, 2, As::kSort},
};
constexpr TextField kLanguageTexts[] = {
    {"name", 60},
    {"own name", 61},
    {"English name", 59},
    {"tag", 58},
    {"direction", 39},
    {"AM", 40},
    {"PM", 41},
    {"AD", 42},
    {"BC", 43},
    {"yes", 56},
    {"no", 57},
    {"long date", 62},
    {"day 1", 0},
    {"day 2", 1, true},
    {"day 3", 2, true},
    {"day 4", 3, true},
    {"day 5", 4, true},
    {"day 6", 5, true},
    {"day 7", 6, true},
    {"short day 1", 7},
    {"short day 2", 8, true},
    {"short day 3", 9, true},
    {"short day 4", 10, true},
    {"short day 5", 11, true},
    {"short day 6", 12, true},
    {"short day 7", 13, true},
    {"month 1", 14},
    {"month 2", 15, true},
    {"month 3", 16, true},
    {"month 4", 17, true},
    {"month 5", 18, true},
    {"month 6", 19, true},
    {"month 7", 20, true},
    {"month 8", 21, true},
    {"month 9", 22, true},
    {"month 10", 23, true},
    {"month 11", 24, true},
    {"month 12", 25, true},
    {"short month 1", 26},
};
constexpr NumberField kTerritoryNumbers[] = {
    {"ISO number", 94, 2},
    {"week begins on", 96, 1, As::kDay},
    {"days of a first week", 97, 1},
    {"currency digits", 98, 1},
    {"string character set", 100, 2, As::kCharset},
    {"flags", 102, 2, As::kHex},
};
constexpr TextField kTerritoryTexts[] = {
    {"ISO code", 15},
    {"English name", 16},
    {"own name", 17},
    {"currency", 0},
    {"ISO currency", 1},
    {"dual currency", 8},
    {"numeric characters", 2},
    {"monetary characters", 3},
    {"list separator", 4},
    {"debit", 5},
    {"credit", 6},
    {"date format", 7},
    {"short date", 14},
    {"time", 13},
    {"time format", 9},
    {"timestamp format", 10},
    {"time with zone", 11},
    {"timestamp with zone", 12},
};
constexpr NumberField kCharsetNumbers[] = {
    {"basis", 94, 2, As::kBasis},       {"flags", 96, 4, As::kHex},
    {"handle flags", 100, 4, As::kHex}, {"longest character", 104, 1},
    {"shortest character", 105, 1},     {"characters", 136, 4},
    {"decode cells", 120, 4},           {"decode rows", 124, 4},
    {"encode index", 132, 4},           {"encode blocks", 128, 4},
};
constexpr NumberField kSortNumbers[] = {
    {"engine", 94, 2, As::kEngine},
    {"flags", 96, 4, As::kHex},
    {"compare function", 100, 2},
    {"key function", 102, 2},
};
constexpr TextField kSortTexts[] = {{"locale", 0}, {"type", 1}, {"features", 2}};
constexpr NumberField kSupplementNumbers[] = {{"entries", 94, 2}};
constexpr NumberField kCalendarNumbers[] = {
    {"arithmetic of calendar", 94, 2},
    {"months", 96, 2},
    {"languages", 98, 2},
    {"eras", 100, 2},
    {"named eras", 102, 2},
    {"year offset", 104, 2},
};
constexpr TextField kCalendarTexts[] = {{"date format", 4}};

constexpr Layout kLayouts[] = {
    {"language", kLanguageNumbers, 106, 2, 324, kLanguageTexts},
    {"territory", kTerritoryNumbers, 120, 2, 228, kTerritoryTexts},
    {"character set", kCharsetNumbers, 2280, 4, 2476, {}},
    {"sort", kSortNumbers, 144, 4, 352, kSortTexts},
    {"supplement", kSupplementNumbers, 144, 4, 352, {}},
    {"calendar", kCalendarNumbers, 144, 4, 352, kCalendarTexts},
};

// Bytes of a file with 8-byte alignment; reads past the end give zeros.
class Bytes {
 public:
  explicit Bytes(const std::vector<std::uint8_t>& bytes)
      : words_((bytes.size() + 7) / 8), size_(bytes.size()) {
    if (size_ > 0) std::memcpy(words_.data(), bytes.data(), size_);
  }
  std::uint8_t* data() { return reinterpret_cast<std::uint8_t*>(words_.data()); }
  const std::uint8_t* data() const { return reinterpret_cast<const std::uint8_t*>(words_.data()); }
  std::size_t size() const { return size_; }

  // In the platform's byte order.
  std::uint32_t Number(std::size_t offset, unsigned width) const {
    if (offset + width > size_) return 0;
    std::uint8_t one = 0;
    std::uint16_t two = 0;
    std::uint32_t four = 0;
    switch (width) {
      case 1:
        std::memcpy(&one, data() + offset, 1);
        return one;
      case 2:
        std::memcpy(&two, data() + offset, 2);
        return two;
      default:
        std::memcpy(&four, data() + offset, 4);
        return four;
    }
  }
  std::string Text(std::size_t offset, std::size_t longest) const {
    if (offset >= size_) return "";
    longest = std::min(longest, size_ - offset);
    const auto* start = reinterpret_cast<const char*>(data() + offset);
    return {start, strnlen(start, longest)};
  }

 private:
  std::vector<std::uint64_t> words_;
  std::size_t size_;
};

// A page of fields, as lines or as a JSON object.
class Page {
 public:
  void Add(const std::string& name, nlohmann::ordered_json value) {
    fields_.emplace_back(name, std::move(value));
  }
  void Print() const {
    for (const auto& [name, value] : fields_) {
      const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
      fmt::print("{:<22}  {}\n", name, Printable(text));
    }
  }
  nlohmann::ordered_json Json() const {
    nlohmann::ordered_json object;
    for (const auto& [name, value] : fields_) object[name] = value;
    return object;
  }

 private:
  std::vector<std::pair<std::string, nlohmann::ordered_json>> fields_;
};

std::vector<std::uint8_t> ReadWhole(const std::string& path) {
  InputFile file(path);
  std::vector<std::uint8_t> bytes;
  for (;;) {
    const std::size_t before = bytes.size();
    if (before > kLargestFile) throw ToolError(kBadData, path + ": too large for a data file");
    bytes.resize(before + (std::size_t{64} << 10));
    const std::size_t count = file.Read(std::span(bytes).subspan(before));
    bytes.resize(before + count);
    if (count == 0) return bytes;
  }
}

std::string NameOf(Session& session, std::uint32_t kind, std::uint32_t id) {
  const char* name = lxhid2name(kind, id, session.context());
  return name == nullptr ? std::to_string(id) : fmt::format("{} ({})", name, id);
}

nlohmann::ordered_json Show(Session& session, std::uint32_t value, As as) {
  constexpr std::array kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                "Thursday", "Friday", "Saturday"};
  constexpr std::array kBases = {"other", "ASCII", "EBCDIC", "ISO 646"};
  constexpr std::array kEngines = {"monolingual", "multi-level", "Unicode collation"};
  auto pick = [&](const auto& names) -> nlohmann::ordered_json {
    if (value < names.size()) return names[value];
    return value;
  };
  switch (as) {
    case As::kNumber:
      return value;
    case As::kHex:
      return fmt::format("0x{:X}", value);
    case As::kCharset:
      return NameOf(session, kCharsetKind, value);
    case As::kTerritory:
      return NameOf(session, kTerritoryKind, value);
    case As::kLanguage:
      return NameOf(session, kLanguageKind, value);
    case As::kSort:
      return value == 0 ? "BINARY" : NameOf(session, KES_ITEM_SORT, value);
    case As::kDay:
      return pick(kDays);
    case As::kBasis:
      return pick(kBases);
    case As::kEngine:
      return pick(kEngines);
  }
  return value;
}

std::string VersionText(std::uint32_t version) {
  return fmt::format("{}.{}.{}.{}", version >> 24, version >> 16 & 255, version >> 8 & 255,
                     version & 255);
}

void AddObject(Page& page, Session& session, const Bytes& bytes, const Layout& layout, bool all) {
  for (const NumberField& field : layout.numbers) {
    page.Add(field.name, Show(session, bytes.Number(field.offset, field.width), field.as));
  }
  for (const TextField& field : layout.texts) {
    if (field.detail && !all) continue;
    const std::size_t at = layout.offsets_at + field.index * layout.offset_width;
    const std::size_t start = layout.base + bytes.Number(at, layout.offset_width);
    page.Add(field.name, bytes.Text(start, 255));
  }
  const bool charset = bytes.Number(20, 2) == KES_OBJECT_CHARSET;
  if (charset) {
    const std::uint32_t length = std::min(bytes.Number(109, 1), 4u);
    page.Add("replacement", HexBytes(std::span(bytes.data() + 110, length)));
  }
}

struct Run {
  const char* name;
  std::uint32_t count;
};

std::vector<Run> Runs(const Bytes& bytes) {
  constexpr std::array kNames = {"languages",   "territories", "character sets", "sorts",
                                 "supplements", "calendars",   "type 6",         "type 7",
                                 "type 8",      "type 9"};
  std::vector<Run> runs;
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    const std::uint32_t count = bytes.Number(20 + 2 * i + 2, 2) - bytes.Number(20 + 2 * i, 2);
    if (count > 0) runs.push_back({kNames[i], count});
  }
  return runs;
}

// The entries of a boot directory, for --all and JSON.
nlohmann::ordered_json Entries(const Bytes& bytes) {
  constexpr std::size_t kEntry = 40;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (std::uint32_t slot = 1; slot < bytes.Number(40, 2); ++slot) {
    const std::size_t at = kBootHeader + slot * kEntry;
    const std::uint32_t type = bytes.Number(at + 4, 2);
    const std::uint32_t id = bytes.Number(at + 6, 2) & 0x3FFF;
    std::array<char, KES_OBJECT_NAME_SIZE> file{};
    lxfgno(file.data(), type, id);
    list.push_back({{"slot", slot},
                    {"type", type < std::size(kLayouts) ? kLayouts[type].kind : "other"},
                    {"id", id},
                    {"name", bytes.Text(at + 9, 29)},
                    {"size", bytes.Number(at, 4)},
                    {"file", fmt::format("{}.nlb", file.data())}});
  }
  return list;
}

void PrintEntries(const nlohmann::ordered_json& entries) {
  Table table({{"SLOT", Align::kRight},
               {"TYPE"},
               {"ID", Align::kRight},
               {"NAME"},
               {"BYTES", Align::kRight},
               {"FILE"}});
  for (const auto& entry : entries) {
    table.Add({entry["slot"].dump(), entry["type"].get<std::string>(), entry["id"].dump(),
               entry["name"].get<std::string>(), entry["size"].dump(),
               entry["file"].get<std::string>()});
  }
  fmt::print("\n");
  table.Print(stdout);
}

bool IsBoot(std::span<const std::uint8_t> start) {
  return start.size() >= kBootHeader && start[44] == 0xA5;
}

}  // namespace

bool LooksLikeObject(std::span<const std::uint8_t> start) {
  if (start.size() < kBootHeader) return false;
  // The version, 2.16.0.0 or a later one of the same line, in either byte order.
  const bool version = (start[3] == 2 && start[2] >= 0x10) || (start[0] == 2 && start[1] >= 0x10);
  const bool object = start.size() >= kObjectHeader && start[25] == 'Z';
  return version && (object || IsBoot(start));
}

int InspectObject(const std::string& path, const InspectOptions& options, bool json) {
  Session session;
  const std::vector<std::uint8_t> raw = ReadWhole(path);
  Bytes bytes(raw);
  const bool boot =
      IsBoot(raw) && !(raw.size() > kObjectHeader && raw[25] == 'Z' && raw[44] != 0xA5);
  const std::size_t flags_at = boot ? 45 : 26;
  const bool big = raw.size() > flags_at && (raw[flags_at] & 0x10) != 0;
  const uLong checksum =
      raw.size() > kObjectHeader
          ? crc32(0, raw.data() + kObjectHeader, static_cast<uInt>(raw.size() - kObjectHeader))
          : 0;
  const char* fault = lxlobjcheck(bytes.data(), bytes.size(), boot ? 1 : 0);

  Page page;
  page.Add("file", path);
  const std::uint32_t type = bytes.Number(20, 2);
  const Layout* layout = !boot && type < std::size(kLayouts) ? &kLayouts[type] : nullptr;
  page.Add("kind", boot ? "boot file" : layout != nullptr ? layout->kind : "data object");
  page.Add("valid", fault == nullptr ? "yes" : std::string("no: ") + fault);
  page.Add("size", raw.size());
  page.Add("byte order", big ? "big-endian" : "little-endian");
  nlohmann::ordered_json entries;
  if (fault == nullptr) {
    page.Add("format version", VersionText(bytes.Number(0, 4)));
    page.Add("data release", bytes.Number(4, 4));
    if (boot) {
      page.Add("entries", bytes.Number(40, 2));
      for (const Run& run : Runs(bytes)) page.Add(run.name, run.count);
      entries = Entries(bytes);
    } else {
      page.Add("id", bytes.Number(kObjectHeader, 2));
      page.Add("name", bytes.Text(28, 30));
      page.Add("made from", bytes.Text(58, 34));
      page.Add("checksum", bytes.Number(16, 4) == checksum ? "right" : "wrong");
      if (layout != nullptr) AddObject(page, session, bytes, *layout, options.all);
    }
  }
  if (json) {
    nlohmann::ordered_json object = page.Json();
    if (boot && fault == nullptr) object["directory"] = std::move(entries);
    PrintJson(object);
  } else {
    page.Print();
    if (boot && fault == nullptr && options.all) PrintEntries(entries);
  }
  return fault == nullptr ? kDone : kBadData;
}

}  // namespace kestra::tools
