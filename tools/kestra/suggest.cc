#include "suggest.h"

#include <algorithm>
#include <utility>

namespace kestra::tools {
namespace {

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

constexpr std::size_t kLongest = 64;  // longer names are typed by nobody

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1), row(b.size() + 1), next(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    next[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = Upper(a[i - 1]) == Upper(b[j - 1]);
      next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (same ? 0u : 1u)});
      if (i > 1 && j > 1 && Upper(a[i - 1]) == Upper(b[j - 2]) &&
          Upper(a[i - 2]) == Upper(b[j - 1])) {
        next[j] = std::min(next[j], before[j - 2] + 1);
      }
    }
    std::swap(before, row);
    std::swap(row, next);
  }
  return row[b.size()];
}

std::vector<std::string> Nearest(std::string_view name, const std::vector<std::string>& candidates,
                                 std::size_t limit) {
  if (name.empty() || name.size() > kLongest) return {};
  std::vector<std::pair<std::size_t, const std::string*>> near;
  for (const std::string& candidate : candidates) {
    if (candidate.size() > kLongest) continue;
    std::size_t distance = EditDistance(name, candidate);
    if (name.size() >= 3 && EditDistance(name, candidate.substr(0, name.size())) == 0) distance = 1;
    if (distance <= 1 + std::min(name.size(), candidate.size()) / 4) {
      near.emplace_back(distance, &candidate);
    }
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> names;
  for (const auto& [distance, candidate] : near) {
    // A far candidate beside a near one is noise.
    if (names.size() == limit || distance > near.front().first + 1) break;
    if (std::find(names.begin(), names.end(), *candidate) == names.end()) {
      names.push_back(*candidate);
    }
  }
  return names;
}

std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates) {
  return DidYouMean(Nearest(name, candidates));
}

std::string DidYouMean(const std::vector<std::string>& near) {
  if (near.empty()) return "";
  std::string text = "; did you mean ";
  for (std::size_t i = 0; i < near.size(); ++i) {
    if (i > 0) text += i + 1 == near.size() ? " or " : ", ";
    text += near[i];
  }
  return text + "?";
}

}  // namespace kestra::tools
