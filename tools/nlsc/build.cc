#include "build.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <tuple>

#include "charset.h"
#include "nls/nlb_format.h"
#include "selection.h"

namespace kestra::nlsc {
namespace {

namespace nlb = kestra::nls::nlb;

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
        unicode_(sources_) {}

  BuildResult Run() {
    BuildCharsets();
    BuildResult result;
    result.objects = std::move(objects_);
    std::sort(result.objects.begin(), result.objects.end(), [](const Object& a, const Object& b) {
      return std::tie(a.type, a.id) < std::tie(b.type, b.id);
    });
    selection_.CheckAllUsed();
    for (const auto& [package, files] : sources_.used()) {
      result.packages[package] = {sources_.Version(package), files};
    }
    result.warnings = sources_.warnings();
    result.manifest = sources_.recorded();
    return result;
  }

 private:
  void BuildCharsets() {
    const SourceText text = ReadText(options_.definitions / "charsets.csv");
    const Table table(text);
    for (const Table::Row& row : table.rows()) {
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
    if (definition.id == 0 || definition.id > nlb::kIdMask) row.Fail("the id is not 1 to 16383");
    const bool table = definition.kind == "single" || definition.kind == "multi";
    const bool directory = row["note"].find("no directory entry") == std::string::npos;
    if (!table && !(definition.kind == "utf16" && directory)) {
      if (definition.kind != "mixed" && definition.kind != "gb18030" &&
          definition.kind != "iso2022" && definition.kind != "utf16") {
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
    objects_.push_back(WriteCharset(model, versions, options_.big_endian));
  }

  const BuildOptions& options_;
  const std::function<void()>& step_;
  Sources sources_;
  Selection selection_;
  UnicodeData unicode_;
  std::vector<Object> objects_;
};

}  // namespace

BuildResult Build(const BuildOptions& options, const std::function<void()>& step) {
  return Builder(options, step).Run();
}

}  // namespace kestra::nlsc
