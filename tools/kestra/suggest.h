// "Did you mean": the names nearest to one that is not known.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestra::tools {

// Insertions, deletions, replacements and swaps of neighbours between a and b, ignoring ASCII case.
std::size_t EditDistance(std::string_view a, std::string_view b);

// The nearest candidates, at most limit, nearest first; none that differ in more than about a third
// of their letters. A candidate that begins with the name counts as near.
std::vector<std::string> Nearest(std::string_view name, const std::vector<std::string>& candidates,
                                 std::size_t limit = 3);

// "; did you mean A, B or C?" or nothing.
std::string DidYouMean(const std::vector<std::string>& near);
std::string DidYouMean(std::string_view name, const std::vector<std::string>& candidates);

}  // namespace kestra::tools
