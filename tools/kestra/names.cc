#include "names.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace kestra::tools {
namespace {

std::string FoldAscii(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

std::string CellText(const nlohmann::ordered_json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number()) return value.dump();
  std::string text;
  for (const auto& element : value) {
    if (!text.empty()) text += ", ";
    text += CellText(element);
  }
  return text;
}

}  // namespace

std::shared_ptr<ListOptions> AddListOptions(CLI::App& app, const char* all_help) {
  auto options = std::make_shared<ListOptions>();
  app.add_option("filter", options->filter,
                 "Show only what has this in its names, in any case, or has this id")
      ->type_name("TEXT");
  app.add_flag("-a,--all", options->all, all_help);
  return options;
}

Listing::Listing(std::vector<Field> fields, std::string filter)
    : fields_(std::move(fields)), filter_(std::move(filter)), folded_(FoldAscii(filter_)) {}

bool Listing::Matches(const std::vector<nlohmann::ordered_json>& row) const {
  if (folded_.empty()) return true;
  return std::any_of(row.begin(), row.end(), [&](const nlohmann::ordered_json& value) {
    return !value.is_number() && FoldAscii(CellText(value)).find(folded_) != std::string::npos;
  });
}

void Listing::Add(std::vector<nlohmann::ordered_json> row) {
  if (by_id_) return;
  if (CellText(row.front()) == filter_) {
    by_id_ = true;
    rows_.clear();
  } else if (!Matches(row)) {
    return;
  }
  rows_.push_back(std::move(row));
}

int Listing::Print(bool all, bool json, const std::string& hint) const {
  if (json) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& row : rows_) {
      nlohmann::ordered_json object;
      for (std::size_t i = 0; i < fields_.size(); ++i) object[fields_[i].key] = row[i];
      list.push_back(std::move(object));
    }
    PrintJson(list);
  } else {
    std::vector<Column> columns;
    for (const Field& field : fields_) {
      if (all || !field.detail) columns.push_back({field.title, field.align});
    }
    Table table(columns);
    for (const auto& row : rows_) {
      std::vector<std::string> cells;
      for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (all || !fields_[i].detail) cells.push_back(CellText(row[i]));
      }
      table.Add(std::move(cells));
    }
    if (table.rows() > 0) table.Print(stdout);
  }
  if (!rows_.empty()) return kDone;
  throw ToolError(kFound, fmt::format("nothing matches '{}'{}", filter_, hint));
}

void PrintJson(const nlohmann::ordered_json& document) {
  const std::string text =
      document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace kestra::tools
