// Tables for people: columns as wide as their widest cell on the screen, two blanks between them.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace kestra::tools {

enum class Align { kLeft, kRight };

struct Column {
  std::string title;
  Align align = Align::kLeft;
};

class Table {
 public:
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // As many cells as there are columns; control characters are made visible.
  void Add(std::vector<std::string> cells);
  std::size_t rows() const { return rows_.size(); }
  // Titles are bold on a terminal. The last column is not padded. Columns without a single cell
  // text are left out.
  void Print(std::FILE* out) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace kestra::tools
