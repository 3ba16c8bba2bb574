#include "build.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <tuple>

#include "charset.h"
#include "locale_objects.h"
#include "nls/nlb_format.h"
#include "selection.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

enum Type : std::uint32_t {
  kLanguageType = 0,
  kTerritoryType = 1,
  kCharsetType = 2,
  kSortType = 3
};
constexpr std::string_view kCharmapPrefix = "glibc charmap ";
constexpr std::string_view kIconvPrefix = "iconv ";
constexpr const char* kEbcdicCharmap = "usr/share/i18n/charmaps/IBM1047.gz";

class Builder {
 public:
  Builder(const BuildOptions& options, const std::function<void()>& step)
      : options_(options),
        step_(step),
        sources_(options.sources,
                 options.check == VersionCheck::kRecord
                     ? Manifest()
                     : ReadManifest(options.definitions / "manifest.csv"),
                 options.check, options.package_versions),
        selection_(ReadSelection(options.only)),
        unicode_(sources_),
        cldr_(sources_) {}

  BuildResult Run() {
    BuildCharsets();
    BuildTerritories();
    BuildSorts();
    BuildLanguages();
    BuildCalendars();
    BuildSupplement();
    BuildResult result;
    result.objects = std::move(objects_);
    std::sort(result.objects.begin(), result.objects.end(), [](const Object& a, const Object& b) {
      return std::tie(a.type, a.id) < std::tie(b.type, b.id);
    });
    selection_.CheckAllUsed();
    CheckDirectory(result.objects);
    for (const auto& [package, files] : sources_.used()) {
      result.packages[package] = {sources_.Version(package), files};
    }
    result.warnings = sources_.warnings();
    result.manifest = sources_.recorded();
    return result;
  }

 private:
  void BuildCharsets() {
    const SourceText text = ReadDefinitions("charsets.csv");
    const Table table(text);
    for (const Table::Row& row : table.rows()) {
      CheckIdAndName(row);
      const std::optional<CharsetDefinition> definition = ReadDefinition(row);
      if (!definition || !selection_.Takes("charset", definition->name)) continue;
      step_();
      BuildCharset(row, *definition);
    }
  }

  // Nothing for the sets that have no object.
  static std::optional<CharsetDefinition> ReadDefinition(const Table::Row& row) {
    CharsetDefinition definition;
    definition.id = row.Number("id");
    definition.name = row["name"];
    definition.kind = row["class"];
    definition.source = row["source"];
    const bool table = definition.kind == "single" || definition.kind == "multi" ||
                       definition.kind == "mixed" || definition.kind == "gb18030";
    const bool directory = row["note"].find("no directory entry") == std::string::npos;
    if (!table && !(definition.kind == "utf16" && directory)) {
      if (definition.kind != "iso2022" && definition.kind != "utf16") {
        row.Fail("unknown class " + definition.kind);
      }
      return std::nullopt;
    }
    definition.max_bytes = row.Number("max_bytes");
    definition.mappings = row.Number("mappings");
    const std::string& basis = row["basis"];
    definition.basis = basis == "ASCII"    ? nlb::charset::kAscii
                       : basis == "EBCDIC" ? nlb::charset::kEbcdic
                       : basis == "ISO646" ? nlb::charset::kIso646
                                           : nlb::charset::kOther;
    return definition;
  }

  void BuildCharset(const Table::Row& row, const CharsetDefinition& definition) {
    const std::string_view source = definition.source;
    std::string versions;
    CharsetModel model;
    if (source.starts_with(kCharmapPrefix)) {
      const SourceText text = sources_.Read(
          fmt::format("usr/share/i18n/charmaps/{}.gz", source.substr(kCharmapPrefix.size())));
      model = MakeTableCharset(definition, ReadCharmap(text), unicode_, text.name);
      versions = fmt::format("glibc {} ", sources_.Version("glibc"));
    } else if (source.starts_with(kIconvPrefix)) {
      const SourceText text = ReadText(options_.definitions / "charsets" /
                                       fmt::format("{}.map", source.substr(kIconvPrefix.size())));
      model = MakeTableCharset(definition, ReadMap(text), unicode_, text.name);
      versions = "iconv map ";
    } else if (source == "algorithmic") {
      std::vector<Mapping> ebcdic;
      if (definition.basis == nlb::charset::kEbcdic) {
        ebcdic = ReadCharmap(sources_.Read(kEbcdicCharmap));
      }
      model = MakeUnicodeCharset(definition, unicode_, ebcdic);
    } else {
      row.Fail(fmt::format("unknown source \"{}\"", source));
    }
    versions += fmt::format("UCD {}", sources_.Version("UCD"));
    Add(WriteCharset(model, versions, options_.big_endian));
  }

  SourceText ReadDefinitions(const char* file) const {
    return ReadText(options_.definitions / file);
  }

  std::string CldrVersions() const {
    return fmt::format("CLDR {} UCD {}", sources_.Version("CLDR"), sources_.Version("UCD"));
  }

