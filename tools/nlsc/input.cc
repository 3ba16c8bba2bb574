#include "input.h"

#include <fmt/format.h>
#include <zlib.h>

#include <charconv>
#include <memory>
#include <utility>

namespace kestra::nlsc {
namespace {

std::string Place(const std::string& file, std::size_t line) {
  return line == 0 ? file : fmt::format("{}:{}", file, line);
}

// The version that a file states itself, or nothing: "# PropList-15.0.0.txt" in its first line.
std::string StatedVersion(std::string_view text) {
  const std::string_view first = text.substr(0, text.find('\n'));
  if (!first.starts_with("# ") || !first.ends_with(".txt")) return {};
  const std::size_t dash = first.rfind('-');
  if (dash == std::string_view::npos) return {};
  return std::string(first.substr(dash + 1, first.size() - dash - 5));
}

// The package and version that a new manifest row gets, by the folder of the file.
ManifestEntry Describe(const std::string& file, std::string_view text) {
  ManifestEntry entry;
  entry.version = StatedVersion(text);
  if (file.starts_with("usr/share/i18n/")) {
    entry.package = "glibc";
  } else if (file.starts_with("usr/share/unicode/cldr/")) {
    entry.package = "CLDR";
  } else {
    entry.package = "UCD";
  }
  return entry;
}

}  // namespace

InputError::InputError(const std::string& file, std::size_t line, const std::string& what)
    : std::runtime_error(Place(file, line) + ": " + what) {}

SourceText ReadText(const std::filesystem::path& path) {
  SourceText result{path.string(), {}};
  if (std::filesystem::is_directory(path)) throw InputError(result.name, 0, "is a directory");
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
  if (!file) throw InputError(result.name, 0, "cannot be opened");
  gzbuffer(file.get(), 1u << 17);
  constexpr unsigned kStep = 1u << 20;
  for (;;) {
    const std::size_t have = result.text.size();
    result.text.resize(have + kStep);
    const int count = gzread(file.get(), result.text.data() + have, kStep);
    if (count < 0) {
      int code = 0;
      throw InputError(result.name, 0,
                       fmt::format("cannot be read: {}", gzerror(file.get(), &code)));
    }
    result.text.resize(have + static_cast<std::size_t>(count));
    if (static_cast<unsigned>(count) < kStep) break;
  }
  int code = Z_OK;
  const char* message = gzerror(file.get(), &code);
  if (code != Z_OK) throw InputError(result.name, 0, fmt::format("cannot be read: {}", message));
  return result;
}

bool Lines::Next(std::string_view& line) {
  if (rest_.empty()) return false;
  const std::size_t end = rest_.find('\n');
  line = rest_.substr(0, end);
  rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  ++number_;
  return true;
}

void Lines::Fail(const std::string& what) const { throw InputError(source_.name, number_, what); }

Table::Table(const SourceText& source) : name_(source.name) {
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    if (line.empty()) continue;
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
      const char c = line[at];
      if (quoted && c == '"' && at + 1 < line.size() && line[at + 1] == '"') {
        fields.back() += '"';
        ++at;
      } else if (c == '"') {
        quoted = !quoted;
      } else if (c == ',' && !quoted) {
        fields.emplace_back();
      } else {
        fields.back() += c;
      }
    }
    if (quoted) lines.Fail("a quoted field does not end");
    if (columns_.empty()) {
      columns_ = std::move(fields);
      continue;
    }
    if (fields.size() != columns_.size()) {
      lines.Fail(fmt::format("{} fields where the header has {}", fields.size(), columns_.size()));
    }
    Row row;
    row.table_ = this;
    row.line_ = lines.number();
    row.fields_ = std::move(fields);
    rows_.push_back(std::move(row));
  }
  if (columns_.empty()) throw InputError(name_, 0, "has no header row");
}

