#include "tests/support/decimal_cases.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kestra::test {
namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The words of a line up to a comment "--"; in quotes, which are dropped, a quote is doubled.
std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < line.size();) {
    if (std::isspace(static_cast<unsigned char>(line[i])) != 0) {
      ++i;
    } else if (line.compare(i, 2, "--") == 0) {
      break;
    } else if (line[i] == '\'' || line[i] == '"') {
      const char quote = line[i++];
      std::string word;
      for (; i < line.size(); ++i) {
        if (line[i] == quote && (i + 1 == line.size() || line[i + 1] != quote)) break;
        if (line[i] == quote) ++i;
        word.push_back(line[i]);
      }
      ++i;
      words.push_back(word);
    } else {
      const std::size_t begin = i;
      while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i])) == 0) ++i;
      words.push_back(line.substr(begin, i - begin));
    }
  }
  return words;
}

}  // namespace

bool DecimalCase::Has(const char* condition) const {
  return std::find(conditions.begin(), conditions.end(), condition) != conditions.end();
}

std::string DecimalCasesDirectory() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/lib", error)) {
    if (!entry.path().filename().string().starts_with("python3")) continue;
    const std::filesystem::path cases = entry.path() / "test" / "decimaltestdata";
    if (std::filesystem::is_directory(cases, error)) return cases.string();
  }
  return "";
}

std::vector<DecimalCase> ReadDecimalCases(const std::string& path) {
  std::vector<DecimalCase> cases;
  DecimalCase settings;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::vector<std::string> words = Words(line);
    if (words.empty()) continue;
    if (words[0].ends_with(":")) {
      const std::string name = Lower(words[0]);
      if (words.size() < 2) continue;
      if (name == "precision:") settings.precision = std::atoi(words[1].c_str());
      if (name == "rounding:") settings.rounding = Lower(words[1]);
      continue;
    }
    const auto arrow = std::find(words.begin(), words.end(), "->");
    if (arrow == words.end() || arrow + 1 == words.end() || arrow - words.begin() < 3) continue;
    DecimalCase read = settings;
    read.name = words[0];
    read.operation = Lower(words[1]);
    read.operands.assign(words.begin() + 2, arrow);
    read.result = arrow[1];
    read.conditions.assign(arrow + 2, words.end());
    cases.push_back(read);
  }
  return cases;
}

}  // namespace kestra::test
