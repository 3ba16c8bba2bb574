#include "date_column.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdio>

#include "command.h"
#include "csv_reader.h"

namespace kestra::tools {
namespace {

constexpr std::size_t kFlushAt = std::size_t{1} << 16;

class ColumnChange {
 public:
  ColumnChange(DateTool& tool, const DateSteps& steps, const DateColumn& options)
      : tool_(tool),
        steps_(steps),
        options_(options),
        reader_(options.file, options.separator, "date") {}

  int Run() {
    for (bool first = true; reader_.Next(); first = false) {
      const std::vector<std::string_view>& fields = reader_.Fields();
      if (first) ChooseColumn(fields);
      WriteRecord(fields, first);
      if (output_.size() >= kFlushAt) Flush();
    }
    Flush();
    return reader_.Finish();
  }

 private:
  void ChooseColumn(const std::vector<std::string_view>& fields) {
    const std::string& name = options_.column;
    const auto [stop, error] = std::from_chars(name.data(), name.data() + name.size(), column_);
    if (error == std::errc() && stop == name.data() + name.size() && column_ > 0) {
      --column_;
      return;
    }
    for (column_ = 0; column_ < fields.size(); ++column_) {
      if (fields[column_] == name) return;
    }
    throw ToolError(
        kUsage, fmt::format("no column '{}'; the columns are {}", name, fmt::join(fields, ", ")));
  }

  // False: the field holds no date; what is wrong is told.
  bool Change(std::string_view field, std::string& out, std::string& problem) {
    try {
      const LdiDate value =
          options_.reading != nullptr ? tool_.Read(field, *options_.reading) : tool_.Read(field);
      out = steps_.Result(tool_, value, options_.writing).text;
      return true;
    } catch (const DateFault& fault) {
      problem = fault.what();
      return false;
    }
  }

  void WriteRecord(const std::vector<std::string_view>& fields, bool first) {
    std::string changed, problem;
    if (column_ >= fields.size()) reader_.ComplainOfField(column_, "", "");
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i != 0) output_ += reader_.separator();
      std::string_view field = fields[i];
      if (i == column_ && !field.empty()) {
        if (Change(field, changed, problem)) {
          field = changed;
        } else if (!first) {  // which has the names of columns
          reader_.ComplainOfField(i, "", problem);
        }
      }
      AppendCsvField(output_, field, reader_.separator());
    }
    output_ += '\n';
  }

  void Flush() {
    std::fwrite(output_.data(), 1, output_.size(), stdout);
    output_.clear();
  }

  DateTool& tool_;
  const DateSteps& steps_;
  const DateColumn& options_;
  CsvReader reader_;
  std::size_t column_ = 0;
  std::string output_;
};

}  // namespace

int ChangeDateColumn(DateTool& tool, const DateSteps& steps, const DateColumn& options) {
  return ColumnChange(tool, steps, options).Run();
}

}  // namespace kestra::tools
