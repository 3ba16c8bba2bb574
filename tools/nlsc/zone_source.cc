#include "zone_source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>

#include "datetime/zone_format.h"
#include "input.h"
#include "object_reader.h"
#include "posix_rule.h"

namespace kestra::nlsc {
namespace {

namespace fs = std::filesystem;
namespace zone = kestra::datetime::zone;

constexpr std::uint32_t kFirstCanonicalId = 10;
constexpr std::int64_t kEndOfTime = 253402300800;  // 10000-01-01

// A directory that is gone when the object is.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string name = (fs::temp_directory_path() / "nlsc-zones-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw OutputError(name + ": cannot be created");
    path_ = name;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void RunZic(const ZoneOptions& options, const fs::path& directory) {
  std::string arguments[] = {
      options.zic, "-b", "fat", "-d", directory.string(), options.source.string()};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  char locale[] = "LC_ALL=C";
  char* environment[] = {locale, nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environment);
  if (error != 0)
    throw InputError(options.zic, 0, "cannot be run: " + std::string(strerror(error)));
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) throw InputError(options.source.string(), 0, "zic refuses it");
}

// Big-endian fields with a check of every bound.
class TzifReader {
 public:
  explicit TzifReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::span<const std::uint8_t> Take(std::size_t count) {
    if (count > bytes_.size()) throw std::invalid_argument("the TZif file is cut off");
    const auto result = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return result;
  }
  static std::int64_t Signed(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = (bytes[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (const std::uint8_t byte : bytes) value = value << 8 | byte;
    return static_cast<std::int64_t>(value);
  }
  std::span<const std::uint8_t> rest() const { return bytes_; }

 private:
  std::span<const std::uint8_t> bytes_;
};

struct TzifHeader {
  std::size_t utc_flags, standard_flags, leaps, times, types, characters;

  explicit TzifHeader(TzifReader& in) {
    const auto bytes = in.Take(44);
    if (std::memcmp(bytes.data(), "TZif", 4) != 0 || bytes[4] < '2') {
      throw std::invalid_argument("no TZif file of version 2");
    }
    std::size_t* const fields[] = {&utc_flags, &standard_flags, &leaps,
                                   &times,     &types,          &characters};
    for (std::size_t i = 0; i < 6; ++i) {
      *fields[i] =
          static_cast<std::size_t>(TzifReader::Signed(bytes.subspan(20 + 4 * i, 4))) & 0xFFFFFFFF;
    }
  }
  std::size_t BodySize(std::size_t time_size) const {
    return times * (time_size + 1) + types * 6 + characters + leaps * (time_size + 4) +
           standard_flags + utc_flags;
  }
};

std::vector<ZoneType> ReadTypes(std::span<const std::uint8_t> types,
                                std::span<const std::uint8_t> characters) {
  std::vector<ZoneType> result;
  for (std::size_t at = 0; at < types.size(); at += 6) {
    const auto* begin = characters.data() + std::min<std::size_t>(types[at + 5], characters.size());
    const auto* end = std::find(begin, characters.data() + characters.size(), 0);
    if (end == characters.data() + characters.size()) {
      throw std::invalid_argument("an abbreviation does not end");
    }
    result.push_back({static_cast<std::int32_t>(TzifReader::Signed(types.subspan(at, 4))),
                      types[at + 4] != 0, std::string(begin, end)});
  }
  return result;
}

bool IsWithin(std::int64_t at, int end_year) {
  return at < kEndOfTime && ToCivil(at).year <= end_year;
}

// The release and the links, from the compact source.
struct SourceFacts {
  std::string release;
  std::map<std::string, std::string> links;
};

SourceFacts ReadFacts(const fs::path& path) {
  const SourceText source = ReadText(path);
  SourceFacts facts;
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    constexpr std::string_view kVersionPrefix = "# version ";
    if (line.starts_with(kVersionPrefix)) facts.release = line.substr(kVersionPrefix.size());
    if (!line.starts_with("L ")) continue;
    const std::vector<std::string_view> words = Split(line, ' ');
    if (words.size() < 3) lines.Fail("a link needs two names");
    facts.links[std::string(words[2])] = words[1];
  }
  if (facts.release.empty()) throw InputError(source.name, 0, "states no version");
  return facts;
}

std::set<std::string> CompiledNames(const fs::path& directory) {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) {
      names.insert(entry.path().lexically_relative(directory).generic_string());
    }
  }
  return names;
}

// Ids are stored in timestamps: canonical zones have 10 to 511, the k-th link of a zone has
// 512 k + zone, and the ids that readers replace are nobody's.
void CheckRow(const Table::Row& row, std::uint32_t id, std::uint32_t target) {
  const bool link = target != 0;
  if (link
          ? id <= zone::kCanonicalMask || id > zone::kMaxId || (id & zone::kCanonicalMask) != target
          : id < kFirstCanonicalId || id > zone::kCanonicalMask) {
    row.Fail("the id is not one that the zone can have");
  }
  for (const std::uint16_t replaced : zone::kReplacedIds) {
    if (id == replaced) row.Fail("the id is one that readers replace");
  }
}

