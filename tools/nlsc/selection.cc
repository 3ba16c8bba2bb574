#include "selection.h"

#include "input.h"

namespace kestra::nlsc {

bool Selection::Takes(const std::string& kind, const std::string& name) {
  if (everything_) return true;
  bool taken = false;
  for (const std::string& wanted : {name, std::string("*")}) {
    const auto found = entries_.find({kind, wanted});
    if (found == entries_.end()) continue;
    found->second.used = taken = true;
  }
  return taken;
}

void Selection::CheckAllUsed() const {
  for (const auto& [key, entry] : entries_) {
    if (!entry.used) {
      throw InputError(file_, entry.line, "there is no " + key.first + " " + key.second);
    }
  }
}

Selection ReadSelection(const std::filesystem::path& path) {
  Selection selection;
  if (path.empty()) return selection;
  const SourceText source = ReadText(path);
  selection.everything_ = false;
  selection.file_ = source.name;
  Lines lines(source);
  std::string_view line;
  while (lines.Next(line)) {
    line = Trim(line.substr(0, line.find('#')));
    if (line.empty()) continue;
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) lines.Fail("a kind and a name are expected");
    selection
        .entries_[{std::string(line.substr(0, blank)), std::string(Trim(line.substr(blank)))}] = {
        lines.number(), false};
  }
  return selection;
}

}  // namespace kestra::nlsc
