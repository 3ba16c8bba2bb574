#include "zones_command.h"

#include <fmt/format.h>

#include "input.h"
#include "object_reader.h"
#include "output_directory.h"
#include "write_zones.h"
#include "zone_reader.h"

namespace kestra::nlsc {
namespace {

enum ExitStatus : int { kDone = 0, kFound = 1, kUsage = 2 };

int Compare(const std::vector<std::string>& paths) {
  ZoneFile files[2];
  for (int i = 0; i < 2; ++i) {
    const std::string& path = paths[static_cast<std::size_t>(i)];
    const std::vector<std::uint8_t> bytes = ReadObjectFile(path);
    const Faults faults = ReadZoneFile(bytes, files[i]);
    if (!faults.empty()) throw InputError(path, 0, faults.front());
  }
  const std::string text = DiffZones(files[0].data, files[1].data);
  fmt::print("{}", text);
  return text.empty() ? kDone : kFound;
}

}  // namespace

void ZonesCommand::Add(CLI::App& app) {
  CLI::App* command = app.add_subcommand("zones", "compile the time zones into a directory");
  command->add_option("-o,--output", output, "directory to replace");
  command->add_option("--definitions", options.definitions, "folder of zones.csv")
      ->capture_default_str();
  command->add_option("--source", options.source, "the database's compact source, tzdata.zi")
      ->capture_default_str();
  command->add_option("--zic", options.zic, "the zone compiler")->capture_default_str();
  command->add_option("--end-year", options.end_year, "last year of rules that never end")
      ->check(CLI::Range(1970, 9999))
      ->capture_default_str();
  command->add_option("--byte-order", byte_order, "byte order of the files at the top")
      ->check(CLI::IsMember({"little", "big"}))
      ->capture_default_str();
  command->add_flag("--common", common_only,
                    "only the file of common zones, and no folders for the two byte orders");
  command->add_option("--diff", diff, "two files: what changed from the first to the second")
      ->expected(2);
  command->add_flag("-q,--quiet", quiet, "print nothing but errors");
  command->footer(
      "Exit status 1 when --diff found a difference.\n"
      "Examples:\n"
      "  nlsc zones -o home/kescore/zoneinfo\n"
      "  nlsc zones -o big --byte-order=big --common\n"
      "  nlsc zones --diff old/timezlrg_2502.dat new/timezlrg_2606.dat");
}

int ZonesCommand::Run() const {
  if (!diff.empty()) return Compare(diff);
  if (output.empty()) {
    fmt::print(stderr, "nlsc: zones needs --output or --diff\n");
    return kUsage;
  }
  OutputDirectory directory(output);
  const ZoneReadResult result = ReadZones(options);
  struct Folder {
    const char* name;
    bool big_endian;
  };
  std::vector<Folder> folders = {{"", byte_order == "big"}};
  if (!common_only) folders.insert(folders.end(), {{"big/", true}, {"little/", false}});
  std::size_t bytes = 0;
  for (const Folder& folder : folders) {
    for (const bool complete : {false, true}) {
      if (complete && common_only) continue;
      const std::vector<std::uint8_t> file = WriteZones(result.data, {complete, folder.big_endian});
      directory.Write(folder.name + ZoneFileName(result.data, complete), file);
      bytes = std::max(bytes, file.size());
    }
  }
  directory.Commit();
  for (const std::string& warning : result.warnings) fmt::print(stderr, "nlsc: {}\n", warning);
  if (!quiet) {
    fmt::print("tzdata {}: {} zones, {} histories to {}, {} bytes\n", result.release,
               result.data.zones.size(), result.data.histories.size(), options.end_year, bytes);
  }
  return kDone;
}

}  // namespace kestra::nlsc