// The rows of zones.csv, with the ids checked against each other.
std::vector<Zone> ReadTable(const fs::path& path) {
  const SourceText source = ReadText(path);
  const Table table(source);
  std::map<std::string, std::uint32_t> ids;
  for (const Table::Row& row : table.rows()) {
    if (!ids.emplace(row["name"], row.Number("id")).second) row.Fail("the name is there twice");
  }
  std::vector<Zone> zones;
  std::set<std::uint32_t> seen;
  for (const Table::Row& row : table.rows()) {
    Zone entry;
    entry.id = row.Number("id");
    entry.name = row["name"];
    entry.common = row["file"] == "short";
    if (!entry.common && row["file"] != "all") row.Fail("the file is \"short\" or \"all\"");
    const std::string& target = row["link_to"];
    if (!target.empty() && !ids.contains(target)) row.Fail("it links to an unknown zone");
    CheckRow(row, entry.id, target.empty() ? 0 : ids[target]);
    if (!seen.insert(entry.id).second) row.Fail("the id is there twice");
    zones.push_back(entry);
  }
  std::sort(zones.begin(), zones.end(), [](const Zone& a, const Zone& b) { return a.id < b.id; });
  return zones;
}

}  // namespace

std::uint32_t ContentVersion(const std::string& release) {
  const bool plain = release.size() == 5 && release.starts_with("20") &&
                     std::all_of(release.begin() + 2, release.begin() + 4,
                                 [](char c) { return c >= '0' && c <= '9'; }) &&
                     release[4] >= 'a' && release[4] <= 'z';
  if (!plain) throw std::invalid_argument("the release is not a year and a letter: " + release);
  const auto digit = [&](std::size_t at) { return static_cast<std::uint32_t>(release[at] - '0'); };
  return (digit(2) * 10 + digit(3)) * 100 + static_cast<std::uint32_t>(release[4] - 'a' + 1);
}

ZoneHistory ReadTzif(std::span<const std::uint8_t> bytes, int end_year) {
  TzifReader in(bytes);
  in.Take(TzifHeader(in).BodySize(4));
  const TzifHeader header(in);
  const auto times = in.Take(header.times * 8);
  const auto indices = in.Take(header.times);
  const auto type_bytes = in.Take(header.types * 6);
  const std::vector<ZoneType> types = ReadTypes(type_bytes, in.Take(header.characters));
  if (header.leaps != 0) throw std::invalid_argument("it counts leap seconds");
  in.Take(header.standard_flags + header.utc_flags);
  if (types.empty()) throw std::invalid_argument("it has no types");

  ZoneHistory history{{kFirstInstant, types[0]}};
  std::int64_t last = kFirstInstant;
  for (std::size_t i = 0; i < header.times; ++i) {
    const std::int64_t at = TzifReader::Signed(times.subspan(8 * i, 8));
    if (indices[i] >= types.size()) throw std::invalid_argument("a type is out of range");
    const ZoneType& type = types[indices[i]];
    if (at <= kFirstInstant) {
      history.back().type = type;
      continue;
    }
    if (at <= last) throw std::invalid_argument("transitions are out of order");
    last = at;
    if (history.back().type != type && IsWithin(at, end_year)) history.push_back({at, type});
  }
  const auto footer = in.rest();
  if (footer.size() < 2 || footer.front() != '\n' || footer.back() != '\n') {
    throw std::invalid_argument("it has no rule");
  }
  const std::string rule(footer.begin() + 1, footer.end() - 1);
  ExpandRule(rule, last, end_year, history);
  return history;
}

ZoneReadResult ReadZones(const ZoneOptions& options) {
  const SourceFacts facts = ReadFacts(options.source);
  const ScratchDirectory scratch;
  RunZic(options, scratch.path());
  std::set<std::string> names = CompiledNames(scratch.path());
  names.erase("Factory");  // says only that nobody set a zone

  ZoneReadResult result;
  result.release = facts.release;
  try {
    result.data.content_version = ContentVersion(facts.release);
  } catch (const std::invalid_argument& error) {
    throw InputError(options.source.string(), 0, error.what());
  }
  std::map<ZoneHistory, std::size_t> known;
  for (Zone& entry : ReadTable(options.definitions / "zones.csv")) {
    if (names.erase(entry.name) == 0) {
      result.warnings.push_back(fmt::format("{} is not in release {}", entry.name, facts.release));
      continue;
    }
    try {
      ZoneHistory history = ReadTzif(ReadObjectFile(scratch.path() / entry.name), options.end_year);
      const auto [at, fresh] = known.try_emplace(std::move(history), result.data.histories.size());
      if (fresh) result.data.histories.push_back(at->first);
      entry.history = at->second;
    } catch (const std::invalid_argument& error) {
      throw InputError(entry.name, 0, error.what());
    }
    result.data.zones.push_back(std::move(entry));
  }
  for (const std::string& name : names) {
    const auto link = facts.links.find(name);
    result.warnings.push_back(fmt::format(
        "{} of release {} has no id in zones.csv{}", name, facts.release,
        link == facts.links.end() ? "" : fmt::format("; it is a link to {}", link->second)));
  }
  return result;
}

}  // namespace kestra::nlsc
