// kestra inspect: what a file is. The parts behind the command.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "text_file.h"

namespace kestra::tools {

struct InspectOptions {
  std::string from;  // character set to check a text against; empty: find out
  bool all = false;
  std::size_t reports = 20;
};

// True when the start of a file is that of a data object or boot file.
bool LooksLikeObject(std::span<const std::uint8_t> start);

// Print what the file is and return the exit code.
int InspectObject(const std::string& path, const InspectOptions& options, bool json);
int InspectText(TextFile& file, const InspectOptions& options, bool json);

}  // namespace kestra::tools
