// nlsc: the compiler of locale data. Exit status: 0 done, 1 a check found something, 2 usage, 3 bad
// input, 4 files cannot be read or written.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

#include "../support/progress.h"
#include "archive.h"
#include "build.h"
#include "check.h"
#include "dump.h"
#include "output_directory.h"
#include "zone_reader.h"
#include "zones_command.h"

namespace {

using kestra::nlsc::BuildOptions;
using kestra::nlsc::BuildResult;
using kestra::nlsc::VersionCheck;

enum ExitStatus : int { kDone = 0, kFound = 1, kUsage = 2, kBadData = 3, kInputOutput = 4 };
constexpr std::size_t kApproximateObjects = 1100;

volatile std::sig_atomic_t g_interrupted = 0;

struct BuildCommand {
  BuildOptions options;
  std::string output;
  std::string byte_order = "little";
  std::string record_manifest;
  std::vector<std::string> package_versions;
  bool allow_version_change = false;
  bool quiet = false;

  void Add(CLI::App& app) {
    CLI::App* command = app.add_subcommand("build", "compile the data into a directory");
    command->add_option("-o,--output", output, "directory to replace")->required();
    command->add_option("--definitions", options.definitions, "our own tables")
        ->capture_default_str();
    command->add_option("--sources", options.sources, "root of the upstream packages' files")
        ->capture_default_str();
    command->add_option("--only", options.only, "file that lists the objects to make");
    command->add_option("--byte-order", byte_order, "byte order of the files")
        ->check(CLI::IsMember({"little", "big"}))
        ->capture_default_str();
    command->add_flag("--allow-version-change", allow_version_change,
                      "take upstream files that are not those of the manifest");
    command->add_option("--record-manifest", record_manifest,
                        "compare with nothing and write a new manifest to this file");
    command->add_option("--package-version", package_versions,
                        "PACKAGE=VERSION for the manifest, where the files state none");
    command->add_flag("-q,--quiet", quiet, "print nothing but errors");
    command->footer(
        "Examples:\n"
        "  nlsc build -o home/nls/data\n"
        "  nlsc build -o big/nls/data --byte-order=big\n"
        "  nlsc build -o small/nls/data --only data/english.list");
  }

  int Run() {
    options.big_endian = byte_order == "big";
    if (allow_version_change) options.check = VersionCheck::kAllowChange;
    if (!record_manifest.empty()) options.check = VersionCheck::kRecord;
    for (const std::string& text : package_versions) {
      const std::size_t equals = text.find('=');
      if (equals == std::string::npos) {
        fmt::print(stderr, "nlsc: --package-version is PACKAGE=VERSION\n");
        return kUsage;
      }
      options.package_versions[text.substr(0, equals)] = text.substr(equals + 1);
    }
    kestra::nlsc::OutputDirectory directory(output);
    BuildResult result;
    {
      kestra::tools::Progress progress("compiling", kApproximateObjects, !quiet);
      result = kestra::nlsc::Build(options, [&] {
        if (g_interrupted != 0) throw kestra::nlsc::Interrupted();
        progress.Step();
      });
    }
    std::size_t bytes = 0;
    for (const kestra::nlsc::Object& object : result.objects) {
      if (g_interrupted != 0) throw kestra::nlsc::Interrupted();
      directory.Write(kestra::nlsc::ObjectFileName(object.type, object.id), object.bytes);
      bytes += object.bytes.size();
    }
    directory.Write(kestra::nlsc::kBootFileName,
                    kestra::nlsc::WriteBoot(result.objects, options.big_endian));
    directory.Commit();
    if (!record_manifest.empty()) {
      kestra::nlsc::WriteFileAtomically(record_manifest,
                                        kestra::nlsc::FormatManifest(result.manifest));
    }
    for (const std::string& warning : result.warnings) fmt::print(stderr, "nlsc: {}\n", warning);
    if (!quiet) Report(result, bytes);
    return kDone;
  }

  static void Report(const BuildResult& result, std::size_t bytes) {
    for (const auto& [package, use] : result.packages) {
      fmt::print("{} {}: {} files\n", package, use.first, use.second);
    }
    fmt::print("{} objects, {} bytes\n", result.objects.size(), bytes);
  }
};

struct PackCommand {
  std::string home;
  std::string output;

  void Add(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("pack", "archive of a home directory, for a data library");
    command->add_option("home", home, "home directory")->required();
    command->add_option("-o,--output", output, "file to write")->required();
    command->footer("Example:\n  nlsc pack build/home -o kciei.archive");
  }

