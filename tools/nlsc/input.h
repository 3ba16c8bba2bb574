// Reading source files: upstream packages (checked against the manifest) and our own definitions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kestra::nlsc {

// A source file that cannot be used. The message begins with the file, and the line where there is
// one.
class InputError : public std::runtime_error {
 public:
  InputError(const std::string& file, std::size_t line, const std::string& what);
};

// A file of the home directory or the target that cannot be read or written.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A whole file in memory, and the name that messages give it.
struct SourceText {
  std::string name;
  std::string text;
};

// Reads a file, gunzipping it when it is compressed. Throws InputError.
SourceText ReadText(const std::filesystem::path& path);

// Lines of a text without their ends ("\n" or "\r\n"); line numbers begin at 1.
class Lines {
 public:
  explicit Lines(const SourceText& source) : source_(source), rest_(source.text) {}
  bool Next(std::string_view& line);
  std::size_t number() const { return number_; }
  [[noreturn]] void Fail(const std::string& what) const;

 private:
  const SourceText& source_;
  std::string_view rest_;
  std::size_t number_ = 0;
};

// Comma-separated values with a header row; quotes as usual ("" inside quotes is one).
class Table {
 public:
  explicit Table(const SourceText& source);

  class Row {
   public:
    const std::string& operator[](std::string_view column) const;
    std::uint32_t Number(std::string_view column) const;
    [[noreturn]] void Fail(const std::string& what) const;

   private:
    friend class Table;
    const Table* table_ = nullptr;
    std::size_t line_ = 0;
    std::vector<std::string> fields_;
  };
  const std::vector<Row>& rows() const { return rows_; }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

 private:
  std::string name_;
  std::vector<std::string> columns_;
  std::vector<Row> rows_;
};

// What the manifest says of one upstream file.
struct ManifestEntry {
  std::string package;
  std::string version;
  std::uint32_t crc = 0;
  bool operator==(const ManifestEntry&) const = default;
};
using Manifest = std::map<std::string, ManifestEntry>;  // by path below the root

Manifest ReadManifest(const std::filesystem::path& path);
std::string FormatManifest(const Manifest& manifest);

// How files are compared with the manifest.
enum class VersionCheck { kStrict, kAllowChange, kRecord };

// The files of the upstream packages below a root folder. Object data are persistent, so a file
// whose content is not what the manifest recorded is refused, unless the caller allows it.
class Sources {
 public:
  // package_versions: of packages whose files state none, for VersionCheck::kRecord.
  Sources(std::filesystem::path root, Manifest manifest, VersionCheck check,
          std::map<std::string, std::string> package_versions = {});

  bool Has(const std::string& file) const;
  // Reads a file below the root; "NAME.gz" is also found as plain "NAME".
  SourceText Read(const std::string& file);
  // The version of a package, for the header of the objects made from it.
  std::string Version(const std::string& package) const;

  // Files read so far, by package.
  const std::map<std::string, std::size_t>& used() const { return used_; }
  const std::vector<std::string>& warnings() const { return warnings_; }
  const Manifest& recorded() const { return recorded_; }

 private:
  std::optional<std::filesystem::path> Find(const std::string& file) const;

  std::filesystem::path root_;
  Manifest manifest_;
  VersionCheck check_;
  std::map<std::string, std::string> package_versions_;
  std::map<std::string, std::size_t> used_;
  std::set<std::string> seen_;
  std::vector<std::string> warnings_;
  Manifest recorded_;
};

// "1F600" -> number; nothing when it is not plain hexadecimal of 1 to 8 digits.
std::optional<std::uint32_t> ParseHex(std::string_view digits);
std::optional<std::uint32_t> ParseDecimal(std::string_view digits);
std::string_view Trim(std::string_view text);
std::vector<std::string_view> Split(std::string_view text, char separator);

}  // namespace kestra::nlsc
