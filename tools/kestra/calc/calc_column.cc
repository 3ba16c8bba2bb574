#include "calc/calc_column.h"

#include <algorithm>

namespace kestra::tools {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

}  // namespace

bool ColumnSum::Field(std::string_view line, std::string_view& field) const {
  for (std::size_t column = 1;; ++column) {
    if (separator_ == '\0')
      line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::size_t end =
        separator_ == '\0' ? line.find_first_of(kBlanks) : line.find(separator_);
    if (column == column_) {
      field = Trimmed(line.substr(0, end));
      return !field.empty() || separator_ != '\0';
    }
    if (end == std::string_view::npos) return false;
    line.remove_prefix(end + 1);
  }
}

std::string ColumnSum::Add(std::string_view line) {
  ++lines_;
  if (Trimmed(line).empty()) return {};
  const std::string where = "line " + std::to_string(lines_) + ": ";
  std::string_view field;
  if (!Field(line, field)) return where + "no column " + std::to_string(column_);
  std::size_t bad = 0;
  const auto value = Number::Parse(field, &bad);
  if (!value) {
    return where + "'" + std::string(field) + "' is not a number (at its byte " +
           std::to_string(bad + 1) + ")";
  }
  sum_ = sum_ + *value;
  if (count_ == 0 || *value < least_) least_ = *value;
  if (count_ == 0 || greatest_ < *value) greatest_ = *value;
  ++count_;
  return {};
}

Number ColumnSum::Mean() const {
  return count_ == 0 ? Number() : sum_ / Number::FromInteger(static_cast<long long>(count_));
}

}  // namespace kestra::tools