  int Run() const {
    const std::vector<std::uint8_t> bytes = kestra::nlsc::MakeArchive(home);
    kestra::nlsc::WriteFileAtomically(output,
                                      {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return kDone;
  }
};

struct DumpCommand {
  std::vector<std::string> files;
  bool full = false;

  void Add(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("dump", "print objects, boot files and zone files as text");
    command->add_option("file", files, "files to print")->required();
    command->add_flag("--full", full, "print the tables too");
    command->footer(
        "Examples:\n"
        "  nlsc dump home/nls/data/lx1boot.nlb\n"
        "  nlsc dump home/nls/data/lx00001.nlb\n"
        "  nlsc dump --full home/nls/data/lx2033f.nlb");
  }

  int Run() const {
    int status = kDone;
    for (const std::string& file : files) {
      const std::vector<std::uint8_t> bytes = kestra::nlsc::ReadObjectFile(file);
      if (files.size() > 1) fmt::print("== {}\n", file);
      try {
        fmt::print("{}", kestra::nlsc::IsZoneFile(bytes) ? kestra::nlsc::DumpZones(bytes, full)
                                                         : kestra::nlsc::Dump(bytes, full));
      } catch (const kestra::nlsc::BadObject& error) {
        fmt::print(stderr, "nlsc: {}: {}\n", file, error.what());
        status = kBadData;
      }
    }
    return status;
  }
};

struct CheckCommand {
  std::vector<std::string> paths;

  void Add(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "check", "validate objects, boot files, zone files or whole directories");
    command->add_option("path", paths, "files, or directories with a boot file")->required();
    command->footer(
        "Exit status 3 when anything is wrong.\n"
        "Examples:\n"
        "  nlsc check home/nls/data\n"
        "  nlsc check home/nls/data/lx20001.nlb\n"
        "  nlsc check home/kescore/zoneinfo/*.dat");
  }

  static int Report(const std::string& path, const kestra::nlsc::Faults& faults) {
    for (const std::string& fault : faults) fmt::print("{}: {}\n", path, fault);
    return faults.empty() ? kDone : kBadData;
  }

  static int CheckPath(const std::string& path) {
    if (std::filesystem::is_directory(path)) {
      return Report(path, kestra::nlsc::CheckDirectory(path));
    }
    const std::vector<std::uint8_t> bytes = kestra::nlsc::ReadObjectFile(path);
    if (kestra::nlsc::IsZoneFile(bytes)) {
      kestra::nlsc::ZoneFile file;
      return Report(path, kestra::nlsc::ReadZoneFile(bytes, file));
    }
    return Report(path, kestra::nlsc::BootReader::IsBoot(bytes) ? kestra::nlsc::CheckBoot(bytes)
                                                                : kestra::nlsc::CheckObject(bytes));
  }

  int Run() const {
    int status = kDone;
    for (const std::string& path : paths) {
      if (CheckPath(path) != kDone) status = kBadData;
    }
    return status;
  }
};

int Run(int argc, char** argv) {
  CLI::App app("Compiler of locale data", "nlsc");
  app.require_subcommand(1);
  app.set_version_flag("--version", "nlsc " KESTRA_VERSION);
  BuildCommand build;
  build.Add(app);
  PackCommand pack;
  pack.Add(app);
  DumpCommand dump;
  dump.Add(app);
  CheckCommand check;
  check.Add(app);
  kestra::nlsc::ZonesCommand zones;
  zones.Add(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  if (app.got_subcommand("pack")) return pack.Run();
  if (app.got_subcommand("dump")) return dump.Run();
  if (app.got_subcommand("check")) return check.Run();
  if (app.got_subcommand("zones")) return zones.Run();
  return build.Run();
}

}  // namespace

int main(int argc, char** argv) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(signal, [](int number) { g_interrupted = number; });
  }
  try {
    return Run(argc, argv);
  } catch (const kestra::nlsc::InputError& error) {
    fmt::print(stderr, "nlsc: {}\n", error.what());
    return kBadData;
  } catch (const kestra::nlsc::OutputError& error) {
    fmt::print(stderr, "nlsc: {}\n", error.what());
    return kInputOutput;
  } catch (const kestra::nlsc::Interrupted&) {
    const int number = g_interrupted;
    fmt::print(stderr, "nlsc: interrupted, the old files are as they were\n");
    std::signal(number, SIG_DFL);
    std::raise(number);
    return kInputOutput;
  } catch (const std::exception& error) {
    fmt::print(stderr, "nlsc: {}\n", error.what());
    return kInputOutput;
  }
}
