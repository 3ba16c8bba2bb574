// A choice of objects: the small data set holds some of them only.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace kestra::nlsc {

// Lines "kind name", where kind is language, territory, charset, sort or calendar; "kind *" takes
// all of them, "#" begins a comment. Without a list everything is taken.
class Selection {
 public:
  bool Takes(const std::string& kind, const std::string& name);
  // Throws InputError for a line that no object answers to.
  void CheckAllUsed() const;

 private:
  friend Selection ReadSelection(const std::filesystem::path& path);
  struct Entry {
    std::size_t line = 0;
    bool used = false;
  };
  bool everything_ = true;
  std::string file_;
  std::map<std::pair<std::string, std::string>, Entry> entries_;
};

Selection ReadSelection(const std::filesystem::path& path);  // an empty path: everything

}  // namespace kestra::nlsc
