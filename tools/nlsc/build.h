// The build: definitions and upstream files in, a directory of objects and the boot file out.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "input.h"
#include "object.h"

namespace kestra::nlsc {

struct BuildOptions {
  std::filesystem::path definitions = "data";  // our own tables
  std::filesystem::path sources = "/";         // root of the upstream packages' files
  std::filesystem::path only;                  // list of the objects to make; empty: all
  bool big_endian = false;
  VersionCheck check = VersionCheck::kStrict;
  // Versions of packages whose files do not state one; used when the manifest is recorded.
  std::map<std::string, std::string> package_versions;
};

// Stops the build; thrown by the step callback.
class Interrupted : public std::exception {};

struct BuildResult {
  std::vector<Object> objects;                                          // sorted by type and id
  std::map<std::string, std::pair<std::string, std::size_t>> packages;  // version, files read
  std::vector<std::string> warnings;
  Manifest manifest;  // of what was read
};

// Makes every object. step is called before each object. Throws InputError.
BuildResult Build(const BuildOptions& options, const std::function<void()>& step);

}  // namespace kestra::nlsc