  // Calls make for every row that is wanted, checking its id and name.
  template <typename Make>
  void ForEachRow(const Table& table, const char* kind, const Make& make) {
    for (const Table::Row& row : table.rows()) {
      CheckIdAndName(row);
      if (!selection_.Takes(kind, row["name"])) continue;
      step_();
      make(row);
    }
  }

  // Names are parts of "LANGUAGE_TERRITORY.CHARSET" and fit a directory entry.
  static void CheckIdAndName(const Table::Row& row) {
    const std::string& name = row["name"];
    const std::uint32_t id = row.Number("id");
    if (id == 0 || id > nlb::kIdMask) row.Fail("the id is not 1 to 16383");
    const bool plain = std::all_of(name.begin(), name.end(), [](char c) {
      return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' || c == '-';
    });
    if (name.empty() || name.size() >= nlb::boot::kEntryNameSize || !plain) {
      row.Fail(fmt::format("\"{}\" is no name of 1 to {} capitals, digits, spaces and hyphens",
                           name, nlb::boot::kEntryNameSize - 1));
    }
  }

  void Add(Object object) {
    ids_[object.type][object.name] = object.id;
    objects_.push_back(std::move(object));
  }

  // The id of an object that a row names, which must have been made before.
  std::uint32_t Reference(const Table::Row& row, const char* column, std::uint32_t type) const {
    const auto& names = ids_.at(type);
    const auto found = names.find(row[column]);
    if (found == names.end()) {
      row.Fail(fmt::format("{} {} is not in this set", column, row[column]));
    }
    return found->second;
  }

  void BuildTerritories() {
    const SourceText text = ReadDefinitions("territories.csv");
    ForEachRow(Table(text), "territory", [&](const Table::Row& row) {
      const TerritoryModel model = MakeTerritory(row, cldr_);
      Add(WriteTerritory(model, CldrVersions(), options_.big_endian));
    });
  }

  void BuildSorts() {
    const SourceText text = ReadDefinitions("sorts.csv");
    ForEachRow(Table(text), "sort", [&](const Table::Row& row) {
      Add(WriteSort(MakeSort(row), CldrVersions(), options_.big_endian));
    });
  }

  void BuildLanguages() {
    const SourceText text = ReadDefinitions("languages.csv");
    ForEachRow(Table(text), "language", [&](const Table::Row& row) {
      LanguageReferences references;
      references.charset = Reference(row, "default_charset", kCharsetType);
      references.territory = Reference(row, "default_territory", kTerritoryType);
      if (row["sort"] != "BINARY") references.sort = Reference(row, "sort", kSortType);
      const LanguageModel model = MakeLanguage(row, references, cldr_);
      Add(WriteLanguage(model, CldrVersions(), options_.big_endian));
    });
  }

  void BuildCalendars() {
    const SourceText language_text = ReadDefinitions("languages.csv");
    const Table languages(language_text);
    std::vector<const Table::Row*> made;
    for (const Table::Row& row : languages.rows()) {
      if (ids_[kLanguageType].contains(row["name"])) made.push_back(&row);
    }
    const SourceText text = ReadDefinitions("calendars.csv");
    ForEachRow(Table(text), "calendar", [&](const Table::Row& row) {
      const CalendarModel model =
          MakeCalendar(row, made, made.size() == languages.rows().size(), cldr_);
      Add(WriteCalendar(model, CldrVersions(), options_.big_endian));
    });
  }

  void BuildSupplement() {
    step_();
    Add(WriteCurrencies(cldr_.Currencies(), CldrVersions(), options_.big_endian));
  }

  // What the runtime library demands of the directory.
  void CheckDirectory(const std::vector<Object>& objects) const {
    const std::string place = options_.definitions.string();
    for (const std::uint32_t type : {kLanguageType, kTerritoryType, kCharsetType}) {
      const auto first = std::find_if(objects.begin(), objects.end(),
                                      [&](const Object& object) { return object.type == type; });
      if (first == objects.end() || first->id != 1) {
        throw InputError(
            place, 0, fmt::format("there is no object {} with the id 1", ObjectFileName(type, 1)));
      }
    }
    for (std::size_t i = 1; i < objects.size(); ++i) {
      if (objects[i].type == objects[i - 1].type && objects[i].id == objects[i - 1].id) {
        throw InputError(
            place, 0,
            fmt::format("{} and {} have the same id", objects[i - 1].name, objects[i].name));
      }
    }
    if (objects.size() >= 0xFFFF) throw InputError(place, 0, "too many objects");
  }

  const BuildOptions& options_;
  const std::function<void()>& step_;
  Sources sources_;
  Selection selection_;
  UnicodeData unicode_;
  Cldr cldr_;
  std::map<std::uint32_t, std::map<std::string, std::uint32_t>> ids_;  // by type and name
  std::vector<Object> objects_;
};

}  // namespace

BuildResult Build(const BuildOptions& options, const std::function<void()>& step) {
  return Builder(options, step).Run();
}

}  // namespace kestra::nlsc
