#include "support/table.h"

#include <algorithm>

#include "support/terminal.h"

namespace kestra::tools {

void Table::Add(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  for (std::string& cell : cells) cell = Printable(cell);
  rows_.push_back(std::move(cells));
}

void Table::Print(std::FILE* out) const {
  std::vector<std::size_t> shown;
  std::vector<std::size_t> width(columns_.size());
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    width[c] = DisplayWidth(columns_[c].title);
    bool any = false;
    for (const auto& row : rows_) {
      width[c] = std::max(width[c], DisplayWidth(row[c]));
      any = any || !row[c].empty();
    }
    if (any) shown.push_back(c);
  }
  const bool colour = UseColour(fileno(out));
  auto line = [&](const auto& cell_of) {
    std::string text;
    for (const std::size_t c : shown) {
      const std::string& cell = cell_of(c);
      const std::string pad(width[c] - DisplayWidth(cell), ' ');
      if (c != shown.front()) text += "  ";
      if (columns_[c].align == Align::kRight) text += pad;
      text += cell;
      if (columns_[c].align == Align::kLeft && c != shown.back()) text += pad;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
  };
  const std::string titles =
      line([&](std::size_t c) -> const std::string& { return columns_[c].title; });
  if (!titles.empty()) {
    const std::string text = colour ? "\x1b[1m" + titles + "\x1b[0m\n" : titles + "\n";
    std::fwrite(text.data(), 1, text.size(), out);
  }
  for (const auto& row : rows_) {
    const std::string text =
        line([&](std::size_t c) -> const std::string& { return row[c]; }) + "\n";
    std::fwrite(text.data(), 1, text.size(), out);
  }
}

}  // namespace kestra::tools
