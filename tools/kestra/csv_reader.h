// Records of a CSV file (RFC 4180), or the lines of any text, one after the other in memory that
// does not grow with the file. Fields may be quoted: "a,b", "say ""no""", also over several lines.
// What is wrong in the file is told on standard error, the first places one by one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/files.h"
#include "support/progress.h"

namespace kestra::tools {

class CsvReader {
 public:
  // separator: empty: a comma, or the semicolon or tab that the first record has. what: for the
  // progress bar. Throws ToolError for a separator of more than a byte, IoError.
  CsvReader(const std::string& path, const std::string& separator, std::string_view what);

  // Reads the next record that is not blank; false: there are no more. Throws ToolError: a record
  // longer than 1 MiB, a quote that is never closed.
  bool Next();

  char separator() const { return separator_; }  // known once there was a record
  // Fields without their quotes and the blanks around them. Valid until the next call.
  const std::vector<std::string_view>& Fields();

  std::uint64_t line() const { return line_; }  // that the record begins on, from 1
  const std::string& name() const { return input_.name(); }

  // "line 3, column 2 (due): 'x' is not ...", or that the record has no such field; field from 0,
  // and its name if it has one.
  void ComplainOfField(std::size_t field, std::string_view name, std::string_view problem);
  void Complain(const std::string& message);
  // Tells how many complaints were not printed. Returns the exit code.
  int Finish() const;

 private:
  bool Fill();
  std::string_view record() const { return {record_, record_size_}; }
  void Warn(const std::string& message) const;
  std::string_view Unquoted(std::string_view field);

  InputFile input_;
  Progress progress_;
  std::uint64_t complaints_ = 0;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  const char* record_ = nullptr;
  std::size_t record_size_ = 0;
  char separator_;  // 0: not known yet
  std::uint64_t line_ = 0;
  std::uint64_t next_line_ = 1;
  std::vector<std::string_view> fields_;
  std::vector<char> unquoted_;  // fields that had doubled quotes; room for a whole record
};

// Appends a field, quoted where it has to be.
void AppendCsvField(std::string& out, std::string_view field, char separator);

}  // namespace kestra::tools
