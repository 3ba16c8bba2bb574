// What the three listing commands share: options, the filter, and the choice of table or JSON.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "support/table.h"

namespace kestra::tools {

struct ListOptions {
  std::string filter;
  bool all = false;
};

// Declares the filter argument and --all.
std::shared_ptr<ListOptions> AddListOptions(CLI::App& app, const char* all_help);

// One field of a row. Detail fields are columns of the table only with --all; JSON has every field.
struct Field {
  const char* key;    // in JSON
  const char* title;  // over the column
  bool detail = false;
  Align align = Align::kLeft;
};

// Rows of equal fields. Numbers and texts are kept as JSON values; a list is shown with commas.
class Listing {
 public:
  Listing(std::vector<Field> fields, std::string filter);

  // Keeps the row when the filter is in one of its texts, ASCII case aside. A row whose first
  // field, the id, is the filter is the only one.
  void Add(std::vector<nlohmann::ordered_json> row);
  // Nothing was added.
  bool empty() const { return rows_.empty(); }
  // Prints and returns the exit code: nothing found is kFound, told with the hint behind it.
  int Print(bool all, bool json, const std::string& hint = "") const;

 private:
  bool Matches(const std::vector<nlohmann::ordered_json>& row) const;

  std::vector<Field> fields_;
  std::string filter_, folded_;
  bool by_id_ = false;
  std::vector<std::vector<nlohmann::ordered_json>> rows_;
};

// Prints a JSON document on standard output. Bytes that are no UTF-8 become U+FFFD.
void PrintJson(const nlohmann::ordered_json& document);

}  // namespace kestra::tools
