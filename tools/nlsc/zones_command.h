// nlsc zones: compiles the time-zone database, and compares two compiled files.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "zone_source.h"

namespace kestra::nlsc {

struct ZonesCommand {
  ZoneOptions options;
  std::string output;
  std::string byte_order = "little";
  std::vector<std::string> diff;
  bool common_only = false;
  bool quiet = false;

  void Add(CLI::App& app);
  // Returns the exit status.
  int Run() const;
};

}  // namespace kestra::nlsc
