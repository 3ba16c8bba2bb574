#include "date_column.h"

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>

#include "command.h"
#include "csv_reader.h"
#include "support/progress.h"
#include "support/terminal.h"

namespace kestra::tools {
namespace {

constexpr std::uint64_t kMostWarnings = 20;
constexpr std::size_t kFlushAt = std::size_t{1} << 16;

class ColumnChange {
 public:
  ColumnChange(DateTool& tool, const DateSteps& steps, const DateColumn& options)
      : tool_(tool),
        steps_(steps),
        options_(options),
        reader_(options.file),
        progress_("date", static_cast<std::size_t>(reader_.input().size()), true,
                  Progress::Unit::kBytes) {}

  int Run() {
    for (bool first = true; reader_.Next(); first = false) {
      if (first) ChooseSeparator();
      const std::vector<std::string_view>& fields = reader_.Fields();
      if (first) ChooseColumn(fields);
      WriteRecord(fields, first);
      if (output_.size() >= kFlushAt) Flush();
    }
    Flush();
    if (warnings_ > kMostWarnings) Warn(fmt::format("{} more", warnings_ - kMostWarnings));
    return warnings_ == 0 ? kDone : kFound;
  }

 private:
  void Warn(const std::string& message) const {
    fmt::print(stderr, "{} {}: {}\n", Styled(STDERR_FILENO, Style::kRed, "kestra:"),
               reader_.input().name(), Printable(message));
  }
  void Complain(const std::string& message) {
    if (++warnings_ <= kMostWarnings) Warn(message);
  }

  void ChooseSeparator() {
    separator_ = options_.separator;
    if (separator_ == '\0') {
      separator_ = ',';
      const bool has_comma = reader_.record().find(',') != std::string_view::npos;
      for (const char c : {';', '\t'}) {
        if (!has_comma && reader_.record().find(c) != std::string_view::npos) separator_ = c;
      }
    }
    reader_.set_separator(separator_);
  }

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
      ldxdate date = {};
      if (!options_.reading.empty()) {
        date = tool_.Read(field, options_.reading);
      } else if (!ReadPlainDate(field, date)) {
        problem = "is not a date as 2019-02-28";
        return false;
      }
      out = steps_.Result(tool_, date, options_.writing);
      return true;
    } catch (const DateFault& fault) {
      problem = fault.what();
      return false;
    }
  }

  void WriteRecord(const std::vector<std::string_view>& fields, bool first) {
    if (column_ >= fields.size()) {
      Complain(fmt::format("line {}: no column {}", reader_.line(), column_ + 1));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (i != 0) output_ += separator_;
      std::string changed, problem;
      if (i != column_ || fields[i].empty()) {
        WriteField(fields[i]);
      } else if (Change(fields[i], changed, problem)) {
        WriteField(changed);
      } else {
        WriteField(fields[i]);
        if (first) continue;  // names of columns
        Complain(
            fmt::format("line {}, column {}: '{}' {}", reader_.line(), i + 1, fields[i], problem));
      }
    }
    output_ += '\n';
  }

  // Quoted where it has to be.
  void WriteField(std::string_view field) {
    const bool blank_ends = !field.empty() && (field.front() == ' ' || field.back() == ' ');
    const char special[] = {separator_, '"', '\n', '\r'};
    if (!blank_ends &&
        field.find_first_of(std::string_view(special, sizeof special)) == std::string_view::npos) {
      output_ += field;
      return;
    }
    output_ += '"';
    for (const char c : field) {
      if (c == '"') output_ += '"';
      output_ += c;
    }
    output_ += '"';
  }

  void Flush() {
    std::fwrite(output_.data(), 1, output_.size(), stdout);
    output_.clear();
    progress_.Step(static_cast<std::size_t>(reader_.consumed() - seen_));
    seen_ = reader_.consumed();
  }

  DateTool& tool_;
  const DateSteps& steps_;
  const DateColumn& options_;
  CsvReader reader_;
  Progress progress_;
  char separator_ = ',';
  std::size_t column_ = 0;
  std::string output_;
  std::uint64_t seen_ = 0;
  std::uint64_t warnings_ = 0;
};

}  // namespace

int ChangeDateColumn(DateTool& tool, const DateSteps& steps, const DateColumn& options) {
  return ColumnChange(tool, steps, options).Run();
}

}  // namespace kestra::tools