const std::string& Table::Row::operator[](std::string_view column) const {
  for (std::size_t at = 0; at < table_->columns_.size(); ++at) {
    if (table_->columns_[at] == column) return fields_[at];
  }
  throw InputError(table_->name_, 1, fmt::format("has no column {}", column));
}

std::uint32_t Table::Row::Number(std::string_view column) const {
  const std::optional<std::uint32_t> value = ParseDecimal((*this)[column]);
  if (!value) Fail(fmt::format("column {} is not a number: \"{}\"", column, (*this)[column]));
  return *value;
}

void Table::Row::Fail(const std::string& what) const {
  throw InputError(table_->name_, line_, what);
}

Manifest ReadManifest(const std::filesystem::path& path) {
  const SourceText source = ReadText(path);
  const Table table(source);
  Manifest manifest;
  for (const Table::Row& row : table.rows()) {
    const std::optional<std::uint32_t> crc = ParseHex(row["crc32"]);
    if (!crc) row.Fail("crc32 is not hexadecimal");
    if (!manifest.try_emplace(row["file"], ManifestEntry{row["package"], row["version"], *crc})
             .second) {
      row.Fail("the file stands twice");
    }
  }
  return manifest;
}

std::string FormatManifest(const Manifest& manifest) {
  std::string text = "package,version,crc32,file\n";
  for (const auto& [file, entry] : manifest) {
    text += fmt::format("{},{},{:08X},{}\n", entry.package, entry.version, entry.crc, file);
  }
  return text;
}

Sources::Sources(std::filesystem::path root, Manifest manifest, VersionCheck check,
                 std::map<std::string, std::string> package_versions)
    : root_(std::move(root)),
      manifest_(std::move(manifest)),
      check_(check),
      package_versions_(std::move(package_versions)) {}

std::optional<std::filesystem::path> Sources::Find(const std::string& file) const {
  if (std::filesystem::exists(root_ / file)) return root_ / file;
  if (file.ends_with(".gz")) {
    const std::filesystem::path plain = root_ / file.substr(0, file.size() - 3);
    if (std::filesystem::exists(plain)) return plain;
  }
  return std::nullopt;
}

bool Sources::Has(const std::string& file) const { return Find(file).has_value(); }

SourceText Sources::Read(const std::string& file) {
  const std::optional<std::filesystem::path> path = Find(file);
  if (!path) {
    throw InputError((root_ / file).string(), 0,
                     "is missing; the packages that the data come from are in data/README.md");
  }
  SourceText source = ReadText(*path);
  const auto crc = static_cast<std::uint32_t>(
      crc32_z(0, reinterpret_cast<const Bytef*>(source.text.data()), source.text.size()));
  const auto known = manifest_.find(file);
  ManifestEntry entry = known != manifest_.end() ? known->second : Describe(file, source.text);
  if (check_ != VersionCheck::kRecord && (known == manifest_.end() || entry.crc != crc)) {
    const std::string stated = StatedVersion(source.text);
    const std::string what = fmt::format(
        "is not the file that the manifest names ({}{}{})",
        known == manifest_.end() ? "no entry" : fmt::format("{} {}", entry.package, entry.version),
        stated.empty() ? "" : ", the file says ", stated);
    if (check_ == VersionCheck::kStrict) {
      throw InputError(source.name, 0, what + "; --allow-version-change takes it all the same");
    }
    warnings_.push_back(source.name + ": " + what);
  }
  entry.crc = crc;
  if (seen_.insert(file).second) ++used_[entry.package];
  if (entry.version.empty()) entry.version = package_versions_[entry.package];
  recorded_[file] = entry;
  return source;
}

std::string Sources::Version(const std::string& package) const {
  for (const auto& [file, entry] : recorded_) {
    if (entry.package == package && !entry.version.empty()) return entry.version;
  }
  return "?";
}

std::optional<std::uint32_t> ParseHex(std::string_view digits) {
  std::uint32_t value = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

std::optional<std::uint32_t> ParseDecimal(std::string_view digits) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

}  // namespace kestra::nlsc
