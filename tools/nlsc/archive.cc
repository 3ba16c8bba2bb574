#include "archive.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "input.h"
#include "nls/nlb_format.h"
#include "object.h"

namespace kestra::nlsc {
namespace {

namespace fs = std::filesystem;
namespace layout = kestra::nls::nlb::archive;

constexpr std::size_t kAlignment = 16;

std::string ReadBytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(file), {});
  if (!file.good() && !file.eof()) throw InputError(path.string(), 0, "cannot be read");
  return bytes;
}

// Hidden entries are the unfinished work of a build.
std::map<std::string, std::string> ReadFiles(const fs::path& home) {
  if (!fs::is_directory(home)) throw InputError(home.string(), 0, "is no directory");
  std::map<std::string, std::string> files;
  for (auto at = fs::recursive_directory_iterator(home); at != fs::recursive_directory_iterator();
       ++at) {
    if (at->path().filename().string().starts_with('.')) {
      if (at->is_directory()) at.disable_recursion_pending();
    } else if (at->is_regular_file()) {
      files[at->path().lexically_relative(home).generic_string()] = ReadBytes(at->path());
    }
  }
  if (files.empty()) throw InputError(home.string(), 0, "holds no files");
  return files;
}

}  // namespace

std::vector<std::uint8_t> MakeArchive(const fs::path& home) {
  const std::map<std::string, std::string> files = ReadFiles(home);
  ByteBuffer out(false, layout::kIndexAt + layout::kEntrySize * files.size());
  for (std::size_t i = 0; i < sizeof layout::kMagic; ++i) {
    out.Put8(i, static_cast<std::uint8_t>(layout::kMagic[i]));
  }
  out.Put32(layout::kCountAt, static_cast<std::uint32_t>(files.size()));
  std::size_t entry = layout::kIndexAt;
  for (const auto& [name, bytes] : files) {
    out.Put32(entry, static_cast<std::uint32_t>(out.size()));
    out.Put32(entry + 4, static_cast<std::uint32_t>(name.size()));
    out.AppendText(name);
    entry += layout::kEntrySize;
  }
  entry = layout::kIndexAt;
  std::map<std::string_view, std::size_t> written;  // files of equal bytes are stored once
  for (const auto& [name, bytes] : files) {
    auto [at, fresh] = written.try_emplace(bytes, 0);
    if (fresh) {
      out.Pad(kAlignment);
      at->second = out.size();
      out.AppendText(bytes);
    }
    out.Put32(entry + 8, static_cast<std::uint32_t>(at->second));
    out.Put32(entry + 12, static_cast<std::uint32_t>(bytes.size()));
    entry += layout::kEntrySize;
  }
  return out.bytes();
}

}  // namespace kestra::nlsc
