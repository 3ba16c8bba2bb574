// The archive of a home directory that a data library embeds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace kestra::nlsc {

// All regular files below home, by their paths relative to it. Throws InputError.
std::vector<std::uint8_t> MakeArchive(const std::filesystem::path& home);

}  // namespace kestra::nlsc
