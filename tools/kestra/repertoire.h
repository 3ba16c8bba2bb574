// Which characters a set has: kestra charsets --compare.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "session.h"

namespace kestra::tools {

// Code points in ascending order, those of surrogates left out.
std::vector<std::uint32_t> Repertoire(Session& session, const Charset& charset);

// Prints what one set has and the other lacks. at_most: ranges to list for each, 0 all. Returns the
// exit code: kDone when both have the same characters, else kFound.
int CompareRepertoires(Session& session, const std::string& first, const std::string& second,
                       std::size_t at_most, bool json);

}  // namespace kestra::tools
